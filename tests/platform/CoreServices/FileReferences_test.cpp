#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/CoreServices/FileReference.h"
#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

/// Bounds the table of references for a test.
class SmallTable {
 public:
  explicit SmallTable(std::size_t entries) { lumivane::files::SetReferenceTableLimit(entries); }
  ~SmallTable() { lumivane::files::SetReferenceTableLimit(32768); }
};

/// Pushes everything that was not used lately out of a small table.
void Flood(const fs::path& folder, int count) {
  fs::create_directories(folder);
  for (int i = 0; i < count; ++i) {
    const fs::path file = folder / std::to_string(i);
    WriteFile(file, "");
    RefOf(file);
  }
}

TEST(FileReferences, FollowsRenameInItsFolderMadeBehindItsBack) {
  const TempFolder folder;
  WriteFile(folder / "a", "text");
  const FSRef ref = RefOf(folder / "a");
  EXPECT_EQ(PathOf(ref), (folder / "a").string());
  fs::rename(folder / "a", folder / "b");
  EXPECT_EQ(Validity(ref), noErr);
  EXPECT_EQ(PathOf(ref), (folder / "b").string());
  WriteFile(folder / "a", "another");
  EXPECT_EQ(PathOf(ref), (folder / "b").string());
}

TEST(FileReferences, FollowsFoldersAboveRenamedBehindItsBack) {
  const TempFolder folder;
  fs::create_directories(folder / "x/y/z");
  WriteFile(folder / "x/y/z/file", "text");
  const FSRef ref = RefOf(folder / "x/y/z/file");
  fs::rename(folder / "x/y", folder / "x/Y");
  fs::rename(folder / "x", folder / "X");
  fs::rename(folder / "X/Y/z/file", folder / "X/Y/z/File");
  EXPECT_EQ(PathOf(ref), (folder / "X/Y/z/File").string());
  fs::create_directories(folder / "x/y/z");
  WriteFile(folder / "x/y/z/file", "another");
  EXPECT_EQ(PathOf(ref), (folder / "X/Y/z/File").string());
}

TEST(FileReferences, FailsOnceItsObjectIsGoneOrReplaced) {
  const TempFolder folder;
  for (int round = 0; round < 50; ++round) {
    WriteFile(folder / "a", "text");
    const FSRef ref = RefOf(folder / "a");
    fs::remove(folder / "a");
    EXPECT_EQ(Validity(ref), fnfErr);
    WriteFile(folder / "a", "text");  // on many file systems it gets the same inode
    EXPECT_EQ(Validity(ref), fnfErr);
    WriteFile(folder / "b", "text");
    fs::rename(folder / "b", folder / "a");
    EXPECT_EQ(Validity(ref), fnfErr);
    fs::remove(folder / "a");
  }
}

TEST(FileReferences, MovesThroughTheLayerKeepEveryReferenceBelow) {
  const TempFolder folder;
  fs::create_directories(folder / "from/deep");
  fs::create_directories(folder / "to");
  WriteFile(folder / "from/deep/file", "text");
  const FSRef moved = RefOf(folder / "from");
  const FSRef deep = RefOf(folder / "from/deep");
  const FSRef file = RefOf(folder / "from/deep/file");
  const FSRef copy = file;
  const FSRef to = RefOf(folder / "to");
  FSRef after{};
  ASSERT_EQ(FSMoveObject(&moved, &to, &after), noErr);
  EXPECT_EQ(PathOf(after), (folder / "to/from").string());
  EXPECT_EQ(PathOf(file), (folder / "to/from/deep/file").string());
  ASSERT_EQ(Rename(moved, u"new"), noErr);
  EXPECT_EQ(PathOf(copy), (folder / "to/new/deep/file").string());
  EXPECT_EQ(PathOf(deep), (folder / "to/new/deep").string());
  // The file itself to another folder: old references follow.
  ASSERT_EQ(FSMoveObject(&file, &to, nullptr), noErr);
  EXPECT_EQ(PathOf(copy), (folder / "to/file").string());
  // And a rename behind its back there.
  fs::rename(folder / "to/file", folder / "to/FILE");
  EXPECT_EQ(PathOf(copy), (folder / "to/FILE").string());
}

TEST(FileReferences, MovedBackAndForthStaysOneEntry) {
  const TempFolder folder;
  fs::create_directories(folder / "a");
  fs::create_directories(folder / "b");
  WriteFile(folder / "a/file", "text");
  const FSRef a = RefOf(folder / "a");
  const FSRef b = RefOf(folder / "b");
  const FSRef ref = RefOf(folder / "a/file");
  const std::size_t before = lumivane::files::ReferenceTableSize();
  for (int round = 0; round < 100; ++round) {
    ASSERT_EQ(FSMoveObject(&ref, &b, nullptr), noErr);
    ASSERT_EQ(Rename(ref, u"name " + std::u16string(1, static_cast<char16_t>(u'0' + round % 10))),
              noErr);
    ASSERT_EQ(FSMoveObject(&ref, &a, nullptr), noErr);
  }
  EXPECT_EQ(PathOf(ref), (folder / "a/name 9").string());
  EXPECT_LE(lumivane::files::ReferenceTableSize(), before + 1);
}

