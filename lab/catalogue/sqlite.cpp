#include "lab/catalogue/sqlite.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>

#include "lab/disk/file_steps.h"

namespace lab {

namespace {

constexpr int growth_bytes = 64 * 1024;
constexpr int longest_value = 1024 * 1024;

// What one statement may take, in steps of SQLite's machine: far more than any
// needs of a file of that size, even where each row is held against many others.
constexpr std::uintmax_t least_bound = 10'000'000;
constexpr std::uintmax_t steps_for_a_byte = 20;
constexpr std::uintmax_t most_counted = std::uintmax_t{1} << 32U;

constexpr char const* size_query =
    "SELECT page_count * page_size FROM pragma_page_count, pragma_page_size";

// Writers that commit one after the other leave only short gaps to readers, who
// would miss most of them with the growing pauses that SQLite makes by itself.
constexpr std::chrono::milliseconds pause{1};

// The file that a failure is about, or `otherwise`.
std::string file_of(sqlite3* connection, std::string const& otherwise) {
  if (connection == nullptr) return otherwise;
  char const* const file = sqlite3_db_filename(connection, "main");
  return file == nullptr || *file == '\0' ? otherwise : file;
}

std::string text_of_errno(int number) { return std::generic_category().message(number); }

// In this program's words, as far as they say more than the library's.
std::string reason_of(sqlite3* connection, int kind) {
  int const system_reason = sqlite3_system_errno(connection);
  std::string const because = system_reason == 0 ? "" : ": " + text_of_errno(system_reason);
  switch (kind) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return "in use by somebody else";
    case SQLITE_CORRUPT:
    case SQLITE_INTERRUPT:  // it asks for more work than it can hold
      return "the catalogue is damaged";
    case SQLITE_NOTADB:
      return "not a catalogue";
    case SQLITE_FULL:
      return "cannot write the catalogue: " + text_of_errno(ENOSPC);
    case SQLITE_READONLY:
      return "cannot write the catalogue";
    case SQLITE_CANTOPEN:
      return "cannot open the catalogue" + because;
    case SQLITE_IOERR:
      return "cannot read or write the catalogue" + because;
    case SQLITE_NOMEM:
      return "not enough memory";
    default:
      return std::string("the catalogue is not as it should be: ") + sqlite3_errmsg(connection);
  }
}

[[noreturn]] void fail(sqlite3* connection, std::string const& otherwise) {
  std::string const what = file_of(connection, otherwise);
  int const code = connection == nullptr ? SQLITE_NOMEM : sqlite3_extended_errcode(connection);
  int const kind = code & 0xff;
  std::string const reason =
      connection == nullptr ? "not enough memory" : reason_of(connection, kind);
  if (kind == SQLITE_BUSY || kind == SQLITE_LOCKED) throw busy_error(what + ": " + reason);
  throw database_error(what + ": " + reason, code);
}

// Rests are counted instead of asking a clock, which may be held.
int rest(void* lock_timeout, int rests) {
  if (rests * pause >= *static_cast<std::chrono::milliseconds const*>(lock_timeout)) return 0;
  sqlite3_sleep(static_cast<int>(pause.count()));
  return 1;
}

int open_flags(database::mode how) {
  constexpr int common = SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX;
  switch (how) {
    case database::mode::read_only:
      return common | SQLITE_OPEN_READONLY;
    case database::mode::read_write:
      return common | SQLITE_OPEN_READWRITE;
    case database::mode::create:
      break;
  }
  return common | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
}

// With a write-ahead log a change would lie in files that nobody else here knows.
void require_rollback_journal(database const& which) {
  statement mode(which, "PRAGMA journal_mode");
  if (mode.next() && mode.text(0) == "wal") {
    throw error(which.file().string() +
                ": keeps a write-ahead log, which no catalogue does (PRAGMA journal_mode = DELETE "
                "ends that)");
  }
}

void trust_nothing(sqlite3* connection) {
  struct setting {
    int which;
    int value;
  };
  for (auto const& [which, value] :
       {setting{SQLITE_DBCONFIG_DEFENSIVE, 1}, setting{SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
        setting{SQLITE_DBCONFIG_ENABLE_TRIGGER, 0}, setting{SQLITE_DBCONFIG_ENABLE_VIEW, 0}}) {
    sqlite3_db_config(connection, which, value, nullptr);
  }
  sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, longest_value);
}

// SQLite tells a moved file by its inode number, which another device may have too.
std::uint64_t device_of(std::filesystem::path const& file) {
  struct stat found {};
  return stat(file.c_str(), &found) == 0 ? found.st_dev : 0;
}

int give_up(void* /*unused*/) { return 1; }

void make_as_new(sqlite3_stmt* prepared) {
  sqlite3_reset(prepared);
  sqlite3_clear_bindings(prepared);
  // Its steps, which are bounded.
  sqlite3_stmt_status(prepared, SQLITE_STMTSTATUS_VM_STEP, 1);
}

// Pages that hold each other have more rows than a file of any size could. The
// steps are counted for each run of a statement by itself.
void bound_work(sqlite3* connection, std::filesystem::path const& file) {
  std::error_code unknown;
  auto const bytes = std::filesystem::file_size(file, unknown);
  if (unknown) return;
  std::uintmax_t const most =
      least_bound + std::min<std::uintmax_t>(bytes, most_counted) * steps_for_a_byte;
  auto const greatest = static_cast<std::uintmax_t>(std::numeric_limits<int>::max());
  sqlite3_progress_handler(connection, static_cast<int>(std::min(most, greatest)), give_up,
                           nullptr);
}

}  // namespace

