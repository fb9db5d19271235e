#include "lab/repair/repair.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <set>

#include "damage/damaged_recorder.h"
#include "lab/catalogue/sqlite.h"
#include "lab/check/finding.h"
#include "lab/repair/stages.h"
#include "lab/volume/layout.h"

namespace {

namespace fs = std::filesystem;
using lab::finding_class;
using lab::lost_recordings;
using support::contents;
using support::now;
using support::strings;
using classes_found = std::set<finding_class>;

constexpr std::uintmax_t unit_bytes = 1048576;

class repair_of : public support::damaged_recorder {
 protected:
  repair_of() { support::mark_units(root() / "share"); }

  struct known_unit {
    std::string name;
    std::string folder;
    fs::path file;
  };

  // The first unit of the volume in the given state.
  known_unit unit_in(std::string const& state, std::int64_t volume_id = first_volume) const {
    auto const catalogue = connect();
    lab::statement query(catalogue,
                         "SELECT u.name, c.number, u.recording_type, u.stream, u.hour_ms"
                         "  FROM unit u LEFT JOIN channel c ON c.id = u.channel_id"
                         "  WHERE u.volume_id = ? AND u.state = ? ORDER BY u.id");
    if (!query.with(volume_id, state).next()) throw std::runtime_error("no unit that is " + state);
    std::string const name = query.text(0);
    std::string const folder = state == "free"
                                   ? "preallocate"
                                   : lab::hour_folder_name(query.integer32(1), query.integer32(2),
                                                           query.integer32(3), query.integer(4));
    return {name, folder, storage(volume_id) / folder / name};
  }

  support::contents shares() const { return support::contents_of(root() / "share"); }
  support::contents set_aside() const {
    return support::contents_of(volume_folder() / "lost+found");
  }
  void expect_repair_ends_clean(lost_recordings what = lost_recordings::keep) const {
    repair(what);
    EXPECT_EQ(lab::findings(), found());
  }
  fs::path free_units() const { return preallocate(first_volume); }
  fs::path volume_folder() const { return root() / "share/vol1"; }

  fs::path made_folder(std::string const& name, std::int64_t volume_id = first_volume) const {
    fs::create_directory(storage(volume_id) / name);
    return storage(volume_id) / name;
  }

  void link_at(fs::path const& link) const {
    fs::create_symlink(root() / "share/vol2/identity", link);
  }

  // What was done and what is left afterwards.
  void expect_repaired(strings const& repaired, classes_found const& left = {},
                       lost_recordings what = lost_recordings::keep) const {
    auto const before = shares();
    auto const report = repair(what);
    EXPECT_EQ(repaired, report.repaired);
    EXPECT_EQ(std::set<std::string>(), report.failed);
    EXPECT_EQ(left, classes());
    expect_all_kept(before);
  }

  void make_bad(known_unit const& unit) const {
    tamper("UPDATE unit SET state = 'bad' WHERE volume_id = 1 AND name = '" + unit.name + "'");
  }

