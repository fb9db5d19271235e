#include "lab/stlab/recorder_access.h"

#include "lab/catalogue/catalogue.h"
#include "lab/recorder/state.h"
#include "lab/stlab/commands.h"
#include "lab/volume/recording_type.h"

namespace stlab {

namespace {

// Where an unusable folder was named, for who did not type it.
std::string origin_of(recorder_folder const& folder) {
  switch (folder.from) {
    case recorder_folder::origin::variable:
      return " (STLAB_RECORDER names this folder)";
    case recorder_folder::origin::built_in:
      return " (STLAB_RECORDER is not set; this is the folder then)";
    case recorder_folder::origin::typed:
      break;
  }
  return {};
}

std::string two_digits(std::int32_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

}  // namespace

lab::recorder open_recorder(recorder_folder const& folder, lab::access mode) {
  try {
    return lab::recorder::open(folder.path, mode);
  } catch (lab::error const& problem) {
    throw unusable(problem.what() + origin_of(folder));
  }
}

void require_writable(recorder_folder const& folder) {
  try {
    lab::open_catalogue(lab::resolved(folder.path), lab::access::read_write);
  } catch (lab::error const& problem) {
    throw unusable(problem.what() + origin_of(folder));
  }
}

lab::volume find_volume(lab::recorder const& in, std::string const& name) {
  for (lab::volume const& each : in.volumes()) {
    if (name.empty() || each.name == name) return each;
  }
  throw refusal(name.empty() ? "the recorder has no volume" : "there is no volume " + name);
}

lab::channel find_channel(lab::recorder const& in, std::int32_t number) {
  for (lab::channel const& each : in.channels()) {
    if (each.number == number) return each;
  }
  throw refusal("there is no channel " + std::to_string(number));
}

std::vector<assignment> assignments(lab::recorder const& in) {
  std::vector<assignment> all;
  for (lab::volume const& volume : in.volumes()) {
    for (lab::channel const& each : in.volume_channels(volume.volume_no)) {
      all.push_back({each, volume});
    }
  }
  return all;
}

lab::volume assigned_volume(lab::recorder const& in, lab::channel const& of) {
  for (assignment const& each : assignments(in)) {
    if (each.channel.id == of.id) return each.volume;
  }
  throw refusal("channel " + std::to_string(of.number) +
                " records into no volume (see stlab assign)");
}

lab::channel assigned_channel(lab::recorder const& in, lab::volume const& to) {
  std::vector<lab::channel> const assigned = in.volume_channels(to.volume_no);
  if (assigned.empty()) {
    throw refusal("no channel records into volume " + to.name + "; name one with --channel");
  }
  return assigned.front();
}

void require_free_units(lab::recorder const& in, lab::volume const& on, std::int64_t needed) {
  std::int64_t const free_units = in.account(on.id).preallocated;
  if (needed <= free_units) return;
  throw refusal("not enough free units on " + on.name + ": " + std::to_string(needed) +
                " needed, " + std::to_string(free_units) + " free");
}

std::string channel_label(std::int32_t number) { return "ch" + two_digits(number + 1); }

std::string stream_label(std::int32_t number, std::int32_t recording_type, std::int32_t stream) {
  return channel_label(number) + ' ' + lab::letters_of_type(recording_type) + " S" +
         two_digits(stream);
}

}  // namespace stlab
