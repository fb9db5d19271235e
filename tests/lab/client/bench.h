// A folder of a test's own, with recorders and a trace in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "lab/make/make.h"
#include "lab/recorder/recorder.h"
#include "tests/support/findings.h"
#include "storage/records.h"

namespace bench {

// 2026-11-21 07:30:00 UTC.
inline constexpr std::int64_t now_ms = 1'795'246'200'000;
inline constexpr std::int64_t hour_ms = 3'600'000;

inline constexpr std::int32_t normal = 4;
inline constexpr std::int32_t alarm = 1;
inline constexpr std::int32_t manual = 2;

// Two spaces with two volumes of 8 units each, two channels, nothing recorded.
lab::make_options small();

// The environment is clean (LC_ALL=C, TZ=UTC, nothing of the lab's) and the
// recorder of the library is `recorder`, with a trace in `trace`. The folder
// stays, and is named, when the test fails.
class bench_test : public testing::Test {
 protected:
  bench_test();
  ~bench_test() override;

  // Makes the recorder that the library then finds.
  void make(lab::make_options const& options = small()) const;

  lab::recorder reader() const;
  lab::recorder writer() const;
  lab::volume volume(std::size_t index) const;
  lab::space space(std::size_t index) const;
  lab::channel channel(std::size_t index) const;

  // Runs SQL on the catalogue, past the recorder.
  void alter_catalogue(std::string const& sql) const;

  // Runs `body` as somebody who owns the folder but is not the superuser: here,
  // or in a child process when this one is the superuser's.
  void as_ordinary_user(std::function<void()> const& body) const;

  // The lines of the trace so far, and those of one operation.
  std::vector<std::string> traced() const;
  std::vector<std::string> traced(std::string const& operation) const;

  std::filesystem::path folder;
  std::filesystem::path recorder;
  std::filesystem::path trace;

 private:
  std::filesystem::path start_;
};

std::string content_of(std::filesystem::path const& file);

// Every file and folder below, by path, with its content and time of change.
std::map<std::string, std::string> picture_of(std::filesystem::path const& folder);

// Names what differs between two pictures, one failure each.
void expect_same(std::map<std::string, std::string> const& before,
                 std::map<std::string, std::string> const& after);

std::size_t files_in(std::filesystem::path const& folder);

// Ids of the contract.
kivsid space_id(std::string const& sid);
kivsid volume_id(lab::volume const& of);
channel_sid channel_id(lab::channel const& of);
channel_sid channel_id(std::string const& id);
stream_info stream_of(lab::channel const& of, std::int32_t recording_type, std::int32_t stream);

}  // namespace bench
