#include "report/clean_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace report {

namespace {

constexpr char replacement[] = "\xef\xbf\xbd";  // U+FFFD

struct character {
  std::uint32_t code = 0;
  std::size_t size = 0;  // in bytes; 0 when the text does not begin with UTF-8
};

struct form {
  unsigned char mask;
  unsigned char lead;
  std::uint32_t least;  // what a shorter form could hold is not UTF-8
};

constexpr form forms[] = {
    {0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};

bool is_scalar(std::uint32_t code) noexcept {
  return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

// The rest of a character whose first byte has the form of `size` bytes.
character rest_of(std::string_view text, form const& of, std::size_t size) noexcept {
  if (text.size() < size) return {};
  std::uint32_t code = static_cast<unsigned char>(text[0]) & static_cast<unsigned char>(~of.mask);
  for (std::size_t i = 1; i < size; ++i) {
    auto const byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80U) return {};
    code = (code << 6U) | (byte & 0x3FU);
  }
  if (code < of.least || !is_scalar(code)) return {};
  return {code, size};
}

// The first character of a text that is not empty.
character first_of(std::string_view text) noexcept {
  auto const lead = static_cast<unsigned char>(text[0]);
  std::size_t size = 1;
  for (form const& each : forms) {
    if ((lead & each.mask) == each.lead) return rest_of(text, each, size);
    ++size;
  }
  return {};
}

bool steers(std::uint32_t code) noexcept {
  bool const control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  bool const separator = code == 0x2028 || code == 0x2029;
  bool const mark = code == 0x061C || code == 0x200E || code == 0x200F;
  bool const turn = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return control || separator || mark || turn;
}

bool is_plain(char each) noexcept { return each >= 0x20 && each < 0x7F; }

}  // namespace

bool is_clean(std::string_view text) noexcept {
  text.remove_prefix(static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_plain) -
                                              text.begin()));
  while (!text.empty()) {
    character const first = first_of(text);
    if (first.size == 0 || steers(first.code)) return false;
    text.remove_prefix(first.size);
  }
  return true;
}

std::string clean_text(std::string_view text) {
  if (is_clean(text)) return std::string(text);
  std::string clean;
  while (!text.empty()) {
    character const first = first_of(text);
    bool const kept = first.size != 0 && !steers(first.code);
    std::size_t const size = std::max<std::size_t>(first.size, 1);
    clean.append(kept ? text.substr(0, size) : std::string_view(replacement));
    text.remove_prefix(size);
  }
  return clean;
}

}  // namespace report
