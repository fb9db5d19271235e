// The command line: counts, words, conversions, and what stands around a handler.
#include <gtest/gtest.h>

#include <set>

#include "call_lines.h"
#include "child.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::chain;
using support::dispatched;
using support::dispatched_with_service;
using support::lines;
using support::run_st;
using words = std::vector<std::string>;

lines const only_entered = {"CKivStorage#1()", "CKivStorageDaemon#1()"};
lines const entered_and_released = {"CKivStorage#1()", "CKivStorageDaemon#1()",
                                    "CKivStorage#1.create_storage_setting(null) = storage_setting",
                                    "CKivStorage#1.destroy_storage_setting(storage_setting)"};
std::string const zero_ids = support::filled(36, '0') + ", " + support::filled(36, '0');

std::string usage() { return support::content_of(USAGE_TEXT_FILE); }

std::string joined(words const& all) {
  std::string text = "st";
  for (std::string const& each : all) text += " " + each;
  return text;
}

// Two spaces, a volume in each, two channels.
scripted::script recorder() {
  scripted::script script;
  script.clock = [] { return support::now; };
  script.spaces = {support::space("Storage1", 2048, 512, 'a'),
                   support::space("Storage2", 4096, 0, 'b')};
  script.volumes = {support::volume("/nowhere/share/Vol1", 1, 'v', 'a'),
                    support::volume("/nowhere/share/Vol2", 2, 'w', 'b')};
  script.channels = {support::channel(0, 'c'), support::channel(1, 'd')};
  script.space_channels = {support::channel_id(0, 'c')};
  script.pairings = {support::pairing(support::channel_id(0, 'c'), support::filled(32, 'v'))};
  script.volume_channels = [](volume_share_info const& query) {
    return std::list<std::uint32_t>{static_cast<std::uint32_t>(query.volume_no)};
  };
  script.days = [](channel_sid const&, int, day_list* days) {
    scripted::fill_days(days, {"2026-11-20"});
  };
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

void expect_usage(words const& command, lines const& calls) {
  SCOPED_TRACE(joined(command));
  auto const result = run_st(recorder(), command);
  EXPECT_EQ(result.output, usage());
  EXPECT_EQ(result.calls, calls);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, std::nullopt);
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

TEST(argument_count, extra_words_of_spacelist_are_ignored) {
  auto const plain = run_st(recorder(), {"spacelist"});
  EXPECT_EQ(plain.output.substr(0, 15), "Space count: 2\n");
  for (words const& command : {words{"spacelist", "x"}, words{"spacelist", "a", "b", "c"}}) {
    auto const result = run_st(recorder(), command);
    EXPECT_EQ(result.output, plain.output) << joined(command);
    EXPECT_EQ(result.calls, dispatched({"setting.get_space_list()"})) << joined(command);
  }
}

TEST(argument_count, extra_words_of_autoclean_are_ignored) {
  scripted::script empty;
  for (words const& command :
       {words{"autoclean"}, words{"autoclean", "x"}, words{"autoclean", "a", "b", "c"}}) {
    auto const result = run_st(empty, command);
    EXPECT_EQ(result.output, "no volume found\nrecycle check process done.\n") << joined(command);
    EXPECT_EQ(result.calls, dispatched({"setting.get_volume_list()"})) << joined(command);
  }
}

TEST(command_word, unknown_ones_release_the_setting_and_print_usage) {
  for (std::string const word : {"bogus", "", "SpaceList", "spacelis", "spacelistx", "vol", "st"}) {
    expect_usage({word}, entered_and_released);
    expect_usage({word, "x"}, entered_and_released);
  }
}

TEST(command_word, is_cut_to_127_characters_and_matches_nothing_then) {
  std::string const word = "spacelist" + support::filled(191, 'x');
  expect_usage({word}, entered_and_released);
  auto const result = run_st(recorder(), {word});
  EXPECT_EQ(result.copies.front(), "nstrcpy(" + word + ", 128)");
}

TEST(setting, a_null_one_ends_the_run_before_the_word_is_looked_at) {
  auto script = recorder();
  script.faults = {{"create_storage_setting", scripted::effect::refuse}};
  lines const calls = {"CKivStorage#1()", "CKivStorageDaemon#1()",
                       "CKivStorage#1.create_storage_setting(null)", "~CKivStorageDaemon#1",
                       "~CKivStorage#1"};
  auto commands = accepted;
  commands.push_back({"bogus", "x"});
  commands.push_back({"vollist"});
  commands.push_back({"volset", "Vol1", "1", "2"});
  for (words const& command : commands) {
    auto const result = run_st(script, command);
    EXPECT_EQ(result.output, "Query storage settings faiure.\n") << joined(command);
    EXPECT_EQ(result.calls, calls) << joined(command);
    EXPECT_EQ(result.status, 0) << joined(command);
  }
}

TEST(setting, null_with_a_result_of_success_ends_the_run_too) {
  auto script = recorder();
  script.faults = {{"create_storage_setting", scripted::effect::null}};
  EXPECT_EQ(run_st(script, {"spacelist"}).output, "Query storage settings faiure.\n");
}

TEST(setting, the_result_of_the_create_call_is_not_looked_at) {
  auto script = recorder();
  script.faults = {{"create_storage_setting", scripted::effect::complain}};
  auto const result = run_st(script, {"spacelist"});
  EXPECT_EQ(result.output, run_st(recorder(), {"spacelist"}).output);
  EXPECT_EQ(result.calls, dispatched({"setting.get_space_list()"}));
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
  auto const result = run_st(recorder(), {"volset", "Vol1", "1", "0"});
  std::string const id = "1:" + support::filled(32, 'v');
  EXPECT_EQ(result.output, "");
  ASSERT_EQ(result.calls.size(), 10U);
  EXPECT_EQ(result.calls[3], "setting.get_volume_list()");
  EXPECT_EQ(result.calls[5], "setting.set_volume_info(" + id +
                                 ", name name field, type 2, state 1, volume_no 1, space_uuid " +
                                 support::filled(36, 'A') + ")");
}

TEST(volset, hands_on_a_state_of_1_with_either_type) {
  for (auto const& [type, codes] : std::vector<std::pair<std::string, std::string>>{
           {"0", "type 0, state 0,"}, {"1", "type 2, state 0,"}}) {
    auto const result = run_st(recorder(), {"volset", "Vol1", type, "1"});
    EXPECT_EQ(result.output, "");
    ASSERT_EQ(result.calls.size(), 10U);
    EXPECT_NE(result.calls[5].find(codes), std::string::npos) << result.calls[5];
  }
}

TEST(volset, reads_words_that_are_no_numbers_as_0) {
  auto const result = run_st(recorder(), {"volset", "Vol1", "x", ""});
  ASSERT_EQ(result.calls.size(), 10U);
  EXPECT_NE(result.calls[5].find("type 0, state 1,"), std::string::npos) << result.calls[5];
}

TEST(recoverid, prints_nothing_and_calls_nothing) {
  for (std::string const channel : {"3", "-1", "abc", ""}) {
    auto const result = run_st(recorder(), {"recoverid", channel});
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.calls, dispatched({}));
    EXPECT_EQ(result.status, 0);
  }
}

