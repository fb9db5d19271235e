#include "report/attention.h"

#include <algorithm>
#include <cstddef>

#include "report/concerns.h"
#include "report/days.h"
#include "report/subject.h"
#include "report/wording.h"

namespace report {

namespace {

std::ptrdiff_t rank_of(concern what) noexcept {
  return std::find_if(concerns.begin(), concerns.end(),
                      [&](coded_concern const& each) { return each.what == what; }) -
         concerns.begin();
}

// Codes of the service.
constexpr std::int32_t space_normal = 0;
constexpr std::int32_t space_allocating = 1;
constexpr std::int32_t space_deleting = 2;
constexpr std::int32_t space_expanding = 3;
constexpr std::int32_t volume_active = 0;
constexpr std::int32_t volume_standing_by = 1;

// " [Error]", or nothing for a code without a name.
std::string bracketed(std::string const& name) { return name.empty() ? "" : " [" + name + "]"; }

void look_at_space(std::vector<attention>& needs, space const& of) {
  switch (of.status) {
    case space_normal:
    case space_allocating:
    case space_deleting:
    case space_expanding:
      return;
    default:
      needs.push_back({concern::space_state, subject_of(of),
                       "its status is " + std::to_string(of.status) + bracketed(of.status_name)});
  }
}

std::string lost_text(volume const& of) {
  std::int64_t const lost = of.lost_mb.value_or(0);
  std::string text =
      "lost " + std::to_string(lost) + " MB of " + std::to_string(of.total_mb) + " MB";
  std::string const share = share_text(lost, of.total_mb);
  return share == "-" ? text : text + " (" + share + ")";
}

void look_at_volume(std::vector<attention>& needs, volume const& of) {
  std::string const state = "its state is " + std::to_string(of.state) + bracketed(of.state_name);
  bool const is_usual = of.state == volume_active || of.state == volume_standing_by;
  if (of.measured == measuring::not_mounted) {
    needs.push_back({concern::not_mounted, subject_of(of), "its folder cannot be entered"});
  }
  if (!is_usual) needs.push_back({concern::volume_state, subject_of(of), state});
  if (of.measured == measuring::failed) {
    needs.push_back(
        {concern::not_measured, subject_of(of), "du could not measure what is preallocated"});
  }
  if (of.leak) needs.push_back({concern::leak, subject_of(of), lost_text(of)});
}

void look_for_null_ids(std::vector<attention>& needs, channel const& of) {
  std::size_t const count = periods_without_id(of);
  if (count == 0) return;
  std::string streams;
  for (stream const& each : of.streams) {
    bool const has_any = std::any_of(each.periods.begin(), each.periods.end(),
                                     [](period const& one) { return one.storage_id.empty(); });
    if (!has_any) continue;
    streams += (streams.empty() ? "" : ", ") + stream_text(each.type_name, each.number);
  }
  needs.push_back({concern::null_id, subject_of(of),
                   count_text(count, "period", "periods") + " without a storage id: " + streams});
}

void look_at_channel(std::vector<attention>& needs, channel const& of,
                     std::optional<int> expected_days) {
  look_for_null_ids(needs, of);
  bool const is_known = std::all_of(of.streams.begin(), of.streams.end(),
                                    [](stream const& each) { return each.asked; });
  if (!is_known) return;
  bool const is_empty = std::all_of(of.streams.begin(), of.streams.end(),
                                    [](stream const& each) { return each.periods.empty(); });
  if (is_empty) {
    needs.push_back({concern::nothing_recorded, subject_of(of), "it has no recording"});
    return;
  }
  if (!expected_days) return;
  int const days = kept_by_channel(of).days;
  if (days >= *expected_days) return;
  needs.push_back({concern::too_few_days, subject_of(of),
                   "it keeps " +
                       count_text(static_cast<std::size_t>(std::max(days, 0)), "day", "days") +
                       ", and " + std::to_string(*expected_days) + " are expected"});
}

}  // namespace

std::vector<attention> attention_of(value const& of, std::optional<int> expected_days) {
  std::vector<attention> needs;
  for (space const& each : of.spaces) look_at_space(needs, each);
  for (volume const& each : of.volumes) look_at_volume(needs, each);
  for (channel const& each : of.channels) look_at_channel(needs, each, expected_days);
  for (std::string const& each : of.problems) {
    needs.push_back({concern::unreasonable_answer, "service", each});
  }
  std::stable_sort(needs.begin(), needs.end(), [](attention const& left, attention const& right) {
    return rank_of(left.what) < rank_of(right.what);
  });
  return needs;
}

int exit_status_of(value const& of) noexcept {
  if (!of.not_asked.empty()) return not_asked;
  return of.needs.empty() ? nothing_to_attend : something_to_attend;
}

}  // namespace report
