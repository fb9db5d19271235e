#include "lab/volume/scan.h"

#include <fcntl.h>
#include <unistd.h>

#include <unordered_set>
#include <utility>

#include "lab/util/error.h"
#include "lab/volume/layout.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

constexpr std::int64_t stat_block = 512;

class scanner {
 public:
  scanner(database const& catalogue, volume_place const& place) : place_(place) {
    found_.units = units_of(catalogue, place);
    names_.reserve(found_.units.size());
    found_.files.reserve(found_.units.size());
    for (auto const& unit : found_.units) {
      names_.insert(unit.name);
      folders_.insert(unit.folder_name);
    }
  }

  volume_scan look() {
    folder const volume = open_volume(place_);
    std::string const storage = storage_name(place_);
    for (auto const& name : volume.names()) {
      if (name == identity_file || name == storage || name == lost_folder) continue;
      add_entry(volume, "", name, name);
    }
    if (auto const inside = folder::find(volume, storage)) look_into_storage(*inside, storage);
    return std::move(found_);
  }

 private:
  void add_unknown(unknown_entry::kind what, std::string const& folder_path,
                   std::string const& name, std::string const& shown) {
    found_.unknown_entries.push_back({what, folder_path, name, shown});
  }

  void add_entry(folder const& in, std::string const& folder_path, std::string const& name,
                 std::string const& shown) {
    auto const status = in.status(name);
    bool const is_file = status && S_ISREG(status->st_mode);
    add_unknown(is_file ? unknown_entry::kind::file : unknown_entry::kind::other, folder_path, name,
                shown);
  }

  void look_into_storage(folder const& storage, std::string const& storage_path) {
    found_.has_storage = true;
    for (auto const& name : storage.names()) {
      auto const inside = folder::find(storage, name);
      if (!inside) {
        add_entry(storage, storage_path, name, name);
        continue;
      }
      bool const known = name == preallocate_folder || folders_.count(name) > 0;
      if (name == preallocate_folder) found_.has_preallocate = true;
      bool const holds_units = look_into(*inside, storage_path + "/" + name, name);
      if (!known && !holds_units) {
        add_unknown(unknown_entry::kind::empty_folder, storage_path, name, name);
      }
    }
  }

  // True when a file by a unit's name is in it.
  bool look_into(folder const& inside, std::string const& path, std::string const& folder_name) {
    bool holds_units = false;
    for (auto const& name : inside.names()) {
      auto const status = inside.status(name);
      if (!status) continue;
      if (!S_ISREG(status->st_mode) || names_.count(name) == 0) {
        add_entry(inside, path, name, std::string(folder_name).append("/").append(name));
        continue;
      }
      holds_units = true;
      found_.files[name].push_back({folder_name, status->st_size,
                                    std::int64_t{status->st_blocks} * stat_block,
                                    status->st_nlink});
    }
    return holds_units;
  }

  volume_place const& place_;
  volume_scan found_;
  std::unordered_set<std::string> names_;
  std::unordered_set<std::string> folders_;
};

}  // namespace

std::vector<unit_row> units_of(database const& catalogue, volume_place const& place) {
  statement query(catalogue,
                  "SELECT u.id, u.name, u.state, u.period_id IS NOT NULL,"
                  "       c.number, u.recording_type, u.stream, u.hour_ms"
                  "  FROM unit u LEFT JOIN channel c ON c.id = u.channel_id"
                  "  WHERE u.volume_id = ? ORDER BY u.id");
  query.with(place.id);
  std::vector<unit_row> units;
  while (query.next()) {
    unit_row unit{query.integer(0), unit_name_in(query, 1), unit_state_in(query, 2), "",
                  query.integer(3) != 0};
    if (unit.state == unit_state::free) {
      unit.folder_name = preallocate_folder;
    } else if (unit.state != unit_state::bad) {
      unit.folder_name = hour_folder_name(channel_number_in(query, 4), recording_type_in(query, 5),
                                          stream_in(query, 6), time_in(query, 7));
    }
    units.push_back(std::move(unit));
  }
  return units;
}

std::vector<unit_file> const& volume_scan::files_of(std::string const& unit_name) const {
  static std::vector<unit_file> const none;
  auto const found = files.find(unit_name);
  return found == files.end() ? none : found->second;
}

volume_scan scan(database const& catalogue, volume_place const& place) {
  auto found = scanner(catalogue, place).look();
  require_mounted(place);
  return found;
}

std::optional<std::string> beginning_of(folder const& in, std::string const& name,
                                        std::size_t bytes) {
  int const flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  descriptor const file(openat(in.number(), name.c_str(), flags));
  std::string text(bytes, '\0');
  ssize_t const size = file.number() < 0 ? -1 : pread(file.number(), text.data(), bytes, 0);
  if (size < 0) return std::nullopt;
  text.resize(static_cast<std::size_t>(size));
  return text;
}

}  // namespace lab
