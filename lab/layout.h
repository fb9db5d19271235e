// Where things lie in a volume, as pure functions of names. Shared by the
// recorder, which lays its units down with them, and the client library.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lab {

inline constexpr std::int64_t hour_milliseconds = 3'600'000;

// The start of the UTC hour that holds `time_ms`, also before the epoch.
std::int64_t hour_of(std::int64_t time_ms);

// "<volume path>/FSU_<storage id text>", the text cut to 32 characters.
std::string storage_folder(std::string_view volume_path, std::string_view storage_id_text);

// "ch01_NR_S00_2026112107": channel 1-based, type, stream, UTC hour.
std::string hour_folder_name(std::int32_t channel_number, std::int32_t recording_type,
                             std::int32_t stream, std::int64_t time_ms);

}  // namespace lab
