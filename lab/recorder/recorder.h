// A lab recorder: a folder with a catalogue and real volumes.
//
//   RECORDER/catalogue.db
//   RECORDER/share/<volume>/identity
//   RECORDER/share/<volume>/FSU_<storage id text>/preallocate/<unit>
//   RECORDER/share/<volume>/FSU_<storage id text>/<hour folder>/<unit>
//
// Everything is answered from the catalogue, in its insertion order. Times are
// ms since the epoch, sizes are MB. Every operation throws lab::error (a
// lab::busy_error when somebody else holds what it needs for too long) and
// then leaves the catalogue as it was or as a later open finishes it.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lab/catalogue/catalogue.h"
#include "lab/util/error.h"
#include "lab/volume/unit_state.h"

namespace lab {

struct space {
  std::int64_t id;
  std::string sid;  // 36 characters
  std::string name;
  std::string uuid;  // 36 characters
  std::int32_t status;
  std::int32_t spare_state;
  std::int64_t total_mb;
  std::int64_t used_mb;
};

inline constexpr std::int32_t standby_state = 1;
// The states of a volume whose folder is absent, or lacks its identity or carries
// another's, or is a link: otherwise, and one that stands by. Nothing on it is moved.
inline constexpr std::int32_t not_mounted_state = 2;
inline constexpr std::int32_t standby_not_mounted_state = 3;

struct volume {
  std::int64_t id;
  std::int64_t space_id;
  std::string space_uuid;
  std::int32_t sid_number;
  std::string sid_text;  // 32 characters
  std::string name;
  std::int32_t type;
  std::int32_t state;  // one of the last two above while the volume is not mounted
  std::int32_t volume_no;
  // Absolute: RECORDER/share/<folder>. Below /dev/null, where nothing can lie,
  // for a volume with a link or a file in the place of one of its folders.
  std::filesystem::path path;
  std::int64_t total_mb;
  std::int64_t used_mb;
};

// Whether a volume's sizes are told, or left out and 0.
enum class volume_sizes { counted, left_out };

// Whether the volume's state lets it be worked on.
bool is_mounted(volume const& which);

struct channel {
  std::int64_t id;
  std::int32_t number;  // 0-based
  std::string sid;      // 32 characters
};

struct period {
  std::int64_t id;
  std::int64_t channel_id;
  std::int32_t recording_type;
  std::int32_t stream;
  std::int64_t start_ms;
  std::int64_t end_ms;     // exclusive
  std::string storage_id;  // empty or 32 characters
  // The number of the volume with that storage id: 0 for an empty id, -1 for one that no volume
  // has.
  std::int32_t storage_number;
};

// One stream of one channel (a catalogue id) and recording type.
struct stream {
  std::int64_t channel_id;
  std::int32_t recording_type;
  std::int32_t number;
};

// Both ends included. An end before the start is an empty span.
struct span {
  std::int64_t start_ms;
  std::int64_t end_ms;
};

struct pairing {
  std::int64_t channel_id;
  std::string storage_id;
};

// What is changed of a volume by one volume setting.
struct volume_change {
  std::int64_t volume_id;
  std::string name;
  std::int32_t type;
  std::int32_t state;
};

// How a volume's units stand, in units.
struct volume_account {
  std::int64_t total;
  std::int64_t held;          // by a period
  std::int64_t moving;        // in transit, counted as used
  std::int64_t preallocated;  // free
  std::int64_t lost;          // recorded without a period, or bad
};

// Units of one volume that stand alike by the catalogue: in one state and, unless they are
// free or bad, in one hour of one stream, and of one period or none.
struct unit_group {
  std::int64_t volume_id;
  unit_state state;
  std::optional<stream> of;
  std::int64_t hour_ms;  // 0 of free and bad ones
  std::optional<std::int64_t> period_id;
  bool has_storage_id;  // the period
  std::int64_t units;
};

inline constexpr int most_unit_mb = 1024;

// Where the client library looks when STLAB_RECORDER is unset or empty.
inline constexpr char const* default_recorder_folder = "/var/lib/stlab/recorder";

class statement;
class transaction;

class recorder {
 public:
  // Opens a recorder; a relative folder is resolved now. With read_write, moves
  // of units that were stopped midway are finished first, except on volumes
  // where they cannot be. Whoever opens it, to read only as well, first undoes
  // a change of the catalogue that a crash cut short, which takes permission to
  // write. Whoever writes also puts a missing journal of the catalogue back, if
  // that can be. `lock_timeout` is how long this and every later operation waits for
  // somebody else.
  static recorder open(std::filesystem::path const& folder, access mode,
                       std::chrono::milliseconds lock_timeout = default_lock_timeout);

  // For one that is open to write and was out of use: looks again at the folder, the catalogue's
  // file, format and schema, and finishes stopped moves, as open() does. False when anything is
  // otherwise; this one is to be closed then. Throws lab::error, a busy_error too.
  bool resume(std::filesystem::path const& folder, std::chrono::milliseconds lock_timeout);

  recorder(recorder&&) noexcept;
  recorder& operator=(recorder&&) noexcept;
  ~recorder();

  // How long an operation waits for what somebody else holds, before it throws
  // a busy_error. Some seconds unless set. What needs several volumes waits so
  // long for each of them.
  void wait_at_most(std::chrono::milliseconds lock_timeout);

