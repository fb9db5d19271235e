#include "typed_session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "files.h"

namespace support {

namespace {

std::string quoted(std::string const& text) {
  std::string result = "'";
  for (char const each : text) result += each == '\'' ? "'\\''" : std::string(1, each);
  return result + '\'';
}

void write_session(std::filesystem::path const& file, std::vector<std::string> const& shown) {
  std::ofstream script(file);
  script << "exec 2>&1\n";
  for (std::string const& line : shown) {
    if (!begins_with(line, "$ ")) continue;
    script << "printf '%s\\n' " << quoted(line) << '\n'
           << line.substr(2) << "\nended=$?; ((ended == 0)) || echo \"[status $ended]\"\n";
  }
}

// Whether the text is a moment of the form: capitals stand for digits.
bool fits(std::string const& form, std::string const& text) {
  return std::equal(form.begin(), form.end(), text.begin(), text.end(), [](char letter, char sign) {
    bool const is_letter = letter >= 'A' && letter <= 'Z';
    return is_letter ? sign >= '0' && sign <= '9' : sign == letter;
  });
}

// Where the form of a moment is shown, the moment that was printed.
std::string with_moments_of(std::string const& printed, std::string shown) {
  for (std::string const form : {"YYYY-MM-DD HH:00", "YYYY-MM-DD HH:MM"}) {
    for (std::size_t at = 0; (at = shown.find(form, at)) != std::string::npos; at += form.size()) {
      if (printed.size() < at) break;
      std::string const moment = printed.substr(at, form.size());
      if (fits(form, moment)) shown.replace(at, form.size(), moment);
    }
  }
  return shown;
}

std::string joined(std::vector<std::string> const& lines) {
  std::string text;
  for (std::string const& line : lines) text += line + '\n';
  return text;
}

}  // namespace

void expect_works_as_shown(std::vector<std::string> shown, std::filesystem::path const& folder,
                           environment const& extra) {
  temporary_folder const own;
  write_session(own.path() / "session", shown);
  outcome const result =
      run({"/usr/bin/env", "-u", "LC_ALL", "-u", "TZ", "/bin/bash", own.path() / "session"}, extra,
          folder);
  std::vector<std::string> const printed = lines_of(result.output);
  for (std::size_t i = 0; i < std::min(shown.size(), printed.size()); ++i) {
    shown[i] = with_moments_of(printed[i], shown[i]);
  }
  EXPECT_EQ(joined(shown), joined(printed));
}

}  // namespace support
