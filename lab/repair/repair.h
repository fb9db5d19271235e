// Mending a recorder as far as nothing has to be guessed.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lab {

// Mends what check() finds: a line for each thing that was mended, "mended: ",
// or left alone, "left: ". No file's content is removed, nothing is done on a
// volume that is not mounted, and it can be stopped at any point and repeated.
// Throws lab::error.
std::vector<std::string> repair(std::filesystem::path const& folder);

}  // namespace lab
