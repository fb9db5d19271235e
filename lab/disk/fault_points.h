// Fault points. A test build, compiled with LAB_FAULT_POINTS, asks an observer
// before every system call by which a recorder changes what is on disk, those
// of SQLite included; the observer lets it happen, makes it fail, or kills the
// process. In the ordinary build every question is a constant.
#pragma once

#include <string>

#include "lab/disk/folder.h"

#ifdef LAB_FAULT_POINTS
#include <functional>
#include <optional>
#endif

namespace lab::fault_points {

enum class call {
  make_folder,
  remove_folder,
  create,
  allocate,
  open_to_write,
  write,
  truncate,
  sync_file,
  link,
  unlink,
  rename,
  sync_folder,
  sync_file_system,
  commit,
  database_create,
  database_write,
  database_grow,
  database_truncate,
  database_sync,
  database_remove,
};

#ifdef LAB_FAULT_POINTS

struct point {
  call what;
  std::filesystem::path path;   // what is changed
  std::filesystem::path other;  // where a link or a renamed file comes from
};

// True for what can need a block that the file system has not got. Folders keep
// their blocks, so that a name finds room where it or another one was before.
bool takes_space(point const& at);

// Answers 0 to let the call happen, else the errno with which it fails.
using observer = std::function<int(point const&)>;

// Puts an observer in place of the present one for as long as it lives.
class watch {
 public:
  explicit watch(observer watching);
  ~watch();
  watch(watch const&) = delete;
  watch& operator=(watch const&) = delete;

 private:
  observer before_;
};

// A fault at the n-th point, counted from 1.
struct fault {
  enum class kind { kill, error, no_space };
  kind what;
  int error_number;  // of an error
  int at;
  enum class span { once, from_there_on } lasting;
};

// Reads what STLAB_FAULT holds: "kill@N" ends the process by SIGKILL at its
// N-th point, "EIO@N" and "ENOSPC@N" make that point fail, "full@N" makes it
// fail with ENOSPC if it takes space; a "+" behind the number means every point
// from there on. None when the text is none of these.
std::optional<fault> parse(std::string const& text);

// Makes the fault happen. Counts the points into `points`, which must outlive
// it.
observer injector(fault const& what, int& points);

// Asks the observer; when the call is to fail, sets errno and returns true.
// Without an observer the first question reads STLAB_FAULT, and a text that is
// no fault ends the process.
bool refused(call what, std::filesystem::path const& path, std::filesystem::path const& other = {});
bool refused(call what, folder const& in, std::string const& name);
bool refused_link(folder const& from, folder const& to, std::string const& name);
bool refused_move(folder const& from, folder const& to, std::string const& name);

// The VFS through which SQLite asks too.
char const* database_vfs();

#else

constexpr bool refused(call /*what*/, std::filesystem::path const& /*path*/) { return false; }
constexpr bool refused(call /*what*/, folder const& /*in*/, std::string const& /*name*/) {
  return false;
}
constexpr bool refused_link(folder const& /*from*/, folder const& /*to*/,
                            std::string const& /*name*/) {
  return false;
}
constexpr bool refused_move(folder const& /*from*/, folder const& /*to*/,
                            std::string const& /*name*/) {
  return false;
}

// SQLite's own.
constexpr char const* database_vfs() { return nullptr; }

#endif

}  // namespace lab::fault_points
