#include <regex>

#include "program_test.h"

namespace support {
namespace {

namespace fs = std::filesystem;

constexpr long long volume_mb = 64;
constexpr long long leaked_mb = 7;
constexpr char clean_report[] =
    "Volume space leak detected count: 0\n"
    "recycle check process done.\n";

class autoclean : public program_test {
 protected:
  void make() { stlab("make", {"--volume-mb", std::to_string(volume_mb)}); }

  // Seven hours of a unit each that nobody knows any more, on the second volume.
  void leak() { stlab("leak", {"--volume", "vol2", "--hours", std::to_string(leaked_mb)}); }

  // The used size that vollist shows of a volume.
  long long used_mb(std::string const& space, std::string const& volume) {
    std::string const list = st({"vollist", space});
    std::smatch match;
    std::regex const line("\\[" + volume + "\\],.* used (\\d+) MB");
    if (!std::regex_search(list, match, line)) throw std::runtime_error("no line in " + list);
    return std::stoll(match[1]);
  }

  // What autoclean must print of vol2, from what vollist and du show of it.
  std::string leak_report() {
    long long const used = used_mb("Storage1", "vol2");
    long long const remain = preallocated_kib("vol2") / 1024;
    EXPECT_EQ(volume_mb - used - remain, leaked_mb);
    return "Volume [vol2] total size 0 GB(64 MB), used " + std::to_string(used) +
           " MB(preallocate_remain " + std::to_string(remain) +
           " MB).\n"
           "Size lost 7 MB over 3 MB(%5) is not resonable. Start to recycle volume using space ...\n"
           "Volume space leak detected count: 1\n"
           "recycle check process done.\n";
  }

  void expect_clean() { EXPECT_EQ(stlab("check"), "clean\n"); }
};

// The picture of the volumes, with the units of the given hour folders back in
// preallocate.
picture recycled(picture const& before, std::vector<std::string> const& hour_folders) {
  picture result;
  for (auto const& [name, digest] : before) {
    fs::path const path(name);
    std::string target = name;
    for (std::string const& hour_folder : hour_folders) {
      if (path == hour_folder) target.clear();
      if (path.parent_path() == hour_folder) {
        target = path.parent_path().parent_path() / "preallocate" / path.filename();
      }
    }
    if (!target.empty() && target.rfind("share", 0) == 0) result.emplace(target, digest);
  }
  return result;
}

std::vector<std::string> new_folders(picture const& before, picture const& after) {
  std::vector<std::string> result;
  for (auto const& [name, digest] : after) {
    if (digest.empty() && before.count(name) == 0) result.push_back(name);
  }
  return result;
}

TEST_F(autoclean, finds_a_leak_and_recycles_it) {
  make();
  picture const sound = picture_now();
  leak();
  mark_units(recorder / "share");
  picture const leaking = picture_now();
  std::vector<std::string> const leaked_hours = new_folders(sound, leaking);
  ASSERT_EQ(leaked_hours.size(), 7U);
  long long const kib_before = preallocated_kib("vol2");

  std::string const expected = leak_report();
  EXPECT_EQ(st("autoclean"), expected);

  EXPECT_EQ(preallocated_kib("vol2") - kib_before, leaked_mb * 1024);
  EXPECT_EQ(recycled(picture_now(), {}), recycled(leaking, leaked_hours));
  expect_clean();
  EXPECT_EQ(st("autoclean"), clean_report);
  expect_clean();
}

TEST_F(autoclean, changes_no_byte_without_a_leak) {
  make();
  picture const before = picture_now();
  ASSERT_EQ(before.count("catalogue.db"), 1U);
  EXPECT_EQ(st("autoclean"), clean_report);
  EXPECT_EQ(picture_now(), before);
}

TEST_F(autoclean, leaves_a_leak_of_five_percent_alone) {
  stlab("make --volume-mb 100 --volumes 1 --spaces 1");
  stlab("leak --hours 5");
  picture const before = picture_now();
  EXPECT_EQ(st("autoclean"), clean_report);
  EXPECT_EQ(picture_now(), before);

  stlab("leak --hours 1 --stream 1");
  EXPECT_NE(st("autoclean").find("Size lost 6 MB over 5 MB(%5)"), std::string::npos);
  expect_clean();
}

// A block size in the environment must not turn sound volumes into leaking
// ones, nor hide a leak.
TEST_F(autoclean, is_not_misled_by_the_environment) {
  environment const hostile{
      {"DU_BLOCK_SIZE", "1M"}, {"BLOCK_SIZE", "1M"}, {"BLOCKSIZE", "1M"}, {"POSIXLY_CORRECT", "1"}};
  make();
  picture const before = picture_now();
  EXPECT_EQ(st("autoclean", hostile), clean_report);
  EXPECT_EQ(st("autoclean", {{"POSIXLY_CORRECT", "1"}}), clean_report);
  EXPECT_EQ(picture_now(), before);

  leak();
  std::string const expected = leak_report();
  EXPECT_EQ(st("autoclean", hostile), expected);
  EXPECT_EQ(st("autoclean", hostile), clean_report);
  expect_clean();
}

// The probe of a volume changes the working directory.
TEST_F(autoclean, finds_a_recorder_by_its_relative_path) {
  make();
  leak();
  std::string const expected = leak_report();
  EXPECT_EQ(st("autoclean", {{"STLAB_RECORDER", "recorder"}}), expected);
  expect_clean();
}

std::vector<std::string> operations(std::string const& trace) {
  std::vector<std::string> result;
  for (std::string const& line : lines_of(trace)) {
    result.push_back(line.substr(2, line.find('"', 2) - 2));
  }
  return result;
}

TEST_F(autoclean, makes_its_calls_in_order) {
  // One stream of one channel has recordings: the first.
  stlab("make --volume-mb 20 --volumes 1 --spaces 1 --channels 1 --days 0");
  stlab("leak --hours 2");
  st("autoclean", {{"STLAB_TRACE", folder / "trace"}});

  words expected(
      "CKivStorage::CKivStorage CKivStorageDaemon::CKivStorageDaemon nstrcpy "
      "CKivStorage::create_storage_setting IStorageSetting::get_volume_list velt_popen velt_pclose "
      "IStorageSetting::get_channel_list");
  for (int stream = 0; stream < 10; ++stream) {
    expected +=
        "CKivChannel::CKivChannel CKivChannel::create_channel_session "
        "IFrameChannelSession::get_time_period_list CKivChannel::destroy_channel_session "
        "CKivChannel::~CKivChannel";
    if (stream != 0) continue;
    expected +=
        "CFSUnit::CFSUnit CFSUnit::init CFSUnit::recycle_stream_data CFSUnit::uninit "
        "CFSUnit::~CFSUnit";
  }
  expected +=
      "CKivStorage::destroy_storage_setting CKivStorageDaemon::~CKivStorageDaemon "
      "CKivStorage::~CKivStorage";
  EXPECT_EQ(operations(content_of(folder / "trace")), expected);
}

}  // namespace
}  // namespace support
