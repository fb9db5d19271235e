#include <gtest/gtest.h>

#include "call_lines.h"
#include "child.h"
#include "commands/recycling.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::chain;
using support::lines;
using support::now;
using support::now_ms;
using support::span_start;

constexpr int all = -1;
lines const channel_list = {"setting.get_channel_list(1)"};
std::string const volume_id = "7:" + support::filled(32, 'v');
std::string const channel_c = support::channel_text(0, 'c');
std::string const channel_d = support::channel_text(1, 'd');
std::int64_t const earliest = now_ms - 86400000;

support::outcome recycle(scripted::script const& script, int filter = all) {
  auto result = support::in_child(script, [filter] {
    volume_info const volume = support::volume("/share/Vol7", 7);
    st::recycle_volume_units(scripted::setting(), &volume, filter);
  });
  EXPECT_EQ(result.status, 0);
  return result;
}

// Channels 0 and 1 with recordings on stream 0 of normal recording only.
scripted::script recorder() {
  scripted::script script;
  script.clock = [] { return now; };
  script.channels = {support::channel(0, 'c'), support::channel(1, 'd')};
  script.periods = [](channel_sid const&, int type, int stream) {
    return type == 4 && stream == 0 ? std::list<time_period>{support::period(earliest)}
                                    : std::list<time_period>{};
  };
  return script;
}

// The ten lookups of a channel, with the n-th unit after the first of them.
lines channel_calls(std::string const& channel, int n) {
  lines calls;
  int lookup = (n - 1) * 10;
  for (int const type : {4, 1}) {
    for (int stream = 0; stream < 5; ++stream) {
      calls =
          chain({calls, support::span_lookup(++lookup, channel, type, stream, span_start, now_ms)});
      if (type == 4 && stream == 0) {
        calls = chain({calls, support::recycling("CFSUnit", n, volume_id, channel, type, stream,
                                                 span_start, earliest - 1)});
      }
    }
  }
  return calls;
}

TEST(recycle_volume_units, takes_one_unit_for_each_stream_with_recordings_and_prints_nothing) {
  auto const result = recycle(recorder());
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.calls,
            chain({channel_list, channel_calls(channel_c, 1), channel_calls(channel_d, 2)}));
}

TEST(recycle_volume_units, takes_up_to_ten_units_a_channel_normal_before_alarm) {
  auto script = recorder();
  script.channels.pop_back();
  script.periods = [](channel_sid const&, int, int) {
    return std::list<time_period>{support::period(earliest + 5), support::period(earliest)};
  };
  lines expected = channel_list;
  int n = 0;
  for (int const type : {4, 1}) {
    for (int stream = 0; stream < 5; ++stream) {
      ++n;
      expected =
          chain({expected, support::span_lookup(n, channel_c, type, stream, span_start, now_ms),
                 support::recycling("CFSUnit", n, volume_id, channel_c, type, stream, span_start,
                                    earliest - 1)});
    }
  }
  EXPECT_EQ(recycle(script).calls, expected);
}

TEST(recycle_volume_units, a_span_that_ends_before_its_start_is_recycled_as_it_is) {
  auto script = recorder();
  script.channels.pop_back();
  script.periods = [](channel_sid const&, int type, int stream) {
    return type == 1 && stream == 4 ? std::list<time_period>{support::period(span_start - 5000)}
                                    : std::list<time_period>{};
  };
  lines units;
  for (std::string const& line : recycle(script).calls) {
    if (line.find("CFSUnit") != std::string::npos) units.push_back(line);
  }
  EXPECT_EQ(units, support::recycling("CFSUnit", 1, volume_id, channel_c, 1, 4, span_start,
                                      span_start - 5001));
}

TEST(recycle_volume_units, streams_without_recordings_are_left_alone) {
  auto script = recorder();
  script.periods = nullptr;
  auto const result = recycle(script);
  EXPECT_EQ(result.output, "");
  for (std::string const& line : result.calls) {
    EXPECT_EQ(line.find("CFSUnit"), std::string::npos) << line;
  }
  EXPECT_EQ(result.calls.size(), 1U + 2 * 10 * 5);
}

TEST(recycle_volume_units, a_channel_that_cannot_be_asked_is_left_alone) {
  auto script = recorder();
  script.faults = {{"create_channel_session", scripted::effect::null}};
  auto const result = recycle(script);
  EXPECT_EQ(result.output, "");
  for (std::string const& line : result.calls) {
    EXPECT_EQ(line.find("CFSUnit"), std::string::npos) << line;
  }
  EXPECT_EQ(result.calls.size(), 1U + 2 * 10 * 4);
}

