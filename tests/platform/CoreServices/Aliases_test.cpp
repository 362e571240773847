#include "platform/CoreServices/Aliases.h"

#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreServices/AliasRecord.h"
#include "platform/CoreServices/MacMemory.h"
#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

class Aliases : public testing::Test {
 protected:
  Aliases() {
    fs::create_directories(folder_ / "docs/deep");
    fs::create_directories(folder_ / "media");
    WriteFile(folder_ / "docs/from", "");
    WriteFile(folder_ / "media/target", "content");
    from_ = RefOf(folder_ / "docs/from");
    target_ = RefOf(folder_ / "media/target");
  }
  ~Aliases() override {
    if (alias_ != nullptr) DisposeHandle(reinterpret_cast<Handle>(alias_));
  }
  std::string Resolve(const FSRef* from = nullptr) {
    FSRef found{};
    const OSErr error = FSResolveAlias(from, alias_, &found, &changed_);
    return error == noErr ? PathOf(found) : "error " + std::to_string(error);
  }
  std::string Bytes() const {
    auto* const handle = reinterpret_cast<Handle>(alias_);
    return {*handle, static_cast<std::size_t>(GetHandleSize(handle))};
  }

  TempFolder folder_;
  FSRef from_{};
  FSRef target_{};
  AliasHandle alias_ = nullptr;
  Boolean changed_ = 9;
};

TEST_F(Aliases, RecordIsOfThePublishedForm) {
  ASSERT_EQ(SetType(target_, 'TEXT', 'ttxt'), noErr);
  ASSERT_EQ(FSNewAlias(&from_, &target_, &alias_), noErr);
  const std::string bytes = Bytes();
  FSCatalogInfo info{};
  FSCatalogInfo folder{};
  const FSRef media = RefOf(folder_ / "media");
  ASSERT_EQ(FSGetCatalogInfo(&target_, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr), noErr);
  ASSERT_EQ(FSGetCatalogInfo(&media, kFSCatInfoNodeID, &folder, nullptr, nullptr, nullptr), noErr);
  const auto at32 = [&](std::size_t at) {
    return std::stoul(Hex(bytes.substr(at, 4)), nullptr, 16);
  };
  const auto at16 = [&](std::size_t at) {
    return std::stoul(Hex(bytes.substr(at, 2)), nullptr, 16);
  };
  EXPECT_EQ(at32(0), 0u);
  EXPECT_EQ(at16(4), bytes.size());
  EXPECT_EQ(GetAliasSize(alias_), static_cast<Size>(bytes.size()));
  EXPECT_EQ(at16(6), 2u);
  EXPECT_EQ(at16(8), 0u);
  EXPECT_EQ(bytes.substr(10, 5), "\x04Root");
  EXPECT_EQ(bytes.substr(42, 2), "H+");
  EXPECT_EQ(at32(46), folder.nodeID);
  EXPECT_EQ(bytes.substr(50, 7), "\x06target");
  EXPECT_EQ(at32(114), info.nodeID);
  EXPECT_EQ(bytes.substr(122, 8), "TEXTttxt");
  EXPECT_EQ(at16(130), 2u);
  EXPECT_EQ(at16(132), 2u);
  EXPECT_EQ(Hex(bytes.substr(150, 4)), "00000005");
  EXPECT_EQ(bytes.substr(154, 5), "media");
  EXPECT_EQ(Hex(bytes.substr(bytes.size() - 4)), "ffff0000");
  const std::string path = (folder_ / "media/target").string();
  EXPECT_NE(bytes.find(path), std::string::npos);
  EXPECT_NE(bytes.find("../media/target"), std::string::npos);
  SetAliasUserType(alias_, 'USER');
  EXPECT_EQ(GetAliasUserType(alias_), OSType{'USER'});
  EXPECT_EQ(Bytes().substr(0, 4), "USER");
}

TEST_F(Aliases, UnmovedTargetChangesNothing) {
  ASSERT_EQ(FSNewAlias(&from_, &target_, &alias_), noErr);
  const std::string before = Bytes();
  EXPECT_EQ(Resolve(&from_), (folder_ / "media/target").string());
  EXPECT_EQ(changed_, 0);
  EXPECT_EQ(Resolve(), (folder_ / "media/target").string());
  EXPECT_EQ(changed_, 0);
  EXPECT_EQ(Bytes(), before);
}

TEST_F(Aliases, RenamedInItsFolder) {
  ASSERT_EQ(FSNewAlias(nullptr, &target_, &alias_), noErr);
  fs::rename(folder_ / "media/target", folder_ / "media/renamed");
  EXPECT_EQ(Resolve(), (folder_ / "media/renamed").string());
  EXPECT_EQ(changed_, 1);
  EXPECT_EQ(Resolve(), (folder_ / "media/renamed").string());
  EXPECT_EQ(changed_, 0);
}

