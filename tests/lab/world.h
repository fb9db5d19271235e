// A small recorder of its own for every test, and what lies in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "lab/make/make.h"
#include "lab/recorder/recorder.h"
#include "tests/support/findings.h"

namespace world {

inline constexpr std::int64_t hour = 3'600'000;
inline constexpr std::int64_t day = 24 * hour;
inline constexpr std::int64_t now = 1'795'219'200'000;  // 2026-11-21 00:00:00 UTC

// Goes with all that is in it.
class temporary_folder {
 public:
  temporary_folder();
  ~temporary_folder();
  temporary_folder(temporary_folder const&) = delete;
  temporary_folder& operator=(temporary_folder const&) = delete;

  std::filesystem::path const& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// What every file below a folder holds, by its path from there; a folder ends
// in '/' and holds nothing.
using tree = std::map<std::string, std::string>;
tree tree_of(std::filesystem::path const& folder);

// The entries that are not the same in both.
std::vector<std::string> differences(tree const& left, tree const& right);

void write_file(std::filesystem::path const& file, std::string const& content);

// The text of what a lab operation throws; empty when it throws nothing.
template <typename Operation>
std::string failure_of(Operation const& operation) {
  try {
    operation();
  } catch (lab::error const& failure) {
    return failure.what();
  }
  return {};
}

// One space with two volumes of eight units, two channels, nothing recorded.
lab::make_options small();

class recorder_test : public testing::Test {
 protected:
  recorder_test();

  // Volumes and channels have the ids 1 and 2.
  static inline constexpr std::int64_t first_volume = 1;
  static inline constexpr std::int64_t second_volume = 2;
  static inline constexpr lab::stream main_stream{1, 4, 0};
  static inline constexpr lab::span always{0, 4'000'000'000'000};

  std::filesystem::path const& root() const { return root_; }
  std::filesystem::path make(lab::make_options const& options = small()) const;
  lab::recorder open(lab::access mode = lab::access::read_write) const;

  std::filesystem::path storage(std::int64_t volume_id) const;
  std::filesystem::path preallocate(std::int64_t volume_id) const;
  // The names in a folder, sorted; none when it is absent.
  static std::vector<std::string> names(std::filesystem::path const& folder);
  static std::int64_t allocated_bytes(std::filesystem::path const& folder);

  // Changes the catalogue behind the recorder's back.
  void tamper(std::string const& sql) const;
  std::int64_t ask(std::string const& sql) const;

  // Records hours of a stream and forgets their periods.
  void leak(std::int64_t volume_id, lab::stream const& of, std::int64_t hour_ms, int units) const;

  // The ids of all periods.
  static std::vector<std::int64_t> ids(std::vector<lab::period> const& periods);

 private:
  temporary_folder temporary_;
  std::filesystem::path root_;
};

}  // namespace world
