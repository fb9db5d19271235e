// One writer a volume, and readers that never wait.
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <iostream>
#include <optional>

#include "lab/catalogue/sqlite.h"
#include "lab/volume/lock.h"
#include "lab/volume/place.h"
#include "stress_test.h"

namespace stress {
namespace {

constexpr std::chrono::milliseconds no_wait{0};
environment const without_wait{{"STLAB_LOCK_TIMEOUT_MS", "0"}};

class locks : public stress_test {
 protected:
  lab::volume_lock hold(std::size_t index) const {
    lab::volume const volume = reader().volumes().at(index);
    lab::volume_place const place{volume.id, volume.path.filename(), volume.sid_text, volume.path};
    return {place, lab::volume_lock::kind::exclusive, no_wait};
  }

  std::filesystem::path trace() const { return folder / "trace"; }
  std::string calls() const { return support::content_of(trace()); }

  // Waits for a program that is under way; gives up when it ends without.
  template <typename Future>
  void wait_for_call(std::string const& operation, Future const& ends) const {
    auto const over = [&] {
      return ends.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    };
    while (!std::filesystem::exists(trace()) ||
           calls().find("[\"" + operation) == std::string::npos) {
      ASSERT_FALSE(over()) << "no call of " << operation;
      ::sched_yield();
    }
  }

  static std::vector<words> list_commands() {
    return {"spacelist", "vollist Storage1", "vollist Storage2",  "volchn vol1",
            "voluse -1", "nullid -1",        "spaceinfo Storage1"};
  }

  std::string list(words const& command, environment const& extra) const {
    auto const result = run_st(command, extra);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_FALSE(tells_of_failure(result.output)) << result.output;
    return result.output;
  }

  std::vector<std::string> lists() const {
    std::vector<std::string> outputs;
    for (words const& command : list_commands()) outputs.push_back(list(command, without_wait));
    return outputs;
  }
};

class lists_beside_writers : public locks {
 protected:
  static constexpr std::int64_t hour_ms = 3'600'000;

  // Lists so many times; gives how long the longest one took. A lock timeout that is
  // set to nothing is the default.
  double longest_list(int times) const {
    std::chrono::duration<double> longest{0};
    for (int i = 0; i < times && !HasFailure(); ++i) {
      for (words const& command : list_commands()) {
        auto const start = std::chrono::steady_clock::now();
        list(command, {{"STLAB_LOCK_TIMEOUT_MS", ""}, {"STLAB_TRACE", trace()}});
        longest = std::max<std::chrono::duration<double>>(longest,
                                                          std::chrono::steady_clock::now() - start);
      }
    }
    return longest.count();
  }