void database::closer::operator()(sqlite3* connection) const noexcept {
  sqlite3_close_v2(connection);
}

database::database(std::filesystem::path const& file, mode how,
                   std::chrono::milliseconds lock_timeout)
    : lock_timeout_(std::make_unique<std::chrono::milliseconds>(lock_timeout)),
      prepared_(std::make_unique<prepared_statements>()) {
  sqlite3* connection = nullptr;
  int const result = steps::open_database(file, &connection, open_flags(how));
  connection_.reset(connection);
  if (result != SQLITE_OK) fail(connection, file.string());
  sqlite3_extended_result_codes(connection, 1);
  trust_nothing(connection);
  if (how != mode::create) bound_work(connection, file);
  device_ = device_of(file);
  wait_at_most(lock_timeout);
  // The journal stays, so that a change needs no space. The first access undoes
  // a change that was cut short, and would remove the journal then but for the
  // exclusive mode, which ends with the next access.
  if (how == mode::read_write) {
    execute("PRAGMA locking_mode = EXCLUSIVE;");
    require_rollback_journal(*this);
    execute("PRAGMA journal_mode = PERSIST;");
    execute("PRAGMA locking_mode = NORMAL; SELECT 1 FROM sqlite_master LIMIT 1;");
  }
  if (how == mode::read_only) require_rollback_journal(*this);
  // EXTRA also syncs the folder should a journal be removed: without it a power
  // loss could bring back a journal that undoes a commit which files already
  // rely on.
  execute("PRAGMA foreign_keys = ON; PRAGMA synchronous = EXTRA; PRAGMA temp_store = MEMORY;");
}

bool database::renew() {
  auto const where = file();
  int has_moved = 1;
  sqlite3_file_control(connection(), "main", SQLITE_FCNTL_HAS_MOVED, &has_moved);
  if (has_moved != 0 || device_of(where) != device_) return false;
  bound_work(connection(), where);
  // Who writes over the file may leave it the number by which pages are known to be old.
  sqlite3_db_release_memory(connection());
  // Only what is read now tells of a log that others began.
  statement(*this, "SELECT 1 FROM sqlite_master LIMIT 1").run();
  require_rollback_journal(*this);
  return true;
}

void database::wait_at_most(std::chrono::milliseconds lock_timeout) {
  *lock_timeout_ = lock_timeout;
  sqlite3_busy_handler(connection(), rest, lock_timeout_.get());
}

std::filesystem::path database::file() const { return sqlite3_db_filename(connection(), "main"); }

std::int64_t database::used_bytes() const {
  statement pages(*this, size_query);
  return pages.next() ? pages.integer(0) : 0;
}

bool database::read_only() const { return sqlite3_db_readonly(connection(), "main") != 0; }

