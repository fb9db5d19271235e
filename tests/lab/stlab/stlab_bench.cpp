#include "stlab_bench.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "lab/catalogue/sqlite.h"

namespace bench {

stlab_test::stlab_test() {
  ::unsetenv("STLAB_RECORDER");
  ::unsetenv("COLUMNS");
}

outcome stlab_test::run(std::string const& arguments) const {
  std::filesystem::path const output = folder / "output";
  std::filesystem::path const errors = folder / "errors";
  std::string const command = "'" STLAB_PROGRAM "' " + arguments + " >" + output.string() + " 2>" +
                              errors.string() + " </dev/null";
  int const status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), content_of(output),
          content_of(errors)};
}

outcome stlab_test::on_recorder(std::string const& command, std::string const& options) const {
  return run(command + ' ' + recorder.string() + " --now " + std::to_string(now_ms / 1000) + ' ' +
             options);
}

outcome stlab_test::check() const { return run("check " + recorder.string()); }

lab::stream stlab_test::stream(std::size_t channel_index, std::int32_t type,
                               std::int32_t number) const {
  return {channel(channel_index).id, type, number};
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

void stlab_test::expect_refused(outcome const& result, std::string const& message) const {
  EXPECT_EQ(4, result.status);
  EXPECT_EQ("", result.output);
  EXPECT_EQ("stlab: " + message + "\n", result.errors);
}

bool holds(std::string const& text, std::string const& part) {
  return text.find(part) != std::string::npos;
}

std::vector<std::string> lines_in(std::string const& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace bench
