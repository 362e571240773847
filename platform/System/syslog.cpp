#include "platform/System/syslog.h"

#include <cstdarg>
#include <string>

#include "platform/System/SystemLogSocket.h"

void SystemLog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::optional<std::string> text = SystemLogSocket::Format(format, arguments);
  va_end(arguments);
  if (!text) return;
  const int facility = (priority & LOG_FACMASK) == 0 ? LOG_USER : priority & LOG_FACMASK;
  SystemLogSocket::Send(facility | LOG_PRI(priority), SystemLogSocket::ProgramName(), *text);
}
