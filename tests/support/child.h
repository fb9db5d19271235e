// Runs what is tested in a child process, with the scripted service behind it,
// and brings back what it printed and which calls it made. A leak found by the
// leak sanitizer makes the child's status other than 0.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "files.h"
#include "scripted.h"

namespace support {

struct child_outcome {
  std::string output;
  std::vector<std::string> calls;      // the log without text copies
  std::vector<std::size_t> printed;    // bytes of the output before each of them
  std::vector<std::string> copies;     // the log's nstrcpy lines
  int status = -1;                     // 128 + n after signal n
  std::optional<std::string> escaped;  // what() of the exception that came out
};

// The child's clock follows the script, its time zone is UTC and its
// environment holds nothing that steers du or a recorder.
child_outcome in_child(scripted::script const& script, std::function<void()> const& body);

// The whole program: `st` with these words after its name.
std::function<void()> st_command(std::vector<std::string> const& words);
child_outcome run_st(scripted::script const& script, std::vector<std::string> const& words);

// Calls and prints in their order: each call as it is, each printed line with
// its end; a line that a call interrupts is two.
std::vector<std::string> story(child_outcome const& run);

}  // namespace support
