#include <array>

#include "bench.h"
#include "storage/service.h"

namespace {

using bench::bench_test;

class hour_folder : public bench_test {
 protected:
  std::string path_of(std::string const& below, long long time) {
    stream_info stream;
    stream.channel.number = 8;
    stream.stream = 3;
    stream.recording_type = bench::alarm;
    make_hour_folder_full_path(path.data(), below.c_str(), stream, time);
    return path.data();
  }

  std::array<char, 513> path{};
};

constexpr std::size_t name_length = sizeof "/ch09_AR_S03_2026112107" - 1;

TEST_F(hour_folder, names_channel_type_stream_and_utc_hour) {
  EXPECT_EQ("/v/FSU_1/ch09_AR_S03_2026112107", path_of("/v/FSU_1", bench::now_ms));
}

TEST_F(hour_folder, every_moment_of_an_hour_gives_the_same_folder) {
  EXPECT_EQ("/v/ch09_AR_S03_1970010100", path_of("/v", 0));
  EXPECT_EQ("/v/ch09_AR_S03_1970010100", path_of("/v", bench::hour_ms - 1));
  EXPECT_EQ("/v/ch09_AR_S03_1970010101", path_of("/v", bench::hour_ms));
}

TEST_F(hour_folder, hours_before_the_epoch_begin_before_their_moments) {
  EXPECT_EQ("/v/ch09_AR_S03_1969123123", path_of("/v", -1));
  EXPECT_EQ("/v/ch09_AR_S03_1969123123", path_of("/v", -bench::hour_ms));
  EXPECT_EQ("/v/ch09_AR_S03_1969123122", path_of("/v", -bench::hour_ms - 1));
}

TEST_F(hour_folder, what_fills_the_buffer_is_written_whole) {
  path.fill('#');
  std::string const storage_folder(511 - name_length, 'a');
  EXPECT_EQ(storage_folder + "/ch09_AR_S03_2026112107", path_of(storage_folder, bench::now_ms));
  EXPECT_EQ('\0', path[511]);
  EXPECT_EQ('#', path[512]);
}

TEST_F(hour_folder, what_does_not_fit_leaves_an_empty_text) {
  path.fill('#');
  EXPECT_EQ("", path_of(std::string(512 - name_length, 'a'), bench::now_ms));
  EXPECT_EQ("", path_of(std::string(5000, 'a'), bench::now_ms));
  EXPECT_EQ('#', path[512]);
}

TEST_F(hour_folder, is_the_folder_that_the_recorder_lays_its_units_in) {
  make();
  lab::volume const volume = this->volume(1);
  lab::channel const channel = this->channel(1);
  std::int64_t const hour = bench::now_ms - bench::now_ms % bench::hour_ms;
  writer().record(volume.id, {channel.id, bench::normal, 2}, hour, 3);
  std::string const storage = volume.path.string() + "/FSU_" + volume.sid_text;
  make_hour_folder_full_path(path.data(), storage.c_str(),
                             bench::stream_of(channel, bench::normal, 2), bench::now_ms);
  ASSERT_TRUE(std::filesystem::is_directory(path.data())) << path.data();
  EXPECT_EQ(3U, bench::files_in(path.data()));
}

}  // namespace
