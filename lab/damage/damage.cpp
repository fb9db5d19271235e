#include "lab/damage/damage.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "lab/catalogue/catalogue.h"
#include "lab/damage/damaged_volume.h"
#include "lab/disk/file_steps.h"
#include "lab/util/text.h"
#include "lab/volume/layout.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

// Free or recorded.
unit_state wanted_state(damaged_volume const& on) {
  return on.options.unit == "free" ? unit_state::free : unit_state::recorded;
}

unit_row chosen_unit(damaged_volume& on) {
  auto const state = wanted_state(on);
  return on.one_of(on.sound_units(state),
                   "volume " + on.place.folder_name + " has no " + text_of(state) + " unit");
}

// "preallocate/unit000001 on volume vol1".
std::string shown(unit_row const& unit, damaged_volume const& on) {
  return unit.folder_name + "/" + unit.name + on.on_volume();
}

// The oldest periods of one stream that together have so many units, its latest
// period left out: what a stream without any known period has is not recycled.
std::vector<std::int64_t> periods_to_forget(damaged_volume& on, std::int64_t wanted_units) {
  statement query(on.catalogue,
                  "SELECT p.id, p.channel_id, p.recording_type, p.stream, count(u.id)"
                  "  FROM period p JOIN unit u ON u.period_id = p.id"
                  "  WHERE u.volume_id = ? AND p.recording_type IN (1, 4) AND p.storage_id <> ''"
                  "  GROUP BY p.id"
                  "  ORDER BY p.channel_id, p.recording_type, p.stream, p.start_ms, p.id");
  struct stream_periods {
    std::vector<std::int64_t> stream;
    std::vector<std::int64_t> ids;
    std::int64_t units = 0;
    bool suffices = false;
  };
  std::vector<stream_periods> streams;
  query.with(on.place.id);
  while (query.next()) {
    std::vector<std::int64_t> const key{query.integer(1), query.integer(2), query.integer(3)};
    if (streams.empty() || streams.back().stream != key) streams.push_back({key, {}, 0, false});
    auto& last = streams.back();
    if (last.units >= wanted_units) {
      last.suffices = true;
      continue;
    }
    last.ids.push_back(query.integer(0));
    last.units += query.integer(4);
  }
  streams.erase(std::remove_if(streams.begin(), streams.end(),
                               [](auto const& each) { return !each.suffices; }),
                streams.end());
  return on
      .one_of(streams, "no stream has " + counted(wanted_units, "unit") + on.on_volume() +
                           " before its latest period")
      .ids;
}

std::string leak(damaged_volume& on) {
  auto const total =
      number_of(on.catalogue, "SELECT count(*) FROM unit WHERE volume_id = ?", on.place.id);
  std::int64_t const wanted = on.options.count.value_or(static_cast<int>(total / 20 + 1));
  auto const periods = periods_to_forget(on, wanted);
  transaction all(on.catalogue, transaction_kind::writing);
  statement forget(on.catalogue, "DELETE FROM period WHERE id = ?");
  std::int64_t leaked_units = 0;
  for (auto const id : periods) {
    leaked_units += number_of(on.catalogue, "SELECT count(*) FROM unit WHERE period_id = ?", id);
    forget.with(id).run();
  }
  all.commit();
  return "leak: forgot " + counted(static_cast<std::int64_t>(periods.size()), "period") + " of " +
         counted(leaked_units, "unit") + on.on_volume();
}

std::string lose_unit(damaged_volume& on) {
  auto const unit = chosen_unit(on);
  steps::remove_file(on.folder_of(unit), unit.name);
  return "lost-unit: removed " + shown(unit, on);
}

std::string add_unknown_file(damaged_volume& on) {
  auto const within = on.storage();
  fs::path const below = storage_name(on.place);
  std::vector<fs::path> folders{"", below};
  for (auto const& name : within.names()) folders.push_back(below / name);
  auto const where = on.one_of(folders, "");
  auto const name = "unknown-" + on.numbers.digits(8);
  auto const content = on.numbers.digits(1000) + "\n";
  if (where.empty()) {
    steps::make_file(on.volume, name, content);
  } else if (where == below) {
    steps::make_file(within, name, content);
  } else {
    steps::make_file(opened_folder(within, where.filename()), name, content);
  }
  return "unknown-file: made " + (where / name).string() + on.on_volume();
}

std::string duplicate_unit(damaged_volume& on) {
  auto const unit = chosen_unit(on);
  std::string where = preallocate_folder;
  if (unit.state == unit_state::free) {
    where = on.one_of(on.sound_units(unit_state::recorded),
                      "volume " + on.place.folder_name + " has no hour folder")
                .folder_name;
  }
  auto const from = on.folder_of(unit);
  auto const status = from.status(unit.name);
  auto const unit_mb = number_of(on.catalogue, "SELECT unit_mb FROM recorder");
  if (!status || status->st_size / megabyte > unit_mb) {
    throw error(shown(unit, on) + " is longer than a unit");
  }
  steps::copy_file(from, opened_folder(on.storage(), where), unit.name);
  return "duplicate-unit: copied " + unit.folder_name + "/" + unit.name + " into " + where +
         on.on_volume();
}

std::string shorten_unit(damaged_volume& on) {
  auto const unit = chosen_unit(on);
  constexpr std::int64_t page = 4096;
  auto const inside = on.folder_of(unit);
  auto const status = entry_of(inside, unit.name);
  std::int64_t const pages = status ? status->st_size / page : 0;
  if (pages < 2) throw error(shown(unit, on) + " is too short already");
  auto const bytes = (1 + on.numbers.below(pages - 1)) * page;
  steps::cut_file(inside, unit.name, bytes);
  return "short-unit: cut " + shown(unit, on) + " to " + std::to_string(bytes) + " bytes";
}