TEST(name, reaches_the_handler_cut_to_511_characters) {
  std::string const name = support::filled(600, 'n');
  std::string const cut = support::filled(511, 'n');
  EXPECT_EQ(run_st(recorder(), {"vollist", name}).output, "\nno space [" + cut + "] info\n");
  EXPECT_EQ(run_st(recorder(), {"spaceinfo", name}).output, "\nno space [" + cut + "] info\n");
  EXPECT_EQ(run_st(recorder(), {"volchn", name}).output, "Cannot fine volume [" + cut + "]\n");
  EXPECT_EQ(run_st(recorder(), {"volset", name, "0", "0"}).output,
            "Cannot fine volume [" + cut + "]\n");
}

TEST(name, of_511_characters_arrives_whole) {
  std::string const name = support::filled(511, 'n');
  EXPECT_EQ(run_st(recorder(), {"vollist", name}).output, "\nno space [" + name + "] info\n");
}

TEST(name, of_600_characters_finds_what_is_called_by_its_first_511) {
  std::string const name = support::filled(600, 'n');
  std::string const cut = support::filled(511, 'n');
  auto script = recorder();
  script.spaces.push_back(support::space(cut, 1024, 512, 'c'));
  script.volumes.push_back(support::volume("/nowhere/share/" + cut, 3, 'x', 'c'));
  EXPECT_EQ(run_st(script, {"vollist", name}).output,
            "Space: " + cut + "\n[" + cut +
                "], total size: 1 GB, used: 512 MB, use 50.00% [Normal                   ]\n\n"
                "[01] [" +
                support::filled(127, 'n') +
                "], [NORMAL] [ACTIVE             ], total size 0 GB, used 0 MB, use nan%\n");
  auto const info = run_st(script, {"spaceinfo", name}).output;
  EXPECT_EQ(info.substr(0, info.find('\n') + 1),
            "Space: " + cut + " uuid: [" + support::filled(36, 'c') + "]\n");
  EXPECT_EQ(run_st(script, {"volchn", name}).output, "[01] uses channel[04]\n");
  EXPECT_EQ(run_st(script, {"volset", name, "0", "0"}).output, "");
}

