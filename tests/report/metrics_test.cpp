// What Prometheus is told of a recorder.
#include "report/metrics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <regex>
#include <set>

#include "files.h"
#include "report/attention.h"
#include "report/days.h"
#include "report/metric_text.h"
#include "samples.h"

namespace report {
namespace {

using lines = std::vector<std::string>;

lines lines_of(value const& of) { return support::lines_of(metrics_of(of)); }

bool has(lines const& all, std::string const& line) {
  return std::find(all.begin(), all.end(), line) != all.end();
}

// The samples of one metric.
lines samples_of(std::string const& name, value const& of) {
  lines found;
  for (std::string const& line : lines_of(of)) {
    if (support::begins_with(line, name + "{") || support::begins_with(line, name + " ")) {
      found.push_back(line);
    }
  }
  return found;
}

std::string name_in(std::string const& sample) {
  return sample.substr(0, sample.find_first_of("{ "));
}

// Holds what node_exporter refuses a file for, and what its readers rely on.
void expect_sound(std::string const& page) {
  static std::regex const sample(
      R"re([a-z_]+(\{[a-z]+="([^"\\]|\\["\\n])*"(,[a-z]+="([^"\\]|\\["\\n])*")*\})? -?[0-9]+(\.[0-9]{3})?)re");
  std::set<std::string> series;
  std::set<std::string> ended;
  std::string current;
  ASSERT_TRUE(support::ends_with(page, "\n"));
  for (std::string const& line : support::lines_of(page)) {
    if (support::begins_with(line, "# HELP ")) {
      ended.insert(current);
      current = line.substr(7, line.find(' ', 7) - 7);
      EXPECT_EQ(ended.count(current), 0U) << line;
    } else if (support::begins_with(line, "# TYPE ")) {
      EXPECT_EQ(line, "# TYPE " + current + " gauge");
    } else {
      EXPECT_TRUE(std::regex_match(line, sample)) << line;
      EXPECT_EQ(name_in(line), current) << line;
      EXPECT_TRUE(series.insert(line.substr(0, line.rfind(' '))).second) << line;
    }
  }
}

TEST(metrics, tell_of_spaces_in_bytes) {
  lines const all = lines_of(good_sample());
  EXPECT_TRUE(has(all, R"(st_report_space_size_bytes{space="Storage1"} 134217728)"));
  EXPECT_TRUE(has(all, R"(st_report_space_used_bytes{space="Storage1"} 79691776)"));
  EXPECT_TRUE(has(all, R"(st_report_space_status{space="Storage1"} 0)"));
  EXPECT_TRUE(has(all, R"(st_report_space_status{space="Storage2"} 5)"));
  EXPECT_TRUE(has(
      all, R"(st_report_space_info{space="Storage2",uuid="uuid of Storage2",status="Error"} 1)"));
}

TEST(metrics, tell_of_volumes) {
  lines const all = lines_of(good_sample());
  EXPECT_TRUE(has(all, R"(st_report_volume_size_bytes{volume="vol2"} 67108864)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_used_bytes{volume="vol2"} 39845888)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_preallocated_bytes{volume="vol2"} 19922944)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_lost_bytes{volume="vol2"} 7340032)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_leak{volume="vol1"} 0)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_leak{volume="vol2"} 1)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_mounted{volume="vol2"} 1)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_mounted{volume="vol3"} 0)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_measured{volume="vol3"} 0)"));
  EXPECT_TRUE(has(
      all,
      R"(st_report_volume_info{volume="vol3",id="id of vol3",space="Storage2",type="normal",state="ACTIVE"} 1)"));
}

TEST(metrics, tell_no_size_that_was_not_measured) {
  EXPECT_EQ(samples_of("st_report_volume_lost_bytes", good_sample()).size(), 2U);
  EXPECT_EQ(samples_of("st_report_volume_preallocated_bytes", good_sample()).size(), 2U);
}

TEST(metrics, tell_a_volume_that_du_failed_on_from_one_that_is_not_mounted) {
  value of = good_sample();
  of.volumes[2].measured = measuring::failed;
  lines const all = lines_of(of);
  EXPECT_TRUE(has(all, R"(st_report_volume_mounted{volume="vol3"} 1)"));
  EXPECT_TRUE(has(all, R"(st_report_volume_measured{volume="vol3"} 0)"));
}

TEST(metrics, tell_of_channels) {
  lines const all = lines_of(good_sample());
  EXPECT_TRUE(has(all, R"(st_report_channel_periods{channel="1"} 20)"));
  EXPECT_TRUE(has(all, R"(st_report_channel_periods_without_id{channel="1"} 5)"));
  EXPECT_TRUE(has(all, R"(st_report_channel_periods_without_id{channel="2"} 0)"));
  EXPECT_TRUE(has(all, R"(st_report_channel_normal_recorded_bytes{channel="1"} 12582912)"));
  EXPECT_TRUE(has(all, R"(st_report_channel_alarm_recorded_bytes{channel="1"} 6291456)"));
  EXPECT_TRUE(has(all, R"(st_report_channel_recorded_bytes{channel="1"} 20971520)"));
  EXPECT_TRUE(has(all, R"(st_report_channel_info{channel="1",id="camera 1",volumes="vol1"} 1)"));
}

TEST(metrics, tell_the_time_that_a_channel_keeps) {
  value const of = good_sample();
  lines const all = lines_of(of);
  for (channel const& each : of.channels) {
    std::string const labels = "{channel=\"" + std::to_string(each.number) + "\"} ";
    kept const keeps = kept_by_channel(each);
    EXPECT_TRUE(has(all, "st_report_channel_kept_seconds" + labels +
                             std::to_string(std::int64_t{86400} * keeps.days)));
    EXPECT_TRUE(has(all, "st_report_channel_gaps" + labels + std::to_string(keeps.days_with_gaps)));
    EXPECT_EQ(has(all, "st_report_channel_oldest_recording_timestamp_seconds" + labels +
                           std::to_string(keeps.oldest_ms / 1000)),
              keeps.days > 0);
    EXPECT_EQ(has(all, "st_report_channel_latest_recording_timestamp_seconds" + labels +
                           std::to_string(keeps.latest_ms / 1000)),
              keeps.days > 0);
  }
}

TEST(metrics, tell_of_the_run) {
  lines const all = lines_of(good_sample());
  EXPECT_TRUE(has(all, R"(st_report_info{version="0.1.0"} 1)"));
  EXPECT_TRUE(has(all, "st_report_completion_timestamp_seconds 1732174200.250"));
  EXPECT_TRUE(has(all, "st_report_exit_status 1"));
  EXPECT_TRUE(has(all, "st_report_service_reachable 1"));
  EXPECT_TRUE(has(all, "st_report_not_asked 0"));
  EXPECT_TRUE(has(all, "st_report_unreasonable_answers 0"));

  lines const none = lines_of(nonsense_sample());
  EXPECT_TRUE(has(none, "st_report_exit_status 3"));
  EXPECT_TRUE(has(none, "st_report_service_reachable 0"));
  EXPECT_TRUE(has(none, "st_report_not_asked 1"));
  EXPECT_TRUE(has(none, "st_report_unreasonable_answers 2"));
}

TEST(metrics, count_what_needs_attention_by_code) {
  value const of = good_sample();
  std::map<std::string, int> count;
  for (int code = 0; code <= static_cast<int>(concern::unreasonable_answer); ++code) {
    count[code_of(static_cast<concern>(code))] += 0;
  }
  for (attention const& each : of.needs) ++count[code_of(each.what)];
  lines expected;
  for (auto const& [code, items] : count) {
    expected.push_back("st_report_attention{code=\"" + code + "\"} " + std::to_string(items));
  }
  EXPECT_EQ(samples_of("st_report_attention", of), expected);
}

TEST(metrics, of_nothing_are_those_of_the_run) {
  std::string const page = metrics_of({});
  expect_sound(page);
  EXPECT_EQ(page.find("st_report_volume"), std::string::npos);
  EXPECT_NE(page.find("\nst_report_service_reachable 1\n"), std::string::npos);
}

TEST(metrics, are_sound) {
  expect_sound(metrics_of(good_sample()));
  expect_sound(metrics_of(nonsense_sample()));
}

TEST(metrics, hold_extreme_sizes) {
  lines const all = lines_of(nonsense_sample());
  std::string const labels = R"x({space="a\"b\\c\nd (id of a\"b\\c\nd)"} )x";
  EXPECT_TRUE(has(all, "st_report_space_size_bytes" + labels + "-9671406556917033397649408"));
  EXPECT_TRUE(has(all, "st_report_space_used_bytes" + labels + "9671406556917033397649408"));
  EXPECT_TRUE(has(all, "st_report_completion_timestamp_seconds -9223372036854775.808"));
  EXPECT_TRUE(has(all, R"(st_report_channel_periods{channel="-2147483648"} 0)"));
}

