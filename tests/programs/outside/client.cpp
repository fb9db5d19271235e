// The libraries of a recorder as they might be. What they share with st are the
// plain records and the names: the classes are declared here once more, as large
// as they may be. Every operation finds its object as the one before left it,
// and writes all of it anew. The records that are filled are longer than st
// knows; what comes behind a volume's body has to come back as it was.
#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <string>

#include "inner.h"
#include "storage/records.h"

namespace outside {

namespace {

void require(bool holds, char const* what) {
  if (holds) return;
  std::fprintf(stderr, "outside library: %s\n", what);
  std::abort();
}

bool all(unsigned char const* bytes, std::size_t count, unsigned char value) {
  return std::all_of(bytes, bytes + count, [&](unsigned char each) { return each == value; });
}

class own_bytes {
 public:
  own_bytes() noexcept { write(0xA5); }
  ~own_bytes() { use(); }
  own_bytes(own_bytes const&) = delete;
  own_bytes& operator=(own_bytes const&) = delete;

  // Notes a call of the object's.
  int enter(char const* operation) {
    note_call(operation);
    use();
    return 0;
  }

  // The same of a call that hands out an interface, or takes it back.
  template <typename Interface>
  int hand_out(char const* operation, Interface** taker) {
    static Interface only;
    *taker = &only;
    return enter(operation);
  }
  template <typename Interface>
  int take_back(char const* operation, Interface** taker) {
    *taker = nullptr;
    return enter(operation);
  }

 private:
  void use() {
    require(all(bytes_, sizeof bytes_, bytes_[0]), "an object is not as it was left");
    write(static_cast<unsigned char>(bytes_[0] + 1));
  }
  void write(unsigned char value) noexcept {
    // Also what nobody reads afterwards.
    auto* const bytes = static_cast<unsigned char volatile*>(bytes_);
    for (std::size_t i = 0; i < sizeof bytes_; ++i) bytes[i] = value;
  }

  alignas(std::max_align_t) unsigned char bytes_[4096];
};

constexpr unsigned char behind = 0x5A;

template <typename Record>
struct longer {
  Record known;
  unsigned char more[4096];
};

channel_sid only_channel() {
  channel_sid channel;
  std::memset(channel.id, 'c', sizeof channel.id);
  return channel;
}

space_info only_space() {
  space_info space;
  std::string("Storage1").copy(space.name, sizeof space.name);
  std::memset(space.uuid, 'u', sizeof space.uuid);
  space.total_size = 64;
  space.used_size = 20;
  return space;
}

volume_info only_volume() {
  volume_info volume;
  std::memset(volume.sid.text, 'v', sizeof volume.sid.text);
  std::string("share/vol1").copy(volume.body.share.path, sizeof volume.body.share.path);
  volume.body.share.volume_no = 1;
  volume.body.total_size = 64;
  volume.body.used_size = 20;
  std::memset(volume.body.space_uuid, 'u', sizeof volume.body.space_uuid);
  return volume;
}

// A period of stream 1 without a storage id.
time_period only_period() {
  time_period period;
  period.stream = 1;
  period.start_time = 3600000;
  period.end_time = 7200000;
  period.storage_id.text[0] = '\0';
  return period;
}

// Notes a query and answers it with that one.
template <typename Record>
int answer(char const* operation, std::list<Record>& list, Record const& only) {
  note_call(operation);
  list.push_back(only);
  return 0;
}

int answer(char const* operation, std::int64_t* size, std::int64_t only) {
  note_call(operation);
  *size = only;
  return 0;
}

int answer(char const* operation, longer<day_list>* days) {
  note_call(operation);
  days->known.count = 1;
  days->known.days = static_cast<char**>(std::calloc(1, sizeof(char*)));
  days->known.days[0] = strdup("1970-01-01");
  std::memset(days->more, behind, sizeof days->more);
  return 0;
}

}  // namespace

}  // namespace outside

using outside::answer;
using outside::longer;
using outside::note_call;

