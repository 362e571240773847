#include "sdk/CoreX/CoreUserFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/CoreServices/Files.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"

namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr OSType kNoFolderType = 'none';

std::string Line(const std::string& code, const std::string& function) {
  return test::AnyLineNumber(test::VerifyLine(code, "sdk/CoreX/CoreUserFolder", 1, function));
}

std::string FindFolderLine(int error) {
  return test::AnyLineNumber(test::VerifyErrLine(
      error,
      "FSFindFolder(inFindFolderDomain, inFindFolderLocation, kCreateFolder, &foundFolderRef)",
      "sdk/CoreX/CoreUserFolder", 1, "FSRefOfFoundFolder"));
}

/// The line of the reference that was to create the subfolder.
std::string CreateLine(int error) {
  return test::AnyLineNumber(
      test::VerifyErrLine(error, "err", "sdk/CoreX/LFSRef", 1, "CreateFolder"));
}

const std::string kGetFileRefLine =
    Line("FSRefOfFoundFolder(out_file_ref, mFindFolderLocation, mFindFolderDomain, mSubFolderName)",
         "GetFileRef");

std::string PathOf(const FSRef& ref) {
  char path[4096] = "";
  EXPECT_EQ(FSRefMakePath(&ref, reinterpret_cast<UInt8*>(path), sizeof(path)), 0);
  return path;
}

/// A data folder of the test's own, with nothing in it.
class CoreUserFolderTest : public testing::Test {
 protected:
  fs::path components() const { return data_.path() / "lumivane/Components"; }
  std::vector<std::string> Logged() const { return test::AnyLineNumbers(log_.Lines()); }
  void Forget() { log_.Clear(); }

 private:
  test::TempFolder data_;
  test::ScopedVariable variable_{"XDG_DATA_HOME", data_.path()};
  LogCapture log_;
};

