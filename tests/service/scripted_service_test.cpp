// The double itself: that it notes, fails, hands out nothing and throws when told.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "records.h"
#include "runs.h"
#include "throw_loop.h"

namespace {

using support::answers;
using support::lines;

void ask_for_spaces() {
  std::list<space_info> spaces;
  int const result = scripted::setting()->get_space_list(spaces);
  std::printf("%d %zu\n", result, spaces.size());
}

answers const one_space = answers().with_spaces({support::space("Storage1", 10, 5)});

void ask_twice() {
  ask_for_spaces();
  ask_for_spaces();
}

// What the loop over all calls says of a body that is wrong.
int complaints_about(std::function<void()> const& careless) {
  testing::TestPartResultArray failures;
  testing::ScopedFakeTestPartResultReporter const reporter(
      testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
  support::expect_releases_when_any_call_throws(one_space, careless);
  return failures.size();
}

TEST(scripted_service, answers_and_notes) {
  support::expect_run(one_space, ask_for_spaces, "0 1\n", {"setting.get_space_list()"});
}

TEST(scripted_service, appends_and_tells_a_filled_list_from_a_fresh_one) {
  auto const result = support::in_child(one_space, [] {
    std::list<space_info> spaces(2);
    scripted::setting()->get_space_list(spaces);
    std::printf("%zu\n", spaces.size());
  });
  EXPECT_EQ(result.output, "3\n");
  EXPECT_EQ(result.calls, lines{"setting.get_space_list( already filled)"});
}

TEST(scripted_service, tells_what_a_list_held_when_asked_to) {
  auto const script = answers().with_volume_channels({7, 1});
  auto const ask_for_channels = [] {
    std::list<std::uint32_t> channels;
    volume_share_info const query;
    scripted::plug_play_service()->get_volume_channels(query, "a", "b", channels);
    scripted::plug_play_service()->get_volume_channels(query, "a", "b", channels);
  };
  std::string const call = "plug_play_service.get_volume_channels(-1 -1 -1 -1 -1, a, b)";
  support::expect_run(script, ask_for_channels, "", {call, call});
  support::expect_run(script.telling_lists(), ask_for_channels, "",
                      {"= held", call, "= held 7 1", call});
}

TEST(scripted_service, refuses_the_told_occurrence_only) {
  auto const script = one_space.refusing("get_space_list", 2, 7);
  EXPECT_EQ(support::run(script,
                         [] {
                           ask_twice();
                           ask_for_spaces();
                         })
                .output,
            "0 1\n7 0\n0 1\n");
}

TEST(scripted_service, complains_but_answers) {
  EXPECT_EQ(support::run(one_space.complaining("get_space_list", 0, 7), ask_for_spaces).output,
            "7 1\n");
}

TEST(scripted_service, hands_out_null) {
  auto const ask_for_session = [] {
    CKivChannel channels;
    IFrameChannelSession* session = nullptr;
    int const status = channels.create_channel_session(support::channel_id(3, 'c'), &session);
    std::printf("%d %d\n", status, session == nullptr);
  };
  std::string const channel = support::channel_text(3, 'c') + " with filler";
  support::expect_run(
      one_space.handing_out_null("create_channel_session"), ask_for_session, "0 1\n",
      {"CKivChannel#1()", "CKivChannel#1.create_channel_session(" + channel + ", null)",
       "~CKivChannel#1"});
}

TEST(scripted_service, throws_at_the_told_operation_and_call) {
  auto const by_name = support::in_child(one_space.throwing("get_space_list", 2), ask_twice);
  EXPECT_EQ(by_name.escaped, "get_space_list");
  EXPECT_EQ(by_name.calls, (lines{"setting.get_space_list()", "setting.get_space_list() throws"}));

  auto script = one_space;
  script.throw_at = 1;
  auto const by_count = support::in_child(script, ask_for_spaces);
  EXPECT_EQ(by_count.calls, lines{"setting.get_space_list() throws"});
  EXPECT_EQ(by_count.output, "");
}

TEST(in_child, keeps_the_log_and_tells_the_signal_of_a_crash) {
  auto const result = support::in_child(one_space, [] {
    ask_for_spaces();
    std::abort();
  });
  EXPECT_EQ(result.status, 128 + SIGABRT);
  EXPECT_EQ(result.calls, lines{"setting.get_space_list()"});
}

TEST(in_child, tells_calls_and_prints_in_their_order) {
  auto const result = support::in_child(one_space, [] {
    std::list<space_info> spaces;
    std::printf("one\n\ntwo");
    scripted::setting()->get_space_list(spaces);
    scripted::setting()->get_space_list(spaces);
    std::printf(" more\nthree");
  });
  EXPECT_EQ(support::story(result),
            (lines{"one\n", "\n", "two", "setting.get_space_list()",
                   "setting.get_space_list( already filled)", " more\n", "three"}));
}

TEST(in_child, follows_the_scripted_clock_and_the_scrubbed_environment) {
  setenv("BLOCK_SIZE", "1", 1);
  scripted::script script;
  script.clock = [second = std::int64_t{100}]() mutable { return second++; };
  auto const result = support::in_child(script, [] {
    long long const first = time(nullptr);
    std::printf("%lld %lld %d %s\n", first, static_cast<long long>(time(nullptr)),
                std::getenv("BLOCK_SIZE") == nullptr, std::getenv("TZ"));
  });
  unsetenv("BLOCK_SIZE");
  EXPECT_EQ(result.output, "100 101 1 UTC\n");
}

#if defined(__SANITIZE_ADDRESS__)
TEST(in_child, a_leak_shows_in_the_status) {
  auto const result = support::in_child(one_space, [] {
    CKivChannel channels;
    IFrameChannelSession* session = nullptr;
    channels.create_channel_session(support::channel_id(3, 'c'), &session);
    session = nullptr;
  });
  EXPECT_NE(result.status, 0);
  EXPECT_LT(result.status, 128) << "it crashed";
}
#endif

// What the loop over all calls expects, against bodies that are right and wrong.
void careful() {
  CKivChannel channels;
  std::list<channel_setting> list;
  scripted::setting()->get_channel_list(list, 1);
}

TEST(throw_loop, counts_the_calls_of_a_careful_body) {
  EXPECT_EQ(support::expect_releases_when_any_call_throws({}, careful), 2);
}

TEST(throw_loop, tells_a_body_that_calls_twice) {
  auto const careless = [] {
    try {
      ask_for_spaces();
    } catch (scripted::thrown const&) {
      ask_for_spaces();
      throw;
    }
  };
  EXPECT_GT(complaints_about(careless), 0);
}

TEST(throw_loop, tells_a_body_that_does_not_release) {
  auto const careless = [] {
    CKivChannel channels;
    IFrameChannelSession* session = nullptr;
    channels.create_channel_session(support::channel_id(3, 'c'), &session);
    static IFrameChannelSession* kept = nullptr;
    kept = session;
    ask_for_spaces();
    channels.destroy_channel_session(&kept);
  };
  EXPECT_GT(complaints_about(careless), 0);
}

}  // namespace
