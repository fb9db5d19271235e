// A damaged recorder as a text file: a sentence behind "# ", the classes that
// check must find, the options with which the recorder is made and repaired, the
// damages, the st commands that are run on it, and below a line "----" what is printed.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "program.h"

namespace corpus {

using support::words;

struct recipe {
  std::filesystem::path file;
  std::string head;  // all down to the line "----", as it is
  std::set<std::string> classes;
  words make;
  words repair;  // its options
  std::vector<words> damages;
  std::vector<words> commands;

  std::string name() const { return file.stem().string(); }
  // Of the classes, those that repair leaves as they are.
  std::set<std::string> lasting() const;
};

// Throws std::runtime_error for a line that is none of these.
recipe read_recipe(std::filesystem::path const& file);

// All recipes in the folder, by name.
std::vector<recipe> read_corpus(std::filesystem::path const& folder);

}  // namespace corpus
