// Single lies of a recorder, each with what is expected of the programs.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <memory>
#include <regex>

#include "edit_kinds.h"
#include "lying_recorder.h"

namespace {

namespace fs = std::filesystem;
using support::holds;
using support::words;

std::vector<words> const every_st_word{
    "spacelist",   "vollist Storage1", "volset vol1 0 1", "volchn vol1",  "voluse -1",
    "volclean -1", "autoclean",        "nullid -1",       "recoverid -1", "spaceinfo Storage1"};

// What opens, reads, writes and repairs a recorder in every way that there is.
std::vector<words> const most_st_words{"spacelist", "volset vol1 0 1", "volclean -1",
                                       "autoclean", "nullid -1",       "spaceinfo Storage1"};

std::vector<words> const most_stlab_commands{"show",
                                             "record --channel 0 --stream 2 --units 2",
                                             "leak --volume vol2 --hours 1",
                                             "lose-id --channel 0",
                                             "damage duplicate-unit --volume vol1",
                                             "check --repair",
                                             "expire --days 0"};

char const free_one[] = "state = 'free'";

class reproduction : public testing::Test {
 protected:
  static void SetUpTestSuite() { base() = std::make_unique<hostile::recorder_template>(); }
  static void TearDownTestSuite() { base().reset(); }

  // From here on nothing outside the recorder may change.
  void SetUp() override { place.remember(); }

  void tamper(std::string const& sql) const { ASSERT_EQ(place.tamper(sql), ""); }

  support::outcome st(words const& arguments) const {
    auto result = place.st(arguments);
    EXPECT_EQ(hostile::problem_of_st(result), "") << "st " << text_of(arguments);
    EXPECT_EQ(place.harm(hostile::depth::with_content), "") << "st " << text_of(arguments);
    return result;
  }

  support::outcome stlab(words const& arguments) const {
    auto result = place.stlab(arguments);
    EXPECT_EQ(hostile::problem_of_stlab(result), "") << "stlab " << text_of(arguments);
    EXPECT_EQ(place.harm(hostile::depth::with_content), "") << "stlab " << text_of(arguments);
    return result;
  }

  // Gives a unit of the first volume another name.
  void name_unit(std::string const& name, std::string const& condition,
                 std::string const& also = {}) const {
    tamper("UPDATE unit SET name = '" + name + "'" + also +
           " WHERE id = (SELECT id FROM unit WHERE volume_id = 1 AND " + condition + " LIMIT 1)");
  }

  // A free unit of that name. What was begun is given back, or so the catalogue says.
  void expect_not_recorded_into(std::string const& name) const {
    name_unit(name, free_one);
    stlab("record --channel 0 --stream 2 --units 4");
    st("spacelist");
  }

  // Up to the first that fails: what it did would be told of all others.
  void run_everything() const {
    for (words const& each : most_st_words) {
      st(each);
      if (HasFailure()) return;
    }
    for (words const& each : most_stlab_commands) {
      stlab(each);
      if (HasFailure()) return;
    }
  }

  static std::unique_ptr<hostile::recorder_template>& base() {
    static std::unique_ptr<hostile::recorder_template> made;
    return made;
  }

