#include <cstdlib>
#include <ctime>

#include "engine_test.h"
#include "lab/make/make.h"
#include "lab/recorder/recorder.h"
#include "world.h"

namespace contract {

std::unique_ptr<world> make_world(std::filesystem::path const& folder) {
  lab::make_options const options = support::small([](auto& named) {
    named.volume_mb = 16;
    named.now_ms = std::int64_t{std::time(nullptr)} * 1000;
  });
  auto const recorder = folder / "recorder";
  lab::make_recorder(recorder, options, {});

  constexpr std::int64_t hour_ms = 3600000;
  auto writer = lab::recorder::open(recorder, lab::access::read_write);
  auto const channel = writer.channels().front();
  auto const volume = writer.volumes().front();
  writer.assign(channel.id, volume.id);
  writer.record(volume.id, {channel.id, 4, 0}, (options.now_ms / hour_ms - 2) * hour_ms, 1);
  ::setenv("STLAB_RECORDER", recorder.c_str(), 1);
  return std::make_unique<world>();
}

}  // namespace contract
