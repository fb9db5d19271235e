// The catalogue's journal, by which a change that was cut short is undone. It
// keeps its blocks from one change to the next, so that a change needs no
// space. Another program that writes to the catalogue may remove or cut it.
//
// Not a write-ahead log: whoever reads it must be able to write the files beside
// the catalogue, so that a reader would need permission and space, and what has
// been committed would lie in a second file that has to be trusted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "lab/catalogue/sqlite.h"

namespace lab {

// How large the journal of a catalogue of that size is kept, both in bytes.
std::int64_t journal_bytes(std::int64_t catalogue_bytes);

struct journal_gap {
  enum class extent { all, part };
  extent missing;
  std::string text;  // "its journal is missing"
};

// What the journal lacks to take any change of what the catalogue holds now; none
// when it lacks nothing.
std::optional<journal_gap> journal_problem(database const& catalogue);

// Gives the journal what it lacks, durably; what it holds stays. The catalogue is
// locked against other writers meanwhile, and no transaction may be open on it.
// A recorder is of use without, so a failure only leaves the finding in place, and
// nobody is waited for.
void put_back_journal(database& catalogue);

}  // namespace lab
