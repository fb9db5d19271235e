// An older report and this one, side by side.
#include <map>
#include <utility>
#include <vector>

#include "report/attention.h"
#include "report/calendar.h"
#include "report/days.h"
#include "report/html_parts.h"
#include "report/wording.h"

namespace report {

namespace {

// The same thing in both reports; null where it was not there yet, or is gone.
template <typename Item>
struct pair_of {
  Item const* before;
  Item const* now;
};

// Those of now in their order, then what is gone. Where several have the same key, the
// first is paired with the first.
template <typename Item, typename Key>
std::vector<pair_of<Item>> paired(std::vector<Item> const& before, std::vector<Item> const& now,
                                  Key key) {
  std::multimap<decltype(key(before.front())), Item const*> old;
  for (Item const& each : before) old.emplace(key(each), &each);
  std::vector<pair_of<Item>> pairs;
  for (Item const& each : now) {
    auto const found = old.find(key(each));
    pairs.push_back({found == old.end() ? nullptr : found->second, &each});
    if (found != old.end()) old.erase(found);
  }
  for (auto const& each : old) pairs.push_back({each.second, nullptr});
  return pairs;
}

markup change(char const* kind, char const* text) {
  return element("span", attribute("class", kind), escaped(text));
}

// The change in a word, with a shape of its own.
template <typename Item, typename Same>
markup change_of(pair_of<Item> const& each, Same same) {
  if (each.before == nullptr) return change("new", "+ new");
  if (each.now == nullptr) return change("gone", "− gone");
  return same(*each.before, *each.now) ? change("same", "= same") : change("changed", "≠ changed");
}

std::vector<markup_table::column> columns(char const* what) {
  return {{what}, {"Before", cell::half}, {"Now", cell::half}, {"Change", cell::whole}};
}

markup needs_comparison(value const& before, value const& now) {
  if (before.needs.empty() && now.needs.empty()) return {};
  markup_table rows("What needed and needs attention", columns("Where"));
  auto const text = [](attention const* of) { return escaped(of == nullptr ? "-" : of->text); };
  auto const all = paired(before.needs, now.needs, [](attention const& each) {
    return std::make_pair(each.subject, each.what);
  });
  for (auto const& each : all) {
    rows.add({escaped((each.now != nullptr ? each.now : each.before)->subject), text(each.before),
              text(each.now), change_of(each, [](attention const& a, attention const& b) {
                return a.text == b.text;
              })});
  }
  return rows.text();
}

markup bar_and(markup const& picture, std::string const& text) {
  return picture + element("div", escaped(text));
}

markup space_cell(space const* of) {
  if (of == nullptr) return escaped("-");
  return bar_and(bar_picture(*of), size_text(of->used_mb) + " of " + size_text(of->total_mb) +
                                       ", " + of->status_name);
}

markup spaces_comparison(value const& before, value const& now) {
  markup_table rows("Spaces", columns("Space"));
  for (auto const& each :
       paired(before.spaces, now.spaces, [](space const& of) { return of.id; })) {
    rows.add({escaped((each.now != nullptr ? each.now : each.before)->name),
              space_cell(each.before), space_cell(each.now),
              change_of(each, [](space const& a, space const& b) {
                return a.total_mb == b.total_mb && a.used_mb == b.used_mb && a.name == b.name &&
                       a.status == b.status && a.spare_state == b.spare_state;
              })});
  }
  return rows.text();
}

markup volume_cell(volume const* of) {
  if (of == nullptr) return escaped("-");
  std::string const lost =
      of->lost_mb.has_value() ? ", " + size_text(*of->lost_mb) + " lost" : ", not measured";
  return bar_and(bar_picture(*of), size_text(of->used_mb) + " of " + size_text(of->total_mb) +
                                       lost + ", " + of->state_name);
}

markup volumes_comparison(value const& before, value const& now) {
  markup_table rows("Volumes", columns("Volume"));
  for (auto const& each :
       paired(before.volumes, now.volumes, [](volume const& of) { return of.id; })) {
    rows.add({escaped((each.now != nullptr ? each.now : each.before)->name),
              volume_cell(each.before), volume_cell(each.now),
              change_of(each, [](volume const& a, volume const& b) {
                return a.total_mb == b.total_mb && a.used_mb == b.used_mb && a.name == b.name &&
                       a.measured == b.measured && a.lost_mb == b.lost_mb && a.state == b.state &&
                       a.type == b.type;
              })});
  }
  return rows.text();
}

// What a channel keeps, in words.
std::string channel_words(channel const* of) {
  if (of == nullptr) return "-";
  kept const has = kept_by_channel(*of);
  if (has.days == 0) return "nothing known";
  std::string text = count_text(static_cast<std::size_t>(has.days), "day", "days") + ", from " +
                     local_date(has.oldest_ms) + " to " + local_date(has.latest_ms);
  return text + lacks_text(*of, has) + ", " + size_text(recorded_mb(*of));
}

markup channels_comparison(value const& before, value const& now) {
  markup_table rows("Channels", columns("Channel"));
  for (auto const& each : paired(before.channels, now.channels, [](channel const& of) {
         return std::make_pair(of.number, of.id);
       })) {
    std::string const old = channel_words(each.before);
    std::string const present = channel_words(each.now);
    rows.add({escaped(std::to_string((each.now != nullptr ? each.now : each.before)->number)),
              escaped(old), escaped(present),
              change_of(each, [&](channel const&, channel const&) { return old == present; })});
  }
  return rows.text();
}

}  // namespace

markup comparison_sections(value const& before, value const& now) {
  return section("Before and now",
                 paragraph("Before is " + local_moment(before.made_ms) + ", now is " +
                           local_moment(now.made_ms) + ".") +
                     needs_comparison(before, now) + bar_legend() + spaces_comparison(before, now) +
                     volumes_comparison(before, now) + channels_comparison(before, now));
}

}  // namespace report
