#include "hosts/lumivane/Completions.h"

namespace lumivane {

std::string ShellQuoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') {
      out += "'\\''";
    } else {
      out += c;
    }
  }
  return out + "'";
}

std::string Brief(const std::string& help) {
  return help.substr(0, std::min(help.find("; "), help.find(". ")));
}

}  // namespace lumivane
