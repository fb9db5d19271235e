#include <cstdlib>
#include <utility>

#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

std::string const sid = filled(36, 'a');
std::string const header = "Space: Storage1 uuid: [" + sid + "]\n\n";
lines const spaces_only = {"setting.get_space_list()"};
lines const opened = {"setting.get_space_list()",
                      "setting.get_space_channel_storage_list(" + sid + ")", "CKivStorage#1()"};
lines const closed = {"~CKivStorage#1"};

channel_sid const channel_c = channel_id(0, 'c');
channel_sid const channel_d = channel_id(7, 'd');
std::string const text_c = channel_text(0, 'c');
std::string const text_d = channel_text(7, 'd');
std::string const v31 = filled(31, 'v');
std::string const w31 = filled(31, 'w');

std::function<void()> spaceinfo(std::string const& name = "Storage1") {
  return [name] { st::cmd_spaceinfo(scripted::setting(), name.c_str()); };
}

// No days; sizes 100, 20 and 1000 MB.
answers with_pairings(std::list<channel_storage_info> const& pairings) {
  return answers()
      .with_spaces({space("Storage1", 10, 5, 'a')})
      .with_pairings(pairings)
      .with_sizes_of([](channel_sid const&, int type) {
        return std::int64_t{type == 4 ? 100 : type == 1 ? 20 : 1000};
      });
}
answers const one_channel = with_pairings({pairing(channel_c, "v1")});
answers const two_channels = with_pairings({pairing(channel_c, "v1"), pairing(channel_d, "w1")});

// A channel's report: its storage ids, its days and its sizes in MB.
struct report {
  char key = 'c';
  lines storage_ids = {"v1"};
  std::string days = "    Normal total days: 0\n    Alarm total days: 0\n";
  int normal = 100;
  int alarm = 20;
  int all = 1000;
};
std::string ids_shown(char key, lines const& storage_ids) {
  std::string text = "channel: " + filled(32, key) + "\n";
  for (std::string const& id : storage_ids) text += "    storage_id: " + id + "\n";
  return text;
}
std::string shown(report const& channel) {
  return ids_shown(channel.key, channel.storage_ids) + channel.days +
         "    Normal recording size: " + std::to_string(channel.normal) + "(MB)\n" +
         "    Alarm recording size: " + std::to_string(channel.alarm) + "(MB)\n" +
         "    All recording size: " + std::to_string(channel.all) + "(MB)\n" + "\n";
}
std::string const report_c = shown({});
std::string const report_d = shown({'d', {"w1"}});
std::string with_days(std::string const& days) { return shown({'c', {"v1"}, days}); }
std::string with_sizes(char key, int normal, int alarm, int all) {
  report channel{key, {key == 'c' ? "v1" : "w1"}};
  channel.normal = normal;
  channel.alarm = alarm;
  channel.all = all;
  return shown(channel);
}

std::string const total_0 = "Total recording size: 0(MB)  0.00(GB)\n";
std::string const total_1000 = "Total recording size: 1000(MB)  0.98(GB)\n";
std::string const total_2000 = "Total recording size: 2000(MB)  1.95(GB)\n";

// A channel's calls, its n-th configuration; `ids` are the storage ids asked with.
lines channel_calls(int n, std::string const& channel, std::string const& ids) {
  std::string const configuration = "configuration#" + std::to_string(n);
  std::string const number = channel.substr(0, channel.find(':'));
  return {"CKivStorage#1.create_channel_configuration(" + channel + ", null) = " + configuration,
          configuration + ".get_recording_days(4, 255, " + ids + ", no days)",
          configuration + ".get_recording_days(1, 255, " + ids + ", no days)",
          "CKivStorage#1.destroy_channel_configuration(" + number + ", " + configuration + ")",
          "setting.get_channel_recording_size(" + sid + ", " + channel + ", 4, 0)",
          "setting.get_channel_recording_size(" + sid + ", " + channel + ", 1, 0)",
          "setting.get_channel_total_recording_size(" + sid + ", " + channel + ", 0)"};
}
lines const calls_c = chain({opened, channel_calls(1, text_c, "v1"), closed});
lines const calls_c_d =
    chain({opened, channel_calls(1, text_c, "v1"), channel_calls(2, text_d, "w1"), closed});

