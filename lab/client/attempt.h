// The border between the lab, which throws, and the contract, which returns.
#pragma once

#include <exception>

#include "storage/logging.h"

namespace lab::client {

inline constexpr int succeeded = 0;
inline constexpr int failed = -1;

// Runs `body`. When it throws, the reason goes to the log under the name of the
// operation and the result is `failed`.
template <typename Body>
int attempt(char const* operation, Body const& body) noexcept {
  try {
    body();
    return succeeded;
  } catch (std::exception const& problem) {
    log_Debug("%s: %s", operation, problem.what());
    return failed;
  }
}

}  // namespace lab::client
