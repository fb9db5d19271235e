// What a recorder holds, and the catalogue look-ups that its sources share.
#pragma once

#include "lab/recorder.h"
#include "lab/sqlite.h"
#include "lab/volume_lock.h"

namespace lab {

inline constexpr char const* catalogue_file = "catalogue.db";
inline constexpr char const* catalogue_journal_file = "catalogue.db-journal";
inline constexpr char const* share_folder = "share";
// Where damage on demand puts the folder of a volume that it makes absent.
inline constexpr char const* unmounted_folder = "unmounted";
inline constexpr std::int64_t catalogue_application = 0x53544c42;
inline constexpr std::int64_t catalogue_format = 1;

// What the catalogue can grow by without needing space. One batch of moves
// needs far less, and gives it back when the units have arrived.
inline constexpr std::int64_t catalogue_reserve = std::int64_t{512} * 1024;

struct recorder::state {
  std::filesystem::path folder;
  database catalogue;
  std::int64_t unit_mb;
  std::chrono::milliseconds patience = default_patience;
};

// Opens the catalogue of the recorder in `recorder_folder` and makes sure that
// it is one that this program knows. With read_write, its journal is whole then
// if that can be.
database open_catalogue(std::filesystem::path const& recorder_folder, access mode,
                        std::chrono::milliseconds patience = default_patience);

// The absolute path that `folder` means now, without "." and ".." in it.
std::filesystem::path resolved(std::filesystem::path const& folder);

// Paths below volumes are told from others by the first "share/" in them.
// Throws lab::error for a recorder whose own path holds one.
void require_path_without_share(std::filesystem::path const& recorder_folder);

// Where volumes lie. Throws lab::error for an id that is none.
volume_place place_of(database const& catalogue, std::filesystem::path const& recorder_folder,
                      std::int64_t volume_id);
std::vector<volume_place> places_of(database const& catalogue,
                                    std::filesystem::path const& recorder_folder);

// Throws lab::error for an id that is none.
std::int32_t channel_number(database const& catalogue, std::int64_t channel_id);

}  // namespace lab
