// st and stlab, run on a lab recorder of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "files.h"
#include "program.h"

namespace support {

// Path below the recorder to the content, or a digest of it; folders have none.
using picture = std::map<std::string, std::string>;

class program_test : public testing::Test {
 protected:
  explicit program_test(medium where = medium::disk) : temporary_(where) {}

  // From now on the programs see this moment, which does not pass.
  void hold_clock(std::string const& utc) { clock_ = utc; }

  // Runs `stlab COMMAND RECORDER OPTIONS...`, which must succeed; gives its
  // standard output.
  std::string stlab(words const& command, words const& options = {}) const;

  // Runs st, which must end with status 0 and print nothing on standard error;
  // gives its standard output.
  std::string st(words const& command, environment const& extra = {}) const;

  // Run a program in `folder`, with its recorder and under the held clock.
  outcome run_stlab(words const& command, words const& options = {},
                    environment const& extra = {}) const;
  outcome run_st(words const& command, environment const& extra = {}) const;
  outcome run_here(words const& command, environment extra = {}) const;

  picture picture_now() const;

  // The only storage folder of a volume.
  std::filesystem::path storage_folder(std::string const& volume) const;

  // What du measures of a volume's preallocate folder, in KiB.
  long long preallocated_kib(std::string const& volume) const;

 private:
  temporary_folder temporary_;
  std::string clock_;

 protected:
  std::filesystem::path const folder = temporary_.path();
  std::filesystem::path const recorder = folder / "recorder";
};

}  // namespace support
