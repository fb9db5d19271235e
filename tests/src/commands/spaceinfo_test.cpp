#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <utility>

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
lines const opened = {"setting.get_space_list()",
                      "setting.get_space_channel_storage_list(" + sid + ")", "CKivStorage#1()"};
lines const closed = {"~CKivStorage#1"};

channel_sid const channel_c = support::channel_id(0, 'c');
channel_sid const channel_d = support::channel_id(7, 'd');
std::string const text_c = support::channel_text(0, 'c');
std::string const text_d = support::channel_text(7, 'd');
std::string const id_c = support::filled(32, 'c');
std::string const id_d = support::filled(32, 'd');
std::string const v31 = support::filled(31, 'v');
std::string const w31 = support::filled(31, 'w');

support::outcome spaceinfo(scripted::script const& script, std::string const& name = "Storage1") {
  auto result =
      support::in_child(script, [name] { st::cmd_spaceinfo(scripted::setting(), name.c_str()); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, std::nullopt);
  return result;
}

// No days; sizes 100, 20 and 1000 MB.
scripted::script recorder(std::list<channel_storage_info> const& pairings) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 10, 5, 'a')};
  script.pairings = pairings;
  script.recording_size = [](channel_sid const&, int type) {
    return std::int64_t{type == 4 ? 100 : type == 1 ? 20 : 1000};
  };
  return script;
}

std::string const no_days_and_sizes =
    "    Normal total days: 0\n"
    "    Alarm total days: 0\n"
    "    Normal recording size: 100(MB)\n"
    "    Alarm recording size: 20(MB)\n"
    "    All recording size: 1000(MB)\n"
    "\n";

// A channel's calls, its n-th configuration; `ids` are the storage ids asked with.
lines channel_calls(int n, std::string const& channel, std::string const& number,
                    std::string const& ids) {
  std::string const configuration = "configuration#" + std::to_string(n);
  return {"CKivStorage#1.create_channel_configuration(" + channel + ", null) = " + configuration,
          configuration + ".get_recording_days(4, 255, " + ids + ", no days)",
          configuration + ".get_recording_days(1, 255, " + ids + ", no days)",
          "CKivStorage#1.destroy_channel_configuration(" + number + ", " + configuration + ")",
          "setting.get_channel_recording_size(" + sid + ", " + channel + ", 4, 0)",
          "setting.get_channel_recording_size(" + sid + ", " + channel + ", 1, 0)",
          "setting.get_channel_total_recording_size(" + sid + ", " + channel + ", 0)"};
}

TEST(spaceinfo, shows_storage_ids_days_and_sizes_of_a_channel) {
  auto script = recorder({support::pairing(channel_c, support::filled(32, 'v')),
                          support::pairing(channel_c, support::filled(32, 'w'))});
  script.days = [](channel_sid const&, int type, day_list* days) {
    if (type == 4) scripted::fill_days(days, {"2026-11-20", "2026-11-21"});
    if (type == 1) scripted::fill_days(days, {"2026-11-19"});
  };
  auto const result = spaceinfo(script);
  EXPECT_EQ(result.output, header + "channel: " + id_c +
                               "\n"
                               "    storage_id: " +
                               v31 +
                               "\n"
                               "    storage_id: " +
                               w31 +
                               "\n"
                               "    Normal total days: 2\n"
                               "        day[0] = 2026-11-20\n"
                               "        day[1] = 2026-11-21\n"
                               "    Alarm total days: 1\n"
                               "        day[0] = 2026-11-19\n"
                               "    Normal recording size: 100(MB)\n"
                               "    Alarm recording size: 20(MB)\n"
                               "    All recording size: 1000(MB)\n"
                               "\n"
                               "Total recording size: 1000(MB)  0.98(GB)\n");
  EXPECT_EQ(result.calls, chain({opened, channel_calls(1, text_c, "0", v31 + ", " + w31), closed}));
}

