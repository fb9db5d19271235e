#include "engine_test.h"
#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"

namespace {

using support::hour;
using support::now;

class changes : public support::engine_test {
 protected:
  changes() { make(); }
};

TEST_F(changes, a_volume_keeps_everything_else_and_its_folder) {
  open().change_volumes({{first_volume, "renamed", 1, 4}});
  auto const volumes = open(lab::access::read_only).volumes();
  EXPECT_EQ("renamed", volumes[0].name);
  EXPECT_EQ(1, volumes[0].type);
  EXPECT_EQ(4, volumes[0].state);
  EXPECT_EQ(1, volumes[0].volume_no);
  EXPECT_EQ(root() / "share" / "vol1", volumes[0].path);
  EXPECT_EQ("vol2", volumes[1].name);
  EXPECT_EQ(0, volumes[1].type);
  EXPECT_EQ(lab::findings(), lab::check(open()));
}

TEST_F(changes, volumes_change_all_or_none) {
  auto recorder = open();
  EXPECT_EQ("there is no volume with id 7", support::failure_of([&] {
              recorder.change_volumes({{first_volume, "a", 1, 1}, {7, "b", 1, 1}});
            }));
  EXPECT_EQ("vol1", recorder.volumes()[0].name);
  recorder.change_volumes({{first_volume, "a", 1, 1}, {second_volume, "b", 1, 1}});
  EXPECT_EQ("a", recorder.volumes()[0].name);
  EXPECT_EQ("b", recorder.volumes()[1].name);
}

TEST_F(changes, a_writer_elsewhere_makes_a_change_busy) {
  auto recorder = open();
  recorder.wait_at_most(std::chrono::milliseconds(20));
  auto other = connect(lab::database::mode::read_write);
  lab::transaction const writing(other, lab::transaction_kind::writing);
  EXPECT_THROW(recorder.change_volumes({{first_volume, "a", 1, 1}}), lab::busy_error);
  EXPECT_EQ("vol1", recorder.volumes()[0].name);
}

TEST_F(changes, forgetting_is_a_leak) {
  auto recorder = open();
  recorder.record(first_volume, main_stream, now, 3);
  recorder.record(first_volume, main_stream, now + hour, 2);
  recorder.forget({recorder.periods().front().id});
  EXPECT_EQ(1U, recorder.periods().size());
  auto const account = recorder.account(first_volume);
  EXPECT_EQ(2, account.held);
  EXPECT_EQ(3, account.lost);
  EXPECT_EQ(3, account.preallocated);
  EXPECT_EQ(2, recorder.volumes()[0].used_mb);
}

TEST_F(changes, periods_are_forgotten_all_or_none) {
  auto recorder = open();
  recorder.record(first_volume, main_stream, now, 1);
  auto const id = recorder.periods().front().id;
  EXPECT_EQ("there is no period with id 99", support::failure_of([&] {
              recorder.forget({id, 99});
            }));
  EXPECT_EQ("there is no period with id 99", support::failure_of([&] {
              recorder.lose_storage_id({id, 99});
            }));
  ASSERT_EQ(1U, recorder.periods().size());
  EXPECT_NE("", recorder.periods().front().storage_id);
}

TEST_F(changes, assigning_replaces_and_goes_to_the_end) {
  auto recorder = open();
  recorder.assign(1, second_volume);
  EXPECT_TRUE(recorder.volume_channels(1).empty());
  auto const channels = recorder.volume_channels(2);
  ASSERT_EQ(2U, channels.size());
  EXPECT_EQ(2, channels[0].id);
  EXPECT_EQ(1, channels[1].id);
  EXPECT_EQ("there is no channel with id 9",
            support::failure_of([&] { recorder.assign(9, first_volume); }));
  EXPECT_EQ("there is no volume with id 9", support::failure_of([&] { recorder.assign(1, 9); }));
  EXPECT_EQ(2U, recorder.volume_channels(2).size());
}

}  // namespace
