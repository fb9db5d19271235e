// Comparing what the catalogue says with what lies in the folders.
#include <map>
#include <set>
#include <utility>

#include "lab/folder.h"
#include "lab/layout.h"
#include "lab/recorder_state.h"
#include "lab/unit_moves.h"

namespace lab {

namespace {

using findings = std::vector<std::string>;

constexpr std::int64_t megabyte = std::int64_t{1024} * 1024;
constexpr std::int64_t stat_block = 512;

struct unit_row {
  std::string name;
  std::string state;
  std::string folder_name;  // where it belongs; empty for a bad one
  bool has_period;
};

// The storage folder of a volume, as it is found: folder name, file name.
struct disk_file {
  std::int64_t size;
  std::int64_t allocated;
};
using disk_folder = std::map<std::string, disk_file>;

bool is_on_its_way(unit_row const& unit) {
  return unit.state == "recording" || unit.state == "recycling";
}

std::vector<unit_row> units_of(database const& catalogue, volume_place const& place) {
  statement query(catalogue,
                  "SELECT u.name, u.state, c.number, u.recording_type, u.stream, u.hour_ms,"
                  "       u.period_id IS NOT NULL"
                  "  FROM unit u LEFT JOIN channel c ON c.id = u.channel_id"
                  "  WHERE u.volume_id = ? ORDER BY u.id");
  query.with(place.id);
  std::vector<unit_row> units;
  while (query.next()) {
    unit_row unit{query.text(0), query.text(1), "", query.integer(6) != 0};
    if (unit.state == "free") {
      unit.folder_name = preallocate_folder;
    } else if (unit.state != "bad") {
      unit.folder_name = hour_folder_name(query.integer32(2), query.integer32(3),
                                          query.integer32(4), query.integer(5));
    }
    units.push_back(std::move(unit));
  }
  return units;
}

// Checks one volume; every line begins with its name.
class volume_check {
 public:
  volume_check(volume_place const& place, std::vector<unit_row> const& units, std::int64_t unit_mb,
               findings& lines)
      : prefix_("volume " + place.folder_name + ": "),
        units_(units),
        unit_bytes_(unit_mb * megabyte),
        lines_(lines) {
    for (auto const& unit : units_) by_name_.emplace(unit.name, &unit);
    check_names_in_volume(place);
    auto const storage_path = storage_folder(place.path.string(), place.sid_text);
    auto const volume_folder = folder(place.path);
    auto const storage =
        folder::find(volume_folder, std::filesystem::path(storage_path).filename().string());
    if (!storage) {
      add("storage folder is missing");
      return;
    }
    read_storage(*storage);
    for (auto const& unit : units_) check_unit(unit);
    check_sums();
  }

 private:
  void add(std::string const& text) { lines_.push_back(prefix_ + text); }

  void check_names_in_volume(volume_place const& place) {
    auto const storage = std::filesystem::path(storage_folder("", place.sid_text)).filename();
    for (auto const& name : folder(place.path).names()) {
      // A file system of its own has a folder for what its check found.
      if (name == identity_file || name == storage || name == "lost+found") continue;
      add("unknown file " + name);
    }
  }

  void read_storage(folder const& storage) {
    std::set<std::string> known{preallocate_folder};
    for (auto const& unit : units_) known.insert(unit.folder_name);
    if (!folder::find(storage, preallocate_folder)) add("preallocate is missing");
    for (auto const& name : storage.names()) {
      auto const inside = folder::find(storage, name);
      if (!inside) {
        add("unknown file " + name);
        continue;
      }
      read_folder(*inside, name);
      if (known.count(name) == 0 && disk_[name].empty()) add("unknown folder " + name);
    }
  }

  void read_folder(folder const& inside, std::string const& folder_name) {
    auto& files = disk_[folder_name];
    for (auto const& name : inside.names()) {
      auto const status = inside.status(name);
      if (!status) continue;
      if (!S_ISREG(status->st_mode) || by_name_.count(name) == 0) {
        add(std::string("unknown file ").append(folder_name).append("/").append(name));
        continue;
      }
      files[name] = {status->st_size, std::int64_t{status->st_blocks} * stat_block};
      places_[name].push_back(folder_name);
    }
  }

  void check_unit(unit_row const& unit) {
    auto const& found = places_[unit.name];
    for (auto const& place : found) check_size(unit, place);
    if (is_on_its_way(unit)) {
      add("unit " + unit.name + " is on its way (" + unit.state + ")");
      check_place_on_its_way(unit, found);
      return;
    }
    if (unit.state == "recorded" && !unit.has_period) {
      add("unit " + unit.name + " is recorded without a period in " + unit.folder_name);
    }
    if (unit.state == "bad") add("unit " + unit.name + " is bad");
    check_place(unit, found);
  }

  void check_place_on_its_way(unit_row const& unit, std::vector<std::string> const& found) {
    if (found.empty()) add("unit " + unit.name + " is missing");
    for (auto const& place : found) {
      if (place == unit.folder_name || place == preallocate_folder) continue;
      add("unit " + unit.name + " is in the wrong folder " + place);
    }
  }

  void check_place(unit_row const& unit, std::vector<std::string> const& found) {
    if (found.empty()) {
      if (unit.state != "bad") add("unit " + unit.name + " is missing from " + unit.folder_name);
      return;
    }
    if (found.size() > 1) {
      std::string text =
          "unit " + unit.name + " is in " + std::to_string(found.size()) + " places:";
      for (auto const& place : found) text.append(" ").append(place);
      add(text);
    }
    for (auto const& place : found) {
      if (place == unit.folder_name) continue;
      auto text = "unit " + unit.name + " is in the wrong folder " + place;
      if (!unit.folder_name.empty()) text.append(", belongs in ").append(unit.folder_name);
      add(text);
    }
  }

