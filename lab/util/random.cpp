#include "lab/util/random.h"

namespace lab {

std::int64_t random::below(std::int64_t bound) {
  return static_cast<std::int64_t>(engine_() % static_cast<std::uint64_t>(bound));
}

std::string random::digits(int length) {
  std::string text;
  for (int position = 0; position < length; ++position) {
    text += "0123456789abcdef"[engine_() & 0xfU];
  }
  return text;
}

std::string random::uuid() {
  std::string text;
  for (int const length : {8, 4, 4, 4, 12}) {
    if (!text.empty()) text += '-';
    text += digits(length);
  }
  return text;
}

}  // namespace lab
