// Where the client library finds its recorder, how it opens it, and for how long
// it waits for others.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>

#include "lab/catalogue/sqlite.h"
#include "lab/recorder/recorder.h"

namespace lab::client {

// The working directory at the process's first call into the library, against
// which relative paths are resolved: a run changes its working directory.
std::filesystem::path const& starting_folder();

// The recorder's folder, absolute.
std::filesystem::path recorder_folder();

// How long to wait for whoever holds a volume, by its path, or the catalogue, by
// the recorder's folder: what STLAB_LOCK_TIMEOUT_MS says (ms, 0 to 3600000), or the
// recorder's own lock timeout when it is unset or empty. When the variable holds
// anything else, tells the user and throws lab::error. What was not free in all that
// time is not waited for again: a run asks anew for each of its streams.
std::chrono::milliseconds lock_timeout(std::filesystem::path const& held);

// Says that a volume, or the catalogue, was not free in all that time.
void wait_no_more_for(std::filesystem::path const& held);
void wait_no_more_for_catalogue();

// The recorder to read, opened at the first need and kept as long as anybody
// uses it. Throws lab::error when it cannot be opened; the next call tries again.
// One thread at a time asks the library.
std::shared_ptr<recorder const> reader();

// Releases a writer's volumes, and keeps it open for the next open_writer() as long as
// anybody uses the reader.
struct writer_keeper {
  void operator()(recorder* used) const noexcept;
};
using writer = std::unique_ptr<recorder, writer_keeper>;

// The recorder open to write, for its owner alone: opened now, or kept from an earlier use and
// found as opening it would find it. Throws lab::error.
writer open_writer();

// Finishes the moves of units that a stopped writer left midway, as whoever
// writes next would, so that what was begun is not left waiting for a writer.
// Without such moves nothing is opened for writing. Waits for nobody, as lists
// do not; what cannot be done now is left to a later run, and the log says why.
void finish_stopped_moves(recorder const& of) noexcept;

// Somebody who is killed inside a change of the catalogue keeps from reading it
// whoever has it open to read only. If `failure` is of this kind, has the change
// undone, which opening the recorder does, and returns true: what failed works
// again. Throws lab::error when it cannot be undone.
bool undo_what_was_cut_short(database_error const& failure);

// Runs `body`, and once more after a change that was cut short has been undone.
// Whoever met a catalogue that somebody else held for too long waits no more.
template <typename Body>
int despite_others(Body const& body) {
  try {
    return body();
  } catch (database_error const& failure) {
    if (!undo_what_was_cut_short(failure)) throw;
    return body();
  } catch (busy_error const&) {
    wait_no_more_for_catalogue();
    throw;
  }
}

}  // namespace lab::client
