#include "lab/make/import_units.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_map>

#include "lab/volume/layout.h"
#include "lab/volume/recording_type.h"

namespace lab {

namespace {

constexpr std::int64_t day_milliseconds = 24 * hour_milliseconds;
constexpr std::int64_t recycled_days = 30;  // how far back st gives units back

using stream_key = std::tuple<int, std::int32_t, std::int32_t>;  // channel, type, stream

// Recordings of one kind on one volume.
struct bucket {
  double wanted = 0;
  std::vector<int> recordings = {};
};

// What lies on a volume, by channel and recording type; without a storage id it is of
// channel -1.
using buckets = std::map<std::pair<int, std::int32_t>, bucket>;
constexpr std::pair<int, std::int32_t> without_id{-1, 0};

// Whole numbers in proportion to those that are wanted, with the given sum.
std::vector<std::int64_t> apportioned(std::vector<double> const& wanted, std::int64_t sum) {
  double const all = std::accumulate(wanted.begin(), wanted.end(), 0.0);
  std::vector<std::int64_t> given;
  std::vector<std::pair<double, std::size_t>> rests;
  for (double const each : wanted) {
    double const exact = each * (static_cast<double>(sum) / all);
    rests.emplace_back(std::floor(exact) - exact, given.size());
    given.push_back(static_cast<std::int64_t>(exact));
  }
  std::sort(rests.begin(), rests.end());
  auto left = sum - std::accumulate(given.begin(), given.end(), std::int64_t{0});
  for (std::size_t index = 0; left > 0; index = (index + 1) % rests.size(), --left) {
    ++given[rests[index].second];
  }
  // What is not exact may have come out too great.
  for (auto each = given.begin(); left < 0 && each != given.end(); ++each) {
    auto const taken = std::min(*each, -left);
    *each -= taken;
    left += taken;
  }
  return given;
}

class unit_giver {
 public:
  unit_giver(make_plan& plan, std::vector<volume_budget> const& budgets)
      : plan_(plan), budgets_(budgets), lying_(plan.volumes.size()) {
    sort_out();
  }

  void want(recorded_share const& share) {
    double const other = share.other + want_type(share, normal_recording.code, share.normal) +
                         want_type(share, alarm_recording.code, share.alarm);
    if (other < 0.5) return;
    auto const volume = volume_of(share.channel, share.space);
    if (!volume) return;
    auto& manual = bucket_of(*volume, share.channel, manual_recording.code);
    if (manual.recordings.empty()) manual.recordings = {add_manual(*volume, share.channel)};
    manual.wanted += other;
  }

  left_over give() {
    left_over left{};
    for (std::size_t volume = 0; volume < plan_.volumes.size(); ++volume) {
      if (!give_used(volume)) left.units += budgets_[volume].used;
      if (!give_lost(volume)) left.units += budgets_[volume].lost;
      auto& recorded = plan_.volumes[volume].recorded;
      std::sort(recorded.begin(), recorded.end());
    }
    for (auto& each : plan_.recordings) {
      if (each.units > 0) continue;
      // Nobody reported it.
      each.is_forgotten = each.recording_type == manual_recording.code;
      left.recordings += each.is_forgotten ? 0 : 1;
    }
    return left;
  }

 private:
  bucket& bucket_of(std::size_t volume, int channel, std::int32_t type) {
    return lying_[volume][{channel, type}];
  }

  // Where a channel's recording without a storage id is taken to lie: where the one
  // before it of its stream does.
  std::optional<std::size_t> home_of(planned_recording const& of) const {
    auto const before = last_volumes_.find({of.channel, of.recording_type, of.stream});
    if (before != last_volumes_.end()) return before->second;
    auto const& volumes = plan_.channels[static_cast<std::size_t>(of.channel)].volumes;
    if (volumes.empty()) return std::nullopt;
    return static_cast<std::size_t>(volumes.front());
  }

  void sort_out() {
    std::unordered_map<std::string_view, std::size_t> places;
    for (auto const& volume : plan_.volumes) places.emplace(volume.sid_text, places.size());
    for (std::size_t index = 0; index < plan_.recordings.size(); ++index) {
      auto const& each = plan_.recordings[index];
      stream_key const stream{each.channel, each.recording_type, each.stream};
      earliest_.emplace(stream, each.start_ms);
      if (each.storage_id.empty()) {
        auto const home = home_of(each);
        if (home) lying_[*home][without_id].recordings.push_back(static_cast<int>(index));
        continue;
      }
      auto const place = places.find(each.storage_id);
      if (place == places.end()) continue;
      last_volumes_[stream] = place->second;
      bucket_of(place->second, each.channel, each.recording_type)
          .recordings.push_back(static_cast<int>(index));
    }
  }

  // Shares a size out among the volumes of the space; returns what there is no
  // recording for.
  double want_type(recorded_share const& share, std::int32_t type, double size) {
    std::vector<bucket*> holding;
    double count = 0;
    for (std::size_t volume = 0; volume < lying_.size(); ++volume) {
      if (plan_.volumes[volume].space != share.space) continue;
      auto const found = lying_[volume].find({share.channel, type});
      if (found == lying_[volume].end()) continue;
      holding.push_back(&found->second);
      count += static_cast<double>(found->second.recordings.size());
    }
    for (auto* const each : holding) {
      each->wanted += size * (static_cast<double>(each->recordings.size()) / count);
    }
    return holding.empty() ? size : 0;
  }

