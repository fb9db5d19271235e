// Every state that a power loss can leave on one volume while units move.
//
// A name that was made or removed is certain to be on disk only once its folder
// has been synced: until then any of these changes may be lost, whichever came
// first. The same goes for the beginning of a unit until the unit is synced. The
// catalogue is as of its last commit; of one under way, as before or after it.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "leaking_recorder.h"

namespace power_loss {

using std::filesystem::path;

struct step {
  enum class kind { name, head, sync_folder, sync_unit, commit } what;
  std::string folder;  // in the storage folder, "" is that itself
  std::string name;
  enum class change { made, removed } how = change::made;
};

using steps = std::vector<step>;

// What lies in the storage folder.
struct layout {
  std::set<std::string> folders;
  std::set<std::pair<std::string, std::string>> units;  // folder, name
  std::map<std::string, std::string> heads;             // by unit, those that are on disk

  friend bool operator<(layout const& left, layout const& right);
};

// A layout and how many commits the catalogue has seen.
struct state {
  layout on_disk;
  int commits;

  friend bool operator<(state const& left, state const& right);
};

struct possibilities {
  long long counted = 0;  // a state for each way in which it comes about
  std::set<state> states;
};

// Of every beginning of the steps.
possibilities all_states(layout const& start, steps const& taken);

layout layout_of(path const& storage);

}  // namespace power_loss
