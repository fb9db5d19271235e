#include <gtest/gtest.h>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "commands/lookup.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::lines;

std::string query(int volume_no) {
  std::string const zeros = support::filled(36, '0');
  return "plug_play_service.get_volume_channels(-1 0 " + std::to_string(volume_no) + " -1 -1, " +
         zeros + ", " + zeros + ")";
}

support::outcome volchn(scripted::script const& script, std::string const& name) {
  auto result = support::in_child(script, [name] {
    st::cmd_volchn(scripted::setting(), scripted::plug_play_service(), name.c_str());
  });
  EXPECT_EQ(result.status, 0);
  return result;
}

scripted::script recorder(std::list<volume_info> const& volumes,
                          std::list<std::uint32_t> const& channels) {
  scripted::script script;
  script.volumes = volumes;
  script.volume_channels = [channels](volume_share_info const&) { return channels; };
  return script;
}

scripted::script two_volumes(std::list<std::uint32_t> const& channels) {
  return recorder({support::volume("/share/Vol1", 11), support::volume("/share/Vol2", 22)},
                  channels);
}

TEST(volchn, lists_the_channels_sorted_and_counted_from_1) {
  auto const result = volchn(two_volumes({5, 0, 2}), "Vol2");
  EXPECT_EQ(result.output,
            "[01] uses channel[01]\n"
            "[02] uses channel[03]\n"
            "[03] uses channel[06]\n");
  EXPECT_EQ(result.calls, (lines{"setting.get_volume_list()", query(22)}));
}

TEST(volchn, duplicates_are_printed_as_often_as_they_come) {
  EXPECT_EQ(volchn(two_volumes({9, 1, 9}), "Vol1").output,
            "[01] uses channel[02]\n[02] uses channel[10]\n[03] uses channel[10]\n");
}

TEST(volchn, indexes_beyond_the_usual_are_printed_and_sorted_unsigned) {
  EXPECT_EQ(volchn(two_volumes({0x80000000, 99, 32}), "Vol1").output,
            "[01] uses channel[33]\n[02] uses channel[100]\n[03] uses channel[-2147483647]\n");
}

TEST(volchn, numbers_below_0_are_padded_with_their_sign) {
  EXPECT_EQ(volchn(two_volumes({0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFF8}), "Vol1").output,
            "[01] uses channel[-7]\n[02] uses channel[-1]\n[03] uses channel[00]\n");
}

TEST(volchn, a_refused_question_leaves_no_channel) {
  auto script = two_volumes({1});
  script.faults = {{"get_volume_channels", scripted::effect::refuse}};
  auto const result = volchn(script, "Vol1");
  EXPECT_EQ(result.output, "NO channel using volume [Vol1]\n");
  EXPECT_EQ(result.calls, (lines{"setting.get_volume_list()", query(11)}));
}

TEST(volchn, no_channel) {
  auto const result = volchn(two_volumes({}), "Vol1");
  EXPECT_EQ(result.output, "NO channel using volume [Vol1]\n");
  EXPECT_EQ(result.calls, (lines{"setting.get_volume_list()", query(11)}));
}

TEST(volchn, an_unknown_volume_is_not_asked_about) {
  auto const result = volchn(two_volumes({1}), "Vol3");
  EXPECT_EQ(result.output, "Cannot fine volume [Vol3]\n");
  EXPECT_EQ(result.calls, lines{"setting.get_volume_list()"});
}

TEST(volchn, no_volumes) {
  EXPECT_EQ(volchn({}, "Vol1").output, "Cannot fine volume [Vol1]\n");
  auto script = two_volumes({1});
  script.faults = {{"get_volume_list", scripted::effect::refuse}};
  EXPECT_EQ(volchn(script, "Vol1").output, "Cannot fine volume [Vol1]\n");
}

TEST(volchn, results_are_not_looked_at) {
  auto script = two_volumes({1});
  script.faults = {{"get_volume_list", scripted::effect::complain},
                   {"get_volume_channels", scripted::effect::complain}};
  EXPECT_EQ(volchn(script, "Vol1").output, "[01] uses channel[02]\n");
}

TEST(volchn, letter_case_and_length_of_the_name_matter) {
  for (std::string const name : {"vol1", "VOL1", "Vol", "Vol11", "share/Vol1", "/share/Vol1"}) {
    EXPECT_EQ(volchn(two_volumes({1}), name).output, "Cannot fine volume [" + name + "]\n");
  }
}