TEST(FileReferences, TableStaysBoundedAndReferencesStayGood) {
  const SmallTable small(64);
  const TempFolder folder;
  fs::create_directories(folder / "one/two/three");
  WriteFile(folder / "one/two/three/file", "text");
  const FSRef file = RefOf(folder / "one/two/three/file");
  const FSRef deep = RefOf(folder / "one/two/three");
  Flood(folder / "flood", 500);
  EXPECT_LE(lumivane::files::ReferenceTableSize(), 64u);
  EXPECT_EQ(PathOf(file), (folder / "one/two/three/file").string());
  Flood(folder / "flood", 500);
  fs::rename(folder / "one/two", folder / "one/2");
  EXPECT_EQ(PathOf(deep), (folder / "one/2/three").string());
  Flood(folder / "flood", 500);
  EXPECT_EQ(PathOf(file), (folder / "one/2/three/file").string());
  fs::remove_all(folder / "one");
  EXPECT_EQ(Validity(file), fnfErr);
}

TEST(FileReferences, CreatingAndDeletingForLongLeavesNothing) {
  const TempFolder folder;
  const FSRef parent = RefOf(folder.path());
  const std::size_t before = lumivane::files::ReferenceTableSize();
  for (int i = 0; i < 300; ++i) {
    FSRef ref{};
    ASSERT_EQ(CreateFile(parent, u"file", &ref), noErr);
    ASSERT_EQ(FSDeleteObject(&ref), noErr);
    ASSERT_EQ(Validity(ref), fnfErr);
  }
  EXPECT_LE(lumivane::files::ReferenceTableSize(), before + 1);
}

TEST(FileReferences, DeeperThanTheTrail) {
  const SmallTable small(64);
  const TempFolder folder;
  fs::path path = folder.path();
  for (int i = 0; i < 24; ++i) path /= "level";
  fs::create_directories(path);
  WriteFile(path / "file", "text");
  const FSRef file = RefOf(path / "file");
  Flood(folder / "flood", 200);
  EXPECT_EQ(PathOf(file), (path / "file").string());
}

TEST(FileReferences, HardLinksKeepTheirOwnName) {
  const TempFolder folder;
  fs::create_directories(folder / "other");
  WriteFile(folder / "a", "text");
  fs::create_hard_link(folder / "a", folder / "b");
  fs::create_hard_link(folder / "a", folder / "other/c");
  const FSRef a = RefOf(folder / "a");
  const FSRef b = RefOf(folder / "b");
  const FSRef c = RefOf(folder / "other/c");
  EXPECT_EQ(PathOf(a), (folder / "a").string());
  EXPECT_EQ(PathOf(b), (folder / "b").string());
  EXPECT_EQ(PathOf(c), (folder / "other/c").string());
  EXPECT_EQ(FSCompareFSRefs(&a, &c), noErr);
  ASSERT_EQ(FSDeleteObject(&b), noErr);
  EXPECT_FALSE(fs::exists(folder / "b"));
  EXPECT_EQ(PathOf(a), (folder / "a").string());
  EXPECT_EQ(PathOf(b), (folder / "a").string());  // the object lives under its other name
}

TEST(FileReferences, ZeroAndJunkReferToNothing) {
  EXPECT_EQ(Validity(FSRef{}), errFSBadFSRef);
  FSRef junk;
  std::memset(&junk, 0xab, sizeof junk);
  EXPECT_EQ(Validity(junk), errFSBadFSRef);
  EXPECT_EQ(FSGetCatalogInfo(nullptr, 0, nullptr, nullptr, nullptr, nullptr), paramErr);
  const TempFolder folder;
  FSRef bent = RefOf(folder.path());
  for (std::size_t i = 4; i < sizeof bent; ++i) {
    FSRef one = bent;
    one.hidden[i] = static_cast<UInt8>(one.hidden[i] ^ 0xff);
    Validity(one);  // whatever it says, it comes back
  }
}

TEST(FileReferences, Compare) {
  const TempFolder folder;
  WriteFile(folder / "a", "");
  WriteFile(folder / "b", "");
  const FSRef a = RefOf(folder / "a");
  const FSRef b = RefOf(folder / "b");
  FSRef again{};
  ASSERT_EQ(Rename(a, u"c", &again), noErr);
  EXPECT_EQ(FSCompareFSRefs(&a, &again), noErr);
  EXPECT_EQ(FSCompareFSRefs(&a, &b), errFSRefsDifferent);
  fs::remove(folder / "b");
  EXPECT_EQ(FSCompareFSRefs(&a, &b), fnfErr);
}

