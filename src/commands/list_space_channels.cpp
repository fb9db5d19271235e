#include <cstdio>
#include <list>
#include <string>

#include "commands/commands.h"
#include "commands/lookup.h"
#include "storage/codes.h"
#include "storage/handles.h"
#include "storage/text.h"

namespace st {

void list_space_channels(IStorageSetting* setting, char const* space_name) {
  std::list<space_info> spaces;
  space_info const* const space = find_space_with_header(setting, space_name, spaces);
  if (space == nullptr) return;

  std::list<channel_sid> space_channels;
  setting->get_space_channel_list(space->sid, space_channels);

  CKivChannel channels;
  for (channel_sid const& channel : space_channels) {
    std::printf("channel: %s\n", std::string(field_text(channel.id)).c_str());
    channel_session session(channels, channel, release::when_obtained);
    if (session.get() == nullptr) {
      std::printf("storage.cgi storage_channel.create_channel_session fail!!");
      return;
    }
    recording_days dropped;
    session.get()->get_recording_days(normal_recording.code, 0, {}, dropped.out());
    session.close();
  }
}

}  // namespace st
