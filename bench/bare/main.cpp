// The bare client: every command word of st, written the obvious way and with
// nothing of its own. It makes the same calls of the client library in the same
// order and prints the same lines, when the library does all that it is asked
// and its texts are terminated. What st costs is measured beside it.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>

#include "storage/logging.h"
#include "storage/service.h"
#include "storage/system_utility.h"

namespace {

char const zeros[] = "000000000000000000000000000000000000";
char const nines[] = "99999999999999999999999999999999";

int const types[] = {4, 1};
char const* const type_names[] = {"NR", "AR"};

char const usage_text[] = R"(show volume properties or set volume properties of specific space
st CMD PARAMETERS
st spacelist
st vollist space_name
st volset volume_name volume_type volume_state
st volchn volume_name
st voluse channel_id
st volclean channel_id
st autoclean
st nullid channel_id
st recoverid channel_id
st spaceinfo space_name
-----------------------------------------------------------------------------------------------------
CMD:
spacelist:     show all space name and information.
vollist:       show all volume name and information of a specific space name.
volset:        set volume type and state of a specific volume name.
volchn:        show all channels using the specific volume.
voluse:        show channel's uses volume. channel_id = -1, -> show all channels' using volume.
volclean:      remove specific channel's data remain in volumes. channel_id = -1, -> remove all channel's remain data.
autoclean:     check volume space leak and clean(recycle).
nullid:        list channel's null storage id time period. channel_id = -1, -> list all channels' null storage id time period.
recoverid:     recover channel's storage id to null storage id time period.
               channel_id = -1, -> recover all channels' storage id to null storage id time period.
spaceinfo:     show channel recording information of a specific space name.
PARAMETER:
space_name:    space name
volume_name:   volume name listed by vollist
volume_type:   0:NORMAL| 1:SPARE volume
volume_state:  0:STANDBY| 1:ACTIVE
channel_id:    0 base
)";

char const* status_name(space_info const& space) {
  static char const* const names[][2] = {
      {"Normal                   ", "Normal(With Spare)       "},
      {"Allocating               ", "Allocating               "},
      {"Deleting                 ", "Deleting                 "},
      {"Expanding                ", "Expanding                "},
      {"UNKNOW_STATUS            ", "UNKNOW_STATUS            "},
      {"Error                    ", "Error(Spare Error)       "},
      {"Warning                  ", "Warning                  "},
      {"Spare Enabled(With Spare)", "Spare Enabled(With Spare)"},
      {"Warning(Spare Error)     ", "Warning(Spare Error)     "},
      {"Normal(Spare Error)      ", "Normal(Spare Error)      "},
  };
  if (space.status < 0 || space.status > 9) return names[4][0];
  return names[space.status][space.spare_state >= 1 ? 1 : 0];
}

char const* state_name(int state) {
  static char const* const names[] = {
      "ACTIVE             ", "STANDBY            ", "NOT_MOUNTED        ",
      "STANDBY_NOT_MOUNTED", "CREAT_SHARE_FOLDERS", "VOL_OVER_THRESHOLD ",
      "REMOVING_VOLUME    ", "UNKNOW_ERROR       ", "",
  };
  return state < 0 || state > 8 ? "UNKNOW_STATUS      " : names[state];
}

double percentage(std::int64_t used, std::int64_t total) {
  return static_cast<double>(static_cast<float>(used) * 100.0F / static_cast<float>(total));
}

long long number(std::int64_t value) { return value; }

char const* share_name(volume_info const& volume) {
  char const* const found = std::strstr(volume.body.share.path, "share/");
  return found == nullptr ? "" : found + 6;
}

bool is_taken(channel_sid const& channel, int wanted) {
  if (std::memcmp(channel.id, nines, sizeof channel.id) == 0) return false;
  return wanted == -1 || wanted == channel.number;
}

std::int64_t thirty_days_ago() {
  return (std::int64_t{std::time(nullptr)} - std::int64_t{30} * 86400) * 1000;
}
std::int64_t now() { return std::int64_t{std::time(nullptr)} * 1000; }

void spacelist(IStorageSetting* setting) {
  std::list<space_info> spaces;
  setting->get_space_list(spaces);
  if (spaces.empty()) return;
  std::printf("Space count: %zu\n", spaces.size());
  int line = 0;
  for (space_info const& space : spaces) {
    std::printf("[%02d] [%s], total size: %lld GB, used: %lld MB, use %2.2f%% [%s]\n", ++line,
                space.name, number(space.total_size / 1024), number(space.used_size),
                percentage(space.used_size, space.total_size), status_name(space));
  }
  std::printf("\n");
}

