#include "command_test.h"
#include "commands/recycling.h"

namespace command_test {
namespace {

constexpr int all = -1;
lines const channel_list = {"setting.get_channel_list(1)"};
std::string const volume_id = "7:" + filled(32, 'v');
std::string const channel_c = channel_text(0, 'c');
std::string const channel_d = channel_text(1, 'd');
constexpr std::int64_t earliest = now_ms - 86400000;

std::function<void()> recycle(int filter = all) {
  return [filter] {
    volume_info const vol_7 = volume("/share/Vol7", 7);
    st::recycle_volume_units(scripted::setting(), &vol_7, filter);
  };
}

// Recordings on stream 0 of normal recording only.
answers const two_channels = answers()
                                 .at_now()
                                 .with_channels({channel(0, 'c'), channel(1, 'd')})
                                 .with_periods_on(4, 0, {period(earliest)});
answers const one_channel = two_channels.with_channels({channel(0, 'c')});

// The ten lookups of a channel, with the n-th unit after the first of them.
lines channel_calls(std::string const& channel, int n) {
  return stream_walk(n, channel, [&](int, int type, int stream) {
    bool const recorded = type == 4 && stream == 0;
    return recorded ? recycling("CFSUnit", n, volume_id, channel, type, stream, earliest - 1)
                    : lines{};
  });
}

// Those of a channel without recordings.
lines lookups_only(std::string const& channel, int n) {
  return stream_walk(n, channel, [](int, int, int) { return lines{}; });
}

std::vector<run_case> const cases = {
    {"takes_one_unit_for_each_stream_with_recordings_and_prints_nothing", two_channels, recycle(),
     "", chain({channel_list, channel_calls(channel_c, 1), channel_calls(channel_d, 2)})},
    {"takes_up_to_ten_units_a_channel_normal_before_alarm",
     one_channel.with_periods({period(earliest + 5), period(earliest)}), recycle(), "",
     chain({channel_list, stream_walk(1, channel_c,
                                      [](int index, int type, int stream) {
                                        return recycling("CFSUnit", index, volume_id, channel_c,
                                                         type, stream, earliest - 1);
                                      })})},
    {"streams_without_recordings_are_left_alone", two_channels.with_periods({}), recycle(), "",
     chain({channel_list, lookups_only(channel_c, 1), lookups_only(channel_d, 2)})},
    {"no_channels_print_a_message", two_channels.with_channels({}), recycle(),
     "No channel settings found.\n", channel_list},
    {"a_refused_channel_list_is_an_empty_one", two_channels.refusing("get_channel_list"), recycle(),
     "No channel settings found.\n", channel_list},
    {"the_channel_with_the_greatest_id_is_passed_over",
     two_channels.with_channels({channel(3, '9')}), recycle(), "", channel_list},
    {"a_filter_takes_channels_by_their_number", two_channels, recycle(0), "",
     chain({channel_list, channel_calls(channel_c, 1)})},
    {"a_filter_without_a_channel_takes_none", two_channels, recycle(5), "", channel_list},
};
INSTANTIATE_TEST_SUITE_P(recycle_volume_units, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(recycle_volume_units, a_span_that_ends_before_its_start_is_recycled_as_it_is) {
  auto const script = one_channel.with_periods_on(1, 4, {period(span_start - 5000)});
  EXPECT_EQ(lines_with(run(script, recycle()).calls, "CFSUnit"),
            recycling("CFSUnit", 1, volume_id, channel_c, 1, 4, span_start - 5001));
}

TEST(recycle_volume_units, a_channel_that_cannot_be_asked_is_left_alone) {
  auto const result = run(two_channels.handing_out_null("create_channel_session"), recycle());
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(lines_with(result.calls, "CFSUnit"), lines{});
  EXPECT_EQ(result.calls.size(), 1U + 2 * 10 * 4);
}

TEST(recycle_volume_units, a_unit_that_cannot_be_prepared_is_told_once_for_each_stream) {
  auto const script = two_channels
                          .with_periods_of([](channel_sid const& asked, int type, int stream) {
                            bool const recorded = asked.number == 0 && type == 1 && stream >= 3;
                            return std::list<time_period>(recorded ? 1 : 0, period(earliest));
                          })
                          .refusing("init");
  auto const result = run(script, recycle());
  EXPECT_EQ(result.output, "Initial Unit to process failure.\nInitial Unit to process failure.\n");
  EXPECT_EQ(lines_with(result.calls, "CFSUnit"),
            chain({failed_init("CFSUnit", 1, volume_id), failed_init("CFSUnit", 2, volume_id)}));
}

TEST(recycle_volume_units, results_are_not_looked_at) {
  expect_results_are_not_looked_at(
      two_channels, recycle(),
      {"get_channel_list", "get_time_period_list", "recycle_stream_data", "uninit",
       "create_channel_session", "destroy_channel_session"});
}

TEST(recycle_volume_units, reads_the_clock_for_the_span_s_start_once) {
  auto const calls = run(two_channels.ticking(), recycle()).calls;
  EXPECT_EQ(lines_with(lines_with(calls, "get_time_period_list"),
                       ", " + std::to_string(span_start) + ", ")
                .size(),
            20U);
}

TEST(recycle_volume_units, a_second_exception_on_the_way_out_leaves_the_first) {
  auto const result =
      in_child(two_channels.throwing("recycle_stream_data").throwing("uninit"), recycle());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, "recycle_stream_data");
  lines unit = recycling("CFSUnit", 1, volume_id, channel_c, 4, 0, earliest - 1);
  unit[2] += " throws";
  unit[3] += " throws";
  EXPECT_EQ(result.calls, chain({channel_list, span_lookup(1, channel_c, 4, 0), unit}));
}

TEST(recycle_volume_units, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(two_channels, recycle()), 1 + 2 * (10 * 4 + 4));
}

}  // namespace
}  // namespace command_test
