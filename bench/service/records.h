// The records that the generating library answers with. Each is a copy of a
// prototype with its number written into it, so that all cost the same.
#pragma once

#include <cstdint>
#include <list>

#include "storage/records.h"

namespace generated {

// Each appends as many records as sizes.h says.
void add_spaces(std::list<space_info>& spaces);
void add_volumes(std::list<volume_info>& volumes);
void add_channels(std::list<channel_setting>& channels);
void add_channel_ids(std::list<channel_sid>& channels);
void add_pairings(std::list<channel_storage_info>& pairings);

// The channels of a volume, the greatest first. Channel n records into volume
// n modulo the number of volumes.
void add_channels_of(std::int32_t volume_no, std::list<std::uint32_t>& channels);

// Periods of an hour each, the earliest first; one ends where the next begins.
void add_periods(std::int32_t stream, std::list<time_period>& periods);

// Fills `days`; what it allocates belongs to the caller, as day_list says.
void fill_days(day_list& days);

// Fills the properties of the volume with that id.
void fill_volume(kivsid const& id, volume_body& body);

}  // namespace generated
