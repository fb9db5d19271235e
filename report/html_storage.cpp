// Spaces and volumes in the page.
#include "report/bar.h"
#include "report/html_parts.h"
#include "report/wording.h"

namespace report {

namespace {

constexpr int cells = 200;  // of half a percent

markup filled(char const* what, int from, int count) {
  if (count == 0) return {};
  auto const percent = [](int of) { return std::to_string(of / 2) + (of % 2 == 0 ? "%" : ".5%"); };
  return element("rect",
                 attribute("class", what) + attribute("x", percent(from)) +
                     attribute("width", percent(count)) + attribute("height", "100%"),
                 {});
}

markup picture(std::string const& text, markup const& content) {
  return element(
      "svg", attribute("class", "bar") + attribute("role", "img") + attribute("aria-label", text),
      element("title", escaped(text)) + content);
}

markup parts_of(bar const& of, char const* rest) {
  return filled("used", 0, of.used) + filled("pre", of.used, of.preallocated) +
         filled("lost", of.used + of.preallocated, of.lost) +
         filled(rest, cells - of.rest, of.rest);
}

std::string words_of(volume const& of) {
  std::string const used = size_text(of.used_mb) + " of " + size_text(of.total_mb) + " used";
  if (of.measured == measuring::not_mounted) return "not mounted";
  if (of.measured == measuring::failed) return used + ", the rest not measured";
  return used + ", " + size_text(of.preallocated_mb.value_or(0)) + " preallocated, " +
         size_text(of.lost_mb.value_or(0)) + " lost";
}

std::string measured_text(std::optional<std::int64_t> const& mb) {
  return mb.has_value() ? size_text(*mb) : "-";
}

markup legend_item(char const* what, char const* text) {
  return element("li", element("svg", attribute("class", "key") + attribute("aria-hidden", "true"),
                               filled(what, 0, cells)) +
                           escaped(text));
}

}  // namespace

markup bar_picture(volume const& of) {
  std::string const text = of.name + ": " + words_of(of);
  if (of.measured != measuring::not_mounted) {
    return picture(
        text, parts_of(bar_of(of, cells), of.measured == measuring::done ? "rest" : "unknown"));
  }
  return picture(
      text, filled("away", 0, cells) + element("text", attribute("x", "50%") + attribute("y", "12"),
                                               escaped("not mounted")));
}

markup bar_picture(space const& of) {
  std::string const text =
      of.name + ": " + size_text(of.used_mb) + " of " + size_text(of.total_mb) + " used";
  return picture(text, parts_of(bar_of(of, cells), "rest"));
}

markup bar_legend() {
  return element("ul", attribute("class", "legend"),
                 legend_item("used", "used") + legend_item("pre", "preallocated") +
                     legend_item("lost", "lost") + legend_item("unknown", "not measured") +
                     legend_item("away", "not mounted"));
}

markup spaces_section(value const& of) {
  if (of.spaces.empty()) return section("Spaces", paragraph("No space is known."));
  markup_table rows(count_text(of.spaces.size(), "space", "spaces"), {{"Space"},
                                                                      {"Bar"},
                                                                      {"Used", cell::number},
                                                                      {"Total", cell::number},
                                                                      {"Use", cell::number},
                                                                      {"Status"}});
  for (space const& each : of.spaces) {
    rows.add({escaped(each.name), bar_picture(each), escaped(size_text(each.used_mb)),
              escaped(size_text(each.total_mb)), escaped(share_text(each.used_mb, each.total_mb)),
              escaped(each.status_name)});
  }
  return section("Spaces", rows.text());
}

markup volumes_section(value const& of) {
  if (of.volumes.empty()) return section("Volumes", paragraph("No volume is known."));
  markup_table rows(count_text(of.volumes.size(), "volume", "volumes"),
                    {{"Volume"},
                     {"Bar"},
                     {"Total", cell::number},
                     {"Used", cell::number},
                     {"Preallocated", cell::number},
                     {"Lost", cell::number},
                     {"Type"},
                     {"State"}});
  for (volume const& each : of.volumes) {
    rows.add({escaped(each.name), bar_picture(each), escaped(size_text(each.total_mb)),
              escaped(size_text(each.used_mb)), escaped(measured_text(each.preallocated_mb)),
              escaped(measured_text(each.lost_mb)), escaped(each.type == 0 ? "normal" : "spare"),
              escaped(each.state_name)});
  }
  return section("Volumes", bar_legend() + rows.text());
}

}  // namespace report
