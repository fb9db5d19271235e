// Options that several subcommands share.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace stlab {

// The recorder's folder, the positional argument DIR.
void add_folder(CLI::App& command, std::filesystem::path& folder);

// The present moment in seconds, by default the clock's; read once, when the
// option is added.
void add_now(CLI::App& command, std::int64_t& now_s);

// A stream's number, 0 to 4.
void add_stream(CLI::App& command, std::int32_t& stream);

// A recording type's name, one of `names`.
void add_type(CLI::App& command, std::string& type, std::vector<std::string> const& names);

// The code of a recording type's name: normal 4, alarm 1, manual 2.
std::int32_t type_code(std::string const& name);

// Upper bounds of the tool's counting options.
inline constexpr int most_hours = 24 * 365;
inline constexpr int most_units = 1'000'000;

}  // namespace stlab
