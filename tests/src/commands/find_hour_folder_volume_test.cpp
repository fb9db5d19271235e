#include <cstring>
#include <filesystem>

#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

std::int64_t const hour = 1795219200000;

// Three volumes in a temporary folder; hour folders are made in some of them.
class find_hour_folder_volume : public testing::Test {
 protected:
  find_hour_folder_volume() {
    script = script.with_spaces({space("B", 1, 1, 'b'), space("A", 1, 1, 'a')});
    for (int number = 1; number <= 3; ++number) {
      script.volumes.push_back(volume(path(number), number, 'v', 'a'));
    }
  }

  std::string path(int number) const {
    return base_.path().string() + "/vol" + std::to_string(number);
  }
  std::string storage_folder(int number) const { return path(number) + "/FSU_" + filled(32, 'v'); }
  void make_hour_folder(int number) const {
    std::filesystem::create_directories(storage_folder(number) + "/hour");
  }
  // The calls that look into volumes 1 to `last`.
  lines looked_into(int last) const {
    lines calls = {"setting.get_volume_list()"};
    for (int number = 1; number <= last; ++number) {
      calls.push_back("make_hour_folder_full_path(" + storage_folder(number) + ", " +
                      channel_text(2, 'c') + " stream 3 type 4, " + std::to_string(hour) + ")");
    }
    return calls;
  }
  // Those that end with the spaces.
  lines found_in(int last) const {
    return chain({looked_into(last), {"setting.get_space_list()"}});
  }

  answers script;

 private:
  temporary_folder base_;
};

// Prints the result and the location, of which every byte was '.' before.
void find() {
  stream_info stream;
  stream.channel = channel_id(2, 'c');
  stream.stream = 3;
  stream.recording_type = 4;
  recording_location location;
  std::memset(static_cast<void*>(&location), '.', sizeof location);
  int const result = st::find_hour_folder_volume(scripted::setting(), stream, hour, &location);
  std::int32_t number = 0;
  std::memcpy(&number, location.volume_sid, sizeof number);
  std::printf("%d\n%.36s\n%.36s\n%d %.32s\n", result, location.space_sid, location.space_uuid,
              number, location.volume_sid + sizeof number);
  std::string const rest = filled(40, '.');
  for (auto const* filler : {&location.filler_36, &location.filler_112, &location.filler_188}) {
    if (std::memcmp(filler, rest.data(), rest.size()) != 0) std::printf("more was written\n");
  }
}

std::string const untouched = filled(36, '.');
int const dots = 0x2E2E2E2E;
std::string const nothing = "-1\n" + untouched + "\n" + untouched + "\n" + std::to_string(dots) +
                            " " + filled(32, '.') + "\n";

std::string found(int volume) {
  return "0\n" + filled(36, 'a') + "\n" + filled(36, 'A') + "\n" + std::to_string(volume) + " " +
         filled(32, 'v') + "\n";
}

std::string const without_space =
    "-1\n" + untouched + "\n" + filled(36, 'A') + "\n1 " + filled(32, 'v') + "\n";

TEST_F(find_hour_folder_volume, names_the_volume_and_its_space) {
  make_hour_folder(1);
  expect_run(script, find, found(1), found_in(1));
}

TEST_F(find_hour_folder_volume, a_volume_id_fills_its_32_characters_and_no_more) {
  make_hour_folder(1);
  script.volumes.front().sid.terminator = 0x4141;
  expect_run(script, find, found(1), found_in(1));
}

TEST_F(find_hour_folder_volume, the_first_volume_with_the_folder_wins) {
  make_hour_folder(2);
  make_hour_folder(3);
  expect_run(script, find, found(2), found_in(2));
}

TEST_F(find_hour_folder_volume, no_folder_anywhere) {
  expect_run(script, find, nothing, looked_into(3));
}

TEST_F(find_hour_folder_volume, a_file_in_place_of_the_folder_counts_as_missing) {
  std::filesystem::create_directories(storage_folder(1));
  ASSERT_EQ(std::fclose(std::fopen((storage_folder(1) + "/hour").c_str(), "w")), 0);
  expect_run(script, find, nothing, looked_into(3));
}

TEST_F(find_hour_folder_volume, no_volumes_touch_no_file_system) {
  make_hour_folder(1);
  expect_run(script.with_volumes({}), find, nothing, looked_into(0));
  expect_run(script.refusing("get_volume_list"), find, nothing, looked_into(0));
}

TEST_F(find_hour_folder_volume, without_a_matching_space_the_volume_is_written_all_the_same) {
  make_hour_folder(1);
  script.spaces.pop_back();
  expect_run(script, find, without_space, found_in(1));
  expect_run(script.with_spaces({}), find, without_space, found_in(1));
}

TEST_F(find_hour_folder_volume, uuids_are_compared_over_36_bytes) {
  make_hour_folder(1);
  script.spaces.back().uuid[35] = 'x';
  expect_run(script, find, without_space, found_in(1));
}

TEST_F(find_hour_folder_volume, the_first_space_with_the_uuid_wins) {
  make_hour_folder(1);
  script.spaces.push_back(space("Again", 1, 1, 'a'));
  script.spaces.back().sid = id_of('z');
  expect_run(script, find, found(1), found_in(1));
}

TEST_F(find_hour_folder_volume, results_are_not_looked_at) {
  make_hour_folder(1);
  expect_results_are_not_looked_at(script, find, {"get_volume_list", "get_space_list"});
}

TEST_F(find_hour_folder_volume, a_storage_folder_is_bounded_to_its_512_bytes) {
  std::string const path = "/" + filled(1023, 'p');
  auto const result = run(script.with_volumes({volume(path, 1)}), find);
  EXPECT_EQ(result.output, nothing);
  ASSERT_EQ(result.calls.size(), 2U);
  std::string const start = "make_hour_folder_full_path(" + path.substr(0, 511) + ", ";
  EXPECT_EQ(result.calls[1].substr(0, start.size()), start);
}

TEST_F(find_hour_folder_volume, leaves_no_folder_open) {
  make_hour_folder(1);
  auto const count_open = [] {
    auto const files = std::filesystem::directory_iterator("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  auto const body = [count_open] {
    auto const before = count_open();
    find();
    std::printf("%d\n", before == count_open());
  };
  expect_run(script, body, found(1) + "1\n", found_in(1));
}

TEST_F(find_hour_folder_volume, releases_when_any_call_throws) {
  make_hour_folder(2);
  EXPECT_EQ(expect_releases_when_any_call_throws(script, find), 4);
}

}  // namespace
}  // namespace command_test
