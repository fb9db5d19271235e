// What is written, and that it is read back.
#include "report/json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "json_values.h"
#include "report/concerns.h"

namespace report {
namespace {

char const* const whole_text =
    R"json({"format":1,"program":"st-report","program_version":"0.1.0","arguments":["--json","--expect-days","90"],"exit_status":1,"made_ms":1732172400000,
"needs_attention":[
  {"code":"leak","subject":"volume vol1","text":"7 MB are lost"}],
"not_asked":[
  "channel 1: AR S02"],
"problems":[
  "volume vol2: its name held control characters"],
"spaces":[
  {"id":"4c0b9a9e-8a3a-5d1c-9d43-4cf1c1f3a2a1","uuid":"8eae8949-000b-53c9-1a38-f74b3ab18a75","name":"Storage1","total_mb":128,"used_mb":76,"status":0,"status_name":"Normal","spare_state":0}],
"volumes":[
  {"id":"f5df2a8ce37f9531a9d1ecca3c33a6f0","name":"vol1","path":"/lab/share/vol1","number":1,"space_uuid":"8eae8949-000b-53c9-1a38-f74b3ab18a75","type":0,"state":0,"state_name":"ACTIVE","total_mb":64,"used_mb":38,"measured":"done","preallocated_mb":19,"lost_mb":7,"leak":true},
  {"id":"05df2a8ce37f9531a9d1ecca3c33a6f0","name":"vol2","path":"/lab/share/vol2","number":2,"space_uuid":"8eae8949-000b-53c9-1a38-f74b3ab18a75","type":1,"state":2,"state_name":"NOT_MOUNTED","total_mb":64,"used_mb":0,"measured":"not-mounted","preallocated_mb":null,"lost_mb":null,"leak":false}],
"channels":[
  {"number":1,"id":"428f052c7eae9cd3bfc31309b51bc72b","volumes":["vol1"],"sizes":[{"space_uuid":"8eae8949-000b-53c9-1a38-f74b3ab18a75","normal_mb":11,"alarm_mb":6,"all_mb":19}],"storage_ids":["f5df2a8ce37f9531a9d1ecca3c33a6f0"],"streams":[
    {"recording_type":4,"type_name":"NR","stream":0,"asked":true,"periods":[[1732147200000,1732150800000,0],[1732150800000,1732154400000,null]]},
    {"recording_type":1,"type_name":"AR","stream":2,"asked":false,"periods":[]}]}],
"preview":{
"autoclean":[
  {"channel":1,"type_name":"NR","stream":0,"start_ms":1732147200000,"end_ms":1732150800000,"target":"vol1"}],
"volclean":[
  {"channel":1,"type_name":"AR","stream":2,"start_ms":1732147200000,"end_ms":1732154400000,"target":"Storage1"}]}}
)json";

value read_back(value const& of) { return value_of_json(json_of(of)); }

TEST(json, holds_everything) { EXPECT_EQ(json_of(whole_report()), whole_text); }

TEST(json, is_read_back) {
  for (auto const& each : {whole_report(), nonsense_report(), value{}}) {
    EXPECT_EQ(json_of(read_back(each)), json_of(each));
  }
}

TEST(json, is_read_back_field_by_field) {
  auto const found = read_back(whole_report());
  auto const& vol1 = found.volumes.at(0);
  EXPECT_EQ(vol1.preallocated_mb, 19);
  EXPECT_EQ(vol1.lost_mb, 7);
  EXPECT_EQ(found.volumes.at(1).measured, measuring::not_mounted);
  EXPECT_EQ(found.volumes.at(1).lost_mb, std::nullopt);
  auto const& periods = found.channels.at(0).streams.at(0).periods;
  EXPECT_EQ(periods.at(0).storage_id, vol1.id);
  EXPECT_EQ(periods.at(1).storage_id, "");
  EXPECT_EQ(found.needs.at(0).what, concern::leak);
  EXPECT_EQ(found.would_do.value().volclean.at(0).target, "Storage1");
}

TEST(json, tells_no_preview_from_an_empty_one) {
  auto of = whole_report();
  of.would_do = preview{};
  EXPECT_TRUE(read_back(of).would_do.has_value());
  of.would_do = std::nullopt;
  EXPECT_FALSE(read_back(of).would_do.has_value());
}

TEST(json, is_valid_whatever_the_texts_hold) {
  auto of = whole_report();
  std::string const bytes("\xff\x00\n\x1b[2J\xc3\x28\xed\xa0\x80\xf4\x90\x80\x80", 16);
  of.spaces[0].name = of.volumes[0].path = of.channels[0].id = of.needs[0].text = bytes;
  of.arguments = of.channels[0].volumes = of.problems = {bytes};
  of.channels[0].streams[0].periods[0].storage_id = bytes;
  auto const text = json_of(of);
  EXPECT_TRUE(nlohmann::json::accept(text));
  EXPECT_EQ(text.find('\x1b'), std::string::npos);
  EXPECT_EQ(json_of(value_of_json(text)).find("\\u00"), std::string::npos);
}

TEST(json, keeps_a_hundred_thousand_periods) {
  auto of = whole_report();
  of.channels = {channel_with_periods(100'000)};
  auto const text = json_of(of);
  EXPECT_LT(text.size(), std::size_t{100'000} * 36);
  EXPECT_EQ(value_of_json(text).channels.at(0).streams.at(0).periods.size(), 100'000U);
}

TEST(codes, are_unlike_each_other_and_known) {
  std::set<std::string> codes;
  for (auto const& each : concerns) {
    EXPECT_EQ(code_of(each.what), std::string(each.code));
    EXPECT_EQ(concern_of(each.code), each.what);
    codes.insert(each.code);
  }
  EXPECT_EQ(codes.size(), static_cast<std::size_t>(concern::unreasonable_answer) + 1);
  EXPECT_EQ(codes.count(""), 0U);
  EXPECT_FALSE(concern_of("").has_value());
}

}  // namespace
}  // namespace report
