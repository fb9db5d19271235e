#include <map>

#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

lines const volume_list = {"setting.get_volume_list()"};
std::string const closing = "recycle check process done.\n";
std::string const no_channels = "No channel settings found.\n";

std::string count(int leaks) {
  return "Volume space leak detected count: " + std::to_string(leaks) + "\n" + closing;
}

// What du says of a volume's preallocate folder, which may be missing.
struct du {
  enum class finds { folder, nothing } found = finds::folder;
  std::optional<std::string> prints;  // nothing: it cannot be run
};
du remaining(std::int64_t megabytes) {
  return {du::finds::folder, std::to_string(megabytes * 1024) + "\tfolder\n"};
}
du const silent = {du::finds::folder, ""};
du const not_runnable = {du::finds::folder, std::nullopt};
du const no_folder = {du::finds::nothing, std::nullopt};

// A volume; `below` is its path in the temporary folder, sizes in MB.
struct measured_volume {
  std::string below;
  std::int64_t total;
  std::int64_t used;
  du probe;
};

// Volumes 1, 2 … below a temporary folder.
class measured_volumes {
 public:
  explicit measured_volumes(std::vector<measured_volume> const& volumes) : volumes_(volumes) {
    script = script.at_now();
    script.program = [this](std::vector<std::string> const& arguments) {
      return du_.at(arguments.at(0));
    };
    for (measured_volume const& each : volumes) {
      if (each.probe.found == du::finds::folder) base_.make(each.below + preallocate_);
      du_[path(each.below) + preallocate_] = each.probe.prints;
      int const number = static_cast<int>(script.volumes.size()) + 1;
      script.volumes.push_back(volume(path(each.below), number));
      script.volumes.back().body.total_size = each.total;
      script.volumes.back().body.used_size = each.used;
    }
  }
  measured_volumes(measured_volumes const&) = delete;
  measured_volumes& operator=(measured_volumes const&) = delete;

  std::string path(std::string const& below) const { return base_.path().string() + "/" + below; }
  // The calls that measure them.
  lines probes() const {
    lines calls;
    for (measured_volume const& each : volumes_) {
      if (each.probe.found == du::finds::nothing) continue;
      calls.push_back("velt_popen(r, /usr/bin/du, " + path(each.below) + preallocate_ + ")");
      if (each.probe.prints) calls.emplace_back("velt_pclose()");
    }
    return calls;
  }

  answers script;

 private:
  std::string const preallocate_ = "/FSU_" + filled(32, 'v') + "/preallocate";
  std::vector<measured_volume> volumes_;
  temporary_folder base_;
  std::map<std::string, std::optional<std::string>> du_;
};

void autoclean() { st::cmd_autoclean(scripted::setting()); }

std::string leak(std::string const& name, std::int64_t total, std::int64_t used,
                 std::int64_t remain, std::int64_t lost, std::int64_t threshold) {
  auto const text = [](std::int64_t number) { return std::to_string(number); };
  return "Volume [" + name + "] total size " + text(total / 1024) + " GB(" + text(total) +
         " MB), used " + text(used) + " MB(preallocate_remain " + text(remain) + " MB).\n" +
         "Size lost " + text(lost) + " MB over " + text(threshold) +
         " MB(%5) is not resonable. Start to recycle volume using space ...\n";
}
// The report of a volume of 1000 MB that has lost all of it, where there are no
// channels.
std::string all_lost(std::string const& name) {
  return leak(name, 1000, 0, 0, 1000, 50) + no_channels;
}

// Volumes without channels, and what is printed of them; "@"
// stands for the temporary folder.
struct autoclean_case {
  std::string behaviour;
  std::vector<measured_volume> volumes;
  std::string output;
};
void PrintTo(autoclean_case const& row, std::ostream* out) { *out << row.behaviour; }

autoclean_case const cases[] = {
    {"no_volumes_print_no_count", {}, "no volume found\nrecycle check process done.\n"},
    {"sound_volumes_print_nothing_but_the_count",
     {{"share/vol1", 1000, 900, remaining(100)}, {"share/vol2", 1000, 0, remaining(1000)}},
     count(0)},
    {"exactly_5_percent_is_no_leak", {{"share/vol1", 1000, 900, remaining(50)}}, count(0)},
    {"a_megabyte_more_than_5_percent_is_a_leak",
     {{"share/vol1", 1000, 900, remaining(49)}},
     leak("vol1", 1000, 900, 49, 51, 50) + no_channels + count(1)},
    // 51 is no more than 51.5, 52 is.
    {"the_shown_threshold_is_an_integer",
     {{"share/vol1", 1030, 900, remaining(70)}},
     leak("vol1", 1030, 900, 70, 60, 51) + no_channels + count(1)},
    {"the_decision_is_no_integer_below", {{"share/vol1", 1030, 900, remaining(79)}}, count(0)},
    {"the_decision_is_no_integer_above",
     {{"share/vol1", 1030, 900, remaining(78)}},
     leak("vol1", 1030, 900, 78, 52, 51) + no_channels + count(1)},
    {"a_total_of_0_or_too_much_accounted_for_is_no_leak",
     {{"share/empty", 0, 0, remaining(0)},
      {"share/odd", 0, 10, remaining(10)},
      {"share/over", 1000, 900, remaining(500)}},
     count(0)},
    {"a_du_that_prints_nothing_shows_no_leak",
     {{"share/vol1", 1000, 0, silent}, {"share/vol2", 1000, 1000, silent}},
     count(0)},
    {"volumes_that_cannot_be_measured_are_passed_over_and_not_counted",
     {{"share/gone", 1000, 0, no_folder},
      {"share/mute", 1000, 0, not_runnable},
      {"share/vol3", 1000, 0, remaining(0)}},
     "Volume [@/share/gone] path does not exist\n"
     "Can not get preallocate remain size info.\n" +
         all_lost("vol3") + count(1)},
    {"only_unmeasurable_volumes_still_give_the_count",
     {{"share/gone", 1000, 0, no_folder}},
     "Volume [@/share/gone] path does not exist\n" + count(0)},
    {"a_path_without_share_shows_the_name_of_the_leaking_volume_before",
     {{"elsewhere/first", 1000, 0, remaining(0)},
      {"share/vol2", 1000, 0, remaining(0)},
      {"share/sound", 1000, 1000, remaining(0)},
      {"elsewhere/last", 1000, 0, remaining(0)}},
     all_lost("") + all_lost("vol2") + all_lost("vol2") + count(3)},
    {"the_name_is_what_follows_the_first_share",
     {{"share/a/share/b", 1000, 0, remaining(0)}},
     all_lost("a/share/b") + count(1)},
    {"a_long_name_is_cut_to_127_characters",
     {{"share/" + filled(140, 'n'), 1000, 0, remaining(0)}},
     all_lost(filled(127, 'n')) + count(1)},
    {"sizes_beyond_32_bits_are_whole",
     {{"share/vol1", 8796093022208, 4398046511104, remaining(2097151)}},
     leak("vol1", 8796093022208, 4398046511104, 2097151, 4398044413953, 439804651110) +
         no_channels + count(1)},
};

