#include "platform/System/asl.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <new>
#include <string>

#include "platform/System/SystemLogSocket.h"

struct __aslclient {
  std::string identity;
  std::string facility;
  std::uint32_t options;
};

aslclient asl_open(const char* identity, const char* facility, std::uint32_t options) {
  return new (std::nothrow)
      __aslclient{identity == nullptr ? SystemLogSocket::ProgramName() : identity,
                  facility == nullptr ? "user" : facility, options};
}

void asl_close(aslclient client) {
  delete client;
}

int asl_log(aslclient client, aslmsg, int level, const char* format, ...) {
  constexpr const char* kLevelNames[] = {"Emergency", "Alert",  "Critical", "Error",
                                         "Warning",   "Notice", "Info",     "Debug"};
  va_list arguments;
  va_start(arguments, format);
  const std::optional<std::string> text = SystemLogSocket::Format(format, arguments);
  va_end(arguments);
  if (!text) return -1;

  const __aslclient fallback{SystemLogSocket::ProgramName(), "user", 0};
  const __aslclient& from = client == nullptr ? fallback : *client;
  level = std::clamp(level, ASL_LEVEL_EMERG, ASL_LEVEL_DEBUG);
  SystemLogSocket::Send(LOG_USER | level, from.identity, "(" + from.facility + ") " + *text);
  if ((from.options & ASL_OPT_STDERR) != 0) {
    std::fprintf(stderr, "%s[%d] (%s) <%s>: %s\n", from.identity.c_str(),
                 static_cast<int>(getpid()), from.facility.c_str(), kLevelNames[level],
                 text->c_str());
  }
  return 0;
}
