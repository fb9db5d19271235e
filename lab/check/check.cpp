// Comparing what the catalogue says with what lies in the folders.
#include "lab/catalogue/journal.h"
#include "lab/check/catalogue_check.h"
#include "lab/check/orphans.h"
#include "lab/check/shared_units.h"
#include "lab/check/unknown_entries.h"
#include "lab/recorder/state.h"
#include "lab/volume/place.h"

namespace lab {

namespace {

using findings = std::vector<std::string>;

char const* reason_of(mount how) {
  switch (how) {
    case mount::folder_missing:
      return "its folder is missing";
    case mount::identity_missing:
      return "its identity is missing";
    case mount::identity_foreign:
      return "its identity is another's";
    case mount::not_a_folder:
      return "a link or a file is in the place of its folder";
    default:
      return "it cannot be read";
  }
}

void add_displaced(std::vector<surveyed_volume> const& volumes, findings& lines) {
  for (auto const& each : displaced_units(volumes)) {
    for (auto const& file : each.files) {
      if (file.volume == each.home) continue;
      auto const host =
          file.volume == nullptr ? "recorder" : "volume " + file.volume->place.folder_name;
      lines.push_back("wrong-volume: " + host + ": " + file.shown +
                      (each.is_certain ? " is of volume " : " may be of volume ") +
                      each.home->place.folder_name);
    }
  }
}

void add_shared(std::vector<surveyed_volume> const& volumes, findings& lines) {
  for (auto const& each : shared_units(volumes)) {
    lines.push_back("duplicate: volume " + each.volume->place.folder_name + ": " + text_of(each));
  }
}

void check_against_folders(recorder::state const& state, findings& lines) {
  auto const& catalogue = state.catalogue;
  std::vector<surveyed_volume> mounted;
  auto const places = places_of(catalogue, state.folder);
  for (auto const& each : strangers_beside_volumes(state.folder, places)) {
    lines.push_back("unknown: recorder: " + each);
  }
  for (auto const& place : places) {
    auto const mounted_as = mount_of(place);
    if (mounted_as != mount::present) {
      lines.push_back("not-mounted: volume " + place.folder_name + ": " + reason_of(mounted_as));
      continue;
    }
    try {
      // Nobody moves units while they are compared.
      volume_lock const lock(place, volume_lock::kind::shared, state.lock_timeout);
      mounted.push_back({place, scan(catalogue, place)});
      check_volume(mounted.back(), state.unit_mb, lines);
    } catch (busy_error const&) {
      throw;
    } catch (database_error const&) {
      throw;
    } catch (error const& problem) {
      lines.push_back("unreadable: volume " + place.folder_name + ": " + problem.what());
    }
  }
  add_displaced(mounted, lines);
  add_shared(mounted, lines);
  check_periods(catalogue, lines);
}

}  // namespace

std::vector<std::string> check(recorder const& which) {
  auto const& state = which.inside();
  findings lines;
  try {
    check_integrity(state.catalogue, lines);
    check_against_folders(state, lines);
    if (auto const problem = journal_problem(state.catalogue)) lines.push_back(*problem);
  } catch (database_error const& failure) {
    lines.push_back(std::string("corrupt: catalogue: ") + failure.what());
  }
  return lines;
}

}  // namespace lab
