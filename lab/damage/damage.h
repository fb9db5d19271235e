// Damage on demand: what goes wrong with recorders in life, laid out in one.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "lab/catalogue/catalogue.h"

namespace lab {

struct damage_options {
  std::string kind;
  std::uint64_t seed = 1;
  std::string volume;                // its name; empty: the seed chooses
  std::optional<std::string> unit;   // which unit: "recorded" or "free"
  std::optional<int> count;          // of units, or of periods
  std::optional<std::string> mount;  // "missing", "foreign" or "absent"
  std::optional<std::string> move;   // "recycling" or "recording"
  std::optional<int> step;           // of the stopped move, from 1
  std::chrono::milliseconds lock_timeout = default_lock_timeout;  // for whoever else holds a volume
};

struct damaged_volume;

struct damage_kind {
  char const* name;
  char const* what;
  std::vector<std::string> options;        // which it has beside those of every kind
  std::string (*damage)(damaged_volume&);  // returns what it did
};

// Every kind, in the order in which help shows them.
std::vector<damage_kind> const& damage_kinds();

// Damages the recorder and returns a line that says how. The same options do the
// same to the same recorder. Moves that were stopped midway are left as they
// are, so that one damage can follow another. Throws lab::error, and has changed
// nothing then, when the recorder has nothing that could be damaged so, or when
// an option is not one of the kind's.
std::string damage(std::filesystem::path const& recorder_folder, damage_options const& options);

}  // namespace lab
