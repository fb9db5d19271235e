// The settings interface and the plug-and-play service on a real recorder.
#include <cstring>
#include <optional>

#include "client_test.h"
#include "storage/service.h"
#include "storage/text.h"

namespace {

using client::client_test;

constexpr std::int64_t untouched = -77;

std::string bytes_of(std::int32_t number) {
  std::string bytes(sizeof number, '\0');
  std::memcpy(bytes.data(), &number, sizeof number);
  return bytes;
}

class settings : public client_test {
 protected:
  settings() { make(); }
  ~settings() override { storage_.reset(); }

  IStorageSetting& setting() {
    if (!storage_) {
      storage_ = std::make_unique<CKivStorage>();
      EXPECT_EQ(0, storage_->create_storage_setting(&setting_));
    }
    return *setting_;
  }

  volume_body body_of(lab::volume const& of) {
    volume_body body;
    EXPECT_EQ(0, setting().get_volume_info(client::volume_id(of), body));
    return body;
  }

  int set(lab::volume const& of, volume_body const& body) {
    return setting().set_volume_info(client::volume_id(of), body);
  }
  int set_state(lab::volume const& of, std::int32_t state, std::int32_t type = 0) {
    volume_body body = body_of(of);
    body.type = type;
    body.state = state;
    return set(of, body);
  }

  int apply(lab::volume const& of) {
    std::string const& uuid = of.space_uuid;
    std::vector<char> const unterminated(uuid.begin(), uuid.end());
    return setting().apply_volume_setting(unterminated.data());
  }

