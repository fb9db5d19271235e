// Being asked to stop, by SIGINT, SIGTERM or SIGHUP, while something must be
// cleaned up first.
#pragma once

#include <atomic>
#include <csignal>
#include <thread>

#include "lab/disk/folder.h"

namespace stlab {

// Holds the signals back while it lives, and says "stopping…" on standard error
// at once when the first one comes, whatever the program is at. A signal that
// came does what it does when this goes, which by default ends the program. One
// that the program ignores stays ignored.
class stop_request {
 public:
  stop_request();
  ~stop_request();
  stop_request(stop_request const&) = delete;
  stop_request& operator=(stop_request const&) = delete;

  // True once a signal has come.
  bool is_asked_for();

 private:
  void watch();
  void announce();

  sigset_t watched_;
  sigset_t before_;
  lab::descriptor signals_;
  lab::descriptor end_;
  std::atomic<bool> asked_{false};
  std::thread watcher_;
};

}  // namespace stlab
