// The kinds of hostile edits. Each edits and says what it did.
#pragma once

#include <cstdint>
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

// The beginning of a catalogue's journal, which is to make so many pages of it
// again, and its end, which names a file that goes with it.
inline constexpr std::uint32_t page_size = 4096;
std::string journal_head(std::uint32_t count, std::uint32_t pages);
std::string journal_owner(std::string const& owner);

// For messages: one line, cut.
std::string shown(std::string const& text);

}  // namespace hostile
