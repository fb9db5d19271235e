#include <iostream>
#include <memory>

#include "lab/recorder.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/progress_bar.h"

namespace stlab {

namespace {

struct settings {
  std::filesystem::path folder;
  lab::make_options options;
  std::int64_t now_s = 0;
};

exit_status make(settings const& asked) {
  lab::make_options options = asked.options;
  options.now_ms = asked.now_s * 1000;
  {
    progress_bar bar;
    lab::recorder::make(asked.folder, options,
                        [&](std::int64_t done, std::int64_t total) { bar.show(done, total); });
  }
  std::cout << "made a recorder in " << asked.folder.string() << ": spaces " << options.spaces
            << ", volumes " << options.spaces * options.volumes << " of " << options.volume_mb
            << " MB, channels " << options.channels << ", days " << options.days << '\n';
  return exit_status::done;
}

}  // namespace

void add_make(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand("make", "Makes a recorder in an absent or empty folder");
  add_folder(command, asked->folder);
  add_now(command, asked->now_s);
  lab::make_options& options = asked->options;
  auto const add_count = [&](char const* name, int& value, int least, int most, char const* text) {
    command.add_option(name, value, text)->check(CLI::Range(least, most))->type_name("N");
  };
  add_count("--spaces", options.spaces, 1, 99, "Spaces");
  add_count("--volumes", options.volumes, 1, 99, "Volumes of each space");
  add_count("--volume-mb", options.volume_mb, 1, 1 << 30, "Size of each volume in MB");
  add_count("--unit-mb", options.unit_mb, 1, 1 << 20, "Size of each unit file in MB");
  add_count("--channels", options.channels, 1, 99, "Channels");
  add_count("--days", options.days, 0, 365, "Days of recordings before the present moment");
  command.add_option("--seed", options.seed, "The same seed and moment make the same recorder")
      ->type_name("N");
  command.callback([asked, &chosen] { chosen = [asked] { return make(*asked); }; });
}

}  // namespace stlab
