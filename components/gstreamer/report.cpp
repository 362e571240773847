#include "components/gstreamer/report.h"

#include <syslog.h>

#include <cstdio>

namespace gstcamera {

void WriteToLog(const std::string& text) {
  const std::string line = "LumivaneXXX.component: " + text;
  std::fprintf(stderr, "%s\n", line.c_str());
  // A host may have no visible standard error; its own name stands in the system's log.
  syslog(LOG_USER | LOG_WARNING, "%s", line.c_str());
}

void Reporter::Once(const std::string& text) {
  // Texts that never repeat must not pile up in a program that runs for months.
  if (written_.size() >= kMostRemembered) written_.clear();
  if (written_.insert(text).second) WriteToLog(text);
}

bool Reporter::Forget() {
  const bool any = !written_.empty();
  written_.clear();
  return any;
}

}  // namespace gstcamera
