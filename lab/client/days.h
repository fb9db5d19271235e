// The answer to both day queries of the contract.
#pragma once

#include <list>

#include "lab/recorder/recorder.h"
#include "storage/records.h"

namespace lab::client {

// Fills `days` with the local dates on which the channel recorded under the
// given storage ids, of which 31 characters count; without any id, under all
// that it has. What it allocates belongs to the caller. Throws lab::error and
// leaves `days` as it was.
void answer_days(recorder const& from, channel_sid const& of, int recording_type,
                 std::list<storage_id_text> const& storage_ids, day_list& days);

// The same as an operation of the contract: traced, and a failure is a result.
int traced_days(char const* operation, recorder const& from, channel_sid const& of,
                int recording_type, int selector, std::list<storage_id_text> const& storage_ids,
                day_list* days);

}  // namespace lab::client
