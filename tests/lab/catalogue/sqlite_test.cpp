#include "lab/catalogue/sqlite.h"

#include <limits>

#include "engine_test.h"
#include "lab/catalogue/catalogue.h"
#include "lab/recorder/state.h"

namespace {

class sqlite : public testing::Test {
 protected:
  lab::database connect() const {
    return {file(), lab::database::mode::create, std::chrono::milliseconds(0)};
  }

  std::filesystem::path file() const { return temporary_.path() / "test.db"; }

 private:
  support::temporary_folder temporary_;
};

std::int64_t count(lab::database const& from) {
  lab::statement query(from, "SELECT count(*) FROM t");
  return query.next() ? query.integer(0) : -1;
}

TEST_F(sqlite, values_come_back_as_they_were_bound) {
  auto const database = connect();
  lab::statement query(database, "SELECT ?, ?, ?, ?");
  std::string const text("a\0'b", 4);
  query.with(std::numeric_limits<std::int64_t>::min(), text, -1, "");
  ASSERT_TRUE(query.next());
  EXPECT_EQ(std::numeric_limits<std::int64_t>::min(), query.integer(0));
  EXPECT_EQ(text, query.text(1));
  EXPECT_EQ(-1, query.integer32(2));
  EXPECT_EQ("", query.text(3));
  EXPECT_FALSE(query.next());
}

TEST_F(sqlite, a_statement_of_the_same_text_begins_anew) {
  auto database = connect();
  char const* const text = "SELECT ?";
  {
    lab::statement query(database, text);
    ASSERT_TRUE(query.with(1).next());
    lab::statement other(database, text);
    ASSERT_TRUE(other.with(2).next());
    EXPECT_EQ(1, query.integer(0));
  }
  lab::statement again(database, text);
  ASSERT_TRUE(again.next());
  EXPECT_EQ("", again.text(0)) << "no parameter is left of the last time";
}

// Nobody could write while it was.
TEST_F(sqlite, a_statement_that_is_left_midway_holds_no_lock) {
  auto database = connect();
  database.execute("CREATE TABLE t (x); INSERT INTO t VALUES (1), (2);");
  EXPECT_TRUE(lab::statement(database, "SELECT x FROM t").next());
  EXPECT_NO_THROW(connect().execute("DELETE FROM t"));
}

TEST_F(sqlite, a_transaction_that_is_not_committed_did_not_happen) {
  auto database = connect();
  database.execute("CREATE TABLE t (x)");
  {
    lab::transaction const dropped(database, lab::transaction_kind::writing);
    database.execute("INSERT INTO t VALUES (1)");
  }
  EXPECT_EQ(0, count(database));
  lab::transaction kept(database, lab::transaction_kind::writing);
  database.execute("INSERT INTO t VALUES (1)");
  kept.commit();
  EXPECT_EQ(1, count(connect()));
}

TEST_F(sqlite, busy_is_told_from_other_failures) {
  auto one = connect();
  auto other = connect();
  one.execute("CREATE TABLE t (x NOT NULL)");
  lab::transaction const writing(one, lab::transaction_kind::writing);
  EXPECT_THROW(lab::transaction(other, lab::transaction_kind::writing), lab::busy_error);
  EXPECT_EQ(0, count(other));
  try {
    one.execute("INSERT INTO t VALUES (NULL)");
    FAIL() << "a constraint was not kept";
  } catch (lab::busy_error const&) {
    FAIL() << "a broken constraint is not busy";
  } catch (lab::database_error const& failure) {
    EXPECT_EQ(
        file().string() + ": the catalogue is not as it should be: NOT NULL constraint failed: t.x",
        std::string(failure.what()));
  }
}

// The file may be anybody's.
TEST_F(sqlite, nothing_that_a_file_brings_is_run) {
  auto database = connect();
  database.execute(
      "CREATE TABLE t (x); CREATE TABLE gone (x); INSERT INTO gone VALUES (1);"
      "CREATE TRIGGER emptied AFTER INSERT ON t BEGIN DELETE FROM gone; END;"
      "CREATE VIEW seen AS SELECT x FROM gone;");
  database.execute("INSERT INTO t VALUES (1)");
  lab::statement left(database, "SELECT count(*) FROM gone");
  ASSERT_TRUE(left.next());
  EXPECT_EQ(1, left.integer(0)) << "the trigger ran";
  EXPECT_THROW(lab::statement(database, "SELECT x FROM seen"), lab::database_error);
  database.execute("PRAGMA writable_schema = ON");
  EXPECT_THROW(database.execute("UPDATE sqlite_master SET sql = 'CREATE TABLE t (y)'"),
               lab::database_error);
  EXPECT_THROW(database.execute("INSERT INTO t VALUES (zeroblob(2000000))"), lab::database_error);
}

// Pages that hold each other have no end.
TEST_F(sqlite, no_statement_works_without_end) {
  connect().execute("CREATE TABLE t (x); INSERT INTO t VALUES (1), (2), (3), (4)");
  lab::database const database(file(), lab::database::mode::read_write,
                               std::chrono::milliseconds(0));
  lab::statement endless(
      database, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n");
  EXPECT_THROW(endless.run(), lab::database_error);
  lab::statement again(database, "SELECT x FROM t");
  EXPECT_TRUE(again.next());
}

TEST_F(sqlite, keeps_nothing_in_files_elsewhere) {
  auto const database = connect();
  lab::statement store(database, "PRAGMA temp_store");
  ASSERT_TRUE(store.next());
  EXPECT_EQ(2, store.integer(0)) << "not in memory";
}

// Each run takes a tenth of what a statement may take on so small a file, or more.
TEST_F(sqlite, a_statement_may_run_as_often_as_wanted) {
  connect().execute("CREATE TABLE one (id INTEGER PRIMARY KEY)");
  lab::database const database(file(), lab::database::mode::read_only, {});
  constexpr char const* counting =
      "WITH RECURSIVE n(i) AS (SELECT ? UNION ALL SELECT i + 1 FROM n WHERE i < 100000)"
      "  SELECT count(*) FROM n";
  lab::statement kept(database, counting);
  for (int run = 0; run < 20; ++run) {
    ASSERT_TRUE(kept.with(1).next()) << run;
    ASSERT_TRUE(lab::statement(database, counting).with(1).next()) << run;
  }
  EXPECT_EQ(100'000, kept.integer(0));
}

// Files are moved on the strength of a commit: it has to outlast a power loss.
constexpr std::int64_t extra = 3;

std::int64_t synchronous(lab::database const& of) {
  lab::statement query(of, "PRAGMA synchronous");
  return query.next() ? query.integer(0) : -1;
}

TEST_F(sqlite, who_writes_syncs_all_that_a_commit_needs) {
  EXPECT_EQ(extra, synchronous(connect()));
  auto const lock_timeout = std::chrono::milliseconds(0);
  EXPECT_EQ(extra, synchronous({file(), lab::database::mode::read_write, lock_timeout}));
}

using catalogue = support::engine_test;

TEST_F(catalogue, is_synced_by_whoever_opens_the_recorder_to_write) {
  EXPECT_EQ(extra, synchronous(lab::open_catalogue(make(), lab::access::read_write)));
}

TEST_F(sqlite, foreign_keys_are_kept) {
  auto database = connect();
  database.execute("CREATE TABLE a (id INTEGER PRIMARY KEY); CREATE TABLE b (a REFERENCES a)");
  EXPECT_THROW(database.execute("INSERT INTO b VALUES (1)"), lab::database_error);
}

}  // namespace
