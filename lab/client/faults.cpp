#include "lab/client/faults.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <new>

#include "lab/client/notice.h"

namespace lab::client {

namespace {

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t least_64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t greatest_64 = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t no_end = std::numeric_limits<std::uint64_t>::max();

enum class answer { nothing, object, records };

struct operation_row {
  std::string_view name;
  answer gives;
};

constexpr operation_row operations[] = {
    {"CKivStorage::create_storage_setting", answer::object},
    {"CKivStorage::destroy_storage_setting", answer::nothing},
    {"CKivStorage::create_channel_configuration", answer::object},
    {"CKivStorage::destroy_channel_configuration", answer::nothing},
    {"CKivStorageDaemon::create_plug_play_service", answer::object},
    {"CKivStorageDaemon::destroy_plug_play_service", answer::nothing},
    {"CKivChannel::create_channel_session", answer::object},
    {"CKivChannel::destroy_channel_session", answer::nothing},
    {"IStorageSetting::set_volume_info", answer::nothing},
    {"IStorageSetting::get_volume_info", answer::records},
    {"IStorageSetting::apply_volume_setting", answer::nothing},
    {"IStorageSetting::get_space_channel_list", answer::records},
    {"IStorageSetting::get_channel_total_recording_size", answer::records},
    {"IStorageSetting::get_channel_recording_size", answer::records},
    {"IStorageSetting::get_space_channel_storage_list", answer::records},
    {"IStorageSetting::get_space_list", answer::records},
    {"IStorageSetting::get_volume_list", answer::records},
    {"IStorageSetting::get_channel_list", answer::records},
    {"IPlugPlayService::get_volume_channels", answer::records},
    {"IFrameChannelSession::get_time_period_list", answer::records},
    {"IFrameChannelSession::get_recording_days", answer::records},
    {"IChannelStorageConfiguration::get_recording_days", answer::records},
    {"CFSTier::init", answer::nothing},
    {"CFSTier::recycle_stream_data", answer::nothing},
    {"CFSTier::uninit", answer::nothing},
    {"CFSUnit::init", answer::nothing},
    {"CFSUnit::recycle_stream_data", answer::nothing},
    {"CFSUnit::uninit", answer::nothing},
    {"make_hour_folder_full_path", answer::nothing},
    {"velt_popen", answer::records},
    {"velt_pclose", answer::nothing},
};

[[noreturn]] void refuse(std::string_view item, char const* reason) {
  throw error("STLAB_SERVICE_FAULT: \"" + std::string(item) + "\": " + reason);
}

answer answer_of(std::string_view operation, std::string_view item) {
  auto const* const found =
      std::find_if(std::begin(operations), std::end(operations),
                   [&](operation_row const& row) { return row.name == operation; });
  if (found == std::end(operations)) refuse(item, "there is no such operation");
  return found->gives;
}

fault kind_of(std::string_view word, answer gives, std::string_view item) {
  if (word == "fail") return fault::fail;
  if (word == "null" && gives == answer::object) return fault::null;
  if (word == "odd" && gives != answer::nothing) return fault::odd;
  refuse(item, "there is no such fault of this operation");
}

std::uint64_t call_number(std::string_view digits, std::string_view item) {
  std::uint64_t number = 0;
  char const* const end = digits.data() + digits.size();
  auto const [stopped, problem] = std::from_chars(digits.data(), end, number);
  if (problem != std::errc() || stopped != end || number == 0) {
    refuse(item, "calls are counted from 1");
  }
  return number;
}

// The plan that the environment holds.
class environment_plan {
 public:
  static environment_plan& instance() {
    static environment_plan plan;
    return plan;
  }

  due_fault next(char const* operation) {
    std::lock_guard const lock(guard_);
    char const* const set = std::getenv("STLAB_SERVICE_FAULT");
    std::string_view const text = set == nullptr ? "" : set;
    if (text != text_) {
      plan_ = plan_of(text);
      text_ = text;
    }
    return plan_.next(operation);
  }

