// Frame sessions and channel configurations on a real recorder.
#include <cstdlib>
#include <cstring>

#include "client_test.h"
#include "storage/service.h"
#include "storage/text.h"

namespace {

using client::client_test;
using client::hour_ms;
using strings = std::vector<std::string>;

constexpr std::int64_t base_ms = client::now_ms - client::now_ms % (24 * hour_ms);

class sessions : public client_test {
 protected:
  sessions() {
    make();
    EXPECT_EQ(0, channels.create_channel_session(id_of_channel(), &session));
    EXPECT_EQ(0, storage.create_channel_configuration(id_of_channel(), &configuration_));
  }

  void record(std::int64_t start_ms, std::int32_t type = client::normal, std::size_t on = 0) const {
    writer().record(volume(on).id, {channel(0).id, type, 1}, start_ms, 1);
  }

  // The only one.
  time_period the_period() {
    std::list<time_period> const found = periods(0, client::now_ms);
    EXPECT_EQ(1U, found.size());
    return found.empty() ? time_period() : found.front();
  }

  std::list<time_period> periods(std::int64_t start, std::int64_t end) {
    std::list<time_period> found(2);
    EXPECT_EQ(0, session->get_time_period_list(client::normal, 1, start, end, found, 0, 1, 1));
    return found;
  }

  // The days under the given storage ids; frees what the library allocated.
  std::vector<std::string> days(std::int32_t type, std::vector<std::string> const& ids) {
    std::list<storage_id_text> texts;
    for (std::string const& id : ids) id.copy(texts.emplace_back().text, 31);
    day_list from_session;
    day_list from_configuration;
    EXPECT_EQ(0, session->get_recording_days(type, 0, texts, &from_session));
    EXPECT_EQ(0, configuration_->get_recording_days(type, 255, texts, &from_configuration));
    std::vector<std::string> found = taken(from_session);
    EXPECT_EQ(found, taken(from_configuration));
    return found;
  }

  CKivChannel channels;
  CKivStorage storage;
  IFrameChannelSession* session = nullptr;

 private:
  static std::vector<std::string> taken(day_list const& days) {
    std::vector<std::string> texts;
    for (std::int32_t i = 0; i < days.count; ++i) {
      texts.emplace_back(days.days[i]);
      std::free(days.days[i]);
    }
    std::free(days.days);
    return texts;
  }

