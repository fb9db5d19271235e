#include "stlab_test.h"

#include <fstream>

#include "lab/catalogue/sqlite.h"

namespace stlab_program {

outcome stlab_test::run(std::string const& arguments) const {
  return support::run({"/bin/sh", "-c", "'" STLAB_PROGRAM "' " + arguments}, extra, folder);
}

outcome stlab_test::on_recorder(std::string const& command, std::string const& options) const {
  return run(command + ' ' + recorder.string() + " --now " + std::to_string(client::now_ms / 1000) +
             ' ' + options);
}

void stlab_test::break_table(std::string const& name) const {
  std::int64_t page = 0;
  std::int64_t size = 0;
  {
    lab::database const catalogue(recorder / "catalogue.db", lab::database::mode::read_only,
                                  std::chrono::milliseconds(0));
    lab::statement query(catalogue,
                         "SELECT rootpage, page_size FROM sqlite_master, pragma_page_size"
                         "  WHERE name = ?");
    ASSERT_TRUE(query.with(name).next());
    page = query.integer(0);
    size = query.integer(1);
  }
  std::fstream file(recorder / "catalogue.db", std::ios::in | std::ios::out | std::ios::binary);
  file.seekp((page - 1) * size);
  file << std::string(static_cast<std::size_t>(size), '\xff');
}

void stlab_test::expect_refused(outcome const& result, std::string const& message) {
  EXPECT_EQ(4, result.status);
  EXPECT_EQ("", result.output);
  EXPECT_EQ("stlab: " + message + "\n", result.errors);
}

}  // namespace stlab_program
