// The border between the lab, which throws, and the contract, which returns.
#pragma once

#include <exception>

#include "lab/catalogue/sqlite.h"
#include "lab/client/faults.h"
#include "lab/client/source.h"
#include "storage/logging.h"

namespace lab::client {

inline constexpr int succeeded = 0;
inline constexpr int failed = -1;

// Runs `body`, and once more when a reader met a change that a crash cut short
// and that has been undone since. It must have all that it asks for before it
// fills what the caller gets.
template <typename Body>
void run_despite_a_crash(Body const& body) {
  try {
    body();
  } catch (database_error const& failure) {
    if (!undo_what_was_cut_short(failure)) throw;
    body();
  }
}

// Runs `body`, which fills what `answer` leads to, and makes the fault happen
// that is due. When either throws, the reason goes to the log under the name of
// the operation and the result is `failed`.
template <typename Answer, typename Body>
int attempt(char const* operation, Answer* answer, Body const& body) noexcept {
  try {
    due_fault const due = next_fault(operation);
    if (due.kind == fault::fail) throw error("fails by request");
    run_despite_a_crash(body);
    if (due.kind == fault::null) hand_out_null(answer);
    if (due.kind == fault::odd) make_odd(answer, due.call);
    return succeeded;
  } catch (std::exception const& problem) {
    log_Debug("%s: %s", operation, problem.what());
    return failed;
  }
}

// The same for an operation without an answer.
template <typename Body>
int attempt(char const* operation, Body const& body) noexcept {
  no_answer none;
  return attempt(operation, &none, body);
}

}  // namespace lab::client
