// Giving back the units of a stream that no period holds.
#include <limits>

#include "lab/recorder/state.h"
#include "lab/volume/layout.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

// The unit's own hour must lie in the span whole, and every period of the same
// stream that may be on this volume keeps the hours that it overlaps.
constexpr char const* recycle_query =
    "UPDATE unit SET state = 'recycling' WHERE id IN ("
    "  SELECT u.id FROM unit u"
    "    WHERE u.volume_id = ?1 AND u.channel_id = ?2 AND u.recording_type = ?3 AND u.stream = ?4"
    "      AND u.state = 'recorded' AND u.period_id IS NULL"
    "      AND u.hour_ms BETWEEN ?5 AND ?6"
    "      AND NOT EXISTS ("
    "        SELECT 1 FROM period p"
    "          WHERE p.channel_id = u.channel_id AND p.recording_type = u.recording_type"
    "            AND p.stream = u.stream"
    "            AND (p.storage_id IN ('', ?7)"
    "                 OR EXISTS (SELECT 1 FROM unit held"
    "                              WHERE held.period_id = p.id AND held.volume_id = ?1))"
    "            AND p.start_ms < u.hour_ms + 3600000 AND p.end_ms > u.hour_ms)"
    "    ORDER BY u.hour_ms, u.id LIMIT ?8)";

// Puts a batch of units in transit; the caller's transaction keeps that.
std::int64_t begin_recycling(database& catalogue, volume_place const& place, stream const& of,
                             span const& hours) {
  statement update(catalogue, recycle_query);
  update
      .with(place.id, of.channel_id, of.recording_type, of.number, hours.start_ms, hours.end_ms,
            place.sid_text, move_batch)
      .run();
  return catalogue.changes();
}

}  // namespace

std::int64_t recorder::recycle(std::int64_t volume_id, stream const& of, span const& within) {
  auto& catalogue = state_->catalogue;
  auto const place = place_of(catalogue, state_->folder, volume_id);
  auto const lock = state_->lock(place);
  finish_moves(catalogue, place);
  std::int64_t const rest_of_hour = hour_milliseconds - 1;
  if (within.end_ms < std::numeric_limits<std::int64_t>::min() + rest_of_hour) return 0;
  span const hours{within.start_ms, within.end_ms - rest_of_hour};
  std::int64_t begun = 0;
  {
    transaction intent(catalogue, transaction_kind::writing);
    begun = begin_recycling(catalogue, place, of, hours);
    if (begun == 0) return 0;
    require_movable(place);
    intent.commit();
  }
  std::int64_t const most = account(volume_id).total;
  return finish_moves(catalogue, place, [&] {
    std::int64_t const more = begin_recycling(catalogue, place, of, hours);
    begun += more;
    require_consistent(begun <= most);
    return more;
  });
}

}  // namespace lab