TEST(volchn, the_number_form_of_a_name_cannot_be_found) {
  auto const script = recorder({support::volume("/mnt/x", 7)}, {1});
  EXPECT_EQ(volchn(script, "VolName_7").output, "Cannot fine volume [VolName_7]\n");
}

TEST(volchn, of_two_volumes_with_the_name_the_first_is_used) {
  auto const script =
      recorder({support::volume("/a/share/Vol", 1), support::volume("/b/share/Vol", 2)}, {1});
  EXPECT_EQ(volchn(script, "Vol").calls, (lines{"setting.get_volume_list()", query(1)}));
}

TEST(volchn, the_first_share_of_a_path_counts) {
  auto const script = recorder({support::volume("/mnt/share/a/share/b", 4)}, {1});
  EXPECT_EQ(volchn(script, "a/share/b").output, "[01] uses channel[02]\n");
  EXPECT_EQ(volchn(script, "b").output, "Cannot fine volume [b]\n");
}

TEST(volchn, a_path_without_share_keeps_the_name_before_it_which_did_not_match) {
  auto const script =
      recorder({support::volume("/share/Vol1", 1), support::volume("/mnt/x", 2)}, {1});
  EXPECT_EQ(volchn(script, "Vol1").calls, (lines{"setting.get_volume_list()", query(1)}));
}

TEST(volchn, an_empty_name_finds_a_path_without_share_at_the_head_only) {
  auto const head =
      recorder({support::volume("/mnt/x", 2), support::volume("/share/Vol1", 1)}, {1});
  EXPECT_EQ(volchn(head, "").calls, (lines{"setting.get_volume_list()", query(2)}));
  auto const behind =
      recorder({support::volume("/share/Vol1", 1), support::volume("/mnt/x", 2)}, {1});
  EXPECT_EQ(volchn(behind, "").output, "Cannot fine volume []\n");
}

TEST(volchn, long_share_names_are_compared_whole) {
  std::string const long_name = support::filled(200, 'n');
  auto const script = recorder({support::volume("/share/" + support::filled(201, 'n'), 1),
                                support::volume("/share/" + long_name, 2)},
                               {1});
  EXPECT_EQ(volchn(script, long_name).calls, (lines{"setting.get_volume_list()", query(2)}));
  EXPECT_EQ(volchn(script, support::filled(127, 'n')).output,
            "Cannot fine volume [" + support::filled(127, 'n') + "]\n");
}

TEST(volchn, a_path_without_terminator_is_read_to_its_width) {
  std::string const name = support::filled(1024 - 6, 'n');
  auto const script = recorder({support::volume("share/" + name, 3)}, {1});
  EXPECT_EQ(volchn(script, name).output, "[01] uses channel[02]\n");
}

TEST(volchn, without_the_plug_and_play_service_nobody_is_asked) {
  auto const result = support::in_child(
      two_volumes({1}), [] { st::cmd_volchn(scripted::setting(), nullptr, "Vol1"); });
  EXPECT_EQ(result.output, "NO channel using volume [Vol1]\n");
  EXPECT_EQ(result.calls, lines{"setting.get_volume_list()"});
}

TEST(volchn, releases_when_any_call_throws) {
  auto const script = two_volumes({1});
  EXPECT_EQ(support::expect_releases_when_any_call_throws(
                script,
                [] { st::cmd_volchn(scripted::setting(), scripted::plug_play_service(), "Vol1"); }),
            2);
}

// Prints "result number_1092 volume_no" of a query whose numbers were -1.
std::string find_by_name(std::string const& name) {
  return support::in_child(two_volumes({}),
                           [name] {
                             volume_share_info asked;
                             int const result =
                                 st::find_volume_by_name(scripted::setting(), name.c_str(), &asked);
                             std::printf("%d %d %d", result, asked.number_1092, asked.volume_no);
                           })
      .output;
}

TEST(find_volume_by_name, prepares_the_query_and_writes_the_number_when_found) {
  EXPECT_EQ(find_by_name("Vol2"), "0 0 22");
  EXPECT_EQ(find_by_name("Vol3"), "-1 0 -1");
}

TEST(find_volume_by_name, releases_when_any_call_throws) {
  EXPECT_EQ(support::expect_releases_when_any_call_throws(
                two_volumes({}),
                [] {
                  volume_share_info asked;
                  st::find_volume_by_name(scripted::setting(), "Vol1", &asked);
                }),
            1);
}

}  // namespace
