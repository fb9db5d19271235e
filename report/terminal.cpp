#include "report/terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <system_error>

namespace report {

namespace {

constexpr int usual_columns = 80;

std::string_view variable(char const* name) noexcept {
  char const* const found = std::getenv(name);
  return found == nullptr ? std::string_view() : std::string_view(found);
}

std::optional<int> columns_of_terminal() noexcept {
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
  return int{size.ws_col};
}

int columns_of(std::optional<int> asked) {
  std::optional<int> columns = asked;
  if (!columns) columns = whole_number(variable("COLUMNS"), 1, std::numeric_limits<int>::max());
  if (!columns) columns = columns_of_terminal();
  return std::clamp(columns.value_or(usual_columns), fewest_columns, most_columns);
}

bool is_coloured(colouring asked) {
  if (asked != colouring::automatic) return asked == colouring::always;
  return variable("NO_COLOR").empty() && variable("TERM") != "dumb" && ::isatty(STDOUT_FILENO) == 1;
}

}  // namespace

std::optional<int> whole_number(std::string_view text, int least, int most) noexcept {
  int number = 0;
  char const* const end = text.data() + text.size();
  auto const [stop, problem] = std::from_chars(text.data(), end, number);
  bool const is_whole = problem == std::errc() && stop == end && text.front() != '-';
  if (!is_whole || number < least || number > most) return std::nullopt;
  return number;
}

layout layout_of(display const& asked) {
  layout in;
  in.columns = columns_of(asked.columns);
  in.colour = is_coloured(asked.colour);
  in.ascii = asked.ascii || std::string_view(::nl_langinfo(CODESET)) != "UTF-8";
  return in;
}

}  // namespace report
