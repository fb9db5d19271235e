#include "lab/stlab/options.h"

#include <charconv>
#include <ctime>
#include <optional>

namespace stlab {

namespace {

std::optional<std::uint64_t> number_in(std::string const& text) {
  std::uint64_t value = 0;
  char const* const end = text.data() + text.size();
  auto const [stop, problem] = std::from_chars(text.data(), end, value);
  if (problem != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace

CLI::Validator whole_number(std::uint64_t least, std::uint64_t most) {
  std::string const range = "[" + std::to_string(least) + " - " + std::to_string(most) + "]";
  return CLI::Validator(
      [=](std::string& text) {
        std::optional<std::uint64_t> const value = number_in(text);
        if (!value || *value < least || *value > most) {
          return "'" + text + "' is not a whole number in " + range;
        }
        // Without leading zeros, which would be read as the sign of another base.
        text = std::to_string(*value);
        return std::string();
      },
      "in " + range);
}

void add_folder(CLI::App& command, std::filesystem::path& folder) {
  CLI::Validator const not_empty(
      [](std::string& text) { return std::string(text.empty() ? "the folder has no name" : ""); },
      "");
  command.add_option("DIR", folder, "The recorder's folder")
      ->required()
      ->check(not_empty)
      ->type_name("");
}

void add_now(CLI::App& command, std::int64_t& now_s) {
  now_s = std::int64_t{std::time(nullptr)};
  command.add_option("--now", now_s, "The present moment, seconds since the epoch")
      ->transform(whole_number(0, 253'402'300'799))
      ->type_name("SECONDS")
      ->default_str("the clock");
}

void add_stream(CLI::App& command, std::int32_t& stream) {
  command.add_option("--stream", stream, "The stream, 0 to 4")
      ->transform(whole_number(0, 4))
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
