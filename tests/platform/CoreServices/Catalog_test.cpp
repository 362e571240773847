#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <vector>

#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

constexpr SInt64 kSecondsTo1970 = 2082844800;

SInt64 Seconds(const UTCDateTime& date) {
  return (static_cast<SInt64>(date.highSeconds) << 32) | date.lowSeconds;
}

FSCatalogInfo InfoOf(const FSRef& ref, FSCatalogInfoBitmap which) {
  FSCatalogInfo info;
  std::memset(&info, 0xee, sizeof info);
  EXPECT_EQ(FSGetCatalogInfo(&ref, which, &info, nullptr, nullptr, nullptr), noErr);
  return info;
}

TEST(Catalog, DatesCountFrom1904) {
  const TempFolder folder;
  WriteFile(folder / "file", "text");
  timespec times[2] = {{1000000000, 500000000}, {2500000000, 250000000}};
  ASSERT_EQ(utimensat(AT_FDCWD, (folder / "file").c_str(), times, 0), 0);
  const FSCatalogInfo info = InfoOf(RefOf(folder / "file"), kFSCatInfoAllDates);
  EXPECT_EQ(Seconds(info.accessDate), 1000000000 + kSecondsTo1970);
  EXPECT_EQ(info.accessDate.fraction, 32768);
  EXPECT_EQ(Seconds(info.contentModDate), 2500000000 + kSecondsTo1970);
  EXPECT_EQ(info.contentModDate.highSeconds, 1);  // past 2040-02-06 06:28:15
  EXPECT_EQ(info.contentModDate.fraction, 16384);
  const SInt64 now = time(nullptr) + kSecondsTo1970;
  EXPECT_NEAR(static_cast<double>(Seconds(info.createDate)), static_cast<double>(now), 60);
  EXPECT_EQ(Seconds(info.backupDate), 0);
}

TEST(Catalog, NodeFlags) {
  const TempFolder folder;
  WriteFile(folder / "file", "text");
  const FSRef file = RefOf(folder / "file");
  EXPECT_EQ(InfoOf(RefOf(folder.path()), kFSCatInfoNodeFlags).nodeFlags, kFSNodeIsDirectoryMask);
  EXPECT_EQ(InfoOf(file, kFSCatInfoNodeFlags).nodeFlags, 0);
  chmod((folder / "file").c_str(), 0444);
  EXPECT_EQ(InfoOf(file, kFSCatInfoNodeFlags).nodeFlags, kFSNodeLockedMask);
  chmod((folder / "file").c_str(), 0644);
  SInt16 number = 0;
  ASSERT_EQ(FSOpenFork(&file, 0, nullptr, fsRdPerm, &number), noErr);
  EXPECT_EQ(InfoOf(file, kFSCatInfoNodeFlags).nodeFlags, kFSNodeDataOpenMask | kFSNodeForkOpenMask);
  EXPECT_EQ(FSCloseFork(number), noErr);
}

TEST(Catalog, NumbersSizesAndRights) {
  const TempFolder folder;
  WriteFile(folder / "file", std::string(5000, 'x'));
  fs::create_directory(folder / "sub");
  const FSRef file = RefOf(folder / "file");
  const FSCatalogInfo info = InfoOf(file, kFSCatInfoGettableInfo);
  const FSCatalogInfo parent = InfoOf(RefOf(folder.path()), kFSCatInfoGettableInfo);
  EXPECT_EQ(info.parentDirID, parent.nodeID);
  EXPECT_NE(info.nodeID, parent.nodeID);
  EXPECT_EQ(info.volume, parent.volume);
  EXPECT_LT(info.volume, 0);
  EXPECT_EQ(info.dataLogicalSize, 5000u);
  EXPECT_GE(info.dataPhysicalSize, 5000u);
  EXPECT_EQ(info.rsrcLogicalSize, 0u);
  EXPECT_EQ(info.permissions.userID, geteuid());
  struct stat status {};
  stat((folder / "file").c_str(), &status);
  EXPECT_EQ(info.permissions.mode, status.st_mode);
  EXPECT_EQ(info.permissions.userAccess & 6, 6);
  EXPECT_EQ(parent.valence, 2u);
  const FSRef root = RefOf("/");
  const FSCatalogInfo top = InfoOf(root, kFSCatInfoNodeID | kFSCatInfoParentDirID);
  EXPECT_EQ(top.nodeID, 2u);
  EXPECT_EQ(top.parentDirID, 1u);
  // What was not asked for is not touched.
  EXPECT_EQ(top.valence, 0xeeeeeeeeu);
}

