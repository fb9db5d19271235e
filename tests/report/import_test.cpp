// Recorders that are made as a report tells.
#include "lab/make/import.h"

#include <random>

#include "engine_test.h"
#include "json_values.h"
#include "lab/check/check.h"
#include "lab/damage/damage.h"
#include "recorder_value.h"
#include "report/json.h"

namespace report {
namespace {

using support::day;
using support::now;

class import : public support::engine_test {
 protected:
  value of(std::filesystem::path const& folder) const {
    auto told = value_of(lab::recorder::open(folder, lab::access::read_only));
    told.made_ms = now;
    return told;
  }

  // Makes a recorder of what the report tells, in a folder beside the test's own.
  lab::import_plan import_of(value const& told, std::int64_t total_mb = 1024) const {
    auto const plan = lab::plan_import(lab::read_report(json_of(told)), total_mb);
    lab::make_recorder(imported(), plan.made, {});
    for (auto const& each : plan.unmounted) {
      lab::damage_options how;
      how.kind = "unmounted";
      how.volume = each.volume;
      how.mount = each.is_absent ? "absent" : "missing";
      lab::damage(imported(), how);
    }
    return plan;
  }

  std::filesystem::path imported() const { return root().parent_path() / "imported"; }

  void unmount(std::string const& volume, char const* mount) const {
    lab::damage_options how;
    how.kind = "unmounted";
    how.volume = volume;
    how.mount = mount;
    lab::damage(root(), how);
  }

