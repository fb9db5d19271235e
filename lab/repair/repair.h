// Repairing what check() finds, by one rule for each class of findings.
//
//   in-transit              its move is finished
//   misplaced, wrong-volume moved to its place, if that is empty and no other unit of
//                           its name lacks a file and no other file of its name is out
//                           of place; a recorded unit's only if it begins as recorded
//   duplicate, unknown      a file is set aside in lost+found of its volume, an empty
//                           folder is removed
//   bad                     a file of it is set aside, then it is preallocated anew and
//                           free
//   missing                 a free unit is preallocated anew; a recorded one is given
//                           up, if that is asked for
//   short                   gets its blocks, what it holds stays
//   long                    a free unit's file is set aside
//   null-id                 gets the id of the volume that holds all its units
//   leak                    recycled, when every file of its volume is in its place
//   period                  one without units is dropped with what is given up
//
// All else is left: cross-linked, corrupt, not-mounted, unreadable, links, folders
// with something in them, and what lies beside the volumes. To give up is to say
// that a recording is lost for good: it is done only when no file is out of place or
// unknown any more, and every volume is mounted and read.
//
// No file's content is removed and nothing is done on a volume that is not mounted.
// All mounted volumes are locked exclusively until nothing but leaks is left to do.
// Repair can be stopped at any point and repeated.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lab {

enum class lost_recordings { keep, give_up };

struct repair_report {
  std::vector<std::string> repaired;  // "volume vol1: unit unit000001 is back in preallocate"
  std::vector<std::string> failed;    // what was tried in vain, and why
};

// Repairs what check() finds. What fails on one volume does not keep the others from
// being repaired. Throws lab::error when nothing could be done at all, a busy_error
// when a volume stays locked for longer than the lock timeout.
repair_report repair(std::filesystem::path const& folder, lost_recordings what);

}  // namespace lab
