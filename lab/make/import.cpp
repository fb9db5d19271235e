#include "lab/make/import.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <set>
#include <tuple>

#include "lab/make/import_units.h"
#include "lab/util/error.h"
#include "lab/util/random.h"
#include "lab/util/text.h"
#include "lab/volume/layout.h"
#include "lab/volume/recording_type.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

constexpr std::size_t longest_name = 511;
constexpr std::size_t most_recordings = 2'000'000;
constexpr std::size_t id_length = 36;
constexpr std::int32_t not_mounted = 2;
constexpr std::int32_t standby_not_mounted = 3;

std::int64_t rounded(double value, std::int64_t most) {
  return std::llround(std::clamp(value, 0.0, static_cast<double>(most)));
}

double positive(std::int64_t size) { return std::max(0.0, static_cast<double>(size)); }

bool is_graphic(char each) { return each > ' ' && each < '\x7f'; }

bool is_long_id(std::string const& text) {
  return text.size() == id_length && std::all_of(text.begin(), text.end(), is_graphic);
}

bool is_name(std::string const& text) {
  return !text.empty() && text.size() <= longest_name && printable(text) == text;
}

bool is_moment(std::int64_t time_ms) { return time_ms >= 0 && time_ms <= last_time_ms; }

bool is_believed(reported_stream const& of) {
  return find_recording_type(of.recording_type) != nullptr && of.number >= 0 && of.number <= 4;
}

// How often something is otherwise than reported.
struct deviations {
  std::int64_t spaces = 0;
  std::int64_t volumes = 0;
  std::int64_t channels = 0;
  std::int64_t streams = 0;
  std::int64_t periods = 0;
  std::int64_t cut = 0;
  std::int64_t stand_ins = 0;
};

class importer {
 public:
  importer(reported_recorder const& report, std::int64_t total_mb) : report_(report) {
    for (auto const& each : report.volumes) found_.reported_mb += positive(each.total_mb);
    auto const most = static_cast<double>(total_mb);
    if (found_.reported_mb > most) scale_ = most / found_.reported_mb;
    found_.made.now_ms = std::clamp<std::int64_t>(report.made_ms, 0, last_time_ms);
  }

  import_plan plan() {
    // First, as stand-ins for ever so many would take hours to find.
    require("spaces", report_.spaces.size(), space_limits.most);
    require("volumes", report_.volumes.size(), space_limits.most * volume_limits.most);
    require("channels", report_.channels.size(), channel_limits.most);
    for (auto const& each : report_.spaces) add(each);
    for (auto const& each : report_.volumes) add(each);
    if (plan_.volumes.empty()) throw error("the report has no volume that lies in a space of it");
    for (auto const& each : report_.channels) add(each);
    sort_recordings();
    auto const left = give_units(plan_, budgets_, shares_);
    tell_deviations();
    tell(left.recordings, "period", "without a unit: too little is used for all of them");
    tell(left.units, "MB", "used or lost that no channel can hold");
    return std::move(found_);
  }

 private:
  static void require(char const* what, std::size_t count, int most) {
    if (count <= static_cast<std::size_t>(most)) return;
    throw error("the report has " + std::to_string(count) + ' ' + what + "; at most " +
                std::to_string(most) + " can be made");
  }

  // The text, or another one when it does not fit or is there already.
  template <typename Make>
  std::string distinct(std::string const& text, bool fits, std::set<std::string>& taken,
                       Make make) {
    if (fits && taken.insert(text).second) return text;
    ++deviations_.stand_ins;
    for (;;) {
      std::string other = make();
      if (taken.insert(other).second) return other;
    }
  }

  std::string distinct_id(std::string const& text) {
    return distinct(text, is_storage_id(text), ids_, [this] { return numbers_.digits(32); });
  }

  std::string distinct_long_id(std::string const& text, std::set<std::string>& taken) {
    return distinct(text, is_long_id(text), taken, [this] { return numbers_.uuid(); });
  }

