// Runs an operation again and again, with a fault at its first point, at its
// second one and so on until it meets none, and looks at what each leaves. A point
// gets one kind of fault, all kinds in turn; with ST_LONG_CHECKS=1 it gets every kind.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "fault_points.h"
#include "leaking_recorder.h"

namespace fault_loop {

using std::filesystem::path;
using operation = std::function<void(path const& recorder)>;
using faults = std::vector<lab::fault_points::fault>;

enum class ending { done, failed, killed, broken };

struct outcome {
  ending how;
  int points;  // 0 when it was killed
  std::string text;
};

// Runs the operation in a process of its own, with the faults in it. A broken
// one threw something else than lab::error or ended in another way.
outcome run(operation const& what, path const& recorder, faults const& injected);

// Whether a run met the fault at the n-th point; counts it into `counter` if so.
bool count_if_hit(outcome const& ran, int n, int& counter);

// Every kind of fault at the n-th point.
faults kinds_at(int n);

std::string text_of(faults const& injected);

struct scenario {
  std::string name;
  std::function<void(path const& recorder)> prepare;
  operation run;
  // Volumes are changed one after the other, so that some can be done already.
  enum class scope { whole, volume_by_volume } changes = scope::whole;
  // What is left behind must be finished on a full disk too, unless the journal is
  // not kept.
  enum class journal { kept, lost } with = journal::kept;
};

struct tally {
  int points = 0;         // that the operation meets when nothing fails
  int runs = 0;           // that met one fault
  int compound_runs = 0;  // that met a second one, in the recovery or in the same run's clean-up
  int full_runs = 0;      // recoveries on a full disk, of states in which something was left to do
  int states = 0;         // different ones that were left behind
  std::vector<std::string> broken;
};

// Everything above over a scenario on a small recorder.
tally run_all(scenario const& what);

// Prints the tally in one line, and keeps it as the running test's properties.
void report(std::string const& name, tally const& of);

}  // namespace fault_loop
