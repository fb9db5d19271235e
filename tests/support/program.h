// Running a program that may hang, print without end or die.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "files.h"

namespace support {

// The words of a command line: given one by one, or as a text that is split at
// its spaces.
class words : public std::vector<std::string> {
 public:
  using std::vector<std::string>::vector;
  // NOLINTBEGIN(google-explicit-constructor): a text is a command line.
  words(std::vector<std::string> all) : std::vector<std::string>(std::move(all)) {}
  words(std::string const& text);
  words(char const* text) : words(std::string(text)) {}
  // NOLINTEND(google-explicit-constructor)

  words& operator+=(words const& more);
};
words operator+(words first, words const& more);
std::string text_of(words const& line);

using environment = std::map<std::string, std::string>;

struct outcome {
  int status = -1;  // 128 + n after signal n
  std::string output;
  std::string errors;
  bool is_late = false;  // it was killed at the limit
  std::chrono::milliseconds took{};
};

// The most that a program may print, and the greatest file that it can write.
inline constexpr std::size_t most_output = std::size_t{64} * 1024 * 1024;

// Runs a program to its end in `folder`, with nothing on its standard input, and
// kills it and what it started at `limit`, by the monotonic clock. Its
// environment is LC_ALL=C, TZ=UTC, the sanitizers' options and `extra`, which
// wins.
outcome run(words const& command, environment const& extra, std::filesystem::path const& folder,
            std::chrono::milliseconds limit = std::chrono::minutes(20));

// The same at a moment that does not pass, "YYYY-MM-DD HH:MM:SS" in the
// program's time zone.
outcome run_at(std::string const& moment, words const& command, environment extra,
               std::filesystem::path const& folder);

}  // namespace support
