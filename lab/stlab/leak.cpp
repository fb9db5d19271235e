#include <algorithm>
#include <optional>

#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

// Retention forgets hours before the earliest period that is still known; what
// is younger than this can be recycled from there.
constexpr std::int64_t recycled_days = 30;

struct settings {
  recorder_folder folder;
  std::string volume;
  std::optional<std::int32_t> channel;
  std::int32_t stream = 0;
  std::string type = "normal";
  std::optional<int> hours;
  std::optional<int> units;
  std::int64_t now_ms = 0;
};

// What a stream knows of the recycled days, and what is left there to forget.
struct stream_outlook {
  std::optional<std::int64_t> earliest_ms;  // start of the first known period
  std::int64_t known_hour_ms;               // the hour that is recorded without one
  std::int64_t end_ms;                      // of the last hour that can leak
  std::int64_t possible_hours;
};

// How many hours are going to leak, the last one before all that is known, and
// with how many units each.
struct leak_plan {
  std::int64_t hours;
  std::int64_t units;
};

stream_outlook look_at(lab::recorder const& in, lab::stream const& of, std::int64_t now_ms) {
  std::int64_t const span_start_ms = now_ms - recycled_days * day_milliseconds;
  // The first whole hour of the span, and one of margin, so that the leak can
  // still be recycled a while later.
  std::int64_t const floor_ms = lab::hour_of(span_start_ms) + 2 * lab::hour_milliseconds;
  stream_outlook outlook{{}, lab::hour_of(now_ms) - lab::hour_milliseconds, 0, 0};
  for (lab::period const& each : in.periods(of, {span_start_ms, now_ms})) {
    outlook.earliest_ms = std::min(outlook.earliest_ms.value_or(each.start_ms), each.start_ms);
  }
  outlook.end_ms = lab::hour_of(outlook.earliest_ms.value_or(outlook.known_hour_ms));
  outlook.possible_hours =
      std::max<std::int64_t>(0, (outlook.end_ms - floor_ms) / lab::hour_milliseconds);
  return outlook;
}

std::int64_t divided_up(std::int64_t value, std::int64_t by) { return (value + by - 1) / by; }

// By default one unit an hour, and more only when the hours do not suffice.
leak_plan planned(settings const& asked, stream_outlook const& outlook,
                  lab::volume_account const& account) {
  // Clearly more than the twentieth of a volume that counts as a leak.
  std::int64_t const wanted_units = account.total / 10 + 1;
  if (!asked.hours && !asked.units) {
    std::int64_t const hours = std::clamp<std::int64_t>(outlook.possible_hours, 1, wanted_units);
    return {hours, divided_up(wanted_units, hours)};
  }
  std::int64_t const units = asked.units.value_or(1);
  return {asked.hours ? *asked.hours : divided_up(wanted_units, units), units};
}

void require_hours(leak_plan const& plan, stream_outlook const& outlook) {
  if (plan.hours <= outlook.possible_hours) return;
  throw refusal("not enough hours between the start of the last " + counted(recycled_days, "day") +
                " and the stream's earliest known period, " + utc_text(outlook.end_ms) +
                " UTC: " + std::to_string(plan.hours) + " needed, " +
                std::to_string(outlook.possible_hours) + " there (see stlab expire)");
}

void require_units(leak_plan const& plan, stream_outlook const& outlook,
                   lab::volume_account const& account) {
  std::int64_t const needed = plan.hours * plan.units + (outlook.earliest_ms ? 0 : 1);
  if (needed <= account.preallocated) return;
  throw refusal("not enough free units: " + std::to_string(needed) + " needed, " +
                std::to_string(account.preallocated) + " free");
}

exit_status leak(settings const& asked) {
  lab::recorder recorder = open_recorder(asked.folder, lab::access::read_write);
  lab::volume const volume = find_volume(recorder, asked.volume);
  lab::channel const channel =
      asked.channel ? find_channel(recorder, *asked.channel) : assigned_channel(recorder, volume);
  lab::stream const of{channel.id, type_code(asked.type), asked.stream};
  std::string const label = stream_label(channel.number, of.recording_type, of.number);
  stream_outlook const outlook = look_at(recorder, of, asked.now_ms);
  lab::volume_account const account = recorder.account(volume.id);
  leak_plan const plan = planned(asked, outlook, account);
  require_hours(plan, outlook);
  require_units(plan, outlook, account);
  if (!outlook.earliest_ms) {
    recorder.record(volume.id, of, outlook.known_hour_ms, 1);
    print("recorded " + label + ' ' + utc_text(outlook.known_hour_ms) + " UTC on " + volume.name +
          ": a stream without any known period is not recycled");
  }
  std::vector<std::int64_t> hours_ms;
  for (std::int64_t hour = 1; hour <= plan.hours; ++hour) {
    hours_ms.push_back(outlook.end_ms - hour * lab::hour_milliseconds);
  }
  recorder.record(volume.id, of, hours_ms, static_cast<int>(plan.units));
  recorder.forget(ids_of(periods_from(recorder, of, hours_ms.back(), plan.hours)));
  print("leaked " + std::to_string(plan.hours * plan.units * recorder.unit_mb()) + " MB on " +
        volume.name + ": " + label + ", " + counted(plan.hours, "hour") + " before " +
        utc_text(outlook.end_ms) + " UTC, " + counted(plan.units, "unit") + " an hour");
  return exit_status::done;
}

}  // namespace

void add_leak(CLI::App& tool, action& chosen) {
  auto [command, asked] =
      add_command(tool, chosen, "leak",
                  "Retention gone wrong: forgets hours of a stream but leaves their units in place",
                  fallback::none, leak);
  add_now(command, asked.now_ms);
  add_volume(command, asked.volume, "the first one");
  add_channel(command, asked.channel, "The channel, counted from 0",
              "the first that records into the volume");
  add_stream(command, asked.stream, asked.type, {"normal", "alarm"});
  add_number(command, "--hours", asked.hours, "Hours to leak, the latest ones before those known",
             {1, most_hours, "a tenth of the volume"});
  add_number(command, "--units", asked.units, "Units for each hour",
             {1, most_units, "1, or more when the hours do not suffice"});
}

}  // namespace stlab
