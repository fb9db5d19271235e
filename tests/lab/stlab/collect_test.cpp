// What stlab collects for a report of a fault.
#include <sys/stat.h>

#include <fstream>

#include "snapshot.h"
#include "stlab_test.h"

namespace {

namespace fs = std::filesystem;
using support::holds;

class stlab_collect : public stlab_program::stlab_test {
 protected:
  fs::path const report = folder / "report";

  std::string collected(std::string const& options = "") {
    expect_done(run("collect " + recorder.string() + " --output " + report.string() + options),
                "collected into " + report.string() + "\n");
    return support::content_of(report);
  }
};

TEST_F(stlab_collect, holds_versions_findings_schema_and_counts) {
  make();
  record(0, stream(0), 0, 2);
  fs::remove(volume(1).path / "identity");
  support::unchanged const watched(recorder);
  expect_parts(collected(),
               {"== Version ==\nstlab ",
                " UTC\n\n== Check ==\nnot-mounted: volume vol2: ", "\n== Schema ==\nSQLite ",
                "application 1398033474, format 1\nCREATE TABLE recorder",
                "\n== Counts ==\nrecorder 1\nspace 2\nvolume 4\n", "period 1\n",
                "unit recorded 2\n", "\n== Trace ==\nnone is named\n"});
}

TEST_F(stlab_collect, of_no_recorder_tells_why_there_is_none) {
  expect_parts(collected(), {"== Check ==\n" + recorder.string() + ": cannot open recorder: ",
                             "== Counts ==\n" + recorder.string() + ": cannot open recorder: "});
}

TEST_F(stlab_collect, of_a_catalogue_that_is_refused_tells_why) {
  make();
  fs::path const catalogue = recorder / "catalogue.db";
  fs::remove(catalogue);
  ASSERT_EQ(0, mkfifo(catalogue.c_str(), 0600));
  expect_parts(collected(), {"== Schema ==\n" + recorder.string() +
                             ": not a recorder: catalogue.db is not a file"});
}

TEST_F(stlab_collect, leaves_nothing_of_a_report_that_cannot_be_written) {
  make();
  auto const result =
      support::run({"/bin/sh", "-c",
                    "trap '' XFSZ; ulimit -f 4; exec '" STLAB_PROGRAM "' collect '" +
                        recorder.string() + "' --output '" + report.string() + "'"},
                   extra, folder);
  expect_refused(result, report.string() + ": cannot write: File too large");
  EXPECT_FALSE(fs::exists(report));
}

TEST_F(stlab_collect, waits_for_no_trace) {
  make();
  fs::path const pipe = folder / "pipe";
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  EXPECT_TRUE(holds(collected(" --trace " + pipe.string()), pipe.string() + ": not a file\n"));
  fs::remove(report);
  auto const absent = (folder / "absent").string();
  EXPECT_TRUE(holds(collected(" --trace " + absent), absent + ": No such file or directory\n"));
}

TEST_F(stlab_collect, takes_the_lines_of_calls_from_the_end_of_a_trace) {
  make();
  fs::path const calls = folder / "trace";
  {
    std::ofstream lines(calls);
    std::string const long_call = R"(["long",")" + std::string(1000, 'x') + "\"]\n";
    lines << R"(["first"])" << '\n';
    for (int i = 0; i < 5000; ++i) lines << long_call;
    lines << "a password\n"
          << R"(["last",")"
          << "\x1b\"]\n";
  }
  auto const typed = collected(" --trace " + calls.string());
  EXPECT_TRUE(holds(typed, R"(["last","\x1b"])"));
  EXPECT_FALSE(holds(typed, "password"));
  EXPECT_FALSE(holds(typed, "first"));
  EXPECT_LT(typed.size(), 5U << 20U);
  fs::remove(report);
  extra["STLAB_TRACE"] = calls.string();
  auto const named = collected();
  EXPECT_EQ(typed.substr(typed.find("== Trace")), named.substr(named.find("== Trace")));
}

TEST_F(stlab_collect, writes_over_nothing) {
  make();
  std::ofstream(report) << "content";
  expect_refused(run("collect " + recorder.string() + " --output " + report.string()),
                 report.string() + ": cannot create: File exists");
  EXPECT_EQ("content", support::content_of(report));
}

TEST_F(stlab_collect, needs_a_file_to_write) {
  make();
  auto const result = run("collect " + recorder.string());
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(holds(result.errors, "the option --output is missing")) << result.errors;
}

}  // namespace
