// Documents name only what is there.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/HermeticHome.h"

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = LUMIVANE_SOURCE_DIR;

std::vector<fs::path> Documents() {
  std::vector<fs::path> documents;
  for (const fs::path& folder : {kRoot, kRoot / "docs"}) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == ".md") documents.push_back(entry.path());
    }
  }
  return documents;
}

/// All first groups of `pattern` in `text`.
std::vector<std::string> Matches(const std::string& text, const std::regex& pattern) {
  std::vector<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it) {
    found.push_back((*it)[1]);
  }
  return found;
}

TEST(Documents, LinksLeadSomewhere) {
  ASSERT_GE(Documents().size(), 8u);
  const std::regex link(R"(\]\(([^)#]+)(?:#[^)]*)?\))");
  int links = 0;
  for (const fs::path& document : Documents()) {
    for (const std::string& target : Matches(test::ReadFile(document), link)) {
      if (target.find("://") != std::string::npos) continue;
      ++links;
      EXPECT_TRUE(fs::exists(document.parent_path() / target)) << document << " links " << target;
    }
  }
  EXPECT_GT(links, 10);
}

TEST(Documents, PathsInTheTreeExist) {
  // `platform/...`, `sdk/...` and the like in code quotes are paths from the root.
  const std::regex path(
      R"(`((?:CICameraGen|sdk|platform|components|hosts|tests|bench|fuzz|docs|cmake|packaging)/[A-Za-z0-9_./+-]*)`)");
  int paths = 0;
  for (const fs::path& document : Documents()) {
    if (document.filename() == "CHANGELOG.md") continue;  // It tells of what once was.
    for (const std::string& name : Matches(test::ReadFile(document), path)) {
      ++paths;
      const bool exists = fs::exists(kRoot / name) || fs::exists(kRoot / (name + ".h"));
      EXPECT_TRUE(exists) << document << " names " << name;
    }
  }
  EXPECT_GT(paths, 20);
}

}  // namespace
