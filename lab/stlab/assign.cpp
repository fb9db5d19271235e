#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  std::int32_t channel = 0;
  std::string volume;
};

exit_status assign(settings const& asked) {
  lab::recorder recorder = open_recorder(asked.folder, lab::access::read_write);
  lab::channel const channel = find_channel(recorder, asked.channel);
  lab::volume const volume = find_volume(recorder, asked.volume);
  recorder.assign(channel.id, volume.id);
  print(channel_label(channel.number) + " records into " + volume.name);
  return exit_status::done;
}

}  // namespace

void add_assign(CLI::App& tool, action& chosen) {
  auto [command, asked] =
      add_command(tool, chosen, "assign", "Makes a channel record into one volume from now on",
                  fallback::none, assign);
  add_channel(command, asked.channel, "The channel, counted from 0");
  add_volume(command, asked.volume, "the first one");
}

}  // namespace stlab
