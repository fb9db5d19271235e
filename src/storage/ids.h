// Identifiers: comparing them, and building fresh ones.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>

#include "storage/records.h"

namespace st {

// An identifier of 36 characters 0, for where the service takes one that names
// nothing.
inline constexpr char zero_id[] = "000000000000000000000000000000000000";
static_assert(sizeof zero_id == 36 + 1);

// True when both ids are the same over their full width.
template <std::size_t Width>
bool same_id(char const (&left)[Width], char const (&right)[Width]) noexcept {
  return std::memcmp(left, right, Width) == 0;
}

// The 36 characters that an id begins with, and a terminator.
std::array<char, 37> id_characters(kivsid const& id) noexcept;

// A channel_sid that carries number, id and terminator of `channel` and
// nothing else.
channel_sid identity_of(channel_sid const& channel) noexcept;

// True when the channel's id has the text of the greatest storage id.
bool is_max_id(channel_sid const& channel) noexcept;

}  // namespace st
