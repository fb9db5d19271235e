// What somebody who means harm, or a dying disk, makes of a recorder.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "lying_recorder.h"

namespace hostile {

// Draws that are the same for a seed with every standard library.
class chooser {
 public:
  explicit chooser(std::uint64_t seed) : random_(seed) {}

  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_() % bound); }
  bool one_in(std::size_t bound) { return below(bound) == 0; }
  template <typename Element>
  Element const& of(std::vector<Element> const& all) {
    return all[below(all.size())];
  }
  std::string of(std::initializer_list<std::string> all) { return all.begin()[below(all.size())]; }
  template <typename Element>
  void shuffle(std::vector<Element>& all) {
    for (std::size_t left = all.size(); left > 1; --left)
      std::swap(all[left - 1], all[below(left)]);
  }

 private:
  std::mt19937_64 random_;
};

// Makes one to four edits of the recorder; says which, a line each.
std::vector<std::string> make_hostile(lying_recorder& in, chooser& choose);

}  // namespace hostile
