#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "scripted.h"

namespace scripted {

namespace {

std::string shown(std::int64_t number) { return std::to_string(number); }
std::string shown(std::string const& as_it_is) { return as_it_is; }

std::string text(std::string_view field) {
  std::string shown(field.substr(0, field.find('\0')));
  for (char& character : shown) {
    if (std::isprint(static_cast<unsigned char>(character)) == 0) character = '?';
  }
  return shown;
}

// 36 characters when the number is four of them, otherwise "number:text".
std::string shown(std::int32_t number, std::string_view id, std::uint16_t terminator) {
  char first[sizeof number];
  std::memcpy(first, &number, sizeof number);
  bool const printable = std::all_of(std::begin(first), std::end(first),
                                     [](unsigned char each) { return std::isprint(each) != 0; });
  std::string const lead =
      printable ? std::string(first, sizeof first) : std::to_string(number) + ":";
  return lead + text(id) + (terminator == 0 ? "" : " without terminator");
}

std::string shown(kivsid const& id) {
  return shown(id.number, {id.text, sizeof id.text}, id.terminator);
}

std::string shown(channel_sid const& channel) {
  auto const* const first = std::begin(channel.filler_38);
  bool const clean = std::all_of(first, std::end(channel.filler_38), [](int b) { return b == 0; });
  return std::to_string(channel.number) + ":" + text({channel.id, sizeof channel.id}) +
         (channel.terminator == 0 ? "" : " without terminator") + (clean ? "" : " with filler");
}

std::string shown(stream_info const& stream) {
  return shown(stream.channel) + " stream " + std::to_string(stream.stream) + " type " +
         std::to_string(stream.recording_type);
}

std::string shown(volume_body const& body) {
  return "name " + text({body.name, sizeof body.name}) + ", type " + std::to_string(body.type) +
         ", state " + std::to_string(body.state) + ", volume_no " +
         std::to_string(body.share.volume_no) + ", space_uuid " +
         text({body.space_uuid, sizeof body.space_uuid});
}

std::string shown(volume_share_info const& query) {
  std::string numbers;
  for (std::int32_t const number : {query.number_1088, query.number_1092, query.volume_no,
                                    query.number_1100, query.number_1104}) {
    numbers += (numbers.empty() ? "" : " ") + std::to_string(number);
  }
  std::string texts;
  for (std::string_view const field : {std::string_view(query.text_0, sizeof query.text_0),
                                       std::string_view(query.text_512, sizeof query.text_512),
                                       std::string_view(query.text_1024, sizeof query.text_1024),
                                       std::string_view(query.text_1108, sizeof query.text_1108),
                                       std::string_view(query.path, sizeof query.path)}) {
    if (field.find_first_not_of('\0') != std::string_view::npos) texts += " '" + text(field) + "'";
  }
  return numbers + texts;
}

// The arguments of a call, as its line has them.
template <typename... Argument>
std::string joined(Argument const&... each) {
  std::string all;
  ((all += (all.empty() ? "" : ", ") + shown(each)), ...);
  return all;
}

template <typename Record>
std::string fresh(std::list<Record> const& list) {
  return list.empty() ? "" : " already filled";
}

bool answers(fault const* found) { return found == nullptr || found->what == effect::complain; }

int result_of(fault const* found) {
  return found == nullptr || found->what == effect::null ? 0 : found->result;
}

call_log& log() { return call_log::instance(); }
script const& lines() { return log().script(); }

std::string held(std::uint32_t channel) { return std::to_string(channel); }
std::string held(time_period const& period) { return std::to_string(period.start_time); }

template <typename Record>
void tell_list(std::list<Record> const& list) {
  if (!lines().tells_lists) return;
  std::string line = "= held";
  for (Record const& each : list) line += " " + held(each);
  log().note(line);
}

// Notes a call by its object, operation and arguments, and acts on a fault that
// throws.
fault const* enter(std::string const& object, std::string const& operation,
                   std::string const& arguments, std::string const& handed_out = {}) {
  return log().enter(operation, object + "." + operation + "(" + arguments + ")", handed_out);
}

template <typename Record>
int answer_list(std::string const& operation, std::string const& arguments,
                std::list<Record> const& answer, std::list<Record>& list) {
  fault const* const found = enter("setting", operation, arguments + fresh(list));
  if (answers(found)) list.insert(list.end(), answer.begin(), answer.end());
  return result_of(found);
}

template <typename Record, typename Hook, typename... Asked>
int replace_list(std::string const& object, std::string const& operation,
                 std::string const& arguments, std::list<Record>& list, Hook const& hook,
                 Asked const&... asked) {
  tell_list(list);
  fault const* const found = enter(object, operation, arguments);
  if (answers(found)) list = hook ? hook(asked...) : std::list<Record>{};
  return result_of(found);
}

int answer_size(std::string const& operation, std::string const& arguments,
                channel_sid const& channel, int recording_type, std::int64_t* size) {
  fault const* const found = enter("setting", operation, joined(arguments, *size));
  if (answers(found) && lines().recording_size) {
    *size = lines().recording_size(channel, recording_type);
  }
  return result_of(found);
}

struct storage_setting final : IStorageSetting {
  int set_volume_info(kivsid const& volume, volume_body const& body) override {
    fault const* const found = enter("setting", "set_volume_info", joined(volume, body));
    if (answers(found) && lines().write_volume) lines().write_volume(volume, body);
    return result_of(found);
  }

