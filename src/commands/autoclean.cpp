#include <cstdio>
#include <list>

#include "commands/commands.h"
#include "commands/leak.h"
#include "commands/preallocate_probe.h"
#include "commands/recycling.h"
#include "storage/number.h"
#include "storage/text.h"

namespace st {

void cmd_autoclean(IStorageSetting* setting) {
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  if (volumes.empty()) {
    std::printf("no volume found\n");
  } else {
    int leaks = 0;
    // Not cleared between volumes: a leaking one whose path has no share name
    // goes under that of the leaking one before it.
    char name[128] = {};
    for (volume_info const& volume : volumes) {
      std::int64_t const total = volume.body.total_size;
      std::int64_t used = 0;
      // A du that prints nothing must make the volume look sound.
      std::int64_t preallocate_remain = total;
      if (get_preallocate_remain_size(volume, &preallocate_remain, &used) != 0) continue;
      std::int64_t const lost = lost_size(total, used, preallocate_remain);
      if (!is_leak(lost, total)) continue;

      share_name_from_path(field_text(volume.body.share.path), name, sizeof name);
      std::printf(
          "Volume [%s] total size %lld GB(%lld MB), used %lld MB(preallocate_remain %lld MB).\n",
          name, static_cast<long long>(gigabytes(total)), static_cast<long long>(total),
          static_cast<long long>(used), static_cast<long long>(preallocate_remain));
      std::printf(
          "Size lost %lld MB over %lld MB(%%5) is not resonable. Start to recycle volume using space ...\n",
          static_cast<long long>(lost), static_cast<long long>(total / 20));
      recycle_volume_units(setting, &volume, -1);
      ++leaks;
    }
    std::printf("Volume space leak detected count: %d\n", leaks);
  }
  std::printf("recycle check process done.\n");
}

}  // namespace st
