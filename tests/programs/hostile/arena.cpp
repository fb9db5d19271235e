#include "arena.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace hostile {

namespace fs = std::filesystem;

namespace {

fs::path new_folder() {
  std::string name = (fs::temp_directory_path() / "st-hostile-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder " + name);
  return fs::canonical(name);
}

// A folder that may not be entered would stay.
void open_up(fs::path const& folder) {
  std::error_code ignored;
  for (auto const& entry : fs::directory_iterator(folder, ignored)) {
    if (!fs::is_directory(entry.symlink_status(ignored))) continue;
    ::chmod(entry.path().c_str(), 0700);
    open_up(entry.path());
  }
}

void remove_everything(fs::path const& folder) {
  open_up(folder);
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

void must_succeed(outcome const& result) {
  if (result.status != 0) throw std::runtime_error("stlab: " + result.output + result.errors);
}

// Units hold a short head and zeros; their blocks are allocated.
void clone_file(fs::path const& from, fs::path const& to) {
  constexpr std::size_t head = 4096;
  std::string content = read_file(from);
  auto const size = static_cast<off_t>(content.size());
  bool const is_unit =
      content.size() > head && content.find_first_not_of('\0', head) == std::string::npos;
  if (is_unit) content.resize(head);
  write_file(to, content);
  int const file = ::open(to.c_str(), O_WRONLY | O_CLOEXEC);
  int const problem = file < 0 ? errno : ::posix_fallocate(file, 0, size);
  if (file >= 0) ::close(file);
  if (problem != 0) throw std::system_error(problem, std::generic_category(), to.string());
}

void clone_tree(fs::path const& from, fs::path const& to) {
  fs::create_directories(to);
  for (auto const& entry : fs::directory_iterator(from)) {
    if (entry.is_directory()) {
      clone_tree(entry.path(), to / entry.path().filename());
    } else {
      clone_file(entry.path(), to / entry.path().filename());
    }
  }
}

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
  clone_file(recorder_of / "catalogue.db", victim / "database");
  clone_tree(recorder_of, victim / "recorder");
}

thing thing_at(fs::path const& path, depth how) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) {
    throw std::system_error(errno, std::generic_category(), path.string());
  }
  thing result{found.st_mode,
               found.st_ino,
               found.st_nlink,
               S_ISREG(found.st_mode) ? 1 : found.st_nlink,
               found.st_size,
               std::int64_t{found.st_mtim.tv_sec} * 1'000'000'000 + found.st_mtim.tv_nsec,
               {}};
  if (how == depth::with_content && S_ISREG(found.st_mode)) result.content = read_file(path);
  if (S_ISLNK(found.st_mode)) result.content = fs::read_symlink(path).string();
  return result;
}

// Everything below a folder but what is below `omitted`, which may be gone.
void add_below(picture& all, fs::path const& folder, fs::path const& omitted, depth how) {
  for (auto const& entry : fs::directory_iterator(folder)) {
    if (entry.path() == omitted) continue;
    all.emplace(entry.path().string(), thing_at(entry.path(), how));
    if (fs::is_directory(entry.symlink_status())) add_below(all, entry.path(), omitted, how);
  }
}

std::string difference(thing const& was, thing const& is, depth how) {
  std::ostringstream text;
  auto const compare = [&](char const* what, auto before, auto after) {
    if (before != after) text << ' ' << what << ' ' << before << " -> " << after;
  };
  compare("mode", was.mode, is.mode);
  compare("inode", was.inode, is.inode);
  // The recorder may drop a second name that it was given, which is its own.
  if (is.links > was.links || is.links < was.own_links) compare("links", was.links, is.links);
  compare("size", was.size, is.size);
  compare("changed", was.changed_ns, is.changed_ns);
  if (how == depth::with_content && was.content != is.content) text << " content";
  return text.str();
}

using connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

std::string tell(outcome const& result) {
  std::string const head = result.errors.substr(0, 2000);
  return " status " + std::to_string(result.status) + ", " + std::to_string(result.took.count()) +
         " ms, standard error: " + head;
}

