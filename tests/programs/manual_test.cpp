// The manual pages: their examples work as printed, and they name what the programs
// name, no less and no more.
#include "manual_test.h"

#include "lab/check/finding.h"
#include "storage/codes.h"

namespace support {
namespace {

namespace fs = std::filesystem;

manual_page st_page() { return manual_page(MANUALS "/st.8"); }
manual_page stlab_page() { return manual_page(MANUALS "/stlab.1"); }

// The subsections whose titles begin so.
names subsections(manual_page const& page, std::string const& beginning) {
  names found;
  for (std::string const& title : page.subsections()) {
    if (begins_with(title, beginning)) found.insert(title);
  }
  return found;
}

class manual : public manual_test {
 protected:
  std::string help(std::string const& command = {}) const {
    return run(words{STLAB_PROGRAM, "help"} + words(command), {}, folder).output;
  }
};

TEST_F(manual, the_examples_of_st_work_as_printed) { expect_examples_work(st_page()); }

TEST_F(manual, the_examples_of_stlab_work_as_printed) { expect_examples_work(stlab_page()); }

TEST_F(manual, has_all_its_sections_and_examples) {
  expect_built_of(st_page(), 25, 26);
  expect_built_of(stlab_page(), 21, 27);
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
    names options = options_in(help(word));
    // Every command's, told once for all.
    EXPECT_EQ(options.erase("-h") + options.erase("--help"), 2U) << word;
    names const told = options_told(stlab_page().part("stlab " + word));
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
