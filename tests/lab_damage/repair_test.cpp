#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "damaged_recorder.h"
#include "lab/catalogue/sqlite.h"
#include "lab/repair/volume_repair.h"
#include "lab/volume/layout.h"
#include "lab/volume/place.h"

namespace {

namespace fs = std::filesystem;
using world::now;
using world::strings;
using world::tree;

constexpr std::uintmax_t unit_bytes = 1048576;

class repair_of : public world::damaged_recorder {
 protected:
  repair_of() { fill_units(); }

  tree shares() const { return world::tree_of(root() / "share"); }

  fs::path volume_folder() const { return root() / "share" / "vol1"; }
  fs::path home() const { return preallocate(first_volume); }

  struct known_unit {
    std::string name;
    std::string folder;
    fs::path file;
  };

  // The first unit of the first volume in the given state.
  known_unit unit_in(std::string const& state) const {
    lab::database const catalogue(root() / "catalogue.db", lab::database::mode::read_only,
                                  std::chrono::milliseconds(0));
    lab::statement query(catalogue,
                         "SELECT u.name, c.number, u.recording_type, u.stream, u.hour_ms"
                         "  FROM unit u LEFT JOIN channel c ON c.id = u.channel_id"
                         "  WHERE u.volume_id = 1 AND u.state = ? ORDER BY u.id");
    if (!query.with(state).next()) throw std::runtime_error("no unit that is " + state);
    std::string const name = query.text(0);
    std::string const folder = state == "free"
                                   ? "preallocate"
                                   : lab::hour_folder_name(query.integer32(1), query.integer32(2),
                                                           query.integer32(3), query.integer(4));
    return {name, folder, storage(first_volume) / folder / name};
  }

  // After this nothing more is to be done.
  void expect_settled() const {
    auto const mended = world::tree_of(root());
    for (auto const& line : repair()) EXPECT_EQ(0U, line.rfind("left: ", 0)) << line;
    EXPECT_EQ(strings(), world::differences(mended, world::tree_of(root())));
  }

  void expect_untouched(std::string const& left) const {
    auto const before = world::tree_of(root());
    EXPECT_EQ(strings{left}, repair());
    EXPECT_EQ(strings(), world::differences(before, world::tree_of(root())));
  }
};

class repair_of_kind : public repair_of, public testing::WithParamInterface<char const*> {
 protected:
  // True when a finding of the file's volume names its unit.
  static bool is_found(strings const& found, fs::path const& file) {
    for (auto const& line : found) {
      if (line.find("volume " + file.begin()->string()) != std::string::npos &&
          line.find(file.filename().string()) != std::string::npos) {
        return true;
      }
    }
    return false;
  }
};

TEST_P(repair_of_kind, mends_it_and_loses_nothing) {
  for (std::uint64_t seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(damage(GetParam(), seed));
    ASSERT_FALSE(findings().empty());
    auto const before = shares();
    ASSERT_FALSE(repair().empty());
    EXPECT_EQ(strings(), findings());
    expect_all_kept(before);
    expect_settled();
  }
}

TEST_P(repair_of_kind, leaves_every_other_unit_as_it_is) {
  auto const before = shares();
  damage(GetParam(), 4);
  auto const found = findings();
  ASSERT_FALSE(found.empty());
  repair();
  auto const after = shares();
  std::size_t compared = 0;
  for (auto const& [name, content] : before) {
    if (name.back() == '/' || is_found(found, name)) continue;
    ASSERT_EQ(1U, after.count(name)) << name;
    EXPECT_TRUE(after.at(name) == content) << name;
    ++compared;
  }
  EXPECT_GT(compared, 20U);
}

INSTANTIATE_TEST_SUITE_P(kinds, repair_of_kind,
                         testing::Values("leak", "lost-unit", "unknown-file", "duplicate-unit",
                                         "short-unit", "null-ids", "wrong-volume", "stopped"),
                         [](auto const& which) {
                           std::string name = which.param;
                           for (auto& each : name) each = each == '-' ? '_' : each;
                           return name;
                         });

TEST_F(repair_of, a_clean_recorder_changes_nothing) {
  auto const before = world::tree_of(root());
  EXPECT_EQ(strings(), repair());
  EXPECT_EQ(strings(), world::differences(before, world::tree_of(root())));
}

TEST_F(repair_of, what_is_not_mounted_touches_nothing) {
  damage({"unmounted", 1, "vol1", {}, {}, {}, {}, {}});
  expect_untouched("left: volume vol1: its identity is missing: nothing on it is touched");
}

TEST_F(repair_of, a_mounted_volume_does_not_wait_for_one_that_is_not) {
  damage({"unmounted", 1, "vol1", {}, {}, "foreign", {}, {}});
  damage({"short-unit", 1, "vol2", {}, {}, {}, {}, {}});
  EXPECT_EQ(2U, repair().size());
  EXPECT_EQ(strings{"not-mounted"}, classes());
}

TEST_F(repair_of, a_lost_unit_is_bad_first_and_never_free_by_itself) {
  auto const unit = unit_in("recorded");
  fs::remove(unit.file);
  auto const before = open(lab::access::read_only).account(first_volume);
  EXPECT_EQ(0, before.lost);
  auto const lines = repair();
  ASSERT_LE(2U, lines.size());
  EXPECT_EQ("mended: volume vol1: unit " + unit.name + " was found nowhere and is bad now",
            lines.front());
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                          "mended: volume vol1: unit " + unit.name +
                              " was preallocated anew and is free now"));
  EXPECT_EQ(unit_bytes, fs::file_size(home() / unit.name));
}

TEST_F(repair_of, a_period_goes_only_with_its_last_unit) {
  open().record(first_volume, {1, 4, 4}, now, 2);
  auto const periods = open().periods().size();
  auto const hour_folder = storage(first_volume) / lab::hour_folder_name(0, 4, 4, now);
  auto const units = names(hour_folder);
  ASSERT_EQ(2U, units.size());
  fs::remove(hour_folder / units[0]);
  repair();
  EXPECT_EQ(periods, open().periods().size());
  fs::remove(hour_folder / units[1]);
  repair();
  EXPECT_EQ(periods - 1, open().periods().size());
  EXPECT_EQ(strings(), findings());
}

