// Which of the thread sanitizer's reports count.
//
// Of libraries that are built without it, the sanitizer sees some accesses (memcpy, free and their
// like, which it stands in for) but not what orders them: atomic reference counts, futexes. Such an
// access cannot be judged. A report counts when all the accesses in it are those of code that was
// built with the sanitizer, which is the code of the build folder.
#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <cstring>

extern "C" {
int __tsan_get_report_data(void* report, const char** description, int* count, int* stackCount,
                           int* accessCount, int* locationCount, int* mutexCount, int* threadCount,
                           int* uniqueThreadCount, void** sleepTrace, unsigned long traceSize)
    __attribute__((weak));
int __tsan_get_report_stack(void* report, unsigned long index, void** trace,
                            unsigned long traceSize) __attribute__((weak));
int __tsan_get_report_mop(void* report, unsigned long index, int* thread, void** address, int* size,
                          int* write, int* atomic, void** trace, unsigned long traceSize)
    __attribute__((weak));
}

namespace {

constexpr unsigned long kFrames = 16;

// Without a lock of the dynamic loader's: the thread that reports may hold any.
const char* ModuleOf(void* address) {
  dl_find_object found;
  if (_dl_find_object(address, &found) != 0 || found.dlfo_link_map == nullptr) return "";
  return found.dlfo_link_map->l_name;
}

bool IsOurs(const char* module) {
  // The program itself has no name there; all programs that have the sanitizer are ours.
  return *module == '\0' || std::strncmp(module, LUMIVANE_BUILD, std::strlen(LUMIVANE_BUILD)) == 0;
}

/// Whether the first frame that is not the sanitizer's own is.
bool IsOurs(void* const* trace) {
  for (unsigned long i = 0; i < kFrames && trace[i] != nullptr; ++i) {
    const char* const module = ModuleOf(trace[i]);
    if (std::strstr(module, "/libtsan.so") == nullptr) return IsOurs(module);
  }
  return true;
}

bool Counts(void* report) {
  const char* description = nullptr;
  int count = 0;
  int stacks = 0;
  int accesses = 0;
  int other = 0;
  void* sleep[1] = {};
  __tsan_get_report_data(report, &description, &count, &stacks, &accesses, &other, &other, &other,
                         &other, sleep, 1);
  for (int i = 0; i < accesses; ++i) {
    void* trace[kFrames] = {};
    void* address = nullptr;
    __tsan_get_report_mop(report, static_cast<unsigned long>(i), &other, &address, &other, &other,
                          &other, trace, kFrames);
    if (!IsOurs(trace)) return false;
  }
  // What is no race has the places of its locks instead.
  for (int i = 0; accesses == 0 && i < stacks; ++i) {
    void* trace[kFrames] = {};
    __tsan_get_report_stack(report, static_cast<unsigned long>(i), trace, kFrames);
    if (!IsOurs(trace)) return false;
  }
  return true;
}

}  // namespace

namespace __tsan {

class ReportDesc;

/// The sanitizer asks it whether a report is to be left out.
bool OnReport(const ReportDesc* report, bool suppressed);
bool OnReport(const ReportDesc* report, bool suppressed) {
  return suppressed || !Counts(const_cast<ReportDesc*>(report));
}

}  // namespace __tsan
