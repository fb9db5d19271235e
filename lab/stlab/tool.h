// The tool as a whole.
#pragma once

#include "lab/stlab/commands.h"

namespace stlab {

// Does what the command line asks for. What it says goes to standard output, what goes
// wrong to standard error.
exit_status run(int argc, char const* const* argv);

}  // namespace stlab
