#include "run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace hostile {

namespace {

using clock = std::chrono::steady_clock;

[[noreturn]] void fail(char const* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

class descriptor {
 public:
  descriptor(int number, char const* what) : number_(number) {
    if (number_ < 0) fail(what);
  }
  ~descriptor() { ::close(number_); }
  descriptor(descriptor const&) = delete;
  descriptor& operator=(descriptor const&) = delete;

  int number() const { return number_; }

 private:
  int number_;
};

descriptor nameless_file() {
  return {::open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600), "O_TMPFILE"};
}

std::string content_of(descriptor const& file) {
  std::string text;
  std::string part(std::size_t{64} * 1024, '\0');
  for (off_t at = 0;;) {
    ssize_t const size = ::pread(file.number(), part.data(), part.size(), at);
    if (size < 0) fail("read");
    if (size == 0) return text;
    text.append(part, 0, static_cast<std::size_t>(size));
    at += size;
  }
}

std::vector<std::string> variables(environment const& extra) {
  environment all = extra;
  std::string const status = "exitcode=" + std::to_string(sanitizer_status);
  all.insert({{"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C"}, {"TZ", "UTC"}});
  all.insert({{"ASAN_OPTIONS", status}, {"LSAN_OPTIONS", status}, {"UBSAN_OPTIONS", status}});
  std::vector<std::string> texts;
  texts.reserve(all.size());
  for (auto const& [name, value] : all) texts.push_back(name + "=" + value);
  return texts;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
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

bool ends_within(descriptor const& program, std::chrono::milliseconds limit,
                 clock::time_point start) {
  for (;;) {
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(start + limit - clock::now());
    pollfd waited{program.number(), POLLIN, 0};
    int const ended = ::poll(&waited, 1, static_cast<int>(std::max<long>(0, left.count())));
    if (ended > 0) return true;
    if (ended == 0) return false;
    if (errno != EINTR) fail("poll");
  }
}

}  // namespace

outcome run(words const& command, environment const& extra, std::filesystem::path const& folder,
            std::chrono::milliseconds limit) {
  descriptor const output = nameless_file();
  descriptor const errors = nameless_file();
  std::vector<std::string> arguments = command;
  std::vector<std::string> texts = variables(extra);
  std::vector<char*> const argv = pointers(arguments);
  std::vector<char*> const envp = pointers(texts);

  auto const start = clock::now();
  pid_t const child = ::fork();
  if (child < 0) fail("fork");
  if (child == 0) {
    be_the_program(argv.data(), envp.data(), folder.c_str(), output.number(), errors.number());
  }
  outcome result;
  {
    descriptor const program(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)), "pidfd_open");
    result.is_late = !ends_within(program, limit, start);
    if (result.is_late && ::kill(-child, SIGKILL) != 0) ::kill(child, SIGKILL);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) fail("waitpid");
  }
  result.took = std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - start);
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.output = content_of(output);
  result.errors = content_of(errors);
  return result;
}

}  // namespace hostile
