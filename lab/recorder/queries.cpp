// What a recorder answers: all of it from the catalogue, in insertion order.
#include <algorithm>
#include <ctime>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "lab/recorder/state.h"
#include "lab/util/calendar.h"
#include "lab/volume/layout.h"
#include "lab/volume/place.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

constexpr char const* spaces_query =
    "SELECT s.id, s.sid, s.name, s.uuid, s.status, s.spare_state,"
    "       count(u.id),"
    "       count(u.period_id) + count(u.id) FILTER (WHERE u.state IN ('recording', 'recycling'))"
    "  FROM space s LEFT JOIN volume v ON v.space_id = s.id"
    "               LEFT JOIN unit u ON u.volume_id = v.id"
    "  GROUP BY s.id ORDER BY s.id";

// Counting units takes longer than all the rest.
std::string volumes_query(char const* which, volume_sizes sizes = volume_sizes::counted) {
  bool const counts = sizes == volume_sizes::counted;
  return std::string(
             "SELECT v.id, v.space_id, s.uuid, v.sid_number, v.sid_text, v.name, v.type, v.state,"
             "       v.volume_no, v.folder,") +
         (counts ? " count(u.id), count(u.period_id)"
                   "   + count(u.id) FILTER (WHERE u.state IN ('recording', 'recycling'))"
                 : " 0, 0") +
         "  FROM volume v JOIN space s ON s.id = v.space_id " +
         (counts ? "LEFT JOIN unit u ON u.volume_id = v.id " : "") + which +
         (counts ? " GROUP BY v.id" : "") + " ORDER BY v.id";
}

std::string periods_query(char const* which) {
  return std::string(
             "SELECT p.id, p.channel_id, p.recording_type, p.stream, p.start_ms, p.end_ms,"
             "       p.storage_id"
             "  FROM period p ") +
         which;
}

constexpr char const* account_query =
    "SELECT count(*),"
    "       count(period_id),"
    "       count(*) FILTER (WHERE state IN ('recording', 'recycling')),"
    "       count(*) FILTER (WHERE state = 'free'),"
    "       count(*) FILTER (WHERE state = 'bad' OR (state = 'recorded' AND period_id IS NULL))"
    "  FROM unit WHERE volume_id = ?";

constexpr char const* unit_groups_query =
    "SELECT u.volume_id, u.state, u.channel_id IS NOT NULL, u.channel_id, u.recording_type,"
    "       u.stream, u.hour_ms, u.period_id IS NOT NULL, u.period_id, p.storage_id <> '', count(*)"
    "  FROM unit u LEFT JOIN period p ON p.id = u.period_id"
    "  GROUP BY u.volume_id, u.state, u.channel_id, u.recording_type, u.stream, u.hour_ms,"
    "           u.period_id"
    "  ORDER BY u.channel_id, u.recording_type DESC, u.stream, u.hour_ms, u.volume_id,"
    "           u.period_id, u.state";

// Attributes recordings to spaces by the storage ids of their periods, for
// pairings, channels and sizes alike, so that they never disagree.
// In the order of the periods, so that nothing needs to be sorted: they can be
// millions.
constexpr char const* pairings_query =
    "SELECT channel_id, storage_id FROM period"
    "  WHERE storage_id IN (SELECT sid_text FROM volume WHERE space_id = ?) ORDER BY id";

constexpr char const* space_channels_query =
    "SELECT c.id, c.number, c.sid FROM channel c"
    "  WHERE EXISTS (SELECT 1 FROM period p JOIN volume v ON v.sid_text = p.storage_id"
    "                  WHERE p.channel_id = c.id AND v.space_id = ?)"
    "  ORDER BY c.id";

constexpr char const* leaked_hour_query =
    "SELECT hour_ms FROM unit"
    "  WHERE channel_id = ? AND recording_type = ? AND stream = ?"
    "    AND state = 'recorded' AND period_id IS NULL"
    "  ORDER BY hour_ms DESC LIMIT 1";

constexpr char const* recorded_query =
    "SELECT count(*)"
    "  FROM period p JOIN volume v ON v.sid_text = p.storage_id"
    "                JOIN unit u ON u.period_id = p.id"
    "  WHERE v.space_id = ?1 AND p.channel_id = ?2 AND (?3 IS NULL OR p.recording_type = ?3)";

