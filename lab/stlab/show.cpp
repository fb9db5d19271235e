#include <algorithm>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"
#include "lab/util/text.h"
#include "lab/volume/layout.h"
#include "lab/volume/place.h"

namespace stlab {

namespace {

enum class hour_detail { sums, each };

constexpr std::size_t continuation_indent = 6;

using unit_groups = std::vector<lab::unit_group>;

// What of a recorder is shown: all of it, or what belongs to one volume, to one
// channel, or to both.
struct selection {
  std::optional<lab::volume> volume;
  std::optional<lab::channel> channel;

  bool holds(lab::unit_group const& which) const {
    return (!volume || volume->id == which.volume_id) &&
           (!channel || (which.of && which.of->channel_id == channel->id));
  }
  // Of those with units that are shown.
  bool holds(lab::volume const& which, std::set<std::int64_t> const& with_units) const {
    return (!volume || volume->id == which.id) && (!channel || with_units.count(which.id) == 1);
  }
  bool holds(lab::channel const& which, std::set<std::int64_t> const& with_units) const {
    if (channel) return channel->id == which.id;
    return !volume || with_units.count(which.id) == 1;
  }
};

// Prints a line, broken at what the screen takes.
void show_line(std::string const& text) {
  std::cout << wrapped(lab::printable(text), columns(), continuation_indent) << '\n';
}

bool is_without_period(lab::unit_group const& units) {
  return units.state == lab::unit_state::recorded && !units.period_id;
}

// "64 units: 26 free, 38 recorded (7 without a period)".
std::string states_text(unit_groups const& all, std::int64_t volume_id) {
  std::map<lab::unit_state, std::int64_t> units;
  std::int64_t total = 0;
  std::int64_t without_period = 0;
  for (lab::unit_group const& each : all) {
    if (each.volume_id != volume_id) continue;
    units[each.state] += each.units;
    total += each.units;
    if (is_without_period(each)) without_period += each.units;
  }
  std::string text = counted(total, "unit");
  for (auto const& [state, count] : units) {
    text += (state == units.begin()->first ? ": " : ", ") + std::to_string(count) + " " +
            lab::text_of(state);
    if (state == lab::unit_state::recorded && without_period > 0) {
      text += " (" + std::to_string(without_period) + " without a period)";
    }
  }
  return text;
}

void show_volume(lab::volume const& volume, unit_groups const& all) {
  show_line("volume " + volume.name + "  id " + std::to_string(volume.id) + ", " +
            states_text(all, volume.id));
  show_line("  " + std::string(lab::share_folder) + "/" + volume.path.filename().string() + "/" +
            lab::storage_folder_name(volume.sid_text));
}

// What is to be said of the units besides where they are; empty of those that a period
// with a storage id holds.
std::string trouble_of(lab::unit_group const& units) {
  if (lab::is_in_transit(units.state)) return std::string(", ") + lab::text_of(units.state);
  if (!units.period_id) return ", WITHOUT A PERIOD";
  return units.has_storage_id ? "" : ", NO STORAGE ID";
}

// Names by the catalogue's ids. Throws lab::error for an id that nothing has.
struct naming {
  std::map<std::int64_t, std::int32_t> channels;
  std::map<std::int64_t, std::string> volumes;

  std::int32_t channel(std::int64_t id) const { return found(channels, id, "channel"); }
  std::string const& volume(std::int64_t id) const { return found(volumes, id, "volume"); }

