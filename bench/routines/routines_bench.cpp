// The routines of st that need no service, one by one.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <list>
#include <string_view>

#include "commands/leak.h"
#include "commands/lookup.h"
#include "commands/recycling.h"
#include "commands/time_text.h"
#include "storage/codes.h"
#include "storage/ids.h"
#include "storage/number.h"
#include "storage/text.h"

namespace {

using benchmark::DoNotOptimize;

void number_from_text(benchmark::State& state) {
  char const* text = "99999999999";
  for (auto _ : state) {
    DoNotOptimize(text);
    DoNotOptimize(st::number_from_text(text));
  }
}
BENCHMARK(number_from_text);

void use_percentage(benchmark::State& state) {
  std::int64_t used = 99999;
  for (auto _ : state) {
    DoNotOptimize(used);
    DoNotOptimize(st::use_percentage(used, 100000));
  }
}
BENCHMARK(use_percentage);

void leak_decision(benchmark::State& state) {
  std::int64_t total = 100000;
  for (auto _ : state) {
    DoNotOptimize(total);
    DoNotOptimize(st::is_leak(st::lost_size(total, 90000, 5000), total));
  }
}
BENCHMARK(leak_decision);

void field_text(benchmark::State& state) {
  space_info space;
  st::copy_text(space.name, sizeof space.name, "Storage00000000");
  for (auto _ : state) {
    DoNotOptimize(space);
    DoNotOptimize(st::field_text(space.name));
  }
}
BENCHMARK(field_text);

void copy_text(benchmark::State& state) {
  char destination[512];
  std::string_view text = "Storage00000000";
  for (auto _ : state) {
    DoNotOptimize(text);
    st::copy_text(destination, sizeof destination, text);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(copy_text);

void share_name_from_path(benchmark::State& state) {
  char destination[128];
  std::string_view path = "/volumes/of/the/recorder/share/vol00000000";
  for (auto _ : state) {
    DoNotOptimize(path);
    st::share_name_from_path(path, destination, sizeof destination);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(share_name_from_path);

void space_status_name(benchmark::State& state) {
  char name[26];
  std::uint32_t status = 9;
  for (auto _ : state) {
    DoNotOptimize(status);
    st::space_status_name(status, 0, name);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(space_status_name);

void volume_state_name(benchmark::State& state) {
  char name[20];
  std::int32_t code = 1;
  for (auto _ : state) {
    DoNotOptimize(code);
    st::volume_state_name(code, name);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(volume_state_name);

void id_characters(benchmark::State& state) {
  kivsid id;
  for (auto _ : state) {
    DoNotOptimize(id);
    DoNotOptimize(st::id_characters(id));
  }
}
BENCHMARK(id_characters);

void identity_of(benchmark::State& state) {
  channel_sid channel;
  for (auto _ : state) {
    DoNotOptimize(channel);
    DoNotOptimize(st::identity_of(channel));
  }
}
BENCHMARK(identity_of);

void is_max_id(benchmark::State& state) {
  channel_sid channel;
  for (auto _ : state) {
    DoNotOptimize(channel);
    DoNotOptimize(st::is_max_id(channel));
  }
}
BENCHMARK(is_max_id);

void time_text(benchmark::State& state) {
  char text[256];
  std::time_t time = 1000000000;
  for (auto _ : state) {
    DoNotOptimize(time);
    st::format_time_text(time, text);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(time_text);

void span_end(benchmark::State& state) {
  auto const count = static_cast<std::size_t>(state.range(0));
  std::list<time_period> const periods(count);
  std::int64_t end = 0;
  for (auto _ : state) {
    DoNotOptimize(st::span_end_before(periods, count, &end));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(span_end)->Arg(1)->Arg(100)->Arg(10000);

// The last of them.
void find_volume(benchmark::State& state) {
  std::list<volume_info> volumes(static_cast<std::size_t>(state.range(0)));
  for (volume_info& volume : volumes) {
    st::copy_text(volume.body.share.path, sizeof volume.body.share.path, "/recorder/share/vol");
  }
  st::copy_text(volumes.back().body.share.path, sizeof(volume_share_info::path), "share/last");
  for (auto _ : state) {
    DoNotOptimize(st::find_volume(volumes, "last"));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(find_volume)->Arg(1)->Arg(100)->Arg(10000);

}  // namespace
