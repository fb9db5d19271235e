// Values of the catalogue that become names on disk or are reckoned with. What
// the catalogue holds need not be what the lab wrote there: each throws
// lab::error for a value that the lab would not have written.
#pragma once

#include <cstdint>
#include <string>

#include "lab/catalogue/sqlite.h"

namespace lab {

// The longest period (the lab's own last an hour), and the first and last moment, in ms since the
// epoch, that a catalogue is believed: the years 0001 to 9999.
inline constexpr std::int64_t longest_period_ms = std::int64_t{7} * 24 * 3'600'000;
inline constexpr std::int64_t first_time_ms = -62'135'596'800'000;
inline constexpr std::int64_t last_time_ms = 253'402'300'799'999;

std::string unit_name_in(statement const& row, int column);
std::string volume_folder_in(statement const& row, int column);
std::string storage_id_in(statement const& row, int column);
std::string text_in(statement const& row, int column);  // of at most 511 bytes
std::int64_t time_in(statement const& row, int column);
std::int32_t channel_number_in(statement const& row, int column);
std::int32_t recording_type_in(statement const& row, int column);
std::int32_t stream_in(statement const& row, int column);

// Throws lab::error unless the catalogue answers as it was told: its indexes may
// lie too.
void require_consistent(bool answers_as_told);

// Whether a period can be one: what is longer has been written by somebody else.
bool is_plausible_period(std::int64_t start_ms, std::int64_t end_ms);

}  // namespace lab