space_info const* find_space(IStorageSetting* setting, char const* name,
                             std::list<space_info>& spaces) {
  setting->get_space_list(spaces);
  for (space_info const& space : spaces) {
    if (std::strcmp(space.name, name) == 0) return &space;
  }
  std::printf("%sno space [%s] info\n", spaces.empty() ? "" : "\n", name);
  return nullptr;
}

void vollist(IStorageSetting* setting, char const* name) {
  std::list<space_info> spaces;
  space_info const* const space = find_space(setting, name, spaces);
  if (space == nullptr) return;
  std::printf("Space: %s\n[%s], total size: %lld GB, used: %lld MB, use %2.2f%% [%s]\n\n", name,
              space->name, number(space->total_size / 1024), number(space->used_size),
              percentage(space->used_size, space->total_size), status_name(*space));
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  int line = 0;
  for (volume_info const& volume : volumes) {
    volume_body const& body = volume.body;
    if (std::memcmp(body.space_uuid, space->uuid, sizeof space->uuid) != 0) continue;
    std::printf("[%02d] [%s], [%s] [%s], total size %lld GB, used %lld MB, use %2.2f%%\n", ++line,
                share_name(volume), body.type == 0 ? "NORMAL" : "SPARE ", state_name(body.state),
                number(body.total_size / 1024), number(body.used_size),
                percentage(body.used_size, body.total_size));
  }
  if (line == 0) std::printf("no find volume at space [%s]\n", name);
}

volume_info const* find_volume(IStorageSetting* setting, char const* name,
                               std::list<volume_info>& volumes) {
  setting->get_volume_list(volumes);
  for (volume_info const& volume : volumes) {
    if (std::strcmp(share_name(volume), name) == 0) return &volume;
  }
  std::printf("Cannot fine volume [%s]\n", name);
  return nullptr;
}

void volset(IStorageSetting* setting, char const* name, int type, int state) {
  std::list<volume_info> volumes;
  volume_info const* const volume = find_volume(setting, name, volumes);
  if (volume == nullptr) return;
  st::with_room<volume_body> filled;
  setting->get_volume_info(volume->sid, filled.record);
  filled.record.type = type == 0 ? 0 : 2;
  filled.record.state = state == 0 ? 1 : 0;
  setting->set_volume_info(volume->sid, filled.record);
  setting->apply_volume_setting(filled.record.space_uuid);
}

void volchn(IStorageSetting* setting, IPlugPlayService* service, char const* name) {
  std::list<volume_info> volumes;
  volume_info const* const volume = find_volume(setting, name, volumes);
  if (volume == nullptr) return;
  volume_share_info query;
  query.number_1092 = 0;
  query.volume_no = volume->body.share.volume_no;
  std::list<std::uint32_t> channels;
  service->get_volume_channels(query, zeros, zeros, channels);
  channels.sort();
  if (channels.empty()) std::printf("NO channel using volume [%s]\n", name);
  int line = 0;
  for (std::uint32_t const channel : channels) {
    std::printf("[%02d] uses channel[%02u]\n", ++line, channel + 1);
  }
}

void voluse(IStorageSetting* setting, IPlugPlayService* service, int wanted) {
  char names[32][128] = {};
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  volume_share_info query;
  query.number_1092 = 0;
  std::list<std::uint32_t> channels;
  for (volume_info const& volume : volumes) {
    query.volume_no = volume.body.share.volume_no;
    service->get_volume_channels(query, zeros, zeros, channels);
    for (std::uint32_t const channel : channels) {
      if (channel < 32) {
        std::snprintf(names[channel], sizeof names[channel], "%s", share_name(volume));
      }
    }
  }
  for (int channel = 0; channel < 32; ++channel) {
    if (wanted == -1 || wanted == channel) {
      std::printf("ch%.2d volume=[%s]\n", channel + 1, names[channel]);
    }
  }
}

