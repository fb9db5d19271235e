#pragma once

namespace st {

// Prints the usage text and ends the process with status 0.
[[noreturn]] void exit_with_usage();

}  // namespace st
