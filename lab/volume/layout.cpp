#include "lab/volume/layout.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

#include "lab/util/calendar.h"
#include "lab/volume/recording_type.h"

namespace lab {

namespace {

constexpr std::size_t most_digits = 9;

bool is_digit(char each) { return each >= '0' && each <= '9'; }

bool is_numbered(std::string_view name, std::string_view word, std::size_t least_digits) {
  if (name.substr(0, word.size()) != word) return false;
  auto const number = name.substr(word.size());
  return number.size() >= least_digits && number.size() <= most_digits &&
         std::all_of(number.begin(), number.end(), is_digit);
}

}  // namespace

std::int64_t hour_of(std::int64_t time_ms) {
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t least_hour = least - least % hour_milliseconds;
  if (time_ms < least_hour) return least_hour;
  std::int64_t const into_hour = time_ms % hour_milliseconds;
  return time_ms - (into_hour < 0 ? into_hour + hour_milliseconds : into_hour);
}

std::string unit_name(int unit) {
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "unit%06d", unit + 1);
  return name.data();
}

std::string volume_folder_name(int volume) { return "vol" + std::to_string(volume + 1); }

bool is_unit_name(std::string_view name) { return is_numbered(name, "unit", 6); }

bool is_volume_folder_name(std::string_view name) { return is_numbered(name, "vol", 1); }

bool is_storage_id(std::string_view text) {
  return text.size() == 32 && std::all_of(text.begin(), text.end(), [](char each) {
           return is_digit(each) || (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z');
         });
}

std::string storage_folder_name(std::string_view storage_id_text) {
  return "FSU_" + std::string(storage_id_text.substr(0, 32));
}

std::string storage_folder(std::string_view volume_path, std::string_view storage_id_text) {
  return std::string(volume_path) + "/" + storage_folder_name(storage_id_text);
}

std::string hour_folder_name(std::int32_t channel_number, std::int32_t recording_type,
                             std::int32_t stream, std::int64_t time_ms) {
  utc_time const utc = utc_of(hour_of(time_ms));
  std::array<char, 96> name{};
  std::snprintf(name.data(), name.size(), "ch%02lld_%s_S%02d_%04lld%02d%02d%02d",
                static_cast<long long>(channel_number) + 1, letters_of_type(recording_type), stream,
                static_cast<long long>(utc.year), utc.month, utc.day, utc.hour);
  return name.data();
}

}  // namespace lab
