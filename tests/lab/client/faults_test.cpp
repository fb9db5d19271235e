// Faults that are asked for, seen by a client of the library.
#include "lab/client/faults.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "client_test.h"
#include "program.h"
#include "storage/service.h"
#include "storage/system_utility.h"
#include "storage/text.h"

namespace {

using client::client_test;
using lab::client::fault;
using lab::client::fault_plan;

constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

std::vector<fault> kinds(fault_plan& plan, char const* operation, int calls) {
  std::vector<fault> result;
  result.reserve(static_cast<std::size_t>(calls));
  for (int call = 0; call < calls; ++call) result.push_back(plan.next(operation).kind);
  return result;
}

TEST(fault_plan, an_empty_text_plans_nothing) {
  fault_plan plan("");
  EXPECT_EQ(kinds(plan, "CFSTier::init", 2), (std::vector<fault>{fault::none, fault::none}));
}

TEST(fault_plan, counts_the_calls_of_each_operation) {
  fault_plan plan(
      "CFSTier::init=fail@2;CFSUnit::init=fail@2+;IStorageSetting::get_space_list=odd;"
      "CKivStorage::create_storage_setting=null@1");
  auto const none = fault::none;
  auto const fail = fault::fail;
  EXPECT_EQ(kinds(plan, "CFSTier::init", 3), (std::vector<fault>{none, fail, none}));
  EXPECT_EQ(kinds(plan, "CFSUnit::init", 3), (std::vector<fault>{none, fail, fail}));
  EXPECT_EQ(kinds(plan, "IStorageSetting::get_space_list", 2),
            (std::vector<fault>{fault::odd, fault::odd}));
  EXPECT_EQ(kinds(plan, "CKivStorage::create_storage_setting", 2),
            (std::vector<fault>{fault::null, none}));
  EXPECT_EQ(kinds(plan, "CFSTier::uninit", 1), (std::vector<fault>{none}));
}

TEST(fault_plan, of_two_faults_for_a_call_the_first_holds) {
  fault_plan plan("velt_popen=odd@1;velt_popen=fail");
  EXPECT_EQ(kinds(plan, "velt_popen", 2), (std::vector<fault>{fault::odd, fault::fail}));
}

TEST(fault_plan, refuses_a_text_that_is_none) {
  support::words texts(
      "; CFSTier::init CFSTier::init= =fail CFSTier::init=fails CFSTier::init=fail; "
      "CFSTier::init=fail;;velt_popen=fail CFSTier::init=null CFSTier::init=odd "
      "velt_popen=null IStorageSetting::get_space_list=null nstrcpy=fail cfstier::init=fail "
      "CFSTier::init=fail@ CFSTier::init=fail@0 CFSTier::init=fail@-1 CFSTier::init=fail@1x "
      "CFSTier::init=fail@+ CFSTier::init=fail@1++ CFSTier::init=fail@18446744073709551616");
  texts.emplace_back(" CFSTier::init=fail");
  for (auto const& text : texts) {
    EXPECT_THROW(fault_plan{text}, lab::error) << text;
  }
}

class faults : public client_test {
 protected:
  faults() {
    make();
    ::unsetenv("STLAB_SERVICE_FAULT");
    if (storage.create_storage_setting(&setting_) != 0) throw std::runtime_error("no setting");
  }
  ~faults() override { ::unsetenv("STLAB_SERVICE_FAULT"); }

  static void ask(char const* text) { ::setenv("STLAB_SERVICE_FAULT", text, 1); }

  IStorageSetting& setting() { return *setting_; }

  CKivStorage storage;
  CKivChannel channels;
  IFrameChannelSession* session = nullptr;

