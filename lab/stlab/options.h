// Options that several subcommands share.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "lab/stlab/commands.h"

namespace stlab {

// Upper bounds of the tool's counting options.
inline constexpr std::uint64_t most_hours = std::uint64_t{24} * 365;
inline constexpr std::uint64_t most_units = 1'000'000;
inline constexpr std::uint64_t most_steps = std::numeric_limits<int>::max();
inline constexpr std::uint64_t most_seed = std::numeric_limits<std::uint64_t>::max();
inline constexpr std::uint64_t most_channel = std::numeric_limits<std::int32_t>::max();

// Accepts the digits of a whole number, in base 10 whatever they begin with,
// within both ends; anything else is wrong usage.
CLI::Validator whole_number(std::uint64_t least, std::uint64_t most);

// Accepts one of the names.
CLI::Validator one_of(std::vector<std::string> const& names);

// An option that takes a whole number within both ends.
template <typename Number>
CLI::Option* add_number(CLI::App& command, char const* name, Number& value, std::string const& text,
                        std::uint64_t least, std::uint64_t most) {
  return command.add_option(name, value, text)
      ->transform(whole_number(least, most))
      ->type_name("N");
}

// An option that takes one of the names.
template <typename Name>
CLI::Option* add_choice(CLI::App& command, char const* name, Name& value, std::string const& text,
                        std::vector<std::string> const& names) {
  return command.add_option(name, value, text)->check(one_of(names))->type_name("NAME");
}

// Which recorder, and what named it.
struct recorder_folder {
  enum class origin { typed, variable, built_in };
  std::filesystem::path path;
  origin from = origin::typed;
};

// What stands for a recorder that neither the command line nor STLAB_RECORDER
// names: nothing, or the folder that the client library looks into.
enum class fallback { none, built_in };

// The recorder's folder, the optional positional argument DIR.
void add_folder(CLI::App& command, recorder_folder& folder, fallback otherwise);

// Takes a folder that is not typed from STLAB_RECORDER, else from the fallback;
// throws a CLI::ParseError when there is none. An empty variable is an unset one.
void complete(recorder_folder& folder, fallback otherwise);

// A subcommand, and what is asked of it, which its options fill. Both are there as
// long as the tool is.
template <typename Settings>
struct added_command {
  CLI::App& command;
  Settings& asked;
};

// Adds a subcommand that works on the recorder of the settings' `folder`. When the
// command line names it, `settle` completes what was asked, if it is given, else
// complete() does, and `chosen` becomes `perform` of it.
template <typename Settings>
added_command<Settings> add_command(CLI::App& tool, action& chosen, char const* name,
                                    char const* text, fallback otherwise,
                                    exit_status (*perform)(Settings const&),
                                    void (*settle)(Settings&) = nullptr) {
  auto const asked = std::make_shared<Settings>();
  CLI::App& command = *tool.add_subcommand(name, text);
  add_folder(command, asked->folder, otherwise);
  command.callback([=, &chosen] {
    settle == nullptr ? complete(asked->folder, otherwise) : settle(*asked);
    chosen = [asked, perform] { return perform(*asked); };
  });
  return {command, *asked};
}

// The present moment, by default the clock's; read once, when the option is added.
void add_now(CLI::App& command, std::int64_t& now_ms);

// A volume's name, its text ending in what stands for none.
CLI::Option* add_volume(CLI::App& command, std::string& volume, std::string const& otherwise);

// A channel's number, counted from 0.
template <typename Number>
CLI::Option* add_channel(CLI::App& command, Number& channel, std::string const& text) {
  return add_number(command, "--channel", channel, text, 0, most_channel);
}

// A stream's number, 0 to 4, and its recording type's name, one of `types`.
void add_stream(CLI::App& command, std::int32_t& stream, std::string& type,
                std::vector<std::string> const& types);

// The code of a recording type's name.
std::int32_t type_code(std::string const& name);

}  // namespace stlab
