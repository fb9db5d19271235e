#include "lab/make/plan.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <set>
#include <tuple>

#include "lab/util/random.h"
#include "lab/volume/layout.h"
#include "lab/volume/recording_type.h"

namespace lab {

namespace {

constexpr int hours_a_day = 24;

// How much of a volume is recorded at most, so that there is room to go on.
constexpr int filled_percent = 60;

struct stream_kind {
  std::int32_t recording_type;
  std::int32_t stream;
  int weight;
};

// Most recordings are normal ones of the main stream.
constexpr std::array<stream_kind, 5> kinds{{{normal_recording.code, 0, 12},
                                            {normal_recording.code, 1, 3},
                                            {alarm_recording.code, 0, 3},
                                            {alarm_recording.code, 2, 2},
                                            {manual_recording.code, 0, 1}}};

void require(char const* what, int value, limits const& allowed) {
  if (value >= allowed.least && value <= allowed.most) return;
  throw error(std::string(what) + " must be " + std::to_string(allowed.least) + " to " +
              std::to_string(allowed.most) + ", not " + std::to_string(value));
}

// 32 digits whose first 31 are unlike those of every other id.
std::string new_id(random& numbers, std::set<std::string>& taken) {
  for (;;) {
    auto id = numbers.digits(32);
    if (taken.insert(id.substr(0, 31)).second) return id;
  }
}

// Channels go round the spaces first, then round the volumes within a space.
int volume_of_channel(int channel, make_options const& options) {
  int const space = channel % options.spaces;
  int const within = channel / options.spaces % options.volumes;
  return space * options.volumes + within;
}

std::size_t chosen_kind(random& numbers) {
  int all = 0;
  for (auto const& kind : kinds) all += kind.weight;
  auto left = numbers.below(all);
  for (std::size_t index = 0; index < kinds.size(); ++index) {
    left -= kinds[index].weight;
    if (left < 0) return index;
  }
  return 0;
}

std::vector<std::int64_t> past_hours(std::int64_t now_ms, int days) {
  std::vector<std::int64_t> hours;
  for (std::int64_t back = 1; back <= std::int64_t{days} * hours_a_day; ++back) {
    hours.push_back(hour_of(now_ms) - back * hour_milliseconds);
  }
  return hours;
}

// Takes one of the hours, which are some, away.
std::int64_t take_one(std::vector<std::int64_t>& hours, random& numbers) {
  auto const count = static_cast<std::int64_t>(hours.size());
  std::swap(hours[static_cast<std::size_t>(numbers.below(count))], hours.back());
  auto const hour = hours.back();
  hours.pop_back();
  return hour;
}

// Records hours of one channel until its share of units is used up or every
// fourth hour or so is still missing. The first ones show each kind once.
std::vector<planned_recording> record_channel(int channel, int units, std::string const& storage_id,
                                              make_options const& options, random& numbers) {
  // Of each kind, those that are left to be taken.
  std::vector hours(kinds.size(), past_hours(options.now_ms, options.days));
  int const most = options.days * hours_a_day;
  std::vector<planned_recording> found;
  for (int hour = 0; hour < most && units > 0; ++hour) {
    auto const shown = static_cast<std::size_t>(hour);
    auto const kind = shown < kinds.size() ? shown : chosen_kind(numbers);
    if (hours[kind].empty()) continue;
    int const size = std::min(units, numbers.below(4) == 0 ? 2 : 1);
    auto const hour_ms = take_one(hours[kind], numbers);
    found.push_back({channel, kinds[kind].recording_type, kinds[kind].stream, hour_ms, size,
                     hour_ms, hour_ms + hour_milliseconds, storage_id});
    units -= size;
  }
  return found;
}

auto chronological_key(planned_recording const& recording) {
  return std::make_tuple(recording.hour_ms, recording.channel, recording.recording_type,
                         recording.stream);
}

void assign_units(make_plan& plan) {
  for (std::size_t index = 0; index < plan.recordings.size(); ++index) {
    auto const& recording = plan.recordings[index];
    auto const& channel = plan.channels[static_cast<std::size_t>(recording.channel)];
    auto& recorded = plan.volumes[static_cast<std::size_t>(channel.volumes.front())].recorded;
    recorded.insert(recorded.end(), static_cast<std::size_t>(recording.units),
                    static_cast<int>(index));
  }
}

void plan_recordings(make_plan& plan, make_options const& options, random& numbers) {
  for (int channel = 0; channel < options.channels; ++channel) {
    auto const& volumes = plan.channels[static_cast<std::size_t>(channel)].volumes;
    auto const& volume = plan.volumes[static_cast<std::size_t>(volumes.front())];
    auto const sharing =
        std::count_if(plan.channels.begin(), plan.channels.end(),
                      [&volumes](auto const& other) { return other.volumes == volumes; });
    auto const share = std::int64_t{volume.units} * filled_percent / 100 / sharing;
    auto const recorded =
        record_channel(channel, static_cast<int>(share), volume.sid_text, options, numbers);
    plan.recordings.insert(plan.recordings.end(), recorded.begin(), recorded.end());
  }
  std::sort(plan.recordings.begin(), plan.recordings.end(),
            [](auto const& left, auto const& right) {
              return chronological_key(left) < chronological_key(right);
            });
  assign_units(plan);
}

}  // namespace

void require_in_range(make_options const& options) {
  require("the number of spaces", options.spaces, space_limits);
  require("the number of volumes a space", options.volumes, volume_limits);
  require("the unit size in MB", options.unit_mb, unit_mb_limits);
  require("the volume size in MB", options.volume_mb, {options.unit_mb, volume_mb_limits.most});
  require("the number of channels", options.channels, channel_limits);
  require("the number of days", options.days, day_limits);
  if (options.volume_mb % options.unit_mb != 0) {
    throw error("the volume size must be a multiple of the unit size");
  }
}

make_plan plan_recorder(make_options const& options) {
  require_in_range(options);
  random numbers(options.seed);
  std::set<std::string> taken;
  make_plan plan;
  plan.unit_mb = options.unit_mb;
  plan.seed = options.seed;
  plan.now_ms = options.now_ms;
  for (int space = 0; space < options.spaces; ++space) {
    plan.spaces.push_back({numbers.uuid(), "Storage" + std::to_string(space + 1), numbers.uuid()});
    for (int within = 0; within < options.volumes; ++within) {
      auto const index = static_cast<int>(plan.volumes.size());
      auto const name = volume_folder_name(index);
      plan.volumes.push_back({space, new_id(numbers, taken), name, name, index + 1,
                              options.volume_mb / options.unit_mb});
    }
  }
  for (int channel = 0; channel < options.channels; ++channel) {
    plan.channels.push_back(
        {new_id(numbers, taken), channel, {volume_of_channel(channel, options)}});
  }
  plan_recordings(plan, options, numbers);
  return plan;
}

}  // namespace lab
