// Messages to the system log's socket, for the log calls of this folder.
#pragma once

#include <cstdarg>
#include <optional>
#include <string>

namespace SystemLogSocket {

/// Sends "<priority>time identity[pid]: text" without waiting. False when nobody takes it.
bool Send(int priority, const std::string& identity, const std::string& text);

/// The formatted text without the line ends at its end; nothing when it cannot be formatted.
std::optional<std::string> Format(const char* format, va_list arguments)
    __attribute__((format(printf, 1, 0)));

/// What a message without an identity of its own is sent as.
std::string ProgramName();

}  // namespace SystemLogSocket