  lab::make_options busy() const {
    lab::make_options options;
    options.volume_mb = 32;
    options.now_ms = now;
    return options;
  }
};

TEST_F(import, makes_the_recorder_again) {
  for (std::uint64_t seed = 1; seed <= 5; ++seed) {
    std::filesystem::remove_all(root());
    std::filesystem::remove_all(imported());
    auto options = busy();
    options.seed = seed;
    auto recorder = made(options);
    leak(1, {1, 4, 0}, now - 20 * day, 3);
    recorder.lose_storage_id({recorder.periods().at(3).id, recorder.periods().at(4).id});
    recorder.change_volumes({{2, "another name", 1, lab::standby_state}});
    auto const told = of(root());
    auto const plan = import_of(told);
    EXPECT_EQ(json_of(of(imported())), json_of(told)) << seed;
    EXPECT_EQ(plan.differences, std::vector<std::string>{});
  }
}

TEST_F(import, makes_volumes_that_are_not_mounted) {
  make(busy());
  unmount("vol1", "missing");
  unmount("vol3", "absent");
  auto const told = of(root());
  import_of(told);
  EXPECT_EQ(json_of(of(imported())), json_of(told));
}

TEST_F(import, what_it_makes_is_sound_but_for_what_was_reported) {
  auto recorder = made(busy());
  import_of(of(root()));
  EXPECT_TRUE(lab::check(lab::recorder::open(imported(), lab::access::read_only)).empty());
}

TEST_F(import, scales_sizes_and_keeps_the_rest) {
  auto recorder = made(busy());
  leak(1, {1, 4, 0}, now - 20 * day, 5);
  auto told = of(root());
  for (auto& each : told.spaces) each.total_mb *= 1'000'000, each.used_mb *= 1'000'000;
  for (auto& each : told.volumes) {
    each.total_mb *= 1'000'000;
    each.used_mb *= 1'000'000;
    *each.preallocated_mb *= 1'000'000;
    *each.lost_mb *= 1'000'000;
  }
  for (auto& each : told.channels) {
    for (auto& size : each.sizes)
      size = {size.space_uuid, size.normal_mb * 1'000'000, size.alarm_mb * 1'000'000,
              size.all_mb * 1'000'000};
  }
  import_of(told, 128);
  EXPECT_EQ(json_of(of(imported())), json_of(of(root())));
}

TEST_F(import, keeps_periods_for_which_there_is_no_unit) {
  auto recorder = made(busy());
  auto const told = of(root());
  auto const plan = import_of(told, 8);
  auto const found = of(imported());
  EXPECT_EQ(found.volumes.at(0).total_mb, 2);
  std::size_t streams = 0;
  for (std::size_t channel = 0; channel < told.channels.size(); ++channel) {
    auto const& wanted = told.channels[channel].streams;
    ASSERT_EQ(found.channels.at(channel).streams.size(), wanted.size());
    for (std::size_t stream = 0; stream < wanted.size(); ++stream, ++streams) {
      EXPECT_EQ(found.channels[channel].streams[stream].periods.size(),
                wanted[stream].periods.size());
    }
  }
  EXPECT_GT(streams, 10U);
  ASSERT_EQ(plan.differences.size(), 1U);
  EXPECT_NE(plan.differences[0].find("without a unit"), std::string::npos);
}

std::string refusal_of(std::string const& text) {
  return support::failure_of([&] { lab::plan_import(lab::read_report(text), 64); });
}

TEST_F(import, refuses_what_is_no_report) {
  auto const good = json_of(whole_report());
  auto const with = [&good](std::string const& part, std::string const& by) {
    auto text = good;
    return text.replace(text.find(part), part.size(), by);
  };
  EXPECT_EQ(refusal_of(good), "");
  EXPECT_EQ(refusal_of("{"), "no report: not JSON from byte 2 on");
  EXPECT_EQ(refusal_of("[]"), "no report: it is no object");
  EXPECT_EQ(refusal_of(std::string(100'000, '[')), "no report: it is nested too deeply");
  EXPECT_EQ(refusal_of(with("\"format\":1", "\"format\":2")), "no report: format 2 is not known");
  EXPECT_EQ(refusal_of(with("1732150800000,0]", "1732150800000,9]")),
            "no report: channels[0]: streams[0]: periods[0]: its storage id is out of range");
  EXPECT_EQ(refusal_of(with("\"total_mb\":64", "\"total_mb\":\"64\"")),
            "no report: volumes[0]: total_mb is no whole number");
  EXPECT_EQ(refusal_of(json_of({})), "the report has no volume that lies in a space of it");
  auto many = whole_report();
  for (int space = 0; space < 100; ++space) {
    many.spaces.push_back(many.spaces[0]);
    many.spaces.back().uuid = std::to_string(space);
  }
  EXPECT_EQ(refusal_of(json_of(many)), "the report has 101 spaces; at most 64 can be made");
}

// All doubled: for each second one a free number, name and folder would have to be found.
TEST_F(import, refuses_many_volumes_at_once) {
  constexpr int many = 50'000;
  lab::reported_recorder told;
  told.spaces.push_back({"", "u", "", 0, 0});
  for (int volume = 0; volume < 2 * many; ++volume) {
    auto const name = "vol" + std::to_string(many + volume % many);
    told.volumes.push_back(
        {"", name, "/" + name, many + volume % many, "u", 0, 0, 1, 0, 0, false, false});
  }
  EXPECT_EQ(support::failure_of([&] { lab::plan_import(told, 64); }),
            "the report has 100000 volumes; at most 4096 can be made");
}

TEST_F(import, counts_the_first_size_of_a_channel_on_a_space) {
  auto recorder = made(busy());
  auto told = of(root());
  auto const once = json_of(told);
  for (auto& each : told.channels) {
    auto again = each.sizes.at(0);
    again.normal_mb = 0;
    again.all_mb = again.alarm_mb = 32;
    each.sizes.insert(each.sizes.end(), 3, again);
  }
  import_of(told);
  EXPECT_EQ(json_of(of(imported())), once);
}

TEST_F(import, makes_what_can_be_made_of_nonsense) {
  auto told = nonsense_report();
  told.spaces.push_back({"", "u", "../../up", 0, 0, 0, "", 0});
  volume odd = told.volumes.at(0);
  odd.space_uuid = "u";
  odd.name = "../../../etc";
  odd.path = "share/../..";
  odd.total_mb = -5;
  told.volumes.push_back(odd);
  told.channels.push_back(channel_with_periods(10));
  told.channels.back().number = 7;
  told.channels.back().streams.push_back({4, "NR", 5, true, {}});
  told.channels.back().streams[0].periods.push_back({now, now, ""});
  auto const plan = import_of(told, 16);
  EXPECT_EQ(plan.differences,
            (std::vector<std::string>{
                "3 channels left out: no number, or one that is there twice",
                "1 stream left out: of no type or number that there is",
                "1 period left out: without a beginning before the end",
                "18 stand-ins for names, ids and numbers that a lab recorder cannot have",
                "2010 periods without a unit: too little is used for all of them"}));
  auto const found = of(imported());
  EXPECT_EQ(found.volumes.size(), 4U);
  EXPECT_EQ(names(imported() / "share"),
            (std::vector<std::string>{"vol1", "vol2", "vol3", "vol4"}));
  EXPECT_EQ(names(imported().parent_path()), (std::vector<std::string>{"imported"}));
}

TEST_F(import, cuts_what_is_longer_than_a_week) {
  auto told = whole_report();
  told.channels[0].streams[0].periods = {{now - 20 * day + 5, now, told.volumes[0].id}};
  auto const plan = import_of(told, 16);
  auto const found = of(imported()).channels.at(0).streams.at(0).periods;
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[0].start_ms, now - 20 * day + 5);
  EXPECT_EQ(found[1].start_ms, found[0].end_ms);
  EXPECT_EQ(found[2].end_ms, now);
  EXPECT_EQ(plan.differences.at(0), "1 period of more than 7 days cut into several");
}

// Whatever is changed in a report, a recorder is planned whose volumes can hold what
// is planned for them, or nothing is.
TEST_F(import, plans_nothing_that_cannot_be) {
  auto const good = json_of(whole_report());
  std::minstd_rand numbers(7);
  int planned = 0;
  for (int round = 0; round < 600; ++round) {
    auto text = good;
    for (int changes = 0; changes < 3; ++changes) {
      static char const* const pieces[] = {"9", "-", "0", "\"", "null", "9223372036854775807"};
      text.replace(numbers() % text.size(), numbers() % 3, pieces[numbers() % 6]);
    }
    try {
      auto const plan = lab::plan_import(lab::read_report(text), 16).made;
      for (auto const& each : plan.volumes) {
        EXPECT_LE(each.recorded.size(), static_cast<std::size_t>(each.units)) << text;
        EXPECT_LE(each.units, 17) << text;
      }
      ++planned;
    } catch (lab::error const&) {
    }
  }
  EXPECT_GT(planned, 20);
}

}  // namespace
}  // namespace report
