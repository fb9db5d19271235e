#include <iostream>
#include <memory>

#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"

namespace stlab {

namespace {

struct settings {
  std::filesystem::path folder;
  bool repairs = false;
};

// A file may have any name; its line stays one line.
std::string printable(std::string line) {
  for (char& each : line) {
    bool const is_control = static_cast<unsigned char>(each) < ' ' || each == '\177';
    if (is_control) each = '?';
  }
  return line;
}

void print(std::vector<std::string> const& lines) {
  for (std::string const& line : lines) std::cout << printable(line) << '\n';
}

std::vector<std::string> findings_in(std::filesystem::path const& folder) {
  return open_recorder(folder, lab::access::read_only).check();
}

exit_status check(std::filesystem::path const& folder) {
  std::vector<std::string> const findings = findings_in(folder);
  print(findings);
  if (!findings.empty()) return exit_status::refused;
  std::cout << "clean\n";
  return exit_status::done;
}

exit_status repair(std::filesystem::path const& folder) {
  std::vector<std::string> const findings = findings_in(folder);
  print(findings);
  if (!findings.empty()) print(lab::recorder::repair(folder));
  std::size_t const left = findings_in(folder).size();
  if (left == 0) {
    std::cout << "clean\n";
    return exit_status::done;
  }
  std::cout << "findings that are left: " << left << '\n';
  return exit_status::refused;
}

}  // namespace

void add_check(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand(
      "check",
      "Compares folders and catalogue; only undoes a catalogue change that a crash cut short");
  add_folder(command, asked->folder);
  command.add_flag("--repair", asked->repairs,
                   "Mends what can be mended without guessing; removes nothing that is held");
  command.callback([asked, &chosen] {
    chosen = [asked] { return asked->repairs ? repair(asked->folder) : check(asked->folder); };
  });
}

}  // namespace stlab
