#include <cstdio>
#include <list>

#include "commands/channel_walk.h"
#include "commands/recycling.h"

namespace st {

void recycle_volume_units(IStorageSetting* setting, volume_info const* vol, int channel_filter) {
  std::list<channel_setting> channels;
  setting->get_channel_list(channels, 1);
  if (channels.empty()) {
    std::printf("No channel settings found.\n");
    return;
  }

  std::int64_t const span_start_ms = recycle_span_start();
  for (auto const& [channel] : channels) {
    if (!is_selected(channel, channel_filter)) continue;
    for_each_stream(channel, [&](stream_info const& stream, recording_type const& type) {
      std::int64_t span_end_ms = 0;
      int const found = get_recycle_end_time(stream, alarm_flag(type), stream.stream,
                                             &span_start_ms, &span_end_ms);
      if (found != 0) return;
      recycle_stream<CFSUnit>(vol->sid, stream, span_start_ms, span_end_ms,
                              "Initial Unit to process failure.\n");
    });
  }
}

}  // namespace st
