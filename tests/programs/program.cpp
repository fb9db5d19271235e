#include "program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace end_to_end {

namespace {

void must(int error, char const* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

// A new file without a name, read back through its descriptor.
class capture {
 public:
  capture() : descriptor_(::open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600)) {
    if (descriptor_ < 0) must(errno, "O_TMPFILE");
  }
  ~capture() { ::close(descriptor_); }
  capture(capture const&) = delete;
  capture& operator=(capture const&) = delete;

  int descriptor() const { return descriptor_; }

  std::string text() const { return content_of("/proc/self/fd/" + std::to_string(descriptor_)); }

 private:
  int descriptor_;
};

class file_actions {
 public:
  file_actions() { must(::posix_spawn_file_actions_init(&actions_), "file actions"); }
  ~file_actions() { ::posix_spawn_file_actions_destroy(&actions_); }
  file_actions(file_actions const&) = delete;
  file_actions& operator=(file_actions const&) = delete;

  posix_spawn_file_actions_t* get() { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

environment complete(environment const& extra) {
  environment all = extra;
  all.insert({{"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C"}, {"TZ", "UTC"}});
  for (char const* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (char const* value = std::getenv(name); value != nullptr) all.insert({name, value});
  }
  return all;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

int wait_for(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) must(errno, "waitpid");
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

outcome run(std::vector<std::string> const& command, environment const& extra,
            std::filesystem::path const& folder) {
  capture const output;
  capture const errors;
  file_actions actions;
  must(::posix_spawn_file_actions_addopen(actions.get(), 0, "/dev/null", O_RDONLY, 0), "stdin");
  must(::posix_spawn_file_actions_adddup2(actions.get(), output.descriptor(), 1), "stdout");
  must(::posix_spawn_file_actions_adddup2(actions.get(), errors.descriptor(), 2), "stderr");
  must(::posix_spawn_file_actions_addchdir_np(actions.get(), folder.c_str()), "chdir");

  std::vector<std::string> words = command;
  std::vector<std::string> variables;
  for (auto const& [name, value] : complete(extra)) variables.push_back(name + "=" + value);
  pid_t child = 0;
  must(::posix_spawn(&child, command.front().c_str(), actions.get(), nullptr,
                     pointers(words).data(), pointers(variables).data()),
       command.front().c_str());
  int const status = wait_for(child);
  return {status, output.text(), errors.text()};
}

std::string content_of(std::filesystem::path const& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

std::vector<std::string> lines_of(std::string const& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace end_to_end
