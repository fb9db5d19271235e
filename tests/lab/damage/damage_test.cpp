#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "damage/damaged_recorder.h"
#include "lab/volume/layout.h"

namespace {

namespace fs = std::filesystem;
using lab::finding_class;
using support::begins_with;
using support::holds;
using support::strings;

class damage : public support::damaged_recorder {
 protected:
  std::string refusal(lab::damage_options const& options) const {
    support::unchanged const kept(root());
    return support::failure_of([&] { damaged_recorder::damage(options); });
  }

  // Of the first volume; `change` sets what is to be otherwise.
  static lab::damage_options of(std::string const& kind,
                                std::function<void(lab::damage_options&)> const& change = {}) {
    lab::damage_options options;
    options.kind = kind;
    options.volume = "vol1";
    if (change) change(options);
    return options;
  }
  static lab::damage_options stopped(std::string const& move, int step) {
    return of("stopped", [&](auto& options) {
      options.move = move;
      options.step = step;
    });
  }
};

struct expectation {
  char const* kind;
  std::set<finding_class> classes;
};

class damage_of_kind : public damage, public testing::WithParamInterface<expectation> {};

TEST_P(damage_of_kind, is_found_by_its_class) {
  damaged_recorder::damage(GetParam().kind);
  EXPECT_EQ(GetParam().classes, classes());
}

TEST_P(damage_of_kind, says_what_it_did_and_does_the_same_again) {
  auto const told = damaged_recorder::damage(GetParam().kind, 5);
  EXPECT_TRUE(begins_with(told, std::string(GetParam().kind) + ": ")) << told;
  auto const first = support::contents_of(root() / "share");
  auto const before = found();
  make_again();
  EXPECT_EQ(told, damaged_recorder::damage(GetParam().kind, 5));
  EXPECT_EQ(strings(), support::differences(first, support::contents_of(root() / "share")));
  EXPECT_EQ(before, found());
}

TEST_P(damage_of_kind, waits_for_the_volumes_writer) {
  auto const other = hold(first_volume, lab::volume_lock::kind::shared);
  support::unchanged const kept(root());
  auto options = of(GetParam().kind);
  options.lock_timeout = std::chrono::milliseconds(0);
  EXPECT_THROW(damaged_recorder::damage(options), lab::busy_error);
}

INSTANTIATE_TEST_SUITE_P(
    kinds, damage_of_kind,
    testing::Values(expectation{"leak", {finding_class::leak}},
                    expectation{"lost-unit", {finding_class::missing}},
                    expectation{"unknown-file", {finding_class::unknown}},
                    expectation{"duplicate-unit", {finding_class::duplicate, finding_class::sums}},
                    expectation{"short-unit", {finding_class::too_short}},
                    expectation{"null-ids", {finding_class::null_id}},
                    expectation{"wrong-volume",
                                {finding_class::missing, finding_class::wrong_volume}},
                    expectation{"unmounted", {finding_class::not_mounted}},
                    expectation{"stopped", {finding_class::in_transit}}),
    [](auto const& which) { return support::as_name(which.param.kind); });

TEST_F(damage, is_refused_when_there_is_nothing_to_damage) {
  auto const refusal_of_many = [this](std::string const& kind, std::string const& move = "") {
    return refusal(of(kind, [&](auto& options) {
      options.count = 999;
      if (!move.empty()) options.move = move;
    }));
  };
  EXPECT_EQ("no stream has 999 units on volume vol1 before its latest period",
            refusal_of_many("leak"));
  EXPECT_TRUE(begins_with(refusal_of_many("null-ids"), "volume vol1 has only "));
  EXPECT_TRUE(begins_with(refusal_of_many("stopped"), "there are only "));
  EXPECT_TRUE(begins_with(refusal_of_many("stopped", "recording"), "there are only "));
}

TEST_F(damage, is_refused_of_a_volume_that_is_unknown_or_not_mounted) {
  EXPECT_EQ("there is no volume vol9",
            refusal(of("leak", [](auto& options) { options.volume = "vol9"; })));
  fs::remove(root() / "share" / "vol1" / "identity");
  EXPECT_TRUE(begins_with(refusal(of("lost-unit")), "volume vol1 is not mounted"));
}

TEST_F(damage, is_refused_with_an_option_of_another_kind) {
  EXPECT_EQ("the kind leak has no option --step",
            refusal(of("leak", [](auto& options) { options.step = 1; })));
  EXPECT_EQ("there is no kind of damage other", refusal(of("other")));
}

TEST_F(damage, a_stop_is_at_exactly_its_step) {
  auto const free_units = names(preallocate(first_volume)).size();
  damaged_recorder::damage(of("stopped", [](auto& options) { options.step = 2; }));
  EXPECT_EQ(free_units + 1, names(preallocate(first_volume)).size());
}

// Every state that a stop can leave is finished by the next writer, and counted
// as used until then.
TEST_F(damage, a_stop_can_be_laid_out_at_every_step) {
  for (auto const* const move : {"recycling", "recording"}) {
    for (int step = 1;; ++step) {
      SCOPED_TRACE(std::string(move) + " " + std::to_string(step));
      make_again();
      auto const before = open().account(first_volume);
      auto const failure =
          support::failure_of([&] { damaged_recorder::damage(stopped(move, step)); });
      if (!failure.empty()) {
        EXPECT_GE(step, 7) << failure;
        EXPECT_TRUE(holds(failure, " has only ")) << failure;
        break;
      }
      auto const moving = open(lab::access::read_only).account(first_volume).moving;
      EXPECT_LE(2, moving);
      EXPECT_EQ(std::set{finding_class::in_transit}, classes());
      auto const after = open().account(first_volume);
      EXPECT_EQ(lab::findings(), found());
      EXPECT_EQ(before.total, after.preallocated + after.held);
      EXPECT_EQ(before.held - (move[3] == 'y' ? moving : 0), after.held);
    }
  }
}

constexpr std::array damages_of_a_unit{"lost-unit", "duplicate-unit", "short-unit", "wrong-volume"};

// What lies outside the recorder, where links and names lead.
class damage_that_leads_outside : public damage {
 protected:
  // Moves a file or folder outside and leaves a link to it.
  void link_out(fs::path const& what) const {
    auto const target = outside.path() / what.filename();
    fs::rename(what, target);
    fs::create_symlink(target, what);
  }

