#include "report/text.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "report/attention.h"
#include "report/calendar.h"
#include "report/lines.h"
#include "report/text_parts.h"
#include "report/wording.h"

namespace report {

namespace {

constexpr std::size_t most_items = 20;

// At most a screen of them; --check and --json have all.
template <typename Item, typename Print>
std::string items(std::vector<Item> const& all, layout const& in, Print print) {
  std::string lines;
  for (std::size_t i = 0; i < all.size() && i < most_items; ++i) lines += print(all[i]);
  if (all.size() > most_items) {
    lines += wrapped("  ", "and " + std::to_string(all.size() - most_items) + " more", in);
  }
  return lines;
}

// A list of lines with a mark before each.
std::string marked_lines(std::string const& title, std::string const& mark,
                         std::vector<std::string> const& lines, layout const& in) {
  if (lines.empty()) return "";
  return heading(title + ": " + std::to_string(lines.size()), in) +
         items(lines, in,
               [&](std::string const& line) { return wrapped(mark, shown(line, in), in); });
}

std::string needs_part(value const& of, layout const& in) {
  if (of.needs.empty()) return of.not_asked.empty() ? "Nothing needs attention.\n" : "";
  std::string const title = "Needs attention: " + std::to_string(of.needs.size());
  return painted(cut(title, in.columns, in), style::alarm, in) + "\n" +
         items(of.needs, in, [&](attention const& each) {
           return wrapped("! ", shown(each.subject + ": " + each.text, in), in);
         });
}

layout bounded(layout in) {
  in.columns = std::clamp(in.columns, fewest_columns, most_columns);
  return in;
}

}  // namespace

std::string short_name(std::string const& name, layout const& in) {
  return cut(shown(name, in), std::max(in.columns / 4, 12), in);
}

std::string attention_part(value const& of, layout const& in) {
  return needs_part(of, in) + marked_lines("Could not be asked", "? ", of.not_asked, in) +
         marked_lines("Answers that make no sense", "? ", of.problems, in);
}

std::string text_of(value const& of, layout const& wanted) {
  layout const in = bounded(wanted);
  std::string text = heading("Recorder at " + local_moment(of.made_ms), in);
  for (std::string const& part : {attention_part(of, in), preview_part(of, in), spaces_part(of, in),
                                  volumes_part(of, in), channels_part(of, in)}) {
    if (!part.empty()) text += "\n" + part;
  }
  return text;
}

std::string check_lines_of(value const& of, layout const& in) {
  std::string lines;
  for (attention const& each : of.needs) {
    lines += painted(code_of(each.what), style::alarm, in) + ": " +
             shown(each.subject + ": " + each.text, in) + "\n";
  }
  for (std::string const& each : of.not_asked) {
    lines += painted("not-asked", style::alarm, in) + ": " + shown(each, in) + "\n";
  }
  return lines;
}

}  // namespace report
