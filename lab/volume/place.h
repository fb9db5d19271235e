// Where a volume lies, and whether it is mounted.
//
// A volume's folder holds a file that carries the volume's storage id. The file
// tells the volume from an empty mount point and from another volume.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "lab/catalogue/sqlite.h"
#include "lab/disk/folder.h"

namespace lab {

inline constexpr char const* share_folder = "share";
// Where damage on demand puts the folder of a volume that it makes absent.
inline constexpr char const* unmounted_folder = "unmounted";
inline constexpr char const* identity_file = "identity";

// Where a volume lies and how it is told from others.
struct volume_place {
  std::int64_t id;
  std::string folder_name;
  std::string sid_text;
  std::filesystem::path path;  // RECORDER/share/<folder name>
};

// What the identity file of a volume holds.
std::string identity_text(std::string const& sid_text);

// A volume whose folder, storage folder or preallocate is a link or a file is
// none to be worked on: what lies behind it may be anybody's.
enum class mount {
  present,
  folder_missing,
  identity_missing,
  identity_foreign,
  not_a_folder,
  unreadable,
};

mount mount_of(volume_place const& place);

// Throws lab::error when the volume is not mounted.
void require_mounted(volume_place const& place);

// The volume's folder, and the storage folder in it. They throw lab::error when
// there is none, or something else in its place.
folder open_volume(volume_place const& place);
folder open_storage(volume_place const& place);

// The name of the storage folder in the volume's folder.
std::string storage_name(volume_place const& place);

// A volume as it is found: how, and its open identity if it has one.
struct sighting {
  mount how;
  descriptor identity;
};

// Whatever cannot be looked at is not mounted.
sighting look_at(volume_place const& place);

// Paths below volumes are told from others by the first "share/" in them.
// Throws lab::error for a recorder whose own path holds one.
void require_path_without_share(std::filesystem::path const& recorder_folder);

// Where volumes lie. Throws lab::error for an id that is none.
volume_place place_of(database const& catalogue, std::filesystem::path const& recorder_folder,
                      std::int64_t volume_id);
std::vector<volume_place> places_of(database const& catalogue,
                                    std::filesystem::path const& recorder_folder);

}  // namespace lab
