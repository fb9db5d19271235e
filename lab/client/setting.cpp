#include "lab/client/setting.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "lab/client/attempt.h"
#include "lab/client/describe.h"
#include "lab/client/find.h"
#include "lab/client/source.h"
#include "lab/client/to_record.h"

namespace lab::client {

namespace {

constexpr std::int32_t type_normal = 0;
constexpr std::int32_t type_spare = 2;
constexpr std::int32_t last_state = 8;
constexpr std::size_t uuid_width = sizeof volume_body::space_uuid;

void require_own_body(volume const& of, volume_body const& body) {
  bool const own = body.share.volume_no == of.volume_no &&
                   std::string_view(body.space_uuid, uuid_width) == of.space_uuid;
  if (!own) throw error("the properties are not those of volume " + of.name);
}

void require_codes(volume_body const& body) {
  if (body.type != type_normal && body.type != type_spare) {
    throw error("there is no volume type " + std::to_string(body.type));
  }
  if (body.state < 0 || body.state > last_state) {
    throw error("there is no volume state " + std::to_string(body.state));
  }
}

void require_space_uuid(recorder const& in, std::string const& uuid) {
  std::vector<space> const spaces = in.spaces();
  bool const known = std::any_of(spaces.begin(), spaces.end(),
                                 [&](space const& each) { return each.uuid == uuid; });
  if (!known) throw error("the recorder has no space with uuid " + uuid);
}

std::string uuid_text(char const* uuid) {
  if (uuid == nullptr) return {};
  return {uuid, std::find(uuid, uuid + uuid_width, '\0')};
}

std::int64_t recorded_mb(recorder const& in, kivsid const& space, channel_sid const& channel,
                         std::optional<std::int32_t> recording_type) {
  return in.recorded_mb(find_space(in, space).id, find_channel(in, channel).id, recording_type);
}

json describe_size(int result, std::int64_t const* size) {
  return json::object({{"result", result}, {"size", size == nullptr ? json(nullptr) : *size}});
}

json describe_body(volume_body const& body) {
  return json::object({{"name", st::field_text(body.name)},
                       {"type", body.type},
                       {"volume_no", body.share.volume_no},
                       {"state", body.state},
                       {"space_uuid", st::field_text(body.space_uuid)}});
}

}  // namespace

void setting::keep(kivsid const& id, volume_body const& body) {
  volume const found = find_volume(*recorder_, id);
  require_own_body(found, body);
  require_codes(body);
  kept_.erase(
      std::remove_if(kept_.begin(), kept_.end(),
                     [&](kept_change const& each) { return each.change.volume_id == found.id; }),
      kept_.end());
  kept_.push_back({found.space_uuid,
                   {found.id, std::string(st::field_text(body.name)), body.type, body.state}});
}

void setting::apply(std::string const& space_uuid) {
  require_space_uuid(*recorder_, space_uuid);
  auto const others =
      std::stable_partition(kept_.begin(), kept_.end(),
                            [&](kept_change const& each) { return each.space_uuid == space_uuid; });
  std::vector<volume_change> changes;
  std::transform(kept_.begin(), others, std::back_inserter(changes),
                 [](kept_change const& each) { return each.change; });
  if (changes.empty()) return;
  open_recorder(access::read_write).change_volumes(changes);
  kept_.erase(kept_.begin(), others);
}

int setting::set_volume_info(kivsid const& volume, volume_body const& body) {
  constexpr char operation[] = "IStorageSetting::set_volume_info";
  int const result = attempt(operation, [&] { keep(volume, body); });
  trace(operation,
        json::object({{"volume", describe_volume(volume)}, {"body", describe_body(body)}}), result);
  return result;
}

int setting::get_volume_info(kivsid const& volume, volume_body& body) {
  constexpr char operation[] = "IStorageSetting::get_volume_info";
  int const result =
      attempt(operation, &body, [&] { body = to_record(find_volume(*recorder_, volume)).body; });
  trace(operation, json::object({{"volume", describe_volume(volume)}}),
        json::object({{"result", result}, {"body", describe_body(body)}}));
  return result;
}

int setting::apply_volume_setting(char const* space_uuid) {
  constexpr char operation[] = "IStorageSetting::apply_volume_setting";
  std::string const uuid = uuid_text(space_uuid);
  int const result = attempt(operation, [&] { apply(uuid); });
  trace(operation, json::object({{"space_uuid", uuid}}), result);
  return result;
}

int setting::get_space_channel_list(kivsid const& space, std::list<channel_sid>& channels) {
  constexpr char operation[] = "IStorageSetting::get_space_channel_list";
  int const result = attempt(operation, &channels, [&] {
    std::int64_t const space_id = find_space(*recorder_, space).id;
    for (channel const& each : recorder_->space_channels(space_id)) {
      channels.push_back(to_record(each));
    }
  });
  trace(operation, json::object({{"space", describe_space(space)}}),
        describe_filled(result, channels.size()));
  return result;
}

int setting::get_channel_total_recording_size(kivsid const& space, channel_sid const& channel,
                                              std::int64_t* size) {
  constexpr char operation[] = "IStorageSetting::get_channel_total_recording_size";
  int const result = attempt(operation, size, [&] {
    std::int64_t const recorded = recorded_mb(*recorder_, space, channel, std::nullopt);
    if (size == nullptr) throw error("there is no place for the size");
    *size = recorded;
  });
  trace(operation,
        json::object({{"space", describe_space(space)}, {"channel", describe_channel(channel)}}),
        describe_size(result, size));
  return result;
}

int setting::get_channel_recording_size(kivsid const& space, channel_sid const& channel,
                                        int recording_type, std::int64_t* size) {
  constexpr char operation[] = "IStorageSetting::get_channel_recording_size";
  int const result = attempt(operation, size, [&] {
    std::int64_t const recorded = recorded_mb(*recorder_, space, channel, recording_type);
    if (size == nullptr) throw error("there is no place for the size");
    *size = recorded;
  });
  trace(operation,
        json::object({{"space", describe_space(space)},
                      {"channel", describe_channel(channel)},
                      {"recording_type", recording_type}}),
        describe_size(result, size));
  return result;
}

int setting::get_space_channel_storage_list(kivsid const& space,
                                            std::list<channel_storage_info>& pairings) {
  constexpr char operation[] = "IStorageSetting::get_space_channel_storage_list";
  int const result = attempt(operation, &pairings, [&] {
    std::vector<channel> const channels = recorder_->channels();
    for (pairing const& each : recorder_->pairings(find_space(*recorder_, space).id)) {
      auto const of = std::find_if(channels.begin(), channels.end(), [&](channel const& candidate) {
        return candidate.id == each.channel_id;
      });
      if (of != channels.end()) pairings.push_back(to_record(each, *of));
    }
  });
  trace(operation, json::object({{"space", describe_space(space)}}),
        describe_filled(result, pairings.size()));
  return result;
}

int setting::get_space_list(std::list<space_info>& spaces) {
  constexpr char operation[] = "IStorageSetting::get_space_list";
  int const result = attempt(operation, &spaces, [&] {
    for (space const& each : recorder_->spaces()) spaces.push_back(to_record(each));
  });
  trace(operation, json::object({}), describe_filled(result, spaces.size()));
  return result;
}

int setting::get_volume_list(std::list<volume_info>& volumes) {
  constexpr char operation[] = "IStorageSetting::get_volume_list";
  int const result = attempt(operation, &volumes, [&] {
    for (volume const& each : recorder_->volumes()) volumes.push_back(to_record(each));
  });
  trace(operation, json::object({}), describe_filled(result, volumes.size()));
  return result;
}

int setting::get_channel_list(std::list<channel_setting>& channels, int selector) {
  constexpr char operation[] = "IStorageSetting::get_channel_list";
  int const result = attempt(operation, &channels, [&] {
    for (channel const& each : recorder_->channels()) channels.push_back({to_record(each)});
  });
  trace(operation, json::object({{"selector", selector}}),
        describe_filled(result, channels.size()));
  return result;
}

}  // namespace lab::client