  std::filesystem::path const& folder() const;
  std::int64_t unit_mb() const;

  std::vector<space> spaces() const;
  std::vector<volume> volumes() const;
  std::vector<volume> volumes(std::int64_t space_id, volume_sizes sizes) const;
  // None when no volume has that storage id.
  std::optional<volume> volume_with(std::string const& sid_text, volume_sizes sizes) const;
  bool has_volume_numbered(std::int32_t volume_no) const;
  // The catalogue's id of a space; none when no space has that sid.
  std::optional<std::int64_t> space_with(std::string const& sid) const;
  std::vector<channel> channels() const;
  // None when no channel has that sid.
  std::optional<channel> channel_with(std::string const& sid) const;

  // The periods of a stream that overlap the span.
  std::vector<period> periods(stream const& of, span const& within) const;
  // All periods of all streams.
  std::vector<period> periods() const;

  // Channels that hold something on the space, and with which storage ids.
  // The pairings of one channel adjoin, where its first one has its place.
  std::vector<pairing> pairings(std::int64_t space_id) const;
  std::vector<channel> space_channels(std::int64_t space_id) const;
  // The storage ids under which the channel holds something, on any space.
  std::vector<std::string> storage_ids(std::int64_t channel_id) const;

  // The local dates ("2026-11-21", ascending, each once) of a channel's periods of one type
  // under storage ids that begin with one of the given 31-character texts.
  std::vector<std::string> days(std::int64_t channel_id, std::int32_t recording_type,
                                std::vector<std::string> const& storage_ids) const;

  // MB recorded by a channel on a space; of every type without one.
  std::int64_t recorded_mb(std::int64_t space_id, std::int64_t channel_id,
                           std::optional<std::int32_t> recording_type) const;

  // The start of the latest hour of the stream with units that no period
  // holds, on whichever volume.
  std::optional<std::int64_t> latest_leaked_hour(stream const& of) const;

  // How many periods that ended before `before_ms` have units on a volume that
  // is not mounted.
  std::int64_t periods_out_of_reach(std::int64_t before_ms) const;

  // The channels assigned to the volume with that number.
  std::vector<channel> volume_channels(std::int32_t volume_no) const;

  volume_account account(std::int64_t volume_id) const;

  // By channel, then recording type (normal, manual, alarm), stream, hour and volume; those
  // of no stream first.
  std::vector<unit_group> unit_groups() const;

  // Whether a unit of any volume is in transit.
  bool has_units_in_transit() const;

  // Takes the volume's lock and keeps it until release() or the end of this recorder: nobody else
  // moves units there, and recycle() neither takes the lock nor waits for it. Waits at most so long
  // for who holds it, then throws a busy_error.
  void hold(std::int64_t volume_id, std::chrono::milliseconds lock_timeout);

  // Gives back every volume's lock that hold() took.
  void release() noexcept;

  // Changes all given volumes durably in one transaction, or none.
  void change_volumes(std::vector<volume_change> const& changes);

  // Gives back every unit of the stream on the volume whose whole hour lies in
  // the span and that no period holds; returns how many. Touches nothing else.
  // A period holds its units, and every hour of its stream that it overlaps on
  // the volume or under no storage id.
  std::int64_t recycle(std::int64_t volume_id, stream const& of, span const& within);

  // Records the hours that begin at `hours_ms`, each another one, as periods of
  // `units` units each on the volume; all of them or nothing.
  void record(std::int64_t volume_id, stream const& of, std::vector<std::int64_t> const& hours_ms,
              int units);
  void record(std::int64_t volume_id, stream const& of, std::int64_t hour_ms, int units) {
    record(volume_id, of, std::vector<std::int64_t>{hour_ms}, units);
  }

  // Drops the periods that ended before `before_ms` and gives their units
  // back; returns how many units came back. Periods with units on a volume that
  // is not mounted stay, and so do those on a volume that cannot take units
  // back: it is named in an error once all others are done.
  std::int64_t expire(std::int64_t before_ms);

  // Drops periods without giving their units back.
  void forget(std::vector<std::int64_t> const& period_ids);

  // Takes the storage id from periods.
  void lose_storage_id(std::vector<std::int64_t> const& period_ids);

  // Makes the channel record into exactly the given volume from now on.
  void assign(std::int64_t channel_id, std::int64_t volume_id);

  // For the lab's own rooms: lab/recorder/state.h tells what it is.
  struct state;
  state& inside() { return *state_; }
  state const& inside() const { return *state_; }

 private:
  friend class consistent_view;
  explicit recorder(std::unique_ptr<state> opened);
  void finish_stopped_moves();
  std::vector<volume> volumes_in(statement& query) const;
  std::unique_ptr<state> state_;
};

// While it lives, everything that its recorder answers is of one state of the
// catalogue, and nobody's change of the catalogue completes. It must not
// outlive its recorder.
class consistent_view {
 public:
  explicit consistent_view(recorder const& of);
  ~consistent_view();
  consistent_view(consistent_view const&) = delete;
  consistent_view& operator=(consistent_view const&) = delete;

 private:
  std::unique_ptr<transaction> reading_;
};

}  // namespace lab
