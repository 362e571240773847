#include "tests/sdk/CoreX/ToolkitProbe.h"

#include <atomic>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CoreSystem.h"
#include "sdk/CoreX/RowThreads.h"
#include "sdk/CoreX/T_CFString.h"

namespace {
// Kept for as long as the module lives: the log borrows its names.
std::string& FileName() {
  static std::string name;
  return name;
}
std::string& Prefix() {
  static std::string prefix;
  return prefix;
}
}  // namespace

void probe_log_set_file_name(const char* name) {
  FileName() = name;
  g_CoreMachDebug_LogFileName = FileName().c_str();
}

void probe_log_set_prefix(const char* prefix) {
  Prefix() = prefix;
  g_CoreMachDebug_LogPrefix = Prefix().c_str();
}

void probe_log_set_output(int output) {
  CoreMachDebugLogSetUseLogger(static_cast<kCoreLogOutput>(output));
}

bool probe_log_initialize() {
  return CoreMachDebugLogClassInitialize();
}

void probe_log_string(const char* text) {
  CoreMachDebugLogString(text);
}

void probe_log_verify() {
  const bool probe_is_well = false;
  VERIFY_AT(46, probe_is_well);
}

const char* probe_log_file_path() {
  return CoreMachDebugLogFilePath();
}

void probe_throw_type_exception() {
  CFTypeRefClass::ThrowIfNotTypeMatch(CFSTR("text"), CFNumberGetTypeID());
}

void probe_throw_core_exception() {
  throw CoreException("OSErr: %d", -43);
}

bool probe_use_system_framework() {
  char path[4096];
  return SystemFramework::getcwd(path, sizeof(path)) == path && path[0] == '/';
}

int probe_work_with_threads(unsigned threads) {
  RowThreads::SetCount(threads);
  std::atomic<int> rows{0};
  RowThreads::ForRows(64, RowThreads::kThreshold,
                      [&](int first, int last) { rows += last - first; });
  return rows;
}
