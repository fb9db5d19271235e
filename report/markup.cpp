#include "report/markup.h"

#include "report/lines.h"

namespace report {

namespace {

std::string_view stand_in(char character) noexcept {
  switch (character) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return {};
  }
}

std::string class_of(markup_table::of content) {
  switch (content) {
    case markup_table::of::number:
      return attribute("class", "n");
    case markup_table::of::whole:
      return attribute("class", "w");
    case markup_table::of::half:
      return attribute("class", "side");
    default:
      return "";
  }
}

}  // namespace

markup operator+(markup first, markup const& more) {
  first += more;
  return first;
}

markup escaped(std::string_view text) {
  markup safe;
  for (char const each : shown(text, {})) {
    std::string_view const instead = stand_in(each);
    if (instead.empty()) {
      safe.text += each;
    } else {
      safe.text += instead;
    }
  }
  return safe;
}

std::string attribute(std::string_view name, std::string_view text) {
  return " " + std::string(name) + "=\"" + escaped(text).text + "\"";
}

markup element(std::string_view name, std::string const& attributes, markup const& content) {
  std::string const tag(name);
  return {"<" + tag + attributes + ">" + content.text + "</" + tag + ">"};
}

markup element(std::string_view name, markup const& content) { return element(name, "", content); }

markup section(std::string_view title, markup const& content) {
  return element("section", element("h2", escaped(title)) + markup{"\n"} + content) + markup{"\n"};
}

markup paragraph(std::string_view text) { return element("p", escaped(text)) + markup{"\n"}; }

markup_table::markup_table(std::string_view caption, std::vector<column> const& columns)
    : head_(element("caption", escaped(caption))) {
  markup titles;
  for (column const& each : columns) {
    classes_.push_back(class_of(each.content));
    titles += element("th", attribute("scope", "col") + classes_.back(), escaped(each.title));
  }
  head_ += element("thead", element("tr", titles));
}

void markup_table::add(std::vector<markup> const& cells) {
  markup row;
  for (std::size_t i = 0; i < cells.size() && i < classes_.size(); ++i) {
    row += i == 0 ? element("th", attribute("scope", "row") + classes_[i], cells[i])
                  : element("td", classes_[i], cells[i]);
  }
  rows_ += element("tr", row) + markup{"\n"};
}

markup markup_table::text() const {
  return element("div", attribute("class", "wide"),
                 element("table", head_ + element("tbody", rows_))) +
         markup{"\n"};
}

}  // namespace report
