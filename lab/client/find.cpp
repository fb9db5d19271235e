#include "lab/client/find.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "lab/client/source.h"
#include "lab/client/to_record.h"

namespace lab::client {

namespace {

template <typename Record, typename Matches>
Record find(std::vector<Record> const& all, Matches const& matches, std::string const& what) {
  auto const found = std::find_if(all.begin(), all.end(), matches);
  if (found == all.end()) throw error("the recorder has no " + what);
  return *found;
}

}  // namespace

space find_space(recorder const& in, kivsid const& id) {
  std::string const sid = space_sid_text(id);
  return find(
      in.spaces(), [&](space const& each) { return each.sid == sid; }, "space " + sid);
}

volume find_volume(recorder const& in, kivsid const& id) {
  std::string const sid(id.text, sizeof id.text);
  auto found = in.volume_with(sid);
  if (!found) throw error("the recorder has no volume " + sid);
  return std::move(*found);
}

channel find_channel(recorder const& in, channel_sid const& id) {
  std::string const sid(id.id, sizeof id.id);
  return find(
      in.channels(), [&](channel const& each) { return each.sid == sid; }, "channel " + sid);
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