// Where nothing can lie: what is behind a link is nobody's to measure.
constexpr char const* nowhere = "/dev/null";

std::int32_t state_without_mount(std::int32_t state) {
  bool const stands_by = state == standby_state || state == standby_not_mounted_state;
  return stands_by ? standby_not_mounted_state : not_mounted_state;
}

std::vector<channel> channels_in(statement& query) {
  std::vector<channel> found;
  while (query.next())
    found.push_back({query.integer(0), channel_number_in(query, 1), text_in(query, 2)});
  return found;
}

struct period_bounds {
  std::int64_t start_ms;
  std::int64_t end_ms;
};

// The two columns from `column` on.
period_bounds bounds_in(statement const& row, int column) {
  period_bounds const found{row.integer(column), row.integer(column + 1)};
  if (!is_plausible_period(found.start_ms, found.end_ms)) {
    throw error("catalogue: a period has times that no period has");
  }
  return found;
}

// The numbers of the volumes with storage ids. Periods that follow each other mostly
// have the same one.
class storage_numbers {
 public:
  explicit storage_numbers(database const& catalogue)
      : query_(catalogue, "SELECT sid_number FROM volume WHERE sid_text = ?") {}

  std::int32_t of(std::string const& storage_id) {
    if (storage_id.empty()) return 0;
    if (storage_id != last_id_) {
      last_number_ = query_.with(storage_id).next() ? query_.integer32(0) : -1;
      last_id_ = storage_id;
    }
    return last_number_;
  }

 private:
  statement query_;
  std::string last_id_;
  std::int32_t last_number_ = -1;
};

// In the order of their ids. Sorted here, as they mostly come in it.
std::vector<period> periods_in(database const& catalogue, statement& query) {
  std::vector<period> found;
  storage_numbers numbers(catalogue);
  while (query.next()) {
    auto const [start_ms, end_ms] = bounds_in(query, 4);
    auto storage_id = text_in(query, 6);
    auto const number = numbers.of(storage_id);
    found.push_back({query.integer(0), query.integer(1), recording_type_in(query, 2),
                     stream_in(query, 3), start_ms, end_ms, std::move(storage_id), number});
  }
  auto const is_before = [](period const& left, period const& right) { return left.id < right.id; };
  if (!std::is_sorted(found.begin(), found.end(), is_before)) {
    std::sort(found.begin(), found.end(), is_before);
  }
  return found;
}

std::tm local_time(std::int64_t time_ms) {
  std::optional<std::tm> const local = local_time_of(time_ms);
  if (!local) throw error("a time is out of range");
  return *local;
}

std::string date_text(std::tm const& local) {
  char text[64];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d", &local)};
}

// The date so many days behind that of `from`, told by its noon: a day that the
// time zone left out has none, and is its neighbour then.
std::string date_after(std::tm const& from, int days) {
  std::tm noon{};
  noon.tm_year = from.tm_year;
  noon.tm_mon = from.tm_mon;
  noon.tm_mday = from.tm_mday + days;
  noon.tm_hour = 12;
  noon.tm_isdst = -1;
  if (std::mktime(&noon) == -1) throw error("a time is out of range");
  return date_text(noon);
}

void add_local_dates(period_bounds const& bounds, std::set<std::string>& dates) {
  auto const first = local_time(bounds.start_ms);
  auto const last = date_text(local_time(bounds.end_ms - 1));
  auto date = date_text(first);
  for (int days = 1; date < last; ++days) {
    dates.insert(date);
    date = date_after(first, days);
  }
  dates.insert(last);
}

std::set<std::string> beginnings(std::vector<std::string> const& storage_ids) {
  std::set<std::string> texts;
  for (auto const& id : storage_ids) texts.insert(id.substr(0, 31));
  texts.erase(std::string());
  return texts;
}

}  // namespace

std::int32_t channel_number(database const& catalogue, std::int64_t channel_id) {
  statement query(catalogue, "SELECT number FROM channel WHERE id = ?");
  if (!query.with(channel_id).next()) {
    throw error("there is no channel with id " + std::to_string(channel_id));
  }
  return channel_number_in(query, 0);
}

