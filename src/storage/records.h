// The records that the storage service exchanges with its clients.
//
// Their layout is the service's own and little-endian; every record is plain
// data without owned memory, copied by value. Bytes that this program does not
// interpret are named filler and travel with a copy. Text fields may fill
// their whole width without a terminator: read them through field_text().
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Asserts where a field lies and how many bytes it covers.
#define ST_ASSERT_FIELD(record, field, offset, width)                                    \
  static_assert(offsetof(record, field) == (offset) && sizeof(record::field) == (width), \
                #record "::" #field " is out of its place")

#define ST_ASSERT_RECORD(record, size)                                              \
  static_assert(sizeof(record) == (size) && std::is_trivially_copyable_v<record> && \
                    std::is_standard_layout_v<record>,                              \
                #record " is not the plain record it has to be")

// A storage id. Default-constructed it is the null id: its first 36 bytes read
// as 36 characters 0.
struct kivsid {
  std::int32_t number = 0x30303030;
  char text[32] = {};            // not terminated within the field
  std::uint16_t terminator = 0;  // ends `text`, always 0
  unsigned char filler_38[2] = {};

  constexpr kivsid() noexcept {
    for (char& character : text) character = '0';
  }
};
ST_ASSERT_FIELD(kivsid, number, 0, 4);
ST_ASSERT_FIELD(kivsid, text, 4, 32);
ST_ASSERT_FIELD(kivsid, terminator, 36, 2);
ST_ASSERT_FIELD(kivsid, filler_38, 38, 2);
ST_ASSERT_RECORD(kivsid, 40);
static_assert(alignof(kivsid) == 4);

namespace st {

// Builds the greatest storage id: number 9999, text of 32 characters 9.
constexpr kivsid make_max_kivsid() noexcept {
  kivsid id;
  id.number = 9999;
  for (char& character : id.text) character = '9';
  return id;
}

// The greatest storage id. A channel whose id has the same text stands for no
// camera and is passed over.
inline constexpr kivsid max_kivsid = make_max_kivsid();

}  // namespace st

// A channel's identity in an id slot. Default-constructed: channel 0 with an
// id of 32 characters 0.
struct channel_sid {
  std::int32_t number = 0;  // 0-based
  char id[32] = {};         // not terminated within the field
  std::uint16_t terminator = 0;
  unsigned char filler_38[38] = {};

  constexpr channel_sid() noexcept {
    for (char& character : id) character = '0';
  }
};
ST_ASSERT_FIELD(channel_sid, number, 0, 4);
ST_ASSERT_FIELD(channel_sid, id, 4, 32);
ST_ASSERT_FIELD(channel_sid, terminator, 36, 2);
ST_ASSERT_FIELD(channel_sid, filler_38, 38, 38);
ST_ASSERT_RECORD(channel_sid, 76);

// One storage space. Sizes in MB.
struct space_info {
  kivsid sid;  // 36 printable characters, the service's key for the space
  unsigned char filler_40[40] = {};
  char name[512] = {};
  char uuid[36] = {};  // not terminated within the field
  unsigned char filler_628[172] = {};
  std::int64_t total_size = 0;
  std::int64_t used_size = 0;
  unsigned char filler_816[8] = {};
  std::int32_t status = 0;
  std::int32_t spare_state = 0;
};
ST_ASSERT_FIELD(space_info, sid, 0, 40);
ST_ASSERT_FIELD(space_info, filler_40, 40, 40);
ST_ASSERT_FIELD(space_info, name, 80, 512);
ST_ASSERT_FIELD(space_info, uuid, 592, 36);
ST_ASSERT_FIELD(space_info, filler_628, 628, 172);
ST_ASSERT_FIELD(space_info, total_size, 800, 8);
ST_ASSERT_FIELD(space_info, used_size, 808, 8);
ST_ASSERT_FIELD(space_info, filler_816, 816, 8);
ST_ASSERT_FIELD(space_info, status, 824, 4);
ST_ASSERT_FIELD(space_info, spare_state, 828, 4);
ST_ASSERT_RECORD(space_info, 832);

// How a volume is shared; also the question that is put to the plug-and-play
// service. Fields that are named after their offset have a meaning to the
// service alone. Default-constructed: every text empty, every number -1.
struct volume_share_info {
  char text_0[512] = {};
  char text_512[512] = {};
  char text_1024[64] = {};
  std::int32_t number_1088 = -1;
  std::int32_t number_1092 = -1;
  std::int32_t volume_no = -1;
  std::int32_t number_1100 = -1;
  std::int32_t number_1104 = -1;
  char text_1108[256] = {};
  char path[1024] = {};
};
ST_ASSERT_FIELD(volume_share_info, text_0, 0, 512);
ST_ASSERT_FIELD(volume_share_info, text_512, 512, 512);
ST_ASSERT_FIELD(volume_share_info, text_1024, 1024, 64);
ST_ASSERT_FIELD(volume_share_info, number_1088, 1088, 4);
ST_ASSERT_FIELD(volume_share_info, number_1092, 1092, 4);
ST_ASSERT_FIELD(volume_share_info, volume_no, 1096, 4);
ST_ASSERT_FIELD(volume_share_info, number_1100, 1100, 4);
ST_ASSERT_FIELD(volume_share_info, number_1104, 1104, 4);
ST_ASSERT_FIELD(volume_share_info, text_1108, 1108, 256);
ST_ASSERT_FIELD(volume_share_info, path, 1364, 1024);
ST_ASSERT_RECORD(volume_share_info, 2388);

// What can be read and written of a volume once its id is known. Sizes in MB.
// Default-constructed: texts empty, numeric identifiers -1, the space's uuid
// the null id.
struct volume_body {
  char name[512] = {};
  unsigned char filler_512[4] = {};
  std::int32_t type = 0;  // 0 normal, any other value spare
  volume_share_info share;
  unsigned char filler_2908[4] = {};
  std::int64_t total_size = 0;
  unsigned char filler_2920[20] = {};
  std::int32_t state = 0;
  char space_uuid[36] = {};  // not terminated within the field
  unsigned char filler_2980[116] = {};
  std::int64_t used_size = 0;

  constexpr volume_body() noexcept {
    for (char& character : space_uuid) character = '0';
  }
};
ST_ASSERT_FIELD(volume_body, name, 0, 512);
ST_ASSERT_FIELD(volume_body, filler_512, 512, 4);
ST_ASSERT_FIELD(volume_body, type, 516, 4);
ST_ASSERT_FIELD(volume_body, share, 520, 2388);
ST_ASSERT_FIELD(volume_body, filler_2908, 2908, 4);
ST_ASSERT_FIELD(volume_body, total_size, 2912, 8);
ST_ASSERT_FIELD(volume_body, filler_2920, 2920, 20);
ST_ASSERT_FIELD(volume_body, state, 2940, 4);
ST_ASSERT_FIELD(volume_body, space_uuid, 2944, 36);
ST_ASSERT_FIELD(volume_body, filler_2980, 2980, 116);
ST_ASSERT_FIELD(volume_body, used_size, 3096, 8);
ST_ASSERT_RECORD(volume_body, 3104);

// One volume as the service lists it.
struct volume_info {
  kivsid sid;  // its text names the volume's storage folder
  unsigned char filler_40[40] = {};
  volume_body body;
};
ST_ASSERT_FIELD(volume_info, sid, 0, 40);
ST_ASSERT_FIELD(volume_info, filler_40, 40, 40);
ST_ASSERT_FIELD(volume_info, body, 80, 3104);
ST_ASSERT_RECORD(volume_info, 3184);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, type) == 596);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, share) == 600);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, share) +
                  offsetof(volume_share_info, volume_no) ==
              1696);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, share) +
                  offsetof(volume_share_info, path) ==
              1964);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, total_size) == 2992);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, state) == 3020);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, space_uuid) == 3024);
