#include "lab/stlab/tool.h"

int main(int argc, char** argv) try {
  return static_cast<int>(stlab::run(argc, argv));
} catch (...) {
  return static_cast<int>(stlab::exit_status::refused);
}
