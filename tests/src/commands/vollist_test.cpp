#include <gtest/gtest.h>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::lines;

lines const both_lists = {"setting.get_space_list()", "setting.get_volume_list()"};
lines const spaces_only = {"setting.get_space_list()"};

support::outcome vollist(scripted::script const& script, std::string const& name = "Storage1") {
  return support::in_child(script, [name] { st::cmd_vollist(scripted::setting(), name.c_str()); });
}

volume_info sized(volume_info record, std::int64_t total, std::int64_t used, std::int32_t type = 0,
                  std::int32_t state = 0) {
  record.body.total_size = total;
  record.body.used_size = used;
  record.body.type = type;
  record.body.state = state;
  return record;
}

std::string const header =
    "Space: Storage1\n"
    "[Storage1], total size: 2 GB, used: 512 MB, use 25.00% [Normal                   ]\n"
    "\n";

// What follows the header for these volumes of one space.
std::string volume_lines(std::list<volume_info> const& volumes) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 2048, 512)};
  script.volumes = volumes;
  auto const result = vollist(script);
  EXPECT_EQ(result.calls, both_lists);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.substr(0, header.size()), header);
  return result.output.substr(std::min(header.size(), result.output.size()));
}

TEST(vollist, shows_the_space_and_its_volumes_in_the_order_of_the_service) {
  scripted::script script;
  script.spaces = {support::space("Storage0", 1, 1, 'z'),
                   support::space("Storage1", 1907729, 1000000, 'a')};
  script.volumes = {sized(support::volume("/mnt/share/Vol2", 2, 'v', 'a'), 4096, 1024, 2, 1),
                    sized(support::volume("/mnt/share/Other", 3, 'x', 'z'), 9, 9),
                    sized(support::volume("/mnt/share/Vol1", 1, 'w', 'a'), 2047, 0, 0, 0)};
  auto const result = vollist(script);
  EXPECT_EQ(result.output,
            "Space: Storage1\n"
            "[Storage1], total size: 1863 GB, used: 1000000 MB, use 52.42% "
            "[Normal                   ]\n"
            "\n"
            "[01] [Vol2], [SPARE ] [STANDBY            ], total size 4 GB, used 1024 MB, use "
            "25.00%\n"
            "[02] [Vol1], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n");
  EXPECT_EQ(result.calls, both_lists);
}

TEST(vollist, no_spaces_print_one_line_and_ask_for_no_volumes) {
  auto const result = vollist({});
  EXPECT_EQ(result.output, "no space [Storage1] info\n");
  EXPECT_EQ(result.calls, spaces_only);
}

TEST(vollist, a_refused_space_list_is_an_empty_one) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 1, 1)};
  script.faults = {{"get_space_list", scripted::effect::refuse}};
  EXPECT_EQ(vollist(script).output, "no space [Storage1] info\n");
}

TEST(vollist, an_unknown_name_prints_an_empty_line_first_and_asks_for_no_volumes) {
  scripted::script script;
  script.spaces = {support::space("Storage2", 1, 1)};
  auto const result = vollist(script);
  EXPECT_EQ(result.output, "\nno space [Storage1] info\n");
  EXPECT_EQ(result.calls, spaces_only);
}

TEST(vollist, letter_case_and_length_of_the_name_matter) {
  scripted::script script;
  script.spaces = {support::space("storage1", 1, 1), support::space("Storage", 1, 1),
                   support::space("Storage11", 1, 1)};
  EXPECT_EQ(vollist(script).output, "\nno space [Storage1] info\n");
}

TEST(vollist, of_two_spaces_with_the_name_the_first_is_shown) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 2048, 512, 'a'),
                   support::space("Storage1", 4096, 0, 'b')};
  script.volumes = {sized(support::volume("/share/InB", 1, 'v', 'b'), 1024, 0),
                    sized(support::volume("/share/InA", 2, 'w', 'a'), 1024, 0)};
  EXPECT_EQ(vollist(script).output,
            header +
                "[01] [InA], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use "
                "0.00%\n");
}

TEST(vollist, no_volumes_at_all) {
  EXPECT_EQ(volume_lines({}), "no find volume at space [Storage1]\n");
}

