// One line of progress on standard error, only where a person is watching.
#pragma once

#include <string>

namespace lumivane {

class Progress {
 public:
  /// Shows nothing when standard error is no terminal or `quiet` is set.
  explicit Progress(bool quiet);
  /// Clears the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Replaces the line; `text` is one line without control characters. Rate-limited to ten a
  /// second.
  void Show(const std::string& text);
  /// Takes the line away, before other text is written.
  void Clear();

 private:
  bool active_;
  bool shown_ = false;
  double last_ = -1;
};

/// Seconds of a clock that never goes back.
double MonotonicSeconds();

}  // namespace lumivane
