// Files and folders as the bare programs hold them open.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace bare {

// Throws std::system_error, `what` and the text of errno, unless `done`.
inline void must(bool done, std::string const& what) {
  if (!done) throw std::system_error(errno, std::generic_category(), what);
}

// Owns a folder's descriptor.
class folder {
 public:
  // The folder `name` in the one that `parent` is open on. Throws std::system_error.
  folder(int parent, std::string const& name)
      : number_(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    must(number_ >= 0, name);
  }
  ~folder() { close(number_); }
  folder(folder const&) = delete;
  folder& operator=(folder const&) = delete;

  int number() const { return number_; }

  // What is in it, unsorted. Throws std::system_error.
  std::vector<std::string> names() const {
    int const again = openat(number_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    must(again >= 0, "cannot list");
    std::unique_ptr<DIR, int (*)(DIR*)> const stream(fdopendir(again), closedir);
    std::vector<std::string> found;
    while (dirent const* const entry = readdir(stream.get())) {
      if (entry->d_name[0] != '.') found.emplace_back(entry->d_name);
    }
    return found;
  }

 private:
  int number_;
};

}  // namespace bare
