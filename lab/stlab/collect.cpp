#include <sys/utsname.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>

#include "lab/catalogue/catalogue.h"
#include "lab/check/check.h"
#include "lab/disk/file_steps.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

namespace fs = std::filesystem;

// Of a trace the end is taken, of a schema the beginning.
constexpr std::streamoff most_of_trace = std::streamoff{4} * 1024 * 1024;
constexpr int most_of_schema = 100;

struct settings {
  recorder_folder folder;
  std::string output;
  std::string trace;
};

// What is asked for, or why it cannot be had.
template <typename Question>
std::string answer_to(Question const& ask) {
  try {
    return ask();
  } catch (std::exception const& problem) {
    return lab::printable(problem.what()) + '\n';
  }
}

std::string lines_of(std::string const& text) {
  std::istringstream lines(text);
  std::string all;
  for (std::string line; std::getline(lines, line);) all += lab::printable(line) + '\n';
  return all;
}

std::string version() {
  utsname system{};
  ::uname(&system);
  return std::string("stlab " STLAB_VERSION "\n") + system.sysname + ' ' + system.release + ' ' +
         system.machine + "\ncollected " + utc_text(std::int64_t{std::time(nullptr)} * 1000) +
         " UTC\n";
}

std::string findings_in(recorder_folder const& folder) {
  std::string all;
  for (auto const& each : lab::check(open_recorder(folder, lab::access::read_only))) {
    all += lab::printable(lab::printed(each)) + '\n';
  }
  return all.empty() ? "clean\n" : all;
}

// Of any catalogue, also one that is no recorder's.
lab::database opened(recorder_folder const& folder) {
  return {lab::resolved(folder.path) / lab::catalogue_file, lab::database::mode::read_only,
          lab::default_lock_timeout};
}

std::string schema_of(lab::database const& catalogue) {
  std::string all = "SQLite ";
  lab::statement version(catalogue, "SELECT sqlite_version()");
  if (version.next()) all += version.text(0) + '\n';
  all += "application " + std::to_string(lab::number_of(catalogue, "PRAGMA application_id")) +
         ", format " + std::to_string(lab::number_of(catalogue, "PRAGMA user_version")) + '\n';
  lab::statement each(catalogue, "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL LIMIT ?");
  each.with(most_of_schema);
  while (each.next()) all += lines_of(each.text(0));
  return all;
}

std::string counts_in(lab::database const& catalogue) {
  std::string all;
  for (std::string const table :
       {"recorder", "space", "volume", "channel", "assignment", "period", "unit"}) {
    all += table + ' ' + answer_to([&] {
             auto const query = "SELECT count(*) FROM " + table;
             return std::to_string(lab::number_of(catalogue, query.c_str())) + '\n';
           });
  }
  lab::statement units(catalogue, "SELECT state, count(*) FROM unit GROUP BY state ORDER BY state");
  while (units.next()) {
    all += "unit " + lab::printable(units.text(0)) + ' ' + std::to_string(units.integer(1)) + '\n';
  }
  return all;
}

// Only the lines that the client library writes.
std::string trace_in(fs::path const& file) {
  if (file.empty()) return "none is named\n";
  if (!fs::is_regular_file(file)) return lab::printable(file.string()) + ": not a file\n";
  std::ifstream trace(file, std::ios::binary);
  auto const bytes = static_cast<std::streamoff>(fs::file_size(file));
  std::string line;
  if (bytes > most_of_trace) {
    trace.seekg(bytes - most_of_trace);
    std::getline(trace, line);
  }
  std::string all;
  while (std::getline(trace, line)) {
    if (line.rfind("[\"", 0) == 0) all += lab::printable(line) + '\n';
  }
  return all;
}

std::string section(std::string const& title, std::string const& text) {
  return "== " + title + " ==\n" + text + '\n';
}

std::string report_of(settings const& asked) {
  return section("Version", version()) +
         section("Check", answer_to([&] { return findings_in(asked.folder); })) +
         section("Schema", answer_to([&] { return schema_of(opened(asked.folder)); })) +
         section("Counts", answer_to([&] { return counts_in(opened(asked.folder)); })) +
         section("Trace", answer_to([&] { return trace_in(asked.trace); }));
}

exit_status collect(settings const& asked) {
  fs::path const output = lab::resolved(asked.output);
  lab::folder const beside(output.parent_path());
  lab::steps::make_file(beside, output.filename(), report_of(asked));
  print("collected into " + asked.output);
  return exit_status::done;
}

void settle(settings& asked) {
  complete(asked.folder, fallback::built_in);
  char const* const variable = std::getenv("STLAB_TRACE");
  if (asked.trace.empty() && variable != nullptr) asked.trace = variable;
}

}  // namespace

void add_collect(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(
      tool, chosen, "collect",
      "Collects into one file what a report of a fault needs: versions, what check finds, the "
      "catalogue's schema and counts, and a trace; no recording and no camera's name",
      fallback::built_in, collect, settle);
  add_file(command, "--output", asked.output, "The file, which must not be there yet", "");
  add_file(command, "--trace", asked.trace, "A trace that belongs to it",
           "the one that STLAB_TRACE names");
}

}  // namespace stlab
