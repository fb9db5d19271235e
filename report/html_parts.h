// The parts of the page.
#pragma once

#include <vector>

#include "report/days.h"
#include "report/markup.h"
#include "report/model.h"

namespace report {

// What stands in the page's head: colours, shapes, widths, print.
markup page_style();

// The patterns that bars and calendars are filled with, by their ids.
markup page_patterns();

// A volume's or a space's bar; a picture with a text of its own.
markup bar_picture(volume const& of);
markup bar_picture(space const& of);

// What the bars' fillings mean.
markup bar_legend();

markup attention_section(value const& of);
markup preview_section(value const& of);
markup spaces_section(value const& of);
markup volumes_section(value const& of);

// How long each channel keeps recordings, in their order.
std::vector<kept> kept_by_each(std::vector<channel> const& channels);

// With what kept_by_each() gave.
markup channels_section(value const& of, std::vector<kept> const& all_kept);

// What is recorded, hour by hour. What would make the page larger than a browser shows
// at once is left out, and the page says so.
markup calendar_section(value const& of, std::vector<kept> const& all_kept);

// Spaces, volumes, channels and what needs attention, before and now.
markup comparison_sections(value const& before, value const& now);

}  // namespace report
