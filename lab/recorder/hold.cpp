// Volumes that are held for longer than one operation.
#include "lab/recorder/state.h"

namespace lab {

void recorder::hold(std::int64_t volume_id, std::chrono::milliseconds lock_timeout) {
  auto const place = place_of(state_->catalogue, state_->folder, volume_id);
  state_->held.erase(volume_id);
  state_->held.emplace(volume_id, volume_lock(place, volume_lock::kind::exclusive, lock_timeout));
}

void recorder::release() noexcept { state_->held.clear(); }

std::optional<volume_lock> recorder::state::lock(volume_place const& place) {
  auto const found = held.find(place.id);
  if (found != held.end()) {
    if (found->second.is_in_place(place)) return std::nullopt;
    held.erase(found);
  }
  return volume_lock(place, volume_lock::kind::exclusive, lock_timeout);
}

}  // namespace lab
