#include <cstdio>

#include "cli/dispatcher.h"

namespace {

// What st prints is fixed, so its version is found by other means: strings st.
[[gnu::used]] constexpr char version[] = "st version " ST_VERSION;

}  // namespace

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
