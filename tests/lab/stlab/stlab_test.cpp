#include "stlab_test.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace stlab_program {

outcome stlab_test::run(std::string const& arguments) const {
  return support::run({"/bin/sh", "-c", "'" STLAB_PROGRAM "' " + arguments}, extra, folder);
}

outcome stlab_test::on_recorder(std::string const& command, std::string const& options) const {
  return run(command + ' ' + recorder.string() + " --now " + std::to_string(client::now_ms / 1000) +
             ' ' + options);
}

std::string stlab_test::show(std::string const& options) const {
  outcome const shown = run("show " + options + " " + recorder.string());
  EXPECT_EQ(0, shown.status) << shown.errors;
  return shown.output;
}

void stlab_test::expect_done(outcome const& result, std::string const& output) {
  expect_ended(result, 0, output);
}

void stlab_test::expect_ended(outcome const& result, int status, std::string const& output) {
  EXPECT_EQ(status, result.status);
  EXPECT_EQ("", result.errors);
  EXPECT_EQ(output, result.output);
}

void stlab_test::expect_parts(std::string const& text, std::vector<std::string> const& parts) {
  for (auto const& part : parts) EXPECT_TRUE(holds(text, part)) << part << "\nis not in\n" << text;
}

void stlab_test::expect_refused(outcome const& result, std::string const& message, int status) {
  EXPECT_EQ(status, result.status);
  EXPECT_EQ("", result.output);
  EXPECT_EQ("stlab: " + message + "\n", result.errors);
}

namespace {

// Until nobody has the other side open.
std::string all_shown_on(int screen) {
  std::string all;
  std::array<char, 4096> part{};
  for (;;) {
    ::ssize_t const count = ::read(screen, part.data(), part.size());
    if (count <= 0) return all;
    all.append(part.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

terminal::terminal() : screen_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  if (screen_ >= 0 && ::grantpt(screen_) == 0 && ::unlockpt(screen_) == 0) {
    name_ = ::ptsname(screen_);
    program_side_ = ::open(name_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  if (program_side_ < 0) {
    problem_ = "no terminal can be had here: " + std::generic_category().message(errno);
    return;
  }
  shown_ = std::async(std::launch::async, all_shown_on, screen_);
}

terminal::~terminal() {
  if (shown_.valid()) shown();
  if (screen_ >= 0) ::close(screen_);
}

void terminal::set_columns(unsigned short columns) const {
  ::winsize const size{24, columns, 0, 0};
  EXPECT_EQ(0, ::ioctl(program_side_, TIOCSWINSZ, &size));
}

std::string terminal::shown() {
  ::close(program_side_);
  return shown_.get();
}

}  // namespace stlab_program
