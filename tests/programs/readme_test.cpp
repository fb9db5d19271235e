// The sessions that README.md shows work as printed: the test types the "$ "
// lines of all its console blocks into one shell. The shell stands in a folder
// where the programs lie as ./try leaves them, and knows nothing but what
// README.md has told it by then. What comes back, on standard error too, has to
// be what is shown. A command that fails is not shown as one that works: its
// status comes back as a line of its own.
#include <algorithm>
#include <fstream>

#include "program_test.h"

namespace support {
namespace {

namespace fs = std::filesystem;

using readme = program_test;

std::vector<std::string> shown_lines() {
  std::vector<std::string> shown;
  bool in_session = false;
  for (std::string const& line : lines_of(content_of(README))) {
    if (line.rfind("```", 0) == 0) {
      in_session = line == "```console";
    } else if (in_session) {
      shown.push_back(line);
    }
  }
  return shown;
}

std::string quoted(std::string const& text) {
  std::string result = "'";
  for (char const each : text) result += each == '\'' ? "'\\''" : std::string(1, each);
  return result + '\'';
}

void write_session(fs::path const& file, std::vector<std::string> const& shown) {
  std::ofstream script(file);
  script << "exec 2>&1\n";
  for (std::string const& line : shown) {
    if (line.rfind("$ ", 0) != 0) continue;
    script << "printf '%s\\n' " << quoted(line) << '\n'
           << line.substr(2) << "\nended=$?; ((ended == 0)) || echo \"[status $ended]\"\n";
  }
}

// Where README.md shows the form of a moment, the moment that was printed.
std::string with_moment_of(std::string const& printed, std::string shown) {
  std::string const form = "YYYY-MM-DD HH:00";
  std::size_t const at = shown.find(form);
  if (at == std::string::npos || printed.size() < at + form.size()) return shown;
  std::string const moment = printed.substr(at, form.size());
  bool const fits =
      std::equal(form.begin(), form.end(), moment.begin(), [](char letter, char sign) {
        bool const is_letter = letter >= 'A' && letter <= 'Z';
        return is_letter ? sign >= '0' && sign <= '9' : sign == letter;
      });
  return fits ? shown.replace(at, form.size(), moment) : shown;
}

std::string joined(std::vector<std::string> const& lines) {
  std::string text;
  for (std::string const& line : lines) text += line + '\n';
  return text;
}

TEST_F(readme, works_as_printed) {
  fs::create_directories(folder / "build/release");
  fs::create_directory_symlink(fs::path(ST_PROGRAM).parent_path(), folder / "build/release/bin");
  std::vector<std::string> shown = shown_lines();
  write_session(folder / "session", shown);
  outcome const result = run(
      {"/usr/bin/env", "-u", "LC_ALL", "-u", "TZ", "/bin/bash", folder / "session"}, {}, folder);
  std::vector<std::string> const printed = lines_of(result.output);
  for (std::size_t i = 0; i < std::min(shown.size(), printed.size()); ++i) {
    shown[i] = with_moment_of(printed[i], shown[i]);
  }
  EXPECT_GE(shown.size(), 100U);
  EXPECT_EQ(joined(shown), joined(printed));
}

}  // namespace
}  // namespace support