TEST(channel_id, text_that_is_no_number_is_channel_0) {
  EXPECT_EQ(run_st(recorder(), {"voluse", "abc"}).output, "ch01 volume=[]\n");
  EXPECT_EQ(run_st(recorder(), {"voluse", "1x"}).output, "ch02 volume=[Vol1]\n");
}

TEST(channel_id, saturates_so_that_no_large_number_means_all_channels) {
  EXPECT_EQ(run_st(recorder(), {"voluse", "4294967295"}).output, "");
  EXPECT_EQ(run_st(recorder(), {"volclean", "4294967295"}).output, "Recycle process done.\n");
  EXPECT_EQ(run_st(recorder(), {"nullid", "18446744073709551615"}).output,
            "\nTotal have [0] time period data has null storage id.\n");
}

TEST(plug_play_service, is_obtained_before_and_released_after_voluse_and_volchn) {
  auto const use = run_st(recorder(), {"voluse", "1"});
  EXPECT_EQ(use.output, "ch02 volume=[Vol1]\n");
  EXPECT_EQ(use.calls,
            dispatched_with_service(
                {"setting.get_volume_list()",
                 "plug_play_service.get_volume_channels(-1 0 1 -1 -1, " + zero_ids + ")",
                 "plug_play_service.get_volume_channels(-1 0 2 -1 -1, " + zero_ids + ")"}));
  auto const channels = run_st(recorder(), {"volchn", "Vol2"});
  EXPECT_EQ(channels.output, "[01] uses channel[03]\n");
  EXPECT_EQ(channels.calls,
            dispatched_with_service(
                {"setting.get_volume_list()",
                 "plug_play_service.get_volume_channels(-1 0 2 -1 -1, " + zero_ids + ")"}));
}

TEST(plug_play_service, a_null_one_goes_to_the_handler_and_is_destroyed_all_the_same) {
  auto script = recorder();
  script.faults = {{"create_plug_play_service", scripted::effect::null}};
  lines const calls = {"CKivStorage#1()",
                       "CKivStorageDaemon#1()",
                       "CKivStorage#1.create_storage_setting(null) = storage_setting",
                       "CKivStorageDaemon#1.create_plug_play_service(null)",
                       "setting.get_volume_list()",
                       "CKivStorageDaemon#1.destroy_plug_play_service(null)",
                       "CKivStorage#1.destroy_storage_setting(storage_setting)",
                       "~CKivStorageDaemon#1",
                       "~CKivStorage#1"};
  auto const use = run_st(script, {"voluse", "1"});
  EXPECT_EQ(use.output, "ch02 volume=[]\n");
  EXPECT_EQ(use.calls, calls);
  auto const channels = run_st(script, {"volchn", "Vol2"});
  EXPECT_EQ(channels.output, "NO channel using volume [Vol2]\n");
  EXPECT_EQ(channels.calls, calls);
}

