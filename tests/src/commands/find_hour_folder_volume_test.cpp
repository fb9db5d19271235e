#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::chain;
using support::lines;
using support::temporary_folder;

std::int64_t const hour = 1795219200000;
lines const volume_list = {"setting.get_volume_list()"};
lines const space_list = {"setting.get_space_list()"};

// Three volumes in a temporary folder; hour folders are made in some of them.
class bench {
 public:
  bench() {
    script.spaces = {support::space("B", 1, 1, 'b'), support::space("A", 1, 1, 'a')};
    for (int number = 1; number <= 3; ++number) {
      script.volumes.push_back(support::volume(path(number), number, 'v', 'a'));
    }
  }
  bench(bench const&) = delete;
  bench& operator=(bench const&) = delete;

  std::string path(int number) const { return base_.path() + "/vol" + std::to_string(number); }
  std::string storage_folder(int number) const {
    return path(number) + "/FSU_" + support::filled(32, 'v');
  }
  void make_hour_folder(int number) const {
    base_.make("vol" + std::to_string(number) + "/FSU_" + support::filled(32, 'v') + "/hour");
  }
  std::string asked(int number) const {
    return "make_hour_folder_full_path(" + storage_folder(number) + ", " +
           support::channel_text(2, 'c') + " stream 3 type 4, " + std::to_string(hour) + ")";
  }

  scripted::script script;

 private:
  temporary_folder base_;
};

// Prints the result and the location, of which every byte was '.' before.
void find() {
  stream_info stream;
  stream.channel = support::channel_id(2, 'c');
  stream.stream = 3;
  stream.recording_type = 4;
  recording_location location;
  std::memset(static_cast<void*>(&location), '.', sizeof location);
  int const result = st::find_hour_folder_volume(scripted::setting(), stream, hour, &location);
  std::int32_t number = 0;
  std::memcpy(&number, location.volume_sid, sizeof number);
  std::printf("%d\n%.36s\n%.36s\n%d %.32s\n", result, location.space_sid, location.space_uuid,
              number, location.volume_sid + sizeof number);
  std::string const rest = support::filled(40, '.');
  for (auto const* filler : {&location.filler_36, &location.filler_112, &location.filler_188}) {
    if (std::memcmp(filler, rest.data(), rest.size()) != 0) std::printf("more was written\n");
  }
}

support::outcome find_in(scripted::script const& script) {
  auto result = support::in_child(script, find);
  EXPECT_EQ(result.status, 0);
  return result;
}

std::string const untouched = support::filled(36, '.');
int const dots = 0x2E2E2E2E;
std::string const nothing = "-1\n" + untouched + "\n" + untouched + "\n" + std::to_string(dots) +
                            " " + support::filled(32, '.') + "\n";

std::string found(int volume) {
  return "0\n" + support::filled(36, 'a') + "\n" + support::filled(36, 'A') + "\n" +
         std::to_string(volume) + " " + support::filled(32, 'v') + "\n";
}

TEST(find_hour_folder_volume, names_the_volume_and_its_space) {
  bench const world;
  world.make_hour_folder(1);
  auto const result = find_in(world.script);
  EXPECT_EQ(result.output, found(1));
  EXPECT_EQ(result.calls, chain({volume_list, {world.asked(1)}, space_list}));
}

TEST(find_hour_folder_volume, a_volume_id_fills_its_32_characters_and_no_more) {
  bench world;
  world.make_hour_folder(1);
  world.script.volumes.front().sid.terminator = 0x4141;
  auto const result = find_in(world.script);
  EXPECT_EQ(result.output, found(1));
  EXPECT_EQ(result.calls, chain({volume_list, {world.asked(1)}, space_list}));
}

TEST(find_hour_folder_volume, the_first_volume_with_the_folder_wins) {
  bench const world;
  world.make_hour_folder(2);
  world.make_hour_folder(3);
  auto const result = find_in(world.script);
  EXPECT_EQ(result.output, found(2));
  EXPECT_EQ(result.calls, chain({volume_list, {world.asked(1), world.asked(2)}, space_list}));
}

