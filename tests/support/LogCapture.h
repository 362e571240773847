// What the code under test writes to the debug log.
#pragma once

#include <string>
#include <vector>

namespace test {

/// Collects the lines appended to the product's log file from construction on. One at a time.
class LogCapture {
 public:
  LogCapture();
  /// Everything logged since construction or the last `Clear`.
  std::string Text() const;
  /// The same, split at line ends; a trailing empty line is dropped.
  std::vector<std::string> Lines() const;
  void Clear();

 private:
  std::string file_;
  std::size_t start_ = 0;
};

/// The line a failed check logs: VerifyLine("x", "sdk/CoreX/File", 12, "Function") is
/// "VERIFY FAILED:  code : x in sdk/CoreX/File:12 (Function)".
std::string VerifyLine(const std::string& code, const std::string& source, int line,
                       const std::string& function);
/// The same for an OS error.
std::string VerifyErrLine(int error, const std::string& code, const std::string& source, int line,
                          const std::string& function);

/// `line` with its ":NUMBER (" replaced by ":* (": for checks whose line number is just where the
/// code happens to stand.
std::string AnyLineNumber(const std::string& line);
std::vector<std::string> AnyLineNumbers(const std::vector<std::string>& lines);

}  // namespace test
