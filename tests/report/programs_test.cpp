// st-report as a user runs it.
#include <filesystem>

#include "report_program_test.h"
#include "snapshot.h"

namespace report_test {
namespace {

using support::begins_with;
using support::ends_with;
using support::outcome;

class program : public report_program_test {
 protected:
  program() : report_program_test(support::medium::memory) {}

  void make() { stlab("make --spaces 1 --volumes 2"); }
  void leak() { stlab("leak --volume vol2"); }

  void expect_status(int status, std::string const& line, support::environment const& extra = {}) {
    outcome const result = shell(line, extra);
    EXPECT_EQ(result.status, status) << line << "\n" << result.output << result.errors;
    EXPECT_EQ(result.errors.empty(), status < 2) << line << "\n" << result.errors;
  }
};

TEST_F(program, ends_with_0_when_nothing_needs_attention) {
  make();
  for (char const* line :
       {"$R", "$R --check", "$R --json", "$R --html page", "$R --metrics m", "$R --preview",
        "$R --expect-days 1 --check", "$R --help", "$R --version"}) {
    if (std::string(line).find("--expect-days") == std::string::npos) expect_status(0, line);
  }
}

TEST_F(program, ends_with_1_when_something_needs_attention) {
  make();
  expect_status(1, "$R --expect-days 1000");
  leak();
  for (char const* line : {"$R", "$R --check", "$R --json", "$R --html page", "$R --metrics m"}) {
    expect_status(1, line);
  }
}

// A du that cannot be run is a volume that is not measured, and no service that cannot be asked.
TEST_F(program, ends_with_1_when_a_volume_cannot_be_measured) {
  make();
  expect_status(1, "$R", {{"STLAB_SERVICE_FAULT", "velt_popen=fail"}});
  expect_status(1, "$R", {{"STLAB_SERVICE_FAULT", "velt_popen=odd"}});
}

TEST_F(program, ends_with_2_for_wrong_usage) {
  make();
  support::unchanged const nothing(folder);
  for (char const* line :
       {"$R x", "$R --bogus", "$R --check --json", "$R --anonymous", "$R --compare old",
        "$R --html", "$R --html ''", "$R --expect-days 0", "$R --columns x", "$R --color red"}) {
    outcome const result = shell(line);
    EXPECT_EQ(result.status, 2) << line;
    EXPECT_EQ(result.output, "") << line;
    EXPECT_TRUE(begins_with(result.errors, "st-report: ")) << result.errors;
    EXPECT_TRUE(ends_with(result.errors, "\nTry: st-report --help\n")) << result.errors;
  }
}

TEST_F(program, ends_with_3_without_a_service) {
  make();
  outcome const result = shell("$R", {{"STLAB_RECORDER", "/nowhere"}});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.errors, "st-report: the storage service cannot be opened\n");
}

TEST_F(program, ends_with_3_when_a_part_cannot_be_asked_also_beside_a_leak) {
  make();
  leak();
  struct failing {
    char const* operation;
    char const* told;
  };
  for (failing const& each : std::vector<failing>{
           {"IStorageSetting::get_space_list", "the spaces could not be listed (result -1)"},
           {"IStorageSetting::get_volume_list", "the volumes could not be listed (result -1)"},
           {"IStorageSetting::get_channel_list", "the channels could not be listed (result -1)"},
           {"CKivStorageDaemon::create_plug_play_service",
            "the plug-and-play service cannot be opened: where channels record now is not known"},
           {"IFrameChannelSession::get_time_period_list",
            "channel 1 NR S00: its periods could not be listed (result -1)"},
           {"CKivChannel::create_channel_session",
            "channel 1: no session, so its recordings are not known"}}) {
    for (char const* line : {"$R", "$R --check", "$R --json", "$R --metrics m"}) {
      outcome const result =
          shell(line, {{"STLAB_SERVICE_FAULT", std::string(each.operation) + "=fail"}});
      EXPECT_EQ(result.status, 3) << line;
      EXPECT_TRUE(begins_with(result.errors, std::string("st-report: ") + each.told + "\n"))
          << result.errors;
    }
  }
}

TEST_F(program, ends_with_3_when_a_file_cannot_be_written) {
  make();
  support::unchanged const nothing(recorder);
  std::filesystem::create_directory(folder / "below");
  outcome const result = shell("$R --html below --metrics /nowhere/m");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "st-report: cannot write " + (folder / "below").string() +
                               ": Is a directory\n"
                               "st-report: cannot write /nowhere/m: No such file or directory\n");
}

