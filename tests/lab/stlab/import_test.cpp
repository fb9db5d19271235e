// Recorders that stlab makes of reports.
#include "stlab_test.h"

namespace {

using support::holds;
using support::outcome;

// As little as can be read.
char const* const little_report = R"({"format": 1, "made_ms": 1732172400000,
 "spaces": [{"id": "4c0b9a9e-8a3a-5d1c-9d43-4cf1c1f3a2a1",
             "uuid": "8eae8949-000b-53c9-1a38-f74b3ab18a75", "name": "Storage1",
             "status": 0, "spare_state": 0}],
 "volumes": [{"id": "f5df2a8ce37f9531a9d1ecca3c33a6f0", "name": "vol1", "path": "/mnt/vol1",
              "number": 1, "space_uuid": "8eae8949-000b-53c9-1a38-f74b3ab18a75", "type": 0,
              "state": 0, "total_mb": 4000, "used_mb": 2000, "measured": "done",
              "lost_mb": 1000, "leak": true}],
 "channels": [{"number": 1, "id": "428f052c7eae9cd3bfc31309b51bc72b", "volumes": ["vol1"],
               "sizes": [], "storage_ids": ["f5df2a8ce37f9531a9d1ecca3c33a6f0"],
               "streams": [{"recording_type": 4, "stream": 0,
                            "periods": [[1732147200000, 1732150800000, 0],
                                        [1732150800000, 1732154400000, null]]}]}]})";

class stlab_import : public stlab_program::stlab_test {
 protected:
  outcome import(std::string const& report, std::string const& options = "") const {
    support::write_file(folder / "report.json", report);
    return run("import report.json " + recorder.string() + " " + options);
  }
};

TEST_F(stlab_import, makes_a_recorder_and_tells_its_scale) {
  expect_done(import(little_report, "--total-mb 40"),
              "made a recorder in " + recorder.string() +
                  ": 1 space, 1 volume of 40 MB in all, 1 channel, 2 periods\n"
                  "sizes are scaled: 40 MB for 4000 MB\n");
  expect_parts(show(), {"40 units: 10 free, 30 recorded (10 without a period)"});
  // What the report tells is all that check finds.
  expect_parts(check().output, {"leak: ", "null-id: "});
  EXPECT_FALSE(holds(check().output, "period: ")) << check().output;
}

TEST_F(stlab_import, makes_a_gigabyte_at_most_unless_told_otherwise) {
  expect_parts(import(little_report).output, {"sizes are scaled: 1024 MB for 4000 MB\n"});
}

TEST_F(stlab_import, refuses_what_is_no_report_and_makes_nothing) {
  expect_refused(import("{}"), "report.json: no report: format is missing");
  expect_refused(import("[1"), "report.json: no report: not JSON from byte 3 on");
  expect_refused(import(""), "report.json: no report: not JSON from byte 1 on");
  expect_refused(run("import nothing.json " + recorder.string()), "nothing.json: no such file");
  expect_refused(run("import . " + recorder.string()), ".: not a file");
  EXPECT_FALSE(std::filesystem::exists(recorder));
}

TEST_F(stlab_import, refuses_a_folder_that_is_not_empty) {
  std::filesystem::create_directory(recorder);
  support::write_file(recorder / "mine", "");
  expect_refused(import(little_report), recorder.string() + ": folder is not empty");
}

TEST_F(stlab_import, needs_a_report_and_a_folder) {
  EXPECT_EQ(run("import").status, 2);
  support::write_file(folder / "report.json", little_report);
  EXPECT_EQ(run("import report.json").status, 2);
  EXPECT_EQ(run("import report.json " + recorder.string() + " --total-mb 0").status, 2);
}

}  // namespace
