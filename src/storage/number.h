// Numbers: from text, and as they are shown.
#pragma once

#include <cstdint>

namespace st {

// The leading base-10 number of `text`, as strtol reads it on a machine whose
// long has 32 bits: saturating at the limits, 0 when there is no number.
std::int32_t number_from_text(char const* text) noexcept;

// MB to GB, truncating toward zero.
constexpr std::int64_t gigabytes(std::int64_t megabytes) noexcept { return megabytes / 1024; }

// The sum in two's complement, as the recorder's own machine adds.
constexpr std::int64_t wrapping_sum(std::int64_t left, std::int64_t right) noexcept {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(left) +
                                   static_cast<std::uint64_t>(right));
}

// used * 100 / total in single precision. A total of 0 is not guarded: the
// quotient is infinite, or a NaN (always the positive one, so that it prints
// alike on every machine).
float use_percentage(std::int64_t used, std::int64_t total) noexcept;

// Channels count from 0 and are shown from 1; the greatest number wraps.
constexpr std::int32_t shown_channel(std::uint32_t number) noexcept {
  return static_cast<std::int32_t>(number + 1);
}
constexpr std::int32_t shown_channel(std::int32_t number) noexcept {
  return shown_channel(static_cast<std::uint32_t>(number));
}

}  // namespace st