TEST_F(CoreUserFolderTest, MakesTheSystemsFolder) {
  ASSERT_FALSE(fs::exists(components()));
  const CoreUserFolder folder(kQuickTimeComponentsFolderType, kUserDomain);
  EXPECT_TRUE(fs::is_directory(components()));
  FSRef ref;
  EXPECT_TRUE(folder.GetFileRef(ref));
  EXPECT_EQ(PathOf(ref), components().string());
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(CoreUserFolderTest, MakesOneSubfolder) {
  const CoreUserFolder folder(
      "S\xC3\xBC"
      "d",
      kQuickTimeComponentsFolderType, kUserDomain);
  EXPECT_TRUE(fs::is_directory(components() / "S\xC3\xBC"
                                              "d"));
  FSRef ref;
  EXPECT_TRUE(folder.GetFileRef(ref));
  EXPECT_EQ(PathOf(ref), (components() / "S\xC3\xBC"
                                         "d")
                             .string());
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(CoreUserFolderTest, TakesASubfolderThatIsThere) {
  test::WriteFile(components() / "Sub/file", "kept");
  const CoreUserFolder folder("Sub", kQuickTimeComponentsFolderType, kUserDomain);
  FSRef ref;
  EXPECT_TRUE(folder.GetFileRef(ref));
  EXPECT_EQ(PathOf(ref), (components() / "Sub").string());
  EXPECT_EQ(test::ReadFile(components() / "Sub/file"), "kept");
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(CoreUserFolderTest, IsTheSystemsFolderForAnEmptyName) {
  const CoreUserFolder folder("", kQuickTimeComponentsFolderType, kUserDomain);
  FSRef ref;
  EXPECT_TRUE(folder.GetFileRef(ref));
  EXPECT_EQ(PathOf(ref), components().string());
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(CoreUserFolderTest, MakesTheFolderAgainWhenItIsGone) {
  const CoreUserFolder folder("Sub", kQuickTimeComponentsFolderType, kUserDomain);
  fs::remove_all(components());
  FSRef ref;
  EXPECT_TRUE(folder.GetFileRef(ref));
  EXPECT_TRUE(fs::is_directory(components() / "Sub"));
}

TEST_F(CoreUserFolderTest, GivesAURLAndAPath) {
  const CoreUserFolder folder("Sub", kQuickTimeComponentsFolderType, kUserDomain);
  CFURLRef url = folder.GetURLRef();
  ASSERT_NE(url, nullptr);
  EXPECT_EQ(CFGetRetainCount(url), 1);
  EXPECT_TRUE(CFURLHasDirectoryPath(url));
  EXPECT_STREQ(CoreUnixPath(url), (components() / "Sub").c_str());
  CFRelease(url);
  CoreUnixPath path("/old");
  EXPECT_TRUE(folder.GetUnixPath(path));
  EXPECT_STREQ(path, (components() / "Sub").c_str());
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(CoreUserFolderTest, LogsAFileInTheSubfoldersPlace) {
  test::WriteFile(components() / "Sub", "a file");
  const std::string create = Line("nestedFolder.CreateFolder()", "FSRefOfFoundFolder");
  const std::string fileRef = Line("GetFileRef(foundFolderRef)", "GetURLRef");
  const CoreUserFolder folder("Sub", kQuickTimeComponentsFolderType, kUserDomain);
  EXPECT_THAT(Logged(), ElementsAre(CreateLine(dupFNErr), create, kGetFileRefLine,
                                    Line("GetFileRef(foundFolderRef)", "CoreUserFolder")));
  Forget();
  FSRef ref;
  EXPECT_FALSE(folder.GetFileRef(ref));
  EXPECT_THAT(Logged(), ElementsAre(CreateLine(dupFNErr), create, kGetFileRefLine));
  Forget();
  EXPECT_EQ(folder.GetURLRef(), nullptr);
  EXPECT_THAT(Logged(), ElementsAre(CreateLine(dupFNErr), create, kGetFileRefLine, fileRef));
  Forget();
  CoreUnixPath path("/old");
  EXPECT_FALSE(folder.GetUnixPath(path));
  EXPECT_STREQ(path, "/old");
  EXPECT_THAT(Logged(), ElementsAre(CreateLine(dupFNErr), create, kGetFileRefLine, fileRef,
                                    Line("urlRef", "GetUnixPath")));
  EXPECT_EQ(test::ReadFile(components() / "Sub"), "a file");
}

TEST_F(CoreUserFolderTest, WorksOnceTheFileIsOutOfTheWay) {
  test::WriteFile(components() / "Sub", "a file");
  const CoreUserFolder folder("Sub", kQuickTimeComponentsFolderType, kUserDomain);
  fs::remove(components() / "Sub");
  Forget();
  FSRef ref;
  EXPECT_TRUE(folder.GetFileRef(ref));
  EXPECT_TRUE(fs::is_directory(components() / "Sub"));
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(CoreUserFolderTest, MakesNoFolderOfSeveralNames) {
  FSRef ref;
  EXPECT_FALSE(
      CoreUserFolder::FSRefOfFoundFolder(ref, kQuickTimeComponentsFolderType, kUserDomain, "a/b"));
  EXPECT_TRUE(fs::is_empty(components()));
  EXPECT_THAT(Logged(), ElementsAre(CreateLine(bdNamErr),
                                    Line("nestedFolder.CreateFolder()", "FSRefOfFoundFolder")));
}

TEST_F(CoreUserFolderTest, MakesNoFolderOfANameThatCannotBe) {
  const std::string tooLong(300, 'x');
  FSRef ref;
  EXPECT_FALSE(CoreUserFolder::FSRefOfFoundFolder(ref, kQuickTimeComponentsFolderType, kUserDomain,
                                                  tooLong.c_str()));
  EXPECT_FALSE(
      CoreUserFolder::FSRefOfFoundFolder(ref, kQuickTimeComponentsFolderType, kUserDomain, "\xFF"));
  EXPECT_FALSE(
      CoreUserFolder::FSRefOfFoundFolder(ref, kQuickTimeComponentsFolderType, kUserDomain, ".."));
  EXPECT_TRUE(fs::is_empty(components()));
}

TEST_F(CoreUserFolderTest, LogsAFolderTheSystemDoesNotHave) {
  const CoreUserFolder folder(kNoFolderType, kUserDomain);
  EXPECT_THAT(Logged(), ElementsAre(FindFolderLine(fnfErr), kGetFileRefLine,
                                    Line("GetFileRef(foundFolderRef)", "CoreUserFolder")));
  FSRef ref;
  std::memset(&ref, 0xAB, sizeof(ref));
  const FSRef untouched = ref;
  EXPECT_FALSE(folder.GetFileRef(ref));
  EXPECT_EQ(std::memcmp(&ref, &untouched, sizeof(ref)), 0);
}

TEST_F(CoreUserFolderTest, LogsAFileInTheSystemsFoldersPlace) {
  test::WriteFile(components(), "a file");
  FSRef ref;
  EXPECT_FALSE(CoreUserFolder::FSRefOfFoundFolder(ref, kQuickTimeComponentsFolderType, kUserDomain,
                                                  nullptr));
  EXPECT_THAT(Logged(), ElementsAre(FindFolderLine(dupFNErr)));
  EXPECT_EQ(test::ReadFile(components()), "a file");
}

}  // namespace
