#pragma once

#include <ctime>

namespace st {

// Writes the local time "[2026-1-05 09:08:07]" into `text` (256 bytes): the
// month without a leading zero. A time out of range shows as all zero fields.
void format_time_text(std::time_t time, char* text) noexcept;

}  // namespace st
