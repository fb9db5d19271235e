#include "lab/check/unknown_entries.h"

#include <set>

#include "lab/catalogue/catalogue.h"
#include "lab/disk/folder.h"

namespace lab {

namespace {

void add_unknown(folder const& in, std::string const& shown_folder,
                 std::set<std::string> const& known, findings& found) {
  for (auto const& name : in.names()) {
    if (known.count(name) > 0 || name == lost_folder) continue;
    auto const status = in.status(name);
    if (!status) continue;
    char const* const kind = S_ISDIR(status->st_mode) ? "unknown folder " : "unknown file ";
    found.push_back({finding_class::unknown, "recorder", kind + shown_folder + name});
  }
}

}  // namespace

void check_unknown_entries(std::filesystem::path const& recorder_folder,
                           std::vector<scanned_volume> const& volumes, findings& found) {
  folder const recorder(recorder_folder);
  add_unknown(recorder, "",
              {catalogue_file, catalogue_journal_file, share_folder, unmounted_folder}, found);
  std::set<std::string> all;
  std::set<std::string> away;
  for (auto const& volume : volumes) {
    all.insert(volume.place.folder_name);
    if (volume.how != mount::present) away.insert(volume.place.folder_name);
  }
  if (auto const unmounted = folder::find(recorder, unmounted_folder)) {
    add_unknown(*unmounted, std::string(unmounted_folder) + "/", away, found);
  }
  if (auto const share = folder::find(recorder, share_folder)) {
    add_unknown(*share, std::string(share_folder) + "/", all, found);
  }
}

}  // namespace lab
