#include "engine_test.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "environment.h"
#include "lab/make/make.h"
#include "lab/volume/layout.h"

namespace support {

namespace fs = std::filesystem;

lab::make_options small(std::function<void(lab::make_options&)> const& change) {
  lab::make_options options;
  options.spaces = 1;
  options.volumes = 2;
  options.volume_mb = 8;
  options.channels = 2;
  options.days = 0;
  options.now_ms = now;
  if (change) change(options);
  return options;
}

namespace {

void must(bool holds, fs::path const& path) {
  if (!holds) throw std::system_error(errno, std::generic_category(), path.string());
}

void clone_file(fs::path const& from, fs::path const& to) {
  auto const size = static_cast<off_t>(fs::file_size(from));
  lab::descriptor const copy(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  must(copy.number() >= 0, to);
  bool const has_blocks = begins_with(from.filename(), "unit") || from.extension() == ".db-journal";
  must(size == 0 || !has_blocks || posix_fallocate(copy.number(), 0, size) == 0, to);
  must(ftruncate(copy.number(), size) == 0, to);
  for (auto const& [start, bytes] : data_of(from)) {
    auto const count = static_cast<ssize_t>(bytes.size());
    must(pwrite(copy.number(), bytes.data(), bytes.size(), start) == count, to);
  }
}

}  // namespace

std::map<off_t, std::string> data_of(fs::path const& file) {
  lab::descriptor const opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  must(opened.number() >= 0, file);
  std::map<off_t, std::string> found;
  for (off_t end = 0;;) {
    off_t const start = lseek(opened.number(), end, SEEK_DATA);
    if (start < 0) return found;
    end = lseek(opened.number(), start, SEEK_HOLE);
    std::string bytes(static_cast<std::size_t>(end - start), '\0');
    must(pread(opened.number(), bytes.data(), bytes.size(), start) == end - start, file);
    found.emplace(start, std::move(bytes));
  }
}

void copy_tree(fs::path const& from, fs::path const& to) {
  fs::create_directories(to);
  std::map<ino_t, fs::path> copies;
  for (auto const& [name, each] : snapshot_of(from, depth::names_only)) {
    if (S_ISDIR(each.mode)) {
      fs::create_directory(to / name);
      continue;
    }
    auto const [first, is_new] = copies.emplace(each.inode, to / name);
    if (is_new) {
      clone_file(from / name, to / name);
    } else {
      fs::create_hard_link(first->second, to / name);
    }
  }
}

engine_test::engine_test() : root_(temporary_.path() / "recorder") { scrub_environment(); }

fs::path engine_test::make(lab::make_options const& options) const {
  lab::make_recorder(root_, options, {});
  return root_;
}

lab::recorder engine_test::open(lab::access mode) const { return lab::recorder::open(root_, mode); }

fs::path engine_test::storage(std::int64_t volume_id) const {
  auto const catalogue = connect();
  lab::statement query(catalogue, "SELECT folder, sid_text FROM volume WHERE id = ?");
  if (!query.with(volume_id).next()) throw std::runtime_error("no such volume");
  return lab::storage_folder((root_ / "share" / query.text(0)).string(), query.text(1));
}

fs::path engine_test::preallocate(std::int64_t volume_id) const {
  return storage(volume_id) / "preallocate";
}

fs::path engine_test::hour_folder(std::int64_t volume_id, std::int64_t hour_ms) const {
  return storage(volume_id) / lab::hour_folder_name(0, 4, 0, hour_ms);
}

std::int64_t engine_test::allocated_bytes(fs::path const& folder) {
  std::int64_t bytes = 0;
  for (auto const& name : names(folder)) {
    struct stat status {};
    if (lstat((folder / name).c_str(), &status) != 0) throw std::runtime_error("cannot look");
    bytes += std::int64_t{status.st_blocks} * 512;
  }
  return bytes;
}

void engine_test::tamper(std::string const& sql) const {
  auto catalogue = connect(lab::database::mode::read_write);
  catalogue.execute("PRAGMA foreign_keys = OFF");
  catalogue.execute(sql);
}

std::int64_t engine_test::ask(std::string const& sql) const {
  auto const catalogue = connect();
  lab::statement query(catalogue, sql);
  if (!query.next()) throw std::runtime_error("no answer to " + sql);
  return query.integer(0);
}

void engine_test::break_table(std::string const& name) const {
  auto const page = ask("SELECT rootpage FROM sqlite_master WHERE name = '" + name + "'");
  auto const size = ask("SELECT page_size FROM pragma_page_size");
  std::fstream file(root_ / "catalogue.db", std::ios::in | std::ios::out | std::ios::binary);
  file.seekp((page - 1) * size);
  file << std::string(static_cast<std::size_t>(size), '\xff');
}

void engine_test::die_while_changing() const {
  pid_t const child = fork();
  if (child == 0) {
    auto catalogue = connect(lab::database::mode::read_write);
    catalogue.execute(
        "PRAGMA cache_size = 1; BEGIN IMMEDIATE;"
        "UPDATE volume SET type = 1; UPDATE unit SET name = name || 'x';");
    _exit(0);
  }
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  ASSERT_EQ(0, status);
}

lab::volume_place engine_test::place_of(std::int64_t volume_id) const {
  for (auto const& each : open(lab::access::read_only).volumes()) {
    if (each.id == volume_id) return {each.id, each.path.filename(), each.sid_text, each.path};
  }
  throw std::runtime_error("no such volume");
}

lab::volume_lock engine_test::hold(std::int64_t volume_id, lab::volume_lock::kind how) const {
  return {place_of(volume_id), how, std::chrono::milliseconds(0)};
}

void engine_test::leak(std::int64_t volume_id, lab::stream const& of, std::int64_t hour_ms,
                       int units) const {
  auto recorder = open();
  auto const before = ids(recorder.periods());
  recorder.record(volume_id, of, hour_ms, units);
  auto after = ids(recorder.periods());
  for (auto const id : before) after.erase(std::find(after.begin(), after.end(), id));
  recorder.forget(after);
}

std::vector<std::int64_t> engine_test::ids(std::vector<lab::period> const& periods) {
  std::vector<std::int64_t> found;
  found.reserve(periods.size());
  for (auto const& period : periods) found.push_back(period.id);
  return found;
}

}  // namespace support
