#include <cstdio>
#include <list>

#include "commands/commands.h"
#include "commands/lookup.h"
#include "storage/codes.h"
#include "storage/ids.h"
#include "storage/number.h"
#include "storage/text.h"

namespace st {

namespace {

void print_space(space_info const& space) {
  char status[26];
  space_status_name(static_cast<std::uint32_t>(space.status), space.spare_state, status);
  char name[sizeof space.name + 1];
  copy_text(name, sizeof name, field_text(space.name));
  std::printf("[%s], total size: %lld GB, used: %lld MB, use %2.2f%% [%s]\n", name,
              static_cast<long long>(gigabytes(space.total_size)),
              static_cast<long long>(space.used_size),
              static_cast<double>(use_percentage(space.used_size, space.total_size)), status);
}

void print_volume(int line, volume_info const& volume) {
  volume_body const& body = volume.body;
  char name[128];
  std::snprintf(name, sizeof name, "VolName_%d", body.share.volume_no);
  share_name_from_path(field_text(body.share.path), name, sizeof name);
  char state[20];
  volume_state_name(body.state, state);
  std::printf("[%02d] [%s], [%s] [%s], total size %lld GB, used %lld MB, use %2.2f%%\n", line, name,
              volume_type_name(body.type), state,
              static_cast<long long>(gigabytes(body.total_size)),
              static_cast<long long>(body.used_size),
              static_cast<double>(use_percentage(body.used_size, body.total_size)));
}

}  // namespace

void cmd_vollist(IStorageSetting* setting, char const* space_name) {
  std::list<space_info> spaces;
  space_info const* const space = find_space(setting, space_name, spaces);
  if (space == nullptr) return;

  std::printf("Space: %s\n", space_name);
  print_space(*space);
  std::printf("\n");

  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  int line = 0;
  for (volume_info const& volume : volumes) {
    if (!same_id(volume.body.space_uuid, space->uuid)) continue;
    print_volume(++line, volume);
  }
  if (line == 0) std::printf("no find volume at space [%s]\n", space_name);
}

}  // namespace st
