// The types of recordings.
#pragma once

#include <array>
#include <cstdint>

namespace lab {

struct recording_type {
  std::int32_t code;    // in the catalogue
  char const* letters;  // in the name of an hour folder
  char const* name;
};

inline constexpr recording_type normal_recording{4, "NR", "normal"};
inline constexpr recording_type alarm_recording{1, "AR", "alarm"};
inline constexpr recording_type manual_recording{2, "MR", "manual"};

inline constexpr std::array<recording_type, 3> recording_types{normal_recording, alarm_recording,
                                                               manual_recording};

// The type with that code, nullptr when there is none.
recording_type const* find_recording_type(std::int32_t code);

// The type's letters; those of a manual recording when there is no such type.
char const* letters_of_type(std::int32_t code);

}  // namespace lab
