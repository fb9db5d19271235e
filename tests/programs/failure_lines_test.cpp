// Every failure line of st, from the shell: st on a lab recorder, with a fault
// of the service or with damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <set>
#include <tuple>

#include "commands/commands.h"
#include "lab/recorder/recorder.h"
#include "lab/volume/lock.h"
#include "manual_page.h"
#include "program_test.h"

namespace {

namespace fs = std::filesystem;

using support::environment;
using support::words;

// A recorder with one channel, one volume of 20 MB and a leak of 2 MB on it.
class failing : public support::program_test {
 protected:
  failing() {
    stlab("make --spaces 1 --volumes 1 --volume-mb 20 --channels 1 --days 0");
    stlab("leak --hours 2");
  }

  std::string st(words const& command, std::string const& faults = {},
                 environment extra = {}) const {
    SCOPED_TRACE("with " + faults);
    extra.insert({"STLAB_SERVICE_FAULT", faults});
    return program_test::st(command, extra);
  }

  lab::volume_account account() const {
    auto const opened = lab::recorder::open(recorder, lab::access::read_only);
    return opened.account(opened.volumes().front().id);
  }
};

bool has_line(std::string const& output, std::string const& line) {
  auto const lines = support::lines_of(output);
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

struct failure {
  words command;
  std::string faults;
  std::string line;
};

void PrintTo(failure const& which, std::ostream* out) {
  *out << which.command.front() << " with " << which.faults;
}

// A failure line as it comes out of each of these commands with these faults of
// the service (see lab/client/faults.h).
struct failing_print {
  std::string line;
  std::vector<std::pair<words, std::string>> brought_about_by;
  std::string format = line;  // as the source has it, without its line end
};

std::vector<failing_print> const& failing_prints() {
  static std::vector<failing_print> const all{
      {"Query storage settings faiure.",
       {{"spacelist", "CKivStorage::create_storage_setting=fail"},
        {"autoclean", "CKivStorage::create_storage_setting=null"}}},
      {"no space [Storage1] info",
       {{"vollist Storage1", "IStorageSetting::get_space_list=fail"},
        {"spaceinfo Storage1", "IStorageSetting::get_space_list=fail"}},
       "no space [%s] info"},
      {"no find volume at space [Storage1]",
       {{"vollist Storage1", "IStorageSetting::get_volume_list=fail"}},
       "no find volume at space [%s]"},
      {"Cannot fine volume [vol1]",
       {{"volset vol1 0 1", "IStorageSetting::get_volume_list=fail"},
        {"volchn vol1", "IStorageSetting::get_volume_list=fail"}},
       "Cannot fine volume [%s]"},
      {"NO channel using volume [vol1]",
       {{"volchn vol1", "CKivStorageDaemon::create_plug_play_service=fail"},
        {"volchn vol1", "CKivStorageDaemon::create_plug_play_service=null"},
        {"volchn vol1", "IPlugPlayService::get_volume_channels=fail"}},
       "NO channel using volume [%s]"},
      {"No space or channel found.",
       {{"volclean -1", "IStorageSetting::get_space_list=fail"},
        {"volclean -1", "IStorageSetting::get_channel_list=fail"}}},
      {"\t[NR S00] Can not find time period.",
       {{"volclean 0", "IFrameChannelSession::get_time_period_list=fail"}},
       "\\t[%s S%02d] %s"},
      {"Initial Tier to process failure.", {{"volclean 0", "CFSTier::init=fail"}}},
      {"no volume found", {{"autoclean", "IStorageSetting::get_volume_list=fail"}}},
      {"Volume [/mnt/volume] path does not exist",
       {{"autoclean", "IStorageSetting::get_volume_list=odd;CFSUnit::init=fail"}},
       "Volume [%s] path does not exist"},
      {"Can not get preallocate remain size info.", {{"autoclean", "velt_popen=fail"}}},
      {"No channel settings found.", {{"autoclean", "IStorageSetting::get_channel_list=fail"}}},
      {"Initial Unit to process failure.", {{"autoclean", "CFSUnit::init=fail"}}},
      {"No channel found.", {{"nullid -1", "IStorageSetting::get_channel_list=fail"}}},
      {"ch01 [NR S01] retrieve time period fail",
       {{"nullid 0", "IFrameChannelSession::get_time_period_list=fail"},
        {"nullid 0", "CKivChannel::create_channel_session=fail"},
        {"nullid -1", "CKivChannel::create_channel_session=null"}},
       "ch%.2d [%s S%.2d] retrieve time period fail"},
      {"ch01 [AR S04] retrieve time period fail",
       {{"nullid 0", "IFrameChannelSession::get_time_period_list=fail@8"}},
       "ch%.2d [%s S%.2d] retrieve time period fail"},
      {"Error TTimeLineInfo call create_channel_configuration ret=-1",
       {{"spaceinfo Storage1", "CKivStorage::create_channel_configuration=fail"},
        {"spaceinfo Storage1", "CKivStorage::create_channel_configuration=odd"}},
       "Error TTimeLineInfo call create_channel_configuration ret=%d"},
      {"storage_channel.create_channel_session fail!!",
       {{"spaceinfo Storage1", "CKivStorage::create_channel_configuration=null"}}},
  };
  return all;
}

std::vector<failure> failures() {
  std::vector<failure> all;
  for (auto const& each : failing_prints()) {
    for (auto const& [command, faults] : each.brought_about_by) {
      all.push_back({command, faults, each.line});
    }
  }
  return all;
}

class failure_line : public failing, public testing::WithParamInterface<failure> {};

TEST_P(failure_line, is_printed_with_the_fault_and_not_without) {
  failure const& which = GetParam();
  std::int64_t const held = account().held;
  std::string const faulted = st(which.command, which.faults);
  EXPECT_TRUE(has_line(faulted, which.line)) << faulted;
  EXPECT_EQ(account().held, held);
  std::string const sound = st(which.command);
  EXPECT_FALSE(has_line(sound, which.line)) << sound;
}

INSTANTIATE_TEST_SUITE_P(st, failure_line, testing::ValuesIn(failures()));

TEST_F(failing, an_absent_recorder) {
  EXPECT_EQ(st("spacelist", "", {{"STLAB_RECORDER", folder / "nothing"}}),
            "Query storage settings faiure.\n");
}

TEST_F(failing, a_variable_that_cannot_be_read_keeps_st_from_doing_anything) {
  for (auto const& [name, value, complaint] :
       {std::tuple("STLAB_SERVICE_FAULT", "CFSTier::init=fails",
                   "there is no such fault of this operation"),
        std::tuple("STLAB_LOCK_TIMEOUT_MS", "5s",
                   "not a whole number of milliseconds from 0 to 3600000")}) {
    auto const result = run_st("volclean -1", {{name, value}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "Query storage settings faiure.\n");
    EXPECT_EQ(result.errors, std::string("lab client library: ") + name + ": \"" + value +
                                 "\": " + complaint + "\n");
    EXPECT_EQ(account().lost, 2);
  }
}

TEST_F(failing, names_that_nobody_has) {
  EXPECT_EQ(st("vollist nosuch"), "\nno space [nosuch] info\n");
  EXPECT_EQ(st("spaceinfo nosuch"), "\nno space [nosuch] info\n");
  EXPECT_EQ(st("volset nosuch 0 1"), "Cannot fine volume [nosuch]\n");
  EXPECT_EQ(st("volchn nosuch"), "Cannot fine volume [nosuch]\n");
}

TEST_F(failing, a_volume_without_its_preallocate_folder) {
  for (auto const& entry : fs::directory_iterator(recorder / "share" / "vol1")) {
    if (entry.is_directory()) fs::rename(entry.path() / "preallocate", entry.path() / "elsewhere");
  }
  EXPECT_EQ(st("autoclean"), "Volume [" + (recorder / "share" / "vol1").string() +
                                 "] path does not exist\n"
                                 "Volume space leak detected count: 0\n"
                                 "recycle check process done.\n");
}

TEST_F(failing, a_du_that_prints_nothing_makes_a_volume_look_sound) {
  EXPECT_EQ(st("autoclean", "velt_popen=odd"),
            "Volume space leak detected count: 0\n"
            "recycle check process done.\n");
  EXPECT_EQ(account().lost, 2);
}

TEST_F(failing, a_plug_and_play_service_that_is_not_there_leaves_names_empty) {
  EXPECT_EQ(st("voluse 0", "CKivStorageDaemon::create_plug_play_service=null"), "ch01 volume=[]\n");
  EXPECT_EQ(st("voluse 0"), "ch01 volume=[vol1]\n");
}

// The recorder goes on writing for longer than st waits.
TEST_F(failing, a_volume_that_somebody_else_writes) {
  lab::volume const volume = [this] {
    return lab::recorder::open(recorder, lab::access::read_only).volumes().front();
  }();
  lab::volume_lock const other({volume.id, volume.path.filename(), volume.sid_text, volume.path},
                               lab::volume_lock::kind::exclusive, std::chrono::milliseconds(0));
  environment const without_wait{{"STLAB_LOCK_TIMEOUT_MS", "0"}};
  EXPECT_TRUE(has_line(st("volclean 0", {}, without_wait), "Initial Tier to process failure."));
  EXPECT_TRUE(has_line(st("autoclean", {}, without_wait), "Initial Unit to process failure."));
}

// The object stays with the service: only what came with a result of 0 is
// taken for obtained.
TEST_F(failing, a_configuration_that_comes_with_a_failure_is_not_destroyed) {
  std::string const output =
      st("spaceinfo Storage1", "CKivStorage::create_channel_configuration=odd",
         {{"STLAB_TRACE", folder / "trace"}});
  EXPECT_TRUE(
      support::ends_with(output, "Error TTimeLineInfo call create_channel_configuration ret=-1\n"))
      << output;
  std::string const trace = support::content_of(folder / "trace");
  EXPECT_TRUE(support::holds(trace, R"({"result":-1,"obtained":true})")) << trace;
  EXPECT_FALSE(support::holds(trace, "destroy_channel_configuration")) << trace;
}

TEST_F(failing, a_routine_that_no_command_reaches) {
  ::setenv("STLAB_RECORDER", recorder.c_str(), 1);
  ::setenv("STLAB_SERVICE_FAULT", "CKivChannel::create_channel_session=fail", 1);
  testing::internal::CaptureStdout();
  {
    CKivStorage storage;
    IStorageSetting* setting = nullptr;
    storage.create_storage_setting(&setting);
    if (setting != nullptr) st::list_space_channels(setting, "Storage1");
    storage.destroy_storage_setting(&setting);
  }
  std::fflush(stdout);
  std::string const output = testing::internal::GetCapturedStdout();
  ::unsetenv("STLAB_SERVICE_FAULT");
  ::unsetenv("STLAB_RECORDER");
  EXPECT_TRUE(
      support::ends_with(output, "storage.cgi storage_channel.create_channel_session fail!!"))
      << output;
}

// Results that depend on what the service answers, and no failure: nothing is
// printed with a fault that is not printed without.
std::set<std::string> const results{
    R"(%s)",
    R"(\n)",
    R"(Recycle --ch%02d-- data ...\n)",
    R"(Recycle process done.\n)",
    R"(    storage_id: %s\n)",
    R"(        day[%d] = %s\n)",
    R"(    Normal total days: %d\n)",
    R"(    Alarm total days: %d\n)",
    R"(    Normal recording size: %lld(MB)\n)",
    R"(    Alarm recording size: %lld(MB)\n)",
    R"(    All recording size: %lld(MB)\n)",
    R"(Total recording size: %lld(MB)  %.2f(GB))",
    R"(channel: %s\n)",
    R"(Space count: %lu\n)",
    R"([%02d] [%s], total size: %lld GB, used: %lld MB, use %2.2f%% [%s]\n)",
    R"([%s], total size: %lld GB, used: %lld MB, use %2.2f%% [%s]\n)",
    R"([%02d] [%s], [%s] [%s], total size %lld GB, used %lld MB, use %2.2f%%\n)",
    R"(Volume [%s] total size %lld GB(%lld MB), used %lld MB(preallocate_remain %lld MB).\n)",
    R"(Size lost %lld MB over %lld MB(%%5) is not resonable. Start to recycle volume using space ...\n)",
    R"(Volume space leak detected count: %d\n)",
    R"(recycle check process done.\n)",
    R"(Space: %s\n)",
    R"(Space: %s uuid: [%.36s]\n)",
    R"(ch%.2d volume=[%s]\n)",
    R"(ch%.2d list:\n)",
    R"(\t[%s S%.2d] %s-%s\n)",
    R"(\nTotal have [%d] time period data has null storage id.\n)",
    R"([%02d] uses channel[%02d]\n)",
};

TEST(failure_lines, none_in_the_sources_is_left_out) {
  std::set<std::string> tested{"storage.cgi storage_channel.create_channel_session fail!!"};
  for (auto const& each : failing_prints()) tested.insert(each.format);
  std::regex const print(R"re(std::printf\(\s*"((?:[^"\\]|\\.)*)")re");
  int found = 0;
  for (auto const& entry : fs::recursive_directory_iterator(SOURCE_FOLDER)) {
    if (!entry.is_regular_file()) continue;
    std::string const source = support::content_of(entry.path());
    for (std::sregex_iterator match(source.begin(), source.end(), print), end; match != end;
         ++match) {
      std::string format = (*match)[1];
      ++found;
      if (results.count(format) != 0) continue;
      if (support::ends_with(format, "\\n")) format.resize(format.size() - 2);
      EXPECT_EQ(tested.count(format), 1U) << entry.path() << " prints " << format;
    }
  }
  EXPECT_GE(found, 40);
}

// What a line of the manual page stands for: any text is in the place of <name>.
std::regex pattern_of(std::string const& line) {
  std::string const literal =
      std::regex_replace(line, std::regex(R"([.[\](){}*+?^$|\\])"), R"(\$&)");
  return std::regex("\t?" + std::regex_replace(literal, std::regex("<[a-z]+>"), ".+"));
}

TEST(failure_lines, each_is_in_the_manual_page_and_the_page_has_no_others) {
  auto const told = support::manual_page(MANUALS "/st.8").part("DIAGNOSTICS").heads();
  auto const& printed = failing_prints();
  auto const fits = [](std::string const& line, failing_print const& which) {
    return std::regex_match(which.line, pattern_of(line));
  };
  for (failing_print const& each : printed) {
    EXPECT_EQ(std::count_if(told.begin(), told.end(),
                            [&](std::string const& line) { return fits(line, each); }),
              1)
        << each.line;
  }
  for (std::string const& line : told) {
    EXPECT_TRUE(std::any_of(printed.begin(), printed.end(), [&](failing_print const& each) {
      return fits(line, each);
    })) << line;
  }
}

// Whatever the service answers, st ends well and nothing that a period holds is
// given back.
TEST_F(failing, odd_answers_of_every_kind_in_every_command) {
  std::int64_t const held = account().held;
  ASSERT_GT(held, 0);
  words const answers{"IStorageSetting::get_volume_info",
                      "IStorageSetting::get_channel_total_recording_size",
                      "IStorageSetting::get_channel_recording_size",
                      "IStorageSetting::get_space_channel_storage_list",
                      "IStorageSetting::get_space_list",
                      "IStorageSetting::get_volume_list",
                      "IStorageSetting::get_channel_list",
                      "IPlugPlayService::get_volume_channels",
                      "IFrameChannelSession::get_time_period_list",
                      "IChannelStorageConfiguration::get_recording_days",
                      "CKivStorage::create_storage_setting",
                      "CKivStorageDaemon::create_plug_play_service",
                      "CKivChannel::create_channel_session",
                      "velt_popen"};
  for (std::string const& answer : answers) {
    for (words const command :
         {"spacelist", "vollist Storage1", "volset vol1 0 1", "volchn vol1", "voluse -1",
          "volclean -1", "autoclean", "nullid -1", "recoverid -1", "spaceinfo Storage1"}) {
      st(command, answer + "=odd");
    }
    EXPECT_EQ(account().held, held) << answer;
  }
  EXPECT_EQ(stlab("check"), "clean\n");
}

}  // namespace