TEST(FileReferences, Paths) {
  const TempFolder folder;
  Boolean isFolder = 9;
  FSRef ref{};
  const auto make = [&](const std::string& path) {
    isFolder = 9;
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, &isFolder);
  };
  WriteFile(folder / "file", "");
  fs::create_symlink("file", folder / "link");
  fs::create_symlink("loop", folder / "loop");
  fs::create_symlink("none", folder / "dangling");
  EXPECT_EQ(make("/"), noErr);
  EXPECT_EQ(PathOf(ref), "/");
  EXPECT_TRUE(isFolder);
  EXPECT_EQ(make(folder.path().string() + "//./"), noErr);
  EXPECT_EQ(PathOf(ref), folder.path().string());
  EXPECT_EQ(isFolder, 1);
  EXPECT_EQ(make((folder / "link").string()), noErr);
  EXPECT_EQ(PathOf(ref), (folder / "file").string());
  EXPECT_EQ(isFolder, 0);
  EXPECT_EQ(make((folder / "loop").string()), fnfErr);
  EXPECT_EQ(make((folder / "dangling").string()), fnfErr);
  EXPECT_EQ(make((folder / "none").string()), fnfErr);
  EXPECT_EQ(make((folder / "file/below").string()), fnfErr);
  EXPECT_EQ(make(""), fnfErr);
  EXPECT_EQ(make("/" + std::string(5000, 'x')), errFSNameTooLong);
  EXPECT_EQ(FSPathMakeRef(nullptr, &ref, nullptr), paramErr);
  UInt8 small[8];
  ref = RefOf(folder.path());
  EXPECT_EQ(FSRefMakePath(&ref, small, sizeof small), pathTooLongErr);
  EXPECT_EQ(FSRefMakePath(&ref, nullptr, 8), paramErr);
}

TEST(FileReferences, PathsLongerThanTheSystemTakes) {
  const TempFolder folder;
  FSRef ref = RefOf(folder.path());
  const std::u16string name(200, u'n');
  const HFSUniStr255 units = Units(name);
  std::vector<FSRef> chain;
  for (int i = 0; i < 25; ++i) {
    FSRef next{};
    ASSERT_EQ(FSCreateDirectoryUnicode(&ref, units.length, units.unicode, 0, nullptr, &next,
                                       nullptr, nullptr),
              noErr);
    chain.push_back(next);
    ref = next;
  }
  EXPECT_EQ(Validity(ref), noErr);
  UInt8 path[4096];
  EXPECT_EQ(FSRefMakePath(&ref, path, sizeof path), pathTooLongErr);
  std::vector<UInt8> big(8192);
  EXPECT_EQ(FSRefMakePath(&ref, big.data(), 8192), noErr);
  FSRef file{};
  ASSERT_EQ(CreateFile(ref, u"file", &file), noErr);
  EXPECT_EQ(SetType(file, 'TEXT', 'ttxt'), noErr);
  EXPECT_EQ(TypeOf(file), OSType{'TEXT'});
  EXPECT_EQ(FSDeleteObject(&file), noErr);
  for (auto each = chain.rbegin(); each != chain.rend(); ++each) {
    EXPECT_EQ(FSDeleteObject(&*each), noErr);
  }
}

TEST(FileReferences, ThreadsRenameAndLookAtOnce) {
  const TempFolder folder;
  fs::create_directories(folder / "a");
  fs::create_directories(folder / "b");
  WriteFile(folder / "a/file", "text");
  const FSRef a = RefOf(folder / "a");
  const FSRef b = RefOf(folder / "b");
  const FSRef ref = RefOf(folder / "a/file");
  std::atomic<bool> done{false};
  std::atomic<int> lost{0};
  std::vector<std::thread> lookers;
  for (int i = 0; i < 3; ++i) {
    lookers.emplace_back([&] {
      while (!done) {
        if (Validity(ref) != noErr) ++lost;
      }
    });
  }
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(FSMoveObject(&ref, i % 2 == 0 ? &b : &a, nullptr), noErr);
  }
  done = true;
  for (std::thread& looker : lookers) looker.join();
  EXPECT_EQ(lost, 0);
}

TEST(FileReferences, FoldersWithoutRights) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser sees everything";
  const TempFolder folder;
  fs::create_directories(folder / "shut");
  WriteFile(folder / "shut/file", "");
  const FSRef ref = RefOf(folder / "shut/file");
  chmod((folder / "shut").c_str(), 0);
  EXPECT_EQ(Validity(ref), afpAccessDenied);
  chmod((folder / "shut").c_str(), 0700);
  EXPECT_EQ(Validity(ref), noErr);
}

}  // namespace
