// The system utility library, as this program uses it. Linked in with the
// storage service's client library.
#pragma once

#include <cstddef>
#include <cstdio>

extern "C" {

// Copies at most size - 1 characters and terminates; writes nothing when size
// is 0. Returns `destination`.
char* nstrcpy(char* destination, char const* source, std::size_t size);

// Runs a program with the given arguments (terminated texts, ended by a null
// pointer) and gives its standard output as a stream; null on failure.
std::FILE* velt_popen(char const* mode, char const* program, ...);

// Closes the stream and waits for the program.
int velt_pclose(std::FILE* stream);
}
