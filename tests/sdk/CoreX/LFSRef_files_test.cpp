// References at work: creating, deleting, renaming and opening what they name.
#include "platform/CoreServices/Folders.h"
#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreX/LFileFork.h"
#include "sdk/CoreX/LUnixPath.h"
#include "tests/sdk/CoreX/LFSRefTesting.h"
#include "tests/support/OrdinaryRights.h"

namespace {

namespace fs = std::filesystem;
using test::CheckErrLine;
using test::kNormalizedLine;
using test::LFSRefTest;
using test::RefOf;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Line(const std::string& code, const std::string& function) {
  return test::LFSRefLine(code, function);
}

TEST_F(LFSRefTest, CreatesWithACatalogueRecord) {
  LFSRef ref(Path("typed").c_str());
  EXPECT_TRUE(ref.CreateFile('TEXT', 'ttxt'));
  OSType type = 0;
  OSType creator = 0;
  EXPECT_TRUE(ref.GetFileTypeCreator(type, creator));
  EXPECT_EQ(type, OSType{'TEXT'});
  EXPECT_EQ(creator, OSType{'ttxt'});
  EXPECT_TRUE(ref.SetFileTypeCreator('JPEG', '8BIM'));
  EXPECT_TRUE(LFSRef(Path("typed").c_str()).GetFileTypeCreator(type, creator));
  EXPECT_EQ(type, OSType{'JPEG'});
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(ref.CreateFile('TEXT', 'ttxt'));
  EXPECT_THAT(Logged(), ElementsAre(Line("!FileExists()", "CreateFile")));
  Forget();
  const LFSRef missing(Path("missing").c_str());
  EXPECT_FALSE(missing.GetFileTypeCreator(type, creator));
  EXPECT_FALSE(missing.SetFileTypeCreator('TEXT', 'ttxt'));
  EXPECT_THAT(Logged(), ElementsAre(Line("FileExists()", "GetFileTypeCreator"),
                                    Line("FileExists()", "SetFileTypeCreator")));
}

TEST_F(LFSRefTest, LogsWhyItCreatesNothing) {
  LFSRef empty;
  EXPECT_FALSE(empty.CreateFile());
  LFSRef existing(RefOf(folder()));
  EXPECT_FALSE(existing.CreateFolder());
  fs::create_directory(Path("taken"));
  LFSRef taken(Path("taken").c_str());
  EXPECT_FALSE(taken.CreateFolder());
  EXPECT_EQ(Latent(taken), "taken");
  EXPECT_THAT(Logged(), ElementsAre(Line("HasState(State_Exists)", "CreateFile"),
                                    Line("HasState(State_HasLatentPath)", "CreateFolder"),
                                    CheckErrLine(dupFNErr, "err", "LFSRef", "CreateFolder")));
  Forget();
  LFSRef typed(Path("a/b").c_str());
  EXPECT_FALSE(typed.RecreateFile('TEXT', 'ttxt'));
  EXPECT_THAT(Logged(),
              ElementsAre(CheckErrLine(bdNamErr, "err", "LFSRef", "CreateFile"),
                          Line("CreateFile(kFSCatInfoFinderInfo,&new_file_info)", "CreateFile"),
                          Line("fOk = CreateFile(in_filetype,in_creator)", "RecreateFile")));
}

TEST_F(LFSRefTest, RefusesAFolderWithoutRights) {
  fs::create_directory(Path("readable"));
  fs::create_directory(Path("closed"));
  test::WriteFile(Path("readable/file"), "x");
  test::WriteFile(Path("closed/file"), "x");
  LFSRef created(Path("readable/new").c_str());
  LFSRef existing(Path("readable/file").c_str());
  LFSRef hidden(Path("closed/file").c_str());
  fs::permissions(Path("readable"), fs::perms::owner_read | fs::perms::owner_exec);
  fs::permissions(Path("closed"), fs::perms::none);
  {
    const test::OrdinaryRights rights;
    if (!rights.AreEffective()) GTEST_SKIP() << "rights cannot be given up";
    Forget();
    EXPECT_FALSE(created.CreateFile());
    EXPECT_FALSE(created.CreateFolder());
    EXPECT_THAT(Logged(),
                ElementsAre(CheckErrLine(afpAccessDenied, "err", "LFSRef", "CreateFile"),
                            CheckErrLine(afpAccessDenied, "err", "LFSRef", "CreateFolder")));
    EXPECT_EQ(created.fopen("w"), nullptr);
    EXPECT_TRUE(existing.FileExists());
    EXPECT_FALSE(existing.Delete());
    EXPECT_FALSE(existing.RenameFile("renamed"));
    EXPECT_FALSE(existing.SetFileTypeCreator('TEXT', 'ttxt'));
    EXPECT_FALSE(hidden.FileExists());
    EXPECT_FALSE(hidden.Normalize());
    EXPECT_EQ(hidden.fopen("r"), nullptr);
    // What cannot be looked up is latent below the deepest folder that can.
    EXPECT_EQ(Latent(LFSRef(Path("closed/a/b").c_str())), "a/b");
  }
  fs::permissions(Path("readable"), fs::perms::owner_all);
  fs::permissions(Path("closed"), fs::perms::owner_all);
  EXPECT_TRUE(created.CreateFile());
  EXPECT_TRUE(hidden.FileExists());
  EXPECT_EQ(test::ReadFile(Path("readable/file")), "x");
}

TEST_F(LFSRefTest, RecreatesInPlace) {
  LFSRef ref(Path("file").c_str());
  EXPECT_TRUE(ref.RecreateFile('TEXT', 'ttxt'));
  test::WriteFile(Path("file"), "data");
  FSRef file;
  ASSERT_TRUE(ref.GetNormalizedRef(file));
  {
    LFileFork fork;
    ASSERT_TRUE(fork.OpenWrite(&file, &LHFSUnicodeName::sResourceFork));
    ASSERT_TRUE(fork.Write("rsrc", 4, fsFromStart, 0));
  }
  EXPECT_TRUE(ref.RecreateFile('JPEG', '8BIM'));
  FSCatalogInfo info;
  ASSERT_EQ(FSGetCatalogInfo(&file, kFSCatInfoDataSizes | kFSCatInfoRsrcSizes, &info, nullptr,
                             nullptr, nullptr),
            noErr)
      << "the same file";
  EXPECT_EQ(info.dataLogicalSize, 0u);
  EXPECT_EQ(info.rsrcLogicalSize, 0u);
  OSType type = 0;
  OSType creator = 0;
  EXPECT_TRUE(ref.GetFileTypeCreator(type, creator));
  EXPECT_EQ(type, OSType{'JPEG'});
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSRefTest, DeletesFilesAndEmptyFolders) {
  test::WriteFile(Path("file"), "x");
  fs::create_directories(Path("full/inside"));
  LFSRef file(Path("file").c_str());
  LFSRef full(Path("full").c_str());
  EXPECT_FALSE(file.DeleteFolder());
  EXPECT_FALSE(full.DeleteFile());
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(full.DeleteFolder());
  EXPECT_THAT(Logged(),
              ElementsAre(Line("fOk=(noErr==::FSDeleteObject(theNormalizedRef))", "Delete")));
  EXPECT_TRUE(file.DeleteFile());
  EXPECT_TRUE(LFSRef(Path("full/inside").c_str()).DeleteFolder());
  EXPECT_TRUE(full.Delete());
  EXPECT_TRUE(fs::is_empty(folder()));
  Forget();
  EXPECT_FALSE(full.Delete());
  EXPECT_THAT(Logged(), ElementsAre(Line(kNormalizedLine, "Delete")));
}

TEST_F(LFSRefTest, GoesOnNamingADeletedFile) {
  test::WriteFile(Path("file"), "x");
  LFSRef ref(RefOf(Path("file")));
  EXPECT_TRUE(ref.FileDelete());
  EXPECT_TRUE(ref.IsState(LFSRef::State_ExistsWithLatentPath));
  EXPECT_EQ(UnixPath(ref), Path("file"));
  EXPECT_FALSE(ref.FileExists());
  EXPECT_FALSE(ref.FileDelete());
  EXPECT_TRUE(ref.CreateFile());
  LFSRef folderRef(RefOf(folder()));
  EXPECT_FALSE(folderRef.FileDelete());
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSRefTest, RenamesAndFollows) {
  test::WriteFile(Path("file"), "x");
  test::WriteFile(Path("taken"), "y");
  LFSRef ref(Path("file").c_str());
  EXPECT_TRUE(ref.RenameFile("n\xC3\xA4w"));
  EXPECT_TRUE(ref.IsState(LFSRef::State_Exists));
  EXPECT_EQ(UnixPath(ref), Path("n\xC3\xA4w"));
  EXPECT_EQ(test::ReadFile(Path("n\xC3\xA4w")), "x");
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(ref.RenameFile("taken"));
  EXPECT_EQ(Logged().front(),
            test::CheckLine("err==noErr", "Carb_FSRef_inlines", "bool_FSRef_RenameUnicode"));
  EXPECT_FALSE(ref.RenameFile("a/b"));
  EXPECT_FALSE(ref.RenameFile(""));
  EXPECT_FALSE(ref.RenameFile(nullptr));
  EXPECT_FALSE(LFSRef(Path("missing").c_str()).RenameFile("b"));
  EXPECT_EQ(UnixPath(ref), Path("n\xC3\xA4w"));
  EXPECT_EQ(test::ReadFile(Path("taken")), "y");
}

TEST_F(LFSRefTest, NeverUsesACutName) {
  // Conversions keep 127 units. Whatever is longer must not be taken for its first part.
  const std::string kept(127, 'k');
  const std::string longer = kept + "x";
  test::WriteFile(Path(kept), "the other file");
  LFSRef ref(Path(longer).c_str());
  EXPECT_EQ(UnixPath(ref), Path(longer));
  EXPECT_FALSE(ref.FileExists());
  EXPECT_FALSE(ref.Normalize());
  EXPECT_FALSE(ref.Delete());
  Forget();
  EXPECT_FALSE(ref.CreateFile());
  EXPECT_FALSE(ref.CreateFolder());
  EXPECT_THAT(Logged(),
              ElementsAre(CheckErrLine(errFSNameTooLong, "err", "LFSRef", "CreateFile"),
                          CheckErrLine(errFSNameTooLong, "err", "LFSRef", "CreateFolder")));
  LHFSUnicodeName name;
  EXPECT_FALSE(ref.GetLatentPath(name));
  LFSRef_data_t data;
  EXPECT_FALSE(ref.GetData(data));
  EXPECT_EQ(data.latent_path.length, 0);
  test::WriteFile(Path("file"), "x");
  LFSRef file(Path("file").c_str());
  EXPECT_FALSE(file.RenameFile(longer.c_str()));
  EXPECT_TRUE(file.RenameFile(std::string(126, 'm').c_str()));
  EXPECT_EQ(test::ReadFile(Path(kept)), "the other file");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder()), {}), 2);
  // A surrogate pair counts as two units.
  const std::string pairs = std::string(126, 'p') + "\xF0\x9F\x98\x80";
  EXPECT_FALSE(LFSRef(Path(pairs).c_str()).CreateFile());
  LFSRef fits(Path(std::string(125, 'p') + "\xF0\x9F\x98\x80").c_str());
  EXPECT_TRUE(fits.CreateFile());
}

