#include <cstdio>
#include <list>
#include <optional>
#include <utility>

#include "commands/channel_walk.h"
#include "commands/commands.h"
#include "commands/time_text.h"
#include "storage/clock.h"
#include "storage/handles.h"
#include "storage/number.h"
#include "storage/text.h"

namespace st {

namespace {

// Stream 0 is recycled like any other, but never listed.
constexpr std::int32_t first_listed_stream = 1;

bool has_null_storage_id(time_period const& period) { return period.storage_id.text[0] == '\0'; }

// Prints the periods without a storage id, the channel's header before its
// first one. Returns how many there were.
int print_null_periods(channel_sid const& channel, recording_type const& type,
                       std::list<time_period> const& periods, bool& header_due) {
  int printed = 0;
  char start[256];
  char end[256];
  std::optional<std::int64_t> last_end;
  for (time_period const& period : periods) {
    if (!has_null_storage_id(period)) continue;
    std::int64_t const start_time = period.start_time / 1000;
    std::int64_t const end_time = period.end_time / 1000;
    // Most periods begin where the one before has ended.
    if (last_end == start_time) {
      copy_text(start, sizeof start, end);
    } else {
      format_time_text(start_time, start);
    }
    format_time_text(end_time, end);
    last_end = end_time;
    if (std::exchange(header_due, false)) {
      std::printf("ch%.2d list:\n", shown_channel(channel.number));
    }
    std::printf("\t[%s S%.2d] %s-%s\n", type.name, period.stream, start, end);
    ++printed;
  }
  return printed;
}

}  // namespace

void cmd_nullid(IStorageSetting* setting, std::int32_t channel_id) {
  std::list<channel_setting> settings;
  CKivChannel channels;
  std::list<time_period> periods;

  setting->get_channel_list(settings, 1);
  if (settings.empty()) {
    std::printf("No channel found.\n");
    return;
  }

  std::int64_t const now_ms = now_milliseconds();
  int count = 0;
  for (auto const& [channel] : settings) {
    if (!is_selected(channel, channel_id)) continue;
    channel_session session(channels, channel, release::always);
    bool header_due = true;
    for (recording_type const& type : recording_types) {
      for (std::int32_t stream = first_listed_stream; stream < stream_count; ++stream) {
        int const result = session.get() == nullptr
                               ? -1
                               : session.get()->get_time_period_list(type.code, stream, 0, now_ms,
                                                                     periods, 0, 1, 1);
        if (result != 0) {
          std::printf("ch%.2d [%s S%.2d] retrieve time period fail\n",
                      shown_channel(channel.number), type.name, stream);
          continue;
        }
        periods.sort([](time_period const& left, time_period const& right) {
          return left.start_time < right.start_time;
        });
        count += print_null_periods(channel, type, periods, header_due);
      }
    }
    session.close();
  }
  std::printf("\nTotal have [%d] time period data has null storage id.\n", count);
}

}  // namespace st
