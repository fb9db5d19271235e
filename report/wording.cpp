#include "report/wording.h"

#include <array>
#include <cstdio>
#include <limits>

#include "report/calendar.h"

namespace report {

namespace {

constexpr std::uint64_t mb_in_gb = 1024;
constexpr double greatest_share = 1e6;

std::uint64_t magnitude(std::int64_t of) noexcept {
  auto const bits = static_cast<std::uint64_t>(of);
  return of < 0 ? std::uint64_t{0} - bits : bits;
}

std::int64_t bounded_sum(std::int64_t left, std::int64_t right) noexcept {
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(left, right, &sum)) return sum;
  return left < 0 ? std::numeric_limits<std::int64_t>::min()
                  : std::numeric_limits<std::int64_t>::max();
}

}  // namespace

std::string size_text(std::int64_t mb) {
  std::uint64_t const all = magnitude(mb);
  std::string const sign = mb < 0 ? "-" : "";
  if (all < mb_in_gb) return sign + std::to_string(all) + " MB";
  if (all < 100 * mb_in_gb) {
    std::uint64_t const tenths = (all * 10 + mb_in_gb / 2) / mb_in_gb;
    return sign + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " GB";
  }
  return sign + std::to_string(all / mb_in_gb) + " GB";
}

std::string share_text(std::int64_t part, std::int64_t total) {
  if (total <= 0) return "-";
  double const share = static_cast<double>(part) / static_cast<double>(total) * 100;
  if (share > greatest_share || share < -greatest_share) return "-";
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f %%", share);
  return text.data();
}

std::string count_text(std::size_t count, std::string const& one, std::string const& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string stream_text(std::string const& type_name, std::int32_t number) {
  bool const is_one_digit = number >= 0 && number < 10;
  return type_name + (is_one_digit ? " S0" : " S") + std::to_string(number);
}

std::string span_text(std::int64_t start_ms, std::int64_t end_ms) {
  return local_moment(start_ms) + " to " + local_moment(end_ms);
}

std::size_t periods_without_id(channel const& of) {
  std::size_t count = 0;
  for (stream const& in : of.streams) {
    for (period const& each : in.periods) count += each.storage_id.empty() ? 1 : 0;
  }
  return count;
}

std::string lacks_text(channel const& of, kept const& has) {
  std::string text;
  if (has.days_with_gaps > 0) text += ", " + std::to_string(has.days_with_gaps) + " with gaps";
  std::size_t const without_id = periods_without_id(of);
  if (without_id > 0) text += ", " + count_text(without_id, "period", "periods") + " without id";
  return text;
}

std::int64_t recorded_mb(channel const& of) noexcept {
  std::int64_t sum = 0;
  for (recorded_size const& each : of.sizes) sum = bounded_sum(sum, each.all_mb);
  return sum;
}

std::string volumes_text(channel const& of) {
  std::string text;
  for (std::string const& name : of.volumes) text += (text.empty() ? "" : ", ") + name;
  return text.empty() ? "-" : text;
}

}  // namespace report
