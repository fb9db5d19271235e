#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "report/anonymous.h"
#include "report/ask.h"
#include "report/attention.h"
#include "report/clean_text.h"
#include "report/file.h"
#include "report/html.h"
#include "report/json.h"
#include "report/metrics.h"
#include "report/options.h"
#include "report/terminal.h"
#include "report/text.h"
#include "storage/clock.h"

namespace {

namespace fs = std::filesystem;

// Of a standard stream that is closed another file would take the place, and be
// written to. What stands there instead cannot be used.
void hold_standard_streams() {
  for (int const each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(each, F_GETFD) >= 0) continue;
    if (::open("/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
  }
}

// A reader that has left is a write that fails. Not before the service was asked: what
// it starts would ignore the signal too.
void ignore_left_readers() { std::signal(SIGPIPE, SIG_IGN); }

// One line on standard error; nobody is told when that cannot be written.
void tell(std::string const& problem) {
  ignore_left_readers();
  try {
    report::write_all(STDERR_FILENO, "st-report: " + problem + "\n");
  } catch (std::exception const&) {
  }
}

// Runs `body` and gives the status that it leaves: 3 when it throws, after telling what
// could not be done.
template <typename Body>
int attempt(std::string const& what, int status, Body const& body) {
  try {
    body();
    return status;
  } catch (std::exception const& problem) {
    tell(report::clean_text("cannot " + what + ": " + problem.what()));
    return report::not_asked;
  }
}

int print(std::string const& text, int status) {
  ignore_left_readers();
  return attempt("write to standard output", status,
                 [&] { report::write_all(STDOUT_FILENO, text); });
}

std::int64_t made_at() noexcept {
  try {
    return st::now_milliseconds();
  } catch (std::exception const&) {  // ask() has told it
    return 0;
  }
}

report::value ask(report::options const& asked, std::vector<std::string> const& arguments) {
  report::value told = report::ask(asked.preview);
  told.program_version = ST_VERSION;
  for (std::string const& each : arguments) told.arguments.push_back(report::clean_text(each));
  told.made_ms = made_at();
  told.needs = report::attention_of(told, asked.expected_days);
  told.exit_status = report::exit_status_of(told);
  return told;
}

std::string text_for(report::options const& asked, report::value const& told) {
  switch (asked.prints) {
    case report::printing::text:
      return report::text_of(told, report::layout_of(asked.shows));
    case report::printing::check:
      return report::check_lines_of(told, report::layout_of(asked.shows));
    case report::printing::json:
      if (asked.anonymous) return report::json_of(report::anonymous(told));
      return report::json_of(told);
    case report::printing::nothing:
      break;
  }
  return {};
}

// Absolute, as measuring changes the working directory.
fs::path absolute_of(fs::path const& file) { return file.empty() ? file : fs::absolute(file); }

struct files {
  fs::path html;
  fs::path metrics;
  std::optional<report::value> before;
};

files prepare(report::options const& asked) {
  files prepared{absolute_of(asked.html), absolute_of(asked.metrics), {}};
  if (!asked.compare.empty()) {
    prepared.before = report::value_of_json(report::read_file(asked.compare));
  }
  return prepared;
}

// Each tells of the status as it is when it is written.
void write_files(files const& to, report::value& told) {
  if (!to.html.empty()) {
    told.exit_status = attempt("write " + to.html.string(), told.exit_status, [&] {
      report::write_file(to.html, report::html_of(told, to.before ? &*to.before : nullptr));
    });
  }
  if (!to.metrics.empty()) {
    told.exit_status = attempt("write " + to.metrics.string(), told.exit_status,
                               [&] { report::write_file(to.metrics, report::metrics_of(told)); });
  }
}

int perform(report::options const& asked, std::vector<std::string> const& arguments) {
  files to;
  std::string const what =
      asked.compare.empty() ? "find the working directory" : "read " + asked.compare.string();
  if (attempt(what, 0, [&] { to = prepare(asked); }) != 0) return report::not_asked;

  report::value told = ask(asked, arguments);
  for (std::string const& each : told.not_asked) tell(each);
  write_files(to, told);
  return print(text_for(asked, told), told.exit_status);
}

int run(int argc, char const* const* argv) {
  hold_standard_streams();
  std::setlocale(LC_CTYPE, "");
  report::command_line const line = report::read_command_line(argc, argv, ST_VERSION);
  if (line.asked) return perform(*line.asked, {argv + std::min(argc, 1), argv + argc});
  if (!line.errors.empty()) tell(line.errors);
  return print(line.output, line.status);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (std::exception const& problem) {
    tell(report::clean_text(problem.what()));
  } catch (...) {
    tell("something unknown went wrong");
  }
  return report::not_asked;
}
