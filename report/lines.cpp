#include "report/lines.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "report/utf8.h"

namespace report {

namespace {

struct range {
  char32_t first;
  char32_t last;
};

// What terminals show in two columns, in large blocks.
constexpr std::array<range, 9> wide{{{0x1100, 0x115f},
                                     {0x2e80, 0xa4cf},
                                     {0xac00, 0xd7a3},
                                     {0xf900, 0xfaff},
                                     {0xfe30, 0xfe6f},
                                     {0xff00, 0xff60},
                                     {0xffe0, 0xffe6},
                                     {0x1f300, 0x1faff},
                                     {0x20000, 0x3fffd}}};

int width_of_code(char32_t code) noexcept {
  bool const is_wide = std::any_of(wide.begin(), wide.end(), [&](range const& each) {
    return each.first <= code && code <= each.last;
  });
  return is_wide ? 2 : 1;
}

// Neither what steers the terminal nor a code that stands for no character.
bool is_shown(character const& which) noexcept {
  bool const is_none = (which.code & 0xfffeU) == 0xfffe;
  return which.is_whole && !steers(which.code) && !is_none;
}

// How many bytes of the text fit.
std::size_t bytes_within(std::string_view text, int width) noexcept {
  std::size_t bytes = 0;
  while (bytes < text.size()) {
    character const next = first_of(text.substr(bytes));
    width -= width_of_code(next.code);
    if (width < 0) break;
    bytes += next.bytes;
  }
  return bytes;
}

// How much of the text is the next line of `width`.
std::size_t line_end(std::string_view text, int width) noexcept {
  std::size_t const fits = bytes_within(text, width);
  if (fits >= text.size()) return text.size();
  std::size_t const blank = text.substr(0, fits + 1).rfind(' ');
  if (blank != std::string_view::npos && blank > 0) return blank;
  return std::max(fits, std::size_t{1});
}

}  // namespace

int width_of(std::string_view text) noexcept {
  int width = 0;
  for (std::size_t at = 0; at < text.size();) {
    character const next = first_of(text.substr(at));
    width += width_of_code(next.code);
    at += next.bytes;
  }
  return width;
}

std::string shown(std::string_view text, layout const& in) {
  std::string changed;
  for (std::size_t at = 0; at < text.size();) {
    character const next = first_of(text.substr(at));
    bool const stays = is_shown(next) && (!in.ascii || next.code < 0x80);
    changed += stays ? text.substr(at, next.bytes) : std::string_view("?");
    at += next.bytes;
  }
  return changed;
}

std::string cut(std::string const& text, int width, layout const& in) {
  if (width_of(text) <= width) return text;
  if (width <= 0) return "";
  return text.substr(0, bytes_within(text, width - 1)) + (in.ascii ? "~" : "…");
}

std::string fitted(std::string const& text, int width, aligned side, layout const& in) {
  std::string const short_enough = cut(text, width, in);
  std::string const fill(static_cast<std::size_t>(std::max(width - width_of(short_enough), 0)),
                         ' ');
  return side == aligned::left ? short_enough + fill : fill + short_enough;
}

std::string wrapped(std::string const& first, std::string const& text, layout const& in) {
  int const indent = width_of(first);
  std::string lines;
  std::string_view rest = text;
  do {
    lines += lines.empty() ? first : std::string(static_cast<std::size_t>(indent), ' ');
    std::size_t const end = line_end(rest, in.columns - indent);
    lines.append(rest.substr(0, end)) += "\n";
    rest.remove_prefix(std::min(end, rest.size()));
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
  } while (!rest.empty());
  return lines;
}

std::string painted(std::string const& text, style as, layout const& in) {
  if (!in.colour || text.empty()) return text;
  char const* code = "";
  switch (as) {
    case style::heading:
      code = "1";
      break;
    case style::alarm:
      code = "1;31";
      break;
    case style::used:
      code = "34";
      break;
    case style::preallocated:
      code = "32";
      break;
    case style::faint:
      code = "2";
      break;
  }
  return "\x1b[" + std::string(code) + "m" + text + "\x1b[0m";
}

std::string heading(std::string const& text, layout const& in) {
  return painted(cut(text, in.columns, in), style::heading, in) + "\n";
}

}  // namespace report
