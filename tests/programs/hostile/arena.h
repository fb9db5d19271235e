// A lab recorder, what lies beside it and must stay as it is, and programs that
// are run on it.
//
//   FOLDER/1/2/3/4/5/6/7/8/recorder
//   FOLDER/1/2/3/4/5/6/7/8/victim/...
//
// So deep that no "../" of a hostile name leaves FOLDER.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "run.h"

namespace hostile {

// One small recorder with leaks and periods without a storage id: spaces
// Storage1 and Storage2, volumes vol1 and vol2, channels 0 to 2.
class recorder_template {
 public:
  recorder_template();
  ~recorder_template();
  recorder_template(recorder_template const&) = delete;
  recorder_template& operator=(recorder_template const&) = delete;

  std::filesystem::path const& path() const { return path_; }

 private:
  std::filesystem::path folder_;
  std::filesystem::path path_;
};

// What is at a path; of a file also its content.
struct thing {
  mode_t mode;
  ino_t inode;
  nlink_t links;
  nlink_t own_links;  // those that are no second names in the recorder
  off_t size;
  std::int64_t changed_ns;
  std::string content;
};

using picture = std::map<std::string, thing>;

enum class depth { names_only, with_content };

class arena {
 public:
  explicit arena(recorder_template const& from);
  // Removes everything, unless it is to be kept.
  ~arena();
  arena(arena const&) = delete;
  arena& operator=(arena const&) = delete;

  std::filesystem::path const& folder() const { return folder_; }
  std::filesystem::path const& recorder() const { return recorder_; }
  std::filesystem::path const& victim() const { return victim_; }
  void keep() { kept_ = true; }

  // What the programs get besides STLAB_RECORDER and STLAB_LOCK_TIMEOUT_MS.
  environment extra;

  // The folder of a volume that holds its units, as it was made.
  std::filesystem::path storage(std::string const& volume) const;
  std::filesystem::path preallocate(std::string const& volume) const;
  // A folder of a recorded hour of the volume.
  std::filesystem::path an_hour_folder(std::string const& volume) const;

  // Runs statements on the catalogue with every constraint off; gives the text
  // of the failure of the first one that fails.
  std::string tamper(std::string const& sql) const;
  // The number that a query answers first; -1 when there is none.
  std::int64_t ask(std::string const& sql) const;

  // Everything outside the recorder, from now on the measure of `harm`.
  void remember();
  // What is no longer as remembered, empty when all is well.
  std::string harm(depth how) const;

  // Runs `st WORDS...`, or `stlab COMMAND RECORDER OPTIONS...`.
  outcome st(words const& arguments) const;
  outcome stlab(std::string const& command, words const& options) const;

 private:
  std::filesystem::path folder_;
  std::filesystem::path recorder_;
  std::filesystem::path victim_;
  picture remembered_;
  bool kept_ = false;
};

// What was wrong with a run of st or stlab, empty when nothing: a signal, too
// long a run, a status that is not documented, a sanitizer's report.
std::string problem_of_st(outcome const& result);
std::string problem_of_stlab(outcome const& result);

// How long the programs wait for somebody else, and how long they may take.
inline constexpr std::chrono::milliseconds lock_timeout{200};
inline constexpr std::chrono::milliseconds time_limit{lock_timeout + std::chrono::seconds(5)};

void write_file(std::filesystem::path const& file, std::string const& content);
std::string read_file(std::filesystem::path const& file);

}  // namespace hostile
