// Retention.
#include <algorithm>

#include "lab/recorder/state.h"
#include "lab/volume/failure.h"
#include "lab/volume/lock.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"

namespace lab {

namespace {

// A volume that is locked for moving its units.
struct locked_volume {
  volume_place place;
  volume_lock lock;
};

std::vector<locked_volume> lock_mounted(std::vector<volume_place> const& places,
                                        std::chrono::milliseconds lock_timeout) {
  std::vector<locked_volume> locked;
  for (auto const& place : places) {
    if (mount_of(place) != mount::present) continue;
    locked.push_back({place, volume_lock(place, volume_lock::kind::exclusive, lock_timeout)});
  }
  return locked;
}

// The periods that ended before `before_ms`, those with a unit elsewhere than
// on the locked volumes left out.
std::vector<std::int64_t> expired_periods(database const& catalogue, std::int64_t before_ms,
                                          std::vector<locked_volume> const& locked) {
  statement query(catalogue, "SELECT id FROM period WHERE end_ms <= ? ORDER BY id");
  statement volumes(catalogue, "SELECT DISTINCT volume_id FROM unit WHERE period_id = ?");
  query.with(before_ms);
  std::vector<std::int64_t> found;
  while (query.next()) {
    bool reachable = true;
    volumes.with(query.integer(0));
    while (volumes.next()) {
      std::int64_t const id = volumes.integer(0);
      reachable = reachable && std::any_of(locked.begin(), locked.end(), [id](auto const& volume) {
                    return volume.place.id == id;
                  });
    }
    if (reachable) found.push_back(query.integer(0));
  }
  return found;
}

// Gives back what is in transit on each volume, and returns how many units that
// were. A volume that cannot take units back goes from the list, and why into
// `failures`.
std::int64_t finish_all_moves(database& catalogue, std::vector<locked_volume>& volumes,
                              std::vector<std::string>& failures) {
  std::int64_t came_back = 0;
  for (auto volume = volumes.begin(); volume != volumes.end();) {
    auto const failure = failure_on_volume([&] {
      require_movable(volume->place);
      came_back += finish_moves(catalogue, volume->place);
    });
    if (failure) failures.push_back(*failure);
    volume = failure ? volumes.erase(volume) : volume + 1;
  }
  return came_back;
}

[[noreturn]] void fail_as_incomplete(std::vector<std::string> const& failures,
                                     std::int64_t came_back) {
  std::string text;
  for (auto const& failure : failures) text.append(failure).append("; ");
  throw error(text + std::to_string(came_back) + " units of other volumes came back");
}

// Drops the first periods of the list, up to about one batch of units, and
// puts their units in transit; returns how many periods these were.
std::size_t begin_expiry(database& catalogue, std::vector<std::int64_t> const& periods,
                         std::size_t first) {
  transaction intent(catalogue, transaction_kind::writing);
  statement give_back(catalogue,
                      "UPDATE unit SET state = 'recycling', period_id = NULL WHERE period_id = ?");
  statement drop(catalogue, "DELETE FROM period WHERE id = ?");
  std::int64_t units = 0;
  std::size_t taken = 0;
  while (first + taken < periods.size() && units < move_batch) {
    give_back.with(periods[first + taken]).run();
    units += catalogue.changes();
    drop.with(periods[first + taken]).run();
    ++taken;
  }
  intent.commit();
  return taken;
}

}  // namespace

std::int64_t recorder::expire(std::int64_t before_ms) {
  auto& catalogue = state_->catalogue;
  auto usable = lock_mounted(places_of(catalogue, state_->folder), state_->lock_timeout);
  std::vector<std::string> failures;
  finish_all_moves(catalogue, usable, failures);
  std::int64_t came_back = 0;
  for (auto volumes = usable.size() + 1; usable.size() < volumes;) {
    volumes = usable.size();
    auto const periods = expired_periods(catalogue, before_ms, usable);
    for (std::size_t done = 0; done < periods.size() && usable.size() == volumes;) {
      done += begin_expiry(catalogue, periods, done);
      came_back += finish_all_moves(catalogue, usable, failures);
    }
  }
  if (!failures.empty()) fail_as_incomplete(failures, came_back);
  return came_back;
}

}  // namespace lab
