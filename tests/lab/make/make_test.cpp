#include "lab/make/make.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

#include "engine_test.h"
#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"

namespace {

namespace fs = std::filesystem;

class making : public support::engine_test {
 protected:
  static lab::make_options recorded() {
    return support::small([](auto& options) { options.days = 1; });
  }
  // One volume with one unit.
  static lab::make_options of_a_large_unit() {
    return support::small([](auto& options) {
      options.volumes = 1;
      options.volume_mb = options.unit_mb = 80;
    });
  }

  std::string refusal(fs::path const& folder,
                      lab::make_options const& options = support::small()) const {
    return support::failure_of([&] { lab::make_recorder(folder, options, {}); });
  }
};

TEST_F(making, the_same_options_make_the_same_recorder) {
  make(recorded());
  lab::make_recorder(root() / ".." / "other", recorded(), {});
  auto const one = support::contents_of(root());
  EXPECT_EQ(std::vector<std::string>(),
            support::differences(one, support::contents_of(root().parent_path() / "other")));
  EXPECT_EQ(1U, one.count("catalogue.db"));
  auto other_seed = recorded();
  other_seed.seed = 99;
  lab::make_recorder(root().parent_path() / "third", other_seed, {});
  EXPECT_FALSE(
      support::differences(one, support::contents_of(root().parent_path() / "third")).empty());
}

TEST_F(making, a_fresh_recorder_checks_clean) {
  make(recorded());
  EXPECT_FALSE(open().periods().empty());
  EXPECT_EQ(lab::findings(), lab::check(open(lab::access::read_only)));
}

TEST_F(making, units_are_real_disk_blocks) {
  make();
  EXPECT_EQ(8U, names(preallocate(first_volume)).size());
  EXPECT_GE(allocated_bytes(preallocate(first_volume)), 8 * 1024 * 1024);
}

TEST_F(making, progress_counts_every_unit) {
  std::vector<std::int64_t> done;
  lab::make_recorder(root(), support::small(), [&](std::int64_t so_far, std::int64_t total) {
    EXPECT_EQ(16, total);
    done.push_back(so_far);
  });
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
  done.erase(std::unique(done.begin(), done.end()), done.end());
  ASSERT_EQ(16U, done.size());
  EXPECT_EQ(1, done.front());
  EXPECT_EQ(16, done.back());
}

// Whatever the progress is told throws; nothing stays then.
TEST_F(making, can_be_stopped_whenever_progress_is_told) {
  int told = 0;
  lab::make_recorder(root(), support::small(), [&](std::int64_t, std::int64_t) { ++told; });
  fs::remove_all(root());
  EXPECT_GT(told, 16 + 2) << "for each unit, in the catalogue and before it gets its name";
  for (int at = 1; at <= told; ++at) {
    int now = 0;
    EXPECT_EQ("stopped", support::failure_of([&] {
                lab::make_recorder(root(), support::small(), [&](std::int64_t, std::int64_t) {
                  if (++now == at) throw lab::error("stopped");
                });
              }));
    EXPECT_FALSE(fs::exists(root())) << at;
  }
}

TEST_F(making, can_be_stopped_inside_a_large_unit) {
  EXPECT_EQ("stopped", support::failure_of([&] {
              lab::make_recorder(root(), of_a_large_unit(), [&](std::int64_t done, std::int64_t) {
                EXPECT_EQ(0, done);
                throw lab::error("stopped");
              });
            }));
  EXPECT_FALSE(fs::exists(root()));
}

TEST_F(making, a_large_unit_has_all_its_blocks) {
  make(of_a_large_unit());
  EXPECT_GE(allocated_bytes(preallocate(first_volume)), 80 * 1024 * 1024);
  EXPECT_EQ(lab::findings(), lab::check(open(lab::access::read_only)));
}

TEST_F(making, an_empty_folder_will_do) {
  fs::create_directory(root());
  make();
  EXPECT_EQ(2U, open().volumes().size());
}

TEST_F(making, a_folder_with_anything_in_it_is_refused_and_kept) {
  fs::create_directory(root());
  support::write_file(root() / "note", "mine");
  EXPECT_EQ(root().string() + ": folder is not empty", refusal(root()));
  EXPECT_EQ((support::contents{{"note", "mine"}}), support::contents_of(root()));
}

TEST_F(making, a_recorder_is_not_made_over_another) {
  make();
  support::unchanged const kept(root());
  EXPECT_EQ(root().string() + ": folder is not empty", refusal(root()));
}

TEST_F(making, a_file_is_refused) {
  support::write_file(root(), "mine");
  EXPECT_EQ(root().string() + ": not a folder", refusal(root()));
}

TEST_F(making, a_path_that_holds_share_is_refused) {
  auto const parent = root().parent_path();
  for (auto const* const name : {"share", "myshare", "share/below"}) {
    auto const folder = parent / name;
    EXPECT_EQ(folder.string() + ": a recorder's own path must not hold \"share/\"",
              refusal(folder));
    EXPECT_FALSE(fs::exists(folder));
  }
  lab::make_recorder(parent / "shared", support::small(), {});
}

TEST_F(making, a_path_is_refused_when_the_preallocated_units_lie_too_deep) {
  // "/share/vol1/FSU_", 32 characters, "/preallocate".
  std::size_t const below = 16 + 32 + 12;
  auto const room = 255 - below - root().parent_path().string().size() - 1;
  auto const fits = root().parent_path() / std::string(room, 'x');
  auto const too_long = root().parent_path() / std::string(room + 1, 'x');
  EXPECT_EQ(too_long.string() +
                ": path is too long: 256 characters down to the preallocated units, at most 255 "
                "are possible",
            refusal(too_long));
  EXPECT_FALSE(fs::exists(too_long));
  lab::make_recorder(fits, support::small(), {});
  auto const volume = lab::recorder::open(fits, lab::access::read_only).volumes().front();
  EXPECT_EQ(255U, volume.path.string().size() + 5 + 32 + 12);
}

TEST_F(making, too_little_disk_is_refused) {
  auto const text = refusal(root(), support::small([](auto& options) {
                              options.spaces = options.volumes = 64;
                              options.volume_mb = 1024 * 1024;
                              options.unit_mb = 1024;
                            }));
  EXPECT_NE(std::string::npos, text.find("too little disk: 42949")) << text;
  EXPECT_FALSE(fs::exists(root()));
}

TEST_F(making, a_failure_midway_leaves_nothing) {
  int calls = 0;
  auto const stop = [&](std::int64_t, std::int64_t) {
    if (++calls == 5) throw lab::error("stopped");
  };
  EXPECT_THROW(lab::make_recorder(root(), support::small(), stop), lab::error);
  EXPECT_FALSE(fs::exists(root()));
  fs::create_directory(root());
  calls = 0;
  EXPECT_THROW(lab::make_recorder(root(), support::small(), stop), lab::error);
  EXPECT_EQ(support::contents(), support::contents_of(root()));
}

TEST_F(making, what_a_kill_midway_leaves_is_no_recorder) {
  auto const copy = root().parent_path() / "copy";
  lab::make_recorder(root(), support::small(), [&](std::int64_t done, std::int64_t total) {
    if (done == total && !fs::exists(copy)) fs::copy(root(), copy, fs::copy_options::recursive);
  });
  EXPECT_EQ(copy.string() + ": not a recorder: no catalogue.db",
            support::failure_of([&] { lab::recorder::open(copy, lab::access::read_write); }));
  EXPECT_EQ(copy.string() +
                ": folder is not empty: it looks as a stopped make leaves it (share); remove that "
                "first, unless it holds recordings",
            refusal(copy));
  support::write_file(copy / "note", "mine");
  EXPECT_EQ(copy.string() + ": folder is not empty", refusal(copy));
}

}  // namespace
