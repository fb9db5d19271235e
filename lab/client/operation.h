// The border between the lab, which throws, and the contract, which returns.
#pragma once

#include <exception>
#include <type_traits>

#include "lab/catalogue/sqlite.h"
#include "lab/client/describe.h"
#include "lab/client/faults.h"
#include "lab/client/source.h"
#include "lab/client/trace.h"
#include "storage/logging.h"

namespace lab::client {

inline constexpr int succeeded = 0;
inline constexpr int failed = -1;

// Runs `body`, which fills what `answer` leads to, and makes the fault happen
// that is due. Returns what `body` returns, success when that is nothing. When
// either throws, the reason goes to the log under the name of the operation and
// the result is `failed`.
//
// `body` runs once more when a reader met a change that a crash cut short and that has been undone
// since: it must have all that it asks for before it fills what the caller gets.
template <typename Answer, typename Body>
int attempt(char const* name, Answer* answer, Body const& body) {
  auto const run = [&] {
    if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
      body();
      return succeeded;
    } else {
      return body();
    }
  };
  try {
    due_fault const due = next_fault(name);
    if (due.kind == fault::fail) throw error("fails by request");
    int const result = despite_others(run);
    if (due.kind == fault::null) hand_out_null(answer);
    if (due.kind == fault::odd) make_odd(answer, due.call);
    return result;
  } catch (std::exception const& problem) {
    log_Debug("%s: %s", name, problem.what());
    return failed;
  }
}

// An operation of the contract: attempt(), and its line in the trace.
template <typename Answer, typename Body>
int operation(char const* name, json const& arguments, Answer* answer, Body const& body) {
  int const result = attempt(name, answer, body);
  trace(name, arguments, describe_answer(result, answer));
  return result;
}

// The same without an answer but the result.
template <typename Body>
int operation(char const* name, json const& arguments, Body const& body) {
  no_answer none;
  return operation(name, arguments, &none, body);
}

}  // namespace lab::client