// Its bytes are worth more than the catalogue's peace.
TEST_F(repair_of, a_recorded_unit_that_is_too_long_leaves_it) {
  auto const unit = unit_in("recorded");
  fs::resize_file(unit.file, 2 * unit_bytes);
  expect_untouched("left: volume vol1: unit " + unit.name + " in " + unit.folder +
                   " is too long: cutting it would remove what it holds");
}

TEST_F(repair_of, a_free_unit_that_is_too_long_sets_it_aside) {
  auto const unit = unit_in("free");
  fs::resize_file(unit.file, 2 * unit_bytes);
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(2 * unit_bytes, fs::file_size(volume_folder() / "lost+found/preallocate" / unit.name));
  EXPECT_EQ(unit_bytes, fs::file_size(unit.file));
}

TEST_F(repair_of, a_unit_without_its_blocks_gets_them) {
  auto const unit = unit_in("free");
  fs::resize_file(unit.file, 0);
  fs::resize_file(unit.file, unit_bytes);
  ASSERT_EQ(strings{"short"}, classes());
  repair();
  EXPECT_EQ(strings(), findings());
}

TEST_F(repair_of, files_of_which_one_must_be_the_unit_are_left_alone) {
  auto const unit = unit_in("recorded");
  fs::copy_file(unit.file, home() / unit.name);
  fs::create_directory(storage(first_volume) / "elsewhere");
  fs::rename(unit.file, storage(first_volume) / "elsewhere" / unit.name);
  expect_untouched("left: volume vol1: unit " + unit.name + " of " + unit.folder +
                   ": which of these files it is cannot be told: vol1/elsewhere/" + unit.name +
                   " vol1/preallocate/" + unit.name);
}

TEST_F(repair_of, free_units_in_two_wrong_folders_leaves_them) {
  auto const unit = unit_in("free");
  auto const recorded = unit_in("recorded");
  fs::copy_file(unit.file, recorded.file.parent_path() / unit.name);
  fs::create_directory(storage(first_volume) / "elsewhere");
  fs::rename(unit.file, storage(first_volume) / "elsewhere" / unit.name);
  expect_untouched("left: volume vol1: unit " + unit.name +
                   ": which of its files it is cannot be told");
}

// What is in preallocate was the unit once, or will be: the recording is lost.
TEST_F(repair_of, a_recorded_unit_with_an_unused_file_in_preallocate_gives_it_up) {
  open().record(first_volume, {1, 4, 4}, now, 1);
  auto const hour_folder = storage(first_volume) / lab::hour_folder_name(0, 4, 4, now);
  auto const unit = names(hour_folder).at(0);
  auto const periods = open().periods().size();
  fs::remove(hour_folder / unit);
  world::write_file(home() / unit, std::string(unit_bytes, '\0'));
  auto const lines = repair();
  EXPECT_EQ(
      "mended: volume vol1: unit " + unit + " was found in no file of its name and is bad now",
      lines.at(0));
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(periods - 1, open().periods().size());
  EXPECT_FALSE(fs::exists(hour_folder));
  EXPECT_TRUE(fs::exists(home() / unit));
  EXPECT_FALSE(fs::exists(volume_folder() / "lost+found"));
}

TEST_F(repair_of, a_recorded_unit_with_other_files_sets_them_aside) {
  auto const unit = unit_in("recorded");
  fs::remove(unit.file);
  fs::create_directory(storage(first_volume) / "elsewhere");
  world::write_file(home() / unit.name, "no head of it\n");
  world::write_file(storage(first_volume) / "elsewhere" / unit.name, "nor this\n");
  auto const before = shares();
  repair();
  EXPECT_EQ(strings(), findings());
  expect_all_kept(before);
  auto const lost = world::tree_of(volume_folder() / "lost+found");
  EXPECT_EQ(1U, lost.count("preallocate/" + unit.name));
  EXPECT_EQ(1U, lost.count("elsewhere/" + unit.name));
}

TEST_F(repair_of, a_recording_beside_other_files_of_its_name_brings_it_back) {
  auto const unit = unit_in("recorded");
  fs::create_directory(storage(first_volume) / "elsewhere");
  fs::rename(unit.file, storage(first_volume) / "elsewhere" / unit.name);
  world::write_file(home() / unit.name, std::string(unit_bytes, '\0'));
  auto const before = shares();
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(
      before.at(fs::path("vol1") / storage(first_volume).filename() / "elsewhere" / unit.name),
      shares().at(fs::path("vol1") / storage(first_volume).filename() / unit.folder / unit.name));
  expect_all_kept(before);
}

// Its name is another one, its beginning is the unit's.
TEST_F(repair_of, a_recording_under_another_name_leaves_it) {
  auto const unit = unit_in("recorded");
  fs::rename(unit.file, home() / "kept-by-hand");
  auto const periods = open().periods().size();
  expect_untouched("left: volume vol1: unit " + unit.name + " of " + unit.folder +
                   ": whether this file is it cannot be told: vol1/preallocate/kept-by-hand");
  EXPECT_EQ(periods, open().periods().size());
}

TEST_F(repair_of, a_file_in_a_recordings_place_does_not_hide_the_recording) {
  auto const unit = unit_in("recorded");
  auto const host = storage(second_volume) / unit.folder;
  fs::create_directory(host);
  fs::rename(unit.file, host / unit.name);
  world::write_file(unit.file, std::string(unit_bytes, 'x'));
  expect_untouched("left: volume vol1: unit " + unit.name + " of " + unit.folder +
                   ": whether this file is it cannot be told: vol2/" + unit.folder + "/" +
                   unit.name);
}

// What lies in its second place may be what the other volume lacks.
TEST_F(repair_of, a_recording_of_a_volume_that_is_not_mounted_stays_where_it_is) {
  auto const said = damage({"wrong-volume", 1, "vol1", {}, {}, {}, {}, {}});
  damage({"unmounted", 1, "vol1", {}, {}, {}, {}, {}});
  auto const kept = shares();
  auto const lines = repair();
  EXPECT_EQ(strings(), world::differences(kept, shares())) << said;
  EXPECT_EQ(1, std::count_if(lines.begin(), lines.end(), [](std::string const& line) {
              return line.find(" may be of a volume that is not mounted") != std::string::npos;
            }));
  world::write_file(root() / "share/vol1/identity", open().volumes()[0].sid_text + "\n");
  repair();
  EXPECT_EQ(strings(), findings());
  expect_all_kept(kept);
}