  int get_volume_info(kivsid const& volume, volume_body& body) override {
    fault const* const found = enter("setting", "get_volume_info", joined(volume, body));
    if (answers(found) && lines().read_volume) {
      lines().read_volume(volume, body);
    } else if (answers(found)) {
      for (volume_info const& each : lines().volumes) {
        if (shown(each.sid) == shown(volume)) body = each.body;
      }
    }
    return result_of(found);
  }

  int apply_volume_setting(char const* space_uuid) override {
    return result_of(enter("setting", "apply_volume_setting", text({space_uuid, 36})));
  }

  int get_space_channel_list(kivsid const& space, std::list<channel_sid>& channels) override {
    return answer_list("get_space_channel_list", shown(space), lines().space_channels, channels);
  }

  int get_channel_total_recording_size(kivsid const& space, channel_sid const& channel,
                                       std::int64_t* size) override {
    return answer_size("get_channel_total_recording_size", joined(space, channel), channel, 0,
                       size);
  }

  int get_channel_recording_size(kivsid const& space, channel_sid const& channel,
                                 int recording_type, std::int64_t* size) override {
    return answer_size("get_channel_recording_size", joined(space, channel, recording_type),
                       channel, recording_type, size);
  }

  int get_space_channel_storage_list(kivsid const& space,
                                     std::list<channel_storage_info>& pairings) override {
    return answer_list("get_space_channel_storage_list", shown(space), lines().pairings, pairings);
  }

  int get_space_list(std::list<space_info>& spaces) override {
    return answer_list("get_space_list", "", lines().spaces, spaces);
  }

  int get_volume_list(std::list<volume_info>& volumes) override {
    return answer_list("get_volume_list", "", lines().volumes, volumes);
  }

  int get_channel_list(std::list<channel_setting>& channels, int selector) override {
    return answer_list("get_channel_list", std::to_string(selector), lines().channels, channels);
  }
};

struct plug_play final : IPlugPlayService {
  int get_volume_channels(volume_share_info const& query, char const* first_id,
                          char const* second_id, std::list<std::uint32_t>& channels) override {
    return replace_list("plug_play_service", "get_volume_channels",
                        joined(query, first_id, second_id), channels, lines().volume_channels,
                        query);
  }
};

int answer_days(std::string const& object, channel_sid const& channel, int recording_type,
                int selector, std::list<storage_id_text> const& storage_ids, day_list* days) {
  std::string arguments = joined(recording_type, selector);
  for (storage_id_text const& id : storage_ids) arguments += ", " + text({id.text, sizeof id.text});
  bool const empty = days->count == 0 && days->days == nullptr;
  fault const* const found =
      enter(object, "get_recording_days", arguments + (empty ? ", no days" : ", days"));
  if (answers(found) && lines().days) lines().days(channel, recording_type, days);
  return result_of(found);
}

// What is handed out for one channel.
template <typename Interface>
struct of_channel : Interface {
  of_channel(std::string const& kind, channel_sid const& of)
      : channel(of), name(kind + "#" + std::to_string(log().number(kind))) {}

