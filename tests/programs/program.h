// Running programs with an environment of the test's own.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace end_to_end {

struct outcome {
  int status = -1;  // 128 + n after signal n
  std::string output;
  std::string errors;
};

using environment = std::map<std::string, std::string>;

// Runs a program to its end in `folder`, with nothing on its standard input.
// Its environment is LC_ALL=C, TZ=UTC, the sanitizers' options and `extra`,
// which wins.
outcome run(std::vector<std::string> const& command, environment const& extra,
            std::filesystem::path const& folder);

std::string content_of(std::filesystem::path const& file);

std::vector<std::string> lines_of(std::string const& text);

}  // namespace end_to_end
