// A lab recorder, what lies beside it and must stay as it is, and programs that
// are run on it.
//
//   FOLDER/1/2/3/4/5/6/7/8/recorder
//   FOLDER/1/2/3/4/5/6/7/8/victim/...
//
// So deep that no "../" of a hostile name leaves FOLDER.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "files.h"
#include "program.h"
#include "snapshot.h"

namespace hostile {

using support::depth;
using support::outcome;
using support::words;

// One small recorder with leaks and periods without a storage id: spaces
// Storage1 and Storage2, volumes vol1 and vol2, channels 0 to 2.
class recorder_template {
 public:
  recorder_template();

  std::filesystem::path path() const { return folder_.path() / "recorder"; }

 private:
  support::temporary_folder folder_;
};

class lying_recorder {
 public:
  explicit lying_recorder(recorder_template const& from);

  std::filesystem::path const& folder() const { return folder_.path(); }
  std::filesystem::path const& recorder() const { return recorder_; }
  std::filesystem::path const& victim() const { return victim_; }

  // What the programs get besides STLAB_RECORDER and STLAB_LOCK_TIMEOUT_MS.
  support::environment extra;

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
  outcome stlab(words const& command) const;

 private:
  outcome run(words const& line) const;

  support::temporary_folder folder_;
  std::filesystem::path const recorder_ = folder_.path() / "1/2/3/4/5/6/7/8/recorder";
  std::filesystem::path const victim_ = recorder_.parent_path() / "victim";
  support::snapshot remembered_;
};

// What a sanitizer ends a program with: nothing else does.
inline constexpr int sanitizer_status = 99;

// What was wrong with a run of st or stlab, empty when nothing: a signal, too
// long a run, a status that is not documented, a sanitizer's report.
std::string problem_of_st(outcome const& result);
std::string problem_of_stlab(outcome const& result);

// How long the programs wait for somebody else, and how long they may take.
inline constexpr std::chrono::milliseconds lock_timeout{200};
inline constexpr std::chrono::milliseconds time_limit{lock_timeout + std::chrono::seconds(5)};

}  // namespace hostile