  std::string distinct_name(std::string const& text, std::set<std::string>& taken,
                            std::string const& kind) {
    std::size_t number = taken.size();
    return distinct(text, is_name(text), taken, [&] { return kind + std::to_string(++number); });
  }

  void add(reported_space const& of) {
    auto const place = static_cast<int>(plan_.spaces.size());
    if (!spaces_.emplace(of.uuid, place).second) {
      ++deviations_.spaces;
      return;
    }
    plan_.spaces.push_back({distinct_long_id(of.id, space_ids_),
                            distinct_name(of.name, space_names_, "Storage"),
                            distinct_long_id(of.uuid, uuids_), of.status, of.spare_state});
  }

  void add(reported_volume const& of) {
    auto const space = spaces_.find(of.space_uuid);
    if (space == spaces_.end()) {
      ++deviations_.volumes;
      return;
    }
    auto const id = distinct_id(of.id);
    storage_ids_.emplace(of.id, id);
    auto const name = distinct_name(of.name, volume_names_, "vol");
    volumes_.emplace(of.name, static_cast<int>(plan_.volumes.size()));
    auto const units = std::max<std::int64_t>(1, scaled(of.total_mb, most_import_mb));
    planned_volume planned{
        space->second,          id, name, folder_for(of.path), number_for(of.number),
        static_cast<int>(units)};
    planned.type = of.type;
    planned.state = of.state;
    bool const is_away = of.state == not_mounted || of.state == standby_not_mounted || of.is_absent;
    if (is_away) {
      // The state of one that is not mounted is not kept: it is found.
      if (of.state == not_mounted) planned.state = 0;
      if (of.state == standby_not_mounted) planned.state = standby_state;
      found_.unmounted.push_back({name, of.is_absent});
    }
    plan_.volumes.push_back(planned);
    budgets_.push_back(budget_of(of, units));
  }

  std::int64_t scaled(std::int64_t mb, std::int64_t most) const {
    return rounded(static_cast<double>(mb) * scale_, most);
  }

  // A leak stays one, and nothing else becomes one.
  volume_budget budget_of(reported_volume const& of, std::int64_t units) const {
    std::int64_t const least_leak = units / 20 + 1;
    std::int64_t const lost = scaled(of.lost_mb, units);
    volume_budget found{};
    found.lost = of.is_leak ? std::max(lost, least_leak) : std::min(lost, least_leak - 1);
    found.used = scaled(of.used_mb, units - found.lost);
    return found;
  }

  std::string folder_for(std::string const& path) {
    auto const last = path.substr(path.rfind('/') + 1);
    if (is_volume_folder_name(last) && folders_.insert(last).second) return last;
    int number = static_cast<int>(folders_.size());
    while (!folders_.insert(volume_folder_name(number)).second) ++number;
    return volume_folder_name(number);
  }

  std::int32_t number_for(std::int32_t reported) {
    if (numbers_taken_.insert(reported).second) return reported;
    ++deviations_.stand_ins;
    auto number = static_cast<std::int32_t>(numbers_taken_.size());
    while (!numbers_taken_.insert(number).second) ++number;
    return number;
  }

  void add(reported_channel const& of) {
    bool const has_number = of.number >= 1 && of.number < std::numeric_limits<std::int32_t>::max();
    if (!has_number || !channel_numbers_.insert(of.number).second) {
      ++deviations_.channels;
      return;
    }
    planned_channel planned{
        distinct(of.id, is_storage_id(of.id), channel_ids_, [this] { return numbers_.digits(32); }),
        of.number - 1,
        {}};
    std::set<int> used;
    for (auto const& name : of.volumes) {
      auto const volume = volumes_.find(name);
      if (volume == volumes_.end()) continue;
      if (used.insert(volume->second).second) planned.volumes.push_back(volume->second);
    }
    int const channel = static_cast<int>(plan_.channels.size());
    plan_.channels.push_back(planned);
    std::set<int> shared;
    for (auto const& each : of.sizes) add(each, channel, shared);
    for (auto const& each : of.streams) add(each, of.storage_ids, channel);
  }

