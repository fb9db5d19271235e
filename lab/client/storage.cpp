// CKivStorage: the settings interface and the channels' configurations.
#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "lab/client/days.h"
#include "lab/client/find.h"
#include "lab/client/handed_out.h"
#include "lab/client/operation.h"
#include "lab/client/room.h"
#include "lab/client/to_record.h"
#include "storage/service.h"

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

template <typename Record, typename Found>
void append(std::list<Record>& records, std::vector<Found> const& found) {
  for (Found const& each : found) records.push_back({to_record(each)});
}

// The settings interface over one recorder.
class setting final : public IStorageSetting {
 public:
  explicit setting(std::shared_ptr<recorder const> from) : recorder_(std::move(from)) {}

  // Keeps the name, type and state for apply_volume_setting(). Refuses an
  // unknown volume, codes that do not exist, and a body that was not read from
  // that volume (its volume_no or space_uuid is another's).
  int set_volume_info(kivsid const& volume, volume_body const& body) override {
    return operation(
        "IStorageSetting::set_volume_info",
        json::object({{"volume", describe_volume(volume)}, {"body", describe_body(body)}}),
        [&] { keep(volume, body); });
  }

  int get_volume_info(kivsid const& volume, volume_body& body) override {
    return operation(
        "IStorageSetting::get_volume_info", json::object({{"volume", describe_volume(volume)}}),
        &body,
        [&] { body = to_record(find_volume(*recorder_, volume, volume_sizes::counted)).body; });
  }

  // Writes all that is kept for the space's volumes in one transaction. What
  // could not be written stays kept.
  int apply_volume_setting(char const* space_uuid) override {
    std::string const uuid = uuid_text(space_uuid);
    return operation("IStorageSetting::apply_volume_setting", json::object({{"space_uuid", uuid}}),
                     [&] { apply(uuid); });
  }

  int get_space_channel_list(kivsid const& space, std::list<channel_sid>& channels) override {
    return operation("IStorageSetting::get_space_channel_list",
                     json::object({{"space", describe_space(space)}}), &channels, [&] {
                       append(channels, recorder_->space_channels(find_space(*recorder_, space)));
                     });
  }

  int get_channel_total_recording_size(kivsid const& space, channel_sid const& channel,
                                       std::int64_t* size) override {
    return operation(
        "IStorageSetting::get_channel_total_recording_size",
        json::object({{"space", describe_space(space)}, {"channel", describe_channel(channel)}}),
        size, [&] { measure(space, channel, std::nullopt, size); });
  }

  int get_channel_recording_size(kivsid const& space, channel_sid const& channel,
                                 int recording_type, std::int64_t* size) override {
    return operation("IStorageSetting::get_channel_recording_size",
                     json::object({{"space", describe_space(space)},
                                   {"channel", describe_channel(channel)},
                                   {"recording_type", recording_type}}),
                     size, [&] { measure(space, channel, recording_type, size); });
  }

  int get_space_channel_storage_list(kivsid const& space,
                                     std::list<channel_storage_info>& pairings) override {
    return operation(
        "IStorageSetting::get_space_channel_storage_list",
        json::object({{"space", describe_space(space)}}), &pairings, [&] {
          std::map<std::int64_t, channel> channels;
          for (channel& each : recorder_->channels()) channels.emplace(each.id, std::move(each));
          for (pairing const& each : recorder_->pairings(find_space(*recorder_, space))) {
            auto const of = channels.find(each.channel_id);
            if (of != channels.end()) pairings.push_back(to_record(each, of->second));
          }
        });
  }

  int get_space_list(std::list<space_info>& spaces) override {
    return operation("IStorageSetting::get_space_list", json::object({}), &spaces,
                     [&] { append(spaces, recorder_->spaces()); });
  }

  int get_volume_list(std::list<volume_info>& volumes) override {
    return operation("IStorageSetting::get_volume_list", json::object({}), &volumes,
                     [&] { append(volumes, recorder_->volumes()); });
  }

  int get_channel_list(std::list<channel_setting>& channels, int selector) override {
    return operation("IStorageSetting::get_channel_list", json::object({{"selector", selector}}),
                     &channels, [&] { append(channels, recorder_->channels()); });
  }

