#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

lines const both_lists = {"setting.get_space_list()", "setting.get_volume_list()"};
lines const spaces_only = {"setting.get_space_list()"};

std::function<void()> vollist(std::string const& name = "Storage1") {
  return [name] { st::cmd_vollist(scripted::setting(), name.c_str()); };
}

volume_info sized(volume_info record, std::int64_t total, std::int64_t used) {
  record.body.total_size = total;
  record.body.used_size = used;
  return record;
}

// An empty volume of 1 GB in the space of that key.
volume_info plain(std::string const& path, std::int32_t volume_no = 1, char space_key = 'a') {
  return sized(volume(path, volume_no, 'v', space_key), 1024, 0);
}

volume_info of_type(std::int32_t type) {
  volume_info record = plain("/share/v");
  record.body.type = type;
  return record;
}

volume_info in_state(std::int32_t state) {
  volume_info record = plain("/share/v");
  record.body.state = state;
  return record;
}

// The end of plain()'s line, and of a line of an active volume of type NORMAL.
std::string const empty_gigabyte = "total size 1 GB, used 0 MB, use 0.00%\n";
std::string const plain_end = "], [NORMAL] [ACTIVE             ], " + empty_gigabyte;

std::string const header =
    "Space: Storage1\n"
    "[Storage1], total size: 2 GB, used: 512 MB, use 25.00% [Normal                   ]\n"
    "\n";
std::string const no_volume = "no find volume at space [Storage1]\n";

answers with_volumes(std::list<volume_info> const& volumes) {
  return answers().with_spaces({space("Storage1", 2048, 512)}).with_volumes(volumes);
}

// Volumes of the space, and what is printed behind its header.
run_case listing(std::string const& behaviour, std::list<volume_info> const& volumes,
                 std::string const& printed) {
  return {behaviour, with_volumes(volumes), vollist(), header + printed, both_lists};
}

std::vector<run_case> const spaces = {
    {"shows_the_space_and_its_volumes_in_the_order_of_the_service",
     answers()
         .with_spaces({space("Storage0", 1, 1, 'z'), space("Storage1", 1907729, 1000000, 'a')})
         .with_volumes({sized(volume("/mnt/share/Vol2", 2, 'v', 'a'), 4096, 1024),
                        sized(volume("/mnt/share/Other", 3, 'x', 'z'), 9, 9),
                        sized(volume("/mnt/share/Vol1", 1, 'w', 'a'), 2047, 0)}),
     vollist(),
     "Space: Storage1\n"
     "[Storage1], total size: 1863 GB, used: 1000000 MB, use 52.42% [Normal                   ]\n"
     "\n"
     "[01] [Vol2], [NORMAL] [ACTIVE             ], total size 4 GB, used 1024 MB, use 25.00%\n"
     "[02] [Vol1], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n",
     both_lists},
    {"no_spaces_print_one_line_and_ask_for_no_volumes",
     {},
     vollist(),
     "no space [Storage1] info\n",
     spaces_only},
    {"a_refused_space_list_is_an_empty_one", with_volumes({}).refusing("get_space_list"), vollist(),
     "no space [Storage1] info\n", spaces_only},
    {"an_unknown_name_prints_an_empty_line_first_and_asks_for_no_volumes",
     answers().with_spaces({space("Storage2", 1, 1)}), vollist(), "\nno space [Storage1] info\n",
     spaces_only},
    {"letter_case_and_length_of_the_name_matter",
     answers().with_spaces(
         {space("storage1", 1, 1), space("Storage", 1, 1), space("Storage11", 1, 1)}),
     vollist(), "\nno space [Storage1] info\n", spaces_only},
    {"of_two_spaces_with_the_name_the_first_is_shown",
     answers()
         .with_spaces({space("Storage1", 2048, 512, 'a'), space("Storage1", 4096, 0, 'b')})
         .with_volumes({plain("/share/InB", 1, 'b'), plain("/share/InA", 2, 'a')}),
     vollist(), header + "[01] [InA" + plain_end, both_lists},
    {"an_empty_name_is_compared_like_any_other", answers().with_spaces({space("", 1024, 0)}),
     vollist(""),
     "Space: \n[], total size: 1 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n"
     "no find volume at space []\n",
     both_lists},
    {"a_path_and_a_name_without_terminators_are_read_to_their_width",
     answers()
         .with_spaces({space(filled(512, 'n'), 2048, 512)})
         .with_volumes({plain("share/" + filled(1018, 'p'))}),
     vollist(filled(512, 'n')),
     "Space: " + filled(512, 'n') + "\n[" + filled(512, 'n') +
         "], total size: 2 GB, used: 512 MB, use 25.00% [Normal                   ]\n\n[01] [" +
         filled(127, 'p') + plain_end,
     both_lists},
    {"a_space_s_total_of_0_is_not_guarded", answers().with_spaces({space("Storage1", 0, 0)}),
     vollist(),
     "Space: Storage1\n"
     "[Storage1], total size: 0 GB, used: 0 MB, use nan% [Normal                   ]\n\n" +
         no_volume,
     both_lists},
    {"shows_the_space_s_status_with_its_spare_state",
     answers().with_spaces({in_status(space("Storage1", 1024, 0), 5, 1)}), vollist(),
     "Space: Storage1\n"
     "[Storage1], total size: 1 GB, used: 0 MB, use 0.00% [Error(Spare Error)       ]\n\n" +
         no_volume,
     both_lists},
    {"a_refused_volume_list_is_an_empty_one",
     with_volumes({plain("/share/Vol1")}).refusing("get_volume_list"), vollist(),
     header + no_volume, both_lists},
};
INSTANTIATE_TEST_SUITE_P(vollist_spaces, table_run, testing::ValuesIn(spaces), behaviour_of);

