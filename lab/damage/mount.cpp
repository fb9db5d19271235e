#include "lab/damage/mount.h"

#include <fcntl.h>
#include <unistd.h>

#include <optional>
#include <utility>

#include "lab/catalogue/catalogue.h"
#include "lab/damage/damaged_volume.h"
#include "lab/disk/file_steps.h"
#include "lab/recorder/state.h"
#include "lab/volume/layout.h"
#include "lab/volume/place.h"

namespace lab {

namespace {

std::string shown(char const* in, volume_place const& place) {
  return std::string(in) + "/" + place.folder_name;
}

folder folder_of_recorder(folder const& recorder, char const* name) {
  auto found = folder::find(recorder, name);
  if (!found) throw error((recorder.path() / name).string() + ": not a folder");
  return std::move(*found);
}

// The volume's folder where damage has put it; none when there is nothing in
// its own place's way.
std::optional<folder> put_away(folder const& recorder, folder const& share,
                               volume_place const& place) {
  auto const aside = folder::find(recorder, unmounted_folder);
  auto found = aside ? folder::find(*aside, place.folder_name) : std::nullopt;
  if (found && share.status(place.folder_name)) {
    throw error(shown(share_folder, place) + " is in the way of " + shown(unmounted_folder, place));
  }
  return found;
}

folder in_its_place(folder const& share, volume_place const& place) {
  auto found = folder::find(share, place.folder_name);
  if (found) return std::move(*found);
  bool const is_there = share.status(place.folder_name).has_value();
  throw error("volume " + place.folder_name + " cannot be mounted: " +
              (is_there ? shown(share_folder, place) + " is not a folder"
                        : "there is neither " + shown(share_folder, place) + " nor " +
                              shown(unmounted_folder, place)));
}

// An empty mount point, or another volume's folder, must not become this volume.
void require_to_be(volume_place const& place, folder const& volume) {
  if (!folder::find(volume, storage_name(place))) {
    throw error(volume.path().string() + ": not the folder of volume " + place.folder_name +
                ": no " + storage_name(place));
  }
  auto const preallocate = folder(volume, storage_name(place)).status(preallocate_folder);
  if (preallocate && !S_ISDIR(preallocate->st_mode)) {
    throw error(volume.path().string() + ": not the folder of volume " + place.folder_name +
                ": its preallocate is not a folder");
  }
  auto const identity = volume.status(identity_file);
  if (identity && !S_ISREG(identity->st_mode)) {
    throw error((volume.path() / identity_file).string() + ": not a file, and in the way");
  }
}

bool has_identity(volume_place const& place, folder const& volume) {
  int const flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  descriptor const identity(openat(volume.number(), identity_file, flags));
  auto const wanted = identity_text(place.sid_text);
  std::string found(wanted.size() + 1, '\0');
  auto const size = pread(identity.number(), found.data(), found.size(), 0);
  return size >= 0 && found.substr(0, static_cast<std::size_t>(size)) == wanted;
}

bool give_identity(volume_place const& place, folder const& volume) {
  if (has_identity(place, volume)) return false;
  if (volume.status(identity_file)) steps::remove_file(volume, identity_file);
  steps::make_file(volume, identity_file, identity_text(place.sid_text));
  steps::sync_file(volume, identity_file);
  steps::sync_folder(volume);
  return true;
}

void put_back(folder const& recorder, folder const& share, volume_place const& place) {
  auto const aside = folder_of_recorder(recorder, unmounted_folder);
  steps::move_file(aside, share, place.folder_name);
  steps::sync_folder(share);
  steps::sync_folder(aside);
  steps::remove_empty_folder(recorder, unmounted_folder);
}

}  // namespace

std::string mount_volume(std::filesystem::path const& recorder_folder, std::string const& name,
                         std::chrono::milliseconds lock_timeout) {
  auto const where = resolved(recorder_folder);
  auto catalogue = open_catalogue(where, access::read_write, lock_timeout);
  // Of two that mount it, one comes after the other.
  transaction const nobody_else(catalogue, transaction_kind::writing);
  auto const place = place_named(catalogue, where, name);
  if (mount_of(place) == mount::present) throw error("volume " + name + " is mounted already");
  folder const recorder(where);
  auto const share = folder_of_recorder(recorder, share_folder);
  auto away = put_away(recorder, share, place);
  bool const is_away = away.has_value();
  folder const volume = is_away ? std::move(*away) : in_its_place(share, place);
  require_to_be(place, volume);
  bool const is_identity_new = give_identity(place, volume);
  if (is_away) put_back(recorder, share, place);
  require_mounted(place);
  std::string did = "mounted volume " + place.folder_name + ":";
  if (is_away) did += " its folder is back from " + std::string(unmounted_folder);
  if (is_identity_new) did += std::string(is_away ? "," : "") + " its identity is written anew";
  return did;
}

}  // namespace lab
