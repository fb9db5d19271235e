// The trace of library calls, line by line.
#include "lab/client/trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "client_test.h"
#include "storage/logging.h"
#include "storage/service.h"
#include "storage/system_utility.h"

namespace {

using client::client_test;
using lab::client::json;

class tracing : public client_test {};

TEST_F(tracing, calls_stand_in_order_with_arguments_and_results) {
  make();
  std::string const space = this->space(0).sid;
  {
    CKivStorage storage;
    CKivStorageDaemon daemon;
    IStorageSetting* setting = nullptr;
    storage.create_storage_setting(&setting);
    std::list<space_info> spaces;
    setting->get_space_list(spaces);
    std::list<channel_sid> channels;
    setting->get_space_channel_list(client::space_id(space), channels);
    storage.destroy_storage_setting(&setting);
  }
  EXPECT_EQ((std::vector<std::string>{
                R"(["CKivStorage::CKivStorage",{},null])",
                R"(["CKivStorageDaemon::CKivStorageDaemon",{},null])",
                R"(["CKivStorage::create_storage_setting",{},{"result":0,"obtained":true}])",
                R"(["IStorageSetting::get_space_list",{},{"result":0,"elements":2}])",
                R"(["IStorageSetting::get_space_channel_list",{"space":")" + space +
                    R"("},{"result":0,"elements":0}])",
                R"(["CKivStorage::destroy_storage_setting",{"given":true},0])",
                R"(["CKivStorageDaemon::~CKivStorageDaemon",{},null])",
                R"(["CKivStorage::~CKivStorage",{},null])",
            }),
            traced());
}

TEST_F(tracing, functions_are_traced_too) {
  char buffer[512];
  nstrcpy(buffer, "space_1", 4);
  log_Debug("ret=%d %s", -1, "x");
  make_hour_folder_full_path(buffer, "/v/FSU_1", stream_info(), 0);
  std::FILE* const stream = velt_popen("r", "/bin/true", "a b", static_cast<char*>(nullptr));
  velt_pclose(stream);
  velt_pclose(nullptr);
  std::string const id(32, '0');
  EXPECT_EQ(
      (std::vector<std::string>{
          R"(["nstrcpy",{"source":"space_1","size":4},"spa"])",
          R"(["log_Debug",{"text":"ret=-1 x"},null])",
          R"(["make_hour_folder_full_path",{"storage_folder":"/v/FSU_1","stream":{"channel":{"number":0,"id":")" +
              id +
              R"("},"stream":0,"recording_type":0},"time":0},"/v/FSU_1/ch01_MR_S00_1970010100"])",
          R"(["velt_popen",{"mode":"r","program":"/bin/true","arguments":["a b"]},{"obtained":true}])",
          R"(["velt_pclose",{"given":true},0])",
          R"(["velt_pclose",{"given":false},-1])",
      }),
      traced());
}

TEST_F(tracing, lines_are_appended_to_what_is_there) {
  std::ofstream(trace) << "earlier\n";
  log_Debug("later");
  EXPECT_EQ((std::vector<std::string>{"earlier", R"(["log_Debug",{"text":"later"},null])"}),
            traced());
}

TEST_F(tracing, a_relative_name_outlives_a_change_of_the_working_directory) {
  std::filesystem::path const relative = std::filesystem::relative(trace);
  ::setenv("STLAB_TRACE", relative.c_str(), 1);
  log_Debug("one");
  std::filesystem::current_path("/");
  log_Debug("two");
  EXPECT_EQ(2U, traced().size());
}

TEST_F(tracing, a_trace_that_cannot_be_written_changes_nothing) {
  ::setenv("STLAB_TRACE", "/nonexistent/trace", 1);
  char buffer[4];
  EXPECT_STREQ("abc", nstrcpy(buffer, "abc", sizeof buffer));
}

TEST_F(tracing, only_a_regular_file_is_written) {
  std::filesystem::path const pipe = folder / "pipe";
  ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
  int const reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  ::setenv("STLAB_TRACE", pipe.c_str(), 1);
  log_Debug("one");
  char byte = 0;
  EXPECT_EQ(0, ::read(reader, &byte, 1)) << "the pipe was written";
  ::close(reader);
}

// It may lead out of a recorder.
TEST_F(tracing, a_link_and_a_second_name_are_not_followed) {
  std::filesystem::create_symlink(trace, folder / "link");
  ::setenv("STLAB_TRACE", (folder / "link").c_str(), 1);
  log_Debug("one");
  EXPECT_FALSE(std::filesystem::exists(trace));
  std::ofstream(folder / "kept").close();
  std::filesystem::create_hard_link(folder / "kept", folder / "name");
  ::setenv("STLAB_TRACE", (folder / "name").c_str(), 1);
  log_Debug("one");
  EXPECT_EQ(0U, std::filesystem::file_size(folder / "kept"));
}

TEST(json_text, quotes_backslashes_and_control_characters_are_escaped) {
  EXPECT_EQ(R"("a\"b\\c\u000a\u0001\u001f")", json("a\"b\\c\n\x01\x1f").text());
  EXPECT_EQ(R"("\u0000")", json(std::string_view("\0", 1)).text());
}

TEST(json_text, utf8_stays_as_it_is) {
  EXPECT_EQ("\"\x7f\xc3\xa4\xe2\x82\xac\xf0\x9f\x93\xb9\"",
            json("\x7f\xc3\xa4\xe2\x82\xac\xf0\x9f\x93\xb9").text());
  EXPECT_EQ("\"\xed\x9f\xbf\xf4\x8f\xbf\xbf\"", json("\xed\x9f\xbf\xf4\x8f\xbf\xbf").text());
}

TEST(json_text, bytes_that_are_not_utf8_are_escaped_one_by_one) {
  EXPECT_EQ(R"("\u00e4x")", json("\xe4x").text());                    // no continuation
  EXPECT_EQ(R"("\u0080")", json("\x80").text());                      // stray continuation
  EXPECT_EQ(R"("\u00c0\u00af")", json("\xc0\xaf").text());            // overlong
  EXPECT_EQ(R"("\u00e0\u0080\u0080")", json("\xe0\x80\x80").text());  // overlong
  EXPECT_EQ(R"("\u00ed\u00a0\u0080")", json("\xed\xa0\x80").text());  // surrogate
  EXPECT_EQ(R"("\u00f4\u0090\u0080\u0080")", json("\xf4\x90\x80\x80").text());  // too large
  EXPECT_EQ(R"("\u00f0\u008f\u00bf\u00bf")", json("\xf0\x8f\xbf\xbf").text());  // overlong
  EXPECT_EQ(R"("\u00e2\u0082")", json("\xe2\x82").text());                      // cut
  EXPECT_EQ(R"("\u00ff")", json("\xff").text());
}

TEST(json_text, values_and_their_collections) {
  EXPECT_EQ("null", json(nullptr).text());
  EXPECT_EQ("null", json(static_cast<char const*>(nullptr)).text());
  EXPECT_EQ("[]", json::array({}).text());
  EXPECT_EQ("{}", json::object({}).text());
  EXPECT_EQ(R"({"a":[1,-9223372036854775808],"b":true})",
            json::object({{"a", json::array({1, INT64_MIN})}, {"b", true}}).text());
}

}  // namespace
