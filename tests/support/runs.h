// Runs of a routine, and what is expected of them.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "answers.h"
#include "call_lines.h"
#include "child.h"

namespace support {

// As in_child(), and expects that the child ended with status 0 and that no
// exception came out of the body.
child_outcome run(scripted::script const& script, std::function<void()> const& body);

// Expects of such a run that it prints and calls exactly this.
void expect_run(scripted::script const& script, std::function<void()> const& body,
                std::string const& output, lines const& calls);

// Expects that a failing result of each of these operations, as long as they
// answer, changes neither what is printed nor what is called.
void expect_results_are_not_looked_at(answers const& script, std::function<void()> const& body,
                                      std::vector<std::string> const& operations);

}  // namespace support
