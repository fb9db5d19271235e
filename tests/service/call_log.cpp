#include <cstdlib>

#include "scripted.h"

namespace scripted {

namespace {

script outside_script() {
  script lines;
  space_info space;
  std::string("Storage1").copy(space.name, sizeof space.name - 1);
  space.total_size = 1907729;
  space.used_size = 1000000;
  lines.spaces.push_back(space);
  if (char const* const operation = std::getenv("SCRIPTED_THROW")) {
    lines.faults.push_back({operation, effect::raise});
  }
  return lines;
}

}  // namespace

call_log::call_log() : script_(outside_script()) {
  if (char const* const file = std::getenv("SCRIPTED_LOG")) log_.open(file, std::ios::app);
}

call_log& call_log::instance() {
  static call_log only;
  return only;
}

void call_log::start(scripted::script const& lines, std::string const& log_file) {
  script_ = lines;
  numbers_.clear();
  occurrences_.clear();
  calls_ = 0;
  log_.close();
  log_.open(log_file, std::ios::app);
}

void call_log::measure_output(std::string const& file) { output_sizes_.open(file); }

void call_log::note(std::string const& line) {
  if (log_.is_open()) log_ << line << '\n' << std::flush;
  if (output_sizes_.is_open()) output_sizes_ << std::ftell(stdout) << '\n' << std::flush;
}

fault const* call_log::fault_of(std::string const& operation) {
  int const occurrence = ++occurrences_[operation];
  for (fault const& each : script_.faults) {
    bool const now = each.occurrence == 0 || each.occurrence == occurrence;
    if (each.operation == operation && now) return &each;
  }
  return nullptr;
}

fault const* call_log::enter(std::string const& operation, std::string const& line,
                             std::string const& handed_out) {
  fault const* const found = fault_of(operation);
  bool const raise = found != nullptr && found->what == effect::raise;
  if (++calls_ == script_.throw_at || raise) {
    note(line + " throws");
    throw thrown(operation);
  }
  bool const keeps_back = found != nullptr && found->what != effect::complain;
  note(handed_out.empty() || keeps_back ? line : line + " = " + handed_out);
  return found;
}

}  // namespace scripted
