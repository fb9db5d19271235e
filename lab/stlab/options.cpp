#include "lab/stlab/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <regex>
#include <tuple>

#include "lab/recorder/recorder.h"
#include "lab/util/calendar.h"
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
  if (parts[7].length() > 0) {
    return lab::seconds_of({number(1), number(2), number(3), number(4), number(5), number(6)});
  }
  std::tm asked{};
  asked.tm_year = number(1) - 1900;
  asked.tm_mon = number(2) - 1;
  asked.tm_mday = number(3);
  asked.tm_hour = number(4);
  asked.tm_min = number(5);
  asked.tm_sec = number(6);
  asked.tm_isdst = -1;
  std::tm found = asked;
  std::time_t const seconds = std::mktime(&found);
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

constexpr std::uint64_t most_channel = std::numeric_limits<std::int32_t>::max();

CLI::Validator whole_number(numbers const& allowed) {
  std::string const range =
      "[" + std::to_string(allowed.least) + " - " + std::to_string(allowed.most) + "]";
  return CLI::Validator(
      [=](std::string& text) {
        std::optional<std::uint64_t> const value = number_in(text);
        if (!value || *value < allowed.least || *value > allowed.most) {
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

void add_text(CLI::App& command, char const* name, std::string& value, std::string const& text,
              std::string const& otherwise, char const* shown) {
  CLI::Option& added = *command.add_option(name, value, text)->type_name(shown);
  if (otherwise.empty()) {
    added.required();
  } else {
    added.default_str(otherwise);
  }
}

// Shows that a word is never left out, though it may be the first one.
class needed_word_formatter : public CLI::Formatter {
 public:
  explicit needed_word_formatter(std::string name) : name_(std::move(name)) {}
  std::string make_option_usage(CLI::Option const* option) const override {
    std::string const usage = CLI::Formatter::make_option_usage(option);
    return usage == "[" + name_ + "]" ? name_ : usage;
  }

 private:
  std::string name_;
};

}  // namespace

CLI::App& add_subcommand(CLI::App& tool, char const* name, char const* text,
                         std::function<void()> when_named) {
  CLI::App& command = *tool.add_subcommand(name, text);
  command.callback(std::move(when_named));
  return command;
}

void set_footer(CLI::App& command, std::string const& text) { command.footer(text); }

template <typename Number>
void add_number(CLI::App& command, char const* name, Number& value, std::string const& text,
                numbers const& allowed) {
  CLI::Option& added = *command.add_option(name, value, text)
                            ->transform(whole_number(allowed))
                            ->type_name(allowed.shown);
  if (!allowed.otherwise.empty()) added.default_str(allowed.otherwise);
}

template <typename Name>
void add_choice(CLI::App& command, char const* name, Name& value, std::string const& text,
                std::vector<std::string> const& names, std::string const& otherwise) {
  CLI::Option& added =
      *command.add_option(name, value, text)->check(one_of(names))->type_name("NAME");
  if (!otherwise.empty()) added.default_str(otherwise);
}

void add_flag(CLI::App& command, char const* name, bool& value, std::string const& text,
              char const* needed) {
  CLI::Option& added = *command.add_flag(name, value, text);
  if (needed != nullptr) added.needs(command.get_option(needed));
}

void add_file(CLI::App& command, char const* name, std::string& file, std::string const& text,
              std::string const& otherwise) {
  add_text(command, name, file, text, otherwise, "FILE");
}

void add_needed_word(CLI::App& command, char const* name, std::string& value,
                     std::string const& text) {
  command.add_option(name, value, text)->type_name("");
  command.formatter(std::make_shared<needed_word_formatter>(name));
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
    throw wrong_usage("no recorder is named: give DIR, or set STLAB_RECORDER");
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
      ->default_str("the clock")
      ->required(now_ms < 0);
}

void add_volume(CLI::App& command, std::string& volume, std::string const& otherwise,
                std::string const& text) {
  add_text(command, "--volume", volume, text, otherwise, "NAME");
}

template <typename Number>
void add_channel(CLI::App& command, Number& channel, std::string const& text,
                 std::string const& otherwise) {
  add_number(command, "--channel", channel, text, {0, most_channel, otherwise});
}

void add_stream(CLI::App& command, std::int32_t& stream, std::string& type,
                std::vector<std::string> const& types) {
  add_number(command, "--stream", stream, "The stream, 0 to 4", {0, 4, "", "S"});
  add_choice(command, "--type", type, "The recording type", types);
}

std::int32_t type_code(std::string const& name) {
  for (lab::recording_type const& each : lab::recording_types) {
    if (name == each.name) return each.code;
  }
  throw refusal("there is no recording type " + name);
}

template void add_number(CLI::App&, char const*, std::int32_t&, std::string const&, numbers const&);
template void add_number(CLI::App&, char const*, std::uint64_t&, std::string const&,
                         numbers const&);
template void add_number(CLI::App&, char const*, std::optional<std::int32_t>&, std::string const&,
                         numbers const&);
template void add_number(CLI::App&, char const*, std::vector<std::int32_t>&, std::string const&,
                         numbers const&);

template void add_channel(CLI::App&, std::int32_t&, std::string const&, std::string const&);
template void add_channel(CLI::App&, std::optional<std::int32_t>&, std::string const&,
                          std::string const&);
template void add_channel(CLI::App&, std::vector<std::int32_t>&, std::string const&,
                          std::string const&);

template void add_choice(CLI::App&, char const*, std::string&, std::string const&,
                         std::vector<std::string> const&, std::string const&);
template void add_choice(CLI::App&, char const*, std::optional<std::string>&, std::string const&,
                         std::vector<std::string> const&, std::string const&);

}  // namespace stlab
