// Opening a recorder, and what is finished then.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "lab/catalogue_journal.h"
#include "lab/folder.h"
#include "lab/recorder_state.h"
#include "lab/unit_moves.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

// Looks without opening: closing any descriptor of the catalogue would drop the
// locks that another recorder object of this process holds on it.
void require_readable_catalogue(fs::path const& folder) {
  struct stat found {};
  if (stat(folder.c_str(), &found) != 0) fail_with_errno(folder, "cannot open recorder");
  if (!S_ISDIR(found.st_mode)) throw error(folder.string() + ": not a recorder: not a folder");
  auto const file = folder / catalogue_file;
  if (stat(file.c_str(), &found) != 0) {
    if (errno == ENOENT) throw error(folder.string() + ": not a recorder: no " + catalogue_file);
    fail_with_errno(file, "cannot open catalogue");
  }
  if (!S_ISREG(found.st_mode)) {
    throw error(folder.string() + ": not a recorder: " + catalogue_file + " is not a file");
  }
  if (faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) != 0) {
    fail_with_errno(file, "cannot read catalogue");
  }
}

std::int64_t number_of(database const& catalogue, char const* query) {
  statement one(catalogue, query);
  return one.next() ? one.integer(0) : 0;
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

bool is_write_refusal(database_error const& failure) {
  int const kind = failure.code() & 0xff;
  return kind == SQLITE_READONLY || kind == SQLITE_CANTOPEN;
}

database connect(fs::path const& folder, database::mode how, std::chrono::milliseconds patience) {
  database catalogue(folder / catalogue_file, how, patience);
  require_known_format(catalogue, folder);
  return catalogue;
}

// A change that was cut short by a crash can only be undone by who may write. A
// journal that undoes nothing would stay in readers' way: the next change ends it.
void undo_last_change(fs::path const& folder, std::chrono::milliseconds patience) {
  try {
    auto catalogue = connect(folder, database::mode::read_write, patience);
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
                               std::chrono::milliseconds patience) {
  try {
    return connect(folder, how, patience);
  } catch (database_error const& failure) {
    if (failure.code() == SQLITE_NOTADB) {
      throw error(folder.string() + ": not a recorder: its catalogue is not a database");
    }
    if (failure.code() != SQLITE_READONLY_ROLLBACK) throw;
  }
  undo_last_change(folder, patience);
  return connect(folder, how, patience);
}

}  // namespace

void require_path_without_share(fs::path const& recorder_folder) {
  if ((recorder_folder.string() + "/").find("share/") == std::string::npos) return;
  throw error(recorder_folder.string() + ": a recorder's own path must not hold \"share/\"");
}

fs::path resolved(fs::path const& folder) {
  auto whole = fs::absolute(folder);
  if (std::find(whole.begin(), whole.end(), "..") != whole.end())
    whole = fs::weakly_canonical(whole);
  whole = whole.lexically_normal();
  return whole.has_filename() ? whole : whole.parent_path();
}

database open_catalogue(fs::path const& recorder_folder, access mode,
                        std::chrono::milliseconds patience) {
  require_readable_catalogue(recorder_folder);
  auto const how =
      mode == access::read_only ? database::mode::read_only : database::mode::read_write;
  auto catalogue = connect_to_consistent(recorder_folder, how, patience);
  if (mode == access::read_write && catalogue.read_only()) {
    throw error((recorder_folder / catalogue_file).string() + ": catalogue cannot be written");
  }
  if (mode == access::read_write) put_back_journal(catalogue);
  return catalogue;
}

recorder recorder::open(fs::path const& folder, access mode, std::chrono::milliseconds patience) {
  auto where = resolved(folder);
  require_path_without_share(where);
  auto catalogue = open_catalogue(where, mode, patience);
  std::int64_t const unit_mb = number_of(catalogue, "SELECT unit_mb FROM recorder");
  if (unit_mb < 1) throw error(where.string() + ": not a recorder: its catalogue is empty");
  recorder opened(
      std::make_unique<state>(state{std::move(where), std::move(catalogue), unit_mb, patience}));
  if (mode == access::read_write) opened.finish_stopped_moves();
  return opened;
}

// Volumes that are not mounted or cannot take their units back keep what was
// begun on them, and what moves under somebody else's lock is somebody else's.
void recorder::finish_stopped_moves() {
  statement query(state_->catalogue,
                  "SELECT DISTINCT volume_id FROM unit WHERE state IN ('recording', 'recycling')");
  std::vector<std::int64_t> volume_ids;
  while (query.next()) volume_ids.push_back(query.integer(0));
  for (auto const volume_id : volume_ids) {
    auto const place = place_of(state_->catalogue, state_->folder, volume_id);
    try {
      if (auto const lock = volume_lock::try_take(place)) finish_moves(state_->catalogue, place);
    } catch (busy_error const&) {
      throw;
    } catch (database_error const&) {
      throw;
    } catch (error const&) {
      // Other volumes are of use without this one, whose own operations say
      // what is wrong with it.
    }
  }
}

recorder::recorder(std::unique_ptr<state> opened) : state_(std::move(opened)) {}
recorder::recorder(recorder&&) noexcept = default;
recorder& recorder::operator=(recorder&&) noexcept = default;
recorder::~recorder() = default;

void recorder::wait_at_most(std::chrono::milliseconds patience) {
  state_->patience = patience;
  state_->catalogue.wait_at_most(patience);
}

fs::path const& recorder::folder() const { return state_->folder; }

std::int64_t recorder::unit_mb() const { return state_->unit_mb; }

}  // namespace lab
