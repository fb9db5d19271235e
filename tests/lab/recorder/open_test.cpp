#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "engine_test.h"
#include "lab/check/check.h"

namespace {

namespace fs = std::filesystem;

class open_recorder : public support::engine_test {
 protected:
  std::string refusal(lab::access mode = lab::access::read_only) const {
    return support::failure_of([&] { open(mode); });
  }
  void expect_clean() const {
    EXPECT_EQ(lab::findings(), lab::check(open(lab::access::read_only)));
  }
};

// What is in a recorder's place, and what is told then behind its path.
struct no_recorder {
  char const* behaviour;
  void (*put)(fs::path const& there);
  char const* told;
};

class open_no_recorder : public open_recorder, public testing::WithParamInterface<no_recorder> {};

TEST_P(open_no_recorder, is_refused) {
  GetParam().put(root());
  support::unchanged const kept(root().parent_path());
  for (auto const mode : {lab::access::read_only, lab::access::read_write}) {
    EXPECT_EQ(root().string() + ": " + GetParam().told, refusal(mode));
  }
}

void put_catalogue(fs::path const& there, std::string const& content) {
  create_directory(there);
  support::write_file(there / "catalogue.db", content);
}

std::vector<no_recorder> const no_recorders{
    {"an_absent_folder", [](auto const&) {}, "cannot open recorder: No such file or directory"},
    {"a_file", [](auto const& there) { support::write_file(there, ""); },
     "not a recorder: not a folder"},
    {"a_folder_without_a_catalogue", [](auto const& there) { create_directory(there); },
     "not a recorder: no catalogue.db"},
    {"a_catalogue_that_is_a_folder",
     [](auto const& there) { create_directories(there / "catalogue.db"); },
     "not a recorder: catalogue.db is not a file"},
    {"a_catalogue_that_is_no_database",
     [](auto const& there) { put_catalogue(there, std::string(4096, 'x')); },
     "not a recorder: its catalogue is not a database"},
    {"an_empty_catalogue", [](auto const& there) { put_catalogue(there, ""); },
     "not a recorder: its catalogue is empty or something else's"}};

INSTANTIATE_TEST_SUITE_P(all, open_no_recorder, testing::ValuesIn(no_recorders),
                         [](auto const& row) { return std::string(row.param.behaviour); });

TEST_F(open_recorder, a_path_that_holds_share_is_refused) {
  make();
  auto const moved = root().parent_path() / "share" / "recorder";
  fs::create_directory(moved.parent_path());
  fs::rename(root(), moved);
  EXPECT_EQ(moved.string() + ": a recorder's own path must not hold \"share/\"",
            support::failure_of([&] { lab::recorder::open(moved, lab::access::read_only); }));
}

// Runs as an unprivileged user where the test itself is root.
class open_unprivileged : public open_recorder {
 protected:
  static constexpr uid_t nobody = 65534;

  open_unprivileged() {
    make();
    fs::permissions(root().parent_path(), fs::perms(0755));
    if (geteuid() == 0 && seteuid(nobody) != 0) throw std::runtime_error("cannot become nobody");
  }
  ~open_unprivileged() override { static_cast<void>(seteuid(getuid())); }