class IStorageSetting {
 public:
  virtual int set_volume_info(kivsid const& /*volume*/, longer<volume_body> const& body) {
    note_call("IStorageSetting::set_volume_info");
    outside::require(outside::all(body.more, sizeof body.more, outside::behind),
                     "what came behind a body was lost");
    outside::require(body.known.type == 2 && body.known.state == 0, "not what was to be set");
    return 0;
  }
  virtual int get_volume_info(kivsid const& /*volume*/, longer<volume_body>& body) {
    note_call("IStorageSetting::get_volume_info");
    body.known = outside::only_volume().body;
    std::memset(body.more, outside::behind, sizeof body.more);
    return 0;
  }
  virtual int apply_volume_setting(char const* space_uuid) {
    note_call("IStorageSetting::apply_volume_setting");
    outside::require(std::string(space_uuid, 36) == std::string(36, 'u'), "not the space's uuid");
    return 0;
  }
  virtual int get_space_channel_list(kivsid const& /*space*/, std::list<channel_sid>& channels) {
    return answer("IStorageSetting::get_space_channel_list", channels, outside::only_channel());
  }
  virtual int get_channel_total_recording_size(kivsid const& /*space*/,
                                               channel_sid const& /*channel*/, std::int64_t* size) {
    return answer("IStorageSetting::get_channel_total_recording_size", size, 20);
  }
  virtual int get_channel_recording_size(kivsid const& /*space*/, channel_sid const& /*channel*/,
                                         int recording_type, std::int64_t* size) {
    return answer("IStorageSetting::get_channel_recording_size", size, recording_type);
  }
  virtual int get_space_channel_storage_list(kivsid const& /*space*/,
                                             std::list<channel_storage_info>& pairings) {
    channel_storage_info pairing;
    pairing.channel = outside::only_channel();
    std::memset(pairing.storage_id, 'v', sizeof pairing.storage_id);
    return answer("IStorageSetting::get_space_channel_storage_list", pairings, pairing);
  }
  virtual int get_space_list(std::list<space_info>& spaces) {
    return answer("IStorageSetting::get_space_list", spaces, outside::only_space());
  }
  virtual int get_volume_list(std::list<volume_info>& volumes) {
    return answer("IStorageSetting::get_volume_list", volumes, outside::only_volume());
  }
  virtual int get_channel_list(std::list<channel_setting>& channels, int /*selector*/) {
    return answer("IStorageSetting::get_channel_list", channels, {outside::only_channel()});
  }
};

class IPlugPlayService {
 public:
  virtual int get_volume_channels(volume_share_info const& /*query*/, char const* /*first_id*/,
                                  char const* /*second_id*/, std::list<std::uint32_t>& channels) {
    channels.clear();
    return answer("IPlugPlayService::get_volume_channels", channels, 0U);
  }
};

class IFrameChannelSession {
 public:
  virtual int get_time_period_list(int recording_type, int stream, std::int64_t /*start*/,
                                   std::int64_t /*end*/, std::list<time_period>& periods,
                                   int /*first*/, int /*second*/, int /*third*/) {
    note_call("IFrameChannelSession::get_time_period_list");
    periods.clear();
    if (recording_type == 4 && stream == 1) periods.push_back(outside::only_period());
    return 0;
  }
  virtual int get_recording_days(
      int /*recording_type*/, int /*selector*/,
      std::list<storage_id_text> /*storage_ids*/,  // NOLINT(*-value-param)
      longer<day_list>* days) {
    return answer("IFrameChannelSession::get_recording_days", days);
  }
};

class IChannelStorageConfiguration {
 public:
  virtual int get_recording_days(
      int /*recording_type*/, int /*selector*/,
      std::list<storage_id_text> /*storage_ids*/,  // NOLINT(*-value-param)
      longer<day_list>* days) {
    return answer("IChannelStorageConfiguration::get_recording_days", days);
  }
};

// Nobody in this source calls what is marked as used: st does.

