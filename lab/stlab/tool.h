// The tool as a whole.
#pragma once

#include "lab/stlab/commands.h"

namespace stlab {

// Does what the command line asks for, and returns what the process is to end with. What
// it says goes to standard output, what goes wrong to standard error. Throws what no
// command expects.
exit_status run(int argc, char const* const* argv);

}  // namespace stlab