  void as_owner(std::function<void()> const& change) {
    auto const user = geteuid();
    static_cast<void>(seteuid(getuid()));
    change();
    static_cast<void>(seteuid(user));
  }
};

TEST_F(open_unprivileged, a_catalogue_without_read_permission_is_refused) {
  as_owner([&] { fs::permissions(root() / "catalogue.db", fs::perms(0)); });
  EXPECT_EQ((root() / "catalogue.db").string() + ": cannot read catalogue: Permission denied",
            refusal());
}

TEST_F(open_unprivileged, a_reader_needs_no_write_permission) {
  as_owner([&] {
    fs::permissions(root() / "catalogue.db", fs::perms(0444));
    fs::permissions(root(), fs::perms(0555));
  });
  EXPECT_EQ(2U, open(lab::access::read_only).volumes().size());
  expect_clean();
  EXPECT_EQ((root() / "catalogue.db").string() + ": catalogue cannot be written",
            refusal(lab::access::read_write));
  as_owner([&] { fs::permissions(root(), fs::perms(0755)); });
}

TEST_F(open_recorder, reading_and_finding_nothing_to_recycle_change_no_byte) {
  make([](auto& options) { options.days = 1; });
  for (auto const mode : {lab::access::read_only, lab::access::read_write}) {
    support::unchanged const kept(root());
    auto const recorder = open(mode);
    recorder.spaces();
    recorder.volumes();
    recorder.periods();
    lab::check(recorder);
  }
  support::unchanged const kept(root());
  EXPECT_EQ(0, open().recycle(first_volume, main_stream, always));
}

TEST_F(open_recorder, a_relative_folder_is_resolved_at_open) {
  make();
  auto const before = fs::current_path();
  fs::current_path(root().parent_path());
  auto recorder = lab::recorder::open("./recorder/", lab::access::read_write);
  fs::current_path("/");
  EXPECT_EQ(root(), recorder.folder());
  EXPECT_EQ(root() / "share" / "vol1", recorder.volumes().front().path);
  recorder.record(first_volume, main_stream, support::now, 1);
  fs::current_path(before);
  EXPECT_EQ(lab::findings(), lab::check(recorder));
}

TEST_F(open_recorder, a_reader_cannot_change_anything) {
  auto recorder = made(support::small(), lab::access::read_only);
  EXPECT_THROW(recorder.record(first_volume, main_stream, support::now, 1), lab::error);
  EXPECT_THROW(recorder.recycle(first_volume, main_stream, always), lab::error);
  EXPECT_THROW(recorder.change_volumes({{first_volume, "x", 1, 1}}), lab::error);
  EXPECT_EQ(lab::findings(), lab::check(open()));
}

// One of two volumes has lost its preallocate folder.
class one_volume_blocked : public open_recorder {
 protected:
  one_volume_blocked() { make(); }

  void block() const { fs::rename(preallocate(first_volume), kept()); }
  void unblock() const { fs::rename(kept(), preallocate(first_volume)); }
  fs::path kept() const { return root() / "kept"; }
  std::int64_t recycle() const { return open().recycle(first_volume, main_stream, always); }
  std::int64_t units_on_their_way() const {
    return ask("SELECT count(*) FROM unit WHERE state IN ('recording', 'recycling')");
  }
  std::string reason() const {
    return preallocate(first_volume).string() + ": cannot open folder: No such file or directory";
  }
};

TEST_F(one_volume_blocked, what_cannot_be_finished_is_not_begun) {
  leak(first_volume, main_stream, support::now, 2);
  block();
  EXPECT_EQ(reason(), support::failure_of([&] { recycle(); }));
  EXPECT_EQ(reason(), support::failure_of(
                          [&] { open().record(first_volume, main_stream, support::now, 1); }));
  EXPECT_EQ(0, units_on_their_way());
  unblock();
  EXPECT_EQ(2, recycle());
}

TEST_F(one_volume_blocked, a_stopped_move_there_keeps_no_writer_from_the_other) {
  leak(first_volume, main_stream, support::now, 2);
  tamper("UPDATE unit SET state = 'recycling' WHERE state = 'recorded'");
  block();
  open().record(second_volume, main_stream, support::now, 1);
  EXPECT_EQ(2, units_on_their_way());
  EXPECT_EQ(reason(), support::failure_of([&] { recycle(); }));
  unblock();
  open();
  EXPECT_EQ(0, units_on_their_way());
  EXPECT_EQ(8, open().account(first_volume).preallocated);
}

TEST_F(one_volume_blocked, retention_goes_on_with_the_other_and_then_tells) {
  auto recorder = open();
  recorder.record(first_volume, main_stream, support::now, 2);
  recorder.record(second_volume, main_stream, support::now, 3);
  block();
  EXPECT_EQ(reason() + "; 3 units of other volumes came back",
            support::failure_of([&] { recorder.expire(support::now + support::hour); }));
  EXPECT_EQ(0, units_on_their_way());
  ASSERT_EQ(1U, recorder.periods().size());
  EXPECT_EQ(2, recorder.account(first_volume).held);
  unblock();
  EXPECT_EQ(2, recorder.expire(support::now + support::hour));
  EXPECT_EQ(lab::findings(), lab::check(recorder));
}

TEST_F(open_recorder, a_reader_has_a_change_undone_that_was_cut_short) {
  make([](auto& options) { options.volume_mb = 64; });
  die_while_changing();
  ASSERT_TRUE(fs::exists(root() / "catalogue.db-journal"));
  auto const journal_size = fs::file_size(root() / "catalogue.db-journal");
  auto const recorder = open(lab::access::read_only);
  EXPECT_EQ(0, recorder.volumes().front().type);
  // What a full disk needs to be recycled is still there.
  ASSERT_TRUE(fs::exists(root() / "catalogue.db-journal"));
  EXPECT_EQ(journal_size, fs::file_size(root() / "catalogue.db-journal"));
  EXPECT_EQ(lab::findings(), lab::check(recorder));
}

TEST_F(open_recorder, a_reader_gets_over_a_journal_that_undoes_nothing) {
  make();
  std::fstream(root() / "catalogue.db-journal") << std::string(8192, 'x');
  for (int round = 0; round < 2; ++round) expect_clean();
}

class resumed : public open_recorder {
 protected:
  resumed() : idle(made(support::small([](auto& options) { options.volume_mb = 64; }))) {}