answers space_without_terminator() {
  auto script = with_pairings({});
  script.spaces.front().sid.terminator = 0x4242;
  return script;
}

std::vector<run_case> const spaces = {
    {"no_spaces", {}, spaceinfo(), "no space [Storage1] info\n", spaces_only},
    {"a_refused_space_list_is_an_empty_one", with_pairings({}).refusing("get_space_list"),
     spaceinfo(), "no space [Storage1] info\n", spaces_only},
    // An empty line comes first.
    {"letter_case_matters", with_pairings({}), spaceinfo("storage1"),
     "\nno space [storage1] info\n", spaces_only},
    {"a_shorter_name_is_another", with_pairings({}), spaceinfo("Storage"),
     "\nno space [Storage] info\n", spaces_only},
    {"a_longer_name_is_another", with_pairings({}), spaceinfo("Storage11"),
     "\nno space [Storage11] info\n", spaces_only},
    {"an_empty_name_is_another", with_pairings({}), spaceinfo(""), "\nno space [] info\n",
     spaces_only},
    {"of_two_spaces_with_the_name_the_first_is_shown",
     with_pairings({}).with_spaces({space("Storage1", 10, 5, 'a'), space("Storage1", 1, 1, 'b')}),
     spaceinfo(), header + total_0, chain({opened, closed})},
    {"a_space_without_pairings_shows_a_total_of_0", with_pairings({}), spaceinfo(),
     header + total_0, chain({opened, closed})},
    {"a_space_id_fills_its_36_characters_and_no_more",
     space_without_terminator(),
     spaceinfo(),
     header + total_0,
     {"setting.get_space_list()",
      "setting.get_space_channel_storage_list(" + sid + " without terminator)", "CKivStorage#1()",
      "~CKivStorage#1"}},
};
INSTANTIATE_TEST_SUITE_P(spaceinfo_spaces, table_run, testing::ValuesIn(spaces), behaviour_of);

std::pair<channel_sid, channel_sid> same_terminated_text() {
  channel_sid first = channel_id(1, 'c');
  first.id[4] = '\0';
  channel_sid second = first;
  second.number = 2;
  second.id[20] = 'x';  // behind the terminator
  return {first, second};
}
auto const [cut_1, cut_2] = same_terminated_text();
channel_storage_info const of_zeros = pairing(channel_id(3, '0'), "z");
std::string const text_zeros = channel_text(3, '0');

