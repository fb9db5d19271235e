#include <algorithm>
#include <ctime>
#include <optional>

#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"
#include "lab/util/calendar.h"

namespace stlab {

namespace {

// How far back a window without lost ids is looked for.
constexpr int most_days_back = 365;

struct settings {
  recorder_folder folder;
  std::int32_t channel = 0;
  std::int32_t stream = 1;
  std::string type = "normal";
  int hours = 4;
  std::int64_t now_ms = 0;
};

// The start of the UTC hour that holds the local midnight `days_back` days
// before the one that began the local day of `time_ms`.
std::int64_t midnight_hour(std::int64_t time_ms, int days_back) {
  std::optional<std::tm> parts = lab::local_time_of(time_ms);
  if (!parts) throw refusal("the time is out of range");
  parts->tm_hour = 0;
  parts->tm_min = 0;
  parts->tm_sec = 0;
  parts->tm_mday -= days_back;
  parts->tm_isdst = -1;
  return lab::hour_of(std::int64_t{std::mktime(&*parts)} * 1000);
}

bool is_lost(lab::period const& which) { return which.storage_id.empty(); }

// The hours of the window in which the stream has nothing.
std::vector<std::int64_t> empty_hours(lab::recorder const& in, lab::stream const& of,
                                      std::int64_t start_ms, int hours) {
  std::vector<std::int64_t> empty;
  for (int hour = 0; hour < hours; ++hour) {
    std::int64_t const hour_ms = start_ms + hour * lab::hour_milliseconds;
    if (periods_from(in, of, hour_ms, 1).empty()) empty.push_back(hour_ms);
  }
  return empty;
}

// The start of the latest window of `hours` past hours around a local midnight
// in which nothing is lost yet and what is empty can be recorded.
std::int64_t find_window(lab::recorder const& in, lab::stream const& of, int hours,
                         std::int64_t now_ms) {
  std::int64_t const first_ms = first_recordable_hour(in, of);
  bool leaks_seen = false;
  for (int back = 0; back <= most_days_back; ++back) {
    std::int64_t const start_ms = midnight_hour(now_ms, back) - hours / 2 * lab::hour_milliseconds;
    if (start_ms + hours * lab::hour_milliseconds > lab::hour_of(now_ms)) continue;
    std::vector<lab::period> const known = periods_from(in, of, start_ms, hours);
    if (std::any_of(known.begin(), known.end(), is_lost)) continue;
    std::vector<std::int64_t> const empty = empty_hours(in, of, start_ms, hours);
    if (empty.empty() || empty.front() >= first_ms) return start_ms;
    leaks_seen = true;
  }
  if (leaks_seen) {
    throw refusal("hours would have to be recorded before the end of the stream's leak, " +
                  utc_text(first_ms) + " UTC; recycle that first");
  }
  throw refusal("every midnight of the last year has lost its ids already");
}

void record_hours(lab::recorder& in, lab::channel const& channel, lab::stream const& of,
                  std::vector<std::int64_t> const& hours) {
  if (hours.empty()) return;
  lab::volume const volume = assigned_volume(in, channel);
  require_free_units(in, volume, static_cast<std::int64_t>(hours.size()));
  for (std::int64_t const hour_ms : hours) in.record(volume.id, of, hour_ms, 1);
}

exit_status lose_id(settings const& asked) {
  lab::recorder recorder = open_recorder(asked.folder, lab::access::read_write);
  lab::channel const channel = find_channel(recorder, asked.channel);
  lab::stream const of{channel.id, type_code(asked.type), asked.stream};
  std::int64_t const start_ms = find_window(recorder, of, asked.hours, asked.now_ms);
  record_hours(recorder, channel, of, empty_hours(recorder, of, start_ms, asked.hours));
  std::vector<std::int64_t> const ids = ids_of(periods_from(recorder, of, start_ms, asked.hours));
  recorder.lose_storage_id(ids);
  print("lost the storage id of " + counted(static_cast<std::int64_t>(ids.size()), "period") +
        ": " + stream_label(channel.number, of.recording_type, of.number) + ", from " +
        utc_text(start_ms) + " UTC");
  return exit_status::done;
}

}  // namespace

void add_lose_id(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(
      tool, chosen, "lose-id",
      "Takes the storage id from adjoining hours across a midnight, recording them if need be",
      fallback::none, lose_id);
  add_now(command, asked.now_ms);
  add_channel(command, asked.channel, "The channel, counted from 0");
  add_stream(command, asked.stream, asked.type, {"normal", "alarm"});
  add_number(command, "--hours,--count", asked.hours, "Hours, a period each", {1, most_hours});
}

}  // namespace stlab
