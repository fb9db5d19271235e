// The logging library, as this program uses it.
#pragma once

extern "C" {

// Writes one printf-style line to the recorder's debug log.
void log_Debug(char const* format, ...) __attribute__((format(printf, 1, 2)));
}
