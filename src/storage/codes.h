// Codes of the storage service and the texts that show them.
#pragma once

#include <cstdint>

namespace st {

struct recording_type {
  std::int32_t code;
  char const* name;  // two letters
};

inline constexpr recording_type normal_recording{4, "NR"};
inline constexpr recording_type alarm_recording{1, "AR"};

// How span lookups are told the type: 1 for alarm, 0 for normal.
constexpr int alarm_flag(recording_type const& type) noexcept {
  return type.code == alarm_recording.code ? 1 : 0;
}

// Both types in the order in which every walk takes them.
inline constexpr recording_type recording_types[] = {normal_recording, alarm_recording};

// Writes the name of a space status into `name` (26 bytes at least): always 25
// characters, blank-padded, and a terminator. A `spare_state` of 1 or more
// selects the spare variants of codes 0 and 5.
void space_status_name(std::uint32_t status, std::int32_t spare_state, char* name) noexcept;

// Writes the name of a volume state into `name` (20 bytes at least): 19
// characters, blank-padded, and a terminator. State 8 has an empty name.
void volume_state_name(std::int32_t state, char* name) noexcept;

// "NORMAL" for type 0, otherwise "SPARE " of the same width.
char const* volume_type_name(std::int32_t type) noexcept;

}  // namespace st