TEST_F(repair_of, a_second_name_of_a_unit_is_removed_not_set_aside) {
  auto const unit = unit_in("recorded");
  fs::create_hard_link(unit.file, home() / unit.name);
  EXPECT_EQ(strings{"mended: volume vol1: removed preallocate/" + unit.name +
                    ", a second name of the file in " + unit.folder},
            repair());
  EXPECT_EQ(strings(), findings());
  EXPECT_FALSE(fs::exists(volume_folder() / "lost+found"));
}

// What is recorded in the one would overwrite the other.
TEST_F(repair_of, a_free_unit_with_another_one_s_file_gets_its_own) {
  auto const free = unit_in("free");
  auto const recorded = unit_in("recorded");
  auto const other = preallocate(second_volume) / names(preallocate(second_volume)).front();
  auto const before = world::tree_of(recorded.file.parent_path());
  fs::remove(free.file);
  fs::create_hard_link(recorded.file, free.file);
  fs::remove(other);
  fs::create_hard_link(recorded.file, other);
  auto const shared =
      " in preallocate is the file of unit " + recorded.name + " of volume vol1 too";
  EXPECT_EQ((strings{"duplicate: volume vol1: unit " + free.name + shared,
                     "duplicate: volume vol2: unit " + other.filename().string() + shared}),
            findings());
  repair();
  EXPECT_EQ(strings(), findings());
  for (auto const& file : {recorded.file, free.file, other}) {
    EXPECT_EQ(1U, fs::hard_link_count(file)) << file;
  }
  EXPECT_EQ(strings(), world::differences(before, world::tree_of(recorded.file.parent_path())));
}

TEST_F(repair_of, free_units_with_one_file_keeps_the_first) {
  auto const units = names(home());
  ASSERT_LE(3U, units.size());
  for (std::size_t each = 1; each < units.size(); ++each) {
    fs::remove(home() / units[each]);
    fs::create_hard_link(home() / units[0], home() / units[each]);
  }
  EXPECT_EQ(units.size() - 1, findings().size());
  repair();
  EXPECT_EQ(strings(), findings());
  for (auto const& each : units) EXPECT_EQ(1U, fs::hard_link_count(home() / each));
}

// Moving the name to its unit's place would make one.
TEST_F(repair_of, a_free_unit_without_a_file_does_not_get_another_one_s) {
  auto const free = unit_in("free");
  auto const recorded = unit_in("recorded");
  auto const link = recorded.file.parent_path() / free.name;
  auto const before = world::tree_of(recorded.file.parent_path());
  fs::remove(free.file);
  fs::create_hard_link(recorded.file, link);
  auto const found = findings();
  EXPECT_EQ(1, std::count(found.begin(), found.end(),
                          "duplicate: volume vol1: unit " + free.name + " in " + recorded.folder +
                              " is the file of unit " + recorded.name + " of volume vol1 too"));
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_FALSE(fs::exists(link));
  EXPECT_EQ(1U, fs::hard_link_count(recorded.file));
  EXPECT_EQ(1U, fs::hard_link_count(free.file));
  EXPECT_EQ(strings(), world::differences(before, world::tree_of(recorded.file.parent_path())));
}

TEST_F(repair_of, a_bad_unit_does_not_become_another_one_s_file) {
  auto const free = unit_in("free");
  auto const recorded = unit_in("recorded");
  fs::remove(free.file);
  fs::create_hard_link(recorded.file, free.file);
  tamper("UPDATE unit SET state = 'bad' WHERE volume_id = 1 AND name = '" + free.name + "'");
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(1U, fs::hard_link_count(recorded.file));
  EXPECT_EQ(1U, fs::hard_link_count(free.file));
}

TEST_F(repair_of, units_with_one_file_out_of_place_do_not_share_it) {
  auto const units = names(home());
  ASSERT_LE(4U, units.size());
  auto const elsewhere = storage(first_volume) / "elsewhere";
  fs::create_directory(elsewhere);
  fs::rename(home() / units[0], elsewhere / units[0]);
  fs::remove(home() / units[1]);
  fs::create_hard_link(elsewhere / units[0], elsewhere / units[1]);
  fs::remove(home() / units[2]);
  fs::create_hard_link(home() / units[3], home() / units[2]);
  tamper("UPDATE unit SET state = 'bad' WHERE volume_id = 1 AND name IN ('" + units[2] + "', '" +
         units[3] + "')");
  repair();
  EXPECT_EQ(strings(), findings());
  for (auto const& each : units) EXPECT_EQ(1U, fs::hard_link_count(home() / each)) << each;
}

TEST_F(repair_of, recorded_units_with_one_file_leaves_them) {
  open().record(first_volume, {1, 4, 4}, now, 2);
  auto const folder = lab::hour_folder_name(0, 4, 4, now);
  auto const hour = storage(first_volume) / folder;
  auto const units = names(hour);
  ASSERT_EQ(2U, units.size());
  fs::remove(hour / units[1]);
  fs::create_hard_link(hour / units[0], hour / units[1]);
  expect_untouched("left: volume vol1: unit " + units[1] + " in " + folder +
                   " is the file of unit " + units[0] +
                   " of volume vol1 too: which of them it is cannot be told");
}

TEST_F(repair_of, units_in_the_wrong_folder_brings_them_back) {
  auto const recorded = unit_in("recorded");
  auto const free = unit_in("free");
  fs::create_directory(storage(first_volume) / "elsewhere");
  fs::rename(recorded.file, home() / recorded.name);
  fs::rename(free.file, storage(first_volume) / "elsewhere" / free.name);
  auto const before = shares();
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_TRUE(fs::exists(recorded.file));
  EXPECT_TRUE(fs::exists(free.file));
  EXPECT_FALSE(fs::exists(storage(first_volume) / "elsewhere"));
  expect_all_kept(before);
}