TEST_F(LFSRefTest, WorksOnFilesWithLongNames) {
  for (const std::size_t length : {127, 128, 253, 254, 255}) {
    SCOPED_TRACE(length);
    const std::string name(length, 'n');
    test::WriteFile(Path(name), "x");
    LFSRef ref(RefOf(Path(name)));
    EXPECT_TRUE(ref.Exists());
    EXPECT_EQ(UnixPath(ref), Path(name));
    // The side file's name has two characters more.
    EXPECT_EQ(ref.SetFileTypeCreator('TEXT', 'ttxt'), length <= 253);
    // Names of 254 units and more have no room for their end in the Unicode form.
    LFSRef latent;
    EXPECT_EQ(ref.GetLatentRef(latent), length <= 253);
    if (length <= 253) {
      EXPECT_EQ(UnixPath(latent), Path(name));
      EXPECT_EQ(latent.Normalize(), length <= 127) << "a cut name finds nothing";
    }
    EXPECT_TRUE(ref.DeleteFile());
    EXPECT_TRUE(fs::is_empty(folder()));
  }
}

TEST_F(LFSRefTest, TellsComposedFromDecomposed) {
  // Names are byte for byte what they are on disk.
  LFSRef composed(Path("\xC3\xA9").c_str());
  LFSRef decomposed(Path("e\xCC\x81").c_str());
  EXPECT_TRUE(composed.CreateFile());
  EXPECT_FALSE(decomposed.FileExists());
  EXPECT_TRUE(decomposed.CreateFile());
  EXPECT_FALSE(composed == decomposed);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder()), {}), 2);
}