void database::execute(std::string const& statements) {
  if (sqlite3_exec(connection(), statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    fail(connection(), "catalogue");
  }
}

void database::reserve(std::int64_t bytes) {
  statement pages(*this, size_query);
  if (!pages.next()) return;
  sqlite3_int64 wanted = pages.integer(0) + bytes;
  // Only files that grow in chunks have the blocks of the next ones allocated.
  int chunk = growth_bytes;
  sqlite3_file_control(connection(), "main", SQLITE_FCNTL_CHUNK_SIZE, &chunk);
  if (sqlite3_file_control(connection(), "main", SQLITE_FCNTL_SIZE_HINT, &wanted) != SQLITE_OK) {
    throw error("catalogue: cannot reserve space");
  }
}

std::int64_t database::last_id() const { return sqlite3_last_insert_rowid(connection()); }

std::int64_t database::changes() const { return sqlite3_changes64(connection()); }

void database::finalizer::operator()(sqlite3_stmt* prepared) const noexcept {
  sqlite3_finalize(prepared);
}

void statement::returner::operator()(sqlite3_stmt* prepared) const noexcept {
  std::unique_ptr<sqlite3_stmt, database::finalizer> used(prepared);
  make_as_new(prepared);
  auto const place = to->find(std::string_view(sqlite3_sql(prepared)));
  if (place != to->end() && !place->second) place->second = std::move(used);
}

statement::statement(database const& of, std::string_view text)
    : prepared_(nullptr, returner{of.prepared_.get()}) {
  auto& kept = *of.prepared_;
  auto place = kept.find(text);
  if (place == kept.end()) place = kept.try_emplace(std::string(text)).first;
  if (place->second) {
    prepared_.reset(place->second.release());
    return;
  }
  sqlite3_stmt* prepared = nullptr;
  int const result = sqlite3_prepare_v2(of.connection(), text.data(), static_cast<int>(text.size()),
                                        &prepared, nullptr);
  prepared_.reset(prepared);
  if (result != SQLITE_OK) fail(of.connection(), "catalogue");
}

bool statement::next() {
  int const result = sqlite3_step(prepared_.get());
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) fail(sqlite3_db_handle(prepared_.get()), "catalogue");
  // A finished statement must not go on holding a lock.
  sqlite3_reset(prepared_.get());
  return false;
}

void statement::run() {
  while (next()) {
  }
}

std::int64_t statement::integer(int column) const {
  return sqlite3_column_int64(prepared_.get(), column);
}

std::int32_t statement::integer32(int column) const {
  std::int64_t const whole = integer(column);
  auto const number = static_cast<std::int32_t>(whole);
  if (number != whole) throw error("catalogue: a number is out of range");
  return number;
}

std::string statement::text(int column) const {
  unsigned char const* const text = sqlite3_column_text(prepared_.get(), column);
  int const size = sqlite3_column_bytes(prepared_.get(), column);
  if (text == nullptr) return {};
  return {text, text + size};
}

void statement::restart() { make_as_new(prepared_.get()); }

void statement::bind(int position, std::int64_t value) {
  if (sqlite3_bind_int64(prepared_.get(), position, value) != SQLITE_OK) {
    fail(sqlite3_db_handle(prepared_.get()), "catalogue");
  }
}

void statement::bind(int position, std::string_view value) {
  if (sqlite3_bind_text64(prepared_.get(), position, value.data(), value.size(), SQLITE_TRANSIENT,
                          SQLITE_UTF8) != SQLITE_OK) {
    fail(sqlite3_db_handle(prepared_.get()), "catalogue");
  }
}

void statement::bind(int position, std::optional<std::int32_t> const& value) {
  if (value) bind(position, std::int64_t{*value});
}

transaction::transaction(database& of, transaction_kind kind) : database_(of) {
  // A writer takes its lock at once: a reader that turns into a writer could
  // only fail when another one did so first.
  database_.execute(kind == transaction_kind::writing ? "BEGIN IMMEDIATE" : "BEGIN");
}

transaction::~transaction() {
  if (open_) sqlite3_exec(database_.connection(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void transaction::commit() {
  if (steps::commit(database_.connection()) != SQLITE_OK) {
    fail(database_.connection(), "catalogue");
  }
  open_ = false;
}

}  // namespace lab
