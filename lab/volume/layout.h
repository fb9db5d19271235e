// Where things lie in a volume, as pure functions of names. Shared by the
// recorder, which lays its units down with them, and the client library.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lab {

inline constexpr std::int64_t hour_milliseconds = 3'600'000;
inline constexpr char const* preallocate_folder = "preallocate";

// The start of the UTC hour that holds `time_ms`, also before the epoch. The
// least hour that can be counted for times before it.
std::int64_t hour_of(std::int64_t time_ms);

// "unit000001" for unit 0.
std::string unit_name(int unit);

// "vol1" for volume 0.
std::string volume_folder_name(int volume);

// Whether a name is one of those above, and whether a text can be a volume's
// storage id: 32 letters or digits. What a catalogue holds need not be.
bool is_unit_name(std::string_view name);
bool is_volume_folder_name(std::string_view name);
bool is_storage_id(std::string_view text);

// "FSU_<storage id text>", the text cut to 32 characters.
std::string storage_folder_name(std::string_view storage_id_text);

// "<volume path>/FSU_<storage id text>", the text cut to 32 characters.
std::string storage_folder(std::string_view volume_path, std::string_view storage_id_text);

// "ch01_NR_S00_2026112107": channel 1-based, type, stream, UTC hour.
std::string hour_folder_name(std::int32_t channel_number, std::int32_t recording_type,
                             std::int32_t stream, std::int64_t time_ms);

}  // namespace lab
