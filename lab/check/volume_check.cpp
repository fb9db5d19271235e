#include "lab/check/volume_check.h"

#include <algorithm>

#include "lab/volume/moves.h"

namespace lab {

namespace {

class volume_check {
 public:
  volume_check(surveyed_volume const& volume, std::int64_t unit_mb, std::vector<std::string>& lines)
      : place_(": volume " + volume.place.folder_name + ": "),
        found_(volume.found),
        unit_bytes_(unit_mb * megabyte),
        lines_(lines) {}

  void run() {
    if (found_.has_storage && !found_.has_preallocate) add("missing", "preallocate is missing");
    for (auto const& each : found_.unknown_entries) {
      bool const is_folder = each.what == unknown_entry::kind::empty_folder;
      add("unknown", (is_folder ? "unknown folder " : "unknown file ") + each.shown);
    }
    if (!found_.has_storage) {
      add("missing", "storage folder is missing");
      return;
    }
    for (auto const& unit : found_.units) check_unit(unit);
    check_sums();
  }

 private:
  void add(char const* finding, std::string const& text) {
    lines_.push_back(finding + place_ + text);
  }

  void check_unit(unit_row const& unit) {
    auto const& files = found_.files_of(unit.name);
    for (auto const& file : files) check_size(unit, file);
    if (is_in_transit(unit.state)) {
      add("moving", "unit " + unit.name + " is on its way (" + text_of(unit.state) + ")");
      check_place_on_its_way(unit, files);
      return;
    }
    if (unit.state == unit_state::recorded && !unit.has_period) {
      add("leak", "unit " + unit.name + " is recorded without a period in " + unit.folder_name);
    }
    if (unit.state == unit_state::bad) add("bad", "unit " + unit.name + " is bad");
    check_place(unit, files);
  }

  void check_place_on_its_way(unit_row const& unit, std::vector<unit_file> const& files) {
    if (files.empty()) add("missing", "unit " + unit.name + " is missing");
    for (auto const& file : files) {
      if (file.folder_name == unit.folder_name || file.folder_name == preallocate_folder) continue;
      add("misplaced", "unit " + unit.name + " is in the wrong folder " + file.folder_name);
    }
  }

  void check_place(unit_row const& unit, std::vector<unit_file> const& files) {
    if (files.empty()) {
      if (unit.state != unit_state::bad) {
        add("missing", "unit " + unit.name + " is missing from " + unit.folder_name);
      }
      return;
    }
    if (files.size() > 1) {
      std::string text =
          "unit " + unit.name + " is in " + std::to_string(files.size()) + " places:";
      for (auto const& file : files) text.append(" ").append(file.folder_name);
      add("duplicate", text);
    }
    for (auto const& file : files) {
      if (file.folder_name == unit.folder_name) continue;
      auto text = "unit " + unit.name + " is in the wrong folder " + file.folder_name;
      if (!unit.folder_name.empty()) text.append(", belongs in ").append(unit.folder_name);
      add("misplaced", text);
    }
  }

  void check_size(unit_row const& unit, unit_file const& file) {
    auto const where = "unit " + unit.name + " in " + file.folder_name;
    if (file.size != unit_bytes_) {
      add(file.size < unit_bytes_ ? "short" : "long", where + " is " + std::to_string(file.size) +
                                                          " bytes long instead of " +
                                                          std::to_string(unit_bytes_));
    } else if (file.allocated < unit_bytes_) {
      add("short", where + " has only " + std::to_string(file.allocated) + " of " +
                       std::to_string(unit_bytes_) + " bytes allocated");
    }
  }

  bool lies_in_preallocate(unit_row const& unit) const {
    auto const& files = found_.files_of(unit.name);
    return std::any_of(files.begin(), files.end(), [this](unit_file const& file) {
      return file.folder_name == preallocate_folder && file.size >= unit_bytes_;
    });
  }

  // Compares in units what the catalogue accounts for with what lies in
  // preallocate.
  void check_sums() {
    std::int64_t used = 0;
    std::int64_t lost = 0;
    std::int64_t preallocated = 0;
    for (auto const& unit : found_.units) {
      if (unit.has_period || is_in_transit(unit.state)) {
        ++used;
      } else if (unit.state != unit_state::free) {
        ++lost;
      }
      if (!is_in_transit(unit.state) && lies_in_preallocate(unit)) ++preallocated;
    }
    auto const total = static_cast<std::int64_t>(found_.units.size());
    if (used + preallocated + lost == total) return;
    add("sums", "sums do not close: total " + std::to_string(total) + ", used " +
                    std::to_string(used) + ", preallocated " + std::to_string(preallocated) +
                    ", lost " + std::to_string(lost));
  }

  std::string place_;
  volume_scan const& found_;
  std::int64_t unit_bytes_;
  std::vector<std::string>& lines_;
};

}  // namespace

void check_volume(surveyed_volume const& volume, std::int64_t unit_mb,
                  std::vector<std::string>& lines) {
  volume_check(volume, unit_mb, lines).run();
}

}  // namespace lab
