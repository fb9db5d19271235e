// What a preview announces is what st then does.
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "long_checks.h"
#include "program_test.h"
#include "snapshot.h"

namespace report_test {
namespace {

using nlohmann::json;
using support::lines_of;
using support::words;
using lines = std::vector<std::string>;

class preview : public support::program_test {
 protected:
  preview() : program_test(support::medium::memory) { hold_clock("2026-11-21 07:30:00"); }

  std::string told() {
    support::unchanged const nothing(recorder);
    support::outcome const result = run_here({REPORT_DUMP_PROGRAM});
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.output;
  }

  // The calls by which the command recycles, as a preview announces them. Where the
  // service refused to open a space or volume there is none: then the call that was
  // announced stands there, when it is of the same target.
  lines recycled_by(words const& command, lines const& announced,
                    std::map<std::string, std::string> const& names) {
    std::filesystem::path const trace = folder / "trace";
    std::filesystem::remove(trace);
    st(command, {{"STLAB_TRACE", trace}});
    lines calls;
    std::string target;
    for (std::string const& line : lines_of(support::content_of(trace))) {
      json const call = json::parse(line);
      std::string const name = call[0];
      bool const is_opening = support::ends_with(name, "::init");
      if (is_opening) target = " on " + names.at(id_opened(call[1]));
      if (support::ends_with(name, "::recycle_stream_data")) {
        calls.push_back(command.front() + ": " + text_of_call(call[1]) + target);
      } else if (is_opening && call[2] != 0) {
        ++refused;
        bool const is_announced =
            calls.size() < announced.size() && support::ends_with(announced[calls.size()], target);
        calls.push_back(is_announced ? announced[calls.size()] : "refused" + target);
      }
    }
    return calls;
  }

  int refused = 0;

 private:
  static std::string id_opened(json const& arguments) {
    return arguments.contains("volume") ? arguments["volume"]["text"] : arguments["space"];
  }

  static std::string text_of_call(json const& arguments) {
    json const& stream = arguments["stream"];
    std::ostringstream text;
    text << "channel " << stream["channel"]["number"].get<int>() + 1 << ' '
         << (stream["recording_type"] == 4 ? "NR" : "AR") << " S" << stream["stream"] << ' '
         << arguments["start"] << '-' << arguments["end"];
    return text.str();
  }
};

// The names of spaces and volumes by their ids, as the dump tells them.
std::map<std::string, std::string> names_in(std::string const& told) {
  std::map<std::string, std::string> names;
  for (std::string const& line : lines_of(told)) {
    std::istringstream text(line);
    std::string kind;
    std::string name;
    std::string id;
    text >> kind >> name >> id >> id;
    if (kind == "space" || kind == "volume") names[id] = name;
  }
  return names;
}

lines announced(std::string const& told, std::string const& command) {
  lines found;
  for (std::string const& line : lines_of(told)) {
    if (support::begins_with(line, command + ": ")) found.push_back(line);
  }
  return found;
}

int number(std::mt19937& random, int least, int most) {
  return std::uniform_int_distribution<int>(least, most)(random);
}
std::string digits(std::mt19937& random, int least, int most) {
  return std::to_string(number(random, least, most));
}

// Sizes for which every recorder can be made, and what may happen to it. What cannot be
// done to a recorder is left out.
class random_recorder {
 public:
  explicit random_recorder(unsigned seed) : random_(seed) {}

  words made() {
    volumes_ = number(random_, 1, 2);
    spaces_ = number(random_, 1, 2);
    channels_ = number(random_, 1, 2);
    return {"--spaces",    std::to_string(spaces_),
            "--volumes",   std::to_string(volumes_),
            "--volume-mb", "24",
            "--channels",  std::to_string(channels_),
            "--days",      digits(random_, 0, 1),
            "--seed",      digits(random_, 1, 100000)};
  }

  std::vector<words> harmed() {
    std::vector<words> commands;
    for (int i = number(random_, 0, 4); i > 0; --i) commands.push_back(harm());
    return commands;
  }

 private:
  words harm() {
    std::string const volume = "vol" + digits(random_, 1, spaces_ * volumes_);
    std::string const channel = digits(random_, 0, channels_ - 1);
    std::string const type = number(random_, 0, 1) == 0 ? "normal" : "alarm";
    std::string const stream = digits(random_, 0, 4);
    switch (number(random_, 0, 5)) {
      case 0:
        return {"lose-id", "--channel", channel, "--stream", stream, "--type", type};
      case 1:
        return {"damage", "unmounted", "--volume",
                volume,   "--mount",   number(random_, 0, 1) == 0 ? "missing" : "absent"};
      case 2:
        return {"expire", "--days", digits(random_, 0, 2)};
      default:
        return {"leak",   "--volume", volume,    "--channel",          channel, "--stream", stream,
                "--type", type,       "--hours", digits(random_, 1, 8)};
    }
  }

  std::mt19937 random_;
  int volumes_ = 1;
  int spaces_ = 1;
  int channels_ = 1;
};

TEST_F(preview, of_random_recorders_is_what_st_then_does) {
  unsigned const count = support::are_long_checks_wanted() ? 1000 : 40;
  std::size_t autocleaned = 0;
  std::size_t volcleaned = 0;
  for (unsigned seed = 1; seed <= count; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    random_recorder any(seed);
    stlab("make", any.made());
    for (words const& each : any.harmed()) {
      run_stlab({each.front()}, words(each.begin() + 1, each.end()));
    }
    std::string const before = told();
    auto const names = names_in(before);
    lines const by_autoclean = announced(before, "autoclean");
    EXPECT_EQ(recycled_by("autoclean", by_autoclean, names), by_autoclean);
    if (HasFailure()) return;
    lines const by_volclean = announced(before, "volclean");
    EXPECT_EQ(recycled_by("volclean -1", by_volclean, names), by_volclean);
    autocleaned += by_autoclean.empty() ? 0U : 1U;
    volcleaned += by_volclean.size();
    if (HasFailure()) return;
    std::filesystem::remove_all(recorder);
  }
  std::printf("of %u recorders %zu leaked; %zu calls of volclean; %d refusals\n", count,
              autocleaned, volcleaned, refused);
  EXPECT_GT(autocleaned, count / 4);
  EXPECT_LT(autocleaned, count);
  EXPECT_GT(volcleaned, std::size_t{count} * 10);
}

TEST_F(preview, tells_of_a_leak_what_autoclean_recycles) {
  stlab("make --spaces 1 --volumes 1 --channels 1 --days 1");
  EXPECT_EQ(announced(told(), "autoclean"), lines());
  stlab("leak");
  std::string const before = told();
  EXPECT_FALSE(announced(before, "autoclean").empty());
  lines const by_autoclean = announced(before, "autoclean");
  EXPECT_EQ(recycled_by("autoclean", by_autoclean, names_in(before)), by_autoclean);
  EXPECT_EQ(refused, 0);
  EXPECT_EQ(announced(told(), "autoclean"), lines());
}

}  // namespace
}  // namespace report_test
