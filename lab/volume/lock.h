// Who may move a volume's units.
//
// The lock of a volume's identity makes its holder the volume's only writer. The
// kernel releases the lock of whoever dies.
#pragma once

#include <chrono>
#include <optional>

#include "lab/volume/place.h"

namespace lab {

class volume_lock {
 public:
  // A shared lock keeps writers away while it is held.
  enum class kind { shared, exclusive };

  // Waits at most `lock_timeout`, then throws busy_error. Throws lab::error when
  // the volume is not mounted. The lock is of the identity that is there when it
  // is got, and keeps others away for as long as that one is there.
  volume_lock(volume_place const& place, kind which, std::chrono::milliseconds lock_timeout);

  // None when the volume is not mounted or somebody holds its lock.
  static std::optional<volume_lock> try_take(volume_place const& place);

  // Whether the volume is mounted, and the identity that is locked still its own.
  bool is_in_place(volume_place const& place) const;

 private:
  explicit volume_lock(descriptor identity) : identity_(std::move(identity)) {}

  descriptor identity_;
};

}  // namespace lab
