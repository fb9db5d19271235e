// An open file, closed by its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace report {

class descriptor {
 public:
  explicit descriptor(int number = -1) noexcept : number_(number) {}
  ~descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  descriptor(descriptor&& from) noexcept : number_(std::exchange(from.number_, -1)) {}
  descriptor& operator=(descriptor&& from) noexcept {
    std::swap(number_, from.number_);
    return *this;
  }
  descriptor(descriptor const&) = delete;
  descriptor& operator=(descriptor const&) = delete;

  // Negative when it is none.
  int get() const noexcept { return number_; }

 private:
  int number_;
};

}  // namespace report
