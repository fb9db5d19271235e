#include "recorder_value.h"

#include <algorithm>
#include <limits>

#include "commands/leak.h"

namespace report {

namespace {

constexpr std::int64_t beginning = 0;
constexpr std::int64_t end = 253'402'300'799'999;

volume volume_of(lab::recorder const& recorder, lab::volume const& of) {
  auto const account = recorder.account(of.id);
  bool const is_there = std::filesystem::exists(of.path);
  volume told;
  told.id = of.sid_text;
  told.name = of.name;
  told.path = "share/" + of.path.filename().string();
  told.number = of.volume_no;
  told.space_uuid = of.space_uuid;
  told.type = of.type;
  told.state = of.state;
  told.total_mb = of.total_mb;
  told.used_mb = of.used_mb;
  told.measured = is_there ? measuring::done : measuring::not_mounted;
  if (!is_there) return told;
  told.preallocated_mb = account.preallocated * recorder.unit_mb();
  told.lost_mb = st::lost_size(told.total_mb, told.used_mb, *told.preallocated_mb);
  told.leak = st::is_leak(*told.lost_mb, told.total_mb);
  return told;
}

stream stream_of(lab::recorder const& recorder, lab::channel const& of, std::int32_t type,
                 std::int32_t number) {
  stream told{type, type == 4 ? "NR" : "AR", number, true, {}};
  for (auto const& each : recorder.periods({of.id, type, number}, {beginning, end})) {
    told.periods.push_back({each.start_ms, each.end_ms, each.storage_id});
  }
  std::stable_sort(
      told.periods.begin(), told.periods.end(),
      [](auto const& left, auto const& right) { return left.start_ms < right.start_ms; });
  return told;
}

channel channel_of(lab::recorder const& recorder, lab::channel const& of) {
  channel told{of.number + 1, of.sid, {}, {}, {}};
  for (auto const& volume : recorder.volumes()) {
    for (auto const& each : recorder.volume_channels(volume.volume_no)) {
      if (each.id == of.id) told.volumes.push_back(volume.name);
    }
  }
  for (std::int32_t const type : {4, 1}) {
    for (std::int32_t number = 0; number < 5; ++number) {
      auto const found = stream_of(recorder, of, type, number);
      if (!found.periods.empty()) told.streams.push_back(found);
    }
  }
  for (auto const& space : recorder.spaces()) {
    auto const all = recorder.recorded_mb(space.id, of.id, std::nullopt);
    if (all == 0) continue;
    told.sizes.push_back({space.uuid, recorder.recorded_mb(space.id, of.id, 4),
                          recorder.recorded_mb(space.id, of.id, 1), all});
  }
  return told;
}

}  // namespace

value value_of(lab::recorder const& recorder) {
  value told;
  for (auto const& each : recorder.spaces()) {
    told.spaces.push_back({each.sid, each.uuid, each.name, each.total_mb, each.used_mb, each.status,
                           "", each.spare_state});
  }
  for (auto const& each : recorder.volumes()) told.volumes.push_back(volume_of(recorder, each));
  for (auto const& each : recorder.channels()) told.channels.push_back(channel_of(recorder, each));
  return told;
}

}  // namespace report
