#include "lab/stlab/stop_request.h"

#include <initializer_list>

namespace stlab {

namespace {

// A signal that is ignored would be kept, too, while it is held back.
bool is_ignored(int signal) {
  struct sigaction action {};
  return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

stop_request::stop_request() : watched_(), before_() {
  ::sigemptyset(&watched_);
  for (int const signal : {SIGINT, SIGTERM}) {
    if (!is_ignored(signal)) ::sigaddset(&watched_, signal);
  }
  ::pthread_sigmask(SIG_BLOCK, &watched_, &before_);
}

stop_request::~stop_request() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

bool stop_request::is_asked_for() const {
  sigset_t pending;
  if (::sigpending(&pending) != 0) return false;
  for (int const signal : {SIGINT, SIGTERM}) {
    if (::sigismember(&watched_, signal) == 1 && ::sigismember(&pending, signal) == 1) return true;
  }
  return false;
}

}  // namespace stlab
