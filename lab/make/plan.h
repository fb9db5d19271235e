// What a recorder to be made will hold, as a pure function of its options.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/recorder/recorder.h"

namespace lab {

// Places in the plan's lists, counted from 0, stand for what they name.
struct planned_space {
  std::string sid;
  std::string name;
  std::string uuid;
  std::int32_t status = 0;
  std::int32_t spare_state = 0;
};

struct planned_volume {
  int space;
  std::string sid_text;
  std::string name;
  std::string folder;
  std::int32_t number;
  int units;
  std::vector<int> recorded = {};  // the recording of each of its first units; the others are free
  std::int32_t type = 0;
  std::int32_t state = 0;
};

struct planned_channel {
  std::string sid;
  std::int32_t number;       // from 0
  std::vector<int> volumes;  // those that it records into
};

// What a channel has recorded, or what retention has forgotten of it.
struct planned_recording {
  int channel;
  std::int32_t recording_type;
  std::int32_t stream;
  std::int64_t hour_ms;  // in which its units lie
  int units;
  std::int64_t start_ms;
  std::int64_t end_ms;
  std::string storage_id;
  bool is_forgotten = false;  // without a period
};

struct make_options {
  int spaces = 2;
  int volumes = 2;  // a space
  int volume_mb = 64;
  int unit_mb = 1;
  int channels = 4;
  int days = 3;
  std::uint64_t seed = 1;
  std::int64_t now_ms = 0;
};

// Both ends included.
struct limits {
  int least;
  int most;
};

inline constexpr limits space_limits{1, 64};
inline constexpr limits volume_limits{1, 64};  // a space
inline constexpr limits unit_mb_limits{1, most_unit_mb};
inline constexpr limits volume_mb_limits{1, 1024 * 1024};  // at least a unit
inline constexpr limits channel_limits{1, 256};
inline constexpr limits day_limits{0, 3650};

struct make_plan {
  std::vector<planned_space> spaces = {};
  std::vector<planned_volume> volumes = {};
  std::vector<planned_channel> channels = {};
  std::vector<planned_recording> recordings = {};
  int unit_mb = 1;
  std::uint64_t seed = 0;
  std::int64_t now_ms = 0;
};

// Throws lab::error when an option is out of its range, or the volume size is no
// multiple of the unit size.
void require_in_range(make_options const& options);

// Throws as require_in_range does.
make_plan plan_recorder(make_options const& options);

}  // namespace lab
