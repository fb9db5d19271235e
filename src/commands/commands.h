// Every command's handler, and the routines that no command word reaches.
//
// A handler prints its results and its failures to standard output and returns
// normally in either case. It does not own the interfaces it is given. An
// exception from the service passes through, after the handler has released
// what it obtained itself.
#pragma once

#include <cstdint>

#include "storage/records.h"
#include "storage/service.h"

namespace st {

// Lists all spaces, a line each; nothing when there are none.
void cmd_spacelist(IStorageSetting* setting);

// Shows the space of that name and lists its volumes.
void cmd_vollist(IStorageSetting* setting, char const* space_name);

// Sets a volume's type (0 normal, 1 spare) and state (0 standby, 1 active).
void cmd_volset(IStorageSetting* setting, char const* volume_name, std::uint32_t type,
                std::uint32_t state);

// Lists the channels that record into the volume of that share name.
// `plug_play` may be null: nobody is asked then, and no channel is found.
void cmd_volchn(IStorageSetting* setting, IPlugPlayService* plug_play, char const* volume_name);

// Shows the volume that a channel records into (-1: that of each of the 32
// channels). `plug_play` may be null: every name is empty then.
void cmd_voluse(IStorageSetting* setting, IPlugPlayService* plug_play, std::int32_t channel_id);

// Recycles, on every space, what a channel (-1: every channel) still holds of
// the last 30 days from before its earliest known period.
void cmd_volclean(IStorageSetting* setting, std::int32_t channel_filter);

// Measures every volume and recycles those that have lost more than 5 %.
void cmd_autoclean(IStorageSetting* setting);

// Lists a channel's (-1: every channel's) periods that carry no storage id.
void cmd_nullid(IStorageSetting* setting, std::int32_t channel_id);

// Shows what every channel has recorded on the space of that name.
void cmd_spaceinfo(IStorageSetting* setting, char const* space_name);

// Lists the channels of a space and opens a session for each. Not wired to any
// command word.
void list_space_channels(IStorageSetting* setting, char const* space_name);

// Finds the volume and the space that keep the hour of a stream that holds
// `time` (ms since the epoch). Returns 0 and fills the three ids of
// `location`; -1 when either is not found, with the volume's two ids filled
// when only the space is missing. Not wired to any command word.
std::int32_t find_hour_folder_volume(IStorageSetting* setting, stream_info const& stream,
                                     std::int64_t time, recording_location* location);

}  // namespace st