  void check_size(unit_row const& unit, std::string const& place) {
    auto const& file = disk_[place][unit.name];
    if (file.size != unit_bytes_) {
      add("unit " + unit.name + " in " + place + " is " + std::to_string(file.size) +
          " bytes long instead of " + std::to_string(unit_bytes_));
    } else if (file.allocated < unit_bytes_) {
      add("unit " + unit.name + " in " + place + " has only " + std::to_string(file.allocated) +
          " of " + std::to_string(unit_bytes_) + " bytes allocated");
    }
  }

  // Compares in units what the catalogue accounts for with what lies in
  // preallocate.
  void check_sums() {
    std::int64_t used = 0;
    std::int64_t lost = 0;
    for (auto const& unit : units_) {
      if (unit.has_period || is_on_its_way(unit)) {
        ++used;
      } else if (unit.state != "free") {
        ++lost;
      }
    }
    std::int64_t preallocated = 0;
    for (auto const& [name, file] : disk_[preallocate_folder]) {
      if (file.size >= unit_bytes_ && !is_on_its_way(*by_name_.at(name))) ++preallocated;
    }
    auto const total = static_cast<std::int64_t>(units_.size());
    if (used + preallocated + lost == total) return;
    add("sums do not close: total " + std::to_string(total) + ", used " + std::to_string(used) +
        ", preallocated " + std::to_string(preallocated) + ", lost " + std::to_string(lost));
  }

  std::string prefix_;
  std::vector<unit_row> const& units_;
  std::int64_t unit_bytes_;
  findings& lines_;
  std::map<std::string, unit_row const*> by_name_;
  std::map<std::string, disk_folder> disk_;
  std::map<std::string, std::vector<std::string>> places_;
};

void check_integrity(database const& catalogue, findings& lines) {
  statement integrity(catalogue, "PRAGMA integrity_check");
  while (integrity.next()) {
    if (integrity.text(0) != "ok") lines.push_back("catalogue: " + integrity.text(0));
  }
  statement foreign_keys(catalogue, "PRAGMA foreign_key_check");
  while (foreign_keys.next()) {
    lines.push_back("catalogue: row " + foreign_keys.text(1) + " of " + foreign_keys.text(0) +
                    " refers to no " + foreign_keys.text(2));
  }
}

std::string name_of_period(statement const& row) {
  return "period " + row.text(0) + " " +
         hour_folder_name(row.integer32(1), row.integer32(2), row.integer32(3), row.integer(4));
}

void check_periods_without_units(database const& catalogue, findings& lines) {
  statement query(catalogue,
                  "SELECT p.id, c.number, p.recording_type, p.stream, p.start_ms"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id"
                  "  WHERE NOT EXISTS (SELECT 1 FROM unit u WHERE u.period_id = p.id)"
                  "  ORDER BY p.id");
  while (query.next()) lines.push_back(name_of_period(query) + ": its units are missing");
}

void check_periods_of_other_storages(database const& catalogue, findings& lines) {
  statement query(catalogue,
                  "SELECT DISTINCT p.id, c.number, p.recording_type, p.stream, p.start_ms,"
                  "       p.storage_id, v.folder"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id"
                  "                JOIN unit u ON u.period_id = p.id"
                  "                JOIN volume v ON v.id = u.volume_id"
                  "  WHERE p.storage_id NOT IN ('', v.sid_text) ORDER BY p.id");
  while (query.next()) {
    lines.push_back(name_of_period(query) + ": its storage id is " + query.text(5) +
                    ", its units are on volume " + query.text(6));
  }
}

void check_units_of_other_periods(database const& catalogue, findings& lines) {
  statement query(catalogue,
                  "SELECT p.id, c.number, p.recording_type, p.stream, p.start_ms,"
                  "       u.name, v.folder"
                  "  FROM unit u JOIN period p ON p.id = u.period_id"
                  "              JOIN channel c ON c.id = p.channel_id"
                  "              JOIN volume v ON v.id = u.volume_id"
                  "  WHERE u.channel_id <> p.channel_id OR u.recording_type <> p.recording_type"
                  "     OR u.stream <> p.stream OR u.hour_ms >= p.end_ms"
                  "     OR u.hour_ms + 3600000 <= p.start_ms"
                  "  ORDER BY u.id");
  while (query.next()) {
    lines.push_back(name_of_period(query) + ": holds unit " + query.text(5) + " of volume " +
                    query.text(6) + ", which is another stream's or hour's");
  }
}

}  // namespace

std::vector<std::string> recorder::check() const {
  auto& catalogue = state_->catalogue;
  findings lines;
  check_integrity(catalogue, lines);
  for (auto const& place : places_of(catalogue, state_->folder)) {
    switch (mount_of(place)) {
      case mount::identity_missing:
        lines.push_back("volume " + place.folder_name + ": not mounted: its identity is missing");
        continue;
      case mount::identity_foreign:
        lines.push_back("volume " + place.folder_name + ": not mounted: its identity is another's");
        continue;
      case mount::present:
        break;
    }
    // Nobody moves units while they are compared.
    volume_lock const lock(place, volume_lock::kind::shared, state_->patience);
    volume_check(place, units_of(catalogue, place), state_->unit_mb, lines);
  }
  check_periods_without_units(catalogue, lines);
  check_periods_of_other_storages(catalogue, lines);
  check_units_of_other_periods(catalogue, lines);
  return lines;
}

}  // namespace lab