  int get_recording_days(int recording_type, int selector, std::list<storage_id_text> storage_ids,
                         day_list* days) final {
    return answer_days(name, channel, recording_type, selector, storage_ids, days);
  }

  channel_sid channel;
  std::string name;
};

struct session final : of_channel<IFrameChannelSession> {
  explicit session(channel_sid const& of) : of_channel("session", of) {}

  int get_time_period_list(int recording_type, int stream, std::int64_t start, std::int64_t end,
                           std::list<time_period>& periods, int first, int second,
                           int third) override {
    return replace_list(name, "get_time_period_list",
                        joined(recording_type, stream, start, end, first, second, third), periods,
                        lines().periods, channel, recording_type, stream);
  }
};

struct configuration final : of_channel<IChannelStorageConfiguration> {
  explicit configuration(channel_sid const& of) : of_channel("configuration", of) {}
};

std::string shown(void const* pointer, std::string const& name) {
  return pointer == nullptr ? "null" : name;
}

// The name of an object of the service's entry classes. Its room holds its number.
std::string named(std::string const& kind, unsigned char const* room) {
  int number = 0;
  std::memcpy(&number, room, sizeof number);
  return kind + "#" + std::to_string(number);
}

void construct(std::string const& kind, unsigned char* room) {
  int const number = log().number(kind);
  std::memcpy(room, &number, sizeof number);
  log().enter(kind, named(kind, room) + "()");
}

void destruct(std::string const& kind, unsigned char const* room) {
  log().note("~" + named(kind, room));
}

// Hands out an object that the process keeps, or nothing.
template <typename Interface>
int hand_out(std::string const& object, std::string const& what, Interface* given,
             Interface** taker) {
  fault const* const found = enter(object, "create_" + what, shown(*taker, "filled"), what);
  if (answers(found)) *taker = given;
  return result_of(found);
}

template <typename Interface>
int take_back(std::string const& object, std::string const& what, Interface** taker) {
  fault const* const found = enter(object, "destroy_" + what, shown(*taker, what));
  *taker = nullptr;
  return result_of(found);
}

// Hands out an object of its own for one channel, or nothing. Whoever does not
// destroy it leaks it.
template <typename Object, typename Interface>
int hand_out_own(std::string const& object, std::string const& what, channel_sid const& channel,
                 Interface** taker) {
  auto own = std::make_unique<Object>(channel);
  fault const* const found =
      enter(object, "create_" + what, joined(channel, shown(*taker, "filled")), own->name);
  if (answers(found)) *taker = own.release();
  return result_of(found);
}

// Takes it back; it is gone even when the call throws.
template <typename Object, typename Interface>
int take_back_own(std::string const& object, std::string const& what, std::string const& argument,
                  Interface** taker) {
  std::unique_ptr<Object> const own(static_cast<Object*>(*taker));
  *taker = nullptr;
  return result_of(enter(object, "destroy_" + what, argument + (own ? own->name : "null")));
}

// The operations of a space's or volume's file storage.
int prepare(std::string const& object, kivsid const& id) {
  return result_of(enter(object, "init", shown(id)));
}
int recycle(std::string const& object, stream_info const& stream, std::int64_t start,
            std::int64_t end, int option) {
  return result_of(enter(object, "recycle_stream_data", joined(stream, start, end, option)));
}
int leave(std::string const& object) { return result_of(enter(object, "uninit", "")); }

}  // namespace

IStorageSetting* setting() {
  static storage_setting only;
  return &only;
}

IPlugPlayService* plug_play_service() {
  static plug_play only;
  return &only;
}

void fill_days(day_list* days, std::vector<std::string> const& texts) {
  days->count = static_cast<std::int32_t>(texts.size());
  days->days = static_cast<char**>(std::calloc(texts.size() + 1, sizeof(char*)));
  std::transform(texts.begin(), texts.end(), days->days,
                 [](std::string const& each) { return strdup(each.c_str()); });
}

}  // namespace scripted

