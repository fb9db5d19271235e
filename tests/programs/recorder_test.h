// A lab recorder of the test's own, and st and stlab run on it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "program.h"

namespace end_to_end {

// Path below the recorder to a digest of the content; folders have none.
using picture = std::map<std::string, std::string>;

class recorder_test : public testing::Test {
 protected:
  recorder_test();
  // The folder stays, and is named, when the test fails.
  ~recorder_test() override;

  // From now on the programs see this moment, which does not pass.
  void hold_clock(std::string const& utc);

  // Runs `stlab COMMAND RECORDER OPTIONS...`, which must succeed.
  std::string stlab(std::string const& command, std::vector<std::string> const& options = {});

  // Runs st, which must end with status 0 and print nothing on standard error;
  // gives its standard output.
  std::string st(std::vector<std::string> const& words, environment const& extra = {});

  // Runs a program in `folder`, with its recorder and under the held clock.
  outcome run_here(std::vector<std::string> command, environment extra = {}) const;

  picture picture_now() const;

  // The only storage folder of a volume.
  std::filesystem::path storage_folder(std::string const& volume) const;

  // What du measures of a volume's preallocate folder, in KiB.
  long long preallocated_kib(std::string const& volume) const;

  std::filesystem::path const folder;
  std::filesystem::path const recorder;

 private:
  std::string clock_;
};

}  // namespace end_to_end
