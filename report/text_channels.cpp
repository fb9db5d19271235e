// Channels, and what st would give back, in a terminal.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/calendar.h"
#include "report/days.h"
#include "report/table.h"
#include "report/text_parts.h"
#include "report/wording.h"

namespace report {

namespace {

// Below this a moment is told by its date, and below that there is no table.
constexpr int columns_for_times = 78;
constexpr int columns_for_table = 56;

std::string moment(std::int64_t ms, layout const& in) {
  return in.columns < columns_for_times ? local_date(ms) : local_moment(ms);
}

// What a channel's lines begin with.
std::string numbered(std::int32_t channel, layout const& in) {
  std::string const number = std::to_string(channel);
  return fitted(number, std::max(width_of(number), 3), aligned::right, in) + "  ";
}

std::vector<std::string> channel_row(channel const& of, layout const& in) {
  kept const has = kept_by_channel(of);
  bool const is_empty = has.days == 0;
  return {std::to_string(of.number),
          is_empty ? "-" : moment(has.oldest_ms, in),
          is_empty ? "-" : moment(has.latest_ms, in),
          std::to_string(has.days),
          std::to_string(has.days_with_gaps),
          std::to_string(periods_without_id(of)),
          size_text(recorded_mb(of)),
          cut(shown(volumes_text(of), in), in.columns / 4, in)};
}

std::vector<table::column> channel_columns(layout const& in) {
  return {{in.columns < columns_for_times ? "Ch" : "Channel", aligned::right},
          {"oldest"},
          {"latest"},
          {"days", aligned::right},
          {"gaps", aligned::right},
          {"no id", aligned::right},
          {"size", aligned::right, true},
          {"volumes", aligned::left, true}};
}

std::string channel_table(std::vector<channel> const& all, layout const& in) {
  table rows(channel_columns(in));
  for (channel const& each : all) rows.add(channel_row(each, in));
  return rows.text(in) + wrapped("", "gaps: days on which an hour is missing", in);
}

// What the table tells, in a sentence.
std::string channel_lines(channel const& of, layout const& in) {
  kept const has = kept_by_channel(of);
  std::string text = "nothing known";
  if (has.days > 0) {
    text = moment(has.oldest_ms, in) + " to " + moment(has.latest_ms, in) + ", " +
           count_text(static_cast<std::size_t>(has.days), "day", "days");
  }
  return wrapped(numbered(of.number, in),
                 text + lacks_text(of, has) + ", " + size_text(recorded_mb(of)), in);
}

std::vector<std::string> recycling_row(recycling const& of, layout const& in) {
  return {std::to_string(of.channel), stream_text(shown(of.type_name, in), of.stream),
          moment(of.start_ms, in), moment(of.end_ms, in), short_name(of.target, in)};
}

std::string recycling_lines(std::vector<recycling> const& all, std::string const& target,
                            layout const& in) {
  if (in.columns >= columns_for_table) {
    table rows({{in.columns < columns_for_times ? "Ch" : "Channel", aligned::right},
                {"stream"},
                {"from"},
                {"to"},
                {target}});
    for (recycling const& each : all) rows.add(recycling_row(each, in));
    return rows.text(in);
  }
  std::string lines;
  for (recycling const& each : all) {
    auto const row = recycling_row(each, in);
    lines += wrapped(numbered(each.channel, in),
                     row[1] + " " + row[2] + " to " + row[3] + ", " + row[4], in);
  }
  return lines;
}

std::string calls(std::string const& command, std::string const& target,
                  std::vector<recycling> const& all, layout const& in) {
  std::string const title = command + " would give back";
  if (all.empty()) return wrapped("", title + " nothing", in);
  return heading(title + " " + count_text(all.size(), "span", "spans"), in) +
         recycling_lines(all, target, in);
}

std::string lost_lines(value const& of, layout const& in) {
  std::string lines;
  for (volume const& each : of.volumes) {
    if (!each.leak) continue;
    lines += wrapped("  ",
                     "lost on " + short_name(each.name, in) + ": " +
                         size_text(each.lost_mb.value_or(0)) + " of " + size_text(each.total_mb),
                     in);
  }
  return lines;
}

}  // namespace

std::string channels_part(value const& of, layout const& in) {
  if (of.channels.empty()) return "";
  std::string lines = heading("Channels", in);
  if (in.columns >= columns_for_table) return lines + channel_table(of.channels, in);
  for (channel const& each : of.channels) lines += channel_lines(each, in);
  return lines;
}

std::string preview_part(value const& of, layout const& in) {
  if (!of.would_do.has_value()) return "";
  return calls("st autoclean", "volume", of.would_do->autoclean, in) + lost_lines(of, in) + "\n" +
         calls("st volclean -1", "space", of.would_do->volclean, in);
}

}  // namespace report
