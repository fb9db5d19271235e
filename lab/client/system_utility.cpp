#include "storage/system_utility.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "lab/client/operation.h"

namespace {

using lab::client::json;
using lab::client::operation;

struct closed_stream {
  void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};
using owned_stream = std::unique_ptr<std::FILE, closed_stream>;

class descriptor {
 public:
  explicit descriptor(int number) : number_(number) {}
  ~descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  descriptor(descriptor const&) = delete;
  descriptor& operator=(descriptor const&) = delete;

  int get() const noexcept { return number_; }
  void release() noexcept { number_ = -1; }

 private:
  int number_;
};

class file_actions {
 public:
  file_actions() { ::posix_spawn_file_actions_init(&actions_); }
  ~file_actions() { ::posix_spawn_file_actions_destroy(&actions_); }
  file_actions(file_actions const&) = delete;
  file_actions& operator=(file_actions const&) = delete;

  posix_spawn_file_actions_t* get() noexcept { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

int wait_status(pid_t child) {
  int status = 0;
  pid_t waited = 0;
  do {
    waited = ::waitpid(child, &status, 0);
  } while (waited < 0 && errno == EINTR);
  return waited == child ? status : -1;
}

// Runs the program with `output` as its standard output. Everything else that
// this process has open is its own business: the pipe is close-on-exec.
std::optional<pid_t> spawn(std::vector<std::string>& arguments, int output) {
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  file_actions actions;
  if (::posix_spawn_file_actions_adddup2(actions.get(), output, STDOUT_FILENO) != 0) return {};
  pid_t child = -1;
  if (::posix_spawn(&child, argv[0], actions.get(), nullptr, argv.data(), environ) != 0) return {};
  return child;
}

// The streams that velt_popen() handed out, each with its program. A stream has
// no room for a process id of its own, and the caller holds nothing else, so
// the library has to remember which is whose.
class open_programs {
 public:
  static open_programs& instance() {
    static open_programs programs;
    return programs;
  }

  std::FILE* add(owned_stream stream, pid_t program) {
    std::lock_guard const lock(guard_);
    std::FILE* const key = stream.get();
    programs_.emplace(key, entry{std::move(stream), program});
    return key;
  }

  int close(std::FILE* stream) {
    std::optional<entry> closing = take(stream);
    if (!closing) return -1;
    closing->stream.reset();
    return wait_status(closing->program);
  }

 private:
  struct entry {
    owned_stream stream;
    pid_t program;
  };

  std::optional<entry> take(std::FILE* stream) {
    std::lock_guard const lock(guard_);
    auto const found = programs_.find(stream);
    if (found == programs_.end()) return {};
    entry taken = std::move(found->second);
    programs_.erase(found);
    return taken;
  }

  std::mutex guard_;
  std::map<std::FILE*, entry> programs_;
};

std::FILE* open_program(std::vector<std::string>& arguments) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return nullptr;
  descriptor reading(ends[0]);
  descriptor const writing(ends[1]);
  owned_stream stream(::fdopen(reading.get(), "r"));
  if (!stream) return nullptr;
  reading.release();
  std::optional<pid_t> const program = spawn(arguments, writing.get());
  if (!program) return nullptr;
  return open_programs::instance().add(std::move(stream), *program);
}

}  // namespace

extern "C" char* nstrcpy(char* destination, char const* source, std::size_t size) {
  if (size > 0) {
    std::size_t const length = strnlen(source, size - 1);
    std::copy_n(source, length, destination);
    destination[length] = '\0';
  }
  lab::client::trace("nstrcpy", json::object({{"source", source}, {"size", size}}),
                     size > 0 ? json(destination) : json(nullptr));
  return destination;
}

extern "C" std::FILE* velt_popen(char const* mode, char const* program, ...) {
  std::vector<std::string> arguments{program};
  std::va_list rest;
  va_start(rest, program);
  while (char const* const argument = va_arg(rest, char const*)) arguments.emplace_back(argument);
  va_end(rest);

  bool const readable = std::string_view(mode) == "r";
  std::FILE* stream = nullptr;
  operation("velt_popen",
            json::object({{"mode", mode},
                          {"program", program},
                          {"arguments", json::array({arguments.begin() + 1, arguments.end()})}}),
            &stream, [&] { stream = readable ? open_program(arguments) : nullptr; });
  return stream;
}

extern "C" int velt_pclose(std::FILE* stream) {
  return operation("velt_pclose", json::object({{"given", stream != nullptr}}),
                   [&] { return open_programs::instance().close(stream); });
}
