// Edits by statements.
#include <algorithm>

#include "edit_kinds.h"

namespace hostile {

namespace fs = std::filesystem;

namespace {

// Columns, the more often the more they are worth an edit.
words const numbers(
    "recorder.unit_mb recorder.unit_mb recorder.seed recorder.made_ms space.id space.status "
    "space.spare_state volume.id volume.space_id volume.sid_number volume.type volume.state "
    "volume.volume_no channel.id channel.number assignment.channel_id assignment.volume_id "
    "period.id period.channel_id period.recording_type period.stream period.start_ms "
    "period.end_ms period.start_ms period.end_ms unit.id unit.volume_id unit.channel_id "
    "unit.recording_type unit.stream unit.hour_ms unit.hour_ms unit.period_id");
words const texts(
    "space.sid space.name space.uuid volume.sid_text volume.name volume.folder channel.sid "
    "period.storage_id unit.name unit.name unit.name unit.state");

struct column {
  std::string table;
  std::string name;
};

column any_of(words const& columns, chooser& choose) {
  std::string const chosen = choose.of<std::string>(columns);
  std::size_t const dot = chosen.find('.');
  return {chosen.substr(0, dot), chosen.substr(dot + 1)};
}

words const tables("recorder space volume channel assignment period unit");

words const absurd_numbers(
    "0 -1 1 2 3 127 2147483647 2147483648 -2147483648 4294967295 4294967296 999999999999 "
    "9007199254740992 4611686018427387904 9223372036854775807 (-9223372036854775807-1) "
    "-9223372036854775807 9223372036854 -3600000 1795183200000 253402300800000 "
    "67768036191676799000");

std::string hex(std::string const& bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (char const byte : bytes) {
    auto const value = static_cast<unsigned char>(byte);
    text += digits[value >> 4U];
    text += digits[value & 15U];
  }
  return text;
}

std::string quoted(std::string const& text) { return "CAST(x'" + hex(text) + "' AS TEXT)"; }

std::string one_row(std::string const& table, chooser& choose) {
  return " WHERE rowid = (SELECT rowid FROM " + table + " ORDER BY rowid LIMIT 1 OFFSET " +
         std::to_string(choose.below(64)) + " % max(1, (SELECT count(*) FROM " + table + ")))";
}

// Of one row, or of as many as uniqueness leaves.
std::string rows(std::string const& table, chooser& choose) {
  return choose.one_in(3) ? "" : one_row(table, choose);
}

std::string perform(lying_recorder const& in, std::string const& sql, std::string what = {}) {
  auto const failure = in.tamper(sql);
  if (what.empty()) what = sql;
  return "catalogue: " + what + (failure.empty() ? "" : " (refused: " + failure + ")");
}

std::string one_absurd_number(chooser& choose) {
  auto const [table, name] = any_of(numbers, choose);
  auto const number = choose.of<std::string>(absurd_numbers);
  return "UPDATE OR IGNORE " + table + " SET " + name + " = " + number + rows(table, choose);
}

std::string absurd_number(lying_recorder& in, chooser& choose) {
  return perform(in, one_absurd_number(choose));
}

// Several at once: products and sums of them.
std::string absurd_numbers_everywhere(lying_recorder& in, chooser& choose) {
  std::string sql;
  for (std::size_t count = 2 + choose.below(6); count > 0; --count) {
    sql += one_absurd_number(choose) + ";";
  }
  return perform(in, sql);
}

std::string text_in_place(lying_recorder& in, chooser& choose) {
  auto const where = any_of(texts, choose);
  auto const text = hostile_text(in, choose);
  auto const which = rows(where.table, choose);
  std::string const head = "UPDATE OR IGNORE " + where.table + " SET " + where.name;
  return perform(in, head + " = " + quoted(text) + which, head + " = " + shown(text) + which);
}

// A volume whose identity agrees with what the catalogue says of it.
std::string volume_elsewhere(lying_recorder& in, chooser& choose) {
  auto const there = in.victim() / "recorder/share/vol1";
  auto const folder = choose.of({"../../victim/recorder/share/vol1", there.string(), "..", ".",
                                 "../../victim/tree", "vol1/../../../victim/tree", "/"});
  auto const sql = "UPDATE OR IGNORE volume SET folder = " + quoted(folder) + " WHERE id = 1";
  return perform(in, sql, "vol1 lies in " + folder);
}

std::string storage_elsewhere(lying_recorder& in, chooser& choose) {
  auto const id = choose.of({"/../../../../victim/tree", "/../../../victim/tree", "/../preallocate",
                             "/..", "/../../vol2", ""});
  auto const volume = in.recorder() / "share/vol1";
  std::error_code ignored;
  fs::create_directory(volume / "FSU_", ignored);
  support::write_file(volume / "identity", id + "\n");
  auto const sql = "UPDATE volume SET sid_text = " + quoted(id) + " WHERE id = 1;" +
                   "UPDATE period SET storage_id = " + quoted(id) + " WHERE id = 1";
  return perform(in, sql, "vol1 has the storage id " + shown(id));
}

std::string unit_on_its_way(lying_recorder& in, chooser& choose) {
  auto const name = hostile_text(in, choose);
  std::string const state = choose.one_in(2) ? "recycling" : "recording";
  auto const named = choose.one_in(2) ? ", name = " + quoted(name) : std::string();
  auto const sql = "UPDATE OR IGNORE unit SET period_id = NULL, state = '" + state + "'" + named +
                   " WHERE id = (SELECT id FROM unit WHERE channel_id IS NOT NULL ORDER BY id"
                   " LIMIT 1 OFFSET " +
                   std::to_string(choose.below(4)) + ")";
  return perform(in, sql,
                 "a unit named " + (named.empty() ? "as it was" : shown(name)) + " is " + state);
}

// Free units, leaking ones and held ones.
std::string units_by_path(lying_recorder& in, chooser& choose) {
  auto const where = choose.of(
      {"state = 'free'", "state = 'recorded'", "period_id IS NULL AND state = 'recorded'", "1"});
  auto const prefix = choose.of({"../../../../../victim/tree/", in.victim().string() + "/tree/",
                                 "../../../../../victim/tree/new-", "../", "./", "x/"});
  auto const sql = "UPDATE OR IGNORE unit SET name = " + quoted(prefix) + " || name WHERE " + where;
  return perform(in, sql, "units by path: " + prefix + " where " + where);
}

std::string state_anywhere(lying_recorder& in, chooser& choose) {
  auto const which = rows("unit", choose);
  auto const state =
      choose.of({"free", "recording", "recorded", "recycling", "bad", "", "Free", "nothing"});
  return perform(in, "UPDATE unit SET state = '" + state + "'" + which);
}

std::string endless_period(lying_recorder& in, chooser& choose) {
  auto const span = choose.of({
      "0, 9223372036854775807",
      "-9223372036854775807 - 1, 9223372036854775807",
      "-9223372036854775807 - 1, -9223372036854775807",
      "9223372036854775806, 9223372036854775807",
      "0, 253402300799999",
      "-62135596800000, 253402300799999",
      "1795183200000, 9007199254740992",
      "9223372036854775807, 0",
      "-1, 4611686018427387904",
  });
  std::size_t const count = choose.one_in(4) ? 2000 : 1;
  auto const sql =
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(count) +
      ") INSERT INTO period (channel_id, recording_type, stream, start_ms, end_ms, storage_id)"
      " SELECT 1 + (i % 3), " +
      std::string(choose.one_in(2) ? "4" : "1") + ", 0, " + span + ", " +
      (choose.one_in(3) ? "''" : "(SELECT sid_text FROM volume LIMIT 1)") + " FROM n";
  return perform(in, sql, std::to_string(count) + " periods of " + span);
}

std::string all_periods_endless(lying_recorder& in, chooser& choose) {
  return perform(in, choose.one_in(2)
                         ? "UPDATE period SET start_ms = 0, end_ms = 9223372036854775807"
                         : "UPDATE period SET start_ms = -9223372036854775807 - 1");
}

std::string trigger(lying_recorder& in, chooser& choose) {
  auto const& table = choose.of<std::string>(tables);
  auto const event = choose.of({"INSERT", "UPDATE", "DELETE"});
  auto const body = choose.of({
      "DELETE FROM unit;",
      "UPDATE unit SET name = '../../../../../victim/passwd' WHERE id = 1;",
      "UPDATE OR IGNORE unit SET state = 'recycling', name = '../../../../../victim/passwd';",
      ("INSERT INTO period (channel_id, recording_type, stream, start_ms, end_ms, storage_id) "
       "SELECT 1, 4, 0, 0, 9223372036854775807, '';"),
      ("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
       "INSERT INTO space SELECT i, i, i, i, 0, 0 FROM n;"),
      "SELECT RAISE(ABORT, 'no');",
      "SELECT RAISE(ROLLBACK, 'no');",
      "SELECT RAISE(IGNORE);",
      "SELECT load_extension('/nonexistent');",
      "SELECT zeroblob(1000000000);",
  });
  return perform(in, "CREATE TRIGGER hostile" + std::to_string(choose.below(1000)) + " BEFORE " +
                         event + " ON " + table + " BEGIN " + body + " END");
}

std::string view_for_table(lying_recorder& in, chooser& choose) {
  auto const& table = choose.of<std::string>(tables);
  auto const body = choose.of({
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT hidden.* FROM n, hidden",
      ("SELECT a.* FROM hidden a, hidden b, hidden c, hidden d, hidden e, hidden f, hidden g, "
       "hidden h, hidden i, hidden j, hidden k"),
      "SELECT * FROM " + table,
      "SELECT 1",
      "SELECT randomblob(1000000000)",
  });
  auto const sql =
      "ALTER TABLE " + table + " RENAME TO hidden; CREATE VIEW " + table + " AS " + body;
  return perform(in, sql, table + " is a view: " + body);
}

std::string schema_text(lying_recorder& in, chooser& choose) {
  auto const& table = choose.of<std::string>(tables);
  auto const sql = choose.of({
      "CREATE TABLE extra (a, b); INSERT INTO extra VALUES (1, 2)",
      "CREATE TABLE sqlite_stat9 (a)",
      "CREATE INDEX extra_index ON unit (name, abs(hour_ms))",
      "CREATE UNIQUE INDEX extra_unique ON period (start_ms)",
      "CREATE INDEX extra_partial ON period (id) WHERE abs(start_ms) > 0",
      "DROP INDEX unit_by_state",
      "DROP TABLE " + table,
      "DELETE FROM " + table,
      "ALTER TABLE unit DROP COLUMN stream",
      "ALTER TABLE unit RENAME COLUMN name TO named",
      "ALTER TABLE unit ADD COLUMN more TEXT DEFAULT 'x'",
      "ALTER TABLE volume ADD COLUMN grown TEXT AS (randomblob(1000000)) VIRTUAL",
      "CREATE VIRTUAL TABLE found USING fts5 (a)",
      "UPDATE sqlite_master SET sql = replace(sql, 'INTEGER', 'TEXT') WHERE name = '" + table + "'",
      "UPDATE sqlite_master SET sql = 'CREATE TABLE ' || name || ' (' WHERE name = '" + table + "'",
      "UPDATE sqlite_master SET rootpage = 1 WHERE name = '" + table + "'",
      "UPDATE sqlite_master SET rootpage = 2147483647 WHERE name = '" + table + "'",
      "UPDATE sqlite_master SET rootpage = (SELECT rootpage FROM sqlite_master WHERE name = 'unit')"
      " WHERE name = '" +
          table + "'",
      "UPDATE sqlite_master SET sql = NULL, name = NULL WHERE name = 'unit_by_state'",
      "DELETE FROM sqlite_master",
      "PRAGMA user_version = 2",
      "PRAGMA user_version = -1",
      "PRAGMA application_id = 0",
      "PRAGMA journal_mode = WAL",
      "PRAGMA page_size = 65536; VACUUM",
      "PRAGMA page_size = 512; VACUUM",
      "PRAGMA auto_vacuum = 1; VACUUM",
      "INSERT INTO recorder VALUES (2, 1, 1, 1)",
      "UPDATE recorder SET id = 7",
  });
  return perform(in, sql);
}

// The type of a column is held by the table's text only: without STRICT,
// anything goes in, and the text can be put back.
std::string text_for_number(lying_recorder& in, chooser& choose) {
  auto const where = any_of(numbers, choose);
  auto const value = choose.of({"'text'", "''", "x'00ff'", "1e300", "9e999", "-9e999", "NULL",
                                "'12x'", "0.5", "zeroblob(100000)"});
  std::string const table = where.table;
  auto const swap = [&](std::string const& from, std::string const& to) {
    return "UPDATE sqlite_master SET sql = replace(sql, '" + from + "', '" + to +
           "') WHERE name = '" + table + "' AND type = 'table'";
  };
  bool const put_back = !choose.one_in(3);
  auto first = in.tamper(swap(") STRICT", ")") + ";" + swap("NOT NULL", "/*N*/"));
  auto const second = in.tamper("UPDATE OR IGNORE " + table + " SET " + where.name + " = " + value +
                                rows(table, choose));
  if (put_back) {
    in.tamper(
        "UPDATE sqlite_master SET sql = replace(sql, '/*N*/', 'NOT NULL') || ' STRICT'"
        " WHERE name = '" +
        table + "' AND type = 'table'");
  }
  return "catalogue: " + table + "." + where.name + " = " + value + ", its type " +
         (put_back ? "put back" : "gone") + ' ' + first + second;
}

std::string many_rows(lying_recorder& in, chooser& choose) {
  auto const body = choose.of({
      "INSERT OR IGNORE INTO volume SELECT i, 1, i, printf('%032d', i), 'v' || i, 'vol1', 0, 0, i FROM n",
      "INSERT OR IGNORE INTO volume SELECT i, 1, i, printf('%032d', i), 'v' || i, 'f' || i, 0, 0, i FROM n",
      "INSERT OR IGNORE INTO space SELECT i, printf('%036d', i), 's' || i, printf('%036d', i), 0, 0 FROM n",
      "INSERT OR IGNORE INTO channel SELECT i, i * 1000003, printf('%032d', i) FROM n",
      "INSERT OR IGNORE INTO unit (volume_id, name) SELECT 1, 'ghost' || i FROM n",
      ("INSERT OR IGNORE INTO unit (volume_id, name, state, channel_id, recording_type, stream, hour_ms) "
       "SELECT 1, 'ghost' || i, 'recycling', 1, 4, 0, 1795183200000 + i * 3600000 FROM n"),
      ("INSERT OR IGNORE INTO unit (volume_id, name, state, channel_id, recording_type, stream, hour_ms) "
       "SELECT 1, 'ghost' || i, 'recorded', 1, 4, 0, 1795183200000 + i * 3600000 FROM n"),
  });
  // What many spaces or channels cost is their product, and honest.
  std::string const last = body.find("INTO unit") == std::string::npos ? "110" : "400";
  auto const sql = "WITH RECURSIVE n(i) AS (SELECT 100 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                   last + ") " + body;
  return perform(in, sql);
}

}  // namespace