 private:
  IStorageSetting* setting_ = nullptr;
};

TEST_F(faults, a_failing_operation_changes_nothing_and_is_traced_and_logged) {
  ask("IStorageSetting::get_space_list=fail@1");
  std::list<space_info> spaces;
  EXPECT_NE(0, setting().get_space_list(spaces));
  EXPECT_TRUE(spaces.empty());
  EXPECT_EQ(traced("log_Debug").back(),
            R"(["log_Debug",{"text":"IStorageSetting::get_space_list: fails by request"},null])");
  EXPECT_EQ(traced("IStorageSetting::get_space_list").back(),
            R"(["IStorageSetting::get_space_list",{},{"result":-1,"elements":0}])");
  EXPECT_EQ(0, setting().get_space_list(spaces));
  EXPECT_EQ(spaces.size(), 2U);
}

TEST_F(faults, with_a_malformed_text_every_operation_fails) {
  support::unchanged const kept(recorder);
  ask("CFSUnit::init=fails");
  std::list<space_info> spaces;
  EXPECT_NE(0, setting().get_space_list(spaces));
  CFSTier tier;
  EXPECT_NE(0, tier.init(space_sid()));
  EXPECT_EQ(nullptr, velt_popen("r", "/bin/true", static_cast<char const*>(nullptr)));
  EXPECT_NE(std::string::npos,
            traced("log_Debug")
                .back()
                .find(R"(velt_popen: STLAB_SERVICE_FAULT: \"CFSUnit::init=fails\")"))
      << traced("log_Debug").back();
}

TEST_F(faults, another_text_starts_anew) {
  std::list<space_info> spaces;
  ask("IStorageSetting::get_space_list=fail@2");
  EXPECT_EQ(0, setting().get_space_list(spaces));
  ask("IStorageSetting::get_space_list=fail@1");
  EXPECT_NE(0, setting().get_space_list(spaces));
}

TEST_F(faults, a_create_operation_fails_hands_out_null_or_does_both_and_neither) {
  channel_sid const id = id_of_channel();
  ask("CKivChannel::create_channel_session=fail");
  EXPECT_NE(0, channels.create_channel_session(id, &session));
  EXPECT_EQ(nullptr, session);
  ask("CKivChannel::create_channel_session=null");
  EXPECT_EQ(0, channels.create_channel_session(id, &session));
  EXPECT_EQ(nullptr, session);
  ask("CKivChannel::create_channel_session=odd");
  EXPECT_NE(0, channels.create_channel_session(id, &session));
  ASSERT_NE(nullptr, session);
  EXPECT_EQ(0, channels.destroy_channel_session(&session));
}

TEST_F(faults, a_destroy_operation_fails_and_takes_nothing) {
  channels.create_channel_session(id_of_channel(), &session);
  ask("CKivChannel::destroy_channel_session=fail@1");
  EXPECT_NE(0, channels.destroy_channel_session(&session));
  EXPECT_NE(nullptr, session);
  EXPECT_EQ(0, channels.destroy_channel_session(&session));
}

TEST_F(faults, an_odd_list_has_odd_records_behind_the_sound_ones) {
  std::list<volume_info> sound;
  setting().get_volume_list(sound);
  ask("IStorageSetting::get_volume_list=odd");
  std::list<volume_info> odd;
  EXPECT_EQ(0, setting().get_volume_list(odd));
  ASSERT_GT(odd.size(), sound.size());
  auto const first_odd = std::next(odd.begin(), static_cast<std::ptrdiff_t>(sound.size()));
  EXPECT_EQ(first_odd->body.share.path[sizeof first_odd->body.share.path - 1], 'x');
  auto const any = [&](auto const& holds) { return std::any_of(first_odd, odd.end(), holds); };
  EXPECT_TRUE(any([](volume_info const& each) { return each.body.total_size == 0; }));
  EXPECT_TRUE(any([](volume_info const& each) { return each.body.total_size < 0; }));
  EXPECT_TRUE(any([](volume_info const& each) { return each.body.total_size == greatest; }));
  EXPECT_TRUE(any([](volume_info const& each) { return each.body.state == 99; }));
  EXPECT_TRUE(any([](volume_info const& each) {
    return st::field_text(each.body.share.path).find("share/") == std::string_view::npos;
  }));
}

TEST_F(faults, odd_periods_reach_to_both_ends_of_time) {
  ask("IFrameChannelSession::get_time_period_list=odd");
  ASSERT_EQ(0, channels.create_channel_session(id_of_channel(), &session));
  std::list<time_period> periods;
  EXPECT_EQ(0, session->get_time_period_list(4, 0, 0, 1, periods, 0, 1, 1));
  auto const any = [&](auto const& holds) {
    return std::any_of(periods.begin(), periods.end(), holds);
  };
  EXPECT_TRUE(any([](time_period const& each) { return each.start_time == least; }));
  EXPECT_TRUE(any([](time_period const& each) { return each.end_time == greatest; }));
  EXPECT_TRUE(any([](time_period const& each) { return each.start_time > each.end_time; }));
  EXPECT_EQ(0, channels.destroy_channel_session(&session));
}

TEST_F(faults, odd_sizes_and_days_differ_from_call_to_call) {
  ask("IStorageSetting::get_channel_recording_size=odd;"
      "IChannelStorageConfiguration::get_recording_days=odd");
  for (std::int64_t const expected : {least, std::int64_t{-1}, std::int64_t{0}, greatest, least}) {
    std::int64_t size = 7;
    EXPECT_EQ(0, setting().get_channel_recording_size(space_sid(), id_of_channel(), 4, &size));
    EXPECT_EQ(size, expected);
  }
  IChannelStorageConfiguration* configuration = nullptr;
  channel_sid const id = id_of_channel();
  ASSERT_EQ(0, storage.create_channel_configuration(id, &configuration));
  for (std::int32_t const expected : {-1, 3, 3}) {
    day_list days;
    EXPECT_EQ(0, configuration->get_recording_days(4, 255, {}, &days));
    EXPECT_EQ(days.count, expected);
    if (days.days != nullptr) {
      EXPECT_EQ(days.days[2], nullptr);
    }
    std::free(days.days);
  }
  EXPECT_EQ(0, storage.destroy_channel_configuration(0, &configuration));
}

TEST_F(faults, an_odd_volume_cannot_be_written_back) {
  support::unchanged const kept(recorder);
  ask("IStorageSetting::get_volume_info=odd");
  kivsid const id = volume_sid();
  volume_body body;
  EXPECT_EQ(0, setting().get_volume_info(id, body));
  EXPECT_EQ(body.name[sizeof body.name - 1], 'x');
  body.type = body.state = 0;
  EXPECT_NE(0, setting().set_volume_info(id, body));
  EXPECT_NE(0, setting().apply_volume_setting(body.space_uuid));
}

TEST_F(faults, an_odd_program_prints_nothing) {
  ask("velt_popen=odd");
  std::FILE* const stream = velt_popen("r", "/bin/echo", "text", static_cast<char const*>(nullptr));
  ASSERT_NE(nullptr, stream);
  EXPECT_EQ(EOF, std::fgetc(stream));
  EXPECT_EQ(0, velt_pclose(stream));
}

TEST_F(faults, a_malformed_text_is_told_on_standard_error_once) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  for (char const* const text : {"velt_popen=\033[2J", "velt_pclose=odd"}) {
    ask(text);
    for (int call = 0; call < 3; ++call) CFSUnit().init(kivsid());
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(
      testing::internal::GetCapturedStderr(),
      "lab client library: STLAB_SERVICE_FAULT: \"velt_popen=\\x1b[2J\": there is no such fault of "
      "this operation\n"
      "lab client library: STLAB_SERVICE_FAULT: \"velt_pclose=odd\": there is no such fault of "
      "this operation\n");
}

TEST_F(faults, a_lock_timeout_that_is_none_is_refused_and_told_on_standard_error_once) {
  for (char const* const text : {"x", "-1", "5s", "3600001", "99999999999999999999"}) {
    ::setenv("STLAB_LOCK_TIMEOUT_MS", text, 1);
    testing::internal::CaptureStderr();
    for (int call = 0; call < 2; ++call) {
      CFSTier tier;
      EXPECT_NE(0, tier.init(space_sid())) << text;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "lab client library: STLAB_LOCK_TIMEOUT_MS: \"" + std::string(text) +
                  "\": not a whole number of milliseconds from 0 to 3600000\n");
  }
  ::unsetenv("STLAB_LOCK_TIMEOUT_MS");
}

}  // namespace
