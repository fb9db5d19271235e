// Numbers that look random and are the same for the same seed on every machine.
#pragma once

#include <cstdint>
#include <string>

namespace lab {

class generator {
 public:
  explicit generator(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next();

  // From 0 to below `bound`, which is at least 1.
  std::int64_t below(std::int64_t bound);

  // `length` lower-case hexadecimal digits.
  std::string digits(int length);

  // 36 characters: five groups of hexadecimal digits, joined by '-'.
  std::string uuid();

 private:
  std::uint64_t state_;
};

}  // namespace lab