TEST_F(repair_of, files_of_one_name_sets_both_aside) {
  for (int round = 0; round < 2; ++round) {
    world::write_file(home() / "stranger", "content " + std::to_string(round));
    repair();
  }
  EXPECT_EQ(strings(), findings());
  auto const lost = world::tree_of(volume_folder() / "lost+found");
  EXPECT_EQ("content 0", lost.at("preallocate/stranger"));
  EXPECT_EQ("content 1", lost.at("preallocate.2/stranger"));
}

TEST_F(repair_of, an_unknown_folder_with_something_in_it_leaves_it) {
  fs::create_directories(home() / "mine" / "deep");
  expect_untouched(
      "left: volume vol1: unknown file preallocate/mine is a folder: what is in it may be "
      "somebody's");
}

TEST_F(repair_of, what_belongs_to_no_volume_is_left_alone) {
  fs::create_directories(root() / "share" / "vol9" / "FSU_1");
  expect_untouched(
      "left: recorder: unknown folder share/vol9: it belongs to no volume of this recorder");
}

TEST_F(repair_of, a_link_leaves_it) {
  fs::create_symlink("/", home() / "link");
  expect_untouched(
      "left: volume vol1: unknown file preallocate/link is a link: what it leads to may be "
      "somebody's");
}

// What is there may be another volume's.
TEST_F(repair_of, a_preallocate_that_is_a_link_is_not_followed) {
  fs::remove_all(home());
  fs::create_directory_symlink(preallocate(second_volume), home());
  auto const before = shares();
  auto const lines = repair();
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                          "left: volume vol1: a link or a file is in the place of its folder: "
                          "nothing on it is touched"));
  EXPECT_EQ(strings(), world::differences(before, shares()));
}

TEST_F(repair_of, a_unit_whose_place_is_taken_removes_nothing) {
  auto const unit = unit_in("free");
  fs::remove(unit.file);
  fs::create_symlink("nowhere", unit.file);
  for (int round = 0; round < 2; ++round) {
    auto const lines = repair();
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                            "left: volume vol1: unit " + unit.name + " stays bad: " +
                                unit.file.string() + ": cannot create: File exists"));
    EXPECT_TRUE(fs::is_symlink(unit.file));
  }
}

TEST_F(repair_of, what_cannot_be_set_aside_does_not_hold_up_the_rest) {
  auto const lost = unit_in("free");
  fs::remove(lost.file);
  world::write_file(volume_folder() / "lost+found", "a file");
  world::write_file(home() / "stranger", "content");
  damage("leak");
  auto const lines = repair();
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                          "left: volume vol1: " + (volume_folder() / "lost+found").string() +
                              ": is no folder"));
  EXPECT_EQ(strings{"unknown"}, classes());
  EXPECT_EQ(unit_bytes, fs::file_size(lost.file));
}

TEST_F(repair_of, a_shortened_unit_tells_what_is_left_of_it) {
  auto const unit = unit_in("recorded");
  fs::resize_file(unit.file, 1000);
  EXPECT_EQ(strings{"mended: volume vol1: unit " + unit.name + " in " + unit.folder +
                    " has all its blocks again, zeros behind its first 1000 bytes"},
            repair());
  EXPECT_EQ(unit_bytes, fs::file_size(unit.file));
}

// Its folder and its name alone do not tell whose a recording is.
TEST_F(repair_of, a_file_with_another_beginning_is_not_taken_for_the_unit) {
  auto const unit = unit_in("recorded");
  auto const host = storage(second_volume) / unit.folder;
  fs::create_directory(host);
  fs::rename(unit.file, host / unit.name);
  world::write_file(host / unit.name, std::string(unit_bytes, 'x'));
  auto const before = shares();
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_TRUE(fs::exists(root() / "share/vol2/lost+found" / unit.folder / unit.name));
  expect_all_kept(before);
}

TEST_F(repair_of, a_volume_without_its_storage_folder_leaves_it) {
  fs::rename(storage(first_volume), root().parent_path() / "kept");
  expect_untouched(
      "left: volume vol1: storage folder is missing: whether its units are lost is not known until "
      "it is back");
}

TEST_F(repair_of, a_volume_without_preallocate_makes_it) {
  fs::remove_all(home());
  repair();
  EXPECT_EQ(strings(), findings());
}

TEST_F(repair_of, a_damaged_catalogue_moves_nothing) {
  auto const unit = unit_in("free");
  fs::remove(unit.file);
  tamper("UPDATE assignment SET channel_id = 55 WHERE id = 2");
  expect_untouched(
      "left: catalogue: row 2 of assignment refers to no channel: nothing is moved by a catalogue "
      "that is damaged");
}

// It may be that period's: that the catalogue forgot it proves nothing.
TEST_F(repair_of, a_leaked_unit_in_a_known_hour_leaves_it) {
  open().record(first_volume, {1, 4, 4}, now, 2);
  tamper(
      "UPDATE unit SET period_id = NULL WHERE id ="
      "  (SELECT max(id) FROM unit WHERE stream = 4 AND recording_type = 4 AND channel_id = 1)");
  ASSERT_EQ(strings{"leak"}, classes());
  auto const before = shares();
  auto const lines = repair();
  ASSERT_EQ(1U, lines.size());
  EXPECT_NE(std::string::npos, lines[0].find(": a period is known in its hour, or "));
  EXPECT_EQ(strings(), world::differences(before, shares()));
}

TEST_F(repair_of, a_period_that_lost_its_units_in_the_catalogue_only_leaves_both) {
  open().record(first_volume, {1, 4, 4}, now, 2);
  tamper("UPDATE unit SET period_id = NULL WHERE stream = 4 AND recording_type = 4");
  ASSERT_EQ((strings{"leak", "period"}), classes());
  auto const before = shares();
  repair();
  EXPECT_EQ((strings{"leak", "period"}), classes());
  EXPECT_EQ(strings(), world::differences(before, shares()));
}

