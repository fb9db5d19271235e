#include <cstdlib>
#include <ctime>
#include <limits>

#include "command_test.h"
#include "commands/commands.h"
#include "commands/time_text.h"

namespace command_test {
namespace {

constexpr int all = -1;
constexpr std::int64_t noon = 1767614400000;  // 2026-01-05 12:00:00 UTC

std::function<void()> nullid(int channel_id) {
  return [channel_id] { st::cmd_nullid(scripted::setting(), channel_id); };
}

// These channels, each with one period without a storage id on stream 1 of
// normal recording.
answers with_channels(std::list<channel_setting> const& channels) {
  return answers().at_now().with_channels(channels).with_periods_on(
      4, 1, {period(noon, noon + 3600000, 1)});
}
answers const one_channel = with_channels({channel(0, 'c')});

// What is printed of such a period, and at the end.
std::string const an_hour = "\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n";
std::string total(int count) {
  return "\nTotal have [" + std::to_string(count) + "] time period data has null storage id.\n";
}

// The calls for these channels: a session with eight requests for each.
lines asked(std::vector<std::string> const& channels) {
  lines calls = {"CKivChannel#1()", "setting.get_channel_list(1)"};
  int n = 0;
  for (std::string const& each : channels) {
    std::string const session = "session#" + std::to_string(++n);
    calls.push_back("CKivChannel#1.create_channel_session(" + each + ", null) = " + session);
    for (std::string const type : {"4", "1"}) {
      for (std::string const stream : {"1", "2", "3", "4"}) {
        calls.push_back(session + ".get_time_period_list(" + type + ", " + stream + ", 0, " +
                        std::to_string(now_ms) + ", 0, 1, 1)");
      }
    }
    calls.push_back("CKivChannel#1.destroy_channel_session(" + session + ")");
  }
  calls.emplace_back("~CKivChannel#1");
  return calls;
}
std::string const channel_0 = channel_text(0, 'c');

std::vector<run_case> const walks = {
    {"lists_a_period_under_its_channel_s_header", one_channel, nullid(0),
     "ch01 list:\n"
     "\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n"
     "\n"
     "Total have [1] time period data has null storage id.\n",
     asked({channel_0})},
    {"no_channels_print_no_total", with_channels({}), nullid(all), "No channel found.\n",
     asked({})},
    {"a_refused_channel_list_is_an_empty_one", one_channel.refusing("get_channel_list"),
     nullid(all), "No channel found.\n", asked({})},
    {"nothing_to_list_prints_a_total_of_0", one_channel.with_periods({}), nullid(0), total(0),
     asked({channel_0})},
    {"a_channel_that_is_not_listed_prints_the_total_only", one_channel, nullid(5), total(0),
     asked({})},
    {"walks_all_channels_by_number_in_the_order_of_the_service",
     with_channels({channel(11, 'd'), channel(2, 'c')}), nullid(all),
     "ch12 list:\n" + an_hour + "ch03 list:\n" + an_hour + total(2),
     asked({channel_text(11, 'd'), channel_text(2, 'c')})},
    {"the_walk_goes_on_behind_a_match",
     with_channels({channel(2, 'c'), channel(3, 'd'), channel(2, 'e')}), nullid(2),
     "ch03 list:\n" + an_hour + "ch03 list:\n" + an_hour + total(2),
     asked({channel_text(2, 'c'), channel_text(2, 'e')})},
    {"the_channel_with_the_greatest_id_is_passed_over", with_channels({channel(4, '9')}),
     nullid(all), total(0), asked({})},
    {"the_channel_with_the_greatest_id_is_passed_over_even_when_named",
     with_channels({channel(4, '9')}), nullid(4), total(0), asked({})},
    {"stream_0_is_never_asked",
     one_channel.with_periods_of([](channel_sid const&, int, int stream) {
       return std::list<time_period>(stream == 0 ? 1 : 0, period(noon, noon));
     }),
     nullid(0), total(0), asked({channel_0})},
    {"one_header_for_a_channel_s_normal_and_alarm_periods",
     one_channel.with_periods_of([](channel_sid const&, int, int stream) {
       return std::list<time_period>{period(0, 1000, stream)};
     }),
     nullid(0),
     "ch01 list:\n"
     "\t[NR S01] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
     "\t[NR S02] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
     "\t[NR S03] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
     "\t[NR S04] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
     "\t[AR S01] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
     "\t[AR S02] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
     "\t[AR S03] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
     "\t[AR S04] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n" +
         total(8),
     asked({channel_0})},
};
INSTANTIATE_TEST_SUITE_P(nullid_walks, table_run, testing::ValuesIn(walks), behaviour_of);

std::vector<run_case> const failures = {
    // The answer to an earlier request is not printed again.
    {"a_failing_request_is_told_and_the_walk_goes_on",
     with_channels({channel(8, 'c')}).refusing("get_time_period_list", 7, 3), nullid(8),
     "ch09 list:\n" + an_hour + "ch09 [AR S03] retrieve time period fail\n" + total(1),
     asked({channel_text(8, 'c')})},
    {"a_stale_list_behind_a_failed_request_is_not_printed",
     one_channel.refusing("get_time_period_list", 2), nullid(0),
     "ch01 list:\n" + an_hour + "ch01 [NR S02] retrieve time period fail\n" + total(1),
     asked({channel_0})},
    {"an_answer_that_comes_with_a_failure_is_not_printed",
     one_channel.complaining("get_time_period_list", 1, 1), nullid(0),
     "ch01 [NR S01] retrieve time period fail\n" + total(0), asked({channel_0})},
    {"a_channel_that_cannot_be_asked_fails_eight_times_and_its_session_is_destroyed",
     one_channel.handing_out_null("create_channel_session"),
     nullid(0),
     "ch01 [NR S01] retrieve time period fail\n"
     "ch01 [NR S02] retrieve time period fail\n"
     "ch01 [NR S03] retrieve time period fail\n"
     "ch01 [NR S04] retrieve time period fail\n"
     "ch01 [AR S01] retrieve time period fail\n"
     "ch01 [AR S02] retrieve time period fail\n"
     "ch01 [AR S03] retrieve time period fail\n"
     "ch01 [AR S04] retrieve time period fail\n" +
         total(0),
     {"CKivChannel#1()", "setting.get_channel_list(1)",
      "CKivChannel#1.create_channel_session(" + channel_0 + ", null)",
      "CKivChannel#1.destroy_channel_session(null)", "~CKivChannel#1"}},
    {"numbers_below_0_are_padded_behind_their_sign",
     with_channels({channel(-5, 'c')})
         .with_periods_on(4, 1, {period(noon, noon + 3600000, -3)})
         .refusing("get_time_period_list", 8),
     nullid(-5),
     "ch-04 list:\n"
     "\t[NR S-03] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n"
     "ch-04 [AR S04] retrieve time period fail\n" +
         total(1),
     asked({channel_text(-5, 'c')})},
};
INSTANTIATE_TEST_SUITE_P(nullid_failures, table_run, testing::ValuesIn(failures), behaviour_of);

// What is printed when normal recording's stream 1 answers with these.
run_case listing(std::string const& behaviour, std::list<time_period> const& periods,
                 std::string const& output) {
  return {behaviour, one_channel.with_periods_on(4, 1, periods), nullid(0), output,
          asked({channel_0})};
}

time_period only_first_character_missing() {
  auto odd = period(noon, noon, 1, filled(32, 'v'));
  odd.storage_id.text[0] = '\0';
  return odd;
}

std::vector<run_case> const periods = {
    listing("sorts_by_start_and_keeps_the_order_of_equal_starts",
            {period(noon + 5000, noon + 9000), period(noon, noon + 2000), period(noon, noon + 1000),
             period(-5000, -4000)},
            "ch01 list:\n"
            "\t[NR S00] [1969-12-31 23:59:55]-[1969-12-31 23:59:56]\n"
            "\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:02]\n"
            "\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:01]\n"
            "\t[NR S00] [2026-1-05 12:00:05]-[2026-1-05 12:00:09]\n" +
                total(4)),
    listing("sorts_overlapping_and_adjacent_periods_by_start_and_keeps_them_apart",
            {period(noon + 2000, noon + 3000), period(noon + 1000, noon + 2000),
             period(noon, noon + 9000)},
            "ch01 list:\n"
            "\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:09]\n"
            "\t[NR S00] [2026-1-05 12:00:01]-[2026-1-05 12:00:02]\n"
            "\t[NR S00] [2026-1-05 12:00:02]-[2026-1-05 12:00:03]\n" +
                total(3)),
    listing(
        "periods_with_a_storage_id_are_passed_over_zeros_included",
        {period(noon, noon, 1, filled(32, '0')),
         period(noon + 1000, noon + 1000, 1, filled(32, 'v')), period(noon + 2000, noon + 2000, 1)},
        "ch01 list:\n\t[NR S01] [2026-1-05 12:00:02]-[2026-1-05 12:00:02]\n" + total(1)),
    listing("a_storage_id_of_zeros_alone_prints_no_header",
            {period(noon, noon, 1, filled(32, '0'))}, total(0)),
    listing("the_first_character_alone_makes_a_storage_id_empty", {only_first_character_missing()},
            "ch01 list:\n\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 12:00:00]\n" + total(1)),
    listing("shows_the_stream_that_the_period_reports", {period(noon, noon, 7)},
            "ch01 list:\n\t[NR S07] [2026-1-05 12:00:00]-[2026-1-05 12:00:00]\n" + total(1)),
    listing("half_seconds_are_cut_off", {period(noon + 500, noon + 1999)},
            "ch01 list:\n\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:01]\n" + total(1)),
    listing("each_period_shows_its_own_bounds_where_it_meets_the_one_before_and_where_not",
            {period(0, 1000), period(1500, 4000), period(4999, 6000),
             period(noon, noon + 1000, 1, filled(32, 'v')), period(noon + 1000, noon + 3000),
             period(noon + 2000, noon + 2000)},
            "ch01 list:\n"
            "\t[NR S00] [1970-1-01 00:00:00]-[1970-1-01 00:00:01]\n"
            "\t[NR S00] [1970-1-01 00:00:01]-[1970-1-01 00:00:04]\n"
            "\t[NR S00] [1970-1-01 00:00:04]-[1970-1-01 00:00:06]\n"
            "\t[NR S00] [2026-1-05 12:00:01]-[2026-1-05 12:00:03]\n"
            "\t[NR S00] [2026-1-05 12:00:02]-[2026-1-05 12:00:02]\n" +
                total(5)),
    listing("half_seconds_are_cut_toward_zero_before_the_epoch_too", {period(-500, -1500)},
            "ch01 list:\n\t[NR S00] [1970-1-01 00:00:00]-[1969-12-31 23:59:59]\n" + total(1)),
};
INSTANTIATE_TEST_SUITE_P(nullid_periods, table_run, testing::ValuesIn(periods), behaviour_of);

TEST(nullid, hands_every_request_the_list_as_the_one_before_left_it) {
  auto const script =
      with_channels({channel(0, 'c'), channel(1, 'd')})
          .telling_lists()
          .with_periods_of([](channel_sid const& asked, int type, int stream) {
            bool const recorded = asked.number == 0 && type == 1 && stream >= 3;
            return recorded ? std::list<time_period>{period(40 + stream), period(30 + stream)}
                            : std::list<time_period>{};
          })
          // A request that fails leaves the list alone.
          .refusing("get_time_period_list", 8);
  lines expected(16, "= held");
  expected[7] = "= held 33 43";
  expected[8] = "= held 33 43";
  EXPECT_EQ(lines_with(run(script, nullid(all)).calls, "= held"), expected);
}

TEST(nullid, other_results_are_not_looked_at) {
  expect_results_are_not_looked_at(
      one_channel, nullid(0),
      {"get_channel_list", "create_channel_session", "destroy_channel_session"});
}

TEST(nullid, reads_the_clock_once) {
  auto const script = with_channels({channel(0, 'c'), channel(1, 'd')}).ticking();
  EXPECT_EQ(run(script, nullid(all)).calls, asked({channel_0, channel_text(1, 'd')}));
}

TEST(nullid, asks_up_to_the_clock_as_far_as_time_t_counts) {
  auto script = with_channels({channel(0, 'c')});
  script.clock = [] { return 2130105600; };  // 2037-07-01
  EXPECT_EQ(lines_with(run(script, nullid(all)).calls, ", 0, 2130105600000, ").size(), 8U);
  script.clock = [] { return std::int64_t{2177452800}; };  // 2039-01-01
  auto const late = in_child(script, nullid(all));
  bool const is_short = sizeof(std::time_t) == 4;
  EXPECT_EQ(lines_with(late.calls, ", 0, 2177452800000, ").size(), is_short ? 0U : 8U);
  EXPECT_EQ(lines_with(late.calls, "get_time_period_list").size(), is_short ? 0U : 8U);
  EXPECT_EQ(late.escaped.has_value(), is_short);
  EXPECT_EQ(late.output.empty(), is_short) << late.output;
}

TEST(nullid, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(with_channels({channel(0, 'c'), channel(1, 'd')}),
                                                 nullid(all)),
            2 + 2 * 10);
}

std::string time_text(std::int64_t seconds, std::string const& zone = "UTC") {
  return run({},
             [seconds, zone] {
               setenv("TZ", zone.c_str(), 1);
               tzset();
               char text[256];
               st::format_time_text(seconds, text);
               std::printf("%s", text);
             })
      .output;
}

TEST(time_text, pads_all_but_year_and_month) {
  EXPECT_EQ(time_text(0), "[1970-1-01 00:00:00]");
  EXPECT_EQ(time_text(1767614767), "[2026-1-05 12:06:07]");
  EXPECT_EQ(time_text(1767225599), "[2025-12-31 23:59:59]");
}

TEST(time_text, is_local_time) {
  EXPECT_EQ(time_text(1767614767, "XXX-8"), "[2026-1-05 20:06:07]");
  EXPECT_EQ(time_text(1767225599, "XXX-8"), "[2026-1-01 07:59:59]");
  EXPECT_EQ(time_text(0, "XXX5"), "[1969-12-31 19:00:00]");
}

TEST(time_text, beyond_time_t_shows_zero_fields) {
  EXPECT_EQ(time_text(2147483647), "[2038-1-19 03:14:07]");
  bool const is_short = sizeof(std::time_t) == 4;
  EXPECT_EQ(time_text(2147483648), is_short ? "[1900-1-00 00:00:00]" : "[2038-1-19 03:14:08]");
  EXPECT_EQ(time_text(4102444800), is_short ? "[1900-1-00 00:00:00]" : "[2100-1-01 00:00:00]");
}

TEST(time_text, out_of_range_or_of_a_year_beyond_32_bits_shows_zero_fields) {
  EXPECT_EQ(time_text(std::numeric_limits<std::int64_t>::max()), "[1900-1-00 00:00:00]");
  EXPECT_EQ(time_text(std::numeric_limits<std::int64_t>::min()), "[1900-1-00 00:00:00]");
  if (sizeof(std::time_t) > 4) {
    EXPECT_EQ(time_text(67767976233532799), "[2147483647-12-31 23:59:59]");
  }
  EXPECT_EQ(time_text(67767976233532800), "[1900-1-00 00:00:00]");
  EXPECT_EQ(time_text(67768036191676799), "[1900-1-00 00:00:00]");
}

}  // namespace
}  // namespace command_test
