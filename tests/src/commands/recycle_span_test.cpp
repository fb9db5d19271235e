#include <gtest/gtest.h>

#include "call_lines.h"
#include "child.h"
#include "commands/recycling.h"
#include "records.h"
#include "storage/ids.h"
#include "throw_loop.h"

namespace {

using support::lines;
using support::now;
using support::now_ms;
using support::span_start;

std::string const channel_c = support::channel_text(3, 'c');

// The clock says `now`, then a second more at each reading.
scripted::script ticking() {
  scripted::script script;
  script.clock = [second = now]() mutable { return second++; };
  return script;
}

// Prints "result end", the end set to 5 beforehand.
void look_up(int alarm, int stream_no) {
  stream_info stream;
  stream.channel = support::channel_id(3, 'c');
  stream.channel.filler_38[0] = 1;
  stream.stream = 77;  // not read, like the type
  stream.recording_type = 78;
  std::int64_t end = 5;
  std::int64_t const start = span_start;
  int const result = st::get_recycle_end_time(stream, alarm, stream_no, &start, &end);
  std::printf("%d %lld\n", result, static_cast<long long>(end));
}

support::outcome end_with(std::list<time_period> const& periods, int alarm = 0, int stream_no = 0) {
  auto script = ticking();
  script.periods = [periods](channel_sid const&, int, int) { return periods; };
  auto result = support::in_child(script, [alarm, stream_no] { look_up(alarm, stream_no); });
  EXPECT_EQ(result.status, 0);
  return result;
}

TEST(recycle_span, ends_just_before_the_earliest_period_in_any_order) {
  auto const later = support::period(1700000000000);
  auto const earlier = support::period(1690000000000);
  EXPECT_EQ(end_with({later, earlier}).output, "0 1689999999999\n");
  EXPECT_EQ(end_with({earlier, later}).output, "0 1689999999999\n");
  EXPECT_EQ(end_with({later, earlier, later}).output, "0 1689999999999\n");
}

TEST(recycle_span, ends_just_before_a_single_period) {
  EXPECT_EQ(end_with({support::period(1700000000000)}).output, "0 1699999999999\n");
}

TEST(recycle_span, without_a_period_ends_at_the_second_reading_of_the_clock) {
  EXPECT_EQ(end_with({}).output, "1 " + std::to_string(now_ms + 1000) + "\n");
}

TEST(recycle_span, asks_through_a_session_of_its_own) {
  EXPECT_EQ(end_with({}, 0, 2).calls, support::span_lookup(1, channel_c, 4, 2, span_start, now_ms));
  EXPECT_EQ(end_with({support::period(9)}, 1, 4).calls,
            support::span_lookup(1, channel_c, 1, 4, span_start, now_ms));
  EXPECT_EQ(end_with({support::period(9)}, -7, 4).calls,
            support::span_lookup(1, channel_c, 1, 4, span_start, now_ms));
}

TEST(recycle_span, reads_the_clock_behind_the_opened_and_again_behind_the_closed_session) {
  scripted::script script;
  script.clock = [second = now]() mutable {
    scripted::recorder::instance().note("= clock");
    return second++;
  };
  lines expected = support::span_lookup(1, channel_c, 4, 0, span_start, now_ms);
  expected.insert(expected.begin() + 2, "= clock");
  script.periods = [](channel_sid const&, int, int) {
    return std::list<time_period>{support::period(1000)};
  };
  EXPECT_EQ(support::in_child(script, [] { look_up(0, 0); }).calls, expected);
  expected.insert(expected.begin() + 5, "= clock");
  script.periods = nullptr;
  EXPECT_EQ(support::in_child(script, [] { look_up(0, 0); }).calls, expected);
}

TEST(recycle_span, a_request_that_failed_is_taken_as_it_answered) {
  auto script = ticking();
  script.periods = [](channel_sid const&, int, int) {
    return std::list<time_period>{support::period(1000)};
  };
  script.faults = {{"get_time_period_list", scripted::effect::complain}};
  EXPECT_EQ(support::in_child(script, [] { look_up(0, 0); }).output, "0 999\n");
  script.faults = {{"get_time_period_list", scripted::effect::refuse}};
  EXPECT_EQ(support::in_child(script, [] { look_up(0, 0); }).output,
            "1 " + std::to_string(now_ms + 1000) + "\n");
}

TEST(recycle_span, the_session_counts_not_the_result_of_creating_it) {
  auto script = ticking();
  script.faults = {{"create_channel_session", scripted::effect::complain}};
  auto const result = support::in_child(script, [] { look_up(0, 0); });
  EXPECT_EQ(result.output, "1 " + std::to_string(now_ms + 1000) + "\n");
  EXPECT_EQ(result.calls, support::span_lookup(1, channel_c, 4, 0, span_start, now_ms));
}

TEST(recycle_span, a_channel_that_cannot_be_asked_gives_minus_1_and_leaves_the_end) {
  auto script = ticking();
  script.faults = {{"create_channel_session", scripted::effect::null}};
  auto const result = support::in_child(script, [] { look_up(0, 0); });
  EXPECT_EQ(result.output, "-1 5\n");
  EXPECT_EQ(result.calls, (lines{"CKivChannel#1()",
                                 "CKivChannel#1.create_channel_session(" + channel_c + ", null)",
                                 "CKivChannel#1.destroy_channel_session(null)", "~CKivChannel#1"}));
}

TEST(recycle_span, a_second_exception_on_the_way_out_leaves_the_first) {
  auto script = ticking();
  script.faults = {{"get_time_period_list", scripted::effect::raise},
                   {"destroy_channel_session", scripted::effect::raise}};
  auto const result = support::in_child(script, [] { look_up(0, 0); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, "get_time_period_list");
  lines expected = support::span_lookup(1, channel_c, 4, 0, span_start, now_ms);
  expected[2] += " throws";
  expected[3] += " throws";
  EXPECT_EQ(result.calls, expected);
}

TEST(recycle_stream, hands_on_a_span_that_ends_before_or_at_its_start) {
  stream_info stream;
  stream.channel = st::identity_of(support::channel_id(3, 'c'));
  stream.recording_type = 4;
  for (std::int64_t const end : {std::int64_t{-9}, std::int64_t{4}, std::int64_t{5}}) {
    auto const tier = support::in_child({}, [stream, end] {
      st::recycle_stream<CFSTier>(support::id_of('a'), stream, 5, end, "no tier\n");
    });
    EXPECT_EQ(tier.calls,
              support::recycling("CFSTier", 1, support::filled(36, 'a'), channel_c, 4, 0, 5, end));
    auto const unit = support::in_child({}, [stream, end] {
      st::recycle_stream<CFSUnit>(support::id_of('a'), stream, 5, end, "no unit\n");
    });
    EXPECT_EQ(unit.calls,
              support::recycling("CFSUnit", 1, support::filled(36, 'a'), channel_c, 4, 0, 5, end));
  }
}

TEST(recycle_span, releases_when_any_call_throws) {
  auto script = ticking();
  script.periods = [](channel_sid const&, int, int) {
    return std::list<time_period>{support::period(1000)};
  };
  EXPECT_EQ(support::expect_releases_when_any_call_throws(script, [] { look_up(0, 0); }), 4);
}

}  // namespace
