#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "platform/CoreServices/Files.h"
#include "tests/support/HermeticHome.h"

namespace fs = std::filesystem;

namespace {

FSRef RefOf(const fs::path& path) {
  FSRef ref{};
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), noErr)
      << path;
  return ref;
}

std::string PathOf(const FSRef& ref) {
  UInt8 path[4096];
  const OSStatus error = FSRefMakePath(&ref, path, sizeof path);
  if (error != noErr) return "error " + std::to_string(error);
  return reinterpret_cast<const char*>(path);
}

OSErr Validity(const FSRef& ref) {
  FSCatalogInfo info{};
  return FSGetCatalogInfo(&ref, kFSCatInfoCreateDate, &info, nullptr, nullptr, nullptr);
}

TEST(FileReferences, FollowsRenameInItsFolderMadeBehindItsBack) {
  const test::TempFolder folder;
  test::WriteFile(folder / "a", "text");
  const FSRef ref = RefOf(folder / "a");
  EXPECT_EQ(PathOf(ref), (folder / "a").string());
  fs::rename(folder / "a", folder / "b");
  EXPECT_EQ(Validity(ref), noErr);
  EXPECT_EQ(PathOf(ref), (folder / "b").string());
}

TEST(FileReferences, FailsOnceItsObjectIsGoneOrReplaced) {
  const test::TempFolder folder;
  for (int round = 0; round < 50; ++round) {
    test::WriteFile(folder / "a", "text");
    const FSRef ref = RefOf(folder / "a");
    fs::remove(folder / "a");
    EXPECT_EQ(Validity(ref), fnfErr);
    test::WriteFile(folder / "a", "text");  // on many file systems it gets the same inode
    EXPECT_EQ(Validity(ref), fnfErr);
    fs::remove(folder / "a");
  }
}

TEST(FileReferences, ZeroRefersToNothing) {
  EXPECT_EQ(Validity(FSRef{}), errFSBadFSRef);
}

TEST(FileReferences, RootAndFolders) {
  const FSRef root = RefOf("/");
  EXPECT_EQ(PathOf(root), "/");
  Boolean isFolder = 0;
  FSRef ref{};
  const test::TempFolder folder;
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(folder.path().c_str()), &ref, &isFolder),
            noErr);
  EXPECT_TRUE(isFolder);
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>((folder / "none").c_str()), &ref, nullptr),
            fnfErr);
}

TEST(FileReferences, FindFolderCreatesOnlyWhenAsked) {
  FSRef ref{};
  fs::remove_all(test::UserComponents());
  EXPECT_EQ(FSFindFolder(kUserDomain, 'wcmp', kDontCreateFolder, &ref), fnfErr);
  EXPECT_FALSE(fs::exists(test::UserComponents()));
  EXPECT_EQ(FSFindFolder(kUserDomain, 'wcmp', kCreateFolder, &ref), noErr);
  EXPECT_EQ(PathOf(ref), test::UserComponents().string());
  fs::remove_all(test::UserComponents());
}

}  // namespace
