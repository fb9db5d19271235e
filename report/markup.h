// The page's building blocks. What they make is well-formed XML, too.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace report {

// What stands in the page as it is. Text from elsewhere becomes it by escaped() only.
struct markup {
  std::string text;

  markup& operator+=(markup const& more) {
    text += more.text;
    return *this;
  }
};

markup operator+(markup first, markup const& more);

// A text from elsewhere, as it may stand between tags and in an attribute.
markup escaped(std::string_view text);

// One more attribute of an element, with its blank before it; the text is escaped.
std::string attribute(std::string_view name, std::string_view text);

// An element with its attributes, each made by attribute().
markup element(std::string_view name, std::string const& attributes, markup const& content);
markup element(std::string_view name, markup const& content);

// A part of the page under its heading.
markup section(std::string_view title, markup const& content);

// A paragraph of text from elsewhere.
markup paragraph(std::string_view text);

// A table that scrolls inside the page when it is too wide.
class markup_table {
 public:
  // Numbers stand at the right; of what is whole no line is broken; halves share the
  // width between them.
  enum class of { text, number, whole, half };
  struct column {
    std::string title;
    of content = of::text;
  };

  markup_table(std::string_view caption, std::vector<column> const& columns);

  // As many cells as there are columns. The first is the head of the row.
  void add(std::vector<markup> const& cells);

  markup text() const;

 private:
  std::vector<std::string> classes_;  // attributes of each column's cells
  markup head_;
  markup rows_;
};

// The kinds of cells.
using cell = markup_table::of;

}  // namespace report
