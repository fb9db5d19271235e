// Keeping the failure of an operation on one volume from ending that on others.
#pragma once

#include <optional>
#include <string>

#include "lab/catalogue/sqlite.h"
#include "lab/util/error.h"

namespace lab {

// Runs what concerns one volume. Returns why it failed, none when it did not. A
// busy_error and a database_error concern more than that volume and go on.
template <typename Operation>
std::optional<std::string> failure_on_volume(Operation const& operation) {
  try {
    operation();
    return std::nullopt;
  } catch (busy_error const&) {
    throw;
  } catch (database_error const&) {
    throw;
  } catch (error const& failure) {
    return failure.what();
  }
}

}  // namespace lab
