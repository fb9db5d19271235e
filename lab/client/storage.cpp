// CKivStorage: the settings interface and the channels' configurations.
#include "lab/client/attempt.h"
#include "lab/client/days.h"
#include "lab/client/describe.h"
#include "lab/client/find.h"
#include "lab/client/handed_out.h"
#include "lab/client/room.h"
#include "lab/client/setting.h"
#include "lab/client/source.h"
#include "storage/service.h"

namespace lab::client {

namespace {

class configuration final : public IChannelStorageConfiguration {
 public:
  configuration(std::shared_ptr<recorder const> from, channel_sid const& of)
      : recorder_(std::move(from)), channel_(of) {}
  virtual ~configuration() = default;
  configuration(configuration const&) = delete;
  configuration& operator=(configuration const&) = delete;

  int get_recording_days(int recording_type, int selector, std::list<storage_id_text> storage_ids,
                         day_list* days) override {
    return traced_days("IChannelStorageConfiguration::get_recording_days", *recorder_, channel_,
                       recording_type, selector, storage_ids, days);
  }

 private:
  std::shared_ptr<recorder const> recorder_;
  channel_sid channel_;
};

struct storage_state {
  client::source source;
  handed_out<setting, IStorageSetting> settings;
  handed_out<configuration, IChannelStorageConfiguration> configurations;
};

}  // namespace

}  // namespace lab::client

using lab::client::attempt;
using lab::client::json;
using lab::client::trace;
using state = lab::client::kept<lab::client::storage_state>;

CKivStorage::CKivStorage() {
  trace("CKivStorage::CKivStorage", json::object({}), nullptr);
  state::make(room_);
}

CKivStorage::~CKivStorage() {
  trace("CKivStorage::~CKivStorage", json::object({}), nullptr);
  state::drop(room_);
}

int CKivStorage::create_storage_setting(IStorageSetting** setting) {
  constexpr char operation[] = "CKivStorage::create_storage_setting";
  *setting = nullptr;
  int const result = attempt(operation, setting, [&] {
    auto from = state::in(room_).source.reader();
    lab::client::finish_stopped_moves(*from);
    *setting = state::in(room_).settings.add(std::move(from));
  });
  trace(operation, json::object({}), lab::client::describe_obtained(result, *setting != nullptr));
  return result;
}

int CKivStorage::destroy_storage_setting(IStorageSetting** setting) {
  constexpr char operation[] = "CKivStorage::destroy_storage_setting";
  bool const given = setting != nullptr && *setting != nullptr;
  int result = lab::client::failed;
  attempt(operation, [&] { result = state::in(room_).settings.take_back(setting); });
  trace(operation, json::object({{"given", json::boolean(given)}}), result);
  return result;
}

int CKivStorage::create_channel_configuration(channel_sid channel,
                                              IChannelStorageConfiguration** configuration) {
  constexpr char operation[] = "CKivStorage::create_channel_configuration";
  *configuration = nullptr;
  int const result = attempt(operation, configuration, [&] {
    auto from = state::in(room_).source.reader();
    lab::client::find_channel(*from, channel);
    *configuration = state::in(room_).configurations.add(std::move(from), channel);
  });
  trace(operation, json::object({{"channel", lab::client::describe_channel(channel)}}),
        lab::client::describe_obtained(result, *configuration != nullptr));
  return result;
}

int CKivStorage::destroy_channel_configuration(int channel_number,
                                               IChannelStorageConfiguration** configuration) {
  constexpr char operation[] = "CKivStorage::destroy_channel_configuration";
  bool const given = configuration != nullptr && *configuration != nullptr;
  int result = lab::client::failed;
  attempt(operation, [&] { result = state::in(room_).configurations.take_back(configuration); });
  trace(operation,
        json::object({{"channel_number", channel_number}, {"given", json::boolean(given)}}),
        result);
  return result;
}
