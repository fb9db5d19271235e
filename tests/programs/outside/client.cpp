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

  void use() {
    require(all(bytes_, sizeof bytes_, bytes_[0]), "an object is not as it was left");
    write(static_cast<unsigned char>(bytes_[0] + 1));
  }

 private:
  void write(unsigned char value) noexcept {
    // Also what nobody reads afterwards.
    auto* const bytes = static_cast<unsigned char volatile*>(bytes_);
    for (std::size_t i = 0; i < sizeof bytes_; ++i) bytes[i] = value;
  }

  alignas(std::max_align_t) unsigned char bytes_[4096];
};

void enter(char const* operation, own_bytes& own) {
  note_call(operation);
  own.use();
}

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

void fill_days(longer<day_list>* days) {
  days->known.count = 1;
  days->known.days = static_cast<char**>(std::calloc(1, sizeof(char*)));
  days->known.days[0] = strdup("1970-01-01");
  std::memset(days->more, behind, sizeof days->more);
}

}  // namespace

}  // namespace outside

using outside::enter;
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
    note_call("IStorageSetting::get_space_channel_list");
    channels.push_back(outside::only_channel());
    return 0;
  }
  virtual int get_channel_total_recording_size(kivsid const& /*space*/,
                                               channel_sid const& /*channel*/, std::int64_t* size) {
    note_call("IStorageSetting::get_channel_total_recording_size");
    *size = 20;
    return 0;
  }
  virtual int get_channel_recording_size(kivsid const& /*space*/, channel_sid const& /*channel*/,
                                         int recording_type, std::int64_t* size) {
    note_call("IStorageSetting::get_channel_recording_size");
    *size = recording_type;
    return 0;
  }
  virtual int get_space_channel_storage_list(kivsid const& /*space*/,
                                             std::list<channel_storage_info>& pairings) {
    note_call("IStorageSetting::get_space_channel_storage_list");
    channel_storage_info pairing;
    pairing.channel = outside::only_channel();
    std::memset(pairing.storage_id, 'v', sizeof pairing.storage_id);
    pairings.push_back(pairing);
    return 0;
  }
  virtual int get_space_list(std::list<space_info>& spaces) {
    note_call("IStorageSetting::get_space_list");
    spaces.push_back(outside::only_space());
    return 0;
  }
  virtual int get_volume_list(std::list<volume_info>& volumes) {
    note_call("IStorageSetting::get_volume_list");
    volumes.push_back(outside::only_volume());
    return 0;
  }
  virtual int get_channel_list(std::list<channel_setting>& channels, int /*selector*/) {
    note_call("IStorageSetting::get_channel_list");
    channels.push_back({outside::only_channel()});
    return 0;
  }
};

class IPlugPlayService {
 public:
  virtual int get_volume_channels(volume_share_info const& /*query*/, char const* /*first_id*/,
                                  char const* /*second_id*/, std::list<std::uint32_t>& channels) {
    note_call("IPlugPlayService::get_volume_channels");
    channels = {0};
    return 0;
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
    note_call("IFrameChannelSession::get_recording_days");
    outside::fill_days(days);
    return 0;
  }
};

class IChannelStorageConfiguration {
 public:
  virtual int get_recording_days(
      int /*recording_type*/, int /*selector*/,
      std::list<storage_id_text> /*storage_ids*/,  // NOLINT(*-value-param)
      longer<day_list>* days) {
    note_call("IChannelStorageConfiguration::get_recording_days");
    outside::fill_days(days);
    return 0;
  }
};

class CKivStorage {
 public:
  CKivStorage();
  ~CKivStorage();
  int create_storage_setting(IStorageSetting** setting);
  int destroy_storage_setting(IStorageSetting** setting);
  int create_channel_configuration(channel_sid channel,
                                   IChannelStorageConfiguration** configuration);
  int destroy_channel_configuration(int channel_number,
                                    IChannelStorageConfiguration** configuration);

 private:
  outside::own_bytes own_;
};

class CKivStorageDaemon {
 public:
  CKivStorageDaemon();
  ~CKivStorageDaemon();
  int create_plug_play_service(IPlugPlayService** service);
  int destroy_plug_play_service(IPlugPlayService** service);

 private:
  outside::own_bytes own_;
};

class CKivChannel {
 public:
  CKivChannel();
  ~CKivChannel();
  int create_channel_session(channel_sid channel, IFrameChannelSession** session);
  int destroy_channel_session(IFrameChannelSession** session);

