#include "power_loss_model.h"

#include <fstream>
#include <tuple>

namespace power_loss {

namespace {

namespace fs = std::filesystem;

// What the disk certainly holds, and what it may hold as well.
class disk {
 public:
  explicit disk(layout start) : certain_(std::move(start)) {}

  void take(step const& next) {
    switch (next.what) {
      case step::kind::name:
      case step::kind::head:
        uncertain_.push_back(next);
        return;
      case step::kind::sync_folder:
        settle([&](step const& each) {
          return each.what == step::kind::name && each.folder == next.folder;
        });
        return;
      case step::kind::sync_unit:
        settle([&](step const& each) {
          return each.what == step::kind::head && each.name == next.name;
        });
        return;
      case step::kind::commit:
        ++commits_;
        return;
    }
  }

  // Each subset of what is uncertain.
  void note_states(possibilities& into) const {
    std::size_t const subsets = std::size_t{1} << uncertain_.size();
    for (std::size_t subset = 0; subset < subsets; ++subset) {
      layout possible = certain_;
      for (std::size_t index = 0; index < uncertain_.size(); ++index) {
        if ((subset >> index & 1U) != 0) apply(uncertain_[index], possible);
      }
      ++into.counted;
      into.states.insert({visible(possible), commits_});
    }
  }

 private:
  static void apply(step const& change, layout& to) {
    if (change.what == step::kind::head) {
      to.heads[change.name] = change.folder;
    } else if (change.folder.empty()) {
      set(to.folders, change.name, change.how);
    } else {
      set(to.units, std::make_pair(change.folder, change.name), change.how);
    }
  }

  template <typename Name>
  static void set(std::set<Name>& names, Name const& name, step::change how) {
    if (how == step::change::made) {
      names.insert(name);
    } else {
      names.erase(name);
    }
  }

  // Names in a folder whose own name is not there cannot be reached.
  static layout visible(layout possible) {
    for (auto unit = possible.units.begin(); unit != possible.units.end();) {
      bool const reached = possible.folders.count(unit->first) != 0;
      unit = reached ? std::next(unit) : possible.units.erase(unit);
    }
    return possible;
  }

  template <typename Predicate>
  void settle(Predicate const& is_settled) {
    steps left;
    for (auto const& each : uncertain_) {
      if (is_settled(each)) {
        apply(each, certain_);
      } else {
        left.push_back(each);
      }
    }
    uncertain_ = left;
    drop_unreachable();
  }

  // What happened in a folder that is certainly gone makes no difference.
  void drop_unreachable() {
    steps left;
    for (auto const& each : uncertain_) {
      bool const reached = each.what == step::kind::head || each.folder.empty() ||
                           certain_.folders.count(each.folder) != 0 || may_come(each.folder);
      if (reached) left.push_back(each);
    }
    uncertain_ = left;
  }

  bool may_come(std::string const& folder) const {
    for (auto const& each : uncertain_) {
      if (each.what == step::kind::name && each.folder.empty() && each.name == folder) return true;
    }
    return false;
  }

  layout certain_;
  steps uncertain_;
  int commits_ = 0;
};

}  // namespace

bool operator<(layout const& left, layout const& right) {
  return std::tie(left.folders, left.units, left.heads) <
         std::tie(right.folders, right.units, right.heads);
}

bool operator<(state const& left, state const& right) {
  return std::tie(left.commits, left.on_disk) < std::tie(right.commits, right.on_disk);
}

possibilities all_states(layout const& start, steps const& taken) {
  possibilities found;
  disk now(start);
  now.note_states(found);
  for (auto const& next : taken) {
    now.take(next);
    now.note_states(found);
  }
  return found;
}

layout layout_of(path const& storage) {
  layout found;
  for (auto const& folder : fs::directory_iterator(storage)) {
    auto const folder_name = folder.path().filename().string();
    found.folders.insert(folder_name);
    for (auto const& unit : fs::directory_iterator(folder.path())) {
      found.units.emplace(folder_name, unit.path().filename().string());
    }
  }
  return found;
}

}  // namespace power_loss