std::vector<run_case> const volumes = {
    listing("no_volumes_at_all", {}, no_volume),
    listing("no_volume_of_this_space", {plain("/share/Other", 1, 'b')}, no_volume),
    listing(
        "a_path_without_share_is_named_by_its_number",
        {plain("/mnt/Vol1", 7), plain("/share/Vol2", 8), plain("/mnt/shared", -1), plain("", 10)},
        "[01] [VolName_7" + plain_end + "[02] [Vol2" + plain_end + "[03] [VolName_-1" + plain_end +
            "[04] [VolName_10" + plain_end),
    listing("the_first_share_of_a_path_counts", {plain("/mnt/share/a/share/b")},
            "[01] [a/share/b" + plain_end),
    listing("a_share_name_is_cut_to_127_characters",
            {plain("/share/" + filled(128, 'n')), plain("/share/" + filled(127, 'm'))},
            "[01] [" + filled(127, 'n') + plain_end + "[02] [" + filled(127, 'm') + plain_end),
    listing("sizes_truncate_to_gigabytes",
            {sized(plain("/share/a"), 1023, 0), sized(plain("/share/b"), 2047, 0)},
            "[01] [a], [NORMAL] [ACTIVE             ], total size 0 GB, used 0 MB, use 0.00%\n"
            "[02] [b], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n"),
    listing("a_total_of_0_is_not_guarded",
            {sized(plain("/share/a"), 0, 1), sized(plain("/share/b"), 0, 0)},
            "[01] [a], [NORMAL] [ACTIVE             ], total size 0 GB, used 1 MB, use inf%\n"
            "[02] [b], [NORMAL] [ACTIVE             ], total size 0 GB, used 0 MB, use nan%\n"),
    listing("shows_every_type_but_0_as_spare", {of_type(2), of_type(1), of_type(-1), of_type(0)},
            "[01] [v], [SPARE ] [ACTIVE             ], " + empty_gigabyte +
                "[02] [v], [SPARE ] [ACTIVE             ], " + empty_gigabyte +
                "[03] [v], [SPARE ] [ACTIVE             ], " + empty_gigabyte +
                "[04] [v], [NORMAL] [ACTIVE             ], " + empty_gigabyte),
    listing("shows_the_state_name_and_a_default_outside_the_table",
            {in_state(3), in_state(8), in_state(9), in_state(-1)},
            "[01] [v], [NORMAL] [STANDBY_NOT_MOUNTED], " + empty_gigabyte +
                "[02] [v], [NORMAL] [], " + empty_gigabyte +
                "[03] [v], [NORMAL] [UNKNOW_STATUS      ], " + empty_gigabyte +
                "[04] [v], [NORMAL] [UNKNOW_STATUS      ], " + empty_gigabyte),
};
INSTANTIATE_TEST_SUITE_P(vollist_volumes, table_run, testing::ValuesIn(volumes), behaviour_of);

TEST(vollist, the_uuid_is_compared_over_all_36_bytes) {
  auto near_miss = plain("/share/Vol1");
  near_miss.body.space_uuid[35] = 'x';
  auto terminated = plain("/share/Vol2");
  terminated.body.space_uuid[0] = '\0';
  expect_run(with_volumes({near_miss, terminated}), vollist(), header + no_volume, both_lists);
}

TEST(vollist, bytes_behind_a_terminator_in_the_uuid_count_too) {
  auto same = plain("/share/Same");
  same.body.space_uuid[4] = '\0';
  auto other = same;
  other.body.space_uuid[20] = 'x';
  auto script = with_volumes({other, same});
  script.spaces.front().uuid[4] = '\0';
  expect_run(script, vollist(), header + "[01] [Same" + plain_end, both_lists);
}

TEST(vollist, counts_past_99_and_only_the_space_s_own_volumes) {
  std::list<volume_info> mixed;
  std::string expected = header;
  for (int i = 1; i <= 100; ++i) {
    mixed.push_back(plain("/share/Other", 1, 'b'));
    mixed.push_back(plain("/share/v"));
    expected += (i < 10 ? "[0" : "[") + std::to_string(i) + "] [v" + plain_end;
  }
  expect_run(with_volumes(mixed), vollist(), expected, both_lists);
}

TEST(vollist, results_of_the_lists_are_not_looked_at) {
  expect_results_are_not_looked_at(with_volumes({plain("/share/Vol1")}), vollist(),
                                   {"get_volume_list", "get_space_list"});
}

TEST(vollist, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(with_volumes({plain("/share/Vol1")}), vollist()),
            2);
}

}  // namespace
}  // namespace command_test
