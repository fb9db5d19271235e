// The sessions that README.md shows work as printed. The shell stands in a folder
// where the programs lie as ./try leaves them, and knows nothing but what README.md
// has told it by then.
#include <algorithm>
#include <cctype>

#include "manual_page.h"
#include "program_test.h"
#include "typed_session.h"

namespace support {
namespace {

namespace fs = std::filesystem;

using readme = program_test;

std::vector<std::string> shown_lines() {
  std::vector<std::string> shown;
  bool in_session = false;
  for (std::string const& line : lines_of(content_of(README))) {
    if (line.rfind("```", 0) == 0) {
      in_session = line == "```console";
    } else if (in_session) {
      shown.push_back(line);
    }
  }
  return shown;
}

std::string capitalized(std::string text) {
  text.front() = static_cast<char>(std::toupper(text.front()));
  return text;
}

TEST_F(readme, works_as_printed) {
  fs::create_directories(folder / "build/release");
  fs::create_directory_symlink(fs::path(ST_PROGRAM).parent_path(), folder / "build/release/bin");
  std::vector<std::string> const shown = shown_lines();
  EXPECT_EQ(std::count_if(shown.begin(), shown.end(),
                          [](std::string const& line) { return begins_with(line, "$ "); }),
            46);
  expect_works_as_shown(shown, folder);
}

// The table of what st prints in trouble: the manual page has it, README.md a copy.
TEST(readme_table, is_that_of_the_manual_page) {
  manual_page const page = manual_page(MANUALS "/st.8").part("DIAGNOSTICS");
  std::string expected = "| Line | Meaning | Next |\n|---|---|---|\n";
  for (std::string const& line : page.heads()) {
    std::string const text = page.text_under(line);
    std::size_t const next = text.find(" Next: ");
    ASSERT_NE(next, std::string::npos) << line;
    expected += "| `" + line + "` | " + text.substr(0, next) + " | " +
                capitalized(text.substr(next + 7)) + " |\n";
  }
  std::string const all = content_of(README);
  std::string const begin = "<!-- The table of docs/st.8; a test compares them. -->\n";
  std::size_t const at = all.find(begin);
  ASSERT_NE(at, std::string::npos);
  std::size_t const start = at + begin.size();
  EXPECT_EQ(all.substr(start, all.find("\n\n", start) + 1 - start), expected);
}

}  // namespace
}  // namespace support
