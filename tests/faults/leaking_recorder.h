// A small recorder, copies of it as they lie on disk, and what must hold on
// each of them whatever stopped its last writer.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "engine_test.h"
#include "lab/recorder/recorder.h"

namespace fault_support {

namespace fs = std::filesystem;

using support::copy_tree;
using support::hour;
using support::now;
inline constexpr lab::span always{0, 4'000'000'000'000};

// The stream that the operations under test are about, and its channel's id.
inline constexpr lab::stream main_stream{1, 4, 0};
inline constexpr char const* main_stream_folders = "ch01_NR_S00_";

// The same for two folders that hold the same, as far as a recorder can tell:
// what a cold journal was used for last makes no difference.
std::string digest_of(fs::path const& folder);

// One space with two volumes of five units:
//   vol1  one unit of another stream, two leaked ones of the main stream in two
//         hours, two free ones
//   vol2  one unit of another stream, one leaked one, three free ones
void make_leaking(fs::path const& recorder);

// What the catalogue says, volume by volume and then as a whole, without ids.
std::vector<std::string> summary_of(fs::path const& recorder);

// What was there before any operation.
struct origin {
  explicit origin(fs::path const& recorder);

  std::map<std::string, std::string> other_streams;  // unit files: path, content
  std::set<std::string> leaked;                      // "volume/unit"
  std::map<std::int64_t, std::int64_t> leaked_mb;    // by volume
};

// Every unit where its state allows it, and in no phantom leak. Looks as a
// reader does, before anything is finished.
std::vector<std::string> problems_when_stopped(fs::path const& recorder, origin const& before);

// What a recorder must be like once its moves have been finished.
std::vector<std::string> problems_when_finished(fs::path const& recorder, origin const& before);

}  // namespace fault_support
