#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <memory>
#include <tuple>

#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/times.h"

namespace stlab {

namespace {

enum class period_detail { summary, each };

constexpr std::int32_t type_normal = 4;
constexpr std::int32_t type_alarm = 1;
constexpr std::int64_t bar_width = 40;

constexpr char const* state_names[] = {
    "active",         "standby",        "not mounted",   "standby, not mounted",
    "making folders", "over threshold", "being removed", "unknown error",
};

std::string state_name(std::int32_t state) {
  if (state < 0 || static_cast<std::size_t>(state) >= std::size(state_names)) {
    return "state " + std::to_string(state);
  }
  return state_names[state];
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
  std::int64_t left = bar_width;
  for (part& each : parts) {
    if (each.units <= 0) continue;
    each.width = std::max<std::int64_t>(1, each.units * bar_width / account.total);
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

void show_volume(lab::recorder const& in, lab::volume const& volume) {
  lab::volume_account const account = in.account(volume.id);
  std::int64_t const unit_mb = in.unit_mb();
  std::cout << "  volume " << volume.name << "  no " << volume.volume_no << ", "
            << (volume.type == 0 ? "normal" : "spare") << ", " << state_name(volume.state)
            << ", id " << volume.sid_text << "\n    " << bar(account) << " total "
            << account.total * unit_mb << " MB: used " << (account.held + account.moving) * unit_mb
            << ", preallocated " << account.preallocated * unit_mb << ", lost "
            << account.lost * unit_mb << '\n';
}

void show_recorded(lab::recorder const& in, lab::space const& space) {
  std::int64_t total_mb = 0;
  for (lab::channel const& channel : in.space_channels(space.id)) {
    std::int64_t const all_mb = in.recorded_mb(space.id, channel.id, std::nullopt);
    total_mb += all_mb;
    std::cout << "  " << channel_label(channel.number) << " recorded " << all_mb << " MB (normal "
              << in.recorded_mb(space.id, channel.id, type_normal) << ", alarm "
              << in.recorded_mb(space.id, channel.id, type_alarm) << ")\n";
  }
  std::cout << "  recorded in all " << total_mb << " MB\n";
}

void show_space(lab::recorder const& in, lab::space const& space) {
  std::cout << "space " << space.name << "  id " << space.sid << ", uuid " << space.uuid
            << ", status " << space.status << ", total " << space.total_mb << " MB, used "
            << space.used_mb << " MB\n";
  for (lab::volume const& volume : in.volumes()) {
    if (volume.space_id == space.id) show_volume(in, volume);
  }
  show_recorded(in, space);
}

void show_channels(lab::recorder const& in) {
  std::map<std::int64_t, std::string> volumes;
  for (lab::volume const& volume : in.volumes()) {
    for (lab::channel const& channel : in.volume_channels(volume.volume_no)) {
      std::string& names = volumes[channel.id];
      names += (names.empty() ? "" : ", ") + volume.name;
    }
  }
  std::cout << "channels\n";
  for (lab::channel const& channel : in.channels()) {
    std::string const& names = volumes[channel.id];
    std::cout << "  " << channel_label(channel.number) << "  number " << channel.number << ", id "
              << channel.sid << ", records into " << (names.empty() ? "no volume" : names) << '\n';
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
  std::cout << "  " << label << "  " << utc_text(shown.first.start_ms) << " to "
            << utc_text(shown.end_ms) << "  " << place;
  if (shown.periods > 1) {
    std::cout << ", periods " << shown.periods << " in runs " << shown.runs;
  }
  std::cout << '\n';
}

void show_periods(lab::recorder const& in, period_detail detail) {
  std::map<std::int64_t, std::int32_t> numbers;
  for (lab::channel const& channel : in.channels()) numbers[channel.id] = channel.number;
  std::map<std::string, std::string> places{{"", "NO STORAGE ID"}};
  for (lab::volume const& volume : in.volumes()) places[volume.sid_text] = "on " + volume.name;
  std::cout << "periods (UTC)\n";
  for (period_group const& each : group(in.periods(), detail)) {
    lab::period const& first = each.first;
    show_group(each, stream_label(numbers[first.channel_id], first.recording_type, first.stream),
               places[first.storage_id]);
  }
}

exit_status show(std::filesystem::path const& folder, period_detail detail) {
  lab::recorder const recorder = open_recorder(folder, lab::access::read_only);
  lab::consistent_view const view(recorder);
  std::cout << "recorder " << recorder.folder().string() << ", units of " << recorder.unit_mb()
            << " MB\n";
  for (lab::space const& space : recorder.spaces()) show_space(recorder, space);
  std::int64_t const unattributed_mb = recorder.unattributed_mb();
  if (unattributed_mb > 0) {
    std::cout << "recorded under no storage id " << unattributed_mb << " MB\n";
  }
  show_channels(recorder);
  show_periods(recorder, detail);
  return exit_status::done;
}

struct settings {
  std::filesystem::path folder;
  bool each_period = false;
};

}  // namespace

void add_show(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command = *tool.add_subcommand(
      "show", "Shows spaces, volumes (# used, . preallocated, ! lost), channels and periods");
  add_folder(command, asked->folder);
  command.add_flag("--periods", asked->each_period,
                   "Each period, not only a summary for each stream");
  command.callback([asked, &chosen] {
    chosen = [asked] {
      return show(asked->folder, asked->each_period ? period_detail::each : period_detail::summary);
    };
  });
}

}  // namespace stlab
