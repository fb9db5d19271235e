#include <cstring>

#include "command_test.h"
#include "commands/commands.h"
#include "commands/lookup.h"

namespace command_test {
namespace {

std::string const zeros = filled(36, '0');
std::string const defaults = "name , type 0, state 0, volume_no -1, space_uuid " + zeros;
std::string const id_v = "1:" + filled(32, 'v');
std::string const id_w = "2:" + filled(32, 'w');
lines const list_only = {"setting.get_volume_list()"};

answers two_volumes() {
  return answers().with_volumes(
      {volume("/share/Vol1", 1, 'v', 'b'), volume("/share/Vol2", 2, 'w', 'a')});
}

std::function<void()> volset(std::string const& name, unsigned type, unsigned state) {
  return [=] { st::cmd_volset(scripted::setting(), name.c_str(), type, state); };
}

// The calls that set a volume: its id, what is written, the space that is applied.
lines writing(std::string const& id, std::string const& written, std::string const& space_uuid) {
  return {"setting.get_volume_list()", "setting.get_volume_info(" + id + ", " + defaults + ")",
          "setting.set_volume_info(" + id + ", " + written + ", space_uuid " + space_uuid + ")",
          "setting.apply_volume_setting(" + space_uuid + ")"};
}

// Those for two_volumes()'s Vol2.
lines writing_codes(std::string const& codes) {
  return writing(id_w, "name name field, " + codes + ", volume_no 2", filled(36, 'A'));
}

std::vector<run_case> const cases = {
    // The service's codes are not the user's numbers.
    {"type_1_state_1_is_written_as_2_and_0", two_volumes(), volset("Vol2", 1, 1), "",
     writing_codes("type 2, state 0")},
    {"type_0_state_0_is_written_as_0_and_1", two_volumes(), volset("Vol2", 0, 0), "",
     writing_codes("type 0, state 1")},
    {"type_1_state_0_is_written_as_2_and_1", two_volumes(), volset("Vol2", 1, 0), "",
     writing_codes("type 2, state 1")},
    {"type_0_state_1_is_written_as_0_and_0", two_volumes(), volset("Vol2", 0, 1), "",
     writing_codes("type 0, state 0")},
    {"a_failed_read_writes_the_defaults_with_the_two_fields_set",
     two_volumes().refusing("get_volume_info"), volset("Vol2", 1, 0), "",
     writing(id_w, "name , type 2, state 1, volume_no -1", zeros)},
    {"an_unknown_volume_changes_nothing", two_volumes(), volset("Vol3", 1, 1),
     "Cannot fine volume [Vol3]\n", list_only},
    {"letter_case_matters", two_volumes(), volset("vol2", 1, 1), "Cannot fine volume [vol2]\n",
     list_only},
    {"the_length_of_the_name_matters", two_volumes(), volset("Vol", 1, 1),
     "Cannot fine volume [Vol]\n", list_only},
    {"the_number_form_of_a_name_is_unknown", two_volumes(), volset("VolName_1", 1, 1),
     "Cannot fine volume [VolName_1]\n", list_only},
    {"no_volumes_change_nothing",
     {},
     volset("Vol1", 1, 1),
     "Cannot fine volume [Vol1]\n",
     list_only},
    {"a_refused_volume_list_is_an_empty_one", two_volumes().refusing("get_volume_list"),
     volset("Vol1", 1, 1), "Cannot fine volume [Vol1]\n", list_only},
    {"of_two_volumes_with_the_name_the_first_is_changed",
     answers().with_volumes({volume("/a/share/Vol", 1, 'v'), volume("/b/share/Vol", 2, 'w')}),
     volset("Vol", 0, 0), "",
     writing(id_v, "name name field, type 0, state 1, volume_no 1", filled(36, 'A'))},
    {"the_first_share_of_a_path_counts",
     answers().with_volumes({volume("/mnt/share/a/share/b", 1)}), volset("a/share/b", 0, 0), "",
     writing(id_v, "name name field, type 0, state 1, volume_no 1", filled(36, 'A'))},
    {"a_later_share_of_a_path_does_not_count",
     answers().with_volumes({volume("/mnt/share/a/share/b", 1)}), volset("b", 0, 0),
     "Cannot fine volume [b]\n", list_only},
};
INSTANTIATE_TEST_SUITE_P(volset, table_run, testing::ValuesIn(cases), behaviour_of);

TEST(volset, changes_two_fields_and_no_other_byte) {
  auto script = two_volumes();
  volume_body odd;
  std::memset(static_cast<void*>(&odd), 0x5A, sizeof odd);
  script.read_volume = [odd](kivsid const&, volume_body& body) { body = odd; };
  script.write_volume = [odd](kivsid const&, volume_body const& body) {
    volume_body expected = odd;
    expected.type = 2;
    expected.state = 1;
    bool const same = std::memcmp(&expected, &body, sizeof body) == 0;
    scripted::call_log::instance().note(same ? "= as read but for two" : "= differs");
  };
  auto const calls = run(script, volset("Vol2", 1, 0)).calls;
  ASSERT_EQ(calls.size(), 5U);
  EXPECT_EQ(calls[3], "= as read but for two");
  EXPECT_EQ(calls[4], "setting.apply_volume_setting(" + filled(36, 'Z') + ")");
}

TEST(volset, reads_into_defaults) {
  auto script = two_volumes();
  script.read_volume = [](kivsid const&, volume_body& body) {
    volume_body const fresh;
    bool const same = std::memcmp(&fresh, &body, sizeof body) == 0;
    scripted::call_log::instance().note(same ? "= defaults" : "= differs");
  };
  EXPECT_EQ(run(script, volset("Vol2", 1, 1)).calls.at(2), "= defaults");
}

TEST(volset, the_defaults_are_empty_texts_numbers_minus_1_and_a_null_uuid) {
  volume_body const fresh;
  EXPECT_EQ(std::string(fresh.name, sizeof fresh.name), std::string(512, '\0'));
  EXPECT_EQ(std::string(fresh.space_uuid, sizeof fresh.space_uuid), zeros);
  EXPECT_EQ(std::string(fresh.share.path, sizeof fresh.share.path), std::string(1024, '\0'));
  EXPECT_EQ(fresh.share.number_1088, -1);
  EXPECT_EQ(fresh.share.number_1092, -1);
  EXPECT_EQ(fresh.share.volume_no, -1);
  EXPECT_EQ(fresh.share.number_1100, -1);
  EXPECT_EQ(fresh.share.number_1104, -1);
}

TEST(volset, failures_of_read_write_and_apply_are_not_told) {
  expect_results_are_not_looked_at(
      two_volumes(), volset("Vol2", 1, 1),
      {"get_volume_info", "set_volume_info", "apply_volume_setting", "get_volume_list"});
}

TEST(volset, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(two_volumes(), volset("Vol2", 1, 1)), 4);
}

// Prints "result number text terminator" of an id that was the null id with
// `terminator` 0 before.
std::function<void()> find_sid(std::string const& name) {
  return [name] {
    kivsid id;
    int const result = st::find_volume_sid_by_name(scripted::setting(), name.c_str(), &id);
    std::printf("%d %d %.32s %d", result, id.number, id.text, id.terminator);
  };
}

answers volume_with_terminator() {
  auto script = two_volumes();
  script.volumes.back().sid.terminator = 0x4141;
  return script;
}

std::string const found_2 = "0 2 " + filled(32, 'w') + " 0";
std::string const null_id = "-1 808464432 " + filled(32, '0') + " 0";
answers const two_without_share = answers().with_volumes(
    {volume("/mnt/head", 1, 'v'), volume("/share/Vol2", 2, 'w'), volume("/mnt/tail", 3, 'x')});

std::vector<run_case> const lookups = {
    {"copies_number_and_text_and_leaves_the_terminator", volume_with_terminator(), find_sid("Vol2"),
     found_2, list_only},
    {"leaves_the_id_as_it_was_when_there_is_none", two_volumes(), find_sid("Vol3"), null_id,
     list_only},
    {"leaves_the_id_as_it_was_without_volumes", {}, find_sid("Vol1"), null_id, list_only},
    {"a_path_without_share_is_compared_under_the_name_before_it", two_without_share,
     find_sid("Vol2"), found_2, list_only},
    {"a_path_without_share_at_the_head_has_an_empty_name", two_without_share, find_sid(""),
     "0 1 " + filled(32, 'v') + " 0", list_only},
    {"compares_long_names_whole",
     answers().with_volumes({volume("/share/" + filled(128, 'n'), 1, 'v'),
                             volume("/share/" + filled(127, 'n'), 2, 'w')}),
     find_sid(filled(127, 'n')), found_2, list_only},
};
INSTANTIATE_TEST_SUITE_P(find_volume_sid_by_name, table_run, testing::ValuesIn(lookups),
                         behaviour_of);

TEST(find_volume_sid_by_name, releases_when_any_call_throws) {
  EXPECT_EQ(expect_releases_when_any_call_throws(two_volumes(), find_sid("Vol1")), 1);
}

}  // namespace
}  // namespace command_test
