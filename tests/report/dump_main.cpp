// Prints what ask() tells, with a preview, line by line.
#include <iostream>

#include "dump.h"
#include "report/ask.h"

int main() {
  std::cout << report_test::dump(report::ask(report::previewing::yes));
  return 0;
}
