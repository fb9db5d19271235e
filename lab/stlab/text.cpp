#include "lab/stlab/text.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <iostream>

namespace stlab {

namespace {

constexpr std::size_t usual_columns = 80;
constexpr std::size_t least_columns = 20;
constexpr std::size_t most_columns = 10'000;

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

std::size_t letters_in(std::string_view text) {
  return text.size() -
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), is_continuation));
}

// Takes the first `count` letters away.
std::string_view take_letters(std::string_view& text, std::size_t count) {
  std::size_t at = 0;
  for (; at < text.size() && (count > 0 || is_continuation(text[at])); ++at) {
    if (!is_continuation(text[at])) --count;
  }
  std::string_view const taken = text.substr(0, at);
  text.remove_prefix(at);
  return taken;
}

// Takes spaces and the word behind them away.
std::string_view take_word(std::string_view& text) {
  std::size_t const start = std::min(text.find_first_not_of(' '), text.size());
  std::size_t const end = std::min(text.find(' ', start), text.size());
  std::string_view const taken = text.substr(0, end);
  text.remove_prefix(end);
  return taken;
}

std::size_t columns_in(std::string_view text) {
  std::size_t number = 0;
  auto const [stop, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  return problem == std::errc() && stop == text.data() + text.size() ? number : 0;
}

std::size_t columns_of_terminal() {
  struct winsize size {};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace

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

std::string counted(std::int64_t count, std::string const& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

void print(std::string_view line) { std::cout << printable(line) << '\n'; }

std::size_t columns() {
  char const* const variable = std::getenv("COLUMNS");
  std::size_t found = columns_in(variable == nullptr ? "" : variable);
  if (found == 0) found = columns_of_terminal();
  if (found == 0) found = usual_columns;
  return std::clamp(found, least_columns, most_columns);
}

std::string wrapped(std::string_view text, std::size_t width, std::size_t indent) {
  std::string const margin(indent, ' ');
  std::string lines;
  std::size_t used = 0;   // of the present line
  std::size_t empty = 0;  // as long as only so much is used, the line has no word
  while (!text.empty()) {
    std::string_view word = take_word(text);
    if (used > empty && used + letters_in(word) > width) {
      lines += '\n' + margin;
      used = empty = indent;
      word.remove_prefix(std::min(word.find_first_not_of(' '), word.size()));
    }
    while (used + letters_in(word) > width) {
      lines += take_letters(word, width - used);
      lines += '\n' + margin;
      used = empty = indent;
    }
    lines += word;
    used += letters_in(word);
  }
  return lines;
}

}  // namespace stlab
