#include "lab/volume/place.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <set>
#include <string_view>

#include "lab/util/error.h"
#include "lab/volume/layout.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

folder share_of(volume_place const& place) {
  auto const share = place.path.parent_path();
  return {folder(share.parent_path(), folder::use::pass), share.filename(), folder::use::pass};
}

bool is_in_the_way(folder const& parent, std::string const& name) {
  auto const status = parent.status(name);
  return status && !S_ISDIR(status->st_mode);
}

// None where nothing lies; none of what is in the way either.
std::optional<folder> passed(folder const& parent, std::string const& name) {
  return folder::find(parent, name, folder::use::pass);
}

bool is_storage_in_the_way(folder const& volume, volume_place const& place) {
  if (is_in_the_way(volume, storage_name(place))) return true;
  try {
    auto const storage = passed(volume, storage_name(place));
    return storage && is_in_the_way(*storage, preallocate_folder);
  } catch (error const&) {
    return false;  // whoever looks into it is told why that cannot be done
  }
}

bool is_identity(descriptor const& file, volume_place const& place) {
  std::array<char, 64> text{};
  ssize_t const size = pread(file.number(), text.data(), text.size(), 0);
  return size >= 0 && std::string_view(text.data(), static_cast<std::size_t>(size)) ==
                          identity_text(place.sid_text);
}

// Opening a pipe would wait for its other end.
descriptor open_identity(folder const& volume) {
  auto const status = volume.status(identity_file);
  if (!status || !S_ISREG(status->st_mode)) return descriptor(-1);
  return descriptor(openat(volume.number(), identity_file, O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
}

// What is in a folder's way decides before the identity does: it may be behind a
// link itself.
sighting look(volume_place const& place) {
  auto const share_path = place.path.parent_path();
  folder const recorder(share_path.parent_path(), folder::use::pass);
  if (is_in_the_way(recorder, share_path.filename())) return {mount::not_a_folder, descriptor(-1)};
  auto const share = passed(recorder, share_path.filename());
  if (!share) return {mount::folder_missing, descriptor(-1)};
  if (is_in_the_way(*share, place.folder_name)) return {mount::not_a_folder, descriptor(-1)};
  auto const volume = passed(*share, place.folder_name);
  if (!volume) return {mount::folder_missing, descriptor(-1)};
  if (is_storage_in_the_way(*volume, place)) return {mount::not_a_folder, descriptor(-1)};
  auto identity = open_identity(*volume);
  if (identity.number() < 0) return {mount::identity_missing, descriptor(-1)};
  if (!is_identity(identity, place)) return {mount::identity_foreign, std::move(identity)};
  return {mount::present, std::move(identity)};
}

volume_place place_in(statement const& row, std::filesystem::path const& recorder_folder) {
  std::string const name = volume_folder_in(row, 1);
  return {row.integer(0), name, storage_id_in(row, 2), recorder_folder / share_folder / name};
}

}  // namespace

std::string identity_text(std::string const& sid_text) { return sid_text + "\n"; }

mount mount_of(volume_place const& place) { return look_at(place).how; }

void require_mounted(volume_place const& place) {
  if (mount_of(place) == mount::present) return;
  throw error("volume " + place.folder_name + " is not mounted: " + place.path.string());
}

folder open_volume(volume_place const& place) { return {share_of(place), place.folder_name}; }

folder open_storage(volume_place const& place) {
  return {folder(share_of(place), place.folder_name, folder::use::pass), storage_name(place)};
}

std::string storage_name(volume_place const& place) { return storage_folder_name(place.sid_text); }

sighting look_at(volume_place const& place) {
  try {
    return look(place);
  } catch (error const&) {
    return {mount::unreadable, descriptor(-1)};
  }
}

void require_path_without_share(std::filesystem::path const& recorder_folder) {
  if ((recorder_folder.string() + "/").find("share/") == std::string::npos) return;
  throw error(recorder_folder.string() + ": a recorder's own path must not hold \"share/\"");
}

volume_place place_of(database const& catalogue, std::filesystem::path const& recorder_folder,
                      std::int64_t volume_id) {
  statement query(catalogue, "SELECT id, folder, sid_text FROM volume WHERE id = ?");
  if (!query.with(volume_id).next()) {
    throw error("there is no volume with id " + std::to_string(volume_id));
  }
  return place_in(query, recorder_folder);
}

std::vector<volume_place> places_of(database const& catalogue,
                                    std::filesystem::path const& recorder_folder) {
  statement query(catalogue, "SELECT id, folder, sid_text FROM volume ORDER BY id");
  std::vector<volume_place> places;
  std::set<std::string> known;
  while (query.next()) {
    places.push_back(place_in(query, recorder_folder));
    if (!known.insert(places.back().folder_name).second) {
      throw error("catalogue: two volumes have one folder");
    }
  }
  return places;
}

}  // namespace lab
