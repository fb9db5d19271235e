// What steers the programs and libraries from outside.
#pragma once

namespace support {

// Leaves this process LC_ALL=C and TZ=UTC, and nothing that steers a recorder,
// the scripted service, du or the width of a text.
void scrub_environment();

}  // namespace support
