#include "lab/stlab/text.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iostream>

namespace stlab {

namespace {

constexpr std::size_t usual_columns = 80;
constexpr std::size_t least_columns = 20;
constexpr std::size_t most_columns = 10'000;

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80; }

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

void print(std::string_view line) { std::cout << lab::printable(line) << '\n'; }

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
