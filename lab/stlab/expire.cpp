#include "lab/stlab/commands.h"
#include "lab/stlab/hours.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  int days = 2;
  std::int64_t now_ms = 0;
};

exit_status expire(settings const& asked) {
  std::int64_t const before_ms = asked.now_ms - asked.days * day_milliseconds;
  lab::recorder recorder = open_recorder(asked.folder, lab::access::read_write);
  std::int64_t const units = recorder.expire(before_ms);
  print("expired what ended before " + utc_text(before_ms) + " UTC: " + counted(units, "unit") +
        " came back");
  std::int64_t const left = recorder.periods_out_of_reach(before_ms);
  if (left == 0) return exit_status::done;
  print("left " + counted(left, "period") + " on volumes that are not mounted");
  return exit_status::findings;
}

}  // namespace

void add_expire(CLI::App& tool, action& chosen) {
  auto [command, asked] =
      add_command(tool, chosen, "expire", "Retention: drops old periods and gives their units back",
                  fallback::none, expire);
  add_now(command, asked.now_ms);
  add_number(command, "--days", asked.days, "Keeps what ended within so many days of 24 hours",
             {0, 36'500});
}

}  // namespace stlab
