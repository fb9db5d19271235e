// The fault hook: a question before every system call by which a recorder changes
// what is on disk, those of SQLite included. Here the answer is always no. The
// tests link another definition ahead of this one, which makes calls fail or ends
// the process; everything else is what is delivered.
#pragma once

#include <filesystem>
#include <string>

#include "lab/disk/folder.h"

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

// True when the call is to fail; errno says how. `path` is what would be changed.
bool refused(call what, std::filesystem::path const& path);
bool refused(call what, folder const& in, std::string const& name);
bool refused_link(folder const& from, folder const& to, std::string const& name);
bool refused_move(folder const& from, folder const& to, std::string const& name);

// The file layer by which SQLite changes what is on disk; null for its own.
char const* database_vfs();

}  // namespace lab::fault_points