// Finds the end of what may be recycled; 0, 1 where no period is known, or -1.
int find_end(stream_info const& stream, std::int64_t start, std::int64_t* end) {
  CKivChannel channels;
  std::list<time_period> periods;
  IFrameChannelSession* session = nullptr;
  channels.create_channel_session(stream.channel, &session);
  std::int64_t const present = now();
  if (session != nullptr) {
    session->get_time_period_list(stream.recording_type, stream.stream, start, present, periods, 0,
                                  1, 1);
  }
  bool const asked = session != nullptr;
  channels.destroy_channel_session(&session);
  if (!asked) return -1;
  if (periods.empty()) {
    *end = now();
    return 1;
  }
  std::int64_t earliest = periods.front().start_time;
  for (time_period const& period : periods) {
    if (period.start_time < earliest) earliest = period.start_time;
  }
  *end = earliest - 1;
  return 0;
}

void volclean(IStorageSetting* setting, int wanted) {
  std::list<space_info> spaces;
  setting->get_space_list(spaces);
  std::list<channel_setting> channels;
  setting->get_channel_list(channels, 1);
  if (spaces.empty() || channels.empty()) {
    std::printf("No space or channel found.\n");
    return;
  }
  std::int64_t const start = thirty_days_ago();
  for (channel_setting const& each : channels) {
    if (!is_taken(each.channel, wanted)) continue;
    std::printf("Recycle --ch%02d-- data ...\n", each.channel.number + 1);
    for (int type = 0; type < 2; ++type) {
      for (int number = 0; number < 5; ++number) {
        stream_info const stream{each.channel, number, types[type]};
        std::int64_t end = 0;
        int const found = find_end(stream, start, &end);
        if (found == -1) continue;
        for (space_info const& space : spaces) {
          auto const tier = std::make_unique<CFSTier>();
          if (tier->init(space.sid) != 0) {
            std::printf("Initial Tier to process failure.\n");
          } else {
            tier->recycle_stream_data(stream, start, end, 0);
          }
          tier->uninit();
        }
        std::printf("\t[%s S%02d] %s\n", type_names[type], number,
                    found == 0 ? "Success." : "Can not find time period.");
      }
    }
  }
  std::printf("Recycle process done.\n");
}

void recycle_volume(IStorageSetting* setting, volume_info const& volume) {
  std::list<channel_setting> channels;
  setting->get_channel_list(channels, 1);
  if (channels.empty()) {
    std::printf("No channel settings found.\n");
    return;
  }
  std::int64_t const start = thirty_days_ago();
  for (channel_setting const& each : channels) {
    if (!is_taken(each.channel, -1)) continue;
    for (int const type : types) {
      for (int number = 0; number < 5; ++number) {
        stream_info const stream{each.channel, number, type};
        std::int64_t end = 0;
        if (find_end(stream, start, &end) != 0) continue;
        auto const unit = std::make_unique<CFSUnit>();
        if (unit->init(volume.sid) != 0) {
          std::printf("Initial Unit to process failure.\n");
        } else {
          unit->recycle_stream_data(stream, start, end, 0);
        }
        unit->uninit();
      }
    }
  }
}

void autoclean(IStorageSetting* setting) {
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  int leaks = 0;
  if (volumes.empty()) std::printf("no volume found\n");
  for (char const* name : {"DU_BLOCK_SIZE", "BLOCK_SIZE", "BLOCKSIZE", "POSIXLY_CORRECT"}) {
    unsetenv(name);
  }
  for (volume_info const& volume : volumes) {
    char folder[1024 + 64];
    std::snprintf(folder, sizeof folder, "%s/FSU_%.32s/preallocate", volume.body.share.path,
                  volume.sid.text);
    if (chdir(folder) != 0) {
      std::printf("Volume [%s] path does not exist\n", volume.body.share.path);
      continue;
    }
    std::FILE* const du = velt_popen("r", "/usr/bin/du", folder, static_cast<char const*>(nullptr));
    if (du == nullptr) {
      std::printf("Can not get preallocate remain size info.\n");
      continue;
    }
    std::int64_t const total = volume.body.total_size;
    std::int64_t const used = volume.body.used_size;
    std::int64_t remain = total;
    char line[128];
    if (std::fgets(line, sizeof line, du) != nullptr)
      remain = std::strtol(line, nullptr, 10) / 1024;
    velt_pclose(du);

    std::int64_t const lost = total - used - remain;
    if (static_cast<double>(lost) <= static_cast<double>(total) * 0.05) continue;
    std::printf(
        "Volume [%s] total size %lld GB(%lld MB), used %lld MB(preallocate_remain %lld MB).\n",
        share_name(volume), number(total / 1024), number(total), number(used), number(remain));
    std::printf(
        "Size lost %lld MB over %lld MB(%%5) is not resonable. Start to recycle volume using space ...\n",
        number(lost), number(total / 20));
    recycle_volume(setting, volume);
    ++leaks;
  }
  if (!volumes.empty()) std::printf("Volume space leak detected count: %d\n", leaks);
  std::printf("recycle check process done.\n");
}

