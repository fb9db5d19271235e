#include <gtest/gtest.h>

#include <cstring>

#include "call_lines.h"
#include "child.h"
#include "commands/commands.h"
#include "commands/lookup.h"
#include "records.h"
#include "throw_loop.h"

namespace {

using support::lines;

std::string const uuid_a = support::filled(36, 'A');
std::string const zeros = support::filled(36, '0');
std::string const defaults = "name , type 0, state 0, volume_no -1, space_uuid " + zeros;

scripted::script two_volumes() {
  scripted::script script;
  script.volumes = {support::volume("/share/Vol1", 1, 'v', 'b'),
                    support::volume("/share/Vol2", 2, 'w', 'a')};
  return script;
}

support::outcome volset(scripted::script const& script, std::string const& name, unsigned type,
                        unsigned state) {
  auto result = support::in_child(script, [name, type, state] {
    st::cmd_volset(scripted::setting(), name.c_str(), type, state);
  });
  EXPECT_EQ(result.status, 0);
  return result;
}

// The calls that set a volume of script two_volumes() named Vol2.
lines calls_that_write(int type_code, int state_code) {
  std::string const id = "2:" + support::filled(32, 'w');
  return {"setting.get_volume_list()", "setting.get_volume_info(" + id + ", " + defaults + ")",
          "setting.set_volume_info(" + id + ", name name field, type " + std::to_string(type_code) +
              ", state " + std::to_string(state_code) + ", volume_no 2, space_uuid " + uuid_a + ")",
          "setting.apply_volume_setting(" + uuid_a + ")"};
}

TEST(volset, writes_the_service_s_codes_not_the_user_s_numbers) {
  auto const result = volset(two_volumes(), "Vol2", 1, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.calls, calls_that_write(2, 0));
  EXPECT_EQ(volset(two_volumes(), "Vol2", 0, 0).calls, calls_that_write(0, 1));
  EXPECT_EQ(volset(two_volumes(), "Vol2", 1, 0).calls, calls_that_write(2, 1));
  EXPECT_EQ(volset(two_volumes(), "Vol2", 0, 1).calls, calls_that_write(0, 0));
}

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
    scripted::recorder::instance().note(same ? "= as read but for two" : "= differs");
  };
  auto const result = volset(script, "Vol2", 1, 0);
  ASSERT_EQ(result.calls.size(), 5U);
  EXPECT_EQ(result.calls[3], "= as read but for two");
  EXPECT_EQ(result.calls[4], "setting.apply_volume_setting(" + support::filled(36, 'Z') + ")");
}

