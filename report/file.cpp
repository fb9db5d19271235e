#include "report/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

#include "report/descriptor.h"

namespace report {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_file_bytes = std::size_t{64} * 1024 * 1024;
constexpr int most_names = 100;

[[noreturn]] void fail(int code) { throw std::system_error(code, std::generic_category()); }
[[noreturn]] void refuse(char const* reason) {
  throw std::system_error(EINVAL, std::generic_category(), reason);
}

// Whether something lies there that may be replaced. Throws when something else does.
bool is_replaceable(fs::path const& file) {
  struct stat found {};
  if (::lstat(file.c_str(), &found) != 0) {
    if (errno == ENOENT) return false;
    fail(errno);
  }
  if (S_ISDIR(found.st_mode)) fail(EISDIR);
  if (!S_ISREG(found.st_mode)) refuse("there is something else than a file");
  return true;
}

// A new file beside another one, which goes unless it is kept.
class file_beside {
 public:
  explicit file_beside(fs::path const& file) {
    for (int i = 0; i < most_names; ++i) {
      name_ = file.parent_path() /
              (".st-report-" + std::to_string(::getpid()) + "-" + std::to_string(i));
      descriptor opened(
          ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
      if (opened.get() >= 0) {
        opened_ = std::move(opened);
        return;
      }
      if (errno != EEXIST) fail(errno);
    }
    fail(EEXIST);
  }
  ~file_beside() {
    if (opened_.get() >= 0) ::unlink(name_.c_str());
  }
  file_beside(file_beside const&) = delete;
  file_beside& operator=(file_beside const&) = delete;

  int get() const noexcept { return opened_.get(); }

  // In the place of the other file, with what was written on the disk.
  void become(fs::path const& file) {
    if (::fsync(opened_.get()) != 0) fail(errno);
    if (::rename(name_.c_str(), file.c_str()) != 0) fail(errno);
    opened_ = descriptor();
  }

 private:
  fs::path name_;
  descriptor opened_;
};

// Whoever could read the file before can read the new one.
void keep_mode(int opened, fs::path const& file) {
  struct stat before {};
  if (::lstat(file.c_str(), &before) != 0) return;
  if (::fchmod(opened, before.st_mode & 0777U) != 0) fail(errno);
}

std::string read_all(int from) {
  std::string text;
  std::array<char, 65536> part{};
  for (;;) {
    ssize_t const count = ::read(from, part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(errno);
    if (count == 0) return text;
    text.append(part.data(), static_cast<std::size_t>(count));
    if (text.size() > most_file_bytes) fail(EFBIG);
  }
}

}  // namespace

void write_all(int to, std::string_view text) {
  while (!text.empty()) {
    ssize_t const count = ::write(to, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(errno);
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

void write_file(fs::path const& file, std::string const& text) {
  bool const was_there = is_replaceable(file);
  file_beside written(file);
  if (was_there) keep_mode(written.get(), file);
  write_all(written.get(), text);
  written.become(file);
}

std::string read_file(fs::path const& file) {
  // A pipe that nobody writes is no reason to wait.
  descriptor const opened(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (opened.get() < 0) fail(errno);
  struct stat found {};
  if (::fstat(opened.get(), &found) != 0) fail(errno);
  if (S_ISDIR(found.st_mode)) fail(EISDIR);
  if (!S_ISREG(found.st_mode)) refuse("it is no file");
  if (found.st_size > static_cast<off_t>(most_file_bytes)) fail(EFBIG);
  return read_all(opened.get());
}

}  // namespace report
