#include "report/ask.h"

#include <array>
#include <cstdio>
#include <limits>
#include <map>
#include <optional>

#include "command_test.h"
#include "dump.h"

namespace command_test {
namespace {

using report_test::dump;
using support::put;

void ask() { std::printf("%s", dump(report::ask(report::previewing::no)).c_str()); }
void ask_with_preview() { std::printf("%s", dump(report::ask(report::previewing::yes)).c_str()); }

std::string const space_line = "space Storage1 id " + filled(36, 'a') + " uuid " + filled(36, 'A') +
                               ": 30 of 100, status 0/0 [Normal]\n";

std::string volume_line(int number, std::string const& rest) {
  return "volume vol" + std::to_string(number) + " id " +
         filled(32, static_cast<char>('v' + number)) + " no " + std::to_string(number) + " in " +
         filled(36, 'A') + ": 30 of 100, type 0, state 0 [ACTIVE], " + rest + "\n";
}

std::string channel_line(int number, char key, std::string const& volumes) {
  return "channel " + std::to_string(number) + " id " + filled(32, key) + " records into" +
         volumes + "\n";
}

// A space with volumes vol1, vol2 ... in a temporary folder, 30 of 100 MB used each.
class small_recorder : public testing::Test {
 protected:
  small_recorder() {
    script = answers()
                 .at_now()
                 .with_spaces({space("Storage1", 100, 30)})
                 .with_program_output("71680\t/x\n");
  }

  // With the folder that is measured.
  void add_volume() {
    int const number = static_cast<int>(script.volumes.size()) + 1;
    auto const key = static_cast<char>('v' + number);
    std::string const path = "share/vol" + std::to_string(number);
    base_.make(path + "/FSU_" + filled(32, key) + "/preallocate");
    script.volumes.push_back(volume(base_.path().string() + "/" + path, number, key));
    script.volumes.back().body.total_size = 100;
    script.volumes.back().body.used_size = 30;
  }

  // One volume, two channels of which the second records.
  void make_usual() {
    add_volume();
    script =
        script.with_channels({channel(0, 'c'), channel(3, 'd')})
            .with_channels_of_volumes({{1, {0, 3}}})
            .with_periods_of([](channel_sid const& of, int type, int stream) {
              bool const recorded = of.number == 3 && type == 4 && stream == 1;
              return recorded ? std::list<time_period>{period(now_ms - 5000, now_ms, 1, "id"),
                                                       period(1000, 3000, 1)}
                              : std::list<time_period>{};
            })
            .with_pairings({pairing(channel_id(3, 'd'), "id"), pairing(channel_id(3, 'd'), "id2")})
            .with_sizes_of([](channel_sid const&, int type) { return 100 + type; });
  }

  std::string const period_line = "  NR/4 S1: 1000-3000() " + std::to_string(now_ms - 5000) + "-" +
                                  std::to_string(now_ms) + "(id)\n";
  std::string const size_line = "  on " + filled(36, 'A') + ": 104 101 100\n";

  std::string usual_channels() const {
    return channel_line(1, 'c', " vol1") + channel_line(4, 'd', " vol1") + period_line + size_line;
  }

  answers script;

