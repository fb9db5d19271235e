// What stlab finds, repairs and mounts again.
#include <fstream>

#include "lab/volume/layout.h"
#include "stlab_test.h"

namespace {

using support::holds;
using support::outcome;

class stlab_check : public stlab_program::stlab_test {};

TEST_F(stlab_check, a_broken_catalogue_is_no_usable_recorder) {
  make();
  break_table("period");
  std::string const problem = (recorder / "catalogue.db").string() + ": the catalogue is damaged";
  outcome const shown = run("show " + recorder.string());
  EXPECT_EQ(3, shown.status);
  EXPECT_EQ("stlab: " + problem + "\n", shown.errors);
  outcome const checked = check();
  EXPECT_EQ(1, checked.status);
  EXPECT_EQ("", checked.errors);
  EXPECT_TRUE(holds(checked.output, "catalogue: ")) << checked.output;
  EXPECT_FALSE(holds(checked.output, "clean")) << checked.output;
}

TEST_F(stlab_check, check_tells_a_name_of_several_lines_in_one) {
  make();
  std::filesystem::path const volume = recorder / "share" / "vol1";
  std::ofstream(volume / "a\nleak: volume vol1: b") << "content";
  outcome const found = check();
  EXPECT_EQ(1, found.status);
  EXPECT_EQ("unknown: volume vol1: unknown file a\\x0aleak: volume vol1: b\n", found.output);
}

TEST_F(stlab_check, check_tells_clean_from_findings) {
  make();
  outcome const clean = check();
  EXPECT_EQ(0, clean.status);
  EXPECT_EQ("clean\n", clean.output);
  lab::volume const of = volume(0);
  std::filesystem::path const reserve =
      std::filesystem::path(lab::storage_folder(of.path.string(), of.sid_text)) / "preallocate";
  std::filesystem::remove(*std::filesystem::directory_iterator(reserve));
  outcome const damaged = check();
  EXPECT_EQ(1, damaged.status);
  EXPECT_TRUE(holds(damaged.output, of.name)) << damaged.output;
  EXPECT_FALSE(holds(damaged.output, "clean"));
}

TEST_F(stlab_check, repair_counts_what_is_left) {
  make();
  std::filesystem::remove(volume(0).path / "identity");
  outcome const one = run("check --repair " + recorder.string());
  EXPECT_EQ(1, one.status);
  EXPECT_EQ("1 finding left", support::lines_of(one.output).back());
  std::filesystem::remove(volume(1).path / "identity");
  outcome const two = run("check --repair " + recorder.string());
  EXPECT_EQ("2 findings left", support::lines_of(two.output).back());
}

TEST_F(stlab_check, repair_tells_what_it_did_what_failed_and_what_is_left) {
  make();
  std::filesystem::path const lost = recorder / "share" / "vol1" / "lost+found";
  std::ofstream(lost) << "a file";
  std::ofstream(recorder / "share" / "vol1" / "note") << "content";
  writer().record(volume(0).id, stream(0, client::normal, 0), 0, 1);
  writer().lose_storage_id({1});
  std::filesystem::remove(volume(1).path / "identity");
  outcome const done = run("check --repair " + recorder.string());
  EXPECT_EQ(1, done.status);
  std::string const period = "period 1 ch01_NR_S00_1970010100: ";
  EXPECT_EQ(
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
          "2 findings left\n",
      done.output);
}

class stlab_mount : public stlab_program::stlab_test {
 protected:
  void damage(std::string const& how) const {
    EXPECT_EQ(
        0, run("damage " + recorder.string() + " unmounted --volume vol1 --mount " + how).status);
  }
  outcome mount() const { return run("mount " + recorder.string() + " --volume vol1"); }
};

class stlab_mount_again : public stlab_mount, public testing::WithParamInterface<char const*> {};

TEST_P(stlab_mount_again, undoes_what_damage_has_done) {
  make();
  writer().record(volume(0).id, stream(0, client::normal, 0), 0, 3);
  auto const names = [this] {
    std::map<std::string, std::string> all;
    for (auto const& each : std::filesystem::recursive_directory_iterator(recorder / "share")) {
      all[each.path().string()] = each.is_regular_file() ? support::content_of(each.path()) : "";
    }
    return all;
  };
  auto const before = names();
  damage(GetParam());
  outcome const found = check();
  EXPECT_EQ(1, found.status);
  EXPECT_TRUE(holds(found.output, "not-mounted: volume vol1: ")) << found.output;
  EXPECT_TRUE(holds(found.output, " (see stlab mount)\n")) << found.output;
  outcome const done = mount();
  EXPECT_EQ(0, done.status) << done.errors;
  EXPECT_EQ(std::string("mounted volume vol1: ") + (std::string(GetParam()) == "absent"
                                                        ? "its folder is back from unmounted\n"
                                                        : "its identity is written anew\n"),
            done.output);
  EXPECT_EQ("clean\n", check().output);
  EXPECT_EQ(before, names());
  EXPECT_FALSE(std::filesystem::exists(recorder / "unmounted"));
  expect_refused(mount(), "volume vol1 is mounted already");
}

INSTANTIATE_TEST_SUITE_P(ways, stlab_mount_again, testing::Values("missing", "foreign", "absent"));

TEST_F(stlab_mount, undoes_two_damages_at_once) {
  make();
  damage("foreign");
  std::filesystem::create_directory(recorder / "unmounted");
  std::filesystem::rename(recorder / "share" / "vol1", recorder / "unmounted" / "vol1");
  EXPECT_EQ(
      "mounted volume vol1: its folder is back from unmounted, its identity is written anew\n",
      mount().output);
  EXPECT_EQ("clean\n", check().output);
}

TEST_F(stlab_mount, refuses_what_is_no_volume) {
  make();
  expect_refused(run("mount " + recorder.string() + " --volume vol77"), "there is no volume vol77");
}

TEST_F(stlab_mount, refuses_when_something_is_in_the_way) {
  make();
  damage("absent");
  std::filesystem::create_directory(recorder / "share" / "vol1");
  auto const before = support::snapshot_of(recorder / "unmounted");
  expect_refused(mount(), "share/vol1 is in the way of unmounted/vol1");
  std::filesystem::remove(recorder / "share" / "vol1");
  std::filesystem::create_symlink(folder, recorder / "share" / "vol1");
  expect_refused(mount(), "share/vol1 is in the way of unmounted/vol1");
  EXPECT_EQ("", support::changes(before, support::snapshot_of(recorder / "unmounted")));
}

TEST_F(stlab_mount, refuses_a_link_and_nothing_at_all) {
  make();
  std::filesystem::path const away = folder / "away";
  std::filesystem::path const place = recorder / "share" / "vol1";
  std::filesystem::remove(place / "identity");
  std::filesystem::rename(place, away);
  expect_refused(mount(),
                 "volume vol1 cannot be mounted: there is neither share/vol1 nor unmounted/vol1");
  std::filesystem::create_symlink(away, place);
  auto const before = support::snapshot_of(away);
  expect_refused(mount(), "volume vol1 cannot be mounted: share/vol1 is not a folder");
  EXPECT_EQ("", support::changes(before, support::snapshot_of(away)));
}

// An empty mount point does not become the volume, nor does another's folder.
TEST_F(stlab_mount, refuses_a_preallocate_that_is_a_link_and_changes_nothing) {
  make();
  damage("missing");
  std::filesystem::path const place = recorder / "share" / "vol1";
  for (auto const& entry : std::filesystem::directory_iterator(place)) {
    std::filesystem::rename(entry.path() / "preallocate", folder / "away");
    std::filesystem::create_directory_symlink(folder / "away", entry.path() / "preallocate");
  }
  expect_refused(
      mount(), place.string() + ": not the folder of volume vol1: its preallocate is not a folder");
  EXPECT_FALSE(std::filesystem::exists(place / "identity"));
  auto const found = check().output;
  EXPECT_TRUE(
      holds(found, "unreadable: volume vol1: a link or a file is in the place of its folder\n"))
      << found;
}

TEST_F(stlab_mount, refuses_a_folder_that_is_not_the_volumes) {
  make();
  std::filesystem::path const place = recorder / "share" / "vol1";
  std::string const storage =
      std::filesystem::path(lab::storage_folder(place.string(), volume(0).sid_text)).filename();
  std::filesystem::rename(place, folder / "away");
  std::filesystem::create_directory(place);
  expect_refused(mount(), place.string() + ": not the folder of volume vol1: no " + storage);
  EXPECT_TRUE(std::filesystem::is_empty(place));
}

TEST_F(stlab_mount, refuses_what_is_no_file_in_the_place_of_the_identity) {
  make();
  std::filesystem::path const identity = recorder / "share" / "vol1" / "identity";
  std::filesystem::rename(identity, folder / "identity");
  std::filesystem::create_symlink(folder / "identity", identity);
  expect_refused(mount(), identity.string() + ": not a file, and in the way");
  EXPECT_TRUE(std::filesystem::is_symlink(identity));
}

}  // namespace
