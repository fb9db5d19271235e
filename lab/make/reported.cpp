#include "lab/make/reported.h"

#include <cstddef>
#include <limits>
#include <nlohmann/json.hpp>

#include "lab/util/error.h"

namespace lab {

namespace {

using json = nlohmann::json;

constexpr std::int64_t known_format = 1;

// What a report may hold at most: all of it has to fit into memory.
constexpr int deepest = 8;
constexpr std::size_t most_nodes = 10'000'000;
constexpr std::size_t most_elements = 100'000;
constexpr std::size_t most_periods = 2'000'000;
constexpr std::size_t longest_text = 131'072;

// Wrong in one place of the report; the place is told in front of it.
class misfit : public error {
 public:
  using error::error;
};

[[noreturn]] void fail(std::string const& what) { throw misfit(what); }

// Counts what a text holds before anything of it is made.
class size_check : public json::json_sax_t {
 public:
  bool null() override { return add(); }
  bool boolean(bool /*value*/) override { return add(); }
  bool number_integer(number_integer_t /*value*/) override { return add(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return add(); }
  bool number_float(number_float_t /*value*/, string_t const& /*text*/) override { return add(); }
  bool string(string_t& text) override { return add_text(text); }
  bool binary(binary_t& /*value*/) override { return false; }
  bool start_object(std::size_t /*size*/) override { return open(); }
  bool key(string_t& text) override { return add_text(text); }
  bool end_object() override { return close(); }
  bool start_array(std::size_t /*size*/) override { return open(); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t position, std::string const& /*last*/,
                   json::exception const& /*problem*/) override {
    throw misfit("not JSON from byte " + std::to_string(position) + " on");
  }

 private:
  bool add() {
    if (++nodes_ > most_nodes) throw misfit("it holds too much");
    return true;
  }
  bool add_text(string_t const& text) {
    if (text.size() > longest_text) throw misfit("a text is too long");
    return add();
  }
  bool open() {
    if (++depth_ > deepest) throw misfit("it is nested too deeply");
    return add();
  }
  bool close() {
    --depth_;
    return true;
  }

  int depth_ = 0;
  std::size_t nodes_ = 0;
};

json parsed(std::string_view text) {
  size_check check;
  json::sax_parse(text, &check);
  return json::parse(text);
}

json const& member(json const& object, char const* name) {
  auto const found = object.find(name);
  if (found == object.end()) fail(std::string(name) + " is missing");
  return *found;
}

template <typename Number = std::int64_t>
Number number_of(json const& node, char const* name,
                 std::int64_t most = std::numeric_limits<Number>::max()) {
  if (!node.is_number_integer()) fail(std::string(name) + " is no whole number");
  constexpr auto greatest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  bool const is_beyond = node.is_number_unsigned() && node.get<std::uint64_t>() > greatest;
  constexpr std::int64_t least = std::numeric_limits<Number>::min();
  if (is_beyond || node.get<std::int64_t>() < least || node.get<std::int64_t>() > most) {
    fail(std::string(name) + " is out of range");
  }
  return static_cast<Number>(node.get<std::int64_t>());
}

std::int64_t number(json const& in, char const* name) { return number_of(member(in, name), name); }

std::int32_t small(json const& in, char const* name) {
  return number_of<std::int32_t>(member(in, name), name);
}

std::string text_of(json const& node, char const* name) {
  if (!node.is_string()) fail(std::string(name) + " is no text");
  return node.get<std::string>();
}

std::string text(json const& in, char const* name) { return text_of(member(in, name), name); }

// Reads each element; what is wrong with one is told with its place.
template <typename Read>
auto list(json const& in, char const* name, std::size_t most, Read read) {
  auto const& node = member(in, name);
  if (!node.is_array()) fail(std::string(name) + " is no list");
  if (node.size() > most) fail(std::string(name) + " has too many elements");
  std::vector<decltype(read(in))> all;
  all.reserve(node.size());
  for (auto const& each : node) {
    try {
      all.push_back(read(each));
    } catch (misfit const& problem) {
      fail(std::string(name) + '[' + std::to_string(all.size()) + "]: " + problem.what());
    }
  }
  return all;
}

template <typename Read>
auto objects(json const& in, char const* name, Read read) {
  return list(in, name, most_elements, [&read](json const& each) {
    if (!each.is_object()) fail("it is no object");
    return read(each);
  });
}

std::vector<std::string> texts(json const& in, char const* name, std::size_t most) {
  return list(in, name, most, [](json const& each) { return text_of(each, "it"); });
}

reported_space space_in(json const& in) {
  return {text(in, "id"), text(in, "uuid"), text(in, "name"), small(in, "status"),
          small(in, "spare_state")};
}

reported_volume volume_in(json const& in) {
  auto const& leak = member(in, "leak");
  if (!leak.is_boolean()) fail("leak is neither true nor false");
  auto const measured = text(in, "measured");
  auto const& lost = member(in, "lost_mb");
  return {text(in, "id"),         text(in, "name"),
          text(in, "path"),       small(in, "number"),
          text(in, "space_uuid"), small(in, "type"),
          small(in, "state"),     number(in, "total_mb"),
          number(in, "used_mb"),  lost.is_null() ? 0 : number_of(lost, "lost_mb"),
          leak.get<bool>(),       measured == "not-mounted"};
}

reported_period period_in(json const& node, std::size_t ids) {
  if (!node.is_array() || node.size() != 3) fail("it is no period");
  auto const& id = node[2];
  auto const last_id = static_cast<std::int64_t>(ids) - 1;
  reported_period const found{number_of(node[0], "start_ms"), number_of(node[1], "end_ms"),
                              id.is_null() ? -1 : number_of(id, "its storage id", last_id)};
  if (!id.is_null() && found.storage_id < 0) fail("its storage id is out of range");
  return found;
}

reported_stream stream_in(json const& in, std::size_t ids) {
  return {
      small(in, "recording_type"), small(in, "stream"),
      list(in, "periods", most_periods, [ids](json const& each) { return period_in(each, ids); })};
}

reported_size size_in(json const& in) {
  return {text(in, "space_uuid"), number(in, "normal_mb"), number(in, "alarm_mb"),
          number(in, "all_mb")};
}

reported_channel channel_in(json const& in) {
  auto ids = texts(in, "storage_ids", most_periods);
  auto streams =
      objects(in, "streams", [&ids](json const& each) { return stream_in(each, ids.size()); });
  return {small(in, "number"),           text(in, "id"), texts(in, "volumes", most_elements),
          objects(in, "sizes", size_in), std::move(ids), std::move(streams)};
}

reported_recorder recorder_in(json const& in) {
  if (!in.is_object()) fail("it is no object");
  auto const format = number(in, "format");
  if (format != known_format) fail("format " + std::to_string(format) + " is not known");
  return {number(in, "made_ms"), objects(in, "spaces", space_in), objects(in, "volumes", volume_in),
          objects(in, "channels", channel_in)};
}

}  // namespace

reported_recorder read_report(std::string_view text) {
  try {
    return recorder_in(parsed(text));
  } catch (misfit const& problem) {
    throw error(std::string("no report: ") + problem.what());
  }
}

}  // namespace lab
