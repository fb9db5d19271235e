// Mending a recorder as far as nothing has to be guessed.
#include <algorithm>
#include <limits>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "lab/catalogue/catalogue.h"
#include "lab/catalogue/journal.h"
#include "lab/check/catalogue_check.h"
#include "lab/check/check.h"
#include "lab/check/unknown_entries.h"
#include "lab/recorder/state.h"
#include "lab/repair/volume_repair.h"
#include "lab/volume/layout.h"
#include "lab/volume/place.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

using report = std::vector<std::string>;

struct locked_repair {
  volume_lock lock;
  volume_repair repair;
};

std::list<locked_repair> lock_mounted(database& catalogue, std::vector<volume_place> const& places,
                                      std::int64_t unit_mb, std::chrono::milliseconds patience,
                                      report& lines) {
  std::list<locked_repair> locked;
  for (auto const& place : places) {
    if (mount_of(place) != mount::present) continue;
    locked.push_back({volume_lock(place, volume_lock::kind::exclusive, patience),
                      volume_repair(catalogue, place, unit_mb, lines)});
  }
  return locked;
}

// Runs `operation` on the volume; a failure on one does not keep the others
// from being mended.
template <typename Operation>
bool attempt(volume_repair const& on, report& lines, Operation const& operation) {
  try {
    return operation();
  } catch (busy_error const&) {
    throw;
  } catch (error const& problem) {
    lines.push_back("left: volume " + on.place().folder_name + ": " + problem.what());
    return false;
  }
}

using repairs = std::vector<volume_repair*>;

std::vector<surveyed_volume> survey_all(database const& catalogue, repairs const& volumes) {
  std::vector<surveyed_volume> surveyed;
  surveyed.reserve(volumes.size());
  for (auto const* const each : volumes) {
    surveyed.push_back({each->place(), scan_storage(catalogue, each->place())});
  }
  return surveyed;
}

// Gives the volumes on which something can be done.
repairs finish_all_moves(std::list<locked_repair>& volumes, report& lines) {
  repairs reachable;
  for (auto& [lock, repair] : volumes) {
    auto& one = repair;
    if (attempt(one, lines, [&one] { return one.finish_moves(); })) reachable.push_back(&one);
  }
  return reachable;
}

void part_shared(database const& catalogue, repairs const& volumes, report& lines) {
  auto const surveyed = survey_all(catalogue, volumes);
  auto const repair_of = [&](surveyed_volume const* which) -> volume_repair& {
    return *volumes[static_cast<std::size_t>(which - surveyed.data())];
  };
  for (auto const& each : shared_units(surveyed)) {
    auto& volume = repair_of(each.volume);
    attempt(volume, lines, [&] {
      volume.part(each, repair_of(each.other_volume));
      return true;
    });
  }
}

void bring_displaced_back(database const& catalogue, repairs const& volumes) {
  auto const surveyed = survey_all(catalogue, volumes);
  auto const repair_of = [&](surveyed_volume const* which) -> volume_repair& {
    return *volumes[static_cast<std::size_t>(which - surveyed.data())];
  };
  for (auto const& each : displaced_units(surveyed)) {
    auto& home = repair_of(each.home);
    if (!each.is_certain) home.leave(each);
    for (auto const& file : each.files) {
      if (file.volume == nullptr) continue;
      auto& host = repair_of(file.volume);
      if (each.is_certain) {
        if (&host != &home) home.bring_back(*each.unit, host);
      } else if (file.where != position::below) {
        host.leave_alone(file.name);
      }
    }
  }
}

// Gives the ids of the volumes on which every unit has its place.
std::vector<std::int64_t> mend_volumes(repairs const& volumes, elsewhere others, report& lines) {
  std::vector<std::int64_t> settled;
  for (auto* const each : volumes) {
    bool const done = attempt(*each, lines, [each, others] {
      each->mend(others);
      return each->is_settled();
    });
    if (done) settled.push_back(each->place().id);
  }
  return settled;
}

constexpr std::int64_t any_volume = 0;

struct named_period {
  std::int64_t id;
  std::string name;
  std::int64_t volume_id;
};

std::vector<named_period> named_periods(statement& query) {
  std::vector<named_period> found;
  while (query.next()) found.push_back({query.integer(0), name_of_period(query), query.integer(5)});
  return found;
}

// Periods without a storage id, all of whose units are on one volume.
std::vector<named_period> attributable_periods(database const& catalogue) {
  statement query(catalogue,
                  "SELECT p.id, c.number, p.recording_type, p.stream, p.start_ms, min(u.volume_id)"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id"
                  "                JOIN unit u ON u.period_id = p.id"
                  "  WHERE p.storage_id = '' GROUP BY p.id"
                  "  HAVING min(u.volume_id) = max(u.volume_id) ORDER BY p.id");
  return named_periods(query);
}

