// The report for programs, and reading it back. docs/st-report.schema.json describes it.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "report/model.h"

namespace report {

inline constexpr int json_format = 1;

// Ends with a newline.
std::string json_of(value const& of);

// A text that is no report of this format.
class not_a_report : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What json_of() wrote; the text may lie. Throws not_a_report.
value value_of_json(std::string_view text);

}  // namespace report
