#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"
#include "lab/util/text.h"
#include "lab/volume/recording_type.h"

namespace stlab {

namespace {

enum class period_detail { summary, each };

constexpr std::size_t widest_bar = 40;
constexpr std::size_t bar_indent = 4;
constexpr std::size_t continuation_indent = 6;

constexpr char const* state_names[] = {
    "active",         "standby",        "NOT MOUNTED",   "standby, NOT MOUNTED",
    "making folders", "over threshold", "being removed", "unknown error",
};

std::string state_name(std::int32_t state) {
  if (state < 0 || static_cast<std::size_t>(state) >= std::size(state_names)) {
    return "state " + std::to_string(state);
  }
  return state_names[state];
}

// What of a recorder is shown: all of it, or what belongs to one volume, to one
// channel, or to both.
struct selection {
  std::optional<lab::volume> volume;
  std::optional<lab::channel> channel;

  std::set<std::int64_t> volumes_of_channel;  // into which it records, or has recorded

  bool holds(lab::volume const& which) const {
    return (!volume || volume->id == which.id) &&
           (!channel || volumes_of_channel.count(which.id) == 1);
  }
  bool holds(lab::channel const& which) const { return !channel || channel->id == which.id; }
  bool holds(lab::period const& which) const {
    return (!volume || volume->sid_text == which.storage_id) &&
           (!channel || channel->id == which.channel_id);
  }
};

// Prints a line, broken at what the screen takes.
void show_line(std::string const& text) {
  std::cout << wrapped(lab::printable(text), columns(), continuation_indent) << '\n';
}

std::int64_t bar_width() {
  return static_cast<std::int64_t>(std::min(widest_bar, columns() - bar_indent - 2));
}

// '#' used, '.' preallocated, '!' lost, each in proportion. A part that is not 0
// shows at least one character, at the cost of the widest one.
std::string bar(lab::volume_account const& account) {
  struct part {
    std::int64_t units;
    char sign;
    std::int64_t width;
  };
  std::array<part, 3> parts{{{account.held + account.moving, '#', 0},
                             {account.preallocated, '.', 0},
                             {account.lost, '!', 0}}};
  std::int64_t left = bar_width();
  if (account.total == 0) return '[' + std::string(static_cast<std::size_t>(left), ' ') + ']';
  for (part& each : parts) {
    if (each.units <= 0) continue;
    each.width = std::max<std::int64_t>(1, each.units * bar_width() / account.total);
    left -= each.width;
  }
  part& spare = parts[1];
  part& widest =
      *std::max_element(parts.begin(), parts.end(),
                        [](part const& one, part const& two) { return one.width < two.width; });
  (spare.width + left >= 1 && spare.units > 0 ? spare : widest).width += left;
  std::string text = "[";
  for (part const& each : parts) text.append(static_cast<std::size_t>(each.width), each.sign);
  return text + ']';
}

std::string unknown_bar() {
  return '[' + std::string(static_cast<std::size_t>(bar_width()), '?') + ']';
}

std::string megabytes(std::int64_t mb) { return std::to_string(mb) + " MB"; }

void show_volume(lab::recorder const& in, lab::volume const& volume) {
  lab::volume_account const account = in.account(volume.id);
  std::int64_t const unit_mb = in.unit_mb();
  bool const mounted = is_mounted(volume);
  show_line("  volume " + volume.name + "  no " + std::to_string(volume.volume_no) + ", " +
            (volume.type == 0 ? "normal" : "spare") + ", " + state_name(volume.state));
  show_line(std::string(bar_indent, ' ') + "storage_id " + volume.sid_text);
  show_line(std::string(bar_indent, ' ') + (mounted ? bar(account) : unknown_bar()));
  show_line(std::string(bar_indent, ' ') + (mounted ? "" : "by the catalogue: ") + "total " +
            megabytes(account.total * unit_mb) + ": used " +
            std::to_string((account.held + account.moving) * unit_mb) + ", preallocated " +
            std::to_string(account.preallocated * unit_mb) + ", lost " +
            std::to_string(account.lost * unit_mb));
}

void show_recorded(lab::recorder const& in, lab::space const& space, selection const& chosen) {
  std::int64_t total_mb = 0;
  for (lab::channel const& channel : in.space_channels(space.id)) {
    if (!chosen.holds(channel)) continue;
    auto const recorded = [&](std::optional<std::int32_t> type) {
      return in.recorded_mb(space.id, channel.id, type);
    };
    total_mb += recorded(std::nullopt);
    std::string of_types;
    for (lab::recording_type const& each : lab::recording_types) {
      of_types += (of_types.empty() ? "" : ", ") + std::string(each.name) + " " +
                  std::to_string(recorded(each.code));
    }
    show_line("  " + channel_label(channel.number) + " recorded " +
              megabytes(recorded(std::nullopt)) + " (" + of_types + ")");
  }
  if (!chosen.channel) show_line("  recorded in all " + megabytes(total_mb));
}

// What st calls uuid, storage_id, channel_id and channel is called so here.
void show_space(lab::recorder const& in, lab::space const& space, selection const& chosen) {
  std::vector<lab::volume> volumes = in.volumes();
  volumes.erase(std::remove_if(volumes.begin(), volumes.end(),
                               [&](lab::volume const& each) {
                                 return each.space_id != space.id || !chosen.holds(each);
                               }),
                volumes.end());
  if (volumes.empty() && (chosen.volume || chosen.channel)) return;
  show_line("space " + space.name + "  uuid " + space.sid);
  show_line("  status " + std::to_string(space.status) + ", total " + megabytes(space.total_mb) +
            ", used " + megabytes(space.used_mb));
  for (lab::volume const& volume : volumes) show_volume(in, volume);
  if (!chosen.volume) show_recorded(in, space, chosen);
}

// The ids of the volumes into which the channel records, or has recorded.
std::set<std::int64_t> volumes_of(lab::recorder const& in, lab::channel const& channel) {
  std::set<std::string> storages;
  for (lab::period const& each : in.periods()) {
    if (each.channel_id == channel.id) storages.insert(each.storage_id);
  }
  std::set<std::int64_t> ids;
  for (lab::volume const& volume : in.volumes()) {
    if (storages.count(volume.sid_text) == 1) ids.insert(volume.id);
  }
  for (assignment const& each : assignments(in)) {
    if (each.channel.id == channel.id) ids.insert(each.volume.id);
  }
  return ids;
}

void show_channels(lab::recorder const& in, selection const& chosen) {
  std::vector<assignment> const all = assignments(in);
  show_line("channels");
  for (lab::channel const& channel : in.channels()) {
    if (!chosen.holds(channel)) continue;
    std::string names;
    bool is_chosen = !chosen.volume;
    for (assignment const& each : all) {
      if (each.channel.id != channel.id) continue;
      names += (names.empty() ? "" : ", ") + each.volume.name;
      is_chosen = is_chosen || chosen.holds(each.volume);
    }
    if (!is_chosen) continue;
    show_line("  " + channel_label(channel.number) + "  channel_id " +
              std::to_string(channel.number) + ", channel " + channel.sid + ", into " +
              (names.empty() ? "no volume" : names));
  }
}

// The periods of one stream under one storage id, or one period alone.
struct period_group {
  lab::period first;
  std::int64_t end_ms;
  std::int64_t periods;
  std::int64_t runs;  // of adjoining periods
};

auto group_key(lab::period const& of) {
  return std::tuple(of.channel_id, -of.recording_type, of.stream, of.storage_id);
}

std::vector<period_group> group(std::vector<lab::period> periods, period_detail detail) {
  std::stable_sort(periods.begin(), periods.end(),
                   [](lab::period const& left, lab::period const& right) {
                     return std::tuple(group_key(left), left.start_ms) <
                            std::tuple(group_key(right), right.start_ms);
                   });
  std::vector<period_group> groups;
  for (lab::period const& each : periods) {
    bool const goes_on = detail == period_detail::summary && !groups.empty() &&
                         group_key(groups.back().first) == group_key(each);
    if (!goes_on) {
      groups.push_back({each, each.end_ms, 1, 1});
      continue;
    }
    period_group& last = groups.back();
    if (each.start_ms > last.end_ms) ++last.runs;
    last.end_ms = std::max(last.end_ms, each.end_ms);
    ++last.periods;
  }
  return groups;
}

void show_group(period_group const& shown, std::string const& label, std::string const& place) {
  std::string const count = shown.periods == 1 ? ""
                                               : ", " + counted(shown.periods, "period") + ", " +
                                                     counted(shown.runs, "run");
  show_line("  " + label + "  " + utc_text(shown.first.start_ms) + " to " + utc_text(shown.end_ms) +
            "  " + place + count);
}

void show_periods(lab::recorder const& in, period_detail detail, selection const& chosen) {
  std::map<std::int64_t, std::int32_t> numbers;
  for (lab::channel const& channel : in.channels()) numbers[channel.id] = channel.number;
  std::map<std::string, std::string> places{{"", "NO STORAGE ID"}};
  for (lab::volume const& volume : in.volumes()) places[volume.sid_text] = volume.name;
  std::vector<lab::period> periods = in.periods();
  periods.erase(std::remove_if(periods.begin(), periods.end(),
                               [&](lab::period const& each) { return !chosen.holds(each); }),
                periods.end());
  show_line("periods (UTC)");
  for (period_group const& each : group(std::move(periods), detail)) {
    lab::period const& first = each.first;
    show_group(each, stream_label(numbers[first.channel_id], first.recording_type, first.stream),
               places[first.storage_id]);
  }
}

struct settings {
  recorder_folder folder;
  bool each_period = false;
  std::string volume;
  std::optional<std::int32_t> channel;
};

exit_status show(settings const& asked) {
  lab::recorder const recorder = open_recorder(asked.folder, lab::access::read_only);
  lab::consistent_view const view(recorder);
  selection chosen;
  if (!asked.volume.empty()) chosen.volume = find_volume(recorder, asked.volume);
  if (asked.channel) {
    chosen.channel = find_channel(recorder, *asked.channel);
    chosen.volumes_of_channel = volumes_of(recorder, *chosen.channel);
  }
  show_line("recorder " + recorder.folder().string() + ", units of " +
            megabytes(recorder.unit_mb()));
  for (lab::space const& space : recorder.spaces()) show_space(recorder, space, chosen);
  std::int64_t const unattributed_mb = recorder.unattributed_mb();
  if (unattributed_mb > 0 && !chosen.volume && !chosen.channel) {
    show_line("recorded under no storage id " + megabytes(unattributed_mb));
  }
  show_channels(recorder, chosen);
  show_periods(recorder, asked.each_period ? period_detail::each : period_detail::summary, chosen);
  return exit_status::done;
}

}  // namespace

void add_show(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(
      tool, chosen, "show",
      "Shows spaces, volumes (# used, . preallocated, ! lost, ? not mounted), channels and "
      "periods",
      fallback::built_in, show);
  add_volume(command, asked.volume, "all", "Only what belongs to this volume");
  add_channel(command, asked.channel, "Only what belongs to this channel, counted from 0", "all");
  add_flag(command, "--periods", asked.each_period,
           "Each period, not only a summary for each stream");
}

}  // namespace stlab
