#include "lab/make/import.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <sstream>

#include "lab/catalogue/sqlite.h"
#include "lab/damage/damage.h"
#include "lab/make/make.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/stop_request.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

constexpr std::uintmax_t longest_report = std::uintmax_t{64} * 1024 * 1024;

struct settings {
  std::string report;
  recorder_folder folder;
  std::int32_t total_mb = static_cast<std::int32_t>(lab::default_import_mb);
};

std::string content_of(std::string const& file) {
  std::error_code problem;
  auto const status = std::filesystem::status(file, problem);
  if (status.type() == std::filesystem::file_type::not_found)
    throw refusal(file + ": no such file");
  if (status.type() != std::filesystem::file_type::regular) throw refusal(file + ": not a file");
  auto const size = std::filesystem::file_size(file, problem);
  if (size > longest_report) throw refusal(file + ": more than 64 MB");
  if (size == 0) return {};  // a stream without a character fails as one that cannot be read
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  if (!stream || !content) throw refusal(file + ": cannot be read");
  return content.str();
}

lab::reported_recorder reported_in(std::string const& file) {
  try {
    return lab::read_report(content_of(file));
  } catch (lab::error const& problem) {
    throw refusal(file + ": " + problem.what());
  }
}

void lay(std::filesystem::path const& folder, lab::import_plan const& plan) {
  stop_request stop;
  try {
    lab::make_recorder(folder, plan.made, [&stop](std::int64_t /*done*/, std::int64_t /*total*/) {
      if (stop.is_asked_for()) throw refusal("stopped; nothing was made");
    });
  } catch (lab::database_error const& problem) {
    // There is no recorder that could be unusable.
    throw refusal(problem.what());
  }
  for (auto const& each : plan.unmounted) {
    lab::damage_options how;
    how.kind = "unmounted";
    how.volume = each.volume;
    how.mount = each.is_absent ? "absent" : "missing";
    lab::damage(folder, how);
  }
}

std::string scale_text(lab::import_plan const& plan, std::int64_t made_mb) {
  auto const reported_mb = std::llround(std::min(plan.reported_mb, 9e18));
  if (reported_mb == made_mb) return "sizes are as reported";
  return "sizes are scaled: " + std::to_string(made_mb) + " MB for " + std::to_string(reported_mb) +
         " MB";
}

exit_status import(settings const& asked) {
  auto const plan = lab::plan_import(reported_in(asked.report), asked.total_mb);
  lay(asked.folder.path, plan);
  std::int64_t made_mb = 0;
  for (auto const& each : plan.made.volumes) made_mb += each.units;
  auto const& recordings = plan.made.recordings;
  auto const periods = std::count_if(recordings.begin(), recordings.end(),
                                     [](auto const& each) { return !each.is_forgotten; });
  auto const size_of = [](auto const& list) { return static_cast<std::int64_t>(list.size()); };
  print("made a recorder in " + asked.folder.path.string() + ": " +
        counted(size_of(plan.made.spaces), "space") + ", " +
        counted(size_of(plan.made.volumes), "volume") + " of " + std::to_string(made_mb) +
        " MB in all, " + counted(size_of(plan.made.channels), "channel") + ", " +
        counted(periods, "period"));
  print(scale_text(plan, made_mb));
  for (auto const& each : plan.differences) print("otherwise than reported: " + each);
  return exit_status::done;
}

}  // namespace

void add_import(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = add_subcommand(
      tool, "import", "Makes a recorder as a report of st-report --json tells of one",
      [asked, &chosen] {
        if (asked->report.empty()) throw wrong_usage("the report is missing");
        complete(asked->folder, fallback::none);
        chosen = [asked] { return import(*asked); };
      });
  add_needed_word(command, "REPORT", asked->report, "The report's file");
  add_folder(command, asked->folder, fallback::none);
  add_number(command, "--total-mb", asked->total_mb,
             "Size of all volumes together in MB, unless less is reported",
             {1, static_cast<std::uint64_t>(lab::most_import_mb)});
}

}  // namespace stlab