TEST_F(repair_of, a_bad_unit_that_finds_no_room_leaves_it_bad) {
  auto const unit = unit_in("free");
  fs::remove(unit.file);
  struct rlimit before {};
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
  auto const handler = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit narrow = before;
  narrow.rlim_cur = unit_bytes - 1;
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &narrow));
  auto const lines = repair();
  EXPECT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
  std::signal(SIGXFSZ, handler);
  ASSERT_EQ(2U, lines.size());
  EXPECT_EQ(0U, lines[1].rfind("left: volume vol1: unit " + unit.name + " stays bad: ", 0));
  EXPECT_EQ(strings{"bad"}, classes());
  EXPECT_FALSE(fs::exists(unit.file));
  repair();
  EXPECT_EQ(strings(), findings());
}

// Somebody without rights while it lives, where the test itself is root.
class somebody {
 public:
  explicit somebody(fs::path const& working_folder) {
    fs::permissions(working_folder, fs::perms(0777));
    if (geteuid() == 0 && seteuid(nobody) != 0) throw std::runtime_error("cannot become nobody");
  }
  ~somebody() { static_cast<void>(seteuid(getuid())); }
  somebody(somebody const&) = delete;
  somebody& operator=(somebody const&) = delete;

 private:
  static constexpr uid_t nobody = 65534;
};

// Three volumes, of which the first has one recording, in one unit.
class repair_of_three : public repair_of {
 protected:
  repair_of_three() { lay(); }

  void lay() const {
    fs::remove_all(root());
    auto options = world::small();
    options.volumes = 3;
    make(options);
    open().record(first_volume, main_stream, now, 1);
  }

  fs::path place(std::int64_t volume_id) const { return storage(volume_id) / hour_folder / unit; }

  void put(fs::path const& file, std::int64_t volume_id) const {
    fs::create_directory(place(volume_id).parent_path());
    fs::copy_file(file, place(volume_id));
  }

  std::string shown() const { return hour_folder + "/" + unit; }

  // Nothing is touched, and no period goes.
  void expect_left(strings const& lines) const {
    auto const before = world::tree_of(root());
    auto const periods = open().periods().size();
    EXPECT_EQ(lines, repair());
    EXPECT_EQ(strings(), world::differences(before, world::tree_of(root())));
    EXPECT_EQ(periods, open().periods().size());
  }

  // The recording is not given up, whatever else is done.
  void expect_kept() const {
    auto const before = shares();
    repair();
    expect_all_kept(before);
    EXPECT_EQ("recorded", state_of_unit());
    EXPECT_EQ(1U, open().periods().size());
  }

  // The catalogue says that they are free.
  void forget_units() const {
    tamper(
        "UPDATE unit SET state = 'free', channel_id = NULL, recording_type = NULL, stream = NULL,"
        "                hour_ms = NULL, period_id = NULL WHERE state = 'recorded'");
  }

  std::string state_of_unit() const {
    lab::database const catalogue(root() / "catalogue.db", lab::database::mode::read_only,
                                  std::chrono::milliseconds(0));
    lab::statement query(catalogue, "SELECT state FROM unit WHERE volume_id = 1 AND name = ?");
    return query.with(unit).next() ? query.text(0) : "";
  }

  strings findings_of(std::string const& wanted) const {
    auto found = findings();
    found.erase(std::remove_if(found.begin(), found.end(),
                               [&](auto const& line) { return line.rfind(wanted + ": ", 0) != 0; }),
                found.end());
    return found;
  }

  static constexpr std::int64_t third_volume = 3;
  std::string const hour_folder = lab::hour_folder_name(0, 4, 0, now);
  std::string const unit = "unit000001";
};

TEST_F(repair_of_three, a_volume_that_cannot_be_read_does_not_hide_the_others) {
  fs::remove_all(root());
  somebody const without_rights(root().parent_path());
  lay();
  auto const free = preallocate(second_volume) / names(preallocate(second_volume)).front();
  fs::resize_file(free, 0);
  auto const hidden = place(first_volume).parent_path();
  fs::permissions(hidden, fs::perms(0));
  auto const unreadable = hidden.string() + ": cannot open folder: Permission denied";
  auto const found = findings();
  EXPECT_EQ(1, std::count(found.begin(), found.end(), "unreadable: volume vol1: " + unreadable));
  EXPECT_EQ((strings{"short", "sums", "unreadable"}), classes());
  auto const lines = repair();
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(), "left: volume vol1: " + unreadable));
  EXPECT_EQ(strings{"unreadable"}, classes());
  EXPECT_EQ(1U, open().periods().size());
  fs::permissions(hidden, fs::perms(0755));
  EXPECT_EQ(strings(), findings());
}

TEST_F(repair_of_three, a_recording_with_two_files_elsewhere_leaves_both) {
  put(place(first_volume), second_volume);
  put(place(first_volume), third_volume);
  fs::remove(place(first_volume));
  EXPECT_EQ((strings{"wrong-volume: volume vol2: " + shown() + " may be of volume vol1",
                     "wrong-volume: volume vol3: " + shown() + " may be of volume vol1"}),
            findings_of("wrong-volume"));
  expect_left({"left: volume vol1: unit " + unit + " of " + hour_folder +
               ": which of these files it is cannot be told: vol2/" + shown() + " vol3/" +
               shown()});
}

TEST_F(repair_of_three, a_recording_that_two_volumes_lack_leaves_both_without) {
  open().record(second_volume, main_stream, now, 1);
  ASSERT_TRUE(fs::exists(place(second_volume)));
  put(place(first_volume), third_volume);
  fs::remove(place(first_volume));
  fs::remove(place(second_volume));
  EXPECT_EQ((strings{"wrong-volume: volume vol3: " + shown() + " may be of volume vol1",
                     "wrong-volume: volume vol3: " + shown() + " may be of volume vol2"}),
            findings_of("wrong-volume"));
  auto const doubt = " of " + hour_folder + ": whether this file is it cannot be told: vol3/";
  expect_left({"left: volume vol1: unit " + unit + doubt + shown(),
               "left: volume vol2: unit " + unit + doubt + shown()});
}

