// Running a program that may hang, print without end or die.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace hostile {

using words = std::vector<std::string>;
using environment = std::map<std::string, std::string>;

// What a sanitizer ends a program with: nothing else does.
inline constexpr int sanitizer_status = 99;
// The most that a program may print, and the greatest file that it can write.
inline constexpr std::size_t most_output = std::size_t{64} * 1024 * 1024;

struct outcome {
  int status = -1;       // its exit status; -1 when a signal ended it
  int signal = 0;        // the signal that ended it
  bool is_late = false;  // it was killed at the limit
  std::chrono::milliseconds took{};
  std::string output;
  std::string errors;
};

// Runs a program in `folder`, with nothing on its standard input, and kills it
// and what it started at `limit`, by the monotonic clock. Its environment is
// LC_ALL=C, TZ=UTC, the sanitizers' options and `extra`.
outcome run(words const& command, environment const& extra, std::filesystem::path const& folder,
            std::chrono::milliseconds limit);

}  // namespace hostile
