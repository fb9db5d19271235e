#include "lab/check/unknown_entries.h"

#include <set>

#include "lab/catalogue/catalogue.h"
#include "lab/disk/folder.h"
#include "lab/recorder/state.h"
#include "lab/volume/place.h"
#include "lab/volume/scan.h"

namespace lab {

namespace {

void add_strangers(folder const& in, std::string const& shown_folder,
                   std::set<std::string> const& known, std::vector<std::string>& found) {
  for (auto const& name : in.names()) {
    if (known.count(name) > 0 || name == lost_folder) continue;
    auto const status = in.status(name);
    if (!status) continue;
    found.push_back((S_ISDIR(status->st_mode) ? "unknown folder " : "unknown file ") +
                    shown_folder + name);
  }
}

}  // namespace

std::vector<std::string> strangers_beside_volumes(std::filesystem::path const& recorder_folder,
                                                  std::vector<volume_place> const& places) {
  std::vector<std::string> found;
  add_strangers(folder(recorder_folder), "",
                {catalogue_file, catalogue_journal_file, share_folder, unmounted_folder}, found);
  std::set<std::string> volumes;
  std::set<std::string> away;
  for (auto const& place : places) {
    volumes.insert(place.folder_name);
    if (mount_of(place) != mount::present) away.insert(place.folder_name);
  }
  if (auto const unmounted = folder::find(folder(recorder_folder), unmounted_folder)) {
    add_strangers(*unmounted, std::string(unmounted_folder) + "/", away, found);
  }
  if (auto const share = folder::find(folder(recorder_folder), share_folder)) {
    add_strangers(*share, std::string(share_folder) + "/", volumes, found);
  }
  return found;
}

}  // namespace lab
