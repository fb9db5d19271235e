#include <cstdio>

#include "cli/dispatcher.h"

int main(int argc, char* argv[]) {
  try {
    return st::run(argc, argv);
  } catch (...) {
    // Catching is what makes the stack unwind; abort() would drop the lines
    // that are still buffered.
    std::fflush(stdout);
    throw;
  }
}
