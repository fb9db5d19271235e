#include <algorithm>
#include <list>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "commands/channel_walk.h"
#include "report/asking.h"
#include "report/subject.h"
#include "storage/handles.h"
#include "storage/number.h"
#include "storage/text.h"

namespace report {

namespace {

constexpr std::int64_t end_of_9999_ms = 253'402'300'800'000;

bool is_in_time(std::int64_t moment_ms) noexcept {
  return moment_ms >= 0 && moment_ms <= end_of_9999_ms;
}

std::string text_of(period const& of) {
  return std::to_string(of.start_ms) + " to " + std::to_string(of.end_ms) + " ms";
}

// What is asked of one stream, and how lines name it.
struct asked_stream {
  asking& in;
  channel const& owner;
  stream& told;

  std::string name() const {
    return subject_of(owner) + " " + told.type_name + " S0" + std::to_string(told.number);
  }
};

void check_period(asked_stream const& of, period const& each) {
  if (each.end_ms < each.start_ms) {
    of.in.problems.add(oddity::period_order, [&] {
      return of.name() + ": a period ends before it starts: " + text_of(each);
    });
  }
  if (!is_in_time(each.start_ms) || !is_in_time(each.end_ms)) {
    of.in.problems.add(oddity::period_time, [&] {
      return of.name() + ": a period lies outside the years 1970 to 9999: " + text_of(each);
    });
  }
}

void take_periods(asked_stream const& of, std::list<time_period> const& records) {
  of.told.asked = true;
  auto& periods = of.told.periods;
  periods.reserve(records.size());
  shared_text last_id;
  for (time_period const& record : records) {
    auto const id = st::field_text(record.storage_id.text);
    if (id != last_id.view()) {
      last_id = of.in.clean(id, "a period's storage id", [&] { return of.name(); });
    }
    check_period(of, periods.emplace_back(period{record.start_time, record.end_time, last_id}));
  }
  auto const is_before = [](period const& left, period const& right) {
    return left.start_ms < right.start_ms;
  };
  if (!std::is_sorted(periods.begin(), periods.end(), is_before)) {
    std::stable_sort(periods.begin(), periods.end(), is_before);
  }
}

void ask_stream(asked_stream const& of, IFrameChannelSession& session) {
  std::list<time_period> records;
  int const result = session.get_time_period_list(of.told.recording_type, of.told.number, 0,
                                                  of.in.now_ms, records, 0, 1, 1);
  if (result != 0) {
    of.in.miss(of.name() + ": its periods could not be listed", result);
  } else {
    take_periods(of, records);
  }
}

// The channel with its streams; all of them are unasked when there is no session.
channel ask_channel(asking& in, CKivChannel& channels, channel_sid const& record,
                    std::size_t position) {
  channel told;
  told.number = st::shown_channel(record.number);
  told.id = in.clean(st::field_text(record.id), "its id",
                     [&] { return "channel " + std::to_string(position) + " of the list"; });
  st::channel_session session(channels, record, st::release::when_obtained);
  if (session.get() == nullptr) {
    in.told.not_asked.push_back(subject_of(told) + ": no session, so its recordings are not known");
  }
  st::for_each_stream(record, [&](stream_info const& of, st::recording_type const& type) {
    stream each;
    each.recording_type = type.code;
    each.type_name = type.name;
    each.number = of.stream;
    if (session.get() != nullptr) ask_stream({in, told, each}, *session.get());
    if (!each.asked || !each.periods.empty()) told.streams.push_back(std::move(each));
  });
  session.close();
  return told;
}

void check_identity(asking& in, std::unordered_set<std::int32_t>& numbers,
                    std::unordered_set<std::string>& ids, channel_sid const& record,
                    channel const& told) {
  auto const note = [&](char const* what) {
    in.problems.add(oddity::doubled,
                    [&] { return subject_of(told) + ": another one has the same " + what; });
  };
  if (!numbers.insert(record.number).second) note("number");
  if (!ids.emplace(record.id, sizeof record.id).second) note("id");
}

// By the text of their ids, as st takes pairings and channels together.
std::unordered_map<std::string, std::size_t> positions_by_id(asking const& in) {
  std::unordered_map<std::string, std::size_t> positions;
  for (std::size_t i = 0; i < in.channels.size(); ++i) {
    positions.emplace(st::field_text(in.channels[i].id), i);
  }
  return positions;
}

struct asked_sizes {
  asking& in;
  IStorageSetting& setting;
  space const& on;
  kivsid const& space_id;
};

void ask_sizes_of(asked_sizes const& asked, std::size_t position) {
  channel& told = asked.in.told.channels[position];
  channel_sid const id = st::identity_of(asked.in.channels[position]);
  auto const name = [&] { return subject_of(told) + " on " + subject_of(asked.on); };
  recorded_size size;
  size.space_uuid = asked.on.uuid;
  int result = asked.setting.get_channel_recording_size(asked.space_id, id,
                                                        st::normal_recording.code, &size.normal_mb);
  if (result == 0) {
    result = asked.setting.get_channel_recording_size(asked.space_id, id, st::alarm_recording.code,
                                                      &size.alarm_mb);
  }
  if (result == 0) {
    result = asked.setting.get_channel_total_recording_size(asked.space_id, id, &size.all_mb);
  }
  if (result != 0) {
    asked.in.miss(name() + ": how much is recorded could not be asked", result);
    return;
  }
  asked.in.check_size(size.normal_mb, "the size of normal recordings", name);
  asked.in.check_size(size.alarm_mb, "the size of alarm recordings", name);
  asked.in.check_size(size.all_mb, "the size of all recordings", name);
  told.sizes.push_back(std::move(size));
}

}  // namespace

void ask_channels(asking& in, IStorageSetting& setting) {
  std::list<channel_setting> records;
  if (int const result = setting.get_channel_list(records, 1); result != 0) {
    in.miss("the channels could not be listed", result);
    return;
  }
  in.are_channels_known = true;
  CKivChannel channels;
  std::unordered_set<std::int32_t> numbers;
  std::unordered_set<std::string> ids;
  for (auto const& [record] : records) {
    if (!st::is_selected(record, st::all_channels)) continue;
    channel told = ask_channel(in, channels, record, in.told.channels.size() + 1);
    check_identity(in, numbers, ids, record, told);
    in.told.channels.push_back(std::move(told));
    in.channels.push_back(record);
  }
}

void ask_assignments(asking& in, IPlugPlayService& service) {
  std::unordered_multimap<std::uint32_t, std::size_t> positions;
  for (std::size_t i = 0; i < in.channels.size(); ++i) {
    positions.emplace(static_cast<std::uint32_t>(in.channels[i].number), i);
  }
  for (std::size_t i = 0; i < in.volumes.size(); ++i) {
    volume const& told = in.told.volumes[i];
    volume_share_info query;
    query.number_1092 = 0;
    query.volume_no = in.volumes[i].body.share.volume_no;
    std::list<std::uint32_t> found;
    int const result = service.get_volume_channels(query, st::zero_id, st::zero_id, found);
    if (result != 0) {
      in.miss(subject_of(told) + ": which channels record into it is not known", result);
      continue;
    }
    for (std::uint32_t const number : std::set<std::uint32_t>(found.begin(), found.end())) {
      auto const [first, last] = positions.equal_range(number);
      std::for_each(first, last, [&](auto const& each) {
        in.told.channels[each.second].volumes.push_back(told.name);
      });
    }
  }
}

void ask_sizes(asking& in, IStorageSetting& setting) {
  auto const positions = positions_by_id(in);
  for (std::size_t i = 0; i < in.spaces.size(); ++i) {
    space const& on = in.told.spaces[i];
    std::list<channel_storage_info> pairings;
    int const result = setting.get_space_channel_storage_list(in.spaces[i].sid, pairings);
    if (result != 0) {
      in.miss(subject_of(on) + ": which channels it holds is not known", result);
      continue;
    }
    std::set<std::size_t> holding;
    for (channel_storage_info const& pairing : pairings) {
      auto const found = positions.find(std::string(st::field_text(pairing.channel.id)));
      if (found != positions.end()) holding.insert(found->second);
    }
    for (std::size_t const position : holding) {
      ask_sizes_of({in, setting, on, in.spaces[i].sid}, position);
    }
  }
}

}  // namespace report