static_assert(offsetof(volume_info, body) + offsetof(volume_body, used_size) == 3176);

// A channel's storage settings. Only the leading identity is known here; the
// service's record may be longer, and a copy made here does not carry the
// rest.
struct channel_setting {
  channel_sid channel;
};
ST_ASSERT_FIELD(channel_setting, channel, 0, 76);
ST_ASSERT_RECORD(channel_setting, 76);

// One stream of one channel and one recording type.
struct stream_info {
  channel_sid channel;
  std::int32_t stream = 0;          // 0 to 4
  std::int32_t recording_type = 0;  // normal_recording or alarm_recording
};
ST_ASSERT_FIELD(stream_info, channel, 0, 76);
ST_ASSERT_FIELD(stream_info, stream, 76, 4);
ST_ASSERT_FIELD(stream_info, recording_type, 80, 4);
ST_ASSERT_RECORD(stream_info, 84);

// One recorded period. Times in ms since the epoch. A period whose storage_id
// text is empty (first character 0) is kept under no storage id.
struct time_period {
  std::int32_t stream = 0;
  unsigned char filler_4[4] = {};
  std::int64_t start_time = 0;
  std::int64_t end_time = 0;
  kivsid storage_id;
};
ST_ASSERT_FIELD(time_period, stream, 0, 4);
ST_ASSERT_FIELD(time_period, filler_4, 4, 4);
ST_ASSERT_FIELD(time_period, start_time, 8, 8);
ST_ASSERT_FIELD(time_period, end_time, 16, 8);
ST_ASSERT_FIELD(time_period, storage_id, 24, 40);
ST_ASSERT_RECORD(time_period, 64);

