#include "answers.h"

namespace support {

answers answers::with_volume_channels(std::list<std::uint32_t> const& each) const {
  return with(&script::volume_channels,
              decltype(script::volume_channels)([each](auto const&) { return each; }));
}

answers answers::with_channels_of_volumes(
    std::map<int, std::list<std::uint32_t>> const& each) const {
  return with(&script::volume_channels,
              decltype(script::volume_channels)([each](volume_share_info const& query) {
                auto const found = each.find(query.volume_no);
                return found == each.end() ? std::list<std::uint32_t>{} : found->second;
              }));
}

answers answers::with_periods(std::list<time_period> const& each) const {
  return with_periods_of([each](channel_sid const&, int, int) { return each; });
}

answers answers::with_periods_on(int recording_type, int stream,
                                 std::list<time_period> const& each) const {
  return with_periods_of([=](channel_sid const&, int asked_type, int asked_stream) {
    bool const recorded = asked_type == recording_type && asked_stream == stream;
    return recorded ? each : std::list<time_period>{};
  });
}

answers answers::with_days(std::vector<std::string> const& each) const {
  return with_days_of(
      [each](channel_sid const&, int, day_list* list) { scripted::fill_days(list, each); });
}

answers answers::with_program_output(std::optional<std::string> const& output) const {
  return with(&script::program,
              decltype(script::program)([output](auto const&) { return output; }));
}

answers answers::at_now() const {
  return with(&script::clock, decltype(script::clock)([] { return now; }));
}

answers answers::ticking() const {
  return with(&script::clock,
              decltype(script::clock)([second = now]() mutable { return second++; }));
}

}  // namespace support