  bool resume() { return idle.resume(root(), std::chrono::milliseconds(0)); }
  fs::path moved() const { return root().parent_path() / "moved"; }

  lab::recorder idle;
};

TEST_F(resumed, sees_what_others_changed_meanwhile) {
  idle.volumes();
  leak(first_volume, main_stream, support::now, 2);
  ASSERT_TRUE(resume());
  EXPECT_EQ(2, idle.account(first_volume).lost);
  EXPECT_EQ(2, idle.recycle(first_volume, main_stream, always));
}

TEST_F(resumed, finishes_what_was_stopped_meanwhile) {
  leak(first_volume, main_stream, support::now, 2);
  tamper("UPDATE unit SET state = 'recycling' WHERE state = 'recorded'");
  ASSERT_TRUE(resume());
  EXPECT_EQ(0, idle.account(first_volume).moving);
}

TEST_F(resumed, undoes_what_was_cut_short_meanwhile_and_keeps_the_journal) {
  auto const journal = root() / "catalogue.db-journal";
  auto const size = fs::file_size(journal);
  die_while_changing();
  ASSERT_TRUE(resume());
  EXPECT_EQ(0, idle.volumes().front().type);
  EXPECT_EQ(size, fs::file_size(journal));
  fs::remove(journal);
  ASSERT_TRUE(resume());
  EXPECT_EQ(size, fs::file_size(journal));
  expect_clean();
}

TEST_F(resumed, waits_as_long_as_it_is_told_for_who_writes) {
  auto other = connect(lab::database::mode::read_write);
  other.execute("BEGIN EXCLUSIVE");
  EXPECT_THROW(resume(), lab::busy_error);
  other.execute("COMMIT");
  EXPECT_TRUE(resume());
}

TEST_F(resumed, holds_only_what_is_held_since) {
  idle.hold(first_volume, std::chrono::milliseconds(0));
  idle.release();
  auto other = open();
  other.hold(first_volume, std::chrono::milliseconds(0));
  EXPECT_TRUE(resume());
}

TEST_F(resumed, not_where_the_recorder_is_another) {
  support::copy_tree(root(), moved());
  EXPECT_FALSE(idle.resume(moved(), std::chrono::milliseconds(0)));
  fs::remove_all(root());
  EXPECT_FALSE(resume());
  fs::rename(moved(), root());
  EXPECT_FALSE(resume());
}

TEST_F(resumed, not_where_its_folder_leads_elsewhere) {
  support::copy_tree(root(), moved());
  auto const other = root().parent_path() / "other";
  fs::rename(root(), other);
  fs::create_directory_symlink(moved(), root());
  EXPECT_FALSE(resume());
  fs::remove(root());
  fs::rename(other, root());
  EXPECT_TRUE(resume());
}

TEST_F(resumed, not_where_the_catalogue_would_be_refused) {
  for (auto const& [change, undo] :
       {std::pair("CREATE TABLE more (x)", "DROP TABLE more"),
        {"PRAGMA user_version = 2", "PRAGMA user_version = 1"},
        {"PRAGMA application_id = 1", "PRAGMA application_id = 0x53544c42"},
        {"UPDATE recorder SET unit_mb = 2", "UPDATE recorder SET unit_mb = 1"}}) {
    SCOPED_TRACE(change);
    tamper(change);
    EXPECT_FALSE(resume());
    tamper(undo);
    EXPECT_TRUE(resume());
  }
}

TEST_F(resumed, not_where_the_catalogue_keeps_a_write_ahead_log) {
  tamper("PRAGMA journal_mode = WAL");
  EXPECT_FALSE(resume());
}

TEST_F(resumed, not_where_the_catalogue_has_a_second_name) {
  fs::create_hard_link(root() / "catalogue.db", moved());
  EXPECT_FALSE(resume());
}

TEST_F(open_unprivileged, a_catalogue_that_may_no_longer_be_written_is_not_resumed) {
  as_owner([&] {
    fs::permissions(root(), fs::perms(0777));
    fs::permissions(root() / "catalogue.db", fs::perms(0666));
    fs::permissions(root() / "catalogue.db-journal", fs::perms(0666));
  });
  auto idle = open();
  EXPECT_TRUE(idle.resume(root(), std::chrono::milliseconds(0)));
  as_owner([&] { fs::permissions(root() / "catalogue.db", fs::perms(0444)); });
  EXPECT_FALSE(idle.resume(root(), std::chrono::milliseconds(0)));
}

TEST_F(open_recorder, a_pipe_is_no_identity) {
  make();
  auto const identity = root() / "share" / "vol1" / "identity";
  fs::remove(identity);
  ASSERT_EQ(0, mkfifo(identity.c_str(), 0600));
  EXPECT_EQ(lab::not_mounted_state, open().volumes().front().state);
}

TEST_F(open_unprivileged, a_change_that_was_cut_short_needs_somebody_who_may_write) {
  as_owner([&] {
    fs::remove_all(root());
    make([](auto& options) { options.volume_mb = 64; });
    die_while_changing();
    fs::permissions(root() / "catalogue.db-journal", fs::perms(0444));
    fs::permissions(root() / "catalogue.db", fs::perms(0444));
    fs::permissions(root(), fs::perms(0555));
  });
  EXPECT_EQ(root().string() +
                ": the last change of its catalogue was cut short; open it once with permission to "
                "write",
            refusal());
  as_owner([&] {
    fs::permissions(root(), fs::perms(0755));
    fs::permissions(root() / "catalogue.db-journal", fs::perms(0644));
    fs::permissions(root() / "catalogue.db", fs::perms(0644));
    EXPECT_EQ(0, open(lab::access::read_only).volumes().front().type);
  });
}

TEST_F(open_recorder, a_catalogue_that_breaks_off_is_named_and_found) {
  make();
  break_table("volume");
  auto const text = (root() / "catalogue.db").string() + ": the catalogue is damaged";
  EXPECT_EQ(text, support::failure_of([&] { open(lab::access::read_only).volumes(); }));
  EXPECT_THROW(open(lab::access::read_only).volumes(), lab::database_error);
  auto const findings = lab::check(open(lab::access::read_only));
  ASSERT_FALSE(findings.empty());
  for (auto const& each : findings) EXPECT_EQ(lab::finding_class::corrupt, each.what);
  EXPECT_EQ(text, findings.back().text);
}

}  // namespace
