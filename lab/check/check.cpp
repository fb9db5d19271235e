// Comparing what the catalogue says with what lies in the folders.
#include "lab/check/check.h"

#include "lab/catalogue/journal.h"
#include "lab/check/catalogue_check.h"
#include "lab/check/unknown_entries.h"
#include "lab/check/volume_check.h"
#include "lab/recorder/state.h"

namespace lab {

namespace {

std::vector<scanned_volume> scan_all(recorder::state const& of) {
  std::vector<scanned_volume> scanned;
  for (auto const& place : places_of(of.catalogue, of.folder)) {
    scanned.push_back(scan_volume(of.catalogue, place, of.lock_timeout));
  }
  return scanned;
}

void check_journal(database const& catalogue, findings& found) {
  auto const problem = journal_problem(catalogue);
  if (!problem) return;
  bool const is_missing = problem->missing == journal_gap::extent::all;
  found.push_back(
      {is_missing ? finding_class::missing : finding_class::too_short, "catalogue", problem->text});
}

}  // namespace

findings findings_in(recorder::state const& of, std::vector<scanned_volume> const& volumes) {
  findings found;
  check_unknown_entries(of.folder, volumes, found);
  auto const displaced = displaced_files(volumes);
  for (auto const& volume : volumes) check_volume(volume, displaced, of.unit_mb, found);
  check_periods(of.catalogue, found);
  return found;
}

findings check(recorder const& which) {
  auto const& state = which.inside();
  findings found;
  try {
    check_integrity(state.catalogue, found);
    auto const more = findings_in(state, scan_all(state));
    found.insert(found.end(), more.begin(), more.end());
    check_journal(state.catalogue, found);
  } catch (database_error const& failure) {
    found.push_back({finding_class::corrupt, "catalogue", failure.what()});
  }
  return found;
}

}  // namespace lab
