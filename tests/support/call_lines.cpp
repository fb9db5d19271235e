#include "call_lines.h"

#include <algorithm>
#include <iterator>

namespace support {

namespace {

std::string text(std::int64_t number) { return std::to_string(number); }

lines entered() {
  return {"CKivStorage#1()", "CKivStorageDaemon#1()",
          "CKivStorage#1.create_storage_setting(null) = storage_setting"};
}
lines left() {
  return {"CKivStorage#1.destroy_storage_setting(storage_setting)", "~CKivStorageDaemon#1",
          "~CKivStorage#1"};
}

}  // namespace

lines chain(std::vector<lines> const& stretches) {
  lines all;
  for (lines const& each : stretches) all.insert(all.end(), each.begin(), each.end());
  return all;
}

lines lines_with(lines const& all, std::string const& text) {
  lines found;
  std::copy_if(all.begin(), all.end(), std::back_inserter(found),
               [&](std::string const& line) { return line.find(text) != std::string::npos; });
  return found;
}

lines dispatched(lines const& handler) { return chain({entered(), handler, left()}); }

lines dispatched_with_service(lines const& handler) {
  return chain({entered(),
                {"CKivStorageDaemon#1.create_plug_play_service(null) = plug_play_service"},
                handler,
                {"CKivStorageDaemon#1.destroy_plug_play_service(plug_play_service)"},
                left()});
}

std::string volume_channels_question(int volume_no) {
  std::string const zeros = filled(36, '0');
  return "plug_play_service.get_volume_channels(-1 0 " + text(volume_no) + " -1 -1, " + zeros +
         ", " + zeros + ")";
}

std::string channel_text(std::int32_t number, char key) {
  return text(number) + ":" + filled(32, key);
}

lines span_lookup(int n, std::string const& channel, int recording_type, int stream) {
  std::string const channels = "CKivChannel#" + text(n);
  std::string const session = "session#" + text(n);
  return {channels + "()", channels + ".create_channel_session(" + channel + ", null) = " + session,
          session + ".get_time_period_list(" + text(recording_type) + ", " + text(stream) + ", " +
              text(span_start) + ", " + text(now_ms) + ", 0, 1, 1)",
          channels + ".destroy_channel_session(" + session + ")", "~" + channels};
}

lines recycling(std::string const& kind, int n, std::string const& id, std::string const& channel,
                int recording_type, int stream, std::int64_t end) {
  std::string const object = kind + "#" + text(n);
  return {object + "()", object + ".init(" + id + ")",
          object + ".recycle_stream_data(" + channel + " stream " + text(stream) + " type " +
              text(recording_type) + ", " + text(span_start) + ", " + text(end) + ", 0)",
          object + ".uninit()", "~" + object};
}

lines stream_walk(int n, std::string const& channel, stream_lines const& behind,
                  decltype(span_lookup)& lookup) {
  lines calls;
  int index = (n - 1) * 10;
  for (int const type : {4, 1}) {
    for (int stream = 0; stream < 5; ++stream) {
      ++index;
      calls = chain({calls, lookup(index, channel, type, stream), behind(index, type, stream)});
    }
  }
  return calls;
}

lines failed_init(std::string const& kind, int n, std::string const& id) {
  std::string const object = kind + "#" + text(n);
  return {object + "()", object + ".init(" + id + ")", object + ".uninit()", "~" + object};
}

}  // namespace support
