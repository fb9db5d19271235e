// Comparing what the catalogue says with what lies in the folders.
#include "lab/catalogue_check.h"
#include "lab/catalogue_journal.h"
#include "lab/displaced_units.h"
#include "lab/recorder_state.h"

namespace lab {

namespace {

using findings = std::vector<std::string>;

char const* reason_of(mount how) {
  return how == mount::identity_missing ? "its identity is missing" : "its identity is another's";
}

void add_displaced(std::vector<surveyed_volume> const& volumes, findings& lines) {
  for (auto const& each : displaced_units(volumes)) {
    for (auto const& file : each.files) {
      if (file.volume == each.home) continue;
      lines.push_back("wrong-volume: volume " + file.volume->place.folder_name + ": " + file.shown +
                      (each.is_certain ? " is of volume " : " may be of volume ") +
                      each.home->place.folder_name);
    }
  }
}

}  // namespace

void recorder::check_against_folders(std::vector<std::string>& lines) const {
  auto& catalogue = state_->catalogue;
  std::vector<surveyed_volume> mounted;
  for (auto const& place : places_of(catalogue, state_->folder)) {
    auto const mounted_as = mount_of(place);
    if (mounted_as != mount::present) {
      lines.push_back("not-mounted: volume " + place.folder_name + ": " + reason_of(mounted_as));
      continue;
    }
    // Nobody moves units while they are compared.
    volume_lock const lock(place, volume_lock::kind::shared, state_->patience);
    mounted.push_back({place, survey(catalogue, place)});
    check_volume(mounted.back(), state_->unit_mb, lines);
  }
  add_displaced(mounted, lines);
  check_periods(catalogue, lines);
}

std::vector<std::string> recorder::check() const {
  findings lines;
  try {
    check_integrity(state_->catalogue, lines);
    check_against_folders(lines);
    if (auto const problem = journal_problem(state_->catalogue)) lines.push_back(*problem);
  } catch (database_error const& failure) {
    lines.push_back(std::string("corrupt: catalogue: ") + failure.what());
  }
  return lines;
}

}  // namespace lab
