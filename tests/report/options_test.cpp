#include "report/options.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "environment.h"
#include "files.h"
#include "report/descriptor.h"

namespace report {
namespace {

command_line read(std::vector<char const*> words) {
  words.insert(words.begin(), "st-report");
  return read_command_line(static_cast<int>(words.size()), words.data(), "1.2.3");
}

options asked(std::vector<char const*> const& words) {
  command_line const line = read(words);
  EXPECT_TRUE(line.asked.has_value()) << line.errors;
  EXPECT_EQ(line.output + line.errors, "");
  return line.asked.value_or(options{});
}

TEST(command_line, without_options_asks_for_the_text) {
  options const line = asked({});
  EXPECT_EQ(line.prints, printing::text);
  EXPECT_EQ(line.preview, previewing::no);
  EXPECT_FALSE(line.anonymous);
  EXPECT_EQ(line.expected_days, std::nullopt);
  EXPECT_EQ(line.html.string() + line.metrics.string() + line.compare.string(), "");
  EXPECT_EQ(line.shows.columns, std::nullopt);
  EXPECT_EQ(line.shows.colour, colouring::automatic);
  EXPECT_FALSE(line.shows.ascii);
}

TEST(command_line, every_option_is_taken) {
  options const line = asked({"--json", "--anonymous", "--preview", "--expect-days", "90", "--html",
                              "page", "--compare=old", "--metrics", "-x", "--columns", "007",
                              "--color", "always", "--ascii"});
  EXPECT_EQ(line.prints, printing::json);
  EXPECT_EQ(line.preview, previewing::yes);
  EXPECT_TRUE(line.anonymous);
  EXPECT_EQ(line.expected_days, 90);
  EXPECT_EQ(line.html, "page");
  EXPECT_EQ(line.compare, "old");
  EXPECT_EQ(line.metrics, "-x");
  EXPECT_EQ(line.shows.columns, 7);
  EXPECT_EQ(line.shows.colour, colouring::always);
  EXPECT_TRUE(line.shows.ascii);
}

TEST(command_line, one_thing_goes_to_standard_output) {
  EXPECT_EQ(asked({"--check"}).prints, printing::check);
  EXPECT_EQ(asked({"--html", "f"}).prints, printing::nothing);
  EXPECT_EQ(asked({"--metrics", "f"}).prints, printing::nothing);
  EXPECT_EQ(asked({"--metrics", "f", "--json"}).prints, printing::json);
  EXPECT_EQ(asked({"--html", "f", "--check"}).prints, printing::check);
}

struct refusal {
  std::vector<char const*> words;
  std::string problem;
};

TEST(command_line, what_makes_no_sense_is_refused_in_plain_words) {
  for (refusal const& each : std::vector<refusal>{
           {{"x"}, "unexpected argument: x"},
           {{"--bogus"}, "unexpected argument: --bogus"},
           {{"--check", "x\x1b", "y"}, "unexpected arguments: x\xef\xbf\xbd y"},
           {{"--check", "--json"}, "--check and --json exclude each other"},
           {{"--json", "--check"}, "--check and --json exclude each other"},
           {{"--anonymous"}, "--anonymous needs --json"},
           {{"--compare", "old"}, "--compare needs --html"},
           {{"--compare", "old", "--metrics", "f"}, "--compare needs --html"},
           {{"--html", "f", "--metrics", "./f"}, "--html and --metrics name the same file"},
           {{"--html", "f", "--compare", "f"}, "--html and --compare name the same file"},
           {{"--html", "a", "--compare", "f", "--metrics", "f"},
            "--metrics and --compare name the same file"},
           {{"--html"}, "the option --html has no value"},
           {{"--html", "a", "--html", "b"}, "the option --html is given more than once"},
           {{"--html", ""}, "--html: the file has no name"},
           {{"--expect-days", "0"}, "--expect-days: '0' is not a whole number from 1 to 36500"},
           {{"--expect-days", "x"}, "--expect-days: 'x' is not a whole number from 1 to 36500"},
           {{"--expect-days", "1.5"}, "--expect-days: '1.5' is not a whole number from 1 to 36500"},
           {{"--expect-days", "36501"},
            "--expect-days: '36501' is not a whole number from 1 to 36500"},
           {{"--expect-days", "99999999999999999999"},
            "--expect-days: '99999999999999999999' is not a whole number from 1 to 36500"},
           {{"--columns=-1"}, "--columns: '-1' is not a whole number from 1 to 2147483647"},
           {{"--columns", ""}, "--columns: '' is not a whole number from 1 to 2147483647"},
           {{"--color", "red"}, "--color: 'red' is none of never, always, auto"}}) {
    command_line const line = read(each.words);
    EXPECT_FALSE(line.asked.has_value()) << each.problem;
    EXPECT_EQ(line.errors, each.problem + "\nTry: st-report --help");
    EXPECT_EQ(line.output, "");
    EXPECT_EQ(line.status, 2);
  }
}

TEST(command_line, tells_the_version) {
  command_line const line = read({"--version"});
  EXPECT_EQ(line.output, "st-report 1.2.3\n");
  EXPECT_EQ(line.status, 0);
}

TEST(command_line, helps) {
  command_line const line = read({"--help"});
  EXPECT_EQ(line.status, 0);
  for (char const* part :
       {"--check", "--json", "--anonymous", "--html FILE", "--compare FILE", "--metrics FILE",
        "--preview", "--expect-days N", "--columns N", "--color WHEN", "--ascii", "--version",
        "Exit status:", "  0  ", "  1  ", "  2  ", "  3  "}) {
    EXPECT_NE(line.output.find(part), std::string::npos) << part;
  }
  for (std::string const& each : support::lines_of(line.output))
    EXPECT_LE(each.size(), 80U) << each;
}

// As long as it is there standard output leads elsewhere.
class standard_output {
 public:
  explicit standard_output(report::descriptor const& to) : before_(::dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    ::dup2(to.get(), STDOUT_FILENO);
  }
  ~standard_output() { ::dup2(before_.get(), STDOUT_FILENO); }
  standard_output(standard_output const&) = delete;
  standard_output& operator=(standard_output const&) = delete;

