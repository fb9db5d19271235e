// Where the client library finds its recorder, and how it opens it.
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

// How long to wait for others: what STLAB_LOCK_TIMEOUT_MS says (ms, 0 to 3600000), or
// the recorder's own patience when it is unset or empty. When the variable holds
// anything else, tells the user and throws lab::error.
std::chrono::milliseconds patience();

// Opens the recorder, with that patience. Throws lab::error.
recorder open_recorder(access mode);

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

// The recorder as one entry object reads it: opened at the first need and
// shared with what the object hands out.
class source {
 public:
  // Throws lab::error when the recorder cannot be opened; the next call tries
  // again.
  std::shared_ptr<recorder const> reader();

 private:
  std::shared_ptr<recorder const> reader_;
};

}  // namespace lab::client
