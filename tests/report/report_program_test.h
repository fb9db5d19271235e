// st-report, typed into a shell on a lab recorder of the test's own.
#pragma once

#include <string>

#include "program_test.h"

namespace report_test {

class report_program_test : public support::program_test {
 protected:
  using program_test::program_test;

  // A shell's line in `folder`, in which st-report is $R; with the recorder, and under the
  // held clock.
  support::outcome shell(std::string const& line, support::environment extra = {}) const {
    extra.insert({"R", ST_REPORT_PROGRAM});
    return run_here({"/bin/bash", "-c", line}, extra);
  }
};

}  // namespace report_test
