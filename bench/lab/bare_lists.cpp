// Asks a recorder's catalogue what a list of st is made of, in the plainest SQL,
// each statement prepared once and all in one transaction, and prints the rows.
//
//   bare_lists DIR spacelist|vollist|nullid|spaceinfo|spacechannels|volclean
//
// nullid        the periods of streams 1 to 4, of which those without an id are printed
// spaceinfo     of the first space, with the days and sizes of each of its channels
// spacechannels of the first space: its channels
// volclean      the earliest period of the last 30 days, stream by stream
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "catalogue.h"

namespace {

using bare::connection;
using bare::statement;

constexpr int normal = 4;
constexpr int alarm = 1;
constexpr std::int64_t day_ms = 86'400'000;

std::int64_t now_ms() { return std::int64_t{std::time(nullptr)} * 1000; }

void list_spaces(connection const& catalogue) {
  statement spaces(catalogue,
                   "SELECT s.sid, s.name, s.status, s.spare_state, count(u.id),"
                   "       count(u.period_id)"
                   "         + count(u.id) FILTER (WHERE u.state IN ('recording', 'recycling'))"
                   "  FROM space s LEFT JOIN volume v ON v.space_id = s.id"
                   "               LEFT JOIN unit u ON u.volume_id = v.id"
                   "  GROUP BY s.id ORDER BY s.id");
  while (spaces.next()) {
    std::printf("%s %s %lld %lld %lld %lld\n", spaces.text(0), spaces.text(1), spaces.integer(2),
                spaces.integer(3), spaces.integer(4), spaces.integer(5));
  }
}

void list_volumes(connection const& catalogue) {
  statement volumes(catalogue,
                    "SELECT v.name, v.folder, v.sid_text, v.type, v.state, count(u.id),"
                    "       count(u.period_id)"
                    "         + count(u.id) FILTER (WHERE u.state IN ('recording', 'recycling'))"
                    "  FROM volume v LEFT JOIN unit u ON u.volume_id = v.id"
                    "  GROUP BY v.id ORDER BY v.id");
  while (volumes.next()) {
    std::printf("%s %s %s %lld %lld %lld %lld\n", volumes.text(0), volumes.text(1), volumes.text(2),
                volumes.integer(3), volumes.integer(4), volumes.integer(5), volumes.integer(6));
  }
}

std::vector<std::int64_t> ids(statement& query) {
  std::vector<std::int64_t> found;
  while (query.next()) found.push_back(query.integer(0));
  return found;
}

std::vector<std::int64_t> channels(connection const& catalogue) {
  statement query(catalogue, "SELECT id FROM channel ORDER BY id");
  return ids(query);
}

void list_periods_without_id(connection const& catalogue) {
  statement periods(catalogue,
                    "SELECT start_ms, end_ms, storage_id FROM period"
                    "  WHERE channel_id = ? AND recording_type = ? AND stream = ?"
                    "    AND start_ms <= ? AND end_ms > 0 ORDER BY start_ms");
  for (auto const channel : channels(catalogue)) {
    for (int const type : {normal, alarm}) {
      for (int stream = 1; stream < 5; ++stream) {
        periods.with({channel, type, stream, now_ms()});
        while (periods.next()) {
          if (*periods.text(2) != '\0') continue;
          std::printf("%lld %d S%02d %lld-%lld\n", static_cast<long long>(channel), type, stream,
                      periods.integer(0), periods.integer(1));
        }
      }
    }
  }
}

// The days of rows in the order of their starts.
void print_days(statement& starts) {
  std::array<char, 16> last{};
  while (starts.next()) {
    auto const seconds = static_cast<std::time_t>(starts.integer(0) / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 16> day{};
    std::strftime(day.data(), day.size(), "%Y-%m-%d", &local);
    if (std::strcmp(day.data(), last.data()) != 0) std::printf("%s\n", day.data());
    last = day;
  }
}

constexpr char const* pairings_query =
    "SELECT channel_id, storage_id, min(p.id)"
    "  FROM period p JOIN volume v ON v.sid_text = p.storage_id"
    "  WHERE v.space_id = 1 GROUP BY channel_id, storage_id ORDER BY 3";

void list_space(connection const& catalogue) {
  statement pairings(catalogue, pairings_query);
  statement starts(catalogue,
                   "SELECT start_ms FROM period WHERE channel_id = ? AND recording_type = ?"
                   "    AND storage_id <> '' ORDER BY start_ms");
  statement size(catalogue,
                 "SELECT count(*) FROM period p JOIN volume v ON v.sid_text = p.storage_id"
                 "                              JOIN unit u ON u.period_id = p.id"
                 "  WHERE v.space_id = 1 AND p.channel_id = ?1"
                 "    AND (?2 = 0 OR p.recording_type = ?2)");
  std::map<long long, std::vector<std::string>> storage_ids;
  while (pairings.next()) storage_ids[pairings.integer(0)].emplace_back(pairings.text(1));
  for (auto const& [channel, ids] : storage_ids) {
    std::printf("channel %lld:\n", channel);
    for (auto const& id : ids) std::printf("%s\n", id.c_str());
    for (int const type : {normal, alarm}) print_days(starts.with({channel, type}));
    for (int const type : {normal, alarm, 0}) {
      if (size.with({channel, type}).next()) std::printf("%lld\n", size.integer(0));
    }
  }
}

void list_space_channels(connection const& catalogue) {
  statement query(catalogue,
                  "SELECT DISTINCT c.id, c.number, c.sid"
                  "  FROM period p JOIN volume v ON v.sid_text = p.storage_id"
                  "                JOIN channel c ON c.id = p.channel_id"
                  "  WHERE v.space_id = 1 ORDER BY c.id");
  while (query.next()) std::printf("%lld %s\n", query.integer(1), query.text(2));
}

void list_earliest_periods(connection const& catalogue) {
  statement periods(catalogue,
                    "SELECT start_ms, end_ms, storage_id FROM period"
                    "  WHERE channel_id = ? AND recording_type = ? AND stream = ?"
                    "    AND start_ms <= ? AND end_ms > ?");
  for (auto const channel : channels(catalogue)) {
    for (int const type : {normal, alarm}) {
      for (int stream = 0; stream < 5; ++stream) {
        auto const now = now_ms();
        std::int64_t earliest = now;
        periods.with({channel, type, stream, now, now - 30 * day_ms});
        while (periods.next()) earliest = std::min<std::int64_t>(earliest, periods.integer(0));
        std::printf("%lld %d S%02d %lld\n", static_cast<long long>(channel), type, stream,
                    static_cast<long long>(earliest));
      }
    }
  }
}

struct list {
  char const* name;
  void (*print)(connection const& catalogue);
};

constexpr std::array lists{list{"spacelist", list_spaces},
                           list{"vollist", list_volumes},
                           list{"nullid", list_periods_without_id},
                           list{"spaceinfo", list_space},
                           list{"spacechannels", list_space_channels},
                           list{"volclean", list_earliest_periods}};

int print(std::string const& folder, std::string const& name) {
  for (auto const& each : lists) {
    if (name != each.name) continue;
    auto const catalogue = bare::open_catalogue(folder, SQLITE_OPEN_READONLY);
    statement(catalogue, "BEGIN").next();
    each.print(catalogue);
    return 0;
  }
  std::fprintf(stderr, "bare_lists: there is no list %s\n", name.c_str());
  return 2;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: bare_lists DIR LIST\n");
    return 2;
  }
  try {
    return print(arguments[1], arguments[2]);
  } catch (std::exception const& problem) {
    std::fprintf(stderr, "bare_lists: %s\n", problem.what());
    return 1;
  }
}
