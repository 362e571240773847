// Messages for people: on standard error and in the system's log, each cause once.
#pragma once

#include <set>
#include <string>

namespace gstcamera {

/// One line, "LumivaneXXX.component: " and the text, to both places.
void WriteToLog(const std::string& text);

class Reporter {
 public:
  /// Writes the text unless it has been written since the last Forget. For one thread at a time.
  void Once(const std::string& text);
  /// What went wrong is over: the next time is news again. True when anything had been written.
  bool Forget();

 private:
  static constexpr std::size_t kMostRemembered = 64;
  std::set<std::string> written_;
};

}  // namespace gstcamera
