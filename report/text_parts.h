// The parts of the report in a terminal. Each is lines that are ended; one with nothing
// to say is empty.
#pragma once

#include <string>

#include "report/text.h"

namespace report {

std::string attention_part(value const& of, layout const& in);
std::string spaces_part(value const& of, layout const& in);
std::string volumes_part(value const& of, layout const& in);
std::string channels_part(value const& of, layout const& in);
std::string preview_part(value const& of, layout const& in);

// A name of the service's, as it can be shown, in its share of the line.
std::string short_name(std::string const& name, layout const& in);

}  // namespace report
