#include <utility>
#include <vector>

#include "commands/channel_walk.h"
#include "commands/recycling.h"
#include "report/asking.h"
#include "storage/number.h"

namespace report {

namespace {

// The span that st would give back of a stream.
struct found_span {
  recycling call;  // without its target
  bool is_known;   // whether the service knows a recording in the span's days
};

std::vector<found_span> spans_of(asking const& in) {
  std::int64_t const start_ms = st::recycle_span_start();
  std::vector<found_span> spans;
  for (channel_sid const& channel : in.channels) {
    st::for_each_stream(channel, [&](stream_info const& of, st::recording_type const& type) {
      std::int64_t end_ms = 0;
      int const found =
          st::get_recycle_end_time(of, st::alarm_flag(type), of.stream, &start_ms, &end_ms);
      if (found == -1) return;
      recycling call;
      call.channel = st::shown_channel(channel.number);
      call.type_name = type.name;
      call.stream = of.stream;
      call.start_ms = start_ms;
      call.end_ms = end_ms;
      spans.push_back({std::move(call), found == 0});
    });
  }
  return spans;
}

recycling with_target(recycling call, std::string const& target) {
  call.target = target;
  return call;
}

}  // namespace

void ask_preview(asking& in) {
  bool const is_known = in.are_spaces_known && in.are_volumes_known && in.are_channels_known;
  if (!is_known) {
    in.told.not_asked.emplace_back("what st would give back is not known without these lists");
    return;
  }
  std::vector<found_span> const spans = spans_of(in);
  preview told;
  for (volume const& of : in.told.volumes) {
    if (!of.leak) continue;
    for (found_span const& each : spans) {
      if (each.is_known) told.autoclean.push_back(with_target(each.call, of.name));
    }
  }
  for (found_span const& each : spans) {
    for (space const& of : in.told.spaces) {
      told.volclean.push_back(with_target(each.call, of.name));
    }
  }
  in.told.would_do = std::move(told);
}

}  // namespace report