TEST(spaceinfo, no_spaces) {
  auto const result = spaceinfo({});
  EXPECT_EQ(result.output, "no space [Storage1] info\n");
  EXPECT_EQ(result.calls, spaces_only);
  auto script = recorder({});
  script.faults = {{"get_space_list", scripted::effect::refuse}};
  EXPECT_EQ(spaceinfo(script).output, "no space [Storage1] info\n");
}

TEST(spaceinfo, an_unknown_name_prints_an_empty_line_first) {
  for (std::string const name : {"storage1", "Storage", "Storage11", ""}) {
    auto const result = spaceinfo(recorder({}), name);
    EXPECT_EQ(result.output, "\nno space [" + name + "] info\n");
    EXPECT_EQ(result.calls, spaces_only);
  }
}

TEST(spaceinfo, of_two_spaces_with_the_name_the_first_is_shown) {
  auto script = recorder({});
  script.spaces.push_back(support::space("Storage1", 1, 1, 'b'));
  EXPECT_EQ(spaceinfo(script).calls, chain({opened, closed}));
}

TEST(spaceinfo, a_space_without_pairings_shows_a_total_of_0) {
  auto const result = spaceinfo(recorder({}));
  EXPECT_EQ(result.output, header + "Total recording size: 0(MB)  0.00(GB)\n");
  EXPECT_EQ(result.calls, chain({opened, closed}));
}

TEST(spaceinfo, the_total_in_gigabytes_has_two_decimals_and_single_precision) {
  auto const total = [](std::int64_t all) {
    auto script = recorder({support::pairing(channel_c, "v")});
    script.recording_size = [all](channel_sid const&, int type) {
      return type == 0 ? all : std::int64_t{0};
    };
    auto const output = spaceinfo(script).output;
    return output.substr(output.find("Total"));
  };
  EXPECT_EQ(total(1536), "Total recording size: 1536(MB)  1.50(GB)\n");
  EXPECT_EQ(total(-1536), "Total recording size: -1536(MB)  -1.50(GB)\n");
  // 2^30 + 33 MB is no float, the nearest is 2^30; in double it would end in .03.
  EXPECT_EQ(total(1073741857), "Total recording size: 1073741857(MB)  1048576.00(GB)\n");
}

TEST(spaceinfo, the_total_sums_the_all_sizes_only) {
  auto const output =
      spaceinfo(recorder({support::pairing(channel_c, "v"), support::pairing(channel_d, "w")}))
          .output;
  EXPECT_EQ(output.substr(output.find("Total")), "Total recording size: 2000(MB)  1.95(GB)\n");
}

TEST(spaceinfo, neighbouring_pairings_of_a_channel_are_one_report) {
  auto const result =
      spaceinfo(recorder({support::pairing(channel_c, "v1"), support::pairing(channel_c, "v2"),
                          support::pairing(channel_d, "w1")}));
  EXPECT_EQ(result.output, header + "channel: " + id_c +
                               "\n    storage_id: v1\n    storage_id: v2\n" + no_days_and_sizes +
                               "channel: " + id_d + "\n    storage_id: w1\n" + no_days_and_sizes +
                               "Total recording size: 2000(MB)  1.95(GB)\n");
  EXPECT_EQ(result.calls, chain({opened, channel_calls(1, text_c, "0", "v1, v2"),
                                 channel_calls(2, text_d, "7", "w1"), closed}));
}

TEST(spaceinfo, a_channel_whose_pairings_lie_apart_is_reported_and_added_again) {
  auto const result =
      spaceinfo(recorder({support::pairing(channel_c, "v1"), support::pairing(channel_d, "w1"),
                          support::pairing(channel_c, "v2")}));
  std::string const report_c =
      "channel: " + id_c + "\n    storage_id: v1\n    storage_id: v2\n" + no_days_and_sizes;
  EXPECT_EQ(result.output, header + report_c + "channel: " + id_d + "\n    storage_id: w1\n" +
                               no_days_and_sizes + report_c +
                               "Total recording size: 3000(MB)  2.93(GB)\n");
  EXPECT_EQ(result.calls, chain({opened, channel_calls(1, text_c, "0", "v1, v2"),
                                 channel_calls(2, text_d, "7", "w1"),
                                 channel_calls(3, text_c, "0", "v1, v2"), closed}));
}

