// Opening a recorder for a subcommand, and finding things in it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/recorder/recorder.h"
#include "lab/stlab/options.h"

namespace stlab {

// Throws unusable.
lab::recorder open_recorder(recorder_folder const& folder, lab::access mode);

// Throws unusable unless the recorder's catalogue can be written.
void require_writable(recorder_folder const& folder);

// A channel that records into a volume.
struct assignment {
  lab::channel channel;
  lab::volume volume;
};

// Every one, volume by volume.
std::vector<assignment> assignments(lab::recorder const& in);

// Each throws refusal when there is no such thing.

// An empty name stands for the recorder's first volume.
lab::volume find_volume(lab::recorder const& in, std::string const& name);

lab::channel find_channel(lab::recorder const& in, std::int32_t number);

// The first volume that the channel is assigned to.
lab::volume assigned_volume(lab::recorder const& in, lab::channel const& of);

// The first channel that is assigned to the volume.
lab::channel assigned_channel(lab::recorder const& in, lab::volume const& to);

// Throws unless so many units are free on the volume.
void require_free_units(lab::recorder const& in, lab::volume const& on, std::int64_t needed);

// "ch01" for channel 0.
std::string channel_label(std::int32_t number);

// "ch01 NR S00".
std::string stream_label(std::int32_t number, std::int32_t recording_type, std::int32_t stream);

}  // namespace stlab
