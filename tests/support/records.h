// Records for scripts, and how the log shows their ids.
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "storage/records.h"

namespace support {

inline constexpr std::int64_t now = 1795219200;  // 2026-11-21 00:00:00 UTC
inline constexpr std::int64_t now_ms = now * 1000;
inline constexpr std::int64_t span_start = (now - 2592000) * 1000;

// Copies text over the field from its start; what follows stays as it was.
template <std::size_t Width>
void put(char (&field)[Width], std::string const& text) {
  text.copy(field, Width);
}

// A text of `size` characters `character`.
std::string filled(std::size_t size, char character);

// An id with 36 characters `character` (number and text).
kivsid id_of(char character);

// A space; its sid is 36 times `key`, its uuid 36 times the capital letter.
space_info space(std::string const& name, std::int64_t total, std::int64_t used, char key = 'a');

// The space with that status.
space_info in_status(space_info record, std::int32_t status, std::int32_t spare_state);

// A volume of the space with that key. Its id is {number, 32 times key}.
volume_info volume(std::string const& path, std::int32_t volume_no, char key = 'v',
                   char space_key = 'a');

// Its filler is not 0: a call that passes it on shows "with filler".
channel_sid channel_id(std::int32_t number, char key);
channel_setting channel(std::int32_t number, char key);

time_period period(std::int64_t start, std::int64_t end = 0, std::int32_t stream = 0,
                   std::string const& storage_id = "");

channel_storage_info pairing(channel_sid const& channel, std::string const& storage_id);

}  // namespace support
