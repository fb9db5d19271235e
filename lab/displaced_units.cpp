#include "lab/displaced_units.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "lab/unit_moves.h"

namespace lab {

namespace {

constexpr std::size_t longest_head = 256;

struct read_file {
  loose_file file;
  std::optional<std::string> head;  // its first line; none when it cannot be read
};

std::optional<std::string> first_line(folder const& in, std::string const& name) {
  auto text = beginning_of(in, name, longest_head);
  if (text) text->resize(std::min(text->size(), text->find('\n') + 1));
  return text;
}

// What lies in a volume elsewhere than in the places of its units.
class loose_files {
 public:
  explicit loose_files(surveyed_volume const& volume) : volume_(volume) {
    for (auto const& unit : volume.found.units) add_files_of(unit);
    for (auto const& each : volume.found.strangers) {
      if (each.what == stranger::kind::entry) add(each.folder_path, each.name, each.shown);
    }
  }

  std::vector<read_file> take() { return std::move(found_); }

 private:
  void add_files_of(unit_row const& unit) {
    for (auto const& file : volume_.found.files_of(unit.name)) {
      bool const on_its_way = is_on_its_way(unit) && file.folder_name == preallocate_folder;
      if (on_its_way || file.folder_name == unit.folder_name) continue;
      add(storage_name(volume_.place) + "/" + file.folder_name, unit.name,
          file.folder_name + "/" + unit.name);
    }
  }

  void add(std::string const& folder_path, std::string const& name, std::string const& shown) {
    folder const in(volume_.place.path / folder_path);
    auto const status = in.status(name);
    if (!status || !S_ISREG(status->st_mode)) return;
    found_.push_back(
        {{&volume_, name, shown, status->st_dev, status->st_ino}, first_line(in, name)});
  }

  surveyed_volume const& volume_;
  std::vector<read_file> found_;
};

class search {
 public:
  explicit search(std::vector<surveyed_volume> const& volumes) {
    for (auto const& volume : volumes) {
      for (auto& each : loose_files(volume).take()) {
        (each.head ? by_head_[*each.head] : unreadable_[each.file.name])
            .push_back(std::move(each.file));
      }
    }
    if (by_head_.empty() && unreadable_.empty()) return;
    for (auto const& volume : volumes) {
      if (!volume.found.has_storage) continue;
      for (auto const& unit : volume.found.units) look_for(volume, unit);
    }
  }

  std::vector<displaced_unit> take() {
    for (auto& each : found_) {
      each.is_certain = each.is_certain && homes_.at(key_of(*each.unit)) == 1;
    }
    return std::move(found_);
  }

 private:
  using sorted_files = std::map<std::string, std::vector<loose_file>>;

  static std::vector<loose_file> files_in(sorted_files const& sorted, std::string const& key) {
    auto const found = sorted.find(key);
    return found == sorted.end() ? std::vector<loose_file>() : found->second;
  }

  static std::string key_of(unit_row const& unit) {
    return recording_head(unit.folder_name, unit.name);
  }

  void look_for(surveyed_volume const& home, unit_row const& unit) {
    if (unit.state != "recorded") return;
    auto files = files_in(by_head_, key_of(unit));
    auto const unread = files_in(unreadable_, unit.name);
    files.insert(files.end(), unread.begin(), unread.end());
    auto const* const in_place = file_in_place(home, unit);
    if (files.empty()) {
      if (in_place == nullptr) ++homes_[key_of(unit)];
    } else if (in_place != nullptr && holds_recording(home, unit)) {
      add_second_names(home, unit, *in_place, files);
    } else {
      ++homes_[key_of(unit)];
      bool const is_certain = in_place == nullptr && unread.empty() && are_it(files, home, unit);
      found_.push_back({&home, &unit, std::move(files), is_certain});
    }
  }

  // What a stop between the two steps of bringing a unit back leaves.
  void add_second_names(surveyed_volume const& home, unit_row const& unit,
                        unit_file const& in_place, std::vector<loose_file> files) {
    auto const is_no_second_name = [&](loose_file const& each) {
      return each.volume == &home || each.shown != in_its_folder(unit) ||
             each.device != in_place.device || each.number != in_place.number;
    };
    files.erase(std::remove_if(files.begin(), files.end(), is_no_second_name), files.end());
    if (files.empty()) return;
    ++homes_[key_of(unit)];
    found_.push_back({&home, &unit, std::move(files), true});
  }

  static unit_file const* file_in_place(surveyed_volume const& home, unit_row const& unit) {
    auto const& files = home.found.files_of(unit.name);
    auto const found = std::find_if(files.begin(), files.end(), [&](unit_file const& each) {
      return each.folder_name == unit.folder_name;
    });
    return found == files.end() ? nullptr : &*found;
  }

  static bool holds_recording(surveyed_volume const& home, unit_row const& unit) {
    folder const in(home.place.path / storage_name(home.place) / unit.folder_name);
    return first_line(in, unit.name) == key_of(unit);
  }

  static std::string in_its_folder(unit_row const& unit) {
    return unit.folder_name + "/" + unit.name;
  }

  static bool are_it(std::vector<loose_file> const& files, surveyed_volume const& home,
                     unit_row const& unit) {
    auto const& first = files.front();
    return std::all_of(files.begin(), files.end(), [&](loose_file const& each) {
      bool const bears_name =
          each.volume == &home ? each.name == unit.name : each.shown == in_its_folder(unit);
      return bears_name && each.device == first.device && each.number == first.number;
    });
  }

  sorted_files by_head_;
  sorted_files unreadable_;           // by name
  std::map<std::string, int> homes_;  // volumes that lack the unit that begins so
  std::vector<displaced_unit> found_;
};

}  // namespace

std::vector<displaced_unit> displaced_units(std::vector<surveyed_volume> const& volumes) {
  return search(volumes).take();
}

}  // namespace lab
