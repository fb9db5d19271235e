#include "commands/preallocate_probe.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "storage/number.h"
#include "storage/system_utility.h"
#include "storage/text.h"

namespace st {

namespace {

// False when the path does not fit.
template <std::size_t Size>
bool format_preallocate_path(volume_info const& vol, char (&folder)[Size]) {
  std::string_view const path = field_text(vol.body.share.path);
  int const length = std::snprintf(folder, Size, "%.*s/FSU_%.32s/preallocate",
                                   static_cast<int>(path.size()), path.data(), vol.sid.text);
  return length >= 0 && static_cast<std::size_t>(length) < Size;
}

struct pipe_closer {
  void operator()(std::FILE* pipe) const { velt_pclose(pipe); }
};
using read_pipe = std::unique_ptr<std::FILE, pipe_closer>;

// du prints blocks of another size when one of these is set, and a sound
// volume would look as if it had lost space.
void drop_block_size_settings() {
  for (char const* name : {"DU_BLOCK_SIZE", "BLOCK_SIZE", "BLOCKSIZE", "POSIXLY_CORRECT"}) {
    unsetenv(name);
  }
}

}  // namespace

probe_end measure_preallocate_remain(volume_info const& vol, std::int64_t* preallocate_remain) {
  char line[128] = {};
  char folder[256] = {};
  if (!format_preallocate_path(vol, folder) || chdir(folder) != 0) return probe_end::no_folder;

  drop_block_size_settings();
  read_pipe du(velt_popen("r", "/usr/bin/du", folder, static_cast<char const*>(nullptr)));
  if (du == nullptr) return probe_end::no_du;
  bool const has_line = std::fgets(line, sizeof line - 1, du.get()) != nullptr;
  if (has_line) *preallocate_remain = number_from_text(line) / 1024;
  velt_pclose(du.release());
  return has_line ? probe_end::measured : probe_end::silent_du;
}

int get_preallocate_remain_size(volume_info vol, std::int64_t* preallocate_remain,
                                std::int64_t* used_size) {
  switch (measure_preallocate_remain(vol, preallocate_remain)) {
    case probe_end::no_folder: {
      std::string const path(field_text(vol.body.share.path));
      std::printf("Volume [%s] path does not exist\n", path.c_str());
      return -1;
    }
    case probe_end::no_du:
      std::printf("Can not get preallocate remain size info.\n");
      return -1;
    case probe_end::measured:
    case probe_end::silent_du:
      break;
  }
  *used_size = vol.body.used_size;
  return 0;
}

}  // namespace st