class CKivStorage : outside::own_bytes {
 public:
  [[gnu::used]] CKivStorage() { enter("CKivStorage::CKivStorage"); }
  [[gnu::used]] ~CKivStorage() { enter("CKivStorage::~CKivStorage"); }
  [[gnu::used]] int create_storage_setting(IStorageSetting** setting) {
    return hand_out("CKivStorage::create_storage_setting", setting);
  }
  [[gnu::used]] int destroy_storage_setting(IStorageSetting** setting) {
    return take_back("CKivStorage::destroy_storage_setting", setting);
  }
  [[gnu::used]] int create_channel_configuration(channel_sid /*channel*/,
                                                 IChannelStorageConfiguration** configuration) {
    return hand_out("CKivStorage::create_channel_configuration", configuration);
  }
  [[gnu::used]] int destroy_channel_configuration(int /*channel_number*/,
                                                  IChannelStorageConfiguration** configuration) {
    return take_back("CKivStorage::destroy_channel_configuration", configuration);
  }
};

class CKivStorageDaemon : outside::own_bytes {
 public:
  [[gnu::used]] CKivStorageDaemon() { enter("CKivStorageDaemon::CKivStorageDaemon"); }
  [[gnu::used]] ~CKivStorageDaemon() { enter("CKivStorageDaemon::~CKivStorageDaemon"); }
  [[gnu::used]] int create_plug_play_service(IPlugPlayService** service) {
    return hand_out("CKivStorageDaemon::create_plug_play_service", service);
  }
  [[gnu::used]] int destroy_plug_play_service(IPlugPlayService** service) {
    return take_back("CKivStorageDaemon::destroy_plug_play_service", service);
  }
};

class CKivChannel : outside::own_bytes {
 public:
  [[gnu::used]] CKivChannel() { enter("CKivChannel::CKivChannel"); }
  [[gnu::used]] ~CKivChannel() { enter("CKivChannel::~CKivChannel"); }
  [[gnu::used]] int create_channel_session(channel_sid /*channel*/,
                                           IFrameChannelSession** session) {
    return hand_out("CKivChannel::create_channel_session", session);
  }
  [[gnu::used]] int destroy_channel_session(IFrameChannelSession** session) {
    return take_back("CKivChannel::destroy_channel_session", session);
  }
};

class CFSTier : outside::own_bytes {
 public:
  [[gnu::used]] CFSTier() { enter("CFSTier::CFSTier"); }
  [[gnu::used]] virtual ~CFSTier() { enter("CFSTier::~CFSTier"); }
  [[gnu::used]] int init(kivsid const& /*space*/) {
    enter("CFSTier::init");
    outside::prepare_recycling();
    return 0;
  }
  virtual int recycle_stream_data(stream_info const& /*stream*/, std::int64_t /*start*/,
                                  std::int64_t /*end*/, int /*option*/) {
    return enter("CFSTier::recycle_stream_data");
  }
  virtual int uninit() { return enter("CFSTier::uninit"); }
};

class CFSUnit : outside::own_bytes {
 public:
  [[gnu::used]] CFSUnit() { enter("CFSUnit::CFSUnit"); }
  [[gnu::used]] virtual ~CFSUnit() { enter("CFSUnit::~CFSUnit"); }
  [[gnu::used]] int init(kivsid const& /*volume*/) { return enter("CFSUnit::init"); }
  virtual int recycle_stream_data(stream_info const& /*stream*/, std::int64_t /*start*/,
                                  std::int64_t /*end*/, int /*option*/) {
    return enter("CFSUnit::recycle_stream_data");
  }
  virtual int uninit() { return enter("CFSUnit::uninit"); }
};

#ifndef OUTSIDE_LACKING
void make_hour_folder_full_path(char* path, char const* /*storage_folder*/, stream_info /*stream*/,
                                long long /*time*/) {
  note_call("make_hour_folder_full_path");
  path[0] = '\0';
}
#endif

extern "C" {

char* nstrcpy(char* destination, char const* source, std::size_t size) {
  std::snprintf(destination, size, "%s", source);
  return destination;
}

std::FILE* velt_popen(char const* /*mode*/, char const* /*program*/, ...) {
  note_call("velt_popen");
  std::FILE* const stream = std::tmpfile();
  std::fputs("2048\tpreallocate\n", stream);
  std::rewind(stream);
  return stream;
}

int velt_pclose(std::FILE* stream) { return std::fclose(stream); }

void log_Debug(char const* format, ...) __attribute__((format(printf, 1, 2)));

void log_Debug(char const* format, ...) {
  note_call("log_Debug");
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}
}
