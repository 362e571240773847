// The debug log: the one way in which every module reports what it did not expect.
//
// A check that fails writes one line that names the failed expression, the source, the line and the
// function, and the code goes on to its failure result. Nothing stops or throws because of it.
// By default lines are appended to the product's log file in the user's Logs folder, which the log
// never creates. Not thread-safe by design: lines of several threads may interleave.
#pragma once

#include <cstddef>
#include <string>

#include "platform/CoreServices/Files.h"
#include "sdk/CoreX/Core_FSRef_inl.h"

/// Where messages go; any other value means the file.
enum kCoreLogOutput : int {
  kCoreLogToFile = 0,    ///< append to the log file in the user's Logs folder
  kCoreLogToASL = 1,     ///< the system log client, echoed to standard error
  kCoreLogToSyslog = 2,  ///< syslog at debug priority
};

/// Identity of the product in the system logs. Never null.
extern const char* g_CoreMachDebug_LogPrefix;
/// Name of the log file; an empty text selects "CoreConsole.log". Read once, at the first message.
extern const char* g_CoreMachDebug_LogFileName;

/// Formats like printf and logs the result; what exceeds 1023 bytes is cut.
void CoreMachDebugLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Logs one message; nothing for null. In file mode the text goes through a second formatting pass
/// without arguments:
/// "%%" becomes "%", a conversion prints as for zero or an empty text, %n writes nothing.
void CoreMachDebugLogString(const char* text);

/// The silent channel: accepts anything, does nothing.
template <typename... Arguments>
inline void CoreMachDebugLogNull(const Arguments&...) {}

void CoreMachDebugLogSetUseLogger(kCoreLogOutput output);

/// Finds the log file's path. False, with a log line, when the user has no Logs folder.
bool CoreMachDebugLogClassInitialize();

/// The log file's path; empty until the first message has found it.
const char* CoreMachDebugLogFilePath();

void _CoreMachDebugVerifyBody(const char* function, const char* sourceFile, int line,
                              const char* code);
void _CoreMachDebugVerifyOSerrBody(int error, const char* function, const char* sourceFile,
                                   int line, const char* code);

struct CoreMachDebugTrace {
  static int sIndent;  ///< depth of nested trace output
};

/// The toolkit's one exception, thrown where an error cannot be returned. All objects share one
/// text of 2048 bytes: a second exception overwrites the first one's message.
class CoreException {
 public:
  explicit CoreException(const char* format, ...) __attribute__((format(printf, 2, 3)));
  const char* Message() const noexcept { return mMessage; }

 private:
  const char* mMessage;
};

namespace CoreMachDebug {

/// The path of a source in the tree, less its extension: what log lines call the source. The
/// compiler is told to name sources by it, but a compiler cache may make that a path relative to
/// the build folder.
template <std::size_t N>
struct SourceName {
  char text[N];
  consteval explicit SourceName(const char (&file)[N]) : text{} {
    std::size_t start = 0;
    while (start + 3 < N && file[start] == '.' && file[start + 1] == '.' &&
           file[start + 2] == '/') {
      start += 3;
    }
    std::size_t end = N - 1 - start;
    for (std::size_t i = 0; start + i < N; ++i) {
      text[i] = file[start + i];
      if (text[i] == '.') end = i;
    }
    text[end] = '\0';
  }
};

template <typename Value>
inline bool VerifyTrue(const Value& value, const char* function, const char* source, int line,
                       const char* code) {
  const bool ok = static_cast<bool>(value);
  if (!ok) _CoreMachDebugVerifyBody(function, source, line, code);
  return ok;
}

template <typename Value>
inline Value Verified(Value value, const char* function, const char* source, int line,
                      const char* code) {
  if (!static_cast<bool>(value)) _CoreMachDebugVerifyBody(function, source, line, code);
  return value;
}

template <typename Error>
inline Error VerifyNoError(Error error, const char* function, const char* source, int line,
                           const char* code) {
  if (error != 0) {
    _CoreMachDebugVerifyOSerrBody(static_cast<int>(error), function, source, line, code);
  }
  return error;
}

}  // namespace CoreMachDebug

#define CORE_SOURCE_NAME (CoreMachDebug::SourceName<sizeof(__FILE__)>(__FILE__).text)

// The checks. Each logs " code : " and its argument's text, letter by letter, under the current
// function and source. The _AT forms take the line to report first: the logged line numbers of some
// checks are an interface of their own and must not move with the source. The _TEXT forms log a
// given text where the source cannot be worded as the text is; the _IN form, a given function name.

// Every public form takes its argument's text itself: handing the argument on first would expand
// the macros in it and log something that is not in the source.

/// Logs when the expression is false or zero. Usable as a bool.
#define VERIFY(...) VERIFY_TEXT(__LINE__, #__VA_ARGS__, __VA_ARGS__)
#define VERIFY_AT(line, ...) VERIFY_TEXT(line, #__VA_ARGS__, __VA_ARGS__)
#define VERIFY_TEXT(line, text, ...) VERIFY_IN(__FUNCTION__, line, text, __VA_ARGS__)
#define VERIFY_IN(function, line, text, ...) \
  CoreMachDebug::VerifyTrue((__VA_ARGS__), function, CORE_SOURCE_NAME, line, " code : " text)

/// The same, but yields the expression's value.
#define VERIFIED(...) VERIFIED_TEXT(__LINE__, #__VA_ARGS__, __VA_ARGS__)
#define VERIFIED_AT(line, ...) VERIFIED_TEXT(line, #__VA_ARGS__, __VA_ARGS__)
#define VERIFIED_TEXT(line, text, ...) \
  CoreMachDebug::Verified((__VA_ARGS__), __FUNCTION__, CORE_SOURCE_NAME, line, " code : " text)

/// Logs when an error code is not zero. Yields the code.
#define VERIFY_ERR(...) VERIFY_ERR_TEXT(__LINE__, #__VA_ARGS__, __VA_ARGS__)
#define VERIFY_ERR_AT(line, ...) VERIFY_ERR_TEXT(line, #__VA_ARGS__, __VA_ARGS__)
#define VERIFY_ERR_TEXT(line, text, ...) \
  CoreMachDebug::VerifyNoError((__VA_ARGS__), __FUNCTION__, CORE_SOURCE_NAME, line, " code : " text)
