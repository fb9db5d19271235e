// SQLite's own file layer with a fault point before everything that it changes.
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "lab/disk/fault_hook.h"

namespace lab::fault_points {

namespace {

// SQLite's file lies behind it in the same block of memory.
struct watched_file : sqlite3_file {
  char const* name;
};

sqlite3_file* own(sqlite3_file* file) {
  void* const behind = static_cast<watched_file*>(file) + 1;
  return static_cast<sqlite3_file*>(behind);
}

char const* name_of(sqlite3_file* file) {
  char const* const name = static_cast<watched_file*>(file)->name;
  return name == nullptr ? "" : name;
}

int result_of_refusal(int otherwise) { return errno == ENOSPC ? SQLITE_FULL : otherwise; }

sqlite3_int64 size_of(sqlite3_file* file) {
  sqlite3_int64 size = 0;
  own(file)->pMethods->xFileSize(own(file), &size);
  return size;
}

// What changes nothing is done by the file's own method.
template <auto Method, typename... Arguments>
int pass_on(sqlite3_file* file, Arguments... arguments) {
  return (own(file)->pMethods->*Method)(own(file), arguments...);
}

int write_file(sqlite3_file* file, void const* from, int bytes, sqlite3_int64 at) {
  bool const grows = at + bytes > size_of(file);
  if (refused(grows ? call::database_grow : call::database_write, name_of(file))) {
    return result_of_refusal(SQLITE_IOERR_WRITE);
  }
  return own(file)->pMethods->xWrite(own(file), from, bytes, at);
}

int truncate_file(sqlite3_file* file, sqlite3_int64 size) {
  if (refused(call::database_truncate, name_of(file))) return SQLITE_IOERR_TRUNCATE;
  return own(file)->pMethods->xTruncate(own(file), size);
}

int sync_file(sqlite3_file* file, int flags) {
  if (refused(call::database_sync, name_of(file))) return SQLITE_IOERR_FSYNC;
  return own(file)->pMethods->xSync(own(file), flags);
}

int control_file(sqlite3_file* file, int operation, void* argument) {
  if (operation == SQLITE_FCNTL_SIZE_HINT) {
    bool const grows = *static_cast<sqlite3_int64*>(argument) > size_of(file);
    if (grows && refused(call::database_grow, name_of(file))) {
      return result_of_refusal(SQLITE_IOERR_WRITE);
    }
  }
  return own(file)->pMethods->xFileControl(own(file), operation, argument);
}

sqlite3_io_methods watched_methods() {
  sqlite3_io_methods methods{};
  methods.iVersion = 1;
  methods.xClose = pass_on<&sqlite3_io_methods::xClose>;
  methods.xRead = pass_on<&sqlite3_io_methods::xRead>;
  methods.xWrite = write_file;
  methods.xTruncate = truncate_file;
  methods.xSync = sync_file;
  methods.xFileSize = pass_on<&sqlite3_io_methods::xFileSize>;
  methods.xLock = pass_on<&sqlite3_io_methods::xLock>;
  methods.xUnlock = pass_on<&sqlite3_io_methods::xUnlock>;
  methods.xCheckReservedLock = pass_on<&sqlite3_io_methods::xCheckReservedLock>;
  methods.xFileControl = control_file;
  methods.xSectorSize = pass_on<&sqlite3_io_methods::xSectorSize>;
  methods.xDeviceCharacteristics = pass_on<&sqlite3_io_methods::xDeviceCharacteristics>;
  return methods;
}

sqlite3_vfs* usual() { return sqlite3_vfs_find("unix"); }

bool makes_file(char const* name, int flags) {
  return (flags & SQLITE_OPEN_CREATE) != 0 && name != nullptr && access(name, F_OK) != 0;
}

int open_file(sqlite3_vfs* /*vfs*/, char const* name, sqlite3_file* file, int flags,
              int* out_flags) {
  static sqlite3_io_methods const methods = watched_methods();
  file->pMethods = nullptr;
  if (makes_file(name, flags) && refused(call::database_create, name)) return SQLITE_CANTOPEN;
  static_cast<watched_file*>(file)->name = name;
  int const result = usual()->xOpen(usual(), name, own(file), flags, out_flags);
  if (own(file)->pMethods != nullptr) file->pMethods = &methods;
  return result;
}

int remove_file(sqlite3_vfs* /*vfs*/, char const* name, int sync_folder) {
  if (access(name, F_OK) == 0 && refused(call::database_remove, name)) return SQLITE_IOERR_DELETE;
  return usual()->xDelete(usual(), name, sync_folder);
}

// Always the same, so that the same run writes the same bytes.
int no_randomness(sqlite3_vfs* /*vfs*/, int bytes, char* into) {
  std::fill_n(into, bytes, '\0');
  return bytes;
}

sqlite3_vfs watched_vfs() {
  sqlite3_vfs vfs = *usual();
  vfs.iVersion = 2;
  vfs.szOsFile += static_cast<int>(sizeof(watched_file));
  vfs.pNext = nullptr;
  vfs.zName = "watched";
  vfs.xOpen = open_file;
  vfs.xDelete = remove_file;
  vfs.xRandomness = no_randomness;
  return vfs;
}

}  // namespace

char const* database_vfs() {
  static sqlite3_vfs vfs = watched_vfs();
  [[maybe_unused]] static int const registered = sqlite3_vfs_register(&vfs, 1);
  return vfs.zName;
}

}  // namespace lab::fault_points
