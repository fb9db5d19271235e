// What may include what: cli knows commands, commands knows storage, storage
// knows nobody; the lab knows the contract and neither cli nor commands; bench
// knows the contract, and nobody knows bench; the report knows the contract and the
// routines by which st decides, and none of the others knows the report.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path const tree = SOURCE_TREE;

struct include {
  std::string file;  // relative to the tree
  std::string name;
  bool quoted;
};

bool is_source(fs::path const& file) {
  return file.extension() == ".h" || file.extension() == ".cpp";
}

std::vector<fs::path> sources(std::string const& folder) {
  std::vector<fs::path> files;
  for (auto const& entry : fs::recursive_directory_iterator(tree / folder)) {
    if (entry.is_regular_file() && is_source(entry.path())) files.push_back(entry.path());
  }
  return files;
}

std::vector<std::string> lines(fs::path const& file) {
  std::ifstream stream(file);
  std::vector<std::string> all;
  for (std::string line; std::getline(stream, line);) all.push_back(line);
  return all;
}

std::vector<include> includes(std::string const& folder) {
  static std::regex const directive(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"].*)");
  std::vector<include> found;
  for (fs::path const& file : sources(folder)) {
    for (std::string const& line : lines(file)) {
      std::smatch match;
      if (!std::regex_match(line, match, directive)) continue;
      found.push_back({fs::relative(file, tree).string(), match[2], match[1] == "\""});
    }
  }
  EXPECT_FALSE(found.empty()) << "nothing to look at in " << folder;
  return found;
}

std::string layer_of(std::string const& name) { return name.substr(0, name.find('/')); }

void expect_only_layers(std::string const& folder, std::set<std::string> const& layers) {
  for (include const& each : includes(folder)) {
    if (!each.quoted) continue;
    EXPECT_EQ(layers.count(layer_of(each.name)), 1U) << each.file << " includes " << each.name;
  }
}

TEST(layers, every_source_of_the_program_lies_in_one_of_them) {
  std::map<std::string, int> count;
  for (fs::path const& file : sources("src")) {
    ++count[layer_of(fs::relative(file, tree / "src").string())];
  }
  EXPECT_GE(count["cli"], 3);
  EXPECT_GE(count["commands"], 12);
  EXPECT_GE(count["storage"], 8);
  EXPECT_EQ(count.size(), 3U);
}

TEST(layers, storage_knows_nobody) { expect_only_layers("src/storage", {"storage"}); }

TEST(layers, commands_know_storage) { expect_only_layers("src/commands", {"commands", "storage"}); }

TEST(layers, cli_knows_commands) { expect_only_layers("src/cli", {"cli", "commands", "storage"}); }

TEST(layers, the_lab_knows_neither_cli_nor_commands) {
  for (include const& each : includes("lab")) {
    EXPECT_NE(layer_of(each.name), "cli") << each.file << " includes " << each.name;
    EXPECT_NE(layer_of(each.name), "commands") << each.file << " includes " << each.name;
    EXPECT_EQ(each.name.find("src/"), std::string::npos) << each.file;
  }
}

// The lab's rooms, lowest first; those of one row do not know each other.
std::vector<std::vector<std::string>> const& lab_rooms() {
  static std::vector<std::vector<std::string>> const rooms{{"util"},
                                                           {"disk"},
                                                           {"catalogue"},
                                                           {"volume"},
                                                           {"recorder"},
                                                           {"make", "check", "damage"},
                                                           {"repair", "client"},
                                                           {"stlab"}};
  return rooms;
}

TEST(layers, each_of_the_labs_rooms_knows_those_below_it) {
  std::set<std::string> below;
  std::size_t files = 0;
  for (auto const& row : lab_rooms()) {
    for (std::string const& room : row) {
      files += sources("lab/" + room).size();
      for (include const& each : includes("lab/" + room)) {
        if (each.name.rfind("lab/", 0) != 0) continue;
        std::string const other = layer_of(each.name.substr(4));
        EXPECT_TRUE(other == room || below.count(other) == 1)
            << each.file << " includes " << each.name;
      }
    }
    below.insert(row.begin(), row.end());
  }
  EXPECT_EQ(files, sources("lab").size()) << "a source of the lab lies in none of its rooms";
}

// What is measured one by one, beside whole runs: routines without a service.
std::set<std::string> const& measured_headers() {
  static std::set<std::string> const headers{"commands/leak.h", "commands/lookup.h",
                                             "commands/recycling.h", "commands/time_text.h"};
  return headers;
}

