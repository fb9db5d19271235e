#include "lab/check/check.h"

#include <memory>

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
};

// A link is nobody's to mount, and what cannot be read may well be mounted.
bool may_be_mounted(std::string const& finding) {
  if (finding.rfind("not-mounted: ", 0) != 0) return false;
  std::string const reason = finding.substr(finding.rfind(": "));
  return reason == ": its folder is missing" || reason.rfind(": its identity", 0) == 0;
}

void print_all(std::vector<std::string> const& lines) {
  for (std::string const& line : lines) {
    print(line + (may_be_mounted(line) ? " (see stlab mount)" : ""));
  }
}

std::vector<std::string> findings_in(recorder_folder const& folder) {
  return lab::check(open_recorder(folder, lab::access::read_only));
}

exit_status check(recorder_folder const& folder) {
  std::vector<std::string> const findings = findings_in(folder);
  print_all(findings);
  if (!findings.empty()) return exit_status::findings;
  print("clean");
  return exit_status::done;
}

exit_status repair(recorder_folder const& folder) {
  std::vector<std::string> const findings = findings_in(folder);
  print_all(findings);
  if (!findings.empty()) {
    require_writable(folder);
    print_all(lab::repair(folder.path));
  }
  std::size_t const left = findings_in(folder).size();
  if (left == 0) {
    print("clean");
    return exit_status::done;
  }
  print(counted(static_cast<std::int64_t>(left), "finding") + " left");
  return exit_status::findings;
}

}  // namespace

void add_check(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand(
      "check",
      "Compares folders and catalogue; only undoes a catalogue change that a crash cut short");
  add_folder(command, asked->folder, fallback::built_in);
  command.add_flag("--repair", asked->repairs,
                   "Mends what can be mended without guessing; removes nothing that is held. "
                   "Needs DIR or STLAB_RECORDER");
  command.callback([asked, &chosen] {
    // What is written to is named.
    complete(asked->folder, asked->repairs ? fallback::none : fallback::built_in);
    chosen = [asked] { return asked->repairs ? repair(asked->folder) : check(asked->folder); };
  });
}

}  // namespace stlab
