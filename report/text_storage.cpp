// Spaces and volumes in a terminal.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "report/bar.h"
#include "report/table.h"
#include "report/text_parts.h"
#include "report/wording.h"

namespace report {

namespace {

constexpr int least_bar = 16;

// What a bar is drawn with.
struct marks {
  std::string used;
  std::string preallocated;
  std::string lost;
  std::string unknown;
};

marks marks_of(layout const& in) {
  return in.ascii ? marks{"#", ".", "!", "?"} : marks{"█", "░", "╳", "?"};
}

std::string repeated(std::string const& mark, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += mark;
  return text;
}

// "- - - not mounted - - -" in that many columns.
std::string unmounted_bar(int width) {
  std::string dashes;
  for (int i = 0; i < width; ++i) dashes += i % 2 == 0 ? '-' : ' ';
  std::string const words = " not mounted ";
  if (dashes.size() < words.size()) return dashes;
  return dashes.replace((dashes.size() - words.size()) / 2, words.size(), words);
}

std::string bar_text(volume const& of, int width, layout const& in) {
  int const cells = width - 2;
  if (of.measured == measuring::not_mounted) {
    return "[" + painted(unmounted_bar(cells), style::alarm, in) + "]";
  }
  bar const drawn = bar_of(of, cells);
  marks const with = marks_of(in);
  bool const is_known = of.measured == measuring::done;
  return "[" + painted(repeated(with.used, drawn.used), style::used, in) +
         painted(repeated(with.preallocated, drawn.preallocated), style::preallocated, in) +
         painted(repeated(with.lost, drawn.lost), style::alarm, in) +
         repeated(is_known ? " " : with.unknown, drawn.rest) + "]";
}

std::string figures(volume const& of) {
  std::string const used = size_text(of.used_mb) + " of " + size_text(of.total_mb) + " used";
  if (of.measured == measuring::not_mounted) return used;
  if (of.measured == measuring::failed) return used + ", not measured";
  return used + ", " + size_text(of.lost_mb.value_or(0)) + " lost";
}

// What is told of it besides the sizes; nothing of the usual one.
std::string unusual(volume const& of) {
  std::string const type = of.type == 0 ? "" : "spare";
  bool const is_told = of.measured == measuring::not_mounted;  // by its bar
  if (of.state == 0 || of.state_name.empty() || is_told) return type;
  return type + (type.empty() ? "" : " ") + of.state_name;
}

std::string named(volume const& of, layout const& in) {
  std::string const more = shown(unusual(of), in);
  std::string const name = short_name(of.name, in);
  return more.empty() ? name : name + " (" + more + ")";
}

int widest_name(value const& of, layout const& in) {
  int widest = 0;
  for (volume const& each : of.volumes) widest = std::max(widest, width_of(named(each, in)));
  return std::min(widest, in.columns / 3);
}

int widest_figures(value const& of) {
  int widest = 0;
  for (volume const& each : of.volumes) widest = std::max(widest, width_of(figures(each)));
  return widest;
}

// Name, bar and figures side by side.
std::string wide_line(volume const& of, int name, int bar_width, layout const& in) {
  return fitted(named(of, in), name, aligned::left, in) + " " + bar_text(of, bar_width, in) + " " +
         figures(of) + "\n";
}

// The bar in a line of its own.
std::string narrow_lines(volume const& of, layout const& in) {
  return wrapped("", named(of, in) + ": " + figures(of), in) + bar_text(of, in.columns, in) + "\n";
}

std::string legend(layout const& in) {
  marks const with = marks_of(in);
  return wrapped("",
                 with.used + " used, " + with.preallocated + " preallocated, " + with.lost +
                     " lost, " + with.unknown + " not measured",
                 in);
}

}  // namespace

std::string spaces_part(value const& of, layout const& in) {
  if (of.spaces.empty()) return "";
  table rows({{"Space"},
              {"total", aligned::right},
              {"used", aligned::right},
              {"use", aligned::right, true},
              {"status"}});
  for (space const& each : of.spaces) {
    rows.add({short_name(each.name, in), size_text(each.total_mb), size_text(each.used_mb),
              share_text(each.used_mb, each.total_mb), shown(each.status_name, in)});
  }
  return heading("Spaces", in) + rows.text(in);
}

std::string volumes_part(value const& of, layout const& in) {
  if (of.volumes.empty()) return "";
  int const name = widest_name(of, in);
  int const bar_width = std::min(in.columns - name - widest_figures(of) - 2, in.columns / 2);
  std::string lines = heading("Volumes", in);
  for (volume const& each : of.volumes) {
    lines += bar_width < least_bar ? narrow_lines(each, in) : wide_line(each, name, bar_width, in);
  }
  return lines + legend(in);
}

}  // namespace report
