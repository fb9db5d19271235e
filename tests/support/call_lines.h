// How whole stretches of calls stand in the call log.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "records.h"

namespace support {

using lines = std::vector<std::string>;

// One stretch after the other.
lines chain(std::vector<lines> const& stretches);

// The lines that hold `text`.
lines lines_with(lines const& all, std::string const& text);

// The dispatcher's calls around a handler's. `with_service` for the two
// commands that get the plug-and-play service.
lines dispatched(lines const& handler);
lines dispatched_with_service(lines const& handler);

// The question that the two commands ask the plug-and-play service.
std::string volume_channels_question(int volume_no);

// A channel_sid as a call shows it: number, then 32 times `key`.
std::string channel_text(std::int32_t number, char key);

// One lookup of a span's end between span_start and now_ms, the n-th
// CKivChannel and session.
lines span_lookup(int n, std::string const& channel, int recording_type, int stream);

// One CFSTier or CFSUnit, the n-th, from its construction to its deletion. Its
// span starts at span_start.
lines recycling(std::string const& kind, int n, std::string const& id, std::string const& channel,
                int recording_type, int stream, std::int64_t end);
lines failed_init(std::string const& kind, int n, std::string const& id);

// The lookups of the ten streams of a channel, which is the n-th that is
// walked; behind each the lines that `behind` gives for it. `index` counts the
// lookups of all channels from 1. A lookup is a span_lookup() if nothing else is said.
using stream_lines = std::function<lines(int index, int recording_type, int stream)>;
lines stream_walk(int n, std::string const& channel, stream_lines const& behind,
                  decltype(span_lookup)& lookup = span_lookup);

}  // namespace support
