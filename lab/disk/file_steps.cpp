#include "lab/disk/file_steps.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <string_view>
#include <system_error>
#include <vector>

#include "lab/disk/fault_hook.h"
#include "lab/util/error.h"

namespace lab::steps {

namespace {

using fault_points::call;
using fault_points::refused;

constexpr mode_t folder_mode = 0755;
constexpr mode_t file_mode = 0644;

// What is allocated at once of a new file: a fraction of a second of writing where
// the file system cannot allocate blocks without.
constexpr std::int64_t piece = std::int64_t{32} * 1024 * 1024;

descriptor create(folder const& in, std::string const& name) {
  int const flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  descriptor created(refused(call::create, in, name)
                         ? -1
                         : openat(in.number(), entry_name(name).c_str(), flags, file_mode));
  if (created.number() < 0) fail_with_errno(in.path() / name, "cannot create");
  return created;
}

// Of what else can be opened by a file's name nothing is read or written.
struct stat status_of_file(descriptor const& file, folder const& in, std::string const& name) {
  struct stat found {};
  if (fstat(file.number(), &found) != 0) fail_with_errno(in.path() / name, "cannot look at");
  if (!S_ISREG(found.st_mode)) throw error((in.path() / name).string() + ": is no file");
  return found;
}

// What has a second name may be somebody's elsewhere.
void require_one_name(descriptor const& file, folder const& in, std::string const& name) {
  if (status_of_file(file, in, name).st_nlink > 1) {
    throw error((in.path() / name).string() + ": has a second name elsewhere");
  }
}

descriptor open_to_read(folder const& in, std::string const& name) {
  int const flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  descriptor opened(openat(in.number(), entry_name(name).c_str(), flags));
  if (opened.number() < 0) fail_with_errno(in.path() / name, "cannot open");
  return opened;
}

static_assert(sizeof(off_t) == sizeof(std::int64_t), "large files need _FILE_OFFSET_BITS=64");

// To read, too: where the file system cannot allocate blocks, the C library reads
// what is there.
descriptor open_to_write(folder const& in, std::string const& name) {
  int const flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  descriptor opened(refused(call::open_to_write, in, name)
                        ? -1
                        : openat(in.number(), entry_name(name).c_str(), flags));
  if (opened.number() < 0) fail_with_errno(in.path() / name, "cannot open");
  status_of_file(opened, in, name);
  return opened;
}

void allocate(descriptor const& file, folder const& in, std::string const& name, std::int64_t from,
              std::int64_t bytes) {
  int result = EINTR;
  while (result == EINTR) {
    result =
        refused(call::allocate, in, name)
            ? errno
            : posix_fallocate(file.number(), static_cast<off_t>(from), static_cast<off_t>(bytes));
  }
  errno = result;
  if (result != 0) fail_with_errno(in.path() / name, "cannot allocate");
}

void write_at(std::int64_t offset, descriptor const& file, folder const& in,
              std::string const& name, std::string_view content) {
  while (!content.empty()) {
    ssize_t const more =
        refused(call::write, in, name)
            ? -1
            : pwrite(file.number(), content.data(), content.size(), static_cast<off_t>(offset));
    if (more < 0 && errno != EINTR) fail_with_errno(in.path() / name, "cannot write");
    if (more <= 0) continue;
    offset += more;
    content.remove_prefix(static_cast<std::size_t>(more));
  }
}

void copy_content(descriptor const& source, folder const& from, descriptor const& made,
                  folder const& to, std::string const& name) {
  std::vector<char> buffer(std::size_t{1} << 20U);
  for (std::int64_t offset = 0;;) {
    ssize_t const more =
        pread(source.number(), buffer.data(), buffer.size(), static_cast<off_t>(offset));
    if (more == 0) return;
    if (more < 0 && errno != EINTR) fail_with_errno(from.path() / name, "cannot read");
    if (more < 0) continue;
    write_at(offset, made, to, name, {buffer.data(), static_cast<std::size_t>(more)});
    offset += more;
  }
}

void empty_folder(folder const& in, std::string const& name) {
  auto const inside = folder::find(in, name);
  if (!inside) return;
  for (auto const& each : inside->names()) remove_tree(*inside, each);
}

}  // namespace

bool make_folder(folder const& in, std::string const& name) {
  if (!refused(call::make_folder, in, name) &&
      mkdirat(in.number(), entry_name(name).c_str(), folder_mode) == 0) {
    return true;
  }
  if (errno == EEXIST) return false;
  fail_with_errno(in.path() / name, "cannot make folder");
}

bool make_folders(std::filesystem::path const& path) {
  bool made = false;
  std::filesystem::path below;
  for (auto const& name : path) {
    below /= name;
    std::error_code ignored;
    if (std::filesystem::is_directory(below, ignored)) continue;
    if (refused(call::make_folder, below) || mkdir(below.c_str(), folder_mode) != 0) {
      fail_with_errno(below, "cannot make folder");
    }
    made = true;
  }
  return made;
}

bool remove_tree(folder const& in, std::string const& name) noexcept {
  try {
    auto const status = in.status(name);
    if (!status) return true;
    bool const is_folder = S_ISDIR(status->st_mode);
    if (is_folder) empty_folder(in, name);
    if (refused(is_folder ? call::remove_folder : call::unlink, in, name)) return false;
    return unlinkat(in.number(), name.c_str(), is_folder ? AT_REMOVEDIR : 0) == 0;
  } catch (std::exception const&) {
    return false;
  }
}

bool remove_empty_folder(folder const& in, std::string const& name) {
  if (!refused(call::remove_folder, in, name) &&
      unlinkat(in.number(), entry_name(name).c_str(), AT_REMOVEDIR) == 0) {
    return true;
  }
  if (errno == ENOTEMPTY || errno == EEXIST || errno == ENOENT) return false;
  fail_with_errno(in.path() / name, "cannot remove folder");
}

void make_file(folder const& in, std::string const& name, std::string const& content) {
  descriptor const made = create(in, name);
  try {
    write_at(0, made, in, name, content);
  } catch (error const&) {
    remove_tree(in, name);
    throw;
  }
}

void make_file_like(folder const& in, std::string const& other, std::string const& name) {
  auto const model = in.status(other);
  if (!model) throw error((in.path() / other).string() + ": there is no such file");
  descriptor const made = create(in, name);
  bool const given = fchown(made.number(), model->st_uid, model->st_gid) == 0 || errno == EPERM;
  if (!given || fchmod(made.number(), model->st_mode & 0777U) != 0) {
    fail_with_errno(in.path() / name, "cannot give it its owner and permissions");
  }
}

void preallocate_file(folder const& in, std::string const& name, std::int64_t bytes,
                      std::function<void()> const& between) {
  descriptor const made = create(in, name);
  try {
    for (std::int64_t from = 0; from < bytes; from += piece) {
      if (from > 0 && between) between();
      allocate(made, in, name, from, std::min(piece, bytes - from));
    }
  } catch (...) {
    remove_tree(in, name);
    throw;
  }
}

void allocate_blocks(folder const& in, std::string const& name, std::int64_t bytes) {
  descriptor const file = open_to_write(in, name);
  require_one_name(file, in, name);
  allocate(file, in, name, 0, bytes);
}

void write_head(folder const& in, std::string const& name, std::string const& head) {
  descriptor const file = open_to_write(in, name);
  write_at(0, file, in, name, head);
  sync_file_range(file.number(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

void sync_file(folder const& in, std::string const& name) {
  descriptor const file = open_to_write(in, name);
  if (refused(call::sync_file, in, name) || fdatasync(file.number()) != 0) {
    fail_with_errno(in.path() / name, "cannot sync");
  }
}

bool link_file(folder const& from, folder const& to, std::string const& name) {
  if (!fault_points::refused_link(from, to, name) &&
      linkat(from.number(), entry_name(name).c_str(), to.number(), name.c_str(), 0) == 0) {
    return true;
  }
  if (errno == EEXIST) return false;
  fail_with_errno(to.path() / name, "cannot link");
}

void copy_file(folder const& from, folder const& to, std::string const& name) {
  descriptor const source = open_to_read(from, name);
  auto const model = status_of_file(source, from, name);
  descriptor const made = create(to, name);
  try {
    copy_content(source, from, made, to, name);
    if (fchmod(made.number(), model.st_mode & 0777U) != 0) {
      fail_with_errno(to.path() / name, "cannot give it its permissions");
    }
  } catch (error const&) {
    remove_tree(to, name);
    throw;
  }
}

void cut_file(folder const& in, std::string const& name, std::int64_t bytes) {
  descriptor const file = open_to_write(in, name);
  require_one_name(file, in, name);
  if (refused(call::truncate, in, name) ||
      ftruncate(file.number(), static_cast<off_t>(bytes)) != 0) {
    fail_with_errno(in.path() / name, "cannot cut");
  }
}

void move_file(folder const& from, folder const& to, std::string const& name) {
  if (fault_points::refused_move(from, to, name) ||
      renameat(from.number(), entry_name(name).c_str(), to.number(), name.c_str()) != 0) {
    fail_with_errno(from.path() / name, "cannot move");
  }
}

bool move_to_free_name(folder const& from, folder const& to, std::string const& name) {
  if (!fault_points::refused_move(from, to, name) &&
      renameat2(from.number(), entry_name(name).c_str(), to.number(), name.c_str(),
                RENAME_NOREPLACE) == 0) {
    return true;
  }
  if (errno == EEXIST) return false;
  fail_with_errno(from.path() / name, "cannot move");
}

void remove_file(folder const& in, std::string const& name) {
  if (refused(call::unlink, in, name) || unlinkat(in.number(), entry_name(name).c_str(), 0) != 0) {
    fail_with_errno(in.path() / name, "cannot remove");
  }
}

void rename_file(folder const& in, std::string const& from, std::string const& to) {
  if (refused(call::rename, in, to) ||
      renameat(in.number(), entry_name(from).c_str(), in.number(), entry_name(to).c_str()) != 0) {
    fail_with_errno(in.path() / from, "cannot rename");
  }
}

void sync_folder(folder const& which) {
  if (refused(call::sync_folder, which.path()) || fsync(which.number()) != 0) {
    fail_with_errno(which.path(), "cannot sync");
  }
}

void sync_file_system(folder const& any) {
  if (refused(call::sync_file_system, any.path()) || syncfs(any.number()) != 0) {
    fail_with_errno(any.path(), "cannot sync");
  }
}

int open_database(std::filesystem::path const& file, sqlite3** connection, int flags) {
  return sqlite3_open_v2(file.c_str(), connection, flags, fault_points::database_vfs());
}

int commit(sqlite3* connection) {
  if (refused(call::commit, std::filesystem::path())) return SQLITE_IOERR;
  return sqlite3_exec(connection, "COMMIT", nullptr, nullptr, nullptr);
}

}  // namespace lab::steps
