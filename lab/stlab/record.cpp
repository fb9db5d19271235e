#include <algorithm>
#include <map>
#include <optional>

#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  std::vector<std::int32_t> channels;  // empty: all
  std::string type = "normal";
  std::int32_t stream = 0;
  int hours = 1;
  int units = 1;
  std::int64_t now_ms = 0;
};

std::vector<lab::channel> chosen_channels(lab::recorder const& in, settings const& asked) {
  if (asked.channels.empty()) return in.channels();
  std::vector<lab::channel> channels;
  for (std::int32_t const number : asked.channels) {
    bool const known = std::any_of(channels.begin(), channels.end(),
                                   [number](auto const& each) { return each.number == number; });
    if (!known) channels.push_back(find_channel(in, number));
  }
  return channels;
}

// The latest hour, not after that of `from_ms`, that can be recorded and in
// which the stream has nothing; none when there is none.
std::optional<std::int64_t> latest_empty_hour(lab::recorder const& in, lab::stream const& of,
                                              std::int64_t from_ms) {
  std::int64_t const first_ms = first_recordable_hour(in, of);
  std::int64_t hour_ms = lab::hour_of(from_ms);
  while (hour_ms >= first_ms) {
    auto const known = periods_from(in, of, hour_ms, 1);
    if (known.empty()) return hour_ms;
    auto const earliest = std::min_element(
        known.begin(), known.end(),
        [](auto const& one, auto const& other) { return one.start_ms < other.start_ms; });
    hour_ms = std::min(lab::hour_of(earliest->start_ms), hour_ms) - lab::hour_milliseconds;
  }
  return std::nullopt;
}

// One channel's hours, the latest one first.
struct planned_channel {
  lab::channel channel;
  lab::volume volume;
  lab::stream of;
  std::vector<std::int64_t> hours;
};

planned_channel plan_channel(lab::recorder const& in, lab::channel const& channel,
                             settings const& asked) {
  lab::stream const of{channel.id, type_code(asked.type), asked.stream};
  planned_channel plan{channel, assigned_volume(in, channel), of, {}};
  auto const asked_hours = static_cast<std::size_t>(asked.hours);
  for (std::int64_t from_ms = asked.now_ms; plan.hours.size() < asked_hours;
       from_ms = plan.hours.back() - lab::hour_milliseconds) {
    std::optional<std::int64_t> const hour_ms = latest_empty_hour(in, of, from_ms);
    if (!hour_ms) {
      throw refusal(stream_label(channel.number, of.recording_type, of.number) + " has only " +
                    counted(static_cast<std::int64_t>(plan.hours.size()), "empty hour") +
                    " after its leak, which ends at " + utc_text(first_recordable_hour(in, of)) +
                    " UTC; recycle that first");
    }
    plan.hours.push_back(*hour_ms);
  }
  return plan;
}

void require_room(lab::recorder const& in, std::vector<planned_channel> const& plans, int units) {
  std::map<std::int64_t, std::int64_t> needed;  // by volume
  for (planned_channel const& plan : plans) {
    needed[plan.volume.id] += static_cast<std::int64_t>(plan.hours.size()) * units;
  }
  for (planned_channel const& plan : plans) {
    require_free_units(in, plan.volume, needed[plan.volume.id]);
  }
}

void record_channel(lab::recorder& in, planned_channel const& plan, int units) {
  for (std::int64_t const hour_ms : plan.hours) {
    in.record(plan.volume.id, plan.of, hour_ms, units);
    print("recorded " + stream_label(plan.channel.number, plan.of.recording_type, plan.of.number) +
          ' ' + utc_text(hour_ms) + " UTC on " + plan.volume.name + ", " + counted(units, "unit"));
  }
}

exit_status record(settings const& asked) {
  lab::recorder recorder = open_recorder(asked.folder, lab::access::read_write);
  std::vector<planned_channel> plans;
  for (lab::channel const& channel : chosen_channels(recorder, asked)) {
    plans.push_back(plan_channel(recorder, channel, asked));
  }
  require_room(recorder, plans, asked.units);
  for (planned_channel const& plan : plans) record_channel(recorder, plan, asked.units);
  return exit_status::done;
}

}  // namespace

void add_record(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(
      tool, chosen, "record",
      "Records the latest hours, up to the present one, that a stream does not have yet",
      fallback::none, record);
  add_now(command, asked.now_ms);
  add_channel(command, asked.channels, "Channels, counted from 0", "all");
  add_stream(command, asked.stream, asked.type, {"normal", "alarm", "manual"});
  add_number(command, "--hours", asked.hours, "Hours for each channel", {1, most_hours});
  add_number(command, "--units", asked.units, "Units for each hour", {1, most_units});
}

}  // namespace stlab
