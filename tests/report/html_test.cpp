// The report as a page.
#include "report/html.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <string>

#include "files.h"
#include "program.h"
#include "report/hours.h"
#include "report/markup.h"
#include "sample.h"

namespace {

using report::html_of;
using sample::hour_ms;
using support::holds;

// What page.py finds; "" of a page that is fine.
std::string faults_of(std::string const& page) {
  support::temporary_folder const folder;
  support::write_file(folder.path() / "page.html", page);
  auto const run = support::run(
      support::words{"/usr/bin/python3", PAGE_CHECK, (folder.path() / "page.html").string()}, {},
      folder.path());
  return run.status == 0 ? run.output
                         : "status " + std::to_string(run.status) + "\n" + run.output + run.errors;
}

std::size_t count_of(std::string const& text, std::string const& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(page, is_well_formed_whatever_it_tells) {
  for (auto const& value : {sample::small(), sample::empty(), sample::with_preview(),
                            sample::lying(), sample::large(3, 40)}) {
    EXPECT_EQ(faults_of(html_of(value, nullptr)), "");
  }
}

TEST(page, of_two_reports_is_well_formed_too) {
  auto const lie = sample::lying();
  auto const small = sample::small();
  auto const before = sample::small_before();
  EXPECT_EQ(faults_of(html_of(small, &before)), "");
  EXPECT_EQ(faults_of(html_of(small, &lie)), "");
  EXPECT_EQ(faults_of(html_of(lie, &small)), "");
}

TEST(page, that_is_not_well_formed_is_found_out) {
  auto page = html_of(sample::small(), nullptr);
  page.insert(page.find("</main>"), "<p>");
  EXPECT_NE(faults_of(page), "");
  page = html_of(sample::small(), nullptr);
  page.insert(page.find("</main>"), "<script></script>");
  EXPECT_NE(faults_of(page), "");
}

TEST(page, needs_nothing_from_elsewhere) {
  auto const before = sample::small_before();
  for (auto const& page : {html_of(sample::lying(), nullptr), html_of(sample::small(), &before)}) {
    EXPECT_FALSE(holds(page, "http"));
    EXPECT_FALSE(holds(page, "@import"));
    EXPECT_FALSE(holds(page, "//"));
    EXPECT_EQ(count_of(page, "url("), count_of(page, "url(#"));
    EXPECT_FALSE(holds(page, "<script"));
    EXPECT_EQ(page.rfind("<!DOCTYPE html>\n<html lang=\"en\">", 0), 0U);
  }
}

TEST(page, escapes_what_comes_from_elsewhere) {
  EXPECT_EQ(report::escaped("<a href=\"x\" b='y'>&\x01\xff").text,
            "&lt;a href=&quot;x&quot; b=&#39;y&#39;&gt;&amp;??");
  auto const page = html_of(sample::lying(), nullptr);
  EXPECT_TRUE(holds(page, "&lt;/table&gt;&lt;script&gt;&amp;&quot;&#39;{}\\ "));
  EXPECT_FALSE(holds(page,
                     "</table><"
                     "script"));
}

TEST(page, tells_what_needs_attention_and_what_is_where) {
  auto const page = html_of(sample::small(), nullptr);
  for (char const* part :
       {"<title>Recorder at 2026-11-22 07:30</title>",
        "The service, or a part of it, could not be asked.", "volume vol2", "8.3 GB of 64.0 GB",
        "the service answered -1", "held 3 bytes that are no text",
        "vol2: 37.1 GB of 64.0 GB used, 18.6 GB preallocated, 8.3 GB lost", "vol3: not mounted",
        "vol4: 48.8 GB of 64.0 GB used, the rest not measured", "Storage2", "Warning",
        "Channel 2: 5 days, 4 periods without id",
        "NR S00: 2026-11-18 to 2026-11-22, 13 hours missing",
        "NR S01: 2026-11-18 to 2026-11-21, 4 hours without id", "NR S00 could not be asked"}) {
    EXPECT_TRUE(holds(page, part)) << part;
  }
  EXPECT_FALSE(holds(page, "What st would give back now"));
  EXPECT_TRUE(holds(html_of(sample::empty(), nullptr), "<p>Nothing needs attention.</p>"));
}

TEST(page, tells_what_st_would_do) {
  auto const page = html_of(sample::with_preview(), nullptr);
  EXPECT_TRUE(holds(page, "st autoclean would give back 2 spans"));
  EXPECT_TRUE(holds(page, "st volclean -1 would give back 3 spans"));
  EXPECT_TRUE(holds(page, "2026-10-23 06:59 to 2026-11-18 06:59"));
  auto value = sample::small();
  value.would_do.emplace();
  EXPECT_TRUE(holds(html_of(value, nullptr), "st autoclean would give back nothing."));
}

TEST(page, of_two_reports_tells_what_is_new_gone_and_changed) {
  auto const before = sample::small_before();
  auto const page = html_of(sample::small(), &before);
  EXPECT_TRUE(holds(page, "Before is 2026-11-20 07:30, now is 2026-11-22 07:30."));
  auto const row = [&](std::string const& head, std::string const& from) {
    auto const start = page.find("<th scope=\"row\">" + head, page.find("<caption>" + from));
    return page.substr(start, page.find("</tr>", start) - start);
  };
  EXPECT_TRUE(holds(row("volume vol2", "What needed"), "+ new"));
  EXPECT_TRUE(holds(row("channel 2", "What needed"), "≠ changed"));
  EXPECT_TRUE(holds(row("channel 1", "What needed"), "− gone"));
  EXPECT_TRUE(holds(row("Storage1", "Spaces"), "≠ changed"));
  EXPECT_TRUE(holds(row("Storage2", "Spaces"), "= same"));
  EXPECT_TRUE(holds(row("vol1", "Volumes"), "= same"));
  EXPECT_TRUE(holds(row("vol2", "Volumes"), "≠ changed"));
  EXPECT_TRUE(holds(row("vol5", "Volumes"), "− gone"));
  auto const same = sample::small();
  EXPECT_FALSE(holds(html_of(same, &same), "≠ changed"));
  EXPECT_FALSE(holds(html_of(same, &same), "+ new"));
}

TEST(page, of_256_channels_and_90_days_is_small_enough_to_open_at_once) {
  auto const page = html_of(sample::large(256, 90), nullptr);
  std::cout << "page of 256 channels, 4 streams, 90 days: " << page.size() << " bytes\n";
  EXPECT_LT(page.size(), 5000000U);
  EXPECT_TRUE(holds(page, "Channel 256: "));
  EXPECT_FALSE(holds(page, "are left out"));
}

TEST(page, labels_the_hours_and_days_of_a_channel_once) {
  auto const page = html_of(sample::large(3, 40), nullptr);
  EXPECT_EQ(count_of(page, ">12h</text>"), 3U);
  for (std::string const channel : {"0", "1", "2"}) {
    EXPECT_EQ(count_of(page, "id=\"labels" + channel + "\""), 1U);
    EXPECT_EQ(count_of(page, "url(#labels" + channel + ")"), 4U);  // a calendar each stream
  }
}

TEST(page, that_would_be_too_large_leaves_calendars_out_and_says_so) {
  auto value = sample::large(1, 400);
  auto& periods = value.channels[0].streams[0].periods;
  for (auto& each : periods) each.end_ms -= hour_ms / 2;
  std::size_t which = 0;
  for (auto& each : value.channels[0].streams) {
    each.periods.clear();
    for (std::int64_t hour = 0; hour < 9600; hour += 2) {
      auto const start = value.made_ms - hour * hour_ms + static_cast<std::int64_t>(++which % 3);
      each.periods.push_back(sample::recorded(start, start + hour_ms / 2 * (hour % 14 / 2 % 3)));
    }
  }
  value.channels.resize(40, value.channels[0]);
  auto const page = html_of(value, nullptr);
  EXPECT_LT(page.size(), 6000000U);
  EXPECT_TRUE(holds(page, "more channels are left out, as the page would be too large."));
}

TEST(hours, are_missing_between_recorded_ones_only) {
  auto const start = sample::ms_of("2026-11-22 05:00");
  auto const days = report::days_of({sample::recorded(start, start + hour_ms),
                                     sample::recorded(start + 3 * hour_ms, start + 4 * hour_ms - 1),
                                     sample::recorded(start + 4 * hour_ms, start + 5 * hour_ms)},
                                    10);
  auto const grid = grid_of(days, report::gaps::told);
  EXPECT_EQ(count_of(grid, report::hour::missing), 2U);
  EXPECT_EQ(count_of(grid, report::hour::recorded), 3U);
  EXPECT_EQ(count_of(grid, report::hour::unknown), 19U);
  EXPECT_EQ(count_of(grid_of(days, report::gaps::no_news), report::hour::missing), 0U);
  EXPECT_EQ(count_of(report::grid_of({}, report::gaps::told), report::hour::missing), 0U);
}

TEST(hours, are_covered_by_their_areas_once) {
  std::vector<report::day> days(30);
  std::uint32_t seed = 3;
  std::vector<std::vector<bool>> chosen;
  for (std::size_t at = 0; at < days.size(); ++at) {
    days[at].recorded_s.resize(23 + at % 3);
    auto& row = chosen.emplace_back(days[at].recorded_s.size());
    for (std::size_t hour = 0; hour < row.size(); ++hour) {
      seed = seed * 1664525U + 1013904223U;
      row[hour] =
          at % 4 == 1 ? bool{chosen[at - 1][hour % chosen[at - 1].size()]} : (seed >> 16U) % 3 != 0;
    }
  }
  auto left = chosen;
  for (auto const &area : report::areas_of(
           days, [&](std::size_t at, std::size_t hour) { return bool{chosen[at][hour]}; })) {
    for (std::size_t at = area.first_day; at < area.end_day; ++at) {
      for (std::size_t hour = area.first_hour; hour < area.end_hour; ++hour) {
        ASSERT_TRUE(left.at(at).at(hour)) << "twice, or not chosen";
        left[at][hour] = false;
      }
    }
  }
  for (auto const& row : left) {
    EXPECT_EQ(std::count(row.begin(), row.end(), true), 0);
  }
}

TEST(hours, that_are_alike_on_all_days_are_one_area) {
  std::vector<report::day> days(90);
  for (auto& each : days) each.recorded_s.resize(24);
  EXPECT_EQ(report::areas_of(days, [](std::size_t, std::size_t) { return true; }).size(), 1U);
  EXPECT_EQ(
      report::areas_of(days, [](std::size_t, std::size_t hour) { return hour % 2 == 0; }).size(),
      12U);
}

}  // namespace
