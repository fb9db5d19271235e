#include "manual_page.h"

#include <algorithm>
#include <sstream>

#include "files.h"

namespace support {

namespace {

void replace(std::string& text, std::string const& what, std::string const& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

std::string unescaped(std::string text) {
  replace(text, "\\(aq", "'");
  replace(text, "\\&", "");
  replace(text, "\\e", "\\");
  return text;
}

// "text" of ".It text"; nothing of any other line.
std::string head_of(std::string const& line) {
  return begins_with(line, ".It ") ? line.substr(4) : std::string();
}

// A head without the names of macros.
std::string plain(std::string const& head) {
  std::istringstream words(head);
  std::string text;
  bool joins = false;
  for (std::string word; words >> word;) {
    if (word == "Cm" || word == "Ar" || word == "Ev" || word == "Pa") continue;
    bool const is_dash = word == "Fl";
    text += (text.empty() || joins ? "" : " ") + (is_dash ? std::string("-") : word);
    joins = is_dash;
  }
  return unescaped(text);
}

// A line of the source in Markdown. Words of a macro are code; a point or comma that
// stands alone behind them is not.
std::string markdown(std::string const& line) {
  if (!begins_with(line, ".")) return unescaped(line);
  if (line == ".Pp") return {};
  std::string words = line.substr(std::min(line.find(' '), line.size() - 1) + 1);
  std::string end;
  if (words.size() > 2 && words[words.size() - 2] == ' ') {
    end = words.substr(words.size() - 1);
    words.resize(words.size() - 2);
  }
  return begins_with(line, ".Pq Ql ") ? "(`" + unescaped(words.substr(3)) + "`)" + end
                                      : "`" + unescaped(words) + "`" + end;
}

}  // namespace

manual_page::manual_page(std::filesystem::path const& file) : lines_(lines_of(content_of(file))) {}

std::vector<std::string> manual_page::titles() const {
  std::vector<std::string> titles;
  for (std::string const& line : lines_) {
    if (begins_with(line, ".Sh ") || begins_with(line, ".Ss ")) titles.push_back(line.substr(4));
  }
  return titles;
}

std::vector<std::string> manual_page::subsections() const {
  std::vector<std::string> titles;
  for (std::string const& line : lines_) {
    if (begins_with(line, ".Ss ")) titles.push_back(line.substr(4));
  }
  return titles;
}

manual_page manual_page::part(std::string const& title) const {
  std::vector<std::string> found;
  bool inside = false;
  bool is_section = false;
  for (std::string const& line : lines_) {
    bool const ends = begins_with(line, ".Sh ") || (!is_section && begins_with(line, ".Ss "));
    if (ends) {
      inside = line.substr(4) == title;
      is_section = inside && begins_with(line, ".Sh ");
    } else if (inside) {
      found.push_back(line);
    }
  }
  return manual_page(found);
}

std::vector<std::string> manual_page::shown() const {
  std::vector<std::string> found;
  bool inside = false;
  for (std::string const& line : lines_) {
    if (line == ".Bd -literal" || line == ".Ed") {
      inside = line == ".Bd -literal";
    } else if (inside) {
      found.push_back(unescaped(line));
    }
  }
  return found;
}

std::vector<std::string> manual_page::heads() const {
  std::vector<std::string> found;
  for (std::string const& line : lines_) {
    std::string const head = head_of(line);
    if (!head.empty()) found.push_back(plain(head));
  }
  return found;
}

std::string manual_page::text_under(std::string const& head) const {
  std::string text;
  bool inside = false;
  for (std::string const& line : lines_) {
    if (!head_of(line).empty() || begins_with(line, ".El")) {
      inside = plain(head_of(line)) == head;
    } else if (inside) {
      std::string const more = markdown(line);
      text += (text.empty() || more.empty() ? "" : " ") + more;
    }
  }
  return text;
}

bool manual_page::has_line(std::string const& line) const {
  return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
}

}  // namespace support
