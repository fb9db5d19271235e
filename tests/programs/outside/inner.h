// The library that the client library needs in its turn, and that st does not
// know of.
#pragma once

namespace outside {

// Appends the operation's name to the file that OUTSIDE_LOG names, if it is set.
void note_call(char const* operation);

// Needed by recycling only, and so missed late.
void prepare_recycling();

}  // namespace outside