TEST_F(repair_of_three, a_recording_with_two_names_elsewhere_brings_it_back) {
  put(place(first_volume), second_volume);
  fs::remove(place(first_volume));
  fs::create_directory(place(third_volume).parent_path());
  fs::create_hard_link(place(second_volume), place(third_volume));
  EXPECT_EQ((strings{"wrong-volume: volume vol2: " + shown() + " is of volume vol1",
                     "wrong-volume: volume vol3: " + shown() + " is of volume vol1"}),
            findings_of("wrong-volume"));
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_TRUE(fs::exists(place(first_volume)));
  EXPECT_FALSE(fs::exists(place(second_volume)));
  EXPECT_FALSE(fs::exists(place(third_volume)));
  EXPECT_EQ(1U, open().periods().size());
}

// As a stop in the middle of bringing it back leaves it: the other volume's unit
// of its name must not be made of it.
TEST_F(repair_of_three, a_recording_with_a_second_name_elsewhere_removes_that) {
  fs::remove(preallocate(second_volume) / unit);
  fs::create_directory(place(second_volume).parent_path());
  fs::create_hard_link(place(first_volume), place(second_volume));
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(1U, fs::hard_link_count(place(first_volume)));
}

TEST_F(repair_of_three, a_recording_outside_the_storage_folder_leaves_it) {
  fs::rename(place(first_volume), volume_folder() / unit);
  expect_left({"left: volume vol1: unit " + unit + " of " + hour_folder +
               ": whether this file is it cannot be told: vol1/" + unit});
}

TEST_F(repair_of_three, a_recording_in_the_place_of_another_leaves_it) {
  open().record(third_volume, {2, 4, 0}, now, 1);
  auto const other = lab::hour_folder_name(1, 4, 0, now) + "/" + unit;
  ASSERT_TRUE(fs::exists(storage(third_volume) / other));
  fs::rename(place(first_volume), storage(third_volume) / other);
  expect_left({"left: volume vol1: unit " + unit + " of " + hour_folder +
               ": whether this file is it cannot be told: vol3/" + other});
}

TEST_F(repair_of_three, a_recording_that_was_set_aside_is_not_given_up) {
  auto const lost = root() / "share/vol3/lost+found/preallocate";
  fs::create_directories(lost);
  fs::rename(place(first_volume), lost / unit);
  expect_left({"left: volume vol1: unit " + unit + " of " + hour_folder +
               ": whether this file is it cannot be told: vol3/lost+found/preallocate/" + unit});
}

TEST_F(repair_of_three, a_lost_and_found_that_cannot_be_read_may_hold_it) {
  fs::remove_all(root());
  somebody const without_rights(root().parent_path());
  lay();
  fs::remove(place(first_volume));
  auto const lost = root() / "share/vol3/lost+found";
  fs::create_directory(lost);
  fs::permissions(lost, fs::perms(0));
  EXPECT_EQ(strings{"left: volume vol1: unit " + unit + " of " + hour_folder +
                    ": whether this file is it cannot be told: vol3/lost+found"},
            repair());
  fs::permissions(lost, fs::perms(0755));
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(0U, open().periods().size());
}

// The catalogue says that it is free, the file that it is recorded.
TEST_F(repair_of_three, a_recording_that_only_its_period_remembers_is_not_given_up) {
  forget_units();
  auto const period = "period 1 " + hour_folder;
  auto const kept = shares();
  auto const lines = repair();
  EXPECT_EQ("mended: volume vol1: set aside " + shown() +
                ", as it is not what its unit should hold, in lost+found/" + hour_folder,
            lines.at(0));
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                          "left: " + period + ": vol1/lost+found/" + shown() +
                              " begins as a recording of its hours"));
  EXPECT_EQ(strings{"period: " + period + ": its units are missing"}, findings());
  expect_all_kept(kept);
  fs::remove_all(volume_folder() / "lost+found");
  repair();
  EXPECT_EQ(strings(), findings());
}

// It may be the period's, although the period names another volume.
TEST_F(repair_of_three, a_leaked_unit_in_the_hour_of_a_period_without_units_leaves_it) {
  tamper("UPDATE unit SET period_id = NULL");
  tamper("UPDATE period SET storage_id = (SELECT sid_text FROM volume WHERE id = 2)");
  ASSERT_EQ((strings{"leak", "period"}), classes());
  auto const kept = shares();
  repair();
  EXPECT_EQ(strings(), world::differences(kept, shares()));
  EXPECT_EQ((strings{"leak", "period"}), classes());
}

TEST_F(repair_of_three, a_period_without_units_stays_while_a_volume_is_not_mounted) {
  tamper("DELETE FROM unit WHERE volume_id = 1 AND state = 'recorded'");
  fs::remove(place(first_volume));
  damage({"unmounted", 1, "vol3", {}, {}, {}, {}, {}});
  repair();
  EXPECT_EQ(1U, open().periods().size());
}

// Whether it is the recording is not known as long as it cannot be read.
TEST_F(repair_of_three, a_file_that_cannot_be_read_leaves_the_unit) {
  fs::remove_all(root());
  somebody const without_rights(root().parent_path());
  lay();
  put(place(first_volume), third_volume);
  fs::remove(place(first_volume));
  fs::permissions(place(third_volume), fs::perms(0));
  auto const lines = repair();
  EXPECT_EQ(strings{"left: volume vol1: unit " + unit + " of " + hour_folder +
                    ": whether this file is it cannot be told: vol3/" + shown()},
            lines);
  EXPECT_EQ(1U, open().periods().size());
  EXPECT_TRUE(fs::exists(place(third_volume)));
  fs::permissions(place(third_volume), fs::perms(0644));
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_TRUE(fs::exists(place(first_volume)));
}

// A folder is put away whole as easily as a file.
TEST_F(repair_of_three, a_recording_in_a_folder_that_nobody_knows_is_not_given_up) {
  auto const first = "vol1/" + storage(first_volume).filename().string();
  auto const second = "vol2/" + storage(second_volume).filename().string();
  for (auto const& away :
       {std::string("vol3/backup/deep"), std::string("vol1"), std::string("vol2"), first + "/old",
        first + "/" + hour_folder + ".old", second + "/preallocate"}) {
    SCOPED_TRACE(away);
    lay();
    auto const host = root() / "share" / away;
    fs::create_directories(host);
    fs::rename(place(first_volume).parent_path(), host / hour_folder);
    expect_kept();
  }
}