  void link_out_all(std::vector<fs::path> const& all) const {
    ASSERT_FALSE(all.empty());
    for (auto const& each : all) link_out(each);
  }

  static std::vector<fs::path> all_in(fs::path const& folder) {
    std::vector<fs::path> found;
    for (auto const& name : names(folder)) found.push_back(folder / name);
    return found;
  }

  std::vector<fs::path> hour_folders() const {
    auto found = all_in(storage(first_volume));
    found.erase(std::find(found.begin(), found.end(), preallocate(first_volume)));
    return found;
  }

  std::vector<fs::path> recorded_units() const {
    std::vector<fs::path> found;
    for (auto const& hour : hour_folders()) {
      for (auto const& unit : all_in(hour)) found.push_back(unit);
    }
    return found;
  }

  std::vector<fs::path> free_units() const { return all_in(preallocate(first_volume)); }

  // With a reason that holds `part`.
  void expect_refused(lab::damage_options const& options, std::string const& part = "") const {
    support::unchanged const kept(outside.path());
    auto const text = refusal(options);
    EXPECT_NE("", text);
    EXPECT_FALSE(holds(text, "filesystem error")) << text;
    EXPECT_TRUE(holds(text, part)) << text;
  }

  void expect_link_refused(lab::damage_options const& options) const {
    SCOPED_TRACE(options.kind);
    support::unchanged const kept(outside.path());
    auto const text = refusal(options);
    bool const is_told =
        holds(text, ": is a symbolic link") || holds(text, "volume vol1 is not mounted: ");
    EXPECT_TRUE(is_told) << text;
  }

  static lab::damage_options of_free_unit(std::string const& kind) {
    return of(kind, [](auto& options) { options.unit = "free"; });
  }

  void expect_recorded_units_refused() const {
    for (auto const* const kind : damages_of_a_unit) {
      expect_link_refused(of(kind));
    }
    for (int step = 1; step <= 6; ++step) expect_link_refused(stopped("recycling", step));
  }

  void expect_free_units_refused() const {
    for (auto const* const kind : damages_of_a_unit) {
      expect_link_refused(of_free_unit(kind));
    }
    for (int step = 1; step <= 8; ++step) expect_link_refused(stopped("recording", step));
  }

