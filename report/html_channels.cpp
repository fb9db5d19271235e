// The channels in the page.
#include <cstddef>

#include "report/calendar.h"
#include "report/days.h"
#include "report/html_parts.h"
#include "report/wording.h"

namespace report {

std::vector<kept> kept_by_each(std::vector<channel> const& channels) {
  std::vector<kept> all;
  all.reserve(channels.size());
  for (channel const& each : channels) all.push_back(kept_by_channel(each));
  return all;
}

markup channels_section(value const& of, std::vector<kept> const& all_kept) {
  if (of.channels.empty()) return section("Channels", paragraph("No channel is known."));
  markup_table rows(count_text(of.channels.size(), "channel", "channels"),
                    {{"Channel", cell::whole},
                     {"Oldest", cell::whole},
                     {"Latest", cell::whole},
                     {"Days", cell::number},
                     {"With gaps", cell::number},
                     {"Without id", cell::number},
                     {"Size", cell::number},
                     {"Volumes"}});
  for (std::size_t i = 0; i < of.channels.size(); ++i) {
    channel const& each = of.channels[i];
    kept const& has = all_kept[i];
    bool const is_empty = has.days == 0;
    rows.add({escaped(std::to_string(each.number)),
              escaped(is_empty ? "-" : local_moment(has.oldest_ms)),
              escaped(is_empty ? "-" : local_moment(has.latest_ms)),
              escaped(std::to_string(has.days)), escaped(std::to_string(has.days_with_gaps)),
              escaped(std::to_string(periods_without_id(each))),
              escaped(size_text(recorded_mb(each))), escaped(volumes_text(each))});
  }
  return section("Channels",
                 rows.text() + paragraph("With gaps: days on which an hour between the oldest and "
                                         "the latest recording is missing. Without id: periods "
                                         "that are kept under no storage id."));
}

}  // namespace report