using scripted::construct;
using scripted::destruct;
using scripted::log;
using scripted::named;

CKivStorage::CKivStorage() { construct("CKivStorage", room_); }
CKivStorage::~CKivStorage() { destruct("CKivStorage", room_); }

int CKivStorage::create_storage_setting(IStorageSetting** setting) {
  return scripted::hand_out(named("CKivStorage", room_), "storage_setting", scripted::setting(),
                            setting);
}
int CKivStorage::destroy_storage_setting(IStorageSetting** setting) {
  return scripted::take_back(named("CKivStorage", room_), "storage_setting", setting);
}
int CKivStorage::create_channel_configuration(channel_sid channel,
                                              IChannelStorageConfiguration** configuration) {
  return scripted::hand_out_own<scripted::configuration>(
      named("CKivStorage", room_), "channel_configuration", channel, configuration);
}
int CKivStorage::destroy_channel_configuration(int channel_number,
                                               IChannelStorageConfiguration** configuration) {
  return scripted::take_back_own<scripted::configuration>(
      named("CKivStorage", room_), "channel_configuration", std::to_string(channel_number) + ", ",
      configuration);
}

CKivStorageDaemon::CKivStorageDaemon() { construct("CKivStorageDaemon", room_); }
CKivStorageDaemon::~CKivStorageDaemon() { destruct("CKivStorageDaemon", room_); }

int CKivStorageDaemon::create_plug_play_service(IPlugPlayService** service) {
  return scripted::hand_out(named("CKivStorageDaemon", room_), "plug_play_service",
                            scripted::plug_play_service(), service);
}
int CKivStorageDaemon::destroy_plug_play_service(IPlugPlayService** service) {
  return scripted::take_back(named("CKivStorageDaemon", room_), "plug_play_service", service);
}

CKivChannel::CKivChannel() { construct("CKivChannel", room_); }
CKivChannel::~CKivChannel() { destruct("CKivChannel", room_); }

int CKivChannel::create_channel_session(channel_sid channel, IFrameChannelSession** session) {
  return scripted::hand_out_own<scripted::session>(named("CKivChannel", room_), "channel_session",
                                                   channel, session);
}
int CKivChannel::destroy_channel_session(IFrameChannelSession** session) {
  return scripted::take_back_own<scripted::session>(named("CKivChannel", room_), "channel_session",
                                                    "", session);
}

CFSTier::CFSTier() { construct("CFSTier", room_); }
CFSTier::~CFSTier() { destruct("CFSTier", room_); }

int CFSTier::init(kivsid const& space) { return scripted::prepare(named("CFSTier", room_), space); }
int CFSTier::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  return scripted::recycle(named("CFSTier", room_), stream, start, end, option);
}
int CFSTier::uninit() { return scripted::leave(named("CFSTier", room_)); }

CFSUnit::CFSUnit() { construct("CFSUnit", room_); }
CFSUnit::~CFSUnit() { destruct("CFSUnit", room_); }

int CFSUnit::init(kivsid const& volume) {
  return scripted::prepare(named("CFSUnit", room_), volume);
}
int CFSUnit::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  return scripted::recycle(named("CFSUnit", room_), stream, start, end, option);
}
int CFSUnit::uninit() { return scripted::leave(named("CFSUnit", room_)); }

void make_hour_folder_full_path(char* path, char const* storage_folder, stream_info stream,
                                long long time) {
  log().enter("make_hour_folder_full_path",
              "make_hour_folder_full_path(" + scripted::joined(storage_folder, stream, time) + ")");
  auto const& hook = log().script().hour_folder;
  std::string const folder =
      hook ? hook(storage_folder, stream, time) : std::string(storage_folder) + "/hour";
  path[folder.copy(path, 511)] = '\0';
}