TEST_F(Aliases, FolderRenamedBehindItsBack) {
  ASSERT_EQ(FSNewAlias(nullptr, &target_, &alias_), noErr);
  fs::rename(folder_ / "media", folder_ / "Media 2");
  EXPECT_EQ(Resolve(), (folder_ / "Media 2/target").string());
  EXPECT_EQ(changed_, 1);
}

TEST_F(Aliases, TreeMovedWithBothFiles) {
  ASSERT_EQ(FSNewAlias(&from_, &target_, &alias_), noErr);
  const TempFolder elsewhere;
  fs::rename(folder_ / "docs", elsewhere / "docs");
  fs::rename(folder_ / "media", elsewhere / "media");
  const FSRef from = RefOf(elsewhere / "docs/from");
  EXPECT_EQ(Resolve(&from), (elsewhere / "media/target").string());
  EXPECT_EQ(changed_, 1);
}

TEST_F(Aliases, RelativeGoesBeforeFull) {
  ASSERT_EQ(FSNewAlias(&from_, &target_, &alias_), noErr);
  const TempFolder copy;
  fs::copy(folder_.path(), copy.path(), fs::copy_options::recursive);
  const FSRef from = RefOf(copy / "docs/from");
  EXPECT_EQ(Resolve(&from), (copy / "media/target").string());
  EXPECT_EQ(changed_, 1);
}

TEST_F(Aliases, FullPathWhenTheStartMoved) {
  ASSERT_EQ(FSNewAlias(&from_, &target_, &alias_), noErr);
  fs::rename(folder_ / "docs/from", folder_ / "docs/deep/from");
  EXPECT_EQ(Resolve(&from_), (folder_ / "media/target").string());  // it is not where it was
  const FSRef from = RefOf(folder_ / "docs/deep/from");
  EXPECT_EQ(Resolve(&from), (folder_ / "media/target").string());
}

TEST_F(Aliases, ReplacedTargetIsTheTarget) {
  ASSERT_EQ(FSNewAlias(nullptr, &target_, &alias_), noErr);
  WriteFile(folder_ / "media/other", "new content");
  fs::rename(folder_ / "media/other", folder_ / "media/target");
  EXPECT_EQ(Resolve(), (folder_ / "media/target").string());
  EXPECT_EQ(changed_, 1);
  EXPECT_EQ(Resolve(), (folder_ / "media/target").string());
  EXPECT_EQ(changed_, 0);
}

TEST_F(Aliases, GoneTarget) {
  ASSERT_EQ(FSNewAlias(&from_, &target_, &alias_), noErr);
  const std::string before = Bytes();
  fs::remove(folder_ / "media/target");
  EXPECT_EQ(Resolve(&from_), "error -43");
  EXPECT_EQ(changed_, 0);
  EXPECT_EQ(Bytes(), before);
}

TEST_F(Aliases, MovedThroughTheLayer) {
  ASSERT_EQ(FSNewAlias(nullptr, &target_, &alias_), noErr);
  const FSRef media = RefOf(folder_ / "media");
  const FSRef docs = RefOf(folder_ / "docs");
  ASSERT_EQ(FSMoveObject(&media, &docs, nullptr), noErr);
  EXPECT_EQ(Resolve(), (folder_ / "docs/media/target").string());
  EXPECT_EQ(changed_, 1);
}

TEST_F(Aliases, FoldersLinksAndRoots) {
  const FSRef media = RefOf(folder_ / "media");
  ASSERT_EQ(FSNewAlias(nullptr, &media, &alias_), noErr);
  EXPECT_EQ(Resolve(), (folder_ / "media").string());
  DisposeHandle(reinterpret_cast<Handle>(alias_));
  fs::create_symlink("target", folder_ / "media/link");
  FSRef link{};
  ASSERT_EQ(Lookup(media, u"link", &link), noErr);
  ASSERT_EQ(FSNewAlias(nullptr, &link, &alias_), noErr);
  EXPECT_EQ(Resolve(), (folder_ / "media/link").string());
  DisposeHandle(reinterpret_cast<Handle>(alias_));
  const FSRef root = RefOf("/");
  ASSERT_EQ(FSNewAlias(&from_, &root, &alias_), noErr);
  EXPECT_EQ(Resolve(&from_), "/");
  EXPECT_EQ(changed_, 0);
}

TEST_F(Aliases, UpdateAndMinimal) {
  ASSERT_EQ(FSNewAliasMinimal(&target_, &alias_), noErr);
  SetAliasUserType(alias_, 'KEEP');
  EXPECT_EQ(Resolve(), (folder_ / "media/target").string());
  EXPECT_EQ(changed_, 0);
  EXPECT_EQ(FSUpdateAlias(nullptr, &from_, alias_, &changed_), noErr);
  EXPECT_EQ(changed_, 1);
  EXPECT_EQ(FSUpdateAlias(nullptr, &from_, alias_, &changed_), noErr);
  EXPECT_EQ(changed_, 0);
  EXPECT_EQ(Resolve(), (folder_ / "docs/from").string());
  EXPECT_EQ(GetAliasUserType(alias_), OSType{'KEEP'});
  EXPECT_EQ(FSUpdateAlias(nullptr, &target_, nullptr, &changed_), paramErr);
}