TEST(spaceinfo, a_leading_channel_with_an_id_of_zeros_is_passed_over_a_later_one_is_not) {
  auto const nobody = support::pairing(support::channel_id(3, '0'), "z");
  auto const leading = spaceinfo(recorder({nobody, support::pairing(channel_c, "v1")}));
  EXPECT_EQ(leading.calls, chain({opened, channel_calls(1, text_c, "0", "v1"), closed}));
  auto const later = spaceinfo(recorder({support::pairing(channel_c, "v1"), nobody}));
  EXPECT_EQ(later.calls,
            chain({opened, channel_calls(1, text_c, "0", "v1"),
                   channel_calls(2, support::channel_text(3, '0'), "3", "z"), closed}));
}

TEST(spaceinfo, channels_are_told_apart_by_their_id_as_terminated_texts) {
  channel_sid first = support::channel_id(1, 'c');
  first.id[4] = '\0';
  channel_sid second = first;
  second.number = 2;
  second.id[20] = 'x';  // behind the terminator
  auto const result =
      spaceinfo(recorder({support::pairing(first, "v1"), support::pairing(second, "v2")}));
  EXPECT_EQ(result.output, header + "channel: cccc\n    storage_id: v1\n    storage_id: v2\n" +
                               no_days_and_sizes + "Total recording size: 1000(MB)  0.98(GB)\n");
}

TEST(spaceinfo, storage_ids_are_cut_to_31_characters) {
  auto const result = spaceinfo(recorder({support::pairing(channel_c, support::filled(31, 'v')),
                                          support::pairing(channel_c, support::filled(32, 'v'))}));
  EXPECT_EQ(
      result.output.substr(0, result.output.find("    Normal total days")),
      header + "channel: " + id_c + "\n    storage_id: " + v31 + "\n    storage_id: " + v31 + "\n");
  EXPECT_EQ(result.calls[4],
            "configuration#1.get_recording_days(4, 255, " + v31 + ", " + v31 + ", no days)");
}

TEST(spaceinfo, a_configuration_that_fails_is_told_logged_and_ends_the_walk) {
  auto script = recorder({support::pairing(channel_c, "v1"), support::pairing(channel_d, "w1"),
                          support::pairing(support::channel_id(8, 'e'), "x1")});
  script.faults = {{"create_channel_configuration", scripted::effect::refuse, 2, -5}};
  auto const result = spaceinfo(script);
  EXPECT_EQ(result.output, header + "channel: " + id_c + "\n    storage_id: v1\n" +
                               no_days_and_sizes + "channel: " + id_d +
                               "\n    storage_id: w1\n"
                               "Error TTimeLineInfo call create_channel_configuration ret=-5\n");
  EXPECT_EQ(result.calls,
            chain({opened,
                   channel_calls(1, text_c, "0", "v1"),
                   {"CKivStorage#1.create_channel_configuration(" + text_d + ", null)",
                    "log_Debug(Error TTimeLineInfo call create_channel_configuration ret=-5)"},
                   closed}));
}

TEST(spaceinfo, a_positive_result_is_a_failure_as_well) {
  auto script = recorder({support::pairing(channel_c, "v1")});
  script.faults = {{"create_channel_configuration", scripted::effect::refuse, 1, 3}};
  EXPECT_EQ(spaceinfo(script).output,
            header + "channel: " + id_c +
                "\n    storage_id: v1\n"
                "Error TTimeLineInfo call create_channel_configuration ret=3\n");
}

