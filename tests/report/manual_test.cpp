// docs/st-report.8: it names each option, code and metric, no less and no more. So
// does what else tells of them to users.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>

#include "files.h"
#include "manual_page.h"
#include "report/metrics.h"
#include "samples.h"

namespace report {
namespace {

using names = std::set<std::string>;
using support::content_of;

support::manual_page page() { return support::manual_page(TREE "/docs/st-report.8"); }

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

names const& options() {
  static names const all{"--anonymous", "--ascii",       "--check",  "--color", "--columns",
                         "--compare",   "--expect-days", "--help",   "--html",  "--json",
                         "--metrics",   "--preview",     "--version"};
  return all;
}

// Codes as the comments of report/model.h name them.
names codes() {
  names found =
      found_in(content_of(TREE "/report/model.h"), R"re(^  [a-z_]+,? +// "([a-z-]+)":)re");
  EXPECT_EQ(found.size(), 9U);
  return found;
}

names metrics() {
  names found = found_in(metrics_of(good_sample()), "^# HELP ([a-z_]+) ");
  // Without a recording there is none of these two.
  found.insert("st_report_channel_oldest_recording_timestamp_seconds");
  found.insert("st_report_channel_latest_recording_timestamp_seconds");
  EXPECT_GE(found.size(), 30U);
  return found;
}

// Words of the kind that the text holds.
names words_in(std::string const& file, std::string const& expression) {
  return found_in(content_of(std::string(TREE "/") + file), expression);
}

TEST(manual_page_of_st_report, has_each_option_with_an_example) {
  names told;
  for (std::string const& head : page().part("Options").heads()) {
    told.insert(head.substr(0, head.find(' ')));
  }
  EXPECT_EQ(told, options());
  for (std::string const& option : options()) {
    std::regex const example(R"re(\$ st-report( .*)? )re" + option + R"re(( .*)?)re");
    bool shown = false;
    for (std::string const& line : page().part("Options").shown()) {
      shown = shown || std::regex_match(line, example);
    }
    EXPECT_TRUE(shown) << option;
  }
}

TEST(manual_page_of_st_report, has_each_option_in_its_synopsis) {
  names const told = words_in("docs/st-report.8", R"re(^\.(?:Op )?Fl (-[a-z-]+))re");
  names in_short;
  for (std::string const& option : options()) in_short.insert(option.substr(1));
  in_short.erase("-help");     // behind --version
  in_short.erase("-compare");  // behind --html
  for (std::string const& option : in_short) EXPECT_EQ(told.count(option), 1U) << option;
}

TEST(manual_page_of_st_report, says_of_each_code_what_to_do_next) {
  support::manual_page const part = page().part("WHAT NEEDS ATTENTION");
  EXPECT_EQ(as_set(part.heads()), codes());
  for (std::string const& code : codes()) {
    EXPECT_NE(part.text_under(code).find(" Next: "), std::string::npos) << code;
  }
}

TEST(manual_page_of_st_report, has_each_metric) {
  EXPECT_EQ(as_set(page().part("METRICS").heads()), metrics());
}

TEST(manual_page_of_st_report, has_each_exit_status) {
  EXPECT_EQ(as_set(page().part("EXIT STATUS").heads()), (names{"0", "1", "2", "3"}));
}

TEST(manual_page_of_st_report, names_the_units_and_what_is_installed) {
  names told = as_set(page().part("UNATTENDED").heads());
  EXPECT_EQ(told, (names{"st-report.timer", "st-autoclean.timer"}));
  for (char const* file :
       {"docs/st-report.rules.yml", "systemd/st-autoclean", "completion/st-report"}) {
    std::string const name = std::filesystem::path(file).filename();
    names const ends =
        found_in(content_of(TREE "/docs/st-report.8"), "^\\.It Pa /usr/.*/([^/ \\n]+)$");
    EXPECT_EQ(ends.count(name), 1U) << name;
  }
}

TEST(completion_of_st_report, has_each_option) {
  names found = words_in("completion/st-report", R"re((--[a-z-]+))re");
  EXPECT_EQ(found, options());
}

TEST(rules_of_st_report, ask_for_metrics_and_codes_that_there_are) {
  names const all = metrics();
  names const asked = words_in("docs/st-report.rules.yml", R"re(\b(st_report_[a-z_]+))re");
  EXPECT_EQ(asked.size(), 8U);
  for (std::string const& name : asked) EXPECT_EQ(all.count(name), 1U) << name;

  names const known = codes();
  names const left_out = words_in("docs/st-report.rules.yml", R"re(["|]([a-z-]+)(?=[|"]\}?))re");
  for (char const* code : {"leak", "not-mounted", "null-id"}) {
    EXPECT_EQ(known.count(code), 1U) << code;
    EXPECT_EQ(left_out.count(code), 1U) << code;
  }
}

TEST(st_autoclean, asks_for_metrics_that_there_are) {
  names const all = metrics();
  names const asked = words_in("systemd/st-autoclean", R"re(\b(st_report_[a-z_]+))re");
  EXPECT_EQ(asked.size(), 5U);
  for (std::string const& name : asked) EXPECT_EQ(all.count(name), 1U) << name;
}

TEST(readme, has_the_exit_statuses_of_st_report) {
  support::manual_page const part = page().part("EXIT STATUS");
  std::string const all = content_of(TREE "/README.md");
  std::size_t const at = all.find("## See everything: st-report\n");
  ASSERT_NE(at, std::string::npos);
  std::string const section = all.substr(at, all.find("\n## ", at + 1) - at);
  for (std::string const& status : part.heads()) {
    std::string const text = part.text_under(status);
    EXPECT_NE(section.find("| " + status + " | " + text.substr(0, text.find('.')) + " |\n"),
              std::string::npos)
        << status;
  }
}

}  // namespace
}  // namespace report
