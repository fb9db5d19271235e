// Options that several subcommands share.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
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

// The whole numbers that an option takes, and how its help shows them.
struct numbers {
  std::uint64_t least;
  std::uint64_t most;
  std::string otherwise = {};  // what stands for none; empty: the value as it is
  std::string shown = "N";
};

// An option that takes the digits of a whole number, in base 10 whatever they begin
// with; anything else is wrong usage. For the types that options.cpp ends with.
template <typename Number>
void add_number(CLI::App& command, char const* name, Number& value, std::string const& text,
                numbers const& allowed);

// An option that takes one of the names.
template <typename Name>
void add_choice(CLI::App& command, char const* name, Name& value, std::string const& text,
                std::vector<std::string> const& names, std::string const& otherwise = {});

// An option without a value, which `needed`, if it is given, has to stand beside.
void add_flag(CLI::App& command, char const* name, bool& value, std::string const& text,
              char const* needed = nullptr);

// An option that takes a file's path; needed unless something stands for none.
void add_file(CLI::App& command, char const* name, std::string& file, std::string const& text,
              std::string const& otherwise);

// A word that the usage shows as needed; whether it is there the command looks itself.
void add_needed_word(CLI::App& command, char const* name, std::string& value,
                     std::string const& text);

// What the help of a command ends with, before the exit statuses.
void set_footer(CLI::App& command, std::string const& text);

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
// throws wrong_usage when there is none. An empty variable is an unset one.
void complete(recorder_folder& folder, fallback otherwise);

// A subcommand, and what is asked of it, which its options fill. Both are there as
// long as the tool is.
template <typename Settings>
struct added_command {
  CLI::App& command;
  Settings& asked;
};

// Adds a subcommand; `when_named` is called when the command line names it, and
// may throw wrong_usage.
CLI::App& add_subcommand(CLI::App& tool, char const* name, char const* text,
                         std::function<void()> when_named);

// Adds a subcommand that works on the recorder of the settings' `folder`. When the
// command line names it, `settle` completes what was asked, if it is given, else
// complete() does, and `chosen` becomes `perform` of it.
template <typename Settings>
added_command<Settings> add_command(CLI::App& tool, action& chosen, char const* name,
                                    char const* text, fallback otherwise,
                                    exit_status (*perform)(Settings const&),
                                    void (*settle)(Settings&) = nullptr) {
  auto const asked = std::make_shared<Settings>();
  CLI::App& command = add_subcommand(tool, name, text, [=, &chosen] {
    settle == nullptr ? complete(asked->folder, otherwise) : settle(*asked);
    chosen = [asked, perform] { return perform(*asked); };
  });
  add_folder(command, asked->folder, otherwise);
  return {command, *asked};
}

// The present moment, by default the clock's; read once, when the option is added.
// A clock before 1970, or beyond what time_t holds, is no default: then the option
// is needed.
void add_now(CLI::App& command, std::int64_t& now_ms);

// A volume's name, `text` saying which; needed unless something stands for none.
void add_volume(CLI::App& command, std::string& volume, std::string const& otherwise,
                std::string const& text = "The volume's name");

// Channels' numbers, counted from 0.
template <typename Number>
void add_channel(CLI::App& command, Number& channel, std::string const& text,
                 std::string const& otherwise = {});

// A stream's number, 0 to 4, and its recording type's name, one of `types`.
void add_stream(CLI::App& command, std::int32_t& stream, std::string& type,
                std::vector<std::string> const& types);

// The code of a recording type's name.
std::int32_t type_code(std::string const& name);

}  // namespace stlab
