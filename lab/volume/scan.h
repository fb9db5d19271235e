// What the catalogue says of a volume's units beside what lies in its folders.
// Looking changes nothing; whoever looks holds the volume's lock.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "lab/catalogue/sqlite.h"
#include "lab/disk/folder.h"
#include "lab/volume/lock.h"
#include "lab/volume/place.h"
#include "lab/volume/unit_state.h"

namespace lab {

inline constexpr std::int64_t megabyte = std::int64_t{1024} * 1024;

// Where unknown entries are set aside, in the volume's folder. A file system of
// its own has a folder by this name too; nothing in it is a finding.
inline constexpr char const* lost_folder = "lost+found";

struct unit_row {
  std::int64_t id;
  std::string name;
  unit_state state;
  std::string folder_name;  // where it belongs; empty for a bad one
  bool has_period;
};

// The volume's units in the catalogue's order.
std::vector<unit_row> units_of(database const& catalogue, volume_place const& place);

// A regular file that has a unit's name.
struct unit_file {
  std::string folder_name;  // in the storage folder
  std::int64_t size;
  std::int64_t allocated;
  nlink_t names;  // how many it has, wherever
};

// Something that the catalogue knows nothing of.
struct unknown_entry {
  enum class kind { file, other, empty_folder };  // other: a link, a folder …
  kind what;
  std::string folder_path;  // from the volume's folder, empty for itself
  std::string name;
  std::string shown;  // from the storage folder
};

struct volume_scan {
  std::vector<unit_row> units;
  bool has_storage = false;
  bool has_preallocate = false;
  std::vector<unknown_entry> unknown_entries;
  std::unordered_map<std::string, std::vector<unit_file>> files;  // by the unit's name

  // The files by a unit's name, in the order of their folders' names.
  std::vector<unit_file> const& files_of(std::string const& unit_name) const;
};

// Throws lab::error when the volume is not mounted, or not any more.
volume_scan scan(database const& catalogue, volume_place const& place);

// The first bytes of a file, fewer when it is shorter; none when it cannot be
// read.
std::optional<std::string> beginning_of(folder const& in, std::string const& name,
                                        std::size_t bytes);

}  // namespace lab
