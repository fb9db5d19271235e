// Moving units under the model of a power loss.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <set>

#include "fault_points.h"
#include "lab/catalogue/sqlite.h"
#include "lab/disk/file_steps.h"
#include "lab/volume/layout.h"
#include "lab/volume/moves.h"
#include "power_loss_model.h"

namespace fault_support {
namespace {

namespace points = lab::fault_points;
using power_loss::layout;
using power_loss::path;
using power_loss::state;
using power_loss::step;
using strings = std::vector<std::string>;

path storage_in(path const& recorder) {
  auto const volume = lab::recorder::open(recorder, lab::access::read_only).volumes().front();
  return lab::storage_folder(volume.path.string(), volume.sid_text);
}

// The catalogue as everybody else sees it now, without what is being changed.
void save_catalogue(path const& recorder, path const& to) {
  lab::database reader(recorder / "catalogue.db", lab::database::mode::read_only,
                       std::chrono::milliseconds(0));
  reader.execute("VACUUM INTO '" + to.string() + "'");
}

// What an operation does to the first volume's storage folder, step by step,
// and the catalogue before each of its commits and at its end.
class recording {
 public:
  recording(path recorder, path catalogues)
      : recorder_(std::move(recorder)),
        catalogues_(std::move(catalogues)),
        storage_(storage_in(recorder_)) {}

  void of(std::function<void(lab::recorder&)> const& operation) {
    auto writer = lab::recorder::open(recorder_, lab::access::read_write);
    {
      points::watch const watching([this](points::point const& at) {
        if (at.path.parent_path() != catalogues_) note(at);
        return 0;
      });
      operation(writer);
    }
    save_catalogue(recorder_, catalogues_ / std::to_string(commits_));
  }

  power_loss::steps steps;

 private:
  void note(points::point const& at) {
    switch (at.what) {
      case points::call::link:
        add_name(at.path, step::change::made);
        break;
      case points::call::unlink:
        add_name(at.path, step::change::removed);
        break;
      case points::call::make_folder:
        if (!fs::exists(at.path)) add_name(at.path, step::change::made);
        break;
      case points::call::remove_folder:
        if (fs::is_empty(at.path)) add_name(at.path, step::change::removed);
        break;
      case points::call::write:
        steps.push_back({step::kind::head, at.path.parent_path().filename(), at.path.filename()});
        break;
      case points::call::sync_file:
        steps.push_back({step::kind::sync_unit, "", at.path.filename()});
        break;
      case points::call::sync_folder:
        steps.push_back({step::kind::sync_folder, folder_name(at.path), ""});
        break;
      case points::call::commit:
        save_catalogue(recorder_, catalogues_ / std::to_string(commits_++));
        steps.push_back({step::kind::commit, "", ""});
        break;
      case points::call::database_write:
      case points::call::database_grow:
      case points::call::database_sync:
      case points::call::database_truncate:
      case points::call::open_to_write:
        break;
      default:
        ADD_FAILURE() << "the model does not know what was done to " << at.path;
    }
  }

  std::string folder_name(path const& folder) const {
    return folder == storage_ ? "" : folder.filename().string();
  }

  void add_name(path const& named, step::change how) {
    steps.push_back({step::kind::name, folder_name(named.parent_path()), named.filename(), how});
  }

  path recorder_;
  path catalogues_;
  path storage_;
  int commits_ = 0;
};

// One kind of move on a small recorder, and the states that a power loss during
// it can leave.
class moving {
 public:
  moving(std::string name, std::function<void(lab::recorder&)> const& operation)
      : name_(std::move(name)) {
    make_leaking(start());
    copy_tree(start(), after());
    fs::create_directory(catalogues());
    recording recorded(after(), catalogues());
    recorded.of(operation);
    steps_ = recorded.steps;
  }

  power_loss::steps const& steps() const { return steps_; }

  // What is wrong with some state that the steps can leave.
  strings problems(power_loss::steps const& taken) const {
    origin const origin(start());
    auto const before = summary_of(start());
    auto const done = summary_of(after());
    auto const found = power_loss::all_states(power_loss::layout_of(storage_in(start())), taken);
    strings problems;
    for (auto const& each : found.states) {
      lay_out(each);
      for (auto const& problem : problems_of(each, origin, before, done)) {
        problems.push_back(problem);
      }
    }
    std::cout << name_ << ": " << taken.size() << " steps, " << found.counted << " states, "
              << found.states.size() << " different ones, " << problems.size() << " problems\n";
    testing::Test::RecordProperty("states", std::to_string(found.counted));
    return problems;
  }

 private:
  path start() const { return temporary_.path() / "start"; }
  path after() const { return temporary_.path() / "after"; }
  path scratch() const { return temporary_.path() / "scratch"; }
  path catalogues() const { return temporary_.path() / "catalogues"; }