TEST(vollist, no_volume_of_this_space) {
  EXPECT_EQ(volume_lines({support::volume("/share/Other", 1, 'v', 'b')}),
            "no find volume at space [Storage1]\n");
}

TEST(vollist, a_refused_volume_list_is_an_empty_one) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 2048, 512)};
  script.volumes = {support::volume("/share/Vol1", 1)};
  script.faults = {{"get_volume_list", scripted::effect::refuse}};
  EXPECT_EQ(vollist(script).output, header + "no find volume at space [Storage1]\n");
}

TEST(vollist, results_of_the_lists_are_not_looked_at) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 2048, 512)};
  script.volumes = {sized(support::volume("/share/Vol1", 1), 1024, 0)};
  auto const quiet = vollist(script).output;
  script.faults = {{"get_volume_list", scripted::effect::complain},
                   {"get_space_list", scripted::effect::complain}};
  EXPECT_EQ(vollist(script).output, quiet);
}

TEST(vollist, the_uuid_is_compared_over_all_36_bytes) {
  auto near_miss = support::volume("/share/Vol1", 1);
  near_miss.body.space_uuid[35] = 'x';
  auto terminated = support::volume("/share/Vol2", 2);
  terminated.body.space_uuid[0] = '\0';
  EXPECT_EQ(volume_lines({near_miss, terminated}), "no find volume at space [Storage1]\n");
}

TEST(vollist, bytes_behind_a_terminator_in_the_uuid_count_too) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 2048, 512)};
  script.spaces.front().uuid[4] = '\0';
  auto same = sized(support::volume("/share/Same", 1), 1024, 0);
  same.body.space_uuid[4] = '\0';
  auto other = same;
  other.body.space_uuid[20] = 'x';
  script.volumes = {other, same};
  EXPECT_EQ(vollist(script).output,
            header +
                "[01] [Same], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use "
                "0.00%\n");
}

TEST(vollist, a_path_without_share_is_named_by_its_number) {
  EXPECT_EQ(volume_lines({sized(support::volume("/mnt/Vol1", 7), 1024, 0),
                          sized(support::volume("/share/Vol2", 8), 1024, 0),
                          sized(support::volume("/mnt/shared", -1), 1024, 0),
                          sized(support::volume("", 10), 1024, 0)}),
            "[01] [VolName_7], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use "
            "0.00%\n"
            "[02] [Vol2], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n"
            "[03] [VolName_-1], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use "
            "0.00%\n"
            "[04] [VolName_10], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use "
            "0.00%\n");
}

TEST(vollist, the_first_share_of_a_path_counts) {
  EXPECT_EQ(volume_lines({sized(support::volume("/mnt/share/a/share/b", 1), 1024, 0)}),
            "[01] [a/share/b], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use "
            "0.00%\n");
}

TEST(vollist, a_share_name_is_cut_to_127_characters) {
  EXPECT_EQ(
      volume_lines({sized(support::volume("/share/" + support::filled(128, 'n'), 1), 1024, 0),
                    sized(support::volume("/share/" + support::filled(127, 'm'), 1), 1024, 0)}),
      "[01] [" + support::filled(127, 'n') +
          "], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n" + "[02] [" +
          support::filled(127, 'm') +
          "], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n");
}

TEST(vollist, a_path_and_a_name_without_terminators_are_read_to_their_width) {
  scripted::script script;
  std::string const name = support::filled(512, 'n');
  script.spaces = {support::space(name, 2048, 512)};
  script.volumes = {sized(support::volume("share/" + support::filled(1018, 'p'), 1), 1024, 0)};
  auto const result = vollist(script, name);
  EXPECT_EQ(result.output,
            "Space: " + name + "\n[" + name +
                "], total size: 2 GB, used: 512 MB, use 25.00% [Normal                   ]\n\n[01] "
                "[" +
                support::filled(127, 'p') +
                "], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n");
  EXPECT_EQ(result.status, 0);
}

