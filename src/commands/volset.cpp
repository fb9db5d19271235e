#include <cstdio>

#include "commands/commands.h"
#include "commands/lookup.h"

namespace st {

namespace {

// The service's codes are not the numbers that a user types.
constexpr std::int32_t type_code(std::uint32_t type) { return type == 0 ? 0 : 2; }
constexpr std::int32_t state_code(std::uint32_t state) { return state == 0 ? 1 : 0; }

}  // namespace

void cmd_volset(IStorageSetting* setting, char const* volume_name, std::uint32_t type,
                std::uint32_t state) {
  kivsid volume;
  if (find_volume_sid_by_name(setting, volume_name, &volume) != 0) {
    std::printf("Cannot fine volume [%s]\n", volume_name);
    return;
  }

  with_room<volume_body> filled;
  volume_body& body = filled.record;
  setting->get_volume_info(volume, body);
  body.type = type_code(type);
  body.state = state_code(state);
  setting->set_volume_info(volume, body);
  setting->apply_volume_setting(body.space_uuid);
}

}  // namespace st