std::string problem_of_any(outcome const& result) {
  if (result.is_late) return "takes too long" + tell(result);
  if (result.signal != 0) return "signal " + std::to_string(result.signal) + tell(result);
  bool const is_reported = result.errors.find("Sanitizer") != std::string::npos ||
                           result.errors.find("runtime error: ") != std::string::npos;
  if (result.status == sanitizer_status || is_reported)
    return "a sanitizer's report" + tell(result);
  if (result.output.size() + result.errors.size() >= most_output) return "prints without end";
  return {};
}

}  // namespace

void write_file(fs::path const& file, std::string const& content) {
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream) throw std::runtime_error("cannot write " + file.string());
}

std::string read_file(fs::path const& file) {
  std::ifstream stream(file, std::ios::binary | std::ios::ate);
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  std::string content(static_cast<std::size_t>(stream.tellg()), '\0');
  stream.seekg(0);
  stream.read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

recorder_template::recorder_template() : folder_(new_folder()), path_(folder_ / "recorder") {
  auto const stlab = [&](std::string const& command, words const& options) {
    words line{STLAB_PROGRAM, command, path_};
    line.insert(line.end(), options.begin(), options.end());
    must_succeed(run(line, {}, folder_, std::chrono::minutes(1)));
  };
  stlab("make",
        {"--spaces", "2", "--volumes", "1", "--volume-mb", "8", "--channels", "3", "--days", "0"});
  stlab("record", {"--channel", "0", "--hours", "2"});
  stlab("record", {"--channel", "1", "--hours", "1", "--units", "2"});
  stlab("leak", {"--volume", "vol1", "--hours", "1", "--units", "2"});
  stlab("lose-id", {"--channel", "1", "--hours", "1"});
}

recorder_template::~recorder_template() { remove_everything(folder_); }

arena::arena(recorder_template const& from) : folder_(new_folder()) {
  auto const beside = folder_ / "1/2/3/4/5/6/7/8";
  recorder_ = beside / "recorder";
  victim_ = beside / "victim";
  clone_tree(from.path(), recorder_);
  lay_victim(victim_, from.path());
}

arena::~arena() {
  if (!kept_) remove_everything(folder_);
}

fs::path arena::storage(std::string const& volume) const {
  for (auto const& entry : fs::directory_iterator(victim_ / "recorder/share" / volume)) {
    auto const name = entry.path().filename();
    if (name.string().rfind("FSU_", 0) == 0) return recorder_ / "share" / volume / name;
  }
  throw std::runtime_error("no storage folder");
}

fs::path arena::preallocate(std::string const& volume) const {
  return storage(volume) / "preallocate";
}

fs::path arena::an_hour_folder(std::string const& volume) const {
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

std::int64_t arena::ask(std::string const& sql) const {
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

std::string arena::tamper(std::string const& sql) const {
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

void arena::remember() {
  remembered_.clear();
  add_below(remembered_, folder_, recorder_, depth::with_content);
}

std::string arena::harm(depth how) const {
  picture now;
  add_below(now, folder_, recorder_, how);
  std::string text;
  auto const tell_of = [&](std::string const& path, std::string const& what) {
    text += fs::path(path).lexically_relative(recorder_.parent_path()).string() + ':' + what + '\n';
  };
  for (auto const& [path, was] : remembered_) {
    auto const found = now.find(path);
    if (found == now.end()) {
      tell_of(path, " is gone");
    } else if (auto const what = difference(was, found->second, how); !what.empty()) {
      // What is made in and taken from the recorder's own parent is told by name.
      tell_of(path, what);
    }
  }
  for (auto const& each : now) {
    if (remembered_.count(each.first) == 0) tell_of(each.first, " is new");
  }
  return text;
}

outcome arena::st(words const& arguments) const {
  words line{ST_PROGRAM};
  line.insert(line.end(), arguments.begin(), arguments.end());
  environment all = extra;
  all.insert({{"STLAB_RECORDER", recorder_},
              {"STLAB_LOCK_TIMEOUT_MS", std::to_string(lock_timeout.count())}});
  return run(line, all, folder_, time_limit);
}

outcome arena::stlab(std::string const& command, words const& options) const {
  words line{STLAB_PROGRAM, command, recorder_};
  line.insert(line.end(), options.begin(), options.end());
  environment all = extra;
  all.insert({{"STLAB_RECORDER", recorder_},
              {"STLAB_LOCK_TIMEOUT_MS", std::to_string(lock_timeout.count())}});
  return run(line, all, folder_, time_limit);
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
