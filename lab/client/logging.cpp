#include "storage/logging.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "lab/client/trace.h"

namespace {

// The arguments may be read once, so `again` holds a second copy of them.
std::string formatted(char const* format, std::va_list arguments, std::va_list again)
    __attribute__((format(printf, 1, 0)));

std::string formatted(char const* format, std::va_list arguments, std::va_list again) {
  int const length = std::vsnprintf(nullptr, 0, format, arguments);
  if (length < 0) return format;
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, again);
  text.pop_back();
  return text;
}

}  // namespace

extern "C" void log_Debug(char const* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  std::string const text = formatted(format, arguments, again);
  va_end(again);
  va_end(arguments);
  ::syslog(LOG_DEBUG, "%s", text.c_str());
  lab::client::trace("log_Debug", lab::client::json::object({{"text", text}}), nullptr);
}
