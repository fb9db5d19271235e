#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "engine_test.h"
#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"
#include "lab/volume/layout.h"

namespace {

namespace fs = std::filesystem;

class open_recorder : public support::engine_test {
 protected:
  std::string refusal(lab::access mode = lab::access::read_only) const {
    return support::failure_of([&] { open(mode); });
  }
};

TEST_F(open_recorder, an_absent_folder_is_refused) {
  EXPECT_EQ(root().string() + ": cannot open recorder: No such file or directory", refusal());
}

TEST_F(open_recorder, a_file_is_refused) {
  support::write_file(root(), "");
  EXPECT_EQ(root().string() + ": not a recorder: not a folder", refusal());
}

TEST_F(open_recorder, a_folder_without_a_catalogue_is_refused) {
  fs::create_directory(root());
  EXPECT_EQ(root().string() + ": not a recorder: no catalogue.db", refusal());
  EXPECT_EQ(root().string() + ": not a recorder: no catalogue.db",
            refusal(lab::access::read_write));
  EXPECT_EQ(support::contents(), support::contents_of(root()));
}

TEST_F(open_recorder, a_catalogue_that_is_a_folder_is_refused) {
  fs::create_directories(root() / "catalogue.db");
  EXPECT_EQ(root().string() + ": not a recorder: catalogue.db is not a file", refusal());
}

TEST_F(open_recorder, a_catalogue_that_is_no_database_is_refused) {
  fs::create_directory(root());
  support::write_file(root() / "catalogue.db", std::string(4096, 'x'));
  EXPECT_EQ(root().string() + ": not a recorder: its catalogue is not a database", refusal());
}

TEST_F(open_recorder, an_empty_catalogue_is_refused) {
  fs::create_directory(root());
  support::write_file(root() / "catalogue.db", "");
  EXPECT_EQ(root().string() + ": not a recorder: its catalogue is empty or something else's",
            refusal());
}

TEST_F(open_recorder, a_catalogue_without_the_recorders_own_row_is_refused) {
  make();
  tamper("DELETE FROM recorder");
  std::string const text = root().string() + ": not a recorder: its catalogue is empty";
  EXPECT_EQ(text, refusal());
  EXPECT_EQ(text, refusal(lab::access::read_write));
}

TEST_F(open_recorder, another_programs_database_is_refused) {
  make();
  tamper("PRAGMA application_id = 1");
  EXPECT_EQ(root().string() + ": not a recorder: its catalogue is empty or something else's",
            refusal());
}

TEST_F(open_recorder, a_newer_format_is_refused) {
  make();
  tamper("PRAGMA user_version = 2");
  std::string const text =
      root().string() + ": made by a newer version: its format is 2, this program knows up to 1";
  EXPECT_EQ(text, refusal());
  EXPECT_EQ(text, refusal(lab::access::read_write));
}

TEST_F(open_recorder, an_unknown_older_format_is_refused) {
  make();
  tamper("PRAGMA user_version = 0");
  EXPECT_EQ(root().string() + ": not a recorder: unknown format 0", refusal());
}

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
  EXPECT_EQ(lab::findings(), lab::check(open(lab::access::read_only)));
  EXPECT_EQ((root() / "catalogue.db").string() + ": catalogue cannot be written",
            refusal(lab::access::read_write));
  as_owner([&] { fs::permissions(root(), fs::perms(0755)); });
}

TEST_F(open_recorder, reading_and_finding_nothing_to_recycle_change_no_byte) {
  auto options = support::small();
  options.days = 1;
  make(options);
  auto const before = support::contents_of(root());
  for (auto const mode : {lab::access::read_only, lab::access::read_write}) {
    auto const recorder = open(mode);
    recorder.spaces();
    recorder.volumes();
    recorder.periods();
    lab::check(recorder);
    EXPECT_EQ(std::vector<std::string>(),
              support::differences(before, support::contents_of(root())));
  }
  EXPECT_EQ(0, open().recycle(first_volume, main_stream, always));
  EXPECT_EQ(std::vector<std::string>(), support::differences(before, support::contents_of(root())));
}

