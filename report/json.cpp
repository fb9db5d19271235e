// Writing. What can be long is written piece by piece, so that no second report of
// nodes stands in memory beside the text.
#include "report/json.h"

#include <charconv>
#include <map>
#include <nlohmann/json.hpp>

#include "report/concerns.h"
#include "report/measuring.h"

namespace report {

namespace {

using ordered = nlohmann::ordered_json;

std::string written(ordered const& value) {
  return value.dump(-1, ' ', false, ordered::error_handler_t::replace);
}

ordered size_or_null(std::optional<std::int64_t> const& size) {
  return size ? ordered(*size) : ordered();
}

char const* word_of(measuring how) {
  for (auto const& each : measuring_words) {
    if (each.how == how) return each.word;
  }
  return measuring_words.back().word;
}

ordered node_of(std::string const& line) { return line; }

ordered node_of(attention const& of) {
  return {{"code", code_of(of.what)}, {"subject", of.subject}, {"text", of.text}};
}

ordered node_of(space const& of) {
  return {{"id", of.id},
          {"uuid", of.uuid},
          {"name", of.name},
          {"total_mb", of.total_mb},
          {"used_mb", of.used_mb},
          {"status", of.status},
          {"status_name", of.status_name},
          {"spare_state", of.spare_state}};
}

ordered node_of(volume const& of) {
  return {{"id", of.id},
          {"name", of.name},
          {"path", of.path},
          {"number", of.number},
          {"space_uuid", of.space_uuid},
          {"type", of.type},
          {"state", of.state},
          {"state_name", of.state_name},
          {"total_mb", of.total_mb},
          {"used_mb", of.used_mb},
          {"measured", word_of(of.measured)},
          {"preallocated_mb", size_or_null(of.preallocated_mb)},
          {"lost_mb", size_or_null(of.lost_mb)},
          {"leak", of.leak}};
}

ordered node_of(recorded_size const& of) {
  return {{"space_uuid", of.space_uuid},
          {"normal_mb", of.normal_mb},
          {"alarm_mb", of.alarm_mb},
          {"all_mb", of.all_mb}};
}

ordered node_of(recycling const& of) {
  return {{"channel", of.channel},   {"type_name", of.type_name}, {"stream", of.stream},
          {"start_ms", of.start_ms}, {"end_ms", of.end_ms},       {"target", of.target}};
}

// The storage ids of a channel's periods, each once, and their places in that list.
class id_list {
 public:
  explicit id_list(channel const& of) {
    for (auto const& each : of.streams) {
      for (auto const& one : each.periods) add(one.storage_id.view());
    }
  }
  ordered const& ids() const { return ids_; }
  std::size_t place_of(std::string_view id) const { return places_.at(id); }

 private:
  void add(std::string_view id) {
    if (!id.empty() && places_.emplace(id, ids_.size()).second) ids_.emplace_back(id);
  }

  ordered ids_ = ordered::array();
  std::map<std::string_view, std::size_t> places_;
};

template <typename Number>
void append_number(std::string& text, Number number) {
  char digits[24];
  auto const [end, problem] = std::to_chars(std::begin(digits), std::end(digits), number);
  static_cast<void>(problem);  // every number fits
  text.append(digits, static_cast<std::size_t>(end - digits));
}

void append_period(std::string& text, period const& of, id_list const& ids) {
  text += '[';
  append_number(text, of.start_ms);
  text += ',';
  append_number(text, of.end_ms);
  text += ',';
  if (of.storage_id.empty()) {
    text += "null";
  } else {
    append_number(text, ids.place_of(of.storage_id.view()));
  }
  text += ']';
}

// Calls `append_one` for each element, with what stands between them.
template <typename List, typename AppendOne>
void append_list(std::string& text, List const& list, char const* between, AppendOne append_one) {
  bool is_first = true;
  for (auto const& each : list) {
    text += is_first ? "" : ",";
    text += between;
    is_first = false;
    append_one(each);
  }
}

// An object that is not closed yet.
std::string opened(ordered const& object) {
  auto text = written(object);
  text.pop_back();
  return text;
}

void append_stream(std::string& text, stream const& of, id_list const& ids) {
  text += opened({{"recording_type", of.recording_type},
                  {"type_name", of.type_name},
                  {"stream", of.number},
                  {"asked", of.asked}});
  text += ",\"periods\":[";
  append_list(text, of.periods, "", [&](period const& each) { append_period(text, each, ids); });
  text += "]}";
}

void append_channel(std::string& text, channel const& of) {
  id_list const ids(of);
  auto sizes = ordered::array();
  for (auto const& each : of.sizes) sizes.push_back(node_of(each));
  text += opened({{"number", of.number},
                  {"id", of.id},
                  {"volumes", of.volumes},
                  {"sizes", sizes},
                  {"storage_ids", ids.ids()}});
  text += ",\"streams\":[";
  append_list(text, of.streams, "\n    ",
              [&](stream const& each) { append_stream(text, each, ids); });
  text += "]}";
}

// Of a member that is a list, all that stands before its elements.
void append_name(std::string& text, char const* name) {
  text += text.back() == '{' ? "\n\"" : ",\n\"";
  text += name;
  text += "\":[";
}

// A member that is a list, a line for each element.
template <typename Element>
void append_lines(std::string& text, char const* name, std::vector<Element> const& list) {
  append_name(text, name);
  append_list(text, list, "\n  ", [&](Element const& each) { text += written(node_of(each)); });
  text += ']';
}

void append_channels(std::string& text, std::vector<channel> const& list) {
  append_name(text, "channels");
  append_list(text, list, "\n  ", [&](channel const& each) { append_channel(text, each); });
  text += ']';
}

void append_preview(std::string& text, preview const& of) {
  text += ",\n\"preview\":{";
  append_lines(text, "autoclean", of.autoclean);
  append_lines(text, "volclean", of.volclean);
  text += '}';
}

}  // namespace

std::string json_of(value const& of) {
  auto text = opened({{"format", json_format},
                      {"program", "st-report"},
                      {"program_version", of.program_version},
                      {"arguments", of.arguments},
                      {"exit_status", of.exit_status},
                      {"made_ms", of.made_ms}});
  append_lines(text, "needs_attention", of.needs);
  append_lines(text, "not_asked", of.not_asked);
  append_lines(text, "problems", of.problems);
  append_lines(text, "spaces", of.spaces);
  append_lines(text, "volumes", of.volumes);
  append_channels(text, of.channels);
  if (of.would_do) append_preview(text, *of.would_do);
  text += "}\n";
  return text;
}

}  // namespace report