std::string take_ids(damaged_volume& on) {
  statement query(on.catalogue,
                  "SELECT DISTINCT p.id FROM period p JOIN unit u ON u.period_id = p.id"
                  "  WHERE u.volume_id = ? AND p.storage_id <> ''"
                  "  ORDER BY p.channel_id, p.recording_type, p.stream, p.start_ms, p.id");
  std::vector<std::int64_t> ids;
  query.with(on.place.id);
  while (query.next()) ids.push_back(query.integer(0));
  std::int64_t const count = on.options.count.value_or(3);
  auto const most = static_cast<std::int64_t>(ids.size());
  if (most < count) {
    throw error("volume " + on.place.folder_name + " has only " + counted(most, "period") +
                " with a storage id");
  }
  auto const first = on.numbers.below(most - count + 1);
  transaction all(on.catalogue, transaction_kind::writing);
  statement take(on.catalogue, "UPDATE period SET storage_id = '' WHERE id = ?");
  for (auto index = first; index < first + count; ++index) {
    take.with(ids[static_cast<std::size_t>(index)]).run();
  }
  all.commit();
  return "null-ids: took the storage id from " + counted(count, "period") + on.on_volume();
}

std::string misplace_on_other_volume(damaged_volume& on) {
  auto const state = wanted_state(on);
  std::vector<std::pair<unit_row, volume_place>> moves;
  for (auto const& host : places_of(on.catalogue, on.recorder.path())) {
    if (host.id == on.place.id || mount_of(host) != mount::present) continue;
    auto const within = found_folder(opened_folder(on.share, host.folder_name), storage_name(host));
    if (!within) continue;
    for (auto const& unit : on.sound_units(state)) {
      auto const inside = found_folder(*within, unit.folder_name);
      if (!inside || !inside->status(unit.name)) moves.emplace_back(unit, host);
    }
  }
  auto const [unit, host] = on.one_of(
      moves, std::string("no ") + text_of(state) + " unit of volume " + on.place.folder_name +
                 " has a name that is free on another mounted volume");
  volume_lock const other(host, volume_lock::kind::exclusive, on.options.lock_timeout);
  auto const within = opened_folder(opened_folder(on.share, host.folder_name), storage_name(host));
  steps::make_folder(within, unit.folder_name);
  steps::move_file(on.folder_of(unit), opened_folder(within, unit.folder_name), unit.name);
  return "wrong-volume: moved " + unit.folder_name + "/" + unit.name + " from volume " +
         on.place.folder_name + " to volume " + host.folder_name;
}

std::string unmount(damaged_volume& on) {
  auto const how = on.options.mount.value_or("missing");
  auto const did = "unmounted: volume " + on.place.folder_name;
  if (how == "missing") {
    steps::remove_file(on.volume, identity_file);
    return did + " has no identity";
  }
  if (how == "absent") {
    steps::make_folder(on.recorder, unmounted_folder);
    steps::move_file(on.share, opened_folder(on.recorder, unmounted_folder), on.place.folder_name);
    return did + " lies in " + unmounted_folder + "/" + on.place.folder_name;
  }
  // The file is replaced, not written over, as one volume is by another.
  steps::remove_file(on.volume, identity_file);
  steps::make_file(on.volume, identity_file, identity_text(on.numbers.digits(32)));
  return did + " has another's identity";
}

void require_options_of(damage_kind const& kind, damage_options const& options) {
  std::vector<std::pair<char const*, bool>> const given{{"unit", options.unit.has_value()},
                                                        {"count", options.count.has_value()},
                                                        {"mount", options.mount.has_value()},
                                                        {"move", options.move.has_value()},
                                                        {"step", options.step.has_value()}};
  for (auto const& [name, is_given] : given) {
    auto const& own = kind.options;
    if (!is_given || std::find(own.begin(), own.end(), name) != own.end()) continue;
    throw error("the kind " + std::string(kind.name) + " has no option --" + name);
  }
  if (options.count.value_or(1) < 1) throw error("--count must be at least 1");
  if (options.step.value_or(1) < 1) throw error("--step must be at least 1");
}

}  // namespace

std::vector<damage_kind> const& damage_kinds() {
  static std::vector<damage_kind> const all{
      {"leak", "periods are forgotten, their units stay", {"count"}, leak},
      {"lost-unit", "a unit's file is gone", {"unit"}, lose_unit},
      {"unknown-file", "a file that is no unit", {}, add_unknown_file},
      {"duplicate-unit", "a unit's file in a second folder", {"unit"}, duplicate_unit},
      {"short-unit", "a unit's file is cut", {"unit"}, shorten_unit},
      {"null-ids", "periods lose their storage id", {"count"}, take_ids},
      {"wrong-volume",
       "a unit's file in another volume's folder",
       {"unit"},
       misplace_on_other_volume},
      {"unmounted",
       "a volume's identity is missing or another's, or its folder is absent",
       {"mount"},
       unmount},
      {"stopped", "a move of units is stopped at a step", {"count", "move", "step"}, stop_move},
  };
  return all;
}

std::string damage(fs::path const& recorder_folder, damage_options const& options) {
  auto const& kinds = damage_kinds();
  auto const chosen = std::find_if(kinds.begin(), kinds.end(), [&](damage_kind const& each) {
    return options.kind == each.name;
  });
  if (chosen == kinds.end()) throw error("there is no kind of damage " + options.kind);
  require_options_of(*chosen, options);
  auto const where = resolved(recorder_folder);
  auto catalogue = open_catalogue(where, access::read_write);
  damaged_volume volume(where, catalogue, options);
  return chosen->damage(volume);
}

}  // namespace lab
