// That reports are what the schema says, and nothing else is.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "environment.h"
#include "files.h"
#include "json_values.h"
#include "program.h"
#include "report/concerns.h"
#include "report/json.h"

namespace report {
namespace {

class json_schema : public testing::Test {
 protected:
  json_schema() { support::scrub_environment(); }

  // The validator's faults of the texts; its package belongs to the system's python.
  std::string faults_of(std::vector<std::string> const& texts) const {
    support::words line{"/usr/bin/python3", VALIDATOR, SCHEMA};
    for (std::size_t index = 0; index < texts.size(); ++index) {
      auto const file = folder_.path() / ("report" + std::to_string(index));
      support::write_file(file, texts[index]);
      line.push_back(file.string());
    }
    auto const done = support::run(line, {}, folder_.path());
    EXPECT_EQ(done.errors, "");
    EXPECT_EQ(done.status, done.output == "\n" ? 0 : 1);
    return done.output;
  }

 private:
  support::temporary_folder folder_;
};

TEST_F(json_schema, is_kept_by_every_report) {
  EXPECT_EQ(faults_of({json_of(whole_report()), json_of(nonsense_report()), json_of({})}), "\n");
}

TEST_F(json_schema, is_kept_whatever_the_texts_hold) {
  auto of = whole_report();
  of.spaces[0].name = of.volumes[0].path = of.problems[0] = "\xff\n\x1b\xc3";
  EXPECT_EQ(faults_of({json_of(of)}), "\n");
}

// Of every object of a report, at any depth, calls `change` with it and its path.
template <typename Change>
void for_each_object(nlohmann::json& root, Change const& change) {
  auto const flat = root.flatten();
  std::set<std::string> paths{""};
  for (auto const& [path, leaf] : flat.items()) {
    for (auto at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
      paths.insert(path.substr(0, at));
    }
  }
  for (auto const& path : paths) {
    auto& node = root.at(nlohmann::json::json_pointer(path));
    if (node.is_object()) change(path, node);
  }
}

TEST_F(json_schema, finds_each_member_too_many_or_too_few) {
  auto root = nlohmann::json::parse(json_of(whole_report()));
  std::vector<std::string> wrong;
  for_each_object(root, [&](std::string const&, nlohmann::json& object) {
    auto const kept = object;
    object["more"] = 1;
    wrong.push_back(root.dump());
    object = kept;
    for (auto const& [name, member] : kept.items()) {
      if (name == "preview") continue;
      object.erase(name);
      wrong.push_back(root.dump());
      object[name] = {{"of", "another type"}};
      wrong.push_back(root.dump());
      object = kept;
    }
  });
  EXPECT_GT(wrong.size(), 120U);
  auto const faults = faults_of(wrong);
  for (std::size_t index = 0; index < wrong.size(); ++index) {
    EXPECT_TRUE(support::holds(faults, "/report" + std::to_string(index) + ": ")) << wrong[index];
  }
}

TEST_F(json_schema, names_the_codes_of_concerns) {
  auto const schema = nlohmann::json::parse(support::content_of(SCHEMA));
  std::set<std::string> const named =
      schema.at("/$defs/attention/properties/code/enum"_json_pointer);
  std::set<std::string> known;
  for (auto const& each : concerns) known.insert(code_of(each.what));
  EXPECT_EQ(named, known);
  std::string const told = schema.at("/$defs/attention/properties/code/description"_json_pointer);
  for (auto const& code : known) EXPECT_TRUE(support::holds(told, code + ": ")) << code;
}

}  // namespace
}  // namespace report
