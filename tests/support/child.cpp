#include "child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli/dispatcher.h"
#include "environment.h"

#if defined(_TIME_BITS) && _TIME_BITS == 64 && __TIMESIZE == 32
#define TIME_SYMBOL "__time64"
#else
#define TIME_SYMBOL "time"
#endif

// The clock of everything in a test program, time() by its symbol: what the
// script says, or the real one. A moment that time_t cannot hold is -1, as the C
// library has it.
std::time_t scripted_time(std::time_t* out) noexcept __asm__(TIME_SYMBOL);
std::time_t scripted_time(std::time_t* out) noexcept {
  auto const& clock = scripted::call_log::instance().script().clock;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::int64_t const asked = clock ? clock() : std::int64_t{now.tv_sec};
  auto const held = static_cast<std::time_t>(asked);
  std::time_t const seconds = held == asked ? held : -1;
  if (out != nullptr) *out = seconds;
  return seconds;
}

namespace support {

namespace {

// Never returns: ends the child by exit(), so that the leak check runs.
[[noreturn]] void be_the_child(scripted::script const& script, std::function<void()> const& body,
                               std::filesystem::path const& folder) {
  int const out = open((folder / "output").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (out < 0 || dup2(out, STDOUT_FILENO) < 0) _exit(126);
  close(out);
  scrub_environment();
  scripted::call_log::instance().start(script, folder / "calls");
  scripted::call_log::instance().measure_output(folder / "sizes");
  try {
    body();
  } catch (std::exception const& error) {
    write_file(folder / "escaped", error.what());
  }
  std::exit(0);
}

int status_of(int wait_status) {
  if (WIFEXITED(wait_status)) return WEXITSTATUS(wait_status);
  return 128 + WTERMSIG(wait_status);
}

}  // namespace

child_outcome in_child(scripted::script const& script, std::function<void()> const& body) {
  temporary_folder const folder;
  std::fflush(nullptr);
  pid_t const child = fork();
  if (child == 0) be_the_child(script, body, folder.path());

  child_outcome result;
  int wait_status = 0;
  if (child < 0 || waitpid(child, &wait_status, 0) != child) {
    ADD_FAILURE() << "no child process";
    return result;
  }
  result.status = status_of(wait_status);
  result.output = content_of(folder.path() / "output");
  std::istringstream sizes(content_of(folder.path() / "sizes"));
  for (std::string const& line : lines_of(content_of(folder.path() / "calls"))) {
    std::size_t printed = 0;
    sizes >> printed;
    if (line.rfind("nstrcpy(", 0) == 0) {
      result.copies.push_back(line);
    } else {
      result.calls.push_back(line);
      result.printed.push_back(printed);
    }
  }
  if (std::filesystem::exists(folder.path() / "escaped")) {
    result.escaped = content_of(folder.path() / "escaped");
  }
  return result;
}

std::function<void()> st_command(std::vector<std::string> const& words) {
  return [words] {
    std::vector<std::string> texts = {"st"};
    texts.insert(texts.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    std::transform(texts.begin(), texts.end(), std::back_inserter(arguments),
                   [](std::string& each) { return each.data(); });
    arguments.push_back(nullptr);
    int const status = st::run(static_cast<int>(texts.size()), arguments.data());
    if (status != 0) std::exit(status);
  };
}

child_outcome run_st(scripted::script const& script, std::vector<std::string> const& words) {
  return in_child(script, st_command(words));
}

std::vector<std::string> story(child_outcome const& run) {
  std::vector<std::string> all;
  std::size_t told = 0;
  auto const tell_until = [&](std::size_t end) {
    while (told < end) {
      std::size_t const newline = run.output.find('\n', told);
      std::size_t const next = std::min(newline == std::string::npos ? end : newline + 1, end);
      all.push_back(run.output.substr(told, next - told));
      told = next;
    }
  };
  for (std::size_t i = 0; i < run.calls.size(); ++i) {
    tell_until(std::min(run.printed[i], run.output.size()));
    all.push_back(run.calls[i]);
  }
  tell_until(run.output.size());
  return all;
}

}  // namespace support
