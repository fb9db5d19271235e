// CKivStorageDaemon: the plug-and-play service.
#include <string>

#include "lab/client/handed_out.h"
#include "lab/client/operation.h"
#include "lab/client/room.h"
#include "storage/service.h"

namespace lab::client {

namespace {

class plug_play final : public IPlugPlayService {
 public:
  explicit plug_play(std::shared_ptr<recorder const> from) : recorder_(std::move(from)) {}

  int get_volume_channels(volume_share_info const& query, char const* first_id,
                          char const* second_id, std::list<std::uint32_t>& channels) override {
    channels.clear();
    return operation(
        "IPlugPlayService::get_volume_channels",
        json::object({{"volume_no", query.volume_no}, {"ids", json::array({first_id, second_id})}}),
        &channels, [&] {
          require_volume_no(query.volume_no);
          for (channel const& each : recorder_->volume_channels(query.volume_no)) {
            channels.push_back(static_cast<std::uint32_t>(each.number));
          }
        });
  }

 private:
  void require_volume_no(std::int32_t volume_no) const {
    if (recorder_->has_volume_numbered(volume_no)) return;
    throw error("the recorder has no volume numbered " + std::to_string(volume_no));
  }

  std::shared_ptr<recorder const> recorder_;
};

}  // namespace

}  // namespace lab::client

using lab::client::json;
using daemon_kept =
    lab::client::kept<lab::client::handed_out<lab::client::plug_play, IPlugPlayService>>;

CKivStorageDaemon::CKivStorageDaemon() {
  daemon_kept::make("CKivStorageDaemon::CKivStorageDaemon", room_);
}

CKivStorageDaemon::~CKivStorageDaemon() {
  daemon_kept::drop("CKivStorageDaemon::~CKivStorageDaemon", room_);
}

int CKivStorageDaemon::create_plug_play_service(IPlugPlayService** service) {
  return daemon_kept::in(room_).create("CKivStorageDaemon::create_plug_play_service",
                                       json::object({}), service, lab::client::reader);
}

int CKivStorageDaemon::destroy_plug_play_service(IPlugPlayService** service) {
  return daemon_kept::in(room_).destroy(
      "CKivStorageDaemon::destroy_plug_play_service",
      json::object({{"given", lab::client::describe_given(service)}}), service);
}