  // Whether or not recordings are given up.
  void expect_left(classes_found const& left) const {
    EXPECT_EQ(left, classes());
    support::unchanged const kept(root());
    EXPECT_EQ(strings(), repair(lost_recordings::give_up).repaired);
    EXPECT_EQ(left, classes());
  }
};

class repair_of_kind : public repair_of, public testing::WithParamInterface<char const*> {};

TEST_P(repair_of_kind, ends_clean_and_loses_nothing) {
  for (std::uint64_t seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(damage(GetParam(), seed));
    auto const before = shares();
    EXPECT_NE(strings(), repair(lost_recordings::give_up).repaired);
    EXPECT_EQ(lab::findings(), found());
    expect_all_kept(before);
    support::unchanged const kept(root());
    EXPECT_EQ(strings(), repair(lost_recordings::give_up).repaired);
  }
}

TEST_P(repair_of_kind, leaves_every_other_unit_as_it_is) {
  auto const before = shares();
  damage(GetParam(), 4);
  auto const damages = found();
  repair(lost_recordings::give_up);
  auto const after = shares();
  std::size_t compared = 0;
  for (auto const& [name, content] : before) {
    fs::path const file(name);
    bool const is_damaged = std::any_of(damages.begin(), damages.end(), [&](auto const& each) {
      return each.text.find(file.filename().string()) != std::string::npos;
    });
    if (name.back() == '/' || is_damaged) continue;
    ASSERT_EQ(1U, after.count(name)) << name;
    EXPECT_TRUE(after.at(name) == content) << name;
    ++compared;
  }
  EXPECT_GT(compared, 18U);
}

INSTANTIATE_TEST_SUITE_P(kinds, repair_of_kind,
                         testing::Values("leak", "lost-unit", "unknown-file", "duplicate-unit",
                                         "short-unit", "null-ids", "wrong-volume", "stopped"),
                         [](auto const& which) { return support::as_name(which.param); });

TEST_F(repair_of, a_clean_recorder_changes_nothing) { expect_left({}); }

TEST_F(repair_of, what_is_not_mounted_touches_nothing) {
  fs::remove(volume_folder() / "identity");
  fs::remove(unit_in("free").file);
  support::write_file(free_units() / "unknown", "content");
  expect_left({finding_class::not_mounted});
}

TEST_F(repair_of, a_damaged_catalogue_moves_nothing) {
  fs::remove(unit_in("free").file);
  tamper("UPDATE assignment SET channel_id = 55 WHERE id = 2");
  expect_left({finding_class::corrupt, finding_class::missing, finding_class::sums});
}

TEST_F(repair_of, a_volume_that_is_written_waits_and_says_busy) {
  auto const other = hold(first_volume, lab::volume_lock::kind::shared);
  fs::remove(unit_in("free", second_volume).file);
  support::unchanged const kept(root());
  EXPECT_THROW(repair(), lab::busy_error);
}

TEST_F(repair_of, misplaced_units_brings_them_back) {
  auto const recorded = unit_in("recorded");
  auto const free = unit_in("free");
  auto const elsewhere = made_folder("elsewhere");
  fs::rename(recorded.file, free_units() / recorded.name);
  fs::rename(free.file, elsewhere / free.name);
  expect_repaired({"volume vol1: unit " + recorded.name + " is back in " + recorded.folder +
                       " from preallocate",
                   "volume vol1: unit " + free.name + " is back in preallocate from elsewhere",
                   "volume vol1: removed the empty folder elsewhere"});
}

TEST_F(repair_of, a_misplaced_unit_with_two_files_leaves_both) {
  auto const unit = unit_in("recorded");
  fs::copy_file(unit.file, free_units() / unit.name);
  fs::rename(unit.file, made_folder("elsewhere") / unit.name);
  expect_left({finding_class::misplaced, finding_class::sums});
}

TEST_F(repair_of, a_misplaced_unit_that_does_not_begin_as_its_recording_leaves_it) {
  auto const unit = unit_in("recorded");
  fs::rename(unit.file, made_folder("elsewhere") / unit.name);
  support::write_file(storage(first_volume) / "elsewhere" / unit.name,
                      std::string(unit_bytes, 'x'));
  expect_left({finding_class::misplaced});
}

// Who has put the link there may want it.
TEST_F(repair_of, a_misplaced_unit_with_a_link_in_its_place_leaves_both) {
  auto const unit = unit_in("recorded");
  fs::rename(unit.file, made_folder("elsewhere") / unit.name);
  link_at(unit.file);
  expect_left({finding_class::misplaced, finding_class::unknown});
  EXPECT_EQ(std::set<std::string>{"volume vol1: unit " + unit.name + ": its place is taken"},
            repair().failed);
}

class repair_of_the_wrong_volume : public repair_of {
 protected:
  known_unit const unit = unit_in("recorded");
  fs::path const other = made_folder(unit.folder, second_volume) / unit.name;
};

TEST_F(repair_of_the_wrong_volume, brings_it_back) {
  fs::rename(unit.file, other);
  expect_repaired(
      {"volume vol1: unit " + unit.name + " is back in " + unit.folder + " from volume vol2",
       "volume vol2: removed the empty folder " + unit.folder});
}

TEST_F(repair_of_the_wrong_volume, leaves_what_does_not_begin_as_its_recording) {
  fs::remove(unit.file);
  support::write_file(other, std::string(unit_bytes, 'x'));
  expect_left({finding_class::missing, finding_class::wrong_volume});
}

TEST_F(repair_of_the_wrong_volume, leaves_what_may_be_of_two_volumes) {
  tamper(
      "UPDATE unit SET state = 'free', channel_id = NULL, recording_type = NULL,"
      "  stream = NULL, hour_ms = NULL, period_id = NULL WHERE volume_id = 2 AND name = '" +
      unit.name + "'");
  tamper("DELETE FROM period WHERE id NOT IN (SELECT period_id FROM unit WHERE period_id > 0)");
  for (auto const& each : fs::recursive_directory_iterator(storage(second_volume))) {
    if (each.path().filename() == unit.name) fs::remove(each.path());
  }
  fs::rename(unit.file, other);
  support::write_file(preallocate(second_volume) / unit.name, std::string(unit_bytes, '\0'));
  repair();
  EXPECT_TRUE(fs::exists(unit.file)) << "its folder tells of which volume it is";
}

TEST_F(repair_of, duplicates_and_unknown_files_sets_them_aside) {
  auto const unit = unit_in("recorded");
  fs::copy_file(unit.file, free_units() / unit.name);
  support::write_file(free_units() / "note", "content");
  support::write_file(volume_folder() / "top", "content");
  auto const aside = [](std::string const& what, std::string const& where) {
    return "volume vol1: " + what + " is set aside in lost+found/" + where;
  };
  expect_repaired({aside("preallocate/" + unit.name, "preallocate"), aside("top", "volume"),
                   aside("preallocate/note", "preallocate")});
  EXPECT_EQ("content", set_aside().at("volume/top"));
}

TEST_F(repair_of, unknown_files_of_one_name_keeps_both) {
  for (int round = 0; round < 2; ++round) {
    support::write_file(free_units() / "note", "content " + std::to_string(round));
    repair();
  }
  EXPECT_EQ(lab::findings(), found());
  auto const lost = set_aside();
  EXPECT_EQ("content 0", lost.at("preallocate/note"));
  EXPECT_EQ("content 1", lost.at("preallocate.2/note"));
}

TEST_F(repair_of, links_and_folders_leaves_them) {
  link_at(free_units() / "link");
  fs::create_directories(free_units() / "folder" / "deep");
  expect_left({finding_class::unknown});
}

TEST_F(repair_of, a_pipe_leaves_it) {
  ASSERT_EQ(0, mkfifo((free_units() / "pipe").c_str(), 0644));
  EXPECT_EQ(strings(), repair().repaired);
  EXPECT_EQ(classes_found{finding_class::unknown}, classes());
}

TEST_F(repair_of, what_lies_beside_the_volumes_leaves_it) {
  fs::create_directories(root() / "share" / "vol9" / "FSU_1");
  support::write_file(root() / "note", "content");
  expect_left({finding_class::unknown});
}

TEST_F(repair_of, cross_linked_units_leaves_them) {
  auto const recorded = unit_in("recorded");
  auto const free = unit_in("free");
  fs::create_hard_link(recorded.file, free_units() / recorded.name);
  fs::remove(free.file);
  fs::create_hard_link(recorded.file, free.file);
  expect_left({finding_class::cross_linked, finding_class::duplicate, finding_class::sums});
}

TEST_F(repair_of, bad_units_sets_their_files_aside_and_frees_them) {
  auto const unit = unit_in("free");
  make_bad(unit);
  auto const before = shares();
  expect_repaired(
      {"volume vol1: preallocate/" + unit.name + " is set aside in lost+found/preallocate",
       "volume vol1: unit " + unit.name + " is preallocated anew and free"});
  EXPECT_EQ(unit_bytes, fs::file_size(unit.file));
}

// No file can be made as long as it lives.
class full_disk {
 public:
  full_disk() {
    getrlimit(RLIMIT_FSIZE, &before_);
    struct rlimit narrow = before_;
    narrow.rlim_cur = unit_bytes - 1;
    setrlimit(RLIMIT_FSIZE, &narrow);
  }
  ~full_disk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    static_cast<void>(std::signal(SIGXFSZ, handler_));
  }
  full_disk(full_disk const&) = delete;
  full_disk& operator=(full_disk const&) = delete;

