#include "snapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "files.h"

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr std::streamsize piece_bytes = 65536;

bool is_zero(std::string_view piece) {
  return piece.front() == '\0' && piece.substr(1) == piece.substr(0, piece.size() - 1);
}

// A small file's content; a digest of a larger one's, read in pieces, of which most are
// zeros.
std::string told(fs::path const& file, off_t size) {
  if (size < piece_bytes) return content_of(file);
  std::ifstream stream(file, std::ios::binary);
  std::string piece(piece_bytes, '\0');
  std::size_t digest = 0;
  for (std::size_t at = 1; stream.read(piece.data(), piece_bytes), stream.gcount() > 0; ++at) {
    std::string_view const read(piece.data(), static_cast<std::size_t>(stream.gcount()));
    if (!is_zero(read)) digest = digest * 0x9E3779B1 + std::hash<std::string_view>()(read) * at;
  }
  if (stream.bad() || !stream.is_open()) throw std::runtime_error("cannot read " + file.string());
  return "digest " + std::to_string(digest);
}

entry entry_at(fs::path const& path, depth how) {
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0) {
    throw std::system_error(errno, std::generic_category(), path.string());
  }
  constexpr std::int64_t second = 1'000'000'000;
  entry result{found.st_mode,
               found.st_ino,
               found.st_nlink,
               found.st_size,
               found.st_blocks,
               found.st_mtim.tv_sec * second + found.st_mtim.tv_nsec,
               {}};
  if (how == depth::with_content && S_ISREG(found.st_mode)) {
    result.content = told(path, found.st_size);
  }
  if (S_ISLNK(found.st_mode)) result.content = fs::read_symlink(path).string();
  return result;
}

void add_below(snapshot& all, fs::path const& folder, fs::path const& top, depth how,
               fs::path const& omitted) {
  for (auto const& each : fs::directory_iterator(folder)) {
    if (each.path() == omitted) continue;
    bool const is_folder = fs::is_directory(each.symlink_status());
    all.emplace(each.path().lexically_relative(top).string() + (is_folder ? "/" : ""),
                entry_at(each.path(), how));
    if (is_folder) add_below(all, each.path(), top, how, omitted);
  }
}

std::string difference(entry const& was, entry const& is, depth how) {
  std::ostringstream text;
  auto const compare = [&](char const* what, auto before, auto after) {
    if (before != after) text << ' ' << what << ' ' << before << " -> " << after;
  };
  compare("mode", was.mode, is.mode);
  compare("inode", was.inode, is.inode);
  if (is.links > was.links || S_ISDIR(was.mode)) compare("links", was.links, is.links);
  compare("size", was.size, is.size);
  compare("blocks", was.blocks, is.blocks);
  compare("changed", was.changed_ns, is.changed_ns);
  if (how == depth::with_content && was.content != is.content) text << " content";
  return text.str();
}

}  // namespace

snapshot snapshot_of(fs::path const& folder, depth how, fs::path const& omitted) {
  snapshot all;
  add_below(all, folder, folder, how, omitted);
  return all;
}

contents contents_of(fs::path const& folder) {
  contents found;
  for (auto const& each : fs::recursive_directory_iterator(folder)) {
    bool const is_folder = each.is_directory();
    found.emplace(each.path().lexically_relative(folder).string() + (is_folder ? "/" : ""),
                  is_folder ? "" : content_of(each.path()));
  }
  return found;
}

std::set<std::string> written_in(contents const& all) {
  std::set<std::string> found;
  for (auto const& [path, content] : all) {
    found.insert(content.substr(0, content.find_last_not_of('\0') + 1));
  }
  return found;
}

std::vector<std::string> differences(contents const& left, contents const& right) {
  std::vector<contents::value_type> found;
  std::set_symmetric_difference(left.begin(), left.end(), right.begin(), right.end(),
                                std::back_inserter(found));
  std::vector<std::string> names;
  names.reserve(found.size());
  for (auto const& [name, content] : found) names.push_back(name);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

std::string changes(snapshot const& before, snapshot const& after, depth how) {
  std::string text;
  for (auto const& [path, was] : before) {
    auto const is = after.find(path);
    auto const what = is == after.end() ? " is gone" : difference(was, is->second, how);
    if (!what.empty()) text += path + ':' + what + '\n';
  }
  for (auto const& each : after) {
    if (before.count(each.first) == 0) text += each.first + ": is new\n";
  }
  return text;
}

unchanged::unchanged(fs::path folder) : folder_(std::move(folder)), before_(snapshot_of(folder_)) {}

unchanged::~unchanged() { EXPECT_EQ("", changes(before_, snapshot_of(folder_))); }

}  // namespace support
