#include "lab/volume/unit_state.h"

#include <array>
#include <string>

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

void take_out_of_hour(database& catalogue, std::vector<std::int64_t> const& unit_ids,
                      unit_state state) {
  std::string ids;  // as JSON
  for (auto const id : unit_ids) ids.append(ids.empty() ? "[" : ",").append(std::to_string(id));
  if (ids.empty()) return;
  statement(catalogue,
            "UPDATE unit SET state = ?, channel_id = NULL, recording_type = NULL, stream = NULL,"
            "                hour_ms = NULL, period_id = NULL"
            "  WHERE id IN (SELECT value FROM json_each(?))")
      .with(text_of(state), ids + "]")
      .run();
}

}  // namespace lab