 private:
  struct rlimit before_ {};
  void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(repair_of, units_for_which_there_is_no_room_leaves_them) {
  auto const bad = unit_in("free");
  make_bad(bad);
  fs::remove(bad.file);
  fs::remove(unit_in("free", second_volume).file);
  {
    full_disk const meanwhile;
    auto const report = repair();
    EXPECT_EQ(strings(), report.repaired);
    EXPECT_EQ(2U, report.failed.size());
  }
  EXPECT_EQ((classes_found{finding_class::bad, finding_class::missing, finding_class::sums}),
            classes());
  EXPECT_FALSE(fs::exists(bad.file));
  expect_repair_ends_clean();
}

TEST_F(repair_of, lost_free_units_preallocates_them_anew) {
  auto const unit = unit_in("free");
  fs::remove(unit.file);
  expect_repaired({"volume vol1: unit " + unit.name + " is preallocated anew and free"});
  EXPECT_EQ(unit_bytes, fs::file_size(unit.file));
}

TEST_F(repair_of, a_volume_without_preallocate_makes_it) {
  fs::remove_all(free_units());
  expect_repair_ends_clean();
}

TEST_F(repair_of, short_units_gives_them_their_blocks) {
  auto const recorded = unit_in("recorded");
  auto const free = unit_in("free");
  fs::resize_file(recorded.file, 1100);
  fs::resize_file(free.file, 0);
  fs::resize_file(free.file, unit_bytes);
  expect_repaired({"volume vol1: unit " + recorded.name + " in " + recorded.folder +
                       " has all its blocks again, it was 1100 bytes long",
                   "volume vol1: unit " + free.name +
                       " in preallocate has all its blocks again, it was 1048576 bytes long"});
}

TEST_F(repair_of, long_units_sets_free_ones_aside_and_leaves_recorded_ones) {
  auto const recorded = unit_in("recorded");
  auto const free = unit_in("free");
  fs::resize_file(recorded.file, 2 * unit_bytes);
  fs::resize_file(free.file, 2 * unit_bytes);
  expect_repaired(
      {"volume vol1: preallocate/" + free.name + " is set aside in lost+found/preallocate",
       "volume vol1: unit " + free.name + " is preallocated anew and free"},
      {finding_class::too_long});
  EXPECT_EQ(2 * unit_bytes, fs::file_size(recorded.file));
}

TEST_F(repair_of, periods_without_ids_leaves_those_of_two_volumes) {
  open().record(first_volume, {1, 4, 4}, now, 1);
  open().record(second_volume, {1, 4, 4}, now, 1);
  tamper("UPDATE period SET storage_id = '' WHERE stream = 4");
  tamper(
      "UPDATE unit SET period_id = (SELECT min(id) FROM period WHERE stream = 4)"
      "  WHERE stream = 4 AND volume_id = 2");
  tamper("DELETE FROM period WHERE id = (SELECT max(id) FROM period WHERE stream = 4)");
  expect_left({finding_class::null_id});
}

TEST_F(repair_of, a_leak_leaves_it_while_a_file_of_its_volume_is_out_of_place) {
  damage("leak");
  link_at(free_units() / "link");
  damage("leak", 2);
  for (auto const& each : {"vol1", "vol2"}) {
    link_at(root() / "share" / each / "link");
  }
  expect_left({finding_class::leak, finding_class::unknown});
  for (auto const& each : {"vol1", "vol2"}) fs::remove(root() / "share" / each / "link");
  fs::remove(free_units() / "link");
  expect_repair_ends_clean();
}

// What cannot be done on one volume is told, and the other is repaired.
TEST_F(repair_of, a_volume_that_fails_does_not_keep_the_others_from_it) {
  fs::create_directory_symlink(root().parent_path(), volume_folder() / "lost+found");
  support::write_file(free_units() / "note", "content");
  auto const lost = unit_in("free", second_volume);
  fs::remove(lost.file);
  auto const report = repair();
  EXPECT_EQ(std::set<std::string>{"volume vol1: " + (volume_folder() / "lost+found").string() +
                                  ": is no folder"},
            report.failed);
  EXPECT_EQ(strings{"volume vol2: unit " + lost.name + " is preallocated anew and free"},
            report.repaired);
  EXPECT_FALSE(fs::exists(root().parent_path() / "preallocate"));
}

// As with an older catalogue.
TEST_F(repair_of, a_file_in_which_something_was_recorded_never_becomes_free_space) {
  fs::copy_file(root() / "catalogue.db", root().parent_path() / "older");
  open().record(first_volume, {1, 4, 4}, now, 1);
  auto const hour = storage(first_volume) / "ch01_NR_S04_2026112100";
  auto const name = names(hour).at(0);
  auto const recording = support::content_of(hour / name);
  fs::copy_file(root().parent_path() / "older", root() / "catalogue.db",
                fs::copy_options::overwrite_existing);
  EXPECT_EQ(1U, classes().count(finding_class::misplaced));
  expect_repair_ends_clean();
  EXPECT_EQ(recording,
            support::content_of(volume_folder() / "lost+found" / hour.filename() / name));
  EXPECT_NE(recording, support::content_of(free_units() / name));
}

TEST_F(repair_of, what_may_be_of_a_volume_that_is_not_mounted_stays) {
  auto const away = unit_in("recorded", second_volume);
  auto const here = made_folder(away.folder) / away.name;
  auto const named = made_folder(away.folder) / "unit000099";
  fs::rename(away.file, here);
  support::write_file(named, "content");
  auto const identity = root() / "share/vol2/identity";
  fs::rename(identity, root().parent_path() / "identity");
  repair(lost_recordings::give_up);
  EXPECT_TRUE(fs::exists(here));
  EXPECT_TRUE(fs::exists(named));
  fs::rename(root().parent_path() / "identity", identity);
  expect_repair_ends_clean();
  EXPECT_TRUE(fs::exists(away.file));
}

TEST_F(repair_of, a_leak_stays_while_a_period_is_known_in_its_hour) {
  auto const id = open().volumes().at(1).sid_text;
  auto const kept = unit_in("recorded");
  tamper("UPDATE period SET storage_id = '" + id +
         "' WHERE id = (SELECT period_id FROM unit WHERE volume_id = 1 AND name = '" + kept.name +
         "'); UPDATE unit SET period_id = NULL WHERE volume_id = 1 AND name = '" + kept.name + "'");
  auto const left = classes();
  EXPECT_EQ(1U, left.count(finding_class::leak));
  expect_left(left);
  EXPECT_TRUE(fs::exists(kept.file));
}

// One recording of two units on the first volume, of which the first is lost.
class giving_up : public repair_of {
 protected:
  giving_up() {
    open().record(first_volume, {1, 4, 4}, now, 2);
    fs::remove(hour / units()[0]);
  }

