#include "lab/catalogue/catalogue.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

#include "lab/catalogue/journal.h"
#include "lab/catalogue/schema.h"
#include "lab/disk/folder.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

// What SQLite opens beside the catalogue, by the ends of their names.
constexpr char const* beside_catalogue[] = {"", "-journal", "-wal", "-shm"};

// SQLite writes into these files and would wait for a pipe. One with a second
// name may be anybody's.
void require_plain_file(fs::path const& folder, std::string const& name, struct stat const& found) {
  if (!S_ISREG(found.st_mode)) {
    throw error(folder.string() + ": not a recorder: " + name + " is not a file");
  }
  if (found.st_nlink > 1) {
    throw error(folder.string() + ": not a recorder: " + name + " has a second name elsewhere");
  }
}

// A journal can name another journal, which SQLite would read and remove, wherever
// it lies. The lab's journals name none: that name stands before these bytes.
void require_no_other_journal(fs::path const& journal, std::int64_t size) {
  constexpr std::string_view mark = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
  if (size < static_cast<std::int64_t>(mark.size())) return;
  descriptor const file(
      ::open(journal.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  std::array<char, mark.size()> end{};
  char start = '\0';
  bool const is_read = file.number() >= 0 && pread(file.number(), &start, 1, 0) == 1 &&
                       pread(file.number(), end.data(), end.size(),
                             static_cast<off_t>(size - std::int64_t{end.size()})) >= 0;
  if (!is_read) return;  // nor can SQLite read it
  // One that begins with a zero undoes nothing.
  if (start != '\0' && std::string_view(end.data(), end.size()) == mark) {
    throw error(journal.string() + ": names another journal");
  }
}

// Looks at the catalogue without opening it: closing any descriptor of it would
// drop the locks that another recorder object of this process holds on it.
void require_readable_catalogue(fs::path const& folder) {
  struct stat found {};
  if (stat(folder.c_str(), &found) != 0) fail_with_errno(folder, "cannot open recorder");
  if (!S_ISDIR(found.st_mode)) throw error(folder.string() + ": not a recorder: not a folder");
  for (std::string const end : beside_catalogue) {
    auto const name = catalogue_file + end;
    if (lstat((folder / name).c_str(), &found) == 0) {
      require_plain_file(folder, name, found);
      if (name == catalogue_journal_file) require_no_other_journal(folder / name, found.st_size);
    } else if (errno != ENOENT) {
      fail_with_errno(folder / name, "cannot open catalogue");
    } else if (end.empty()) {
      throw error(folder.string() + ": not a recorder: no " + catalogue_file);
    }
  }
  auto const file = folder / catalogue_file;
  if (faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) != 0) {
    fail_with_errno(file, "cannot read catalogue");
  }
}

void require_known_format(database const& catalogue, fs::path const& folder) {
  if (number_of(catalogue, "PRAGMA application_id") != catalogue_application) {
    throw error(folder.string() + ": not a recorder: its catalogue is empty or something else's");
  }
  std::int64_t const format = number_of(catalogue, "PRAGMA user_version");
  if (format > catalogue_format) {
    throw error(folder.string() + ": made by a newer version: its format is " +
                std::to_string(format) + ", this program knows up to " +
                std::to_string(catalogue_format));
  }
  if (format < catalogue_format) {
    throw error(folder.string() + ": not a recorder: unknown format " + std::to_string(format));
  }
}

// The statements by which the lab makes its tables and indexes, as SQLite keeps
// them.
std::multiset<std::string_view> own_statements() {
  constexpr std::string_view start = "\nCREATE ";
  constexpr std::string_view end = ";\n";
  std::multiset<std::string_view> found;
  std::string_view left = catalogue_schema;
  for (auto at = left.find(start); at != std::string_view::npos; at = left.find(start)) {
    left.remove_prefix(at + 1);
    found.insert(left.substr(0, left.find(end)));
  }
  return found;
}

// What ANALYZE makes, as SQLite keeps it.
bool is_of_analyze(std::string_view statement) {
  return statement == "CREATE TABLE sqlite_stat1(tbl,idx,stat)" ||
         statement == "CREATE TABLE sqlite_stat4(tbl,idx,neq,nlt,ndlt,sample)";
}

// What a catalogue holds beside the lab's own tables and indexes would be run or
// asked behind the lab's back, and changed ones would answer otherwise.
void require_own_schema(database const& catalogue, fs::path const& folder) {
  auto missing = own_statements();
  statement each(catalogue, "SELECT sql FROM sqlite_master WHERE sql IS NOT NULL");
  bool is_own = true;
  while (each.next()) {
    if (is_of_analyze(each.text(0))) continue;
    auto const found = missing.find(each.text(0));
    is_own = is_own && found != missing.end();
    if (is_own) missing.erase(found);
  }
  if (!is_own || !missing.empty()) {
    throw error(folder.string() +
                ": not a recorder: its catalogue has other tables than the lab's");
  }
}

bool is_write_refusal(database_error const& failure) {
  int const kind = failure.code() & 0xff;
  return kind == SQLITE_READONLY || kind == SQLITE_CANTOPEN;
}

database connect(fs::path const& folder, database::mode how,
                 std::chrono::milliseconds lock_timeout) {
  std::error_code problem;
  auto const where = fs::canonical(folder, problem);
  if (problem) throw error(folder.string() + ": cannot open recorder: " + problem.message());
  database catalogue(where / catalogue_file, how, lock_timeout);
  require_known_format(catalogue, folder);
  require_own_schema(catalogue, folder);
  return catalogue;
}

// A change that was cut short by a crash can only be undone by who may write. A
// journal that undoes nothing would stay in readers' way: the next change ends it.
void undo_last_change(fs::path const& folder, std::chrono::milliseconds lock_timeout) {
  try {
    auto catalogue = connect(folder, database::mode::read_write, lock_timeout);
    catalogue.execute("PRAGMA user_version = " + std::to_string(catalogue_format));
  } catch (database_error const& failure) {
    if (!is_write_refusal(failure)) throw;
    throw error(folder.string() +
                ": the last change of its catalogue was cut short; open it once with permission "
                "to write");
  }
}

// A reader that finds such a change has it undone, if that is permitted.
database connect_to_consistent(fs::path const& folder, database::mode how,
                               std::chrono::milliseconds lock_timeout) {
  try {
    return connect(folder, how, lock_timeout);
  } catch (database_error const& failure) {
    if (failure.code() == SQLITE_NOTADB) {
      throw error(folder.string() + ": not a recorder: its catalogue is not a database");
    }
    if (failure.code() != SQLITE_READONLY_ROLLBACK) throw;
  }
  undo_last_change(folder, lock_timeout);
  return connect(folder, how, lock_timeout);
}

}  // namespace