 private:
  static fault_plan plan_of(std::string_view text) {
    try {
      return fault_plan(text);
    } catch (error const& problem) {
      tell_once(problem.what());
      throw;
    }
  }

  std::mutex guard_;
  std::string text_;
  fault_plan plan_{""};
};

template <std::size_t Width>
void fill(char (&field)[Width]) {
  std::fill_n(field, Width, 'x');
}

template <std::size_t Width>
void put(char (&field)[Width], std::string_view text) {
  std::fill_n(field, Width, '\0');
  text.copy(field, Width - 1);
}

// Appends a copy of the first record for each way in which one can be odd.
template <typename Record, typename... Ways>
void append_odd(std::list<Record>& records, Ways const&... ways) {
  Record const sound = records.empty() ? Record{} : records.front();
  (ways(records.emplace_back(sound)), ...);
}

void fill_share(volume_share_info& share) {
  fill(share.text_0);
  fill(share.text_512);
  fill(share.text_1024);
  fill(share.text_1108);
  fill(share.path);
}

void append_odd_channels(std::list<channel_sid>& channels) {
  append_odd(
      channels, [](channel_sid& channel) { fill(channel.id); },
      [](channel_sid& channel) { put(channel.id, ""); },
      [](channel_sid& channel) { std::fill_n(channel.id, sizeof channel.id, '9'); },
      [](channel_sid& channel) { channel.number = -1; },
      [](channel_sid& channel) { channel.number = 32; },
      [](channel_sid& channel) { channel.number = least; },
      [](channel_sid& channel) { channel.number = greatest; });
}

}  // namespace

fault_plan::fault_plan(std::string_view text) {
  while (!text.empty()) {
    std::size_t const end = text.find(';');
    entries_.push_back(parse(text.substr(0, end)));
    if (end == text.size() - 1) refuse("", "a fault is missing behind the last ;");
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

fault_plan::entry fault_plan::parse(std::string_view item) {
  std::size_t const equals = item.find('=');
  if (equals == std::string_view::npos) refuse(item, "a fault is OPERATION=KIND");
  std::string_view const operation = item.substr(0, equals);
  std::string_view const rest = item.substr(equals + 1);
  std::size_t const at = rest.find('@');
  fault const kind = kind_of(rest.substr(0, at), answer_of(operation, item), item);
  if (at == std::string_view::npos) return {std::string(operation), kind, 1, no_end};
  std::string_view digits = rest.substr(at + 1);
  bool const open_ended = !digits.empty() && digits.back() == '+';
  if (open_ended) digits.remove_suffix(1);
  std::uint64_t const call = call_number(digits, item);
  return {std::string(operation), kind, call, open_ended ? no_end : call};
}

due_fault fault_plan::next(std::string_view operation) {
  std::uint64_t const call = ++calls_.try_emplace(std::string(operation)).first->second;
  for (entry const& each : entries_) {
    if (each.operation == operation && each.first <= call && call <= each.last) {
      return {each.kind, call};
    }
  }
  return {fault::none, call};
}

due_fault next_fault(char const* operation) { return environment_plan::instance().next(operation); }

void make_odd(std::list<space_info>* spaces, std::uint64_t /*call*/) {
  append_odd(
      *spaces,
      [](space_info& space) {
        fill(space.sid.text);
        fill(space.name);
        fill(space.uuid);
      },
      [](space_info& space) { space.total_size = 0; },
      [](space_info& space) { space.total_size = space.used_size = -1; },
      [](space_info& space) {
        space.total_size = greatest_64;
        space.used_size = least_64;
      },
      [](space_info& space) { space.status = space.spare_state = 99; },
      [](space_info& space) { space.status = space.spare_state = least; });
}

void make_odd(std::list<volume_info>* volumes, std::uint64_t /*call*/) {
  append_odd(
      *volumes,
      [](volume_info& volume) {
        fill(volume.sid.text);
        fill(volume.body.name);
        fill(volume.body.space_uuid);
        fill_share(volume.body.share);
      },
      [](volume_info& volume) { put(volume.body.share.path, "/mnt/volume"); },
      [](volume_info& volume) { put(volume.body.share.path, ""); },
      [](volume_info& volume) { volume.body.total_size = 0; },
      [](volume_info& volume) { volume.body.total_size = volume.body.used_size = -1; },
      [](volume_info& volume) {
        volume.body.total_size = greatest_64;
        volume.body.used_size = least_64;
      },
      [](volume_info& volume) { volume.body.used_size = greatest_64; },
      [](volume_info& volume) { volume.body.type = volume.body.state = 99; },
      [](volume_info& volume) {
        volume.body.type = volume.body.state = volume.body.share.volume_no = least;
      });
}

void make_odd(std::list<channel_sid>* channels, std::uint64_t /*call*/) {
  append_odd_channels(*channels);
}

void make_odd(std::list<channel_setting>* channels, std::uint64_t /*call*/) {
  std::list<channel_sid> ids;
  if (!channels->empty()) ids.push_back(channels->front().channel);
  std::size_t const sound = ids.size();
  append_odd_channels(ids);
  for (auto id = std::next(ids.begin(), static_cast<std::ptrdiff_t>(sound)); id != ids.end();
       ++id) {
    channels->push_back({*id});
  }
}

void make_odd(std::list<channel_storage_info>* pairings, std::uint64_t /*call*/) {
  append_odd(
      *pairings, [](channel_storage_info& pairing) { fill(pairing.storage_id); },
      [](channel_storage_info& pairing) { put(pairing.storage_id, ""); },
      [](channel_storage_info& pairing) { pairing.channel.number = greatest; },
      [](channel_storage_info& pairing) { put(pairing.channel.id, ""); },
      [](channel_storage_info& pairing) { fill(pairing.channel.id); });
}

void make_odd(std::list<time_period>* periods, std::uint64_t /*call*/) {
  append_odd(
      *periods, [](time_period& period) { period.start_time = least_64; },
      [](time_period& period) { period.end_time = greatest_64; },
      [](time_period& period) { std::swap(period.start_time, period.end_time); },
      [](time_period& period) { period.stream = 99; },
      [](time_period& period) { fill(period.storage_id.text); },
      [](time_period& period) {
        put(period.storage_id.text, "");
        period.stream = least;
        period.start_time = greatest_64;
        period.end_time = least_64;
      });
}

void make_odd(std::list<std::uint32_t>* channels, std::uint64_t /*call*/) {
  for (std::uint32_t const index : {0U, 32U, 0x7fffffffU, 0xffffffffU}) channels->push_back(index);
}

void make_odd(volume_body* body, std::uint64_t /*call*/) {
  fill(body->name);
  fill(body->space_uuid);
  fill_share(body->share);
  body->type = body->state = greatest;
  body->share.volume_no = least;
  body->total_size = least_64;
  body->used_size = greatest_64;
}

void make_odd(std::int64_t* size, std::uint64_t call) {
  constexpr std::int64_t sizes[] = {least_64, -1, 0, greatest_64};
  *size = sizes[(call - 1) % std::size(sizes)];
}

void make_odd(day_list* days, std::uint64_t call) {
  for (std::int32_t i = 0; i < days->count; ++i) std::free(days->days[i]);  // NOLINT(*-no-malloc)
  std::free(days->days);                                                    // NOLINT(*-no-malloc)
  *days = {};
  constexpr std::int32_t count = 3;
  switch (call % 3) {
    case 1:
      *days = {-1, nullptr};
      return;
    case 2:
      *days = {count, nullptr};
      return;
    default:
      days->days = static_cast<char**>(std::calloc(count, sizeof(char*)));
      if (days->days == nullptr) throw std::bad_alloc();
      days->count = count;
  }
}

void make_odd(std::FILE** stream, std::uint64_t /*call*/) {
  if (*stream == nullptr) return;
  while (std::fgetc(*stream) != EOF) {
  }
}

}  // namespace lab::client
