// How much the generating library answers with.
#pragma once

#include <cstdint>

namespace generated {

// Each number is read from the variable behind it; what is no number, or too
// great, is brought into the range from 0 to 10,000,000.
struct sizes {
  std::int32_t spaces;           // BENCH_SPACES, 2 without it
  std::int32_t volumes;          // BENCH_VOLUMES, 4
  std::int32_t channels;         // BENCH_CHANNELS, 4
  std::int32_t storage_ids;      // BENCH_STORAGE_IDS, of each channel on each space, 2
  std::int32_t days;             // BENCH_DAYS, in each answer, 3
  std::int32_t periods;          // BENCH_PERIODS, of each stream, 24
  std::int32_t null_percent;     // BENCH_NULL_PERCENT, of the periods, 10
  std::int32_t leaking_percent;  // BENCH_LEAKING_PERCENT, of the volumes, 0
  char const* folder;            // BENCH_FOLDER, where the volumes lie, "/nowhere"
};

// Those of this run, read once.
sizes const& asked_for() noexcept;

}  // namespace generated
