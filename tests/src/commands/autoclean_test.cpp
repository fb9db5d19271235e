#include <gtest/gtest.h>

#include <map>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::chain;
using support::lines;
using support::now;
using support::now_ms;
using support::span_start;

lines const volume_list = {"setting.get_volume_list()"};
std::string const closing = "recycle check process done.\n";

std::string count(int leaks) {
  return "Volume space leak detected count: " + std::to_string(leaks) + "\n" + closing;
}

// Volumes that lie in a temporary folder, and what du says of each.
class bench {
 public:
  bench() {
    script.clock = [] { return now; };
    script.program = [this](std::vector<std::string> const& arguments) {
      return du_.at(arguments.at(0));
    };
  }
  bench(bench const&) = delete;
  bench& operator=(bench const&) = delete;

  // `remain` in MB; `below` is the volume's path in the temporary folder.
  void add(std::string const& below, std::int64_t total, std::int64_t used, std::int64_t remain) {
    add_printing(below, total, used, std::to_string(remain * 1024) + "\tfolder\n");
  }

  void add_printing(std::string const& below, std::int64_t total, std::int64_t used,
                    std::optional<std::string> const& du_output) {
    du_[base_.make(below + "/FSU_" + support::filled(32, 'v') + "/preallocate")] = du_output;
    add_missing(below, total, used);
  }

  void add_missing(std::string const& below, std::int64_t total, std::int64_t used) {
    int const number = static_cast<int>(script.volumes.size()) + 1;
    script.volumes.push_back(support::volume(path(below), number));
    script.volumes.back().body.total_size = total;
    script.volumes.back().body.used_size = used;
  }

  std::string path(std::string const& below) const { return base_.path() + "/" + below; }

  lines probe(std::string const& below) const {
    return {"velt_popen(r, /usr/bin/du, " + path(below) + "/FSU_" + support::filled(32, 'v') +
                "/preallocate)",
            "velt_pclose()"};
  }

  support::outcome run() const {
    auto result = support::in_child(script, [] { st::cmd_autoclean(scripted::setting()); });
    EXPECT_EQ(result.status, 0);
    return result;
  }

  scripted::script script;

 private:
  support::temporary_folder base_;
  std::map<std::string, std::optional<std::string>> du_;
};

std::string leak(std::string const& name, std::int64_t total, std::int64_t used,
                 std::int64_t remain, std::int64_t lost, std::int64_t threshold) {
  auto const text = [](std::int64_t number) { return std::to_string(number); };
  return "Volume [" + name + "] total size " + text(total / 1024) + " GB(" + text(total) +
         " MB), used " + text(used) + " MB(preallocate_remain " + text(remain) + " MB).\n" +
         "Size lost " + text(lost) + " MB over " + text(threshold) +
         " MB(%5) is not resonable. Start to recycle volume using space ...\n";
}

std::string const no_channels = "No channel settings found.\n";

TEST(autoclean, no_volumes_print_no_count) {
  bench const world;
  auto const result = world.run();
  EXPECT_EQ(result.output, "no volume found\nrecycle check process done.\n");
  EXPECT_EQ(result.calls, volume_list);
}

TEST(autoclean, a_refused_volume_list_is_an_empty_one) {
  bench world;
  world.add("share/vol1", 1000, 0, 0);
  world.script.faults = {{"get_volume_list", scripted::effect::refuse}};
  EXPECT_EQ(world.run().output, "no volume found\n" + closing);
}

TEST(autoclean, the_result_of_the_volume_list_is_not_looked_at) {
  bench world;
  world.add("share/vol1", 1000, 900, 100);
  world.script.faults = {{"get_volume_list", scripted::effect::complain}};
  EXPECT_EQ(world.run().output, count(0));
}

TEST(autoclean, sound_volumes_print_nothing_but_the_count) {
  bench world;
  world.add("share/vol1", 1000, 900, 100);
  world.add("share/vol2", 1000, 0, 1000);
  auto const result = world.run();
  EXPECT_EQ(result.output, count(0));
  EXPECT_EQ(result.calls,
            chain({volume_list, world.probe("share/vol1"), world.probe("share/vol2")}));
}