  void lay_out(state const& wanted) const {
    fs::remove_all(scratch());
    copy_tree(start(), scratch());
    fs::remove(scratch() / "catalogue.db");
    fs::remove(scratch() / "catalogue.db-journal");
    fs::copy_file(catalogues() / std::to_string(wanted.commits), scratch() / "catalogue.db");
    lay_out_units(storage_in(scratch()), wanted.on_disk);
  }

  // Files keep their content wherever their names are.
  static void lay_out_units(path const& storage, layout const& wanted) {
    path const aside = storage.parent_path() / "aside";
    fs::create_directory(aside);
    for (auto const& [folder, name] : power_loss::layout_of(storage).units) {
      fs::rename(storage / folder / name, aside / name);
    }
    for (auto const& folder : power_loss::layout_of(storage).folders) {
      if (wanted.folders.count(folder) == 0) fs::remove(storage / folder);
    }
    for (auto const& folder : wanted.folders) fs::create_directory(storage / folder);
    for (auto const& [name, folder] : wanted.heads) {
      std::fstream(aside / name) << lab::recording_head(folder, name);
    }
    for (auto const& [folder, name] : wanted.units) {
      fs::create_hard_link(aside / name, storage / folder / name);
    }
    fs::remove_all(aside);
  }

  strings problems_of(state const& each, origin const& origin, strings const& before,
                      strings const& done) const {
    auto problems = problems_when_stopped(scratch(), origin);
    lab::recorder::open(scratch(), lab::access::read_write);
    auto const finished = problems_when_finished(scratch(), origin);
    problems.insert(problems.end(), finished.begin(), finished.end());
    auto const now = summary_of(scratch());
    bool const last = each.commits == commits();
    if (now != done && (last || now != before)) problems.emplace_back("is done in part");
    for (auto const& unit : each.on_disk.units) {
      if (last && now == done && !has_head(unit)) problems.push_back("no head: " + unit.second);
    }
    return problems;
  }

  int commits() const {
    return static_cast<int>(std::count_if(steps_.begin(), steps_.end(), [](step const& each) {
      return each.what == step::kind::commit;
    }));
  }

  // Recorded units begin with where they belong.
  bool has_head(std::pair<std::string, std::string> const& unit) const {
    if (unit.first == "preallocate") return true;
    std::ifstream file(storage_in(scratch()) / unit.first / unit.second);
    std::string line;
    std::getline(file, line);
    return line + "\n" == lab::recording_head(unit.first, unit.second);
  }

  support::temporary_folder temporary_{support::medium::memory};
  std::string name_;
  power_loss::steps steps_;
};

// Two units in two hour folders come back.
moving const& recycling() {
  static moving const two("recycle", [](lab::recorder& writer) {
    EXPECT_EQ(2, writer.recycle(1, main_stream, always));
  });
  return two;
}

// Two units go into one hour folder that is new.
moving const& recording_units() {
  static moving const two("record",
                          [](lab::recorder& writer) { writer.record(1, main_stream, now, 2); });
  return two;
}

TEST(power_loss, in_recycling) { EXPECT_EQ(strings(), recycling().problems(recycling().steps())); }

TEST(power_loss, in_recording) {
  EXPECT_EQ(strings(), recording_units().problems(recording_units().steps()));
}

// The steps without those that the predicate picks.
template <typename Predicate>
power_loss::steps without(power_loss::steps taken, Predicate const& picked) {
  taken.erase(std::remove_if(taken.begin(), taken.end(), picked), taken.end());
  return taken;
}

// The steps that sync a folder of that name, "" for the storage folder itself.
power_loss::steps without_sync_of(power_loss::steps taken, std::string const& folder) {
  return without(std::move(taken), [&folder](step const& each) {
    return each.what == step::kind::sync_folder && each.folder == folder;
  });
}

power_loss::steps without(power_loss::steps taken, step::kind what) {
  return without(std::move(taken), [what](step const& each) { return each.what == what; });
}

// Names removed before any is made.
power_loss::steps removing_first(power_loss::steps taken) {
  std::stable_partition(taken.begin(), taken.end(), [](step const& each) {
    return each.what == step::kind::name && each.how == step::change::removed;
  });
  return taken;
}

// The last commit taken first.
power_loss::steps arriving_first(power_loss::steps taken) {
  std::rotate(taken.begin(), taken.end() - 1, taken.end());
  return taken;
}

// A move that does any of these is broken, and the model has to see it.
TEST(power_loss_model, catches_a_recycling_that_leaves_out_a_sync) {
  auto const& moved = recycling();
  EXPECT_FALSE(moved.problems(without(moved.steps(), step::kind::sync_folder)).empty());
  for (auto const* const where_units_come_to_or_from : {"preallocate", ""}) {
    auto const taken = without_sync_of(moved.steps(), where_units_come_to_or_from);
    EXPECT_FALSE(moved.problems(taken).empty()) << where_units_come_to_or_from;
  }
}

TEST(power_loss_model, catches_a_recycling_in_the_wrong_order) {
  auto const& moved = recycling();
  EXPECT_FALSE(moved.problems(removing_first(moved.steps())).empty());
  EXPECT_FALSE(moved.problems(arriving_first(moved.steps())).empty());
}

TEST(power_loss_model, catches_a_recording_that_leaves_out_a_sync) {
  auto const& recorded = recording_units();
  for (auto const missing : {step::kind::sync_folder, step::kind::sync_unit}) {
    EXPECT_FALSE(recorded.problems(without(recorded.steps(), missing)).empty());
  }
}

// How long a journal is that a power loss can leave; none when there is none.
using journal_length = std::optional<std::uintmax_t>;
using journal_lengths = std::set<journal_length>;

// What is done to the journal while it is put back, and what a power loss can
// leave of it. Its name is certain once its folder has been synced, its length
// once it has been synced itself.
class journal_put_back {
 public:
  explicit journal_put_back(journal_length before) : before_(before) {
    make_leaking(start());
    whole_ = fs::file_size(journal());
    lay_out(before);
    copy_tree(start(), kept());
    points::watch const watching([this](points::point const& at) {
      steps_.push_back(at.what);
      return 0;
    });
    lab::recorder::open(start(), lab::access::read_write);
  }

