// The storage service's client library, as this program uses it.
//
// The library is linked in, never built here: a recorder brings its own, the
// lab recorder and the tests bring theirs. Each defines the members of the
// classes below and keeps what its objects hold in their room.
// docs/contract.md says what linking rests on and what to check first.
//
// What the callers rely on:
//  - To obtain an object, pass the address of a null pointer; success is a
//    non-null pointer afterwards. To release it, pass the same address once to
//    the matching destroy call, which accepts a null pointer.
//  - Lists belong to the caller and are filled in the service's order; the
//    operations append, except the two that say they replace.
//  - A record or a size that is to be filled holds a value beforehand. Whether a
//    failure leaves it as it was is the library's business.
//  - Sizes are MB, times are ms since the epoch.
//  - A result of 0 is success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>

#include "storage/records.h"

namespace st {

// How large a library's own objects and records are is not known. This many
// bytes are the library's to write in each object of an entry class, and behind
// a record that it fills.
inline constexpr std::size_t spare_room = 4096;

// A record for the library to fill, and its room right behind it.
template <typename Record>
struct with_room {
  Record record;
  unsigned char room[spare_room] = {};
};

}  // namespace st

class IStorageSetting {
 public:
  // Hands over a volume's properties as they are to be: the body that
  // get_volume_info() filled, with what came behind it.
  virtual int set_volume_info(kivsid const& volume, volume_body const& body) = 0;

  // Fills `body`, which is the record of a with_room, with a volume's properties.
  virtual int get_volume_info(kivsid const& volume, volume_body& body) = 0;

  // Called once the properties of a volume have been handed over, with the 36
  // characters of its space's uuid (no terminator needed). What it does with
  // them is the library's business.
  virtual int apply_volume_setting(char const* space_uuid) = 0;

  // Lists the channels that record into a space.
  virtual int get_space_channel_list(kivsid const& space, std::list<channel_sid>& channels) = 0;

  // Everything recorded for a channel on a space.
  virtual int get_channel_total_recording_size(kivsid const& space, channel_sid const& channel,
                                               std::int64_t* size) = 0;

  // The same for one recording type.
  virtual int get_channel_recording_size(kivsid const& space, channel_sid const& channel,
                                         int recording_type, std::int64_t* size) = 0;

  // Lists which channel keeps recordings under which storage id on a space.
  virtual int get_space_channel_storage_list(kivsid const& space,
                                             std::list<channel_storage_info>& pairings) = 0;

  // Lists all spaces; an empty list means that there is nothing to show.
  virtual int get_space_list(std::list<space_info>& spaces) = 0;

  // Lists the volumes of all spaces.
  virtual int get_volume_list(std::list<volume_info>& volumes) = 0;

  // Lists all channels. Callers always pass 1 as `selector`.
  virtual int get_channel_list(std::list<channel_setting>& channels, int selector) = 0;

 protected:
  ~IStorageSetting() = default;
};

class IPlugPlayService {
 public:
  // Replaces `channels` by the 0-based indexes of the channels that record
  // into the volume numbered query.volume_no. Each id is 36 characters 0 and a
  // terminator.
  virtual int get_volume_channels(volume_share_info const& query, char const* first_id,
                                  char const* second_id, std::list<std::uint32_t>& channels) = 0;

 protected:
  ~IPlugPlayService() = default;
};

class IFrameChannelSession {
 public:
  // Replaces `periods` by the periods of a stream that overlap the span from
  // `start` to `end`. Callers always pass 0, 1, 1 at the end.
  virtual int get_time_period_list(int recording_type, int stream, std::int64_t start,
                                   std::int64_t end, std::list<time_period>& periods, int first,
                                   int second, int third) = 0;

  // Fills `days` with the days of the channel's recordings under the given
  // storage ids; what it allocates belongs to the caller (see day_list). `days`
  // is the record of a with_room.
  virtual int get_recording_days(int recording_type, int selector,
                                 std::list<storage_id_text> storage_ids, day_list* days) = 0;

 protected:
  ~IFrameChannelSession() = default;
};

