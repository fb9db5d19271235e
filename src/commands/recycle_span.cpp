#include "commands/recycling.h"
#include "storage/clock.h"
#include "storage/codes.h"
#include "storage/number.h"

namespace st {

std::int64_t recycle_span_start() {
  constexpr std::int64_t thirty_days = std::int64_t{30} * 86400;
  return (now_seconds() - thirty_days) * 1000;
}

int span_end_before(std::list<time_period> const& periods, std::size_t count,
                    std::int64_t* span_end_ms) {
  int result = -1;
  std::int64_t earliest = 0;
  std::size_t position = 0;
  for (time_period const& period : periods) {
    if (position == 0 || period.start_time < earliest) earliest = period.start_time;
    if (position + 1 == count) {
      *span_end_ms = saturating_difference(earliest, 1);
      result = 0;
    }
    ++position;
  }
  return result;
}

int get_recycle_end_time(stream_info const& stream, int alarm, int stream_no,
                         std::int64_t const* span_start_ms, std::int64_t* span_end_ms) {
  CKivChannel channels;
  std::list<time_period> periods;

  channel_session session(channels, stream.channel, release::always);
  std::int64_t const now_ms = now_milliseconds();
  if (session.get() == nullptr) {
    session.close();
    return -1;
  }
  int const type = alarm != 0 ? alarm_recording.code : normal_recording.code;
  session.get()->get_time_period_list(type, stream_no, *span_start_ms, now_ms, periods, 0, 1, 1);
  session.close();

  if (periods.empty()) {
    *span_end_ms = now_milliseconds();
    return 1;
  }
  return span_end_before(periods, periods.size(), span_end_ms);
}

}  // namespace st