std::vector<edit> const& catalogue_edits() {
  static std::vector<edit> const all{
      absurd_number,       absurd_number,   absurd_numbers_everywhere,
      text_in_place,       text_in_place,   volume_elsewhere,
      storage_elsewhere,   unit_on_its_way, unit_on_its_way,
      units_by_path,       state_anywhere,  endless_period,
      all_periods_endless, trigger,         view_for_table,
      schema_text,         schema_text,     text_for_number,
      many_rows,
  };
  return all;
}

std::string hostile_text(lying_recorder const& in, chooser& choose) {
  constexpr std::size_t megabyte = std::size_t{1024} * 1024;
  std::string const outside = "../../../../../victim/";
  std::vector<std::string> const all{
      outside + "passwd",
      outside + "tree",
      outside + "new",
      outside + "tree/new",
      outside + "recorder/catalogue.db",
      (in.victim() / "passwd").string(),
      (in.victim() / "new").string(),
      (in.victim() / "tree").string(),
      in.victim().string(),
      "../preallocate/unit000001",
      "../../identity",
      "../../../../catalogue.db",
      "../../../../catalogue.db-journal",
      "",
      ".",
      "..",
      "/",
      "a/b",
      "unit000001",
      "unit000000/",
      " ",
      "-rf",
      "*",
      "%s%n%s%n",
      "'; DROP TABLE unit; --",
      "identity",
      "preallocate",
      "vol2",
      "\033[2J\033[1;1H",
      "vol1\nclean\n",
      "\r\t\b\a\177",
      "\xff\xfe\xc0\x80",
      std::string("vol1\0vol2", 9),
      std::string("\0", 1),
      std::string(255, 'x'),
      std::string(256, 'x'),
      std::string(5000, 'x'),
      std::string(megabyte, 'x'),
      std::string(32, '.'),
      std::string(36, '/'),
      "00000000000000000000000000000000",
      "000000000000000000000000000000000000",
      "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz",
  };
  return choose.of(all);
}

std::string shown(std::string const& text) {
  constexpr std::size_t widest = 80;
  std::string line = '"' + text.substr(0, widest) + '"';
  for (char& each : line) {
    if (static_cast<unsigned char>(each) < ' ' || static_cast<unsigned char>(each) > '~')
      each = '?';
  }
  if (text.size() > widest) line += " (" + std::to_string(text.size()) + " bytes)";
  return line;
}

}  // namespace hostile
