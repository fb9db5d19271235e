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

namespace lab {

namespace {

constexpr std::chrono::milliseconds pause{10};

descriptor open_identity(volume_place const& place) {
  auto const file = place.path / identity_file;
  // Opening a pipe would wait for its other end.
  struct stat found {};
  if (lstat(file.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) return descriptor(-1);
  return descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
}

mount mount_by(descriptor const& identity, volume_place const& place) {
  if (identity.number() < 0) return mount::identity_missing;
  std::array<char, 64> text{};
  ssize_t const size = pread(identity.number(), text.data(), text.size(), 0);
  if (size < 0) return mount::identity_missing;
  std::string_view const found(text.data(), static_cast<std::size_t>(size));
  return found == identity_text(place.sid_text) ? mount::present : mount::identity_foreign;
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
  struct stat held {};
  struct stat found {};
  return fstat(identity.number(), &held) == 0 &&
         lstat((place.path / identity_file).c_str(), &found) == 0 && held.st_dev == found.st_dev &&
         held.st_ino == found.st_ino && mount_by(identity, place) == mount::present;
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

mount mount_of(volume_place const& place) { return mount_by(open_identity(place), place); }

void require_mounted(volume_place const& place) {
  if (mount_of(place) != mount::present) fail_as_not_mounted(place);
}

volume_lock::volume_lock(volume_place const& place, kind which, std::chrono::milliseconds patience)
    : identity_(open_identity(place)) {
  // Rests are counted instead of asking a clock, which may be held.
  for (auto left = patience;; left -= pause) {
    if (mount_by(identity_, place) != mount::present) fail_as_not_mounted(place);
    if (try_lock(identity_, which) && is_in_place(identity_, place)) return;
    if (left <= std::chrono::milliseconds::zero()) {
      throw busy_error("volume " + place.folder_name + " is being written by somebody else");
    }
    rest();
    identity_ = open_identity(place);
  }
}

std::optional<volume_lock> volume_lock::try_take(volume_place const& place) {
  descriptor identity = open_identity(place);
  if (mount_by(identity, place) != mount::present) return std::nullopt;
  if (!try_lock(identity, kind::exclusive)) return std::nullopt;
  if (!is_in_place(identity, place)) return std::nullopt;
  return volume_lock(std::move(identity));
}

}  // namespace lab
