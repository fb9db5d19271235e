// Sessions that a text shows to its readers.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "program.h"

namespace support {

// Types the "$ " lines of `shown` into one shell, which stands in `folder` and knows
// nothing but what `extra` and the lines before have told it. Expects that what
// comes back, on standard error too, is what is shown. A command that fails is not
// shown as one that works: its status comes back as a line of its own. Where
// "YYYY-MM-DD HH:00" or "YYYY-MM-DD HH:MM" is shown, any such moment may come back.
void expect_works_as_shown(std::vector<std::string> shown, std::filesystem::path const& folder,
                           environment const& extra = {});

}  // namespace support
