#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <system_error>

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

constexpr off_t most_of_trace = off_t{4} * 1024 * 1024;

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

lab::database opened(recorder_folder const& folder) {
  return lab::open_catalogue(lab::resolved(folder.path), lab::access::read_only);
}

std::string schema_of(lab::database const& catalogue) {
  std::string all = "SQLite ";
  lab::statement version(catalogue, "SELECT sqlite_version()");
  if (version.next()) all += version.text(0) + '\n';
  all += "application " + std::to_string(lab::number_of(catalogue, "PRAGMA application_id")) +
         ", format " + std::to_string(lab::number_of(catalogue, "PRAGMA user_version")) + '\n';
  lab::statement each(catalogue, "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL");
  while (each.next()) all += lines_of(each.text(0));
  return all;
}

std::string counts_in(lab::database const& catalogue) {
  std::string all;
  auto const add = [&](std::string const& what, std::string const& from) {
    auto const query = "SELECT count(*) FROM " + from;
    all += what + ' ' + answer_to([&] {
             return std::to_string(lab::number_of(catalogue, query.c_str())) + '\n';
           });
  };
  for (char const* table :
       {"recorder", "space", "volume", "channel", "assignment", "period", "unit"}) {
    add(table, table);
  }
  for (char const* state : {"free", "recording", "recorded", "recycling", "bad"}) {
    add(std::string("unit ") + state, std::string("unit WHERE state = '") + state + "'");
  }
  return all;
}

// The last bytes that a file had when it was opened. Opening it waits for nobody.
std::string end_of(fs::path const& file) {
  lab::descriptor const opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (opened.number() < 0 || ::fstat(opened.number(), &status) != 0) {
    throw std::system_error(errno, std::generic_category(), file.string());
  }
  if (!S_ISREG(status.st_mode)) throw lab::error(file.string() + ": not a file");
  auto const start = std::max<off_t>(0, status.st_size - most_of_trace);
  std::string bytes(static_cast<std::size_t>(status.st_size - start), '\0');
  ssize_t const count = ::pread(opened.number(), bytes.data(), bytes.size(), start);
  if (count < 0) throw std::system_error(errno, std::generic_category(), file.string());
  bytes.resize(static_cast<std::size_t>(count));
  if (start > 0) bytes.erase(0, bytes.find('\n'));
  return bytes;
}

// Only the lines that the client library writes.
std::string trace_in(fs::path const& file) {
  if (file.empty()) return "none is named\n";
  std::istringstream lines(end_of(file));
  std::string all;
  for (std::string line; std::getline(lines, line);) {
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
      "catalogue's schema and counts, and a trace; no recording",
      fallback::built_in, collect, settle);
  add_file(command, "--output", asked.output, "The file, which must not be there yet", "");
  add_file(command, "--trace", asked.trace, "A trace that belongs to it",
           "the one that STLAB_TRACE names");
}

}  // namespace stlab
