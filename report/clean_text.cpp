#include "report/clean_text.h"

#include <algorithm>
#include <cstddef>

#include "report/utf8.h"

namespace report {

namespace {

constexpr char replacement[] = "\xef\xbf\xbd";  // U+FFFD

bool is_plain(char each) noexcept { return each >= 0x20 && each < 0x7F; }

}  // namespace

bool is_clean(std::string_view text) noexcept {
  text.remove_prefix(static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_plain) -
                                              text.begin()));
  while (!text.empty()) {
    character const first = first_of(text);
    if (!first.is_whole || steers(first.code)) return false;
    text.remove_prefix(first.bytes);
  }
  return true;
}

std::string clean_text(std::string_view text) {
  if (is_clean(text)) return std::string(text);
  std::string clean;
  while (!text.empty()) {
    character const first = first_of(text);
    bool const kept = first.is_whole && !steers(first.code);
    clean.append(kept ? text.substr(0, first.bytes) : std::string_view(replacement));
    text.remove_prefix(first.bytes);
  }
  return clean;
}

}  // namespace report
