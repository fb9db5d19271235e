#include "command_test.h"
#include "commands/commands.h"
#include "commands/lookup.h"

namespace command_test {
namespace {

lines const list_only = {"setting.get_volume_list()"};

std::function<void()> volchn(std::string const& name) {
  return
      [name] { st::cmd_volchn(scripted::setting(), scripted::plug_play_service(), name.c_str()); };
}

// Every volume is used by these channels.
answers two_volumes(std::list<std::uint32_t> const& channels) {
  return answers()
      .with_volumes({volume("/share/Vol1", 11), volume("/share/Vol2", 22)})
      .with_volume_channels(channels);
}

answers with_volumes(std::list<volume_info> const& volumes) {
  return two_volumes({1}).with_volumes(volumes);
}

// The volume with that number is asked about.
run_case found(std::string const& behaviour, answers const& script, std::string const& name,
               int volume_no, std::string const& output) {
  return {behaviour,
          script,
          volchn(name),
          output,
          {"setting.get_volume_list()", volume_channels_question(volume_no)}};
}

run_case unknown(std::string const& behaviour, answers const& script, std::string const& name) {
  return {behaviour, script, volchn(name), "Cannot fine volume [" + name + "]\n", list_only};
}

std::string const channel_2 = "[01] uses channel[02]\n";
answers const share_behind = with_volumes({volume("/share/Vol1", 1), volume("/mnt/x", 2)});
answers const share_at_head = with_volumes({volume("/mnt/x", 2), volume("/share/Vol1", 1)});
answers const two_shares = with_volumes({volume("/mnt/share/a/share/b", 4)});
answers const long_names = with_volumes(
    {volume("/share/" + filled(201, 'n'), 1), volume("/share/" + filled(200, 'n'), 2)});

std::vector<run_case> const cases = {
    found("lists_the_channels_sorted_and_counted_from_1", two_volumes({5, 0, 2}), "Vol2", 22,
          "[01] uses channel[01]\n"
          "[02] uses channel[03]\n"
          "[03] uses channel[06]\n"),
    found("duplicates_are_printed_as_often_as_they_come", two_volumes({9, 1, 9}), "Vol1", 11,
          "[01] uses channel[02]\n[02] uses channel[10]\n[03] uses channel[10]\n"),
    found("indexes_beyond_the_usual_are_printed_and_sorted_unsigned",
          two_volumes({0x80000000, 99, 32}), "Vol1", 11,
          "[01] uses channel[33]\n[02] uses channel[100]\n[03] uses channel[-2147483647]\n"),
    found("numbers_below_0_are_padded_with_their_sign",
          two_volumes({0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFF8}), "Vol1", 11,
          "[01] uses channel[-7]\n[02] uses channel[-1]\n[03] uses channel[00]\n"),
    found("a_refused_question_leaves_no_channel", two_volumes({1}).refusing("get_volume_channels"),
          "Vol1", 11, "NO channel using volume [Vol1]\n"),
    found("no_channel", two_volumes({}), "Vol1", 11, "NO channel using volume [Vol1]\n"),
    unknown("an_unknown_volume_is_not_asked_about", two_volumes({1}), "Vol3"),
    unknown("no_volumes", {}, "Vol1"),
    unknown("a_refused_volume_list_is_an_empty_one", two_volumes({1}).refusing("get_volume_list"),
            "Vol1"),
    unknown("small_letters_are_others", two_volumes({1}), "vol1"),
    unknown("capital_letters_are_others", two_volumes({1}), "VOL1"),
    unknown("a_shorter_name_is_another", two_volumes({1}), "Vol"),
    unknown("a_longer_name_is_another", two_volumes({1}), "Vol11"),
    unknown("a_name_with_its_share_is_another", two_volumes({1}), "share/Vol1"),
    unknown("a_path_is_no_name", two_volumes({1}), "/share/Vol1"),
    unknown("the_number_form_of_a_name_cannot_be_found", with_volumes({volume("/mnt/x", 7)}),
            "VolName_7"),
    found("of_two_volumes_with_the_name_the_first_is_used",
          with_volumes({volume("/a/share/Vol", 1), volume("/b/share/Vol", 2)}), "Vol", 1,
          channel_2),
    found("the_first_share_of_a_path_counts", two_shares, "a/share/b", 4, channel_2),
    unknown("a_later_share_of_a_path_does_not_count", two_shares, "b"),
    found("a_path_without_share_keeps_the_name_before_it_which_did_not_match", share_behind, "Vol1",
          1, channel_2),
    found("an_empty_name_finds_a_path_without_share_at_the_head", share_at_head, "", 2, channel_2),
    unknown("an_empty_name_finds_no_path_without_share_behind_a_named_one", share_behind, ""),
    found("long_share_names_are_compared_whole", long_names, filled(200, 'n'), 2, channel_2),
    unknown("a_long_share_name_is_not_found_by_its_start", long_names, filled(127, 'n')),
    found("a_path_without_terminator_is_read_to_its_width",
          with_volumes({volume("share/" + filled(1024 - 6, 'n'), 3)}), filled(1024 - 6, 'n'), 3,
          channel_2),
    {"without_the_plug_and_play_service_nobody_is_asked", two_volumes({1}),
     [] { st::cmd_volchn(scripted::setting(), nullptr, "Vol1"); },
     "NO channel using volume [Vol1]\n", list_only},
};
INSTANTIATE_TEST_SUITE_P(volchn, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(volchn, results_are_not_looked_at) {
  expect_results_are_not_looked_at(two_volumes({1}), volchn("Vol1"),
                                   {"get_volume_list", "get_volume_channels"});
}

TEST(volchn, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(two_volumes({1}), volchn("Vol1")), 2);
}

// Prints "result number_1092 volume_no" of a query whose numbers were -1.
std::function<void()> find_by_name(std::string const& name) {
  return [name] {
    volume_share_info asked;
    int const result = st::find_volume_by_name(scripted::setting(), name.c_str(), &asked);
    std::printf("%d %d %d", result, asked.number_1092, asked.volume_no);
  };
}

TEST(find_volume_by_name, prepares_the_query_and_writes_the_number_when_found) {
  expect_run(two_volumes({}), find_by_name("Vol2"), "0 0 22", list_only);
  expect_run(two_volumes({}), find_by_name("Vol3"), "-1 0 -1", list_only);
}

TEST(find_volume_by_name, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(two_volumes({}), find_by_name("Vol1")), 1);
}

}  // namespace
}  // namespace command_test