  hostile::lying_recorder place{*base()};
};

class by_words : public reproduction, public testing::WithParamInterface<words> {};

// The words as a name.
std::string name_of(testing::TestParamInfo<words> const& info) {
  return support::as_name(text_of(info.param));
}

// What the others rest on: a copy of the recorder is as sound as it was.
TEST_F(reproduction, is_made_of_a_sound_recorder) {
  auto const listed = st("vollist Storage1").output;
  EXPECT_TRUE(holds(listed, "[vol1], [NORMAL] [ACTIVE             ]")) << listed;
  EXPECT_TRUE(holds(st("autoclean").output, "Volume space leak detected count: 1\n"));
  EXPECT_EQ(stlab("check").output.rfind("null-id: ", 0), 0);
  EXPECT_EQ(stlab("record --channel 0 --stream 2").status, 0);
}

// A unit's name is a path out of the recorder.

std::string const outside = "../../../../../victim/";

using name_of_a_unit_on_its_way = by_words;
char const held[] = "channel_id IS NOT NULL";
char const on_its_way[] = ", state = 'recycling', period_id = NULL";

TEST_P(name_of_a_unit_on_its_way, takes_no_file_outside) {
  name_unit(outside + "passwd", held, on_its_way);
  st(GetParam());
}

TEST_P(name_of_a_unit_on_its_way, takes_no_file_by_its_whole_path) {
  name_unit(place.victim() / "passwd", held, on_its_way);
  st(GetParam());
}

INSTANTIATE_TEST_SUITE_P(by_word, name_of_a_unit_on_its_way, testing::ValuesIn(every_st_word),
                         name_of);

TEST_F(reproduction, a_free_unit_outside_is_not_recorded_into) {
  expect_not_recorded_into(outside + "big");
}

TEST_F(reproduction, a_free_unit_of_a_whole_path_is_not_recorded_into) {
  expect_not_recorded_into(place.victim() / "big");
}

TEST_F(reproduction, repair_makes_no_file_outside) {
  name_unit(outside + "new", free_one);
  stlab("check --repair");
  tamper("UPDATE unit SET state = 'bad' WHERE name LIKE '%new'");
  stlab("check --repair");
}

TEST_F(reproduction, retention_takes_no_file_outside) {
  name_unit(outside + "passwd", "period_id IS NOT NULL ORDER BY hour_ms");
  stlab("expire --days 0");
  st("volclean -1");
}

// What makes nobody wait or work without end, nor leads out of the recorder; "@" is
// the victim's folder.
struct catalogue_lie {
  char const* name;
  std::string change;
};
void PrintTo(catalogue_lie const& which, std::ostream* out) { *out << which.name; }

class a_catalogue_with : public reproduction, public testing::WithParamInterface<catalogue_lie> {};

TEST_P(a_catalogue_with, does_no_harm) {
  tamper(std::regex_replace(GetParam().change, std::regex("@"), place.victim().string()));
  run_everything();
}

// With an identity that agrees, another folder would be a mounted volume.
catalogue_lie const catalogue_lies[] = {
    {"a_volume_beside",
     "UPDATE volume SET folder = '../../victim/recorder/share/vol1' WHERE id = 1"},
    {"a_volume_by_its_whole_path",
     "UPDATE volume SET folder = '@/recorder/share/vol1' WHERE id = 1"},
    {"a_volume_above", "UPDATE volume SET folder = '..' WHERE id = 1"},
    {"a_volume_of_no_name", "UPDATE volume SET folder = '' WHERE id = 1"},
    {"a_period_without_end", "UPDATE period SET start_ms = 0, end_ms = 9223372036854775807"},
    {"a_period_of_all_time",
     "UPDATE period SET start_ms = -9223372036854775807 - 1, end_ms = 9223372036854775807"},
    {"a_view_without_end",
     "ALTER TABLE space RENAME TO hidden;"
     "CREATE VIEW space AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n)"
     "  SELECT hidden.* FROM n, hidden"}};

INSTANTIATE_TEST_SUITE_P(all, a_catalogue_with, testing::ValuesIn(catalogue_lies),
                         [](auto const& row) { return std::string(row.param.name); });

TEST_F(reproduction, a_storage_id_is_no_path) {
  std::string const id = "/../../../../victim/tree";
  fs::create_directory(place.recorder() / "share/vol1/FSU_");
  support::write_file(place.recorder() / "share/vol1/identity", id + "\n");
  tamper("UPDATE volume SET sid_text = '" + id + "' WHERE id = 1");
  run_everything();
}

// Links in the place of folders.

class volume_by_link : public by_words {
 protected:
  // To the same folder of the recorder beside, which agrees in all.
  void SetUp() override {
    auto const storage = place.storage("vol1");
    std::map<words, fs::path> const paths{{"share entry", place.recorder() / "share/vol1"},
                                          {"storage", storage},
                                          {"preallocate", storage / "preallocate"}};
    auto const& path = paths.at(GetParam());
    fs::remove_all(path);
    fs::create_directory_symlink(
        place.victim() / path.lexically_relative(place.recorder().parent_path()), path);
    place.remember();
  }
};

TEST_P(volume_by_link, is_shown_as_not_mounted) {
  EXPECT_TRUE(holds(st("vollist Storage1").output, "[NOT_MOUNTED        ]"));
}

TEST_P(volume_by_link, is_reported_by_check) {
  auto const found = stlab("check");
  EXPECT_NE(found.status, 0);
  EXPECT_TRUE(holds(found.output, "unreadable: volume vol1")) << found.output;
}

TEST_P(volume_by_link, is_not_measured_by_autoclean) {
  auto const trace = place.recorder() / "trace";
  place.extra["STLAB_TRACE"] = trace;
  auto const result = st("autoclean");
  EXPECT_TRUE(holds(result.output, "Volume [/dev/null/share/vol1] path does not exist\n"))
      << result.output;
  EXPECT_TRUE(holds(result.output, "Volume space leak detected count: 0\n")) << result.output;
  EXPECT_FALSE(holds(support::content_of(trace), "vol1/FSU_")) << support::content_of(trace);
}

TEST_P(volume_by_link, takes_no_recording) {
  auto const before = stlab("record --channel 0 --stream 2");
  EXPECT_NE(before.status, 0) << before.output;
}

TEST_P(volume_by_link, is_left_alone_by_everything) { run_everything(); }

INSTANTIATE_TEST_SUITE_P(by_folder, volume_by_link,
                         testing::Values("share entry", "storage", "preallocate"), name_of);

// Absurd numbers.

using absurd_number = by_words;

// Under the sanitizers, a sum or product beyond 64 bits ends a program.
TEST_P(absurd_number, overflows_nothing) {
  std::string const number = GetParam().front();
  for (std::string const column :
       {"recorder SET unit_mb", "period SET start_ms", "period SET end_ms", "unit SET hour_ms",
        "channel SET number", "unit SET recording_type", "period SET recording_type",
        "unit SET stream", "volume SET volume_no", "volume SET state", "volume SET type",
        "volume SET sid_number"}) {
    SCOPED_TRACE(column + " = " + number);
    hostile::lying_recorder another(*base());
    another.tamper("UPDATE OR IGNORE " + column + " = " + number);
    another.remember();
    for (words const each :
         {"spaceinfo Storage1", "autoclean", "volclean -1", "vollist Storage1"}) {
      EXPECT_EQ(hostile::problem_of_st(another.st(each)), "") << text_of(each);
    }
    for (words const each : {"show", "check", "expire", "record --channel 0 --stream 2",
                             "leak --volume vol1", "check --repair"}) {
      EXPECT_EQ(hostile::problem_of_stlab(another.stlab(each)), "") << text_of(each);
    }
    EXPECT_EQ(another.harm(hostile::depth::with_content), "");
  }
}

INSTANTIATE_TEST_SUITE_P(by_number, absurd_number,
                         testing::Values("9007199254740992", "4611686018427387904",
                                         "9223372036854775807", "-9223372036854775807"),
                         name_of);

// What is no file in the place of one.

class file_of_another_kind : public by_words {
 protected:
  // In the place of the first word what the second one says.
  void put(fs::path const& path) const {
    fs::remove_all(path);
    std::string const& kind = GetParam().back();
    if (kind == "pipe") {
      ASSERT_EQ(::mkfifo(path.c_str(), 0666), 0);
    } else if (kind == "folder") {
      fs::create_directory(path);
    } else if (kind == "second-name") {
      fs::create_hard_link(place.victim() / "database", path);
    } else {
      fs::create_symlink(kind == "device" ? fs::path("/dev/zero") : place.victim() / "database",
                         path);
    }
  }
};

// A second name of somebody else's file would change with it.
TEST_P(file_of_another_kind, makes_nobody_wait_and_is_not_written) {
  auto const path = place.recorder() / GetParam().front();
  put(path);
  place.remember();
  if (GetParam().front() == "trace") place.extra["STLAB_TRACE"] = path;
  run_everything();
}

INSTANTIATE_TEST_SUITE_P(by_name, file_of_another_kind,
                         testing::Values("catalogue.db pipe", "catalogue.db link",
                                         "catalogue.db-journal pipe", "catalogue.db-journal folder",
                                         "catalogue.db-journal device", "catalogue.db-journal link",
                                         "catalogue.db-wal pipe", "trace pipe",
                                         "share/vol1/identity pipe", "catalogue.db second-name",
                                         "catalogue.db-journal second-name"),
                         name_of);

// A catalogue that says it keeps a log: its files are opened too then.
TEST_F(reproduction, a_pipe_for_the_log_of_a_catalogue_makes_nobody_wait) {
  tamper("PRAGMA journal_mode = WAL");
  auto const log = place.recorder() / "catalogue.db-wal";
  fs::remove(log);
  ASSERT_EQ(::mkfifo(log.c_str(), 0666), 0);
  run_everything();
}

TEST_F(reproduction, a_unit_that_is_another_file_too_is_not_recorded_into) {
  auto const unit = fs::directory_iterator(place.preallocate("vol1"))->path();
  fs::remove(unit);
  fs::create_hard_link(place.victim() / "big", unit);
  place.remember();
  stlab("record --channel 0 --stream 2 --units 4");
}

// A journal can name another one, which is removed with it.
TEST_F(reproduction, a_journal_takes_no_file_outside_with_it) {
  auto const catalogue = fs::file_size(place.recorder() / "catalogue.db");
  auto const pages = static_cast<std::uint32_t>(catalogue / hostile::page_size);
  auto const journal =
      hostile::journal_head(0, pages) + hostile::journal_owner(place.victim() / "passwd");
  for (words const& each : most_st_words) {
    support::write_file(place.recorder() / "catalogue.db-journal", journal);
    st(each);
  }
  for (words const& each : most_stlab_commands) {
    support::write_file(place.recorder() / "catalogue.db-journal", journal);
    stlab(each);
  }
}

// A schema that does something.

TEST_F(reproduction, a_trigger_does_not_run) {
  tamper("CREATE TRIGGER wipe AFTER UPDATE ON volume BEGIN DELETE FROM unit; END");
  st("volset vol1 1 0");
  EXPECT_EQ(place.ask("SELECT count(*) FROM unit"), 16);
}

class changed_schema : public reproduction, public testing::WithParamInterface<char const*> {};

// Whatever it is: it is not the schema that the recorder was made with.
TEST_P(changed_schema, is_refused) {
  tamper(GetParam());
  EXPECT_EQ(st("spacelist").output, "Query storage settings faiure.\n");
  auto const shown = stlab("show");
  EXPECT_NE(shown.status, 0);
  EXPECT_NE(shown.errors, "");
}

INSTANTIATE_TEST_SUITE_P(
    by_change, changed_schema,
    testing::Values("CREATE TRIGGER t AFTER UPDATE ON volume BEGIN SELECT 1; END",
                    "CREATE VIEW v AS SELECT 1", "CREATE TABLE extra (a)",
                    "CREATE INDEX extra ON unit (abs(hour_ms))", "DROP INDEX unit_by_state",
                    "ALTER TABLE unit ADD COLUMN more TEXT",
                    "UPDATE sqlite_master SET sql = replace(sql, ') STRICT', ')')"));

// Names that a terminal would obey.
TEST_F(reproduction, show_prints_no_control_character) {
  tamper(
      "UPDATE volume SET name = 'vol1' || char(27) || '[2J' || char(10) || 'clean' WHERE id = 1;"
      "UPDATE space SET name = 'Storage1' || char(27) || ']0;forged' || char(7) WHERE id = 1");
  for (words const each :
       {"show", "show --hours", "check", "assign --channel 1", "record --channel 0 --stream 2"}) {
    auto const result = stlab(each);
    auto const text = result.output + result.errors;
    EXPECT_TRUE(std::all_of(text.begin(), text.end(),
                            [](char at) {
                              auto const value = static_cast<unsigned char>(at);
                              return at == '\n' || (value >= ' ' && value != 127);
                            }))
        << text_of(each) << '\n'
        << testing::PrintToString(text);
    EXPECT_FALSE(holds(text, "\nclean")) << text_of(each) << '\n' << text;
  }
}

// A volume whose folder is away keeps the state that it was given.

class volume_away : public reproduction {
 protected:
  void SetUp() override {
    fs::rename(place.recorder() / "share/vol1", place.recorder().parent_path() / "away");
    place.remember();
  }

