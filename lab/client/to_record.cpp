#include "lab/client/to_record.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace lab::client {

namespace {

// A field that is terminated within its width.
template <std::size_t Width>
void put_text(char (&field)[Width], std::string_view text) {
  field[text.copy(field, Width - 1)] = '\0';
}

// A field that its text fills; what is left over becomes 0.
template <std::size_t Width>
void put_id(char (&field)[Width], std::string_view text) {
  std::size_t const length = text.copy(field, Width);
  std::fill(field + length, field + Width, '\0');
}

volume_share_info share_of(volume const& from) {
  volume_share_info share;
  put_text(share.text_512, from.name);
  put_text(share.text_1108, from.path.parent_path().string());
  put_text(share.path, from.path.string());
  share.number_1092 = 0;
  share.volume_no = from.volume_no;
  return share;
}

}  // namespace

std::string space_sid_text(kivsid const& id) {
  std::string sid(sizeof id.number + sizeof id.text, '\0');
  std::memcpy(sid.data(), &id.number, sizeof id.number);
  std::memcpy(sid.data() + sizeof id.number, id.text, sizeof id.text);
  return sid;
}

space_info to_record(space const& from) {
  space_info record;
  char sid[sizeof record.sid.number + sizeof record.sid.text];
  put_id(sid, from.sid);
  std::memcpy(&record.sid.number, sid, sizeof record.sid.number);
  std::memcpy(record.sid.text, sid + sizeof record.sid.number, sizeof record.sid.text);
  put_text(record.name, from.name);
  put_id(record.uuid, from.uuid);
  record.total_size = from.total_mb;
  record.used_size = from.used_mb;
  record.status = from.status;
  record.spare_state = from.spare_state;
  return record;
}

volume_info to_record(volume const& from) {
  volume_info record;
  record.sid.number = from.sid_number;
  put_id(record.sid.text, from.sid_text);
  put_text(record.body.name, from.name);
  record.body.type = from.type;
  record.body.share = share_of(from);
  record.body.total_size = from.total_mb;
  record.body.state = from.state;
  put_id(record.body.space_uuid, from.space_uuid);
  record.body.used_size = from.used_mb;
  return record;
}

channel_sid to_record(channel const& from) {
  channel_sid record;
  record.number = from.number;
  put_id(record.id, from.sid);
  return record;
}

time_period to_record(period const& from) {
  time_period record;
  record.stream = from.stream;
  record.start_time = from.start_ms;
  record.end_time = from.end_ms;
  record.storage_id.number = from.storage_number;
  put_id(record.storage_id.text, from.storage_id);
  return record;
}

channel_storage_info to_record(pairing const& from, channel const& of) {
  channel_storage_info record;
  record.channel = to_record(of);
  put_id(record.storage_id, from.storage_id);
  return record;
}

}  // namespace lab::client