std::vector<space> recorder::spaces() const {
  statement query(state_->catalogue, spaces_query);
  std::vector<space> found;
  while (query.next()) {
    found.push_back({query.integer(0), text_in(query, 1), text_in(query, 2), text_in(query, 3),
                     query.integer32(4), query.integer32(5), query.integer(6) * unit_mb(),
                     query.integer(7) * unit_mb()});
  }
  return found;
}

std::optional<std::int64_t> recorder::space_with(std::string const& sid) const {
  statement query(state_->catalogue, "SELECT id FROM space WHERE sid = ?");
  if (!query.with(sid).next()) return std::nullopt;
  return query.integer(0);
}

bool is_mounted(volume const& which) {
  return which.state != not_mounted_state && which.state != standby_not_mounted_state;
}

std::vector<volume> recorder::volumes() const {
  statement query(state_->catalogue, volumes_query(""));
  return volumes_in(query);
}

std::vector<volume> recorder::volumes(std::int64_t space_id, volume_sizes sizes) const {
  statement query(state_->catalogue, volumes_query("WHERE v.space_id = ?", sizes));
  return volumes_in(query.with(space_id));
}

std::optional<volume> recorder::volume_with(std::string const& sid_text, volume_sizes sizes) const {
  statement query(state_->catalogue, volumes_query("WHERE v.sid_text = ?", sizes));
  auto found = volumes_in(query.with(sid_text));
  if (found.empty()) return std::nullopt;
  return std::move(found.front());
}

std::vector<volume> recorder::volumes_in(statement& query) const {
  std::vector<volume> found;
  while (query.next()) {
    std::string const folder_name = volume_folder_in(query, 9);
    volume one{query.integer(0),
               query.integer(1),
               text_in(query, 2),
               query.integer32(3),
               storage_id_in(query, 4),
               text_in(query, 5),
               query.integer32(6),
               query.integer32(7),
               query.integer32(8),
               state_->folder / share_folder / folder_name,
               query.integer(10) * unit_mb(),
               query.integer(11) * unit_mb()};
    auto const found_as = mount_of({one.id, folder_name, one.sid_text, one.path});
    if (found_as != mount::present) one.state = state_without_mount(one.state);
    if (found_as == mount::not_a_folder)
      one.path = std::filesystem::path(nowhere) / share_folder / folder_name;
    found.push_back(std::move(one));
  }
  return found;
}

std::vector<channel> recorder::channels() const {
  statement query(state_->catalogue, "SELECT id, number, sid FROM channel ORDER BY id");
  return channels_in(query);
}

std::optional<channel> recorder::channel_with(std::string const& sid) const {
  statement query(state_->catalogue, "SELECT id, number, sid FROM channel WHERE sid = ?");
  auto found = channels_in(query.with(sid));
  if (found.empty()) return std::nullopt;
  return std::move(found.front());
}

std::vector<period> recorder::periods(stream const& of, span const& within) const {
  if (within.end_ms < within.start_ms) return {};
  statement query(state_->catalogue,
                  periods_query("WHERE p.channel_id = ? AND p.recording_type = ? AND p.stream = ?"
                                "  AND p.start_ms <= ? AND p.end_ms > ?"));
  query.with(of.channel_id, of.recording_type, of.number, within.end_ms, within.start_ms);
  return periods_in(state_->catalogue, query);
}

std::vector<period> recorder::periods() const {
  statement query(state_->catalogue, periods_query(""));
  return periods_in(state_->catalogue, query);
}

std::vector<pairing> recorder::pairings(std::int64_t space_id) const {
  statement query(state_->catalogue, pairings_query);
  query.with(space_id);
  std::vector<std::int64_t> channel_ids;  // in the order of their first ones
  std::map<std::int64_t, std::vector<pairing>> paired;
  std::set<std::pair<std::int64_t, std::string>> known;
  while (query.next()) {
    auto const [each, is_new] = known.emplace(query.integer(0), text_in(query, 1));
    if (!is_new) continue;
    auto const [channel, is_first] = paired.try_emplace(each->first);
    if (is_first) channel_ids.push_back(each->first);
    channel->second.push_back({each->first, each->second});
  }
  std::vector<pairing> found;
  for (auto const id : channel_ids) {
    found.insert(found.end(), paired[id].begin(), paired[id].end());
  }
  return found;
}

