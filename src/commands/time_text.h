#pragma once

#include <cstdint>

namespace st {

// Writes the local time "[2026-1-05 09:08:07]" of a moment, in seconds since the
// epoch, into `text` (256 bytes): the month without a leading zero. A time out of
// range, of time_t's too, shows as all zero fields.
void format_time_text(std::int64_t seconds, char* text) noexcept;

}  // namespace st
