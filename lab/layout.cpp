#include "lab/layout.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace lab {

namespace {

char const* type_letters(std::int32_t recording_type) {
  switch (recording_type) {
    case 4:
      return "NR";
    case 1:
      return "AR";
    default:
      return "MR";
  }
}

}  // namespace

std::int64_t hour_of(std::int64_t time_ms) {
  std::int64_t const into_hour = time_ms % hour_milliseconds;
  return time_ms - (into_hour < 0 ? into_hour + hour_milliseconds : into_hour);
}

std::string storage_folder(std::string_view volume_path, std::string_view storage_id_text) {
  std::string folder(volume_path);
  folder += "/FSU_";
  folder += storage_id_text.substr(0, 32);
  return folder;
}

std::string hour_folder_name(std::int32_t channel_number, std::int32_t recording_type,
                             std::int32_t stream, std::int64_t time_ms) {
  auto const seconds = static_cast<std::time_t>(hour_of(time_ms) / 1000);
  std::tm utc{};
  if (gmtime_r(&seconds, &utc) == nullptr) utc = std::tm{};
  std::array<char, 96> name{};
  std::snprintf(name.data(), name.size(), "ch%02lld_%s_S%02d_%04lld%02d%02d%02d",
                static_cast<long long>(channel_number) + 1, type_letters(recording_type), stream,
                static_cast<long long>(utc.tm_year) + 1900, utc.tm_mon + 1, utc.tm_mday,
                utc.tm_hour);
  return name.data();
}

}  // namespace lab
