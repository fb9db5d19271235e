#include <gtest/gtest.h>

#include <map>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::lines;

constexpr int all = -1;

std::string query(int volume_no) {
  std::string const zeros = support::filled(36, '0');
  return "plug_play_service.get_volume_channels(-1 0 " + std::to_string(volume_no) + " -1 -1, " +
         zeros + ", " + zeros + ")";
}

support::outcome voluse(scripted::script const& script, int channel_id) {
  auto result = support::in_child(script, [channel_id] {
    st::cmd_voluse(scripted::setting(), scripted::plug_play_service(), channel_id);
  });
  EXPECT_EQ(result.status, 0);
  return result;
}

scripted::script recorder(std::list<volume_info> const& volumes,
                          std::map<int, std::list<std::uint32_t>> const& channels) {
  scripted::script script;
  script.volumes = volumes;
  script.volume_channels = [channels](volume_share_info const& asked) {
    auto const found = channels.find(asked.volume_no);
    return found == channels.end() ? std::list<std::uint32_t>{} : found->second;
  };
  return script;
}

// The 32 lines with these names, by 0-based channel.
std::string table(std::map<int, std::string> const& names) {
  std::string text;
  for (int i = 0; i < 32; ++i) {
    auto const found = names.find(i);
    text += (i < 9 ? "ch0" : "ch") + std::to_string(i + 1) + " volume=[" +
            (found == names.end() ? "" : found->second) + "]\n";
  }
  return text;
}

scripted::script two_volumes() {
  return recorder({support::volume("/share/Vol1", 11), support::volume("/share/Vol2", 22)},
                  {{11, {31, 0}}, {22, {5}}});
}

TEST(voluse, minus_1_prints_all_32_channels) {
  auto const result = voluse(two_volumes(), all);
  EXPECT_EQ(result.output, table({{0, "Vol1"}, {5, "Vol2"}, {31, "Vol1"}}));
  EXPECT_EQ(result.calls, (lines{"setting.get_volume_list()", query(11), query(22)}));
}

TEST(voluse, one_channel_prints_its_line_only) {
  EXPECT_EQ(voluse(two_volumes(), 0).output, "ch01 volume=[Vol1]\n");
  EXPECT_EQ(voluse(two_volumes(), 31).output, "ch32 volume=[Vol1]\n");
  EXPECT_EQ(voluse(two_volumes(), 5).output, "ch06 volume=[Vol2]\n");
  EXPECT_EQ(voluse(two_volumes(), 6).output, "ch07 volume=[]\n");
}

TEST(voluse, a_channel_outside_the_table_prints_nothing_but_all_are_asked) {
  for (int const channel : {32, 33, 2147483647, -2, -2147483647 - 1}) {
    auto const result = voluse(two_volumes(), channel);
    EXPECT_EQ(result.output, "") << channel;
    EXPECT_EQ(result.calls.size(), 3U) << channel;
  }
}

TEST(voluse, no_volumes_leave_every_name_empty) {
  auto const result = voluse({}, all);
  EXPECT_EQ(result.output, table({}));
  EXPECT_EQ(result.calls, lines{"setting.get_volume_list()"});
  EXPECT_EQ(voluse({}, 3).output, "ch04 volume=[]\n");
}

TEST(voluse, volumes_without_channels_leave_every_name_empty) {
  EXPECT_EQ(voluse(recorder({support::volume("/share/Vol1", 11)}, {}), all).output, table({}));
}

TEST(voluse, a_refused_volume_list_is_an_empty_one) {
  auto script = two_volumes();
  script.faults = {{"get_volume_list", scripted::effect::refuse}};
  EXPECT_EQ(voluse(script, all).output, table({}));
}

TEST(voluse, results_are_not_looked_at) {
  auto script = two_volumes();
  script.faults = {{"get_volume_list", scripted::effect::complain},
                   {"get_volume_channels", scripted::effect::complain}};
  EXPECT_EQ(voluse(script, all).output, table({{0, "Vol1"}, {5, "Vol2"}, {31, "Vol1"}}));
}

