#include "command_test.h"
#include "commands/recycling.h"
#include "storage/ids.h"

namespace command_test {
namespace {

std::string const channel_c = channel_text(3, 'c');

// Prints "result end", the end set to 5 beforehand.
std::function<void()> look_up(int alarm = 0, int stream_no = 0) {
  return [alarm, stream_no] {
    stream_info stream;
    stream.channel = channel_id(3, 'c');
    stream.channel.filler_38[0] = 1;
    stream.stream = 77;  // not read, like the type
    stream.recording_type = 78;
    std::int64_t end = 5;
    std::int64_t const start = span_start;
    int const result = st::get_recycle_end_time(stream, alarm, stream_no, &start, &end);
    std::printf("%d %lld\n", result, static_cast<long long>(end));
  };
}

answers answering(std::list<time_period> const& periods) {
  return answers().ticking().with_periods(periods);
}

std::string const second_reading = "1 " + std::to_string(now_ms + 1000) + "\n";
auto const earlier = period(1690000000000);
auto const later = period(1700000000000);

std::vector<run_case> const cases = {
    {"ends_just_before_the_earliest_period_at_the_end", answering({later, earlier}), look_up(),
     "0 1689999999999\n", span_lookup(1, channel_c, 4, 0)},
    {"ends_just_before_the_earliest_period_at_the_head", answering({earlier, later}), look_up(),
     "0 1689999999999\n", span_lookup(1, channel_c, 4, 0)},
    {"ends_just_before_the_earliest_period_in_between", answering({later, earlier, later}),
     look_up(), "0 1689999999999\n", span_lookup(1, channel_c, 4, 0)},
    {"ends_just_before_a_single_period", answering({later}), look_up(), "0 1699999999999\n",
     span_lookup(1, channel_c, 4, 0)},
    {"without_a_period_ends_at_the_second_reading_of_the_clock", answering({}), look_up(0, 2),
     second_reading, span_lookup(1, channel_c, 4, 2)},
    {"asks_for_alarm_recordings", answering({period(9)}), look_up(1, 4), "0 8\n",
     span_lookup(1, channel_c, 1, 4)},
    {"takes_every_type_but_0_for_alarm", answering({period(9)}), look_up(-7, 4), "0 8\n",
     span_lookup(1, channel_c, 1, 4)},
    {"a_failed_request_is_taken_as_it_answered",
     answering({period(1000)}).complaining("get_time_period_list"), look_up(), "0 999\n",
     span_lookup(1, channel_c, 4, 0)},
    {"a_refused_request_knows_no_period",
     answering({period(1000)}).refusing("get_time_period_list"), look_up(), second_reading,
     span_lookup(1, channel_c, 4, 0)},
    {"the_session_counts_not_the_result_of_creating_it",
     answering({}).complaining("create_channel_session"), look_up(), second_reading,
     span_lookup(1, channel_c, 4, 0)},
    {"a_channel_that_cannot_be_asked_gives_minus_1_and_leaves_the_end",
     answering({}).handing_out_null("create_channel_session"),
     look_up(),
     "-1 5\n",
     {"CKivChannel#1()", "CKivChannel#1.create_channel_session(" + channel_c + ", null)",
      "CKivChannel#1.destroy_channel_session(null)", "~CKivChannel#1"}},
};
INSTANTIATE_TEST_SUITE_P(recycle_span, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(recycle_span, reads_the_clock_behind_the_opened_and_again_behind_the_closed_session) {
  auto script = answering({period(1000)});
  script.clock = [second = now]() mutable {
    scripted::call_log::instance().note("= clock");
    return second++;
  };
  lines expected = span_lookup(1, channel_c, 4, 0);
  expected.insert(expected.begin() + 2, "= clock");
  expect_run(script, look_up(), "0 999\n", expected);
  expected.insert(expected.begin() + 5, "= clock");
  expect_run(script.with_periods({}), look_up(), second_reading, expected);
}

TEST(recycle_span, a_second_exception_on_the_way_out_leaves_the_first) {
  auto const script =
      answering({}).throwing("get_time_period_list").throwing("destroy_channel_session");
  auto const result = in_child(script, look_up());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, "get_time_period_list");
  lines expected = span_lookup(1, channel_c, 4, 0);
  expected[2] += " throws";
  expected[3] += " throws";
  EXPECT_EQ(result.calls, expected);
}

TEST(recycle_stream, hands_on_a_span_that_ends_before_or_at_its_start) {
  stream_info stream;
  stream.channel = st::identity_of(channel_id(3, 'c'));
  stream.recording_type = 4;
  for (std::int64_t const end : {std::int64_t{-9}, span_start - 1, span_start}) {
    auto const recycling_on = [&](std::string const& kind) {
      return recycling(kind, 1, filled(36, 'a'), channel_c, 4, 0, end);
    };
    auto const tier = [stream, end] {
      st::recycle_stream<CFSTier>(id_of('a'), stream, span_start, end, "no tier\n");
    };
    auto const unit = [stream, end] {
      st::recycle_stream<CFSUnit>(id_of('a'), stream, span_start, end, "no unit\n");
    };
    expect_run({}, tier, "", recycling_on("CFSTier"));
    expect_run({}, unit, "", recycling_on("CFSUnit"));
  }
}

TEST(recycle_span, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(answering({period(1000)}), look_up()), 4);
}

}  // namespace
}  // namespace command_test
