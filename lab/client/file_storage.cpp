// CFSTier and CFSUnit: recycling in a space or on one volume.
#include <algorithm>
#include <optional>

#include "lab/client/find.h"
#include "lab/client/operation.h"
#include "lab/client/room.h"
#include "storage/service.h"

namespace lab::client {

namespace {

// What the two differ in.
struct tier {
  static constexpr char const* init = "CFSTier::init";
  static constexpr char const* recycle = "CFSTier::recycle_stream_data";
  static constexpr char const* uninit = "CFSTier::uninit";
  static constexpr char const* not_selected = "no space is selected";

  static json describe(kivsid const& space) {
    return json::object({{"space", describe_space(space)}});
  }

  static std::vector<volume> volumes(recorder const& in, kivsid const& space) {
    std::vector<volume> found = in.volumes(find_space(in, space), volume_sizes::left_out);
    found.erase(std::remove_if(found.begin(), found.end(),
                               [](volume const& each) { return !is_mounted(each); }),
                found.end());
    return found;
  }

  static std::string failure(volume const& on, error const& problem) {
    return on.name + ": " + problem.what();
  }
};

struct unit {
  static constexpr char const* init = "CFSUnit::init";
  static constexpr char const* recycle = "CFSUnit::recycle_stream_data";
  static constexpr char const* uninit = "CFSUnit::uninit";
  static constexpr char const* not_selected = "no volume is selected";

  static json describe(kivsid const& volume) {
    return json::object({{"volume", describe_volume(volume)}});
  }

  static std::vector<volume> volumes(recorder const& in, kivsid const& id) {
    volume const found = find_volume(in, id, volume_sizes::left_out);
    if (!is_mounted(found)) throw error("volume " + found.name + " is not mounted");
    return {found};
  }

  static std::string failure(volume const& /*on*/, error const& problem) { return problem.what(); }
};

// What init() selects: the recorder, open to write, and the volumes that it
// holds. Recycling can fail without a word to the user, getting ready for it cannot:
// so it is then that who holds a volume is waited for, and the volumes are got
// ready all or none.
class selection {
 public:
  selection(writer open, std::vector<volume> volumes)
      : writer_(std::move(open)), volumes_(std::move(volumes)) {
    for (volume const& each : volumes_) hold(each);
  }

  // Goes on with the other volumes after a failure on one; the failure is
  // reported once all have been tried.
  template <typename Kind>
  std::int64_t recycle(stream_info const& stream, span const& within) {
    lab::stream const of = find_stream(*writer_, stream);
    std::int64_t units = 0;
    std::string problems;
    for (volume const& each : volumes_) {
      try {
        units += writer_->recycle(each.id, of, within);
      } catch (error const& problem) {
        if (dynamic_cast<busy_error const*>(&problem) != nullptr) wait_no_more();
        problems += (problems.empty() ? "" : "; ") + Kind::failure(each, problem);
      }
    }
    if (!problems.empty()) throw error(problems);
    return units;
  }

 private:
  // A volume that is busy says nothing of the catalogue.
  void hold(volume const& which) {
    try {
      writer_->hold(which.id, lock_timeout(which.path));
    } catch (busy_error const& busy) {
      wait_no_more_for(which.path);
      throw error(busy.what());
    }
  }

  void wait_no_more() {
    wait_no_more_for_catalogue();
    writer_->wait_at_most(std::chrono::milliseconds::zero());
  }

  writer writer_;
  std::vector<volume> volumes_;
};

template <typename Kind>
class file_storage {
 public:
  int init(kivsid const& id) {
    selected_.reset();
    return operation(Kind::init, Kind::describe(id), [&] {
      writer open = open_writer();
      std::vector<volume> volumes = Kind::volumes(*open, id);
      selected_.emplace(std::move(open), std::move(volumes));
    });
  }

  int recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                          int option) {
    recycled back;
    return operation(Kind::recycle,
                     json::object({{"stream", describe_stream(stream)},
                                   {"start", start},
                                   {"end", end},
                                   {"option", option}}),
                     &back, [&] {
                       if (!selected_) throw error(Kind::not_selected);
                       back.units = selected_->recycle<Kind>(stream, {start, end});
                     });
  }

  int uninit() {
    return operation(Kind::uninit, json::object({}), [&] { selected_.reset(); });
  }

 private:
  std::optional<selection> selected_;
};

}  // namespace

}  // namespace lab::client

using of_tier = lab::client::kept<lab::client::file_storage<lab::client::tier>>;
using of_unit = lab::client::kept<lab::client::file_storage<lab::client::unit>>;

CFSTier::CFSTier() { of_tier::make("CFSTier::CFSTier", room_); }

CFSTier::~CFSTier() { of_tier::drop("CFSTier::~CFSTier", room_); }

int CFSTier::init(kivsid const& space) { return of_tier::in(room_).init(space); }

int CFSTier::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  return of_tier::in(room_).recycle_stream_data(stream, start, end, option);
}

int CFSTier::uninit() { return of_tier::in(room_).uninit(); }

CFSUnit::CFSUnit() { of_unit::make("CFSUnit::CFSUnit", room_); }

CFSUnit::~CFSUnit() { of_unit::drop("CFSUnit::~CFSUnit", room_); }

int CFSUnit::init(kivsid const& volume) { return of_unit::in(room_).init(volume); }

int CFSUnit::recycle_stream_data(stream_info const& stream, std::int64_t start, std::int64_t end,
                                 int option) {
  return of_unit::in(room_).recycle_stream_data(stream, start, end, option);
}

int CFSUnit::uninit() { return of_unit::in(room_).uninit(); }
