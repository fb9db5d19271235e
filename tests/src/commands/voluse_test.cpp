#include <map>

#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

using channel_map = std::map<int, std::list<std::uint32_t>>;

constexpr int all = -1;

std::function<void()> voluse(int channel_id) {
  return [channel_id] {
    st::cmd_voluse(scripted::setting(), scripted::plug_play_service(), channel_id);
  };
}

// Volumes 11, 22 … of these paths, and the channels that use them.
answers volumes(std::vector<std::string> const& paths, channel_map const& channels) {
  auto script = answers().with_channels_of_volumes(channels);
  for (std::string const& path : paths) {
    script.volumes.push_back(
        volume(path, 11 * (static_cast<std::int32_t>(script.volumes.size()) + 1)));
  }
  return script;
}

answers two_volumes(channel_map const& channels = {{11, {31, 0}}, {22, {5}}}) {
  return volumes({"/share/Vol1", "/share/Vol2"}, channels);
}

// The calls that ask about so many volumes.
lines asked(int count) {
  lines calls = {"setting.get_volume_list()"};
  for (int i = 1; i <= count; ++i) calls.push_back(volume_channels_question(11 * i));
  return calls;
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

std::vector<run_case> const cases = {
    {"minus_1_prints_all_32_channels", two_volumes(), voluse(all),
     table({{0, "Vol1"}, {5, "Vol2"}, {31, "Vol1"}}), asked(2)},
    {"the_first_channel_prints_its_line_only", two_volumes(), voluse(0), "ch01 volume=[Vol1]\n",
     asked(2)},
    {"the_last_channel_prints_its_line_only", two_volumes(), voluse(31), "ch32 volume=[Vol1]\n",
     asked(2)},
    {"one_channel_prints_its_line_only", two_volumes(), voluse(5), "ch06 volume=[Vol2]\n",
     asked(2)},
    {"a_channel_without_a_volume_has_an_empty_name", two_volumes(), voluse(6), "ch07 volume=[]\n",
     asked(2)},
    // Outside the table nothing is printed, but all volumes are asked about.
    {"channel_32_prints_nothing", two_volumes(), voluse(32), "", asked(2)},
    {"channel_33_prints_nothing", two_volumes(), voluse(33), "", asked(2)},
    {"the_greatest_channel_prints_nothing", two_volumes(), voluse(2147483647), "", asked(2)},
    {"channel_minus_2_prints_nothing", two_volumes(), voluse(-2), "", asked(2)},
    {"the_least_channel_prints_nothing", two_volumes(), voluse(-2147483647 - 1), "", asked(2)},
    {"no_volumes_leave_every_name_empty", {}, voluse(all), table({}), asked(0)},
    {"no_volumes_leave_one_channel_s_name_empty", {}, voluse(3), "ch04 volume=[]\n", asked(0)},
    {"volumes_without_channels_leave_every_name_empty", two_volumes({}), voluse(all), table({}),
     asked(2)},
    {"a_refused_volume_list_is_an_empty_one", two_volumes().refusing("get_volume_list"),
     voluse(all), table({}), asked(0)},
    {"a_path_without_share_goes_under_the_name_of_the_volume_before",
     volumes({"/mnt/first", "/share/Vol2", "/mnt/third"}, {{11, {0}}, {22, {1}}, {33, {2}}}),
     voluse(all), table({{1, "Vol2"}, {2, "Vol2"}}), asked(3)},
    {"the_later_of_two_volumes_wins", two_volumes({{11, {4, 5}}, {22, {4}}}), voluse(all),
     table({{4, "Vol2"}, {5, "Vol1"}}), asked(2)},
    {"the_answer_to_one_volume_is_not_taken_for_the_next", two_volumes({{11, {4}}}), voluse(all),
     table({{4, "Vol1"}}), asked(2)},
    {"hands_every_question_the_list_as_the_one_before_left_it",
     volumes({"/share/Vol1", "/share/Vol2", "/share/Vol3"}, {{11, {31, 0, 40}}, {22, {5}}})
         .telling_lists(),
     voluse(6),
     "ch07 volume=[]\n",
     {"setting.get_volume_list()", "= held", volume_channels_question(11), "= held 31 0 40",
      volume_channels_question(22), "= held 5", volume_channels_question(33)}},
    {"a_refused_question_puts_the_channels_of_the_volume_before_under_the_next",
     two_volumes().refusing("get_volume_channels", 2), voluse(all),
     table({{0, "Vol2"}, {31, "Vol2"}}), asked(2)},
    {"refused_questions_leave_every_name_empty", two_volumes().refusing("get_volume_channels"),
     voluse(all), table({}), asked(2)},
    {"indexes_of_32_and_more_are_ignored",
     volumes({"/share/Vol1"}, {{11, {32, 0xFFFFFFFF, 0x80000000, 100, 7}}}), voluse(all),
     table({{7, "Vol1"}}), asked(1)},
    {"a_long_share_name_is_cut_to_127_characters",
     volumes({"/share/" + filled(300, 'n')}, {{11, {0}}}), voluse(0),
     "ch01 volume=[" + filled(127, 'n') + "]\n", asked(1)},
    {"a_short_name_leaves_nothing_of_a_long_one",
     volumes({"/share/LongerName", "/share/V"}, {{11, {0}}, {22, {0}}}), voluse(0),
     "ch01 volume=[V]\n", asked(2)},
    {"without_the_plug_and_play_service_nobody_is_asked", two_volumes(),
     [] { st::cmd_voluse(scripted::setting(), nullptr, all); }, table({}), asked(0)},
};
INSTANTIATE_TEST_SUITE_P(voluse, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(voluse, results_are_not_looked_at) {
  expect_results_are_not_looked_at(two_volumes(), voluse(all),
                                   {"get_volume_list", "get_volume_channels"});
}

TEST(voluse, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(two_volumes(), voluse(all)), 3);
  EXPECT_EQ(expect_releases_when_any_call_throws(two_volumes(), st_command({"voluse", "-1"})), 9);
}

}  // namespace
}  // namespace command_test