TEST(find_hour_folder_volume, no_folder_anywhere) {
  bench const world;
  auto const result = find_in(world.script);
  EXPECT_EQ(result.output, nothing);
  EXPECT_EQ(result.calls, chain({volume_list, {world.asked(1), world.asked(2), world.asked(3)}}));
}

TEST(find_hour_folder_volume, a_file_in_place_of_the_folder_counts_as_missing) {
  bench const world;
  std::filesystem::create_directories(world.storage_folder(1));
  ASSERT_EQ(std::fclose(std::fopen((world.storage_folder(1) + "/hour").c_str(), "w")), 0);
  EXPECT_EQ(find_in(world.script).output, nothing);
}

TEST(find_hour_folder_volume, no_volumes_touch_no_file_system) {
  for (bool const refused : {false, true}) {
    bench world;
    world.make_hour_folder(1);
    if (refused) {
      world.script.faults = {{"get_volume_list", scripted::effect::refuse}};
    } else {
      world.script.volumes.clear();
    }
    auto const result = find_in(world.script);
    EXPECT_EQ(result.output, nothing);
    EXPECT_EQ(result.calls, volume_list);
  }
}

std::string const without_space =
    "-1\n" + untouched + "\n" + support::filled(36, 'A') + "\n1 " + support::filled(32, 'v') + "\n";

TEST(find_hour_folder_volume, without_a_matching_space_the_volume_is_written_all_the_same) {
  bench world;
  world.make_hour_folder(1);
  world.script.spaces.pop_back();
  EXPECT_EQ(find_in(world.script).output, without_space);
}

TEST(find_hour_folder_volume, without_any_space_the_volume_is_written_all_the_same) {
  bench world;
  world.make_hour_folder(1);
  world.script.spaces.clear();
  auto const result = find_in(world.script);
  EXPECT_EQ(result.output, without_space);
  EXPECT_EQ(result.calls, chain({volume_list, {world.asked(1)}, space_list}));
}

TEST(find_hour_folder_volume, uuids_are_compared_over_36_bytes) {
  bench world;
  world.make_hour_folder(1);
  world.script.spaces.back().uuid[35] = 'x';
  EXPECT_EQ(find_in(world.script).output, without_space);
}

TEST(find_hour_folder_volume, the_first_space_with_the_uuid_wins) {
  bench world;
  world.make_hour_folder(1);
  world.script.spaces.push_back(support::space("Again", 1, 1, 'a'));
  world.script.spaces.back().sid = support::id_of('z');
  EXPECT_EQ(find_in(world.script).output, found(1));
}

TEST(find_hour_folder_volume, results_are_not_looked_at) {
  bench world;
  world.make_hour_folder(1);
  world.script.faults = {{"get_volume_list", scripted::effect::complain},
                         {"get_space_list", scripted::effect::complain}};
  EXPECT_EQ(find_in(world.script).output, found(1));
}

TEST(find_hour_folder_volume, a_storage_folder_is_bounded_to_its_512_bytes) {
  bench world;
  std::string const path = "/" + support::filled(1023, 'p');
  world.script.volumes = {support::volume(path, 1, 'v', 'a')};
  auto const result = find_in(world.script);
  EXPECT_EQ(result.output, nothing);
  ASSERT_EQ(result.calls.size(), 2U);
  std::string const start = "make_hour_folder_full_path(" + path.substr(0, 511) + ", ";
  EXPECT_EQ(result.calls[1].substr(0, start.size()), start);
}

TEST(find_hour_folder_volume, leaves_no_folder_open) {
  bench const world;
  world.make_hour_folder(1);
  auto const count_open = [] {
    auto const files = std::filesystem::directory_iterator("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  auto const result = support::in_child(world.script, [count_open] {
    auto const before = count_open();
    find();
    std::printf("%d\n", before == count_open());
  });
  EXPECT_EQ(result.output, found(1) + "1\n");
}

TEST(find_hour_folder_volume, releases_when_any_call_throws) {
  bench const world;
  world.make_hour_folder(2);
  EXPECT_EQ(support::expect_releases_when_any_call_throws(world.script, find), 4);
}

}  // namespace
