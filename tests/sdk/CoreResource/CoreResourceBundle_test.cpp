#include "sdk/CoreResource/CoreResourceBundle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "sdk/CoreX/CoreBaseDLL.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempBundle.h"

namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kSource[] = "sdk/CoreResource/CoreResourceBundle";
const std::string kUser = " 10";
const std::string kLocal = " 8";

const std::string kNoResourceLine = test::VerifyLine(
    "result = CFBundleCopyResourceURL(CFBundleGetMainBundle(),resourceFileName, inFileExtension, "
    "NULL)",
    kSource, 14, "BUNDLE_resource_url");

/// An application with the bundle among its resources, and a user's components folder.
class ResourceBundle : public testing::Test {
 protected:
  ResourceBundle() {
    test::MakeFolderBundle(app(), TEST_APPLICATION,
                           test::InfoPlist("application", "org.lumivane.Test.App"), "application");
    test::MakeFolderBundle(resource(), TEST_COMPONENT);
    fs::create_directories(test::UserComponents());
  }
  ~ResourceBundle() override {
    fs::remove_all(test::UserComponents());
    fs::remove_all(test::LocalComponents());
  }

  fs::path app() const { return folder_ / "Test App.app"; }
  fs::path resource() const { return app() / "Contents/Resources/LumivaneTest.component"; }
  static fs::path place() { return test::UserComponents() / "LumivaneTest.component"; }

