// CKivChannel: the channels' frame sessions.
#include "lab/client/days.h"
#include "lab/client/find.h"
#include "lab/client/handed_out.h"
#include "lab/client/operation.h"
#include "lab/client/room.h"
#include "lab/client/to_record.h"
#include "storage/service.h"

namespace lab::client {

namespace {

class frame_session final : public IFrameChannelSession {
 public:
  frame_session(std::shared_ptr<recorder const> from, channel_sid const& of)
      : recorder_(std::move(from)), channel_(of) {}

  int get_time_period_list(int recording_type, int stream, std::int64_t start, std::int64_t end,
                           std::list<time_period>& periods, int first, int second,
                           int third) override {
    periods.clear();
    return operation(
        "IFrameChannelSession::get_time_period_list",
        json::object({{"channel", describe_channel(channel_)},
                      {"recording_type", recording_type},
                      {"stream", stream},
                      {"start", start},
                      {"end", end},
                      {"options", json::array({first, second, third})}}),
        &periods, [&] {
          lab::stream const of{find_channel(*recorder_, channel_).id, recording_type, stream};
          for (period const& each : recorder_->periods(of, {start, end})) {
            periods.push_back(to_record(each));
          }
        });
  }

  int get_recording_days(int recording_type, int selector, std::list<storage_id_text> storage_ids,
                         day_list* days) override {
    return recording_days("IFrameChannelSession::get_recording_days", *recorder_, channel_,
                          recording_type, selector, storage_ids, days);
  }

 private:
  std::shared_ptr<recorder const> recorder_;
  channel_sid channel_;
};

}  // namespace

}  // namespace lab::client

using lab::client::json;
using channel_kept =
    lab::client::kept<lab::client::handed_out<lab::client::frame_session, IFrameChannelSession>>;

CKivChannel::CKivChannel() { channel_kept::make("CKivChannel::CKivChannel", room_); }

CKivChannel::~CKivChannel() { channel_kept::drop("CKivChannel::~CKivChannel", room_); }

int CKivChannel::create_channel_session(channel_sid channel, IFrameChannelSession** session) {
  return channel_kept::in(room_).create(
      "CKivChannel::create_channel_session",
      json::object({{"channel", lab::client::describe_channel(channel)}}), session,
      [&] { return lab::client::reader_of(channel); }, channel);
}

int CKivChannel::destroy_channel_session(IFrameChannelSession** session) {
  return channel_kept::in(room_).destroy(
      "CKivChannel::destroy_channel_session",
      json::object({{"given", lab::client::describe_given(session)}}), session);
}
