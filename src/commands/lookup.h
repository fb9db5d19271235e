// Finding a space or a volume by the name that a user types.
#pragma once

#include <cstdint>
#include <list>
#include <string_view>

#include "storage/records.h"
#include "storage/service.h"

namespace st {

// Fills `spaces` and returns the first space of that name, which lives in
// `spaces`. Without one, says so on standard output and returns null.
space_info const* find_space(IStorageSetting* setting, char const* space_name,
                             std::list<space_info>& spaces);

// As find_space(), and prints the header of the space that it found.
space_info const* find_space_with_header(IStorageSetting* setting, char const* space_name,
                                         std::list<space_info>& spaces);

// The first volume whose share name, uncut, is `volume_name`; null without
// one. A volume whose path has no share name is compared under the share name
// of the volume before it.
volume_info const* find_volume(std::list<volume_info> const& volumes, std::string_view volume_name);

// Asks for the volumes and finds one by its share name. Returns 0 and writes
// number and text of its id into `out`; -1, with `out` untouched, when there
// is none.
std::int32_t find_volume_sid_by_name(IStorageSetting* setting, char const* volume_name,
                                     kivsid* out);

// Prepares `query` for asking about the volume of that share name. Returns 0;
// -1, with the query's volume_no untouched, when there is none.
std::int32_t find_volume_by_name(IStorageSetting* setting, char const* volume_name,
                                 volume_share_info* query);

}  // namespace st
