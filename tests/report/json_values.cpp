#include "json_values.h"

#include <limits>

#include "report/concerns.h"

namespace report {

namespace {

constexpr auto least = std::numeric_limits<std::int64_t>::min();
constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr auto least_small = std::numeric_limits<std::int32_t>::min();
constexpr auto most_small = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t hour = 3'600'000;
constexpr std::int64_t start = 1'732'147'200'000;  // 2024-11-21 00:00 UTC

char const* const first_id = "f5df2a8ce37f9531a9d1ecca3c33a6f0";
char const* const space_uuid = "8eae8949-000b-53c9-1a38-f74b3ab18a75";

// Ends what it may stand in: JSON, HTML, a label, a terminal's line.
char const* const odd_text = "\"\\ </script>&amp;' {} ] , \xc3\xa4 \xe2\x82\xac \xf0\x9f\x93\xbc";

volume odd_volume() {
  volume odd;
  odd.id = odd.name = odd.path = odd.space_uuid = odd.state_name = odd_text;
  odd.number = odd.state = least_small;
  odd.type = most_small;
  odd.total_mb = least;
  odd.used_mb = most;
  odd.measured = measuring::done;
  odd.preallocated_mb = least;
  odd.lost_mb = most;
  odd.leak = true;
  return odd;
}

}  // namespace

channel channel_with_periods(int count) {
  stream of{4, "NR", 0, true, {}};
  for (std::int64_t index = 0; index < count; ++index) {
    of.periods.push_back({start + index * hour, start + (index + 1) * hour, first_id});
  }
  return {1, "428f052c7eae9cd3bfc31309b51bc72b", {"vol1"}, {of}, {}};
}

value whole_report() {
  value all;
  all.program_version = "0.1.0";
  all.arguments = {"--json", "--expect-days", "90"};
  all.made_ms = start + 7 * hour;
  all.exit_status = something_to_attend;
  all.spaces = {
      {"4c0b9a9e-8a3a-5d1c-9d43-4cf1c1f3a2a1", space_uuid, "Storage1", 128, 76, 0, "Normal", 0}};
  all.volumes = {{first_id, "vol1", "/lab/share/vol1", 1, space_uuid, 0, 0, "ACTIVE", 64, 38,
                  measuring::done, 19, 7, true},
                 {"05df2a8ce37f9531a9d1ecca3c33a6f0",
                  "vol2",
                  "/lab/share/vol2",
                  2,
                  space_uuid,
                  1,
                  2,
                  "NOT_MOUNTED",
                  64,
                  0,
                  measuring::not_mounted,
                  {},
                  {},
                  false}};
  auto one = channel_with_periods(1);
  one.streams.front().periods.push_back({start + hour, start + 2 * hour, {}});
  one.streams.push_back({1, "AR", 2, false, {}});
  one.sizes = {{space_uuid, 11, 6, 19}};
  all.channels = {one};
  all.needs = {{concern::leak, "volume vol1", "7 MB are lost"}};
  all.not_asked = {"channel 1: AR S02"};
  all.problems = {"volume vol2: its name held control characters"};
  all.would_do = preview{{{1, "NR", 0, start, start + hour, "vol1"}},
                         {{1, "AR", 2, start, start + 2 * hour, "Storage1"}}};
  return all;
}

value nonsense_report() {
  value all;
  all.program_version = odd_text;
  all.arguments = {odd_text, "", std::string(5000, 'x')};
  all.made_ms = least;
  all.exit_status = not_asked;
  all.spaces = {{odd_text, odd_text, odd_text, least, most, least_small, odd_text, most_small},
                {"", "", "", -1, 0, 0, "", 0}};
  all.volumes = {odd_volume(), odd_volume(), volume{}};
  channel odd{most_small, odd_text, {odd_text, odd_text, ""}, {}, {}};
  odd.streams = {{least_small,
                  odd_text,
                  most_small,
                  true,
                  {{least, most, odd_text}, {0, -1, {}}, {most, least, first_id}}}};
  odd.sizes = {{odd_text, least, most, -1}, {odd_text, 0, 0, 0}};
  all.channels = {odd, odd, channel{}, channel_with_periods(2000)};
  for (auto const& each : concerns) all.needs.push_back({each.what, odd_text, odd_text});
  all.not_asked = {odd_text, ""};
  all.problems = {odd_text, ""};
  all.would_do = preview{{{least_small, odd_text, most_small, least, most, odd_text}}, {}};
  return all;
}

}  // namespace report