  /// The lines the application prints.
  std::vector<std::string> Run(const std::string& arguments) const {
    return RunProgram(app() / "Contents/Linux/application", arguments);
  }
  static std::vector<std::string> RunProgram(const fs::path& program,
                                             const std::string& arguments) {
    FILE* pipe = popen(("'" + program.string() + "' " + arguments).c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::vector<std::string> lines;
    char line[4096];
    while (fgets(line, sizeof(line), pipe) != nullptr) {
      lines.emplace_back(line);
      lines.back().pop_back();
    }
    EXPECT_EQ(pclose(pipe), 0);
    return lines;
  }

 private:
  test::TempFolder folder_;
};

TEST_F(ResourceBundle, IsFoundAmongTheMainBundlesResources) {
  const LogCapture log;
  test::AddResource(app(), "b\xC3\xA4r.txt", "text");
  EXPECT_THAT(
      Run("resource LumivaneTest component resource b\xC3\xA4r txt"),
      ElementsAre(resource().string(), (app() / "Contents/Resources/b\xC3\xA4r.txt").string()));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, LogsAResourceThatIsNotThere) {
  const LogCapture log;
  EXPECT_THAT(Run("resource Nothing component"), ElementsAre("null"));
  EXPECT_THAT(log.Lines(), ElementsAre(kNoResourceLine));
}

TEST_F(ResourceBundle, LogsANameThatIsNoText) {
  const LogCapture log;
  const std::string line = test::VerifyLine("resourceFileName", kSource, 12, "BUNDLE_resource_url");
  EXPECT_EQ(BUNDLE_resource_url("\xFF", CFSTR("component")), nullptr);
  EXPECT_EQ(BUNDLE_resource_url(nullptr, CFSTR("component")), nullptr);
  EXPECT_THAT(log.Lines(), ElementsAre(line, line));
}

TEST_F(ResourceBundle, IsNotFoundInABareProgram) {
  const LogCapture log;
  CoreResourceBundle bundle(CFSTR("LumivaneTest.component"), "LumivaneTest");
  EXPECT_FALSE(bundle.InstallLocation(1, CFBaseDLL::kLocationUserComponents));
  EXPECT_FALSE(bundle.InstallLocation(0, CFBaseDLL::kLocationUserComponents));
  EXPECT_THAT(log.Lines(), ElementsAre(kNoResourceLine, kNoResourceLine));
}

TEST_F(ResourceBundle, IsInstalledNowhereByItself) {
  const CoreResourceBundle bundle(CFSTR("LumivaneTest.component"), "LumivaneTest");
  EXPECT_FALSE(bundle.AlreadyInstalledSomewhere());
  static_assert(std::has_virtual_destructor_v<CoreResourceBundle>);
}

TEST_F(ResourceBundle, IsInstalledByALink) {
  const LogCapture log;
  EXPECT_THAT(Run("install" + kUser), ElementsAre("true"));
  EXPECT_TRUE(fs::is_symlink(place()));
  EXPECT_EQ(fs::read_symlink(place()), resource());
  EXPECT_THAT(Run("load" + kUser), ElementsAre("true"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, ReplacesNothingWhenInstalled) {
  const LogCapture log;
  test::WriteFile(place(), "another's");
  EXPECT_THAT(Run("install" + kUser), ElementsAre("false"));
  EXPECT_EQ(test::ReadFile(place()), "another's");
  fs::remove(place());
  EXPECT_THAT(Run("install" + kUser + " install" + kUser), ElementsAre("true", "false"));
  EXPECT_EQ(fs::read_symlink(place()), resource());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, ReplacesNoDanglingLinkWhenInstalled) {
  const LogCapture log;
  fs::create_symlink("/nothing/there", place());
  EXPECT_THAT(Run("install" + kUser), ElementsAre("false"));
  EXPECT_EQ(fs::read_symlink(place()), "/nothing/there");
  EXPECT_THAT(
      test::AnyLineNumbers(log.Lines()),
      ElementsAre(test::AnyLineNumber(test::VerifyLine(
          "fOk = (0==posix_result)", "sdk/CoreX/CoreUnixPath", 1, "MakeSymbolicLinkFromTo"))));
}

TEST_F(ResourceBundle, IsNotInstalledTwice) {
  const LogCapture log;
  EXPECT_THAT(Run("installed install" + kUser), ElementsAre("true"));
  EXPECT_FALSE(fs::exists(place()));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, IsNotInstalledWithoutAFolder) {
  const LogCapture log;
  EXPECT_THAT(Run("install" + kLocal), ElementsAre("false"));
  EXPECT_FALSE(fs::exists(test::LocalComponents()));
  // The folder, the path that there is no URL for, and the link that has no place.
  EXPECT_THAT(log.Lines(), ElementsAre(testing::StartsWith("VERIFY_ERR FAILED: OSErr:-43"),
                                       testing::HasSubstr(" code : unix_file_url in "),
                                       testing::HasSubstr(" code : fOk = (0==posix_result) in ")));
}

TEST_F(ResourceBundle, IsInstalledWhereALocationIsWritable) {
  fs::create_directories(test::LocalComponents());
  EXPECT_THAT(Run("install" + kLocal), ElementsAre("true"));
  EXPECT_TRUE(fs::is_symlink(test::LocalComponents() / "LumivaneTest.component"));
}

TEST_F(ResourceBundle, NeedsItsResourceToBeInstalledOrUninstalled) {
  Run("install" + kUser);
  fs::remove_all(resource());
  LogCapture log;
  EXPECT_THAT(Run("uninstall" + kUser + " install" + kUser), ElementsAre("false", "false"));
  EXPECT_TRUE(fs::is_symlink(place()));
  EXPECT_THAT(log.Lines(), ElementsAre(kNoResourceLine, kNoResourceLine));
}

TEST_F(ResourceBundle, NeedsAFileName) {
  const LogCapture log;
  EXPECT_THAT(Run("unnamed install" + kUser + " uninstall" + kUser), ElementsAre("false", "false"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, IsUninstalledByRemovingTheLink) {
  const LogCapture log;
  EXPECT_THAT(Run("install" + kUser + " uninstall" + kUser), ElementsAre("true", "true"));
  EXPECT_FALSE(fs::is_symlink(place()));
  EXPECT_TRUE(fs::exists(resource()));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, IsUnloadedWhenUninstalled) {
  EXPECT_THAT(Run("install" + kUser + " load" + kUser + " loaded uninstall" + kUser + " loaded"),
              ElementsAre("true", "true", "true", "true", "false"));
  // Also where nothing is installed.
  EXPECT_THAT(Run("install" + kUser + " load" + kUser + " uninstall" + kLocal + " loaded"),
              ElementsAre("true", "true", "false", "false"));
}

TEST_F(ResourceBundle, IsNotUninstalledWhereNothingIs) {
  const LogCapture log;
  EXPECT_THAT(Run("uninstall" + kUser), ElementsAre("false"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, LeavesADanglingLinkAlone) {
  const LogCapture log;
  fs::create_symlink("/nothing/there", place());
  EXPECT_THAT(Run("uninstall" + kUser), ElementsAre("false"));
  EXPECT_TRUE(fs::is_symlink(place()));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, LogsAFolderInTheLinksPlace) {
  fs::create_directories(place() / "Contents");
  const LogCapture log;
  EXPECT_THAT(Run("uninstall" + kUser), ElementsAre("false"));
  EXPECT_TRUE(fs::exists(place() / "Contents"));
  EXPECT_THAT(test::AnyLineNumbers(log.Lines()),
              ElementsAre(test::AnyLineNumber(test::VerifyLine(
                  "fOk = (0==unlink(in_path))", "sdk/CoreX/CoreUnixPath", 1, "FileDelete"))));
}

TEST_F(ResourceBundle, LiesInAnApplicationWithFoldersOfItsOwn) {
  const LogCapture log;
  const std::string contents = (app() / "Contents").string();
  EXPECT_THAT(Run("location 0 location 3 location 4 location 5 location 6 location 7"),
              ElementsAre(contents + "/Linux/Name.ext", contents + "/Frameworks/Name.ext",
                          contents + "/SharedFrameworks/Name.ext", contents + "/Resources/Name.ext",
                          contents + "/PlugIns/Name.ext", contents + "/Name.ext"));
  EXPECT_THAT(Run("location 11"), ElementsAre("null"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, MayEndItsApplicationWithAFrameworkLoaded) {
  // The static loader unloads it while the program ends; Run checks how that went.
  const LogCapture log;
  test::InstallSystemFramework();
  EXPECT_THAT(Run("system"), ElementsAre("true"));
  test::RemoveSystemFramework();
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ResourceBundle, KnowsItsApplicationInAList) {
  EXPECT_THAT(Run("member org.lumivane.Test.App"), ElementsAre("true"));
  EXPECT_THAT(Run("member org.other ORG.LUMIVANE.test.app org.third"), ElementsAre("true"));
  EXPECT_THAT(Run("member org.lumivane.Test org.lumivane.Test.App2"), ElementsAre("false"));
  EXPECT_THAT(Run("member"), ElementsAre("false"));
}

TEST(CoreBundleyes, NeverHasABareProgram) {
  const CFStringRef list[] = {CFSTR(""), CFSTR("org.lumivane.camera"), CoreBundleyes::kEndOfList};
  const CoreBundleyes bundles(list);
  EXPECT_FALSE(bundles.IsMember());
  EXPECT_FALSE(bundles.IsMainMember());
  const CFStringRef empty[] = {CoreBundleyes::kEndOfList};
  EXPECT_FALSE(CoreBundleyes(empty).IsMainMember());
  EXPECT_EQ(CoreBundleyes::kEndOfList, nullptr);
}

}  // namespace
