#include "records.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sizes.h"
#include "storage/number.h"

namespace generated {

namespace {

// Writes `number` as decimal digits over the last characters of the field.
template <std::size_t Width>
void write_number(char (&field)[Width], std::int32_t number) noexcept {
  for (std::size_t i = Width; i > Width - 8; --i) {
    field[i - 1] = static_cast<char>('0' + number % 10);
    number /= 10;
  }
}

// Writes a text, and `number` as eight digits over its last characters.
template <std::size_t Width>
void write_name(char (&field)[Width], char const* before, std::int32_t number) noexcept {
  std::snprintf(field, Width, "%s%08d", before, number);
}

template <std::size_t Width>
void fill(char (&field)[Width], char with) noexcept {
  std::memset(field, with, Width);
}

// A share of the numbers, spread evenly.
bool is_among(std::int32_t percent, std::int32_t number) noexcept { return number % 100 < percent; }

channel_sid channel_of(std::int32_t number) {
  channel_sid channel;
  channel.number = number;
  fill(channel.id, 'c');
  write_number(channel.id, number);
  return channel;
}

// The uuid of the space that holds the volume.
void write_space_uuid(volume_body& body, std::int32_t volume) noexcept {
  fill(body.space_uuid, 'u');
  write_number(body.space_uuid, volume % std::max(asked_for().spaces, 1));
}

void write_volume(volume_body& body, std::int32_t number) noexcept {
  constexpr std::int64_t total = 100000;
  std::snprintf(body.share.path, sizeof body.share.path, "%s/share/vol%08d", asked_for().folder,
                number);
  body.share.volume_no = number;
  body.total_size = total;
  body.used_size = is_among(asked_for().leaking_percent, number) ? total / 2 : total - total / 100;
  body.state = number % 9;
  write_space_uuid(body, number);
}

}  // namespace

void add_spaces(std::list<space_info>& spaces) {
  space_info prototype;
  fill(prototype.sid.text, 's');
  fill(prototype.uuid, 'u');
  prototype.total_size = 1000000;
  for (std::int32_t number = 0; number < asked_for().spaces; ++number) {
    space_info& space = spaces.emplace_back(prototype);
    write_number(space.sid.text, number);
    write_number(space.uuid, number);
    write_name(space.name, "Storage", number);
    space.used_size = number % 1000000;
    space.status = number % 10;
    space.spare_state = number % 2;
  }
}

void add_volumes(std::list<volume_info>& volumes) {
  volume_info prototype;
  fill(prototype.sid.text, 'v');
  for (std::int32_t number = 0; number < asked_for().volumes; ++number) {
    volume_info& volume = volumes.emplace_back(prototype);
    write_number(volume.sid.text, number);
    write_volume(volume.body, number);
  }
}

void add_channels(std::list<channel_setting>& channels) {
  for (std::int32_t number = 0; number < asked_for().channels; ++number) {
    channels.push_back({channel_of(number)});
  }
}

void add_channel_ids(std::list<channel_sid>& channels) {
  for (std::int32_t number = 0; number < asked_for().channels; ++number) {
    channels.push_back(channel_of(number));
  }
}

void add_pairings(std::list<channel_storage_info>& pairings) {
  channel_storage_info prototype;
  fill(prototype.storage_id, 'v');
  for (std::int32_t number = 0; number < asked_for().channels; ++number) {
    prototype.channel = channel_of(number);
    for (std::int32_t id = 0; id < asked_for().storage_ids; ++id) {
      write_number(pairings.emplace_back(prototype).storage_id, id);
    }
  }
}

void add_channels_of(std::int32_t volume_no, std::list<std::uint32_t>& channels) {
  if (asked_for().volumes == 0) return;
  for (std::int32_t number = volume_no; number < asked_for().channels;
       number += asked_for().volumes) {
    channels.push_front(static_cast<std::uint32_t>(number));
  }
}

void add_periods(std::int32_t stream, std::list<time_period>& periods) {
  constexpr std::int64_t hour_ms = 3600000;
  constexpr std::int64_t first_ms = 1000000000 * std::int64_t{1000};
  time_period prototype;
  prototype.stream = stream;
  for (std::int32_t number = 0; number < asked_for().periods; ++number) {
    time_period& period = periods.emplace_back(prototype);
    period.start_time = first_ms + number * hour_ms;
    period.end_time = period.start_time + hour_ms;
    if (is_among(asked_for().null_percent, number)) period.storage_id.text[0] = '\0';
  }
}

void fill_days(day_list& days) {
  static constexpr char prototype[] = "2024-01-01";
  auto const count = static_cast<std::size_t>(asked_for().days);
  days.count = 0;
  days.days = static_cast<char**>(std::calloc(count, sizeof(char*)));
  if (days.days == nullptr) return;
  for (; days.count < asked_for().days; ++days.count) {
    days.days[days.count] = ::strdup(prototype);
  }
}

void fill_volume(kivsid const& id, volume_body& body) {
  char number[8 + 1] = {};
  std::memcpy(number, id.text + sizeof id.text - 8, 8);
  write_volume(body, st::number_from_text(number));
}

}  // namespace generated
