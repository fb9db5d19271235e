// Numbers: from text, and as they are shown.
#pragma once

#include <cstdint>
#include <limits>

namespace st {

// The leading base-10 number of `text`, as strtol reads it on a machine whose
// long has 32 bits: saturating at the limits, 0 when there is no number.
std::int32_t number_from_text(char const* text) noexcept;

// MB to GB, truncating toward zero.
constexpr std::int64_t gigabytes(std::int64_t megabytes) noexcept { return megabytes / 1024; }

// What does not fit 64 bits. Where recycling is decided, differences stay at the
// least value: numbers too great to be reckoned with must neither prove a loss
// nor carry a span into what is still known. A total that is only shown wraps,
// as the recorder's own machine adds.

// minuend - (subtrahend + more), or the least value when that difference, or
// the sum in it, does not fit.
constexpr std::int64_t saturating_difference(std::int64_t minuend, std::int64_t subtrahend,
                                             std::int64_t more = 0) noexcept {
  std::int64_t taken = 0;
  std::int64_t difference = 0;
  bool const overflow = __builtin_add_overflow(subtrahend, more, &taken) ||
                        __builtin_sub_overflow(minuend, taken, &difference);
  return overflow ? std::numeric_limits<std::int64_t>::min() : difference;
}

// The sum in two's complement.
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
