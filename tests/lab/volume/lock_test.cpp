#include "lab/volume/lock.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <future>

#include "engine_test.h"
#include "lab/volume/place.h"

namespace {

namespace fs = std::filesystem;
using lab::volume_lock;
using std::chrono::milliseconds;

// Tells that a file was opened.
class opening {
 public:
  explicit opening(fs::path const& of) : events_(inotify_init1(IN_CLOEXEC)) {
    if (inotify_add_watch(events_.number(), of.c_str(), IN_OPEN) < 0) {
      throw std::runtime_error("cannot watch " + of.string());
    }
  }

  void wait() const {
    std::array<char, 4096> event{};
    if (read(events_.number(), event.data(), event.size()) <= 0) {
      throw std::runtime_error("cannot wait");
    }
  }

 private:
  lab::descriptor events_;
};

// Keeps whoever opens a file waiting in the middle of it, for as long as it
// lives.
class lease {
 public:
  explicit lease(fs::path const& on) : file_(open(on.c_str(), O_RDONLY | O_CLOEXEC)) {
    is_held_ = fcntl(file_.number(), F_SETLEASE, F_WRLCK) == 0;
    // Nobody is to be told by a signal.
    fcntl(file_.number(), F_SETOWN, 0);
  }

  bool is_held() const { return is_held_; }
  bool is_wanted() const { return fcntl(file_.number(), F_GETLEASE) != F_WRLCK; }

 private:
  lab::descriptor file_;
  bool is_held_;
};

class locking : public support::engine_test {
 protected:
  locking() {
    make();
    place_ = place_of(first_volume);
  }

  lab::volume_place const& place() const { return place_; }
  fs::path identity() const { return place_.path / lab::identity_file; }

  // Another file takes the place of the identity.
  void replace_identity(std::string const& text) const {
    support::write_file(root() / "new", text);
    fs::rename(root() / "new", identity());
  }

  volume_lock lock() const { return {place_, volume_lock::kind::exclusive, milliseconds(0)}; }

  // What one who wants the lock meets with when another identity takes the
  // place of the one that it is just opening, and somebody locks that first.
  // None when the test cannot have it so.
  template <typename Newcomer>
  std::optional<std::string> overtaken(Newcomer const& newcomer) const {
    std::optional<lease> keeping(identity());
    if (!keeping->is_held()) return std::nullopt;
    auto late = std::async(std::launch::async, newcomer);
    while (!keeping->is_wanted() && late.wait_for(milliseconds(0)) != std::future_status::ready) {
      sched_yield();
    }
    replace_identity(lab::identity_text(place_.sid_text));
    auto const first = lock();
    keeping.reset();
    return late.get();
  }

  // One who waits for the lock, and has opened the identity already.
  std::future<std::string> newcomer(std::optional<volume_lock>& got) const {
    opening const opened(identity());
    auto waiting = std::async(std::launch::async, [this, &got] {
      return support::failure_of(
          [&] { got.emplace(place_, volume_lock::kind::exclusive, milliseconds(60000)); });
    });
    opened.wait();
    return waiting;
  }

 private:
  lab::volume_place place_;
};

TEST_F(locking, keeps_everybody_else_away) {
  {
    auto const held = lock();
    EXPECT_FALSE(volume_lock::try_take(place()));
    EXPECT_THROW(lock(), lab::busy_error);
  }
  EXPECT_TRUE(volume_lock::try_take(place()));
}

TEST_F(locking, is_of_the_identity_that_is_there_when_it_is_got) {
  std::optional<volume_lock> held(lock());
  std::optional<volume_lock> got;
  auto waiting = newcomer(got);
  replace_identity(lab::identity_text(place().sid_text));
  held.reset();
  EXPECT_EQ("", waiting.get());
  EXPECT_FALSE(volume_lock::try_take(place())) << "two have the lock";
}

TEST_F(locking, is_not_got_of_an_identity_that_has_just_been_replaced) {
  auto const waiting = overtaken([this] { return support::failure_of([this] { lock(); }); });
  auto const trying = overtaken(
      [this] { return std::string(volume_lock::try_take(place()) ? "two have the lock" : ""); });
  if (!waiting || !trying) GTEST_SKIP() << "no lease of a file can be had in " << root();
  EXPECT_EQ("volume vol1 is being written by somebody else", *waiting);
  EXPECT_EQ("", *trying);
}

TEST_F(locking, is_not_got_when_the_volume_is_not_mounted_any_more) {
  std::optional<volume_lock> held(lock());
  std::optional<volume_lock> got;
  auto waiting = newcomer(got);
  replace_identity(lab::identity_text("another"));
  held.reset();
  EXPECT_EQ("volume vol1 is not mounted: " + place().path.string(), waiting.get());
}

}  // namespace
