// A small recorder of its own for every test, and what lies in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "files.h"
#include "findings.h"
#include "lab/catalogue/sqlite.h"
#include "lab/make/make.h"
#include "lab/recorder/recorder.h"
#include "lab/util/error.h"
#include "lab/volume/lock.h"
#include "lab/volume/place.h"
#include "snapshot.h"

namespace support {

inline constexpr std::int64_t hour = 3'600'000;
inline constexpr std::int64_t day = 24 * hour;
inline constexpr std::int64_t now = 1'795'219'200'000;  // 2026-11-21 00:00:00 UTC

// One space with two volumes of eight units, two channels, nothing recorded;
// `change` sets what is to be otherwise.
lab::make_options small(std::function<void(lab::make_options&)> const& change = {});

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

// What was ever written to a file, by where it begins; the rest reads as zeros.
std::map<off_t, std::string> data_of(std::filesystem::path const& file);

// Copies a recorder as it lies on disk: hard links stay links among the copies.
// Units and journals have blocks of their own.
void copy_tree(std::filesystem::path const& from, std::filesystem::path const& to);

// The environment of the test is scrubbed.
class engine_test : public testing::Test {
 protected:
  engine_test();

  // Volumes and channels have the ids 1 and 2.
  static inline constexpr std::int64_t first_volume = 1;
  static inline constexpr std::int64_t second_volume = 2;
  static inline constexpr lab::stream main_stream{1, 4, 0};
  static inline constexpr lab::span always{0, 4'000'000'000'000};

  // In a folder of the test's own.
  std::filesystem::path const& root() const { return root_; }
  void set_root(std::filesystem::path const& root) { root_ = root; }
  std::filesystem::path make(lab::make_options const& options = small()) const;
  std::filesystem::path make(std::function<void(lab::make_options&)> const& change) const {
    return make(small(change));
  }
  lab::recorder open(lab::access mode = lab::access::read_write) const;
  lab::recorder made(lab::make_options const& options = small(),
                     lab::access mode = lab::access::read_write) const {
    make(options);
    return open(mode);
  }

  std::filesystem::path storage(std::int64_t volume_id) const;
  std::filesystem::path preallocate(std::int64_t volume_id) const;
  // Of the main stream.
  std::filesystem::path hour_folder(std::int64_t volume_id, std::int64_t hour_ms) const;
  // The names in a folder, sorted; none when it is absent.
  static std::vector<std::string> names(std::filesystem::path const& in) { return names_in(in); }
  static std::int64_t allocated_bytes(std::filesystem::path const& folder);

  // The recorder's catalogue, without a wait for who holds it.
  lab::database connect(lab::database::mode how = lab::database::mode::read_only) const {
    return {root_ / "catalogue.db", how, std::chrono::milliseconds(0)};
  }
  // Changes the catalogue behind the recorder's back.
  void tamper(std::string const& sql) const;
  std::int64_t ask(std::string const& sql) const;

  // Overwrites the first page of a table.
  void break_table(std::string const& name) const;
  // In a process that dies inside a transaction whose pages are partly in the file.
  void die_while_changing() const;

  // Takes the lock of a mounted volume at once, or throws lab::busy_error.
  lab::volume_place place_of(std::int64_t volume_id) const;
  lab::volume_lock hold(std::int64_t volume_id,
                        lab::volume_lock::kind how = lab::volume_lock::kind::exclusive) const;

  // Records hours of a stream and forgets their periods.
  void leak(std::int64_t volume_id, lab::stream const& of, std::int64_t hour_ms, int units) const;

  // The ids of all periods.
  static std::vector<std::int64_t> ids(std::vector<lab::period> const& periods);

 private:
  temporary_folder temporary_;
  std::filesystem::path root_;
};

}  // namespace support
