#include "answers.h"
#include "world.h"

namespace contract {

namespace {

std::list<time_period> periods_of(channel_sid const& channel, int recording_type, int stream) {
  if (channel.number != 0 || recording_type != 4 || stream != 0) return {};
  return {support::period(support::now_ms - 3600000, support::now_ms, 0, support::filled(32, 'v'))};
}

// A program without arguments is one that cannot be run.
std::optional<std::string> run(std::vector<std::string> const& arguments) {
  if (arguments.empty()) return std::nullopt;
  return arguments.front() + "\n";
}

}  // namespace

std::unique_ptr<world> make_world(std::filesystem::path const& folder) {
  auto script =
      support::answers()
          .with_spaces({support::space("Storage1", 64, 32, 'a')})
          .with_volumes({support::volume("/mnt/share/vol1", 1, 'v', 'a'),
                         support::volume("/mnt/share/vol2", 2, 'w', 'a')})
          .with_channels({support::channel(0, 'c'), support::channel(1, 'd')})
          .with_pairings({support::pairing(support::channel_id(0, 'c'), support::filled(32, 'v'))})
          .with_periods_of(periods_of)
          .with_channels_of_volumes({{1, {0}}})
          .with_days({"2026-11-20"})
          .with_sizes_of([](channel_sid const&, int recording_type) -> std::int64_t {
            return recording_type == 0 ? 32 : 16;
          });
  script.space_channels = {support::channel_id(0, 'c')};
  script.program = run;
  scripted::call_log::instance().start(script, folder / "calls");
  return std::make_unique<world>();
}

}  // namespace contract
