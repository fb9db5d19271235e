// CKivChannel: the channels' frame sessions.
#include "lab/client/attempt.h"
#include "lab/client/days.h"
#include "lab/client/describe.h"
#include "lab/client/find.h"
#include "lab/client/handed_out.h"
#include "lab/client/room.h"
#include "lab/client/source.h"
#include "lab/client/to_record.h"
#include "storage/service.h"

namespace lab::client {

namespace {

class frame_session final : public IFrameChannelSession {
 public:
  frame_session(std::shared_ptr<recorder const> from, channel_sid const& of)
      : recorder_(std::move(from)), channel_(of) {}
  virtual ~frame_session() = default;
  frame_session(frame_session const&) = delete;
  frame_session& operator=(frame_session const&) = delete;

  int get_time_period_list(int recording_type, int stream, std::int64_t start, std::int64_t end,
                           std::list<time_period>& periods, int first, int second,
                           int third) override {
    constexpr char operation[] = "IFrameChannelSession::get_time_period_list";
    periods.clear();
    int const result = attempt(operation, &periods, [&] {
      std::vector<volume> const volumes = recorder_->volumes();
      lab::stream const of{find_channel(*recorder_, channel_).id, recording_type, stream};
      for (period const& each : recorder_->periods(of, {start, end})) {
        periods.push_back(to_record(each, volumes));
      }
    });
    trace(operation,
          json::object({{"channel", describe_channel(channel_)},
                        {"recording_type", recording_type},
                        {"stream", stream},
                        {"start", start},
                        {"end", end},
                        {"options", json::array({first, second, third})}}),
          describe_filled(result, periods.size()));
    return result;
  }

  int get_recording_days(int recording_type, int selector, std::list<storage_id_text> storage_ids,
                         day_list* days) override {
    return traced_days("IFrameChannelSession::get_recording_days", *recorder_, channel_,
                       recording_type, selector, storage_ids, days);
  }

 private:
  std::shared_ptr<recorder const> recorder_;
  channel_sid channel_;
};

struct channel_state {
  client::source source;
  handed_out<frame_session, IFrameChannelSession> sessions;
};

}  // namespace

}  // namespace lab::client

using lab::client::attempt;
using lab::client::json;
using lab::client::trace;
using state = lab::client::kept<lab::client::channel_state>;

CKivChannel::CKivChannel() {
  trace("CKivChannel::CKivChannel", json::object({}), nullptr);
  state::make(room_);
}

CKivChannel::~CKivChannel() {
  trace("CKivChannel::~CKivChannel", json::object({}), nullptr);
  state::drop(room_);
}

int CKivChannel::create_channel_session(channel_sid channel, IFrameChannelSession** session) {
  constexpr char operation[] = "CKivChannel::create_channel_session";
  *session = nullptr;
  int const result = attempt(operation, session, [&] {
    auto from = state::in(room_).source.reader();
    lab::client::find_channel(*from, channel);
    *session = state::in(room_).sessions.add(std::move(from), channel);
  });
  trace(operation, json::object({{"channel", lab::client::describe_channel(channel)}}),
        lab::client::describe_obtained(result, *session != nullptr));
  return result;
}

int CKivChannel::destroy_channel_session(IFrameChannelSession** session) {
  constexpr char operation[] = "CKivChannel::destroy_channel_session";
  bool const given = session != nullptr && *session != nullptr;
  int result = lab::client::failed;
  attempt(operation, [&] { result = state::in(room_).sessions.take_back(session); });
  trace(operation, json::object({{"given", json::boolean(given)}}), result);
  return result;
}
