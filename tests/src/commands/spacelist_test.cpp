#include "command_test.h"
#include "commands/commands.h"

namespace command_test {
namespace {

void spacelist() { st::cmd_spacelist(scripted::setting()); }

space_info const half_full = space("s", 1024, 512);

run_case listing(std::string const& behaviour, answers const& script, std::string const& output) {
  return {behaviour, script, spacelist, output, {"setting.get_space_list()"}};
}

run_case listing(std::string const& behaviour, std::list<space_info> const& spaces,
                 std::string const& output) {
  return listing(behaviour, answers().with_spaces(spaces), output);
}

std::vector<run_case> const cases = {
    listing("no_spaces_print_nothing", answers(), ""),
    listing("a_service_that_cannot_be_asked_prints_nothing",
            answers().with_spaces({half_full}).refusing("get_space_list"), ""),
    listing("only_the_list_counts_not_the_result",
            answers().with_spaces({half_full}).complaining("get_space_list"),
            "Space count: 1\n"
            "[01] [s], total size: 1 GB, used: 512 MB, use 50.00% [Normal                   ]\n\n"),
    listing("one_space_shows_gigabytes_megabytes_and_percentage",
            {space("Storage1", 1907729, 1000000)},
            "Space count: 1\n"
            "[01] [Storage1], total size: 1863 GB, used: 1000000 MB, use 52.42% "
            "[Normal                   ]\n"
            "\n"),
    listing("keeps_the_order_of_the_service", {space("b", 2048, 1024), space("a", 1024, 256)},
            "Space count: 2\n"
            "[01] [b], total size: 2 GB, used: 1024 MB, use 50.00% [Normal                   ]\n"
            "[02] [a], total size: 1 GB, used: 256 MB, use 25.00% [Normal                   ]\n"
            "\n"),
    listing("less_than_1024_mb_is_0_gb", {space("s", 1023, 0)},
            "Space count: 1\n"
            "[01] [s], total size: 0 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n"),
    listing("negative_sizes_truncate_toward_zero", {space("s", -1025, -1)},
            "Space count: 1\n"
            "[01] [s], total size: -1 GB, used: -1 MB, use 0.10% [Normal                   ]\n\n"),
    listing("sizes_beyond_32_bits_are_whole", {space("s", 8796093022208, 4398046511104)},
            "Space count: 1\n"
            "[01] [s], total size: 8589934592 GB, used: 4398046511104 MB, use 50.00% "
            "[Normal                   ]\n\n"),
    listing("a_total_of_0_is_not_guarded_and_the_walk_goes_on",
            {space("inf", 0, 5), space("neg", 0, -5), space("nan", 0, 0), space("s", 1024, 0)},
            "Space count: 4\n"
            "[01] [inf], total size: 0 GB, used: 5 MB, use inf% [Normal                   ]\n"
            "[02] [neg], total size: 0 GB, used: -5 MB, use -inf% [Normal                   ]\n"
            "[03] [nan], total size: 0 GB, used: 0 MB, use nan% [Normal                   ]\n"
            "[04] [s], total size: 1 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n"),
    listing("shows_the_padded_status_name",
            {in_status(half_full, 0, 1), in_status(half_full, 5, 0), in_status(half_full, 5, 2),
             in_status(half_full, 4, 0), in_status(half_full, 10, 0), in_status(half_full, -1, 1)},
            "Space count: 6\n"
            "[01] [s], total size: 1 GB, used: 512 MB, use 50.00% [Normal(With Spare)       ]\n"
            "[02] [s], total size: 1 GB, used: 512 MB, use 50.00% [Error                    ]\n"
            "[03] [s], total size: 1 GB, used: 512 MB, use 50.00% [Error(Spare Error)       ]\n"
            "[04] [s], total size: 1 GB, used: 512 MB, use 50.00% [UNKNOW_STATUS            ]\n"
            "[05] [s], total size: 1 GB, used: 512 MB, use 50.00% [UNKNOW_STATUS            ]\n"
            "[06] [s], total size: 1 GB, used: 512 MB, use 50.00% [UNKNOW_STATUS            ]\n\n"),
    listing("a_name_without_terminator_is_cut_to_its_buffer", {space(filled(512, 'n'), 1024, 0)},
            "Space count: 1\n[01] [" + filled(511, 'n') +
                "], total size: 1 GB, used: 0 MB, use 0.00% [Normal                   ]\n\n"),
};
INSTANTIATE_TEST_SUITE_P(spacelist, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(spacelist, counters_have_two_digits_and_widen_from_100) {
  std::string expected = "Space count: 101\n";
  for (int i = 1; i <= 101; ++i) {
    expected += (i < 10 ? "[0" : "[") + std::to_string(i) +
                "] [s], total size: 1 GB, used: 512 MB, use 50.00% [Normal                   ]\n";
  }
  expect_run(answers().with_spaces(std::list<space_info>(101, half_full)), spacelist,
             expected + "\n", {"setting.get_space_list()"});
}

TEST(spacelist, releases_when_any_call_throws) {
  auto const script = answers().with_spaces({half_full});
  EXPECT_EQ(expect_releases_when_any_call_throws(script, spacelist), 1);
  EXPECT_EQ(expect_releases_when_any_call_throws(script, st_command({"spacelist"})), 5);
}

}  // namespace
}  // namespace command_test