 private:
  std::unique_ptr<CKivStorage> storage_;
  IStorageSetting* setting_ = nullptr;
};

TEST_F(settings, spaces_are_listed_whole) {
  std::list<space_info> spaces(1);
  EXPECT_EQ(0, setting().get_space_list(spaces));
  ASSERT_EQ(3U, spaces.size()) << "the list is appended to";
  space_info const& second = spaces.back();
  lab::space const expected = space(1);
  EXPECT_EQ(expected.sid.substr(0, 4), bytes_of(second.sid.number));
  EXPECT_EQ(expected.sid.substr(4), std::string(second.sid.text, sizeof second.sid.text));
  EXPECT_EQ(0, second.sid.terminator);
  EXPECT_EQ(expected.name, st::field_text(second.name));
  EXPECT_EQ(expected.uuid, std::string(second.uuid, sizeof second.uuid));
  EXPECT_EQ(16, second.total_size);
  EXPECT_EQ(0, second.used_size);
  EXPECT_EQ(expected.status, second.status);
  EXPECT_EQ(expected.spare_state, second.spare_state);
}

TEST_F(settings, volumes_are_listed_whole) {
  lab::volume const expected = volume(2);
  writer().record(expected.id, {channel(0).id, client::normal, 0}, 0, 3);
  std::list<volume_info> volumes;
  EXPECT_EQ(0, setting().get_volume_list(volumes));
  ASSERT_EQ(4U, volumes.size());
  volume_info const& third = *std::next(volumes.begin(), 2);
  EXPECT_EQ(expected.sid_number, third.sid.number);
  EXPECT_EQ(expected.sid_text, std::string(third.sid.text, sizeof third.sid.text));
  EXPECT_EQ(0, third.sid.terminator);
  EXPECT_EQ(expected.name, st::field_text(third.body.name));
  EXPECT_EQ(0, third.body.type);
  EXPECT_EQ(expected.volume_no, third.body.share.volume_no);
  EXPECT_EQ(expected.path.string(), st::field_text(third.body.share.path));
  EXPECT_EQ(8, third.body.total_size);
  EXPECT_EQ(3, third.body.used_size);
  EXPECT_EQ(expected.state, third.body.state);
  EXPECT_EQ(expected.space_uuid, std::string(third.body.space_uuid, 36));
  volume_body const read = body_of(expected);
  EXPECT_EQ(0, std::memcmp(&read, &third.body, sizeof read));
}

TEST_F(settings, channels_are_listed_with_number_and_id) {
  std::list<channel_setting> channels;
  EXPECT_EQ(0, setting().get_channel_list(channels, 1));
  ASSERT_EQ(2U, channels.size());
  EXPECT_EQ(1, channels.back().channel.number);
  EXPECT_EQ(channel(1).sid, std::string(channels.back().channel.id, 32));
  EXPECT_EQ(0, channels.back().channel.terminator);
}

TEST_F(settings, a_read_of_an_unknown_volume_fails_and_leaves_the_body) {
  volume_body body;
  body.state = 5;
  EXPECT_NE(0, setting().get_volume_info(kivsid(), body));
  EXPECT_EQ(5, body.state);
}

TEST_F(settings, a_volume_is_told_by_its_text_alone) {
  kivsid id = volume_sid();
  id.number += 1;
  volume_body body;
  EXPECT_EQ(0, setting().get_volume_info(id, body));
  id.text[31] = id.text[31] == '0' ? '1' : '0';
  EXPECT_NE(0, setting().get_volume_info(id, body));
}

TEST_F(settings, a_written_change_takes_effect_when_it_is_applied) {
  lab::volume const before = volume(1);
  volume_body body = body_of(before);
  body.type = 2;
  body.state = 1;
  body.total_size = 4711;
  body.used_size = 4712;
  EXPECT_EQ(0, set(before, body));
  EXPECT_EQ(0, volume(1).type);
  EXPECT_EQ(0, apply(before));
  lab::volume const after = volume(1);
  EXPECT_EQ(2, after.type);
  EXPECT_EQ(1, after.state);
  EXPECT_EQ(before.name, after.name);
  EXPECT_EQ(before.path, after.path);
  EXPECT_EQ(before.volume_no, after.volume_no);
  EXPECT_EQ(before.total_mb, after.total_mb);
  EXPECT_EQ(before.used_mb, after.used_mb);
  EXPECT_EQ(1, body_of(before).state) << "the same setting sees it too";
  EXPECT_EQ(0, volume(0).type);
}

TEST_F(settings, all_changes_of_a_space_are_applied_and_no_other_ones) {
  for (std::size_t const index : {0U, 1U, 2U}) {
    EXPECT_EQ(0, set_state(volume(index), 1));
  }
  EXPECT_EQ(0, apply(volume(0)));
  EXPECT_EQ(1, volume(0).state);
  EXPECT_EQ(1, volume(1).state);
  EXPECT_EQ(0, volume(2).state);
  EXPECT_EQ(0, apply(volume(2)));
  EXPECT_EQ(1, volume(2).state);
}

TEST_F(settings, the_last_change_of_a_volume_counts) {
  lab::volume const of = volume(0);
  EXPECT_EQ(0, set_state(of, 7));
  EXPECT_EQ(0, set_state(of, 5));
  EXPECT_EQ(0, apply(of));
  EXPECT_EQ(5, volume(0).state);
}

TEST_F(settings, what_was_applied_is_not_applied_again) {
  lab::volume const of = volume(0);
  EXPECT_EQ(0, set_state(of, 5));
  EXPECT_EQ(0, apply(of));
  writer().change_volumes({{of.id, of.name, 0, 1}});
  EXPECT_EQ(0, apply(of));
  EXPECT_EQ(1, volume(0).state);
}

TEST_F(settings, a_change_of_an_unknown_volume_is_refused) {
  EXPECT_NE(0, setting().set_volume_info(kivsid(), body_of(volume(0))));
}

TEST_F(settings, defaults_are_never_written_over_a_volume) {
  volume_body defaults;
  defaults.type = 2;
  defaults.state = 1;
  support::unchanged const kept(recorder);
  EXPECT_NE(0, set(volume(0), defaults));
  EXPECT_NE(0, setting().apply_volume_setting(defaults.space_uuid));
  EXPECT_EQ(0, apply(volume(0)));
}

TEST_F(settings, another_volumes_body_is_refused) {
  lab::volume const of = volume(0);
  EXPECT_NE(0, set(of, body_of(volume(1))));
  volume_body body = body_of(of);
  body.space_uuid[35] = '#';
  EXPECT_NE(0, set(of, body));
}

TEST_F(settings, codes_that_do_not_exist_are_refused) {
  lab::volume const of = volume(0);
  for (auto const& [type, state] : {std::pair(1, 0), {3, 0}, {-1, 0}, {0, -1}, {0, 9}}) {
    EXPECT_NE(0, set_state(of, state, type)) << type << ' ' << state;
  }
  EXPECT_EQ(0, apply(of));
  EXPECT_EQ(0, volume(0).state);
}

TEST_F(settings, an_unknown_space_is_not_applied) {
  std::string const unknown(36, 'x');
  EXPECT_NE(0, setting().apply_volume_setting(unknown.c_str()));
  EXPECT_NE(0, setting().apply_volume_setting(""));
  EXPECT_NE(0, setting().apply_volume_setting(nullptr));
}

TEST_F(settings, sizes_are_sums_of_units_and_the_total_counts_every_type) {
  lab::volume const on = volume(0);
  lab::channel const of = channel(0);
  {
    lab::recorder open = writer();
    open.record(on.id, {of.id, client::normal, 0}, 0, 3);
    open.record(on.id, {of.id, client::normal, 1}, 0, 1);
    open.record(on.id, {of.id, client::alarm, 0}, 0, 2);
    open.record(on.id, {of.id, client::manual, 0}, 0, 1);
  }
  auto const size_in = [&](std::size_t index, std::optional<std::int32_t> type) {
    std::int64_t size = untouched;
    channel_sid const id = client::channel_id(of);
    EXPECT_EQ(0, type ? setting().get_channel_recording_size(space_sid(index), id, *type, &size)
                      : setting().get_channel_total_recording_size(space_sid(index), id, &size));
    return size;
  };
  EXPECT_EQ(4, size_in(0, client::normal));
  EXPECT_EQ(2, size_in(0, client::alarm));
  EXPECT_EQ(7, size_in(0, std::nullopt));
  EXPECT_EQ(0, size_in(1, std::nullopt));
}

TEST_F(settings, a_size_stays_as_it_was_on_failure) {
  kivsid const known = space_sid();
  channel_sid const of = id_of_channel();
  std::int64_t size = untouched;
  EXPECT_NE(0, setting().get_channel_total_recording_size(kivsid(), of, &size));
  EXPECT_NE(0, setting().get_channel_total_recording_size(known, channel_sid(), &size));
  EXPECT_NE(0, setting().get_channel_total_recording_size(known, of, nullptr));
  EXPECT_NE(0, setting().get_channel_recording_size(kivsid(), of, client::normal, &size));
  EXPECT_NE(0, setting().get_channel_recording_size(known, channel_sid(), client::normal, &size));
  EXPECT_NE(0, setting().get_channel_recording_size(known, of, client::normal, nullptr));
  EXPECT_EQ(untouched, size);
}

TEST_F(settings, channels_and_pairings_of_a_space) {
  lab::volume const on = volume(1);
  writer().record(on.id, {channel(1).id, client::alarm, 0}, 0, 1);
  kivsid const first = space_sid();
  std::list<channel_sid> channels;
  EXPECT_EQ(0, setting().get_space_channel_list(first, channels));
  ASSERT_EQ(1U, channels.size());
  EXPECT_EQ(1, channels.front().number);
  EXPECT_EQ(channel(1).sid, std::string(channels.front().id, 32));
  std::list<channel_storage_info> pairings;
  EXPECT_EQ(0, setting().get_space_channel_storage_list(first, pairings));
  ASSERT_EQ(1U, pairings.size());
  EXPECT_EQ(1, pairings.front().channel.number);
  EXPECT_EQ(channel(1).sid, std::string(pairings.front().channel.id, 32));
  EXPECT_EQ(on.sid_text, std::string(pairings.front().storage_id, 32));
}

TEST_F(settings, an_unknown_space_has_no_lists) {
  std::list<channel_sid> channels;
  EXPECT_NE(0, setting().get_space_channel_list(kivsid(), channels));
  std::list<channel_storage_info> pairings;
  EXPECT_NE(0, setting().get_space_channel_storage_list(kivsid(), pairings));
  EXPECT_TRUE(channels.empty() && pairings.empty());
}

TEST_F(settings, a_recorder_that_breaks_under_the_setting_gives_failures) {
  setting();
  tamper("PRAGMA foreign_keys = OFF; DROP TABLE unit; DROP TABLE channel");
  std::list<volume_info> volumes;
  EXPECT_NE(0, setting().get_volume_list(volumes));
  std::list<channel_setting> channels;
  EXPECT_NE(0, setting().get_channel_list(channels, 1));
  std::list<space_info> spaces;
  EXPECT_NE(0, setting().get_space_list(spaces));
  EXPECT_TRUE(volumes.empty() && channels.empty() && spaces.empty());
  EXPECT_EQ(3U, traced("log_Debug").size());
}

class plug_and_play : public client_test {
 protected:
  plug_and_play() {
    make();
    EXPECT_EQ(0, daemon_.create_plug_play_service(&service_));
  }

  int ask(std::int32_t volume_no, std::list<std::uint32_t>& channels) {
    volume_share_info query;
    query.number_1092 = 0;
    query.volume_no = volume_no;
    std::string const id(36, '0');
    return service_->get_volume_channels(query, id.c_str(), id.c_str(), channels);
  }

 private:
  CKivStorageDaemon daemon_;
  IPlugPlayService* service_ = nullptr;
};

TEST_F(plug_and_play, the_list_is_replaced_by_the_volumes_channels) {
  {
    lab::recorder open = writer();
    open.assign(channel(1).id, volume(3).id);
    open.assign(channel(0).id, volume(3).id);
  }
  std::list<std::uint32_t> channels{9, 8};
  EXPECT_EQ(0, ask(volume(3).volume_no, channels));
  EXPECT_EQ((std::list<std::uint32_t>{1, 0}), channels);
  EXPECT_EQ(0, ask(volume(2).volume_no, channels));
  EXPECT_TRUE(channels.empty());
}

TEST_F(plug_and_play, an_unknown_volume_leaves_an_empty_list) {
  std::list<std::uint32_t> channels{9};
  EXPECT_NE(0, ask(-1, channels));
  EXPECT_TRUE(channels.empty());
}

}  // namespace
