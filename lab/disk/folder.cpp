#include "lab/disk/folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include "lab/util/error.h"

namespace lab {

namespace {

constexpr int folder_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

int flags_for(folder::use how) { return folder_flags | (how == folder::use::pass ? O_PATH : 0); }

struct stream_closer {
  void operator()(DIR* stream) const noexcept { closedir(stream); }
};

}  // namespace

void fail_with_errno(std::filesystem::path const& path, char const* what) {
  int const reason = errno;
  throw error(path.string() + ": " + what + ": " + std::generic_category().message(reason));
}

std::string const& entry_name(std::string const& name) {
  bool const is_entry = !name.empty() && name != "." && name != ".." &&
                        name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
  if (!is_entry) throw error("a name that is no name of a file or folder");
  return name;
}

descriptor::~descriptor() {
  if (number_ >= 0) close(number_);
}

descriptor::descriptor(descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

descriptor& descriptor::operator=(descriptor&& other) noexcept {
  std::swap(number_, other.number_);
  return *this;
}

int descriptor::release() noexcept { return std::exchange(number_, -1); }

folder::folder(std::filesystem::path path, descriptor opened)
    : path_(std::move(path)), descriptor_(std::move(opened)) {}

folder::folder(std::filesystem::path path, use how)
    : path_(std::move(path)), descriptor_(open(path_.c_str(), flags_for(how))) {
  if (number() < 0) fail_with_errno(path_, "cannot open folder");
}

folder::folder(folder const& parent, std::string const& name, use how)
    : path_(parent.path_ / entry_name(name)),
      descriptor_(openat(parent.number(), name.c_str(), flags_for(how) | O_NOFOLLOW)) {
  if (number() < 0) fail_with_errno(path_, "cannot open folder");
}

folder folder::below(std::filesystem::path const& relative) const {
  folder found(path_, descriptor(openat(number(), ".", folder_flags)));
  if (found.number() < 0) fail_with_errno(path_, "cannot open folder");
  for (auto const& name : relative) found = folder(found, name.string());
  return found;
}

std::optional<folder> folder::find(folder const& parent, std::string const& name, use how) {
  descriptor opened(openat(parent.number(), entry_name(name).c_str(), flags_for(how) | O_NOFOLLOW));
  if (opened.number() >= 0) return folder(parent.path_ / name, std::move(opened));
  if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP) return std::nullopt;
  fail_with_errno(parent.path_ / name, "cannot open folder");
}

std::vector<std::string> folder::names() const {
  descriptor again(openat(number(), ".", folder_flags));
  if (again.number() < 0) fail_with_errno(path_, "cannot list");
  std::unique_ptr<DIR, stream_closer> const stream(fdopendir(again.number()));
  if (!stream) fail_with_errno(path_, "cannot list");
  again.release();
  std::vector<std::string> found;
  errno = 0;
  while (dirent const* const entry = readdir(stream.get())) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") found.push_back(std::move(name));
  }
  if (errno != 0) fail_with_errno(path_, "cannot list");
  std::sort(found.begin(), found.end());
  return found;
}

std::optional<struct stat> folder::status(std::string const& name) const {
  struct stat found {};
  if (fstatat(number(), entry_name(name).c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0) return found;
  if (errno == ENOENT) return std::nullopt;
  fail_with_errno(path_ / name, "cannot look at");
}

}  // namespace lab
