#include "lab/volume/unit_state.h"

#include <array>

#include "lab/util/error.h"

namespace lab {

namespace {

// In the order of unit_state.
constexpr std::array<char const*, 5> texts{"free", "recording", "recorded", "recycling", "bad"};

}  // namespace

char const* text_of(unit_state state) { return texts.at(static_cast<std::size_t>(state)); }

unit_state unit_state_in(statement const& row, int column) {
  auto const text = row.text(column);
  for (std::size_t index = 0; index < texts.size(); ++index) {
    if (text == texts.at(index)) return static_cast<unit_state>(index);
  }
  throw error("catalogue: a unit's state is none");
}

bool is_in_transit(unit_state state) {
  return state == unit_state::recording || state == unit_state::recycling;
}

void take_out_of_hour(database& catalogue, std::int64_t unit_id, unit_state state) {
  statement(catalogue,
            "UPDATE unit SET state = ?, channel_id = NULL, recording_type = NULL, stream = NULL,"
            "                hour_ms = NULL, period_id = NULL"
            "  WHERE id = ?")
      .with(text_of(state), unit_id)
      .run();
}

}  // namespace lab