TEST(Catalog, NameAndParent) {
  const TempFolder folder;
  WriteFile(folder / "Caf\xc3\xa9 \xf0\x9f\x8e\xa5", "");
  const FSRef file = RefOf(folder / "Caf\xc3\xa9 \xf0\x9f\x8e\xa5");
  HFSUniStr255 name{};
  FSRef parent{};
  ASSERT_EQ(FSGetCatalogInfo(&file, 0, nullptr, &name, nullptr, &parent), noErr);
  EXPECT_EQ(TextOf(name), u"Caf\u00e9 \U0001f3a5");
  EXPECT_EQ(PathOf(parent), folder.path().string());
  const FSRef root = RefOf("/");
  ASSERT_EQ(FSGetCatalogInfo(&root, 0, nullptr, &name, nullptr, &parent), noErr);
  EXPECT_EQ(TextOf(name), u"Root");
  EXPECT_EQ(Validity(parent), errFSBadFSRef);
}

TEST(Catalog, SetDatesAndRights) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  FSCatalogInfo info = InfoOf(file, kFSCatInfoGettableInfo);
  info.contentModDate = {0, 0xc0000000, 1234};
  info.accessDate = {0, 0xc0000001, 65535};
  info.createDate = {0, 0xb0000000, 0};
  info.backupDate = {0, 0xc0000002, 0};
  info.permissions.mode = 0600;
  const FSCatalogInfoBitmap which = kFSCatInfoContentMod | kFSCatInfoAccessDate |
                                    kFSCatInfoCreateDate | kFSCatInfoBackupDate |
                                    kFSCatInfoPermissions;
  ASSERT_EQ(FSSetCatalogInfo(&file, which, &info), noErr);
  const FSCatalogInfo back = InfoOf(file, kFSCatInfoGettableInfo);
  EXPECT_EQ(back.contentModDate.lowSeconds, 0xc0000000u);
  EXPECT_EQ(back.contentModDate.fraction, 1234);
  EXPECT_EQ(back.accessDate.fraction, 65535);
  EXPECT_EQ(back.createDate.lowSeconds, 0xb0000000u);
  EXPECT_EQ(back.backupDate.lowSeconds, 0xc0000002u);
  EXPECT_EQ(back.permissions.mode & 07777, 0600);
  EXPECT_EQ(FSSetCatalogInfo(&file, kFSCatInfoNodeID, &info), errFSBadInfoBitmap);
  EXPECT_EQ(FSSetCatalogInfo(&file, kFSCatInfoContentMod, nullptr), paramErr);
}

TEST(Catalog, FinderInfoOfFilesAndFolders) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  const FSRef self = RefOf(folder.path());
  FInfo finder{};
  EXPECT_EQ(GetFinder(file, &finder), noErr);
  EXPECT_EQ(finder.fdType, 0u);
  FSCatalogInfo info{};
  finder = {'TEXT', 'ttxt', kIsInvisible | kHasBundle, {-3, 7}, -5};
  std::memcpy(info.finderInfo, &finder, sizeof finder);
  FXInfo extended{1, {2, 3, 4}, 5, 6, 7, -8};
  std::memcpy(info.extFinderInfo, &extended, sizeof extended);
  ASSERT_EQ(FSSetCatalogInfo(&file, kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo, &info), noErr);
  FSCatalogInfo back = InfoOf(file, kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo);
  EXPECT_EQ(std::memcmp(back.finderInfo, info.finderInfo, 16), 0);
  EXPECT_EQ(std::memcmp(back.extFinderInfo, info.extFinderInfo, 16), 0);
  // Only one half set: the other stays.
  ASSERT_EQ(SetType(file, 'BINA', 'none'), noErr);
  back = InfoOf(file, kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo);
  EXPECT_EQ(std::memcmp(back.extFinderInfo, info.extFinderInfo, 16), 0);

  DInfo folderInfo{{1, 2, 3, 4}, 0x4000, {5, 6}, 7};
  DXInfo folderExtended{{8, 9}, 10, 11, 12, 13, 14};
  std::memcpy(info.finderInfo, &folderInfo, 16);
  std::memcpy(info.extFinderInfo, &folderExtended, 16);
  ASSERT_EQ(FSSetCatalogInfo(&self, kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo, &info), noErr);
  back = InfoOf(self, kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo);
  EXPECT_EQ(std::memcmp(back.finderInfo, &folderInfo, 16), 0);
  EXPECT_EQ(std::memcmp(back.extFinderInfo, &folderExtended, 16), 0);
  fs::remove(Home() / ("._" + folder.path().filename().string()));
}

