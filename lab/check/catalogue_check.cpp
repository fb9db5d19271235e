#include "lab/check/catalogue_check.h"

#include "lab/volume/layout.h"

namespace lab {

namespace {

void check_periods_without_units(database const& catalogue, findings& found) {
  statement query(catalogue,
                  "SELECT p.id, c.number, p.recording_type, p.stream, p.start_ms"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id"
                  "  WHERE NOT EXISTS (SELECT 1 FROM unit u WHERE u.period_id = p.id)"
                  "  ORDER BY p.id");
  while (query.next())
    found.push_back({finding_class::period, name_of_period(query), "its units are missing"});
}

void check_periods_of_other_storages(database const& catalogue, findings& found) {
  statement query(catalogue,
                  "SELECT DISTINCT p.id, c.number, p.recording_type, p.stream, p.start_ms,"
                  "       p.storage_id, v.folder"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id"
                  "                JOIN unit u ON u.period_id = p.id"
                  "                JOIN volume v ON v.id = u.volume_id"
                  "  WHERE p.storage_id NOT IN ('', v.sid_text) ORDER BY p.id");
  while (query.next()) {
    found.push_back(
        {finding_class::period, name_of_period(query),
         "its storage id is " + query.text(5) + ", its units are on volume " + query.text(6)});
  }
}

void check_units_of_other_periods(database const& catalogue, findings& found) {
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
    found.push_back({finding_class::period, name_of_period(query),
                     "holds unit " + query.text(5) + " of volume " + query.text(6) +
                         ", which is another stream's or hour's"});
  }
}

void check_periods_without_id(database const& catalogue, findings& found) {
  statement query(catalogue,
                  "SELECT p.id, c.number, p.recording_type, p.stream, p.start_ms"
                  "  FROM period p JOIN channel c ON c.id = p.channel_id"
                  "  WHERE p.storage_id = '' ORDER BY p.id");
  while (query.next()) {
    found.push_back({finding_class::null_id, name_of_period(query), "has no storage id"});
  }
}

}  // namespace

std::string name_of_period(statement const& row) {
  return "period " + row.text(0) + " " +
         hour_folder_name(row.integer32(1), row.integer32(2), row.integer32(3), row.integer(4));
}

void check_integrity(database const& catalogue, findings& found) {
  statement integrity(catalogue, "PRAGMA integrity_check");
  std::int64_t places = 0;
  while (integrity.next()) places += integrity.text(0) == "ok" ? 0 : 1;
  if (places > 0) {
    found.push_back(
        {finding_class::corrupt, "catalogue",
         "it is damaged in " + std::to_string(places) + (places == 1 ? " place" : " places")});
  }
  statement foreign_keys(catalogue, "PRAGMA foreign_key_check");
  while (foreign_keys.next()) {
    found.push_back({finding_class::corrupt, "catalogue",
                     "row " + foreign_keys.text(1) + " of " + foreign_keys.text(0) +
                         " refers to no " + foreign_keys.text(2)});
  }
}

bool is_sound(database const& catalogue) {
  findings damage;
  try {
    check_integrity(catalogue, damage);
  } catch (database_error const&) {
    return false;
  }
  return damage.empty();
}

void check_periods(database const& catalogue, findings& found) {
  check_periods_without_units(catalogue, found);
  check_periods_of_other_storages(catalogue, found);
  check_units_of_other_periods(catalogue, found);
  check_periods_without_id(catalogue, found);
}

}  // namespace lab
