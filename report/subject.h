// How lines name what they are about.
#pragma once

#include <string>

#include "report/model.h"

namespace report {

// "space Storage1", or its id when it has no name.
inline std::string subject_of(space const& of) {
  return "space " + (of.name.empty() ? of.id : of.name);
}
inline std::string subject_of(volume const& of) {
  return "volume " + (of.name.empty() ? of.id : of.name);
}
inline std::string subject_of(channel const& of) { return "channel " + std::to_string(of.number); }

}  // namespace report
