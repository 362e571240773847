// What the tests of references, specifications, aliases and forks share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/platform/CoreServices/FileTesting.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"

namespace test {

/// A folder of the test's own, and what is logged meanwhile.
class FileRefTest : public testing::Test {
 protected:
  std::filesystem::path folder() const { return folder_.path(); }
  std::string Path(const std::string& name) const { return (folder_.path() / name).string(); }
  std::vector<std::string> Logged() const { return AnyLineNumbers(log_.Lines()); }
  void Forget() { log_.Clear(); }

 private:
  TempFolder folder_;
  LogCapture log_;
};

/// A failed check's line, whatever its number.
inline std::string CheckLine(const std::string& code, const std::string& source,
                             const std::string& function) {
  return AnyLineNumber(VerifyLine(code, "sdk/CoreX/" + source, 1, function));
}
inline std::string CheckErrLine(int error, const std::string& code, const std::string& source,
                                const std::string& function) {
  return AnyLineNumber(VerifyErrLine(error, code, "sdk/CoreX/" + source, 1, function));
}

inline std::string TextOfPascal(const unsigned char* pascal) {
  return {reinterpret_cast<const char*>(pascal + 1), pascal[0]};
}

}  // namespace test