  std::vector<points::call> const& steps() const { return steps_; }
  std::uintmax_t whole() const { return whole_; }

  // After the last of the steps, and after any of them.
  journal_lengths lengths_after(std::vector<points::call> const& steps) const {
    bool nameless = !before_;
    journal_lengths lengths{before_.value_or(0)};
    for (auto const each : steps) {
      if (each == points::call::allocate) lengths.insert({whole_ / 8192 * 4096, whole_});
      if (each == points::call::sync_file) lengths = {whole_};
      if (each == points::call::sync_folder) nameless = false;
    }
    if (nameless) lengths.insert(journal_length());
    return lengths;
  }
  journal_lengths all_lengths() const {
    journal_lengths all;
    for (auto end = steps_.begin();; ++end) {
      auto const some = lengths_after({steps_.begin(), end});
      all.insert(some.begin(), some.end());
      if (end == steps_.end()) return all;
    }
  }

  // What is wrong with a recorder whose journal was left so long.
  strings problems(journal_length left) {
    fs::remove_all(start());
    copy_tree(kept(), start());
    lay_out(left);
    origin const origin(start());
    auto const before = summary_of(start());
    auto problems = problems_when_stopped(start(), origin);
    lab::recorder::open(start(), lab::access::read_write);
    auto const finished = problems_when_finished(start(), origin);
    problems.insert(problems.end(), finished.begin(), finished.end());
    if (summary_of(start()) != before) problems.emplace_back("the catalogue has changed");
    if (fs::file_size(journal()) != whole_) problems.emplace_back("the journal is not whole");
    return problems;
  }

 private:
  path start() const { return temporary_.path() / "start"; }
  path kept() const { return temporary_.path() / "kept"; }
  path journal() const { return start() / "catalogue.db-journal"; }

  void lay_out(journal_length const& wanted) const {
    if (!wanted) {
      fs::remove(journal());
      return;
    }
    std::ofstream(journal(), std::ios::app).close();
    fs::resize_file(journal(), *wanted);
  }

  support::temporary_folder temporary_{support::medium::memory};
  journal_length before_;
  std::uintmax_t whole_ = 0;
  std::vector<points::call> steps_;
};

TEST(power_loss, in_putting_back_the_journal) {
  for (auto const& before : journal_lengths{std::nullopt, 0, 4096}) {
    journal_put_back putting(before);
    auto const lengths = putting.all_lengths();
    strings problems;
    for (auto const& left : lengths) {
      for (auto const& problem : putting.problems(left)) problems.push_back(problem);
    }
    std::cout << "journal: " << putting.steps().size() << " steps, " << lengths.size()
              << " states, " << problems.size() << " problems\n";
    EXPECT_EQ(strings(), problems);
    EXPECT_EQ(journal_lengths{putting.whole()}, putting.lengths_after(putting.steps()));
  }
}

// Put back without any of these, it may not be there when it is needed.
TEST(power_loss_model, catches_a_journal_that_is_not_synced) {
  journal_put_back const putting(std::nullopt);
  for (auto const each : {points::call::sync_file, points::call::sync_folder}) {
    auto steps = putting.steps();
    steps.erase(std::remove(steps.begin(), steps.end(), each), steps.end());
    EXPECT_LT(1U, putting.lengths_after(steps).size());
  }
}

}  // namespace
}  // namespace fault_support
