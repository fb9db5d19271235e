#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "commands/time_text.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::chain;
using support::lines;
using support::now;
using support::now_ms;
using support::period;

constexpr int all = -1;
std::int64_t const noon = 1767614400000;  // 2026-01-05 12:00:00 UTC
lines const opened = {"CKivChannel#1()", "setting.get_channel_list(1)"};
lines const closed = {"~CKivChannel#1"};

std::string total(int count) {
  return "\nTotal have [" + std::to_string(count) + "] time period data has null storage id.\n";
}

support::outcome nullid(scripted::script const& script, int channel_id) {
  auto result =
      support::in_child(script, [channel_id] { st::cmd_nullid(scripted::setting(), channel_id); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, std::nullopt);
  return result;
}

// Channel 0 with one period without a storage id on stream 1 of normal recording.
scripted::script recorder() {
  scripted::script script;
  script.clock = [] { return now; };
  script.channels = {support::channel(0, 'c')};
  script.periods = [](channel_sid const&, int type, int stream) {
    return type == 4 && stream == 1 ? std::list<time_period>{period(noon, noon + 3600000, 1)}
                                    : std::list<time_period>{};
  };
  return script;
}

// A channel's calls: its n-th session and eight requests.
lines channel_calls(std::string const& channel, int n) {
  std::string const session = "session#" + std::to_string(n);
  lines calls = {"CKivChannel#1.create_channel_session(" + channel + ", null) = " + session};
  for (char const* const asked : {"4, 1", "4, 2", "4, 3", "4, 4", "1, 1", "1, 2", "1, 3", "1, 4"}) {
    std::string& call = calls.emplace_back(session);
    call.append(".get_time_period_list(").append(asked).append(", 0, ");
    call.append(std::to_string(now_ms)).append(", 0, 1, 1)");
  }
  calls.push_back("CKivChannel#1.destroy_channel_session(" + session + ")");
  return calls;
}

// What is printed when normal recording's stream 1 answers with these.
std::string output_with(std::list<time_period> const& periods) {
  auto script = recorder();
  script.periods = [periods](channel_sid const&, int type, int stream) {
    return type == 4 && stream == 1 ? periods : std::list<time_period>{};
  };
  return nullid(script, 0).output;
}

TEST(nullid, lists_a_period_under_its_channel_s_header) {
  auto const result = nullid(recorder(), 0);
  EXPECT_EQ(result.output,
            "ch01 list:\n"
            "\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n"
            "\n"
            "Total have [1] time period data has null storage id.\n");
  EXPECT_EQ(result.calls, chain({opened, channel_calls(support::channel_text(0, 'c'), 1), closed}));
}

TEST(nullid, no_channels_print_no_total) {
  auto script = recorder();
  script.channels.clear();
  auto const result = nullid(script, all);
  EXPECT_EQ(result.output, "No channel found.\n");
  EXPECT_EQ(result.calls, chain({opened, closed}));
}

TEST(nullid, a_refused_channel_list_is_an_empty_one) {
  auto script = recorder();
  script.faults = {{"get_channel_list", scripted::effect::refuse}};
  EXPECT_EQ(nullid(script, all).output, "No channel found.\n");
}

TEST(nullid, nothing_to_list_prints_a_total_of_0) {
  auto script = recorder();
  script.periods = nullptr;
  EXPECT_EQ(nullid(script, 0).output, total(0));
}

TEST(nullid, a_channel_that_is_not_listed_prints_the_total_only) {
  auto const result = nullid(recorder(), 5);
  EXPECT_EQ(result.output, total(0));
  EXPECT_EQ(result.calls, chain({opened, closed}));
}

TEST(nullid, walks_all_channels_by_number_in_the_order_of_the_service) {
  auto script = recorder();
  script.channels = {support::channel(11, 'd'), support::channel(2, 'c')};
  auto const result = nullid(script, all);
  EXPECT_EQ(result.output,
            "ch12 list:\n"
            "\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n"
            "ch03 list:\n"
            "\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n" +
                total(2));
  EXPECT_EQ(result.calls, chain({opened, channel_calls(support::channel_text(11, 'd'), 1),
                                 channel_calls(support::channel_text(2, 'c'), 2), closed}));
}

TEST(nullid, the_walk_goes_on_behind_a_match) {
  auto script = recorder();
  script.channels = {support::channel(2, 'c'), support::channel(3, 'd'), support::channel(2, 'e')};
  auto const result = nullid(script, 2);
  EXPECT_EQ(result.calls, chain({opened, channel_calls(support::channel_text(2, 'c'), 1),
                                 channel_calls(support::channel_text(2, 'e'), 2), closed}));
}

TEST(nullid, the_channel_with_the_greatest_id_is_passed_over_even_when_named) {
  auto script = recorder();
  script.channels = {support::channel(4, '9')};
  for (int const filter : {4, all}) {
    auto const result = nullid(script, filter);
    EXPECT_EQ(result.output, total(0));
    EXPECT_EQ(result.calls, chain({opened, closed}));
  }
}

TEST(nullid, stream_0_is_never_asked) {
  auto script = recorder();
  script.periods = [](channel_sid const&, int, int stream) {
    return stream == 0 ? std::list<time_period>{period(noon, noon)} : std::list<time_period>{};
  };
  auto const result = nullid(script, 0);
  EXPECT_EQ(result.output, total(0));
  EXPECT_EQ(result.calls, chain({opened, channel_calls(support::channel_text(0, 'c'), 1), closed}));
}

TEST(nullid, sorts_by_start_and_keeps_the_order_of_equal_starts) {
  EXPECT_EQ(output_with({period(noon + 5000, noon + 9000), period(noon, noon + 2000),
                         period(noon, noon + 1000), period(-5000, -4000)}),
            "ch01 list:\n"
            "\t[NR S00] [1969-12-31 23:59:55]-[1969-12-31 23:59:56]\n"
            "\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:02]\n"
            "\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:01]\n"
            "\t[NR S00] [2026-1-05 12:00:05]-[2026-1-05 12:00:09]\n" +
                total(4));
}

TEST(nullid, sorts_overlapping_and_adjacent_periods_by_start_and_keeps_them_apart) {
  auto const around = period(noon, noon + 9000);
  auto const within = period(noon + 1000, noon + 2000);
  auto const next = period(noon + 2000, noon + 3000);
  EXPECT_EQ(output_with({next, within, around}),
            "ch01 list:\n"
            "\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:09]\n"
            "\t[NR S00] [2026-1-05 12:00:01]-[2026-1-05 12:00:02]\n"
            "\t[NR S00] [2026-1-05 12:00:02]-[2026-1-05 12:00:03]\n" +
                total(3));
}

TEST(nullid, hands_every_request_the_list_as_the_one_before_left_it) {
  auto script = recorder();
  script.tells_lists = true;
  script.channels.push_back(support::channel(1, 'd'));
  script.periods = [](channel_sid const& channel, int type, int stream) {
    std::list<time_period> answer;
    if (channel.number == 0 && type == 1 && stream >= 3) {
      answer = {period(40 + stream), period(30 + stream)};
    }
    return answer;
  };
  // A request that fails leaves the list alone.
  script.faults = {{"get_time_period_list", scripted::effect::refuse, 8}};
  lines held;
  for (std::string const& line : nullid(script, all).calls) {
    if (line.rfind("= held", 0) == 0) held.push_back(line);
  }
  lines expected(16, "= held");
  expected[7] = "= held 33 43";
  expected[8] = "= held 33 43";
  EXPECT_EQ(held, expected);
}

TEST(nullid, numbers_below_0_are_padded_behind_their_sign) {
  auto script = recorder();
  script.channels = {support::channel(-5, 'c')};
  script.periods = [](channel_sid const&, int type, int stream) {
    return type == 4 && stream == 1 ? std::list<time_period>{period(noon, noon, -3)}
                                    : std::list<time_period>{};
  };
  script.faults = {{"get_time_period_list", scripted::effect::refuse, 8}};
  EXPECT_EQ(nullid(script, -5).output,
            "ch-04 list:\n"
            "\t[NR S-03] [2026-1-05 12:00:00]-[2026-1-05 12:00:00]\n"
            "ch-04 [AR S04] retrieve time period fail\n" +
                total(1));
}

TEST(nullid, periods_with_a_storage_id_are_passed_over_zeros_included) {
  EXPECT_EQ(output_with({period(noon, noon, 1, support::filled(32, '0')),
                         period(noon + 1000, noon + 1000, 1, support::filled(32, 'v')),
                         period(noon + 2000, noon + 2000, 1)}),
            "ch01 list:\n\t[NR S01] [2026-1-05 12:00:02]-[2026-1-05 12:00:02]\n" + total(1));
  EXPECT_EQ(output_with({period(noon, noon, 1, support::filled(32, '0'))}), total(0));
}

TEST(nullid, the_first_character_alone_makes_a_storage_id_empty) {
  auto odd = period(noon, noon, 1, support::filled(32, 'v'));
  odd.storage_id.text[0] = '\0';
  EXPECT_EQ(output_with({odd}),
            "ch01 list:\n\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 12:00:00]\n" + total(1));
}

TEST(nullid, shows_the_stream_that_the_period_reports) {
  EXPECT_EQ(output_with({period(noon, noon, 7)}),
            "ch01 list:\n\t[NR S07] [2026-1-05 12:00:00]-[2026-1-05 12:00:00]\n" + total(1));
}

TEST(nullid, half_seconds_are_cut_off) {
  EXPECT_EQ(output_with({period(noon + 500, noon + 1999)}),
            "ch01 list:\n\t[NR S00] [2026-1-05 12:00:00]-[2026-1-05 12:00:01]\n" + total(1));
  // Toward zero, also before the epoch.
  EXPECT_EQ(output_with({period(-500, -1500)}),
            "ch01 list:\n\t[NR S00] [1970-1-01 00:00:00]-[1969-12-31 23:59:59]\n" + total(1));
}

TEST(nullid, one_header_for_a_channel_s_normal_and_alarm_periods) {
  auto script = recorder();
  script.periods = [](channel_sid const&, int, int stream) {
    return std::list<time_period>{period(noon, noon, stream)};
  };
  std::string const span = "[2026-1-05 12:00:00]-[2026-1-05 12:00:00]\n";
  EXPECT_EQ(nullid(script, 0).output, "ch01 list:\n\t[NR S01] " + span + "\t[NR S02] " + span +
                                          "\t[NR S03] " + span + "\t[NR S04] " + span +
                                          "\t[AR S01] " + span + "\t[AR S02] " + span +
                                          "\t[AR S03] " + span + "\t[AR S04] " + span + total(8));
}

TEST(nullid, a_failing_request_is_told_and_the_walk_goes_on) {
  auto script = recorder();
  script.channels = {support::channel(8, 'c')};
  script.faults = {{"get_time_period_list", scripted::effect::refuse, 7, 3}};
  auto const result = nullid(script, 8);
  // The answer to an earlier request is not printed again.
  EXPECT_EQ(result.output,
            "ch09 list:\n"
            "\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n"
            "ch09 [AR S03] retrieve time period fail\n" +
                total(1));
  EXPECT_EQ(result.calls, chain({opened, channel_calls(support::channel_text(8, 'c'), 1), closed}));
}

TEST(nullid, a_stale_list_behind_a_failed_request_is_not_printed) {
  auto script = recorder();
  script.faults = {{"get_time_period_list", scripted::effect::refuse, 2}};
  EXPECT_EQ(nullid(script, 0).output,
            "ch01 list:\n"
            "\t[NR S01] [2026-1-05 12:00:00]-[2026-1-05 13:00:00]\n"
            "ch01 [NR S02] retrieve time period fail\n" +
                total(1));
}

TEST(nullid, an_answer_that_comes_with_a_failure_is_not_printed) {
  auto script = recorder();
  script.faults = {{"get_time_period_list", scripted::effect::complain, 1, 1}};
  EXPECT_EQ(nullid(script, 0).output, "ch01 [NR S01] retrieve time period fail\n" + total(0));
}

TEST(nullid, a_channel_that_cannot_be_asked_fails_eight_times_and_its_session_is_destroyed) {
  auto script = recorder();
  script.faults = {{"create_channel_session", scripted::effect::null}};
  auto const result = nullid(script, 0);
  EXPECT_EQ(result.output,
            "ch01 [NR S01] retrieve time period fail\n"
            "ch01 [NR S02] retrieve time period fail\n"
            "ch01 [NR S03] retrieve time period fail\n"
            "ch01 [NR S04] retrieve time period fail\n"
            "ch01 [AR S01] retrieve time period fail\n"
            "ch01 [AR S02] retrieve time period fail\n"
            "ch01 [AR S03] retrieve time period fail\n"
            "ch01 [AR S04] retrieve time period fail\n" +
                total(0));
  EXPECT_EQ(
      result.calls,
      chain({opened,
             {"CKivChannel#1.create_channel_session(" + support::channel_text(0, 'c') + ", null)",
              "CKivChannel#1.destroy_channel_session(null)"},
             closed}));
}

TEST(nullid, other_results_are_not_looked_at) {
  auto const quiet = nullid(recorder(), 0);
  for (std::string const operation :
       {"get_channel_list", "create_channel_session", "destroy_channel_session"}) {
    auto script = recorder();
    script.faults = {{operation, scripted::effect::complain}};
    auto const result = nullid(script, 0);
    EXPECT_EQ(result.output, quiet.output) << operation;
    EXPECT_EQ(result.calls, quiet.calls) << operation;
  }
}

TEST(nullid, reads_the_clock_once) {
  auto script = recorder();
  script.clock = [second = now]() mutable { return second++; };
  script.channels.push_back(support::channel(1, 'd'));
  int asked = 0;
  std::string const end = ", 0, " + std::to_string(now_ms) + ", 0, 1, 1)";
  for (std::string const& line : nullid(script, all).calls) {
    if (line.find("get_time_period_list") == std::string::npos) continue;
    EXPECT_NE(line.find(end), std::string::npos) << line;
    ++asked;
  }
  EXPECT_EQ(asked, 16);
}

TEST(nullid, releases_when_any_call_throws) {
  auto script = recorder();
  script.channels.push_back(support::channel(1, 'd'));
  int const calls = support::expect_releases_when_any_call_throws(
      script, [] { st::cmd_nullid(scripted::setting(), all); });
  EXPECT_EQ(calls, 2 + 2 * 10);
}

std::string time_text(std::int64_t seconds, std::string const& zone = "UTC") {
  auto const result = support::in_child({}, [seconds, zone] {
    setenv("TZ", zone.c_str(), 1);
    tzset();
    char text[256];
    st::format_time_text(static_cast<std::time_t>(seconds), text);
    std::printf("%s", text);
  });
  EXPECT_EQ(result.status, 0);
  return result.output;
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

TEST(time_text, out_of_range_shows_zero_fields) {
  if (sizeof(std::time_t) == 4) GTEST_SKIP() << "no time of 32 bits is out of range";
  EXPECT_EQ(time_text(std::numeric_limits<std::int64_t>::max()), "[1900-1-00 00:00:00]");
  EXPECT_EQ(time_text(std::numeric_limits<std::int64_t>::min()), "[1900-1-00 00:00:00]");
}

TEST(time_text, of_a_year_beyond_32_bits_shows_zero_fields) {
  if (sizeof(std::time_t) == 4) GTEST_SKIP() << "no time of 32 bits is out of range";
  EXPECT_EQ(time_text(67767976233532799), "[2147483647-12-31 23:59:59]");
  EXPECT_EQ(time_text(67767976233532800), "[1900-1-00 00:00:00]");
  EXPECT_EQ(time_text(67768036191676799), "[1900-1-00 00:00:00]");
}

}  // namespace