TEST_F(open_recorder, a_relative_folder_is_resolved_at_open) {
  make();
  auto const home = fs::current_path();
  fs::current_path(root().parent_path());
  auto recorder = lab::recorder::open("./recorder/", lab::access::read_write);
  fs::current_path("/");
  EXPECT_EQ(root(), recorder.folder());
  EXPECT_EQ(root() / "share" / "vol1", recorder.volumes().front().path);
  recorder.record(first_volume, main_stream, support::now, 1);
  fs::current_path(home);
  EXPECT_EQ(lab::findings(), lab::check(recorder));
}

TEST_F(open_recorder, a_reader_cannot_change_anything) {
  make();
  auto recorder = open(lab::access::read_only);
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
  EXPECT_EQ(reason(),
            support::failure_of([&] { open().recycle(first_volume, main_stream, always); }));
  EXPECT_EQ(reason(), support::failure_of(
                          [&] { open().record(first_volume, main_stream, support::now, 1); }));
  EXPECT_EQ(0, units_on_their_way());
  unblock();
  EXPECT_EQ(2, open().recycle(first_volume, main_stream, always));
}

TEST_F(one_volume_blocked, a_stopped_move_there_keeps_no_writer_from_the_other) {
  leak(first_volume, main_stream, support::now, 2);
  tamper("UPDATE unit SET state = 'recycling' WHERE state = 'recorded'");
  block();
  open().record(second_volume, main_stream, support::now, 1);
  EXPECT_EQ(2, units_on_their_way());
  EXPECT_EQ(reason(),
            support::failure_of([&] { open().recycle(first_volume, main_stream, always); }));
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

// A child that dies inside a transaction whose pages are partly in the file.
void die_while_changing(fs::path const& catalogue_file) {
  pid_t const child = fork();
  if (child == 0) {
    lab::database catalogue(catalogue_file, lab::database::mode::read_write,
                            std::chrono::milliseconds(0));
    catalogue.execute(
        "PRAGMA cache_size = 1; BEGIN IMMEDIATE;"
        "UPDATE volume SET type = 1; UPDATE unit SET name = name || 'x';");
    _exit(0);
  }
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  ASSERT_EQ(0, status);
}

TEST_F(open_recorder, a_reader_has_a_change_undone_that_was_cut_short) {
  auto options = support::small();
  options.volume_mb = 64;
  make(options);
  die_while_changing(root() / "catalogue.db");
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
  {
    std::fstream journal(root() / "catalogue.db-journal",
                         std::ios::in | std::ios::out | std::ios::binary);
    journal << std::string(8192, 'x');
  }
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(lab::findings(), lab::check(open(lab::access::read_only)));
  }
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
    auto options = support::small();
    options.volume_mb = 64;
    make(options);
    die_while_changing(root() / "catalogue.db");
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
  auto const page = ask("SELECT rootpage FROM sqlite_master WHERE name = 'volume'");
  auto const size = ask("SELECT page_size FROM pragma_page_size");
  {
    std::fstream file(root() / "catalogue.db", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp((page - 1) * size);
    file << std::string(static_cast<std::size_t>(size), '\xff');
  }
  auto const text = (root() / "catalogue.db").string() + ": the catalogue is damaged";
  EXPECT_EQ(text, support::failure_of([&] { open(lab::access::read_only).volumes(); }));
  EXPECT_THROW(open(lab::access::read_only).volumes(), lab::database_error);
  auto const findings = lab::check(open(lab::access::read_only));
  ASSERT_FALSE(findings.empty());
  for (auto const& each : findings) EXPECT_EQ(lab::finding_class::corrupt, each.what);
  EXPECT_EQ(text, findings.back().text);
}

}  // namespace
