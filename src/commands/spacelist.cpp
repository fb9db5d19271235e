#include <cstdio>
#include <list>

#include "commands/commands.h"
#include "storage/codes.h"
#include "storage/number.h"
#include "storage/text.h"

namespace st {

void cmd_spacelist(IStorageSetting* setting) {
  std::list<space_info> spaces;
  setting->get_space_list(spaces);
  if (spaces.empty()) return;

  std::printf("Space count: %lu\n", static_cast<unsigned long>(spaces.size()));
  int line = 0;
  for (space_info const& space : spaces) {
    char name[512];
    copy_text(name, sizeof name, field_text(space.name));
    char status[26];
    space_status_name(static_cast<std::uint32_t>(space.status), space.spare_state, status);
    std::printf("[%02d] [%s], total size: %lld GB, used: %lld MB, use %2.2f%% [%s]\n", ++line, name,
                static_cast<long long>(gigabytes(space.total_size)),
                static_cast<long long>(space.used_size),
                static_cast<double>(use_percentage(space.used_size, space.total_size)), status);
  }
  std::printf("\n");
}

}  // namespace st
