#include <algorithm>
#include <ctime>

#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

constexpr int all = -1;
lines const both_lists = {"setting.get_space_list()", "setting.get_channel_list(1)"};
std::string const space_a = filled(36, 'a');
std::string const space_b = filled(36, 'b');
std::string const channel_0 = channel_text(0, 'c');
constexpr std::int64_t earliest = now_ms - 86400000;

std::function<void()> volclean(int filter) {
  return [filter] { st::cmd_volclean(scripted::setting(), filter); };
}

// Two spaces, and channels with recordings on stream 0 of both types.
answers with_channels(std::list<channel_setting> const& channels) {
  return answers()
      .at_now()
      .with_spaces({space("A", 1, 1, 'a'), space("B", 1, 1, 'b')})
      .with_channels(channels)
      .with_periods_of([](channel_sid const&, int, int stream) {
        return std::list<time_period>(stream == 0 ? 1 : 0, period(earliest));
      });
}
answers const one_channel = with_channels({channel(0, 'c')});

// The ten lines of such a channel.
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
std::string const closing = "Recycle process done.\n";

// The calls for these channels, those with a tier in `failing` without
// recycling.
lines recycled(std::vector<std::string> const& channels, std::vector<int> const& failing = {}) {
  lines calls = both_lists;
  int n = 0;
  for (std::string const& each : channels) {
    auto const tier = [&](int number, std::string const& id, int type, int stream) {
      bool const fails = std::count(failing.begin(), failing.end(), number) != 0;
      return fails ? failed_init("CFSTier", number, id)
                   : recycling("CFSTier", number, id, each, type, stream,
                               stream == 0 ? earliest - 1 : now_ms);
    };
    auto const both_tiers = [&](int index, int type, int stream) {
      return chain(
          {tier(2 * index - 1, space_a, type, stream), tier(2 * index, space_b, type, stream)});
    };
    calls = chain({calls, stream_walk(++n, each, both_tiers)});
  }
  return calls;
}

