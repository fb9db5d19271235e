#include <cstdarg>
#include <cstring>

#include "scripted.h"
#include "storage/system_utility.h"

char* nstrcpy(char* destination, char const* source, std::size_t size) {
  scripted::recorder::instance().note("nstrcpy(" + std::string(source) + ", " +
                                      std::to_string(size) + ")");
  if (size == 0) return destination;
  std::size_t const length = strnlen(source, size - 1);
  std::memcpy(destination, source, length);
  destination[length] = '\0';
  return destination;
}

std::FILE* velt_popen(char const* mode, char const* program, ...) {
  std::vector<std::string> arguments;
  std::va_list rest;
  va_start(rest, program);
  while (char const* const each = va_arg(rest, char const*)) arguments.emplace_back(each);
  va_end(rest);

  auto& recorder = scripted::recorder::instance();
  std::string line = std::string("velt_popen(") + mode + ", " + program;
  for (std::string const& each : arguments) line += ", " + each;
  recorder.note(line + ")");

  auto const output =
      recorder.script().program ? recorder.script().program(arguments) : std::nullopt;
  if (!output) return nullptr;
  std::FILE* const stream = std::tmpfile();
  if (stream == nullptr) return nullptr;
  std::fwrite(output->data(), 1, output->size(), stream);
  std::rewind(stream);
  return stream;
}

int velt_pclose(std::FILE* stream) {
  scripted::recorder::instance().note("velt_pclose()");
  return std::fclose(stream);
}
