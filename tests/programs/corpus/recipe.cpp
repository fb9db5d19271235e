#include "recipe.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace corpus {

namespace {

void read_line(recipe& into, std::string const& line) {
  std::size_t const end = std::min(line.find(' '), line.size());
  std::string const keyword = line.substr(0, end);
  words const rest(line.substr(end));
  if (keyword == "class") {
    into.classes.insert(rest.begin(), rest.end());
  } else if (keyword == "make") {
    into.make = rest;
  } else if (keyword == "repair") {
    into.repair = rest;
  } else if (keyword == "damage") {
    into.damages.push_back(rest);
  } else if (keyword == "st") {
    into.commands.push_back(rest);
  } else if (keyword != "#") {
    throw std::runtime_error(into.file.string() + ": unknown line: " + line);
  }
}

}  // namespace

std::set<std::string> recipe::lasting() const {
  return classes.count("not-mounted") > 0 ? std::set<std::string>{"not-mounted"}
                                          : std::set<std::string>();
}

recipe read_recipe(std::filesystem::path const& file) {
  recipe found;
  found.file = file;
  std::istringstream stream(support::content_of(file));
  for (std::string line; std::getline(stream, line) && line != "----";) {
    found.head += line + "\n";
    read_line(found, line);
  }
  found.head += "----\n";
  return found;
}

std::vector<recipe> read_corpus(std::filesystem::path const& folder) {
  std::vector<recipe> found;
  for (auto const& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".recipe") found.push_back(read_recipe(entry.path()));
  }
  std::sort(found.begin(), found.end(),
            [](recipe const& left, recipe const& right) { return left.name() < right.name(); });
  return found;
}

}  // namespace corpus
