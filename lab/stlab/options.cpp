#include "lab/stlab/options.h"

#include <ctime>

namespace stlab {

void add_folder(CLI::App& command, std::filesystem::path& folder) {
  command.add_option("DIR", folder, "The recorder's folder")->required()->type_name("");
}

void add_now(CLI::App& command, std::int64_t& now_s) {
  now_s = std::int64_t{std::time(nullptr)};
  command.add_option("--now", now_s, "The present moment, seconds since the epoch")
      ->check(CLI::Range(std::int64_t{0}, std::int64_t{253'402'300'799}))
      ->type_name("SECONDS")
      ->default_str("the clock");
}

void add_stream(CLI::App& command, std::int32_t& stream) {
  command.add_option("--stream", stream, "The stream, 0 to 4")
      ->check(CLI::Range(0, 4))
      ->type_name("S");
}

void add_type(CLI::App& command, std::string& type, std::vector<std::string> const& names) {
  command.add_option("--type", type, "The recording type")
      ->check(CLI::IsMember(names))
      ->type_name("NAME");
}

std::int32_t type_code(std::string const& name) {
  if (name == "alarm") return 1;
  return name == "manual" ? 2 : 4;
}

}  // namespace stlab
