#include "lab/check/volume_check.h"

#include <algorithm>
#include <set>

#include "lab/volume/layout.h"

namespace lab {

namespace {

bool is_away(mount how) {
  return how == mount::folder_missing || how == mount::identity_missing ||
         how == mount::identity_foreign;
}

class volume_check {
 public:
  volume_check(scanned_volume const& volume, std::vector<displaced_file> const& displaced,
               std::int64_t unit_mb, findings& found)
      : volume_(volume),
        scan_(volume.found),
        displaced_(displaced),
        unit_bytes_(unit_mb * megabyte),
        found_(found) {
    for (auto const& each : displaced) {
      if (each.in != &volume || each.what != finding_class::wrong_volume) continue;
      units_elsewhere_.insert(each.folder_name + "/" + each.name);
    }
  }

  void run() {
    if (!volume_.is_read()) {
      add(is_away(volume_.how) ? finding_class::not_mounted : finding_class::unreadable,
          volume_.problem);
      return;
    }
    if (!scan_.has_preallocate) add(finding_class::missing, "preallocate is missing");
    for (auto const& each : scan_.unknown_entries) check_unknown(each);
    for (auto const& unit : scan_.units) check_unit(unit);
    for (auto const& each : displaced_) {
      if (each.in == &volume_) check_displaced(each);
    }
    check_sums();
  }

 private:
  void add(finding_class what, std::string const& text) {
    found_.push_back({what, "volume " + volume_.place.folder_name, text});
  }

  void check_unknown(unknown_entry const& what) {
    if (units_elsewhere_.count(what.shown) > 0) return;
    bool const is_folder = what.what == unknown_entry::kind::empty_folder;
    add(finding_class::unknown, (is_folder ? "unknown folder " : "unknown file ") + what.shown);
  }

  void check_unit(unit_row const& unit) {
    auto const& files = scan_.files_of(unit.name);
    for (auto const& file : files) check_size(unit, file);
    if (is_in_transit(unit.state)) {
      add(finding_class::in_transit,
          "unit " + unit.name + " is in transit (" + text_of(unit.state) + ")");
    } else {
      for (auto const& file : files) check_names(unit, file);
    }
    if (unit.state == unit_state::recorded && !unit.has_period) {
      add(finding_class::leak,
          "unit " + unit.name + " is recorded without a period in " + unit.folder_name);
    }
    if (unit.state == unit_state::bad) {
      add(finding_class::bad, "unit " + unit.name + " is bad");
    } else if (files.empty()) {
      add(finding_class::missing, "unit " + unit.name + " is missing from " + unit.folder_name);
    }
  }

  void check_size(unit_row const& unit, unit_file const& file) {
    auto const where = "unit " + unit.name + " in " + file.folder_name;
    auto const wanted = std::to_string(unit_bytes_);
    if (file.size != unit_bytes_) {
      add(file.size < unit_bytes_ ? finding_class::too_short : finding_class::too_long,
          where + " is " + std::to_string(file.size) + " bytes long instead of " + wanted);
    } else if (file.allocated < unit_bytes_) {
      add(finding_class::too_short, where + " has only " + std::to_string(file.allocated) + " of " +
                                        wanted + " bytes allocated");
    }
  }

  // A move makes two names for a moment.
  void check_names(unit_row const& unit, unit_file const& file) {
    if (file.names == 1) return;
    add(finding_class::cross_linked, "unit " + unit.name + " in " + file.folder_name + " has " +
                                         std::to_string(file.names) + " names");
  }

  void check_displaced(displaced_file const& file) {
    auto const shown = file.folder_name + "/" + file.name;
    switch (file.what) {
      case finding_class::misplaced:
        add(file.what, "unit " + file.name + " is in the wrong folder " + file.folder_name +
                           ", belongs in " + file.unit->folder_name);
        break;
      case finding_class::wrong_volume:
        add(file.what, shown + " is of volume " + file.owner->place.folder_name);
        break;
      case finding_class::duplicate:
        add(file.what, shown + " is a second file of a unit in " + file.unit->folder_name);
        break;
      default:
        add(file.what, shown + " is a file of a bad unit");
    }
  }

  bool lies_in_preallocate(unit_row const& unit) const {
    auto const& files = scan_.files_of(unit.name);
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
    for (auto const& unit : scan_.units) {
      if (unit.has_period || is_in_transit(unit.state)) {
        ++used;
      } else if (unit.state != unit_state::free) {
        ++lost;
      }
      if (!is_in_transit(unit.state) && lies_in_preallocate(unit)) ++preallocated;
    }
    auto const total = static_cast<std::int64_t>(scan_.units.size());
    if (used + preallocated + lost == total) return;
    add(finding_class::sums, "sums do not close: total " + std::to_string(total) + ", used " +
                                 std::to_string(used) + ", preallocated " +
                                 std::to_string(preallocated) + ", lost " + std::to_string(lost));
  }

  scanned_volume const& volume_;
  volume_scan const& scan_;
  std::vector<displaced_file> const& displaced_;
  std::int64_t unit_bytes_;
  findings& found_;
  std::set<std::string> units_elsewhere_;  // files here that are other volumes' units
};

}  // namespace

void check_volume(scanned_volume const& volume, std::vector<displaced_file> const& displaced,
                  std::int64_t unit_mb, findings& found) {
  volume_check(volume, displaced, unit_mb, found).run();
}

}  // namespace lab
