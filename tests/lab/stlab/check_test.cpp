// What stlab finds, repairs and mounts again.
#include <fstream>

#include "lab/volume/layout.h"
#include "stlab_test.h"

namespace {

namespace fs = std::filesystem;
using support::holds;
using support::outcome;

class stlab_check : public stlab_program::stlab_test {
 protected:
  stlab_check() { make(); }
};

TEST_F(stlab_check, a_broken_catalogue_is_no_usable_recorder) {
  break_table("unit");
  std::string const problem = (recorder / "catalogue.db").string() + ": the catalogue is damaged";
  outcome const shown = run("show " + recorder.string());
  EXPECT_EQ(3, shown.status);
  EXPECT_EQ("stlab: " + problem + "\n", shown.errors);
  outcome const checked = check();
  EXPECT_EQ(1, checked.status);
  EXPECT_EQ("", checked.errors);
  expect_parts(checked.output, {"catalogue: "});
  EXPECT_FALSE(holds(checked.output, "clean")) << checked.output;
}

TEST_F(stlab_check, check_tells_a_name_of_several_lines_in_one) {
  std::ofstream(recorder / "share" / "vol1" / "a\nleak: volume vol1: b") << "content";
  expect_ended(check(), 1, "unknown: volume vol1: unknown file a\\x0aleak: volume vol1: b\n");
}

TEST_F(stlab_check, check_tells_clean_from_findings) {
  expect_done(check(), "clean\n");
  fs::remove(*fs::directory_iterator(preallocate(volume(0).id)));
  outcome const damaged = check();
  EXPECT_EQ(1, damaged.status);
  expect_parts(damaged.output, {volume(0).name});
  EXPECT_FALSE(holds(damaged.output, "clean"));
}

TEST_F(stlab_check, repair_counts_what_is_left) {
  fs::remove(volume(0).path / "identity");
  outcome const one = run("check --repair " + recorder.string());
  EXPECT_EQ(1, one.status);
  EXPECT_EQ("1 finding left", support::lines_of(one.output).back());
  fs::remove(volume(1).path / "identity");
  outcome const two = run("check --repair " + recorder.string());
  EXPECT_EQ("2 findings left", support::lines_of(two.output).back());
}

TEST_F(stlab_check, repair_tells_what_it_did_what_failed_and_what_is_left) {
  fs::path const lost = recorder / "share" / "vol1" / "lost+found";
  std::ofstream(lost) << "a file";
  std::ofstream(recorder / "share" / "vol1" / "note") << "content";
  record(0, stream(0), 0, 1);
  writer().lose_storage_id({1});
  fs::remove(volume(1).path / "identity");
  std::string const period = "period 1 ch01_NR_S00_1970010100: ";
  expect_ended(run("check --repair " + recorder.string()), 1,
               "unknown: volume vol1: unknown file note\n"
               "not-mounted: volume vol2: its identity is missing (see stlab mount)\n"
               "null-id: " +
                   period +
                   "has no storage id\n"
                   "repaired: " +
                   period +
                   "has the storage id of its units' volume again\n"
                   "failed: volume vol1: " +
                   lost.string() +
                   ": is no folder\n"
                   "left: unknown: volume vol1: unknown file note; it may be somebody's\n"
                   "left: not-mounted: volume vol2: its identity is missing (see stlab mount); "
                   "nothing on it is touched\n"
                   "2 findings left\n");
}

class stlab_mount : public stlab_program::stlab_test {
 protected:
  stlab_mount() { make(); }

