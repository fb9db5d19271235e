// Opening a recorder, and what is finished then.
#include <utility>

#include "lab/catalogue/catalogue.h"
#include "lab/recorder/state.h"
#include "lab/volume/failure.h"
#include "lab/volume/lock.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"

namespace lab {

namespace {

constexpr char const* unit_size_query = "SELECT unit_mb FROM recorder";

}  // namespace

recorder recorder::open(std::filesystem::path const& folder, access mode,
                        std::chrono::milliseconds lock_timeout) {
  auto where = resolved(folder);
  require_path_without_share(where);
  auto catalogue = open_catalogue(where, mode, lock_timeout);
  std::int64_t const unit_mb = number_of(catalogue, unit_size_query);
  if (unit_mb < 1) throw error(where.string() + ": not a recorder: its catalogue is empty");
  if (unit_mb > most_unit_mb) {
    throw error(where.string() + ": not a recorder: its units are too large");
  }
  recorder opened(std::make_unique<state>(
      state{std::move(where), std::move(catalogue), unit_mb, lock_timeout}));
  if (mode == access::read_write) opened.finish_stopped_moves();
  return opened;
}

bool recorder::resume(std::filesystem::path const& folder, std::chrono::milliseconds lock_timeout) {
  wait_at_most(lock_timeout);
  bool const is_same = resolved(folder) == state_->folder &&
                       is_still_open(state_->catalogue, state_->folder) &&
                       number_of(state_->catalogue, unit_size_query) == state_->unit_mb;
  if (is_same) finish_stopped_moves();
  return is_same;
}

// Volumes that are not mounted or cannot take their units back keep what was
// begun on them; their own operations say what is wrong with them. What moves
// under somebody else's lock is somebody else's.
void recorder::finish_stopped_moves() {
  statement query(state_->catalogue, volumes_in_transit_query);
  std::vector<std::int64_t> volume_ids;
  while (query.next()) volume_ids.push_back(query.integer(0));
  for (auto const volume_id : volume_ids) {
    auto const place = place_of(state_->catalogue, state_->folder, volume_id);
    failure_on_volume([&] {
      if (auto const lock = volume_lock::try_take(place)) finish_moves(state_->catalogue, place);
    });
  }
}

recorder::recorder(std::unique_ptr<state> opened) : state_(std::move(opened)) {}
recorder::recorder(recorder&&) noexcept = default;
recorder& recorder::operator=(recorder&&) noexcept = default;
recorder::~recorder() = default;

void recorder::wait_at_most(std::chrono::milliseconds lock_timeout) {
  state_->lock_timeout = lock_timeout;
  state_->catalogue.wait_at_most(lock_timeout);
}

std::filesystem::path const& recorder::folder() const { return state_->folder; }

std::int64_t recorder::unit_mb() const { return state_->unit_mb; }

}  // namespace lab
