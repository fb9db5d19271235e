// What the walks over channels and their streams have in common.
#pragma once

#include <cstdint>

#include "storage/codes.h"
#include "storage/ids.h"
#include "storage/records.h"

namespace st {

inline constexpr std::int32_t all_channels = -1;
inline constexpr std::int32_t stream_count = 5;

// Whether a walk for `filter` (a channel's number, or all_channels) takes the
// channel. The one with the greatest id is never taken.
inline bool is_selected(channel_sid const& channel, std::int32_t filter) noexcept {
  return !is_max_id(channel) && (filter == all_channels || filter == channel.number);
}

// Calls visit(stream_info const&, recording_type const&) for streams 0 to 4 of
// normal, then of alarm recording.
template <typename Visit>
void for_each_stream(channel_sid const& channel, Visit visit) {
  for (recording_type const& type : recording_types) {
    for (std::int32_t number = 0; number < stream_count; ++number) {
      stream_info stream;
      stream.channel = identity_of(channel);
      stream.stream = number;
      stream.recording_type = type.code;
      visit(stream, type);
    }
  }
}

}  // namespace st
