#include "files.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace support {

namespace fs = std::filesystem;

namespace {

bool has_room_in_memory() {
  constexpr unsigned long long enough = 1ULL << 30;
  struct statvfs memory {};
  return statvfs("/dev/shm", &memory) == 0 && access("/dev/shm", W_OK) == 0 &&
         1ULL * memory.f_bavail * memory.f_frsize >= enough;
}

// A folder that may not be entered would stay.
void open_up(fs::path const& folder) {
  chmod(folder.c_str(), 0700);
  std::error_code ignored;
  for (auto const& entry : fs::directory_iterator(folder, ignored)) {
    if (fs::is_directory(entry.symlink_status(ignored))) open_up(entry.path());
  }
}

}  // namespace

temporary_folder::temporary_folder(medium where) : had_failed_(testing::Test::HasFailure()) {
  bool const in_memory = where == medium::memory && has_room_in_memory();
  auto const parent = in_memory ? fs::path("/dev/shm") : fs::temp_directory_path();
  std::string text = (parent / "st-test-XXXXXX").string();
  if (mkdtemp(text.data()) == nullptr) throw std::runtime_error("cannot make " + text);
  path_ = fs::canonical(text);
}

temporary_folder::~temporary_folder() {
  if (testing::Test::HasFailure() && !had_failed_) {
    std::cerr << "the test's folder is kept: " << path_.string() << '\n';
    return;
  }
  open_up(path_);
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string temporary_folder::make(std::string const& below) const {
  fs::create_directories(path_ / below);
  return path_ / below;
}

std::string content_of(fs::path const& file) {
  std::ifstream stream(file, std::ios::binary);
  std::error_code no_file;
  auto const size = fs::file_size(file, no_file);
  std::string content(no_file ? 0 : static_cast<std::size_t>(size), '\0');
  stream.read(content.data(), static_cast<std::streamsize>(content.size()));
  content.resize(static_cast<std::size_t>(stream.gcount()));
  // What has grown meanwhile, or tells no size.
  std::ostringstream more;
  if (stream && stream.peek() != std::ifstream::traits_type::eof()) more << stream.rdbuf();
  if (stream.bad() || !stream.is_open()) throw std::runtime_error("cannot read " + file.string());
  return content + more.str();
}

void write_file(fs::path const& file, std::string const& content) {
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream) throw std::runtime_error("cannot write " + file.string());
}

void mark_units(fs::path const& folder) {
  for (auto const& entry : fs::recursive_directory_iterator(folder)) {
    if (!begins_with(entry.path().filename(), "unit")) continue;
    std::fstream unit(entry.path(), std::ios::in | std::ios::out | std::ios::binary);
    unit.seekp(1000);
    unit << entry.path().lexically_relative(folder).string();
    if (!unit.flush()) throw std::runtime_error("cannot write " + entry.path().string());
  }
}

std::vector<std::string> lines_of(std::string const& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> names_in(fs::path const& folder) {
  std::vector<std::string> found;
  if (!fs::exists(folder)) return found;
  for (auto const& entry : fs::directory_iterator(folder)) {
    found.push_back(entry.path().filename().string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::string as_name(std::string text) {
  for (char& each : text) {
    if (std::isalnum(static_cast<unsigned char>(each)) == 0) each = '_';
  }
  return text;
}

bool holds(std::string const& text, std::string const& part) {
  return text.find(part) != std::string::npos;
}

bool begins_with(std::string const& text, std::string const& beginning) {
  return text.rfind(beginning, 0) == 0;
}

bool ends_with(std::string const& text, std::string const& ending) {
  return text.size() >= ending.size() &&
         text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

}  // namespace support
