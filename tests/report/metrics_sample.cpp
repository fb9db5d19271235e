// Prints the metrics of a value that was made by hand:
//
//     report_metrics_sample good|nonsense
#include <iostream>
#include <string_view>

#include "report/metrics.h"
#include "samples.h"

int main(int argc, char* argv[]) {
  std::string_view const wanted = argc == 2 ? argv[1] : "";
  if (wanted != "good" && wanted != "nonsense") return 2;
  std::cout << report::metrics_of(wanted == "good" ? report::good_sample()
                                                   : report::nonsense_sample());
  return std::cout.flush() ? 0 : 1;
}
