#include "lab/client/notice.h"

#include <algorithm>
#include <iostream>
#include <mutex>
#include <set>

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

std::string printable(std::string text) {
  auto const is_control = [](unsigned char each) { return each < ' ' || each == '\177'; };
  std::replace_if(text.begin(), text.end(), is_control, '?');
  return text;
}

}  // namespace

void tell_once(std::string const& text) {
  if (!told_texts::instance().add(text)) return;
  std::cerr << "lab client library: " + printable(text) + '\n';
}

}  // namespace lab::client
