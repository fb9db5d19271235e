// Golden texts: what commands print, compared with a file.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace support {

// "$ COMMAND" and what it printed, command by command. Several lines are told
// once: "(as before)" is what the same command printed the last time that it is
// told, "(the same)" what the command just before printed.
class session {
 public:
  void tell(std::string const& command, std::string const& printed);
  // A line that no command printed.
  void add(std::string const& line) { text_ += line + "\n"; }

  std::string const& text() const { return text_; }

 private:
  std::string text_;
  std::string last_;                            // what the command just before printed
  std::map<std::string, std::string> printed_;  // by command, the last time
};

// Expects the text to be that of the file. With ACCEPT=1 in the environment it
// becomes that of the file, and the test fails all the same.
void expect_golden(std::filesystem::path const& file, std::string const& text);

}  // namespace support