TEST(layers, bench_knows_storage_and_the_routines_that_it_measures) {
  for (include const& each : includes("bench")) {
    if (!each.quoted || each.name.find('/') == std::string::npos) continue;
    EXPECT_TRUE(layer_of(each.name) == "storage" || measured_headers().count(each.name) == 1)
        << each.file << " includes " << each.name;
  }
}

TEST(layers, nobody_knows_bench) {
  for (char const* folder : {"src", "lab", "tests"}) {
    for (include const& each : includes(folder)) {
      EXPECT_EQ(each.name.find("bench/"), std::string::npos)
          << each.file << " includes " << each.name;
    }
  }
}

// How st measures, decides and finds a span: the report does it alike, and does not
// know what changes anything.
std::set<std::string> const& reported_headers() {
  static std::set<std::string> const headers{"commands/channel_walk.h", "commands/leak.h",
                                             "commands/preallocate_probe.h", "commands/recycling.h",
                                             "commands/time_text.h"};
  return headers;
}

TEST(layers, the_report_knows_storage_and_how_st_decides) {
  for (include const& each : includes("report")) {
    if (!each.quoted) continue;
    std::string const layer = layer_of(each.name);
    EXPECT_TRUE(layer == "report" || layer == "storage" || reported_headers().count(each.name) == 1)
        << each.file << " includes " << each.name;
  }
}

TEST(layers, nobody_knows_the_report) {
  for (char const* folder : {"src", "lab", "bench"}) {
    for (include const& each : includes(folder)) {
      EXPECT_NE(layer_of(each.name), "report") << each.file << " includes " << each.name;
    }
  }
}

TEST(report, only_its_command_line_knows_the_option_parser) {
  for (include const& each : includes("report")) {
    if (layer_of(each.name) != "CLI") continue;
    EXPECT_EQ(each.file, "report/options.cpp");
  }
}

TEST(report, names_nothing_that_recycles_or_sets) {
  std::regex const changing(
      R"(CFSTier|CFSUnit|recycle_stream\b|recycle_stream_data|\bfile_storage\b)"
      R"(|set_volume_info|apply_volume_setting|recycle_volume_units)");
  for (fs::path const& file : sources("report")) {
    for (std::string const& line : lines(file)) {
      EXPECT_FALSE(std::regex_search(line, changing)) << file << ": " << line;
    }
  }
}

TEST(includes, quoted_ones_of_the_program_exist_below_src) {
  for (include const& each : includes("src")) {
    if (!each.quoted) continue;
    EXPECT_TRUE(fs::exists(tree / "src" / each.name)) << each.file << " includes " << each.name;
  }
}

TEST(includes, angled_ones_of_the_program_are_standard_or_posix) {
  std::set<std::string> const allowed = {
      // C++
      "algorithm", "array", "cerrno", "climits", "cmath", "cstdarg", "cstddef", "cstdint", "cstdio",
      "cstdlib", "cstring", "ctime", "exception", "functional", "iterator", "limits", "list",
      "memory", "optional", "stdexcept", "string", "string_view", "tuple", "type_traits",
      "unordered_map", "utility", "vector",
      // POSIX
      "dirent.h", "fcntl.h", "limits.h", "stdlib.h", "sys/stat.h", "sys/types.h", "sys/wait.h",
      "time.h", "unistd.h"};
  for (include const& each : includes("src")) {
    if (each.quoted) continue;
    EXPECT_EQ(allowed.count(each.name), 1U) << each.file << " includes " << each.name;
  }
}

// Files below src that hold the word, relative to src.
std::set<std::string> files_with(std::string const& word) {
  std::set<std::string> found;
  for (fs::path const& file : sources("src")) {
    auto const all = lines(file);
    bool const holds = std::any_of(all.begin(), all.end(), [&](std::string const& line) {
      return line.find(word) != std::string::npos;
    });
    if (holds) found.insert(fs::relative(file, tree / "src").string());
  }
  return found;
}

TEST(unwired_routines, are_named_in_their_own_source_and_the_header_only) {
  EXPECT_EQ(files_with("list_space_channels("),
            (std::set<std::string>{"commands/commands.h", "commands/list_space_channels.cpp"}));
  EXPECT_EQ(files_with("find_hour_folder_volume("),
            (std::set<std::string>{"commands/commands.h", "commands/find_hour_folder_volume.cpp"}));
}

}  // namespace
