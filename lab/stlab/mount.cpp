#include "lab/damage/mount.h"

#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  std::string volume;
};

exit_status mount(settings const& asked) {
  require_writable(asked.folder);
  print(lab::mount_volume(asked.folder.path, asked.volume));
  return exit_status::done;
}

}  // namespace

void add_mount(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(
      tool, chosen, "mount", "Undoes 'damage unmounted': brings a volume's folder or identity back",
      fallback::none, mount);
  add_volume(command, asked.volume, "");
}

}  // namespace stlab
