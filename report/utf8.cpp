#include "report/utf8.h"

#include <array>

namespace report {

namespace {

std::size_t bytes_after(unsigned char lead) noexcept {
  if (lead >= 0xf8) return 0;
  if (lead >= 0xf0) return 3;
  if (lead >= 0xe0) return 2;
  return lead >= 0xc0 ? 1 : 0;
}

// In the shortest form there is, and no half of a pair.
bool is_character(char32_t code, std::size_t bytes_more) noexcept {
  constexpr std::array<char32_t, 4> least{0, 0x80, 0x800, 0x10000};
  bool const is_half = code >= 0xd800 && code < 0xe000;
  return code >= least[bytes_more] && code <= 0x10ffff && !is_half;
}

}  // namespace

character first_of(std::string_view text) noexcept {
  auto const lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1, true};
  std::size_t const more = bytes_after(lead);
  if (more == 0 || more >= text.size()) return {lead, 1, false};
  auto code = static_cast<char32_t>(lead & (0x3fU >> more));
  for (std::size_t i = 1; i <= more; ++i) {
    auto const byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xc0U) != 0x80) return {lead, 1, false};
    code = code << 6U | (byte & 0x3fU);
  }
  return is_character(code, more) ? character{code, more + 1, true} : character{lead, 1, false};
}

bool steers(char32_t code) noexcept {
  bool const control = code < 0x20 || (code >= 0x7f && code < 0xa0);
  bool const separator = code == 0x2028 || code == 0x2029;
  bool const mark = code == 0x061c || code == 0x200e || code == 0x200f;
  bool const turn = (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
  return control || separator || mark || turn;
}

}  // namespace report
