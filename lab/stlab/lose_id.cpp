#include <algorithm>
#include <iostream>
#include <memory>

#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/times.h"

namespace stlab {

namespace {

// How far back a window without lost ids is looked for.
constexpr int most_days_back = 365;

struct settings {
  std::filesystem::path folder;
  std::int32_t channel = 0;
  std::int32_t stream = 1;
  std::string type = "normal";
  int hours = 4;
  std::int64_t now_s = 0;
};

bool is_lost(lab::period const& which) { return which.storage_id.empty(); }

std::vector<lab::period> periods_from(lab::recorder const& in, lab::stream const& of,
                                      std::int64_t start_ms, int hours) {
  return in.periods(of, {start_ms, start_ms + hours * lab::hour_milliseconds - 1});
}

// The start of the latest window of `hours` past hours around a local midnight
// in which nothing is lost yet.
std::int64_t find_window(lab::recorder const& in, lab::stream const& of, int hours,
                         std::int64_t now_ms) {
  for (int back = 0; back <= most_days_back; ++back) {
    std::int64_t const start_ms = midnight_hour(now_ms, back) - hours / 2 * lab::hour_milliseconds;
    if (start_ms + hours * lab::hour_milliseconds > lab::hour_of(now_ms)) continue;
    std::vector<lab::period> const known = periods_from(in, of, start_ms, hours);
    if (std::none_of(known.begin(), known.end(), is_lost)) return start_ms;
  }
  throw refusal("every midnight of the last year has lost its ids already");
}

exit_status lose_id(settings const& asked) {
  lab::recorder recorder = open_recorder(asked.folder, lab::access::read_write);
  lab::channel const channel = find_channel(recorder, asked.channel);
  lab::stream const of{channel.id, type_code(asked.type), asked.stream};
  std::int64_t const start_ms = find_window(recorder, of, asked.hours, asked.now_s * 1000);
  for (int hour = 0; hour < asked.hours; ++hour) {
    std::int64_t const hour_ms = start_ms + hour * lab::hour_milliseconds;
    if (!periods_in_hour(recorder, of, hour_ms).empty()) continue;
    recorder.record(assigned_volume(recorder, channel).id, of, hour_ms, 1);
  }
  std::vector<std::int64_t> ids;
  for (lab::period const& each : periods_from(recorder, of, start_ms, asked.hours)) {
    ids.push_back(each.id);
  }
  recorder.lose_storage_id(ids);
  std::cout << "lost the storage id of " << ids.size()
            << " periods: " << stream_label(channel.number, of.recording_type, of.number)
            << ", from " << utc_text(start_ms) << " UTC\n";
  return exit_status::done;
}

}  // namespace

void add_lose_id(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand(
      "lose-id",
      "Takes the storage id from adjoining hours across a midnight, recording them if need be");
  add_folder(command, asked->folder);
  add_now(command, asked->now_s);
  command.add_option("--channel", asked->channel, "The channel, counted from 0")
      ->check(CLI::NonNegativeNumber)
      ->type_name("N");
  add_stream(command, asked->stream);
  add_type(command, asked->type, {"normal", "alarm"});
  command.add_option("--hours,--count", asked->hours, "Hours, a period each")
      ->check(CLI::Range(1, most_hours))
      ->type_name("N");
  command.callback([asked, &chosen] { chosen = [asked] { return lose_id(*asked); }; });
}

}  // namespace stlab