 private:
  struct kept_change {
    std::string space_uuid;
    volume_change change;
  };

  void keep(kivsid const& id, volume_body const& body) {
    volume const found = find_volume(*recorder_, id, volume_sizes::left_out);
    require_own_body(found, body);
    require_codes(body);
    kept_.erase(
        std::remove_if(kept_.begin(), kept_.end(),
                       [&](kept_change const& each) { return each.change.volume_id == found.id; }),
        kept_.end());
    kept_.push_back({found.space_uuid,
                     {found.id, std::string(st::field_text(body.name)), body.type, body.state}});
  }

  void apply(std::string const& space_uuid) {
    require_space_uuid(*recorder_, space_uuid);
    auto const others = std::stable_partition(
        kept_.begin(), kept_.end(),
        [&](kept_change const& each) { return each.space_uuid == space_uuid; });
    std::vector<volume_change> changes;
    std::transform(kept_.begin(), others, std::back_inserter(changes),
                   [](kept_change const& each) { return each.change; });
    if (changes.empty()) return;
    open_writer()->change_volumes(changes);
    kept_.erase(kept_.begin(), others);
  }

  void measure(kivsid const& in, channel_sid const& of, std::optional<std::int32_t> recording_type,
               std::int64_t* size) const {
    std::int64_t const recorded = recorder_->recorded_mb(
        find_space(*recorder_, in), find_channel(*recorder_, of).id, recording_type);
    if (size == nullptr) throw error("there is no place for the size");
    *size = recorded;
  }

  std::shared_ptr<recorder const> recorder_;
  std::vector<kept_change> kept_;
};

class configuration final : public IChannelStorageConfiguration {
 public:
  configuration(std::shared_ptr<recorder const> from, channel_sid const& of)
      : recorder_(std::move(from)), channel_(of) {}

  int get_recording_days(int recording_type, int selector, std::list<storage_id_text> storage_ids,
                         day_list* days) override {
    return recording_days("IChannelStorageConfiguration::get_recording_days", *recorder_, channel_,
                          recording_type, selector, storage_ids, days);
  }

 private:
  std::shared_ptr<recorder const> recorder_;
  channel_sid channel_;
};

struct storage_state {
  handed_out<setting, IStorageSetting> settings;
  handed_out<configuration, IChannelStorageConfiguration> configurations;
};

}  // namespace

}  // namespace lab::client

using lab::client::describe_given;
using lab::client::json;
using storage_kept = lab::client::kept<lab::client::storage_state>;

CKivStorage::CKivStorage() { storage_kept::make("CKivStorage::CKivStorage", room_); }

CKivStorage::~CKivStorage() { storage_kept::drop("CKivStorage::~CKivStorage", room_); }

int CKivStorage::create_storage_setting(IStorageSetting** setting) {
  return storage_kept::in(room_).settings.create("CKivStorage::create_storage_setting",
                                                 json::object({}), setting, [] {
                                                   auto from = lab::client::reader();
                                                   lab::client::finish_stopped_moves(*from);
                                                   return from;
                                                 });
}

int CKivStorage::destroy_storage_setting(IStorageSetting** setting) {
  return storage_kept::in(room_).settings.destroy(
      "CKivStorage::destroy_storage_setting", json::object({{"given", describe_given(setting)}}),
      setting);
}

int CKivStorage::create_channel_configuration(channel_sid channel,
                                              IChannelStorageConfiguration** configuration) {
  return storage_kept::in(room_).configurations.create(
      "CKivStorage::create_channel_configuration",
      json::object({{"channel", lab::client::describe_channel(channel)}}), configuration,
      [&] { return lab::client::reader_of(channel); }, channel);
}

int CKivStorage::destroy_channel_configuration(int channel_number,
                                               IChannelStorageConfiguration** configuration) {
  return storage_kept::in(room_).configurations.destroy(
      "CKivStorage::destroy_channel_configuration",
      json::object({{"channel_number", channel_number}, {"given", describe_given(configuration)}}),
      configuration);
}
