// What the parts of ask() share: one pass over the service in progress.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "report/ask.h"
#include "report/clean_text.h"
#include "report/problems.h"
#include "storage/service.h"

namespace report {

// Owns an interface that an entry class hands out, and the entry object. Releases
// it when it was obtained.
template <typename Entry, typename Interface, int (Entry::*Create)(Interface**),
          int (Entry::*Destroy)(Interface**)>
class obtained {
 public:
  obtained() { (entry_.*Create)(&interface_); }
  ~obtained() {
    try {
      close();
    } catch (...) {  // a second exception would end the process
    }
  }
  obtained(obtained const&) = delete;
  obtained& operator=(obtained const&) = delete;

  // Null when the service hands out none.
  Interface* get() const noexcept { return interface_; }

  // Releases it now, and lets what the service throws pass.
  void close() {
    if (interface_ == nullptr || closed_) return;
    closed_ = true;
    (entry_.*Destroy)(&interface_);
  }

 private:
  Entry entry_;
  Interface* interface_ = nullptr;
  bool closed_ = false;
};

using obtained_setting =
    obtained<CKivStorage, IStorageSetting, &CKivStorage::create_storage_setting,
             &CKivStorage::destroy_storage_setting>;
using obtained_plug_play =
    obtained<CKivStorageDaemon, IPlugPlayService, &CKivStorageDaemon::create_plug_play_service,
             &CKivStorageDaemon::destroy_plug_play_service>;

struct asking {
  value told;
  problem_list problems;
  std::int64_t now_ms = 0;

  // The records behind told.spaces, told.volumes and told.channels, one for one.
  std::vector<space_info> spaces;
  std::vector<volume_info> volumes;
  std::vector<channel_sid> channels;
  bool are_spaces_known = false;
  bool are_volumes_known = false;
  bool are_channels_known = false;

  // The text as it may be shown; "<owner()>: <what> ..." notes that it was changed.
  template <typename Owner>
  std::string clean(std::string_view text, char const* what, Owner const& owner) {
    if (is_clean(text)) return std::string(text);
    std::string cleaned = clean_text(text);
    problems.add(oddity::text,
                 [&] { return owner() + ": " + what + " holds what is no text: " + cleaned; });
    return cleaned;
  }

  // Note a size below 0, and one beyond its total.
  template <typename Owner>
  void check_size(std::int64_t size, char const* what, Owner const& owner) {
    if (size >= 0) return;
    problems.add(oddity::negative_size, [&] {
      return owner() + ": " + what + " is negative (" + std::to_string(size) + " MB)";
    });
  }

  template <typename Owner>
  void check_use(std::int64_t used, std::int64_t total, Owner const& owner) {
    if (used <= total) return;
    problems.add(oddity::used_over_total, [&] {
      return owner() + ": " + std::to_string(used) + " MB of " + std::to_string(total) +
             " MB are used";
    });
  }

  // Notes what the service could not be asked, with its result.
  void miss(std::string const& line, int result) {
    told.not_asked.push_back(line + " (result " + std::to_string(result) + ")");
  }
};

// Each fills its part of `in.told`, and what it could not ask goes to not_asked.
void ask_spaces(asking& in, IStorageSetting& setting);
void ask_volumes(asking& in, IStorageSetting& setting);
void ask_channels(asking& in, IStorageSetting& setting);
void ask_assignments(asking& in, IPlugPlayService& service);
void ask_sizes(asking& in, IStorageSetting& setting);

// What st would recycle by the lists that were asked before.
void ask_preview(asking& in);

}  // namespace report
