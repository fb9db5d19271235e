#include "program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <system_error>

#include "files.h"

namespace support {

namespace {

using clock = std::chrono::steady_clock;

class descriptor {
 public:
  descriptor(int number, char const* what) : number_(number) {
    if (number_ < 0) throw std::system_error(errno, std::generic_category(), what);
  }
  ~descriptor() { ::close(number_); }
  descriptor(descriptor const&) = delete;
  descriptor& operator=(descriptor const&) = delete;

  int number() const { return number_; }
  std::string content() const { return content_of("/proc/self/fd/" + std::to_string(number_)); }

 private:
  int number_;
};

descriptor nameless_file() {
  return {::open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600), "O_TMPFILE"};
}

words variables(environment const& extra) {
  environment all = extra;
  all.insert({{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}, {"LC_ALL", "C"}, {"TZ", "UTC"}});
  for (char const* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (char const* value = std::getenv(name); value != nullptr) all.insert({name, value});
  }
  words texts;
  for (auto const& [name, value] : all) texts.push_back(name + "=" + value);
  return texts;
}

std::vector<char*> pointers(words& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

// Files beyond the limit fail to grow, instead of filling the disk.
void limit_files() {
  rlimit const no_core{0, 0};
  rlimit const size{most_output, most_output};
  ::setrlimit(RLIMIT_CORE, &no_core);
  ::setrlimit(RLIMIT_FSIZE, &size);
  ::signal(SIGXFSZ, SIG_IGN);
}

[[noreturn]] void be_the_program(char* const* command, char* const* environment_texts,
                                 char const* folder, int output, int errors) {
  ::setpgid(0, 0);
  limit_files();
  int const nothing = ::open("/dev/null", O_RDONLY);
  bool const ready = nothing >= 0 && ::dup2(nothing, 0) >= 0 && ::dup2(output, 1) >= 0 &&
                     ::dup2(errors, 2) >= 0 && ::chdir(folder) == 0;
  if (ready) ::execve(command[0], command, environment_texts);
  ::_exit(126);
}

bool ends_by(clock::time_point limit, descriptor const& program) {
  for (;;) {
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(limit - clock::now()).count();
    pollfd waited{program.number(), POLLIN, 0};
    int const ended = ::poll(&waited, 1, static_cast<int>(std::max<long long>(0, left)));
    if (ended >= 0) return ended > 0;
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
  }
}

}  // namespace

words::words(std::string const& text) {
  std::istringstream stream(text);
  for (std::string word; stream >> word;) push_back(word);
}

words& words::operator+=(words const& more) {
  insert(end(), more.begin(), more.end());
  return *this;
}

words operator+(words first, words const& more) { return first += more; }

std::string text_of(words const& line) {
  std::string text;
  for (std::string const& word : line) text += (text.empty() ? "" : " ") + word;
  return text;
}

outcome run(words const& command, environment const& extra, std::filesystem::path const& folder,
            std::chrono::milliseconds limit) {
  descriptor const output = nameless_file();
  descriptor const errors = nameless_file();
  words arguments = command;
  words texts = variables(extra);
  std::vector<char*> const argv = pointers(arguments);
  std::vector<char*> const envp = pointers(texts);

  auto const start = clock::now();
  pid_t const child = ::fork();
  if (child == 0) {
    be_the_program(argv.data(), envp.data(), folder.c_str(), output.number(), errors.number());
  }
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  outcome result;
  {
    descriptor const program(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)), "pidfd_open");
    result.is_late = !ends_by(start + limit, program);
    if (result.is_late && ::kill(-child, SIGKILL) != 0) ::kill(child, SIGKILL);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  result.took = std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - start);
  result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  result.output = output.content();
  result.errors = errors.content();
  return result;
}

outcome run_at(std::string const& moment, words const& command, environment extra,
               std::filesystem::path const& folder) {
  extra.insert({{"FAKETIME", moment}, {"FAKETIME_DONT_FAKE_MONOTONIC", "1"}});
  return run(words{LOADER, "--preload", HELD_CLOCK_LIBRARIES} + command, extra, folder);
}

}  // namespace support
