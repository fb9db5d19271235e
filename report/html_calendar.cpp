// The calendar of recorded hours in the page.
#include <algorithm>
#include <cstddef>

#include "report/calendar.h"
#include "report/days.h"
#include "report/hours.h"
#include "report/html_parts.h"
#include "report/wording.h"
#include "storage/codes.h"

namespace report {

namespace {

constexpr std::size_t most_shown_days = 400;  // the latest ones
constexpr std::size_t most_markup_bytes = 4000000;
constexpr std::size_t most_open = 8;  // channels that are shown unfolded
constexpr std::size_t hour_height = 4;
constexpr std::size_t margin = 26;  // for the hours' numbers

// What all calendars of the page have in common.
struct scale {
  std::size_t day_width;
};

std::size_t most_hours(std::vector<day> const& days) {
  std::size_t most = 24;
  for (day const& each : days) most = std::max(most, each.recorded_s.size());
  return most;
}

// What the calendars of a channel have in common.
struct channel_scale {
  std::vector<day> days;
  std::string labels;  // the id of those of its hours and days

  std::size_t height() const { return most_hours(days) * hour_height; }
};

std::string digits(std::size_t of) { return std::to_string(of); }

// Draws nothing itself; others refer to it.
markup definition(markup const& content) {
  return element("svg",
                 attribute("width", "0") + attribute("height", "0") +
                     attribute("style", "position:absolute") + attribute("aria-hidden", "true"),
                 element("defs", content));
}

std::size_t day_width_of(std::size_t days) {
  constexpr std::size_t page_width = 660;
  return std::clamp(page_width / std::max(days, std::size_t{1}), std::size_t{3}, std::size_t{36});
}

// Lines between days, and every six hours; for all calendars, as their days are as wide.
markup day_lines(scale in) {
  std::string const width = digits(in.day_width);
  std::string const height = digits(6 * hour_height);
  markup const lines =
      element("path",
              attribute("d", "M.5 0V" + height + "M0 .5H" + width) +
                  attribute("style", "fill:none;stroke:var(--paper);stroke-opacity:.5"),
              {});
  markup const pattern =
      element("pattern",
              attribute("id", "days") + attribute("x", digits(margin)) + attribute("width", width) +
                  attribute("height", height) + attribute("patternUnits", "userSpaceOnUse"),
              lines);
  return definition(pattern);
}

// One path for all areas of a kind.
markup areas(char const* kind, std::vector<hour_area> const& all, std::size_t left, scale in) {
  if (all.empty()) return {};
  std::string path;
  for (hour_area const& each : all) {
    std::string const width = digits((each.end_day - each.first_day) * in.day_width);
    path += "M" + digits(left + each.first_day * in.day_width) + " " +
            digits(each.first_hour * hour_height) + "h" + width + "v" +
            digits((each.end_hour - each.first_hour) * hour_height) + "h-" + width + "z";
  }
  return element("path", attribute("class", kind) + attribute("d", path), {});
}

markup label(std::size_t x, std::size_t y, std::string const& text, char const* of) {
  return element("text",
                 attribute("class", of) + attribute("x", digits(x)) + attribute("y", digits(y)),
                 escaped(text));
}

// Every day that has room for its name.
markup day_labels(std::vector<day> const& days, std::size_t y, scale in) {
  constexpr std::size_t label_width = 64;
  std::size_t const step = (label_width + in.day_width - 1) / in.day_width;
  markup all;
  for (std::size_t at = 0; at < days.size(); at += step) {
    all += label(margin + at * in.day_width, y, days[at].date.substr(days[at].date.find('-') + 1),
                 "d");
  }
  return all;
}

markup hour_labels() {
  markup all;
  for (std::size_t at : {std::size_t{0}, std::size_t{6}, std::size_t{12}, std::size_t{18}}) {
    all += label(margin - 4, at * hour_height + 9, digits(at) + "h", "h");
  }
  return all;
}

// The width and the height of each calendar of the channel.
std::string size_of(channel_scale const& of, scale in) {
  return attribute("width", digits(margin + of.days.size() * in.day_width + 16)) +
         attribute("height", digits(of.height() + 14));
}

// Once for all streams: a browser takes its time for each piece of text.
markup labels_of(channel_scale const& of, scale in) {
  return definition(element(
      "pattern",
      attribute("id", of.labels) + size_of(of, in) + attribute("patternUnits", "userSpaceOnUse"),
      hour_labels() + day_labels(of.days, of.height() + 11, in)));
}

std::string kept_words(std::vector<day> const& days) {
  return days.front().date + " to " + days.back().date;
}

std::string words_of(stream const& of, std::vector<day> const& days, hour_grid const& grid) {
  std::string text = stream_text(of.type_name, of.number) + ": " + kept_words(days);
  std::size_t const missing = count_of(grid, hour::missing);
  if (missing > 0) text += ", " + count_text(missing, "hour", "hours") + " missing";
  std::size_t without_id = 0;
  for (day const& each : days) {
    without_id +=
        static_cast<std::size_t>(std::count(each.without_id.begin(), each.without_id.end(), true));
  }
  if (without_id > 0) text += ", " + count_text(without_id, "hour", "hours") + " without id";
  return text;
}

// How many days the stream's first one is after the channel's, among `all`.
std::size_t column_of(day const& first, std::vector<day> const& all) {
  auto const found =
      std::lower_bound(all.begin(), all.end(), first.start_ms,
                       [](day const& each, std::int64_t start) { return each.start_ms < start; });
  return static_cast<std::size_t>(found - all.begin());
}

// Days before those of the channel, of a stream that ends earlier, have no column.
void leave_out_before(std::vector<day> const& all, std::vector<day>& days) {
  auto const first = std::find_if(days.begin(), days.end(), [&](day const& each) {
    return each.start_ms >= all.front().start_ms;
  });
  days.erase(days.begin(), first);
}

markup drawing(std::vector<day> const& days, hour_grid const& grid, channel_scale const& all,
               std::string const& words, scale in) {
  std::size_t const left = margin + column_of(days.front(), all.days) * in.day_width;
  auto const drawn = [&](char const* name, hour kind) {
    return areas(
        name, areas_of(days, [&](std::size_t at, std::size_t of) { return grid[at][of] == kind; }),
        left, in);
  };
  auto const frame = attribute("x", digits(margin)) +
                     attribute("width", digits(all.days.size() * in.day_width)) +
                     attribute("height", digits(all.height()));
  markup const lines = element("rect", attribute("class", "days") + frame, {});
  markup const without_id = areas(
      "noid",
      areas_of(days, [&](std::size_t at, std::size_t of) { return bool{days[at].without_id[of]}; }),
      left, in);
  return element(
      "svg",
      attribute("class", "cal") + attribute("role", "img") + attribute("aria-label", words) +
          size_of(all, in),
      element("rect", attribute("class", "rest") + frame, {}) + drawn("rec", hour::recorded) +
          drawn("part", hour::partly) + drawn("gap", hour::missing) + without_id + lines +
          element("rect", size_of(all, in) + attribute("fill", "url(#" + all.labels + ")"), {}));
}

markup stream_figure(stream const& of, channel_scale const& all, scale in) {
  std::string const name = stream_text(of.type_name, of.number);
  if (!of.asked) return paragraph(name + " could not be asked.");
  std::vector<day> days = days_of(of.periods, most_shown_days);
  leave_out_before(all.days, days);
  if (days.empty()) return paragraph(name + " has nothing on these days.");
  bool const is_normal = of.recording_type == st::normal_recording.code;
  hour_grid const grid = grid_of(days, is_normal ? gaps::told : gaps::no_news);
  std::string const words = words_of(of, days, grid);
  return element("figure", element("figcaption", escaped(words)) +
                               element("div", attribute("class", "wide"),
                                       drawing(days, grid, all, words, in))) +
         markup{"\n"};
}

std::string summary_of(channel const& of, kept const& has) {
  std::string text = "Channel " + std::to_string(of.number) + ": ";
  if (has.days == 0) return text + "nothing known";
  text += count_text(static_cast<std::size_t>(has.days), "day", "days");
  return text + lacks_text(of, has);
}

// `position`: of the channel among those of the page.
markup channel_details(channel const& of, kept const& has, std::size_t position, bool is_open,
                       scale in) {
  channel_scale const all{days_of_channel(of, most_shown_days), "labels" + digits(position)};
  markup content = element("summary", escaped(summary_of(of, has)));
  if (!all.days.empty()) content += labels_of(all, in);
  for (stream const& each : of.streams) {
    if (!all.days.empty() || !each.asked) content += stream_figure(each, all, in);
  }
  return element("details", is_open ? attribute("open", "open") : "", content) + markup{"\n"};
}

// The width of the longest calendar's days is that of all.
scale scale_of(std::vector<kept> const& all_kept) {
  std::size_t longest = 1;
  for (kept const& each : all_kept)
    longest = std::max(longest, static_cast<std::size_t>(each.days));
  return {day_width_of(std::min(longest, most_shown_days))};
}

markup legend() {
  auto const item = [](char const* kind, char const* text) {
    return element("li",
                   element("svg", attribute("class", "key") + attribute("aria-hidden", "true"),
                           element("rect",
                                   attribute("class", kind) + attribute("width", "100%") +
                                       attribute("height", "100%"),
                                   {})) +
                       escaped(text));
  };
  return element("ul", attribute("class", "legend"),
                 item("rec", "recorded") + item("part", "partly recorded") +
                     item("gap", "missing (normal recording)") +
                     item("noid", "without storage id") + item("rest", "nothing"));
}

}  // namespace

markup calendar_section(value const& of, std::vector<kept> const& all_kept) {
  if (of.channels.empty()) return {};
  scale const in = scale_of(all_kept);
  markup all = paragraph("A column is a day, from midnight at its top; the latest " +
                         digits(most_shown_days) + " days at most.") +
               legend() + day_lines(in);
  bool const are_open = of.channels.size() <= most_open;
  std::size_t shown_channels = 0;
  for (; shown_channels < of.channels.size(); ++shown_channels) {
    if (all.text.size() > most_markup_bytes) break;
    all += channel_details(of.channels[shown_channels], all_kept[shown_channels], shown_channels,
                           are_open, in);
  }
  if (shown_channels < of.channels.size()) {
    all +=
        paragraph("The calendars of " +
                  count_text(of.channels.size() - shown_channels, "more channel", "more channels") +
                  " are left out, as the page would be too large.");
  }
  return section("Recorded hours", all);
}

}  // namespace report
