// The same run over and over, with its first, second, … call throwing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "scripted.h"

namespace support {

// Runs the body undisturbed, then once for each of its calls with that call
// throwing. Each time, after the throwing call nothing may follow but the
// release of what was obtained before it, in the order of the undisturbed run;
// the exception comes out; what was printed is what the undisturbed run had
// printed by then; nothing leaks. The setting and the plug-and-play service
// are not released. Gives the number of calls.
int expect_releases_when_any_call_throws(scripted::script const& script,
                                         std::function<void()> const& body);

}  // namespace support
