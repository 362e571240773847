#include "sdk/CoreX/CoreMachDebugLog.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "platform/System/asl.h"
#include "platform/System/syslog.h"
#include "sdk/CoreX/FormatWithoutArguments.h"

const char* g_CoreMachDebug_LogPrefix = "CILumivaneInput";
const char* g_CoreMachDebug_LogFileName = "CILumivaneInput.log";
int CoreMachDebugTrace::sIndent = 0;

namespace {

constexpr char kDefaultLogFileName[] = "CoreConsole.log";
constexpr char kASLFacility[] = "CoreMachDebugLog";
constexpr int kDebugPriority = 7;
constexpr std::size_t kMessageSize = 1024;
constexpr std::size_t kPathSize = 1024;

// Everything here is constant-initialised: static initialisers of any source may log.
kCoreLogOutput sLogOutput = kCoreLogToFile;
FSRef sUserLogsFolder = {};
char sUserLogsPath[kPathSize] = "";
char sCoreDebugLogFileName[kPathSize] = "";
char sExceptionMessage[2048] = "";

// Initialisation may run in several threads at once; this only keeps the bytes of the paths whole.
std::mutex sPathsLock;

// Set while this thread looks for the log file. Its failure reports would start the look-up again.
thread_local bool tFindingLogFile = false;

/// Logging is no part of the logging code's work: it leaves errno alone.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : saved_(errno) {}
  ~ErrnoKeeper() { errno = saved_; }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

 private:
  int saved_;
};

const char* LogFileName() {
  const char* name = g_CoreMachDebug_LogFileName;
  return name == nullptr || name[0] == '\0' ? kDefaultLogFileName : name;
}

void LogToASL(const char* text) {
  aslclient client = asl_open(g_CoreMachDebug_LogPrefix, kASLFacility, ASL_OPT_STDERR);
  asl_log(client, nullptr, kDebugPriority, "%s\n", text);
  asl_close(client);
}

void LogToSyslog(const char* text) {
  SystemLog(kDebugPriority, "%s:%s\n", g_CoreMachDebug_LogPrefix, text);
}

void LogToFile(const char* text) {
  if (tFindingLogFile) return;
  static constinit std::atomic<bool> fClassInitialized{false};
  if (!fClassInitialized) fClassInitialized = CoreMachDebugLogClassInitialize();
  std::FILE* file = nullptr;
  {
    const std::lock_guard<std::mutex> lock(sPathsLock);
    file = std::fopen(sCoreDebugLogFileName, "at");
  }
  if (file == nullptr) return;
  std::fseek(file, 0, SEEK_END);
  const std::string line = FormatWithoutArguments(text);
  std::fwrite(line.data(), 1, line.size(), file);
  std::fclose(file);
}

}  // namespace

void CoreMachDebugLog(const char* format, ...) {
  char message[kMessageSize] = "";
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof(message), format, arguments);
  va_end(arguments);
  CoreMachDebugLogString(message);
}

void CoreMachDebugLogString(const char* text) {
  if (text == nullptr) return;
  const ErrnoKeeper keeper;
  switch (sLogOutput) {
    case kCoreLogToASL:
      LogToASL(text);
      break;
    case kCoreLogToSyslog:
      LogToSyslog(text);
      break;
    default:
      LogToFile(text);
      break;
  }
}

void CoreMachDebugLogSetUseLogger(kCoreLogOutput output) {
  sLogOutput = output;
}

bool CoreMachDebugLogClassInitialize() {
  // A thread that is looking already gets its answer from the look-up under way.
  struct Finding {
    bool outer = tFindingLogFile;
    Finding() { tFindingLogFile = true; }
    ~Finding() { tFindingLogFile = outer; }
  } const finding;

  FSRef known;
  {
    const std::lock_guard<std::mutex> lock(sPathsLock);
    known = sUserLogsFolder;
  }
  if (bool_FSRef_IsValid(known)) return true;

  FSRef folder = {};
  const OSErr error = FSFindFolder(kUserDomain, kLogsFolderType, kDontCreateFolder, &folder);
  if (VERIFY_ERR_TEXT(31,
                      "FSFindFolder(domain, kLogsFolderType, kDontCreateFolder, &sUserLogsFolder)",
                      error) != noErr) {
    return false;
  }
  char path[kPathSize];
  const bool fOk = bool_FSRef_GetUnixPath(folder, path);
  if (!VERIFY_TEXT(33, "fOk=bool_FSRef_GetUnixPath(sUserLogsFolder, sUserLogsPath)", fOk)) {
    return false;
  }

  const std::lock_guard<std::mutex> lock(sPathsLock);
  sUserLogsFolder = folder;
  std::memcpy(sUserLogsPath, path, sizeof(path));
  // A path that does not fit must not be cut into another file's name.
  const int length = std::snprintf(sCoreDebugLogFileName, sizeof(sCoreDebugLogFileName), "%s/%s",
                                   sUserLogsPath, LogFileName());
  if (length < 0 || length >= static_cast<int>(sizeof(sCoreDebugLogFileName))) {
    sCoreDebugLogFileName[0] = '\0';
  }
  return true;
}

const char* CoreMachDebugLogFilePath() {
  return sCoreDebugLogFileName;
}

void _CoreMachDebugVerifyBody(const char* function, const char* sourceFile, int line,
                              const char* code) {
  CoreMachDebugLog("VERIFY FAILED: %s in %s:%d (%s)\n", code, sourceFile, line, function);
}

void _CoreMachDebugVerifyOSerrBody(int error, const char* function, const char* sourceFile,
                                   int line, const char* code) {
  CoreMachDebugLog("VERIFY_ERR FAILED: OSErr:%d %s in %s:%d (%s)\n", error, code, sourceFile, line,
                   function);
}

CoreException::CoreException(const char* format, ...) : mMessage(sExceptionMessage) {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(sExceptionMessage, sizeof(sExceptionMessage), format, arguments);
  va_end(arguments);
}
