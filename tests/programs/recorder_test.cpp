#include "recorder_test.h"

#include <stdlib.h>

#include <cstdlib>
#include <stdexcept>

namespace end_to_end {

namespace fs = std::filesystem;

namespace {

fs::path new_folder() {
  std::string name = "/tmp/st.XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder " + name);
  return name;
}

}  // namespace

recorder_test::recorder_test() : folder(new_folder()), recorder(folder / "recorder") {}

recorder_test::~recorder_test() {
  if (HasFailure()) {
    std::cout << "The recorder is kept in " << folder << '\n';
    return;
  }
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

void recorder_test::hold_clock(std::string const& utc) { clock_ = utc; }

std::string recorder_test::stlab(std::string const& command,
                                 std::vector<std::string> const& options) {
  std::vector<std::string> words{STLAB_PROGRAM, command, recorder};
  words.insert(words.end(), options.begin(), options.end());
  outcome const result = run_here(words, {});
  EXPECT_EQ(result.status, 0) << "stlab " << command << "\n" << result.output << result.errors;
  return result.output;
}

std::string recorder_test::st(std::vector<std::string> const& words, environment const& extra) {
  std::vector<std::string> command{ST_PROGRAM};
  command.insert(command.end(), words.begin(), words.end());
  outcome const result = run_here(command, extra);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  return result.output;
}

outcome recorder_test::run_here(std::vector<std::string> command, environment extra) const {
  extra.insert({"STLAB_RECORDER", recorder});
  if (!clock_.empty()) {
    // libfaketime reads the moment in the program's time zone, like st itself.
    extra.insert({{"FAKETIME", clock_}, {"FAKETIME_DONT_FAKE_MONOTONIC", "1"}});
    command.insert(command.begin(), {LOADER, "--preload", HELD_CLOCK_LIBRARIES});
  }
  return run(command, extra, folder);
}

picture recorder_test::picture_now() const {
  picture result;
  std::vector<std::string> command{"/usr/bin/sha256sum", "--zero"};
  for (auto const& entry : fs::recursive_directory_iterator(recorder)) {
    std::string const name = entry.path().lexically_relative(recorder);
    result.emplace(name, "");
    if (entry.is_regular_file()) command.push_back(name);
  }
  outcome const digests = run(command, {}, recorder);
  EXPECT_EQ(digests.status, 0) << digests.errors;
  std::size_t const digest_width = 64;
  for (std::size_t at = 0; at < digests.output.size();) {
    std::size_t const end = digests.output.find('\0', at);
    std::string const line = digests.output.substr(at, end - at);
    result.at(line.substr(digest_width + 2)) = line.substr(0, digest_width);
    at = end + 1;
  }
  return result;
}

fs::path recorder_test::storage_folder(std::string const& volume) const {
  std::vector<fs::path> found;
  for (auto const& entry : fs::directory_iterator(recorder / "share" / volume)) {
    if (entry.path().filename().string().rfind("FSU_", 0) == 0) found.push_back(entry.path());
  }
  if (found.size() != 1) throw std::runtime_error("not one storage folder in " + volume);
  return found.front();
}

long long recorder_test::preallocated_kib(std::string const& volume) const {
  outcome const measured =
      run({"/usr/bin/du", "-k", storage_folder(volume) / "preallocate"}, {}, folder);
  EXPECT_EQ(measured.status, 0) << measured.errors;
  return std::stoll(measured.output);
}

}  // namespace end_to_end