// One pairing of a channel with a storage id on a space.
struct channel_storage_info {
  unsigned char filler_0[3 * 76] = {};  // three id slots
  channel_sid channel;
  char storage_id[32] = {};  // not terminated within the field
  unsigned char filler_336[44] = {};
};
ST_ASSERT_FIELD(channel_storage_info, filler_0, 0, 228);
ST_ASSERT_FIELD(channel_storage_info, channel, 228, 76);
ST_ASSERT_FIELD(channel_storage_info, storage_id, 304, 32);
ST_ASSERT_FIELD(channel_storage_info, filler_336, 336, 44);
ST_ASSERT_RECORD(channel_storage_info, 380);

// A storage id's text as day queries take it.
struct storage_id_text {
  char text[32] = {};
};
ST_ASSERT_FIELD(storage_id_text, text, 0, 32);
ST_ASSERT_RECORD(storage_id_text, 32);

// Recording days. The service allocates `days` and each text with malloc; the
// caller frees each text and then the array.
struct day_list {
  std::int32_t count = 0;
  char** days = nullptr;
};
ST_ASSERT_FIELD(day_list, count, 0, 4);
ST_ASSERT_FIELD(day_list, days, sizeof(char**), sizeof(char**));
ST_ASSERT_RECORD(day_list, 2 * sizeof(char**));

// Where an hour of recording lies: three id slots, of which the first 36
// bytes are written.
struct recording_location {
  char space_sid[36] = {};
  unsigned char filler_36[40] = {};
  char space_uuid[36] = {};
  unsigned char filler_112[40] = {};
  char volume_sid[36] = {};
  unsigned char filler_188[40] = {};
};
ST_ASSERT_FIELD(recording_location, space_sid, 0, 36);
ST_ASSERT_FIELD(recording_location, filler_36, 36, 40);
ST_ASSERT_FIELD(recording_location, space_uuid, 76, 36);
ST_ASSERT_FIELD(recording_location, filler_112, 112, 40);
ST_ASSERT_FIELD(recording_location, volume_sid, 152, 36);
ST_ASSERT_FIELD(recording_location, filler_188, 188, 40);
ST_ASSERT_RECORD(recording_location, 228);

#undef ST_ASSERT_FIELD
#undef ST_ASSERT_RECORD
