// docs/st-report.8: it names each option, code and metric, no less and no more. So
// does what else tells of them to users.
#include "manual_test.h"

#include <algorithm>
#include <regex>

#include "report/metrics.h"
#include "samples.h"

namespace report {
namespace {

using support::as_set;
using support::content_of;
using support::found_in;
using support::names;

support::manual_page page() { return support::manual_page(TREE "/docs/st-report.8"); }

// A shell that starts st-report as a user does, and what the program says of itself.
class manual_of_st_report : public support::manual_test {
 protected:
  names options() const {
    support::outcome const help = support::run({ST_REPORT_PROGRAM, "--help"}, {}, folder);
    EXPECT_EQ(help.status, 0) << help.errors;
    names found = support::options_in(help.output);
    EXPECT_EQ(found.size(), 14U);
    return found;
  }
  // The short form apart.
  names long_options() const {
    names found = options();
    EXPECT_EQ(found.erase("-h"), 1U);
    return found;
  }
};

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

TEST_F(manual_of_st_report, has_examples_that_work_as_printed) { expect_examples_work(page()); }

TEST_F(manual_of_st_report, has_all_its_sections_and_examples) { expect_built_of(page(), 17, 24); }

TEST_F(manual_of_st_report, has_each_option_with_an_example) {
  EXPECT_EQ(support::options_told(page().part("Options")), options());
  for (std::string const& option : long_options()) {
    std::regex const example(R"re((.* )?st-report( .*)? )re" + option + R"re(( .*)?)re");
    auto const typed = support::typed_in(page().part("Options"));
    EXPECT_TRUE(std::any_of(typed.begin(), typed.end(), [&](std::string const& line) {
      return std::regex_match(line, example);
    })) << option;
  }
}

TEST_F(manual_of_st_report, has_each_option_in_its_synopsis) {
  std::string const source = content_of(TREE "/docs/st-report.8");
  names told;
  for (std::string const& each :
       found_in(source.substr(0, source.find(".Sh DESCRIPTION\n")), "Fl (-[a-z-]+)")) {
    told.insert("-" + each);
  }
  EXPECT_EQ(told, long_options());
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

TEST_F(manual_of_st_report, names_what_completion_offers) {
  EXPECT_EQ(words_in("completion/st-report", R"re((--[a-z-]+))re"), long_options());
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

}  // namespace
}  // namespace report
