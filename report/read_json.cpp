// Reading back what was written. Nothing in the text is believed.
#include <algorithm>
#include <cstddef>
#include <limits>

#include "report/concerns.h"
#include "report/json.h"
#include "report/json_tree.h"
#include "report/measuring.h"

namespace report {

namespace {

using json = nlohmann::json;

constexpr std::size_t most_elements = 100'000;
constexpr std::size_t most_periods = 2'000'000;

// A control character at the beginning of valid UTF-8: its length, else 0.
std::size_t control_length(std::string_view text) {
  auto const first = static_cast<unsigned char>(text.front());
  if (first < 0x20 || first == 0x7f) return 1;
  bool const is_second_set =
      first == 0xc2 && text.size() > 1 && static_cast<unsigned char>(text[1]) < 0xa0;
  return is_second_set ? 2 : 0;
}

// With U+FFFD for each control character.
std::string without_controls(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    auto const length = control_length(text);
    clean += length == 0 ? text.substr(0, 1) : std::string_view("\xef\xbf\xbd");
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return clean;
}

[[noreturn]] void fail(std::string const& what) { throw not_a_report(what); }

json const& member(json const& object, char const* name) {
  auto const found = object.find(name);
  if (found == object.end()) fail(std::string(name) + " is missing");
  return *found;
}

template <typename Number = std::int64_t>
Number number_of(json const& node, std::string const& name,
                 std::int64_t least = std::numeric_limits<Number>::min(),
                 std::int64_t most = std::numeric_limits<Number>::max()) {
  if (!node.is_number_integer()) fail(name + " is no whole number");
  constexpr auto greatest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  bool const is_beyond = node.is_number_unsigned() && node.get<std::uint64_t>() > greatest;
  if (is_beyond || node.get<std::int64_t>() < least || node.get<std::int64_t>() > most) {
    fail(name + " is out of range");
  }
  return static_cast<Number>(node.get<std::int64_t>());
}

template <typename Number = std::int64_t>
Number integer(json const& in, char const* name) {
  return number_of<Number>(member(in, name), name);
}

std::int32_t small(json const& in, char const* name) { return integer<std::int32_t>(in, name); }

bool flag(json const& in, char const* name) {
  auto const& node = member(in, name);
  if (!node.is_boolean()) fail(std::string(name) + " is neither true nor false");
  return node.get<bool>();
}

std::string text_of(json const& node, std::string const& name) {
  if (!node.is_string()) fail(name + " is no text");
  return without_controls(node.get_ref<std::string const&>());
}

std::string text(json const& in, char const* name) { return text_of(member(in, name), name); }

std::optional<std::int64_t> size(json const& in, char const* name) {
  auto const& node = member(in, name);
  if (node.is_null()) return std::nullopt;
  return number_of(node, name);
}

json const& array(json const& in, char const* name, std::size_t most) {
  auto const& node = member(in, name);
  if (!node.is_array()) fail(std::string(name) + " is no list");
  if (node.size() > most) fail(std::string(name) + " has too many elements");
  return node;
}

std::string place_in(char const* name, std::size_t index) {
  return std::string(name) + '[' + std::to_string(index) + ']';
}

std::vector<std::string> texts(json const& in, char const* name, std::size_t most = most_elements) {
  std::vector<std::string> all;
  for (auto const& each : array(in, name, most)) {
    all.push_back(text_of(each, place_in(name, all.size())));
  }
  return all;
}

// What is wrong within is told with its place.
template <typename Place, typename Read>
auto at_place(Place const& place, Read read) {
  try {
    return read();
  } catch (not_a_report const& problem) {
    fail(place() + '.' + problem.what());
  }
}

template <typename Read>
auto objects(json const& in, char const* name, Read read) {
  std::vector<decltype(read(in))> all;
  for (auto const& each : array(in, name, most_elements)) {
    if (!each.is_object()) fail(place_in(name, all.size()) + " is no object");
    auto const place = [&] { return place_in(name, all.size()); };
    all.push_back(at_place(place, [&] { return read(each); }));
  }
  return all;
}

attention attention_in(json const& in) {
  auto const what = concern_of(text(in, "code"));
  if (!what) fail("code is not known");
  return {*what, text(in, "subject"), text(in, "text")};
}

space space_in(json const& in) {
  return {text(in, "id"),          text(in, "uuid"),        text(in, "name"),
          integer(in, "total_mb"), integer(in, "used_mb"),  small(in, "status"),
          text(in, "status_name"), small(in, "spare_state")};
}

measuring measuring_in(json const& in) {
  auto const word = text(in, "measured");
  for (auto const& each : measuring_words) {
    if (word == each.word) return each.how;
  }
  fail("measured is not known");
}

volume volume_in(json const& in) {
  volume found{text(in, "id"),         text(in, "name"),       text(in, "path"),
               small(in, "number"),    text(in, "space_uuid"), small(in, "type"),
               small(in, "state"),     text(in, "state_name"), integer(in, "total_mb"),
               integer(in, "used_mb"), measuring_in(in),       size(in, "preallocated_mb"),
               size(in, "lost_mb"),    flag(in, "leak")};
  bool const has_sizes = found.preallocated_mb || found.lost_mb;
  if (has_sizes && found.measured != measuring::done) fail("lost_mb was not measured");
  return found;
}

recorded_size recorded_size_in(json const& in) {
  return {text(in, "space_uuid"), integer(in, "normal_mb"), integer(in, "alarm_mb"),
          integer(in, "all_mb")};
}

// [start_ms, end_ms, place of its storage id or null]
period period_in(json const& node, std::vector<shared_text> const& ids) {
  if (!node.is_array() || node.size() != 3) fail("length is not 3");
  period found{number_of(node[0], "start_ms"), number_of(node[1], "end_ms"), {}};
  if (node[2].is_null()) return found;
  auto const most = static_cast<std::int64_t>(ids.size()) - 1;
  found.storage_id = ids[static_cast<std::size_t>(number_of(node[2], "storage_id", 0, most))];
  return found;
}

stream stream_in(json const& in, std::vector<shared_text> const& ids) {
  stream found{small(in, "recording_type"),
               text(in, "type_name"),
               small(in, "stream"),
               flag(in, "asked"),
               {}};
  auto const& periods = array(in, "periods", most_periods);
  found.periods.reserve(periods.size());
  for (auto const& each : periods) {
    auto const place = [&] { return place_in("periods", found.periods.size()); };
    found.periods.push_back(at_place(place, [&] { return period_in(each, ids); }));
  }
  auto const is_before = [](period const& left, period const& right) {
    return left.start_ms < right.start_ms;
  };
  if (!std::is_sorted(found.periods.begin(), found.periods.end(), is_before)) {
    std::stable_sort(found.periods.begin(), found.periods.end(), is_before);
  }
  return found;
}

channel channel_in(json const& in) {
  auto const texts_of_ids = texts(in, "storage_ids", most_periods);
  std::vector<shared_text> const ids(texts_of_ids.begin(), texts_of_ids.end());
  return {small(in, "number"), text(in, "id"), texts(in, "volumes"),
          objects(in, "streams", [&ids](json const& each) { return stream_in(each, ids); }),
          objects(in, "sizes", recorded_size_in)};
}

recycling recycling_in(json const& in) {
  return {small(in, "channel"),    text(in, "type_name"), small(in, "stream"),
          integer(in, "start_ms"), integer(in, "end_ms"), text(in, "target")};
}

std::optional<preview> preview_in(json const& in) {
  auto const found = in.find("preview");
  if (found == in.end()) return std::nullopt;
  if (!found->is_object()) fail("preview is no object");
  return at_place([] { return std::string("preview"); },
                  [&] {
                    return preview{objects(*found, "autoclean", recycling_in),
                                   objects(*found, "volclean", recycling_in)};
                  });
}

void require_known_format(json const& in) {
  auto const format = integer(in, "format");
  if (format == json_format) return;
  fail("format " + std::to_string(format) + " is not known, only " + std::to_string(json_format));
}

value value_in(json const& in) {
  if (!in.is_object()) fail("it is no object");
  require_known_format(in);
  value found;
  found.program_version = text(in, "program_version");
  found.arguments = texts(in, "arguments");
  found.made_ms = integer(in, "made_ms");
  found.spaces = objects(in, "spaces", space_in);
  found.volumes = objects(in, "volumes", volume_in);
  found.channels = objects(in, "channels", channel_in);
  found.not_asked = texts(in, "not_asked");
  found.problems = texts(in, "problems");
  found.needs = objects(in, "needs_attention", attention_in);
  found.would_do = preview_in(in);
  found.exit_status =
      number_of<int>(member(in, "exit_status"), "exit_status", nothing_to_attend, not_asked);
  return found;
}

}  // namespace

value value_of_json(std::string_view text) {
  auto const tree = json_tree(text);
  try {
    return value_in(tree);
  } catch (not_a_report const& problem) {
    throw not_a_report(std::string("no report: ") + problem.what());
  }
}

}  // namespace report
