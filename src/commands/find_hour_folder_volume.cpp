#include <dirent.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <list>
#include <string_view>

#include "commands/commands.h"
#include "storage/ids.h"
#include "storage/text.h"

namespace st {

namespace {

constexpr std::size_t path_size = 512;

// A copy that carries the channel's identity, the stream and the type.
stream_info plain_stream(stream_info const& stream) {
  stream_info plain = stream;
  plain.channel = identity_of(stream.channel);
  return plain;
}

bool is_folder(char const* path) {
  DIR* const folder = opendir(path);
  if (folder == nullptr) return false;
  closedir(folder);
  return true;
}

bool holds_hour(volume_info const& volume, stream_info const& stream, std::int64_t time) {
  char storage_folder[path_size];
  std::string_view const path = field_text(volume.body.share.path);
  std::snprintf(storage_folder, sizeof storage_folder, "%.*s/FSU_%.32s",
                static_cast<int>(path.size()), path.data(), volume.sid.text);
  char hour_folder[path_size] = {};
  make_hour_folder_full_path(hour_folder, storage_folder, plain_stream(stream), time);
  return is_folder(hour_folder);
}

}  // namespace

std::int32_t find_hour_folder_volume(IStorageSetting* setting, stream_info const& stream,
                                     std::int64_t time, recording_location* location) {
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  auto const volume = std::find_if(volumes.begin(), volumes.end(), [&](volume_info const& each) {
    return holds_hour(each, stream, time);
  });
  if (volume == volumes.end()) return -1;
  std::memcpy(location->volume_sid, id_characters(volume->sid).data(), sizeof location->volume_sid);
  std::memcpy(location->space_uuid, volume->body.space_uuid, sizeof location->space_uuid);

  std::list<space_info> spaces;
  setting->get_space_list(spaces);
  auto const space = std::find_if(spaces.begin(), spaces.end(), [&](space_info const& each) {
    return same_id(each.uuid, location->space_uuid);
  });
  if (space == spaces.end()) return -1;
  std::memcpy(location->space_sid, id_characters(space->sid).data(), sizeof location->space_sid);
  return 0;
}

}  // namespace st
