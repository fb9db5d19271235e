#include "stress_test.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <random>
#include <regex>

#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"
#include "long_checks.h"

namespace stress {

namespace fs = std::filesystem;

namespace {

constexpr int killed_status = 128 + 9;
// The signal was due when the program had just ended.
constexpr int too_late_status = 124;

bool is_guarded(fs::path const& unit) {
  static std::regex const guarded("ch0[34]_NR_S02_.*");
  return std::regex_match(unit.parent_path().filename().string(), guarded);
}

// The findings that a check may have.
std::regex allowed_findings(moves state) {
  std::string const leaked =
      R"(leak: volume vol[12]: unit \S+ is recorded without a period in ch0[12]_NR_S0[13]_\d+)";
  std::string const in_transit = R"(|in-transit: volume vol[12]: unit \S+ is in transit )";
  switch (state) {
    case moves::recycling:
      return std::regex(leaked + in_transit + R"(\(recycling\))");
    case moves::both_ways:
      return std::regex(leaked + in_transit + R"(\((recycling|recording)\))");
    case moves::done:
      break;
  }
  return std::regex(leaked);
}

// What du says on standard error when a unit goes while it looks.
std::string without_missed_units(std::string const& errors) {
  static std::regex const missed(
      "/usr/bin/du: cannot access '[^']*/preallocate/unit\\d+': No such file or directory\n");
  return std::regex_replace(errors, missed, "");
}

}  // namespace

int rounds() { return support::are_long_checks_wanted() ? 50 : 20; }

bool tells_of_failure(std::string const& output) {
  static std::regex const failure(
      "fail|faiure|No space|no space|No channel|NO channel|no volume|no find|Cannot|Can not get|"
      "not exist");
  return std::regex_search(output, failure);
}

std::vector<job> const& jobs() {
  static std::vector<job> const all{
      {"volclean -1", "Recycle process done.\n"},
      {"volclean 0", "Recycle process done.\n"},
      {"autoclean", "recycle check process done.\n"},
      {"volset vol1 1 0", ""},
      {"volset vol1 0 1", ""},
      {"volset vol2 0 0", ""},
      {"spacelist", "]\n\n"},
      {"vollist Storage1", "%\n"},
      {"vollist Storage2", "%\n"},
      {"voluse -1", "ch32 volume=[]\n"},
      {"volchn vol1", "[01] uses channel[01]\n[02] uses channel[03]\n"},
      {"nullid -1", "Total have [0] time period data has null storage id.\n"},
      {"spaceinfo Storage1", "(GB)\n"},
  };
  return all;
}

kill_moments::kill_moments(double seconds_of_a_run) : length_(seconds_of_a_run) {}

double kill_moments::next() { return std::uniform_real_distribution<double>(0, length_)(random_); }

void kill_moments::note(bool killed) { length_ *= killed ? 1.01 : 0.9; }

words killed_after(double seconds) {
  return {"/usr/bin/timeout", "--foreground", "--signal=KILL",
          std::to_string(std::max(seconds, 0.0001))};
}

bool was_killed(outcome const& result) {
  bool const killed = result.status == killed_status;
  EXPECT_TRUE(killed || result.status == 0 || result.status == too_late_status)
      << result.status << "\n"
      << result.output << result.errors;
  return killed;
}

stress_test::stress_test() : now_(std::to_string(static_cast<long long>(std::time(nullptr)))) {
  stlab("make --spaces 2 --volumes 1 --volume-mb 64 --days 0");
  stlab("record --channel 2 --channel 3 --stream 2 --hours 3 --units 2");
  guard_units();
  if (guarded_.size() != 12) throw std::runtime_error("not every unit is guarded");
}

// Each gets a content of its own.
void stress_test::guard_units() {
  std::mt19937_64 content(1);
  for (auto const& entry : fs::recursive_directory_iterator(recorder / "share")) {
    if (!entry.is_regular_file() || !is_guarded(entry.path())) continue;
    std::string bytes(entry.file_size(), '\0');
    for (char& byte : bytes) byte = static_cast<char>(content());
    std::fstream unit(entry.path(), std::ios::in | std::ios::out | std::ios::binary);
    unit << bytes;
    guarded_.emplace(entry.path(), std::move(bytes));
  }
}

outcome stress_test::run_stlab(words const& command, words const& wrapper) const {
  words line = wrapper + words{STLAB_PROGRAM, command.front(), recorder} +
               words(command.begin() + 1, command.end());
  bool const has_now = std::find(line.begin(), line.end(), "--now") != line.end();
  if (command.front() != "check" && !has_now) line += {"--now", now_};
  return run_here(line);
}

std::string stress_test::stlab(words const& command) const {
  auto const result = run_stlab(command);
  EXPECT_EQ(result.status, 0) << text_of(command) << "\n" << result.output << result.errors;
  return result.output;
}

outcome stress_test::run_st(words const& command, environment extra, words const& wrapper) const {
  // Waits longer than by default: a test machine can be slow.
  extra.insert({"STLAB_LOCK_TIMEOUT_MS", "60000"});
  return run_here(wrapper + words{ST_PROGRAM} + command, extra);
}

std::string stress_test::st(words const& command, beside others) const {
  auto const result = run_st(command);
  EXPECT_EQ(result.status, 0) << command.front();
  EXPECT_EQ(others == beside::writers ? without_missed_units(result.errors) : result.errors, "")
      << command.front();
  EXPECT_FALSE(tells_of_failure(result.output)) << command.front() << "\n" << result.output;
  return result.output;
}

void stress_test::perform(job const& which) const {
  std::string const output = st(which.command, beside::writers);
  EXPECT_TRUE(support::ends_with(output, which.ending)) << which.command.front() << "\n" << output;
}

void stress_test::leak(int channel, int stream) const {
  stlab("leak --volume vol" + std::to_string(channel + 1) + " --channel " +
        std::to_string(channel) + " --stream " + std::to_string(stream) + " --hours " +
        std::to_string(leaked_units) + " --units 1");
}

void stress_test::record() const { stlab("record --channel 0 --channel 1"); }

void stress_test::expire() const { stlab(expiry(12)); }

words stress_test::expiry(int hours) const {
  return "expire --days 0 --now " + std::to_string(std::stoll(now_) - hours * 3600LL);
}

lab::recorder stress_test::reader() const {
  return lab::recorder::open(recorder, lab::access::read_only);
}

std::vector<lab::volume_account> stress_test::accounts() const {
  auto const opened = reader();
  std::vector<lab::volume_account> result;
  for (lab::volume const& volume : opened.volumes()) result.push_back(opened.account(volume.id));
  return result;
}

std::int64_t stress_test::sum_of(std::int64_t lab::volume_account::*part) const {
  std::int64_t sum = 0;
  for (auto const& account : accounts()) sum += account.*part;
  return sum;
}

void stress_test::expect_intact_catalogue() const {
  lab::database const catalogue(recorder / "catalogue.db", lab::database::mode::read_only,
                                std::chrono::seconds(5));
  lab::statement integrity(catalogue, "PRAGMA integrity_check");
  ASSERT_TRUE(integrity.next());
  EXPECT_EQ(integrity.text(0), "ok");
  lab::statement foreign_keys(catalogue, "PRAGMA foreign_key_check");
  EXPECT_FALSE(foreign_keys.next());
}

void stress_test::expect_exact_sums() const {
  auto const opened = reader();
  for (lab::volume const& volume : opened.volumes()) {
    auto const account = opened.account(volume.id);
    EXPECT_EQ(account.held + account.moving + account.preallocated + account.lost, account.total);
    EXPECT_EQ(volume.used_mb, account.held + account.moving);
    EXPECT_EQ(volume.total_mb, 64);
  }
}

void stress_test::expect_sound(moves state) const {
  // First of all: who reads a catalogue whose last change was cut short has it
  // undone.
  auto const findings = lab::check(reader());
  expect_intact_catalogue();
  expect_exact_sums();
  std::regex const allowed = allowed_findings(state);
  for (auto const& each : findings) {
    auto const finding = lab::printed(each);
    EXPECT_TRUE(std::regex_match(finding, allowed)) << finding;
  }
  EXPECT_EQ(static_cast<std::int64_t>(findings.size()), lost() + moving());
  if (state == moves::done) {
    EXPECT_EQ(moving(), 0);
  }
  for (auto const& [unit, content] : guarded_) {
    EXPECT_TRUE(fs::is_regular_file(unit) && support::content_of(unit) == content)
        << unit << " is not what it was";
  }
}

void stress_test::expect_clean() const {
  expect_sound(moves::done);
  EXPECT_EQ(stlab("check"), "clean\n");
  for (auto const& account : accounts()) {
    EXPECT_EQ(account.held + account.preallocated, account.total);
  }
  EXPECT_EQ(st({"autoclean"}), clean_report);
  EXPECT_EQ(st({"autoclean"}), clean_report);
}

}  // namespace stress
