#include <sys/resource.h>

#include <algorithm>
#include <csignal>

#include "damaged_recorder.h"
#include "lab/layout.h"
#include "lab/sqlite.h"

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
  expect_untouched("left: volume vol1: unit " + unit.name +
                   ": which of its files it is cannot be told");
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
  fs::rename(storage(first_volume), root() / "kept");
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

}  // namespace
