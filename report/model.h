// What st-report knows of a recorder after one pass over its service: plain values,
// which the writers print. Sizes are MB, times are ms since the epoch.
//
// Every text is valid UTF-8 without control characters, whatever the service gave;
// what had to be changed for that is named in value::problems. Numbers are as they
// were given, so a size may be negative.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/shared_text.h"

namespace report {

struct space {
  std::string id;    // the service's key, 36 characters
  std::string uuid;  // what its volumes name it by
  std::string name;
  std::int64_t total_mb = 0;
  std::int64_t used_mb = 0;
  std::int32_t status = 0;
  std::string status_name;  // as st shows it, without the blanks at its end
  std::int32_t spare_state = 0;
};

// How the measuring of a volume's preallocated space ended.
enum class measuring { done, not_mounted, failed };

struct volume {
  std::string id;    // the text of its storage id, which names its folder
  std::string name;  // as st shows it
  std::string path;
  std::int32_t number = 0;
  std::string space_uuid;
  std::int32_t type = 0;  // 0 normal, any other value spare
  std::int32_t state = 0;
  std::string state_name;  // as st shows it, without the blanks at its end
  std::int64_t total_mb = 0;
  std::int64_t used_mb = 0;
  measuring measured = measuring::failed;
  // Without a value unless measuring is done.
  std::optional<std::int64_t> preallocated_mb;
  std::optional<std::int64_t> lost_mb;
  bool leak = false;  // as st autoclean decides
};

struct period {
  std::int64_t start_ms = 0;
  std::int64_t end_ms = 0;
  shared_text storage_id;  // empty: it is kept under no storage id
};

// One stream of one recording type.
struct stream {
  std::int32_t recording_type = 0;
  std::string type_name;  // "NR" or "AR"
  std::int32_t number = 0;
  bool asked = false;           // false: the service did not tell its periods
  std::vector<period> periods;  // sorted by their start
};

// What a channel has recorded on a space.
struct recorded_size {
  std::string space_uuid;
  std::int64_t normal_mb = 0;
  std::int64_t alarm_mb = 0;
  std::int64_t all_mb = 0;
};

struct channel {
  std::int32_t number = 0;  // from 1, as st shows it
  std::string id;
  std::vector<std::string> volumes;  // names of those that it records into now
  std::vector<stream> streams;       // those that hold a period or could not be asked
  std::vector<recorded_size> sizes;  // of the spaces that hold some
};

// What needs somebody's attention. The codes are part of the JSON format and of the
// metrics' labels.
enum class concern {
  leak,                // "leak": a volume has lost space
  not_mounted,         // "not-mounted": a volume's folder cannot be entered
  not_measured,        // "not-measured": du could not measure a volume
  space_state,         // "space-state": a space is not in its normal state
  volume_state,        // "volume-state": a volume is neither active nor standing by
  null_id,             // "null-id": periods are kept under no storage id
  too_few_days,        // "too-few-days": a channel keeps less than is expected
  nothing_recorded,    // "nothing-recorded": a channel has no recording at all
  unreasonable_answer  // "unreasonable-answer": the service answered nonsense
};

struct attention {
  concern what = concern::leak;
  std::string subject;  // "volume vol2", "space Storage1", "channel 1", "service"
  std::string text;     // one line without a full stop
};

// One call with which st would give recordings back.
struct recycling {
  std::int32_t channel = 0;  // from 1
  std::string type_name;
  std::int32_t stream = 0;
  std::int64_t start_ms = 0;
  std::int64_t end_ms = 0;
  std::string target;  // the volume's name for autoclean, the space's for volclean
};

// What st would do now. In the order of its calls.
struct preview {
  std::vector<recycling> autoclean;
  std::vector<recycling> volclean;  // of all channels
};

// Exit statuses of st-report.
inline constexpr int nothing_to_attend = 0;
inline constexpr int something_to_attend = 1;
inline constexpr int wrong_usage = 2;
inline constexpr int not_asked = 3;

struct value {
  std::string program_version;
  std::vector<std::string> arguments;
  std::int64_t made_ms = 0;
  std::vector<space> spaces;
  std::vector<volume> volumes;
  std::vector<channel> channels;
  std::vector<std::string> not_asked;  // what the service could not be asked for, a line each
  std::vector<std::string> problems;   // what it answered that makes no sense, a line each
  std::vector<attention> needs;        // worst first
  std::optional<preview> would_do;     // with --preview
  int exit_status = nothing_to_attend;
};

// "leak", "not-mounted" and so on.
char const* code_of(concern what) noexcept;

}  // namespace report