TEST(spaceinfo, a_null_configuration_is_told_and_ends_the_walk) {
  auto script = recorder({support::pairing(channel_c, "v1"), support::pairing(channel_d, "w1")});
  script.faults = {{"create_channel_configuration", scripted::effect::null}};
  auto const result = spaceinfo(script);
  EXPECT_EQ(result.output, header + "channel: " + id_c +
                               "\n    storage_id: v1\n"
                               "storage_channel.create_channel_session fail!!\n");
  EXPECT_EQ(
      result.calls,
      chain(
          {opened, {"CKivStorage#1.create_channel_configuration(" + text_c + ", null)"}, closed}));
}

TEST(spaceinfo, other_results_are_not_looked_at) {
  auto const quiet = spaceinfo(recorder({support::pairing(channel_c, "v1")}));
  for (std::string const operation :
       {"get_space_list", "get_space_channel_storage_list", "get_recording_days",
        "get_channel_recording_size", "get_channel_total_recording_size",
        "destroy_channel_configuration"}) {
    auto script = recorder({support::pairing(channel_c, "v1")});
    script.faults = {{operation, scripted::effect::complain}};
    auto const result = spaceinfo(script);
    EXPECT_EQ(result.output, quiet.output) << operation;
    EXPECT_EQ(result.calls, quiet.calls) << operation;
  }
}

TEST(spaceinfo, sizes_that_cannot_be_asked_are_0) {
  auto script = recorder({support::pairing(channel_c, "v1")});
  script.faults = {{"get_channel_recording_size", scripted::effect::refuse, 2},
                   {"get_channel_total_recording_size", scripted::effect::refuse}};
  auto const output = spaceinfo(script).output;
  EXPECT_EQ(output.substr(output.find("    Normal recording")),
            "    Normal recording size: 100(MB)\n"
            "    Alarm recording size: 0(MB)\n"
            "    All recording size: 0(MB)\n"
            "\n"
            "Total recording size: 0(MB)  0.00(GB)\n");
}

TEST(spaceinfo, a_third_size_that_cannot_be_asked_is_0_beside_the_other_two) {
  auto script = recorder({support::pairing(channel_c, "v1"), support::pairing(channel_d, "w1")});
  script.faults = {{"get_channel_total_recording_size", scripted::effect::refuse, 1}};
  auto const result = spaceinfo(script);
  EXPECT_EQ(result.output.substr(result.output.find("    Normal recording")),
            "    Normal recording size: 100(MB)\n"
            "    Alarm recording size: 20(MB)\n"
            "    All recording size: 0(MB)\n"
            "\n"
            "channel: " +
                id_d + "\n    storage_id: w1\n" + no_days_and_sizes +
                "Total recording size: 1000(MB)  0.98(GB)\n");
  EXPECT_EQ(result.calls, chain({opened, channel_calls(1, text_c, "0", "v1"),
                                 channel_calls(2, text_d, "7", "w1"), closed}));
}

