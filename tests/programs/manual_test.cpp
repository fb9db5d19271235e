// The manual pages: their examples work as printed, and they name what the programs
// name, no less and no more.
#include <regex>
#include <set>

#include "lab/check/finding.h"
#include "manual_page.h"
#include "program_test.h"
#include "storage/codes.h"
#include "typed_session.h"

namespace support {
namespace {

namespace fs = std::filesystem;

using names = std::set<std::string>;

manual_page st_page() { return manual_page(MANUALS "/st.8"); }
manual_page stlab_page() { return manual_page(MANUALS "/stlab.1"); }

// What the first parenthesis holds, wherever the expression fits.
names found_in(std::string const& text, std::string const& expression) {
  std::regex const wanted(expression, std::regex::ECMAScript | std::regex::multiline);
  names found;
  for (std::sregex_iterator match(text.begin(), text.end(), wanted), end; match != end; ++match) {
    found.insert((*match)[1]);
  }
  return found;
}

names as_set(std::vector<std::string> const& all) { return {all.begin(), all.end()}; }

// The subsections whose titles begin so.
names subsections(manual_page const& page, std::string const& beginning) {
  names found;
  for (std::string const& title : page.subsections()) {
    if (begins_with(title, beginning)) found.insert(title);
  }
  return found;
}

bool shows_example(manual_page const& part, std::string const& command) {
  for (std::string const& line : part.shown()) {
    if (begins_with(line + " ", "$ " + command + " ")) return true;
  }
  return false;
}

class manual : public program_test {
 protected:
  // Where an installed program is found.
  environment const installed{
      {"PATH", fs::path(ST_PROGRAM).parent_path().string() + ":/usr/sbin:/usr/bin:/sbin:/bin"}};

  std::string help(std::string const& command = {}) const {
    return run(words{STLAB_PROGRAM, "help"} + words(command), {}, folder).output;
  }
};

TEST_F(manual, the_examples_of_st_work_as_printed) {
  EXPECT_GE(st_page().shown().size(), 90U);
  expect_works_as_shown(st_page().shown(), folder, installed);
}

TEST_F(manual, the_examples_of_stlab_work_as_printed) {
  EXPECT_GE(stlab_page().shown().size(), 60U);
  expect_works_as_shown(stlab_page().shown(), folder, installed);
}

TEST_F(manual, each_command_of_st_has_its_section_and_its_example) {
  names const commands = found_in(st(words()), "^(st [a-z]+(?: [a-z_]+)*)$");
  EXPECT_EQ(commands.size(), 10U);
  EXPECT_EQ(subsections(st_page(), "st "), commands);
  for (std::string const& command : commands) {
    std::string const beginning = command.substr(0, command.find(' ', 3));
    EXPECT_TRUE(shows_example(st_page().part(command), beginning)) << command;
  }
}

TEST_F(manual, each_command_of_stlab_has_its_section_and_its_example) {
  names commands;
  for (std::string const& word : found_in(help(), "^  ([a-z][a-z-]*) ")) {
    commands.insert("stlab " + word);
  }
  EXPECT_EQ(commands.size(), 13U);
  EXPECT_EQ(subsections(stlab_page(), "stlab "), commands);
  for (std::string const& command : commands) {
    EXPECT_TRUE(shows_example(stlab_page().part(command), command)) << command;
  }
}

TEST_F(manual, each_option_of_stlab_is_in_the_section_of_its_command) {
  std::size_t count = 0;
  for (std::string const& word : found_in(help(), "^  ([a-z][a-z-]*) ")) {
    names options = found_in(help(word), "^  (?:--[a-z-]+,)?(--[a-z-]+)");
    options.merge(found_in(help(word), "^  (--[a-z-]+)"));
    names told;
    for (std::string const& head : stlab_page().part("stlab " + word).heads()) {
      told.merge(found_in(head, "(--[a-z-]+)"));
    }
    EXPECT_EQ(told, options) << word;
    count += options.size();
  }
  EXPECT_GE(count, 35U);
}

TEST_F(manual, each_kind_of_damage_is_told) {
  std::string const text = help("damage");
  std::size_t const begin = text.find("Kinds of damage:");
  names const kinds =
      found_in(text.substr(begin, text.find("\n\n", begin) - begin), "^  ([a-z][a-z-]*) ");
  EXPECT_GE(kinds.size(), 9U);
  names told;
  for (std::string const& head : stlab_page().part("stlab damage").heads()) {
    if (!begins_with(head, "-")) told.insert(head);
  }
  EXPECT_EQ(told, kinds);
}

TEST(manual_page_of_stlab, names_each_class_of_findings) {
  manual_page const part = stlab_page().part("stlab check");
  for (int code = 0; code <= static_cast<int>(lab::finding_class::sums); ++code) {
    std::string const word = lab::word_of(static_cast<lab::finding_class>(code));
    EXPECT_TRUE(part.has_line(".Cm " + word) || part.has_line(".Cm " + word + " ,") ||
                part.has_line(".Cm " + word + " ."))
        << word;
  }
}

TEST(manual_page_of_stlab, names_each_variable) {
  names asked;
  for (auto const& entry : fs::recursive_directory_iterator(LAB_SOURCES)) {
    if (!entry.is_regular_file()) continue;
    asked.merge(found_in(content_of(entry.path()), R"re(getenv\("([A-Z_]+)"\))re"));
  }
  EXPECT_GE(asked.size(), 5U);
  EXPECT_EQ(as_set(stlab_page().part("ENVIRONMENT").heads()), asked);
}

std::string trimmed(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// Names of the codes from -1 to `most`; blanks alone are no name.
template <typename Name>
names all_names(int most, Name name_of) {
  names all;
  for (int code = -1; code <= most; ++code) all.insert(trimmed(name_of(code)));
  all.erase("");
  return all;
}

TEST(manual_page_of_st, defines_each_status_type_and_state) {
  constexpr int beyond = 100;
  names statuses;
  for (std::int32_t const spare : {0, 1}) {
    statuses.merge(all_names(beyond, [spare](int code) {
      char name[26];
      st::space_status_name(static_cast<std::uint32_t>(code), spare, name);
      return std::string(name);
    }));
  }
  EXPECT_EQ(statuses.size(), 12U);
  EXPECT_EQ(as_set(st_page().part("Space statuses").heads()), statuses);
  EXPECT_EQ(as_set(st_page().part("Volume types").heads()),
            all_names(beyond, [](int code) { return std::string(st::volume_type_name(code)); }));
  EXPECT_EQ(as_set(st_page().part("Volume states").heads()), all_names(beyond, [](int code) {
              char name[20];
              st::volume_state_name(code, name);
              return std::string(name);
            }));
}

TEST(manual_page_of_st, defines_each_term) {
  names const heads = as_set(st_page().part("TERMS").heads());
  for (std::string const term : {"total size", "used", "use", "preallocate_remain", "lost",
                                 "storage_id , storage id", "null storage id", "uuid", "channel"}) {
    EXPECT_EQ(heads.count(term), 1U) << term;
  }
  for (st::recording_type const& type : st::recording_types) {
    EXPECT_EQ(heads.count(type.name), 1U) << type.name;
  }
}

}  // namespace
}  // namespace support
