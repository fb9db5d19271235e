#include "lab/client/source.h"

#include <sqlite3.h>

#include <charconv>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>

#include "lab/catalogue/catalogue.h"
#include "lab/client/notice.h"
#include "storage/logging.h"

namespace lab::client {

namespace {

constexpr int longest_timeout_ms = 3'600'000;

// What is kept open as long as anybody reads.
struct connections {
  recorder reader;
  std::unique_ptr<recorder> idle_writer;
};

std::filesystem::path current_folder() {
  std::error_code gone;
  return std::filesystem::current_path(gone);
}

// What a run knows of its recorder. Made by the first call of all, so that it outlives
// every object that is handed out.
struct present {
  std::filesystem::path const starting_folder = current_folder();
  std::mutex guard;
  std::weak_ptr<connections> open;
  std::set<std::filesystem::path> held;  // by others, and waited for in vain

  static present& instance() {
    static present one;
    return one;
  }
};

std::chrono::milliseconds asked_lock_timeout() {
  char const* const set = std::getenv("STLAB_LOCK_TIMEOUT_MS");
  std::string_view const text = set == nullptr ? "" : set;
  if (text.empty()) return default_lock_timeout;
  int number = -1;
  auto const [stopped, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  bool const whole = failure == std::errc() && stopped == text.data() + text.size();
  if (!whole || number < 0 || number > longest_timeout_ms) {
    std::string const problem = "STLAB_LOCK_TIMEOUT_MS: \"" + std::string(text) +
                                "\": not a whole number of milliseconds from 0 to " +
                                std::to_string(longest_timeout_ms);
    tell_once(problem);
    throw error(problem);
  }
  return std::chrono::milliseconds(number);
}

recorder open_to_read() {
  auto const folder = recorder_folder();
  return recorder::open(folder, access::read_only, lock_timeout(folder));
}

std::unique_ptr<recorder> take_idle_writer() {
  present& now = present::instance();
  std::lock_guard const lock(now.guard);
  auto const open = now.open.lock();
  return open ? std::move(open->idle_writer) : nullptr;
}

}  // namespace

std::filesystem::path const& starting_folder() { return present::instance().starting_folder; }

std::filesystem::path recorder_folder() {
  char const* const named = std::getenv("STLAB_RECORDER");
  bool const is_named = named != nullptr && *named != '\0';
  return starting_folder() / (is_named ? named : default_recorder_folder);
}

std::chrono::milliseconds lock_timeout(std::filesystem::path const& held) {
  auto const asked = asked_lock_timeout();
  present& now = present::instance();
  std::lock_guard const lock(now.guard);
  return now.held.count(held) == 0 ? asked : std::chrono::milliseconds::zero();
}

void wait_no_more_for(std::filesystem::path const& held) {
  present& now = present::instance();
  std::lock_guard const lock(now.guard);
  now.held.insert(held);
}

void wait_no_more_for_catalogue() {
  wait_no_more_for(recorder_folder());
  present& now = present::instance();
  std::lock_guard const lock(now.guard);
  if (auto const open = now.open.lock()) {
    open->reader.wait_at_most(std::chrono::milliseconds::zero());
  }
}

std::shared_ptr<recorder const> reader() {
  present& now = present::instance();
  std::unique_lock lock(now.guard);
  auto open = now.open.lock();
  if (!open || open->reader.folder() != resolved(recorder_folder())) {
    lock.unlock();
    open = std::make_shared<connections>(connections{open_to_read(), nullptr});
    lock.lock();
    now.open = open;
  }
  return {open, &open->reader};
}

void writer_keeper::operator()(recorder* used) const noexcept {
  std::unique_ptr<recorder> idle(used);
  idle->release();
  present& now = present::instance();
  std::lock_guard const lock(now.guard);
  if (auto const open = now.open.lock()) open->idle_writer = std::move(idle);
}

writer open_writer() {
  auto const folder = recorder_folder();
  auto const timeout = lock_timeout(folder);
  auto open = take_idle_writer();
  // One that is of no use any more may stand in the way of the next.
  if (open && !open->resume(folder, timeout)) open.reset();
  if (!open) {
    open = std::make_unique<recorder>(recorder::open(folder, access::read_write, timeout));
  }
  return writer(open.release());
}

void finish_stopped_moves(recorder const& of) noexcept {
  try {
    if (!of.has_units_in_transit()) return;
    recorder::open(of.folder(), access::read_write, std::chrono::milliseconds::zero());
  } catch (std::exception const& problem) {
    log_Debug("units stay on their way: %s", problem.what());
  }
}

bool undo_what_was_cut_short(database_error const& failure) {
  if (failure.code() != SQLITE_READONLY_ROLLBACK) return false;
  open_to_read();
  return true;
}

}  // namespace lab::client
