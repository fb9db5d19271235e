#include "commands/lookup.h"

#include <cstdio>
#include <cstring>

#include "storage/ids.h"
#include "storage/text.h"

namespace st {

space_info const* find_space(IStorageSetting* setting, char const* space_name,
                             std::list<space_info>& spaces) {
  setting->get_space_list(spaces);
  if (spaces.empty()) {
    std::printf("no space [%s] info\n", space_name);
    return nullptr;
  }
  for (space_info const& space : spaces) {
    if (field_text(space.name) == space_name) return &space;
  }
  std::printf("\n");
  std::printf("no space [%s] info\n", space_name);
  return nullptr;
}

space_info const* find_space_with_header(IStorageSetting* setting, char const* space_name,
                                         std::list<space_info>& spaces) {
  space_info const* const space = find_space(setting, space_name, spaces);
  if (space != nullptr) {
    std::printf("Space: %s uuid: [%.36s]\n", space_name, id_characters(space->sid).data());
    std::printf("\n");
  }
  return space;
}

volume_info const* find_volume(std::list<volume_info> const& volumes,
                               std::string_view volume_name) {
  char share_name[sizeof(volume_share_info::path) + 1] = {};
  for (volume_info const& volume : volumes) {
    share_name_from_path(field_text(volume.body.share.path), share_name, sizeof share_name);
    if (share_name == volume_name) return &volume;
  }
  return nullptr;
}

std::int32_t find_volume_sid_by_name(IStorageSetting* setting, char const* volume_name,
                                     kivsid* out) {
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  volume_info const* const volume = find_volume(volumes, volume_name);
  if (volume == nullptr) return -1;
  out->number = volume->sid.number;
  std::memcpy(out->text, volume->sid.text, sizeof out->text);
  return 0;
}

std::int32_t find_volume_by_name(IStorageSetting* setting, char const* volume_name,
                                 volume_share_info* query) {
  query->number_1092 = 0;
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  volume_info const* const volume = find_volume(volumes, volume_name);
  if (volume == nullptr) return -1;
  query->volume_no = volume->body.share.volume_no;
  return 0;
}

}  // namespace st
