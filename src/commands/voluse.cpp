#include <cstdio>
#include <list>

#include "commands/channel_walk.h"
#include "commands/commands.h"
#include "storage/ids.h"
#include "storage/number.h"
#include "storage/text.h"

namespace st {

namespace {

// As many channels as st knows; the service is not asked.
constexpr std::uint32_t channel_limit = 32;

}  // namespace

void cmd_voluse(IStorageSetting* setting, IPlugPlayService* plug_play, std::int32_t channel_id) {
  char volume_of[channel_limit][128] = {};
  // Not cleared between volumes: one whose path has no share name goes under
  // that of the volume before it.
  char share_name[128] = {};
  volume_share_info query;
  std::list<volume_info> volumes;
  std::list<std::uint32_t> channels;

  setting->get_volume_list(volumes);
  for (volume_info const& volume : volumes) {
    share_name_from_path(field_text(volume.body.share.path), share_name, sizeof share_name);
    query.number_1092 = 0;
    query.volume_no = volume.body.share.volume_no;
    if (plug_play != nullptr) plug_play->get_volume_channels(query, zero_id, zero_id, channels);
    for (std::uint32_t const channel : channels) {
      if (channel < channel_limit) {
        copy_text(volume_of[channel], sizeof volume_of[channel], share_name);
      }
    }
  }

  for (std::uint32_t channel = 0; channel < channel_limit; ++channel) {
    if (channel_id != all_channels && static_cast<std::uint32_t>(channel_id) != channel) continue;
    std::printf("ch%.2d volume=[%s]\n", shown_channel(channel), volume_of[channel]);
  }
}

}  // namespace st
