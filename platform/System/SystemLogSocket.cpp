#include "platform/System/SystemLogSocket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace SystemLogSocket {

namespace {

constexpr char kSocketPath[] = "/dev/log";

/// "Nov  1 15:04:05", in the log's own language whatever the program's locale is.
std::string LocalTime() {
  constexpr char kMonths[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[64];
  std::snprintf(text, sizeof text, "%s %2d %02d:%02d:%02d", kMonths[local.tm_mon], local.tm_mday,
                local.tm_hour, local.tm_min, local.tm_sec);
  return text;
}

}  // namespace

bool Send(int priority, const std::string& identity, const std::string& text) {
  const char* path = std::getenv("LUMIVANE_SYSLOG_SOCKET");
  if (path == nullptr || *path == '\0') path = kSocketPath;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (std::strlen(path) >= sizeof address.sun_path) return false;
  std::strcpy(address.sun_path, path);

  const std::string message = "<" + std::to_string(priority) + ">" + LocalTime() + " " + identity +
                              "[" + std::to_string(getpid()) + "]: " + text;
  // A socket for each message: the log is for failures only, and nothing stays open in the host.
  const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (log < 0) return false;
  const ssize_t sent =
      sendto(log, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
             reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(sizeof address));
  close(log);
  return sent == static_cast<ssize_t>(message.size());
}

std::optional<std::string> Format(const char* format, va_list arguments) {
  if (format == nullptr) return std::nullopt;
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) return std::nullopt;
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();
  while (text.ends_with('\n') || text.ends_with('\r')) text.pop_back();
  return text;
}

std::string ProgramName() {
  return program_invocation_short_name;
}

}  // namespace SystemLogSocket
