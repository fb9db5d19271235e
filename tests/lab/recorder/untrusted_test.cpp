// Recorders that say what no recorder of the lab's says.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "engine_test.h"
#include "lab/check/check.h"
#include "lab/make/make.h"
#include "lab/volume/layout.h"

namespace {

namespace fs = std::filesystem;
using strings = std::vector<std::string>;

class untrusted : public support::engine_test {
 protected:
  untrusted() {
    make();
    fs::create_directory(outside());
    support::write_file(outside() / "somebodys", "kept");
  }

  fs::path outside() const { return root().parent_path() / "outside"; }

  void expect_refused_as(std::string const& text) const {
    for (auto const mode : {lab::access::read_only, lab::access::read_write}) {
      EXPECT_EQ(root().string() + text, support::failure_of([&] { open(mode); }));
    }
  }

  void expect_not_recorded(std::string const& text) const {
    auto recorder = open();
    EXPECT_EQ(text, support::failure_of(
                        [&] { recorder.record(first_volume, main_stream, support::now, 1); }));
    EXPECT_EQ(0, ask("SELECT count(*) FROM unit WHERE state <> 'free'"));
  }

  std::int32_t state_of_first() const { return open(lab::access::read_only).volumes()[0].state; }

  // The first volume's folder is away and a link leads to it.
  void replace_by_link(fs::path const& which) const {
    fs::rename(which, outside() / "moved");
    fs::create_directory_symlink(outside() / "moved", which);
  }
};

constexpr char other_tables[] = ": not a recorder: its catalogue has other tables than the lab's";

// A catalogue that was changed, and what is told behind the recorder's path by
// whoever opens it; nothing when it can be opened.
struct changed_catalogue {
  char const* behaviour;
  char const* change;
  std::string told;
};

class untrusted_catalogue : public untrusted,
                            public testing::WithParamInterface<changed_catalogue> {};

TEST_P(untrusted_catalogue, is_told) {
  tamper(GetParam().change);
  auto const& told = GetParam().told;
  // The first one may leave something behind.
  for (auto const mode :
       {lab::access::read_only, lab::access::read_write, lab::access::read_write}) {
    EXPECT_EQ(told.empty() ? "" : root().string() + told, support::failure_of([&] { open(mode); }));
  }
}

template <typename Row>
std::string behaviour_of(testing::TestParamInfo<Row> const& row) {
  return row.param.behaviour;
}

std::vector<changed_catalogue> const changed_catalogues{
    {"with_a_trigger", "CREATE TRIGGER emptied AFTER UPDATE ON volume BEGIN DELETE FROM unit; END",
     other_tables},
    {"with_a_view_in_the_place_of_a_table",
     "ALTER TABLE assignment RENAME TO kept;"
     "CREATE VIEW assignment AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i FROM n)"
     "  SELECT i FROM n",
     other_tables},
    {"with_a_table_more", "CREATE TABLE more (id)", other_tables},
    {"with_a_table_dropped_again", "CREATE TABLE more (id); DROP TABLE more", ""},
    {"with_an_index_less", "DROP INDEX unit_by_period", other_tables},
    {"vacuumed", "VACUUM", ""},
    {"analyzed", "ANALYZE", ""},
    {"with_a_write_ahead_log", "PRAGMA journal_mode = WAL",
     "/catalogue.db: keeps a write-ahead log, which no catalogue does "
     "(PRAGMA journal_mode = DELETE ends that)"},
    {"with_units_larger_than_any", "UPDATE recorder SET unit_mb = 9007199254740992",
     ": not a recorder: its units are too large"},
    {"without_the_recorders_own_row", "DELETE FROM recorder",
     ": not a recorder: its catalogue is empty"},
    {"of_another_program", "PRAGMA application_id = 1",
     ": not a recorder: its catalogue is empty or something else's"},
    {"of_a_newer_format", "PRAGMA user_version = 2",
     ": made by a newer version: its format is 2, this program knows up to 1"},
    {"of_an_unknown_older_format", "PRAGMA user_version = 0",
     ": not a recorder: unknown format 0"}};

INSTANTIATE_TEST_SUITE_P(all, untrusted_catalogue, testing::ValuesIn(changed_catalogues),
                         behaviour_of<changed_catalogue>);

// A value of the catalogue of a recorder with one period, the question that
// meets it, and why that is not answered.
struct changed_value {
  char const* behaviour;
  char const* change;
  void (*question)(lab::recorder const& to);
  char const* told;
};

class untrusted_value : public untrusted, public testing::WithParamInterface<changed_value> {};

TEST_P(untrusted_value, is_refused_where_it_is_read) {
  open().record(first_volume, main_stream, support::now, 1);
  tamper(std::string("PRAGMA ignore_check_constraints = ON; ") + GetParam().change);
  auto const recorder = open(lab::access::read_only);
  EXPECT_EQ(std::string("catalogue: ") + GetParam().told,
            support::failure_of([&] { GetParam().question(recorder); }));
}

void ask_spaces(lab::recorder const& in) { in.spaces(); }
void ask_volumes(lab::recorder const& in) { in.volumes(); }
void ask_channels(lab::recorder const& in) { in.channels(); }
void ask_periods(lab::recorder const& in) { in.periods(); }

std::vector<changed_value> const changed_values{
    {"a_volumes_folder_elsewhere", "UPDATE volume SET folder = '../../outside' WHERE id = 1",
     ask_volumes, "a volume's folder is no volume's"},
    {"a_name_longer_than_any", "UPDATE volume SET name = printf('%.*c', 512, 'x') WHERE id = 1",
     ask_volumes, "a name or an id is too long"},
    {"a_storage_id_that_is_a_path",
     "UPDATE volume SET sid_text = '../../../../../../../../outsides' WHERE id = 1", ask_volumes,
     "a volume's storage id is none"},
    {"a_number_of_too_many_bits", "UPDATE space SET status = 4294967296", ask_spaces,
     "a number is out of range"},
    {"a_recording_type", "UPDATE period SET recording_type = -2147483648", ask_periods,
     "a recording type is none"},
    {"a_stream", "UPDATE period SET stream = 5", ask_periods, "a stream is none"},
    {"a_channel_number", "UPDATE channel SET number = 2147483647 WHERE id = 1", ask_channels,
     "a channel has a number that no channel has"}};

INSTANTIATE_TEST_SUITE_P(all, untrusted_value, testing::ValuesIn(changed_values),
                         behaviour_of<changed_value>);

TEST_F(untrusted, a_pipe_beside_the_catalogue_keeps_nobody_waiting) {
  for (std::string const end : {"-journal", "-wal", "-shm", ""}) {
    auto const file = root() / ("catalogue.db" + end);
    fs::remove(file);
    ASSERT_EQ(0, mkfifo(file.c_str(), 0600));
    expect_refused_as(": not a recorder: catalogue.db" + end + " is not a file");
    if (!end.empty()) fs::remove(file);
  }
}

TEST_F(untrusted, a_journal_with_a_second_name_is_not_written) {
  fs::remove(root() / "catalogue.db-journal");
  fs::create_hard_link(outside() / "somebodys", root() / "catalogue.db-journal");
  expect_refused_as(": not a recorder: catalogue.db-journal has a second name elsewhere");
}

TEST_F(untrusted, a_catalogue_that_is_a_link_is_refused) {
  fs::rename(root() / "catalogue.db", outside() / "catalogue.db");
  fs::create_symlink(outside() / "catalogue.db", root() / "catalogue.db");
  expect_refused_as(": not a recorder: catalogue.db is not a file");
}

// SQLite removes the journal that a journal names, once it has undone its own.
TEST_F(untrusted, a_journal_that_names_another_one_is_refused) {
  std::ofstream journal(root() / "catalogue.db-journal", std::ios::binary);
  journal << "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7" << (outside() / "somebodys").string()
          << "lengthsums"
          << "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
  journal.close();
  expect_refused_as("/catalogue.db-journal: names another journal");
}

TEST_F(untrusted, a_unit_in_a_state_that_is_none_is_told) {
  tamper("PRAGMA ignore_check_constraints = ON; UPDATE unit SET state = 'Free' WHERE id = 1");
  EXPECT_EQ(lab::findings({{lab::finding_class::unreadable, "volume vol1",
                            "catalogue: a unit's state is none"}}),
            lab::check(open(lab::access::read_only)));
}

TEST_F(untrusted, a_unit_that_names_a_file_elsewhere_is_not_moved) {
  tamper("UPDATE unit SET name = '../../../../../outside/somebodys' WHERE id = 1");
  expect_not_recorded("catalogue: a unit has a name that is no unit's");
  EXPECT_TRUE(fs::exists(outside() / "somebodys"));
}

TEST_F(untrusted, a_period_longer_than_a_week_is_refused_where_it_is_read) {
  open().record(first_volume, main_stream, support::now, 1);
  tamper("UPDATE period SET start_ms = 0, end_ms = 9223372036854775807");
  auto const recorder = open(lab::access::read_only);
  auto const id = recorder.volumes()[0].sid_text;
  std::string const text = "catalogue: a period has times that no period has";
  EXPECT_EQ(text, support::failure_of([&] { recorder.periods(); }));
  EXPECT_EQ(text, support::failure_of([&] { recorder.days(1, 4, {id}); }));
  tamper("UPDATE period SET start_ms = 0, end_ms = 7 * 86400000");
  EXPECT_EQ(1U, recorder.periods().size());
  tamper("UPDATE period SET start_ms = 0, end_ms = 7 * 86400000 + 1");
  EXPECT_EQ(text, support::failure_of([&] { recorder.periods(); }));
}

TEST_F(untrusted, a_volume_behind_a_link_is_not_mounted) {
  for (auto const& which : {preallocate(1), storage(1), root() / "share" / "vol1"}) {
    replace_by_link(which);
    auto const before = support::contents_of(outside());
    auto recorder = open();
    auto const volume = recorder.volumes()[0];
    EXPECT_EQ(lab::not_mounted_state, volume.state) << which;
    EXPECT_EQ("/dev/null/share/vol1", volume.path.string());
    EXPECT_EQ(
        "volume vol1 is not mounted: " + (root() / "share" / "vol1").string(),
        support::failure_of([&] { recorder.record(first_volume, main_stream, support::now, 1); }));
    auto const findings = lab::check(recorder);
    ASSERT_FALSE(findings.empty());
    EXPECT_EQ(1, std::count(findings.begin(), findings.end(),
                            lab::finding{lab::finding_class::unreadable, "volume vol1",
                                         "a link or a file is in the place of its folder"}));
    EXPECT_EQ(strings(), support::differences(before, support::contents_of(outside())));
    fs::remove(which);
    fs::rename(outside() / "moved", which);
  }
  EXPECT_EQ(0, state_of_first());
}

TEST_F(untrusted, a_link_decides_before_an_identity_that_is_missing_does) {
  fs::remove(root() / "share" / "vol1" / "identity");
  replace_by_link(storage(1));
  EXPECT_EQ("/dev/null/share/vol1", open(lab::access::read_only).volumes()[0].path.string());
}

TEST_F(untrusted, folders_on_the_way_to_a_volume_need_not_be_readable) {
  std::vector<fs::path> const folders{root().parent_path(), root(), root() / "share"};
  for (auto const& each : folders) fs::permissions(each, fs::perms(0311));
  constexpr uid_t nobody = 65534;
  bool const is_root = geteuid() == 0;
  ASSERT_TRUE(!is_root || seteuid(nobody) == 0);
  auto const state = state_of_first();
  ASSERT_TRUE(!is_root || seteuid(0) == 0);
  for (auto const& each : folders) fs::permissions(each, fs::perms(0755));
  EXPECT_EQ(0, state);
}

TEST_F(untrusted, an_hour_folder_that_is_a_link_is_not_followed) {
  auto const hour = hour_folder(first_volume, support::now);
  fs::create_directory_symlink(outside(), hour);
  expect_not_recorded(hour.string() + ": cannot open folder: Not a directory");
  EXPECT_EQ(1U, support::contents_of(outside()).size());
}

TEST_F(untrusted, a_unit_with_a_second_name_is_not_recorded_into) {
  auto const unit = preallocate(1) / lab::unit_name(0);
  fs::create_hard_link(unit, outside() / "second");
  expect_not_recorded(unit.string() + ": unit has a second name elsewhere");
}

TEST_F(untrusted, a_volume_that_stands_by_says_so_while_it_is_away) {
  fs::rename(root() / "share" / "vol1", outside() / "moved");
  EXPECT_EQ(lab::not_mounted_state, state_of_first());
  open().change_volumes({{first_volume, "vol1", 0, lab::standby_state}});
  EXPECT_EQ(lab::standby_not_mounted_state, state_of_first());
  open().change_volumes({{first_volume, "vol1", 0, 0}});
  EXPECT_EQ(lab::not_mounted_state, state_of_first());
}

TEST_F(untrusted, what_a_make_left_is_told_by_any_of_its_files) {
  auto const left = root().parent_path() / "left";
  fs::create_directory(left);
  support::write_file(left / "catalogue.new-journal", "");
  EXPECT_EQ(left.string() +
                ": folder is not empty: it looks as a stopped make leaves it "
                "(catalogue.new-journal); remove that first, unless it holds recordings",
            support::failure_of([&] { lab::make_recorder(left, support::small(), {}); }));
}

TEST_F(untrusted, a_recorder_without_its_catalogue_is_not_what_a_make_left) {
  fs::remove(root() / "catalogue.db");
  EXPECT_EQ(root().string() + ": folder is not empty",
            support::failure_of([&] { lab::make_recorder(root(), support::small(), {}); }));
}

}  // namespace
