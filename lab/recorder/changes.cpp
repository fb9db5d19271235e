// Changes that move no unit, each one transaction.
#include "lab/recorder/state.h"
#include "lab/volume/place.h"

namespace lab {

namespace {

// Runs `change`, prepared for one period id, for all of them or for none.
void change_periods(database& catalogue, char const* change,
                    std::vector<std::int64_t> const& period_ids) {
  transaction all(catalogue, transaction_kind::writing);
  statement one(catalogue, change);
  for (auto const id : period_ids) {
    one.with(id).run();
    if (catalogue.changes() != 1) throw error("there is no period with id " + std::to_string(id));
  }
  all.commit();
}

}  // namespace

void recorder::change_volumes(std::vector<volume_change> const& changes) {
  transaction all(state_->catalogue, transaction_kind::writing);
  statement one(state_->catalogue, "UPDATE volume SET name = ?, type = ?, state = ? WHERE id = ?");
  for (auto const& change : changes) {
    one.with(change.name, change.type, change.state, change.volume_id).run();
    if (state_->catalogue.changes() != 1) {
      throw error("there is no volume with id " + std::to_string(change.volume_id));
    }
  }
  all.commit();
}

void recorder::forget(std::vector<std::int64_t> const& period_ids) {
  change_periods(state_->catalogue, "DELETE FROM period WHERE id = ?", period_ids);
}

void recorder::lose_storage_id(std::vector<std::int64_t> const& period_ids) {
  change_periods(state_->catalogue, "UPDATE period SET storage_id = '' WHERE id = ?", period_ids);
}

void recorder::assign(std::int64_t channel_id, std::int64_t volume_id) {
  auto& catalogue = state_->catalogue;
  transaction both(catalogue, transaction_kind::writing);
  channel_number(catalogue, channel_id);
  place_of(catalogue, state_->folder, volume_id);
  statement(catalogue, "DELETE FROM assignment WHERE channel_id = ?").with(channel_id).run();
  statement(catalogue, "INSERT INTO assignment (channel_id, volume_id) VALUES (?, ?)")
      .with(channel_id, volume_id)
      .run();
  both.commit();
}

}  // namespace lab
