#include "lab/check/check.h"

#include <fcntl.h>
#include <unistd.h>

#include "engine_test.h"
#include "lab/volume/layout.h"

namespace {

namespace fs = std::filesystem;
using lab::findings;
using support::now;
using strings = std::vector<std::string>;

// Every case begins with a clean recorder: channel 1 has recorded unit000001
// and unit000002 of vol1.
class check : public support::engine_test {
 protected:
  check() {
    make();
    open().record(first_volume, main_stream, now, 2);
    if (!found().empty()) throw std::runtime_error("the fresh recorder is not clean");
  }

  findings found() const { return lab::check(open(lab::access::read_only)); }

  // As they are printed.
  void expect_found(strings const& wanted) const {
    strings printed;
    for (auto const& each : found()) printed.push_back(lab::printed(each));
    EXPECT_EQ(wanted, printed);
  }
  // All of them on the first volume, which they do not name.
  void expect_on_volume(strings wanted) const {
    for (auto& each : wanted) each.insert(each.find(' ') + 1, "volume vol1: ");
    expect_found(wanted);
  }
  fs::path preallocated() const { return preallocate(first_volume); }
  fs::path hour() const { return storage(first_volume) / hour_name; }

  static constexpr char const* hour_name = "ch01_NR_S00_2026112100";
};

TEST_F(check, finds_a_leak) {
  open().forget(ids(open().periods()));
  auto const leaked = std::string(" is recorded without a period in ") + hour_name;
  expect_on_volume({"leak: unit unit000001" + leaked, "leak: unit unit000002" + leaked});
}

TEST_F(check, finds_a_lost_unit) {
  fs::remove(preallocated() / "unit000008");
  expect_on_volume({"missing: unit unit000008 is missing from preallocate",
                    "sums: sums do not close: total 8, used 2, preallocated 5, lost 0"});
}

TEST_F(check, finds_a_lost_recorded_unit) {
  fs::remove(hour() / "unit000002");
  expect_on_volume({"missing: unit unit000002 is missing from ch01_NR_S00_2026112100"});
}

TEST_F(check, finds_a_unit_in_two_places) {
  fs::copy_file(hour() / "unit000001", preallocated() / "unit000001");
  expect_on_volume(
      {"duplicate: preallocate/unit000001 is a second file of a unit in ch01_NR_S00_2026112100",
       "sums: sums do not close: total 8, used 2, preallocated 7, lost 0"});
}

TEST_F(check, finds_a_unit_in_the_wrong_folder) {
  fs::rename(preallocated() / "unit000005", hour() / "unit000005");
  expect_on_volume(
      {"misplaced: unit unit000005 is in the wrong folder ch01_NR_S00_2026112100, belongs in preallocate",
       "sums: sums do not close: total 8, used 2, preallocated 5, lost 0"});
}

TEST_F(check, finds_a_unit_on_the_wrong_volume) {
  auto const other = storage(second_volume) / hour_name;
  fs::create_directory(other);
  fs::rename(hour() / "unit000001", other / "unit000001");
  strings wanted{"missing: volume vol1: unit unit000001 is missing from ch01_NR_S00_2026112100",
                 "wrong-volume: volume vol2: ch01_NR_S00_2026112100/unit000001 is of volume vol1"};
  expect_found(wanted);
  tamper("DELETE FROM unit WHERE volume_id = 2 AND name = 'unit000001'");
  fs::remove(preallocate(second_volume) / "unit000001");
  wanted.insert(wanted.begin() + 1, "unknown: volume vol2: unknown folder ch01_NR_S00_2026112100");
  expect_found(wanted);
}

// The folder tells of which volume a file is, and there it tells nothing.
TEST_F(check, finds_a_second_file_where_another_volume_lacks_one_elsewhere) {
  auto const other = storage(second_volume) / "ch09_NR_S00_2026112100";
  fs::create_directory(other);
  fs::rename(hour() / "unit000001", other / "unit000001");
  expect_found(
      {"missing: volume vol1: unit unit000001 is missing from ch01_NR_S00_2026112100",
       "duplicate: volume vol2: ch09_NR_S00_2026112100/unit000001 is a second file of a unit in preallocate"});
}

TEST_F(check, finds_a_unit_with_a_second_name) {
  fs::create_hard_link(preallocated() / "unit000005", root().parent_path() / "copy");
  expect_on_volume({"cross-linked: unit unit000005 in preallocate has 2 names"});
}

// Its move makes two names for a moment.
TEST_F(check, finds_no_second_name_of_a_unit_in_transit) {
  tamper(
      "UPDATE unit SET state = 'recycling', period_id = NULL WHERE name = 'unit000001' AND volume_id = 1");
  fs::create_hard_link(hour() / "unit000001", preallocated() / "unit000001");
  expect_on_volume({"in-transit: unit unit000001 is in transit (recycling)"});
}

TEST_F(check, finds_unknown_files_and_folders) {
  support::write_file(hour() / "unknown", "");
  support::write_file(preallocated() / "unit999999", "");
  support::write_file(storage(first_volume) / "note", "");
  support::write_file(root() / "share" / "vol1" / "top", "");
  fs::create_directory(storage(first_volume) / "ch09_NR_S00_2026112100");
  expect_on_volume({"unknown: unknown file top",
                    "unknown: unknown file ch01_NR_S00_2026112100/unknown",
                    "unknown: unknown folder ch09_NR_S00_2026112100", "unknown: unknown file note",
                    "unknown: unknown file preallocate/unit999999"});
}

TEST_F(check, finds_what_belongs_to_no_volume) {
  support::write_file(root() / "note", "");
  fs::create_directory(root() / "old");
  fs::create_directory(root() / "share" / "vol9");
  support::write_file(root() / "share" / "top", "");
  expect_found({"unknown: recorder: unknown file note", "unknown: recorder: unknown folder old",
                "unknown: recorder: unknown file share/top",
                "unknown: recorder: unknown folder share/vol9"});
}

TEST_F(check, finds_nothing_else_in_a_volume_that_is_not_mounted) {
  fs::rename(root() / "share" / "vol1", root().parent_path() / "elsewhere");
  expect_on_volume({"not-mounted: its folder is missing"});
  fs::create_directory(root() / "share" / "vol1");
  expect_on_volume({"not-mounted: its identity is missing"});
}

TEST_F(check, finds_a_short_unit) {
  fs::resize_file(preallocated() / "unit000005", 4096);
  expect_on_volume({"short: unit unit000005 in preallocate is 4096 bytes long instead of 1048576",
                    "sums: sums do not close: total 8, used 2, preallocated 5, lost 0"});
}

TEST_F(check, finds_a_unit_without_its_blocks) {
  fs::resize_file(preallocated() / "unit000005", 0);
  fs::resize_file(preallocated() / "unit000005", 1048576);
  expect_on_volume({"short: unit unit000005 in preallocate has only 0 of 1048576 bytes allocated"});
}

TEST_F(check, finds_a_unit_in_transit) {
  tamper(
      "UPDATE unit SET state = 'recycling', period_id = NULL WHERE name = 'unit000001' AND volume_id = 1");
  expect_on_volume({"in-transit: unit unit000001 is in transit (recycling)"});
}

TEST_F(check, finds_a_bad_unit_and_its_file) {
  tamper("UPDATE unit SET state = 'bad' WHERE name = 'unit000008' AND volume_id = 1");
  expect_on_volume({"bad: unit unit000008 is bad",
                    "bad: preallocate/unit000008 is a file of a bad unit",
                    "sums: sums do not close: total 8, used 2, preallocated 6, lost 1"});
  fs::remove(preallocated() / "unit000008");
  expect_on_volume({"bad: unit unit000008 is bad"});
}

TEST_F(check, finds_a_volume_without_its_identity) {
  fs::remove(root() / "share" / "vol1" / "identity");
  expect_on_volume({"not-mounted: its identity is missing"});
}

TEST_F(check, finds_a_volume_with_anothers_identity) {
  fs::copy_file(root() / "share" / "vol2" / "identity", root() / "share" / "vol1" / "identity",
                fs::copy_options::overwrite_existing);
  expect_on_volume({"not-mounted: its identity is another's"});
}

TEST_F(check, finds_missing_folders) {
  fs::remove_all(preallocated());
  ASSERT_FALSE(found().empty());
  EXPECT_EQ("missing: volume vol1: preallocate is missing", lab::printed(found()[0]));
  fs::remove_all(storage(first_volume));
  expect_on_volume({"unreadable: its storage folder is missing"});
}

TEST_F(check, finds_a_period_without_units) {
  tamper("INSERT INTO period VALUES (77, 2, 1, 3, 0, 3600000, '')");
  expect_found({"period: period 77 ch02_AR_S03_1970010100: its units are missing",
                "null-id: period 77 ch02_AR_S03_1970010100: has no storage id"});
}

TEST_F(check, finds_a_period_of_the_wrong_volume) {
  auto const other = open().volumes()[1].sid_text;
  tamper("UPDATE period SET storage_id = '" + other + "'");
  expect_found({"period: period 1 ch01_NR_S00_2026112100: its storage id is " + other +
                ", its units are on volume vol1"});
}

TEST_F(check, finds_a_unit_of_another_stream) {
  tamper("UPDATE period SET stream = 1");
  std::string const name = "period: period 1 ch01_NR_S01_2026112100: holds unit unit00000";
  auto const rest = std::string(" of volume vol1, which is another stream's or hour's");
  expect_found({name + "1" + rest, name + "2" + rest});
}

TEST_F(check, finds_a_unit_of_another_hour) {
  for (auto const* const by : {"- 3600000", "+ 3600000"}) {
    tamper(std::string("UPDATE period SET start_ms = start_ms ") + by + ", end_ms = end_ms " + by);
    EXPECT_EQ(2U, found().size()) << by;
    tamper(std::string("UPDATE period SET start_ms = start_ms - (") + by +
           "), end_ms = end_ms - (" + by + ")");
    EXPECT_EQ(findings(), found()) << by;
  }
}

TEST_F(check, finds_rows_that_refer_to_nothing) {
  tamper("UPDATE assignment SET channel_id = 55 WHERE id = 2");
  expect_found({"corrupt: catalogue: row 2 of assignment refers to no channel"});
}

TEST_F(check, finds_a_period_without_a_storage_id) {
  open().lose_storage_id(ids(open().periods()));
  expect_found({"null-id: period 1 ch01_NR_S00_2026112100: has no storage id"});
}

TEST_F(check, a_file_systems_own_folder_is_in_order) {
  fs::create_directory(root() / "lost+found");
  fs::create_directory(root() / "share" / "lost+found");
  fs::create_directory(root() / "share" / "vol1" / "lost+found");
  EXPECT_EQ(findings(), found());
}

TEST(finding, is_printed_with_its_class_first) {
  EXPECT_EQ(
      "not-mounted: volume vol1: its folder is missing",
      lab::printed({lab::finding_class::not_mounted, "volume vol1", "its folder is missing"}));
}

}  // namespace
