// Comparing what a recorder's catalogue says with what lies in its folders.
#pragma once

#include <string>
#include <vector>

#include "lab/recorder/recorder.h"

namespace lab {

// Every way in which folders and catalogue disagree, a line each; empty when
// all is well. A line begins with its class, such as "leak: ". Reads only;
// a catalogue that cannot be read to its end is a line too. Throws lab::error.
std::vector<std::string> check(recorder const& which);

}  // namespace lab
