#include "lab/damage/damager.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "lab/disk/file_steps.h"
#include "lab/recorder/state.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"

namespace lab {

namespace fs = std::filesystem;

namespace {

// None when there is nothing by that name. Names come from a catalogue that may
// say anything.
std::optional<struct stat> entry_of(folder const& in, std::string const& name) {
  auto const status = in.status(name);
  if (status && S_ISLNK(status->st_mode)) {
    throw error((in.path() / name).string() + ": is a symbolic link");
  }
  return status;
}

}  // namespace

std::optional<folder> found_folder(folder const& in, std::string const& name) {
  entry_of(in, name);
  return folder::find(in, name);
}

folder opened_folder(folder const& in, std::string const& name) {
  auto found = found_folder(in, name);
  if (found) return std::move(*found);
  errno = in.status(name) ? ENOTDIR : ENOENT;
  fail_with_errno(in.path() / name, "cannot open folder");
}

std::string counted(std::int64_t count, std::string const& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string shown(unit_row const& unit) { return unit.folder_name + "/" + unit.name; }

damager::damager(fs::path const& recorder_folder, database& catalogue,
                 damage_options const& options)
    : folder_(recorder_folder),
      catalogue_(catalogue),
      options_(options),
      random_(options.seed),
      place_(chosen_place()),
      lock_(place_, volume_lock::kind::exclusive, options_.lock_timeout),
      recorder_(folder_),
      share_(opened_folder(recorder_, share_folder)),
      volume_(opened_folder(share_, place_.folder_name)) {
  // A link is refused whatever is to be damaged.
  found_folder(volume_, storage_name(place_));
}

volume_place damager::chosen_place() {
  if (options_.volume.empty()) {
    return one_of(places_of(catalogue_, folder_), "the recorder has no volume");
  }
  statement query(catalogue_, "SELECT id FROM volume WHERE name = ? ORDER BY id");
  if (!query.with(options_.volume).next()) throw error("there is no volume " + options_.volume);
  return place_of(catalogue_, folder_, query.integer(0));
}

unit_state damager::wanted_state() const {
  return options_.unit == "free" ? unit_state::free : unit_state::recorded;
}

std::vector<unit_row> damager::sound_units(unit_state state) const {
  std::vector<unit_row> found;
  for (auto const& unit : units_of(catalogue_, place_)) {
    if (unit.state != state || (state == unit_state::recorded && !unit.has_period)) continue;
    if (is_in_place(unit)) found.push_back(unit);
  }
  return found;
}

unit_row damager::chosen_unit() {
  return one_of(sound_units(wanted_state()),
                "volume " + place_.folder_name + " has no " + text_of(wanted_state()) + " unit");
}

bool damager::is_in_place(unit_row const& unit) const {
  auto const within = found_folder(volume_, storage_name(place_));
  auto const inside = within ? found_folder(*within, unit.folder_name) : std::nullopt;
  auto const status = inside ? entry_of(*inside, unit.name) : std::nullopt;
  return status && S_ISREG(status->st_mode);
}

folder damager::storage() const { return opened_folder(volume_, storage_name(place_)); }

folder damager::folder_of(unit_row const& unit) const {
  return opened_folder(storage(), unit.folder_name);
}

std::string damager::on_volume() const { return " on volume " + place_.folder_name; }

// The oldest periods of one stream that together have so many units, its latest
// period left out: what a stream without any known period has is not recycled.
std::vector<std::int64_t> damager::periods_to_forget(std::int64_t wanted_units) {
  statement query(catalogue_,
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
  query.with(place_.id);
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
  return one_of(streams, "no stream has " + counted(wanted_units, "unit") + on_volume() +
                             " before its latest period")
      .ids;
}

std::string damager::leak() {
  statement total(catalogue_, "SELECT count(*) FROM unit WHERE volume_id = ?");
  total.with(place_.id).next();
  std::int64_t const wanted = options_.count.value_or(static_cast<int>(total.integer(0) / 20 + 1));
  auto const periods = periods_to_forget(wanted);
  transaction all(catalogue_, transaction_kind::writing);
  statement leaked(catalogue_, "SELECT count(*) FROM unit WHERE period_id = ?");
  statement forget(catalogue_, "DELETE FROM period WHERE id = ?");
  std::int64_t leaked_units = 0;
  for (auto const id : periods) {
    leaked.with(id).next();
    leaked_units += leaked.integer(0);
    forget.with(id).run();
  }
  all.commit();
  return "leak: forgot " + counted(static_cast<std::int64_t>(periods.size()), "period") + " of " +
         counted(leaked_units, "unit") + on_volume();
}

std::string damager::lose_unit() {
  auto const unit = chosen_unit();
  steps::remove_file(folder_of(unit), unit.name);
  return "lost-unit: removed " + shown(unit) + on_volume();
}

std::string damager::add_unknown_file() {
  auto const within = storage();
  fs::path const below = storage_name(place_);
  std::vector<fs::path> folders{"", below};
  for (auto const& name : within.names()) folders.push_back(below / name);
  auto const where = one_of(folders, "");
  auto const name = "unknown-" + random_.digits(8);
  auto const content = random_.digits(1000) + "\n";
  if (where.empty()) {
    steps::make_file(volume_, name, content);
  } else if (where == below) {
    steps::make_file(within, name, content);
  } else {
    steps::make_file(opened_folder(within, where.filename()), name, content);
  }
  return "unknown-file: made " + (where / name).string() + on_volume();
}

std::string damager::duplicate_unit() {
  auto const unit = chosen_unit();
  std::string where = preallocate_folder;
  if (unit.state == unit_state::free) {
    where = one_of(sound_units(unit_state::recorded),
                   "volume " + place_.folder_name + " has no hour folder")
                .folder_name;
  }
  auto const from = folder_of(unit);
  statement size(catalogue_, "SELECT unit_mb FROM recorder");
  auto const status = from.status(unit.name);
  if (!size.next() || !status || status->st_size / megabyte > size.integer(0)) {
    throw error(shown(unit) + on_volume() + " is longer than a unit");
  }
  steps::copy_file(from, opened_folder(storage(), where), unit.name);
  return "duplicate-unit: copied " + shown(unit) + " into " + where + on_volume();
}

std::string damager::shorten_unit() {
  auto const unit = chosen_unit();
  constexpr std::int64_t page = 4096;
  auto const inside = folder_of(unit);
  auto const status = entry_of(inside, unit.name);
  std::int64_t const pages = status ? status->st_size / page : 0;
  if (pages < 2) throw error(shown(unit) + on_volume() + " is too short already");
  auto const bytes = (1 + random_.below(pages - 1)) * page;
  steps::cut_file(inside, unit.name, bytes);
  return "short-unit: cut " + shown(unit) + on_volume() + " to " + std::to_string(bytes) + " bytes";
}

std::string damager::take_ids() {
  statement query(catalogue_,
                  "SELECT DISTINCT p.id FROM period p JOIN unit u ON u.period_id = p.id"
                  "  WHERE u.volume_id = ? AND p.storage_id <> ''"
                  "  ORDER BY p.channel_id, p.recording_type, p.stream, p.start_ms, p.id");
  std::vector<std::int64_t> ids;
  query.with(place_.id);
  while (query.next()) ids.push_back(query.integer(0));
  std::int64_t const count = options_.count.value_or(3);
  auto const most = static_cast<std::int64_t>(ids.size());
  if (most < count) {
    throw error("volume " + place_.folder_name + " has only " + counted(most, "period") +
                " with a storage id");
  }
  auto const first = random_.below(most - count + 1);
  transaction all(catalogue_, transaction_kind::writing);
  statement take(catalogue_, "UPDATE period SET storage_id = '' WHERE id = ?");
  for (auto index = first; index < first + count; ++index) {
    take.with(ids[static_cast<std::size_t>(index)]).run();
  }
  all.commit();
  return "null-ids: took the storage id from " + counted(count, "period") + on_volume();
}

std::string damager::misplace_on_other_volume() {
  struct move {
    unit_row unit;
    volume_place host;
  };
  std::vector<move> moves;
  for (auto const& host : places_of(catalogue_, folder_)) {
    if (host.id == place_.id || mount_of(host) != mount::present) continue;
    auto const within = found_folder(opened_folder(share_, host.folder_name), storage_name(host));
    if (!within) continue;
    for (auto const& unit : sound_units(wanted_state())) {
      auto const inside = found_folder(*within, unit.folder_name);
      if (!inside || !inside->status(unit.name)) moves.push_back({unit, host});
    }
  }
  auto const chosen =
      one_of(moves, std::string("no ") + text_of(wanted_state()) + " unit of volume " +
                        place_.folder_name + " has a name that is free on another mounted volume");
  volume_lock const other(chosen.host, volume_lock::kind::exclusive, options_.lock_timeout);
  auto const within =
      opened_folder(opened_folder(share_, chosen.host.folder_name), storage_name(chosen.host));
  steps::make_folder(within, chosen.unit.folder_name);
  steps::move_file(folder_of(chosen.unit), opened_folder(within, chosen.unit.folder_name),
                   chosen.unit.name);
  return "wrong-volume: moved " + shown(chosen.unit) + " from volume " + place_.folder_name +
         " to volume " + chosen.host.folder_name;
}

std::string damager::unmount() {
  auto const how = options_.mount.value_or("missing");
  auto const did = "unmounted: volume " + place_.folder_name;
  if (how == "missing") {
    steps::remove_file(volume_, identity_file);
    return did + " has no identity";
  }
  if (how == "absent") {
    steps::make_folder(recorder_, unmounted_folder);
    steps::move_file(share_, opened_folder(recorder_, unmounted_folder), place_.folder_name);
    return did + " lies in " + unmounted_folder + "/" + place_.folder_name;
  }
  // The file is replaced, not written over, as one volume is by another.
  steps::remove_file(volume_, identity_file);
  steps::make_file(volume_, identity_file, identity_text(random_.digits(32)));
  return did + " has another's identity";
}

}  // namespace lab
