#include "sdk/CoreX/LFSSpec.h"

#include <algorithm>
#include <cstring>

#include "platform/CoreServices/Folders.h"
#include "platform/CoreServices/MacMemory.h"
#include "platform/CoreServices/Resources.h"
#include "sdk/CoreX/CoreCString.h"
#include "sdk/CoreX/LFSRef.h"
#include "sdk/CoreX/XFileName.h"
#include "tests/sdk/CoreX/FileRefTesting.h"

namespace {

namespace fs = std::filesystem;
using test::Pascal;
using test::RefOf;
using testing::IsEmpty;

class LFSSpecTest : public test::FileRefTest {
 protected:
  LFSSpec Spec(const std::string& name) const { return LFSSpec(Path(name).c_str()); }
  std::string UnixPath(const LFSSpec& spec) const {
    std::string path = "(none)";
    spec.GetUnixPath(path);
    return path;
  }
  /// The volume that the test's folder lies on: its name, and where it is mounted less the slash at
  /// the end.
  struct Volume {
    std::string name;
    std::string mount;
  };
  Volume OfFolder() const {
    FSCatalogInfo info;
    const FSRef ref = RefOf(folder());
    EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoVolume, &info, nullptr, nullptr, nullptr), noErr);
    HFSUniStr255 name;
    FSRef root;
    EXPECT_EQ(FSGetVolumeInfo(info.volume, 0, nullptr, kFSVolInfoNone, nullptr, &name, &root),
              noErr);
    Volume volume;
    for (const char16_t c : test::TextOf(name)) volume.name += static_cast<char>(c);
    volume.mount = test::PathOf(root);
    if (volume.mount == "/") volume.mount.clear();
    return volume;
  }
  std::string ColonPath(const std::string& unixPath) const {
    const Volume volume = OfFolder();
    std::string path = volume.name + unixPath.substr(volume.mount.size());
    std::replace(path.begin(), path.end(), '/', ':');
    return path;
  }
};

