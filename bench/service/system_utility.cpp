#include "storage/system_utility.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <string>

#include "call_log.h"
#include "storage/logging.h"

namespace {

// A client has one program open at a time; a second is refused.
struct open_program {
  std::FILE* stream = nullptr;
  pid_t child = -1;
};

open_program& only_program() {
  static open_program only;
  return only;
}

// Runs the program with one argument and `output` as its standard output.
bool spawn(std::string program, std::string argument, int output, pid_t& child) {
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  char* const words[] = {program.data(), argument.data(), nullptr};
  int const result = ::posix_spawn(&child, program.c_str(), &actions, nullptr, words, environ);
  ::posix_spawn_file_actions_destroy(&actions);
  return result == 0;
}

}  // namespace

extern "C" char* nstrcpy(char* destination, char const* source, std::size_t size) {
  generated::note("nstrcpy");
  if (size == 0) return destination;
  std::size_t const length = ::strnlen(source, size - 1);
  std::memcpy(destination, source, length);
  destination[length] = '\0';
  return destination;
}

// Only programs with one argument are run.
extern "C" std::FILE* velt_popen(char const* /*mode*/, char const* program, ...) {
  std::va_list rest;
  va_start(rest, program);
  char const* const argument = va_arg(rest, char const*);
  va_end(rest);

  generated::note("velt_popen");
  open_program& only = only_program();
  int ends[2];
  if (only.stream != nullptr || ::pipe2(ends, O_CLOEXEC) != 0) return nullptr;
  bool const runs = spawn(program, argument == nullptr ? "" : argument, ends[1], only.child);
  ::close(ends[1]);
  if (runs) only.stream = ::fdopen(ends[0], "r");
  if (only.stream == nullptr) ::close(ends[0]);
  return only.stream;
}

extern "C" int velt_pclose(std::FILE* stream) {
  generated::note("velt_pclose");
  open_program& only = only_program();
  if (stream == nullptr || stream != only.stream) return -1;
  std::fclose(stream);
  only.stream = nullptr;
  int status = 0;
  return ::waitpid(only.child, &status, 0) == only.child ? status : -1;
}

extern "C" void log_Debug(char const* /*format*/, ...) { generated::note("log_Debug"); }
