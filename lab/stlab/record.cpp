#include <iostream>
#include <memory>

#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/times.h"

namespace stlab {

namespace {

struct settings {
  std::filesystem::path folder;
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
  for (std::int32_t const number : asked.channels) channels.push_back(find_channel(in, number));
  return channels;
}

void record_channel(lab::recorder& in, lab::channel const& channel, settings const& asked) {
  lab::volume const volume = assigned_volume(in, channel);
  lab::stream const of{channel.id, type_code(asked.type), asked.stream};
  for (int done = 0; done < asked.hours; ++done) {
    std::int64_t const hour_ms = latest_empty_hour(in, of, asked.now_s * 1000);
    in.record(volume.id, of, hour_ms, asked.units);
    std::cout << "recorded " << stream_label(channel.number, of.recording_type, of.number) << ' '
              << utc_text(hour_ms) << " UTC on " << volume.name << ", units " << asked.units
              << '\n';
  }
}

exit_status record(settings const& asked) {
  lab::recorder recorder = open_recorder(asked.folder, lab::access::read_write);
  for (lab::channel const& channel : chosen_channels(recorder, asked)) {
    record_channel(recorder, channel, asked);
  }
  return exit_status::done;
}

}  // namespace

void add_record(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand(
      "record", "Records the latest hours, up to the present one, that a stream does not have yet");
  add_folder(command, asked->folder);
  add_now(command, asked->now_s);
  command.add_option("--channel", asked->channels, "Channels, counted from 0")
      ->check(CLI::NonNegativeNumber)
      ->type_name("N")
      ->default_str("all");
  add_stream(command, asked->stream);
  add_type(command, asked->type, {"normal", "alarm", "manual"});
  command.add_option("--hours", asked->hours, "Hours for each channel")
      ->check(CLI::Range(1, most_hours))
      ->type_name("N");
  command.add_option("--units", asked->units, "Units for each hour")
      ->check(CLI::Range(1, most_units))
      ->type_name("N");
  command.callback([asked, &chosen] { chosen = [asked] { return record(*asked); }; });
}

}  // namespace stlab