 private:
  template <typename Name>
  static Name const& found(std::map<std::int64_t, Name> const& in, std::int64_t id,
                           std::string const& what) {
    auto const at = in.find(id);
    if (at == in.end()) throw lab::error("catalogue: no " + what + " has id " + std::to_string(id));
    return at->second;
  }
};

naming names_in(lab::recorder const& in) {
  naming names;
  for (lab::channel const& each : in.channels()) names.channels[each.id] = each.number;
  for (lab::volume const& each : in.volumes()) names.volumes[each.id] = each.name;
  return names;
}

void show_each_hour(unit_groups const& shown, naming const& names) {
  show_line("hour folders (UTC)");
  for (lab::unit_group const& each : shown) {
    if (!each.of) continue;
    std::string const folder = lab::hour_folder_name(
        names.channel(each.of->channel_id), each.of->recording_type, each.of->number, each.hour_ms);
    std::string const period =
        each.period_id ? ", period " + std::to_string(*each.period_id) : std::string();
    show_line("  " + folder + "  " + names.volume(each.volume_id) + ", " +
              counted(each.units, "unit") + period + trouble_of(each));
  }
}

void show_sums(unit_groups const& shown, naming const& names) {
  struct sum {
    std::int64_t units = 0;
    std::set<std::int64_t> hours;
  };
  // In the order of the streams, and of the volumes of each.
  std::map<std::tuple<std::int64_t, std::int32_t, std::int32_t, std::int64_t, std::string>, sum>
      sums;
  for (lab::unit_group const& each : shown) {
    if (!each.of) continue;
    sum& of = sums[{each.of->channel_id, -each.of->recording_type, each.of->number, each.volume_id,
                    trouble_of(each)}];
    of.units += each.units;
    of.hours.insert(each.hour_ms);
  }
  show_line("units");
  for (auto const& [key, of] : sums) {
    auto const& [channel_id, type, stream, volume_id, trouble] = key;
    show_line("  " + stream_label(names.channel(channel_id), -type, stream) + "  " +
              names.volume(volume_id) + ", " + counted(of.units, "unit") + " in " +
              counted(static_cast<std::int64_t>(of.hours.size()), "hour") + trouble);
  }
}

struct settings {
  recorder_folder folder;
  bool each_hour = false;
  std::string volume;
  std::optional<std::int32_t> channel;
};

selection selected(lab::recorder const& in, settings const& asked) {
  selection chosen;
  if (!asked.volume.empty()) chosen.volume = find_volume(in, asked.volume);
  if (asked.channel) chosen.channel = find_channel(in, *asked.channel);
  return chosen;
}

void show_all(lab::recorder const& in, selection const& chosen, hour_detail detail) {
  unit_groups const all = in.unit_groups();
  unit_groups shown;
  std::set<std::int64_t> volumes;
  std::set<std::int64_t> channels;
  for (lab::unit_group const& each : all) {
    if (!chosen.holds(each)) continue;
    shown.push_back(each);
    volumes.insert(each.volume_id);
    if (each.of) channels.insert(each.of->channel_id);
  }
  show_line("recorder " + in.folder().string() + ", units of " + std::to_string(in.unit_mb()) +
            " MB");
  for (lab::volume const& each : in.volumes()) {
    if (chosen.holds(each, volumes)) show_volume(each, all);
  }
  show_line("channels");
  for (lab::channel const& each : in.channels()) {
    if (!chosen.holds(each, channels)) continue;
    show_line("  " + channel_label(each.number) + "  channel_id " + std::to_string(each.number) +
              ", id " + std::to_string(each.id));
  }
  auto const show_units = detail == hour_detail::each ? show_each_hour : show_sums;
  show_units(shown, names_in(in));
}

exit_status show(settings const& asked) {
  lab::recorder const recorder = open_recorder(asked.folder, lab::access::read_only);
  lab::consistent_view const view(recorder);
  show_all(recorder, selected(recorder, asked),
           asked.each_hour ? hour_detail::each : hour_detail::sums);
  return exit_status::done;
}

}  // namespace

void add_show(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(
      tool, chosen, "show",
      "Shows what only the lab knows: units, their states and places, and the catalogue's ids; "
      "st-report tells the rest",
      fallback::built_in, show);
  add_volume(command, asked.volume, "all", "Only what belongs to this volume");
  add_channel(command, asked.channel, "Only what belongs to this channel, counted from 0", "all");
  add_flag(command, "--hours", asked.each_hour, "Each hour folder, not only sums for each stream");
}

}  // namespace stlab