class IChannelStorageConfiguration {
 public:
  // As IFrameChannelSession::get_recording_days().
  virtual int get_recording_days(int recording_type, int selector,
                                 std::list<storage_id_text> storage_ids, day_list* days) = 0;

 protected:
  ~IChannelStorageConfiguration() = default;
};

// Hands out the settings interface and the channels' configurations.
class CKivStorage {
 public:
  CKivStorage();
  ~CKivStorage();
  CKivStorage(CKivStorage const&) = delete;
  CKivStorage& operator=(CKivStorage const&) = delete;

  int create_storage_setting(IStorageSetting** setting);
  int destroy_storage_setting(IStorageSetting** setting);
  int create_channel_configuration(channel_sid channel,
                                   IChannelStorageConfiguration** configuration);
  int destroy_channel_configuration(int channel_number,
                                    IChannelStorageConfiguration** configuration);

 private:
  alignas(std::max_align_t) unsigned char room_[st::spare_room];
};

// Hands out the plug-and-play service.
class CKivStorageDaemon {
 public:
  CKivStorageDaemon();
  ~CKivStorageDaemon();
  CKivStorageDaemon(CKivStorageDaemon const&) = delete;
  CKivStorageDaemon& operator=(CKivStorageDaemon const&) = delete;

  int create_plug_play_service(IPlugPlayService** service);
  int destroy_plug_play_service(IPlugPlayService** service);

 private:
  alignas(std::max_align_t) unsigned char room_[st::spare_room];
};

// Hands out the channels' frame sessions.
class CKivChannel {
 public:
  CKivChannel();
  ~CKivChannel();
  CKivChannel(CKivChannel const&) = delete;
  CKivChannel& operator=(CKivChannel const&) = delete;

  int create_channel_session(channel_sid channel, IFrameChannelSession** session);
  int destroy_channel_session(IFrameChannelSession** session);

 private:
  alignas(std::max_align_t) unsigned char room_[st::spare_room];
};

// A whole space's file storage. Created on the heap; init(), work, uninit()
// (also after a failed init()), delete.
class CFSTier {
 public:
  CFSTier();
  virtual ~CFSTier();
  CFSTier(CFSTier const&) = delete;
  CFSTier& operator=(CFSTier const&) = delete;

  // Selects the space by its `sid`.
  int init(kivsid const& space);

  // Gives back what the stream holds in the span. What it spares is the
  // library's business: the span is all that protects a recording. Callers always
  // pass 0 at the end.
  virtual int recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                  int option);
  virtual int uninit();

 private:
  alignas(std::max_align_t) unsigned char room_[st::spare_room];
};

// One volume's file storage; the same life and operations as CFSTier.
class CFSUnit {
 public:
  CFSUnit();
  virtual ~CFSUnit();
  CFSUnit(CFSUnit const&) = delete;
  CFSUnit& operator=(CFSUnit const&) = delete;

  // Selects the volume by its `sid`.
  int init(kivsid const& volume);

  virtual int recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                  int option);
  virtual int uninit();

 private:
  alignas(std::max_align_t) unsigned char room_[st::spare_room];
};

// The room is all that the objects have, behind the pointer to the virtual table
// where there is one.
static_assert(sizeof(CKivStorage) == st::spare_room &&
              sizeof(CKivStorageDaemon) == st::spare_room && sizeof(CKivChannel) == st::spare_room);
static_assert(sizeof(CFSTier) == st::spare_room + alignof(std::max_align_t) &&
              sizeof(CFSUnit) == sizeof(CFSTier));
static_assert(sizeof(st::with_room<volume_body>) == sizeof(volume_body) + st::spare_room &&
              sizeof(st::with_room<day_list>) == sizeof(day_list) + st::spare_room);

// Writes the full path of the folder that holds one hour of a stream into
// `path`, which has 512 bytes. `time` is any moment of the hour, in ms since the
// epoch.
void make_hour_folder_full_path(char* path, char const* storage_folder, stream_info stream,
                                long long time);