TEST(Catalog, NamesThatAreNeverFoundNorGiven) {
  const TempFolder folder;
  fs::create_directory(folder / "sub");
  WriteFile(folder / "sub/file", "");
  const FSRef parent = RefOf(folder.path());
  FSRef ref{};
  for (const std::u16string& name :
       {std::u16string(u"sub/file"), std::u16string(u"."), std::u16string(u".."),
        std::u16string(u"/"), std::u16string(1, u'\0'), std::u16string(u"a\0b", 3),
        std::u16string(1, char16_t{0xd800})}) {
    EXPECT_EQ(Lookup(parent, name, &ref), fnfErr);
    EXPECT_EQ(CreateFile(parent, name), bdNamErr);
    const FSRef sub = RefOf(folder / "sub");
    EXPECT_EQ(Rename(sub, name), bdNamErr);
  }
  EXPECT_EQ(Lookup(parent, u"", &ref), errFSMissingName);
  const HFSUniStr255 units = Units(u"none");
  EXPECT_EQ(FSMakeFSRefUnicode(&parent, 256, units.unicode, 0, &ref), errFSNameTooLong);
  EXPECT_EQ(Lookup(parent, u"none", &ref), fnfErr);
  const FSRef file = RefOf(folder / "sub/file");
  EXPECT_EQ(Lookup(file, u"none", &ref), errFSNotAFolder);
  EXPECT_EQ(CreateFile(file, u"none"), errFSNotAFolder);
}

