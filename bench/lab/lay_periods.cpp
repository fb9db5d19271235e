// Makes the lists of a recorder long: lays so many days of hourly periods, ending
// when the recorder was made, straight into its catalogue, in five streams of each
// channel that records into a volume. The first hour of each day is without a
// storage id. No unit is of these periods; a list of st needs none.
//
//   lay_periods DIR DAYS
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "catalogue.h"

namespace {

constexpr long most_days = 3650;

constexpr char const* insertion =
    "WITH RECURSIVE hour(back) AS"
    "  (SELECT 24 * ?1 UNION ALL SELECT back - 1 FROM hour WHERE back > 1),"
    "  stream(number) AS (VALUES (0), (1), (2), (3), (4))"
    "INSERT INTO period (channel_id, recording_type, stream, start_ms, end_ms, storage_id)"
    "  SELECT a.channel_id, 4, number, (r.made_ms / 3600000 - back) * 3600000,"
    "         (r.made_ms / 3600000 - back + 1) * 3600000, iif(back % 24 = 0, '', v.sid_text)"
    "    FROM hour CROSS JOIN recorder r CROSS JOIN assignment a"
    "         CROSS JOIN volume v ON v.id = a.volume_id CROSS JOIN stream";

long long lay(std::string const& folder, long days) {
  auto const catalogue = bare::open_catalogue(folder, SQLITE_OPEN_READWRITE);
  bare::statement(catalogue, "PRAGMA journal_mode = PERSIST").next();
  bare::statement(catalogue, insertion).with({days}).next();
  return sqlite3_changes64(catalogue.get());
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: lay_periods DIR DAYS\n");
    return 2;
  }
  try {
    long const days = std::clamp(std::strtol(arguments[2], nullptr, 10), 1L, most_days);
    std::printf("%lld periods\n", lay(arguments[1], days));
  } catch (std::exception const& problem) {
    std::fprintf(stderr, "lay_periods: %s\n", problem.what());
    return 1;
  }
}
