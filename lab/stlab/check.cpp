#include "lab/check/check.h"

#include "lab/repair/repair.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  bool repairs = false;
  bool gives_up = false;
};

std::string shown(lab::finding const& which) {
  bool const may_be_mounted = which.what == lab::finding_class::not_mounted;
  return lab::printed(which) + (may_be_mounted ? " (see stlab mount)" : "");
}

// Why a repair leaves it; empty where the finding says all.
std::string reason_left(lab::finding_class what) {
  using lab::finding_class;
  switch (what) {
    case finding_class::corrupt:
      return "; nothing is moved by a catalogue that is damaged";
    case finding_class::not_mounted:
    case finding_class::unreadable:
      return "; nothing on it is touched";
    case finding_class::wrong_volume:
    case finding_class::misplaced:
      return "; another of its name is out of place, a volume is not read, or it is another recording";
    case finding_class::cross_linked:
      return "; which name is right cannot be told";
    case finding_class::period:
      return "; --give-up drops one without units, once all else is in its place";
    case finding_class::missing:
      return "; --give-up drops what is lost, once all else is in its place";
    case finding_class::too_long:
      return "; what it holds is not cut";
    case finding_class::unknown:
      return "; it may be somebody's";
    case finding_class::leak:
      return "; a file of its volume is not in its place, or a period is known in its hour";
    case finding_class::null_id:
      return "; its units are not on one volume";
    default:
      return "";
  }
}

lab::findings findings_in(recorder_folder const& folder) {
  return lab::check(open_recorder(folder, lab::access::read_only));
}

exit_status only_check(recorder_folder const& folder) {
  auto const found = findings_in(folder);
  for (auto const& each : found) print(shown(each));
  if (!found.empty()) return exit_status::findings;
  print("clean");
  return exit_status::done;
}

exit_status repair(recorder_folder const& folder, lab::lost_recordings what) {
  auto found = findings_in(folder);
  for (auto const& each : found) print(shown(each));
  if (!found.empty()) {
    require_writable(folder);
    auto const report = lab::repair(folder.path, what);
    for (auto const& each : report.repaired) print("repaired: " + each);
    for (auto const& each : report.failed) print("failed: " + each);
    found = findings_in(folder);
  }
  for (auto const& each : found) print("left: " + shown(each) + reason_left(each.what));
  if (found.empty()) {
    print("clean");
    return exit_status::done;
  }
  print(counted(static_cast<std::int64_t>(found.size()), "finding") + " left");
  return exit_status::findings;
}

exit_status check(settings const& asked) {
  if (!asked.repairs) return only_check(asked.folder);
  return repair(asked.folder,
                asked.gives_up ? lab::lost_recordings::give_up : lab::lost_recordings::keep);
}

// What is written to is named.
void settle(settings& asked) {
  complete(asked.folder, asked.repairs ? fallback::none : fallback::built_in);
}

}  // namespace

void add_check(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(
      tool, chosen, "check",
      "Compares folders and catalogue; only undoes a catalogue change that a crash cut short",
      fallback::built_in, check, settle);
  add_flag(
      command, "--repair", asked.repairs,
      "Repairs what is found, gives leaked units back and sets aside what has no place; removes "
      "no recording that is known. "
      "Needs DIR or STLAB_RECORDER");
  add_flag(command, "--give-up", asked.gives_up,
           "With --repair: drops recordings that are missing, once all else is in its place",
           "--repair");
}

}  // namespace stlab