TEST_F(repair_of_three, a_recording_below_any_number_of_folders_is_not_given_up) {
  for (int const depth : {50, 500}) {
    lay();
    auto host = root() / "share/vol3/backup";
    for (int level = 0; level < depth; ++level) host /= "d";
    fs::create_directories(host);
    fs::rename(place(first_volume), host / unit);
    auto const line = repair().front();
    EXPECT_EQ("recorded", state_of_unit());
    EXPECT_EQ(depth < 100, line.find("/" + unit) != std::string::npos) << line;
  }
}

// What it points to may be anything, and a folder that cannot be read may hold
// anything.
TEST_F(repair_of_three, a_stranger_that_may_hold_anything_may_hold_the_recording) {
  fs::remove_all(root());
  somebody const without_rights(root().parent_path());
  lay();
  fs::rename(place(first_volume), root().parent_path() / "kept");
  auto const stranger = root() / "share/vol3/backup";
  strings const wanted{"left: volume vol1: unit " + unit + " of " + hour_folder +
                       ": whether this file is it cannot be told: vol3/backup"};
  auto const expect_in_doubt = [&] {
    EXPECT_EQ(wanted.front(), repair().front());
    EXPECT_EQ("recorded", state_of_unit());
    EXPECT_EQ(1U, open().periods().size());
  };
  fs::create_directory(stranger);
  fs::permissions(stranger, fs::perms(0));
  expect_in_doubt();
  fs::permissions(stranger, fs::perms(0755));
  fs::remove(stranger);
  fs::create_symlink(root().parent_path() / "kept", stranger);
  expect_in_doubt();
  fs::remove(stranger);
  ASSERT_EQ(0, mkfifo(stranger.c_str(), 0644));
  expect_in_doubt();
  fs::remove(stranger);
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(0U, open().periods().size());
}

// Which recording it is is not told by its name.
TEST_F(repair_of_three, a_file_of_any_name_that_cannot_be_read_leaves_the_unit) {
  fs::remove_all(root());
  somebody const without_rights(root().parent_path());
  lay();
  for (auto const& host : {hour_folder + "/" + unit + ".bak", "preallocate/" + unit + ".bak"}) {
    SCOPED_TRACE(host);
    auto const file = storage(third_volume) / host;
    fs::create_directories(file.parent_path());
    fs::rename(place(first_volume), file);
    fs::permissions(file, fs::perms(0));
    EXPECT_EQ("left: volume vol1: unit " + unit + " of " + hour_folder +
                  ": whether this file is it cannot be told: vol3/" + host,
              repair().front());
    EXPECT_EQ("recorded", state_of_unit());
    EXPECT_EQ(1U, open().periods().size());
    fs::permissions(file, fs::perms(0644));
    EXPECT_EQ("recorded", state_of_unit());
    fs::rename(file, place(first_volume));
  }
}

// The catalogue says that it is free. Whether the file is the recording of its
// hour that the period lacks is not known as long as it cannot be read.
TEST_F(repair_of_three, a_free_unit_s_file_that_cannot_be_read_leaves_it) {
  fs::remove_all(root());
  somebody const without_rights(root().parent_path());
  lay();
  forget_units();
  fs::permissions(place(first_volume), fs::perms(0));
  auto const lines = repair();
  EXPECT_EQ("left: volume vol1: unit " + unit + ": " + shown() + " cannot be read", lines.front());
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                          "left: period 1 " + hour_folder + ": vol1/" + shown() +
                              " may be a recording of its hours, and cannot be read"));
  EXPECT_TRUE(fs::exists(place(first_volume)));
  EXPECT_EQ(1U, open().periods().size());
  fs::permissions(place(first_volume), fs::perms(0644));
}

// What is found there depends on no other damage.
TEST_F(repair_of_three, a_recording_that_was_set_aside_is_found_behind_a_file_in_its_place) {
  auto const lost = root() / "share/vol3/lost+found";
  fs::create_directories(lost);
  fs::rename(place(first_volume), lost / unit);
  world::write_file(place(first_volume), std::string(unit_bytes, 'x'));
  EXPECT_EQ(strings{"wrong-volume: volume vol3: lost+found/" + unit + " may be of volume vol1"},
            findings());
  expect_left({"left: volume vol1: unit " + unit + " of " + hour_folder +
               ": whether this file is it cannot be told: vol3/lost+found/" + unit});
}

// A file system's own folder, where it puts what it finds.
TEST_F(repair_of_three, a_recording_in_a_lost_and_found_of_the_recorder_is_not_given_up) {
  for (auto const& lost : {std::string("lost+found"), std::string("share/lost+found")}) {
    SCOPED_TRACE(lost);
    lay();
    fs::create_directory(root() / lost);
    fs::rename(place(first_volume), root() / lost / "#123");
    EXPECT_EQ(strings{"wrong-volume: recorder: " + lost + "/#123 may be of volume vol1"},
              findings_of("wrong-volume"));
    expect_left({"left: volume vol1: unit " + unit + " of " + hour_folder +
                 ": whether this file is it cannot be told: " + lost + "/#123"});
    forget_units();
    auto const lines = repair();
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                            "left: period 1 " + hour_folder + ": " + lost +
                                "/#123 begins as a recording of its hours"));
    EXPECT_EQ(1U, open().periods().size());
  }
}

// What lies in a leaked unit's place may be another one's recording.
TEST_F(repair_of_three, a_recording_beside_the_volumes_is_not_given_up) {
  fs::rename(place(first_volume).parent_path(), root() / "share" / hour_folder);
  auto const free = preallocate(first_volume) / names(preallocate(first_volume)).front();
  fs::remove(free);
  auto const lines = repair();
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                          "left: volume vol1: unit " + unit +
                              " was found nowhere: it may be in what belongs to no volume"));
  EXPECT_EQ(1U, open().periods().size());
  EXPECT_EQ(unit_bytes, fs::file_size(free));
  fs::rename(root() / "share" / hour_folder, place(first_volume).parent_path());
  repair();
  EXPECT_EQ(strings(), findings());
}