  support::temporary_folder const outside;
};

class damage_of_kind_outside : public damage_that_leads_outside,
                               public testing::WithParamInterface<char const*> {};

TEST_P(damage_of_kind_outside, is_refused_when_all_volumes_are_behind_a_link) {
  link_out(root() / "share");
  expect_refused(of(GetParam()));
}

TEST_P(damage_of_kind_outside, is_refused_of_a_volume_behind_a_link) {
  link_out(root() / "share" / "vol1");
  expect_refused(of(GetParam()));
}

TEST_P(damage_of_kind_outside, is_refused_of_a_volume_whose_path_the_catalogue_makes_up) {
  fs::rename(root() / "share" / "vol1", outside.path() / "vol1");
  tamper("UPDATE volume SET folder = '../../../" + outside.path().filename().string() +
         "/vol1' WHERE id = 1");
  expect_refused(of(GetParam()));
}

TEST_P(damage_of_kind_outside, is_refused_of_a_storage_folder_behind_a_link) {
  link_out(storage(first_volume));
  expect_refused(of(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(kinds, damage_of_kind_outside,
                         testing::Values("leak", "lost-unit", "unknown-file", "duplicate-unit",
                                         "short-unit", "null-ids", "wrong-volume", "unmounted",
                                         "stopped"),
                         [](auto const& which) { return support::as_name(which.param); });

TEST_F(damage_that_leads_outside, is_refused_of_units_in_hour_folders_behind_links) {
  link_out_all(hour_folders());
  expect_recorded_units_refused();
  // The seed chooses the hour to copy into.
  expect_link_refused(of_free_unit("duplicate-unit"));
}

TEST_F(damage_that_leads_outside, is_refused_of_units_in_preallocate_behind_a_link) {
  link_out(preallocate(first_volume));
  expect_free_units_refused();
  expect_link_refused(of("duplicate-unit"));
  for (int step = 2; step <= 6; ++step) expect_link_refused(stopped("recycling", step));
}

TEST_F(damage_that_leads_outside, is_refused_of_recorded_units_that_are_links) {
  link_out_all(recorded_units());
  expect_recorded_units_refused();
}

TEST_F(damage_that_leads_outside, is_refused_of_free_units_that_are_links) {
  link_out_all(free_units());
  expect_free_units_refused();
}

TEST_F(damage_that_leads_outside, is_refused_of_units_whose_path_the_catalogue_makes_up) {
  support::write_file(outside.path() / "victim", std::string(1 << 20, 'v'));
  auto const away = "../../../../../../" + outside.path().filename().string();
  tamper(
      "DELETE FROM unit WHERE volume_id = 1 AND state = 'recorded' AND id NOT IN"
      "  (SELECT min(id) FROM unit WHERE volume_id = 1 AND state = 'recorded')");
  for (auto const& path : {away, outside.path().string()}) {
    tamper("UPDATE unit SET name = '" + path +
           "/victim' WHERE volume_id = 1 AND state = 'recorded'");
    for (auto const* const kind : damages_of_a_unit) {
      SCOPED_TRACE(kind + (" " + path));
      expect_refused(of(kind));
    }
    auto options = stopped("recycling", 3);
    options.count = 1;
    expect_refused(options);
  }
}

TEST_F(damage_that_leads_outside, makes_no_file_in_a_folder_behind_a_link) {
  link_out_all(hour_folders());
  int refused = 0;
  for (std::uint64_t seed = 1; seed <= 8; ++seed) {
    auto const options = of("unknown-file", [&](auto& each) { each.seed = seed; });
    support::unchanged const kept(outside.path());
    auto const text = support::failure_of([&] { damaged_recorder::damage(options); });
    refused += holds(text, ": is a symbolic link") ? 1 : 0;
  }
  EXPECT_LT(0, refused);
}

TEST_F(damage_that_leads_outside, moves_no_unit_to_another_volume_behind_a_link) {
  for (auto const& where : {root() / "share" / "vol2", storage(second_volume)}) {
    link_out(where);
    expect_refused(of("wrong-volume"));
    auto const target = fs::read_symlink(where);
    fs::remove(where);
    fs::rename(target, where);
  }
}

TEST_F(damage_that_leads_outside, moves_no_unit_into_another_volumes_hour_folder_behind_a_link) {
  for (auto const& hour : hour_folders()) {
    auto const target = storage(second_volume) / hour.filename();
    fs::create_directory(target);
    link_out(target);
  }
  expect_link_refused(of("wrong-volume"));
}

TEST_F(damage_that_leads_outside, moves_no_volume_aside_behind_a_link) {
  fs::create_directory_symlink(outside.path(), root() / "unmounted");
  expect_link_refused(of("unmounted", [](auto& options) { options.mount = "absent"; }));
}

TEST_F(damage_that_leads_outside, records_nothing_into_an_hour_folder_behind_a_link) {
  damaged_recorder::damage(stopped("recording", 1));
  auto const hour_ms = ask("SELECT hour_ms FROM unit WHERE state = 'recording'");
  auto const channel =
      ask("SELECT c.number FROM channel c JOIN unit u ON u.channel_id = c.id"
          "  WHERE u.state = 'recording'");
  tamper(
      "UPDATE unit SET state = 'free', channel_id = NULL, recording_type = NULL,"
      "  stream = NULL, hour_ms = NULL WHERE state = 'recording'");
  fs::create_directory_symlink(
      outside.path(), storage(first_volume) /
                          lab::hour_folder_name(static_cast<std::int32_t>(channel), 4, 0, hour_ms));
  for (int step = 2; step <= 8; ++step) expect_link_refused(stopped("recording", step));
}

// A copy or a link that is in the way is found before anything is changed.
TEST_F(damage_that_leads_outside, is_refused_when_the_units_name_is_taken_where_it_goes) {
  auto const content = outside.path() / "content";
  support::write_file(content, "content");
  for (auto const& unit : recorded_units()) {
    fs::create_symlink(content, preallocate(first_volume) / unit.filename());
  }
  expect_refused(of("duplicate-unit"), ": cannot create: ");
  for (int step = 2; step <= 6; ++step) {
    expect_refused(stopped("recycling", step), ": is there already");
  }
}

TEST_F(damage_that_leads_outside, takes_no_pipe_for_a_unit) {
  for (auto const& unit : recorded_units()) {
    fs::remove(unit);
    ASSERT_EQ(0, mkfifo(unit.c_str(), 0600));
  }
  auto const kept = recorded_units();
  for (auto const* const kind : {"lost-unit", "duplicate-unit", "short-unit"}) {
    EXPECT_EQ("volume vol1 has no recorded unit",
              support::failure_of([&] { damaged_recorder::damage(of(kind)); }));
  }
  EXPECT_EQ(kept, recorded_units());
}

TEST_F(damage_that_leads_outside, writes_into_no_unit_that_has_a_second_name) {
  for (auto const& units : {recorded_units(), free_units()}) {
    for (auto const& unit : units) fs::create_hard_link(unit, outside.path() / unit.filename());
  }
  for (auto const& options :
       {of("short-unit"), of_free_unit("short-unit"), stopped("recording", 4)}) {
    expect_refused(options, ": has a second name");
  }
}

// It could be of any length.
TEST_F(damage_that_leads_outside, copies_no_unit_that_is_longer_than_units_are) {
  for (auto const& unit : recorded_units()) fs::resize_file(unit, 2 * fs::file_size(unit));
  expect_refused(of("duplicate-unit"), " is longer than a unit");
}

// "duplicate-unit: copied <hour folder>/<unit> into preallocate on volume vol1".
TEST_F(damage, a_copy_is_like_the_unit) {
  support::mark_units(root() / "share");
  for (auto const& hour : fs::directory_iterator(storage(first_volume))) {
    for (auto const& unit : fs::directory_iterator(hour)) {
      fs::permissions(unit, fs::perms::owner_read | fs::perms::owner_write);
    }
  }
  auto const told = damaged_recorder::damage(of("duplicate-unit"));
  auto const begin = told.find("copied ") + 7;
  auto const unit = storage(first_volume) / told.substr(begin, told.find(" into ") - begin);
  auto const copy = preallocate(first_volume) / unit.filename();
  auto const of_unit = support::contents_of(unit.parent_path());
  auto const of_copy = support::contents_of(copy.parent_path());
  EXPECT_EQ(of_unit.at(unit.filename()), of_copy.at(copy.filename()));
  EXPECT_EQ(fs::status(unit).permissions(), fs::status(copy).permissions());
}

}  // namespace
