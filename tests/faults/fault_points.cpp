#include "fault_points.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace lab::fault_points {

namespace {

[[noreturn]] void fail_to_understand(char const* text) {
  std::fprintf(stderr, "STLAB_FAULT: %s is no fault\n", text);
  std::_Exit(2);
}

observer from_environment() {
  char const* const text = std::getenv("STLAB_FAULT");
  if (text == nullptr || *text == '\0') return [](point const&) { return 0; };
  auto const what = parse(text);
  if (!what) fail_to_understand(text);
  static int points = 0;
  return injector(*what, points);
}

observer& present() {
  static observer now = from_environment();
  return now;
}

bool is_refused(point const& at) {
  int const answer = present()(at);
  if (answer == 0) return false;
  errno = answer;
  return true;
}

bool is_hit(fault const& what, int point) {
  return what.lasting == fault::span::once ? point == what.at : point >= what.at;
}

[[noreturn]] void end_by_kill() {
  kill(getpid(), SIGKILL);
  for (;;) pause();
}

}  // namespace

bool takes_space(point const& at) {
  switch (at.what) {
    case call::make_folder:
    case call::create:
    case call::allocate:
    case call::database_create:
    case call::database_grow:
      return true;
    default:
      return false;
  }
}

watch::watch(observer watching) : before_(std::exchange(present(), std::move(watching))) {}

watch::~watch() { present() = std::move(before_); }

std::optional<fault> parse(std::string const& text) {
  auto const at = text.find('@');
  if (at == std::string::npos) return std::nullopt;
  auto const name = text.substr(0, at);
  fault read{fault::kind::error, 0, 0, fault::span::once};
  if (name == "kill") {
    read.what = fault::kind::kill;
  } else if (name == "full") {
    read.what = fault::kind::no_space;
    read.error_number = ENOSPC;
  } else if (name == "EIO" || name == "ENOSPC") {
    read.error_number = name == "EIO" ? EIO : ENOSPC;
  } else {
    return std::nullopt;
  }
  std::string_view number = std::string_view(text).substr(at + 1);
  if (!number.empty() && number.back() == '+') {
    read.lasting = fault::span::from_there_on;
    number.remove_suffix(1);
  }
  auto const [end, problem] =
      std::from_chars(number.data(), number.data() + number.size(), read.at);
  bool const whole = problem == std::errc() && end == number.data() + number.size();
  if (!whole || read.at < 1) return std::nullopt;
  return read;
}

observer injector(fault const& what, int& points) {
  return [what, &points](point const& at) {
    ++points;
    if (!is_hit(what, points)) return 0;
    if (what.what == fault::kind::kill) end_by_kill();
    if (what.what == fault::kind::no_space && !takes_space(at)) return 0;
    return what.error_number;
  };
}

bool refused(call what, std::filesystem::path const& path) { return is_refused({what, path, {}}); }

bool refused(call what, folder const& in, std::string const& name) {
  return is_refused({what, in.path() / name, {}});
}

bool refused_link(folder const& from, folder const& to, std::string const& name) {
  return is_refused({call::link, to.path() / name, from.path() / name});
}

bool refused_move(folder const& from, folder const& to, std::string const& name) {
  return is_refused({call::rename, to.path() / name, from.path() / name});
}

}  // namespace lab::fault_points
