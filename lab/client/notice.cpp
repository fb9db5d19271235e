#include "lab/client/notice.h"

#include <iostream>
#include <mutex>
#include <set>

#include "lab/util/text.h"

namespace lab::client {

namespace {

class told_texts {
 public:
  static told_texts& instance() {
    static told_texts all;
    return all;
  }

  // False when the text has been added before.
  bool add(std::string const& text) {
    std::lock_guard const lock(guard_);
    return texts_.insert(text).second;
  }

 private:
  std::mutex guard_;
  std::set<std::string> texts_;
};

}  // namespace

void tell_once(std::string const& text) {
  if (!told_texts::instance().add(text)) return;
  std::cerr << "lab client library: " + printable(text) + '\n';
}

}  // namespace lab::client
