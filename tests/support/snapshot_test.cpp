#include "snapshot.h"

#include <gtest/gtest.h>

#include "files.h"

namespace {

constexpr std::size_t piece = 65536;

// What a snapshot tells of a file whose content becomes another one.
std::string told_of(std::string const& before, std::string const& after) {
  support::temporary_folder const place(support::medium::memory);
  auto const file = place.path() / "file";
  support::write_file(file, before);
  auto const kept = std::filesystem::last_write_time(file);
  auto const first = support::snapshot_of(place.path());
  support::write_file(file, after);
  std::filesystem::last_write_time(file, kept);
  return support::changes(first, support::snapshot_of(place.path()));
}

TEST(snapshot, of_a_small_file_sees_each_byte) {
  EXPECT_EQ("", told_of("abc", "abc"));
  EXPECT_EQ("file: content\n", told_of("abc", "abd"));
  EXPECT_EQ("file: content\n",
            told_of(std::string(piece - 1, '\0'), std::string(piece - 2, '\0') + "x"));
}

TEST(snapshot, of_a_large_file_sees_each_byte) {
  std::string const zeros(3 * piece + 5, '\0');
  EXPECT_EQ("", told_of(zeros, zeros));
  for (std::size_t const at : {std::size_t{0}, piece - 1, piece, zeros.size() - 1}) {
    std::string changed = zeros;
    changed[at] = 'x';
    EXPECT_EQ("file: content\n", told_of(zeros, changed)) << at;
  }
}

TEST(snapshot, of_a_large_file_sees_where_a_piece_lies) {
  std::string const zeros(piece, '\0');
  std::string const letters(piece, 'x');
  EXPECT_EQ("file: content\n", told_of(letters + zeros, zeros + letters));
}

TEST(content_of, is_all_of_a_file_that_tells_no_size) {
  auto const status = support::content_of("/proc/self/status");
  EXPECT_EQ(0U, status.find("Name:"));
  EXPECT_NE(std::string::npos, status.find("\nnonvoluntary_ctxt_switches:"));
  EXPECT_EQ('\n', status.back());
  EXPECT_THROW(support::content_of("/proc/self/absent"), std::runtime_error);
}

}  // namespace
