// The sessions that README.md shows are what st and stlab print. The test runs
// each "$ " line of its console blocks, one after the other, on one recorder.
#include <sstream>

#include "recorder_test.h"

namespace end_to_end {
namespace {

class readme : public recorder_test {
 protected:
  std::string output_of(std::string const& command_line) {
    std::istringstream stream(command_line);
    std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
    environment settings = {{"STLAB_RECORDER", "recorder"}};
    if (auto const equals = words.front().find('='); equals != std::string::npos) {
      settings[words.front().substr(0, equals)] = words.front().substr(equals + 1);
      words.erase(words.begin());
    }
    words.front() = words.front() == "stlab" ? STLAB_PROGRAM : ST_PROGRAM;
    outcome const result = run_here(words, settings);
    EXPECT_EQ(result.status, 0) << command_line << "\n" << result.errors;
    return result.output;
  }
};

TEST_F(readme, shows_what_the_programs_print) {
  hold_clock("2026-11-21 07:30:00");
  std::string shown;
  std::string printed;
  bool in_session = false;
  int commands = 0;
  for (std::string const& line : lines_of(content_of(README))) {
    if (line.rfind("```", 0) == 0) {
      in_session = line == "```console";
      continue;
    }
    if (!in_session) continue;
    shown += line + "\n";
    if (line.rfind("$ ", 0) != 0) continue;
    printed += line + "\n" + output_of(line.substr(2));
    ++commands;
  }
  EXPECT_GE(commands, 10);
  EXPECT_EQ(shown, printed);
}

}  // namespace
}  // namespace end_to_end
