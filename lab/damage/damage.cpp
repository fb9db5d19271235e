#include "lab/damage/damage.h"

#include <algorithm>
#include <utility>

#include "lab/catalogue/catalogue.h"
#include "lab/damage/damager.h"
#include "lab/recorder/state.h"

namespace lab {

namespace {

struct entry {
  damage_kind kind;
  std::string (damager::*run)();
  std::vector<std::string> options;
};

std::vector<entry> const& entries() {
  static std::vector<entry> const all{
      {{"leak", "periods are forgotten, their units stay"}, &damager::leak, {"count"}},
      {{"lost-unit", "a unit's file is gone"}, &damager::lose_unit, {"unit"}},
      {{"unknown-file", "a file that is no unit"}, &damager::add_unknown_file, {}},
      {{"duplicate-unit", "a unit's file in a second folder"}, &damager::duplicate_unit, {"unit"}},
      {{"short-unit", "a unit's file is cut"}, &damager::shorten_unit, {"unit"}},
      {{"null-ids", "periods lose their storage id"}, &damager::take_ids, {"count"}},
      {{"wrong-volume", "a unit's file in another volume's folder"},
       &damager::misplace_on_other_volume,
       {"unit"}},
      {{"unmounted", "a volume's identity is missing or another's, or its folder is absent"},
       &damager::unmount,
       {"mount"}},
      {{"stopped", "a move of units is stopped at a step"},
       &damager::stop_move,
       {"count", "move", "step"}},
  };
  return all;
}

void require_options_of(entry const& chosen, damage_options const& options) {
  std::vector<std::pair<char const*, bool>> const given{{"unit", options.unit.has_value()},
                                                        {"count", options.count.has_value()},
                                                        {"mount", options.mount.has_value()},
                                                        {"move", options.move.has_value()},
                                                        {"step", options.step.has_value()}};
  for (auto const& [name, is_given] : given) {
    auto const& own = chosen.options;
    if (!is_given || std::find(own.begin(), own.end(), name) != own.end()) continue;
    throw error("the kind " + std::string(chosen.kind.name) + " has no option --" + name);
  }
  if (options.count.value_or(1) < 1) throw error("--count must be at least 1");
  if (options.step.value_or(1) < 1) throw error("--step must be at least 1");
}

}  // namespace

std::vector<damage_kind> const& damage_kinds() {
  static std::vector<damage_kind> const kinds = [] {
    std::vector<damage_kind> found;
    for (auto const& each : entries()) found.push_back(each.kind);
    return found;
  }();
  return kinds;
}

std::string damage(std::filesystem::path const& recorder_folder, damage_options const& options) {
  auto const chosen = std::find_if(entries().begin(), entries().end(), [&](entry const& each) {
    return options.kind == each.kind.name;
  });
  if (chosen == entries().end()) throw error("there is no kind of damage " + options.kind);
  require_options_of(*chosen, options);
  auto const where = resolved(recorder_folder);
  auto catalogue = open_catalogue(where, access::read_write);
  damager one(where, catalogue, options);
  return (one.*chosen->run)();
}

}  // namespace lab
