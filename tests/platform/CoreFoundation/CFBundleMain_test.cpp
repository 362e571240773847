// The main bundle, seen from programs started in every way.
#include <gtest/gtest.h>
#include <stdio.h>

#include <filesystem>
#include <map>
#include <string>

#include "platform/CoreFoundation/CFBundle.h"
#include "platform/CoreFoundation/CFString.h"
#include "tests/support/CFOwned.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/TempBundle.h"

namespace fs = std::filesystem;
using test::TakePath;
using test::TempFolder;

namespace {

const fs::path kProgram = fs::path(TEST_MODULES) / "program";

/// Runs the program from another folder and takes its answers apart.
std::map<std::string, std::string> Answers(const std::string& command) {
  FILE* pipe = popen(("cd / && " + command).c_str(), "r");
  EXPECT_NE(pipe, nullptr);
  std::map<std::string, std::string> answers;
  char line[8192];
  while (fgets(line, sizeof line, pipe) != nullptr) {
    std::string text(line);
    while (text.ends_with('\n')) text.pop_back();
    const std::size_t equal = text.find('=');
    answers[text.substr(0, equal)] = text.substr(equal + 1);
  }
  EXPECT_EQ(pclose(pipe), 0);
  return answers;
}

std::string Quoted(const fs::path& path) {
  return "'" + path.string() + "'";
}

fs::path MakeApplication(const fs::path& path) {
  test::MakeFolderBundle(path, kProgram, test::InfoPlist("program", "org.lumivane.test.app"),
                         "program");
  test::AddResource(path, "text.txt", "text");
  return path / "Contents/Linux/program";
}

void ExpectApplication(std::map<std::string, std::string> answers, const fs::path& path) {
  EXPECT_EQ(answers["identifier"], "org.lumivane.test.app");
  EXPECT_EQ(answers["bundle"], path.string());
  EXPECT_EQ(answers["executable"], (path / "Contents/Linux/program").string());
  EXPECT_EQ(answers["support"], (path / "Contents").string());
  EXPECT_EQ(answers["resources"], (path / "Contents/Resources").string());
  EXPECT_EQ(answers["private"], (path / "Contents/Frameworks").string());
  EXPECT_EQ(answers["shared"], (path / "Contents/SharedFrameworks").string());
  EXPECT_EQ(answers["plugins"], (path / "Contents/PlugIns").string());
  EXPECT_EQ(answers["resource"], (path / "Contents/Resources/text.txt").string());
  EXPECT_EQ(answers["function"], "42");
  EXPECT_EQ(answers["loaded"], "1");
  EXPECT_EQ(answers["mine"], "1");
  EXPECT_EQ(answers["again"], "main") << "created by its path it is the same object";
}

void ExpectBare(std::map<std::string, std::string> answers, const fs::path& executable) {
  EXPECT_EQ(answers["identifier"], "null");
  EXPECT_EQ(answers["bundle"], executable.parent_path().string());
  EXPECT_EQ(answers["executable"], executable.string());
  for (const char* folder : {"support", "resources", "private", "shared", "plugins", "resource"}) {
    EXPECT_EQ(answers[folder], "null") << folder;
  }
  EXPECT_EQ(answers["function"], "42");
  EXPECT_EQ(answers["loaded"], "1");
  EXPECT_EQ(answers["mine"], "1");
  EXPECT_EQ(answers["again"], "null") << "the folder it lies in is no bundle";
}

}  // namespace

TEST(CFBundleMain, IsTheApplicationTheProgramLiesIn) {
  const TempFolder folder;
  const fs::path path = folder / "A Program.app";
  ExpectApplication(Answers(Quoted(MakeApplication(path))), path);
}

TEST(CFBundleMain, IsFoundThroughALink) {
  const TempFolder folder;
  const fs::path path = folder / "Program.app";
  const fs::path executable = MakeApplication(path);
  fs::create_directories(folder / "bin");
  fs::create_symlink(executable, folder / "bin/absolute");
  fs::create_symlink("../Program.app/Contents/Linux/program", folder / "bin/relative");
  fs::create_symlink("relative", folder / "bin/twice");
  for (const char* name : {"absolute", "relative", "twice"}) {
    ExpectApplication(Answers(Quoted(folder / "bin" / name)), path);
  }
  ExpectApplication(Answers("PATH=" + Quoted(folder / "bin") + ":$PATH twice"), path);
  fs::create_directory_symlink(path, folder / "Linked.app");
  ExpectApplication(Answers(Quoted(folder / "Linked.app/Contents/Linux/program")), path);
}

TEST(CFBundleMain, OfABareProgramHasNoFolders) {
  const TempFolder folder;
  test::ReplaceFile(kProgram, folder / "program");
  ExpectBare(Answers(Quoted(folder / "program")), folder / "program");
  fs::create_symlink("program", folder / "link");
  ExpectBare(Answers(Quoted(folder / "link")), folder / "program");
}

TEST(CFBundleMain, NeedsTheWholeFolderStructure) {
  const TempFolder folder;
  for (const char* place :
       {"A.app/Linux/program", "A.app/Contents/program", "NoExtension/Contents/Linux/program"}) {
    test::ReplaceFile(kProgram, folder / place);
    ExpectBare(Answers(Quoted(folder / place)), folder / place);
  }
}

TEST(CFBundleMain, SurvivesAMissingOrBrokenInfoPlist) {
  const TempFolder folder;
  const fs::path path = folder / "A.app";
  const fs::path executable = MakeApplication(path);
  test::WriteFile(path / "Contents/Info.plist", "<plist><dict>");
  auto answers = Answers(Quoted(executable));
  EXPECT_EQ(answers["identifier"], "null");
  EXPECT_EQ(answers["resources"], (path / "Contents/Resources").string());
  fs::remove(path / "Contents/Info.plist");
  answers = Answers(Quoted(executable));
  EXPECT_EQ(answers["identifier"], "null");
  EXPECT_EQ(answers["bundle"], path.string());
}

TEST(CFBundleMain, OfThisTestIsBare) {
  const CFBundleRef main = CFBundleGetMainBundle();
  ASSERT_NE(main, nullptr);
  EXPECT_EQ(CFBundleGetMainBundle(), main);
  EXPECT_EQ(CFBundleGetIdentifier(main), nullptr);
  EXPECT_EQ(TakePath(CFBundleCopyExecutableURL(main)), fs::canonical("/proc/self/exe").string());
  CFRelease(main);
  CFRelease(main);
  EXPECT_EQ(CFBundleGetMainBundle(), main) << "it never dies";
  CFBundleUnloadExecutable(main);
  EXPECT_TRUE(CFBundleIsExecutableLoaded(main));
  EXPECT_NE(CFBundleGetFunctionPointerForName(main, CFSTR("getcwd")), nullptr)
      << "the whole program, the C library included";
}
