#include "report/days.h"

#include <algorithm>
#include <cstddef>

#include "report/calendar.h"

namespace report {

namespace {

// From the first ms to the one behind the last.
struct span {
  std::int64_t start_ms;
  std::int64_t end_ms;
};

bool is_usable(period const& of) noexcept {
  return of.start_ms <= of.end_ms && is_known_moment(of.start_ms) && is_known_moment(of.end_ms);
}

// The last ms that belongs to it; its only one, when it is empty.
std::int64_t last_ms(span const& of) noexcept {
  return of.end_ms > of.start_ms ? of.end_ms - 1 : of.start_ms;
}

using lists = std::vector<std::vector<period> const*>;

lists lists_of(channel const& of) {
  lists all;
  for (stream const& each : of.streams) all.push_back(&each.periods);
  return all;
}

bool starts_before(span const& a, span const& b) noexcept { return a.start_ms < b.start_ms; }

// Adds what is usable of a list; gives where that begins.
std::ptrdiff_t add_list(std::vector<span>& all, std::vector<period> const& list,
                        bool only_without_id) {
  auto const before = static_cast<std::ptrdiff_t>(all.size());
  for (period const& each : list) {
    if (only_without_id && !each.storage_id.empty()) continue;
    if (is_usable(each)) all.push_back({each.start_ms, each.end_ms});
  }
  return before;
}

// All of them, sorted. A few lists that are sorted by themselves are merged.
std::vector<span> sorted_spans(lists const& periods, bool only_without_id) {
  constexpr std::size_t few = 16;
  std::vector<span> all;
  for (auto const* const list : periods) {
    std::ptrdiff_t const before = add_list(all, *list, only_without_id);
    auto const added = all.begin() + before;
    if (periods.size() <= few && std::is_sorted(added, all.end(), starts_before)) {
      std::inplace_merge(all.begin(), added, all.end(), starts_before);
    }
  }
  if (!std::is_sorted(all.begin(), all.end(), starts_before)) {
    std::sort(all.begin(), all.end(), starts_before);
  }
  return all;
}

// What the periods cover: sorted, without overlaps.
std::vector<span> covered_by(lists const& periods, bool only_without_id) {
  std::vector<span> merged;
  for (span const& each : sorted_spans(periods, only_without_id)) {
    if (merged.empty() || each.start_ms > merged.back().end_ms) {
      merged.push_back(each);
    } else {
      merged.back().end_ms = std::max(merged.back().end_ms, each.end_ms);
    }
  }
  return merged;
}

// Hands each hour that a span touches to mark(hour of the day, ms of it in the span).
template <typename Mark>
void mark_hours(day const& in, std::vector<span> const& spans, std::size_t& next, Mark mark) {
  while (next < spans.size() && last_ms(spans[next]) < in.start_ms) ++next;
  for (std::size_t i = next; i < spans.size() && spans[i].start_ms < in.end_ms; ++i) {
    std::int64_t const start = std::max(spans[i].start_ms, in.start_ms);
    std::int64_t const last = std::min(last_ms(spans[i]), in.end_ms - 1);
    std::int64_t const end = std::min(spans[i].end_ms, in.end_ms);
    for (std::int64_t hour = (start - in.start_ms) / hour_ms;
         hour <= (last - in.start_ms) / hour_ms; ++hour) {
      std::int64_t const from = std::max(start, in.start_ms + hour * hour_ms);
      std::int64_t const to = std::min(end, in.start_ms + (hour + 1) * hour_ms);
      mark(static_cast<std::size_t>(hour), to - from);
    }
  }
}

day empty_day(local_day const& of) {
  day made;
  made.date = date_text(of.number);
  made.start_ms = of.start_s * 1000;
  made.end_ms = of.end_s * 1000;
  auto const hours =
      static_cast<std::size_t>((made.end_ms - made.start_ms + hour_ms - 1) / hour_ms);
  made.recorded_s.resize(hours);
  made.without_id.resize(hours);
  return made;
}

// Goes through the days, told of spans in their order, and counts each day once.
class day_counter {
 public:
  int count() const noexcept { return static_cast<int>(count_); }

  void add(std::int64_t first, std::int64_t last) noexcept {
    first = std::max(first, counted_to_ + 1);
    if (last < first) return;
    count_ += last - first + 1;
    counted_to_ = last;
  }