  // The volume of the space that has something of the channel, else one that it
  // records into, else any.
  std::optional<std::size_t> volume_of(int channel, int space) const {
    std::optional<std::size_t> any;
    for (std::size_t volume = 0; volume < lying_.size(); ++volume) {
      if (plan_.volumes[volume].space != space) continue;
      auto const first = lying_[volume].lower_bound({channel, 0});
      if (first != lying_[volume].end() && first->first.first == channel) return volume;
      auto const& used = plan_.channels[static_cast<std::size_t>(channel)].volumes;
      bool const is_used = std::count(used.begin(), used.end(), static_cast<int>(volume)) == 1;
      if (is_used || !any) any = volume;
    }
    return any;
  }

  int add(planned_recording const& of) {
    plan_.recordings.push_back(of);
    return static_cast<int>(plan_.recordings.size()) - 1;
  }

  int add_manual(std::size_t volume, int channel) {
    auto const first = lying_[volume].lower_bound({channel, 0});
    bool const has_one = first != lying_[volume].end() && first->first.first == channel &&
                         !first->second.recordings.empty();
    auto const hour_ms =
        has_one
            ? plan_.recordings[static_cast<std::size_t>(first->second.recordings.front())].hour_ms
            : hour_of(plan_.now_ms) - hour_milliseconds;
    return add({channel, manual_recording.code, 0, hour_ms, 0, hour_ms, hour_ms + hour_milliseconds,
                plan_.volumes[volume].sid_text});
  }

  void spread(std::size_t volume, std::vector<int> const& recordings, std::int64_t units) {
    auto const count = static_cast<std::int64_t>(recordings.size());
    for (std::int64_t index = 0; index < count; ++index) {
      auto const some = units * (index + 1) / count - units * index / count;
      auto const recording = recordings[static_cast<std::size_t>(index)];
      plan_.recordings[static_cast<std::size_t>(recording)].units += static_cast<int>(some);
      auto& recorded = plan_.volumes[volume].recorded;
      recorded.insert(recorded.end(), static_cast<std::size_t>(some), recording);
    }
  }

  // What is not reported of channels is without a storage id; when nothing is reported,
  // every recording counts alike.
  static std::vector<double> wanted_of(buckets const& lying, double used) {
    double all = 0;
    for (auto const& [key, each] : lying) all += each.wanted;
    std::vector<double> wanted;
    for (auto const& [key, each] : lying) {
      if (all <= 0) {
        wanted.push_back(static_cast<double>(each.recordings.size()));
      } else {
        wanted.push_back(key == without_id ? std::max(0.0, used - all) : each.wanted);
      }
    }
    return wanted;
  }

  // False when there is no channel that could hold them.
  bool give_used(std::size_t volume) {
    auto const used = budgets_[volume].used;
    if (used == 0) return true;
    auto& lying = lying_[volume];
    if (lying.empty()) {
      auto const channel = channel_for(volume);
      if (!channel) return false;
      bucket_of(volume, *channel, manual_recording.code).recordings = {
          add_manual(volume, *channel)};
    }
    auto const wanted = wanted_of(lying, static_cast<double>(used));
    auto const given = apportioned(wanted, used);
    std::size_t index = 0;
    for (auto const& [key, each] : lying) spread(volume, each.recordings, given[index++]);
    return true;
  }

  std::optional<int> channel_for(std::size_t volume) const {
    if (plan_.channels.empty()) return std::nullopt;
    for (std::size_t channel = 0; channel < plan_.channels.size(); ++channel) {
      auto const& used = plan_.channels[channel].volumes;
      if (std::count(used.begin(), used.end(), static_cast<int>(volume)) > 0) {
        return static_cast<int>(channel);
      }
    }
    return 0;
  }

  // Of the channels that have something on the volume, the stream that begins last:
  // before it there is most room.
  std::optional<std::pair<stream_key, std::int64_t>> stream_for(std::size_t volume) const {
    std::optional<std::pair<stream_key, std::int64_t>> latest;
    for (auto const& [stream, start_ms] : earliest_) {
      auto const [channel, type, number] = stream;
      if (type == manual_recording.code || lying_[volume].count({channel, type}) == 0) continue;
      if (!latest || start_ms > latest->second) latest = {stream, start_ms};
    }
    if (latest) return latest;
    auto const channel = channel_for(volume);
    if (!channel) return std::nullopt;
    stream_key const stream{*channel, normal_recording.code, 0};
    auto const known = earliest_.find(stream);
    return {{stream, known == earliest_.end() ? plan_.now_ms : known->second}};
  }

  // False when there is no channel that could have lost them.
  bool give_lost(std::size_t volume) {
    auto const lost = budgets_[volume].lost;
    if (lost == 0) return true;
    auto const found = stream_for(volume);
    if (!found) return false;
    auto const [channel, type, number] = found->first;
    auto const end_ms = hour_of(found->second);
    // One hour of margin, so that it can be found a while later too.
    auto const floor_ms =
        hour_of(plan_.now_ms - recycled_days * day_milliseconds) + 2 * hour_milliseconds;
    auto const hours = std::clamp<std::int64_t>((end_ms - floor_ms) / hour_milliseconds, 1, lost);
    std::vector<int> forgotten;
    for (std::int64_t back = 1; back <= hours; ++back) {
      auto const hour_ms = end_ms - back * hour_milliseconds;
      forgotten.push_back(
          add({channel, type, number, hour_ms, 0, hour_ms, hour_ms + hour_milliseconds, {}, true}));
    }
    spread(volume, forgotten, lost);
    return true;
  }

  make_plan& plan_;
  std::vector<volume_budget> const& budgets_;
  std::vector<buckets> lying_;  // by volume
  std::map<stream_key, std::int64_t> earliest_;
  std::map<stream_key, std::size_t> last_volumes_;
};

}  // namespace

left_over give_units(make_plan& plan, std::vector<volume_budget> const& budgets,
                     std::vector<recorded_share> const& shares) {
  unit_giver giver(plan, budgets);
  for (auto const& each : shares) giver.want(each);
  return giver.give();
}

}  // namespace lab
