#include "lab/check/finding.h"

#include <array>
#include <cstddef>
#include <tuple>

namespace lab {

bool finding::operator==(finding const& other) const {
  return std::tie(what, place, text) == std::tie(other.what, other.place, other.text);
}

bool may_hide_a_recording(finding const& which) {
  switch (which.what) {
    case finding_class::corrupt:
    case finding_class::not_mounted:
    case finding_class::unreadable:
    case finding_class::wrong_volume:
    case finding_class::misplaced:
    case finding_class::duplicate:
    case finding_class::cross_linked:
    case finding_class::unknown:
      return true;
    default:
      return false;
  }
}

char const* word_of(finding_class what) {
  // In the order of the classes.
  static constexpr std::array words{
      "corrupt",   "not-mounted",  "unreadable", "in-transit", "wrong-volume", "misplaced",
      "duplicate", "cross-linked", "missing",    "bad",        "short",        "long",
      "unknown",   "leak",         "null-id",    "period",     "sums"};
  static_assert(words.size() == static_cast<std::size_t>(finding_class::sums) + 1);
  return words.at(static_cast<std::size_t>(what));
}

std::string printed(finding const& which) {
  return std::string(word_of(which.what)) + ": " + which.place + ": " + which.text;
}

}  // namespace lab