 private:
  report::descriptor before_;
};

layout layout_without_terminal(display const& with = {}) {
  report::descriptor const nothing(::open("/dev/null", O_WRONLY));
  standard_output const led(nothing);
  return layout_of(with);
}

TEST(layout, is_as_wide_as_asked_within_bounds) {
  support::scrub_environment();
  display with;
  EXPECT_EQ(layout_without_terminal(with).columns, 80);
  struct width {
    char const* variable;
    int columns;
  };
  for (width const& each : std::vector<width>{{"100", 100},
                                              {"1", 40},
                                              {"39", 40},
                                              {"200", 200},
                                              {"201", 200},
                                              {"2147483647", 200},
                                              {"0", 80},
                                              {"-5", 80},
                                              {"x", 80},
                                              {"", 80},
                                              {"99999999999", 80}}) {
    ::setenv("COLUMNS", each.variable, 1);
    EXPECT_EQ(layout_without_terminal(with).columns, each.columns) << each.variable;
  }
  ::setenv("COLUMNS", "100", 1);
  with.columns = 120;
  EXPECT_EQ(layout_without_terminal(with).columns, 120);
  with.columns = 7;
  EXPECT_EQ(layout_without_terminal(with).columns, 40);
  ::unsetenv("COLUMNS");
}

TEST(layout, is_coloured_only_when_asked_where_there_is_no_terminal) {
  ::unsetenv("NO_COLOR");
  display with;
  EXPECT_FALSE(layout_without_terminal(with).colour);
  with.colour = colouring::always;
  EXPECT_TRUE(layout_without_terminal(with).colour);
  with.colour = colouring::never;
  EXPECT_FALSE(layout_without_terminal(with).colour);
}

// On a terminal of so many columns.
layout layout_on_terminal(unsigned short columns, display const& with = {}) {
  report::descriptor const master(::posix_openpt(O_RDWR | O_NOCTTY));
  if (::grantpt(master.get()) != 0 || ::unlockpt(master.get()) != 0) {
    throw std::runtime_error("no terminal");
  }
  report::descriptor const slave(::open(::ptsname(master.get()), O_RDWR | O_NOCTTY));
  winsize const size{50, columns, 0, 0};
  ::ioctl(slave.get(), TIOCSWINSZ, &size);
  standard_output const led(slave);
  return layout_of(with);
}

TEST(layout, is_as_wide_as_the_terminal) {
  support::scrub_environment();
  EXPECT_EQ(layout_on_terminal(132).columns, 132);
  EXPECT_EQ(layout_on_terminal(20).columns, 40);
  EXPECT_EQ(layout_on_terminal(1000).columns, 200);
  EXPECT_EQ(layout_on_terminal(0).columns, 80);
  ::setenv("COLUMNS", "100", 1);
  EXPECT_EQ(layout_on_terminal(132).columns, 100);
  ::unsetenv("COLUMNS");
}

TEST(layout, is_coloured_on_a_terminal_unless_that_is_forbidden) {
  ::unsetenv("NO_COLOR");
  ::setenv("TERM", "xterm", 1);
  EXPECT_TRUE(layout_on_terminal(80).colour);
  ::setenv("TERM", "dumb", 1);
  EXPECT_FALSE(layout_on_terminal(80).colour);
  ::setenv("TERM", "xterm", 1);
  ::setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(layout_on_terminal(80).colour);
  ::setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(layout_on_terminal(80).colour);
  display with;
  with.colour = colouring::always;
  EXPECT_TRUE(layout_on_terminal(80, with).colour);
  ::unsetenv("NO_COLOR");
  with.colour = colouring::never;
  EXPECT_FALSE(layout_on_terminal(80, with).colour);
}

TEST(layout, is_ascii_outside_utf8) {
  EXPECT_TRUE(layout_of({}).ascii);  // the locale is C
  char const* const locale = std::setlocale(LC_CTYPE, "C.UTF-8");
  ASSERT_NE(locale, nullptr);
  EXPECT_FALSE(layout_of({}).ascii);
  display with;
  with.ascii = true;
  EXPECT_TRUE(layout_of(with).ascii);
  std::setlocale(LC_CTYPE, "C");
}

}  // namespace
}  // namespace report
