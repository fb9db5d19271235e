// The command line of st: one command a run.
#pragma once

namespace st {

// Runs the command that argv[1] names and returns 0. What does not fit the
// usage prints the usage text and ends the process with exit(0).
//
// An exception that escapes a command passes on: the two entry objects are
// destroyed, the daemon first; the setting and the plug-and-play service stay
// with the storage service.
int run(int argc, char* argv[]);

}  // namespace st
