// What the library has to say to whoever runs the program. Everything else goes
// to the log: standard output is the program's own.
#pragma once

#include <string>

namespace lab::client {

// Writes the text as a line on standard error, the same one once a process.
// Control characters are shown as printable() shows them.
void tell_once(std::string const& text);

}  // namespace lab::client
