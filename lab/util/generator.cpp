#include "lab/util/generator.h"

namespace lab {

// splitmix64: every step is fixed by its definition, unlike the distributions
// of the standard library.
std::uint64_t generator::next() {
  state_ += 0x9e3779b97f4a7c15U;
  std::uint64_t mixed = state_;
  mixed = (mixed ^ (mixed >> 30U)) * 0xbf58476d1ce4e5b9U;
  mixed = (mixed ^ (mixed >> 27U)) * 0x94d049bb133111ebU;
  return mixed ^ (mixed >> 31U);
}

std::int64_t generator::below(std::int64_t bound) {
  return static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(bound));
}

std::string generator::digits(int length) {
  std::string text;
  for (int position = 0; position < length; ++position) {
    text += "0123456789abcdef"[next() & 0xfU];
  }
  return text;
}

std::string generator::uuid() {
  std::string text;
  for (int const length : {8, 4, 4, 4, 12}) {
    if (!text.empty()) text += '-';
    text += digits(length);
  }
  return text;
}

}  // namespace lab