TEST_F(LFSRefTest, RefusesWhatIsNoUTF8) {
  LFSRef ref(Path("\xFF\xFE").c_str());
  EXPECT_FALSE(ref.Normalize());
  EXPECT_FALSE(ref.CreateFile());
  EXPECT_FALSE(LFSRef(RefOf(folder())).RenameFile("\xFF"));
  EXPECT_TRUE(fs::is_empty(folder()));
  EXPECT_EQ(UnixPath(ref), Path("\xFF\xFE")) << "the text is kept";
}

TEST_F(LFSRefTest, TellsWhenAndWhat) {
  test::WriteFile(Path("file"), "x");
  const LFSRef ref(Path("file").c_str());
  UTCDateTime created = {};
  UTCDateTime modified = {};
  EXPECT_TRUE(ref.GetDateTimeCreated(created));
  EXPECT_TRUE(ref.GetDateTimeModified(modified));
  EXPECT_GT(modified.lowSeconds, 3'000'000'000u) << "seconds since 1904";
  FSCatalogInfo info;
  EXPECT_EQ(ref.GetCatalogInfo(kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr), noErr);
  EXPECT_NE(info.nodeFlags & kFSNodeIsDirectoryMask, 0) << "of the anchor";
  std::string name;
  EXPECT_TRUE(ref.GetJustName(name));
  EXPECT_EQ(name, "file");
  LUnixPath path;
  EXPECT_TRUE(ref.GetUnixPath(path));
  EXPECT_STREQ(path, Path("file").c_str());
  FSSpec spec;
  EXPECT_TRUE(ref.GetFileSpec(spec));
  EXPECT_EQ(test::TextOfPascal(spec.name), "file");
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(LFSRef(Path("missing").c_str()).GetDateTimeCreated(created));
  EXPECT_FALSE(LFSRef(Path("missing").c_str()).GetDateTimeModified(created));
}

TEST_F(LFSRefTest, OpensAStream) {
  const LFSRef ref(Path("new").c_str());
  std::FILE* file = ref.fopen("w");
  ASSERT_NE(file, nullptr);
  std::fputs("text", file);
  std::fclose(file);
  EXPECT_EQ(test::ReadFile(Path("new")), "text");
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_EQ(LFSRef(Path("missing").c_str()).fopen("r"), nullptr);
  EXPECT_EQ(LFSRef().fopen("r"), nullptr);
  EXPECT_THAT(Logged(),
              ElementsAre(Line("fp = std::fopen(s_unix_path.c_str(), open_mode)", "fopen"),
                          Line("GetUnixPath(s_unix_path)", "fopen")));
  EXPECT_EQ(ref.fopen(nullptr), nullptr);
}

TEST_F(LFSRefTest, FindsAFolderThatExists) {
  const test::ScopedVariable variable("XDG_DATA_HOME", Path("data"));
  LFSRef ref;
  EXPECT_FALSE(ref.FindExistingFolder(kQuickTimeComponentsFolderType, kUserDomain));
  EXPECT_THAT(Logged(), ElementsAre(Line("err==noErr", "FindExistingFolder")));
  fs::create_directories(Path("data/lumivane/Components"));
  EXPECT_TRUE(ref.FindExistingFolder(kQuickTimeComponentsFolderType, kUserDomain));
  EXPECT_EQ(UnixPath(ref), Path("data/lumivane/Components"));
}

TEST_F(LFSRefTest, ChangesTheWorkingDirectory) {
  LFSRef before;
  ASSERT_TRUE(before.Construct_cwd());
  EXPECT_TRUE(LFSRef(RefOf(folder())).chdir());
  LFSRef here;
  EXPECT_TRUE(here.Construct_cwd());
  EXPECT_EQ(UnixPath(here), folder().string());
  EXPECT_TRUE(before.chdir());
  EXPECT_THAT(Logged(), IsEmpty());
  test::WriteFile(Path("file"), "x");
  EXPECT_FALSE(LFSRef(Path("file").c_str()).chdir());
  EXPECT_THAT(Logged(), ElementsAre(Line("IsFolder()", "chdir")));
}

TEST_F(LFSRefTest, MakesAndResolvesAliases) {
  test::WriteFile(Path("file"), "x");
  const LFSRef ref(Path("file").c_str());
  AliasHandle alias = ref.AsNewAliasHandle(nullptr);
  ASSERT_NE(alias, nullptr);
  Boolean changed = 1;
  LFSRef found;
  EXPECT_TRUE(found.ResolveAlias(alias, &changed, nullptr));
  EXPECT_FALSE(changed);
  EXPECT_EQ(UnixPath(found), Path("file"));
  fs::rename(Path("file"), Path("renamed"));
  const LFSRef root(RefOf(folder()));
  EXPECT_TRUE(found.ResolveAlias(alias, &changed, &root));
  EXPECT_TRUE(changed);
  EXPECT_EQ(UnixPath(found), Path("renamed"));
  fs::remove(Path("renamed"));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(found.ResolveAlias(alias, nullptr, nullptr));
  DisposeHandle(reinterpret_cast<Handle>(alias));
  EXPECT_EQ(LFSRef(Path("missing").c_str()).AsNewAliasHandle(nullptr), nullptr);
}

TEST_F(LFSRefTest, GivesDataReferences) {
  test::WriteFile(Path("file"), "x");
  for (const LFSRef& ref : {LFSRef(RefOf(Path("file"))), LFSRef(Path("file").c_str()),
                            LFSRef(Path("missing").c_str())}) {
    Handle dataRef = nullptr;
    OSType type = 0;
    EXPECT_TRUE(ref.GetQuickTimeDataRef(dataRef, type));
    EXPECT_EQ(type, OSType{'alis'});
    ASSERT_NE(dataRef, nullptr);
    DisposeHandle(dataRef);
  }
  Forget();
  Handle dataRef = nullptr;
  OSType type = 0;
  EXPECT_FALSE(LFSRef().GetQuickTimeDataRef(dataRef, type));
  EXPECT_EQ(dataRef, nullptr);
  EXPECT_THAT(Logged(), ElementsAre(Line("HasState(State_Exists)", "GetQuickTimeDataRef")));
}

TEST_F(LFSRefTest, SurvivesRenamesOfItsFoldersAbove) {
  fs::create_directories(Path("a/b"));
  test::WriteFile(Path("a/b/file"), "x");
  const LFSRef file(RefOf(Path("a/b/file")));
  const LFSRef latent(Path("a/b/new").c_str());
  LFSRef above(Path("a").c_str());
  ASSERT_TRUE(above.RenameFile("moved"));
  EXPECT_EQ(UnixPath(file), Path("moved/b/file"));
  EXPECT_EQ(UnixPath(latent), Path("moved/b/new"));
}

}  // namespace
