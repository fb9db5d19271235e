// Arguments and results of the contract as the trace shows them.
#pragma once

#include <string_view>

#include "lab/client/to_record.h"
#include "lab/client/trace.h"
#include "storage/records.h"
#include "storage/text.h"

namespace lab::client {

inline json describe_space(kivsid const& space) { return space_sid_text(space); }

inline json describe_volume(kivsid const& volume) {
  return json::object({{"number", volume.number}, {"text", st::field_text(volume.text)}});
}

inline json describe_channel(channel_sid const& channel) {
  return json::object({{"number", channel.number}, {"id", st::field_text(channel.id)}});
}

inline json describe_stream(stream_info const& of) {
  return json::object({{"channel", describe_channel(of.channel)},
                       {"stream", of.stream},
                       {"recording_type", of.recording_type}});
}

// The result of a create call.
inline json describe_obtained(int result, bool obtained) {
  return json::object({{"result", result}, {"obtained", json::boolean(obtained)}});
}

// The result of a call that filled a list.
inline json describe_filled(int result, std::size_t elements) {
  return json::object({{"result", result}, {"elements", json::count(elements)}});
}

}  // namespace lab::client
