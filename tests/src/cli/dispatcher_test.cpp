// The command line: counts, words, conversions, and what stands around a handler.
#include <array>

#include "command_test.h"

namespace command_test {
namespace {
using words = std::vector<std::string>;

lines const only_entered = {"CKivStorage#1()", "CKivStorageDaemon#1()"};
lines const entered_and_released = {"CKivStorage#1()", "CKivStorageDaemon#1()",
                                    "CKivStorage#1.create_storage_setting(null) = storage_setting",
                                    "CKivStorage#1.destroy_storage_setting(storage_setting)"};

std::string usage() { return support::content_of(USAGE_TEXT_FILE); }

std::string joined(words const& all) {
  std::string text = "st";
  for (std::string const& each : all) text += " " + each;
  return text;
}

// Two spaces, a volume in each, two channels.
answers whole_service() {
  auto script =
      answers()
          .at_now()
          .with_spaces({space("Storage1", 2048, 512, 'a'), space("Storage2", 4096, 0, 'b')})
          .with_volumes({volume("/nowhere/share/Vol1", 1, 'v', 'a'),
                         volume("/nowhere/share/Vol2", 2, 'w', 'b')})
          .with_channels({channel(0, 'c'), channel(1, 'd')})
          .with_pairings({pairing(channel_id(0, 'c'), filled(32, 'v'))})
          .with_channels_of_volumes({{1, {1}}, {2, {2}}, {3, {3}}})
          .with_days({"2026-11-20"});
  script.space_channels = {channel_id(0, 'c')};
  return script;
}

// A command line of every word that its handler accepts.
std::vector<words> const accepted = {
    {"spacelist"},
    {"vollist", "Storage1"},
    {"volset", "Vol1", "1", "0"},
    {"volchn", "Vol1"},
    {"voluse", "1"},
    {"volclean", "0"},
    {"autoclean"},
    {"nullid", "0"},
    {"recoverid", "3"},
    {"spaceinfo", "Storage1"},
};

void expect_st(words const& command, scripted::script const& script, std::string const& output,
               lines const& calls) {
  SCOPED_TRACE(joined(command));
  expect_run(script, st_command(command), output, calls);
}

void expect_usage(words const& command, lines const& calls) {
  expect_st(command, whole_service(), usage(), calls);
}

std::string output_of(words const& command, scripted::script const& script = whole_service()) {
  return run(script, st_command(command)).output;
}

TEST(usage, has_1511_bytes) { EXPECT_EQ(usage().size(), 1511U); }

TEST(argument_count, no_word_prints_usage_without_asking_for_the_setting) {
  expect_usage({}, only_entered);
}

TEST(argument_count, four_and_six_and_more_print_usage_without_asking_for_the_setting) {
  expect_usage({"spacelist", "a", "b"}, only_entered);
  expect_usage({"autoclean", "a", "b"}, only_entered);
  expect_usage({"volset", "Vol1", "1"}, only_entered);
  expect_usage({"volset", "Vol1", "1", "0", "x"}, only_entered);
  expect_usage({"spacelist", "a", "b", "c", "d", "e"}, only_entered);
}

TEST(argument_count, a_wrong_one_for_a_known_word_releases_the_setting_and_prints_usage) {
  for (std::string const word :
       {"vollist", "volchn", "voluse", "volclean", "nullid", "recoverid", "spaceinfo"}) {
    expect_usage({word}, entered_and_released);
    expect_usage({word, "1", "1", "1"}, entered_and_released);
  }
  expect_usage({"volset"}, entered_and_released);
  expect_usage({"volset", "Vol1"}, entered_and_released);
}

TEST(argument_count, extra_words_of_spacelist_and_autoclean_are_ignored) {
  std::string const plain = output_of({"spacelist"});
  EXPECT_EQ(plain.substr(0, 15), "Space count: 2\n");
  for (words const& extra : {words{}, words{"x"}, words{"a", "b", "c"}}) {
    words spacelist = {"spacelist"};
    words autoclean = {"autoclean"};
    spacelist.insert(spacelist.end(), extra.begin(), extra.end());
    autoclean.insert(autoclean.end(), extra.begin(), extra.end());
    expect_st(spacelist, whole_service(), plain, dispatched({"setting.get_space_list()"}));
    expect_st(autoclean, {}, "no volume found\nrecycle check process done.\n",
              dispatched({"setting.get_volume_list()"}));
  }
}

TEST(command_word, unknown_ones_release_the_setting_and_print_usage) {
  for (std::string const word : {"bogus", "", "SpaceList", "spacelis", "spacelistx", "vol", "st"}) {
    expect_usage({word}, entered_and_released);
    expect_usage({word, "x"}, entered_and_released);
  }
}

TEST(command_word, is_cut_to_127_characters_and_matches_nothing_then) {
  std::string const word = "spacelist" + filled(191, 'x');
  expect_usage({word}, entered_and_released);
  auto const result = run_st(whole_service(), {word});
  EXPECT_EQ(result.copies.front(), "nstrcpy(" + word + ", 128)");
}

TEST(setting, a_null_one_ends_the_run_before_the_word_is_looked_at) {
  lines const calls = {"CKivStorage#1()", "CKivStorageDaemon#1()",
                       "CKivStorage#1.create_storage_setting(null)", "~CKivStorageDaemon#1",
                       "~CKivStorage#1"};
  auto commands = accepted;
  commands.push_back({"bogus", "x"});
  commands.push_back({"vollist"});
  commands.push_back({"volset", "Vol1", "1", "2"});
  for (words const& command : commands) {
    expect_st(command, whole_service().refusing("create_storage_setting"),
              "Query storage settings faiure.\n", calls);
  }
  expect_st({"spacelist"}, whole_service().handing_out_null("create_storage_setting"),
            "Query storage settings faiure.\n", calls);
}

TEST(setting, the_result_of_the_create_call_is_not_looked_at) {
  expect_results_are_not_looked_at(whole_service(), st_command({"spacelist"}),
                                   {"create_storage_setting"});
}

TEST(volset, accepts_a_type_and_a_state_of_0_or_1_only) {
  for (auto const& [type, state] :
       std::vector<std::pair<std::string, std::string>>{{"1", "2"},
                                                        {"2", "1"},
                                                        {"-1", "0"},
                                                        {"0", "-1"},
                                                        {"4294967297", "1"},
                                                        {"1", "4294967297"},
                                                        {"4294967296", "0"},
                                                        {"0", "-4294967296"},
                                                        {"9", "9"}}) {
    expect_usage({"volset", "Vol1", type, state}, entered_and_released);
  }
}

TEST(volset, hands_on_name_type_and_state) {
  std::string const id = "1:" + filled(32, 'v');
  for (auto const& [type, state, codes] :
       std::vector<std::array<std::string, 3>>{{"1", "0", "type 2, state 1"},
                                               {"0", "1", "type 0, state 0"},
                                               {"1", "1", "type 2, state 0"},
                                               // Words that are no numbers are 0.
                                               {"x", "", "type 0, state 1"}}) {
    auto const result = run(whole_service(), st_command({"volset", "Vol1", type, state}));
    EXPECT_EQ(result.output, "");
    ASSERT_EQ(result.calls.size(), 10U);
    EXPECT_EQ(result.calls[3], "setting.get_volume_list()");
    EXPECT_EQ(result.calls[5], "setting.set_volume_info(" + id + ", name name field, " + codes +
                                   ", volume_no 1, space_uuid " + filled(36, 'A') + ")");
  }
}

TEST(recoverid, prints_nothing_and_calls_nothing) {
  for (std::string const channel : {"3", "-1", "abc", ""}) {
    expect_st({"recoverid", channel}, whole_service(), "", dispatched({}));
  }
}

TEST(name, reaches_the_handler_cut_to_511_characters) {
  std::string const name = filled(600, 'n');
  std::string const cut = filled(511, 'n');
  EXPECT_EQ(output_of({"vollist", name}), "\nno space [" + cut + "] info\n");
  EXPECT_EQ(output_of({"spaceinfo", name}), "\nno space [" + cut + "] info\n");
  EXPECT_EQ(output_of({"volchn", name}), "Cannot fine volume [" + cut + "]\n");
  EXPECT_EQ(output_of({"volset", name, "0", "0"}), "Cannot fine volume [" + cut + "]\n");
}

TEST(name, of_511_characters_arrives_whole) {
  std::string const name = filled(511, 'n');
  EXPECT_EQ(output_of({"vollist", name}), "\nno space [" + name + "] info\n");
}

TEST(name, of_600_characters_finds_what_is_called_by_its_first_511) {
  std::string const name = filled(600, 'n');
  std::string const cut = filled(511, 'n');
  auto script = whole_service();
  script.spaces.push_back(space(cut, 1024, 512, 'c'));
  script.volumes.push_back(volume("/nowhere/share/" + cut, 3, 'x', 'c'));
  EXPECT_EQ(output_of({"vollist", name}, script),
            "Space: " + cut + "\n[" + cut +
                "], total size: 1 GB, used: 512 MB, use 50.00% [Normal                   ]\n\n"
                "[01] [" +
                filled(127, 'n') +
                "], [NORMAL] [ACTIVE             ], total size 0 GB, used 0 MB, use nan%\n");
  auto const info = output_of({"spaceinfo", name}, script);
  EXPECT_EQ(info.substr(0, info.find('\n') + 1),
            "Space: " + cut + " uuid: [" + filled(36, 'c') + "]\n");
  EXPECT_EQ(output_of({"volchn", name}, script), "[01] uses channel[04]\n");
  EXPECT_EQ(output_of({"volset", name, "0", "0"}, script), "");
}

TEST(channel_id, text_that_is_no_number_is_channel_0) {
  EXPECT_EQ(output_of({"voluse", "abc"}), "ch01 volume=[]\n");
  EXPECT_EQ(output_of({"voluse", "1x"}), "ch02 volume=[Vol1]\n");
}

TEST(channel_id, saturates_so_that_no_large_number_means_all_channels) {
  EXPECT_EQ(output_of({"voluse", "4294967295"}), "");
  EXPECT_EQ(output_of({"volclean", "4294967295"}), "Recycle process done.\n");
  EXPECT_EQ(output_of({"nullid", "18446744073709551615"}),
            "\nTotal have [0] time period data has null storage id.\n");
}

TEST(plug_play_service, is_obtained_before_and_released_after_voluse_and_volchn) {
  expect_st({"voluse", "1"}, whole_service(), "ch02 volume=[Vol1]\n",
            dispatched_with_service({"setting.get_volume_list()", volume_channels_question(1),
                                     volume_channels_question(2)}));
  expect_st({"volchn", "Vol2"}, whole_service(), "[01] uses channel[03]\n",
            dispatched_with_service({"setting.get_volume_list()", volume_channels_question(2)}));
}

TEST(plug_play_service, a_null_one_goes_to_the_handler_and_is_destroyed_all_the_same) {
  auto const script = whole_service().handing_out_null("create_plug_play_service");
  lines const calls =
      dispatched({"CKivStorageDaemon#1.create_plug_play_service(null)", "setting.get_volume_list()",
                  "CKivStorageDaemon#1.destroy_plug_play_service(null)"});
  expect_st({"voluse", "1"}, script, "ch02 volume=[]\n", calls);
  expect_st({"volchn", "Vol2"}, script, "NO channel using volume [Vol2]\n", calls);
}

TEST(plug_play_service, no_other_command_asks_for_it) {
  for (words const& command : accepted) {
    bool const wanted = command[0] == "voluse" || command[0] == "volchn";
    auto const calls = run_st(whole_service(), command).calls;
    EXPECT_EQ(lines_with(calls, "create_plug_play_service").size(), wanted ? 1U : 0U)
        << joined(command);
  }
}

TEST(every_command, ends_with_status_0_and_releases_in_reverse_order) {
  for (words const& command : accepted) {
    SCOPED_TRACE(joined(command));
    auto const result = run(whole_service(), st_command(command));
    EXPECT_NE(result.output, usage());
    ASSERT_GE(result.calls.size(), 6U);
    EXPECT_EQ(lines(result.calls.end() - 3, result.calls.end()),
              (lines{"CKivStorage#1.destroy_storage_setting(storage_setting)",
                     "~CKivStorageDaemon#1", "~CKivStorage#1"}));
    // The two routines that no word reaches.
    EXPECT_EQ(lines_with(result.calls, "get_space_channel_list("), lines{});
    EXPECT_EQ(lines_with(result.calls, "make_hour_folder_full_path("), lines{});
  }
  EXPECT_EQ(accepted.size(), 10U);
}

TEST(when_a_call_throws, the_entry_objects_go_daemon_first_and_the_interfaces_stay) {
  auto const result = run_st(whole_service().throwing("get_volume_channels"), {"volchn", "Vol1"});
  EXPECT_EQ(result.escaped, "get_volume_channels");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.calls,
            (lines{"CKivStorage#1()", "CKivStorageDaemon#1()",
                   "CKivStorage#1.create_storage_setting(null) = storage_setting",
                   "CKivStorageDaemon#1.create_plug_play_service(null) = plug_play_service",
                   "setting.get_volume_list()", volume_channels_question(1) + " throws",
                   "~CKivStorageDaemon#1", "~CKivStorage#1"}));
}

TEST(when_a_call_throws, every_command_releases_what_it_obtained) {
  for (words const& command : accepted) {
    SCOPED_TRACE(joined(command));
    int const calls = expect_releases_when_any_call_throws(whole_service(), st_command(command));
    EXPECT_GE(calls, 4) << "constructors, create, destroy";
  }
}

TEST(when_a_call_throws, the_usage_path_unwinds_instead_of_printing) {
  lines const entered(entered_and_released.begin(), entered_and_released.end() - 1);
  auto const result = run_st(whole_service().throwing("destroy_storage_setting"), {"vollist"});
  EXPECT_EQ(result.escaped, "destroy_storage_setting");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(
      result.calls,
      chain({entered,
             {entered_and_released.back() + " throws", "~CKivStorageDaemon#1", "~CKivStorage#1"}}));
}

TEST(when_a_call_throws, a_constructed_entry_object_goes_with_the_one_that_could_not_be) {
  auto const result = run_st(whole_service().throwing("CKivStorageDaemon"), {});
  EXPECT_EQ(result.escaped, "CKivStorageDaemon");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.calls,
            (lines{"CKivStorage#1()", "CKivStorageDaemon#1() throws", "~CKivStorage#1"}));
}

}  // namespace
}  // namespace command_test