TEST(Catalog, LongNames) {
  const TempFolder folder;
  const FSRef parent = RefOf(folder.path());
  for (const std::size_t length : {253u, 254u, 255u}) {
    const std::u16string name(length, u'n');
    FSRef ref{};
    FSRef found{};
    ASSERT_EQ(CreateFile(parent, name, &ref), noErr) << length;
    EXPECT_EQ(Lookup(parent, name, &found), noErr);
    EXPECT_EQ(FSCompareFSRefs(&ref, &found), noErr);
    // "._" and the name have to fit as well.
    EXPECT_EQ(SetType(ref, 'TEXT', 'ttxt'), length <= 253 ? noErr : errFSNameTooLong);
    EXPECT_EQ(FSDeleteObject(&ref), noErr);
  }
  // 255 units, but more bytes than the system's names have.
  EXPECT_EQ(CreateFile(parent, std::u16string(255, u'\u00e9')), errFSNameTooLong);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(Catalog, ComposedAndDecomposedNamesAreTwoNames) {
  const TempFolder folder;
  const FSRef parent = RefOf(folder.path());
  FSRef composed{};
  FSRef decomposed{};
  ASSERT_EQ(CreateFile(parent, u"Caf\u00e9", &composed), noErr);
  FSRef found{};
  EXPECT_EQ(Lookup(parent, u"Cafe\u0301", &found), fnfErr);
  ASSERT_EQ(CreateFile(parent, u"Cafe\u0301", &decomposed), noErr);
  EXPECT_EQ(FSCompareFSRefs(&composed, &decomposed), errFSRefsDifferent);
}

TEST(Catalog, NamesThatAreNotUtf8AreFoundAgain) {
  const TempFolder folder;
  for (const std::string& name :
       {std::string("bad\xff"), std::string("\xc3"), std::string("\xed\xa0\x80"),
        std::string("\x80\xe9t\xe9"), std::string("\xf8\x88\x80\x80\x80")}) {
    WriteFile(folder / name, "");
    const FSRef ref = RefOf(folder / name);
    HFSUniStr255 units{};
    ASSERT_EQ(FSGetCatalogInfo(&ref, 0, nullptr, &units, nullptr, nullptr), noErr);
    FSRef found{};
    const FSRef parent = RefOf(folder.path());
    ASSERT_EQ(FSMakeFSRefUnicode(&parent, units.length, units.unicode, 0, &found), noErr);
    EXPECT_EQ(FSCompareFSRefs(&ref, &found), noErr);
    EXPECT_EQ(PathOf(found), (folder / name).string());
  }
  // Escaped bytes that are valid UTF-8 together do not find the name spelt that way.
  WriteFile(folder / "\xc3\xa9", "");
  FSRef found{};
  const FSRef parent = RefOf(folder.path());
  EXPECT_EQ(Lookup(parent, std::u16string{char16_t{0xdcc3}, char16_t{0xdca9}}, &found), fnfErr);
}

TEST(Catalog, CreateAndDelete) {
  const TempFolder folder;
  const FSRef parent = RefOf(folder.path());
  const FSCatalogInfo info = InfoOfType('TEXT', 'ttxt');
  FSRef file{};
  ASSERT_EQ(CreateFile(parent, u"file", &file, kFSCatInfoFinderInfo, &info), noErr);
  EXPECT_EQ(TypeOf(file), OSType{'TEXT'});
  EXPECT_EQ(PathOf(file), (folder / "file").string());
  EXPECT_EQ(fs::file_size(folder / "file"), 0u);
  EXPECT_EQ(CreateFile(parent, u"file"), dupFNErr);
  EXPECT_EQ(TypeOf(file), OSType{'TEXT'});
  const HFSUniStr255 sub = Units(u"sub");
  FSRef made{};
  UInt32 number = 0;
  ASSERT_EQ(FSCreateDirectoryUnicode(&parent, sub.length, sub.unicode, kFSCatInfoNone, nullptr,
                                     &made, nullptr, &number),
            noErr);
  EXPECT_EQ(number, InfoOf(made, kFSCatInfoNodeID).nodeID);
  FSRef inside{};
  ASSERT_EQ(CreateFile(made, u"x", &inside), noErr);
  EXPECT_EQ(FSDeleteObject(&made), fBsyErr);
  EXPECT_EQ(FSDeleteObject(&inside), noErr);
  EXPECT_EQ(FSDeleteObject(&inside), fnfErr);
  EXPECT_EQ(FSDeleteObject(&made), noErr);
  EXPECT_EQ(FSDeleteObject(&file), noErr);
  EXPECT_TRUE(fs::is_empty(folder.path()));
  EXPECT_EQ(CreateFile(parent, u"y", nullptr, kFSCatInfoFinderInfo, nullptr), paramErr);
  EXPECT_EQ(CreateFile(parent, u"y", nullptr, kFSCatInfoNodeID, &info), errFSBadInfoBitmap);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(Catalog, OpenFilesAreNotDeleted) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  SInt16 number = 0;
  ASSERT_EQ(FSOpenFork(&file, 0, nullptr, fsRdPerm, &number), noErr);
  EXPECT_EQ(FSDeleteObject(&file), fBsyErr);
  EXPECT_EQ(FSCloseFork(number), noErr);
  EXPECT_EQ(FSDeleteObject(&file), noErr);
}

TEST(Catalog, RenameAndMoveNeverReplace) {
  const TempFolder folder;
  fs::create_directories(folder / "sub/below");
  WriteFile(folder / "a", "a");
  WriteFile(folder / "b", "b");
  WriteFile(folder / "sub/a", "c");
  const FSRef a = RefOf(folder / "a");
  const FSRef sub = RefOf(folder / "sub");
  const FSRef below = RefOf(folder / "sub/below");
  EXPECT_EQ(Rename(a, u"b"), dupFNErr);
  EXPECT_EQ(FSMoveObject(&a, &sub, nullptr), dupFNErr);
  EXPECT_EQ(ReadFile(folder / "b"), "b");
  EXPECT_EQ(ReadFile(folder / "sub/a"), "c");
  EXPECT_EQ(Rename(a, u"a"), noErr);
  EXPECT_EQ(FSMoveObject(&sub, &below, nullptr), badMovErr);
  EXPECT_EQ(FSMoveObject(&sub, &a, nullptr), errFSNotAFolder);
  FSRef renamed{};
  EXPECT_EQ(Rename(a, u"A", &renamed), noErr);
  EXPECT_EQ(PathOf(renamed), (folder / "A").string());
}

TEST(Catalog, SymbolicLinksAreObjectsOfTheirOwn) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  fs::create_symlink("none", folder / "link");
  const FSRef parent = RefOf(folder.path());
  FSRef link{};
  ASSERT_EQ(Lookup(parent, u"link", &link), noErr);
  EXPECT_EQ(TypeOf(link), OSType{'slnk'});
  EXPECT_EQ(InfoOf(link, kFSCatInfoNodeFlags).nodeFlags & kFSNodeIsDirectoryMask, 0);
  EXPECT_EQ(SetType(link, 'TEXT', 'ttxt'), notAFileErr);
  SInt16 number = 0;
  EXPECT_EQ(FSOpenFork(&link, 0, nullptr, fsRdPerm, &number), notAFileErr);
  EXPECT_EQ(Rename(link, u"link2"), noErr);
  EXPECT_TRUE(fs::is_symlink(folder / "link2"));
  EXPECT_EQ(FSDeleteObject(&link), noErr);
  EXPECT_TRUE(fs::exists(folder / "file"));
}