class measured : public testing::TestWithParam<autoclean_case> {};
INSTANTIATE_TEST_SUITE_P(autoclean, measured, testing::ValuesIn(cases),
                         [](auto const& row) { return row.param.behaviour; });

TEST_P(measured, prints_and_probes) {
  measured_volumes const world(GetParam().volumes);
  std::string expected = GetParam().output;
  if (auto const at = expected.find('@'); at != std::string::npos) {
    expected.replace(at, 2, world.path(""));
  }
  auto const result = run(world.script, autoclean);
  EXPECT_EQ(result.output, expected);
  EXPECT_EQ(result.calls.front(), "setting.get_volume_list()");
  EXPECT_EQ(lines_with(result.calls, "velt_"), world.probes());
}

TEST(autoclean, asks_for_nothing_but_the_volumes_when_they_are_sound) {
  measured_volumes const world(
      {{"share/vol1", 1000, 0, remaining(1000)}, {"share/vol2", 1000, 0, silent}});
  expect_run(world.script, autoclean, count(0), chain({volume_list, world.probes()}));
}

TEST(autoclean, a_refused_volume_list_is_an_empty_one) {
  measured_volumes const world({{"share/vol1", 1000, 0, remaining(0)}});
  expect_run(world.script.refusing("get_volume_list"), autoclean, "no volume found\n" + closing,
             volume_list);
}

TEST(autoclean, the_result_of_the_volume_list_is_not_looked_at) {
  measured_volumes const world({{"share/vol1", 1000, 900, remaining(100)}});
  expect_results_are_not_looked_at(world.script, autoclean, {"get_volume_list"});
}

TEST(autoclean, a_leaking_volume_is_reported_and_recycled) {
  measured_volumes const world({{"share/vol1", 3815000, 3000000, remaining(2000)}});
  auto const script =
      world.script.with_channels({channel(3, 'c')}).with_periods_on(4, 0, {period(now_ms - 5000)});
  std::string const channel_3 = channel_text(3, 'c');
  auto const unit = [&](int index, int type, int stream) {
    return index == 1 ? recycling("CFSUnit", 1, "1:" + filled(32, 'v'), channel_3, type, stream,
                                  now_ms - 5001)
                      : lines{};
  };
  expect_run(script, autoclean,
             "Volume [vol1] total size 3725 GB(3815000 MB), used 3000000 MB(preallocate_remain "
             "2000 MB).\n"
             "Size lost 813000 MB over 190750 MB(%5) is not resonable. Start to recycle volume "
             "using space ...\n"
             "Volume space leak detected count: 1\n"
             "recycle check process done.\n",
             chain({volume_list,
                    world.probes(),
                    {"setting.get_channel_list(1)"},
                    stream_walk(1, channel_3, unit)}));
}

// Two volumes that have lost all, and a channel with recordings on one stream.
class two_leaks : public testing::Test {
 protected:
  measured_volumes world{
      {{"share/vol1", 1000, 0, remaining(0)}, {"share/vol2", 1000, 0, remaining(0)}}};
  answers script =
      world.script.with_channels({channel(0, 'c')}).with_periods_on(1, 4, {period(now_ms - 5000)});
};

TEST_F(two_leaks, failed_recycling_is_counted_and_does_not_stop_the_walk) {
  EXPECT_EQ(run(script.refusing("init", 1), autoclean).output,
            leak("vol1", 1000, 0, 0, 1000, 50) + "Initial Unit to process failure.\n" +
                leak("vol2", 1000, 0, 0, 1000, 50) + count(2));
}

TEST_F(two_leaks, every_volume_is_recycled_by_its_own_id) {
  std::string const text = filled(32, 'v');
  EXPECT_EQ(lines_with(run(script, autoclean).calls, ".init("),
            (lines{"CFSUnit#1.init(1:" + text + ")", "CFSUnit#2.init(2:" + text + ")"}));
}

TEST_F(two_leaks, release_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(script, autoclean), 1 + 2 * (1 + 10 * 4 + 4));
}

}  // namespace
}  // namespace command_test
