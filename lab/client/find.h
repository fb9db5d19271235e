// From the ids of the contract to what the recorder holds under them.
#pragma once

#include <cstdint>
#include <memory>

#include "lab/recorder/recorder.h"
#include "storage/records.h"

namespace lab::client {

// Each throws lab::error when the recorder holds nothing under the id.

// By all 36 characters: the catalogue's id.
std::int64_t find_space(recorder const& in, kivsid const& id);

// By the 32 characters of the text.
volume find_volume(recorder const& in, kivsid const& id, volume_sizes sizes);

// By the 32 characters of the id.
channel find_channel(recorder const& in, channel_sid const& id);

// The stream in the recorder's terms.
stream find_stream(recorder const& in, stream_info const& of);

// The recorder to read, which has that channel.
std::shared_ptr<recorder const> reader_of(channel_sid const& id);

}  // namespace lab::client
