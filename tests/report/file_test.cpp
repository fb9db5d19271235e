#include "report/file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

#include "files.h"
#include "snapshot.h"

namespace {

namespace fs = std::filesystem;

using support::content_of;

int mode_of(fs::path const& file) {
  struct stat found {};
  return ::stat(file.c_str(), &found) == 0 ? static_cast<int>(found.st_mode & 0777U) : -1;
}

class report_file : public testing::Test {
 protected:
  // What writing there fails with, and that nothing changes by it.
  void expect_refused(fs::path const& name, int code) {
    support::unchanged const nothing(folder);
    try {
      report::write_file(name, "new");
      ADD_FAILURE() << name << " was written";
    } catch (std::system_error const& problem) {
      EXPECT_EQ(problem.code().value(), code) << problem.what();
    }
  }

  support::temporary_folder temporary;
  fs::path const folder = temporary.path();
  fs::path const file = folder / "report";
};

TEST_F(report_file, is_written_and_read) {
  std::string const text = std::string("a\nb\0c", 5) + std::string(200000, 'x');
  report::write_file(file, text);
  EXPECT_EQ(content_of(file), text);
  EXPECT_EQ(report::read_file(file), text);
  EXPECT_EQ(support::names_in(folder), std::vector<std::string>{"report"});
}

TEST_F(report_file, may_be_empty) {
  report::write_file(file, "");
  EXPECT_EQ(report::read_file(file), "");
}

TEST_F(report_file, is_replaced_as_a_whole) {
  support::write_file(file, "old");
  fs::create_hard_link(file, folder / "other");
  report::write_file(file, "new");
  EXPECT_EQ(content_of(file), "new");
  EXPECT_EQ(content_of(folder / "other"), "old");
}

TEST_F(report_file, can_be_read_by_whom_the_mask_and_the_old_one_say) {
  mode_t const before = ::umask(022);
  report::write_file(file, "x");
  ::umask(before);
  EXPECT_EQ(mode_of(file), 0644);
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  report::write_file(file, "y");
  EXPECT_EQ(mode_of(file), 0640);
}

TEST_F(report_file, is_found_from_where_the_process_stands) {
  fs::path const before = fs::current_path();
  fs::current_path(folder);
  report::write_file("report", "x");
  fs::current_path(before);
  EXPECT_EQ(content_of(file), "x");
}

TEST_F(report_file, replaces_nothing_but_a_file) {
  support::write_file(folder / "target", "old");
  fs::create_symlink("target", folder / "link");
  fs::create_symlink("nowhere", folder / "dangling");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  fs::create_directory(folder / "below");
  expect_refused(folder / "link", EINVAL);
  expect_refused(folder / "dangling", EINVAL);
  expect_refused(folder / "pipe", EINVAL);
  expect_refused(folder / "below", EISDIR);
  expect_refused(folder / "nowhere" / "file", ENOENT);
  expect_refused(folder / "target" / "file", ENOTDIR);
}

TEST_F(report_file, that_cannot_be_read_is_an_error) {
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  support::write_file(folder / "large", "");
  fs::resize_file(folder / "large", std::uintmax_t{64} * 1024 * 1024 + 1);
  for (fs::path const& each : {folder / "nowhere", folder, folder / "pipe", folder / "large"}) {
    EXPECT_THROW(report::read_file(each), std::system_error) << each;
  }
  fs::resize_file(folder / "large", std::uintmax_t{64} * 1024 * 1024);
  EXPECT_EQ(report::read_file(folder / "large").size(), std::size_t{64} * 1024 * 1024);
}

// No file of this process grows beyond this.
class size_limit {
 public:
  explicit size_limit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    rlimit const limit{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    handler_ = ::signal(SIGXFSZ, SIG_IGN);
  }
  ~size_limit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    ::signal(SIGXFSZ, handler_);
  }
  size_limit(size_limit const&) = delete;
  size_limit& operator=(size_limit const&) = delete;

 private:
  rlimit before_{};
  sighandler_t handler_;
};

TEST_F(report_file, that_does_not_fit_leaves_the_old_one) {
  support::write_file(file, "old");
  support::unchanged const nothing(folder);
  int code = 0;
  {
    size_limit const limit(100);
    try {
      report::write_file(file, std::string(101, 'x'));
    } catch (std::system_error const& problem) {
      code = problem.code().value();
    }
  }
  EXPECT_EQ(code, EFBIG);
}

}  // namespace
