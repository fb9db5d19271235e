#include "lab/stlab/stop_request.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

namespace stlab {

namespace {

constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

// A signal that is ignored would be kept, too, while it is held back.
bool is_ignored(int signal) {
  struct sigaction action {};
  return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t signals_to_watch() {
  sigset_t watched;
  ::sigemptyset(&watched);
  for (int const signal : signals) {
    if (!is_ignored(signal)) ::sigaddset(&watched, signal);
  }
  return watched;
}

}  // namespace

stop_request::stop_request()
    : watched_(signals_to_watch()),
      before_(),
      signals_(::signalfd(-1, &watched_, SFD_CLOEXEC)),
      end_(::eventfd(0, EFD_CLOEXEC)) {
  ::pthread_sigmask(SIG_BLOCK, &watched_, &before_);
  // The thread holds the signals back as well.
  if (signals_.number() >= 0 && end_.number() >= 0) watcher_ = std::thread([this] { watch(); });
}

stop_request::~stop_request() {
  if (watcher_.joinable()) {
    ::eventfd_write(end_.number(), 1);
    watcher_.join();
  }
  ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool stop_request::is_asked_for() {
  sigset_t pending;
  if (::sigpending(&pending) != 0) return asked_;
  for (int const signal : signals) {
    bool const has_come =
        ::sigismember(&watched_, signal) == 1 && ::sigismember(&pending, signal) == 1;
    if (has_come) announce();
  }
  return asked_;
}

// Looks at the signals without taking them.
void stop_request::watch() {
  std::array<pollfd, 2> events{{{signals_.number(), POLLIN, 0}, {end_.number(), POLLIN, 0}}};
  int found = -1;
  do {
    found = ::poll(events.data(), events.size(), -1);
  } while (found < 0 && errno == EINTR);
  if (found > 0 && (events[0].revents & POLLIN) != 0) announce();
}

void stop_request::announce() {
  if (asked_.exchange(true)) return;
  // A progress bar may be in the line.
  std::string_view text = "\nstopping…\n";
  if (::isatty(STDERR_FILENO) != 1) text.remove_prefix(1);
  [[maybe_unused]] auto const told = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace stlab