fs::path resolved(fs::path const& folder) {
  auto whole = fs::absolute(folder);
  if (std::find(whole.begin(), whole.end(), "..") != whole.end())
    whole = fs::weakly_canonical(whole);
  whole = whole.lexically_normal();
  return whole.has_filename() ? whole : whole.parent_path();
}

database open_catalogue(fs::path const& recorder_folder, access mode,
                        std::chrono::milliseconds lock_timeout) {
  require_readable_catalogue(recorder_folder);
  auto const how =
      mode == access::read_only ? database::mode::read_only : database::mode::read_write;
  auto catalogue = connect_to_consistent(recorder_folder, how, lock_timeout);
  if (mode == access::read_write && catalogue.read_only()) {
    throw error((recorder_folder / catalogue_file).string() + ": catalogue cannot be written");
  }
  if (mode == access::read_write) put_back_journal(catalogue);
  return catalogue;
}

bool is_still_open(database& kept, fs::path const& recorder_folder) {
  try {
    require_readable_catalogue(recorder_folder);
    auto const file = fs::canonical(recorder_folder) / catalogue_file;
    if (faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) != 0) return false;
    if (file != kept.file() || !kept.renew()) return false;
    require_known_format(kept, recorder_folder);
    require_own_schema(kept, recorder_folder);
  } catch (busy_error const&) {
    throw;
  } catch (std::exception const&) {
    return false;
  }
  put_back_journal(kept);
  return true;
}

}  // namespace lab
