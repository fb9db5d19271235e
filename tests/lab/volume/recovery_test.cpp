// States that a stop can leave behind, made by hand, and what the next writer
// makes of them.
#include "engine_test.h"
#include "lab/check/check.h"

namespace {

namespace fs = std::filesystem;
using support::now;

enum class lies { in_hour, in_both, in_preallocate, nowhere };

struct stopped_move {
  char const* state;
  lies where;
};

class recovery : public support::engine_test, public testing::WithParamInterface<stopped_move> {
 protected:
  static constexpr char const* unit = "unit000003";

  fs::path hour() const { return hour_folder(first_volume, now); }
  fs::path preallocated() const { return preallocate(first_volume); }

  recovery() { make(); }

  void stop_midway(stopped_move const& how) const {
    tamper("UPDATE unit SET state = '" + std::string(how.state) +
           "', channel_id = 1, recording_type = 4, stream = 0, hour_ms = " + std::to_string(now) +
           " WHERE volume_id = 1 AND name = '" + unit + "'");
    fs::create_directory(hour());
    switch (how.where) {
      case lies::in_hour:
        fs::rename(preallocated() / unit, hour() / unit);
        break;
      case lies::in_both:
        fs::create_hard_link(preallocated() / unit, hour() / unit);
        break;
      case lies::in_preallocate:
        break;
      case lies::nowhere:
        fs::remove(preallocated() / unit);
        break;
    }
  }
};

TEST_P(recovery, gives_the_unit_back_or_calls_it_bad) {
  stop_midway(GetParam());
  EXPECT_EQ(1, open(lab::access::read_only).account(first_volume).moving);
  EXPECT_EQ(1, open(lab::access::read_only).volumes()[0].used_mb);

  auto const account = open(lab::access::read_write).account(first_volume);
  bool const lost = GetParam().where == lies::nowhere;
  EXPECT_EQ(0, account.moving);
  EXPECT_EQ(lost ? 1 : 0, account.lost);
  EXPECT_EQ(lost ? 7 : 8, account.preallocated);
  EXPECT_EQ(lost ? 7U : 8U, names(preallocated()).size());
  EXPECT_FALSE(fs::exists(hour()));
  lab::findings const bad{{lab::finding_class::bad, "volume vol1", "unit unit000003 is bad"}};
  EXPECT_EQ(lost ? bad : lab::findings(), lab::check(open()));

  support::unchanged const kept(root());
  open(lab::access::read_write);
}

TEST_P(recovery, happens_before_the_next_move_too) {
  auto writer = open();
  stop_midway(GetParam());
  EXPECT_EQ(1, writer.account(first_volume).moving);
  writer.record(first_volume, main_stream, now, 7);
  EXPECT_EQ(0, writer.account(first_volume).moving);
  EXPECT_EQ(7, writer.account(first_volume).held);
}

std::vector<stopped_move> all_moves() {
  std::vector<stopped_move> moves;
  for (auto const* const state : {"recycling", "recording"}) {
    for (auto const where : {lies::in_hour, lies::in_both, lies::in_preallocate, lies::nowhere}) {
      moves.push_back({state, where});
    }
  }
  return moves;
}

std::string name_of(testing::TestParamInfo<stopped_move> const& move) {
  std::vector<std::string> const places{"in_hour", "in_both", "in_preallocate", "nowhere"};
  return std::string(move.param.state) + "_" + places[static_cast<std::size_t>(move.param.where)];
}

INSTANTIATE_TEST_SUITE_P(all_places, recovery, testing::ValuesIn(all_moves()), name_of);

class recovery_limits : public recovery {};

TEST_P(recovery_limits, a_reader_moves_nothing) {
  stop_midway(GetParam());
  support::unchanged const kept(root());
  lab::check(open(lab::access::read_only));
}

TEST_P(recovery_limits, what_another_writer_moves_is_left_to_it) {
  stop_midway(GetParam());
  {
    auto const other = hold(first_volume);
    EXPECT_EQ(1, open().account(first_volume).moving);
  }
  EXPECT_EQ(0, open().account(first_volume).moving);
}

TEST_P(recovery_limits, what_is_not_mounted_waits) {
  stop_midway(GetParam());
  fs::rename(root() / "share" / "vol1" / "identity", root() / "kept");
  EXPECT_EQ(1, open().account(first_volume).moving);
  EXPECT_TRUE(fs::exists(hour() / unit));
  fs::rename(root() / "kept", root() / "share" / "vol1" / "identity");
  EXPECT_EQ(0, open().account(first_volume).moving);
}

TEST_P(recovery_limits, another_file_by_the_units_name_is_nobodys_to_remove) {
  stop_midway(GetParam());
  support::write_file(preallocated() / unit, "mine");
  EXPECT_EQ(1, open().account(first_volume).lost);
  EXPECT_EQ(4U, fs::file_size(preallocated() / unit));
  EXPECT_EQ(1024U * 1024U, fs::file_size(hour() / unit));
}

TEST_P(recovery_limits, a_folder_by_the_units_name_is_no_free_unit) {
  stop_midway(GetParam());
  fs::create_directory(preallocated() / unit);
  auto const account = open().account(first_volume);
  EXPECT_EQ(1, account.lost);
  EXPECT_EQ(7, account.preallocated);
  EXPECT_EQ(1024U * 1024U, fs::file_size(hour() / unit));
}

TEST_P(recovery_limits, a_copy_in_preallocate_is_the_free_unit) {
  stop_midway(GetParam());
  fs::copy_file(hour() / unit, preallocated() / unit);
  EXPECT_EQ(8, open().account(first_volume).preallocated);
  EXPECT_TRUE(fs::exists(hour() / unit));
}

INSTANTIATE_TEST_SUITE_P(both_ways, recovery_limits,
                         testing::Values(stopped_move{"recycling", lies::in_hour},
                                         stopped_move{"recording", lies::in_hour}),
                         name_of);

}  // namespace
