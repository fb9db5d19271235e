#include <cstdarg>
#include <cstdio>

#include "scripted.h"
#include "storage/logging.h"

void log_Debug(char const* format, ...) {
  char text[1024];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  scripted::call_log::instance().note(std::string("log_Debug(") + text + ")");
}
