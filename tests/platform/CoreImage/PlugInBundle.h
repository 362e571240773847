// Plug-in bundles of the tests.
#pragma once

#include <filesystem>
#include <string>

#include "tests/support/TempBundle.h"

namespace test {

inline std::string PlistText(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + body +
         "</dict></plist>\n";
}

/// The filter list entry of a filter `name` made by `className` (empty: not said).
inline std::string FilterEntry(const std::string& name, const std::string& className = "",
                               const std::string& attributes = "") {
  const std::string classEntry =
      className.empty() ? "" : "<key>CIFilterClass</key><string>" + className + "</string>";
  return "<key>" + name + "</key><dict>" + classEntry +
         (attributes.empty() ? ""
                             : "<key>CIFilterAttributes</key><dict>" + attributes + "</dict>") +
         "</dict>";
}

inline std::string PlugInPlist(const std::string& filters,
                               const std::string& principal = "CITestLoader") {
  return PlistText(
      (principal.empty() ? "" : "<key>NSPrincipalClass</key><string>" + principal + "</string>") +
      "<key>CIPlugInDisplayName</key><string>Test Plug-In</string>"
      "<key>CIPlugInVersion</key><string>1.2</string>"
      "<key>CIPlugInFilterList</key><dict>" +
      filters + "</dict>");
}

/// The usual one: CITestGenerator in two categories.
inline std::string GoodPlist() {
  return PlugInPlist(FilterEntry(
      "CITestGenerator", "CITestGenerator",
      "<key>CIAttributeFilterDisplayName</key><string>Test Generator</string>"
      "<key>CIAttributeFilterCategories</key><array><string>CICategoryGenerator</string>"
      "<string>CICategoryVideo</string></array>"));
}

}  // namespace test
