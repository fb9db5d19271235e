// The service's answers that make no sense, as they are met.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace report {

enum class oddity {
  doubled,  // an id or a number that another one has too
  text,     // a text that had to be cleaned
  negative_size,
  used_over_total,
  unknown_space,  // a volume of a space that is not listed
  period_order,   // a period that ends before it starts
  period_time,    // a period outside the years 1970 to 9999
};

inline constexpr std::size_t oddity_count = 7;

// Keeps the first lines of each kind and counts the others.
class problem_list {
 public:
  // Calls text() for the line only when it is kept.
  template <typename Text>
  void add(oddity kind, Text const& text) {
    found& of = found_[static_cast<std::size_t>(kind)];
    if (++of.count <= most_lines) of.lines.push_back(text());
  }

  // The lines kind by kind; behind those of a kind how many more there are.
  std::vector<std::string> lines() const;

 private:
  static constexpr std::uint64_t most_lines = 20;

  struct found {
    std::uint64_t count = 0;
    std::vector<std::string> lines;
  };
  std::array<found, oddity_count> found_;
};

}  // namespace report
