#include <algorithm>
#include <map>
#include <memory>
#include <optional>

#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"
#include "lab/stlab/times.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  std::vector<std::int32_t> channels;  // empty: all
  std::string type = "normal";
  std::int32_t stream = 0;
  int hours = 1;
  int units = 1;
  std::int64_t now_s = 0;
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
  for (std::int64_t from_ms = asked.now_s * 1000; plan.hours.size() < asked_hours;
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
  auto const asked = std::make_shared<settings>();
  CLI::App& command = add_command(
      tool, chosen, "record",
      "Records the latest hours, up to the present one, that a stream does not have yet", asked,
      fallback::none, record);
  add_now(command, asked->now_s);
  add_channel(command, asked->channels, "Channels, counted from 0")->default_str("all");
  add_stream(command, asked->stream);
  add_type(command, asked->type, {"normal", "alarm", "manual"});
  command.add_option("--hours", asked->hours, "Hours for each channel")
      ->transform(whole_number(1, most_hours))
      ->type_name("N");
  command.add_option("--units", asked->units, "Units for each hour")
      ->transform(whole_number(1, most_units))
      ->type_name("N");
}

}  // namespace stlab