TEST(autoclean, a_leaking_volume_is_reported_and_recycled) {
  bench world;
  world.add("share/vol1", 3815000, 3000000, 2000);
  world.script.channels = {support::channel(3, 'c')};
  world.script.periods = [](channel_sid const&, int type, int stream) {
    return type == 4 && stream == 0 ? std::list<time_period>{support::period(now_ms - 5000)}
                                    : std::list<time_period>{};
  };
  auto const result = world.run();
  EXPECT_EQ(result.output,
            "Volume [vol1] total size 3725 GB(3815000 MB), used 3000000 MB(preallocate_remain 2000 "
            "MB).\n"
            "Size lost 813000 MB over 190750 MB(%5) is not resonable. Start to recycle volume "
            "using space ...\n"
            "Volume space leak detected count: 1\n"
            "recycle check process done.\n");
  lines expected = chain({volume_list, world.probe("share/vol1"), {"setting.get_channel_list(1)"}});
  std::string const channel = support::channel_text(3, 'c');
  int lookup = 0;
  for (int const type : {4, 1}) {
    for (int stream = 0; stream < 5; ++stream) {
      expected = chain(
          {expected, support::span_lookup(++lookup, channel, type, stream, span_start, now_ms)});
      if (lookup == 1) {
        expected =
            chain({expected, support::recycling("CFSUnit", 1, "1:" + support::filled(32, 'v'),
                                                channel, type, stream, span_start, now_ms - 5001)});
      }
    }
  }
  EXPECT_EQ(result.calls, expected);
}

TEST(autoclean, exactly_5_percent_is_no_leak_and_a_megabyte_more_is) {
  bench sound;
  sound.add("share/vol1", 1000, 900, 50);
  EXPECT_EQ(sound.run().output, count(0));
  bench leaking;
  leaking.add("share/vol1", 1000, 900, 49);
  EXPECT_EQ(leaking.run().output, leak("vol1", 1000, 900, 49, 51, 50) + no_channels + count(1));
}

TEST(autoclean, the_shown_threshold_is_an_integer_the_decision_is_not) {
  bench world;
  world.add("share/vol1", 1030, 900, 70);
  EXPECT_EQ(world.run().output, leak("vol1", 1030, 900, 70, 60, 51) + no_channels + count(1));
  // 51 is no more than 51.5, 52 is.
  bench between;
  between.add("share/vol1", 1030, 900, 79);
  EXPECT_EQ(between.run().output, count(0));
  bench above;
  above.add("share/vol1", 1030, 900, 78);
  EXPECT_EQ(above.run().output, leak("vol1", 1030, 900, 78, 52, 51) + no_channels + count(1));
}

TEST(autoclean, a_total_of_0_or_too_much_accounted_for_is_no_leak) {
  bench world;
  world.add("share/empty", 0, 0, 0);
  world.add("share/odd", 0, 10, 10);
  world.add("share/over", 1000, 900, 500);
  EXPECT_EQ(world.run().output, count(0));
}

TEST(autoclean, a_du_that_prints_nothing_shows_no_leak) {
  bench world;
  world.add_printing("share/vol1", 1000, 0, "");
  world.add_printing("share/vol2", 1000, 1000, "");
  auto const result = world.run();
  EXPECT_EQ(result.output, count(0));
  EXPECT_EQ(result.calls,
            chain({volume_list, world.probe("share/vol1"), world.probe("share/vol2")}));
}

TEST(autoclean, volumes_that_cannot_be_measured_are_passed_over_and_not_counted) {
  bench world;
  world.add_missing("share/gone", 1000, 0);
  world.add_printing("share/mute", 1000, 0, std::nullopt);
  world.add("share/vol3", 1000, 0, 0);
  EXPECT_EQ(world.run().output, "Volume [" + world.path("share/gone") + "] path does not exist\n" +
                                    "Can not get preallocate remain size info.\n" +
                                    leak("vol3", 1000, 0, 0, 1000, 50) + no_channels + count(1));
}