bool holds(std::vector<std::int64_t> const& ids, std::int64_t id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

struct emptied_period {
  named_period known;
  std::set<std::string> hour_folders;
};

std::set<std::string> hour_folders_of(statement const& row, std::int64_t end_ms) {
  std::set<std::string> found;
  for (auto hour = hour_of(row.integer(4)); hour < end_ms; hour += hour_milliseconds) {
    found.insert(hour_folder_name(row.integer32(1), row.integer32(2), row.integer32(3), hour));
  }
  return found;
}

// Periods that have lost all their units on the volume that they name, or on any
// if they name none. Where units of the stream without a period lie in its hours,
// those may be its own.
std::vector<emptied_period> emptied_periods(database const& catalogue) {
  statement query(catalogue,
                  "SELECT p.id, c.number, p.recording_type, p.stream, p.start_ms,"
                  "       coalesce(v.id, 0), p.end_ms"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id"
                  "                LEFT JOIN volume v ON v.sid_text = p.storage_id"
                  "  WHERE (v.id IS NOT NULL OR p.storage_id = '')"
                  "    AND NOT EXISTS (SELECT 1 FROM unit u WHERE u.period_id = p.id)"
                  "    AND NOT EXISTS ("
                  "      SELECT 1 FROM unit u"
                  "        WHERE u.channel_id = p.channel_id"
                  "          AND u.recording_type = p.recording_type AND u.stream = p.stream"
                  "          AND u.period_id IS NULL"
                  "          AND u.hour_ms < p.end_ms AND u.hour_ms + 3600000 > p.start_ms)"
                  "  ORDER BY p.id");
  std::vector<emptied_period> found;
  while (query.next()) {
    if (!is_plausible_period(query.integer(4), query.integer(6))) continue;
    found.push_back({{query.integer(0), name_of_period(query), query.integer(5)},
                     hour_folders_of(query, query.integer(6))});
  }
  return found;
}

// The first loose file that begins as a recording of each hour folder, and the
// first one that cannot be read, which may be of any.
struct loose_hours {
  std::map<std::string, loose_file> by_folder;
  std::optional<loose_file> unreadable;
};

loose_hours hours_of(std::vector<loose_recording> const& loose) {
  loose_hours found;
  for (auto const& each : loose) {
    if (each.hour_folder) {
      found.by_folder.emplace(*each.hour_folder, each.file);
    } else if (!found.unreadable) {
      found.unreadable = each.file;
    }
  }
  return found;
}

// What of a period may be left, as text; empty when nothing is.
std::string remains_of(emptied_period const& period, loose_hours const& loose) {
  for (auto const& hour_folder : period.hour_folders) {
    auto const found = loose.by_folder.find(hour_folder);
    if (found == loose.by_folder.end()) continue;
    return path_of(found->second) + " begins as a recording of its hours";
  }
  if (!loose.unreadable) return {};
  return path_of(*loose.unreadable) + " may be a recording of its hours, and cannot be read";
}

// Those of the periods of which nothing is left anywhere, once the units of their
// volumes are settled. A file that begins as a recording of their hours may be
// theirs, wherever it lies.
std::vector<named_period> lost_periods(database const& catalogue, repairs const& volumes,
                                       std::vector<std::int64_t> const& settled, report& lines) {
  auto const emptied = emptied_periods(catalogue);
  if (emptied.empty()) return {};
  auto const surveyed = survey_all(catalogue, volumes);
  auto const loose = hours_of(loose_recordings(surveyed));
  auto const is_settled = [&](std::int64_t volume_id) {
    return volume_id == any_volume ? settled.size() == volumes.size() : holds(settled, volume_id);
  };
  std::vector<named_period> lost;
  for (auto const& period : emptied) {
    auto const remains = remains_of(period, loose);
    if (!remains.empty()) {
      lines.push_back("left: " + period.known.name + ": " + remains);
    } else if (is_settled(period.known.volume_id)) {
      lost.push_back(period.known);
    }
  }
  return lost;
}

// Gives periods their storage ids back, and drops those that are lost.
void mend_periods(database& catalogue, std::vector<named_period> const& lost,
                  std::vector<std::int64_t> const& settled, report& lines) {
  report done;
  transaction all(catalogue, transaction_kind::writing);
  statement attribute(catalogue,
                      "UPDATE period SET storage_id = (SELECT sid_text FROM volume WHERE id = ?)"
                      "  WHERE id = ?");
  for (auto const& each : attributable_periods(catalogue)) {
    if (!holds(settled, each.volume_id)) continue;
    attribute.with(each.volume_id, each.id).run();
    done.push_back("mended: " + each.name + ": has the storage id of its units' volume again");
  }
  statement drop(catalogue, "DELETE FROM period WHERE id = ?");
  for (auto const& each : lost) {
    drop.with(each.id).run();
    done.push_back("mended: " + each.name + ": dropped, as nothing of it is left");
  }
  if (done.empty()) return;
  all.commit();
  lines.insert(lines.end(), done.begin(), done.end());
}

// Streams with leaked units on the volume. Where one lies in the hours of a
// period without units, of whichever volume, it may be the period's.
std::vector<stream> leaked_streams(database const& catalogue, std::int64_t volume_id) {
  statement query(catalogue,
                  "SELECT u.channel_id, u.recording_type, u.stream FROM unit u"
                  "  WHERE u.volume_id = ? AND u.state = 'recorded' AND u.period_id IS NULL"
                  "  GROUP BY u.channel_id, u.recording_type, u.stream"
                  "  HAVING NOT max(EXISTS ("
                  "    SELECT 1 FROM period p"
                  "      WHERE p.channel_id = u.channel_id"
                  "        AND p.recording_type = u.recording_type AND p.stream = u.stream"
                  "        AND p.start_ms < u.hour_ms + 3600000 AND p.end_ms > u.hour_ms"
                  "        AND NOT EXISTS (SELECT 1 FROM unit h WHERE h.period_id = p.id)))"
                  "  ORDER BY min(u.id)");
  query.with(volume_id);
  std::vector<stream> found;
  while (query.next()) found.push_back({query.integer(0), query.integer32(1), query.integer32(2)});
  return found;
}

// Why what check() still finds of a class was left alone.
char const* reason_for(std::string const& finding, std::string const& place) {
  if (finding == "unknown" && place == "recorder")
    return "it belongs to no volume of this recorder";
  if (place == "catalogue" && finding != "corrupt") return "it could not be put back";
  if (finding == "not-mounted") return "nothing on it is touched";
  if (finding == "corrupt") return "nothing is moved by a catalogue that is damaged";
  if (finding == "period") return "which side is right cannot be told";
  if (finding == "leak")
    return "a period is known in its hour, or units of its volume are not settled";
  if (finding == "null-id") return "its volume cannot be told, or units of it are not settled";
  return nullptr;
}

void explain(report const& findings, report& lines) {
  for (auto const& line : findings) {
    auto const end = line.find(": ");
    auto const what = line.substr(end + 2);
    char const* const reason = reason_for(line.substr(0, end), what.substr(0, what.find(": ")));
    if (reason != nullptr) lines.push_back("left: " + what + ": " + reason);
  }
}

bool is_sound(database const& catalogue) {
  report damage;
  try {
    check_integrity(catalogue, damage);
  } catch (database_error const&) {
    return false;
  }
  return damage.empty();
}

void repair_all(recorder& which, report& lines) {
  auto& state = which.inside();
  auto& catalogue = state.catalogue;
  std::vector<std::int64_t> settled;
  {
    auto const places = places_of(catalogue, state.folder);
    auto locked = lock_mounted(catalogue, places, state.unit_mb, state.lock_timeout, lines);
    auto const volumes = finish_all_moves(locked, lines);
    part_shared(catalogue, volumes, lines);
    bring_displaced_back(catalogue, volumes);
    auto others = elsewhere::all_seen;
    if (!strangers_beside_volumes(state.folder, places).empty()) {
      others = elsewhere::something_beside;
    }
    if (volumes.size() < places.size()) others = elsewhere::some_unseen;
    settled = mend_volumes(volumes, others, lines);
    std::vector<named_period> lost;
    if (others == elsewhere::all_seen) lost = lost_periods(catalogue, volumes, settled, lines);
    mend_periods(catalogue, lost, settled, lines);
  }
  span const always{std::numeric_limits<std::int64_t>::min(),
                    std::numeric_limits<std::int64_t>::max()};
  for (auto const volume_id : settled) {
    for (auto const& of : leaked_streams(catalogue, volume_id)) {
      auto const units = which.recycle(volume_id, of, always);
      if (units == 0) continue;
      auto const place = place_of(catalogue, state.folder, volume_id);
      lines.push_back("mended: volume " + place.folder_name + ": leaked units of channel " +
                      std::to_string(channel_number(catalogue, of.channel_id)) +
                      " that are back in preallocate: " + std::to_string(units));
    }
  }
}

}  // namespace

// The catalogue is opened for writing without finishing moves first, so that
// this, too, is told.
std::vector<std::string> repair(std::filesystem::path const& folder) {
  auto opened = recorder::open(folder, access::read_only);
  bool const lacked_journal = journal_problem(opened.inside().catalogue).has_value();
  opened.inside().catalogue = open_catalogue(opened.folder(), access::read_write);
  report lines;
  if (lacked_journal && !journal_problem(opened.inside().catalogue)) {
    lines.emplace_back("mended: catalogue: its journal was put back");
  }
  try {
    if (is_sound(opened.inside().catalogue)) repair_all(opened, lines);
    explain(check(opened), lines);
  } catch (error const& problem) {
    if (lines.empty()) throw;
    lines.push_back(std::string("left: all that was not reached: ") + problem.what());
  }
  return lines;
}

}  // namespace lab