  // Of several sizes on one space the first counts.
  void add(reported_size const& of, int channel, std::set<int>& shared) {
    auto const space = spaces_.find(of.space_uuid);
    if (space == spaces_.end() || !shared.insert(space->second).second) return;
    double const normal = positive(of.normal_mb);
    double const alarm = positive(of.alarm_mb);
    double const other = std::max(0.0, positive(of.all_mb) - normal - alarm);
    shares_.push_back({channel, space->second, normal * scale_, alarm * scale_, other * scale_});
  }

  void add(reported_stream const& of, std::vector<std::string> const& ids, int channel) {
    if (!is_believed(of)) {
      ++deviations_.streams;
      return;
    }
    for (auto const& each : of.periods) {
      if (!is_moment(each.start_ms) || !is_moment(each.end_ms) || each.end_ms <= each.start_ms) {
        ++deviations_.periods;
        continue;
      }
      if (each.end_ms - each.start_ms > longest_period_ms) ++deviations_.cut;
      auto const id = each.storage_id < 0 ? std::string()
                                          : id_for(ids[static_cast<std::size_t>(each.storage_id)]);
      for (auto start_ms = each.start_ms; start_ms < each.end_ms; start_ms += longest_period_ms) {
        add({channel, of.recording_type, of.number, hour_of(start_ms), 0, start_ms,
             std::min(each.end_ms, start_ms + longest_period_ms), id});
      }
    }
  }

  void add(planned_recording const& of) {
    if (plan_.recordings.size() == most_recordings) {
      throw error("the report has too many periods: at most " + std::to_string(most_recordings) +
                  " of 7 days can be made");
    }
    plan_.recordings.push_back(of);
  }

  // A volume's id, or the same one for the same text.
  std::string const& id_for(std::string const& text) {
    auto const known = storage_ids_.find(text);
    if (known != storage_ids_.end()) return known->second;
    return storage_ids_.emplace(text, text.empty() ? text : distinct_id(text)).first->second;
  }

  void sort_recordings() {
    auto const key = [](planned_recording const& of) {
      return std::make_tuple(of.start_ms, of.channel, of.recording_type, of.stream);
    };
    std::stable_sort(
        plan_.recordings.begin(), plan_.recordings.end(),
        [&key](auto const& left, auto const& right) { return key(left) < key(right); });
  }

  void tell(std::int64_t count, std::string const& what, std::string const& how) {
    if (count == 0) return;
    auto const counted_what = what == "MB" ? std::to_string(count) + " MB" : counted(count, what);
    found_.differences.push_back(counted_what + ' ' + how);
  }

  void tell_deviations() {
    tell(deviations_.spaces, "space", "left out: the uuid is there twice");
    tell(deviations_.volumes, "volume", "left out: of no space that is reported");
    tell(deviations_.channels, "channel", "left out: no number, or one that is there twice");
    tell(deviations_.streams, "stream", "left out: of no type or number that there is");
    tell(deviations_.periods, "period", "left out: without a beginning before the end");
    tell(deviations_.cut, "period", "of more than 7 days cut into several");
    tell(deviations_.stand_ins, "stand-in",
         "for names, ids and numbers that a lab recorder cannot have");
  }

  reported_recorder const& report_;
  import_plan found_;
  make_plan& plan_ = found_.made;
  double scale_ = 1;
  random numbers_{1};
  deviations deviations_;
  std::map<std::string, int> spaces_;   // by the reported uuid
  std::map<std::string, int> volumes_;  // by the reported name
  std::map<std::string, std::string> storage_ids_;
  std::set<std::string> space_ids_, space_names_, uuids_, ids_, volume_names_, folders_,
      channel_ids_;
  std::set<std::int32_t> numbers_taken_, channel_numbers_;
  std::vector<volume_budget> budgets_;
  std::vector<recorded_share> shares_;
};

}  // namespace

import_plan plan_import(reported_recorder const& report, std::int64_t total_mb) {
  return importer(report, total_mb).plan();
}

}  // namespace lab
