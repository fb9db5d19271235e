#include "lab/client/source.h"

#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

#include "lab/client/notice.h"
#include "storage/logging.h"

namespace lab::client {

namespace {

constexpr int longest_patience_ms = 3'600'000;

bool has_units_on_their_way(recorder const& in) {
  std::vector<volume> const volumes = in.volumes();
  return std::any_of(volumes.begin(), volumes.end(),
                     [&](volume const& each) { return in.account(each.id).moving > 0; });
}

}  // namespace

std::filesystem::path const& starting_folder() {
  static std::filesystem::path const folder = [] {
    std::error_code gone;
    return std::filesystem::current_path(gone);
  }();
  return folder;
}

std::filesystem::path recorder_folder() {
  char const* const named = std::getenv("STLAB_RECORDER");
  bool const is_named = named != nullptr && *named != '\0';
  return starting_folder() / (is_named ? named : default_recorder_folder);
}

std::chrono::milliseconds patience() {
  char const* const set = std::getenv("STLAB_LOCK_TIMEOUT_MS");
  std::string_view const text = set == nullptr ? "" : set;
  if (text.empty()) return default_lock_timeout;
  int number = -1;
  auto const [stopped, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  bool const whole = failure == std::errc() && stopped == text.data() + text.size();
  if (!whole || number < 0 || number > longest_patience_ms) {
    std::string const problem = "STLAB_LOCK_TIMEOUT_MS: \"" + std::string(text) +
                                "\": not a whole number of milliseconds from 0 to " +
                                std::to_string(longest_patience_ms);
    tell_once(problem);
    throw error(problem);
  }
  return std::chrono::milliseconds(number);
}

recorder open_recorder(access mode) { return recorder::open(recorder_folder(), mode, patience()); }

void finish_stopped_moves(recorder const& of) noexcept {
  try {
    if (!has_units_on_their_way(of)) return;
    recorder::open(of.folder(), access::read_write, std::chrono::milliseconds::zero());
  } catch (std::exception const& problem) {
    log_Debug("units stay on their way: %s", problem.what());
  }
}

bool undo_what_was_cut_short(database_error const& failure) {
  if (failure.code() != SQLITE_READONLY_ROLLBACK) return false;
  open_recorder(access::read_only);
  return true;
}

std::shared_ptr<recorder const> source::reader() {
  if (!reader_) {
    reader_ = std::make_shared<recorder const>(open_recorder(access::read_only));
  }
  return reader_;
}

}  // namespace lab::client
