#include "lab/damage/mount.h"

#include <memory>

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
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand(
      "mount", "Undoes 'damage unmounted': brings a volume's folder or identity back");
  add_folder(command, asked->folder, fallback::none);
  command.add_option("--volume", asked->volume, "The volume's name")->required()->type_name("NAME");
  command.callback([asked, &chosen] {
    complete(asked->folder, fallback::none);
    chosen = [asked] { return mount(*asked); };
  });
}

}  // namespace stlab
