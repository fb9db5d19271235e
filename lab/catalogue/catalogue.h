// The catalogue of a recorder: its file, its format, and who may do what with it.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

#include "lab/catalogue/sqlite.h"

namespace lab {

inline constexpr char const* catalogue_file = "catalogue.db";
inline constexpr char const* catalogue_journal_file = "catalogue.db-journal";
inline constexpr std::int64_t catalogue_application = 0x53544c42;
inline constexpr std::int64_t catalogue_format = 1;

// What the catalogue can grow by without needing space. One batch of moves
// needs far less, and gives it back when the units have arrived.
inline constexpr std::int64_t catalogue_reserve = std::int64_t{512} * 1024;

inline constexpr std::chrono::milliseconds default_lock_timeout{5000};

enum class access { read_only, read_write };

// Opens the catalogue of the recorder in `recorder_folder` and makes sure that
// it is one that this program knows. With read_write, its journal is whole then
// if that can be.
database open_catalogue(std::filesystem::path const& recorder_folder, access mode,
                        std::chrono::milliseconds lock_timeout = default_lock_timeout);

// True when the recorder's folder still leads to the file that `kept` has open to write, and
// open_catalogue() would accept it; its journal is put back then where that can be. When false,
// open_catalogue() tells why. Throws busy_error.
bool is_still_open(database& kept, std::filesystem::path const& recorder_folder);

// The first number that the query answers, 0 when it answers nothing.
template <typename... Values>
std::int64_t number_of(database const& catalogue, char const* query, Values const&... values) {
  statement one(catalogue, query);
  return one.with(values...).next() ? one.integer(0) : 0;
}

// The absolute path that `folder` means now, without "." and ".." in it.
std::filesystem::path resolved(std::filesystem::path const& folder);

}  // namespace lab
