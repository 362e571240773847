#include "sdk/CoreX/Carb_FSRef_inlines.h"

#include "tests/sdk/CoreX/FileRefTesting.h"

namespace {

namespace fs = std::filesystem;
using test::Pascal;
using test::PathOf;
using test::RefOf;
using testing::IsEmpty;

class FSRefFunctions : public test::FileRefTest {};

TEST_F(FSRefFunctions, SplitPathsAtTheDeepestFolderThatExists) {
  fs::create_directories(Path("a/b"));
  test::WriteFile(Path("a/file"), "x");
  const struct {
    const char* path;
    const char* anchor;
    const char* latent;
  } cases[] = {
      {"a", "", "a"},        {"a/", "a", ""},         {"a/b", "a", "b"},
      {"a/b/", "a/b", ""},   {"a/file", "a", "file"}, {"a/x", "a", "x"},
      {"a/x/y", "a", "x/y"}, {"a/x/y/", "a", "x/y/"}, {"a/./b", "a", "b"},
      {"a/../a", "", "a"},   {"a/b/..", "a/b", ".."}, {"x/../a", "", "x/../a"},
      {"a//b", "a", "/b"},   {"a/b/.", "a/b", "."},
  };
  for (const auto& [path, anchor, latent] : cases) {
    SCOPED_TRACE(path);
    FSRef ref = {};
    std::string rest;
    EXPECT_TRUE(bool_FSRef_MakeLatentFromPath(Path(path).c_str(), ref, rest));
    EXPECT_EQ(PathOf(ref), anchor[0] != '\0' ? Path(anchor) : folder().string());
    EXPECT_EQ(rest, latent);
  }
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(FSRefFunctions, LeaveOutputsOnFailure) {
  FSRef ref = RefOf(folder());
  std::string rest = "old";
  EXPECT_FALSE(bool_FSRef_MakeLatentFromPath("no such folder/x", ref, rest));
  EXPECT_EQ(rest, "old");
  EXPECT_EQ(PathOf(ref), folder().string());
  std::string path = "old";
  EXPECT_FALSE(bool_FSRef_GetUnixPath(FSRef{}, path));
  EXPECT_EQ(path, "old");
  EXPECT_FALSE(bool_FSRef_IsFolder(FSRef{}));
  FInfo info;
  EXPECT_FALSE(bool_FSRef_GetFinderInfo(FSRef{}, info));
  EXPECT_FALSE(bool_FSRef_SetFinderInfo(FSRef{}, FInfo{}));
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(FSRefFunctions, KeepFinderInformation) {
  test::WriteFile(Path("file"), "x");
  const FSRef file = RefOf(Path("file"));
  EXPECT_TRUE(bool_FSRef_SetFinderInfo(file, {'TEXT', 'ttxt', kIsInvisible, {1, 2}, 0}));
  FInfo info = {};
  EXPECT_TRUE(bool_FSRef_GetFinderInfo(file, info));
  EXPECT_EQ(info.fdType, OSType{'TEXT'});
  EXPECT_EQ(info.fdCreator, OSType{'ttxt'});
  EXPECT_EQ(info.fdFlags, kIsInvisible);
  EXPECT_EQ(info.fdLocation.h, 2);
}

TEST_F(FSRefFunctions, GoToNumbersAndBack) {
  fs::create_directory(Path("sub"));
  test::WriteFile(Path("sub/file"), "x");
  FSSpec sub = {};
  FSSpec file = {};
  const FSRef subRef = RefOf(Path("sub"));
  const FSRef fileRef = RefOf(Path("sub/file"));
  ASSERT_EQ(FSGetCatalogInfo(&subRef, 0, nullptr, nullptr, &sub, nullptr), noErr);
  ASSERT_EQ(FSGetCatalogInfo(&fileRef, 0, nullptr, nullptr, &file, nullptr), noErr);
  SInt16 volume = 0;
  SInt32 number = 0;
  bool isFolder = false;
  FSRef back;
  EXPECT_TRUE(bool_FSSpec_GetVolumeFolderID(sub, volume, number, &isFolder));
  EXPECT_TRUE(isFolder);
  EXPECT_EQ(number, file.parID);
  EXPECT_TRUE(bool_FSRef_ConstructVolumeFolderName(back, volume, number));
  EXPECT_EQ(PathOf(back), Path("sub"));
  EXPECT_TRUE(bool_FSRef_ConstructVolumeFolderName(back, volume, number, Pascal("file")));
  EXPECT_EQ(PathOf(back), Path("sub/file"));
  EXPECT_FALSE(bool_FSRef_ConstructVolumeFolderName(back, volume, number, Pascal("missing")));
  EXPECT_TRUE(bool_FSSpec_GetVolumeFolderID(file, volume, number, &isFolder));
  EXPECT_FALSE(isFolder);
  EXPECT_EQ(number, file.parID);
  file.parID = 0x7FFFFFFF;
  file.vRefNum = 99;
  EXPECT_FALSE(bool_FSSpec_GetVolumeFolderID(file, volume, number, nullptr));
}

TEST_F(FSRefFunctions, KnowACutName) {
  EXPECT_TRUE(bool_UnicodeName_IsWhole(test::Units(u"abc"), "abc"));
  EXPECT_FALSE(bool_UnicodeName_IsWhole(test::Units(u"ab"), "abc"));
  EXPECT_TRUE(bool_UnicodeName_IsWhole(test::Units(u"\u00E9\u20AC"), "\xC3\xA9\xE2\x82\xAC"));
  EXPECT_TRUE(bool_UnicodeName_IsWhole(test::Units(u"\U0001F600"), "\xF0\x9F\x98\x80"));
  EXPECT_FALSE(bool_UnicodeName_IsWhole(test::Units(u"x"), "\xF0\x9F\x98\x80"));
}

}  // namespace
