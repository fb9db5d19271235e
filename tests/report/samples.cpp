#include "samples.h"

#include <limits>

namespace report {

namespace {

constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t hour_ms = 3'600'000;

space space_of(std::string const& name, std::int64_t total_mb, std::int64_t used_mb) {
  space made;
  made.id = "id of " + name;
  made.uuid = "uuid of " + name;
  made.name = name;
  made.total_mb = total_mb;
  made.used_mb = used_mb;
  made.status_name = "Normal";
  return made;
}

volume volume_of(std::string const& name, std::string const& space, measuring measured) {
  volume made;
  made.id = "id of " + name;
  made.name = name;
  made.path = "/volumes/" + name;
  made.space_uuid = "uuid of " + space;
  made.state_name = "ACTIVE";
  made.total_mb = 64;
  made.used_mb = 38;
  made.measured = measured;
  if (measured == measuring::done) {
    made.preallocated_mb = 26;
    made.lost_mb = 0;
  }
  return made;
}

channel channel_of(int number, std::int64_t from_ms, int hours) {
  channel made;
  made.number = number;
  made.id = "camera " + std::to_string(number);
  made.volumes = {"vol1"};
  stream one;
  one.recording_type = 4;
  one.type_name = "NR";
  one.asked = true;
  for (int hour = 0; hour < hours; ++hour) {
    std::int64_t const start = from_ms + hour * hour_ms;
    one.periods.push_back({start, start + hour_ms, hour % 4 == 3 ? "" : "id of vol1"});
  }
  made.streams.push_back(one);
  made.sizes = {{"uuid of Storage1", 11, 6, 19}, {"uuid of Storage2", 1, 0, 1}};
  return made;
}

}  // namespace

value good_sample() {
  value made;
  made.program_version = "0.1.0";
  made.made_ms = 1'732'174'200'250;
  made.spaces = {space_of("Storage1", 128, 76), space_of("Storage2", 64, 38)};
  made.spaces[1].status = 5;
  made.spaces[1].status_name = "Error";
  made.volumes = {volume_of("vol1", "Storage1", measuring::done),
                  volume_of("vol2", "Storage1", measuring::done),
                  volume_of("vol3", "Storage2", measuring::not_mounted)};
  made.volumes[1].preallocated_mb = 19;
  made.volumes[1].lost_mb = 7;
  made.volumes[1].leak = true;
  made.channels = {channel_of(1, 1'732'100'400'000, 20), channel_of(2, 1'732'100'400'000, 0)};
  made.needs = {{concern::leak, "volume vol2", "lost 7 MB"},
                {concern::not_mounted, "volume vol3", "is not mounted"},
                {concern::null_id, "channel 1", "5 periods have no storage id"}};
  made.exit_status = something_to_attend;
  return made;
}

value nonsense_sample() {
  value made;
  made.program_version = "\\\"\n{}";
  made.made_ms = least;
  for (std::string const name : {"", "a\"b\\c\nd", "twice", "twice", "twice (id of twice)"}) {
    for (std::int64_t const size : {least, std::int64_t{-1}, most}) {
      made.spaces.push_back(space_of(name, size, most));
      made.volumes.push_back(volume_of(name, name, measuring::done));
      made.volumes.back().total_mb = size;
      made.volumes.back().preallocated_mb = most;
      made.volumes.back().lost_mb = least;
    }
  }
  made.volumes[0].id.clear();
  made.volumes[1].id.clear();
  made.channels = {channel_of(1, 0, 100'000), channel_of(1, least, 0),
                   channel_of(std::numeric_limits<int>::min(), 0, 0)};
  made.channels[1].streams[0].asked = false;
  made.channels[1].streams[0].periods = {{least, most, ""}, {most, least, ""}, {most, most, "x"}};
  made.channels[1].sizes = {{"nowhere", least, least, least}, {"nowhere", least, most, least}};
  made.not_asked = {"everything"};
  made.problems = {"this", "that"};
  made.exit_status = not_asked;
  return made;
}

}  // namespace report
