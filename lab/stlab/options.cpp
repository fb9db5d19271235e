#include "lab/stlab/options.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <regex>
#include <tuple>

#include "lab/recorder/recorder.h"
#include "lab/volume/recording_type.h"

namespace stlab {

namespace {

std::optional<std::uint64_t> number_in(std::string const& text) {
  std::uint64_t value = 0;
  char const* const end = text.data() + text.size();
  auto const [stop, problem] = std::from_chars(text.data(), end, value);
  if (problem != std::errc() || stop != end) return std::nullopt;
  return value;
}

// The seconds since the epoch of "2026-11-21", "2026-11-21 07:00" or
// "2026-11-21 07:00:30", a T in place of the blank: in UTC with a Z at its end,
// else in local time. None for anything else, and for what no clock shows.
std::optional<std::int64_t> seconds_of(std::string const& text) {
  static std::regex const form(R"((\d{4})-(\d\d)-(\d\d)(?:[ T](\d\d):(\d\d)(?::(\d\d))?)?(Z?))");
  std::smatch parts;
  if (!std::regex_match(text, parts, form)) return std::nullopt;
  auto const number = [&parts](std::size_t part) {
    return parts[part].matched ? std::stoi(parts[part]) : 0;
  };
  std::tm asked{};
  asked.tm_year = number(1) - 1900;
  asked.tm_mon = number(2) - 1;
  asked.tm_mday = number(3);
  asked.tm_hour = number(4);
  asked.tm_min = number(5);
  asked.tm_sec = number(6);
  asked.tm_isdst = -1;
  std::tm found = asked;
  bool const is_utc = parts[7].length() > 0;
  std::time_t const seconds = is_utc ? ::timegm(&found) : ::mktime(&found);
  // What is out of range has been counted over into another date or time.
  auto const fields = [](std::tm const& of) {
    return std::tuple(of.tm_year, of.tm_mon, of.tm_mday, of.tm_hour, of.tm_min, of.tm_sec);
  };
  if (fields(found) != fields(asked)) return std::nullopt;
  return std::int64_t{seconds};
}

constexpr std::int64_t most_seconds = 253'402'300'799;  // the end of the year 9999

std::optional<std::int64_t> moment_in(std::string const& text) {
  std::optional<std::int64_t> found;
  if (std::optional<std::uint64_t> const seconds = number_in(text)) {
    if (*seconds <= most_seconds) found = static_cast<std::int64_t>(*seconds);
  } else {
    found = seconds_of(text);
  }
  if (found && (*found < 0 || *found > most_seconds)) return std::nullopt;
  return found;
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

CLI::Validator one_of(std::vector<std::string> const& names) {
  std::string const list = CLI::detail::join(names, ", ");
  return CLI::Validator(
      [=](std::string& text) {
        bool const is_one = std::find(names.begin(), names.end(), text) != names.end();
        return is_one ? std::string() : "'" + text + "' is none of " + list;
      },
      list);
}

void add_folder(CLI::App& command, recorder_folder& folder, fallback otherwise) {
  CLI::Validator const not_empty(
      [](std::string& text) { return std::string(text.empty() ? "the folder has no name" : ""); },
      "");
  std::string text = "The recorder's folder; without it STLAB_RECORDER names it";
  if (otherwise == fallback::built_in) {
    text += ", and when that is unset it is " + std::string(lab::default_recorder_folder);
  }
  command.add_option("DIR", folder.path, text)->check(not_empty)->type_name("");
}

void complete(recorder_folder& folder, fallback otherwise) {
  if (!folder.path.empty()) return;
  char const* const variable = std::getenv("STLAB_RECORDER");
  if (variable != nullptr && *variable != '\0') {
    folder = {variable, recorder_folder::origin::variable};
  } else if (otherwise == fallback::built_in) {
    folder = {lab::default_recorder_folder, recorder_folder::origin::built_in};
  } else {
    throw CLI::ValidationError("no recorder is named: give DIR, or set STLAB_RECORDER");
  }
}

void add_now(CLI::App& command, std::int64_t& now_ms) {
  now_ms = std::int64_t{std::time(nullptr)} * 1000;
  CLI::Validator const moment(
      [](std::string& text) {
        std::optional<std::int64_t> const value = moment_in(text);
        if (!value) {
          return "'" + text +
                 "' is no moment: neither seconds since 1970 nor a date such as 2026-11-21 or "
                 "'2026-11-21 07:00:00Z'";
        }
        text = std::to_string(*value * 1000);
        return std::string();
      },
      "");
  command
      .add_option("--now", now_ms,
                  "The present moment: seconds since 1970, or 2026-11-21, '2026-11-21 07:00' or "
                  "'2026-11-21 07:00:30', which is local time, or UTC with a Z at its end")
      ->transform(moment)
      ->type_name("MOMENT")
      ->default_str("the clock");
}

CLI::Option* add_volume(CLI::App& command, std::string& volume, std::string const& otherwise) {
  return command.add_option("--volume", volume, "The volume's name")
      ->type_name("NAME")
      ->default_str(otherwise);
}

void add_stream(CLI::App& command, std::int32_t& stream, std::string& type,
                std::vector<std::string> const& types) {
  add_number(command, "--stream", stream, "The stream, 0 to 4", 0, 4)->type_name("S");
  add_choice(command, "--type", type, "The recording type", types);
}

std::int32_t type_code(std::string const& name) {
  for (lab::recording_type const& each : lab::recording_types) {
    if (name == each.name) return each.code;
  }
  throw CLI::ValidationError("there is no recording type " + name);
}

}  // namespace stlab
