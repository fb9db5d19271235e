#include "lab/make/make.h"

#include <iostream>
#include <memory>

#include "lab/catalogue/sqlite.h"
#include "lab/make/plan.h"
#include "lab/recorder/recorder.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/progress_bar.h"
#include "lab/stlab/stop_request.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  lab::make_options options;
  std::int64_t now_s = 0;
};

// Options that do not go together are wrong usage like those out of range.
void require_usable(lab::make_options const& options) {
  try {
    lab::require_in_range(options);
  } catch (lab::error const& problem) {
    throw CLI::ValidationError("make", problem.what());
  }
}

void tell(std::filesystem::path const& made, lab::make_options const& options) {
  print("made a recorder in " + made.string() + ": " + counted(options.spaces, "space") + ", " +
        counted(std::int64_t{options.spaces} * options.volumes, "volume") + " of " +
        std::to_string(options.volume_mb) + " MB, " + counted(options.channels, "channel") + ", " +
        counted(options.days, "day"));
}

void lay(std::filesystem::path const& folder, lab::make_options const& options,
         stop_request& stop) {
  progress_bar bar;
  lab::make_recorder(folder, options, [&](std::int64_t done, std::int64_t total) {
    if (!stop.is_asked_for()) return bar.show(done, total);
    bar.leave();
    throw refusal("stopped; nothing was made");
  });
}

// A stop that comes too late ends the program only: what was made is told before.
void make_stoppable(std::filesystem::path const& folder, lab::make_options const& options) {
  stop_request stop;
  try {
    lay(folder, options, stop);
  } catch (lab::database_error const& problem) {
    // There is no recorder that could be unusable.
    throw refusal(problem.what());
  }
  tell(folder, options);
  std::cout.flush();
}

exit_status make(settings const& asked) {
  lab::make_options options = asked.options;
  options.now_ms = asked.now_s * 1000;
  make_stoppable(asked.folder.path, options);
  return exit_status::done;
}

}  // namespace

void add_make(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand("make", "Makes a recorder in an absent or empty folder");
  add_folder(command, asked->folder, fallback::none);
  add_now(command, asked->now_s);
  lab::make_options& options = asked->options;
  auto const add_count = [&](char const* name, int& value, lab::limits const& allowed,
                             char const* text) {
    command.add_option(name, value, text)
        ->transform(whole_number(static_cast<std::uint64_t>(allowed.least),
                                 static_cast<std::uint64_t>(allowed.most)))
        ->type_name("N");
  };
  add_count("--spaces", options.spaces, lab::space_limits, "Spaces");
  add_count("--volumes", options.volumes, lab::volume_limits, "Volumes of each space");
  add_count("--volume-mb", options.volume_mb, lab::volume_mb_limits,
            "Size of each volume in MB, a multiple of the unit size");
  add_count("--unit-mb", options.unit_mb, lab::unit_mb_limits, "Size of each unit file in MB");
  add_count("--channels", options.channels, lab::channel_limits,
            "Channels; st voluse -1 shows the first 32");
  add_count("--days", options.days, lab::day_limits,
            "Days of recordings before the present moment");
  command.add_option("--seed", options.seed, "The same seed and moment make the same recorder")
      ->transform(whole_number(0, most_seed))
      ->type_name("N");
  command.callback([asked, &chosen] {
    complete(asked->folder, fallback::none);
    require_usable(asked->options);
    chosen = [asked] { return make(*asked); };
  });
}

}  // namespace stlab
