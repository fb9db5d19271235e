#include <cstdio>
#include <list>

#include "commands/commands.h"
#include "commands/lookup.h"
#include "storage/ids.h"
#include "storage/number.h"

namespace st {

void cmd_volchn(IStorageSetting* setting, IPlugPlayService* plug_play, char const* volume_name) {
  volume_share_info query;
  std::list<std::uint32_t> channels;
  if (find_volume_by_name(setting, volume_name, &query) != 0) {
    std::printf("Cannot fine volume [%s]\n", volume_name);
    return;
  }

  if (plug_play != nullptr) plug_play->get_volume_channels(query, zero_id, zero_id, channels);
  channels.sort();
  if (channels.empty()) std::printf("NO channel using volume [%s]\n", volume_name);
  int line = 0;
  for (std::uint32_t const channel : channels) {
    std::printf("[%02d] uses channel[%02d]\n", ++line, shown_channel(channel));
  }
}

}  // namespace st