TEST(autoclean, only_unmeasurable_volumes_still_give_the_count) {
  bench world;
  world.add_missing("share/gone", 1000, 0);
  EXPECT_EQ(world.run().output,
            "Volume [" + world.path("share/gone") + "] path does not exist\n" + count(0));
}

TEST(autoclean, a_path_without_share_shows_the_name_of_the_leaking_volume_before) {
  bench world;
  world.add("elsewhere/first", 1000, 0, 0);
  world.add("share/vol2", 1000, 0, 0);
  world.add("share/sound", 1000, 1000, 0);
  world.add("elsewhere/last", 1000, 0, 0);
  EXPECT_EQ(world.run().output, leak("", 1000, 0, 0, 1000, 50) + no_channels +
                                    leak("vol2", 1000, 0, 0, 1000, 50) + no_channels +
                                    leak("vol2", 1000, 0, 0, 1000, 50) + no_channels + count(3));
}

TEST(autoclean, the_name_is_what_follows_the_first_share) {
  bench world;
  world.add("share/a/share/b", 1000, 0, 0);
  EXPECT_EQ(world.run().output, leak("a/share/b", 1000, 0, 0, 1000, 50) + no_channels + count(1));
}

TEST(autoclean, a_long_name_is_cut_to_127_characters) {
  bench world;
  world.add("share/" + support::filled(140, 'n'), 1000, 0, 0);
  EXPECT_EQ(world.run().output,
            leak(support::filled(127, 'n'), 1000, 0, 0, 1000, 50) + no_channels + count(1));
}

TEST(autoclean, failed_recycling_is_counted_and_does_not_stop_the_walk) {
  bench world;
  world.add("share/vol1", 1000, 0, 0);
  world.add("share/vol2", 1000, 0, 0);
  world.script.channels = {support::channel(0, 'c')};
  world.script.periods = [](channel_sid const&, int type, int stream) {
    return type == 1 && stream == 4 ? std::list<time_period>{support::period(now_ms - 5000)}
                                    : std::list<time_period>{};
  };
  world.script.faults = {{"init", scripted::effect::refuse, 1}};
  EXPECT_EQ(world.run().output, leak("vol1", 1000, 0, 0, 1000, 50) +
                                    "Initial Unit to process failure.\n" +
                                    leak("vol2", 1000, 0, 0, 1000, 50) + count(2));
}

TEST(autoclean, every_volume_is_recycled_by_its_own_id) {
  bench world;
  world.add("share/vol1", 1000, 0, 0);
  world.add("share/vol2", 1000, 0, 0);
  world.script.channels = {support::channel(0, 'c')};
  world.script.periods = [](channel_sid const&, int type, int stream) {
    return type == 4 && stream == 2 ? std::list<time_period>{support::period(now_ms - 5000)}
                                    : std::list<time_period>{};
  };
  lines inits;
  for (std::string const& line : world.run().calls) {
    if (line.find(".init(") != std::string::npos) inits.push_back(line);
  }
  std::string const text = support::filled(32, 'v');
  EXPECT_EQ(inits, (lines{"CFSUnit#1.init(1:" + text + ")", "CFSUnit#2.init(2:" + text + ")"}));
}

TEST(autoclean, sizes_beyond_32_bits_are_whole) {
  bench world;
  world.add("share/vol1", 8796093022208, 4398046511104, 2097151);
  EXPECT_EQ(world.run().output,
            leak("vol1", 8796093022208, 4398046511104, 2097151, 4398044413953, 439804651110) +
                no_channels + count(1));
}

TEST(autoclean, releases_when_any_call_throws) {
  bench world;
  world.add("share/vol1", 1000, 0, 0);
  world.add("share/vol2", 1000, 0, 0);
  world.script.channels = {support::channel(0, 'c')};
  world.script.periods = [](channel_sid const&, int type, int stream) {
    return type == 4 && stream == 0 ? std::list<time_period>{support::period(now_ms - 5000)}
                                    : std::list<time_period>{};
  };
  int const calls = support::expect_releases_when_any_call_throws(
      world.script, [] { st::cmd_autoclean(scripted::setting()); });
  EXPECT_EQ(calls, 1 + 2 * (1 + 10 * 4 + 4));
}

}  // namespace
