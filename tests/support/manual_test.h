// What the tests of the manual pages share: the page beside the program that it tells of.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "manual_page.h"
#include "program_test.h"

namespace support {

using names = std::set<std::string>;

// What the first parenthesis holds, wherever the expression fits; ^ is the begin of a line.
names found_in(std::string const& text, std::string const& expression);

names as_set(std::vector<std::string> const& all);

// The options that a help lists, the short ones too.
names options_in(std::string const& help);

// The options that the heads of a part's lists name.
names options_told(manual_page const& part);

// The "$ " lines of the part's examples, without the "$ ".
std::vector<std::string> typed_in(manual_page const& part);

// Whether one of them begins with these words.
bool shows_example(manual_page const& part, std::string const& command);

// Programs lie where they are installed, as far as a shell can tell.
class manual_test : public program_test {
 protected:
  environment const installed{{"PATH", std::filesystem::path(ST_PROGRAM).parent_path().string() +
                                           ":/usr/sbin:/usr/bin:/sbin:/bin"}};

  // Expects so many sections and subsections, and so many typed lines: a test that walks
  // through what there is does not miss what is gone.
  static void expect_built_of(manual_page const& page, std::size_t titles, std::size_t typed);

  // Types the page's examples into a shell of their own.
  void expect_examples_work(manual_page const& page) const;
};

}  // namespace support
