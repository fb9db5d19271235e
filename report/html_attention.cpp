// What needs attention, and what st would give back, in the page.
#include "report/attention.h"
#include "report/html_parts.h"
#include "report/wording.h"

namespace report {

namespace {

markup list_of(std::string const& title, std::vector<std::string> const& lines) {
  if (lines.empty()) return {};
  markup items;
  for (std::string const& each : lines) items += element("li", escaped(each)) + markup{"\n"};
  return element("h3", escaped(title)) + element("ul", items);
}

markup needs_table(std::vector<attention> const& needs) {
  if (needs.empty()) return {};
  markup_table rows(count_text(needs.size(), "item, worst first", "items, worst first"),
                    {{"Where"}, {"What"}, {"Kind", cell::whole}});
  for (attention const& each : needs) {
    rows.add({escaped(each.subject), escaped(each.text), escaped(code_of(each.what))});
  }
  return rows.text();
}

markup calls(std::string const& command, std::string const& target,
             std::vector<recycling> const& all) {
  if (all.empty()) return paragraph(command + " would give back nothing.");
  markup_table rows(
      command + " would give back " + count_text(all.size(), "span", "spans"),
      {{"Channel", cell::whole}, {"Stream", cell::whole}, {"Span", cell::whole}, {target}});
  for (recycling const& each : all) {
    rows.add({escaped(std::to_string(each.channel)),
              escaped(stream_text(each.type_name, each.stream)),
              escaped(span_text(each.start_ms, each.end_ms)), escaped(each.target)});
  }
  return rows.text();
}

markup lost_table(value const& of) {
  markup_table rows("Lost space that st autoclean acts on",
                    {{"Volume"}, {"Lost", cell::number}, {"Of", cell::number}});
  bool has_any = false;
  for (volume const& each : of.volumes) {
    if (!each.leak) continue;
    has_any = true;
    rows.add({escaped(each.name), escaped(size_text(each.lost_mb.value_or(0))),
              escaped(size_text(each.total_mb))});
  }
  return has_any ? rows.text() : markup{};
}

}  // namespace

markup attention_section(value const& of) {
  bool const is_fine = of.needs.empty() && of.not_asked.empty() && of.problems.empty();
  markup const content = needs_table(of.needs) + list_of("Could not be asked", of.not_asked) +
                         list_of("Answers that make no sense", of.problems);
  return section("Needs attention", is_fine ? paragraph("Nothing needs attention.") : content);
}

markup preview_section(value const& of) {
  if (!of.would_do.has_value()) return {};
  return section("What st would give back now",
                 lost_table(of) + calls("st autoclean", "Volume", of.would_do->autoclean) +
                     calls("st volclean -1", "Space", of.would_do->volclean));
}

}  // namespace report
