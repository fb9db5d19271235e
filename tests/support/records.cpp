#include "records.h"

#include <cctype>
#include <cstring>

namespace support {

std::string filled(std::size_t size, char character) {
  std::string text(size, character);
  return text;
}

kivsid id_of(char character) {
  kivsid id;
  std::memset(&id.number, character, sizeof id.number);
  put(id.text, filled(32, character));
  return id;
}

space_info space(std::string const& name, std::int64_t total, std::int64_t used, char key) {
  space_info record;
  record.sid = id_of(key);
  put(record.name, name);
  put(record.uuid, filled(36, static_cast<char>(std::toupper(key))));
  record.total_size = total;
  record.used_size = used;
  return record;
}

space_info in_status(space_info record, std::int32_t status, std::int32_t spare_state) {
  record.status = status;
  record.spare_state = spare_state;
  return record;
}

volume_info volume(std::string const& path, std::int32_t volume_no, char key, char space_key) {
  volume_info record;
  record.sid.number = volume_no;
  put(record.sid.text, filled(32, key));
  put(record.body.name, "name field");
  record.body.share.volume_no = volume_no;
  put(record.body.share.path, path);
  put(record.body.space_uuid, filled(36, static_cast<char>(std::toupper(space_key))));
  return record;
}

channel_sid channel_id(std::int32_t number, char key) {
  channel_sid identity;
  identity.number = number;
  put(identity.id, filled(32, key));
  std::memset(identity.filler_38, 0x5A, sizeof identity.filler_38);
  return identity;
}

channel_setting channel(std::int32_t number, char key) { return {channel_id(number, key)}; }

time_period period(std::int64_t start, std::int64_t end, std::int32_t stream,
                   std::string const& storage_id) {
  time_period record;
  record.stream = stream;
  record.start_time = start;
  record.end_time = end;
  std::memset(record.storage_id.text, 0, sizeof record.storage_id.text);
  put(record.storage_id.text, storage_id);
  return record;
}

channel_storage_info pairing(channel_sid const& channel, std::string const& storage_id) {
  channel_storage_info record;
  record.channel = channel;
  put(record.storage_id, storage_id);
  return record;
}

}  // namespace support
