#include <cstdarg>
#include <cstring>

#include "scripted.h"
#include "storage/system_utility.h"

char* nstrcpy(char* destination, char const* source, std::size_t size) {
  scripted::call_log::instance().note("nstrcpy(" + std::string(source) + ", " +
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

  auto& log = scripted::call_log::instance();
  std::string line = std::string("velt_popen(") + mode + ", " + program;
  for (std::string const& each : arguments) line += ", " + each;
  log.note(line + ")");

  auto const output = log.script().program ? log.script().program(arguments) : std::nullopt;
  if (!output) return nullptr;
  std::FILE* const stream = std::tmpfile();
  if (stream == nullptr) return nullptr;
  std::fwrite(output->data(), 1, output->size(), stream);
  std::rewind(stream);
  return stream;
}

int velt_pclose(std::FILE* stream) {
  scripted::call_log::instance().note("velt_pclose()");
  return std::fclose(stream);
}
