#include "lab/util/text.h"

#include <algorithm>
#include <cstdint>

namespace lab {

namespace {

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80; }

struct letter {
  std::size_t bytes;  // 0 when what is there is not UTF-8
  std::uint32_t code;
};

// The beginning of a letter: how many bytes it has, the first bits of its code,
// and the least code that needs so many bytes.
struct beginning {
  std::size_t bytes;
  std::uint32_t bits;
  std::uint32_t least;
};

beginning beginning_of(unsigned char byte) {
  if (byte < 0x80) return {1, byte, 0};
  if (byte >= 0xc0 && byte < 0xe0) return {2, byte & 0x1fU, 0x80};
  if (byte >= 0xe0 && byte < 0xf0) return {3, byte & 0x0fU, 0x800};
  if (byte >= 0xf0 && byte < 0xf8) return {4, byte & 0x07U, 0x10000};
  return {0, 0, 0};
}

letter first_letter(std::string_view text) {
  beginning const first = beginning_of(static_cast<unsigned char>(text.front()));
  if (first.bytes == 0 || first.bytes > text.size()) return {0, 0};
  std::uint32_t code = first.bits;
  for (char const byte : text.substr(1, first.bytes - 1)) {
    if (!is_continuation(byte)) return {0, 0};
    code = code << 6U | (static_cast<unsigned char>(byte) & 0x3fU);
  }
  bool const is_surrogate = code >= 0xd800 && code < 0xe000;
  if (code < first.least || code > 0x10ffff || is_surrogate) return {0, 0};
  return {first.bytes, code};
}

// Line ends and the direction of writing are controls too.
bool is_control(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x61c || code == 0x200e ||
         code == 0x200f || (code >= 0x2028 && code < 0x202f) || (code >= 0x2066 && code < 0x206a);
}

void append_escaped(std::string& to, std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  for (char const each : bytes) {
    auto const byte = static_cast<unsigned char>(each);
    to += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xfU]};
  }
}

}  // namespace

std::string counted(std::int64_t count, std::string const& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::size_t utf8_length(std::string_view text) { return first_letter(text).bytes; }

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    letter const first = first_letter(text);
    std::string_view const bytes = text.substr(0, std::max<std::size_t>(1, first.bytes));
    if (first.bytes == 0 || is_control(first.code)) {
      append_escaped(shown, bytes);
    } else {
      shown += bytes == "\\" ? "\\\\" : bytes;
    }
    text.remove_prefix(bytes.size());
  }
  return shown;
}

}  // namespace lab
