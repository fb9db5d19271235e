// How whole stretches of calls stand in the log.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "records.h"

namespace support {

using lines = std::vector<std::string>;

// One stretch after the other.
lines chain(std::vector<lines> const& stretches);

// The dispatcher's calls around a handler's. `with_service` for the two
// commands that get the plug-and-play service.
lines dispatched(lines const& handler);
lines dispatched_with_service(lines const& handler);

// A channel_sid as a call shows it: number, then 32 times `key`.
std::string channel_text(std::int32_t number, char key);

// One lookup of a span's end, the n-th CKivChannel and session.
lines span_lookup(int n, std::string const& channel, int recording_type, int stream,
                  std::int64_t start, std::int64_t end);

// One CFSTier or CFSUnit, the n-th, from its construction to its deletion.
lines recycling(std::string const& kind, int n, std::string const& id, std::string const& channel,
                int recording_type, int stream, std::int64_t start, std::int64_t end);
lines failed_init(std::string const& kind, int n, std::string const& id);

}  // namespace support
