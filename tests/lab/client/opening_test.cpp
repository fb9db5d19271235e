// What happens when there is no recorder to open.
#include <fstream>
#include <functional>

#include "client_test.h"
#include "lab/catalogue/sqlite.h"
#include "storage/service.h"

namespace {

using client::client_test;

class opening : public client_test {
 protected:
  // The setting is refused without a word on standard output, and the log gets
  // a reason that holds `reason`.
  void expect_refused(std::string const& reason) const {
    testing::internal::CaptureStdout();
    CKivStorage storage;
    IStorageSetting* setting = nullptr;
    EXPECT_NE(0, storage.create_storage_setting(&setting));
    EXPECT_EQ(nullptr, setting);
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    std::vector<std::string> const logged = traced("log_Debug");
    ASSERT_EQ(1U, logged.size());
    EXPECT_NE(std::string::npos,
              logged[0].find("\"CKivStorage::create_storage_setting: " + recorder.string()))
        << logged[0];
    EXPECT_NE(std::string::npos, logged[0].find(reason)) << logged[0];
  }
};

TEST_F(opening, an_absent_recorder_is_refused) { expect_refused("No such file or directory"); }

TEST_F(opening, an_empty_folder_is_refused) {
  std::filesystem::create_directory(recorder);
  expect_refused("not a recorder");
}

TEST_F(opening, a_file_is_refused) {
  std::ofstream(recorder) << "text";
  expect_refused("not a recorder");
}

TEST_F(opening, another_file_for_a_catalogue_is_refused) {
  std::filesystem::create_directory(recorder);
  std::ofstream(recorder / "catalogue.db") << std::string(5000, 'x');
  expect_refused("not a recorder");
}

TEST_F(opening, a_folder_for_a_catalogue_is_refused) {
  std::filesystem::create_directories(recorder / "catalogue.db");
  expect_refused("not a recorder");
}

TEST_F(opening, a_database_of_something_else_is_refused) {
  std::filesystem::create_directory(recorder);
  lab::database(recorder / "catalogue.db", lab::database::mode::create,
                std::chrono::milliseconds(0))
      .execute("CREATE TABLE t (x)");
  expect_refused("not a recorder");
}

TEST_F(opening, a_catalogue_without_the_recorder_s_own_row_is_refused) {
  make();
  tamper("DELETE FROM recorder");
  expect_refused("not a recorder: its catalogue is empty");
}

TEST_F(opening, a_newer_format_is_refused) {
  make();
  tamper("PRAGMA user_version = 2");
  expect_refused("newer version");
}

TEST_F(opening, an_unreadable_catalogue_is_refused) {
  make();
  std::filesystem::permissions(recorder / "catalogue.db", std::filesystem::perms::none);
  as_ordinary_user([this] { expect_refused("Permission denied"); });
}

TEST_F(opening, every_entry_object_is_refused_and_stays_usable) {
  CKivStorageDaemon daemon;
  IPlugPlayService* service = nullptr;
  EXPECT_NE(0, daemon.create_plug_play_service(&service));
  EXPECT_EQ(nullptr, service);
  EXPECT_EQ(0, daemon.destroy_plug_play_service(&service));

  CKivChannel channels;
  IFrameChannelSession* session = nullptr;
  EXPECT_NE(0, channels.create_channel_session(channel_sid(), &session));
  EXPECT_EQ(nullptr, session);
  EXPECT_EQ(0, channels.destroy_channel_session(&session));

  CKivStorage storage;
  IChannelStorageConfiguration* configuration = nullptr;
  EXPECT_NE(0, storage.create_channel_configuration(channel_sid(), &configuration));
  EXPECT_EQ(nullptr, configuration);
  EXPECT_EQ(0, storage.destroy_channel_configuration(0, &configuration));

  CFSTier tier;
  EXPECT_NE(0, tier.init(kivsid()));
  EXPECT_NE(0, tier.recycle_stream_data(stream_info(), 0, 1, 0));
  EXPECT_EQ(0, tier.uninit());
  CFSUnit unit;
  EXPECT_NE(0, unit.init(kivsid()));
  EXPECT_NE(0, unit.recycle_stream_data(stream_info(), 0, 1, 0));
  EXPECT_EQ(0, unit.uninit());

  make();
  EXPECT_EQ(0, daemon.create_plug_play_service(&service));
  EXPECT_NE(nullptr, service);
  EXPECT_EQ(0, daemon.destroy_plug_play_service(&service));
}

TEST_F(opening, a_destroyed_pointer_is_null_and_a_foreign_one_is_refused) {
  make();
  CKivStorage first;
  CKivStorage second;
  IStorageSetting* setting = nullptr;
  ASSERT_EQ(0, first.create_storage_setting(&setting));
  EXPECT_NE(0, second.destroy_storage_setting(&setting));
  EXPECT_NE(nullptr, setting);
  EXPECT_EQ(0, first.destroy_storage_setting(&setting));
  EXPECT_EQ(nullptr, setting);
  EXPECT_EQ(0, first.destroy_storage_setting(&setting));
}

TEST_F(opening, a_relative_recorder_is_found_after_the_working_directory_changed) {
  make();
  std::filesystem::path const relative = std::filesystem::relative(recorder);
  ::setenv("STLAB_RECORDER", relative.c_str(), 1);
  CKivStorage storage;
  std::filesystem::current_path("/");
  IStorageSetting* setting = nullptr;
  EXPECT_EQ(0, storage.create_storage_setting(&setting));
  EXPECT_EQ(0, storage.destroy_storage_setting(&setting));
}

}  // namespace
