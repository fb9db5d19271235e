// Whether a volume is mounted, and who may move its units.
//
// A volume's folder holds a file that carries the volume's storage id. The file
// tells the volume from an empty mount point and from another volume, and its
// lock makes its holder the volume's only writer. The kernel releases the lock
// of whoever dies.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "lab/folder.h"

namespace lab {

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

class volume_lock {
 public:
  // A shared lock keeps writers away while it is held.
  enum class kind { shared, exclusive };

  // Waits at most `patience`, then throws busy_error. Throws lab::error when
  // the volume is not mounted. The lock is of the identity that is there when it
  // is got, and keeps others away for as long as that one is there.
  volume_lock(volume_place const& place, kind which, std::chrono::milliseconds patience);

  // None when the volume is not mounted or somebody holds its lock.
  static std::optional<volume_lock> try_take(volume_place const& place);

 private:
  explicit volume_lock(descriptor identity) : identity_(std::move(identity)) {}

  descriptor identity_;
};

}  // namespace lab
