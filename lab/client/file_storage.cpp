// CFSTier and CFSUnit: recycling in a space or on one volume.
#include <optional>

#include "lab/client/attempt.h"
#include "lab/client/describe.h"
#include "lab/client/lookup.h"
#include "lab/client/source.h"
#include "storage/service.h"

namespace lab::client {

namespace {

json describe_recycling(stream_info const& of, std::int64_t start, std::int64_t end, int option) {
  return json::object(
      {{"stream", describe_stream(of)}, {"start", start}, {"end", end}, {"option", option}});
}

json describe_recycled(int result, std::int64_t units) {
  return json::object({{"result", result}, {"units", units}});
}

void require_mounted(volume const& which) {
  if (!is_mounted(which)) throw error("volume " + which.name + " is not mounted");
}

// Goes on with the other volumes after a failure on one; the failure is
// reported once all have been tried.
std::int64_t recycle_space(recorder& in, std::int64_t space_id, stream const& of,
                           span const& within) {
  std::int64_t units = 0;
  std::string problems;
  for (volume const& each : in.volumes()) {
    if (each.space_id != space_id || !is_mounted(each)) continue;
    try {
      units += in.recycle(each.id, of, within);
    } catch (error const& problem) {
      problems += (problems.empty() ? "" : "; ") + each.name + ": " + problem.what();
    }
  }
  if (!problems.empty()) throw error(problems);
  return units;
}

}  // namespace

}  // namespace lab::client

using lab::client::attempt;
using lab::client::json;
using lab::client::trace;

struct CFSTier::Impl {
  std::optional<kivsid> space;  // selected by init()
};

CFSTier::CFSTier() : impl_(std::make_unique<Impl>()) {
  trace("CFSTier::CFSTier", json::object({}), nullptr);
}

CFSTier::~CFSTier() { trace("CFSTier::~CFSTier", json::object({}), nullptr); }

int CFSTier::init(kivsid const& space) {
  constexpr char operation[] = "CFSTier::init";
  impl_->space.reset();
  int const result = attempt(operation, [&] {
    lab::client::find_space(*lab::client::source().reader(), space);
    impl_->space = space;
  });
  trace(operation, json::object({{"space", lab::client::describe_space(space)}}), result);
  return result;
}

int CFSTier::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  constexpr char operation[] = "CFSTier::recycle_stream_data";
  std::int64_t units = 0;
  int const result = attempt(operation, [&] {
    if (!impl_->space) throw lab::error("no space is selected");
    lab::recorder writer = lab::client::open_recorder(lab::access::read_write);
    units = lab::client::recycle_space(writer, lab::client::find_space(writer, *impl_->space).id,
                                       lab::client::find_stream(writer, stream), {start, end});
  });
  trace(operation, lab::client::describe_recycling(stream, start, end, option),
        lab::client::describe_recycled(result, units));
  return result;
}

int CFSTier::uninit() {
  constexpr char operation[] = "CFSTier::uninit";
  int const result = attempt(operation, [&] { impl_->space.reset(); });
  trace(operation, json::object({}), result);
  return result;
}

struct CFSUnit::Impl {
  std::optional<kivsid> volume;  // selected by init()
};

CFSUnit::CFSUnit() : impl_(std::make_unique<Impl>()) {
  trace("CFSUnit::CFSUnit", json::object({}), nullptr);
}

CFSUnit::~CFSUnit() { trace("CFSUnit::~CFSUnit", json::object({}), nullptr); }

int CFSUnit::init(kivsid const& volume) {
  constexpr char operation[] = "CFSUnit::init";
  impl_->volume.reset();
  int const result = attempt(operation, [&] {
    auto const reader = lab::client::source().reader();
    lab::client::require_mounted(lab::client::find_volume(*reader, volume));
    impl_->volume = volume;
  });
  trace(operation, json::object({{"volume", lab::client::describe_volume(volume)}}), result);
  return result;
}

int CFSUnit::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  constexpr char operation[] = "CFSUnit::recycle_stream_data";
  std::int64_t units = 0;
  int const result = attempt(operation, [&] {
    if (!impl_->volume) throw lab::error("no volume is selected");
    lab::recorder writer = lab::client::open_recorder(lab::access::read_write);
    lab::volume const on = lab::client::find_volume(writer, *impl_->volume);
    lab::client::require_mounted(on);
    units = writer.recycle(on.id, lab::client::find_stream(writer, stream), {start, end});
  });
  trace(operation, lab::client::describe_recycling(stream, start, end, option),
        lab::client::describe_recycled(result, units));
  return result;
}

int CFSUnit::uninit() {
  constexpr char operation[] = "CFSUnit::uninit";
  int const result = attempt(operation, [&] { impl_->volume.reset(); });
  trace(operation, json::object({}), result);
  return result;
}
