// Files that a report is written to and read from.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace report {

// Writes all of it into an open file. Throws std::system_error.
void write_all(int to, std::string_view text);

// Writes beside the file and renames, so that a reader finds the old text or the new
// one. Follows no link at the file's name and replaces nothing but a regular file.
// Throws std::system_error; what was there stays then.
void write_file(std::filesystem::path const& file, std::string const& text);

// Throws std::system_error; so it does for what is no regular file, or larger than 64 MB.
std::string read_file(std::filesystem::path const& file);

}  // namespace report