 private:
  temporary_folder base_;
};

TEST_F(small_recorder, is_told_in_one_pass) {
  make_usual();
  auto const result = run(script, ask);
  EXPECT_EQ(result.output, space_line + volume_line(1, "measured 70, lost 0") + usual_channels());
  lines expected = {"CKivStorage#1()",
                    "CKivStorage#1.create_storage_setting(null) = storage_setting",
                    "setting.get_space_list()",
                    "setting.get_volume_list()",
                    "velt_popen(r, /usr/bin/du, " +
                        std::string(script.volumes.front().body.share.path) + "/FSU_" +
                        filled(32, 'w') + "/preallocate)",
                    "velt_pclose()",
                    "setting.get_channel_list(1)",
                    "CKivChannel#1()"};
  for (int n = 1; n <= 2; ++n) {
    std::string const session = "session#" + std::to_string(n);
    expected.push_back("CKivChannel#1.create_channel_session(" +
                       channel_text(n == 1 ? 0 : 3, n == 1 ? 'c' : 'd') + ", null) = " + session);
    for (int const type : {4, 1}) {
      for (int stream = 0; stream < 5; ++stream) {
        expected.push_back(session + ".get_time_period_list(" + std::to_string(type) + ", " +
                           std::to_string(stream) + ", 0, " + std::to_string(now_ms) +
                           ", 0, 1, 1)");
      }
    }
    expected.push_back("CKivChannel#1.destroy_channel_session(" + session + ")");
  }
  std::string const sized = filled(36, 'a') + ", " + channel_text(3, 'd');
  EXPECT_EQ(result.calls,
            chain({expected,
                   {"~CKivChannel#1", "CKivStorageDaemon#1()",
                    "CKivStorageDaemon#1.create_plug_play_service(null) = plug_play_service",
                    volume_channels_question(1),
                    "setting.get_space_channel_storage_list(" + filled(36, 'a') + ")",
                    "setting.get_channel_recording_size(" + sized + ", 4, 0)",
                    "setting.get_channel_recording_size(" + sized + ", 1, 0)",
                    "setting.get_channel_total_recording_size(" + sized + ", 0)",
                    "CKivStorageDaemon#1.destroy_plug_play_service(plug_play_service)",
                    "CKivStorage#1.destroy_storage_setting(storage_setting)",
                    "~CKivStorageDaemon#1", "~CKivStorage#1"}}));
}

// Whatever is asked, nothing is changed.
bool is_question(std::string const& call) {
  static std::vector<std::string> const changing{"CFS",     ".set_", ".apply_",
                                                 "recycle", ".init", "uninit"};
  return std::none_of(changing.begin(), changing.end(), [&](std::string const& each) {
    return call.find(each) != std::string::npos;
  });
}

TEST_F(small_recorder, is_only_asked) {
  make_usual();
  script = script.with_program_output("1024\t/x\n");
  for (auto const& body : {ask, ask_with_preview}) {
    auto const result = run(script, body);
    EXPECT_GT(result.calls.size(), 40U);
    for (std::string const& call : result.calls) EXPECT_TRUE(is_question(call)) << call;
  }
}

TEST_F(small_recorder, without_a_service_nothing_is_known) {
  make_usual();
  for (auto const& body : {ask, ask_with_preview}) {
    EXPECT_EQ(run(script.handing_out_null("create_storage_setting"), body).output,
              "not asked: the storage service cannot be opened\n");
  }
}

// A failure, and what is told instead of the usual.
struct failure {
  char const* operation;
  std::string told;
};

TEST_F(small_recorder, what_fails_is_named_and_left_out) {
  make_usual();
  std::string const volumes = volume_line(1, "measured 70, lost 0");
  for (failure const& each : std::vector<failure>{
           {"get_space_list", volumes + channel_line(1, 'c', " vol1") +
                                  channel_line(4, 'd', " vol1") + period_line +
                                  "not asked: the spaces could not be listed (result -1)\n"},
           {"get_volume_list", space_line + channel_line(1, 'c', "") + channel_line(4, 'd', "") +
                                   period_line + size_line +
                                   "not asked: the volumes could not be listed (result -1)\n"},
           {"get_channel_list",
            space_line + volumes + "not asked: the channels could not be listed (result -1)\n"},
           {"get_volume_channels",
            space_line + volumes + channel_line(1, 'c', "") + channel_line(4, 'd', "") +
                period_line + size_line +
                "not asked: volume vol1: which channels record into it is not known (result -1)\n"},
           {"create_plug_play_service",
            space_line + volumes + channel_line(1, 'c', "") + channel_line(4, 'd', "") +
                period_line + size_line +
                "not asked: the plug-and-play service cannot be opened: where channels record now "
                "is not known\n"},
           {"get_space_channel_storage_list",
            space_line + volumes + channel_line(1, 'c', " vol1") + channel_line(4, 'd', " vol1") +
                period_line +
                "not asked: space Storage1: which channels it holds is not known (result -1)\n"},
           {"get_channel_total_recording_size",
            space_line + volumes + channel_line(1, 'c', " vol1") + channel_line(4, 'd', " vol1") +
                period_line +
                "not asked: channel 4 on space Storage1: how much is recorded could not be asked "
                "(result -1)\n"}}) {
    SCOPED_TRACE(each.operation);
    EXPECT_EQ(run(script.refusing(each.operation), ask).output, each.told);
  }
}

TEST_F(small_recorder, a_result_is_believed_more_than_an_answer) {
  make_usual();
  std::string const output = run(script.complaining("get_volume_list", 0, 7), ask).output;
  EXPECT_EQ(output.find("\nvolume "), std::string::npos) << output;
  EXPECT_NE(output.find("not asked: the volumes could not be listed (result 7)\n"),
            std::string::npos);
}

TEST_F(small_recorder, streams_that_cannot_be_asked_are_told) {
  make_usual();
  EXPECT_EQ(run(script.refusing("get_time_period_list", 12, 5), ask).output,
            space_line + volume_line(1, "measured 70, lost 0") + channel_line(1, 'c', " vol1") +
                channel_line(4, 'd', " vol1") + "  NR/4 S1: not asked\n" + size_line +
                "not asked: channel 4 NR S01: its periods could not be listed (result 5)\n");
  std::string const output = run(script.handing_out_null("create_channel_session", 1), ask).output;
  EXPECT_EQ(lines_with(support::lines_of(output), "not asked").size(), 11U) << output;
  EXPECT_NE(output.find("not asked: channel 1: no session, so its recordings are not known\n"),
            std::string::npos);
  EXPECT_NE(output.find(period_line), std::string::npos);
}

TEST_F(small_recorder, volumes_are_measured_as_st_measures_them) {
  add_volume();
  struct reading {
    std::optional<std::string> du;
    std::string told;
  };
  for (reading const& each : std::vector<reading>{{"66560\t/x\n", "measured 65, lost 5"},
                                                  {"65536\t/x\n", "measured 64, lost 6, leak"},
                                                  {"81920\t/x\n", "measured 80, lost -10"},
                                                  {"", "failed -, lost -"},
                                                  {std::nullopt, "failed -, lost -"}}) {
    EXPECT_EQ(run(script.with_program_output(each.du), ask).output,
              space_line + volume_line(1, each.told));
  }
  put(script.volumes.front().body.share.path, "/nowhere/share/vol1");
  script.volumes.front().body.share.path[19] = '\0';
  EXPECT_EQ(run(script, ask).output, space_line + volume_line(1, "not mounted -, lost -"));
}

TEST_F(small_recorder, a_volume_without_a_share_name_goes_under_its_number) {
  script.volumes = {volume("/nowhere", -7)};
  std::string const output = run(script, ask).output;
  EXPECT_NE(output.find("volume VolName_-7 id "), std::string::npos) << output;
}

TEST_F(small_recorder, the_channel_with_the_greatest_id_is_passed_over) {
  script.channels = {channel(5, '9'), channel(6, 'c')};
  EXPECT_EQ(run(script, ask).output, space_line + channel_line(7, 'c', ""));
}

TEST_F(small_recorder, codes_have_the_names_that_st_shows) {
  script.spaces = {in_status(space("Storage1", 100, 30), 0, 1),
                   in_status(space("S2", 1, 1, 'b'), 4, 0)};
  std::string const output = run(script, ask).output;
  EXPECT_NE(output.find("status 0/1 [Normal(With Spare)]\n"), std::string::npos) << output;
  EXPECT_NE(output.find("status 4/0 [UNKNOW_STATUS]\n"), std::string::npos) << output;
}

// What makes no sense -------------------------------------------------------------

lines problems_of(answers const& script) {
  lines found = lines_with(support::lines_of(run(script, ask).output), "problem: ");
  for (std::string& each : found) each = each.substr(std::string("problem: ").size());
  return found;
}

TEST_F(small_recorder, that_is_sound_has_no_problem) {
  make_usual();
  EXPECT_EQ(problems_of(script), lines());
}

TEST_F(small_recorder, odd_sizes_are_told_and_kept) {
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  add_volume();
  script.spaces = {space("Storage1", least, most)};
  script.volumes.front().body.total_size = 5;
  script.volumes.front().body.used_size = most;
  script = script.with_channels({channel(0, 'c')})
               .with_pairings({pairing(channel_id(0, 'c'), "id")})
               .with_sizes_of([](channel_sid const&, int type) { return type == 4 ? -1 : least; });
  std::string const smallest = std::to_string(least);
  std::string const greatest = std::to_string(most);
  EXPECT_EQ(problems_of(script),
            (lines{"space Storage1: its total size is negative (" + smallest + " MB)",
                   "channel 1 on space Storage1: the size of normal recordings is negative (-1 MB)",
                   "channel 1 on space Storage1: the size of alarm recordings is negative (" +
                       smallest + " MB)",
                   "channel 1 on space Storage1: the size of all recordings is negative (" +
                       smallest + " MB)",
                   "space Storage1: " + greatest + " MB of " + smallest + " MB are used",
                   "volume vol1: " + greatest + " MB of 5 MB are used"}));
  EXPECT_NE(run(script, ask).output.find(": " + greatest + " of " + smallest), std::string::npos);
}

TEST_F(small_recorder, odd_texts_are_cleaned_and_told) {
  script.spaces = {space("\xff\x1b[2J\xc3\xa4", 1, 1)};
  script.volumes = {volume("/n/share/a\nb", 1)};
  EXPECT_EQ(
      problems_of(script),
      (lines{
          "space 1 of the list: its name holds what is no text: \xef\xbf\xbd\xef\xbf\xbd[2J\xc3\xa4",
          "volume 1 of the list: its name holds what is no text: a\xef\xbf\xbd"
          "b",
          "volume 1 of the list: its path holds what is no text: /n/share/a\xef\xbf\xbd"
          "b"}));
}

TEST_F(small_recorder, doubled_ids_are_told) {
  script.spaces = {space("Storage1", 1, 1), space("Storage2", 1, 1)};
  script.volumes = {volume("/n/share/vol1", 1), volume("/n/share/vol2", 2)};
  script.channels = {channel(0, 'c'), channel(0, 'd'), channel(1, 'c')};
  EXPECT_EQ(problems_of(script), (lines{"space Storage2: another one has the same id",
                                        "space Storage2: another one has the same uuid",
                                        "volume vol2: another one has the same id",
                                        "channel 1: another one has the same number",
                                        "channel 2: another one has the same id"}));
}

TEST_F(small_recorder, a_volume_of_an_unknown_space_is_told) {
  script.volumes = {volume("/n/share/vol1", 1, 'v', 'z')};
  EXPECT_EQ(problems_of(script), (lines{"volume vol1 belongs to no space that is listed"}));
  EXPECT_EQ(problems_of(script.refusing("get_space_list")), lines());
}

TEST_F(small_recorder, odd_periods_are_told_and_kept) {
  script = script.with_channels({channel(0, 'c')})
               .with_periods_on(1, 2,
                                {period(5000, 4000), period(-1, 5), period(0, 253402300800001),
                                 period(0, 253402300800000)});
  EXPECT_EQ(problems_of(script),
            (lines{"channel 1 AR S02: a period ends before it starts: 5000 to 4000 ms",
                   "channel 1 AR S02: a period lies outside the years 1970 to 9999: -1 to 5 ms",
                   "channel 1 AR S02: a period lies outside the years 1970 to 9999: 0 to "
                   "253402300800001 ms"}));
  EXPECT_NE(run(script, ask)
                .output.find("  AR/1 S2: -1-5() 0-253402300800001() "
                             "0-253402300800000() 5000-4000()\n"),
            std::string::npos);
}

TEST_F(small_recorder, at_most_twenty_lines_of_a_kind_are_told) {
  std::list<time_period> const odd(100000, period(5000, 4000));
  script = script.with_channels({channel(0, 'c')}).with_periods_on(4, 0, odd);
  lines const found = problems_of(script);
  ASSERT_EQ(found.size(), 21U);
  EXPECT_EQ(found.back(), "99980 more periods that end before they start");
  script = script.with_periods_on(4, 0, std::list<time_period>(20, period(5000, 4000)));
  EXPECT_EQ(problems_of(script).size(), 20U);
}

// What st would do ------------------------------------------------------------------

TEST_F(small_recorder, a_preview_tells_what_st_would_recycle) {
  add_volume();
  add_volume();
  script.spaces.push_back(space("Storage2", 1, 1, 'b'));
  script = script.with_channels({channel(2, 'c')})
               .with_periods_on(4, 1, {period(now_ms - 5000, now_ms, 1, "id")})
               .with_program_output("1024\t/x\n");
  std::string const start = std::to_string(span_start);
  std::string expected = "preview\n";
  std::string const known = "NR S1 " + start + "-" + std::to_string(now_ms - 5001);
  expected +=
      "autoclean: channel 3 " + known + " on vol1\nautoclean: channel 3 " + known + " on vol2\n";
  for (std::string const type : {"NR", "AR"}) {
    for (int stream = 0; stream < 5; ++stream) {
      std::string const span =
          type == "NR" && stream == 1
              ? known
              : type + " S" + std::to_string(stream) + " " + start + "-" + std::to_string(now_ms);
      for (std::string const target : {"Storage1", "Storage2"}) {
        expected += "volclean: channel 3 " + span;
        expected += " on " + target + "\n";
      }
    }
  }
  std::string const output = run(script, ask_with_preview).output;
  EXPECT_EQ(output.substr(output.find("preview\n")), expected);
}

TEST_F(small_recorder, a_preview_spares_what_st_spares) {
  make_usual();
  // Sound volumes are spared by autoclean, channels without a session by both.
  std::string const output =
      run(script.handing_out_null("create_channel_session"), ask_with_preview).output;
  EXPECT_EQ(output.substr(output.find("preview\n")), "preview\n");
}

TEST_F(small_recorder, a_preview_needs_the_lists) {
  make_usual();
  for (char const* list : {"get_space_list", "get_volume_list", "get_channel_list"}) {
    std::string const output = run(script.refusing(list), ask_with_preview).output;
    EXPECT_EQ(output.find("preview\n"), std::string::npos);
    EXPECT_NE(output.find("not asked: what st would give back is not known without these lists\n"),
              std::string::npos);
  }
}

// What throws -----------------------------------------------------------------------

std::string obtained_by(std::string const& call) {
  if (auto const given = call.find(" = "); given != std::string::npos)
    return call.substr(given + 3);
  bool const constructs = call.front() != '~' && support::ends_with(call, "()") &&
                          call.find('.') == std::string::npos && call.find("velt") != 0;
  return constructs ? call.substr(0, call.size() - 2) : "";
}

// What was obtained and is not released by the end.
std::set<std::string> kept_after(lines const& calls) {
  std::set<std::string> kept;
  for (std::string const& call : calls) {
    if (call.front() == '~') {
      kept.erase(call.substr(1));
    } else if (auto const at = call.find(".destroy_"); at != std::string::npos) {
      std::size_t const begin = call.find('(', at) + 1;
      kept.erase(call.substr(begin, call.find(')', begin) - begin));
    } else if (std::string const object = obtained_by(call); !object.empty()) {
      kept.insert(object);
    }
  }
  return kept;
}

TEST_F(small_recorder, whatever_throws_is_told_and_everything_is_released) {
  make_usual();
  auto const normal = run(script, ask_with_preview);
  EXPECT_EQ(kept_after(normal.calls), std::set<std::string>());
  for (int n = 1;; ++n) {
    SCOPED_TRACE(n);
    answers throwing = script;
    throwing.throw_at = n;
    auto const result = run(throwing, ask_with_preview);
    auto const thrown = lines_with(result.calls, " throws");
    if (thrown.empty()) {
      EXPECT_GT(n, 60);
      break;
    }
    ASSERT_EQ(thrown.size(), 1U);
    // Behind the call that throws stands nothing but releases.
    auto const at = std::find(result.calls.begin(), result.calls.end(), thrown.front());
    for (auto each = at + 1; each != result.calls.end(); ++each) {
      EXPECT_TRUE(each->front() == '~' || each->find(".destroy_") != std::string::npos) << *each;
    }
    EXPECT_EQ(kept_after(result.calls), std::set<std::string>()) << thrown.front();
    EXPECT_NE(result.output.find("not asked: asking ended early: "), std::string::npos);
  }
}

TEST_F(small_recorder, what_was_known_before_it_threw_is_told) {
  make_usual();
  EXPECT_EQ(run(script.throwing("create_channel_session", 2), ask).output,
            space_line + volume_line(1, "measured 70, lost 0") + channel_line(1, 'c', "") +
                "not asked: asking ended early: create_channel_session\n");
}

}  // namespace
}  // namespace command_test