  void damage(std::string const& how) const {
    EXPECT_EQ(
        0, run("damage " + recorder.string() + " unmounted --volume vol1 --mount " + how).status);
  }
  outcome mount() const { return run("mount " + recorder.string() + " --volume vol1"); }
};

class stlab_mount_again : public stlab_mount, public testing::WithParamInterface<char const*> {};

TEST_P(stlab_mount_again, undoes_what_damage_has_done) {
  record(0, stream(0), 0, 3);
  auto const before = support::contents_of(recorder / "share");
  damage(GetParam());
  outcome const found = check();
  EXPECT_EQ(1, found.status);
  expect_parts(found.output, {"not-mounted: volume vol1: ", " (see stlab mount)\n"});
  expect_done(mount(),
              std::string("mounted volume vol1: ") + (std::string(GetParam()) == "absent"
                                                          ? "its folder is back from unmounted\n"
                                                          : "its identity is written anew\n"));
  EXPECT_EQ("clean\n", check().output);
  EXPECT_EQ(before, support::contents_of(recorder / "share"));
  EXPECT_FALSE(fs::exists(recorder / "unmounted"));
  expect_refused(mount(), "volume vol1 is mounted already");
}

INSTANTIATE_TEST_SUITE_P(ways, stlab_mount_again, testing::Values("missing", "foreign", "absent"));

TEST_F(stlab_mount, undoes_two_damages_at_once) {
  damage("foreign");
  fs::create_directory(recorder / "unmounted");
  fs::rename(recorder / "share" / "vol1", recorder / "unmounted" / "vol1");
  EXPECT_EQ(
      "mounted volume vol1: its folder is back from unmounted, its identity is written anew\n",
      mount().output);
  EXPECT_EQ("clean\n", check().output);
}

TEST_F(stlab_mount, refuses_what_is_no_volume) {
  expect_refused(run("mount " + recorder.string() + " --volume vol77"), "there is no volume vol77");
}

TEST_F(stlab_mount, refuses_when_something_is_in_the_way) {
  damage("absent");
  fs::create_directory(recorder / "share" / "vol1");
  support::unchanged const kept(recorder / "unmounted");
  expect_refused(mount(), "share/vol1 is in the way of unmounted/vol1");
  fs::remove(recorder / "share" / "vol1");
  fs::create_symlink(folder, recorder / "share" / "vol1");
  expect_refused(mount(), "share/vol1 is in the way of unmounted/vol1");
}

TEST_F(stlab_mount, refuses_a_link_and_nothing_at_all) {
  fs::path const away = folder / "away";
  fs::path const place = recorder / "share" / "vol1";
  fs::remove(place / "identity");
  fs::rename(place, away);
  expect_refused(mount(),
                 "volume vol1 cannot be mounted: there is neither share/vol1 nor unmounted/vol1");
  fs::create_symlink(away, place);
  support::unchanged const kept(away);
  expect_refused(mount(), "volume vol1 cannot be mounted: share/vol1 is not a folder");
}

// An empty mount point does not become the volume, nor does another's folder.
TEST_F(stlab_mount, refuses_a_preallocate_that_is_a_link_and_changes_nothing) {
  damage("missing");
  fs::path const place = recorder / "share" / "vol1";
  for (auto const& entry : fs::directory_iterator(place)) {
    fs::rename(entry.path() / "preallocate", folder / "away");
    fs::create_directory_symlink(folder / "away", entry.path() / "preallocate");
  }
  expect_refused(
      mount(), place.string() + ": not the folder of volume vol1: its preallocate is not a folder");
  EXPECT_FALSE(fs::exists(place / "identity"));
  auto const found = check().output;
  expect_parts(found,
               {"unreadable: volume vol1: a link or a file is in the place of its folder\n"});
}

TEST_F(stlab_mount, refuses_a_folder_that_is_not_the_volumes) {
  fs::path const place = recorder / "share" / "vol1";
  std::string const storage =
      fs::path(lab::storage_folder(place.string(), volume(0).sid_text)).filename();
  fs::rename(place, folder / "away");
  fs::create_directory(place);
  expect_refused(mount(), place.string() + ": not the folder of volume vol1: no " + storage);
  EXPECT_TRUE(fs::is_empty(place));
}

TEST_F(stlab_mount, refuses_what_is_no_file_in_the_place_of_the_identity) {
  fs::path const identity = recorder / "share" / "vol1" / "identity";
  fs::rename(identity, folder / "identity");
  fs::create_symlink(folder / "identity", identity);
  expect_refused(mount(), identity.string() + ": not a file, and in the way");
  EXPECT_TRUE(fs::is_symlink(identity));
}

}  // namespace
