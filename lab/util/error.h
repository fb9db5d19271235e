// What every operation of the lab throws.
#pragma once

#include <stdexcept>

namespace lab {

class error : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Somebody else held for too long what was needed; trying again may do.
class busy_error : public error {
  using error::error;
};

}  // namespace lab