TEST(metrics, tell_of_each_item_also_when_names_are_doubled) {
  value const of = nonsense_sample();
  EXPECT_EQ(samples_of("st_report_space_used_bytes", of).size(), of.spaces.size());
  EXPECT_EQ(samples_of("st_report_volume_leak", of).size(), of.volumes.size());
  EXPECT_EQ(samples_of("st_report_channel_periods", of).size(), of.channels.size());
}

TEST(metric_texts, of_seconds_hold_every_moment) {
  EXPECT_EQ(seconds_of_ms(0), "0");
  EXPECT_EQ(seconds_of_ms(1000), "1");
  EXPECT_EQ(seconds_of_ms(1001), "1.001");
  EXPECT_EQ(seconds_of_ms(-1), "-0.001");
  EXPECT_EQ(seconds_of_ms(-1500), "-1.500");
  EXPECT_EQ(seconds_of_ms(std::numeric_limits<std::int64_t>::max()), "9223372036854775.807");
  EXPECT_EQ(seconds_of_ms(std::numeric_limits<std::int64_t>::min()), "-9223372036854775.808");
}

TEST(distinct_names, leave_what_is_distinct_as_it_is) {
  EXPECT_EQ(distinct_names({{"a", "1"}, {"b", "1"}}), (lines{"a", "b"}));
}

TEST(distinct_names, put_the_id_behind_what_is_not) {
  EXPECT_EQ(distinct_names({{"a", "1"}, {"a", "2"}, {"b", "3"}}), (lines{"a (1)", "a (2)", "b"}));
}

TEST(distinct_names, count_where_ids_are_doubled_too) {
  EXPECT_EQ(distinct_names({{"a", "1"}, {"a (1)", "9"}, {"a", "1"}, {"a", "1"}, {"a (1) #2", "8"}}),
            (lines{"a (1)", "a (1) #2", "a (1) #3", "a (1) #4", "a (1) #2 #2"}));
}

TEST(distinct_names, take_the_id_where_there_is_no_name) {
  EXPECT_EQ(distinct_names({{"", "1"}, {"", "2"}, {"", ""}}), (lines{"1", "2", "unnamed"}));
}

TEST(distinct_names, of_very_many_that_are_alike_are_made) {
  std::vector<named> const alike(100'000, {"a", "1"});
  EXPECT_EQ(distinct_names(alike).back(), "a (1) #100000");
}

}  // namespace
}  // namespace report
