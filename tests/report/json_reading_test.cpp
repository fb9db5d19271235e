// What is no report, and what was meant to harm whoever reads it.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "json_values.h"
#include "report/json.h"

namespace report {
namespace {

// The text of the whole report with `part` replaced, which has to be in it.
std::string changed(std::string const& part, std::string const& by) {
  auto text = json_of(whole_report());
  auto const at = text.find(part);
  if (at == std::string::npos) throw std::logic_error("not in the report: " + part);
  return text.replace(at, part.size(), by);
}

// Why the text is not read; empty when it is.
std::string refusal_of(std::string const& text) {
  try {
    value_of_json(text);
  } catch (not_a_report const& problem) {
    return problem.what();
  }
  return {};
}

struct refused {
  char const* part;
  char const* by;
  char const* why;
};

TEST(json_reading, says_what_is_wrong_and_where) {
  for (refused const& each : {
           refused{R"({"format":1)", R"({"format":2)", "format 2 is not known, only 1"},
           {R"({"format":1,)", "{", "format is missing"},
           {R"("format":1)", R"("format":"1")", "format is no whole number"},
           {R"("exit_status":1)", R"("exit_status":4)", "exit_status is out of range"},
           {R"("exit_status":1)", R"("exit_status":-1)", "exit_status is out of range"},
           {R"("made_ms":1732172400000)", R"("made_ms":9223372036854775808)",
            "made_ms is out of range"},
           {R"("made_ms":1732172400000)", R"("made_ms":1e3)", "made_ms is no whole number"},
           {R"("arguments":[)", R"("arguments":[7,)", "arguments[0] is no text"},
           {R"("code":"leak")", R"("code":"leek")", "needs_attention[0].code is not known"},
           {R"("spaces":[)", R"("spaces":[[],)", "spaces[0] is no object"},
           {R"("spaces":)", R"("spaces":7,"s":)", "spaces is no list"},
           {R"("status":0)", R"("status":2147483648)", "spaces[0].status is out of range"},
           {R"("name":"vol2",)", "", "volumes[1].name is missing"},
           {R"("leak":true)", R"("leak":1)", "volumes[0].leak is neither true nor false"},
           {R"("measured":"done")", R"("measured":"")", "volumes[0].measured is not known"},
           {R"("measured":"done")", R"("measured":"failed")",
            "volumes[0].lost_mb was not measured"},
           {"1732150800000,0]", "1732150800000,1]",
            "channels[0].streams[0].periods[0].storage_id is out of range"},
           {"1732150800000,0]", "1732150800000,-1]",
            "channels[0].streams[0].periods[0].storage_id is out of range"},
           {"1732150800000,0]", "1732150800000]",
            "channels[0].streams[0].periods[0].length is not 3"},
           {"[1732147200000,", "[null,",
            "channels[0].streams[0].periods[0].start_ms is no whole number"},
           {R"("preview":{)", R"("preview":[],"p":{)", "preview is no object"},
           {R"("target":"vol1")", R"("target":null)", "preview.autoclean[0].target is no text"},
       }) {
    EXPECT_EQ(refusal_of(changed(each.part, each.by)), "no report: " + std::string(each.why));
  }
}

TEST(json_reading, refuses_what_is_no_json) {
  EXPECT_EQ(refusal_of(""), "no report: not JSON from byte 1 on");
  EXPECT_EQ(refusal_of("{} x"), "no report: not JSON from byte 4 on");
  EXPECT_EQ(refusal_of("[]"), "no report: it is no object");
  EXPECT_EQ(refusal_of("\"\xff\""), "no report: not JSON from byte 2 on");
  EXPECT_EQ(refusal_of("1e999999"), "no report: not JSON from byte 8 on");
}

TEST(json_reading, refuses_what_is_too_much_before_it_is_built) {
  std::string const deep(1'000'000, '[');
  EXPECT_EQ(refusal_of(deep), "no report: it is nested too deeply");
  std::string numbers = "[0";
  for (int count = 0; count < 8'000'000; ++count) numbers += ",0";
  EXPECT_EQ(refusal_of(numbers + ']'), "no report: it holds too much");
  EXPECT_EQ(refusal_of(changed("vol1", std::string(200'000, 'x'))),
            "no report: a text is too long");
}

TEST(json_reading, refuses_lists_that_are_too_long) {
  value of;
  of.problems.resize(100'000);
  EXPECT_EQ(refusal_of(json_of(of)), "");
  of.problems.emplace_back();
  EXPECT_EQ(refusal_of(json_of(of)), "no report: problems has too many elements");
}

TEST(json_reading, takes_the_last_of_doubled_fields_and_passes_over_unknown_ones) {
  auto const text = changed(R"("name":"vol2")", R"("name":7,"name":"twice","more":[{}])");
  EXPECT_EQ(value_of_json(text).volumes.at(1).name, "twice");
}

TEST(json_reading, leaves_no_control_character) {
  auto const text = changed("\"vol2\"", R"("\u0000a\nb\u001b\u007f\u0085c\u00a0")");
  std::string const mark = "\xef\xbf\xbd";
  EXPECT_EQ(value_of_json(text).volumes.at(1).name,
            mark + "a" + mark + "b" + mark + mark + mark + "c\xc2\xa0");
}

TEST(json_reading, sorts_periods) {
  auto of = whole_report();
  auto& periods = of.channels[0].streams[0].periods;
  std::reverse(periods.begin(), periods.end());
  auto const found = value_of_json(json_of(of)).channels[0].streams[0].periods;
  EXPECT_LT(found.at(0).start_ms, found.at(1).start_ms);
}

class mutation {
 public:
  explicit mutation(unsigned seed) : numbers_(seed) {}

  std::string of(std::string text) {
    for (auto left = 1 + below(4); left > 0; --left) change(text);
    return text;
  }

 private:
  std::size_t below(std::size_t most) { return numbers_() % most; }

  void change(std::string& text) {
    static char const* const pieces[] = {"{",    "}",     "[",   "]",       "\"", ",", "null", "-1",
                                         "true", "1e400", "\\u", "\\ud800", ":",  "",  "\xff", "0"};
    auto const at = below(text.size() + 1);
    auto const length = below(20);
    switch (below(4)) {
      case 0:
        text.replace(at, 1, pieces[below(std::size(pieces))]);
        break;
      case 1:
        text.erase(at, length);
        break;
      case 2:
        text.insert(at, text.substr(below(text.size() + 1), length));
        break;
      default:
        text.insert(at, 1, static_cast<char>(below(256)));
    }
  }

  std::minstd_rand numbers_;
};

TEST(json_reading, survives_mutations) {
  auto const good = json_of(whole_report());
  int read = 0;
  int refused = 0;
  for (unsigned seed = 1; seed <= 800; ++seed) {
    auto const text = mutation(seed).of(good);
    try {
      auto const found = json_of(value_of_json(text));
      EXPECT_EQ(json_of(value_of_json(found)), found) << seed;
      ++read;
    } catch (not_a_report const& problem) {
      std::string const why = problem.what();
      EXPECT_EQ(why.rfind("no report: ", 0), 0U) << seed;
      EXPECT_EQ(why.find('\n'), std::string::npos) << seed;
      ++refused;
    }
  }
  EXPECT_GT(read, 20);
  EXPECT_GT(refused, 200);
}

}  // namespace
}  // namespace report
