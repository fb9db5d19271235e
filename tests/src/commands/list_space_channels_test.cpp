#include <gtest/gtest.h>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::chain;
using support::lines;

std::string const sid = support::filled(36, 'a');
std::string const header = "Space: Storage1 uuid: [" + sid + "]\n\n";
lines const spaces_only = {"setting.get_space_list()"};
lines const opened = {"setting.get_space_list()", "setting.get_space_channel_list(" + sid + ")",
                      "CKivChannel#1()"};
lines const closed = {"~CKivChannel#1"};

support::outcome list_channels(scripted::script const& script,
                               std::string const& name = "Storage1") {
  auto result = support::in_child(
      script, [name] { st::list_space_channels(scripted::setting(), name.c_str()); });
  EXPECT_EQ(result.status, 0);
  return result;
}

scripted::script recorder() {
  scripted::script script;
  script.spaces = {support::space("Storage1", 10, 5, 'a')};
  script.space_channels = {support::channel_id(0, 'c'), support::channel_id(7, 'd')};
  script.days = [](channel_sid const&, int, day_list* days) {
    scripted::fill_days(days, {"2026-11-20", "2026-11-21"});
  };
  return script;
}

lines channel_calls(int n, std::string const& channel) {
  std::string const session = "session#" + std::to_string(n);
  return {"CKivChannel#1.create_channel_session(" + channel + ", null) = " + session,
          session + ".get_recording_days(4, 0, no days)",
          "CKivChannel#1.destroy_channel_session(" + session + ")"};
}

TEST(list_space_channels, lists_each_channel_through_a_session_of_its_own) {
  auto const result = list_channels(recorder());
  EXPECT_EQ(result.output, header + "channel: " + support::filled(32, 'c') +
                               "\nchannel: " + support::filled(32, 'd') + "\n");
  EXPECT_EQ(result.calls, chain({opened, channel_calls(1, support::channel_text(0, 'c')),
                                 channel_calls(2, support::channel_text(7, 'd')), closed}));
}

TEST(list_space_channels, an_id_fills_its_32_characters_and_no_more) {
  auto script = recorder();
  script.space_channels.pop_back();
  script.space_channels.front().terminator = 0x4141;
  EXPECT_EQ(list_channels(script).output, header + "channel: " + support::filled(32, 'c') + "\n");
}

TEST(list_space_channels, no_spaces) {
  auto const result = list_channels({});
  EXPECT_EQ(result.output, "no space [Storage1] info\n");
  EXPECT_EQ(result.calls, spaces_only);
}

TEST(list_space_channels, an_unknown_name_prints_an_empty_line_first) {
  auto const result = list_channels(recorder(), "storage1");
  EXPECT_EQ(result.output, "\nno space [storage1] info\n");
  EXPECT_EQ(result.calls, spaces_only);
}

TEST(list_space_channels, a_space_without_channels_prints_the_header_only) {
  auto script = recorder();
  script.space_channels.clear();
  auto const result = list_channels(script);
  EXPECT_EQ(result.output, header);
  EXPECT_EQ(result.calls, chain({opened, closed}));
  script = recorder();
  script.faults = {{"get_space_channel_list", scripted::effect::refuse}};
  EXPECT_EQ(list_channels(script).output, header);
}

TEST(list_space_channels, a_null_session_ends_the_walk_on_the_failure_s_line) {
  auto script = recorder();
  script.faults = {{"create_channel_session", scripted::effect::null, 1}};
  auto const first = list_channels(script);
  EXPECT_EQ(first.output, header + "channel: " + support::filled(32, 'c') +
                              "\nstorage.cgi storage_channel.create_channel_session fail!!");
  EXPECT_EQ(
      first.calls,
      chain({opened,
             {"CKivChannel#1.create_channel_session(" + support::channel_text(0, 'c') + ", null)"},
             closed}));
  script.faults = {{"create_channel_session", scripted::effect::refuse, 2}};
  auto const second = list_channels(script);
  EXPECT_EQ(second.output, header + "channel: " + support::filled(32, 'c') +
                               "\nchannel: " + support::filled(32, 'd') +
                               "\nstorage.cgi storage_channel.create_channel_session fail!!");
  EXPECT_EQ(
      second.calls,
      chain({opened,
             channel_calls(1, support::channel_text(0, 'c')),
             {"CKivChannel#1.create_channel_session(" + support::channel_text(7, 'd') + ", null)"},
             closed}));
}

TEST(list_space_channels, only_the_session_counts_not_the_results) {
  auto const quiet = list_channels(recorder());
  for (std::string const operation :
       {"get_space_list", "get_space_channel_list", "create_channel_session", "get_recording_days",
        "destroy_channel_session"}) {
    auto script = recorder();
    script.faults = {{operation, scripted::effect::complain}};
    auto const result = list_channels(script);
    EXPECT_EQ(result.output, quiet.output) << operation;
    EXPECT_EQ(result.calls, quiet.calls) << operation;
  }
}

TEST(list_space_channels, releases_when_any_call_throws) {
  int const calls = support::expect_releases_when_any_call_throws(
      recorder(), [] { st::list_space_channels(scripted::setting(), "Storage1"); });
  EXPECT_EQ(calls, 3 + 2 * 3);
}

}  // namespace