TEST(volset, reads_into_defaults) {
  auto script = two_volumes();
  script.read_volume = [](kivsid const&, volume_body& body) {
    volume_body const fresh;
    bool const same = std::memcmp(&fresh, &body, sizeof body) == 0;
    scripted::recorder::instance().note(same ? "= defaults" : "= differs");
  };
  EXPECT_EQ(volset(script, "Vol2", 1, 1).calls[2], "= defaults");
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

TEST(volset, a_failed_read_writes_the_defaults_with_the_two_fields_set) {
  auto script = two_volumes();
  script.faults = {{"get_volume_info", scripted::effect::refuse}};
  auto const result = volset(script, "Vol2", 1, 0);
  EXPECT_EQ(result.output, "");
  ASSERT_EQ(result.calls.size(), 4U);
  EXPECT_EQ(result.calls[2], "setting.set_volume_info(2:" + support::filled(32, 'w') +
                                 ", name , type 2, state 1, volume_no -1, space_uuid " + zeros +
                                 ")");
  EXPECT_EQ(result.calls[3], "setting.apply_volume_setting(" + zeros + ")");
}

TEST(volset, failures_of_read_write_and_apply_are_not_told) {
  for (std::string const operation :
       {"get_volume_info", "set_volume_info", "apply_volume_setting", "get_volume_list"}) {
    auto script = two_volumes();
    script.faults = {{operation, scripted::effect::complain}};
    auto const result = volset(script, "Vol2", 1, 1);
    EXPECT_EQ(result.output, "") << operation;
    EXPECT_EQ(result.calls, calls_that_write(2, 0)) << operation;
  }
}

TEST(volset, an_unknown_volume_changes_nothing) {
  for (std::string const name : {"Vol3", "vol2", "Vol", "VolName_1"}) {
    auto const result = volset(two_volumes(), name, 1, 1);
    EXPECT_EQ(result.output, "Cannot fine volume [" + name + "]\n");
    EXPECT_EQ(result.calls, lines{"setting.get_volume_list()"});
  }
}

TEST(volset, no_volumes_change_nothing) {
  auto const result = volset({}, "Vol1", 1, 1);
  EXPECT_EQ(result.output, "Cannot fine volume [Vol1]\n");
  EXPECT_EQ(result.calls, lines{"setting.get_volume_list()"});
  auto script = two_volumes();
  script.faults = {{"get_volume_list", scripted::effect::refuse}};
  EXPECT_EQ(volset(script, "Vol1", 1, 1).output, "Cannot fine volume [Vol1]\n");
}

TEST(volset, of_two_volumes_with_the_name_the_first_is_changed) {
  scripted::script script;
  script.volumes = {support::volume("/a/share/Vol", 1, 'v'),
                    support::volume("/b/share/Vol", 2, 'w')};
  EXPECT_EQ(volset(script, "Vol", 0, 0).calls[1],
            "setting.get_volume_info(1:" + support::filled(32, 'v') + ", " + defaults + ")");
}

TEST(volset, the_first_share_of_a_path_counts) {
  scripted::script script;
  script.volumes = {support::volume("/mnt/share/a/share/b", 1)};
  EXPECT_EQ(volset(script, "b", 0, 0).output, "Cannot fine volume [b]\n");
  EXPECT_EQ(volset(script, "a/share/b", 0, 0).calls.size(), 4U);
}

TEST(volset, releases_when_any_call_throws) {
  EXPECT_EQ(support::expect_releases_when_any_call_throws(
                two_volumes(), [] { st::cmd_volset(scripted::setting(), "Vol2", 1, 1); }),
            4);
}

// Prints "result id-equal terminator" for an id that was the null id with
// `terminator` 0 before.
support::outcome find_sid(scripted::script const& script, std::string const& name) {
  return support::in_child(script, [name] {
    kivsid id;
    int const result = st::find_volume_sid_by_name(scripted::setting(), name.c_str(), &id);
    std::printf("%d %d %.32s %d", result, id.number, id.text, id.terminator);
  });
}

TEST(find_volume_sid_by_name, copies_number_and_text_and_leaves_the_terminator) {
  auto script = two_volumes();
  script.volumes.back().sid.terminator = 0x4141;
  EXPECT_EQ(find_sid(script, "Vol2").output, "0 2 " + support::filled(32, 'w') + " 0");
}

TEST(find_volume_sid_by_name, leaves_the_id_as_it_was_when_there_is_none) {
  std::string const null_id = " 808464432 " + support::filled(32, '0') + " 0";
  EXPECT_EQ(find_sid(two_volumes(), "Vol3").output, "-1" + null_id);
  EXPECT_EQ(find_sid({}, "Vol1").output, "-1" + null_id);
}

TEST(find_volume_sid_by_name, a_path_without_share_is_compared_under_the_name_before_it) {
  scripted::script script;
  script.volumes = {support::volume("/mnt/head", 1, 'v'), support::volume("/share/Vol2", 2, 'w'),
                    support::volume("/mnt/tail", 3, 'x')};
  EXPECT_EQ(find_sid(script, "Vol2").output.substr(0, 4), "0 2 ");
  EXPECT_EQ(find_sid(script, "").output.substr(0, 4), "0 1 ");
}

TEST(find_volume_sid_by_name, compares_long_names_whole) {
  scripted::script script;
  script.volumes = {support::volume("/share/" + support::filled(128, 'n'), 1),
                    support::volume("/share/" + support::filled(127, 'n'), 2)};
  EXPECT_EQ(find_sid(script, support::filled(127, 'n')).output.substr(0, 4), "0 2 ");
}

TEST(find_volume_sid_by_name, releases_when_any_call_throws) {
  EXPECT_EQ(support::expect_releases_when_any_call_throws(two_volumes(),
                                                          [] {
                                                            kivsid id;
                                                            st::find_volume_sid_by_name(
                                                                scripted::setting(), "Vol1", &id);
                                                          }),
            1);
}

}  // namespace