  // Records, forgets and recycles an hour again and again while `others` go on;
  // gives how often.
  template <typename Future>
  int write_beside(Future const& others, std::size_t index) const {
    auto writer = lab::recorder::open(recorder, lab::access::read_write, std::chrono::minutes(1));
    std::int64_t const volume_id = writer.volumes().at(index).id;
    lab::stream const of{writer.channels().at(index).id, 4, 0};
    int written = 0;
    do {
      writer.record(volume_id, of, 0, 1);
      writer.forget({writer.periods(of, {0, 1}).at(0).id});
      EXPECT_EQ(writer.recycle(volume_id, of, {0, hour_ms - 1}), 1);
      ++written;
    } while (others.wait_for(std::chrono::seconds(0)) != std::future_status::ready);
    return written;
  }
};

std::size_t count(std::string const& text, std::string const& part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++found;
  }
  return found;
}

TEST_F(locks, a_volclean_waits_for_whoever_writes) {
  leak(0);
  std::optional<lab::volume_lock> lock = hold(0);
  auto running = std::async(std::launch::async, [&] {
    return run_st("volclean 0", {{"STLAB_TRACE", trace()}, {"STLAB_LOCK_TIMEOUT_MS", "600000"}});
  });
  wait_for_call("CFSTier::CFSTier", running);
  EXPECT_EQ(lost(), leaked_units);
  lock.reset();
  auto const result = running.get();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(count(calls(), R"({"result":-1)"), 0U);
  EXPECT_EQ(count(calls(), R"({"result":0,"units":6})"), 1U);
  expect_clean();
}

// It says so at each stream of the space; what could not be recycled is there
// for the next run.
TEST_F(locks, a_volclean_that_never_gets_its_turn_reports_a_service_failure) {
  leak(0);
  {
    lab::volume_lock const lock = hold(0);
    auto environment = without_wait;
    environment.insert({"STLAB_TRACE", trace()});
    auto const result = run_st("volclean 0", environment);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(count(result.output, "Initial Tier to process failure.\n"), 10U) << result.output;
    EXPECT_EQ(count(result.output, "Success.\n") + count(result.output, "Can not find"), 10U);
  }
  std::string const called = calls();
  EXPECT_EQ(count(called, "CFSTier::init: volume vol1 is being written"), 10U);
  EXPECT_EQ(count(called, R"({"result":0,"units":0})"), 10U) << "each stream on the other space";
  EXPECT_EQ(lost(), leaked_units);
  expect_sound(moves::done);
  st("volclean 0");
  expect_clean();
}

TEST_F(locks, two_volcleans_share_the_work) {
  leak(0);
  leak(1);
  auto const clean = [this](std::string const& file) {
    auto const result = run_st("volclean -1", {{"STLAB_TRACE", folder / file}});
    EXPECT_EQ(result.status, 0);
    std::int64_t units = 0;
    for (std::string const& line : support::lines_of(support::content_of(folder / file))) {
      EXPECT_EQ(line.find(R"({"result":-1)"), std::string::npos) << line;
      std::size_t const at = line.find(R"("units":)");
      if (at != std::string::npos) units += std::stoll(line.substr(at + 8));
    }
    return units;
  };
  auto one = std::async(std::launch::async, clean, "one");
  std::int64_t const other = clean("other");
  EXPECT_EQ(one.get() + other, 2 * leaked_units);
  expect_clean();
}

TEST_F(locks, lists_do_not_wait_for_a_volumes_writer) {
  auto const before = lists();
  lab::volume_lock const first = hold(0);
  lab::volume_lock const second = hold(1);
  EXPECT_EQ(lists(), before);
}

TEST_F(locks, lists_do_not_wait_for_an_open_write_transaction) {
  auto const before = lists();
  lab::database catalogue(recorder / "catalogue.db", lab::database::mode::read_write, no_wait);
  lab::transaction const open(catalogue, lab::transaction_kind::writing);
  catalogue.execute("UPDATE volume SET type = 2; UPDATE space SET name = 'changed';");
  EXPECT_EQ(lists(), before) << "nor see what is not committed";
}

// The end of a commit, when nobody may read.
class commit_that_lasts {
 public:
  explicit commit_that_lasts(std::filesystem::path const& catalogue)
      : catalogue_(catalogue, lab::database::mode::read_write, no_wait) {
    catalogue_.execute("BEGIN EXCLUSIVE");
  }

 private:
  lab::database catalogue_;
};

TEST_F(locks, a_list_waits_for_a_commit_only_as_long_as_its_lock_timeout) {
  auto const before = lists();
  for (std::size_t index = 0; index < before.size(); ++index) {
    words const command = list_commands()[index];
    SCOPED_TRACE(command.front());
    std::optional<commit_that_lasts> commit(std::in_place, recorder / "catalogue.db");
    std::filesystem::remove(trace());
    auto waiting = std::async(std::launch::async, [&] {
      return list(command, {{"STLAB_TRACE", trace()}});
    });
    wait_for_call("CKivStorage::CKivStorage", waiting);
    auto const hasty = run_st(command, without_wait);
    EXPECT_EQ(hasty.status, 0);
    EXPECT_EQ(hasty.output + hasty.errors, "Query storage settings faiure.\n");
    EXPECT_EQ(waiting.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    commit.reset();
    EXPECT_EQ(waiting.get(), before[index]);
  }
}

TEST_F(lists_beside_writers, none_fails) {
  record();
  std::shared_future<double> const reading =
      std::async(std::launch::async, [&] { return longest_list(rounds()); }).share();
  auto other = std::async(std::launch::async, [&] { return write_beside(reading, 1); });
  int const written = write_beside(reading, 0) + other.get();
  std::string const called = calls();
  EXPECT_EQ(count(called, R"("result":-1)") + count(called, ",-1]\n"), 0U) << called;
  std::cout << "the longest of " << static_cast<std::size_t>(rounds()) * list_commands().size()
            << " lists took " << reading.get() << " s beside " << written
            << " hours that were written\n";
  expect_clean();
}

TEST_F(locks, a_volset_that_never_gets_its_turn_changes_nothing) {
  auto const before = lists();
  {
    lab::database catalogue(recorder / "catalogue.db", lab::database::mode::read_write, no_wait);
    lab::transaction const open(catalogue, lab::transaction_kind::writing);
    auto environment = without_wait;
    environment.insert({"STLAB_TRACE", trace()});
    auto const result = run_st("volset vol1 1 0", environment);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.errors, "") << "volset tells of no failure";
    EXPECT_EQ(count(calls(), "in use by somebody else"), 1U);
  }
  EXPECT_EQ(lists(), before);
}

}  // namespace
}  // namespace stress
