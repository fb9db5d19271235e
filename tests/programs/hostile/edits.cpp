#include "edits.h"

#include "edit_kinds.h"

namespace hostile {

std::vector<std::string> make_hostile(lying_recorder& in, chooser& choose) {
  // Statements first, then bytes, then files: what comes later would keep the
  // former from being done.
  std::size_t const count = 1 + choose.below(4);
  std::vector<std::string> done;
  std::size_t const statements = choose.below(count + 1);
  std::size_t const bytes = choose.below(3) == 0 ? choose.below(count - statements + 1) : 0;
  for (std::size_t i = 0; i < count; ++i) {
    auto const& kind = i < statements           ? catalogue_edits()
                       : i < statements + bytes ? byte_edits()
                                                : file_edits();
    done.push_back(choose.of(kind)(in, choose));
  }
  return done;
}

}  // namespace hostile
