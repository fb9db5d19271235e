#include "bench.h"

#include <grp.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>

#include "lab/make/make.h"

namespace bench {

namespace {

void scrub_environment() {
  for (char const* const name :
       {"STLAB_RECORDER", "STLAB_TRACE", "STLAB_SERVICE_FAULT", "STLAB_LOCK_TIMEOUT_MS",
        "DU_BLOCK_SIZE", "BLOCK_SIZE", "BLOCKSIZE", "POSIXLY_CORRECT"}) {
    ::unsetenv(name);
  }
  ::setenv("LC_ALL", "C", 1);
  ::setenv("TZ", "UTC", 1);
  ::tzset();
}

std::filesystem::path new_folder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "lab-bench-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  return std::filesystem::canonical(pattern);
}

// Gives the folder, and then this process, to the user that owns nothing else.
void become_ordinary(std::filesystem::path const& folder) {
  constexpr uid_t nobody = 65534;
  bool done = ::chown(folder.c_str(), nobody, nobody) == 0;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(folder)) {
    done = done && ::lchown(entry.path().c_str(), nobody, nobody) == 0;
  }
  done = done && ::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
         ::setresuid(nobody, nobody, nobody) == 0;
  if (!done) ADD_FAILURE() << "cannot become an ordinary user";
}

}  // namespace

lab::make_options small() {
  lab::make_options options;
  options.volume_mb = 8;
  options.channels = 2;
  options.days = 0;
  options.now_ms = now_ms;
  return options;
}

bench_test::bench_test()
    : folder(new_folder()),
      recorder(folder / "recorder"),
      trace(folder / "trace"),
      start_(std::filesystem::current_path()) {
  scrub_environment();
  ::setenv("STLAB_RECORDER", recorder.c_str(), 1);
  ::setenv("STLAB_TRACE", trace.c_str(), 1);
}

bench_test::~bench_test() {
  scrub_environment();
  std::error_code ignored;
  std::filesystem::current_path(start_, ignored);
  if (HasFailure()) {
    std::cerr << "the test's folder is kept: " << folder << '\n';
    return;
  }
  std::filesystem::remove_all(folder, ignored);
}

void bench_test::make(lab::make_options const& options) const {
  lab::make_recorder(recorder, options, [](std::int64_t, std::int64_t) {});
}

lab::recorder bench_test::reader() const {
  return lab::recorder::open(recorder, lab::access::read_only);
}

lab::recorder bench_test::writer() const {
  return lab::recorder::open(recorder, lab::access::read_write);
}

lab::volume bench_test::volume(std::size_t index) const { return reader().volumes().at(index); }

lab::space bench_test::space(std::size_t index) const { return reader().spaces().at(index); }

lab::channel bench_test::channel(std::size_t index) const { return reader().channels().at(index); }

void bench_test::alter_catalogue(std::string const& sql) const {
  sqlite3* opened = nullptr;
  int const result = sqlite3_open((recorder / "catalogue.db").c_str(), &opened);
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> const catalogue(opened, sqlite3_close);
  ASSERT_EQ(SQLITE_OK, result);
  ASSERT_EQ(SQLITE_OK, sqlite3_exec(opened, sql.c_str(), nullptr, nullptr, nullptr))
      << sqlite3_errmsg(opened);
}

void bench_test::as_ordinary_user(std::function<void()> const& body) const {
  if (::geteuid() != 0) return body();
  std::fflush(nullptr);
  pid_t const child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    become_ordinary(folder);
    body();
    std::fflush(nullptr);
    // No exit(): the leak check cannot look into a process that changed its user.
    ::_exit(HasFailure() ? 1 : 0);
  }
  int status = -1;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_EQ(0, status) << "see the failures of the child process above";
}

std::vector<std::string> bench_test::traced() const {
  std::ifstream file(trace);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> bench_test::traced(std::string const& operation) const {
  std::string const beginning = "[\"" + operation + "\",";
  std::vector<std::string> lines;
  for (std::string const& line : traced()) {
    if (line.compare(0, beginning.size(), beginning) == 0) lines.push_back(line);
  }
  return lines;
}

std::string content_of(std::filesystem::path const& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

std::map<std::string, std::string> picture_of(std::filesystem::path const& folder) {
  std::map<std::string, std::string> picture;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(folder)) {
    struct stat status {};
    ::stat(entry.path().c_str(), &status);
    std::ostringstream text;
    text << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec << ' ' << status.st_blocks << ' '
         << (entry.is_regular_file() ? std::hash<std::string>()(content_of(entry.path())) : 0);
    picture[entry.path().string()] = text.str();
  }
  return picture;
}

void expect_same(std::map<std::string, std::string> const& before,
                 std::map<std::string, std::string> const& after) {
  for (auto const& [path, look] : before) {
    auto const found = after.find(path);
    EXPECT_EQ(look, found == after.end() ? "gone" : found->second) << path;
  }
  for (auto const& each : after) EXPECT_EQ(1U, before.count(each.first)) << each.first << " is new";
}

std::size_t files_in(std::filesystem::path const& folder) {
  std::filesystem::directory_iterator const all(folder);
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

kivsid space_id(std::string const& sid) {
  kivsid id;
  std::memcpy(&id.number, sid.data(), sizeof id.number);
  std::memcpy(id.text, sid.data() + sizeof id.number, sizeof id.text);
  return id;
}

kivsid volume_id(lab::volume const& of) {
  kivsid id;
  id.number = of.sid_number;
  of.sid_text.copy(id.text, sizeof id.text);
  return id;
}

channel_sid channel_id(lab::channel const& of) {
  channel_sid id = channel_id(of.sid);
  id.number = of.number;
  return id;
}

channel_sid channel_id(std::string const& id) {
  channel_sid made;
  id.copy(made.id, sizeof made.id);
  return made;
}

stream_info stream_of(lab::channel const& of, std::int32_t recording_type, std::int32_t stream) {
  stream_info made;
  made.channel = channel_id(of);
  made.stream = stream;
  made.recording_type = recording_type;
  return made;
}

}  // namespace bench