 private:
  std::int64_t counted_to_ = -2;  // west of Greenwich 1970 begins on day -1
  std::int64_t count_ = 0;
};

// Whether an hour of the day, counted from its beginning, lies between the two moments.
bool holds_whole_hour(local_day const& in, std::int64_t start_ms, std::int64_t end_ms) noexcept {
  std::int64_t const day_start = in.start_s * 1000;
  std::int64_t const day_end = in.end_s * 1000;
  std::int64_t const from = std::max(start_ms - day_start, std::int64_t{0});
  std::int64_t const hour = day_start + (from + hour_ms - 1) / hour_ms * hour_ms;
  return hour < day_end && std::min(hour + hour_ms, day_end) <= end_ms;
}

// The days on which a whole hour of the gap lies.
void add_gap(span const& gap, local_day& near, day_counter& days) {
  near = day_holding(gap.start_ms / 1000, near);
  local_day const first = near;
  near = day_holding((gap.end_ms - 1) / 1000, near);
  if (holds_whole_hour(first, gap.start_ms, gap.end_ms)) days.add(first.number, first.number);
  days.add(first.number + 1, near.number - 1);
  if (near.number != first.number && holds_whole_hour(near, gap.start_ms, gap.end_ms)) {
    days.add(near.number, near.number);
  }
}

std::vector<day> days_in(lists const& periods, std::size_t limit) {
  std::vector<span> const recorded = covered_by(periods, false);
  if (recorded.empty() || limit == 0) return {};
  std::vector<span> const without_id = covered_by(periods, true);

  std::int64_t const last = day_holding(last_ms(recorded.back()) / 1000).number;
  std::int64_t first = day_holding(recorded.front().start_ms / 1000).number;
  if (static_cast<std::uint64_t>(last - first) >= limit) {
    first = last - static_cast<std::int64_t>(limit) + 1;
  }
  std::vector<day> days;
  days.reserve(static_cast<std::size_t>(last - first + 1));
  std::size_t next_recorded = 0;
  std::size_t next_without_id = 0;
  for (local_day at = day_of_number(first); at.number <= last;
       at = day_of_number(at.number + 1, at)) {
    if (at.start_s == at.end_s) continue;
    day& made = days.emplace_back(empty_day(at));
    std::vector<std::int64_t> recorded_ms(made.recorded_s.size());
    mark_hours(made, recorded, next_recorded,
               [&](std::size_t hour, std::int64_t ms) { recorded_ms[hour] += ms; });
    std::transform(recorded_ms.begin(), recorded_ms.end(), made.recorded_s.begin(),
                   [](std::int64_t ms) { return static_cast<int>((ms + 999) / 1000); });
    mark_hours(made, without_id, next_without_id,
               [&](std::size_t hour, std::int64_t) { made.without_id[hour] = true; });
  }
  return days;
}

kept kept_in(lists const& periods) {
  std::vector<span> const recorded = covered_by(periods, false);
  if (recorded.empty()) return {};

  kept found;
  found.oldest_ms = recorded.front().start_ms;
  found.latest_ms = recorded.back().end_ms;
  day_counter days;
  day_counter with_gaps;
  local_day near;
  local_day first;
  for (std::size_t i = 0; i < recorded.size(); ++i) {
    if (i > 0) add_gap({recorded[i - 1].end_ms, recorded[i].start_ms}, near, with_gaps);
    near = day_holding(recorded[i].start_ms / 1000, near);
    if (i == 0) first = near;
    std::int64_t const start_day = near.number;
    near = day_holding(last_ms(recorded[i]) / 1000, near);
    days.add(start_day, near.number);
  }
  found.days = static_cast<int>(near.number - first.number + 1);
  found.days_with_recordings = days.count();
  found.days_with_gaps = with_gaps.count();
  return found;
}

}  // namespace

std::vector<day> days_of(std::vector<period> const& periods, std::size_t limit) {
  return days_in({&periods}, limit);
}

std::vector<day> days_of_channel(channel const& of, std::size_t limit) {
  return days_in(lists_of(of), limit);
}

kept kept_by(std::vector<period> const& periods) { return kept_in({&periods}); }

kept kept_by_channel(channel const& of) { return kept_in(lists_of(of)); }

}  // namespace report
