#include <cstdio>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "commands/commands.h"
#include "commands/lookup.h"
#include "storage/codes.h"
#include "storage/handles.h"
#include "storage/ids.h"
#include "storage/logging.h"
#include "storage/number.h"
#include "storage/text.h"

namespace st {

namespace {

// The service's selector for what a channel's configuration answers.
constexpr int configuration_days = 255;

using pairing_list = std::list<channel_storage_info>;
using storage_id_list = std::list<storage_id_text>;

// The pairings of each channel id, in the list's order; all of it lies in the list.
using pairing_index =
    std::unordered_map<std::string_view, std::vector<channel_storage_info const*>>;

pairing_index by_channel(pairing_list const& pairings) {
  pairing_index index;
  for (channel_storage_info const& pairing : pairings) {
    index[field_text(pairing.channel.id)].push_back(&pairing);
  }
  return index;
}

// Prints and returns the storage ids of a channel's pairings, each cut to 31
// characters.
storage_id_list print_storage_ids(std::vector<channel_storage_info const*> const& pairings) {
  storage_id_list storage_ids;
  for (channel_storage_info const* const pairing : pairings) {
    storage_id_text& storage_id = storage_ids.emplace_back();
    copy_text(storage_id.text, sizeof storage_id.text, field_text(pairing->storage_id));
    std::printf("    storage_id: %s\n", storage_id.text);
  }
  return storage_ids;
}

void print_days(recording_days const& days) {
  for (std::int32_t i = 0; i < days.size(); ++i) {
    std::printf("        day[%d] = %s\n", i, days[i]);
  }
}

void print_normal_days(IChannelStorageConfiguration& configuration,
                       storage_id_list const& storage_ids) {
  recording_days days;
  configuration.get_recording_days(normal_recording.code, configuration_days, storage_ids,
                                   days.out());
  std::printf("    Normal total days: %d\n", days.count());
  print_days(days);
}

void print_alarm_days(IChannelStorageConfiguration& configuration,
                      storage_id_list const& storage_ids) {
  recording_days days;
  configuration.get_recording_days(alarm_recording.code, configuration_days, storage_ids,
                                   days.out());
  std::printf("    Alarm total days: %d\n", days.count());
  print_days(days);
}

// Returns false, after a message, when the channel's configuration could not
// be opened.
bool print_channel(CKivStorage& storage, channel_sid const& channel,
                   storage_id_list const& storage_ids) {
  channel_configuration configuration(storage, channel);
  if (configuration.result() != 0) {
    std::printf("Error TTimeLineInfo call create_channel_configuration ret=%d\n",
                configuration.result());
    log_Debug("Error TTimeLineInfo call create_channel_configuration ret=%d",
              configuration.result());
    return false;
  }
  if (configuration.get() == nullptr) {
    std::printf("storage_channel.create_channel_session fail!!\n");
    return false;
  }
  print_normal_days(*configuration.get(), storage_ids);
  print_alarm_days(*configuration.get(), storage_ids);
  configuration.close();
  return true;
}

// Prints the channel's recorded sizes and returns the one of all types, in MB.
std::int64_t print_sizes(IStorageSetting* setting, kivsid const& space,
                         channel_sid const& channel) {
  std::int64_t normal = 0;
  std::int64_t alarm = 0;
  std::int64_t all = 0;
  setting->get_channel_recording_size(space, channel, normal_recording.code, &normal);
  setting->get_channel_recording_size(space, channel, alarm_recording.code, &alarm);
  setting->get_channel_total_recording_size(space, channel, &all);
  std::printf("    Normal recording size: %lld(MB)\n", static_cast<long long>(normal));
  std::printf("    Alarm recording size: %lld(MB)\n", static_cast<long long>(alarm));
  std::printf("    All recording size: %lld(MB)\n", static_cast<long long>(all));
  std::printf("\n");
  return all;
}

void print_total(std::int64_t total) {
  float const gigabytes = static_cast<float>(total) * 0.0009765625F;
  std::printf("Total recording size: %lld(MB)  %.2f(GB)", static_cast<long long>(total),
              static_cast<double>(gigabytes));
  std::printf("\n");
}

}  // namespace

void cmd_spaceinfo(IStorageSetting* setting, char const* space_name) {
  std::list<space_info> spaces;
  space_info const* const space = find_space_with_header(setting, space_name, spaces);
  if (space == nullptr) return;

  pairing_list pairings;
  setting->get_space_channel_storage_list(space->sid, pairings);
  pairing_index const index = by_channel(pairings);

  CKivStorage storage;
  std::int64_t total = 0;
  // Only the last channel is remembered: one whose pairings lie apart is
  // reported, and added, once for each stretch of them.
  channel_sid current;
  for (channel_storage_info const& pairing : pairings) {
    if (field_text(pairing.channel.id) == field_text(current.id)) continue;
    current = identity_of(pairing.channel);
    std::printf("channel: %s\n", std::string(field_text(current.id)).c_str());
    storage_id_list const storage_ids = print_storage_ids(index.at(field_text(current.id)));
    if (!print_channel(storage, current, storage_ids)) return;
    total = wrapping_sum(total, print_sizes(setting, space->sid, current));
  }
  print_total(total);
}

}  // namespace st
