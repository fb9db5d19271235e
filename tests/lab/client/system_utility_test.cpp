#include "storage/system_utility.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "client_test.h"

namespace {

using client::client_test;

constexpr char* end = nullptr;

class programs : public client_test {};

std::string rest_of(std::FILE* stream) {
  std::string text;
  std::array<char, 256> buffer{};
  while (std::size_t const length = std::fread(buffer.data(), 1, buffer.size(), stream)) {
    text.append(buffer.data(), length);
  }
  return text;
}

// The output of a program and how it ended.
using ran = std::pair<std::string, int>;

template <typename... Words>
ran run(Words... words) {
  std::FILE* const stream = velt_popen("r", words..., end);
  if (stream == nullptr) return {"no stream", -1};
  std::string const text = rest_of(stream);
  return {text, velt_pclose(stream)};
}

std::size_t open_descriptors() { return client::files_in("/proc/self/fd"); }

TEST_F(programs, the_output_is_read_and_the_status_handed_back) {
  auto const [output, status] = run("/bin/sh", "-c", "echo one; exit 3");
  EXPECT_EQ("one\n", output);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(3, WEXITSTATUS(status));
}

TEST_F(programs, arguments_reach_the_program_as_they_are) {
  EXPECT_EQ(ran("$HOME|a b|*|;id|`id`||'|", 0),
            run("/usr/bin/printf", "%s|", "$HOME", "a b", "*", ";id", "`id`", "", "'"));
}

TEST_F(programs, the_environment_is_passed_on) {
  ::setenv("BENCH_WORD", "seen", 1);
  EXPECT_EQ(ran("seen\n", 0), run("/bin/sh", "-c", "echo $BENCH_WORD"));
  ::unsetenv("BENCH_WORD");
}

TEST_F(programs, several_are_open_at_once_and_each_close_waits_for_its_own) {
  std::FILE* const first = velt_popen("r", "/bin/sh", "-c", "echo 1; exit 1", end);
  std::FILE* const second = velt_popen("r", "/bin/sh", "-c", "echo 2; exit 2", end);
  std::FILE* const third = velt_popen("r", "/bin/sh", "-c", "echo 3; exit 3", end);
  ASSERT_TRUE(first != nullptr && second != nullptr && third != nullptr);
  EXPECT_EQ("2\n", rest_of(second));
  EXPECT_EQ(2, WEXITSTATUS(velt_pclose(second)));
  EXPECT_EQ("1\n", rest_of(first));
  EXPECT_EQ(1, WEXITSTATUS(velt_pclose(first)));
  EXPECT_EQ("3\n", rest_of(third));
  EXPECT_EQ(3, WEXITSTATUS(velt_pclose(third)));
  EXPECT_EQ(-1, ::waitpid(-1, nullptr, WNOHANG));
}

TEST_F(programs, a_program_does_not_hold_another_ones_pipe) {
  auto const inherited = [] { return run("/bin/ls", "/proc/self/fd"); };
  ran const alone = inherited();
  std::FILE* const other = velt_popen("r", "/bin/cat", "/dev/null", end);
  EXPECT_EQ(alone, inherited());
  EXPECT_EQ(0, velt_pclose(other));
}

TEST_F(programs, no_descriptor_stays_open) {
  ::setenv("STLAB_TRACE", "", 1);
  std::size_t const before = open_descriptors();
  for (int round = 0; round < 20; ++round) {
    std::FILE* const stream = velt_popen("r", "/bin/true", end);
    ASSERT_NE(nullptr, stream);
    velt_pclose(stream);
    ASSERT_EQ(nullptr, velt_popen("r", "/nonexistent/program", end));
    ASSERT_EQ(nullptr, velt_popen("w", "/bin/true", end));
  }
  EXPECT_EQ(before, open_descriptors());
  EXPECT_EQ(-1, ::waitpid(-1, nullptr, WNOHANG));
}

TEST_F(programs, a_missing_or_unfit_program_gives_no_stream) {
  EXPECT_EQ(nullptr, velt_popen("r", "/nonexistent/program", end));
  EXPECT_EQ(nullptr, velt_popen("r", "/etc", end));
  EXPECT_EQ(nullptr, velt_popen("r", "true", end)) << "the search path is not looked at";
}

TEST_F(programs, only_reading_is_known) {
  EXPECT_EQ(nullptr, velt_popen("w", "/bin/true", end));
  EXPECT_EQ(nullptr, velt_popen("rw", "/bin/true", end));
  EXPECT_EQ(nullptr, velt_popen("", "/bin/true", end));
}

TEST_F(programs, a_program_whose_output_is_not_read_ends_all_the_same) {
  std::FILE* const stream = velt_popen("r", "/usr/bin/yes", end);
  ASSERT_NE(nullptr, stream);
  int const status = velt_pclose(stream);
  EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) != 0);
}

TEST_F(programs, a_stream_of_somebody_else_is_not_closed) {
  std::FILE* const stream = std::fopen("/dev/null", "r");
  ASSERT_NE(nullptr, stream);
  EXPECT_EQ(-1, velt_pclose(stream));
  EXPECT_EQ(0, std::fclose(stream));
  EXPECT_EQ(-1, velt_pclose(nullptr));
}

TEST_F(programs, standard_output_may_be_closed) {
  std::fflush(stdout);
  int const kept = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
  ::close(STDOUT_FILENO);
  ran const heard = run("/bin/echo", "heard");
  ::dup2(kept, STDOUT_FILENO);
  ::close(kept);
  EXPECT_EQ(ran("heard\n", 0), heard);
}

class copying : public client_test {
 protected:
  std::array<char, 8> buffer{'#', '#', '#', '#', '#', '#', '#', '#'};
};

TEST_F(copying, nothing_is_written_into_no_room) {
  EXPECT_EQ(buffer.data(), nstrcpy(buffer.data(), "abc", 0));
  EXPECT_EQ('#', buffer[0]);
}

TEST_F(copying, one_byte_holds_the_terminator) {
  nstrcpy(buffer.data(), "abc", 1);
  EXPECT_EQ('\0', buffer[0]);
  EXPECT_EQ('#', buffer[1]);
}

TEST_F(copying, what_fits_exactly_is_whole) {
  EXPECT_STREQ("abc", nstrcpy(buffer.data(), "abc", 4));
  EXPECT_EQ('#', buffer[4]);
}

TEST_F(copying, what_does_not_fit_is_cut_and_terminated) {
  EXPECT_STREQ("ab", nstrcpy(buffer.data(), "abc", 3));
  EXPECT_EQ('#', buffer[3]);
}

TEST_F(copying, the_rest_of_a_larger_room_is_left_alone) {
  EXPECT_STREQ("", nstrcpy(buffer.data(), "", buffer.size()));
  EXPECT_EQ('#', buffer[1]);
}

}  // namespace
