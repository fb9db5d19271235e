// A recorder as a report of st-report tells of it (docs/st-report.schema.json): what
// can be made of it, as it stands there. The report may lie.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

struct reported_space {
  std::string id;
  std::string uuid;
  std::string name;
  std::int32_t status;
  std::int32_t spare_state;
};

struct reported_volume {
  std::string id;
  std::string name;
  std::string path;
  std::int32_t number;
  std::string space_uuid;
  std::int32_t type;
  std::int32_t state;
  std::int64_t total_mb;
  std::int64_t used_mb;
  std::int64_t lost_mb;  // 0 when it was not measured
  bool is_leak;
  bool is_absent;  // its folder could not be entered
};

struct reported_period {
  std::int64_t start_ms;
  std::int64_t end_ms;
  std::int64_t storage_id;  // its place in the channel's ids, -1 for none
};

struct reported_stream {
  std::int32_t recording_type;
  std::int32_t number;
  std::vector<reported_period> periods;
};

struct reported_size {
  std::string space_uuid;
  std::int64_t normal_mb;
  std::int64_t alarm_mb;
  std::int64_t all_mb;
};

struct reported_channel {
  std::int32_t number;  // from 1
  std::string id;
  std::vector<std::string> volumes;
  std::vector<reported_size> sizes;
  std::vector<std::string> storage_ids;
  std::vector<reported_stream> streams;
};

struct reported_recorder {
  std::int64_t made_ms;
  std::vector<reported_space> spaces;
  std::vector<reported_volume> volumes;
  std::vector<reported_channel> channels;
};

// Throws lab::error, which says what is wrong and where, unless all that is read is of
// its type, within its range and not too much.
reported_recorder read_report(std::string_view text);

}  // namespace lab
