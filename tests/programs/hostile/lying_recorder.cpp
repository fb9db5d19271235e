#include "lying_recorder.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

#include "engine_test.h"

namespace hostile {

namespace fs = std::filesystem;
using support::write_file;

namespace {

// What somebody has beside a recorder, with names that the recorder uses too.
void lay_victim(fs::path const& victim, fs::path const& recorder_of) {
  fs::create_directories(victim / "tree/preallocate");
  fs::create_directories(victim / "tree/empty");
  write_file(victim / "passwd", "root:x:0:0:root:/root:/bin/bash\n");
  write_file(victim / "empty", "");
  write_file(victim / "big", std::string(std::size_t{1024} * 1024, 'v'));
  write_file(victim / "tree/file", "a file\n");
  for (char const* const name : {"unit000000", "unit000001", "unit000007"}) {
    write_file(victim / "tree/preallocate" / name, "a file in preallocate\n");
    write_file(victim / "tree" / name, "a file\n");
  }
  fs::copy_file(recorder_of / "catalogue.db", victim / "database");
  support::copy_tree(recorder_of, victim / "recorder");
}

words stlab_line(words const& command, fs::path const& recorder) {
  return words{STLAB_PROGRAM, command.front(), recorder} +
         words(command.begin() + 1, command.end());
}

using connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

std::string tell(outcome const& result) {
  std::string const head = result.errors.substr(0, 2000);
  return " status " + std::to_string(result.status) + ", " + std::to_string(result.took.count()) +
         " ms, standard error: " + head;
}

std::string problem_of_any(outcome const& result) {
  if (result.is_late) return "takes too long" + tell(result);
  if (result.status > 128) return "a signal" + tell(result);
  bool const is_reported = result.errors.find("Sanitizer") != std::string::npos ||
                           result.errors.find("runtime error: ") != std::string::npos;
  if (result.status == sanitizer_status || is_reported)
    return "a sanitizer's report" + tell(result);
  if (result.output.size() + result.errors.size() >= support::most_output)
    return "prints without end";
  return {};
}

}  // namespace

recorder_template::recorder_template() {
  for (words const command :
       {"make --spaces 2 --volumes 1 --volume-mb 8 --channels 3 --days 0",
        "record --channel 0 --hours 2", "record --channel 1 --hours 1 --units 2",
        "leak --volume vol1 --hours 1 --units 2", "lose-id --channel 1 --hours 1"}) {
    auto const result = support::run(stlab_line(command, path()), {}, folder_.path());
    if (result.status != 0) throw std::runtime_error("stlab: " + result.output + result.errors);
  }
}

lying_recorder::lying_recorder(recorder_template const& from) {
  support::copy_tree(from.path(), recorder_);
  lay_victim(victim_, from.path());
}

fs::path lying_recorder::storage(std::string const& volume) const {
  for (auto const& entry : fs::directory_iterator(victim_ / "recorder/share" / volume)) {
    auto const name = entry.path().filename();
    if (name.string().rfind("FSU_", 0) == 0) return recorder_ / "share" / volume / name;
  }
  throw std::runtime_error("no storage folder");
}

fs::path lying_recorder::preallocate(std::string const& volume) const {
  return storage(volume) / "preallocate";
}

fs::path lying_recorder::an_hour_folder(std::string const& volume) const {
  auto const here = storage(volume);
  auto const there = victim_ / here.lexically_relative(recorder_.parent_path());
  fs::path found;
  for (auto const& entry : fs::directory_iterator(there)) {
    auto const name = entry.path().filename();
    bool const is_hour = name.string().rfind("ch", 0) == 0;
    if (is_hour && (found.empty() || name < found.filename())) found = here / name;
  }
  if (found.empty()) throw std::runtime_error("no hour folder");
  return found;
}

std::int64_t lying_recorder::ask(std::string const& sql) const {
  sqlite3* opened = nullptr;
  sqlite3_open_v2((recorder_ / "catalogue.db").c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  connection const catalogue(opened, sqlite3_close);
  std::int64_t number = -1;
  auto const take = [](void* into, int, char** values, char**) {
    *static_cast<std::int64_t*>(into) = values[0] == nullptr ? -1 : std::stoll(values[0]);
    return 0;
  };
  sqlite3_exec(opened, sql.c_str(), take, &number, nullptr);
  return number;
}

std::string lying_recorder::tamper(std::string const& sql) const {
  sqlite3* opened = nullptr;
  int const result = sqlite3_open_v2((recorder_ / "catalogue.db").c_str(), &opened,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, nullptr);
  connection const catalogue(opened, sqlite3_close);
  if (result != SQLITE_OK) return "cannot open";
  std::string const all =
      "PRAGMA journal_mode = MEMORY; PRAGMA ignore_check_constraints = ON;"
      "PRAGMA foreign_keys = OFF; PRAGMA writable_schema = ON;" +
      sql;
  if (sqlite3_exec(opened, all.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return {};
  return sqlite3_errmsg(opened);
}

void lying_recorder::remember() {
  remembered_ = support::snapshot_of(folder(), depth::with_content, recorder_);
}

std::string lying_recorder::harm(depth how) const {
  return support::changes(remembered_, support::snapshot_of(folder(), how, recorder_), how);
}

outcome lying_recorder::run(words const& line) const {
  support::environment all = extra;
  std::string const status = "exitcode=" + std::to_string(sanitizer_status);
  all.insert({{"STLAB_RECORDER", recorder_},
              {"STLAB_LOCK_TIMEOUT_MS", std::to_string(lock_timeout.count())},
              {"ASAN_OPTIONS", status},
              {"LSAN_OPTIONS", status},
              {"UBSAN_OPTIONS", status}});
  return support::run(line, all, folder(), time_limit);
}

outcome lying_recorder::st(words const& arguments) const {
  return run(words{ST_PROGRAM} + arguments);
}

outcome lying_recorder::stlab(words const& command) const {
  return run(stlab_line(command, recorder_));
}

std::string problem_of_st(outcome const& result) {
  auto const problem = problem_of_any(result);
  if (!problem.empty() || result.status == 0) return problem;
  return "st did not end with 0:" + tell(result);
}

std::string problem_of_stlab(outcome const& result) {
  constexpr int greatest_status = 4;
  auto const problem = problem_of_any(result);
  if (!problem.empty() || (result.status >= 0 && result.status <= greatest_status)) return problem;
  return "stlab has no such status:" + tell(result);
}

}  // namespace hostile
