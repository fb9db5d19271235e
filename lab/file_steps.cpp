#include "lab/file_steps.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "lab/error.h"

namespace lab::steps {

namespace {

constexpr mode_t folder_mode = 0755;
constexpr mode_t file_mode = 0644;

descriptor create(folder const& in, std::string const& name) {
  int const flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  descriptor created(openat(in.number(), name.c_str(), flags, file_mode));
  if (created.number() < 0) fail_with_errno(in.path() / name, "cannot create");
  return created;
}

descriptor open_to_write(folder const& in, std::string const& name) {
  int const flags = O_WRONLY | O_CLOEXEC | O_NOFOLLOW;
  descriptor opened(openat(in.number(), name.c_str(), flags));
  if (opened.number() < 0) fail_with_errno(in.path() / name, "cannot open");
  return opened;
}

void write_at_start(descriptor const& file, folder const& in, std::string const& name,
                    std::string const& content) {
  std::size_t written = 0;
  while (written < content.size()) {
    ssize_t const more = pwrite(file.number(), content.data() + written, content.size() - written,
                                static_cast<off_t>(written));
    if (more < 0 && errno != EINTR) fail_with_errno(in.path() / name, "cannot write");
    if (more > 0) written += static_cast<std::size_t>(more);
  }
}

}  // namespace

bool make_folder(folder const& in, std::string const& name) {
  if (mkdirat(in.number(), name.c_str(), folder_mode) == 0) return true;
  if (errno == EEXIST) return false;
  fail_with_errno(in.path() / name, "cannot make folder");
}

bool make_folders(std::filesystem::path const& path) {
  std::error_code problem;
  bool const made = std::filesystem::create_directories(path, problem);
  if (problem) throw error(path.string() + ": cannot make folder: " + problem.message());
  return made;
}

void remove_tree(std::filesystem::path const& path) noexcept {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

bool remove_empty_folder(folder const& in, std::string const& name) {
  if (unlinkat(in.number(), name.c_str(), AT_REMOVEDIR) == 0) return true;
  if (errno == ENOTEMPTY || errno == EEXIST || errno == ENOENT) return false;
  fail_with_errno(in.path() / name, "cannot remove folder");
}

void make_file(folder const& in, std::string const& name, std::string const& content) {
  write_at_start(create(in, name), in, name, content);
}

void preallocate_file(folder const& in, std::string const& name, std::int64_t bytes) {
  descriptor const file = create(in, name);
  int result = EINTR;
  while (result == EINTR) {
    result = posix_fallocate(file.number(), 0, static_cast<off_t>(bytes));
  }
  errno = result;
  if (result != 0) fail_with_errno(in.path() / name, "cannot preallocate");
}

void write_head(folder const& in, std::string const& name, std::string const& head) {
  write_at_start(open_to_write(in, name), in, name, head);
}

void sync_file(folder const& in, std::string const& name) {
  if (fdatasync(open_to_write(in, name).number()) != 0) {
    fail_with_errno(in.path() / name, "cannot sync");
  }
}

bool link_file(folder const& from, folder const& to, std::string const& name) {
  if (linkat(from.number(), name.c_str(), to.number(), name.c_str(), 0) == 0) return true;
  if (errno == EEXIST) return false;
  fail_with_errno(to.path() / name, "cannot link");
}

void remove_file(folder const& in, std::string const& name) {
  if (unlinkat(in.number(), name.c_str(), 0) != 0) {
    fail_with_errno(in.path() / name, "cannot remove");
  }
}

void rename_file(folder const& in, std::string const& from, std::string const& to) {
  if (renameat(in.number(), from.c_str(), in.number(), to.c_str()) != 0) {
    fail_with_errno(in.path() / from, "cannot rename");
  }
}

void sync_folder(folder const& which) {
  if (fsync(which.number()) != 0) fail_with_errno(which.path(), "cannot sync");
}

void sync_file_system(folder const& any) {
  if (syncfs(any.number()) != 0) fail_with_errno(any.path(), "cannot sync");
}

int commit(sqlite3* connection) {
  return sqlite3_exec(connection, "COMMIT", nullptr, nullptr, nullptr);
}

}  // namespace lab::steps
