#include <gtest/gtest.h>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::lines;

support::outcome spacelist(scripted::script const& script) {
  return support::in_child(script, [] { st::cmd_spacelist(scripted::setting()); });
}

std::string output_of(std::list<space_info> const& spaces) {
  scripted::script script;
  script.spaces = spaces;
  auto const result = spacelist(script);
  EXPECT_EQ(result.calls, lines{"setting.get_space_list()"});
  EXPECT_EQ(result.status, 0);
  return result.output;
}

space_info with_status(std::int32_t status, std::int32_t spare_state) {
  auto space = support::space("s", 1024, 512);
  space.status = status;
  space.spare_state = spare_state;
  return space;
}

TEST(spacelist, no_spaces_print_nothing) { EXPECT_EQ(output_of({}), ""); }

TEST(spacelist, a_service_that_cannot_be_asked_prints_nothing) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 1024, 0)};
  script.faults = {{"get_space_list", scripted::effect::refuse}};
  EXPECT_EQ(spacelist(script).output, "");
}

TEST(spacelist, only_the_list_counts_not_the_result) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 1024, 512)};
  script.faults = {{"get_space_list", scripted::effect::complain}};
  EXPECT_EQ(spacelist(script).output,
            "Space count: 1\n"
            "[01] [Storage1], total size: 1 GB, used: 512 MB, use 50.00% [Normal                   "
            "]\n\n");
}

TEST(spacelist, one_space_shows_gigabytes_megabytes_and_percentage) {
  EXPECT_EQ(output_of({support::space("Storage1", 1907729, 1000000)}),
            "Space count: 1\n"
            "[01] [Storage1], total size: 1863 GB, used: 1000000 MB, use 52.42% "
            "[Normal                   ]\n"
            "\n");
}

TEST(spacelist, keeps_the_order_of_the_service) {
  EXPECT_EQ(output_of({support::space("b", 2048, 1024), support::space("a", 1024, 256)}),
            "Space count: 2\n"
            "[01] [b], total size: 2 GB, used: 1024 MB, use 50.00% [Normal                   ]\n"
            "[02] [a], total size: 1 GB, used: 256 MB, use 25.00% [Normal                   ]\n"
            "\n");
}

TEST(spacelist, counters_have_two_digits_and_widen_from_100) {
  std::string expected = "Space count: 101\n";
  for (int i = 1; i <= 101; ++i) {
    std::string const counter = i < 10 ? "0" + std::to_string(i) : std::to_string(i);
    expected += "[" + counter +
                "] [s], total size: 1 GB, used: 0 MB, use 0.00% [Normal                   ]\n";
  }
  EXPECT_EQ(output_of(std::list<space_info>(101, support::space("s", 1024, 0))), expected + "\n");
}

TEST(spacelist, less_than_1024_mb_is_0_gb) {
  EXPECT_EQ(output_of({support::space("s", 1023, 0)}),
            "Space count: 1\n"
            "[01] [s], total size: 0 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n");
}

TEST(spacelist, negative_sizes_truncate_toward_zero) {
  EXPECT_EQ(output_of({support::space("s", -1025, -1)}),
            "Space count: 1\n"
            "[01] [s], total size: -1 GB, used: -1 MB, use 0.10% [Normal                   ]\n\n");
}

TEST(spacelist, sizes_beyond_32_bits_are_whole) {
  EXPECT_EQ(output_of({support::space("s", 8796093022208, 4398046511104)}),
            "Space count: 1\n"
            "[01] [s], total size: 8589934592 GB, used: 4398046511104 MB, use 50.00% "
            "[Normal                   ]\n\n");
}

TEST(spacelist, a_total_of_0_is_not_guarded_and_the_walk_goes_on) {
  EXPECT_EQ(output_of({support::space("inf", 0, 5), support::space("neg", 0, -5),
                       support::space("nan", 0, 0), support::space("s", 1024, 0)}),
            "Space count: 4\n"
            "[01] [inf], total size: 0 GB, used: 5 MB, use inf% [Normal                   ]\n"
            "[02] [neg], total size: 0 GB, used: -5 MB, use -inf% [Normal                   ]\n"
            "[03] [nan], total size: 0 GB, used: 0 MB, use nan% [Normal                   ]\n"
            "[04] [s], total size: 1 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n");
}

TEST(spacelist, shows_the_padded_status_name) {
  EXPECT_EQ(output_of({with_status(0, 1), with_status(5, 0), with_status(5, 2), with_status(4, 0),
                       with_status(10, 0), with_status(-1, 1)}),
            "Space count: 6\n"
            "[01] [s], total size: 1 GB, used: 512 MB, use 50.00% [Normal(With Spare)       ]\n"
            "[02] [s], total size: 1 GB, used: 512 MB, use 50.00% [Error                    ]\n"
            "[03] [s], total size: 1 GB, used: 512 MB, use 50.00% [Error(Spare Error)       ]\n"
            "[04] [s], total size: 1 GB, used: 512 MB, use 50.00% [UNKNOW_STATUS            ]\n"
            "[05] [s], total size: 1 GB, used: 512 MB, use 50.00% [UNKNOW_STATUS            ]\n"
            "[06] [s], total size: 1 GB, used: 512 MB, use 50.00% [UNKNOW_STATUS            ]\n\n");
}

TEST(spacelist, a_name_without_terminator_is_cut_to_its_buffer) {
  EXPECT_EQ(output_of({support::space(support::filled(512, 'n'), 1024, 0)}),
            "Space count: 1\n[01] [" + support::filled(511, 'n') +
                "], total size: 1 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n");
}

TEST(spacelist, releases_when_any_call_throws) {
  scripted::script script;
  script.spaces = {support::space("Storage1", 1024, 0)};
  EXPECT_EQ(support::expect_releases_when_any_call_throws(
                script, [] { st::cmd_spacelist(scripted::setting()); }),
            1);
  EXPECT_EQ(
      support::expect_releases_when_any_call_throws(script, support::st_command({"spacelist"})), 5);
}

}  // namespace
