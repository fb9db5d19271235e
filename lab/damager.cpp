#include "lab/damager.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "lab/recorder_state.h"
#include "lab/unit_moves.h"

namespace lab {

namespace fs = std::filesystem;

namespace {

void write_file(fs::path const& file, std::string const& content) {
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream) throw error(file.string() + ": cannot write");
}

}  // namespace

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
      lock_(place_, volume_lock::kind::exclusive, options_.patience),
      storage_(place_.path / storage_name(place_)) {}

volume_place damager::chosen_place() {
  if (options_.volume.empty()) {
    return one_of(places_of(catalogue_, folder_), "the recorder has no volume");
  }
  statement query(catalogue_, "SELECT id FROM volume WHERE name = ? ORDER BY id");
  if (!query.with(options_.volume).next()) throw error("there is no volume " + options_.volume);
  return place_of(catalogue_, folder_, query.integer(0));
}

std::string damager::wanted_state() const { return options_.unit.value_or("recorded"); }

std::vector<unit_row> damager::sound_units(std::string const& state) const {
  std::vector<unit_row> found;
  for (auto const& unit : units_of(catalogue_, place_)) {
    if (unit.state != state || (state == "recorded" && !unit.has_period)) continue;
    std::error_code ignored;
    if (fs::is_regular_file(file_of(unit), ignored)) found.push_back(unit);
  }
  return found;
}

unit_row damager::chosen_unit() {
  return one_of(sound_units(wanted_state()),
                "volume " + place_.folder_name + " has no " + wanted_state() + " unit");
}

fs::path damager::file_of(unit_row const& unit) const {
  return storage_ / unit.folder_name / unit.name;
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
  fs::remove(file_of(unit));
  return "lost-unit: removed " + shown(unit) + on_volume();
}

std::string damager::add_unknown_file() {
  std::vector<fs::path> folders{place_.path, storage_};
  for (auto const& name : folder(storage_).names()) folders.push_back(storage_ / name);
  auto const where = one_of(folders, "");
  auto const name = "stranger-" + random_.digits(8);
  write_file(where / name, random_.digits(1000) + "\n");
  return "unknown-file: made " + (where / name).lexically_relative(place_.path).string() +
         on_volume();
}

std::string damager::duplicate_unit() {
  auto const unit = chosen_unit();
  std::string where = preallocate_folder;
  if (unit.state == "free") {
    where = one_of(sound_units("recorded"), "volume " + place_.folder_name + " has no hour folder")
                .folder_name;
  }
  fs::copy_file(file_of(unit), storage_ / where / unit.name);
  return "duplicate-unit: copied " + shown(unit) + " into " + where + on_volume();
}

std::string damager::shorten_unit() {
  auto const unit = chosen_unit();
  constexpr std::int64_t page = 4096;
  auto const pages = static_cast<std::int64_t>(fs::file_size(file_of(unit))) / page;
  if (pages < 2) throw error(shown(unit) + on_volume() + " is too short already");
  auto const bytes = (1 + random_.below(pages - 1)) * page;
  fs::resize_file(file_of(unit), static_cast<std::uintmax_t>(bytes));
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
    for (auto const& unit : sound_units(wanted_state())) {
      if (!fs::exists(host.path / storage_name(host) / unit.folder_name / unit.name)) {
        moves.push_back({unit, host});
      }
    }
  }
  auto const chosen =
      one_of(moves, "no " + wanted_state() + " unit of volume " + place_.folder_name +
                        " has a name that is free on another mounted volume");
  volume_lock const other(chosen.host, volume_lock::kind::exclusive, options_.patience);
  auto const target = chosen.host.path / storage_name(chosen.host) / chosen.unit.folder_name;
  fs::create_directory(target);
  fs::rename(file_of(chosen.unit), target / chosen.unit.name);
  return "wrong-volume: moved " + shown(chosen.unit) + " from volume " + place_.folder_name +
         " to volume " + chosen.host.folder_name;
}

std::string damager::unmount() {
  auto const how = options_.mount.value_or("missing");
  auto const identity = place_.path / identity_file;
  auto const did = "unmounted: volume " + place_.folder_name;
  if (how == "missing") {
    fs::remove(identity);
    return did + " has no identity";
  }
  if (how == "absent") {
    auto const aside = folder_ / unmounted_folder;
    fs::create_directory(aside);
    fs::rename(place_.path, aside / place_.folder_name);
    return did + " lies in " + unmounted_folder + "/" + place_.folder_name;
  }
  // The file is replaced, not written over, as one volume is by another.
  fs::remove(identity);
  write_file(identity, identity_text(random_.digits(32)));
  return did + " has another's identity";
}

}  // namespace lab