void write_time(std::int64_t time_ms, char* text, std::size_t size) {
  std::time_t const time = time_ms / 1000;
  std::tm local{};
  localtime_r(&time, &local);
  std::snprintf(text, size, "[%d-%d-%.2d %.2d:%.2d:%.2d]", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

// Prints a stream's periods without a storage id, and the channel's header
// before the first of the channel.
int print_null_periods(std::list<time_period> const& periods, char const* type, int channel,
                       bool* header) {
  int count = 0;
  for (time_period const& period : periods) {
    if (period.storage_id.text[0] != '\0') continue;
    if (!*header) std::printf("ch%.2d list:\n", channel + 1);
    *header = true;
    char start[64];
    char end[64];
    write_time(period.start_time, start, sizeof start);
    write_time(period.end_time, end, sizeof end);
    std::printf("\t[%s S%.2d] %s-%s\n", type, period.stream, start, end);
    ++count;
  }
  return count;
}

void nullid(IStorageSetting* setting, int wanted) {
  CKivChannel channels;
  std::list<channel_setting> settings;
  setting->get_channel_list(settings, 1);
  if (settings.empty()) {
    std::printf("No channel found.\n");
    return;
  }
  std::list<time_period> periods;
  std::int64_t const present = now();
  int count = 0;
  for (channel_setting const& each : settings) {
    if (!is_taken(each.channel, wanted)) continue;
    IFrameChannelSession* session = nullptr;
    channels.create_channel_session(each.channel, &session);
    bool header = false;
    for (int type = 0; type < 2; ++type) {
      for (int stream = 1; stream < 5; ++stream) {
        if (session == nullptr ||
            session->get_time_period_list(types[type], stream, 0, present, periods, 0, 1, 1) != 0) {
          std::printf("ch%.2d [%s S%.2d] retrieve time period fail\n", each.channel.number + 1,
                      type_names[type], stream);
          continue;
        }
        periods.sort([](time_period const& left, time_period const& right) {
          return left.start_time < right.start_time;
        });
        count += print_null_periods(periods, type_names[type], each.channel.number, &header);
      }
    }
    channels.destroy_channel_session(&session);
  }
  std::printf("\nTotal have [%d] time period data has null storage id.\n", count);
}

void print_days(IChannelStorageConfiguration* configuration, int type, char const* name,
                std::list<storage_id_text> const& ids) {
  st::with_room<day_list> filled;
  configuration->get_recording_days(type, 255, ids, &filled.record);
  day_list const& days = filled.record;
  std::printf("    %s total days: %d\n", name, days.count);
  for (int day = 0; day < days.count; ++day) {
    std::printf("        day[%d] = %s\n", day, days.days[day]);
    std::free(days.days[day]);
  }
  std::free(days.days);
}

std::int64_t print_sizes(IStorageSetting* setting, kivsid const& space,
                         channel_sid const& channel) {
  std::int64_t normal = 0;
  std::int64_t alarm = 0;
  std::int64_t all = 0;
  setting->get_channel_recording_size(space, channel, 4, &normal);
  setting->get_channel_recording_size(space, channel, 1, &alarm);
  setting->get_channel_total_recording_size(space, channel, &all);
  std::printf("    Normal recording size: %lld(MB)\n", number(normal));
  std::printf("    Alarm recording size: %lld(MB)\n", number(alarm));
  std::printf("    All recording size: %lld(MB)\n\n", number(all));
  return all;
}

using pairing_list = std::list<channel_storage_info>;
using ids_of_channels = std::unordered_map<std::string, std::list<storage_id_text>>;

std::string id_of(channel_sid const& channel) {
  return std::string(channel.id, strnlen(channel.id, sizeof channel.id));
}

ids_of_channels collect_ids(pairing_list const& pairings) {
  ids_of_channels ids;
  std::list<storage_id_text>* of_channel = nullptr;
  channel_sid const* channel = nullptr;
  for (channel_storage_info const& pairing : pairings) {
    if (channel == nullptr ||
        std::memcmp(channel->id, pairing.channel.id, sizeof channel->id) != 0) {
      channel = &pairing.channel;
      of_channel = &ids[id_of(*channel)];
    }
    storage_id_text& id = of_channel->emplace_back();
    std::memcpy(id.text, pairing.storage_id, sizeof id.text - 1);
  }
  return ids;
}

void spaceinfo(IStorageSetting* setting, char const* name) {
  std::list<space_info> spaces;
  space_info const* const space = find_space(setting, name, spaces);
  if (space == nullptr) return;
  char sid[4 + 32 + 1] = {};
  std::memcpy(sid, &space->sid.number, 4);
  std::memcpy(sid + 4, space->sid.text, 32);
  std::printf("Space: %s uuid: [%s]\n\n", name, sid);
  pairing_list pairings;
  setting->get_space_channel_storage_list(space->sid, pairings);
  ids_of_channels const ids = collect_ids(pairings);

  CKivStorage storage;
  std::int64_t total = 0;
  channel_sid current;
  for (channel_storage_info const& pairing : pairings) {
    if (std::memcmp(pairing.channel.id, current.id, sizeof current.id) == 0) continue;
    current = pairing.channel;
    std::string const id = id_of(current);
    std::printf("channel: %s\n", id.c_str());
    std::list<storage_id_text> const& of_channel = ids.at(id);
    for (storage_id_text const& each : of_channel) {
      std::printf("    storage_id: %s\n", each.text);
    }
    IChannelStorageConfiguration* configuration = nullptr;
    int const result = storage.create_channel_configuration(current, &configuration);
    if (result != 0) {
      std::printf("Error TTimeLineInfo call create_channel_configuration ret=%d\n", result);
      log_Debug("Error TTimeLineInfo call create_channel_configuration ret=%d", result);
      return;
    }
    if (configuration == nullptr) {
      std::printf("storage_channel.create_channel_session fail!!\n");
      return;
    }
    print_days(configuration, 4, "Normal", of_channel);
    print_days(configuration, 1, "Alarm", of_channel);
    storage.destroy_channel_configuration(current.number, &configuration);
    total += print_sizes(setting, space->sid, current);
  }
  std::printf("Total recording size: %lld(MB)  %.2f(GB)\n", number(total),
              static_cast<double>(static_cast<float>(total) * 0.0009765625F));
}

int to_number(char const* text) { return static_cast<int>(std::strtol(text, nullptr, 10)); }

bool is(char const* word, char const* command) { return std::strcmp(word, command) == 0; }

// Ends the program as st does, with what it has created.
[[noreturn]] void exit_with_usage() {
  std::fputs(usage_text, stdout);
  std::exit(0);
}

// The commands that ask the plug-and-play service.
void run_with_service(CKivStorageDaemon& daemon, IStorageSetting* setting, char const* word,
                      char const* argument) {
  IPlugPlayService* service = nullptr;
  daemon.create_plug_play_service(&service);
  if (is(word, "volchn")) volchn(setting, service, argument);
  if (is(word, "voluse")) voluse(setting, service, to_number(argument));
  daemon.destroy_plug_play_service(&service);
}

}  // namespace

int main(int argc, char* argv[]) {
  CKivStorage storage;
  CKivStorageDaemon daemon;
  if (argc != 2 && argc != 3 && argc != 5) exit_with_usage();
  char word[128];
  nstrcpy(word, argv[1], sizeof word);
  IStorageSetting* setting = nullptr;
  storage.create_storage_setting(&setting);
  if (setting == nullptr) {
    std::printf("Query storage settings faiure.\n");
    return 0;
  }
  if (is(word, "spacelist")) {
    spacelist(setting);
  } else if (is(word, "autoclean")) {
    autoclean(setting);
  } else if (is(word, "vollist") && argc == 3) {
    vollist(setting, argv[2]);
  } else if (is(word, "volset") && argc == 5) {
    volset(setting, argv[2], to_number(argv[3]), to_number(argv[4]));
  } else if ((is(word, "volchn") || is(word, "voluse")) && argc == 3) {
    run_with_service(daemon, setting, word, argv[2]);
  } else if (is(word, "volclean") && argc == 3) {
    volclean(setting, to_number(argv[2]));
  } else if (is(word, "nullid") && argc == 3) {
    nullid(setting, to_number(argv[2]));
  } else if (is(word, "spaceinfo") && argc == 3) {
    spaceinfo(setting, argv[2]);
  } else if (!is(word, "recoverid")) {
    storage.destroy_storage_setting(&setting);
    exit_with_usage();
  }
  storage.destroy_storage_setting(&setting);
}