std::vector<run_case> const channels = {
    {"shows_storage_ids_days_and_sizes_of_a_channel",
     with_pairings({pairing(channel_c, filled(32, 'v')), pairing(channel_c, filled(32, 'w'))})
         .with_days_of([](channel_sid const&, int type, day_list* days) {
           if (type == 4) scripted::fill_days(days, {"2026-11-20", "2026-11-21"});
           if (type == 1) scripted::fill_days(days, {"2026-11-19"});
         }),
     spaceinfo(),
     header + "channel: " + filled(32, 'c') + "\n    storage_id: " + v31 +
         "\n    storage_id: " + w31 +
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
         "Total recording size: 1000(MB)  0.98(GB)\n",
     chain({opened, channel_calls(1, text_c, v31 + ", " + w31), closed})},
    {"the_total_sums_the_all_sizes_only", two_channels, spaceinfo(),
     header + report_c + report_d + total_2000, calls_c_d},
    {"neighbouring_pairings_of_a_channel_are_one_report",
     with_pairings({pairing(channel_c, "v1"), pairing(channel_c, "v2"), pairing(channel_d, "w1")}),
     spaceinfo(), header + shown({'c', {"v1", "v2"}}) + report_d + total_2000,
     chain({opened, channel_calls(1, text_c, "v1, v2"), channel_calls(2, text_d, "w1"), closed})},
    {"a_channel_whose_pairings_lie_apart_is_reported_and_added_again",
     with_pairings({pairing(channel_c, "v1"), pairing(channel_d, "w1"), pairing(channel_c, "v2")}),
     spaceinfo(),
     header + shown({'c', {"v1", "v2"}}) + report_d + shown({'c', {"v1", "v2"}}) +
         "Total recording size: 3000(MB)  2.93(GB)\n",
     chain({opened, channel_calls(1, text_c, "v1, v2"), channel_calls(2, text_d, "w1"),
            channel_calls(3, text_c, "v1, v2"), closed})},
    {"a_leading_channel_with_an_id_of_zeros_is_passed_over",
     with_pairings({of_zeros, pairing(channel_c, "v1")}), spaceinfo(),
     header + report_c + total_1000, calls_c},
    {"a_later_channel_with_an_id_of_zeros_is_not_passed_over",
     with_pairings({pairing(channel_c, "v1"), of_zeros}), spaceinfo(),
     header + report_c + shown({'0', {"z"}}) + total_2000,
     chain({opened, channel_calls(1, text_c, "v1"), channel_calls(2, text_zeros, "z"), closed})},
    {"channels_are_told_apart_by_their_id_as_terminated_texts",
     with_pairings({pairing(cut_1, "v1"), pairing(cut_2, "v2")}), spaceinfo(),
     header + "channel: cccc\n" + shown({'c', {"v1", "v2"}}).substr(ids_shown('c', {}).size()) +
         total_1000,
     chain({opened, channel_calls(1, "1:cccc", "v1, v2"), closed})},
    {"storage_ids_are_cut_to_31_characters",
     with_pairings({pairing(channel_c, v31), pairing(channel_c, filled(32, 'v'))}), spaceinfo(),
     header + shown({'c', {v31, v31}}) + total_1000,
     chain({opened, channel_calls(1, text_c, v31 + ", " + v31), closed})},
};
INSTANTIATE_TEST_SUITE_P(spaceinfo_channels, table_run, testing::ValuesIn(channels), behaviour_of);

std::string failed_with(int result) {
  return "Error TTimeLineInfo call create_channel_configuration ret=" + std::to_string(result);
}
lines refused(std::string const& channel, int result) {
  return {"CKivStorage#1.create_channel_configuration(" + channel + ", null)",
          "log_Debug(" + failed_with(result) + ")"};
}

std::vector<run_case> const failures = {
    {"a_configuration_that_fails_is_told_logged_and_ends_the_walk",
     with_pairings(
         {pairing(channel_c, "v1"), pairing(channel_d, "w1"), pairing(channel_id(8, 'e'), "x1")})
         .refusing("create_channel_configuration", 2, -5),
     spaceinfo(), header + report_c + ids_shown('d', {"w1"}) + failed_with(-5) + "\n",
     chain({opened, channel_calls(1, text_c, "v1"), refused(text_d, -5), closed})},
    {"a_positive_result_is_a_failure_as_well",
     one_channel.refusing("create_channel_configuration", 1, 3), spaceinfo(),
     header + ids_shown('c', {"v1"}) + failed_with(3) + "\n",
     chain({opened, refused(text_c, 3), closed})},
    {"a_null_configuration_is_told_and_ends_the_walk",
     two_channels.handing_out_null("create_channel_configuration"), spaceinfo(),
     header + ids_shown('c', {"v1"}) + "storage_channel.create_channel_session fail!!\n",
     chain({opened, {"CKivStorage#1.create_channel_configuration(" + text_c + ", null)"}, closed})},
    {"sizes_that_cannot_be_asked_are_0",
     one_channel.refusing("get_channel_recording_size", 2)
         .refusing("get_channel_total_recording_size"),
     spaceinfo(), header + with_sizes('c', 100, 0, 0) + total_0, calls_c},
    {"a_third_size_that_cannot_be_asked_is_0_beside_the_other_two",
     two_channels.refusing("get_channel_total_recording_size", 1), spaceinfo(),
     header + with_sizes('c', 100, 20, 0) + report_d + total_1000, calls_c_d},
    {"sizes_start_from_0_for_every_channel",
     two_channels.refusing("get_channel_total_recording_size", 2), spaceinfo(),
     header + report_c + with_sizes('d', 100, 20, 0) + total_1000, calls_c_d},
    {"sizes_below_0_are_shown_and_added_as_they_are",
     two_channels.with_sizes_of([](channel_sid const& channel, int type) {
       if (channel.number == 7) return std::int64_t{type == 0 ? 1000 : 1};
       return std::int64_t{type == 4 ? -100 : type == 1 ? -20 : -300};
     }),
     spaceinfo(),
     header + with_sizes('c', -100, -20, -300) + with_sizes('d', 1, 1, 1000) +
         "Total recording size: 700(MB)  0.68(GB)\n",
     calls_c_d},
};
INSTANTIATE_TEST_SUITE_P(spaceinfo_failures, table_run, testing::ValuesIn(failures), behaviour_of);

