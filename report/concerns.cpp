#include "report/concerns.h"

namespace report {

char const* code_of(concern what) noexcept {
  for (auto const& each : concerns) {
    if (each.what == what) return each.code;
  }
  return "";
}

std::optional<concern> concern_of(std::string_view code) noexcept {
  for (auto const& each : concerns) {
    if (code == each.code) return each.what;
  }
  return std::nullopt;
}

}  // namespace report
