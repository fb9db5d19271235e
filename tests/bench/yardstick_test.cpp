// The bare client prints what st prints, and makes the same calls: otherwise a
// comparison of the two says nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>

#include "files.h"
#include "program.h"

namespace {

namespace fs = std::filesystem;
using support::environment;
using support::words;

// The first lines that differ, each after what it is of; empty where none does.
std::string difference(std::string const& bare, std::string const& st) {
  auto const bare_lines = support::lines_of(bare);
  auto const st_lines = support::lines_of(st);
  for (std::size_t i = 0; i < std::max(bare_lines.size(), st_lines.size()); ++i) {
    std::string const left = i < bare_lines.size() ? bare_lines[i] : "(end)";
    std::string const right = i < st_lines.size() ? st_lines[i] : "(end)";
    if (left != right) return "bare client: " + left + "\nst: " + right;
  }
  return bare == st ? "" : "the last line's end";
}

// Of every command: what is there, and what is not.
constexpr char const* commands[] = {"spacelist",         "vollist Storage00000000",
                                    "vollist absent",    "volset vol00000001 1 0",
                                    "volset absent 0 1", "volchn vol00000002",
                                    "volchn absent",     "voluse -1",
                                    "voluse 2",          "volclean -1",
                                    "volclean 0",        "autoclean",
                                    "nullid -1",         "nullid 0",
                                    "recoverid 0",       "spaceinfo Storage00000000",
                                    "spaceinfo absent",  "nothing"};

class yardstick : public testing::Test {
 protected:
  void expect_same(environment const& sizes) {
    expect_same(words{}, sizes);
    for (char const* command : commands) expect_same(command, sizes);
  }

  // The folders that autoclean measures, of the first volumes.
  void make_volumes(int count) {
    for (int number = 0; number < count; ++number) {
      std::string const digits = "0000000" + std::to_string(number);
      (void)folder_.make("share/vol" + digits + "/FSU_" + std::string(24, 'v') + digits +
                         "/preallocate");
    }
  }

 private:
  struct outcome {
    std::string output;
    std::string calls;
  };

  void expect_same(words const& command, environment const& sizes) {
    SCOPED_TRACE(support::text_of(command));
    outcome const st = run(ST_PROGRAM, command, sizes);
    outcome const bare = run(BARE_PROGRAM, command, sizes);
    EXPECT_EQ(difference(bare.output, st.output), "");
    EXPECT_EQ(difference(bare.calls, st.calls), "");
    EXPECT_FALSE(st.calls.empty());
  }

  outcome run(char const* program, words const& command, environment sizes) {
    fs::path const calls = folder_.path() / "calls";
    sizes["BENCH_CALLS"] = calls.string();
    sizes["BENCH_FOLDER"] = folder_.path().string();
    auto const ran = support::run(words{program} + command, sizes, folder_.path());
    EXPECT_EQ(ran.status, 0) << ran.errors;
    outcome result{ran.output, support::content_of(calls)};
    fs::remove(calls);
    return result;
  }

  support::temporary_folder folder_;
};

TEST_F(yardstick, says_and_asks_the_same_of_nothing) {
  expect_same({{"BENCH_SPACES", "0"},
               {"BENCH_VOLUMES", "0"},
               {"BENCH_CHANNELS", "0"},
               {"BENCH_PERIODS", "0"}});
}

// The third volume's folder is absent.
TEST_F(yardstick, says_and_asks_the_same_of_little) {
  make_volumes(2);
  expect_same({{"BENCH_SPACES", "1"},
               {"BENCH_VOLUMES", "3"},
               {"BENCH_CHANNELS", "1"},
               {"BENCH_STORAGE_IDS", "0"},
               {"BENCH_DAYS", "0"},
               {"BENCH_PERIODS", "0"}});
}

TEST_F(yardstick, says_and_asks_the_same_of_more) {
  make_volumes(9);
  expect_same({{"BENCH_SPACES", "13"},
               {"BENCH_VOLUMES", "9"},
               {"BENCH_CHANNELS", "40"},
               {"BENCH_STORAGE_IDS", "3"},
               {"BENCH_PERIODS", "7"},
               {"BENCH_NULL_PERCENT", "5"},
               {"BENCH_LEAKING_PERCENT", "2"}});
}

}  // namespace