// What is shown of days that are answered like this; what was allocated is freed.
run_case with_odd_days(std::string const& behaviour, void (*fill)(int, day_list*),
                       std::string const& shown_days) {
  return {behaviour, one_channel.with_days_of([fill](channel_sid const&, int type, day_list* days) {
            fill(type, days);
          }),
          spaceinfo(), header + with_days(shown_days) + total_1000, calls_c};
}

std::vector<run_case> const odd_days = {
    with_odd_days(
        "a_count_of_0_prints_the_header",
        [](int, day_list* days) { scripted::fill_days(days, {}); },
        "    Normal total days: 0\n    Alarm total days: 0\n"),
    with_odd_days(
        "a_negative_count_prints_the_count",
        [](int type, day_list* days) {
          scripted::fill_days(days, {});
          days->count = type == 4 ? -3 : -1;
        },
        "    Normal total days: -3\n    Alarm total days: -1\n"),
    with_odd_days(
        "a_count_without_an_array_lists_no_day", [](int, day_list* days) { days->count = 2; },
        "    Normal total days: 2\n    Alarm total days: 2\n"),
    with_odd_days(
        "a_day_without_a_text_is_an_empty_one",
        [](int type, day_list* days) {
          if (type != 4) return;
          scripted::fill_days(days, {"2026-11-20", "2026-11-21"});
          std::free(std::exchange(days->days[0], nullptr));
        },
        "    Normal total days: 2\n        day[0] = \n        day[1] = 2026-11-21\n"
        "    Alarm total days: 0\n"),
};
INSTANTIATE_TEST_SUITE_P(spaceinfo_days, table_run, testing::ValuesIn(odd_days), behaviour_of);

TEST(spaceinfo, the_total_in_gigabytes_has_two_decimals_and_single_precision) {
  auto const total = [](std::int64_t all) {
    auto const output = run(one_channel.with_sizes_of([all](channel_sid const&, int type) {
                          return type == 0 ? all : std::int64_t{0};
                        }),
                            spaceinfo())
                            .output;
    return output.substr(output.find("Total"));
  };
  EXPECT_EQ(total(1536), "Total recording size: 1536(MB)  1.50(GB)\n");
  EXPECT_EQ(total(-1536), "Total recording size: -1536(MB)  -1.50(GB)\n");
  // 2^30 + 33 MB is no float, the nearest is 2^30; in double it would end in .03.
  EXPECT_EQ(total(1073741857), "Total recording size: 1073741857(MB)  1048576.00(GB)\n");
}

TEST(spaceinfo, other_results_are_not_looked_at) {
  expect_results_are_not_looked_at(
      one_channel, spaceinfo(),
      {"get_space_list", "get_space_channel_storage_list", "get_recording_days",
       "get_channel_recording_size", "get_channel_total_recording_size",
       "destroy_channel_configuration"});
}

TEST(spaceinfo, a_second_exception_on_the_way_out_leaves_the_first) {
  auto const result =
      in_child(one_channel.throwing("get_recording_days").throwing("destroy_channel_configuration"),
               spaceinfo());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, "get_recording_days");
  lines const calls = channel_calls(1, text_c, "v1");
  EXPECT_EQ(result.calls,
            chain({opened, {calls[0], calls[1] + " throws", calls[3] + " throws"}, closed}));
}

TEST(spaceinfo, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(
                two_channels.with_days({"2026-11-20", "2026-11-21"}), spaceinfo()),
            3 + 2 * 7);
}

}  // namespace
}  // namespace command_test
