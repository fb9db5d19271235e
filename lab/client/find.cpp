#include "lab/client/find.h"

#include <optional>
#include <string>
#include <utility>

#include "lab/client/source.h"
#include "lab/client/to_record.h"

namespace lab::client {

namespace {

template <typename Found>
Found required(std::optional<Found> found, char const* what, std::string const& sid) {
  if (!found) throw error(std::string("the recorder has no ").append(what).append(sid));
  return std::move(*found);
}

}  // namespace

std::int64_t find_space(recorder const& in, kivsid const& id) {
  std::string const sid = space_sid_text(id);
  return required(in.space_with(sid), "space ", sid);
}

volume find_volume(recorder const& in, kivsid const& id, volume_sizes sizes) {
  std::string const sid(id.text, sizeof id.text);
  return required(in.volume_with(sid, sizes), "volume ", sid);
}

channel find_channel(recorder const& in, channel_sid const& id) {
  std::string const sid(id.id, sizeof id.id);
  return required(in.channel_with(sid), "channel ", sid);
}

stream find_stream(recorder const& in, stream_info const& of) {
  return {find_channel(in, of.channel).id, of.recording_type, of.stream};
}

std::shared_ptr<recorder const> reader_of(channel_sid const& id) {
  auto from = reader();
  find_channel(*from, id);
  return from;
}

}  // namespace lab::client
