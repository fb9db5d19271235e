#include "dump.h"

#include <sstream>

namespace report_test {

namespace {

std::string shown(std::optional<std::int64_t> const& size) {
  return size ? std::to_string(*size) : "-";
}

char const* shown(report::measuring end) {
  switch (end) {
    case report::measuring::done:
      return "measured";
    case report::measuring::not_mounted:
      return "not mounted";
    case report::measuring::failed:
      return "failed";
  }
  return "?";
}

void print(std::ostream& out, report::space const& of) {
  out << "space " << of.name << " id " << of.id << " uuid " << of.uuid << ": " << of.used_mb
      << " of " << of.total_mb << ", status " << of.status << '/' << of.spare_state << " ["
      << of.status_name << "]\n";
}

void print(std::ostream& out, report::volume const& of) {
  out << "volume " << of.name << " id " << of.id << " no " << of.number << " in " << of.space_uuid
      << ": " << of.used_mb << " of " << of.total_mb << ", type " << of.type << ", state "
      << of.state << " [" << of.state_name << "], " << shown(of.measured) << ' '
      << shown(of.preallocated_mb) << ", lost " << shown(of.lost_mb) << (of.leak ? ", leak" : "")
      << '\n';
}

void print(std::ostream& out, report::channel const& of) {
  out << "channel " << of.number << " id " << of.id << " records into";
  for (std::string const& name : of.volumes) out << ' ' << name;
  out << '\n';
  for (report::stream const& each : of.streams) {
    out << "  " << each.type_name << '/' << each.recording_type << " S" << each.number
        << (each.asked ? ":" : ": not asked");
    for (report::period const& period : each.periods) {
      out << ' ' << period.start_ms << '-' << period.end_ms << '(' << period.storage_id.view()
          << ')';
    }
    out << '\n';
  }
  for (report::recorded_size const& size : of.sizes) {
    out << "  on " << size.space_uuid << ": " << size.normal_mb << ' ' << size.alarm_mb << ' '
        << size.all_mb << '\n';
  }
}

void print(std::ostream& out, char const* command, std::vector<report::recycling> const& calls) {
  for (report::recycling const& each : calls) {
    out << command << ": channel " << each.channel << ' ' << each.type_name << " S" << each.stream
        << ' ' << each.start_ms << '-' << each.end_ms << " on " << each.target << '\n';
  }
}

}  // namespace

std::string dump(report::value const& of) {
  std::ostringstream out;
  for (auto const& each : of.spaces) print(out, each);
  for (auto const& each : of.volumes) print(out, each);
  for (auto const& each : of.channels) print(out, each);
  for (auto const& each : of.not_asked) out << "not asked: " << each << '\n';
  for (auto const& each : of.problems) out << "problem: " << each << '\n';
  if (of.would_do) {
    out << "preview\n";
    print(out, "autoclean", of.would_do->autoclean);
    print(out, "volclean", of.would_do->volclean);
  }
  return out.str();
}

}  // namespace report_test
