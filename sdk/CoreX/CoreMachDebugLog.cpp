#include "sdk/CoreX/CoreMachDebugLog.h"

#include <cstdarg>
#include <cstdio>

const char* g_CoreMachDebug_LogPrefix = "CILumivaneInput";
const char* g_CoreMachDebug_LogFileName = "CILumivaneInput.log";
int CoreMachDebugTrace::sIndent = 0;

void _CoreMachDebugVerifyBody(const char* function, const char* sourceFile, int line,
                              const char* code) {
  CoreMachDebugLog("VERIFY FAILED: %s in %s:%d (%s)\n", code, sourceFile, line, function);
}

void _CoreMachDebugVerifyOSerrBody(int error, const char* function, const char* sourceFile,
                                   int line, const char* code) {
  CoreMachDebugLog("VERIFY_ERR FAILED: OSErr:%d %s in %s:%d (%s)\n", error, code, sourceFile, line,
                   function);
}

namespace {
char sExceptionMessage[2048];
}

CoreException::CoreException(const char* format, ...) : mMessage(sExceptionMessage) {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(sExceptionMessage, sizeof(sExceptionMessage), format, arguments);
  va_end(arguments);
}
