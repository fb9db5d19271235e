// The kinds of hostile edits. Each edits and says what it did.
#pragma once

#include <string>
#include <vector>

#include "edits.h"

namespace hostile {

using edit = std::string (*)(lying_recorder&, chooser&);

// By statements, with every constraint off.
std::vector<edit> const& catalogue_edits();
// Of the bytes of the catalogue and its journal.
std::vector<edit> const& byte_edits();
// Of the files and folders.
std::vector<edit> const& file_edits();

// A name that is none: a path, nothing, control characters, too long.
std::string hostile_text(lying_recorder const& in, chooser& choose);

// For messages: one line, cut.
std::string shown(std::string const& text);

}  // namespace hostile
