#include "lab/catalogue/journal.h"

#include <sys/stat.h>
#include <unistd.h>

#include "engine_test.h"
#include "lab/check/check.h"
#include "lab/repair/repair.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using strings = std::vector<std::string>;

class catalogue_journal : public support::engine_test {
 protected:
  catalogue_journal() {
    make([](auto& options) { options.volume_mb = 64; });
    whole_ = fs::file_size(journal());
    needed_ = ask("SELECT page_count * page_size FROM pragma_page_count, pragma_page_size");
  }

  fs::path catalogue() const { return root() / "catalogue.db"; }
  fs::path journal() const { return root() / "catalogue.db-journal"; }
  std::string needed() const { return std::to_string(needed_); }

  struct stat status() const {
    struct stat found {};
    if (stat(journal().c_str(), &found) != 0) throw std::runtime_error("there is no journal");
    return found;
  }

  lab::findings findings() const { return lab::check(open(lab::access::read_only)); }

  void expect_found(lab::finding_class what, std::string const& text) const {
    EXPECT_EQ(lab::findings({{what, "catalogue", text}}), findings());
  }

  void expect_put_back() const {
    EXPECT_EQ(whole_, fs::file_size(journal()));
    EXPECT_LE(std::int64_t{status().st_size}, std::int64_t{status().st_blocks} * 512);
    EXPECT_EQ(lab::findings(), findings());
  }

  std::string content() const { return support::contents_of(root()).at("catalogue.db-journal"); }

 private:
  std::uintmax_t whole_ = 0;
  std::int64_t needed_ = 0;
};

TEST_F(catalogue_journal, that_is_missing_is_found_and_put_back_by_who_may_write) {
  fs::remove(journal());
  expect_found(lab::finding_class::missing, "its journal is missing");
  EXPECT_FALSE(fs::exists(journal())) << "a reader changes nothing";
  open();
  expect_put_back();
}

TEST_F(catalogue_journal, that_is_short_is_found_and_put_back) {
  fs::resize_file(journal(), 4096);
  expect_found(lab::finding_class::too_short,
               "its journal is 4096 bytes long instead of at least " + needed());
  EXPECT_EQ(4096U, fs::file_size(journal()));
  open();
  expect_put_back();
}

TEST_F(catalogue_journal, without_blocks_is_found_and_gets_them) {
  auto const size = fs::file_size(journal());
  fs::resize_file(journal(), 0);
  fs::resize_file(journal(), size);
  expect_found(lab::finding_class::too_short,
               "its journal has only 0 of " + needed() + " bytes allocated");
  open();
  expect_put_back();
}

TEST_F(catalogue_journal, is_put_back_by_a_repair) {
  fs::remove(journal());
  EXPECT_EQ(strings{"catalogue: its journal was put back"},
            lab::repair(root(), lab::lost_recordings::keep).repaired);
  expect_put_back();
}

TEST_F(catalogue_journal, is_put_back_before_something_is_recorded) {
  auto recorder = open();
  fs::remove(journal());
  recorder.record(first_volume, main_stream, support::now, 1);
  expect_put_back();
}

TEST_F(catalogue_journal, belongs_to_who_owns_the_catalogue) {
  fs::permissions(catalogue(), fs::perms(0660));
  uid_t const nobody = 65534;
  uid_t const owner = geteuid() == 0 ? nobody : geteuid();
  ASSERT_EQ(0, chown(catalogue().c_str(), owner, static_cast<gid_t>(-1)));
  fs::remove(journal());
  open();
  EXPECT_EQ(owner, status().st_uid);
  EXPECT_EQ(0660U, status().st_mode & 0777U);
}

// What is cut short in it is undone first.
TEST_F(catalogue_journal, undoes_a_change_before_it_is_put_back) {
  fs::remove(journal());
  die_while_changing();
  ASSERT_NE('\0', content().front());
  EXPECT_LT(fs::file_size(journal()), 200U * 1024U);
  EXPECT_EQ(0, open().volumes().front().type);
  EXPECT_EQ(0, ask("SELECT count(*) FROM unit WHERE name LIKE '%x'"));
  expect_put_back();
}

// Extending it is harmless even if it does undo a change.
TEST_F(catalogue_journal, undoes_a_change_with_zeros_behind_it_too) {
  fs::remove(journal());
  die_while_changing();
  fs::resize_file(journal(), fs::file_size(journal()) + 1000000);
  EXPECT_EQ(0, open().volumes().front().type);
  EXPECT_EQ(0, ask("SELECT count(*) FROM unit WHERE name LIKE '%x'"));
  EXPECT_EQ(lab::findings(), findings());
}

TEST_F(catalogue_journal, is_left_alone_while_somebody_uses_it) {
  for (auto const* const end : {"COMMIT", "ROLLBACK"}) {
    fs::remove(journal());
    auto other = connect(lab::database::mode::read_write);
    other.execute("BEGIN IMMEDIATE; UPDATE volume SET volume_no = volume_no + 10;");
    auto const before = content();
    lab::recorder::open(root(), lab::access::read_write, milliseconds(0));
    EXPECT_EQ(before, content());
    other.execute(end);
    EXPECT_EQ(11, ask("SELECT min(volume_no) FROM volume"));
    open();
    expect_put_back();
  }
}

}  // namespace
