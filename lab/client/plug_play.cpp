// CKivStorageDaemon: the plug-and-play service.
#include <string>

#include "lab/client/attempt.h"
#include "lab/client/describe.h"
#include "lab/client/handed_out.h"
#include "lab/client/room.h"
#include "lab/client/source.h"
#include "storage/service.h"

namespace lab::client {

namespace {

void require_volume_no(recorder const& in, std::int32_t volume_no) {
  for (volume const& each : in.volumes()) {
    if (each.volume_no == volume_no) return;
  }
  throw error("the recorder has no volume numbered " + std::to_string(volume_no));
}

class plug_play final : public IPlugPlayService {
 public:
  explicit plug_play(std::shared_ptr<recorder const> from) : recorder_(std::move(from)) {}
  virtual ~plug_play() = default;
  plug_play(plug_play const&) = delete;
  plug_play& operator=(plug_play const&) = delete;

  int get_volume_channels(volume_share_info const& query, char const* first_id,
                          char const* second_id, std::list<std::uint32_t>& channels) override {
    constexpr char operation[] = "IPlugPlayService::get_volume_channels";
    channels.clear();
    int const result = attempt(operation, &channels, [&] {
      require_volume_no(*recorder_, query.volume_no);
      for (channel const& each : recorder_->volume_channels(query.volume_no)) {
        channels.push_back(static_cast<std::uint32_t>(each.number));
      }
    });
    trace(
        operation,
        json::object({{"volume_no", query.volume_no}, {"ids", json::array({first_id, second_id})}}),
        describe_filled(result, channels.size()));
    return result;
  }

 private:
  std::shared_ptr<recorder const> recorder_;
};

struct daemon_state {
  client::source source;
  handed_out<plug_play, IPlugPlayService> services;
};

}  // namespace

}  // namespace lab::client

using lab::client::attempt;
using lab::client::json;
using lab::client::trace;
using state = lab::client::kept<lab::client::daemon_state>;

CKivStorageDaemon::CKivStorageDaemon() {
  trace("CKivStorageDaemon::CKivStorageDaemon", json::object({}), nullptr);
  state::make(room_);
}

CKivStorageDaemon::~CKivStorageDaemon() {
  trace("CKivStorageDaemon::~CKivStorageDaemon", json::object({}), nullptr);
  state::drop(room_);
}

int CKivStorageDaemon::create_plug_play_service(IPlugPlayService** service) {
  constexpr char operation[] = "CKivStorageDaemon::create_plug_play_service";
  *service = nullptr;
  int const result = attempt(operation, service, [&] {
    *service = state::in(room_).services.add(state::in(room_).source.reader());
  });
  trace(operation, json::object({}), lab::client::describe_obtained(result, *service != nullptr));
  return result;
}

int CKivStorageDaemon::destroy_plug_play_service(IPlugPlayService** service) {
  constexpr char operation[] = "CKivStorageDaemon::destroy_plug_play_service";
  bool const given = service != nullptr && *service != nullptr;
  int result = lab::client::failed;
  attempt(operation, [&] { result = state::in(room_).services.take_back(service); });
  trace(operation, json::object({{"given", json::boolean(given)}}), result);
  return result;
}
