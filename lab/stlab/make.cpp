#include "lab/make/make.h"

#include <unistd.h>

#include <iostream>

#include "lab/catalogue/sqlite.h"
#include "lab/make/plan.h"
#include "lab/recorder/recorder.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/stop_request.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  lab::make_options options;
};

// Options that do not go together are wrong usage like those out of range.
void settle(settings& asked) {
  complete(asked.folder, fallback::none);
  try {
    lab::require_in_range(asked.options);
  } catch (lab::error const& problem) {
    throw wrong_usage(std::string("make: ") + problem.what());
  }
}

// A progress bar on standard error, when that is a terminal.
class progress_bar {
 public:
  progress_bar() = default;
  // Ends the bar's line.
  ~progress_bar() {
    if (percent_ >= 0) std::cerr << '\n';
  }
  progress_bar(progress_bar const&) = delete;
  progress_bar& operator=(progress_bar const&) = delete;

  // Redraws the bar when its look changes.
  void show(std::int64_t done, std::int64_t total) {
    if (!terminal_ || total <= 0) return;
    auto const percent = static_cast<int>(done * 100 / total);
    if (percent == percent_) return;
    percent_ = percent;
    auto const filled = static_cast<std::size_t>(percent) * 2 / 5;
    std::cerr << "\r[" << std::string(filled, '#') << std::string(40 - filled, '.') << "] "
              << percent << " %" << std::flush;
  }

  // Leaves the bar as it is, in a line that somebody else has ended.
  void leave() { percent_ = -1; }

 private:
  bool terminal_ = ::isatty(STDERR_FILENO) == 1;
  int percent_ = -1;
};

void lay(std::filesystem::path const& folder, lab::make_options const& options,
         stop_request& stop) {
  progress_bar bar;
  try {
    lab::make_recorder(folder, options, [&](std::int64_t done, std::int64_t total) {
      if (!stop.is_asked_for()) return bar.show(done, total);
      bar.leave();
      throw refusal("stopped; nothing was made");
    });
  } catch (lab::database_error const& problem) {
    // There is no recorder that could be unusable.
    throw refusal(problem.what());
  }
}

// A stop that comes too late ends the program only: what was made is told before.
exit_status make(settings const& asked) {
  lab::make_options const& options = asked.options;
  stop_request stop;
  lay(asked.folder.path, options, stop);
  print("made a recorder in " + asked.folder.path.string() + ": " +
        counted(options.spaces, "space") + ", " +
        counted(std::int64_t{options.spaces} * options.volumes, "volume") + " of " +
        std::to_string(options.volume_mb) + " MB, " + counted(options.channels, "channel") + ", " +
        counted(options.days, "day"));
  std::cout.flush();
  return exit_status::done;
}

void add_count(CLI::App& command, char const* name, int& value, lab::limits const& allowed,
               char const* text) {
  add_number(command, name, value, text,
             {static_cast<std::uint64_t>(allowed.least), static_cast<std::uint64_t>(allowed.most)});
}

}  // namespace

void add_make(CLI::App& tool, action& chosen) {
  auto [command, asked] =
      add_command(tool, chosen, "make", "Makes a recorder in an absent or empty folder",
                  fallback::none, make, settle);
  lab::make_options& options = asked.options;
  add_now(command, options.now_ms);
  add_count(command, "--spaces", options.spaces, lab::space_limits, "Spaces");
  add_count(command, "--volumes", options.volumes, lab::volume_limits, "Volumes of each space");
  add_count(command, "--volume-mb", options.volume_mb, lab::volume_mb_limits,
            "Size of each volume in MB, a multiple of the unit size");
  add_count(command, "--unit-mb", options.unit_mb, lab::unit_mb_limits,
            "Size of each unit file in MB");
  add_count(command, "--channels", options.channels, lab::channel_limits,
            "Channels; st voluse -1 shows the first 32");
  add_count(command, "--days", options.days, lab::day_limits,
            "Days of recordings before the present moment");
  add_number(command, "--seed", options.seed, "The same seed and moment make the same recorder",
             {0, most_seed});
}

}  // namespace stlab
