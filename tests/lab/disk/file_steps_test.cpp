// The steps that copy, cut and move files, and what no step is done to.
#include "lab/disk/file_steps.h"

#include <sys/stat.h>

#include "engine_test.h"

namespace {

namespace fs = std::filesystem;

class file_steps : public testing::Test {
 protected:
  file_steps() {
    fs::create_directory(temporary_.path() / "from");
    fs::create_directory(temporary_.path() / "to");
  }

  static void expect_no_file(std::string const& failure) {
    EXPECT_NE(std::string::npos, failure.find("/from/it: is no file")) << failure;
  }

  // Each step that opens "it" in the folder "from".
  std::vector<std::string> failures() const {
    return {support::failure_of([&] { lab::steps::copy_file(from(), to(), "it"); }),
            support::failure_of([&] { lab::steps::cut_file(from(), "it", 1); }),
            support::failure_of([&] { lab::steps::write_head(from(), "it", "head"); })};
  }

  lab::folder from() const { return lab::folder(temporary_.path() / "from"); }
  lab::folder to() const { return lab::folder(temporary_.path() / "to"); }

 private:
  support::temporary_folder temporary_;
};

TEST_F(file_steps, copy_every_byte_of_more_than_one_piece) {
  std::string content(3'000'001, 'a');
  for (std::size_t at = 0; at < content.size(); at += 1000) content[at] = 'b';
  lab::steps::make_file(from(), "it", content);
  lab::steps::copy_file(from(), to(), "it");
  EXPECT_EQ(content, support::contents_of(to().path()).at("it"));
  EXPECT_EQ(content, support::contents_of(from().path()).at("it"));
}

TEST_F(file_steps, count_in_64_bits) {
  constexpr std::int64_t large = std::int64_t{5} << 30;  // of which no block is there
  lab::steps::make_file(from(), "it", "tail");
  lab::steps::cut_file(from(), "it", large);
  EXPECT_EQ(large, static_cast<std::int64_t>(fs::file_size(from().path() / "it")));
  lab::steps::write_head(from(), "it", "head");
  lab::steps::cut_file(from(), "it", 4);
  EXPECT_EQ("head", support::contents_of(from().path()).at("it"));
}

TEST_F(file_steps, move_to_a_free_name_only) {
  lab::steps::make_file(from(), "it", "new");
  lab::steps::make_file(to(), "it", "old");
  EXPECT_FALSE(lab::steps::move_to_free_name(from(), to(), "it"));
  EXPECT_EQ("old", support::contents_of(to().path()).at("it"));
  lab::steps::remove_file(to(), "it");
  EXPECT_TRUE(lab::steps::move_to_free_name(from(), to(), "it"));
  EXPECT_EQ("new", support::contents_of(to().path()).at("it"));
  EXPECT_EQ(0U, support::contents_of(from().path()).count("it"));
}

TEST_F(file_steps, copy_over_nothing) {
  lab::steps::make_file(from(), "it", "new");
  lab::steps::make_file(to(), "it", "old");
  EXPECT_NE("", support::failure_of([&] { lab::steps::copy_file(from(), to(), "it"); }));
  EXPECT_EQ("old", support::contents_of(to().path()).at("it"));
}

TEST_F(file_steps, cut_and_move) {
  lab::steps::make_file(from(), "it", "content");
  lab::steps::cut_file(from(), "it", 4);
  lab::steps::move_file(from(), to(), "it");
  EXPECT_EQ(support::contents(), support::contents_of(from().path()));
  EXPECT_EQ((support::contents{{"it", "cont"}}), support::contents_of(to().path()));
}

TEST_F(file_steps, open_no_pipe) {
  ASSERT_EQ(0, mkfifo((from().path() / "it").c_str(), 0600));
  for (auto const& failure : failures()) expect_no_file(failure);
  EXPECT_TRUE(to().names().empty());
}

TEST_F(file_steps, follow_no_link) {
  lab::steps::make_file(to(), "victim", "victim");
  fs::create_symlink(to().path() / "victim", from().path() / "it");
  for (auto const& failure : failures()) {
    EXPECT_NE(std::string::npos, failure.find("/from/it: cannot open: ")) << failure;
  }
  EXPECT_EQ((support::contents{{"victim", "victim"}}), support::contents_of(to().path()));
}

}  // namespace