  IChannelStorageConfiguration* configuration_ = nullptr;
};

TEST_F(sessions, the_list_is_replaced_by_the_periods_of_the_stream) {
  record(base_ms);
  record(base_ms, client::alarm);
  time_period const found = the_period();
  EXPECT_EQ(1, found.stream);
  EXPECT_EQ(base_ms, found.start_time);
  EXPECT_EQ(base_ms + hour_ms, found.end_time);
  EXPECT_EQ(volume(0).sid_number, found.storage_id.number);
  EXPECT_EQ(volume(0).sid_text, std::string(found.storage_id.text, 32));
}

TEST_F(sessions, periods_that_overlap_the_span_count) {
  record(base_ms);
  EXPECT_EQ(1U, periods(base_ms + hour_ms - 1, base_ms + 5 * hour_ms).size());
  EXPECT_EQ(0U, periods(base_ms + hour_ms, base_ms + 5 * hour_ms).size());
  EXPECT_EQ(1U, periods(0, base_ms).size());
  EXPECT_EQ(0U, periods(0, base_ms - 1).size());
  EXPECT_EQ(0U, periods(base_ms + 2, base_ms + 1).size());
}

TEST_F(sessions, a_period_without_storage_id_has_an_empty_text) {
  record(base_ms);
  writer().lose_storage_id({reader().periods().front().id});
  time_period const found = the_period();
  EXPECT_EQ(std::string(32, '\0'), std::string(found.storage_id.text, 32));
  EXPECT_EQ(0, found.storage_id.number);
}

TEST_F(sessions, a_storage_id_that_no_volume_has_has_no_number) {
  record(base_ms);
  tamper("UPDATE period SET storage_id = 'gone5678901234567890123456789012'");
  time_period const found = the_period();
  EXPECT_EQ(-1, found.storage_id.number);
}

// A volume cannot be looked at whose folder has such a name.
TEST_F(sessions, periods_are_listed_without_a_look_at_any_volume) {
  record(base_ms);
  tamper("UPDATE volume SET folder = '../' || id");
  EXPECT_EQ(1U, periods(0, client::now_ms).size());
}

TEST_F(sessions, a_type_or_stream_without_recordings_has_no_periods) {
  record(base_ms);
  std::list<time_period> found;
  EXPECT_EQ(0, session->get_time_period_list(client::alarm, 1, 0, client::now_ms, found, 0, 1, 1));
  EXPECT_EQ(0, session->get_time_period_list(client::normal, 2, 0, client::now_ms, found, 0, 1, 1));
  EXPECT_TRUE(found.empty());
}

TEST_F(sessions, a_channel_that_went_away_gives_a_failure_and_an_empty_list) {
  record(base_ms);
  tamper("UPDATE channel SET sid = 'gone567890123456789012345678901' || id WHERE id = " +
         std::to_string(channel(0).id));
  std::list<time_period> found(2);
  EXPECT_NE(0, session->get_time_period_list(client::normal, 1, 0, client::now_ms, found, 0, 1, 1));
  EXPECT_TRUE(found.empty());
  day_list days;
  days.count = 5;
  EXPECT_NE(0, session->get_recording_days(client::normal, 0, {}, &days));
  EXPECT_EQ(5, days.count);
  EXPECT_EQ(nullptr, days.days);
}

TEST_F(sessions, an_unknown_channel_gets_no_session_and_no_configuration) {
  IFrameChannelSession* opened = nullptr;
  EXPECT_NE(0, channels.create_channel_session(client::channel_id(std::string(32, '9')), &opened));
  EXPECT_EQ(nullptr, opened);
  IChannelStorageConfiguration* configuration = nullptr;
  EXPECT_NE(0, storage.create_channel_configuration(channel_sid(), &configuration));
  EXPECT_EQ(nullptr, configuration);
}

TEST_F(sessions, a_channel_is_told_by_its_id_and_not_by_its_number) {
  channel_sid id = id_of_channel(1);
  id.number = 77;
  IFrameChannelSession* opened = nullptr;
  EXPECT_EQ(0, channels.create_channel_session(id, &opened));
  EXPECT_EQ(0, channels.destroy_channel_session(&opened));
}

TEST_F(sessions, days_are_the_dates_of_the_periods_of_one_type) {
  record(base_ms);
  record(base_ms + 5 * hour_ms);
  record(base_ms - 48 * hour_ms);
  record(base_ms - 24 * hour_ms, client::alarm);
  std::string const id = volume(0).sid_text;
  EXPECT_EQ((strings{"2026-11-19", "2026-11-21"}), days(client::normal, {id}));
  EXPECT_EQ((strings{"2026-11-20"}), days(client::alarm, {id}));
  EXPECT_TRUE(days(client::manual, {id}).empty());
}

TEST_F(sessions, days_count_under_the_given_storage_ids_only) {
  record(base_ms);
  record(base_ms - 24 * hour_ms, client::normal, 1);
  EXPECT_EQ((strings{"2026-11-20"}), days(client::normal, {volume(1).sid_text}));
  EXPECT_EQ((strings{"2026-11-20", "2026-11-21"}),
            days(client::normal, {volume(1).sid_text, volume(0).sid_text}));
  EXPECT_TRUE(days(client::normal, {std::string(31, 'x')}).empty());
}

TEST_F(sessions, without_any_storage_id_all_days_count) {
  record(base_ms);
  record(base_ms - 24 * hour_ms, client::normal, 3);
  EXPECT_EQ((strings{"2026-11-20", "2026-11-21"}), days(client::normal, {}));
}

TEST_F(sessions, no_day_is_no_array) {
  day_list days;
  EXPECT_EQ(0, session->get_recording_days(client::normal, 0, {}, &days));
  EXPECT_EQ(0, days.count);
  EXPECT_EQ(nullptr, days.days);
  EXPECT_NE(0, session->get_recording_days(client::normal, 0, {}, nullptr));
}

}  // namespace
