// The system's log: priorities as in POSIX, sent the way platform/System/asl.h does.
#pragma once

#include <syslog.h>

/// What POSIX `syslog` does, with the program's name as identity: formats like printf (without %m)
/// and sends the result at `priority` (level and, optionally, facility). Other than that call it
/// shares no state with the host program's own use of it, and follows LUMIVANE_SYSLOG_SOCKET. Both
/// the journal and a syslog daemon take it.
void SystemLog(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));
