// The order of prints and calls in whole runs of each command: what has been
// printed when a call is made. Readings of the clock and the freeing of days are
// told as well. What is printed and called in every other case the tests of the
// commands hold.
#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

#include "command_test.h"
#include "commands/commands.h"

// Every free() of this program, by the linker's doing.
void watched_free(void* block) noexcept __asm__("__wrap_free");
void real_free(void* block) noexcept __asm__("__real_free");

namespace command_test {
namespace {

std::string const normal_status = "[Normal                   ]\n";
std::string const clock_read = "= clock";
std::string const days_freed = "= days freed";
std::string const channel_c = channel_text(0, 'c');
std::string const channel_d = channel_text(1, 'd');
std::string const space_a = filled(36, 'a');
std::string const space_b = filled(36, 'b');
std::int64_t const earliest = now_ms - 86400000;

// The days that are handed out and not yet freed.
std::array<void*, 8>& watched_days() {
  static std::array<void*, 8> blocks{};
  return blocks;
}

volume_info sized(volume_info record, std::int64_t total) {
  record.body.total_size = total;
  return record;
}

// Hands out a day, and notes when it is freed.
void one_day(channel_sid const& /*channel*/, int /*recording_type*/, day_list* days) {
  scripted::fill_days(days, {"2026-11-20"});
  *std::find(watched_days().begin(), watched_days().end(), nullptr) = days->days;
}

// Two spaces with a volume each, two channels; stream 1 of normal recording has
// a period without a storage id.
answers whole_service() {
  auto script =
      answers()
          .with_spaces({space("Storage1", 2048, 512, 'a'), space("Storage2", 4096, 1024, 'b')})
          .with_volumes({sized(volume("/nowhere/share/Vol1", 1, 'v', 'a'), 1024),
                         sized(volume("/nowhere/share/Vol2", 2, 'w', 'b'), 1024)})
          .with_channels({channel(0, 'c'), channel(1, 'd')})
          .with_pairings({pairing(channel_id(0, 'c'), "v1"), pairing(channel_id(0, 'c'), "v2"),
                          pairing(channel_id(1, 'd'), "w1")})
          .with_channels_of_volumes({{1, {1}}, {2, {2}}})
          .with_periods_on(4, 1, {period(earliest, earliest, 1)})
          .with_days_of(one_day);
  script.space_channels = {channel_id(0, 'c'), channel_id(1, 'd')};
  script.clock = [] {
    scripted::call_log::instance().note(clock_read);
    return now;
  };
  return script;
}

lines run(std::vector<std::string> const& words, scripted::script const& script = whole_service()) {
  return story(support::run(script, st_command(words)));
}

lines printed_lines(std::string const& text) {
  lines all = support::lines_of(text);
  for (std::string& line : all) line += '\n';
  return all;
}

lines usage() { return printed_lines(support::content_of(USAGE_TEXT_FILE)); }

// The one stream with recordings, and where a stream's span ends.
bool is_recorded(int type, int stream) { return type == 4 && stream == 1; }
std::int64_t end_of(int type, int stream) {
  return is_recorded(type, stream) ? earliest - 1 : now_ms;
}

// A span's lookup and the clock that it reads, twice when it finds nothing.
lines clocked_lookup(int n, std::string const& channel, int type, int stream) {
  lines calls = span_lookup(n, channel, type, stream);
  if (!is_recorded(type, stream)) calls.insert(calls.end() - 1, clock_read);
  calls.insert(calls.begin() + 2, clock_read);
  return calls;
}

std::string stream_line(int type, int stream) {
  return std::string("\t[") + (type == 4 ? "NR" : "AR") + " S0" + std::to_string(stream) +
         (is_recorded(type, stream) ? "] Success.\n" : "] Can not find time period.\n");
}

TEST(order, usage_is_printed_behind_the_last_call) {
  lines const entered = {"CKivStorage#1()", "CKivStorageDaemon#1()"};
  EXPECT_EQ(run({}), chain({entered, usage()}));
  lines const released = {"CKivStorage#1.create_storage_setting(null) = storage_setting",
                          "CKivStorage#1.destroy_storage_setting(storage_setting)"};
  EXPECT_EQ(run({"vollist"}), chain({entered, released, usage()}));
  EXPECT_EQ(run({"volset", "Vol1", "2", "0"}), chain({entered, released, usage()}));
}

TEST(order, a_setting_that_is_not_obtained_is_told_before_the_entry_objects_go) {
  EXPECT_EQ(run({"spacelist"}, whole_service().refusing("create_storage_setting")),
            (lines{"CKivStorage#1()", "CKivStorageDaemon#1()",
                   "CKivStorage#1.create_storage_setting(null)", "Query storage settings faiure.\n",
                   "~CKivStorageDaemon#1", "~CKivStorage#1"}));
}

TEST(order, spacelist) {
  EXPECT_EQ(
      run({"spacelist"}),
      dispatched({"setting.get_space_list()", "Space count: 2\n",
                  "[01] [Storage1], total size: 2 GB, used: 512 MB, use 25.00% " + normal_status,
                  "[02] [Storage2], total size: 4 GB, used: 1024 MB, use 25.00% " + normal_status,
                  "\n"}));
}

TEST(order, vollist) {
  std::string const listed =
      "[01] [Vol1], [NORMAL] [ACTIVE             ], total size 1 GB, used 0 MB, use 0.00%\n";
  EXPECT_EQ(run({"vollist", "Storage1"}),
            dispatched({"setting.get_space_list()", "Space: Storage1\n",
                        "[Storage1], total size: 2 GB, used: 512 MB, use 25.00% " + normal_status,
                        "\n", "setting.get_volume_list()", listed}));
}

TEST(order, volset) {
  EXPECT_EQ(run({"volset", "Other", "1", "1"}),
            dispatched({"setting.get_volume_list()", "Cannot fine volume [Other]\n"}));
}

TEST(order, volchn) {
  EXPECT_EQ(run({"volchn", "Vol2"}),
            dispatched_with_service({"setting.get_volume_list()", volume_channels_question(2),
                                     "[01] uses channel[03]\n"}));
}

TEST(order, voluse) {
  lines const asked = {"setting.get_volume_list()", volume_channels_question(1),
                       volume_channels_question(2)};
  lines const printed = printed_lines(run_st(whole_service(), {"voluse", "-1"}).output);
  EXPECT_EQ(printed.size(), 32U);
  EXPECT_EQ(run({"voluse", "-1"}), dispatched_with_service(chain({asked, printed})));
}

TEST(order, volclean) {
  lines handler = {"setting.get_space_list()", "setting.get_channel_list(1)", clock_read};
  for (int n = 1; n <= 2; ++n) {
    std::string const channel = n == 1 ? channel_c : channel_d;
    auto const recycled = [&](int index, int type, int stream) {
      auto const tier = [&](int number, std::string const& space) {
        return recycling("CFSTier", number, space, channel, type, stream, end_of(type, stream));
      };
      lines second = tier(2 * index, space_b);
      if (index == 1) second[2] = "Initial Tier to process failure.\n";
      return chain({tier(2 * index - 1, space_a), second, {stream_line(type, stream)}});
    };
    handler.push_back("Recycle --ch0" + std::to_string(n) + "-- data ...\n");
    handler = chain({handler, stream_walk(n, channel, recycled, clocked_lookup)});
  }
  handler.emplace_back("Recycle process done.\n");
  EXPECT_EQ(run({"volclean", "-1"}, whole_service().refusing("init", 2)), dispatched(handler));
}

TEST(order, autoclean) {
  temporary_folder const base;
  auto const folder_of = [&](std::string const& name) {
    return base.path().string() + "/share/" + name + "/FSU_" + filled(32, 'v') + "/preallocate";
  };
  auto script =
      whole_service().with_channels({channel(0, 'c')}).with_volumes({}).refusing("init", 2);
  for (std::string const name : {"gone", "mute", "sound", "leaking", "failing"}) {
    auto const number = static_cast<std::int32_t>(script.volumes.size());
    script.volumes.push_back(
        sized(volume(base.path().string() + "/share/" + name, number, 'v'), 2000));
    if (name != "gone") std::filesystem::create_directories(folder_of(name));
  }
  script.program = [&](std::vector<std::string> const& arguments) -> std::optional<std::string> {
    if (arguments.at(0) == folder_of("mute")) return std::nullopt;
    return arguments.at(0) == folder_of("sound") ? "2048000\tx\n" : "0\tx\n";
  };

  auto const probe = [&](std::string const& name) {
    return "velt_popen(r, /usr/bin/du, " + folder_of(name) + ")";
  };
  std::string const announced =
      "Size lost 2000 MB over 100 MB(%5) is not resonable. Start to recycle volume using space "
      "...\n";
  // A leaking volume, the n-th.
  auto const leaking = [&](int n, std::string const& name) {
    auto const recycled = [&](int, int type, int stream) {
      if (!is_recorded(type, stream)) return lines{};
      lines unit = recycling("CFSUnit", n, std::to_string(n + 2) + ":" + filled(32, 'v'), channel_c,
                             type, stream, end_of(type, stream));
      if (n == 2) unit[2] = "Initial Unit to process failure.\n";
      return unit;
    };
    return chain(
        {{probe(name), "velt_pclose()",
          "Volume [" + name + "] total size 1 GB(2000 MB), used 0 MB(preallocate_remain 0 MB).\n",
          announced, "setting.get_channel_list(1)", clock_read},
         stream_walk(n, channel_c, recycled, clocked_lookup)});
  };
  EXPECT_EQ(
      run({"autoclean"}, script),
      dispatched(chain(
          {{"setting.get_volume_list()",
            "Volume [" + base.path().string() + "/share/gone] path does not exist\n", probe("mute"),
            "Can not get preallocate remain size info.\n", probe("sound"), "velt_pclose()"},
           leaking(1, "leaking"),
           leaking(2, "failing"),
           {"Volume space leak detected count: 2\n", "recycle check process done.\n"}})));
}

TEST(order, nullid) {
  lines told = {"CKivChannel#1()", "setting.get_channel_list(1)", clock_read};
  for (int n = 1; n <= 2; ++n) {
    std::string const session = "session#" + std::to_string(n);
    std::string const shown = "ch0" + std::to_string(n);
    told.push_back("CKivChannel#1.create_channel_session(" + (n == 1 ? channel_c : channel_d) +
                   ", null) = " + session);
    for (std::string const stream :
         {"4, 1", "4, 2", "4, 3", "4, 4", "1, 1", "1, 2", "1, 3", "1, 4"}) {
      told.push_back(session + ".get_time_period_list(" + stream + ", 0, " +
                     std::to_string(now_ms) + ", 0, 1, 1)");
      if (stream == "4, 1") {
        told.push_back(shown + " list:\n");
        told.emplace_back("\t[NR S01] [2026-11-20 00:00:00]-[2026-11-20 00:00:00]\n");
      }
      if (n == 1 && stream == "4, 3")
        told.push_back(shown + " [NR S03] retrieve time period fail\n");
    }
    told.push_back("CKivChannel#1.destroy_channel_session(" + session + ")");
  }
  told = chain(
      {told, {"\n", "Total have [2] time period data has null storage id.\n", "~CKivChannel#1"}});
  EXPECT_EQ(run({"nullid", "-1"}, whole_service().refusing("get_time_period_list", 3)),
            dispatched(told));
}

TEST(order, recoverid) { EXPECT_EQ(run({"recoverid", "-1"}), dispatched({})); }

lines const spaceinfo_opened = {"setting.get_space_list()",
                                "Space: Storage1 uuid: [" + space_a + "]\n",
                                "\n",
                                "setting.get_space_channel_storage_list(" + space_a + ")",
                                "CKivStorage#2()",
                                "channel: " + filled(32, 'c') + "\n",
                                "    storage_id: v1\n",
                                "    storage_id: v2\n"};

// From the n-th configuration to the sizes.
lines channel_report(int n, std::string const& channel, std::string const& number,
                     std::string const& ids) {
  std::string const configuration = "configuration#" + std::to_string(n);
  return {"CKivStorage#2.create_channel_configuration(" + channel + ", null) = " + configuration,
          configuration + ".get_recording_days(4, 255, " + ids + ", no days)",
          "    Normal total days: 1\n",
          "        day[0] = 2026-11-20\n",
          days_freed,
          configuration + ".get_recording_days(1, 255, " + ids + ", no days)",
          "    Alarm total days: 1\n",
          "        day[0] = 2026-11-20\n",
          days_freed,
          "CKivStorage#2.destroy_channel_configuration(" + number + ", " + configuration + ")",
          "setting.get_channel_recording_size(" + space_a + ", " + channel + ", 4, 0)",
          "setting.get_channel_recording_size(" + space_a + ", " + channel + ", 1, 0)",
          "setting.get_channel_total_recording_size(" + space_a + ", " + channel + ", 0)",
          "    Normal recording size: 0(MB)\n",
          "    Alarm recording size: 0(MB)\n",
          "    All recording size: 0(MB)\n",
          "\n"};
}

TEST(order, spaceinfo_with_one_list_of_days_at_a_time) {
  EXPECT_EQ(run({"spaceinfo", "Storage1"}),
            dispatched(chain({spaceinfo_opened,
                              channel_report(1, channel_c, "0", "v1, v2"),
                              {"channel: " + filled(32, 'd') + "\n", "    storage_id: w1\n"},
                              channel_report(2, channel_d, "1", "w1"),
                              {"Total recording size: 0(MB)  0.00(GB)\n", "~CKivStorage#2"}})));
}

TEST(order, spaceinfo_prints_a_failure_before_it_is_logged) {
  std::string const asked = "CKivStorage#2.create_channel_configuration(" + channel_c + ", null)";
  EXPECT_EQ(
      run({"spaceinfo", "Storage1"},
          whole_service().refusing("create_channel_configuration", 1, -5)),
      dispatched(chain({spaceinfo_opened,
                        {asked, "Error TTimeLineInfo call create_channel_configuration ret=-5\n",
                         "log_Debug(Error TTimeLineInfo call create_channel_configuration ret=-5)",
                         "~CKivStorage#2"}})));
}

TEST(order, list_space_channels) {
  auto const result =
      support::run(whole_service().handing_out_null("create_channel_session", 2),
                   [] { st::list_space_channels(scripted::setting(), "Storage1"); });
  EXPECT_EQ(story(result),
            (lines{"setting.get_space_list()", "Space: Storage1 uuid: [" + space_a + "]\n", "\n",
                   "setting.get_space_channel_list(" + space_a + ")", "CKivChannel#1()",
                   "channel: " + filled(32, 'c') + "\n",
                   "CKivChannel#1.create_channel_session(" + channel_c + ", null) = session#1",
                   "session#1.get_recording_days(4, 0, no days)",
                   "CKivChannel#1.destroy_channel_session(session#1)", days_freed,
                   "channel: " + filled(32, 'd') + "\n",
                   "CKivChannel#1.create_channel_session(" + channel_d + ", null)",
                   "storage.cgi storage_channel.create_channel_session fail!!", "~CKivChannel#1"}));
}

}  // namespace
}  // namespace command_test

void watched_free(void* block) noexcept {
  auto& days = command_test::watched_days();
  auto const found = std::find(days.begin(), days.end(), block);
  if (block != nullptr && found != days.end()) {
    *found = nullptr;
    scripted::call_log::instance().note(command_test::days_freed);
  }
  real_free(block);
}
