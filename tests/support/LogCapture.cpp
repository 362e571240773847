#include "tests/support/LogCapture.h"

#include <regex>
#include <sstream>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "tests/support/HermeticHome.h"

namespace test {

LogCapture::LogCapture() {
  const std::string name = g_CoreMachDebug_LogFileName;
  file_ = (LogsFolder() / (name.empty() ? "CoreConsole.log" : name)).string();
  Clear();
}

std::string LogCapture::Text() const {
  const std::string all = ReadFile(file_);
  return all.size() > start_ ? all.substr(start_) : std::string();
}

std::vector<std::string> LogCapture::Lines() const {
  std::vector<std::string> lines;
  std::istringstream in(Text());
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void LogCapture::Clear() {
  start_ = ReadFile(file_).size();
}

std::string VerifyLine(const std::string& code, const std::string& source, int line,
                       const std::string& function) {
  return "VERIFY FAILED:  code : " + code + " in " + source + ":" + std::to_string(line) + " (" +
         function + ")";
}

std::string VerifyErrLine(int error, const std::string& code, const std::string& source, int line,
                          const std::string& function) {
  return "VERIFY_ERR FAILED: OSErr:" + std::to_string(error) + "  code : " + code + " in " +
         source + ":" + std::to_string(line) + " (" + function + ")";
}

std::string AnyLineNumber(const std::string& line) {
  static const std::regex kNumber(R"(:\d+ \()");
  return std::regex_replace(line, kNumber, ":* (");
}

std::vector<std::string> AnyLineNumbers(const std::vector<std::string>& lines) {
  std::vector<std::string> out;
  for (const std::string& line : lines) out.push_back(AnyLineNumber(line));
  return out;
}

}  // namespace test