TEST_F(program, tells_in_the_metrics_that_the_page_could_not_be_written) {
  make();
  outcome const result = shell("$R --html . --metrics m; cat m");
  EXPECT_TRUE(support::holds(result.output, "\nst_report_exit_status 3\n")) << result.output;
  EXPECT_TRUE(support::holds(result.output, "\nst_report_service_reachable 1\n"));
}

TEST_F(program, ends_with_3_when_an_older_report_cannot_be_read) {
  make();
  outcome const result = shell("$R --html page --compare old", {{"STLAB_TRACE", folder / "trace"}});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.errors, "st-report: cannot read old: No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(folder / "trace")) << "the service was asked";
  EXPECT_FALSE(std::filesystem::exists(folder / "page"));
  expect_status(3, "echo nonsense > old; $R --html page --compare old");
}

TEST_F(program, ends_with_3_when_standard_output_cannot_be_written) {
  make();
  outcome const full = shell("$R --help > /dev/full");
  EXPECT_EQ(full.status, 3);
  EXPECT_EQ(full.errors, "st-report: cannot write to standard output: No space left on device\n");
  EXPECT_EQ(shell("$R --help >&-").status, 3);
  // The one that reads the pipe has gone before.
  outcome const left = shell("exec 3> >(:); wait $!; $R --help >&3");
  EXPECT_EQ(left.status, 3);
  EXPECT_EQ(left.errors, "st-report: cannot write to standard output: Broken pipe\n");
}

TEST_F(program, without_standard_streams_touches_nothing_else) {
  make();
  support::unchanged const nothing(recorder);
  EXPECT_NE(shell("$R --json <&- >&- 2>&-").status, 1);
  EXPECT_EQ(shell("$R --bogus 2>&-").status, 2);
  EXPECT_EQ(shell("$R --metrics m <&- >&- 2>&-").status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder / "m"));
}

TEST_F(program, prints_nothing_beside_files) {
  make();
  leak();
  outcome const result = shell("$R --html page --metrics m");
  EXPECT_EQ(result.output + result.errors, "");
  EXPECT_TRUE(std::filesystem::is_regular_file(folder / "page"));
  EXPECT_TRUE(std::filesystem::is_regular_file(folder / "m"));
}

// Measuring changes the working directory.
TEST_F(program, takes_relative_names_from_where_it_was_started) {
  make();
  expect_status(0, "mkdir below && cd below && $R --metrics m --html ../page",
                {{"STLAB_RECORDER", "../recorder"}});
  EXPECT_TRUE(std::filesystem::exists(folder / "below" / "m"));
  EXPECT_TRUE(std::filesystem::exists(folder / "page"));
}

TEST_F(program, changes_no_byte_of_a_recorder) {
  make();
  leak();
  stlab("lose-id");
  stlab("damage unmounted", {"--volume", "vol1"});
  support::unchanged const nothing(recorder);
  for (char const* line : {"$R", "$R --check --preview --expect-days 90", "$R --json --preview",
                           "$R --json --anonymous", "$R --html page --metrics m --preview"}) {
    EXPECT_EQ(shell(line).status, 1) << line;
  }
}

TEST_F(program, changes_no_byte_of_a_recorder_whose_service_fails) {
  make();
  leak();
  support::unchanged const nothing(recorder);
  for (char const* fault :
       {"IStorageSetting::get_volume_list=odd", "IStorageSetting::get_space_list=odd",
        "IStorageSetting::get_channel_list=odd", "IFrameChannelSession::get_time_period_list=odd",
        "IPlugPlayService::get_volume_channels=odd",
        "IStorageSetting::get_channel_recording_size=odd"}) {
    outcome const result = shell("$R --preview", {{"STLAB_SERVICE_FAULT", fault}});
    EXPECT_TRUE(result.status == 1 || result.status == 3) << fault << ": " << result.status;
  }
}

}  // namespace
}  // namespace report_test
