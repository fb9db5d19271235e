// CFSTier and CFSUnit: recycling in a space or on one volume.
#include <filesystem>
#include <mutex>
#include <optional>
#include <set>

#include "lab/client/attempt.h"
#include "lab/client/describe.h"
#include "lab/client/find.h"
#include "lab/client/room.h"
#include "lab/client/source.h"
#include "lab/volume/lock.h"
#include "lab/volume/place.h"
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

// Whose turn it is to write a volume. Recycling can fail without a word to the
// user, getting ready for it cannot: so it is then that a volume's writer is
// waited for, and that the recorder is opened for writing. A volume that was not
// free in all that time is not waited for again: a run asks anew for each of its
// streams.
class turns {
 public:
  static turns& instance() {
    static turns all;
    return all;
  }

  // Throws a busy_error when somebody else writes the volume.
  void wait_for(volume const& which) {
    std::lock_guard const lock(guard_);
    auto const limit =
        held_.count(which.path) == 0 ? patience() : std::chrono::milliseconds::zero();
    try {
      volume_lock const free({which.id, which.path.filename(), which.sid_text, which.path},
                             volume_lock::kind::exclusive, limit);
    } catch (busy_error const&) {
      held_.insert(which.path);
      throw;
    }
  }

 private:
  std::mutex guard_;
  std::set<std::filesystem::path> held_;
};

// A space is got ready whole or not at all: what is left out of it would not be
// told.
void wait_for_space(recorder const& in, std::int64_t space_id) {
  for (volume const& each : in.volumes()) {
    if (each.space_id == space_id && is_mounted(each)) turns::instance().wait_for(each);
  }
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

struct tier_state {
  std::optional<kivsid> space;  // selected by init()
};

struct unit_state {
  std::optional<kivsid> volume;  // selected by init()
};

}  // namespace

}  // namespace lab::client

using lab::client::attempt;
using lab::client::json;
using lab::client::trace;
using of_tier = lab::client::kept<lab::client::tier_state>;
using of_unit = lab::client::kept<lab::client::unit_state>;

CFSTier::CFSTier() {
  trace("CFSTier::CFSTier", json::object({}), nullptr);
  of_tier::make(room_);
}

CFSTier::~CFSTier() {
  trace("CFSTier::~CFSTier", json::object({}), nullptr);
  of_tier::drop(room_);
}

int CFSTier::init(kivsid const& space) {
  constexpr char operation[] = "CFSTier::init";
  of_tier::in(room_).space.reset();
  int const result = attempt(operation, [&] {
    lab::recorder const writer = lab::client::open_recorder(lab::access::read_write);
    lab::client::wait_for_space(writer, lab::client::find_space(writer, space).id);
    of_tier::in(room_).space = space;
  });
  trace(operation, json::object({{"space", lab::client::describe_space(space)}}), result);
  return result;
}

int CFSTier::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  constexpr char operation[] = "CFSTier::recycle_stream_data";
  std::int64_t units = 0;
  int const result = attempt(operation, [&] {
    if (!of_tier::in(room_).space) throw lab::error("no space is selected");
    lab::recorder writer = lab::client::open_recorder(lab::access::read_write);
    units = lab::client::recycle_space(
        writer, lab::client::find_space(writer, *of_tier::in(room_).space).id,
        lab::client::find_stream(writer, stream), {start, end});
  });
  trace(operation, lab::client::describe_recycling(stream, start, end, option),
        lab::client::describe_recycled(result, units));
  return result;
}

int CFSTier::uninit() {
  constexpr char operation[] = "CFSTier::uninit";
  int const result = attempt(operation, [&] { of_tier::in(room_).space.reset(); });
  trace(operation, json::object({}), result);
  return result;
}

CFSUnit::CFSUnit() {
  trace("CFSUnit::CFSUnit", json::object({}), nullptr);
  of_unit::make(room_);
}

CFSUnit::~CFSUnit() {
  trace("CFSUnit::~CFSUnit", json::object({}), nullptr);
  of_unit::drop(room_);
}

int CFSUnit::init(kivsid const& volume) {
  constexpr char operation[] = "CFSUnit::init";
  of_unit::in(room_).volume.reset();
  int const result = attempt(operation, [&] {
    lab::recorder const writer = lab::client::open_recorder(lab::access::read_write);
    lab::volume const found = lab::client::find_volume(writer, volume);
    lab::client::require_mounted(found);
    lab::client::turns::instance().wait_for(found);
    of_unit::in(room_).volume = volume;
  });
  trace(operation, json::object({{"volume", lab::client::describe_volume(volume)}}), result);
  return result;
}

int CFSUnit::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  constexpr char operation[] = "CFSUnit::recycle_stream_data";
  std::int64_t units = 0;
  int const result = attempt(operation, [&] {
    if (!of_unit::in(room_).volume) throw lab::error("no volume is selected");
    lab::recorder writer = lab::client::open_recorder(lab::access::read_write);
    lab::volume const on = lab::client::find_volume(writer, *of_unit::in(room_).volume);
    lab::client::require_mounted(on);
    units = writer.recycle(on.id, lab::client::find_stream(writer, stream), {start, end});
  });
  trace(operation, lab::client::describe_recycling(stream, start, end, option),
        lab::client::describe_recycled(result, units));
  return result;
}

int CFSUnit::uninit() {
  constexpr char operation[] = "CFSUnit::uninit";
  int const result = attempt(operation, [&] { of_unit::in(room_).volume.reset(); });
  trace(operation, json::object({}), result);
  return result;
}
