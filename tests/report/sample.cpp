#include "sample.h"

#include <array>
#include <cstddef>
#include <ctime>
#include <iomanip>
#include <limits>
#include <sstream>

namespace sample {

namespace {

constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();

report::space space(std::string const& id, std::int64_t used_mb, std::string const& status) {
  report::space made;
  made.id = made.uuid = id;
  made.name = "Storage" + id;
  made.total_mb = std::int64_t{128} * 1024;
  made.used_mb = used_mb;
  made.status_name = status;
  return made;
}

report::volume volume(int number, std::int64_t used_mb, std::int64_t preallocated_mb) {
  report::volume made;
  made.number = number;
  made.id = std::to_string(number);
  made.name = "vol" + made.id;
  made.state_name = "ACTIVE";
  made.total_mb = 65536;
  made.used_mb = used_mb;
  made.measured = report::measuring::done;
  made.preallocated_mb = preallocated_mb;
  made.lost_mb = made.total_mb - used_mb - preallocated_mb;
  return made;
}

void unmount(report::volume& of) {
  of.measured = report::measuring::not_mounted;
  of.preallocated_mb.reset();
  of.lost_mb.reset();
  of.state = 2;
  of.state_name = "NOT_MOUNTED";
}

report::stream stream(bool normal, int number) {
  report::stream made;
  made.recording_type = normal ? 4 : 1;
  made.type_name = normal ? "NR" : "AR";
  made.number = number;
  made.asked = true;
  return made;
}

report::channel channel(int number, std::string const& volume) {
  report::channel made;
  made.number = number;
  made.id = std::to_string(number);
  made.volumes = {volume};
  made.sizes = {{"1", std::int64_t{11000} * number, 6000, std::int64_t{11000} * number + 6000}};
  return made;
}

// Hourly periods of which `is_there(hour)` says whether there are any.
template <typename There>
report::stream hourly(report::stream made, std::int64_t first_ms, int hours, There is_there) {
  for (int hour = 0; hour < hours; ++hour) {
    std::int64_t const start = first_ms + hour * hour_ms;
    if (is_there(hour)) made.periods.push_back(recorded(start, start + hour_ms));
  }
  return made;
}

std::vector<report::channel> small_channels() {
  std::int64_t const first = ms_of("2026-11-18 07:00");
  auto const always = [](int) { return true; };
  auto one = channel(1, "vol1");
  one.streams = {
      hourly(stream(true, 0), first, 96, [](int hour) { return hour < 20 || hour > 22; }),
      hourly(stream(false, 0), first, 60, [](int hour) { return hour % 9 == 5; })};
  one.streams[0].periods.push_back(
      recorded(first + 96 * hour_ms, first + 96 * hour_ms + hour_ms / 2));
  auto two = channel(2, "vol2");
  two.streams = {
      hourly(stream(true, 0), first, 96, [](int hour) { return hour < 40 || hour > 52; }),
      hourly(stream(true, 1), first + 9 * hour_ms, 70, always)};
  for (std::size_t at = 60; at < 64; ++at) two.streams[1].periods[at].storage_id = {};
  auto three = channel(3, "vol4");
  three.sizes.clear();
  three.streams = {stream(true, 0)};
  three.streams[0].asked = false;
  return {one, two, three};
}

}  // namespace

std::int64_t ms_of(std::string const& moment) {
  std::tm fields{};
  std::istringstream(moment) >> std::get_time(&fields, "%Y-%m-%d %H:%M");
  return std::int64_t{timegm(&fields)} * 1000;
}

report::period recorded(std::int64_t start_ms, std::int64_t end_ms, std::string const& id) {
  return {start_ms, end_ms, id};
}

report::value small() {
  report::value made;
  made.program_version = "0.1.0";
  made.made_ms = ms_of("2026-11-22 07:30");
  made.spaces = {space("1", 76000, "Normal"), space("2", 101000, "Warning")};
  made.volumes = {volume(1, 38000, 27536), volume(2, 38000, 19000), volume(3, 51000, 0),
                  volume(4, 50000, 0)};
  made.volumes[1].leak = true;
  unmount(made.volumes[2]);
  made.volumes[3].measured = report::measuring::failed;
  made.volumes[3].type = 1;
  made.volumes[3].preallocated_mb.reset();
  made.volumes[3].lost_mb.reset();
  made.channels = small_channels();
  made.needs = {
      {report::concern::leak, "volume vol2", "8.3 GB of 64.0 GB are lost, more than a twentieth"},
      {report::concern::not_mounted, "volume vol3", "its folder cannot be entered"},
      {report::concern::null_id, "channel 2", "4 periods are kept under no storage id"}};
  made.not_asked = {"the periods of channel 3 NR S00: the service answered -1"};
  made.problems = {"the name of space 2 held 3 bytes that are no text"};
  made.exit_status = report::not_asked;
  return made;
}

report::value small_before() {
  auto made = small();
  made.made_ms -= 2 * day_ms;
  made.volumes[1] = volume(2, 38000, 27536);
  made.volumes[2] = volume(3, 51000, 14536);
  made.volumes.push_back(volume(5, 100, 65436));
  made.spaces[0].used_mb = 70000;
  made.needs.erase(made.needs.begin(), made.needs.begin() + 2);
  made.needs[0].text = "2 periods are kept under no storage id";
  made.needs.push_back({report::concern::nothing_recorded, "channel 1", "nothing is recorded"});
  made.channels.erase(made.channels.begin());
  return made;
}

report::value with_preview() {
  auto made = small();
  auto const end = ms_of("2026-11-18 06:59");
  made.would_do.emplace();
  made.would_do->autoclean = {{1, "NR", 0, end - 26 * day_ms, end, "vol2"},
                              {2, "NR", 0, end - 26 * day_ms, end, "vol2"}};
  made.would_do->volclean = {{1, "NR", 0, end - 26 * day_ms, end, "Storage1"},
                             {1, "AR", 0, end - 26 * day_ms, end + 5 * hour_ms, "Storage1"},
                             {3, "NR", 4, end - 26 * day_ms, made.made_ms, "Storage2"}};
  return made;
}

report::value empty() {
  report::value made;
  made.made_ms = ms_of("2026-11-22 07:30");
  return made;
}

report::value large(int channels, int days) {
  auto made = small();
  made.needs.clear();
  made.channels.clear();
  std::int64_t const first = made.made_ms - days * day_ms;
  for (int at = 1; at <= channels; ++at) {
    auto& added = made.channels.emplace_back(channel(at, "vol" + std::to_string(at % 4 + 1)));
    for (int which = 0; which < 4; ++which) {
      added.streams.push_back(hourly(stream(which < 2, which % 2), first, 24 * days, [&](int hour) {
        return which < 2 ? (hour + at) % 97 != 0 : (hour / 3 + at + which) % 4 == 0;
      }));
    }
    for (std::size_t lost = 0; lost < 7; ++lost) added.streams[0].periods[lost].storage_id = {};
  }
  return made;
}

report::value lying() {
  std::string const evil = "</table><script>&\"'{}\\ \xc3\xa9\xe6\x97\xa5 \x01\xff\xc0\xbc";
  auto made = with_preview();
  made.program_version = evil;
  made.made_ms = least;
  std::array<std::int64_t, 7> const sizes{least, -1, 0, 1, 65536, most - 1, most};
  for (std::int64_t const total : sizes) {
    for (std::int64_t const used : sizes) {
      auto& added = made.volumes.emplace_back(volume(9, 1, 1));
      added.name = used == 0 ? std::string(600, 'n') : evil;
      added.state_name = evil;
      added.total_mb = total;
      added.used_mb = used;
      added.preallocated_mb = total;
      added.lost_mb = used;
      added.leak = true;
      auto& more = made.spaces.emplace_back(space(evil, used, evil));
      more.total_mb = total;
      more.name = used == 0 ? std::string(600, 'n') : evil;
    }
  }
  auto liar = channel(std::numeric_limits<std::int32_t>::min(), evil);
  liar.streams = {stream(true, 0), stream(false, std::numeric_limits<std::int32_t>::max())};
  liar.streams[0].type_name = evil;
  for (std::int64_t const start : sizes) {
    for (std::int64_t const end : sizes) {
      liar.streams[0].periods.push_back(recorded(start, end, ""));
    }
  }
  liar.streams[0].periods.push_back(recorded(0, ms_of("2030-01-01 00:00")));
  liar.sizes = {{"1", most, most, most}, {"1", most, most, most}};
  made.channels.insert(made.channels.end(), 3, liar);
  made.needs.insert(made.needs.end(), 30, {report::concern::leak, evil, std::string(600, 'w')});
  made.not_asked.insert(made.not_asked.end(), 30, evil);
  made.problems.insert(made.problems.end(), 30, evil);
  made.would_do->autoclean.push_back({-1, evil, -1, most, least, evil});
  return made;
}

}  // namespace sample