TEST(spaceinfo, sizes_below_0_are_shown_and_added_as_they_are) {
  auto script = recorder({support::pairing(channel_c, "v1"), support::pairing(channel_d, "w1")});
  script.recording_size = [](channel_sid const& channel, int type) {
    if (channel.number == 7) return std::int64_t{1000};
    return std::int64_t{type == 4 ? -100 : type == 1 ? -20 : -300};
  };
  auto const output = spaceinfo(script).output;
  EXPECT_NE(output.find("    Normal recording size: -100(MB)\n"
                        "    Alarm recording size: -20(MB)\n"
                        "    All recording size: -300(MB)\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(output.substr(output.find("Total")), "Total recording size: 700(MB)  0.68(GB)\n");
}

TEST(spaceinfo, sizes_start_from_0_for_every_channel) {
  auto script = recorder({support::pairing(channel_c, "v1"), support::pairing(channel_d, "w1")});
  script.faults = {{"get_channel_total_recording_size", scripted::effect::refuse, 2}};
  auto const output = spaceinfo(script).output;
  EXPECT_NE(output.find("    All recording size: 1000(MB)\n"), std::string::npos);
  EXPECT_NE(output.find("    All recording size: 0(MB)\n"), std::string::npos);
  EXPECT_EQ(output.substr(output.find("Total")), "Total recording size: 1000(MB)  0.98(GB)\n");
}

TEST(spaceinfo, a_count_of_0_prints_the_header_and_frees_the_array) {
  auto script = recorder({support::pairing(channel_c, "v1")});
  script.days = [](channel_sid const&, int, day_list* days) { scripted::fill_days(days, {}); };
  auto const result = spaceinfo(script);
  EXPECT_NE(result.output.find("    Normal total days: 0\n    Alarm total days: 0\n"),
            std::string::npos);
}

TEST(spaceinfo, a_negative_count_prints_the_count_and_frees_the_array) {
  auto script = recorder({support::pairing(channel_c, "v1")});
  script.days = [](channel_sid const&, int type, day_list* days) {
    scripted::fill_days(days, {});
    days->count = type == 4 ? -3 : -1;
  };
  auto const result = spaceinfo(script);
  EXPECT_NE(result.output.find("    Normal total days: -3\n    Alarm total days: -1\n"),
            std::string::npos)
      << result.output;
}

TEST(spaceinfo, a_count_without_an_array_lists_no_day) {
  auto script = recorder({support::pairing(channel_c, "v1")});
  script.days = [](channel_sid const&, int, day_list* days) { days->count = 2; };
  auto const output = spaceinfo(script).output;
  EXPECT_NE(output.find("    Normal total days: 2\n    Alarm total days: 2\n    Normal recording"),
            std::string::npos)
      << output;
}

TEST(spaceinfo, a_day_without_a_text_is_an_empty_one) {
  auto script = recorder({support::pairing(channel_c, "v1")});
  script.days = [](channel_sid const&, int, day_list* days) {
    scripted::fill_days(days, {"2026-11-20", "2026-11-21"});
    std::free(std::exchange(days->days[0], nullptr));
  };
  auto const output = spaceinfo(script).output;
  EXPECT_NE(
      output.find("    Normal total days: 2\n        day[0] = \n        day[1] = 2026-11-21\n"),
      std::string::npos)
      << output;
}

TEST(spaceinfo, a_second_exception_on_the_way_out_leaves_the_first) {
  auto script = recorder({support::pairing(channel_c, "v1")});
  script.faults = {{"get_recording_days", scripted::effect::raise},
                   {"destroy_channel_configuration", scripted::effect::raise}};
  auto const result =
      support::in_child(script, [] { st::cmd_spaceinfo(scripted::setting(), "Storage1"); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, "get_recording_days");
  lines const calls = channel_calls(1, text_c, "0", "v1");
  EXPECT_EQ(result.calls,
            chain({opened, {calls[0], calls[1] + " throws", calls[3] + " throws"}, closed}));
}

TEST(spaceinfo, a_space_id_fills_its_36_characters_and_no_more) {
  auto script = recorder({});
  script.spaces.front().sid.terminator = 0x4242;
  EXPECT_EQ(spaceinfo(script).output, header + "Total recording size: 0(MB)  0.00(GB)\n");
}

TEST(spaceinfo, releases_when_any_call_throws) {
  auto script = recorder({support::pairing(channel_c, "v1"), support::pairing(channel_d, "w1")});
  script.days = [](channel_sid const&, int, day_list* days) {
    scripted::fill_days(days, {"2026-11-20", "2026-11-21"});
  };
  int const calls = support::expect_releases_when_any_call_throws(
      script, [] { st::cmd_spaceinfo(scripted::setting(), "Storage1"); });
  EXPECT_EQ(calls, 3 + 2 * 7);
}

}  // namespace
