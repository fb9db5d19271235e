// The storage service's client library, the system utility library and the
// logging library for tests: they answer what a script says and note every
// call as one line of text, in order.
//
// A line reads "object.operation(arguments)", constructors "Class#1()",
// destructors "~Class#1"; objects are numbered from 1 in each class. What a
// create call hands out follows as " = session#1", a call that is made to
// throw ends in " throws". Lists that arrive filled are told from fresh ones.
// A line that begins with "= " is no call.
#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "storage/service.h"

namespace scripted {

// What a call that is told to throw throws; what() is the operation's name.
struct thrown : std::runtime_error {
  using std::runtime_error::runtime_error;
};

enum class effect {
  refuse,    // gives the fault's result and answers nothing
  complain,  // gives the fault's result, but answers
  null,      // hands out nothing, with a result of 0
  raise,     // throws
};

struct fault {
  std::string operation;  // "get_space_list"; a constructor has its class's name
  effect what = effect::refuse;
  int occurrence = 0;  // the first is 1; 0 stands for every one
  int result = -1;
};

// A hook that is not set answers with 0 and fills nothing in.
struct script {
  std::list<space_info> spaces;
  std::list<volume_info> volumes;
  std::list<channel_setting> channels;
  std::list<channel_sid> space_channels;
  std::list<channel_storage_info> pairings;

  std::function<std::list<time_period>(channel_sid const&, int recording_type, int stream)> periods;
  std::function<std::list<std::uint32_t>(volume_share_info const&)> volume_channels;
  std::function<void(channel_sid const&, int recording_type, day_list*)> days;
  // Asked with recording type 0 for the total.
  std::function<std::int64_t(channel_sid const&, int recording_type)> recording_size;
  // By default the body of the listed volume with that id.
  std::function<void(kivsid const&, volume_body&)> read_volume;
  std::function<void(kivsid const&, volume_body const&)> write_volume;
  // By default "<storage folder>/hour".
  std::function<std::string(std::string const& storage_folder, stream_info const&, std::int64_t)>
      hour_folder;
  // The standard output of a program that is run; nothing: it cannot be run.
  std::function<std::optional<std::string>(std::vector<std::string> const& arguments)> program;
  // Seconds since the epoch; by default the real clock.
  std::function<std::int64_t()> clock;

  // Notes before each call that replaces a list what it held: "= held 31 0",
  // channels as they are, periods by their start.
  bool tells_lists = false;

  std::vector<fault> faults;
  int throw_at = 0;  // makes the n-th call throw, whichever it is
};

// The interfaces, for code that is handed them from outside.
IStorageSetting* setting();
IPlugPlayService* plug_play_service();

// Allocates the answer to a day query as the service does.
void fill_days(day_list* days, std::vector<std::string> const& texts);

class call_log {
 public:
  // The one of this process. Until start() it has a script of its own with one
  // space, and notes into the file that SCRIPTED_LOG names, if it is set;
  // SCRIPTED_THROW names an operation that throws.
  static call_log& instance();

  void start(script const& lines, std::string const& log_file);

  // From now on, writes into that file how much standard output had been
  // given, in bytes, whenever a line was noted.
  void measure_output(std::string const& file);

  scripted::script const& script() const { return script_; }

  // Writes a line through to the log.
  void note(std::string const& line);

  // Notes a call and throws when the script says so. Otherwise gives the fault
  // to act on, or null. `handed_out` is dropped from the line when the fault
  // keeps it back.
  fault const* enter(std::string const& operation, std::string const& line,
                     std::string const& handed_out = {});

  // The next number for an object of that class.
  int number(std::string const& kind) { return ++numbers_[kind]; }

 private:
  call_log();
  fault const* fault_of(std::string const& operation);

  scripted::script script_;
  std::ofstream log_;
  std::ofstream output_sizes_;
  std::map<std::string, int> numbers_;
  std::map<std::string, int> occurrences_;
  int calls_ = 0;
};

}  // namespace scripted