  strings units() const {
    strings found;
    auto const catalogue = connect();
    lab::statement query(catalogue, "SELECT name FROM unit WHERE stream = 4 ORDER BY id");
    while (query.next()) found.push_back(query.text(0));
    return found;
  }

  std::int64_t periods() const { return ask("SELECT count(*) FROM period"); }

  // With the obstacle, which stays; not without.
  void expect_kept_until(std::function<void()> const& removal) const {
    auto const before = periods();
    repair(lost_recordings::give_up);
    EXPECT_EQ(before, periods());
    EXPECT_EQ(2, ask("SELECT count(*) FROM unit WHERE stream = 4 AND state = 'recorded'"));
    EXPECT_EQ(1U, classes().count(finding_class::missing));
    removal();
    repair();
    repair(lost_recordings::give_up);
    EXPECT_EQ(1, ask("SELECT count(*) FROM unit WHERE stream = 4"));
    EXPECT_EQ(lab::findings(), found());
  }

  fs::path const hour = storage(first_volume) / "ch01_NR_S04_2026112100";
};

TEST_F(giving_up, is_done_only_when_it_is_asked_for) {
  EXPECT_EQ(strings(), repair().repaired);
  EXPECT_EQ(classes_found{finding_class::missing}, classes());
}

TEST_F(giving_up, keeps_the_period_and_its_other_units) {
  auto const before = periods();
  auto const lost = units()[0];
  expect_repaired({"volume vol1: unit " + lost + " is given up and bad",
                   "volume vol1: unit " + lost + " is preallocated anew and free"},
                  {}, lost_recordings::give_up);
  EXPECT_EQ(before, periods());
}

TEST_F(giving_up, drops_a_period_with_its_last_unit) {
  auto const before = periods();
  fs::remove_all(hour);
  expect_repair_ends_clean(lost_recordings::give_up);
  EXPECT_EQ(before - 1, periods());
}

TEST_F(giving_up, drops_a_period_that_never_had_units) {
  tamper(
      "UPDATE unit SET state = 'free', channel_id = NULL, recording_type = NULL,"
      "  stream = NULL, hour_ms = NULL, period_id = NULL WHERE stream = 4");
  fs::remove_all(hour);
  repair();
  EXPECT_EQ(classes_found{finding_class::period}, classes());
  expect_repair_ends_clean(lost_recordings::give_up);
}

// The leak may be its own.
TEST_F(giving_up, keeps_a_period_without_units_where_a_leak_lies_in_its_hours) {
  auto const before = periods();
  tamper("UPDATE unit SET period_id = NULL WHERE stream = 4 AND name = '" + units()[1] + "'");
  repair(lost_recordings::give_up);
  EXPECT_EQ(before, periods());
  EXPECT_EQ((classes_found{finding_class::leak, finding_class::period}), classes());
  EXPECT_TRUE(fs::exists(hour / units()[0]));
}

TEST_F(giving_up, waits_for_a_volume_that_is_not_mounted) {
  auto const identity = root() / "share/vol2/identity";
  auto const away = root().parent_path() / "identity";
  fs::rename(identity, away);
  expect_kept_until([&] { fs::rename(away, identity); });
}

TEST_F(giving_up, waits_for_a_volume_that_cannot_be_read) {
  auto const away = root().parent_path() / "away";
  fs::rename(storage(second_volume), away);
  expect_kept_until([&] { fs::rename(away, storage(second_volume)); });
}

TEST_F(giving_up, waits_for_what_is_unknown) {
  for (auto const& link : {free_units() / "link", root() / "share" / "link", root() / "link"}) {
    link_at(link);
  }
  fs::remove(root() / "link");
  expect_kept_until([&] {
    fs::remove(free_units() / "link");
    fs::remove(root() / "share" / "link");
  });
}

TEST_F(giving_up, waits_for_what_is_misplaced) {
  auto const other = unit_in("recorded", second_volume);
  auto const two = made_folder("two", second_volume) / other.name;
  fs::copy_file(other.file, made_folder("one", second_volume) / other.name);
  fs::rename(other.file, two);
  expect_kept_until([&] { fs::remove(two); });
}

TEST_F(giving_up, waits_for_what_is_on_the_wrong_volume) {
  auto const file = made_folder(hour.filename(), second_volume) / units()[0];
  support::write_file(file, std::string(unit_bytes, 'x'));
  expect_kept_until([&] { fs::remove(file); });
}

TEST_F(giving_up, waits_for_duplicates_that_cannot_be_set_aside) {
  auto const other = unit_in("recorded", second_volume);
  auto const lost = root() / "share/vol2/lost+found";
  support::write_file(lost, "a file");
  fs::copy_file(other.file, preallocate(second_volume) / other.name);
  expect_kept_until([&] { fs::remove(lost); });
}

TEST_F(giving_up, waits_for_a_run_that_sets_nothing_aside) {
  auto const before = periods();
  support::write_file(volume_folder() / units()[1], "a file");
  repair(lost_recordings::give_up);
  EXPECT_EQ(classes_found{finding_class::missing}, classes());
  EXPECT_EQ(before, periods());
  expect_repair_ends_clean(lost_recordings::give_up);
}

TEST_F(giving_up, keeps_a_period_whose_unit_another_one_holds) {
  open().record(first_volume, {1, 4, 3}, now, 1);
  auto const before = periods();
  tamper("UPDATE unit SET period_id = (SELECT id FROM period WHERE stream = 4) WHERE stream = 3");
  repair(lost_recordings::give_up);
  EXPECT_EQ(before, periods());
}

TEST_F(giving_up, waits_for_what_is_cross_linked) {
  auto const second_name = root().parent_path() / "second";
  fs::create_hard_link(unit_in("free").file, second_name);
  expect_kept_until([&] { fs::remove(second_name); });
}

// As by a lazy unmount; the mount point stays behind.
TEST_F(giving_up, is_not_done_on_a_volume_that_has_vanished_since_its_scan) {
  auto catalogue = connect(lab::database::mode::read_write);
  lab::repair_report report;
  std::vector<lab::scanned_volume> scanned;
  for (auto const& place : lab::places_of(catalogue, root())) {
    scanned.push_back(lab::scan_volume(catalogue, place, std::nullopt));
  }
  fs::rename(volume_folder(), root() / "share" / "away");
  fs::create_directory(volume_folder());
  EXPECT_NE("", support::failure_of([&] {
              lab::give_up({catalogue, unit_bytes, report}, scanned, {});
            }));
  EXPECT_EQ(strings(), report.repaired);
  EXPECT_EQ(0, ask("SELECT count(*) FROM unit WHERE state = 'bad'"));
}

}  // namespace
