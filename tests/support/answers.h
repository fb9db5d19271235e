// Scripts written as sentences: each call gives a copy that says one thing more.
//
//   answers().with_spaces({space("Storage1", 2048, 512)}).refusing("get_volume_list")
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "records.h"
#include "scripted.h"

namespace support {

class answers : public scripted::script {
 public:
  answers with_spaces(std::list<space_info> each) const {
    return with(&script::spaces, std::move(each));
  }
  answers with_volumes(std::list<volume_info> each) const {
    return with(&script::volumes, std::move(each));
  }
  answers with_channels(std::list<channel_setting> each) const {
    return with(&script::channels, std::move(each));
  }
  answers with_pairings(std::list<channel_storage_info> each) const {
    return with(&script::pairings, std::move(each));
  }
  // The channels that use every volume, or the volumes with those numbers.
  answers with_volume_channels(std::list<std::uint32_t> const& each) const;
  answers with_channels_of_volumes(std::map<int, std::list<std::uint32_t>> const& each) const;

  // The answer to every request for periods, to those for one stream, or as a
  // function of what is asked.
  answers with_periods(std::list<time_period> const& each) const;
  answers with_periods_on(int recording_type, int stream, std::list<time_period> const& each) const;
  answers with_periods_of(decltype(script::periods) answer) const {
    return with(&script::periods, std::move(answer));
  }
  // The answer to every request for days.
  answers with_days(std::vector<std::string> const& each) const;
  answers with_days_of(decltype(script::days) answer) const {
    return with(&script::days, std::move(answer));
  }
  answers with_sizes_of(decltype(script::recording_size) answer) const {
    return with(&script::recording_size, std::move(answer));
  }
  // What every program prints that is run; nothing: it cannot be run.
  answers with_program_output(std::optional<std::string> const& output) const;

  // A clock that stands at `now`, or goes on by a second at each reading.
  answers at_now() const;
  answers ticking() const;

  answers telling_lists() const { return with(&script::tells_lists, true); }

  // Faults: of every call of that operation, or of the n-th.
  answers refusing(std::string const& operation, int occurrence = 0, int result = -1) const {
    return failing({operation, scripted::effect::refuse, occurrence, result});
  }
  answers complaining(std::string const& operation, int occurrence = 0, int result = -1) const {
    return failing({operation, scripted::effect::complain, occurrence, result});
  }
  answers handing_out_null(std::string const& operation, int occurrence = 0) const {
    return failing({operation, scripted::effect::null, occurrence});
  }
  answers throwing(std::string const& operation, int occurrence = 0) const {
    return failing({operation, scripted::effect::raise, occurrence});
  }

 private:
  template <typename Value>
  answers with(Value script::*field, Value value) const {
    answers changed = *this;
    changed.*field = std::move(value);
    return changed;
  }
  answers failing(scripted::fault fault) const {
    answers changed = *this;
    changed.faults.push_back(std::move(fault));
    return changed;
  }
};

}  // namespace support
