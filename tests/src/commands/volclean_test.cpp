#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::chain;
using support::lines;
using support::now;
using support::now_ms;
using support::span_start;

constexpr int all = -1;
lines const both_lists = {"setting.get_space_list()", "setting.get_channel_list(1)"};
std::string const space_a = support::filled(36, 'a');
std::string const space_b = support::filled(36, 'b');
std::int64_t const earliest = now_ms - 86400000;

support::outcome volclean(scripted::script const& script, int filter) {
  auto result =
      support::in_child(script, [filter] { st::cmd_volclean(scripted::setting(), filter); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, std::nullopt);
  return result;
}

// Two spaces, one channel numbered 0 with recordings on stream 0 of both types.
scripted::script recorder() {
  scripted::script script;
  script.clock = [] { return now; };
  script.spaces = {support::space("A", 1, 1, 'a'), support::space("B", 1, 1, 'b')};
  script.channels = {support::channel(0, 'c')};
  script.periods = [](channel_sid const&, int, int stream) {
    return stream == 0 ? std::list<time_period>{support::period(earliest)}
                       : std::list<time_period>{};
  };
  return script;
}

// The ten stream lines of a channel with recordings on stream 0 only.
std::string const stream_lines =
    "\t[NR S00] Success.\n"
    "\t[NR S01] Can not find time period.\n"
    "\t[NR S02] Can not find time period.\n"
    "\t[NR S03] Can not find time period.\n"
    "\t[NR S04] Can not find time period.\n"
    "\t[AR S00] Success.\n"
    "\t[AR S01] Can not find time period.\n"
    "\t[AR S02] Can not find time period.\n"
    "\t[AR S03] Can not find time period.\n"
    "\t[AR S04] Can not find time period.\n";

// The calls for one channel of recorder(), the `before`-th channel after
// others. A ticking clock shows in `looked_up` and `not_found`.
lines channel_calls(std::string const& channel, int before = 0) {
  lines calls;
  int lookup = before * 10;
  int tier = before * 20;
  for (int const type : {4, 1}) {
    for (int stream = 0; stream < 5; ++stream) {
      std::int64_t const end = stream == 0 ? earliest - 1 : now_ms;
      calls = chain(
          {calls, support::span_lookup(++lookup, channel, type, stream, span_start, now_ms),
           support::recycling("CFSTier", tier + 1, space_a, channel, type, stream, span_start, end),
           support::recycling("CFSTier", tier + 2, space_b, channel, type, stream, span_start,
                              end)});
      tier += 2;
    }
  }
  return calls;
}

TEST(volclean, recycles_every_stream_on_every_space) {
  auto const result = volclean(recorder(), 0);
  EXPECT_EQ(result.output,
            "Recycle --ch01-- data ...\n" + stream_lines + "Recycle process done.\n");
  EXPECT_EQ(result.calls, chain({both_lists, channel_calls(support::channel_text(0, 'c'))}));
}

TEST(volclean, minus_1_takes_every_channel_in_the_order_of_the_service) {
  auto script = recorder();
  script.channels = {support::channel(9, 'd'), support::channel(0, 'c')};
  auto const result = volclean(script, all);
  EXPECT_EQ(result.output, "Recycle --ch10-- data ...\n" + stream_lines +
                               "Recycle --ch01-- data ...\n" + stream_lines +
                               "Recycle process done.\n");
  EXPECT_EQ(result.calls, chain({both_lists, channel_calls(support::channel_text(9, 'd')),
                                 channel_calls(support::channel_text(0, 'c'), 1)}));
}

TEST(volclean, a_filter_takes_channels_by_their_number) {
  auto script = recorder();
  script.channels = {support::channel(5, 'd'), support::channel(0, 'c'), support::channel(5, 'e')};
  EXPECT_EQ(volclean(script, 0).output,
            "Recycle --ch01-- data ...\n" + stream_lines + "Recycle process done.\n");
  EXPECT_EQ(volclean(script, 5).output, "Recycle --ch06-- data ...\n" + stream_lines +
                                            "Recycle --ch06-- data ...\n" + stream_lines +
                                            "Recycle process done.\n");
}

TEST(volclean, a_filter_without_a_channel_prints_the_closing_line_only) {
  auto const result = volclean(recorder(), 7);
  EXPECT_EQ(result.output, "Recycle process done.\n");
  EXPECT_EQ(result.calls, both_lists);
}

TEST(volclean, the_channel_with_the_greatest_id_is_passed_over) {
  auto script = recorder();
  script.channels = {support::channel(4, '9')};
  for (int const filter : {4, all}) {
    auto const result = volclean(script, filter);
    EXPECT_EQ(result.output, "Recycle process done.\n");
    EXPECT_EQ(result.calls, both_lists);
  }
}

TEST(volclean, the_greatest_id_is_compared_over_32_bytes) {
  auto script = recorder();
  script.channels = {support::channel(0, '9')};
  script.channels.front().channel.id[31] = '8';
  EXPECT_EQ(volclean(script, 0).output,
            "Recycle --ch01-- data ...\n" + stream_lines + "Recycle process done.\n");
}

TEST(volclean, a_channel_number_below_0_is_padded_with_its_sign) {
  auto script = recorder();
  script.channels = {support::channel(-5, 'c')};
  EXPECT_EQ(volclean(script, -5).output,
            "Recycle --ch-4-- data ...\n" + stream_lines + "Recycle process done.\n");
}

TEST(volclean, a_span_that_ends_before_its_start_is_recycled_as_it_is) {
  auto script = recorder();
  script.spaces.pop_back();
  script.periods = [](channel_sid const&, int, int) {
    return std::list<time_period>{support::period(span_start - 5000)};
  };
  std::string const channel = support::channel_text(0, 'c');
  lines expected = both_lists;
  int n = 0;
  for (int const type : {4, 1}) {
    for (int stream = 0; stream < 5; ++stream) {
      ++n;
      expected =
          chain({expected, support::span_lookup(n, channel, type, stream, span_start, now_ms),
                 support::recycling("CFSTier", n, space_a, channel, type, stream, span_start,
                                    span_start - 5001)});
    }
  }
  EXPECT_EQ(volclean(script, 0).calls, expected);
}

TEST(volclean, no_space_or_no_channel_ends_at_once) {
  auto no_space = recorder();
  no_space.spaces.clear();
  auto no_channel = recorder();
  no_channel.channels.clear();
  for (auto const& script : {no_space, no_channel, scripted::script{}}) {
    auto const result = volclean(script, all);
    EXPECT_EQ(result.output, "No space or channel found.\n");
    EXPECT_EQ(result.calls, both_lists);
  }
}

TEST(volclean, refused_lists_are_empty_ones) {
  for (std::string const operation : {"get_space_list", "get_channel_list"}) {
    auto script = recorder();
    script.faults = {{operation, scripted::effect::refuse}};
    EXPECT_EQ(volclean(script, all).output, "No space or channel found.\n");
  }
}

TEST(volclean, results_are_not_looked_at) {
  auto const quiet = volclean(recorder(), 0);
  for (std::string const operation :
       {"get_space_list", "get_channel_list", "get_time_period_list", "recycle_stream_data",
        "uninit", "create_channel_session", "destroy_channel_session"}) {
    auto script = recorder();
    script.faults = {{operation, scripted::effect::complain}};
    auto const result = volclean(script, 0);
    EXPECT_EQ(result.output, quiet.output) << operation;
    EXPECT_EQ(result.calls, quiet.calls) << operation;
  }
}

TEST(volclean, a_tier_that_cannot_be_prepared_is_told_uninitialised_and_passed_over) {
  auto script = recorder();
  script.faults = {{"init", scripted::effect::refuse, 1}, {"init", scripted::effect::refuse, 4}};
  auto const result = volclean(script, 0);
  EXPECT_EQ(result.output,
            "Recycle --ch01-- data ...\n"
            "Initial Tier to process failure.\n"
            "\t[NR S00] Success.\n"
            "Initial Tier to process failure.\n"
            "\t[NR S01] Can not find time period.\n" +
                stream_lines.substr(stream_lines.find("\t[NR S02]")) + "Recycle process done.\n");
  auto const channel = support::channel_text(0, 'c');
  auto expected = chain({both_lists, channel_calls(channel)});
  // Only the two recycle calls are missing.
  for (std::string const tier : {"CFSTier#1.", "CFSTier#4."}) {
    auto const missing = std::find_if(expected.begin(), expected.end(), [&](std::string const& l) {
      return l.rfind(tier + "recycle_stream_data", 0) == 0;
    });
    ASSERT_NE(missing, expected.end());
    expected.erase(missing);
  }
  EXPECT_EQ(result.calls, expected);
}

TEST(volclean, a_channel_that_cannot_be_asked_is_not_recycled_and_not_mentioned) {
  auto script = recorder();
  script.faults = {{"create_channel_session", scripted::effect::null, 2}};
  auto const result = volclean(script, 0);
  std::string without_second = stream_lines;
  std::string const second = "\t[NR S01] Can not find time period.\n";
  without_second.erase(without_second.find(second), second.size());
  EXPECT_EQ(result.output,
            "Recycle --ch01-- data ...\n" + without_second + "Recycle process done.\n");
  for (std::string const& line : result.calls) {
    bool const recycles_it = line.find("recycle_stream_data") != std::string::npos &&
                             line.find("stream 1 type 4") != std::string::npos;
    EXPECT_FALSE(recycles_it) << line;
  }
}

TEST(volclean, computes_the_span_s_start_once_and_its_end_at_each_lookup) {
  auto script = recorder();
  // One more second at each question.
  script.clock = [second = now]() mutable { return second++; };
  script.spaces.pop_back();
  script.periods = nullptr;
  auto const result = volclean(script, 0);
  std::vector<std::string> ends;
  int starts = 0;
  for (std::string const& line : result.calls) {
    if (line.find("recycle_stream_data") == std::string::npos) continue;
    std::string const start = ", " + std::to_string(span_start) + ", ";
    auto const at = line.find(start);
    ASSERT_NE(at, std::string::npos) << line;
    ++starts;
    ends.push_back(line.substr(at + start.size()));
  }
  EXPECT_EQ(starts, 10);
  EXPECT_TRUE(std::is_sorted(ends.begin(), ends.end()));
  EXPECT_EQ(std::unique(ends.begin(), ends.end()), ends.end());
}

TEST(volclean, times_beyond_32_bits_of_seconds_are_widened) {
  if (sizeof(std::time_t) == 4) GTEST_SKIP() << "the clock has 32 bits of seconds";
  auto script = recorder();
  constexpr std::int64_t late = 4102444800;  // 2100
  script.clock = [] { return late; };
  script.periods = nullptr;
  auto const result = volclean(script, 0);
  std::string const span = ", 4099852800000, 4102444800000, 0)";
  int found = 0;
  for (std::string const& line : result.calls) {
    if (line.find("recycle_stream_data") != std::string::npos) {
      EXPECT_EQ(line.substr(line.size() - std::min(span.size(), line.size())), span);
      ++found;
    }
  }
  EXPECT_EQ(found, 20);
}

TEST(volclean, releases_when_any_call_throws) {
  int const calls = support::expect_releases_when_any_call_throws(
      recorder(), [] { st::cmd_volclean(scripted::setting(), 0); });
  EXPECT_EQ(calls, 2 + 10 * (4 + 2 * 4));
}

}  // namespace