TEST_F(LFSSpecTest, TakesBothNotations) {
  test::WriteFile(Path("file"), "x");
  const LFSSpec byUnix(Path("file").c_str());
  const LFSSpec byColons(ColonPath(Path("file")).c_str());
  const LFSSpec byPascal(static_cast<const unsigned char*>(Pascal(ColonPath(Path("file")))));
  const LFSSpec byPascalUnix(static_cast<const unsigned char*>(Pascal(Path("file"))));
  for (const LFSSpec& spec :
       {byUnix, byColons, byPascal, byPascalUnix, LFSSpec(RefOf(Path("file"))),
        LFSSpec(LFSRef(Path("file").c_str())), LFSSpec(XFileName(Path("file").c_str()))}) {
    EXPECT_TRUE(spec == byUnix);
    EXPECT_TRUE(spec.FileExists());
    EXPECT_EQ(UnixPath(spec), Path("file"));
  }
  const LFSSpec missing(ColonPath(Path("missing")).c_str());
  EXPECT_FALSE(missing.Exists());
  EXPECT_EQ(UnixPath(missing), Path("missing"));
  EXPECT_THAT(Logged(), IsEmpty());
  LFSSpec none;
  EXPECT_FALSE(none.Construct(""));
  EXPECT_FALSE(none.Construct(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(none.Construct("No Such Volume:file"));
  EXPECT_FALSE(none.Construct((ColonPath(Path("missing")) + ":file").c_str()));
  EXPECT_FALSE(none.Construct(Path("a/b").c_str()));
  EXPECT_FALSE(none.Construct(FSRef{}));
  EXPECT_FALSE(none.Exists());
}

TEST_F(LFSSpecTest, TakesPathsLongerThanAPascalString) {
  std::string path = folder().string();
  for (int i = 0; i < 8; ++i) path += "/" + std::string(50, static_cast<char>('a' + i));
  fs::create_directories(path);
  test::WriteFile(path + "/file", "x");
  const LFSSpec spec(ColonPath(path + "/file").c_str());
  EXPECT_TRUE(spec.FileExists());
  EXPECT_EQ(UnixPath(spec), path + "/file");
  EXPECT_TRUE(LFSSpec(ColonPath(path + "/missing").c_str()) ==
              LFSSpec((path + "/missing").c_str()));
  CoreCString full;
  EXPECT_TRUE(spec.GetFullPath(full));
  EXPECT_STREQ(full.c_str(), ColonPath(path + "/file").c_str());
  unsigned char buffer[256];
  EXPECT_TRUE(spec.GetJustPath(buffer, 1000));
  EXPECT_EQ(test::TextOfPascal(buffer), ColonPath(path + "/").substr(0, 255)) << "cut";
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(LFSSpec(std::string(300, 'x').c_str()).Exists());
}

TEST_F(LFSSpecTest, NamesNothingWhenEmpty) {
  LFSSpec none;
  std::string path;
  FSRef ref;
  UTCDateTime date;
  EXPECT_FALSE(none.Exists());
  EXPECT_FALSE(none.IsFolder());
  EXPECT_FALSE(none.GetUnixPath(path));
  EXPECT_FALSE(none.GetFileRef(ref));
  EXPECT_FALSE(none.GetCreationDateTime(date));
  EXPECT_FALSE(none.GetModificationDateTime(date));
  EXPECT_FALSE(none.FileRename("name"));
  EXPECT_FALSE(none.FileDelete());
}

TEST_F(LFSSpecTest, GivesPathsInEveryNotation) {
  test::WriteFile(Path("file"), "x");
  fs::create_directory(Path("sub"));
  const LFSSpec file = Spec("file");
  const LFSSpec sub = Spec("sub");
  const Volume volume = OfFolder();
  const std::string inVolume = folder().string().substr(volume.mount.size());
  CoreCString text;
  EXPECT_TRUE(file.GetJustPath(text));
  EXPECT_STREQ(text.c_str(), ColonPath(folder().string() + "/").c_str());
  EXPECT_TRUE(file.GetFullPath(text));
  EXPECT_STREQ(text.c_str(), ColonPath(Path("file")).c_str());
  EXPECT_TRUE(sub.GetFullPath(text));
  EXPECT_STREQ(text.c_str(), ColonPath(Path("sub/")).c_str()) << "a folder's ends with a colon";
  EXPECT_TRUE(LFSSpec(text.c_str()) == sub);
  EXPECT_TRUE(file.GetJustPath_unix(text));
  EXPECT_EQ(text.c_str(), "/Volumes/" + volume.name + inVolume + "/");
  EXPECT_TRUE(file.GetFullPath_unix(text));
  EXPECT_EQ(text.c_str(), "/Volumes/" + volume.name + inVolume + "/file");
  EXPECT_EQ(UnixPath(LFSSpec(text.c_str())), Path("file")) << "such a path is found again";
  EXPECT_EQ(UnixPath(file), Path("file"));
  unsigned char buffer[256];
  EXPECT_TRUE(file.GetFullPath(buffer, 255));
  EXPECT_EQ(test::TextOfPascal(buffer), ColonPath(Path("file")));
  EXPECT_TRUE(file.GetJustPath(buffer, 4));
  EXPECT_EQ(test::TextOfPascal(buffer), ColonPath(folder()).substr(0, 4));
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSSpecTest, CatchesTheWalksException) {
  LFSSpec spec = Spec("file");
  spec.parID = 0x7FFFFFFF;
  spec.vRefNum = 99;
  CoreCString text;
  unsigned char buffer[256];
  EXPECT_FALSE(spec.GetJustPath(text));
  EXPECT_FALSE(spec.GetJustPath(buffer, 255));
  EXPECT_FALSE(spec.GetFullPath(text));
  EXPECT_FALSE(spec.GetFullPath(buffer, 255));
  EXPECT_FALSE(spec.GetJustPath_unix(text));
  EXPECT_FALSE(spec.GetFullPath_unix(text));
  EXPECT_FALSE(Logged().empty());
  EXPECT_FALSE(spec.GetJustPath(nullptr, 5));
}

TEST_F(LFSSpecTest, NamesVolumes) {
  const LFSSpec root("/");
  CoreCString text;
  EXPECT_TRUE(root.IsFolder());
  EXPECT_TRUE(root.GetFullPath(text));
  EXPECT_STREQ(text.c_str(), "Root:");
  EXPECT_TRUE(root.GetFullPath_unix(text));
  EXPECT_STREQ(text.c_str(), "/Volumes/Root");
  SInt32 number = 0;
  EXPECT_TRUE(root.GetFolderID(number));
  EXPECT_EQ(number, fsRtDirID);
  LFSSpec parent;
  EXPECT_FALSE(root.GetParentFolder(parent));
}

TEST_F(LFSSpecTest, FindsLongAndForeignNamesAgain) {
  const std::string longName = std::string(80, 'n') + ".txt";
  const std::string foreign = "\xD0\x96.txt";
  for (const std::string& name : {longName, foreign}) {
    test::WriteFile(Path(name), "x");
    const LFSSpec spec = Spec(name);
    EXPECT_LE(spec.name[0], 63);
    EXPECT_EQ(UnixPath(spec), Path(name));
    CoreCString text;
    EXPECT_TRUE(spec.GetFullPath_unix(text));
    EXPECT_THAT(text.c_str(), testing::EndsWith("/" + name));
    HFSUniStr255 units;
    EXPECT_TRUE(spec.GetJustName(units));
    EXPECT_GT(units.length, 0);
  }
  EXPECT_THAT(Logged(), IsEmpty());
  LFSSpec none;
  EXPECT_FALSE(none.Construct(Path(std::string(80, 'm')).c_str())) << "none that is missing";
}

TEST_F(LFSSpecTest, ChangesItsName) {
  LFSSpec spec = Spec("name");
  CoreCString text;
  EXPECT_TRUE(spec.Set_name("other"));
  EXPECT_TRUE(spec == "other");
  EXPECT_TRUE(spec.Set_name(Pascal("third.a")));
  EXPECT_TRUE(spec == static_cast<const unsigned char*>(Pascal("third.a")));
  EXPECT_FALSE(spec == "Third.a");
  EXPECT_FALSE(spec == static_cast<const char*>(nullptr));
  EXPECT_TRUE(spec.AddExtension("b"));
  EXPECT_TRUE(spec == "third.ab");
  EXPECT_TRUE(spec.HasExtension(".AB"));
  EXPECT_TRUE(spec.ReplaceExtension("txt"));
  EXPECT_TRUE(spec.GetJustName(text));
  EXPECT_STREQ(text.c_str(), "third.txt");
  HFSUniStr255 name;
  EXPECT_TRUE(spec.ReplaceJustName("na\x8Ave"));
  EXPECT_TRUE(spec.GetJustName(name));
  EXPECT_EQ(test::TextOf(name), u"na\u00E4ve");
  EXPECT_EQ(UnixPath(spec), Path("na\xC3\xA4ve"));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(spec.Set_name(std::string(64, 'x').c_str()));
  EXPECT_FALSE(spec.Set_name(""));
  EXPECT_FALSE(spec.Set_name(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(spec.AddExtension(std::string(60, 'x').c_str()));
  EXPECT_TRUE(spec == "na\x8Ave");
  EXPECT_TRUE(spec.Set_name(std::string(63, 'x').c_str()));
}

TEST_F(LFSSpecTest, RenamesDeletesAndTests) {
  test::WriteFile(Path("file"), "x");
  test::WriteFile(Path("taken"), "y");
  fs::create_directory(Path("sub"));
  LFSSpec spec = Spec("file");
  EXPECT_TRUE(spec.FileRename("renamed"));
  EXPECT_TRUE(spec == "renamed");
  EXPECT_TRUE(spec.FileExists());
  EXPECT_FALSE(spec.FolderExists());
  EXPECT_FALSE(spec.FileRename("taken"));
  EXPECT_TRUE(spec == "renamed");
  EXPECT_EQ(test::ReadFile(Path("taken")), "y");
  EXPECT_TRUE(Spec("sub").IsFolder());
  EXPECT_FALSE(Spec("sub").FileExists());
  EXPECT_FALSE(Spec("sub").FileDelete());
  EXPECT_TRUE(fs::exists(Path("sub")));
  EXPECT_TRUE(spec.FileDelete());
  EXPECT_FALSE(spec.Exists());
  EXPECT_FALSE(spec.FileDelete());
  EXPECT_TRUE(Spec("taken").FlushVolume());
}

TEST_F(LFSSpecTest, KeepsTypeAndCreator) {
  const LFSSpec spec = Spec("file");
  EXPECT_FALSE(spec.IsFileType('TEXT'));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_TRUE(spec.CreateFile());
  EXPECT_TRUE(spec.IsFileTypeCreator(LFSSpec::sDefaultFileType, LFSSpec::sDefaultCreator));
  EXPECT_FALSE(spec.CreateFile()) << "exists";
  EXPECT_TRUE(spec.SetFileTypeCreator('TEXT', 'ttxt'));
  EXPECT_TRUE(spec.IsFileType('TEXT'));
  EXPECT_TRUE(spec.IsCreator('ttxt'));
  EXPECT_FALSE(spec.IsFileTypeCreator('TEXT', 'TTXT'));
  EXPECT_TRUE(spec.SetFileType('JPEG'));
  EXPECT_TRUE(spec.SetCreator('8BIM'));
  OSType type = 0;
  OSType creator = 0;
  EXPECT_TRUE(spec.GetFileType(type));
  EXPECT_TRUE(spec.GetCreator(creator));
  EXPECT_EQ(type, OSType{'JPEG'});
  EXPECT_EQ(creator, OSType{'8BIM'});
  EXPECT_FALSE(Spec("missing").GetFileTypeCreator(type, creator));
  EXPECT_FALSE(Spec("missing").SetFileType('TEXT'));
}

TEST_F(LFSSpecTest, CreatesByUnicodeName) {
  LFSSpec spec;
  const LFSSpec parent(folder().c_str());
  EXPECT_TRUE(spec.CreateFile(LHFSUnicodeName("\xD0\x96"), parent, 'TEXT', 'ttxt'));
  EXPECT_EQ(UnixPath(spec), Path("\xD0\x96"));
  EXPECT_TRUE(spec.IsFileTypeCreator('TEXT', 'ttxt'));
  EXPECT_FALSE(spec.CreateFile(LHFSUnicodeName("\xD0\x96"), parent));
  EXPECT_FALSE(spec.CreateFile(LHFSUnicodeName("x"), Spec("missing")));
  EXPECT_EQ(UnixPath(spec), Path("\xD0\x96"));
}

TEST_F(LFSSpecTest, LeavesAFileWithBothForks) {
  test::WriteFile(Path("plain"), "data");
  for (const char* name : {"new", "plain"}) {
    const LFSSpec spec = Spec(name);
    EXPECT_TRUE(spec.CreateFileWithResFork('TEXT', 'ttxt')) << name;
    EXPECT_TRUE(spec.CreateFileWithResFork('TEXT', 'ttxt')) << "a second time changes nothing";
    const ResFileRefNum file = FSpOpenResFile(&spec, fsRdPerm);
    EXPECT_NE(file, -1) << name;
    CloseResFile(file);
  }
  EXPECT_TRUE(Spec("new").IsFileTypeCreator('TEXT', 'ttxt'));
  EXPECT_EQ(test::ReadFile(Path("plain")), "data");
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSSpecTest, KnowsFolders) {
  fs::create_directory(Path("sub"));
  test::WriteFile(Path("sub/file"), "x");
  LFSSpec file = Spec("sub/file");
  LFSSpec parent;
  FSRef parentRef;
  SInt32 number = 0;
  EXPECT_TRUE(file.GetParentFolder(parent));
  EXPECT_TRUE(parent == Spec("sub"));
  EXPECT_TRUE(file.GetParentFolderRef(parentRef));
  EXPECT_EQ(test::PathOf(parentRef), Path("sub"));
  EXPECT_TRUE(parent.GetFolderID(number));
  EXPECT_EQ(number, file.parID);
  LFSSpec moved = Spec("new");
  EXPECT_TRUE(moved.ReplaceFolder(parent));
  EXPECT_EQ(UnixPath(moved), Path("sub/new"));
  moved = Spec("new");
  EXPECT_TRUE(moved.ReplaceFolder(file)) << "a file's own folder";
  EXPECT_EQ(UnixPath(moved), Path("sub/new"));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(moved.ReplaceFolder(Spec("missing")));
  EXPECT_FALSE(file.GetFolderID(number));
  const test::ScopedVariable variable("XDG_DATA_HOME", Path("data"));
  EXPECT_FALSE(moved.FindExistingFolder(kQuickTimeComponentsFolderType, kUserDomain));
  fs::create_directories(Path("data/lumivane/Components"));
  EXPECT_TRUE(moved.FindExistingFolder(kQuickTimeComponentsFolderType, kUserDomain));
  EXPECT_EQ(UnixPath(moved), Path("data/lumivane/Components"));
}

TEST_F(LFSSpecTest, ReadsTheCatalogue) {
  test::WriteFile(Path("file"), "12345");
  const LFSSpec spec = Spec("file");
  FSRef ref;
  UInt32 encoding = 77;
  SInt16 script = 77;
  UTCDateTime created = {};
  UTCDateTime modified = {};
  CInfoPBRec info = {};
  EXPECT_TRUE(spec.GetFileRef(ref));
  EXPECT_TRUE(spec.GetTextEncoding(encoding));
  EXPECT_NE(encoding, 77u);
  EXPECT_TRUE(spec.GetScriptCode(script));
  EXPECT_EQ(script, smRoman);
  FSCatalogInfo catalog = {};
  catalog.extFinderInfo[8] = 0x80 | 7;
  ASSERT_EQ(FSSetCatalogInfo(&ref, kFSCatInfoFinderXInfo, &catalog), noErr);
  EXPECT_TRUE(spec.GetScriptCode(script));
  EXPECT_EQ(script, 7);
  EXPECT_TRUE(spec.GetCreationDateTime(created));
  EXPECT_TRUE(spec.GetModificationDateTime(modified));
  EXPECT_GT(modified.lowSeconds, 3'000'000'000u);
  EXPECT_TRUE(spec.GetCatInfoNoName(info));
  EXPECT_EQ(info.hFileInfo.ioNamePtr, nullptr);
  EXPECT_EQ(info.hFileInfo.ioFlLgLen, 5);
  EXPECT_EQ(info.hFileInfo.ioFlParID, spec.parID);
  EXPECT_THAT(Logged(), IsEmpty());
  const LFSSpec missing = Spec("missing");
  EXPECT_FALSE(missing.GetFileRef(ref));
  EXPECT_FALSE(missing.GetTextEncoding(encoding));
  EXPECT_FALSE(missing.GetScriptCode(script));
  EXPECT_FALSE(missing.GetCreationDateTime(created));
  EXPECT_FALSE(missing.GetModificationDateTime(created));
  EXPECT_FALSE(missing.GetCatInfoNoName(info));
}

TEST_F(LFSSpecTest, MakesAndResolvesAliases) {
  test::WriteFile(Path("file"), "x");
  AliasHandle alias = Spec("file").AsNewAliasHandle(nullptr);
  ASSERT_NE(alias, nullptr);
  fs::rename(Path("file"), Path("renamed"));
  LFSSpec found;
  Boolean changed = 0;
  EXPECT_TRUE(found.ResolveAlias(alias, &changed, nullptr));
  EXPECT_TRUE(changed);
  EXPECT_EQ(UnixPath(found), Path("renamed"));
  fs::remove(Path("renamed"));
  EXPECT_FALSE(found.ResolveAlias(alias, nullptr, nullptr));
  EXPECT_TRUE(found == "renamed");
  DisposeHandle(reinterpret_cast<Handle>(alias));
}

TEST_F(LFSSpecTest, PrintsItself) {
  test::WriteFile(Path("file"), "x");
  const LFSSpec spec = Spec("file");
  spec.printf("label");
  EXPECT_THAT(Logged(), testing::ElementsAre(
                            "LFSSpec::Trace (label) vRefNum:" + std::to_string(spec.vRefNum) +
                                " parID:" + std::to_string(spec.parID) + " name:'file'",
                            "PATH:'" + ColonPath(Path("file")) + "'"));
  Forget();
  spec.printf(nullptr);
  EXPECT_THAT(Logged().front(), testing::StartsWith("LFSSpec::Trace () vRefNum:"));
}

}  // namespace
