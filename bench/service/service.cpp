// The storage service's client library, answered from nothing but numbers: the
// same at every run, and at the same cost for every record. What is asked of it
// is heard by call_log.h.
#include "storage/service.h"

#include <memory>

#include "call_log.h"
#include "records.h"

namespace {

using generated::note;

class generated_setting final : public IStorageSetting {
 public:
  int set_volume_info(kivsid const& /*volume*/, volume_body const& body) override {
    note("set_volume_info", std::int64_t{body.type} * 100 + body.state);
    return 0;
  }
  int get_volume_info(kivsid const& volume, volume_body& body) override {
    note("get_volume_info");
    generated::fill_volume(volume, body);
    return 0;
  }
  int apply_volume_setting(char const* space_uuid) override {
    note("apply_volume_setting", space_uuid[35]);
    return 0;
  }
  int get_space_channel_list(kivsid const& /*space*/, std::list<channel_sid>& channels) override {
    note("get_space_channel_list");
    generated::add_channel_ids(channels);
    return 0;
  }
  int get_channel_total_recording_size(kivsid const& /*space*/, channel_sid const& channel,
                                       std::int64_t* size) override {
    note("get_channel_total_recording_size", channel.number);
    *size = channel.number + 30;
    return 0;
  }
  int get_channel_recording_size(kivsid const& /*space*/, channel_sid const& channel,
                                 int recording_type, std::int64_t* size) override {
    note("get_channel_recording_size", channel.number);
    *size = channel.number + recording_type;
    return 0;
  }
  int get_space_channel_storage_list(kivsid const& /*space*/,
                                     std::list<channel_storage_info>& pairings) override {
    note("get_space_channel_storage_list");
    generated::add_pairings(pairings);
    return 0;
  }
  int get_space_list(std::list<space_info>& spaces) override {
    note("get_space_list");
    generated::add_spaces(spaces);
    return 0;
  }
  int get_volume_list(std::list<volume_info>& volumes) override {
    note("get_volume_list");
    generated::add_volumes(volumes);
    return 0;
  }
  int get_channel_list(std::list<channel_setting>& channels, int selector) override {
    note("get_channel_list", selector);
    generated::add_channels(channels);
    return 0;
  }
};

class generated_plug_play final : public IPlugPlayService {
 public:
  int get_volume_channels(volume_share_info const& query, char const* /*first_id*/,
                          char const* /*second_id*/, std::list<std::uint32_t>& channels) override {
    note("get_volume_channels", query.volume_no);
    channels.clear();
    generated::add_channels_of(query.volume_no, channels);
    return 0;
  }
};

class generated_session final : public IFrameChannelSession {
 public:
  int get_time_period_list(int recording_type, int stream, std::int64_t /*start*/,
                           std::int64_t /*end*/, std::list<time_period>& periods, int /*first*/,
                           int /*second*/, int /*third*/) override {
    note("get_time_period_list", std::int64_t{recording_type} * 100 + stream);
    periods.clear();
    generated::add_periods(stream, periods);
    return 0;
  }
  int get_recording_days(int recording_type, int /*selector*/,
                         std::list<storage_id_text> /*storage_ids*/,  // NOLINT(*-value-param)
                         day_list* days) override {
    note("session.get_recording_days", recording_type);
    generated::fill_days(*days);
    return 0;
  }
};

class generated_configuration final : public IChannelStorageConfiguration {
 public:
  int get_recording_days(int recording_type, int /*selector*/,
                         std::list<storage_id_text> storage_ids,  // NOLINT(*-value-param)
                         day_list* days) override {
    note("get_recording_days",
         std::int64_t{recording_type} * 10000000 + static_cast<std::int64_t>(storage_ids.size()));
    generated::fill_days(*days);
    return 0;
  }
};

// Makes what is handed out, and ends it.
template <typename Object, typename Interface>
int hand_out(char const* call, Interface** taker, std::int64_t about = 0) {
  note(call, about);
  *taker = std::make_unique<Object>().release();
  return 0;
}
template <typename Object, typename Interface>
int take_back(char const* call, Interface** taker, std::int64_t about = 0) {
  note(call, about);
  std::unique_ptr<Object> const back(static_cast<Object*>(*taker));
  *taker = nullptr;
  return 0;
}

}  // namespace

CKivStorage::CKivStorage() { note("CKivStorage"); }
CKivStorage::~CKivStorage() { note("~CKivStorage"); }
int CKivStorage::create_storage_setting(IStorageSetting** setting) {
  return hand_out<generated_setting>("create_storage_setting", setting);
}
int CKivStorage::destroy_storage_setting(IStorageSetting** setting) {
  return take_back<generated_setting>("destroy_storage_setting", setting);
}
int CKivStorage::create_channel_configuration(channel_sid channel,
                                              IChannelStorageConfiguration** configuration) {
  return hand_out<generated_configuration>("create_channel_configuration", configuration,
                                           channel.number);
}
int CKivStorage::destroy_channel_configuration(int channel_number,
                                               IChannelStorageConfiguration** configuration) {
  return take_back<generated_configuration>("destroy_channel_configuration", configuration,
                                            channel_number);
}

CKivStorageDaemon::CKivStorageDaemon() { note("CKivStorageDaemon"); }
CKivStorageDaemon::~CKivStorageDaemon() { note("~CKivStorageDaemon"); }
int CKivStorageDaemon::create_plug_play_service(IPlugPlayService** service) {
  return hand_out<generated_plug_play>("create_plug_play_service", service);
}
int CKivStorageDaemon::destroy_plug_play_service(IPlugPlayService** service) {
  return take_back<generated_plug_play>("destroy_plug_play_service", service);
}

CKivChannel::CKivChannel() { note("CKivChannel"); }
CKivChannel::~CKivChannel() { note("~CKivChannel"); }
int CKivChannel::create_channel_session(channel_sid channel, IFrameChannelSession** session) {
  return hand_out<generated_session>("create_channel_session", session, channel.number);
}
int CKivChannel::destroy_channel_session(IFrameChannelSession** session) {
  return take_back<generated_session>("destroy_channel_session", session);
}

CFSTier::CFSTier() { note("CFSTier"); }
CFSTier::~CFSTier() { note("~CFSTier"); }
int CFSTier::init(kivsid const& space) {
  note("CFSTier::init", space.text[31]);
  return 0;
}
int CFSTier::recycle_stream_data(stream_info const& stream, std::int64_t /*start*/,
                                 std::int64_t end, int /*option*/) {
  note("CFSTier::recycle_stream_data", end % 1000 * 10 + stream.stream);
  return 0;
}
int CFSTier::uninit() {
  note("CFSTier::uninit");
  return 0;
}

CFSUnit::CFSUnit() { note("CFSUnit"); }
CFSUnit::~CFSUnit() { note("~CFSUnit"); }
int CFSUnit::init(kivsid const& volume) {
  note("CFSUnit::init", volume.text[31]);
  return 0;
}
int CFSUnit::recycle_stream_data(stream_info const& stream, std::int64_t /*start*/,
                                 std::int64_t end, int /*option*/) {
  note("CFSUnit::recycle_stream_data", end % 1000 * 10 + stream.stream);
  return 0;
}
int CFSUnit::uninit() {
  note("CFSUnit::uninit");
  return 0;
}

void make_hour_folder_full_path(char* path, char const* /*storage_folder*/, stream_info /*stream*/,
                                long long /*time*/) {
  path[0] = '\0';
}
