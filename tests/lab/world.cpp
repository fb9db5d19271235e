#include "world.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "lab/catalogue/sqlite.h"
#include "lab/make/make.h"
#include "lab/volume/layout.h"

namespace world {

namespace fs = std::filesystem;

namespace {

std::string content_of(fs::path const& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  return content.str();
}

}  // namespace

temporary_folder::temporary_folder() {
  auto text = (fs::temp_directory_path() / "lab-engine-XXXXXX").string();
  if (mkdtemp(text.data()) == nullptr) throw std::runtime_error("cannot make " + text);
  path_ = text;
}

temporary_folder::~temporary_folder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

tree tree_of(fs::path const& folder) {
  tree found;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) {
    auto const name = entry.path().lexically_relative(folder).string();
    if (entry.is_directory()) {
      found[name + "/"] = "";
    } else {
      found[name] = content_of(entry.path());
    }
  }
  return found;
}

std::vector<std::string> differences(tree const& left, tree const& right) {
  std::vector<tree::value_type> found;
  std::set_symmetric_difference(left.begin(), left.end(), right.begin(), right.end(),
                                std::back_inserter(found));
  std::vector<std::string> names;
  names.reserve(found.size());
  for (auto const& [name, content] : found) names.push_back(name);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

void write_file(fs::path const& file, std::string const& content) {
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream) throw std::runtime_error("cannot write " + file.string());
}

lab::make_options small() {
  lab::make_options options;
  options.spaces = 1;
  options.volumes = 2;
  options.volume_mb = 8;
  options.channels = 2;
  options.days = 0;
  options.now_ms = now;
  return options;
}

recorder_test::recorder_test() : root_(temporary_.path() / "recorder") {
  setenv("LC_ALL", "C", 1);
  setenv("TZ", "UTC", 1);
  tzset();
}

fs::path recorder_test::make(lab::make_options const& options) const {
  lab::make_recorder(root_, options, {});
  return root_;
}

lab::recorder recorder_test::open(lab::access mode) const {
  return lab::recorder::open(root_, mode);
}

fs::path recorder_test::storage(std::int64_t volume_id) const {
  lab::database const catalogue(root_ / "catalogue.db", lab::database::mode::read_only,
                                std::chrono::milliseconds(0));
  lab::statement query(catalogue, "SELECT folder, sid_text FROM volume WHERE id = ?");
  if (!query.with(volume_id).next()) throw std::runtime_error("no such volume");
  return lab::storage_folder((root_ / "share" / query.text(0)).string(), query.text(1));
}

fs::path recorder_test::preallocate(std::int64_t volume_id) const {
  return storage(volume_id) / "preallocate";
}

std::vector<std::string> recorder_test::names(fs::path const& folder) {
  std::vector<std::string> found;
  if (!fs::exists(folder)) return found;
  for (auto const& entry : fs::directory_iterator(folder)) {
    found.push_back(entry.path().filename().string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::int64_t recorder_test::allocated_bytes(fs::path const& folder) {
  std::int64_t bytes = 0;
  for (auto const& name : names(folder)) {
    struct stat status {};
    if (lstat((folder / name).c_str(), &status) != 0) throw std::runtime_error("cannot look");
    bytes += std::int64_t{status.st_blocks} * 512;
  }
  return bytes;
}

void recorder_test::tamper(std::string const& sql) const {
  lab::database catalogue(root_ / "catalogue.db", lab::database::mode::read_write,
                          std::chrono::milliseconds(0));
  catalogue.execute("PRAGMA foreign_keys = OFF");
  catalogue.execute(sql);
}

std::int64_t recorder_test::ask(std::string const& sql) const {
  lab::database const catalogue(root_ / "catalogue.db", lab::database::mode::read_only,
                                std::chrono::milliseconds(0));
  lab::statement query(catalogue, sql);
  if (!query.next()) throw std::runtime_error("no answer to " + sql);
  return query.integer(0);
}

void recorder_test::leak(std::int64_t volume_id, lab::stream const& of, std::int64_t hour_ms,
                         int units) const {
  auto recorder = open();
  auto const before = ids(recorder.periods());
  recorder.record(volume_id, of, hour_ms, units);
  auto after = ids(recorder.periods());
  for (auto const id : before) after.erase(std::find(after.begin(), after.end(), id));
  recorder.forget(after);
}

std::vector<std::int64_t> recorder_test::ids(std::vector<lab::period> const& periods) {
  std::vector<std::int64_t> found;
  found.reserve(periods.size());
  for (auto const& period : periods) found.push_back(period.id);
  return found;
}

}  // namespace world