TEST(plug_play_service, no_other_command_asks_for_it) {
  for (words const& command : accepted) {
    bool const wanted = command[0] == "voluse" || command[0] == "volchn";
    int asked = 0;
    for (std::string const& line : run_st(recorder(), command).calls) {
      if (line.find("create_plug_play_service") != std::string::npos) ++asked;
    }
    EXPECT_EQ(asked, wanted ? 1 : 0) << joined(command);
  }
}

TEST(every_command, ends_with_status_0_and_releases_in_reverse_order) {
  for (words const& command : accepted) {
    SCOPED_TRACE(joined(command));
    auto const result = run_st(recorder(), command);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.escaped, std::nullopt);
    EXPECT_NE(result.output, usage());
    ASSERT_GE(result.calls.size(), 6U);
    EXPECT_EQ(lines(result.calls.end() - 3, result.calls.end()),
              (lines{"CKivStorage#1.destroy_storage_setting(storage_setting)",
                     "~CKivStorageDaemon#1", "~CKivStorage#1"}));
  }
}

TEST(every_command, reaches_neither_the_space_channel_listing_nor_the_hour_folder_lookup) {
  std::set<std::string> asked;
  for (words const& command : accepted) {
    for (std::string const& line : run_st(recorder(), command).calls) {
      EXPECT_EQ(line.find("get_space_channel_list("), std::string::npos) << joined(command);
      EXPECT_EQ(line.find("make_hour_folder_full_path("), std::string::npos) << joined(command);
      asked.insert(command[0]);
    }
  }
  EXPECT_EQ(asked.size(), 10U);
}

TEST(when_a_call_throws, the_entry_objects_go_daemon_first_and_the_interfaces_stay) {
  auto script = recorder();
  script.faults = {{"get_volume_channels", scripted::effect::raise}};
  auto const result = run_st(script, {"volchn", "Vol1"});
  EXPECT_EQ(result.escaped, "get_volume_channels");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.calls,
            (lines{"CKivStorage#1()", "CKivStorageDaemon#1()",
                   "CKivStorage#1.create_storage_setting(null) = storage_setting",
                   "CKivStorageDaemon#1.create_plug_play_service(null) = plug_play_service",
                   "setting.get_volume_list()",
                   "plug_play_service.get_volume_channels(-1 0 1 -1 -1, " + zero_ids + ") throws",
                   "~CKivStorageDaemon#1", "~CKivStorage#1"}));
}

TEST(when_a_call_throws, every_command_releases_what_it_obtained) {
  for (words const& command : accepted) {
    SCOPED_TRACE(joined(command));
    int const calls =
        support::expect_releases_when_any_call_throws(recorder(), support::st_command(command));
    EXPECT_GE(calls, 4) << "constructors, create, destroy";
  }
}

TEST(when_a_call_throws, the_usage_path_unwinds_instead_of_printing) {
  lines const entered(entered_and_released.begin(), entered_and_released.end() - 1);
  auto script = recorder();
  script.faults = {{"destroy_storage_setting", scripted::effect::raise}};
  auto const result = run_st(script, {"vollist"});
  EXPECT_EQ(result.escaped, "destroy_storage_setting");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(
      result.calls,
      chain({entered,
             {entered_and_released.back() + " throws", "~CKivStorageDaemon#1", "~CKivStorage#1"}}));
}

TEST(when_a_call_throws, a_constructed_entry_object_goes_with_the_one_that_could_not_be) {
  auto script = recorder();
  script.faults = {{"CKivStorageDaemon", scripted::effect::raise}};
  auto const result = run_st(script, {});
  EXPECT_EQ(result.escaped, "CKivStorageDaemon");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.calls,
            (lines{"CKivStorage#1()", "CKivStorageDaemon#1() throws", "~CKivStorage#1"}));
}

}  // namespace