TEST(recycle_volume_units, no_channels_print_a_message) {
  auto script = recorder();
  script.channels.clear();
  auto const result = recycle(script);
  EXPECT_EQ(result.output, "No channel settings found.\n");
  EXPECT_EQ(result.calls, channel_list);
}

TEST(recycle_volume_units, a_refused_channel_list_is_an_empty_one) {
  auto script = recorder();
  script.faults = {{"get_channel_list", scripted::effect::refuse}};
  EXPECT_EQ(recycle(script).output, "No channel settings found.\n");
}

TEST(recycle_volume_units, the_channel_with_the_greatest_id_is_passed_over) {
  auto script = recorder();
  script.channels = {support::channel(3, '9')};
  auto const result = recycle(script);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.calls, channel_list);
}

TEST(recycle_volume_units, a_filter_takes_channels_by_their_number) {
  auto const result = recycle(recorder(), 0);
  EXPECT_EQ(result.calls, chain({channel_list, channel_calls(channel_c, 1)}));
  EXPECT_EQ(recycle(recorder(), 5).calls, channel_list);
}

TEST(recycle_volume_units, a_unit_that_cannot_be_prepared_is_told_once_for_each_stream) {
  auto script = recorder();
  script.periods = [](channel_sid const& channel, int type, int stream) {
    bool const recorded = channel.number == 0 && type == 1 && stream >= 3;
    return recorded ? std::list<time_period>{support::period(earliest)} : std::list<time_period>{};
  };
  script.faults = {{"init", scripted::effect::refuse}};
  auto const result = recycle(script);
  EXPECT_EQ(result.output, "Initial Unit to process failure.\nInitial Unit to process failure.\n");
  lines units;
  for (std::string const& line : result.calls) {
    if (line.find("CFSUnit") != std::string::npos) units.push_back(line);
  }
  EXPECT_EQ(units, chain({support::failed_init("CFSUnit", 1, volume_id),
                          support::failed_init("CFSUnit", 2, volume_id)}));
}

TEST(recycle_volume_units, results_are_not_looked_at) {
  auto const quiet = recycle(recorder());
  for (std::string const operation :
       {"get_channel_list", "get_time_period_list", "recycle_stream_data", "uninit",
        "create_channel_session", "destroy_channel_session"}) {
    auto script = recorder();
    script.faults = {{operation, scripted::effect::complain}};
    auto const result = recycle(script);
    EXPECT_EQ(result.output, quiet.output) << operation;
    EXPECT_EQ(result.calls, quiet.calls) << operation;
  }
}

TEST(recycle_volume_units, reads_the_clock_for_the_span_s_start_once) {
  auto script = recorder();
  script.clock = [second = now]() mutable { return second++; };
  int asked = 0;
  for (std::string const& line : recycle(script).calls) {
    if (line.find("get_time_period_list") == std::string::npos) continue;
    EXPECT_NE(line.find(", " + std::to_string(span_start) + ", "), std::string::npos) << line;
    ++asked;
  }
  EXPECT_EQ(asked, 20);
}

TEST(recycle_volume_units, a_second_exception_on_the_way_out_leaves_the_first) {
  auto script = recorder();
  script.faults = {{"recycle_stream_data", scripted::effect::raise},
                   {"uninit", scripted::effect::raise}};
  auto const result = recycle(script);
  EXPECT_EQ(result.escaped, "recycle_stream_data");
  lines unit =
      support::recycling("CFSUnit", 1, volume_id, channel_c, 4, 0, span_start, earliest - 1);
  unit[2] += " throws";
  unit[3] += " throws";
  EXPECT_EQ(
      result.calls,
      chain({channel_list, support::span_lookup(1, channel_c, 4, 0, span_start, now_ms), unit}));
}

TEST(recycle_volume_units, releases_when_any_call_throws) {
  int const calls = support::expect_releases_when_any_call_throws(recorder(), [] {
    volume_info const volume = support::volume("/share/Vol7", 7);
    st::recycle_volume_units(scripted::setting(), &volume, all);
  });
  EXPECT_EQ(calls, 1 + 2 * (10 * 4 + 4));
}

}  // namespace
