#include <cstdio>
#include <list>

#include "commands/channel_walk.h"
#include "commands/commands.h"
#include "commands/recycling.h"
#include "storage/number.h"

namespace st {

void cmd_volclean(IStorageSetting* setting, std::int32_t channel_filter) {
  std::list<space_info> spaces;
  std::list<channel_setting> channels;
  setting->get_space_list(spaces);
  setting->get_channel_list(channels, 1);
  if (spaces.empty() || channels.empty()) {
    std::printf("No space or channel found.\n");
    return;
  }

  std::int64_t const span_start_ms = recycle_span_start();
  for (auto const& [channel] : channels) {
    if (!is_selected(channel, channel_filter)) continue;
    std::printf("Recycle --ch%02d-- data ...\n", shown_channel(channel.number));
    for_each_stream(channel, [&](stream_info const& stream, recording_type const& type) {
      std::int64_t span_end_ms = 0;
      int const found = get_recycle_end_time(stream, alarm_flag(type), stream.stream,
                                             &span_start_ms, &span_end_ms);
      if (found == -1) return;
      for (space_info const& space : spaces) {
        recycle_stream<CFSTier>(space.sid, stream, span_start_ms, span_end_ms,
                                "Initial Tier to process failure.\n");
      }
      std::printf("\t[%s S%02d] %s\n", type.name, stream.stream,
                  found == 0 ? "Success." : "Can not find time period.");
    });
  }
  std::printf("Recycle process done.\n");
}

}  // namespace st