 private:
  outside::own_bytes own_;
};

class CFSTier {
 public:
  CFSTier();
  virtual ~CFSTier();
  int init(kivsid const& space);
  virtual int recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                  int option);
  virtual int uninit();

 private:
  outside::own_bytes own_;
};

class CFSUnit {
 public:
  CFSUnit();
  virtual ~CFSUnit();
  int init(kivsid const& volume);
  virtual int recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                  int option);
  virtual int uninit();

 private:
  outside::own_bytes own_;
};

namespace {

template <typename Interface>
int hand_out(Interface** taker) {
  static Interface only;
  *taker = &only;
  return 0;
}

template <typename Interface>
int take_back(Interface** taker) {
  *taker = nullptr;
  return 0;
}

}  // namespace

CKivStorage::CKivStorage() { enter("CKivStorage::CKivStorage", own_); }
CKivStorage::~CKivStorage() { enter("CKivStorage::~CKivStorage", own_); }
int CKivStorage::create_storage_setting(IStorageSetting** setting) {
  enter("CKivStorage::create_storage_setting", own_);
  return hand_out(setting);
}
int CKivStorage::destroy_storage_setting(IStorageSetting** setting) {
  enter("CKivStorage::destroy_storage_setting", own_);
  return take_back(setting);
}
int CKivStorage::create_channel_configuration(channel_sid /*channel*/,
                                              IChannelStorageConfiguration** configuration) {
  enter("CKivStorage::create_channel_configuration", own_);
  return hand_out(configuration);
}
int CKivStorage::destroy_channel_configuration(int /*channel_number*/,
                                               IChannelStorageConfiguration** configuration) {
  enter("CKivStorage::destroy_channel_configuration", own_);
  return take_back(configuration);
}

CKivStorageDaemon::CKivStorageDaemon() { enter("CKivStorageDaemon::CKivStorageDaemon", own_); }
CKivStorageDaemon::~CKivStorageDaemon() { enter("CKivStorageDaemon::~CKivStorageDaemon", own_); }
int CKivStorageDaemon::create_plug_play_service(IPlugPlayService** service) {
  enter("CKivStorageDaemon::create_plug_play_service", own_);
  return hand_out(service);
}
int CKivStorageDaemon::destroy_plug_play_service(IPlugPlayService** service) {
  enter("CKivStorageDaemon::destroy_plug_play_service", own_);
  return take_back(service);
}

CKivChannel::CKivChannel() { enter("CKivChannel::CKivChannel", own_); }
CKivChannel::~CKivChannel() { enter("CKivChannel::~CKivChannel", own_); }
int CKivChannel::create_channel_session(channel_sid /*channel*/, IFrameChannelSession** session) {
  enter("CKivChannel::create_channel_session", own_);
  return hand_out(session);
}
int CKivChannel::destroy_channel_session(IFrameChannelSession** session) {
  enter("CKivChannel::destroy_channel_session", own_);
  return take_back(session);
}

CFSTier::CFSTier() { enter("CFSTier::CFSTier", own_); }
CFSTier::~CFSTier() { enter("CFSTier::~CFSTier", own_); }
int CFSTier::init(kivsid const& /*space*/) {
  enter("CFSTier::init", own_);
  outside::prepare_recycling();
  return 0;
}
int CFSTier::recycle_stream_data(stream_info const& /*stream*/, std::int64_t /*start*/,
                                 std::int64_t /*end*/, int /*option*/) {
  enter("CFSTier::recycle_stream_data", own_);
  return 0;
}
int CFSTier::uninit() {
  enter("CFSTier::uninit", own_);
  return 0;
}

CFSUnit::CFSUnit() { enter("CFSUnit::CFSUnit", own_); }
CFSUnit::~CFSUnit() { enter("CFSUnit::~CFSUnit", own_); }
int CFSUnit::init(kivsid const& /*volume*/) {
  enter("CFSUnit::init", own_);
  return 0;
}
int CFSUnit::recycle_stream_data(stream_info const& /*stream*/, std::int64_t /*start*/,
                                 std::int64_t /*end*/, int /*option*/) {
  enter("CFSUnit::recycle_stream_data", own_);
  return 0;
}
int CFSUnit::uninit() {
  enter("CFSUnit::uninit", own_);
  return 0;
}

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