TEST_F(Aliases, ByNameOfWhatIsYetToCome) {
  const FSRef media = RefOf(folder_ / "media");
  const HFSUniStr255 name = Units(u"later");
  Boolean isFolder = 9;
  ASSERT_EQ(FSNewAliasUnicode(&from_, &media, name.length, name.unicode, &alias_, &isFolder),
            noErr);
  EXPECT_EQ(isFolder, 0);
  EXPECT_EQ(Resolve(&from_), "error -43");
  WriteFile(folder_ / "media/later", "");
  EXPECT_EQ(Resolve(&from_), (folder_ / "media/later").string());
  CFStringRef path = nullptr;
  ASSERT_EQ(FSCopyAliasPath(alias_, &path), noErr);
  char text[1024];
  EXPECT_TRUE(CFStringGetCString(path, text, sizeof text, kCFStringEncodingUTF8));
  EXPECT_EQ(text, (folder_ / "media/later").string());
  CFRelease(path);
}

TEST_F(Aliases, FileSpecs) {
  FSSpec from{};
  FSSpec target{};
  FSSpec found{};
  ASSERT_EQ(FSGetCatalogInfo(&from_, 0, nullptr, nullptr, &from, nullptr), noErr);
  ASSERT_EQ(FSGetCatalogInfo(&target_, 0, nullptr, nullptr, &target, nullptr), noErr);
  ASSERT_EQ(NewAlias(&from, &target, &alias_), noErr);
  ASSERT_EQ(ResolveAlias(&from, alias_, &found, &changed_), noErr);
  EXPECT_EQ(found.parID, target.parID);
  EXPECT_EQ(std::memcmp(found.name, target.name, target.name[0] + 1u), 0);
  fs::remove(folder_ / "media/target");
  found = {};
  EXPECT_EQ(ResolveAlias(nullptr, alias_, &found, &changed_), fnfErr);
  EXPECT_EQ(found.parID, target.parID);
  EXPECT_EQ(std::memcmp(found.name, target.name, target.name[0] + 1u), 0);
  EXPECT_EQ(UpdateAlias(nullptr, &from, alias_, &changed_), noErr);
  EXPECT_EQ(changed_, 1);
}

TEST_F(Aliases, DataReferences) {
  Handle reference = nullptr;
  OSType type = 0;
  ASSERT_EQ(QTNewDataReferenceFromFSRef(&target_, 0, &reference, &type), noErr);
  EXPECT_EQ(type, OSType{'alis'});
  alias_ = reinterpret_cast<AliasHandle>(reference);
  EXPECT_EQ(Resolve(), (folder_ / "media/target").string());
  DisposeHandle(reference);
  alias_ = nullptr;
  const FSRef media = RefOf(folder_ / "media");
  CFStringRef name = CFStringCreateWithCString(nullptr, "later", kCFStringEncodingUTF8);
  ASSERT_EQ(QTNewDataReferenceFromFSRefCFString(&media, name, 0, &reference, &type), noErr);
  alias_ = reinterpret_cast<AliasHandle>(reference);
  WriteFile(folder_ / "media/later", "");
  EXPECT_EQ(Resolve(), (folder_ / "media/later").string());
  CFRelease(name);
  Handle none = nullptr;
  const FSRef nothing{};
  EXPECT_EQ(QTNewDataReferenceFromFSRef(&nothing, 0, &none, &type), errFSBadFSRef);
  EXPECT_EQ(QTNewDataReferenceFromFSRefCFString(&media, nullptr, 0, &none, &type), paramErr);
}

TEST_F(Aliases, BrokenRecords) {
  ASSERT_EQ(FSNewAlias(&from_, &target_, &alias_), noErr);
  const std::string good = Bytes();
  auto* const handle = reinterpret_cast<Handle>(alias_);
  FSRef found{};
  for (std::size_t length = 0; length < good.size(); length += 7) {
    SetHandleSize(handle, static_cast<Size>(length));
    EXPECT_EQ(FSResolveAlias(nullptr, alias_, &found, &changed_), paramErr) << length;
  }
  SetHandleSize(handle, static_cast<Size>(good.size()));
  for (std::size_t at = 0; at < good.size(); ++at) {
    std::string bytes = good;
    bytes[at] = static_cast<char>(bytes[at] ^ 0xff);
    lumivane::files::AliasInfo info;
    lumivane::files::ParseAliasRecord(reinterpret_cast<const UInt8*>(bytes.data()), bytes.size(),
                                      &info);
  }
  std::memcpy(*handle, good.data(), good.size());
  (*handle)[7] = 3;
  EXPECT_EQ(FSResolveAlias(nullptr, alias_, &found, &changed_), paramErr);
  EXPECT_EQ(FSResolveAlias(nullptr, nullptr, &found, &changed_), paramErr);
  EXPECT_EQ(FSNewAlias(nullptr, nullptr, &alias_), paramErr);
}

}  // namespace
