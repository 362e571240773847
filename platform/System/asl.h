// The system log's client library: messages with an identity, a facility name and a level.
//
// A message goes to the system log's datagram socket in the form every syslog daemon and the
// journal take: "<PRIORITY>Mmm dd hh:mm:ss IDENTITY[PID]: (FACILITY) TEXT". The priority is that of
// user programs with the message's level; a facility of a program's own has no number in that
// protocol, so its name stands in the text. The socket is /dev/log, or the path in the variable
// LUMIVANE_SYSLOG_SOCKET. Without a daemon a message is dropped, never waited for; nothing fails
// because of it.
#pragma once

#include <cstdint>

using aslclient = struct __aslclient*;
using aslmsg = struct __aslmsg*;

inline constexpr int ASL_LEVEL_EMERG = 0;
inline constexpr int ASL_LEVEL_ALERT = 1;
inline constexpr int ASL_LEVEL_CRIT = 2;
inline constexpr int ASL_LEVEL_ERR = 3;
inline constexpr int ASL_LEVEL_WARNING = 4;
inline constexpr int ASL_LEVEL_NOTICE = 5;
inline constexpr int ASL_LEVEL_INFO = 6;
inline constexpr int ASL_LEVEL_DEBUG = 7;

/// Also write each message to standard error, as "IDENTITY[PID] (FACILITY) <LEVEL>: TEXT", LEVEL
/// being the level's name ("Debug").
inline constexpr std::uint32_t ASL_OPT_STDERR = 0x00000001;

/// A client; null only when memory is out. A null identity is the program's name, a null facility
/// "user". The texts are copied. Options other than ASL_OPT_STDERR are accepted without effect.
aslclient asl_open(const char* identity, const char* facility, std::uint32_t options);
void asl_close(aslclient client);
/// Formats like printf and sends the result, without the line ends at its end, at `level`, which is
/// held to 0...7. `message` holds further keys on other systems and must be null. A null client has
/// the default identity and facility. 0, or -1 for a null format or one that cannot be formatted.
int asl_log(aslclient client, aslmsg message, int level, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
