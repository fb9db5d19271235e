#include "lab/check/check.h"

#include <fcntl.h>
#include <unistd.h>

#include "lab/volume/layout.h"
#include "world.h"

namespace {

namespace fs = std::filesystem;
using world::now;
using strings = std::vector<std::string>;

// Every case begins with a clean recorder: channel 1 has recorded unit000001
// and unit000002 of vol1.
class check : public world::recorder_test {
 protected:
  check() {
    make();
    open().record(first_volume, main_stream, now, 2);
    if (!findings().empty()) throw std::runtime_error("the fresh recorder is not clean");
  }

  strings findings() const { return lab::check(open(lab::access::read_only)); }
  fs::path home() const { return preallocate(first_volume); }
  fs::path away() const { return storage(first_volume) / hour_name; }

  static constexpr char const* hour_name = "ch01_NR_S00_2026112100";
};

TEST_F(check, finds_a_leak) {
  open().forget(ids(open().periods()));
  EXPECT_EQ(
      (strings{
          "leak: volume vol1: unit unit000001 is recorded without a period in ch01_NR_S00_2026112100",
          "leak: volume vol1: unit unit000002 is recorded without a period in ch01_NR_S00_2026112100"}),
      findings());
}

TEST_F(check, finds_a_lost_unit) {
  fs::remove(home() / "unit000008");
  EXPECT_EQ(
      (strings{"missing: volume vol1: unit unit000008 is missing from preallocate",
               "sums: volume vol1: sums do not close: total 8, used 2, preallocated 5, lost 0"}),
      findings());
}

TEST_F(check, finds_a_lost_recorded_unit) {
  fs::remove(away() / "unit000002");
  EXPECT_EQ(strings{"missing: volume vol1: unit unit000002 is missing from ch01_NR_S00_2026112100"},
            findings());
}

TEST_F(check, finds_a_unit_in_two_places) {
  fs::copy_file(away() / "unit000001", home() / "unit000001");
  auto const found = findings();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(
      "duplicate: volume vol1: unit unit000001 is in 2 places: ch01_NR_S00_2026112100 preallocate",
      found[0]);
}

TEST_F(check, finds_a_unit_in_the_wrong_folder) {
  fs::rename(home() / "unit000005", away() / "unit000005");
  EXPECT_EQ(
      (strings{
          "misplaced: volume vol1: unit unit000005 is in the wrong folder ch01_NR_S00_2026112100, "
          "belongs in preallocate",
          "sums: volume vol1: sums do not close: total 8, used 2, preallocated 5, lost 0"}),
      findings());
}

TEST_F(check, finds_unknown_files_and_folders) {
  world::write_file(away() / "unknown", "");
  world::write_file(home() / "unit999999", "");
  world::write_file(storage(first_volume) / "note", "");
  world::write_file(root() / "share" / "vol1" / "top", "");
  fs::create_directory(storage(first_volume) / "ch09_NR_S00_2026112100");
  EXPECT_EQ((strings{"unknown: volume vol1: unknown file top",
                     "unknown: volume vol1: unknown file ch01_NR_S00_2026112100/unknown",
                     "unknown: volume vol1: unknown folder ch09_NR_S00_2026112100",
                     "unknown: volume vol1: unknown file note",
                     "unknown: volume vol1: unknown file preallocate/unit999999"}),
            findings());
}

TEST_F(check, finds_what_belongs_to_no_volume) {
  world::write_file(root() / "note", "");
  fs::create_directory(root() / "old");
  fs::create_directory(root() / "share" / "vol9");
  world::write_file(root() / "share" / "top", "");
  EXPECT_EQ(
      (strings{"unknown: recorder: unknown file note", "unknown: recorder: unknown folder old",
               "unknown: recorder: unknown file share/top",
               "unknown: recorder: unknown folder share/vol9"}),
      findings());
}

TEST_F(check, finds_no_unknown_entry_in_a_volume_that_is_not_mounted) {
  fs::rename(root() / "share" / "vol1", root().parent_path() / "elsewhere");
  EXPECT_EQ(strings{"not-mounted: volume vol1: its folder is missing"}, findings());
  fs::create_directory(root() / "share" / "vol1");
  EXPECT_EQ(strings{"not-mounted: volume vol1: its identity is missing"}, findings());
}

TEST_F(check, finds_a_short_unit) {
  fs::resize_file(home() / "unit000005", 4096);
  EXPECT_EQ(
      (strings{
          "short: volume vol1: unit unit000005 in preallocate is 4096 bytes long instead of 1048576",
          "sums: volume vol1: sums do not close: total 8, used 2, preallocated 5, lost 0"}),
      findings());
}

TEST_F(check, finds_a_unit_without_its_blocks) {
  fs::resize_file(home() / "unit000005", 0);
  fs::resize_file(home() / "unit000005", 1048576);
  EXPECT_EQ(
      strings{"short: volume vol1: unit unit000005 in preallocate has only 0 of 1048576 bytes "
              "allocated"},
      findings());
}

TEST_F(check, finds_a_unit_on_its_way) {
  tamper(
      "UPDATE unit SET state = 'recycling', period_id = NULL WHERE name = 'unit000001' AND "
      "volume_id = 1");
  EXPECT_EQ(strings{"moving: volume vol1: unit unit000001 is on its way (recycling)"}, findings());
}

TEST_F(check, finds_a_bad_unit) {
  tamper("UPDATE unit SET state = 'bad' WHERE name = 'unit000008' AND volume_id = 1");
  fs::remove(home() / "unit000008");
  EXPECT_EQ(strings{"bad: volume vol1: unit unit000008 is bad"}, findings());
}

TEST_F(check, finds_a_volume_without_its_identity) {
  fs::remove(root() / "share" / "vol1" / "identity");
  EXPECT_EQ(strings{"not-mounted: volume vol1: its identity is missing"}, findings());
}

TEST_F(check, finds_a_volume_with_anothers_identity) {
  fs::copy_file(root() / "share" / "vol2" / "identity", root() / "share" / "vol1" / "identity",
                fs::copy_options::overwrite_existing);
  EXPECT_EQ(strings{"not-mounted: volume vol1: its identity is another's"}, findings());
}

TEST_F(check, finds_missing_folders) {
  fs::remove_all(home());
  auto const found = findings();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ("missing: volume vol1: preallocate is missing", found[0]);
  fs::remove_all(storage(first_volume));
  EXPECT_EQ(strings{"missing: volume vol1: storage folder is missing"}, findings());
}

TEST_F(check, finds_a_period_without_units) {
  tamper("INSERT INTO period VALUES (77, 2, 1, 3, 0, 3600000, '')");
  EXPECT_EQ((strings{"period: period 77 ch02_AR_S03_1970010100: its units are missing",
                     "null-id: period 77 ch02_AR_S03_1970010100: has no storage id"}),
            findings());
}

TEST_F(check, finds_a_period_of_the_wrong_volume) {
  auto const other = open().volumes()[1].sid_text;
  tamper("UPDATE period SET storage_id = '" + other + "'");
  EXPECT_EQ(strings{"period: period 1 ch01_NR_S00_2026112100: its storage id is " + other +
                    ", its units are on volume vol1"},
            findings());
}

TEST_F(check, finds_a_unit_of_another_stream) {
  tamper("UPDATE period SET stream = 1");
  EXPECT_EQ(
      (strings{
          "period: period 1 ch01_NR_S01_2026112100: holds unit unit000001 of volume vol1, which "
          "is another stream's or hour's",
          "period: period 1 ch01_NR_S01_2026112100: holds unit unit000002 of volume vol1, which "
          "is another stream's or hour's"}),
      findings());
}

TEST_F(check, finds_a_unit_of_another_hour) {
  for (auto const* const by : {"- 3600000", "+ 3600000"}) {
    tamper(std::string("UPDATE period SET start_ms = start_ms ") + by + ", end_ms = end_ms " + by);
    EXPECT_EQ(2U, findings().size()) << by;
    tamper(std::string("UPDATE period SET start_ms = start_ms - (") + by +
           "), end_ms = end_ms - (" + by + ")");
    EXPECT_EQ(strings(), findings()) << by;
  }
}

TEST_F(check, finds_rows_that_refer_to_nothing) {
  tamper("UPDATE assignment SET channel_id = 55 WHERE id = 2");
  EXPECT_EQ(strings{"corrupt: catalogue: row 2 of assignment refers to no channel"}, findings());
}

TEST_F(check, finds_a_period_without_a_storage_id) {
  open().lose_storage_id(ids(open().periods()));
  EXPECT_EQ(strings{"null-id: period 1 ch01_NR_S00_2026112100: has no storage id"}, findings());
}

TEST_F(check, a_file_systems_own_folder_is_in_order) {
  fs::create_directory(root() / "lost+found");
  fs::create_directory(root() / "share" / "lost+found");
  fs::create_directory(root() / "share" / "vol1" / "lost+found");
  EXPECT_EQ(strings(), findings());
}

}  // namespace