  std::string listed() const { return st("vollist Storage1").output; }
};

TEST_F(volume_away, shows_an_active_volume_as_not_mounted) {
  EXPECT_TRUE(holds(listed(), "[NOT_MOUNTED        ]")) << listed();
}

TEST_F(volume_away, shows_a_standby_volume_as_standby_and_not_mounted) {
  tamper("UPDATE volume SET state = 1 WHERE id = 1");
  EXPECT_TRUE(holds(listed(), "[STANDBY_NOT_MOUNTED]")) << listed();
}

TEST_F(volume_away, takes_a_setting) {
  st("volset vol1 0 0");
  EXPECT_TRUE(holds(listed(), "[STANDBY_NOT_MOUNTED]")) << listed();
  st("volset vol1 0 1");
  EXPECT_TRUE(holds(listed(), "[NOT_MOUNTED        ]")) << listed();
}

// What a stopped make can leave, whichever part of it.

class left_by_a_make : public by_words {
 protected:
  // Of a make into a folder with what is named, of which share is a folder.
  std::string errors_of_make() const {
    auto const folder = place.folder() / "rec";
    fs::create_directory(folder);
    for (std::string const& name : GetParam()) {
      if (name == "share") {
        fs::create_directory(folder / name);
      } else {
        support::write_file(folder / name, "");
      }
    }
    auto const result = support::run({STLAB_PROGRAM, "make", folder}, {}, place.folder());
    EXPECT_NE(result.status, 0);
    for (std::string const& name : GetParam()) EXPECT_TRUE(fs::exists(folder / name)) << name;
    return result.errors;
  }
};

// A letter is somebody else's.
TEST_P(left_by_a_make, is_told_from_a_folder_of_somebody_else) {
  auto const errors = errors_of_make();
  bool const is_left = GetParam().front() != "letter";
  EXPECT_EQ(holds(errors, "it looks as a stopped make leaves it"), is_left) << errors;
  EXPECT_EQ(holds(errors, "stopped make"), is_left) << errors;
}

INSTANTIATE_TEST_SUITE_P(by_remains, left_by_a_make,
                         testing::Values("catalogue.new-journal", "catalogue.new", "share",
                                         "catalogue.new catalogue.new-journal",
                                         "catalogue.new catalogue.db-journal share",
                                         "letter catalogue.new"),
                         name_of);

}  // namespace
