// One st with the lab's shared client library, and with a recorder's own behind an
// empty library of the same name.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>

#include "program_test.h"

namespace support {
namespace {

class either_library : public program_test {
 protected:
  outcome run_either(words const& command, environment extra) const {
    words whole{EITHER_ST};
    whole.insert(whole.end(), command.begin(), command.end());
    extra["STLAB_RECORDER"] = recorder;
    return run(whole, extra, folder);
  }
};

TEST_F(either_library, of_the_lab_shows_the_labs_recorder) {
  stlab("make");
  for (words const& command : {words{"spacelist"}, {"vollist", "Storage1"}, {"voluse", "-1"}}) {
    outcome const result = run_either(command, {{"LD_LIBRARY_PATH", LAB_LIBRARY}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, st(command));
  }
}

TEST_F(either_library, of_a_recorder_shows_that_recorder) {
  stlab("make");
  outcome const result = run_either({"spacelist"}, {{"LD_LIBRARY_PATH", STAND_IN}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "Space count: 1\n[01] [Storage1], total size: 0 GB, used: 20 MB, use 31.25% [Normal    "
            "               ]\n\n");
}

TEST_F(either_library, is_missed_by_name_when_there_is_none) {
  if (void* const installed = dlopen("libstclient.so.0", RTLD_LAZY)) {
    dlclose(installed);
    GTEST_SKIP() << "a libstclient.so.0 is installed here";
  }
  outcome const result = run_either({"spacelist"}, {});
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.errors.find("libstclient.so.0"), std::string::npos) << result.errors;
}

// Whether a line of nm names something of src/storage: a member or a table of its
// classes, or one of its functions.
bool of_the_contract(std::string const& line) {
  static std::regex const names(
      "((vtable for |typeinfo for |typeinfo name for )CFS(Tier|Unit)"
      "|CKiv(Storage|StorageDaemon|Channel)::.*|CFS(Tier|Unit)::.*"
      "|make_hour_folder_full_path\\(.*|nstrcpy|velt_popen|velt_pclose|log_Debug) [TVW] .*");
  return std::regex_match(line, names);
}

TEST_F(either_library, of_the_lab_shows_the_contract_alone) {
  outcome const result = run({NM, "-D", "-C", "-P", "--defined-only", CLIENT}, {}, folder);
  ASSERT_EQ(result.status, 0) << result.errors;
  std::istringstream lines(result.output);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_TRUE(of_the_contract(line)) << line;
  }
  EXPECT_GE(count, 30);
}

}  // namespace
}  // namespace support
