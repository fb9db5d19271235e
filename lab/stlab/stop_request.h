// Being asked to stop, by SIGINT or SIGTERM, while something must be cleaned up
// first.
#pragma once

#include <csignal>

namespace stlab {

// Holds both signals back while it lives. One that came meanwhile does what it
// does when this goes, which by default ends the program. A signal that the
// program ignores stays ignored.
class stop_request {
 public:
  stop_request();
  ~stop_request();
  stop_request(stop_request const&) = delete;
  stop_request& operator=(stop_request const&) = delete;

  // True once a signal has come.
  bool is_asked_for() const;

 private:
  sigset_t watched_;
  sigset_t before_;
};

}  // namespace stlab
