#include "report/options.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <map>
#include <utility>
#include <vector>

#include "report/clean_text.h"

namespace report {

namespace {

constexpr int most_days = 36500;

constexpr char exit_statuses[] =
    "Exit status:\n"
    "  0  nothing needs attention\n"
    "  1  something needs attention\n"
    "  2  wrong usage\n"
    "  3  the service, or a part of it, could not be asked; or a file or standard\n"
    "     output could not be read or written. Standard error says which";

// What the options fill, before it is known whether they fit together.
struct words {
  bool check = false;
  bool json = false;
  bool anonymous = false;
  bool preview = false;
  bool ascii = false;
  std::string html;
  std::string metrics;
  std::string compare;
  std::string colour = "auto";
  std::string columns;
  std::string expected_days;
};

std::map<std::string, colouring> const& colourings() {
  static std::map<std::string, colouring> const names{
      {"never", colouring::never}, {"always", colouring::always}, {"auto", colouring::automatic}};
  return names;
}

CLI::Validator number_from(int least, int most) {
  return CLI::Validator(
      [=](std::string& text) {
        if (whole_number(text, least, most)) return std::string();
        return "'" + text + "' is not a whole number from " + std::to_string(least) + " to " +
               std::to_string(most);
      },
      "");
}

CLI::Validator file_name() {
  return CLI::Validator(
      [](std::string& text) { return std::string(text.empty() ? "the file has no name" : ""); },
      "");
}

CLI::Validator known_colour() {
  return CLI::Validator(
      [](std::string& text) {
        bool const known = colourings().count(text) == 1;
        return known ? std::string() : "'" + text + "' is none of never, always, auto";
      },
      "");
}

void add_file(CLI::App& tool, char const* name, std::string& file, char const* text) {
  tool.add_option(name, file, text)->check(file_name())->type_name("FILE");
}

void add_options(CLI::App& tool, words& typed) {
  tool.add_flag("--check", typed.check, "Print only what needs attention or could not be asked");
  tool.add_flag("--json", typed.json, "Print the report for programs");
  tool.add_flag("--anonymous", typed.anonymous, "With --json: stand-ins for names, ids and paths");
  add_file(tool, "--html", typed.html, "Write the report as a page");
  add_file(tool, "--compare", typed.compare, "With --html: an older --json report beside it");
  add_file(tool, "--metrics", typed.metrics, "Write the report for Prometheus");
  tool.add_flag("--preview", typed.preview, "Tell what st autoclean and st volclean would recycle");
  tool.add_option("--expect-days", typed.expected_days,
                  "A channel that keeps fewer days needs attention")
      ->check(number_from(1, most_days))
      ->type_name("N");
  tool.add_option("--columns", typed.columns, "The text's width, 40 to 200; as the terminal")
      ->check(number_from(1, std::numeric_limits<int>::max()))
      ->type_name("N");
  tool.add_option("--color", typed.colour, "never, always or auto: on a terminal; auto")
      ->check(known_colour())
      ->type_name("WHEN");
  tool.add_flag("--ascii", typed.ascii, "Print nothing but ASCII in the text");
  tool.get_formatter()->column_width(24);
}

// Two options that name one file, of which one would be written over the other; else empty.
std::string same_file_in(words const& typed) {
  std::pair<char const*, std::string const*> const files[] = {
      {"--html", &typed.html}, {"--metrics", &typed.metrics}, {"--compare", &typed.compare}};
  std::map<std::filesystem::path, char const*> known;
  for (auto const& [option, file] : files) {
    if (file->empty()) continue;
    auto const path = std::filesystem::path(*file).lexically_normal();
    auto const [found, is_new] = known.emplace(path, option);
    if (!is_new) return std::string(found->second) + " and " + option;
  }
  return {};
}

// What of it does not go together; empty when all does.
std::string contradiction_in(words const& typed) {
  if (typed.check && typed.json) return "--check and --json exclude each other";
  if (typed.anonymous && !typed.json) return "--anonymous needs --json";
  if (!typed.compare.empty() && typed.html.empty()) return "--compare needs --html";
  std::string const same = same_file_in(typed);
  if (!same.empty()) return same + " name the same file";
  return {};
}

printing printing_of(words const& typed) {
  if (typed.check) return printing::check;
  if (typed.json) return printing::json;
  bool const writes_files = !typed.html.empty() || !typed.metrics.empty();
  return writes_files ? printing::nothing : printing::text;
}

options options_of(words const& typed) {
  options asked;
  asked.prints = printing_of(typed);
  asked.preview = typed.preview ? previewing::yes : previewing::no;
  asked.anonymous = typed.anonymous;
  asked.expected_days = whole_number(typed.expected_days, 1, most_days);
  asked.html = typed.html;
  asked.metrics = typed.metrics;
  asked.compare = typed.compare;
  asked.shows.columns = whole_number(typed.columns, 1, std::numeric_limits<int>::max());
  asked.shows.colour = colourings().at(typed.colour);
  asked.shows.ascii = typed.ascii;
  return asked;
}

std::string unexpected(std::vector<std::string> const& extra) {
  std::string text = extra.size() > 1 ? "unexpected arguments:" : "unexpected argument:";
  for (std::string const& word : extra) text += ' ' + word;
  return text;
}

// What to say of a command line that does not parse.
std::string problem_of(CLI::App const& tool, CLI::ParseError const& problem) {
  std::string const text = problem.what();
  std::string const option = text.substr(0, text.find_first_of(": "));
  switch (static_cast<CLI::ExitCodes>(problem.get_exit_code())) {
    case CLI::ExitCodes::ExtrasError:
      return unexpected(tool.remaining());
    case CLI::ExitCodes::ArgumentMismatch: {
      bool const is_repeated = tool.get_option(option)->count() > 1;
      return "the option " + option + (is_repeated ? " is given more than once" : " has no value");
    }
    default:
      return text;
  }
}

command_line printed(std::string text) {
  command_line line;
  line.output = std::move(text);
  return line;
}

command_line refused(std::string const& problem) {
  command_line line;
  line.errors = clean_text(problem) + "\nTry: st-report --help";
  line.status = wrong_usage;
  return line;
}

}  // namespace

command_line read_command_line(int argc, char const* const* argv, char const* version) {
  CLI::App tool("Shows a recorder's storage and what needs attention. Changes nothing.",
                "st-report");
  words typed;
  tool.set_version_flag("--version", std::string("st-report ") + version);
  add_options(tool, typed);
  tool.footer(exit_statuses);
  try {
    tool.parse(argc, argv);
  } catch (CLI::CallForHelp const&) {
    return printed(tool.help());
  } catch (CLI::CallForVersion const& asked) {
    return printed(std::string(asked.what()) + "\n");
  } catch (CLI::ParseError const& problem) {
    return refused(problem_of(tool, problem));
  }
  std::string const contradiction = contradiction_in(typed);
  if (!contradiction.empty()) return refused(contradiction);
  command_line line;
  line.asked = options_of(typed);
  return line;
}

}  // namespace report
