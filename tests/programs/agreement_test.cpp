// Commands that tell of the same thing agree, with each other and with stlab.
#include <regex>
#include <set>

#include "program_test.h"

namespace support {
namespace {

using names = std::set<std::string>;

class agreement : public program_test {
 protected:
  agreement() { hold_clock("2026-11-21 07:30:00"); }

  // The first group of every line that the pattern matches at its beginning.
  static std::vector<std::string> found(std::string const& text, std::string const& pattern) {
    std::vector<std::string> result;
    std::regex const wanted(pattern);
    for (std::string const& line : lines_of(text)) {
      std::smatch match;
      if (std::regex_search(line, match, wanted, std::regex_constants::match_continuous)) {
        result.push_back(match[1]);
      }
    }
    return result;
  }

  std::vector<std::string> volumes() {
    std::vector<std::string> result;
    for (std::string const& space : found(st("spacelist"), R"(\[\d+\] \[(.+?)\])")) {
      for (std::string const& volume : found(st({"vollist", space}), R"(\[\d+\] \[(.+?)\])")) {
        result.push_back(volume);
      }
    }
    return result;
  }

  void expect_same_channels(std::size_t assigned) {
    std::string const uses = st("voluse -1");
    std::size_t told = 0;
    for (std::string const& volume : volumes()) {
      auto const by_use = found(uses, R"(ch(\d+) volume=\[)" + volume + R"(\])");
      auto const by_volume = found(st({"volchn", volume}), R"(\[\d+\] uses channel\[(\d+)\])");
      EXPECT_EQ(names(by_use.begin(), by_use.end()), names(by_volume.begin(), by_volume.end()))
          << volume;
      EXPECT_EQ(by_use.size(), by_volume.size()) << volume;
      told += by_volume.size();
    }
    EXPECT_EQ(told, assigned);
  }

  long long null_ids() {
    auto const totals = found(st("nullid -1"), R"(Total have \[(\d+)\])");
    EXPECT_EQ(totals.size(), 1U);
    return totals.empty() ? -1 : std::stoll(totals.front());
  }

  long long lost(words const& options) {
    auto const counts = found(stlab("lose-id", options), R"(lost the storage id of (\d+) period)");
    EXPECT_EQ(counts.size(), 1U);
    return counts.empty() ? -1 : std::stoll(counts.front());
  }
};

TEST_F(agreement, volchn_and_voluse_tell_the_same_channels) {
  stlab("make --spaces 2 --volumes 2 --volume-mb 8 --channels 7 --days 0");
  EXPECT_EQ(volumes(), (std::vector<std::string>{"vol1", "vol2", "vol3", "vol4"}));
  expect_same_channels(7);
  stlab("assign --channel 0 --volume vol4");
  stlab("assign --channel 6 --volume vol1");
  expect_same_channels(7);
}

TEST_F(agreement, nullid_counts_what_lost_its_id_on_every_stream_but_the_first) {
  stlab("make --spaces 1 --volumes 1 --volume-mb 64 --channels 2 --days 0");
  EXPECT_EQ(null_ids(), 0);
  long long sum = lost({"--channel", "0", "--stream", "1", "--hours", "4"});
  sum += lost({"--channel", "1", "--stream", "4", "--hours", "3"});
  sum += lost({"--channel", "1", "--stream", "2", "--type", "alarm", "--hours", "2"});
  EXPECT_EQ(sum, 9);
  EXPECT_EQ(null_ids(), sum);
  EXPECT_EQ(lost({"--channel", "0", "--stream", "0", "--hours", "4"}), 4);
  EXPECT_EQ(null_ids(), sum);
}

}  // namespace
}  // namespace support