std::vector<run_case> const cases = {
    {"recycles_every_stream_on_every_space", one_channel, volclean(0),
     "Recycle --ch01-- data ...\n" + stream_lines + closing, recycled({channel_0})},
    {"minus_1_takes_every_channel_in_the_order_of_the_service",
     with_channels({channel(9, 'd'), channel(0, 'c')}), volclean(all),
     "Recycle --ch10-- data ...\n" + stream_lines + "Recycle --ch01-- data ...\n" + stream_lines +
         closing,
     recycled({channel_text(9, 'd'), channel_0})},
    {"a_filter_takes_a_channel_by_its_number",
     with_channels({channel(5, 'd'), channel(0, 'c'), channel(5, 'e')}), volclean(0),
     "Recycle --ch01-- data ...\n" + stream_lines + closing, recycled({channel_0})},
    {"a_filter_takes_every_channel_of_its_number",
     with_channels({channel(5, 'd'), channel(0, 'c'), channel(5, 'e')}), volclean(5),
     "Recycle --ch06-- data ...\n" + stream_lines + "Recycle --ch06-- data ...\n" + stream_lines +
         closing,
     recycled({channel_text(5, 'd'), channel_text(5, 'e')})},
    {"a_filter_without_a_channel_prints_the_closing_line_only", one_channel, volclean(7), closing,
     both_lists},
    {"the_channel_with_the_greatest_id_is_passed_over", with_channels({channel(3, '9')}),
     volclean(all), closing, both_lists},
    {"the_channel_with_the_greatest_id_is_passed_over_even_when_named",
     with_channels({channel(3, '9')}), volclean(3), closing, both_lists},
    {"a_channel_number_below_0_is_padded_with_its_sign", with_channels({channel(-5, 'c')}),
     volclean(-5), "Recycle --ch-4-- data ...\n" + stream_lines + closing,
     recycled({channel_text(-5, 'c')})},
    {"no_space_ends_at_once", one_channel.with_spaces({}), volclean(all),
     "No space or channel found.\n", both_lists},
    {"no_channel_ends_at_once", with_channels({}), volclean(all), "No space or channel found.\n",
     both_lists},
    {"neither_space_nor_channel_ends_at_once",
     {},
     volclean(all),
     "No space or channel found.\n",
     both_lists},
    {"a_refused_space_list_is_an_empty_one", one_channel.refusing("get_space_list"), volclean(all),
     "No space or channel found.\n", both_lists},
    {"a_refused_channel_list_is_an_empty_one", one_channel.refusing("get_channel_list"),
     volclean(all), "No space or channel found.\n", both_lists},
    {"a_tier_that_cannot_be_prepared_is_told_uninitialised_and_passed_over",
     one_channel.refusing("init", 1).refusing("init", 4, 1), volclean(0),
     "Recycle --ch01-- data ...\n"
     "Initial Tier to process failure.\n"
     "\t[NR S00] Success.\n"
     "Initial Tier to process failure.\n" +
         stream_lines.substr(stream_lines.find("\t[NR S01]")) + closing,
     recycled({channel_0}, {1, 4})},
};
INSTANTIATE_TEST_SUITE_P(volclean, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(volclean, the_greatest_id_is_compared_over_32_bytes) {
  auto script = with_channels({channel(0, '9')});
  script.channels.front().channel.id[31] = '8';
  EXPECT_EQ(run(script, volclean(0)).output,
            "Recycle --ch01-- data ...\n" + stream_lines + closing);
}

TEST(volclean, a_span_that_ends_before_its_start_is_recycled_as_it_is) {
  auto const script =
      one_channel.with_spaces({space("A", 1, 1, 'a')}).with_periods({period(span_start - 5000)});
  auto const tier = [](int index, int type, int stream) {
    return recycling("CFSTier", index, space_a, channel_0, type, stream, span_start - 5001);
  };
  EXPECT_EQ(run(script, volclean(0)).calls, chain({both_lists, stream_walk(1, channel_0, tier)}));
}

TEST(volclean, results_are_not_looked_at) {
  expect_results_are_not_looked_at(
      one_channel, volclean(0),
      {"get_space_list", "get_channel_list", "get_time_period_list", "recycle_stream_data",
       "uninit", "create_channel_session", "destroy_channel_session"});
}

TEST(volclean, a_channel_that_cannot_be_asked_is_not_recycled_and_not_mentioned) {
  auto const result = run(one_channel.handing_out_null("create_channel_session", 2), volclean(0));
  std::string without_second = stream_lines;
  std::string const second = "\t[NR S01] Can not find time period.\n";
  without_second.erase(without_second.find(second), second.size());
  EXPECT_EQ(result.output, "Recycle --ch01-- data ...\n" + without_second + closing);
  EXPECT_EQ(lines_with(result.calls, "stream 1 type 4"), lines{});
  EXPECT_EQ(lines_with(result.calls, "recycle_stream_data").size(), 18U);
}

TEST(volclean, computes_the_span_s_start_once_and_its_end_at_each_lookup) {
  auto const script = one_channel.ticking().with_spaces({space("A", 1, 1, 'a')}).with_periods({});
  lines expected;
  // The clock is read for the start, and twice for each lookup.
  auto const tier = [&](int index, int type, int stream) {
    auto const calls = recycling("CFSTier", index, space_a, channel_0, type, stream,
                                 now_ms + std::int64_t{2000} * index);
    expected.push_back(calls[2]);
    return calls;
  };
  stream_walk(1, channel_0, tier);
  EXPECT_EQ(lines_with(run(script, volclean(0)).calls, "recycle_stream_data"), expected);
}

support::child_outcome at_clock(std::int64_t seconds) {
  auto script = one_channel.with_periods({});
  script.clock = [seconds] { return seconds; };
  return in_child(script, volclean(0));
}

TEST(volclean, times_beyond_32_bits_of_milliseconds_are_widened) {
  // 2037-07-01
  EXPECT_EQ(lines_with(at_clock(2130105600).calls, ", 2127513600000, 2130105600000, 0)").size(),
            20U);
}

TEST(volclean, beyond_time_t_recycles_nothing_and_fails) {
  support::child_outcome const late = at_clock(2177452800);  // 2039-01-01
  std::size_t const recycled = lines_with(late.calls, ", 2174860800000, 2177452800000, 0)").size();
  if (sizeof(std::time_t) > 4) {
    EXPECT_EQ(recycled, 20U);
    EXPECT_EQ(late.escaped, std::nullopt);
  } else {
    EXPECT_EQ(lines_with(late.calls, "recycle_stream_data"), lines());
    EXPECT_EQ(late.escaped, "the clock is beyond what time_t holds");
  }
}

TEST(volclean, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(one_channel, volclean(0)), 2 + 10 * (4 + 2 * 4));
}

}  // namespace
}  // namespace command_test
