#include "manual_test.h"

#include <algorithm>
#include <regex>

#include "typed_session.h"

namespace support {

names found_in(std::string const& text, std::string const& expression) {
  std::regex const wanted(expression, std::regex::ECMAScript | std::regex::multiline);
  names found;
  for (std::sregex_iterator match(text.begin(), text.end(), wanted), end; match != end; ++match) {
    found.insert((*match)[1]);
  }
  return found;
}

names as_set(std::vector<std::string> const& all) { return {all.begin(), all.end()}; }

names options_in(std::string const& help) {
  names found = found_in(help, "^  (?:--?[a-z-]+,)?(--[a-z-]+)");
  found.merge(found_in(help, "^  (--?[a-z-]+)"));
  return found;
}

names options_told(manual_page const& part) {
  names told;
  for (std::string const& head : part.heads()) {
    told.merge(found_in(" " + head, " (--?[a-z][a-z-]*)"));
  }
  return told;
}

std::vector<std::string> typed_in(manual_page const& part) {
  std::vector<std::string> typed;
  for (std::string const& line : part.shown()) {
    if (begins_with(line, "$ ")) typed.push_back(line.substr(2));
  }
  return typed;
}

bool shows_example(manual_page const& part, std::string const& command) {
  std::vector<std::string> const typed = typed_in(part);
  return std::any_of(typed.begin(), typed.end(), [&](std::string const& line) {
    return begins_with(line + " ", command + " ");
  });
}

void manual_test::expect_built_of(manual_page const& page, std::size_t titles, std::size_t typed) {
  EXPECT_EQ(page.titles().size(), titles);
  EXPECT_EQ(typed_in(page).size(), typed);
}

void manual_test::expect_examples_work(manual_page const& page) const {
  expect_works_as_shown(page.shown(), folder, installed);
}

}  // namespace support
