// A few owners over SQLite. Every failure is thrown: a busy_error when another
// connection holds the database for longer than was asked to wait, else a
// database_error.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lab/util/error.h"

struct sqlite3;
struct sqlite3_stmt;

namespace lab {

class database_error : public error {
 public:
  database_error(std::string const& text, int code) : error(text), code_(code) {}
  // SQLite's extended result code.
  int code() const { return code_; }

 private:
  int code_;
};

// One thread uses a database, and its statements, at a time.
class database {
 public:
  enum class mode { read_only, read_write, create };

  // Opens the file, no link in its path, with foreign keys on. A committed
  // transaction is on disk, and its journal can no longer undo it. The journal
  // stays, so that the next change needs no new file for it. Nothing that the
  // file brings is run: no trigger, no view, no function in its schema; a statement
  // that takes more work than a file of that size can ask for fails; and nothing is
  // kept in a file elsewhere meanwhile.
  database(std::filesystem::path const& file, mode how, std::chrono::milliseconds lock_timeout);

  // For one that was out of use: forgets what it has read. True when its path still leads to the
  // file that is open. Throws database_error when the file keeps a write-ahead log now.
  bool renew();

  // How long to wait for another connection.
  void wait_at_most(std::chrono::milliseconds lock_timeout);
  std::chrono::milliseconds lock_timeout() const { return *lock_timeout_; }

  // The absolute path of the file.
  std::filesystem::path file() const;

  // The size of what the file holds, without what is reserved behind it.
  std::int64_t used_bytes() const;

  // True when the file can only be read, whatever was asked for.
  bool read_only() const;

  // Runs statements that answer nothing.
  void execute(std::string const& statements);

  // Makes the file so large, its blocks allocated, that it can take on `bytes`
  // more without needing space.
  void reserve(std::int64_t bytes);

  // The primary key that was inserted last.
  std::int64_t last_id() const;

  // How many rows the last statement changed.
  std::int64_t changes() const;

  sqlite3* connection() const { return connection_.get(); }

 private:
  friend class statement;
  struct closer {
    void operator()(sqlite3* connection) const noexcept;
  };
  struct finalizer {
    void operator()(sqlite3_stmt* prepared) const noexcept;
  };
  // By their texts; null while one is in use.
  using prepared_statements =
      std::map<std::string, std::unique_ptr<sqlite3_stmt, finalizer>, std::less<>>;
  std::unique_ptr<std::chrono::milliseconds> lock_timeout_;  // which the connection refers to
  std::unique_ptr<sqlite3, closer> connection_;
  std::uint64_t device_ = 0;  // that the file is on
  std::unique_ptr<prepared_statements> prepared_;
};

// One prepared statement. It must not outlive its database, which keeps it for the
// next one of that text.
class statement {
 public:
  statement(database const& of, std::string_view text);

  // Binds all parameters in their order and makes the statement ready to run
  // from its start.
  template <typename... Values>
  statement& with(Values const&... values) {
    restart();
    int position = 0;
    (bind(++position, values), ...);
    return *this;
  }

  // Steps to the next row; false after the last one.
  bool next();

  // Runs to the end.
  void run();

  // Columns of the present row, counted from 0. integer32() throws lab::error
  // for a number of more than 32 bits.
  std::int64_t integer(int column) const;
  std::int32_t integer32(int column) const;
  std::string text(int column) const;

 private:
  // Gives a statement back to its database.
  struct returner {
    void operator()(sqlite3_stmt* prepared) const noexcept;
    database::prepared_statements* to;
  };

  void restart();
  void bind(int position, std::int64_t value);
  void bind(int position, std::int32_t value) { bind(position, std::int64_t{value}); }
  void bind(int position, std::string_view value);
  void bind(int position, std::optional<std::int32_t> const& value);

  std::unique_ptr<sqlite3_stmt, returner> prepared_;
};

enum class transaction_kind { reading, writing };

// Holds a transaction from construction on, and rolls it back on destruction
// unless it was committed. A reading one sees one state of the database
// throughout.
class transaction {
 public:
  transaction(database& of, transaction_kind kind);
  ~transaction();
  transaction(transaction const&) = delete;
  transaction& operator=(transaction const&) = delete;

  void commit();

 private:
  database& database_;
  bool open_ = true;
};

}  // namespace lab
