#include "lab/check/orphans.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

#include "lab/recorder/state.h"
#include "lab/util/error.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"

namespace lab {

std::string path_of(loose_file const& file) {
  if (file.volume == nullptr) return file.shown;
  return file.volume->place.folder_name + "/" + file.shown;
}

namespace {

constexpr std::size_t longest_head = 256;
constexpr std::ptrdiff_t deepest_nesting = 100;

struct read_file {
  loose_file file;
  std::optional<std::string> head;  // its first line; none when it cannot be read
};

std::optional<std::string> first_line(folder const& in, std::string const& name) {
  auto text = beginning_of(in, name, longest_head);
  if (text) text->resize(std::min(text->size(), text->find('\n') + 1));
  return text;
}

// What is looked at of units' files. Looking at those that lie in units' places
// takes long.
enum class scope { out_of_place, all };

// What lies in a volume, or in lost+found of the recorder's own folders, and is
// not the recording that belongs where it lies.
class loose_files {
 public:
  loose_files(surveyed_volume const& volume, scope which) : volume_(&volume) {
    for (auto const& unit : volume.found.units) {
      for (auto const& file : volume.found.files_of(unit.name)) add(unit, file, which);
    }
    for (auto const& each : volume.found.unknown_entries) {
      if (each.what != unknown_entry::kind::entry) continue;
      bool const in_unit_folder = each.folder_path.find('/') != std::string::npos;
      add_any(open_volume(volume.place).below(each.folder_path), each.name, each.shown,
              in_unit_folder ? position::unit_folder : position::beside);
    }
    add_any(open_volume(volume.place), lost_folder, lost_folder, position::below);
    // What was not found may lie on it, if it was taken away meanwhile.
    require_mounted(volume.place);
  }

  explicit loose_files(std::filesystem::path const& recorder_folder) {
    folder const recorder(recorder_folder);
    add_any(recorder, lost_folder, lost_folder, position::below);
    if (auto const share = folder::find(recorder, share_folder)) {
      add_any(*share, lost_folder, std::string(share_folder) + "/" + lost_folder, position::below);
    }
  }

  std::vector<read_file> take() { return std::move(found_); }

 private:
  void add(unit_row const& unit, unit_file const& file, scope which) {
    bool const in_place = file.folder_name == unit.folder_name ||
                          (is_in_transit(unit.state) && file.folder_name == preallocate_folder);
    if (in_place && which == scope::out_of_place) return;
    folder const in(open_storage(volume_->place), file.folder_name);
    auto head = first_line(in, unit.name);
    if (in_place && unit.state == unit_state::recorded &&
        head == recording_head(file.folder_name, unit.name))
      return;
    found_.push_back(
        {{volume_, unit.name, file.folder_name + "/" + unit.name,
          in_place ? position::in_place : position::unit_folder, file.device, file.number},
         std::move(head)});
  }

  // Folders with all that is in them, links not followed.
  void add_any(folder const& in, std::string const& name, std::string const& shown,
               position where) {
    auto const status = in.status(name);
    if (!status) return;
    if (S_ISDIR(status->st_mode)) {
      add_all_in(in, name, shown);
      return;
    }
    found_.push_back({{volume_, name, shown, where, status->st_dev, status->st_ino},
                      S_ISREG(status->st_mode) ? first_line(in, name) : std::nullopt});
  }

  // A folder that cannot be read, or lies too deep to be, may hold anything.
  void add_all_in(folder const& parent, std::string const& name, std::string const& shown) {
    try {
      if (std::count(shown.begin(), shown.end(), '/') > deepest_nesting) throw error("too deep");
      auto const inside = folder::find(parent, name);
      if (!inside) return;
      for (auto const& each : inside->names()) {
        add_any(*inside, each, shown + "/" + each, position::below);
      }
    } catch (error const&) {
      found_.push_back({{volume_, name, shown, position::below, 0, 0}, std::nullopt});
    }
  }

  surveyed_volume const* volume_ = nullptr;
  std::vector<read_file> found_;
};

std::vector<read_file> all_loose_files(std::vector<surveyed_volume> const& volumes, scope which) {
  if (volumes.empty()) return {};
  auto const share = volumes.front().place.path.parent_path();
  auto all = loose_files(share.parent_path()).take();
  for (auto const& volume : volumes) {
    auto found = loose_files(volume, which).take();
    std::move(found.begin(), found.end(), std::back_inserter(all));
  }
  return all;
}

unit_file const* file_in_place(surveyed_volume const& home, unit_row const& unit) {
  auto const& files = home.found.files_of(unit.name);
  auto const found = std::find_if(files.begin(), files.end(), [&](unit_file const& each) {
    return each.folder_name == unit.folder_name;
  });
  return found == files.end() ? nullptr : &*found;
}

// Where a recording is not in its place, it may be in another one's.
scope needed_scope(std::vector<surveyed_volume> const& volumes) {
  for (auto const& volume : volumes) {
    if (!volume.found.has_storage) continue;
    for (auto const& unit : volume.found.units) {
      if (unit.state == unit_state::recorded && file_in_place(volume, unit) == nullptr)
        return scope::all;
    }
  }
  return scope::out_of_place;
}

class search {
 public:
  explicit search(std::vector<surveyed_volume> const& volumes) {
    for (auto& each : all_loose_files(volumes, needed_scope(volumes))) {
      if (!each.head) take_as_doubt(each.file);
      (each.head ? by_head_[*each.head] : unreadable_[each.file.name])
          .push_back(std::move(each.file));
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

  void take_as_doubt(loose_file const& file) {
    if (!doubt_ || doubt_->where == position::in_place) doubt_ = file;
  }

  static std::string key_of(unit_row const& unit) {
    return recording_head(unit.folder_name, unit.name);
  }

  void look_for(surveyed_volume const& home, unit_row const& unit) {
    if (unit.state != unit_state::recorded) return;
    auto files = files_in(by_head_, key_of(unit));
    auto unread = files_in(unreadable_, unit.name);
    if (unread.empty() && doubt_) unread.push_back(*doubt_);
    files.insert(files.end(), unread.begin(), unread.end());
    auto const* const in_place = file_in_place(home, unit);
    if (in_place != nullptr) remove_those_in_place(files);
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

  // Whether recordings have changed their places is not looked at.
  static void remove_those_in_place(std::vector<loose_file>& files) {
    files.erase(
        std::remove_if(files.begin(), files.end(),
                       [](loose_file const& each) { return each.where == position::in_place; }),
        files.end());
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

  static bool holds_recording(surveyed_volume const& home, unit_row const& unit) {
    folder const in(open_storage(home.place), unit.folder_name);
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
      return bears_name && each.where == position::unit_folder && each.device == first.device &&
             each.number == first.number;
    });
  }

  sorted_files by_head_;
  sorted_files unreadable_;           // by name
  std::optional<loose_file> doubt_;   // one of those, out of place if there is such a one
  std::map<std::string, int> homes_;  // volumes that lack the unit that begins so
  std::vector<displaced_unit> found_;
};

}  // namespace

std::vector<displaced_unit> displaced_units(std::vector<surveyed_volume> const& volumes) {
  return search(volumes).take();
}

std::vector<loose_recording> loose_recordings(std::vector<surveyed_volume> const& volumes) {
  std::vector<loose_recording> found;
  for (auto& each : all_loose_files(volumes, scope::all)) {
    if (each.head) each.head->resize(std::min(each.head->size(), each.head->find('/')));
    found.push_back({std::move(each.file), std::move(each.head)});
  }
  return found;
}

}  // namespace lab
