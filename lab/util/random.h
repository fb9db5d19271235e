// Numbers that look random and are the same for the same seed everywhere.
#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace lab {

// Without the distributions of the standard library: what they make of the same
// numbers is each library's own affair.
class random {
 public:
  explicit random(std::uint64_t seed) : engine_(seed) {}

  // From 0 to below `bound`, which is at least 1.
  std::int64_t below(std::int64_t bound);

  // `length` lower-case hexadecimal digits.
  std::string digits(int length);

  // 36 characters: five groups of hexadecimal digits, joined by '-'.
  std::string uuid();

 private:
  std::mt19937_64 engine_;
};

}  // namespace lab
