#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

std::string const sid = filled(36, 'a');
std::string const header = "Space: Storage1 uuid: [" + sid + "]\n\n";
std::string const line_c = "channel: " + filled(32, 'c') + "\n";
std::string const line_d = "channel: " + filled(32, 'd') + "\n";
std::string const text_c = channel_text(0, 'c');
std::string const text_d = channel_text(7, 'd');
lines const spaces_only = {"setting.get_space_list()"};
lines const opened = {"setting.get_space_list()", "setting.get_space_channel_list(" + sid + ")",
                      "CKivChannel#1()"};
lines const closed = {"~CKivChannel#1"};

std::function<void()> list_channels(std::string const& name = "Storage1") {
  return [name] { st::list_space_channels(scripted::setting(), name.c_str()); };
}

answers with_channels(std::list<channel_sid> const& channels) {
  auto script = answers()
                    .with_spaces({space("Storage1", 10, 5, 'a')})
                    .with_days({"2026-11-20", "2026-11-21"});
  script.space_channels = channels;
  return script;
}
answers const two_channels = with_channels({channel_id(0, 'c'), channel_id(7, 'd')});

channel_sid without_terminator() {
  channel_sid channel = channel_id(0, 'c');
  channel.terminator = 0x4141;
  return channel;
}

lines channel_calls(int n, std::string const& channel) {
  std::string const session = "session#" + std::to_string(n);
  return {"CKivChannel#1.create_channel_session(" + channel + ", null) = " + session,
          session + ".get_recording_days(4, 0, no days)",
          "CKivChannel#1.destroy_channel_session(" + session + ")"};
}

std::string const failure = "storage.cgi storage_channel.create_channel_session fail!!";

std::vector<run_case> const cases = {
    {"lists_each_channel_through_a_session_of_its_own", two_channels, list_channels(),
     header + line_c + line_d,
     chain({opened, channel_calls(1, text_c), channel_calls(2, text_d), closed})},
    {"an_id_fills_its_32_characters_and_no_more", with_channels({without_terminator()}),
     list_channels(), header + line_c, chain({opened, channel_calls(1, text_c), closed})},
    {"no_spaces", {}, list_channels(), "no space [Storage1] info\n", spaces_only},
    {"an_unknown_name_prints_an_empty_line_first", two_channels, list_channels("storage1"),
     "\nno space [storage1] info\n", spaces_only},
    {"a_space_without_channels_prints_the_header_only", with_channels({}), list_channels(), header,
     chain({opened, closed})},
    {"a_refused_channel_list_is_an_empty_one", two_channels.refusing("get_space_channel_list"),
     list_channels(), header, chain({opened, closed})},
    {"a_null_session_ends_the_walk_on_the_failure_s_line",
     two_channels.handing_out_null("create_channel_session", 1), list_channels(),
     header + line_c + failure,
     chain({opened, {"CKivChannel#1.create_channel_session(" + text_c + ", null)"}, closed})},
    {"a_refused_session_ends_the_walk_on_the_failure_s_line",
     two_channels.refusing("create_channel_session", 2), list_channels(),
     header + line_c + line_d + failure,
     chain({opened,
            channel_calls(1, text_c),
            {"CKivChannel#1.create_channel_session(" + text_d + ", null)"},
            closed})},
};
INSTANTIATE_TEST_SUITE_P(list_space_channels, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(list_space_channels, only_the_session_counts_not_the_results) {
  expect_results_are_not_looked_at(
      two_channels, list_channels(),
      {"get_space_list", "get_space_channel_list", "create_channel_session", "get_recording_days",
       "destroy_channel_session"});
}

TEST(list_space_channels, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(two_channels, list_channels()), 3 + 2 * 3);
}

}  // namespace
}  // namespace command_test
