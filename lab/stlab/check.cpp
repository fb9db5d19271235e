#include <iostream>
#include <memory>

#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"

namespace stlab {

namespace {

exit_status check(std::filesystem::path const& folder) {
  std::vector<std::string> const findings = open_recorder(folder, lab::access::read_only).check();
  for (std::string const& finding : findings) std::cout << finding << '\n';
  if (!findings.empty()) return exit_status::refused;
  std::cout << "clean\n";
  return exit_status::done;
}

}  // namespace

void add_check(CLI::App& tool, action& chosen) {
  auto const folder = std::make_shared<std::filesystem::path>();
  CLI::App& command =
      *tool.add_subcommand("check", "Compares the folders with the catalogue; changes nothing");
  add_folder(command, *folder);
  command.callback([folder, &chosen] { chosen = [folder] { return check(*folder); }; });
}

}  // namespace stlab
