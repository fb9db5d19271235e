#include "lab/stlab/times.h"

#include <ctime>
#include <regex>
#include <tuple>

#include "lab/stlab/commands.h"

namespace stlab {

std::string utc_text(std::int64_t time_ms) {
  auto const seconds = static_cast<std::time_t>(time_ms / 1000 - (time_ms % 1000 < 0 ? 1 : 0));
  std::tm parts{};
  if (::gmtime_r(&seconds, &parts) == nullptr) return "out of range";
  char text[40];
  std::size_t const length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
  return {text, length};
}

std::optional<std::int64_t> seconds_of(std::string const& text) {
  static std::regex const form(R"((\d{4})-(\d\d)-(\d\d)(?:[ T](\d\d):(\d\d)(?::(\d\d))?)?(Z?))");
  std::smatch parts;
  if (!std::regex_match(text, parts, form)) return std::nullopt;
  auto const number = [&parts](std::size_t part) {
    return parts[part].matched ? std::stoi(parts[part]) : 0;
  };
  std::tm asked{};
  asked.tm_year = number(1) - 1900;
  asked.tm_mon = number(2) - 1;
  asked.tm_mday = number(3);
  asked.tm_hour = number(4);
  asked.tm_min = number(5);
  asked.tm_sec = number(6);
  asked.tm_isdst = -1;
  std::tm found = asked;
  bool const is_utc = parts[7].length() > 0;
  std::time_t const seconds = is_utc ? ::timegm(&found) : ::mktime(&found);
  // What is out of range has been counted over into another date or time.
  auto const fields = [](std::tm const& of) {
    return std::tuple(of.tm_year, of.tm_mon, of.tm_mday, of.tm_hour, of.tm_min, of.tm_sec);
  };
  if (fields(found) != fields(asked)) return std::nullopt;
  return std::int64_t{seconds};
}

std::int64_t midnight_hour(std::int64_t time_ms, int days_back) {
  auto const seconds = static_cast<std::time_t>(time_ms / 1000);
  std::tm parts{};
  if (::localtime_r(&seconds, &parts) == nullptr) throw refusal("the time is out of range");
  parts.tm_hour = 0;
  parts.tm_min = 0;
  parts.tm_sec = 0;
  parts.tm_mday -= days_back;
  parts.tm_isdst = -1;
  return lab::hour_of(std::int64_t{std::mktime(&parts)} * 1000);
}

}  // namespace stlab
