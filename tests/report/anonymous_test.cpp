// What is left of names, ids, paths and arguments in a report that is handed on.
#include "report/anonymous.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "files.h"
#include "json_values.h"
#include "report/json.h"

namespace report {
namespace {

// Texts that nothing else is made of, and all that were given.
class secrets {
 public:
  explicit secrets(unsigned seed) : numbers_(seed) {}

  std::string name() { return add(text(3 + numbers_() % 30)); }
  std::string id(std::size_t length) { return add(text(length)); }
  std::set<std::string> const& given() const { return given_; }

 private:
  std::string text(std::size_t length) {
    static char const* const letters[] = {"Q", "Z", "X", "J", "K", "\xc3\xa4", "7", "#"};
    std::string made;
    while (made.size() < length) made += letters[numbers_() % 8];
    return made;
  }
  std::string const& add(std::string const& made) { return *given_.insert(made).first; }

  std::minstd_rand numbers_;
  std::set<std::string> given_;
};

value secret_report(secrets& from) {
  auto of = whole_report();
  of.arguments = {"--json", "--html=" + from.name(), from.name(), "-v", "--", "--" + from.name()};
  auto& space = of.spaces[0];
  space = {from.id(36), from.id(36), from.name(), 1, 1, 0, "Normal", 0};
  for (auto& each : of.volumes) {
    each.id = from.id(32);
    each.name = from.name();
    each.path = "/" + from.name() + "/" + from.name();
    each.space_uuid = space.uuid;
  }
  auto& channel = of.channels[0];
  channel.id = from.id(32);
  channel.volumes = {of.volumes[0].name, from.name()};
  channel.sizes[0].space_uuid = space.uuid;
  channel.streams[0].periods[0].storage_id = of.volumes[0].id;
  channel.streams[0].periods.push_back({9, 10, from.id(32)});
  of.needs = {{concern::leak, "volume " + of.volumes[0].name, "7 MB of " + of.volumes[0].path},
              {concern::space_state, "space " + space.name, space.name + of.volumes[1].id}};
  of.not_asked = {"channel 1 (" + channel.id + "): AR S02"};
  of.problems = {"volume " + of.volumes[1].name + ": " + of.volumes[1].name,
                 "an id of nobody, " + from.id(31) + "7, in " + "/" + from.name() + "/x"};
  of.would_do = preview{{{1, "NR", 0, 1, 2, of.volumes[0].name}}, {{1, "NR", 0, 1, 2, space.name}}};
  return of;
}

TEST(anonymous, leaves_no_text_that_names_something) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    secrets from(seed);
    auto const text = json_of(anonymous(secret_report(from)));
    for (auto const& secret : from.given()) {
      EXPECT_FALSE(support::holds(text, secret)) << seed << ": " << secret << '\n' << text;
    }
  }
}

TEST(anonymous, keeps_equal_texts_equal_and_others_apart) {
  secrets from(1);
  auto const of = anonymous(secret_report(from));
  EXPECT_EQ(of.spaces[0].name, "space 1");
  EXPECT_EQ(of.volumes[0].name, "vol 1");
  EXPECT_EQ(of.volumes[0].path, "share/vol1");
  EXPECT_EQ(of.volumes[1].path, "share/vol2");
  EXPECT_EQ(of.volumes[0].space_uuid, of.spaces[0].uuid);
  EXPECT_EQ(of.channels[0].sizes[0].space_uuid, of.spaces[0].uuid);
  EXPECT_EQ(of.channels[0].volumes, (std::vector<std::string>{"vol 1", "vol 3"}));
  EXPECT_EQ(of.channels[0].streams[0].periods[0].storage_id, of.volumes[0].id);
  EXPECT_EQ(of.would_do.value().autoclean[0].target, "vol 1");
  EXPECT_EQ(of.would_do.value().volclean[0].target, "space 1");
  std::set<std::string_view> const ids{
      of.spaces[0].id,  of.spaces[0].uuid, of.volumes[0].id,
      of.volumes[1].id, of.channels[0].id, of.channels[0].streams[0].periods[2].storage_id.view()};
  EXPECT_EQ(ids.size(), 6U);
  EXPECT_EQ(of.spaces[0].uuid.size(), 36U);
  EXPECT_EQ(of.volumes[0].id.size(), 32U);
}

TEST(anonymous, keeps_lines_readable) {
  secrets from(1);
  auto const of = anonymous(secret_report(from));
  EXPECT_EQ(of.arguments, (std::vector<std::string>{"--json", "--html", "-v"}));
  EXPECT_EQ(of.needs[0].subject, "volume vol 1");
  EXPECT_EQ(of.needs[0].text, "7 MB of share/vol1");
  EXPECT_EQ(of.not_asked[0], "channel 1 (" + of.channels[0].id + "): AR S02");
  EXPECT_EQ(of.problems[0], "volume vol 2: vol 2");
  EXPECT_EQ(of.problems[1], "an id of nobody, (not told) in (not told)");
}

TEST(anonymous, leaves_no_short_name_where_a_line_names_it) {
  auto of = whole_report();
  of.spaces[0].name = "A";
  of.volumes[0].name = "7";
  of.volumes[1].name = "B2";
  of.needs = {{concern::leak, "volume 7", "lost 7 MB of 77 MB"},
              {concern::space_state, "space A", "its status is 7"}};
  of.not_asked = {"channel 7 on space A: how much is recorded could not be asked (result 7)"};
  of.problems = {"volume B2 belongs to no space that is listed",
                 "volume 7: its used size is negative (-7 MB)",
                 "volume 2 of the list: its name holds what is no text: B2"};
  of = anonymous(of);
  EXPECT_EQ(of.needs[0].subject, "volume vol 1");
  EXPECT_EQ(of.needs[0].text, "lost 7 MB of 77 MB");
  EXPECT_EQ(of.needs[1].subject, "space space 1");
  EXPECT_EQ(of.not_asked[0],
            "channel 7 on space space 1: how much is recorded could not be asked (result 7)");
  EXPECT_EQ(of.problems[0], "volume vol 2 belongs to no space that is listed");
  EXPECT_EQ(of.problems[1], "volume vol 1: its used size is negative (-7 MB)");
  EXPECT_EQ(of.problems[2], "volume 2 of the list: its name holds what is no text: vol 2");
}

TEST(anonymous, leaves_nothing_of_what_the_service_said_in_its_own_words) {
  auto of = whole_report();
  of.not_asked = {"asking ended early: no answer from 10.1.2.3 (gate-south)", "asking ended early"};
  EXPECT_EQ(anonymous(of).not_asked,
            (std::vector<std::string>{"asking ended early: (not told)", "asking ended early"}));
}

TEST(anonymous, keeps_numbers_and_what_is_empty) {
  auto const before = whole_report();
  auto const of = anonymous(before);
  EXPECT_EQ(of.channels[0].streams[0].periods[1].storage_id, "");
  EXPECT_EQ(of.channels[0].streams[0].periods[1].end_ms,
            before.channels[0].streams[0].periods[1].end_ms);
  EXPECT_EQ(of.volumes[0].lost_mb, before.volumes[0].lost_mb);
  EXPECT_EQ(of.volumes[1].state_name, before.volumes[1].state_name);
  EXPECT_EQ(of.made_ms, before.made_ms);
  EXPECT_EQ(json_of(anonymous({})), json_of({}));
}

TEST(anonymous, can_be_done_to_nonsense) {
  EXPECT_NO_THROW(value_of_json(json_of(anonymous(nonsense_report()))));
}

}  // namespace
}  // namespace report
