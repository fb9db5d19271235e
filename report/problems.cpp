#include "report/problems.h"

namespace report {

namespace {

// What "N more" is said of; in the order of oddity.
constexpr char const* names[oddity_count] = {
    "doubled ids or numbers",
    "texts with bytes that are none",
    "negative sizes",
    "sizes with more used than there is",
    "volumes of an unknown space",
    "periods that end before they start",
    "periods outside the years 1970 to 9999",
};

}  // namespace

std::vector<std::string> problem_list::lines() const {
  std::vector<std::string> all;
  for (std::size_t kind = 0; kind < oddity_count; ++kind) {
    found const& of = found_[kind];
    all.insert(all.end(), of.lines.begin(), of.lines.end());
    if (of.count > most_lines) {
      all.push_back(std::to_string(of.count - most_lines) + " more " + names[kind]);
    }
  }
  return all;
}

}  // namespace report
