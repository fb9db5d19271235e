#include "program_test.h"

#include <stdexcept>

#include "snapshot.h"

namespace support {

namespace fs = std::filesystem;

std::string program_test::stlab(words const& command, words const& options) const {
  outcome const result = run_stlab(command, options);
  EXPECT_EQ(result.status, 0) << "stlab " << text_of(command + options) << "\n"
                              << result.output << result.errors;
  return result.output;
}

std::string program_test::st(words const& command, environment const& extra) const {
  outcome const result = run_st(command, extra);
  EXPECT_EQ(result.status, 0) << "st " << text_of(command);
  EXPECT_EQ(result.errors, "") << "st " << text_of(command);
  return result.output;
}

outcome program_test::run_stlab(words const& command, words const& options,
                                environment const& extra) const {
  words const rest(command.begin() + 1, command.end());
  return run_here(words{STLAB_PROGRAM, command.front(), recorder} + rest + options, extra);
}

outcome program_test::run_st(words const& command, environment const& extra) const {
  return run_here(words{ST_PROGRAM} + command, extra);
}

outcome program_test::run_here(words const& command, environment extra) const {
  extra.insert({"STLAB_RECORDER", recorder});
  return clock_.empty() ? run(command, extra, folder) : run_at(clock_, command, extra, folder);
}

picture program_test::picture_now() const {
  picture result;
  for (auto const& [path, found] : snapshot_of(recorder)) {
    result.emplace(path.substr(0, path.find_last_not_of('/') + 1), found.content);
  }
  return result;
}

fs::path program_test::storage_folder(std::string const& volume) const {
  fs::path found;
  for (std::string const& name : names_in(recorder / "share" / volume)) {
    if (!begins_with(name, "FSU_")) continue;
    if (!found.empty()) throw std::runtime_error("two storage folders in " + volume);
    found = recorder / "share" / volume / name;
  }
  if (found.empty()) throw std::runtime_error("no storage folder in " + volume);
  return found;
}

long long program_test::preallocated_kib(std::string const& volume) const {
  outcome const measured =
      run({"/usr/bin/du", "-k", storage_folder(volume) / "preallocate"}, {}, folder);
  EXPECT_EQ(measured.status, 0) << measured.errors;
  return std::stoll(measured.output);
}

}  // namespace support
