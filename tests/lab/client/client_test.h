// The client library on a recorder of the test's own.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "engine_test.h"
#include "storage/records.h"

namespace client {

// 2026-11-21 07:30:00 UTC.
inline constexpr std::int64_t now_ms = 1'795'246'200'000;
inline constexpr std::int64_t hour_ms = 3'600'000;

inline constexpr std::int32_t normal = 4;
inline constexpr std::int32_t alarm = 1;
inline constexpr std::int32_t manual = 2;

// Two spaces with two volumes of 8 units each, two channels, nothing recorded.
lab::make_options small();

// The recorder of the library is `recorder`, with a trace in `trace`.
class client_test : public support::engine_test {
 protected:
  client_test();
  ~client_test() override;

  // Makes the recorder that the library then finds.
  void make(lab::make_options const& options = small()) const { engine_test::make(options); }
  void make(std::function<void(lab::make_options&)> const& change) const {
    lab::make_options options = small();
    change(options);
    make(options);
  }

  lab::recorder reader() const { return open(lab::access::read_only); }
  lab::recorder writer() const { return open(lab::access::read_write); }
  lab::volume volume(std::size_t index) const { return reader().volumes().at(index); }
  lab::space space(std::size_t index) const { return reader().spaces().at(index); }
  lab::channel channel(std::size_t index) const { return reader().channels().at(index); }

  // Their ids in the contract.
  kivsid space_sid(std::size_t index = 0) const;
  kivsid volume_sid(std::size_t index = 0) const;
  channel_sid id_of_channel(std::size_t index = 0) const;

  // Nothing is found wrong with the recorder.
  void expect_sound() const;

  // Runs `body` as somebody who owns the folder but is not the superuser: here,
  // or in a child process when this one is the superuser's.
  void as_ordinary_user(std::function<void()> const& body) const;

  // The lines of the trace so far, and those of one operation.
  std::vector<std::string> traced() const;
  std::vector<std::string> traced(std::string const& operation) const;

  std::filesystem::path const& recorder = root();
  std::filesystem::path const folder = root().parent_path();
  std::filesystem::path const trace = folder / "trace";

 private:
  std::filesystem::path start_;
};

std::size_t files_in(std::filesystem::path const& folder);

// Ids of the contract.
kivsid space_id(std::string const& sid);
kivsid volume_id(lab::volume const& of);
channel_sid channel_id(lab::channel const& of);
channel_sid channel_id(std::string const& id);
stream_info stream_of(lab::channel const& of, std::int32_t recording_type, std::int32_t stream);

}  // namespace client
