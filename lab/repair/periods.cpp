#include <algorithm>
#include <cstdint>
#include <string>

#include "lab/check/catalogue_check.h"
#include "lab/repair/stages.h"

namespace lab {

namespace {

struct named_period {
  std::int64_t id;
  std::string name;
};

std::vector<named_period> periods_of(database const& catalogue, std::string const& rest) {
  statement query(catalogue,
                  "SELECT p.id, c.number, p.recording_type, p.stream, p.start_ms"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id " +
                      rest + " ORDER BY p.id");
  std::vector<named_period> found;
  while (query.next()) found.push_back({query.integer(0), name_of_period(query)});
  return found;
}

// But for those in whose hours a recorded unit of the stream lies: it may be theirs.
std::vector<named_period> periods_without_units(database const& catalogue) {
  return periods_of(catalogue,
                    "WHERE NOT EXISTS (SELECT 1 FROM unit u WHERE u.period_id = p.id)"
                    "  AND NOT EXISTS ("
                    "    SELECT 1 FROM unit u"
                    "      WHERE u.channel_id = p.channel_id"
                    "        AND u.recording_type = p.recording_type AND u.stream = p.stream"
                    "        AND u.state = 'recorded'"
                    "        AND u.hour_ms < p.end_ms AND u.hour_ms + 3600000 > p.start_ms)");
}

void tell(repair_report& report, std::vector<named_period> const& periods, char const* what) {
  for (auto const& each : periods) report.repaired.push_back(each.name + ": " + what);
}

}  // namespace

void give_ids(repair_work const& work) {
  auto const periods = periods_of(work.catalogue,
                                  "WHERE p.storage_id = '' AND 1 ="
                                  "  (SELECT count(DISTINCT u.volume_id) FROM unit u"
                                  "     WHERE u.period_id = p.id)");
  if (periods.empty()) return;
  transaction all(work.catalogue, transaction_kind::writing);
  statement give(work.catalogue,
                 "UPDATE period SET storage_id = (SELECT v.sid_text FROM volume v WHERE v.id ="
                 "    (SELECT u.volume_id FROM unit u WHERE u.period_id = period.id))"
                 "  WHERE id = ?");
  for (auto const& each : periods) give.with(each.id).run();
  all.commit();
  tell(work.report, periods, "has the storage id of its units' volume again");
}

bool give_up(repair_work const& work, std::vector<scanned_volume> const& volumes,
             findings const& found) {
  if (work.report.sets_aside) return false;
  if (std::any_of(found.begin(), found.end(), may_hide_a_recording)) return false;
  transaction all(work.catalogue, transaction_kind::writing);
  std::vector<std::string> given_up;
  for (auto const& volume : volumes) {
    require_mounted(volume.place);
    for (auto const& unit : volume.found.units) {
      if (unit.state != unit_state::recorded || !lacks_file(volume.found, unit)) continue;
      take_out_of_hour(work.catalogue, {unit.id}, unit_state::bad);
      given_up.push_back("volume " + volume.place.folder_name + ": unit " + unit.name +
                         " is given up and bad");
    }
  }
  auto const periods = periods_without_units(work.catalogue);
  if (given_up.empty() && periods.empty()) return false;
  statement drop(work.catalogue, "DELETE FROM period WHERE id = ?");
  for (auto const& each : periods) drop.with(each.id).run();
  all.commit();
  work.report.repaired.insert(work.report.repaired.end(), given_up.begin(), given_up.end());
  tell(work.report, periods, "dropped, as it has no unit");
  return true;
}

}  // namespace lab
