#include "lab/volume_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <string_view>

#include "lab/error.h"
#include "lab/layout.h"

namespace lab {

namespace {

constexpr std::chrono::milliseconds pause{10};

// A volume as it is found: how, and its open identity if it has one.
struct sighting {
  mount how;
  descriptor identity;
};

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
sighting look_at(volume_place const& place) {
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

sighting look_without_failing(volume_place const& place) {
  try {
    return look_at(place);
  } catch (error const&) {
    return {mount::unreadable, descriptor(-1)};
  }
}

bool try_lock(descriptor const& identity, volume_lock::kind which) {
  int const operation = which == volume_lock::kind::shared ? LOCK_SH : LOCK_EX;
  int result = -1;
  do {
    result = flock(identity.number(), operation | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  if (result == 0) return true;
  if (errno == EWOULDBLOCK) return false;
  fail_with_errno(identity_file, "cannot lock");
}

// Whether who takes the lock now, by the identity's path, takes it of the same
// file, and that is still the volume's identity. It can have been replaced
// between its opening and its locking.
bool is_in_place(descriptor const& identity, volume_place const& place) {
  auto const now = look_without_failing(place);
  struct stat held {};
  struct stat found {};
  return now.how == mount::present && fstat(identity.number(), &held) == 0 &&
         fstat(now.identity.number(), &found) == 0 && held.st_dev == found.st_dev &&
         held.st_ino == found.st_ino;
}

void rest() {
  timespec const length{0, std::chrono::nanoseconds(pause).count()};
  nanosleep(&length, nullptr);
}

[[noreturn]] void fail_as_not_mounted(volume_place const& place) {
  throw error("volume " + place.folder_name + " is not mounted: " + place.path.string());
}

}  // namespace

std::string identity_text(std::string const& sid_text) { return sid_text + "\n"; }

mount mount_of(volume_place const& place) { return look_without_failing(place).how; }

void require_mounted(volume_place const& place) {
  if (mount_of(place) != mount::present) fail_as_not_mounted(place);
}

folder open_volume(volume_place const& place) { return {share_of(place), place.folder_name}; }

folder open_storage(volume_place const& place) {
  return {folder(share_of(place), place.folder_name, folder::use::pass), storage_name(place)};
}

std::string storage_name(volume_place const& place) { return storage_folder_name(place.sid_text); }

volume_lock::volume_lock(volume_place const& place, kind which, std::chrono::milliseconds patience)
    : identity_(-1) {
  // Rests are counted instead of asking a clock, which may be held.
  for (auto left = patience;; left -= pause) {
    auto found = look_without_failing(place);
    if (found.how != mount::present) fail_as_not_mounted(place);
    identity_ = std::move(found.identity);
    if (try_lock(identity_, which) && is_in_place(identity_, place)) return;
    if (left <= std::chrono::milliseconds::zero()) {
      throw busy_error("volume " + place.folder_name + " is being written by somebody else");
    }
    rest();
  }
}

std::optional<volume_lock> volume_lock::try_take(volume_place const& place) {
  auto found = look_without_failing(place);
  if (found.how != mount::present) return std::nullopt;
  if (!try_lock(found.identity, kind::exclusive)) return std::nullopt;
  if (!is_in_place(found.identity, place)) return std::nullopt;
  return volume_lock(std::move(found.identity));
}

}  // namespace lab