TEST_F(repair_of_three, a_recording_among_absent_volumes_is_not_given_up) {
  fs::create_directory(root() / "unmounted");
  fs::rename(place(first_volume).parent_path(), root() / "unmounted" / hour_folder);
  EXPECT_EQ(strings{"unknown: recorder: unknown folder unmounted/" + hour_folder},
            findings_of("unknown"));
  repair();
  EXPECT_EQ(1U, open().periods().size());
  EXPECT_EQ((strings{"missing", "unknown"}), classes());
}

// Nobody could look through all its hours.
TEST_F(repair_of_three, a_period_without_units_and_end_is_left) {
  tamper("UPDATE unit SET period_id = NULL");
  tamper(
      "UPDATE unit SET state = 'free', channel_id = NULL, recording_type = NULL,"
      "  stream = NULL, hour_ms = NULL");
  fs::rename(place(first_volume), preallocate(first_volume) / unit);
  tamper("UPDATE period SET end_ms = 9223372036854775807");
  repair();
  EXPECT_EQ(strings{"period"}, classes());
}

TEST_F(repair_of_three, a_leaked_unit_with_another_recording_in_its_place_is_not_recycled) {
  open().record(first_volume, {2, 4, 0}, now, 1);
  auto const other = storage(first_volume) / lab::hour_folder_name(1, 4, 0, now) / "unit000002";
  ASSERT_TRUE(fs::exists(other));
  auto const swapped = root().parent_path() / "swapped";
  fs::rename(other, swapped);
  fs::rename(place(first_volume), other);
  fs::rename(swapped, place(first_volume));
  tamper("DELETE FROM period WHERE id = 1");
  tamper("UPDATE unit SET period_id = NULL WHERE period_id = 1");
  auto const kept = shares();
  EXPECT_EQ("left: volume vol1: unit " + unit + " in " + hour_folder +
                " is recorded without a period, and what it holds does not begin as its recording",
            repair().front());
  EXPECT_EQ(strings(), world::differences(kept, shares()));
  EXPECT_EQ("recorded", state_of_unit());
}

TEST_F(repair_of_three, a_leaked_unit_that_was_never_written_is_recycled) {
  tamper("UPDATE unit SET period_id = NULL WHERE period_id = 1");
  tamper("DELETE FROM period WHERE id = 1");
  world::write_file(place(first_volume), std::string(unit_bytes, '\0'));
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ("free", state_of_unit());
}

// It may be of any volume.
TEST_F(repair_of_three, a_period_without_storage_id_goes_when_every_volume_is_settled) {
  tamper("UPDATE period SET storage_id = ''");
  fs::remove(place(first_volume));
  open().record(second_volume, {2, 4, 0}, now, 1);
  auto const leaked = storage(second_volume) / lab::hour_folder_name(1, 4, 0, now) / unit;
  auto const head = world::tree_of(leaked.parent_path()).at(unit);
  world::write_file(leaked, std::string(unit_bytes, 'x'));
  tamper("UPDATE unit SET period_id = NULL WHERE volume_id = 2");
  tamper("DELETE FROM period WHERE storage_id <> ''");
  repair();
  EXPECT_EQ("free", state_of_unit());
  EXPECT_EQ(1U, open().periods().size());
  world::write_file(leaked, head);
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(0U, open().periods().size());
}

TEST_F(repair_of_three, a_period_without_storage_id_stays_for_a_recording_of_its_hour) {
  tamper("UPDATE period SET storage_id = ''");
  forget_units();
  repair();
  EXPECT_EQ(1U, open().periods().size());
  fs::remove_all(volume_folder() / "lost+found");
  repair();
  EXPECT_EQ(strings(), findings());
  EXPECT_EQ(0U, open().periods().size());
}

// A volume that is taken away after its repair began, as by a lazy unmount.
class repair_of_vanishing : public repair_of_three {
 protected:
  // Its mount point stays behind.
  void unmount() const {
    fs::rename(volume_folder(), root() / "share" / "away");
    fs::create_directory(volume_folder());
  }

  void expect_none_given_up() {
    EXPECT_NE("", world::failure_of([&] { mending.mend(lab::elsewhere::all_seen); }));
    EXPECT_EQ(strings(), told);
    EXPECT_EQ(0, ask("SELECT count(*) FROM unit WHERE state = 'bad'"));
  }

  lab::database catalogue = lab::database(root() / "catalogue.db", lab::database::mode::read_write,
                                          std::chrono::milliseconds(0));
  lab::volume_place const first_place = {
      first_volume, "vol1", open(lab::access::read_only).volumes()[0].sid_text, volume_folder()};
  strings told;
  lab::volume_repair mending = lab::volume_repair(catalogue, first_place, 1, told);
};

TEST_F(repair_of_vanishing, an_unmounted_volume_gives_no_unit_up) {
  ASSERT_TRUE(mending.finish_moves());
  unmount();
  expect_none_given_up();
}

TEST_F(repair_of_vanishing, a_volume_without_its_storage_folder_gives_no_unit_up) {
  ASSERT_TRUE(mending.finish_moves());
  fs::rename(storage(first_volume), root().parent_path() / "kept");
  expect_none_given_up();
}

TEST_F(repair_of_vanishing, nothing_is_searched_in_vain) {
  fs::create_directory(volume_folder() / "lost+found");
  fs::rename(place(first_volume), volume_folder() / "lost+found" / unit);
  std::vector<lab::surveyed_volume> surveyed{{first_place, lab::scan(catalogue, first_place)}};
  surveyed.front().found.files.clear();
  ASSERT_EQ(1U, lab::displaced_units(surveyed).size());
  unmount();
  for (auto const& search :
       {+[](std::vector<lab::surveyed_volume> const& in) { lab::displaced_units(in); },
        +[](std::vector<lab::surveyed_volume> const& in) { lab::loose_recordings(in); }}) {
    EXPECT_NE("", world::failure_of([&] { search(surveyed); }));
  }
  EXPECT_NE("", world::failure_of([&] { lab::scan(catalogue, first_place); }));
}

}  // namespace
