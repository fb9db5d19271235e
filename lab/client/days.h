// The answer to both day queries of the contract.
#pragma once

#include <list>

#include "lab/recorder/recorder.h"
#include "storage/records.h"

namespace lab::client {

// The operation of that name: fills `days` with the local dates on which the channel
// recorded under the given storage ids, of which 31 characters count; without any
// id, under all that it has. What it allocates belongs to the caller. A failure leaves
// `days` as it was.
int recording_days(char const* name, recorder const& from, channel_sid const& of,
                   int recording_type, int selector, std::list<storage_id_text> const& storage_ids,
                   day_list* days);

}  // namespace lab::client