std::vector<std::string> recorder::storage_ids(std::int64_t channel_id) const {
  statement query(state_->catalogue,
                  "SELECT DISTINCT p.storage_id"
                  "  FROM period p JOIN volume v ON v.sid_text = p.storage_id"
                  "  WHERE p.channel_id = ?");
  query.with(channel_id);
  std::vector<std::string> found;
  while (query.next()) found.push_back(text_in(query, 0));
  return found;
}

std::vector<channel> recorder::space_channels(std::int64_t space_id) const {
  statement query(state_->catalogue, space_channels_query);
  query.with(space_id);
  return channels_in(query);
}

std::vector<std::string> recorder::days(std::int64_t channel_id, std::int32_t recording_type,
                                        std::vector<std::string> const& storage_ids) const {
  auto const asked = beginnings(storage_ids);
  statement query(state_->catalogue,
                  "SELECT start_ms, end_ms, substr(storage_id, 1, 31) FROM period"
                  "  WHERE channel_id = ? AND recording_type = ?");
  query.with(channel_id, recording_type);
  std::set<std::string> dates;
  while (query.next()) {
    if (asked.count(text_in(query, 2)) == 0) continue;
    add_local_dates(bounds_in(query, 0), dates);
  }
  return {dates.begin(), dates.end()};
}

std::int64_t recorder::recorded_mb(std::int64_t space_id, std::int64_t channel_id,
                                   std::optional<std::int32_t> recording_type) const {
  return unit_mb() *
         number_of(state_->catalogue, recorded_query, space_id, channel_id, recording_type);
}

std::optional<std::int64_t> recorder::latest_leaked_hour(stream const& of) const {
  statement query(state_->catalogue, leaked_hour_query);
  query.with(of.channel_id, of.recording_type, of.number);
  if (!query.next()) return std::nullopt;
  return time_in(query, 0);
}

std::int64_t recorder::periods_out_of_reach(std::int64_t before_ms) const {
  statement query(state_->catalogue,
                  "SELECT DISTINCT p.id FROM period p JOIN unit u ON u.period_id = p.id"
                  "  WHERE p.end_ms <= ? AND u.volume_id = ?");
  std::set<std::int64_t> periods;
  for (auto const& place : places_of(state_->catalogue, state_->folder)) {
    if (mount_of(place) == mount::present) continue;
    query.with(before_ms, place.id);
    while (query.next()) periods.insert(query.integer(0));
  }
  return static_cast<std::int64_t>(periods.size());
}

std::vector<channel> recorder::volume_channels(std::int32_t volume_no) const {
  statement query(state_->catalogue,
                  "SELECT c.id, c.number, c.sid"
                  "  FROM assignment a JOIN channel c ON c.id = a.channel_id"
                  "                    JOIN volume v ON v.id = a.volume_id"
                  "  WHERE v.volume_no = ? ORDER BY a.id");
  query.with(volume_no);
  return channels_in(query);
}

volume_account recorder::account(std::int64_t volume_id) const {
  place_of(state_->catalogue, state_->folder, volume_id);
  statement query(state_->catalogue, account_query);
  query.with(volume_id).next();
  return {query.integer(0), query.integer(1), query.integer(2), query.integer(3), query.integer(4)};
}

std::vector<unit_group> recorder::unit_groups() const {
  statement query(state_->catalogue, unit_groups_query);
  std::vector<unit_group> found;
  while (query.next()) {
    unit_group group{query.integer(0),      unit_state_in(query, 1), {}, 0, {},
                     query.integer(9) != 0, query.integer(10)};
    if (query.integer(2) != 0) {
      group.of = stream{query.integer(3), recording_type_in(query, 4), stream_in(query, 5)};
      group.hour_ms = time_in(query, 6);
    }
    if (query.integer(7) != 0) group.period_id = query.integer(8);
    found.push_back(group);
  }
  return found;
}

bool recorder::has_volume_numbered(std::int32_t volume_no) const {
  return number_of(state_->catalogue, "SELECT EXISTS (SELECT 1 FROM volume WHERE volume_no = ?)",
                   volume_no) != 0;
}

bool recorder::has_units_in_transit() const {
  return statement(state_->catalogue, volumes_in_transit_query).next();
}

consistent_view::consistent_view(recorder const& of)
    : reading_(std::make_unique<transaction>(of.state_->catalogue, transaction_kind::reading)) {}

consistent_view::~consistent_view() = default;

}  // namespace lab
