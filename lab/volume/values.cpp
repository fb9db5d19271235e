#include "lab/volume/values.h"

#include <limits>

#include "lab/volume/layout.h"
#include "lab/volume/recording_type.h"

namespace lab {

namespace {

constexpr std::size_t longest_text = 511;

bool is_time(std::int64_t time_ms) { return time_ms >= first_time_ms && time_ms <= last_time_ms; }

}  // namespace

std::string unit_name_in(statement const& row, int column) {
  auto name = row.text(column);
  if (!is_unit_name(name)) throw error("catalogue: a unit has a name that is no unit's");
  return name;
}

std::string volume_folder_in(statement const& row, int column) {
  auto name = row.text(column);
  if (!is_volume_folder_name(name)) throw error("catalogue: a volume's folder is no volume's");
  return name;
}

std::string storage_id_in(statement const& row, int column) {
  auto text = row.text(column);
  if (!is_storage_id(text)) throw error("catalogue: a volume's storage id is none");
  return text;
}

std::string text_in(statement const& row, int column) {
  auto text = row.text(column);
  if (text.size() > longest_text) throw error("catalogue: a name or an id is too long");
  return text;
}

std::int64_t time_in(statement const& row, int column) {
  std::int64_t const time_ms = row.integer(column);
  if (!is_time(time_ms)) throw error("catalogue: a time is out of range");
  return time_ms;
}

std::int32_t channel_number_in(statement const& row, int column) {
  std::int32_t const number = row.integer32(column);
  if (number < 0 || number == std::numeric_limits<std::int32_t>::max()) {
    throw error("catalogue: a channel has a number that no channel has");
  }
  return number;
}

std::int32_t recording_type_in(statement const& row, int column) {
  std::int32_t const type = row.integer32(column);
  if (find_recording_type(type) == nullptr) throw error("catalogue: a recording type is none");
  return type;
}

std::int32_t stream_in(statement const& row, int column) {
  std::int32_t const stream = row.integer32(column);
  if (stream < 0 || stream > 4) throw error("catalogue: a stream is none");
  return stream;
}

void require_consistent(bool answers_as_told) {
  if (!answers_as_told) throw error("catalogue: its indexes contradict its tables");
}

bool is_plausible_period(std::int64_t start_ms, std::int64_t end_ms) {
  return is_time(start_ms) && is_time(end_ms) && end_ms >= start_ms &&
         end_ms - start_ms <= longest_period_ms;
}

}  // namespace lab
