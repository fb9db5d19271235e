// A recorder's catalogue as the bare programs ask it.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>

namespace bare {

struct connection_closer {
  void operator()(sqlite3* connection) const noexcept { sqlite3_close(connection); }
};
using connection = std::unique_ptr<sqlite3, connection_closer>;

inline void must(sqlite3* of, bool done) {
  if (!done) throw std::runtime_error(sqlite3_errmsg(of));
}

// Opens the catalogue of the recorder in `folder`. Throws std::runtime_error.
inline connection open_catalogue(std::string const& folder, int flags) {
  sqlite3* opened = nullptr;
  int const result = sqlite3_open_v2((folder + "/catalogue.db").c_str(), &opened, flags, nullptr);
  connection owner(opened);
  must(opened, result == SQLITE_OK);
  return owner;
}

struct statement_finalizer {
  void operator()(sqlite3_stmt* prepared) const noexcept { sqlite3_finalize(prepared); }
};

// One prepared statement, whose parameters are whole numbers.
class statement {
 public:
  statement(connection const& of, char const* text) {
    sqlite3_stmt* prepared = nullptr;
    int const result = sqlite3_prepare_v2(of.get(), text, -1, &prepared, nullptr);
    prepared_.reset(prepared);
    must(of.get(), result == SQLITE_OK);
  }

  // Makes it ready to run from its start.
  statement& with(std::initializer_list<std::int64_t> values) {
    sqlite3_reset(prepared_.get());
    int position = 0;
    for (auto const value : values) sqlite3_bind_int64(prepared_.get(), ++position, value);
    return *this;
  }

  // Steps to the next row; false after the last one. Throws std::runtime_error.
  bool next() {
    int const result = sqlite3_step(prepared_.get());
    must(sqlite3_db_handle(prepared_.get()), result == SQLITE_ROW || result == SQLITE_DONE);
    return result == SQLITE_ROW;
  }

  // Columns of the present row; a text lives until the next step.
  long long integer(int column) const { return sqlite3_column_int64(prepared_.get(), column); }
  char const* text(int column) const {
    void const* const bytes = sqlite3_column_text(prepared_.get(), column);
    return bytes == nullptr ? "" : static_cast<char const*>(bytes);
  }

 private:
  std::unique_ptr<sqlite3_stmt, statement_finalizer> prepared_;
};

}  // namespace bare