TEST(voluse, a_path_without_share_goes_under_the_name_of_the_volume_before) {
  auto const script = recorder({support::volume("/mnt/first", 1), support::volume("/share/Vol2", 2),
                                support::volume("/mnt/third", 3)},
                               {{1, {0}}, {2, {1}}, {3, {2}}});
  EXPECT_EQ(voluse(script, all).output, table({{1, "Vol2"}, {2, "Vol2"}}));
}

TEST(voluse, the_later_of_two_volumes_wins) {
  auto const script =
      recorder({support::volume("/share/Vol1", 1), support::volume("/share/Vol2", 2)},
               {{1, {4, 5}}, {2, {4}}});
  EXPECT_EQ(voluse(script, all).output, table({{4, "Vol2"}, {5, "Vol1"}}));
}

TEST(voluse, the_answer_to_one_volume_is_not_taken_for_the_next) {
  auto const script =
      recorder({support::volume("/share/Vol1", 1), support::volume("/share/Vol2", 2)}, {{1, {4}}});
  EXPECT_EQ(voluse(script, all).output, table({{4, "Vol1"}}));
}

TEST(voluse, hands_every_question_the_list_as_the_one_before_left_it) {
  auto script = recorder({support::volume("/share/Vol1", 1), support::volume("/share/Vol2", 2),
                          support::volume("/share/Vol3", 3)},
                         {{1, {31, 0, 40}}, {2, {5}}});
  script.tells_lists = true;
  EXPECT_EQ(voluse(script, all).calls, (lines{"setting.get_volume_list()", "= held", query(1),
                                              "= held 31 0 40", query(2), "= held 5", query(3)}));
}

TEST(voluse, a_refused_question_puts_the_channels_of_the_volume_before_under_the_next) {
  auto script = two_volumes();
  script.faults = {{"get_volume_channels", scripted::effect::refuse, 2}};
  EXPECT_EQ(voluse(script, all).output, table({{0, "Vol2"}, {31, "Vol2"}}));
  script.faults = {{"get_volume_channels", scripted::effect::refuse}};
  auto const result = voluse(script, all);
  EXPECT_EQ(result.output, table({}));
  EXPECT_EQ(result.calls, (lines{"setting.get_volume_list()", query(11), query(22)}));
}

TEST(voluse, indexes_of_32_and_more_are_ignored) {
  auto const script =
      recorder({support::volume("/share/Vol1", 1)}, {{1, {32, 0xFFFFFFFF, 0x80000000, 100, 7}}});
  EXPECT_EQ(voluse(script, all).output, table({{7, "Vol1"}}));
}

TEST(voluse, a_long_share_name_is_cut_to_127_characters) {
  auto const script =
      recorder({support::volume("/share/" + support::filled(300, 'n'), 1)}, {{1, {0}}});
  EXPECT_EQ(voluse(script, 0).output, "ch01 volume=[" + support::filled(127, 'n') + "]\n");
}

TEST(voluse, a_short_name_leaves_nothing_of_a_long_one) {
  auto const script =
      recorder({support::volume("/share/LongerName", 1), support::volume("/share/V", 2)},
               {{1, {0}}, {2, {0}}});
  EXPECT_EQ(voluse(script, 0).output, "ch01 volume=[V]\n");
}

TEST(voluse, without_the_plug_and_play_service_nobody_is_asked) {
  auto const result =
      support::in_child(two_volumes(), [] { st::cmd_voluse(scripted::setting(), nullptr, -1); });
  EXPECT_EQ(result.output, table({}));
  EXPECT_EQ(result.calls, lines{"setting.get_volume_list()"});
  EXPECT_EQ(result.status, 0);
}

TEST(voluse, releases_when_any_call_throws) {
  EXPECT_EQ(support::expect_releases_when_any_call_throws(
                two_volumes(),
                [] { st::cmd_voluse(scripted::setting(), scripted::plug_play_service(), -1); }),
            3);
  EXPECT_EQ(support::expect_releases_when_any_call_throws(two_volumes(),
                                                          support::st_command({"voluse", "-1"})),
            9);
}

}  // namespace