TEST(vollist, sizes_truncate_to_gigabytes) {
  EXPECT_EQ(volume_lines({sized(support::volume("/share/a", 1), 1023, 0),
                          sized(support::volume("/share/b", 1), 2047, 0)}),
            "[01] [a], [NORMAL] [ACTIVE             ], total size 0 GB, used 0 MB, use 0.00%\n"
            "[02] [b], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n");
}

TEST(vollist, a_total_of_0_is_not_guarded) {
  EXPECT_EQ(volume_lines({sized(support::volume("/share/a", 1), 0, 1),
                          sized(support::volume("/share/b", 1), 0, 0)}),
            "[01] [a], [NORMAL] [ACTIVE             ], total size 0 GB, used 1 MB, use inf%\n"
            "[02] [b], [NORMAL] [ACTIVE             ], total size 0 GB, used 0 MB, use nan%\n");
  scripted::script script;
  script.spaces = {support::space("Storage1", 0, 0)};
  EXPECT_EQ(vollist(script).output,
            "Space: Storage1\n"
            "[Storage1], total size: 0 GB, used: 0 MB, use nan% [Normal                   ]\n\n"
            "no find volume at space [Storage1]\n");
}

TEST(vollist, counts_past_99_and_only_the_space_s_own_volumes) {
  std::list<volume_info> volumes;
  std::string expected;
  for (int i = 1; i <= 100; ++i) {
    volumes.push_back(support::volume("/share/Other", 1, 'v', 'b'));
    volumes.push_back(sized(support::volume("/share/v", 1), 1024, 0));
    std::string const counter = i < 10 ? "0" + std::to_string(i) : std::to_string(i);
    expected += "[" + counter +
                "] [v], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n";
  }
  EXPECT_EQ(volume_lines(volumes), expected);
}

TEST(vollist, shows_every_type_but_0_as_spare) {
  EXPECT_EQ(volume_lines({sized(support::volume("/share/a", 1), 1024, 0, 2),
                          sized(support::volume("/share/b", 1), 1024, 0, 1),
                          sized(support::volume("/share/c", 1), 1024, 0, -1)}),
            "[01] [a], [SPARE ] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n"
            "[02] [b], [SPARE ] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n"
            "[03] [c], [SPARE ] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n");
}

TEST(vollist, shows_the_state_name_and_a_default_outside_the_table) {
  EXPECT_EQ(volume_lines({sized(support::volume("/share/a", 1), 1024, 0, 0, 3),
                          sized(support::volume("/share/b", 1), 1024, 0, 0, 8),
                          sized(support::volume("/share/c", 1), 1024, 0, 0, 9),
                          sized(support::volume("/share/d", 1), 1024, 0, 0, -1)}),
            "[01] [a], [NORMAL] [STANDBY_NOT_MOUNTED], total size 1 GB, used 0 MB, use 0.00%\n"
            "[02] [b], [NORMAL] [], total size 1 GB, used 0 MB, use 0.00%\n"
            "[03] [c], [NORMAL] [UNKNOW_STATUS      ], total size 1 GB, used 0 MB, use 0.00%\n"
            "[04] [d], [NORMAL] [UNKNOW_STATUS      ], total size 1 GB, used 0 MB, use 0.00%\n");
}

TEST(vollist, shows_the_space_s_status_with_its_spare_state) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 1024, 0)};
  script.spaces.front().status = 5;
  script.spaces.front().spare_state = 1;
  EXPECT_EQ(vollist(script).output,
            "Space: Storage1\n"
            "[Storage1], total size: 1 GB, used: 0 MB, use 0.00% [Error(Spare Error)       ]\n\n"
            "no find volume at space [Storage1]\n");
}

TEST(vollist, an_empty_name_is_compared_like_any_other) {
  scripted::script script;
  script.spaces = {support::space("", 1024, 0)};
  EXPECT_EQ(vollist(script, "").output,
            "Space: \n[], total size: 1 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n"
            "no find volume at space []\n");
}

TEST(vollist, releases_when_any_call_throws) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 2048, 512)};
  script.volumes = {support::volume("/share/Vol1", 1)};
  EXPECT_EQ(support::expect_releases_when_any_call_throws(
                script, [] { st::cmd_vollist(scripted::setting(), "Storage1"); }),
            2);
}

}  // namespace
