// Recycling: which span of a stream may be given back, and giving it back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <list>

#include "storage/handles.h"
#include "storage/records.h"
#include "storage/service.h"

namespace st {

// Nothing is recycled that is older than 30 days. In ms since the epoch.
std::int64_t recycle_span_start();

// One ms before the earliest start among `count` periods. Returns 0 and writes
// it to `span_end_ms`; -1, leaving it untouched, when `periods` does not hold
// as many elements as `count` says.
int span_end_before(std::list<time_period> const& periods, std::size_t count,
                    std::int64_t* span_end_ms);

// Finds where the recyclable span of a stream ends: just before the earliest
// period that the service still knows since *span_start_ms. `alarm` 0 asks for
// normal, anything else for alarm recordings; of `stream` only the channel is
// read.
//
// Returns 0 with the end in `span_end_ms`; 1 with the present there when no
// period is known; -1, leaving it untouched, when the channel could not be
// asked or the answer contradicts itself.
int get_recycle_end_time(stream_info const& stream, int alarm, int stream_no,
                         std::int64_t const* span_start_ms, std::int64_t* span_end_ms);

// Recycles a stream's span on the space (CFSTier) or volume (CFSUnit) of that
// id; prints `init_failure` when it cannot be prepared.
template <typename FileStorage>
void recycle_stream(kivsid const& id, stream_info const& stream, std::int64_t span_start_ms,
                    std::int64_t span_end_ms, char const* init_failure) {
  file_storage<FileStorage> storage;
  if (storage->init(id) != 0) {
    std::printf("%s", init_failure);
  } else {
    storage->recycle_stream_data(stream, span_start_ms, span_end_ms, 0);
  }
  storage.close();
}

// Has the volume recycle the span of every stream, of one channel or -1 all,
// that has a known period in the last 30 days. Of `vol` only the id is read.
void recycle_volume_units(IStorageSetting* setting, volume_info const* vol, int channel_filter);

}  // namespace st