TEST(Catalog, IterationLeavesSideFilesOut) {
  const TempFolder folder;
  const FSRef parent = RefOf(folder.path());
  for (char16_t c = u'a'; c <= u'e'; ++c) {
    FSRef ref{};
    ASSERT_EQ(CreateFile(parent, std::u16string(1, c), &ref), noErr);
    ASSERT_EQ(SetType(ref, 'TEXT', 'ttxt'), noErr);
  }
  fs::create_directory(folder / "sub");
  WriteFile(folder / "sub/x", "");
  WriteFile(folder / "._orphan", "mine");
  const auto names = [&](FSIteratorFlags flags, ItemCount batch) {
    std::set<std::u16string> seen;
    FSIterator iterator = nullptr;
    EXPECT_EQ(FSOpenIterator(&parent, flags, &iterator), noErr);
    std::vector<HFSUniStr255> got(batch);
    std::vector<FSRef> refs(batch);
    for (OSErr error = noErr; error == noErr;) {
      ItemCount actual = 0;
      Boolean changed = 1;
      error = FSGetCatalogInfoBulk(iterator, batch, &actual, &changed, 0, nullptr, refs.data(),
                                   nullptr, got.data());
      EXPECT_FALSE(changed);
      EXPECT_TRUE(error == noErr || error == errFSNoMoreItems);
      for (ItemCount i = 0; i < actual; ++i) {
        seen.insert(TextOf(got[i]));
        EXPECT_EQ(Validity(refs[i]), noErr);
      }
    }
    EXPECT_EQ(FSCloseIterator(iterator), noErr);
    EXPECT_EQ(FSCloseIterator(iterator), errFSIteratorNotFound);
    return seen;
  };
  const std::set<std::u16string> flat = {u"a", u"b", u"c", u"d", u"e", u"sub", u"._orphan"};
  EXPECT_EQ(names(kFSIterateFlat, 1), flat);
  EXPECT_EQ(names(kFSIterateFlat, 100), flat);
  std::set<std::u16string> deep = flat;
  deep.insert(u"x");
  EXPECT_EQ(names(kFSIterateSubtree, 3), deep);
  EXPECT_EQ(InfoOf(parent, kFSCatInfoValence).valence, 7u);
  FSIterator iterator = nullptr;
  EXPECT_EQ(FSOpenIterator(&parent, kFSIterateDelete, &iterator), errFSBadIteratorFlags);
}

TEST(Catalog, Volumes) {
  FSVolumeRefNum number = 0;
  HFSUniStr255 name{};
  FSRef root{};
  FSVolumeInfo info{};
  ASSERT_EQ(FSGetVolumeInfo(0, 0, &number, kFSVolInfoGettableInfo, &info, &name, &root), noErr);
  EXPECT_EQ(number, -100);
  EXPECT_EQ(TextOf(name), u"Root");
  EXPECT_EQ(PathOf(root), "/");
  EXPECT_GT(info.totalBytes, 0u);
  EXPECT_EQ(info.signature, UInt16{'H+'});
  ItemCount count = 0;
  std::set<FSVolumeRefNum> numbers;
  std::set<std::u16string> names;
  for (ItemCount index = 1; FSGetVolumeInfo(0, index, &number, 0, nullptr, &name, &root) == noErr;
       ++index) {
    ++count;
    numbers.insert(number);
    names.insert(TextOf(name));
    // Its name leads to it, under /Volumes too.
    const std::string path = "/Volumes/" + fs::path(TextOf(name)).string();
    FSRef byPath{};
    if (fs::exists("/Volumes")) continue;
    ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &byPath, nullptr), noErr)
        << path;
    EXPECT_EQ(FSCompareFSRefs(&root, &byPath), noErr);
    EXPECT_EQ(InfoOf(root, kFSCatInfoNodeID).nodeID, 2u);
  }
  EXPECT_GE(count, 1u);
  EXPECT_EQ(numbers.size(), count);
  EXPECT_EQ(names.size(), count);
  EXPECT_EQ(FSGetVolumeInfo(17, 0, nullptr, 0, nullptr, nullptr, nullptr), nsvErr);
  FSRef none{};
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>("/Volumes/No Such"), &none, nullptr),
            fnfErr);
  EXPECT_EQ(FlushVol(nullptr, 0), noErr);
  EXPECT_EQ(FlushVol(nullptr, 5), nsvErr);
}

}  // namespace
