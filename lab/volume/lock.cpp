#include "lab/volume/lock.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <ctime>

#include "lab/util/error.h"
#include "lab/volume/layout.h"
#include "lab/volume/place.h"

namespace lab {

namespace {

constexpr std::chrono::milliseconds pause{10};

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

void rest() {
  timespec const length{0, std::chrono::nanoseconds(pause).count()};
  nanosleep(&length, nullptr);
}

}  // namespace

volume_lock::volume_lock(volume_place const& place, kind which,
                         std::chrono::milliseconds lock_timeout)
    : identity_(-1) {
  // Rests are counted instead of asking a clock, which may be held.
  for (auto left = lock_timeout;; left -= pause) {
    auto found = look_at(place);
    if (found.how != mount::present) require_mounted(place);
    identity_ = std::move(found.identity);
    if (try_lock(identity_, which) && is_in_place(place)) return;
    if (left <= std::chrono::milliseconds::zero()) {
      throw busy_error("volume " + place.folder_name + " is being written by somebody else");
    }
    rest();
  }
}

std::optional<volume_lock> volume_lock::try_take(volume_place const& place) {
  auto found = look_at(place);
  if (found.how != mount::present) return std::nullopt;
  if (!try_lock(found.identity, kind::exclusive)) return std::nullopt;
  volume_lock taken(std::move(found.identity));
  if (!taken.is_in_place(place)) return std::nullopt;
  return taken;
}

// Whoever takes the lock now takes it by the identity's path. That can have been replaced between
// its opening and its locking.
bool volume_lock::is_in_place(volume_place const& place) const {
  auto const now = look_at(place);
  struct stat held {};
  struct stat found {};
  return now.how == mount::present && fstat(identity_.number(), &held) == 0 &&
         fstat(now.identity.number(), &found) == 0 && held.st_dev == found.st_dev &&
         held.st_ino == found.st_ino;
}

}  // namespace lab
