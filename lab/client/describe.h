// Arguments and results of the contract as the trace shows them.
#pragma once

#include <cstdio>
#include <list>

#include "lab/client/faults.h"
#include "lab/client/to_record.h"
#include "lab/client/trace.h"
#include "storage/records.h"
#include "storage/text.h"

namespace lab::client {

inline json describe_space(kivsid const& space) { return space_sid_text(space); }

inline json describe_volume(kivsid const& volume) {
  return json::object({{"number", volume.number}, {"text", st::field_text(volume.text)}});
}

inline json describe_channel(channel_sid const& channel) {
  return json::object({{"number", channel.number}, {"id", st::field_text(channel.id)}});
}

inline json describe_stream(stream_info const& of) {
  return json::object({{"channel", describe_channel(of.channel)},
                       {"stream", of.stream},
                       {"recording_type", of.recording_type}});
}

inline json describe_body(volume_body const& body) {
  return json::object({{"name", st::field_text(body.name)},
                       {"type", body.type},
                       {"volume_no", body.share.volume_no},
                       {"state", body.state},
                       {"space_uuid", st::field_text(body.space_uuid)}});
}

// What an operation returned, and what it filled.
inline json describe_answer(int result, no_answer const* /*none*/) { return result; }

template <typename Interface>
json describe_answer(int result, Interface* const* object) {
  return json::object({{"result", result}, {"obtained", *object != nullptr}});
}

inline json describe_answer(int /*result*/, std::FILE* const* stream) {
  return json::object({{"obtained", *stream != nullptr}});
}

template <typename Record>
json describe_answer(int result, std::list<Record> const* records) {
  return json::object({{"result", result}, {"elements", records->size()}});
}

inline json describe_answer(int result, volume_body const* body) {
  return json::object({{"result", result}, {"body", describe_body(*body)}});
}

inline json describe_answer(int result, std::int64_t const* size) {
  return json::object({{"result", result}, {"size", size == nullptr ? json(nullptr) : *size}});
}

inline json describe_answer(int result, day_list const* days) {
  return json::object(
      {{"result", result}, {"days", days == nullptr ? json(nullptr) : days->count}});
}

inline json describe_answer(int result, recycled const* units) {
  return json::object({{"result", result}, {"units", units->units}});
}

}  // namespace lab::client
