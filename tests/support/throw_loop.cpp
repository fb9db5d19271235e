#include "throw_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string_view>

#include "child.h"

namespace support {

namespace {

bool starts_with(std::string_view line, std::string_view start) {
  return line.substr(0, start.size()) == start;
}

bool can_throw(std::string const& line) {
  auto const starts = {"~", "velt_", "log_Debug(", "= "};
  return std::none_of(starts.begin(), starts.end(),
                      [&](char const* start) { return starts_with(line, start); });
}

// The object that a call obtained, by its name in the log, or nothing.
std::string obtained_by(std::string const& line) {
  if (auto const given = line.find(" = "); given != std::string::npos) {
    return line.substr(given + 3);
  }
  auto const arguments = line.find('(');
  bool const constructor =
      can_throw(line) && line.substr(arguments) == "()" && line.find('.') == std::string::npos;
  return constructor ? line.substr(0, arguments) : "";
}

bool releases(std::string const& line, std::string const& object) {
  if (object == "storage_setting" || object == "plug_play_service") return false;
  if (line == "~" + object || line == object + ".uninit()") return true;
  auto const at = line.find(".destroy_");
  if (at == std::string::npos) return false;
  std::string const end = object + ")";
  return line.size() >= end.size() && line.compare(line.size() - end.size(), end.size(), end) == 0;
}

std::vector<std::string> expected_calls(std::vector<std::string> const& normal,
                                        std::size_t throwing) {
  auto const at = normal.begin() + static_cast<std::ptrdiff_t>(throwing);
  std::vector<std::string> expected(normal.begin(), at);
  std::set<std::string> objects;
  for (std::string const& line : expected) objects.insert(obtained_by(line));
  objects.erase("");

  expected.push_back(at->substr(0, at->find(" = ")) + " throws");
  std::copy_if(at + 1, normal.end(), std::back_inserter(expected), [&](std::string const& line) {
    return std::any_of(objects.begin(), objects.end(),
                       [&](std::string const& object) { return releases(line, object); });
  });
  return expected;
}

}  // namespace

int expect_releases_when_any_call_throws(scripted::script const& script,
                                         std::function<void()> const& body) {
  child_outcome const normal = in_child(script, body);
  EXPECT_EQ(normal.status, 0);
  EXPECT_EQ(normal.escaped, std::nullopt);

  int calls = 0;
  for (std::size_t i = 0; i < normal.calls.size(); ++i) {
    if (!can_throw(normal.calls[i])) continue;
    ++calls;
    scripted::script disturbed = script;
    disturbed.throw_at = calls;
    child_outcome const result = in_child(disturbed, body);
    SCOPED_TRACE("call " + std::to_string(calls) + " throws: " + normal.calls[i]);
    EXPECT_EQ(result.calls, expected_calls(normal.calls, i));
    EXPECT_TRUE(result.escaped.has_value());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, normal.output.substr(0, normal.printed[i]));
  }
  EXPECT_GT(calls, 0);
  return calls;
}

}  // namespace support
