// What lies below a folder, to see later what has changed.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace support {

struct entry {
  mode_t mode;
  ino_t inode;
  nlink_t links;
  off_t size;
  blkcnt_t blocks;
  std::int64_t changed_ns;
  std::string content;  // of a file, from 64 KB on a digest of it; of a link where it leads
};

// By the path below the folder; a folder's ends in '/'.
using snapshot = std::map<std::string, entry>;

enum class depth { names_only, with_content };

// Everything below a folder but `omitted`, a full path, and what is below that.
// Links are not followed.
snapshot snapshot_of(std::filesystem::path const& folder, depth how = depth::with_content,
                     std::filesystem::path const& omitted = {});

// What every file below a folder holds, by its path from there; a folder ends
// in '/' and holds nothing.
using contents = std::map<std::string, std::string>;
contents contents_of(std::filesystem::path const& folder);

// What was written into any of them: each content without the zeros at its end.
std::set<std::string> written_in(contents const& all);

// The paths that are not the same in both, sorted.
std::vector<std::string> differences(contents const& left, contents const& right);

// All that differs but that a file has fewer names, a line each; empty when
// nothing does.
std::string changes(snapshot const& before, snapshot const& after, depth how = depth::with_content);

// Expects at its end that nothing below a folder has changed since its beginning.
class unchanged {
 public:
  explicit unchanged(std::filesystem::path folder);
  ~unchanged();
  unchanged(unchanged const&) = delete;
  unchanged& operator=(unchanged const&) = delete;

 private:
  std::filesystem::path folder_;
  snapshot before_;
};

}  // namespace support
