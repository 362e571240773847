#include "sdk/CoreX/LFSRef.h"

#include <cstring>

#include "sdk/CoreX/LFSSpec.h"
#include "sdk/CoreX/LUnixPath.h"
#include "tests/sdk/CoreX/LFSRefTesting.h"

namespace {

namespace fs = std::filesystem;
using test::CheckErrLine;
using test::kNormalizedLine;
using test::LFSRefTest;
using test::Pascal;
using test::PathOf;
using test::RefOf;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Line(const std::string& code, const std::string& function) {
  return test::LFSRefLine(code, function);
}

TEST_F(LFSRefTest, StartsInvalid) {
  const LFSRef ref;
  EXPECT_TRUE(ref.IsEmpty());
  EXPECT_FALSE(ref.IsValid());
  EXPECT_TRUE(ref.IsState(LFSRef::State_Invalid));
  EXPECT_FALSE(ref.Exists());
  EXPECT_FALSE(ref.IsFile());
  EXPECT_FALSE(ref.IsFolder());
  EXPECT_FALSE(ref.FileExists());
  EXPECT_FALSE(ref.HasLatentPath());
  std::string path = "old";
  EXPECT_FALSE(ref.GetUnixPath(path));
  EXPECT_EQ(path, "old");
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSRefTest, NamesAFileThatDoesNotExistYet) {
  LFSRef ref(Path("new.txt").c_str());
  EXPECT_TRUE(ref.IsState(LFSRef::State_ExistsWithLatentPath));
  EXPECT_TRUE(ref.HasState(LFSRef::State_Exists));
  EXPECT_EQ(Latent(ref), "new.txt");
  EXPECT_EQ(UnixPath(ref), Path("new.txt"));
  EXPECT_FALSE(ref.Exists());
  EXPECT_FALSE(ref.Normalize());
  EXPECT_TRUE(ref.CreateFile());
  EXPECT_TRUE(ref.IsState(LFSRef::State_Exists));
  EXPECT_TRUE(ref.Exists());
  EXPECT_TRUE(ref.IsFile());
  EXPECT_FALSE(ref.HasLatentPath());
  EXPECT_EQ(UnixPath(ref), Path("new.txt"));
  EXPECT_TRUE(fs::is_regular_file(Path("new.txt")));
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSRefTest, FoldsAnExistingFileOnceNormalized) {
  test::WriteFile(Path("file"), "x");
  LFSRef ref(Path("file").c_str());
  EXPECT_TRUE(ref.IsState(LFSRef::State_ExistsWithLatentPath));
  EXPECT_TRUE(ref.IsFile());
  EXPECT_TRUE(ref.FileExists());
  EXPECT_TRUE(ref.IsState(LFSRef::State_ExistsWithLatentPath)) << "tests work on a copy";
  EXPECT_TRUE(ref.Normalize());
  EXPECT_TRUE(ref.IsState(LFSRef::State_Exists));
  EXPECT_TRUE(ref.Normalize());
  EXPECT_EQ(UnixPath(ref), Path("file"));
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSRefTest, KeepsSeveralMissingNamesThatNothingCreates) {
  LFSRef ref(Path("a/b").c_str());
  EXPECT_EQ(Latent(ref), "a/b");
  EXPECT_EQ(UnixPath(ref), Path("a/b"));
  EXPECT_FALSE(ref.Normalize());
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(ref.CreateFile());
  EXPECT_FALSE(ref.CreateFolder());
  EXPECT_THAT(Logged(), ElementsAre(CheckErrLine(bdNamErr, "err", "LFSRef", "CreateFile"),
                                    CheckErrLine(bdNamErr, "err", "LFSRef", "CreateFolder")));
  EXPECT_EQ(Latent(ref), "a/b");
  EXPECT_TRUE(fs::is_empty(folder()));
  // Not even once the first of them is there: it is one look-up of one name.
  fs::create_directories(Path("a/b"));
  EXPECT_FALSE(ref.Normalize());
}

TEST_F(LFSRefTest, TakesAPathWithASlashBehindItAsTheFolderItself) {
  const LFSRef ref((folder().string() + "/").c_str());
  EXPECT_TRUE(ref.IsState(LFSRef::State_Exists));
  EXPECT_EQ(UnixPath(ref), folder().string());
  const LFSRef root("/");
  EXPECT_TRUE(root.IsState(LFSRef::State_Exists));
  EXPECT_EQ(UnixPath(root), "/");
  const LFSRef top("/no such name at the top");
  EXPECT_EQ(UnixPath(top), "/no such name at the top");
}

TEST_F(LFSRefTest, CountsABareNameFromTheWorkingDirectory) {
  LFSRef here;
  ASSERT_TRUE(here.Construct_cwd());
  const LFSRef name("no such name here");
  EXPECT_TRUE(name.IsState(LFSRef::State_ExistsWithLatentPath));
  EXPECT_EQ(UnixPath(name), UnixPath(here) + "/no such name here");
}

TEST_F(LFSRefTest, AnchorsAtAFileInMidPath) {
  test::WriteFile(Path("file"), "x");
  LFSRef ref;
  EXPECT_TRUE(ref.Construct(Path("file/below/it").c_str()));
  EXPECT_THAT(Logged(), ElementsAre(test::CheckLine("out_is_directory", "Carb_FSRef_inlines",
                                                    "bool_FSRef_MakeLatentFromPath")));
  EXPECT_EQ(UnixPath(ref), Path("file/below/it"));
  EXPECT_EQ(Latent(ref), "below/it");
  Forget();
  EXPECT_TRUE(ref.Construct(Path("file/below").c_str()));
  Forget();
  EXPECT_FALSE(ref.Normalize());
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(ref.CreateFile());
  LFSRef parent;
  Forget();
  EXPECT_FALSE(ref.GetParentFolder(parent)) << "a file is no parent";
  EXPECT_THAT(Logged(), ElementsAre(Line("fOk=latentRef.GetNormalizedRef(out_parent_folder)",
                                         "GetParentFolder")));
  EXPECT_EQ(test::ReadFile(Path("file")), "x");
}

TEST_F(LFSRefTest, RefusesWhatIsNoPath) {
  const std::string line =
      Line("bool_FSRef_MakeLatentFromPath(in_unix_path,mFSRef,mLatentPath)", "Construct");
  LFSRef ref(Path("file").c_str());
  const char* const none = nullptr;
  EXPECT_FALSE(ref.Construct(none));
  EXPECT_TRUE(ref.IsEmpty());
  ASSERT_FALSE(Logged().empty());
  EXPECT_EQ(Logged().back(), line);
  EXPECT_FALSE(ref.Construct(""));
  Forget();
  EXPECT_FALSE(ref.Construct("no such folder/name"));
  EXPECT_THAT(Logged(), ElementsAre(line));
}

TEST_F(LFSRefTest, EndsAtALoopOfLinks) {
  fs::create_symlink(Path("b"), Path("a"));
  fs::create_symlink(Path("a"), Path("b"));
  LFSRef ref(Path("a/x").c_str());
  EXPECT_EQ(Latent(ref), "a/x");
  EXPECT_EQ(UnixPath(ref), Path("a/x"));
  EXPECT_FALSE(ref.Normalize());
  EXPECT_EQ(ref.fopen("r"), nullptr);
}

TEST_F(LFSRefTest, TakesAVeryLongPath) {
  std::string path = folder().string();
  for (int i = 0; i < 2000; ++i) path += "/name";
  const LFSRef ref(path.c_str());
  EXPECT_EQ(UnixPath(ref), path);
  EXPECT_EQ(ref.fopen("w"), nullptr);
}

TEST_F(LFSRefTest, NeverFindsOrCreatesDotNames) {
  for (const char* name : {".", "..", "a/b", "/", "x/"}) {
    const FSRef parent = RefOf(folder());
    LFSRef ref(&parent, name);
    EXPECT_TRUE(ref.IsState(LFSRef::State_ExistsWithLatentPath)) << name;
    EXPECT_FALSE(ref.Normalize()) << name;
    EXPECT_FALSE(ref.CreateFile()) << name;
    EXPECT_FALSE(ref.CreateFolder()) << name;
    EXPECT_FALSE(ref.Delete()) << name;
  }
  EXPECT_TRUE(fs::is_empty(folder()));
}

TEST_F(LFSRefTest, IsMadeOfAReference) {
  const FSRef folderRef = RefOf(folder());
  LFSRef ref(&folderRef);
  EXPECT_TRUE(ref.Exists());
  EXPECT_TRUE(ref.IsFolder());
  EXPECT_FALSE(ref.IsFile());
  EXPECT_THAT(Logged(), IsEmpty());
  const FSRef* const none = nullptr;
  EXPECT_FALSE(ref.Construct(none));
  EXPECT_TRUE(ref.IsEmpty());
  const FSRef stale = {};
  EXPECT_FALSE(ref.Construct(&stale));
  EXPECT_THAT(Logged(), ElementsAre(Line("theFileRef", "Construct"),
                                    Line("bool_FSRef_IsValid(*theFileRef)", "Construct")));
}

TEST_F(LFSRefTest, IsMadeOfAFolderAndAName) {
  const FSRef parent = RefOf(folder());
  EXPECT_EQ(UnixPath(LFSRef(&parent, "n\xC3\xA4me")), Path("n\xC3\xA4me"));
  EXPECT_EQ(UnixPath(LFSRef(&parent, std::string("a/b"))), Path("a/b"));
  EXPECT_EQ(UnixPath(LFSRef(&parent, LHFSUnicodeName("uni"))), Path("uni"));
  const char* const none = nullptr;
  EXPECT_TRUE(LFSRef(&parent, none).IsState(LFSRef::State_Exists));
  EXPECT_TRUE(LFSRef(&parent, std::string()).IsState(LFSRef::State_Exists));
  EXPECT_THAT(Logged(), IsEmpty());
  const FSRef stale = {};
  LFSRef ref;
  EXPECT_FALSE(ref.Construct(&stale, "name"));
  EXPECT_THAT(Logged(), ElementsAre(Line("bool_FSRef_IsValid(*theFileRef)", "Construct"),
                                    Line("Construct(parentRef)", "Construct")));
  EXPECT_TRUE(ref.IsEmpty());
}

TEST_F(LFSRefTest, LogsABitWithoutAPath) {
  const FSRef parent = RefOf(folder());
  const LFSRef ref(&parent, "");
  EXPECT_TRUE(ref.IsState(LFSRef::State_ExistsWithLatentPath));
  EXPECT_FALSE(ref.HasLatentPath());
  EXPECT_THAT(Logged(), ElementsAre(Line("fOk = (mLatentPath.length()>0)", "HasLatentPath")));
  Forget();
  LFSRef copy(ref);
  EXPECT_FALSE(copy.Normalize());
  EXPECT_THAT(
      Logged(),
      ElementsAre(Line("(mLatentPath.length()>0) && latent_path.Construct(mLatentPath.c_str())",
                       "Normalize")));
}

TEST_F(LFSRefTest, GivesItsLatentPath) {
  const LFSRef ref(Path("new").c_str());
  std::string text;
  LHFSUnicodeName name;
  EXPECT_TRUE(ref.GetLatentPath(text));
  EXPECT_EQ(text, "new");
  EXPECT_TRUE(ref.GetLatentPath(name));
  EXPECT_EQ(test::TextOf(name), u"new");
  EXPECT_THAT(Logged(), IsEmpty());
  const LFSRef existing(RefOf(folder()));
  EXPECT_FALSE(existing.GetLatentPath(text));
  EXPECT_FALSE(existing.GetLatentPath(name));
  EXPECT_THAT(Logged(), ElementsAre(Line("HasLatentPath()", "GetLatentPath"),
                                    Line("HasLatentPath()", "GetLatentPath")));
}

TEST_F(LFSRefTest, GoesThroughTheFlatRecord) {
  LFSRef_data_t data;
  data = LFSRef(Path("n\xC3\xA4me").c_str());
  EXPECT_FALSE(data.IsEmpty());
  EXPECT_EQ(data.state, 3);
  EXPECT_EQ(test::TextOf(data.latent_path), u"n\u00E4me");
  EXPECT_EQ(PathOf(data.ref), folder().string());
  const LFSRef back(data);
  EXPECT_EQ(back.GetState(), 3);
  EXPECT_EQ(UnixPath(back), Path("n\xC3\xA4me"));

  data = LFSRef(RefOf(folder()));
  EXPECT_EQ(data.state, 1);
  EXPECT_EQ(data.latent_path.length, 0);
  data.Empty();
  EXPECT_TRUE(data.IsEmpty());
  EXPECT_FALSE(LFSRef().Construct(data));
  EXPECT_THAT(Logged(), IsEmpty());

  test::WriteFile(Path("file"), "x");
  data = static_cast<const FSSpec&>(LFSSpec(Path("file").c_str()));
  EXPECT_EQ(data.state, 1);
  EXPECT_EQ(PathOf(data.ref), Path("file"));
}

TEST_F(LFSRefTest, TakesARecordAsItIs) {
  LFSRef_data_t data;
  data.Empty();
  data.state = 2;
  data.latent_path = test::Units(u"a");
  LFSRef latentOnly;
  EXPECT_TRUE(latentOnly.Construct(data));
  EXPECT_TRUE(latentOnly.IsState(LFSRef::State_HasLatentPath));
  std::string path;
  EXPECT_FALSE(latentOnly.GetUnixPath(path));
  EXPECT_FALSE(latentOnly.Normalize());
  EXPECT_FALSE(latentOnly.CreateFile());
  LFSRef_data_t again;
  EXPECT_TRUE(latentOnly.GetData(again));
  EXPECT_EQ(std::memcmp(&data, &again, sizeof data), 0);

  data.state = 0xFFFF;
  data.latent_path.length = 0xFFFF;  // More than there is.
  LFSRef odd;
  EXPECT_TRUE(odd.Construct(data));
  EXPECT_EQ(odd.GetState(), 0xFFFF);
  EXPECT_FALSE(odd.Exists());
}

TEST_F(LFSRefTest, IsStaleOnceItsObjectIsGone) {
  test::WriteFile(Path("file"), "x");
  LFSRef ref(RefOf(Path("file")));
  fs::remove(Path("file"));
  test::WriteFile(Path("file"), "another");
  std::string path;
  LFSRef out;
  FSRef raw;
  EXPECT_FALSE(ref.Exists());
  EXPECT_FALSE(ref.Is_FSRef_Valid());
  EXPECT_FALSE(ref.Normalize());
  EXPECT_FALSE(ref.GetNormalizedRef(raw));
  EXPECT_FALSE(ref.GetUnixPath(path));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(ref.GetLatentRef(out));
  EXPECT_FALSE(ref.MakeRefWithLatentPath());
  EXPECT_FALSE(ref.GetParentFolder(out));
  EXPECT_FALSE(ref.Delete());
  EXPECT_THAT(Logged(), ElementsAre(Line("Is_FSRef_Valid()", "GetLatentRef"),
                                    Line("Is_FSRef_Valid()", "GetLatentRef"),
                                    Line("GetLatentRef(theLatentRef)", "MakeRefWithLatentPath"),
                                    Line("Is_FSRef_Valid()", "GetLatentRef"),
                                    Line("GetLatentRef(latentRef)", "GetParentFolder"),
                                    Line(kNormalizedLine, "Delete")));
  EXPECT_EQ(test::ReadFile(Path("file")), "another");
}

TEST_F(LFSRefTest, FailsOnceItsAnchorIsGone) {
  fs::create_directory(Path("sub"));
  LFSRef ref(Path("sub/new").c_str());
  fs::remove(Path("sub"));
  EXPECT_FALSE(ref.CreateFile());
  EXPECT_FALSE(ref.Normalize());
  EXPECT_EQ(ref.fopen("w"), nullptr);
  fs::create_directory(Path("sub"));
  EXPECT_FALSE(ref.Is_FSRef_Valid()) << "another folder of the name is not the anchor";
}

TEST_F(LFSRefTest, BecomesFolderAndName) {
  test::WriteFile(Path("file"), "x");
  LFSRef ref(RefOf(Path("file")));
  LFSRef latent;
  EXPECT_TRUE(ref.GetLatentRef(latent));
  EXPECT_TRUE(ref.IsState(LFSRef::State_Exists));
  EXPECT_EQ(Latent(latent), "file");
  EXPECT_TRUE(ref.MakeRefWithLatentPath());
  EXPECT_TRUE(ref.IsState(LFSRef::State_ExistsWithLatentPath));
  EXPECT_EQ(UnixPath(ref), Path("file"));
  EXPECT_TRUE(ref.MakeRefWithLatentPath()) << "a second time changes nothing";
  EXPECT_EQ(Latent(ref), "file");
  EXPECT_THAT(Logged(), IsEmpty());
  LFSRef root("/");
  EXPECT_FALSE(root.GetLatentRef(latent));
  EXPECT_THAT(Logged(), ElementsAre(Line(
                            "noErr==FSRef_GetParentAndRelativeName(mFSRef, parentRef, latent_name)",
                            "GetLatentRef")));
}

TEST_F(LFSRefTest, GivesTheTrueParentFolder) {
  test::WriteFile(Path("file"), "x");
  fs::create_directory(Path("sub"));
  for (const std::string& path : {Path("file"), Path("missing"), Path("sub")}) {
    LFSRef parent;
    EXPECT_TRUE(LFSRef(path.c_str()).GetParentFolder(parent)) << path;
    EXPECT_TRUE(parent.Exists());
    EXPECT_EQ(UnixPath(parent), folder().string());
  }
  LFSRef parent;
  EXPECT_TRUE(LFSRef(RefOf(Path("file"))).GetParentFolder(parent));
  EXPECT_EQ(UnixPath(parent), folder().string());
  EXPECT_TRUE(parent.GetParentFolder(parent)) << "into itself";
  EXPECT_EQ(UnixPath(parent), folder().parent_path().string());
  EXPECT_TRUE(LFSRef(Path("a/b/c").c_str()).GetParentFolder(parent));
  EXPECT_EQ(UnixPath(parent), Path("a/b"));
  EXPECT_FALSE(parent.Exists());
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFSRefTest, MovesItsNameToAnotherFolder) {
  fs::create_directory(Path("sub"));
  test::WriteFile(Path("sub/other"), "x");
  LFSRef ref(Path("new").c_str());
  EXPECT_TRUE(ref.ReplaceFolder(LFSRef(Path("sub").c_str())));
  EXPECT_EQ(UnixPath(ref), Path("sub/new"));
  LFSRef byFile(Path("new").c_str());
  EXPECT_TRUE(byFile.ReplaceFolder(LFSRef(Path("sub/other").c_str()))) << "a file's own folder";
  EXPECT_EQ(UnixPath(byFile), Path("sub/new"));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(ref.ReplaceFolder(LFSRef(Path("missing").c_str())));
  EXPECT_EQ(UnixPath(ref), Path("sub/new"));
}

TEST_F(LFSRefTest, ReplacesItsName) {
  test::WriteFile(Path("file"), "x");
  LFSRef ref(RefOf(Path("file")));
  EXPECT_TRUE(ref.ReplaceJustName("other"));
  EXPECT_EQ(UnixPath(ref), Path("other"));
  LFSRef several(Path("a/b").c_str());
  EXPECT_TRUE(several.ReplaceJustName("c"));
  EXPECT_EQ(UnixPath(several), Path("c")) << "the whole latent path";
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(ref.ReplaceJustName(""));
  EXPECT_FALSE(ref.ReplaceJustName(nullptr));
  const std::string line =
      Line("(in_justname!=0) && (std::strlen(in_justname)>0)", "ReplaceJustName");
  EXPECT_THAT(Logged(), ElementsAre(line, line));
}

TEST_F(LFSRefTest, ChangesExtensions) {
  LFSRef ref(Path("name").c_str());
  EXPECT_TRUE(ref.AddExtension("txt"));
  EXPECT_EQ(Latent(ref), "nametxt");
  EXPECT_TRUE(ref.AddExtension(".txt"));
  EXPECT_EQ(Latent(ref), "nametxt.txt");
  EXPECT_TRUE(ref.HasExtension("TXT"));
  EXPECT_TRUE(ref.HasExtension(".txt"));
  EXPECT_TRUE(ref.ReplaceExtension("jpg"));
  EXPECT_EQ(Latent(ref), "nametxt.jpg");
  EXPECT_FALSE(ref.HasExtension("txt"));
  EXPECT_THAT(Logged(), IsEmpty());
  LFSRef folderRef(RefOf(folder()));
  EXPECT_FALSE(folderRef.AddExtension("txt"));
  EXPECT_FALSE(folderRef.ReplaceExtension("txt"));
  EXPECT_THAT(Logged(), ElementsAre(Line("!IsFolder()", "AddExtension"),
                                    Line("!IsFolder()", "ReplaceExtension")));
  test::WriteFile(Path("old.txt"), "x");
  LFSRef existing(RefOf(Path("old.txt")));
  EXPECT_TRUE(existing.ReplaceExtension(".jpg"));
  EXPECT_EQ(UnixPath(existing), Path("old.jpg"));
  EXPECT_TRUE(fs::exists(Path("old.txt"))) << "nothing is renamed";
}

TEST_F(LFSRefTest, TakesPascalNames) {
  LFSRef ref(RefOf(folder()));
  EXPECT_TRUE(ref.AddJustName(Pascal("na\x8Ave"), nullptr));
  EXPECT_EQ(Latent(ref), "na\xC3\xA4ve");
  EXPECT_FALSE(ref.AddJustName(Pascal("more"), nullptr));
  LFSRef two(RefOf(folder()));
  EXPECT_TRUE(two.AddJustName(Pascal("a"), Pascal("b")));
  EXPECT_EQ(Latent(two), "a/b");
  LFSRef none(RefOf(folder()));
  EXPECT_FALSE(none.AddJustName(Pascal(""), nullptr));
  EXPECT_FALSE(none.AddJustName(nullptr, nullptr));
  EXPECT_THAT(Logged(), ElementsAre(Line("mLatentPath.length()==0", "AddJustName"),
                                    Line("(in_name!=0) && (in_name[0]>0)", "AddJustName"),
                                    Line("(in_name!=0) && (in_name[0]>0)", "AddJustName")));
}

TEST_F(LFSRefTest, IsMadeOfASpecification) {
  test::WriteFile(Path("file"), "x");
  fs::create_directory(Path("sub"));
  const LFSSpec file(Path("file").c_str());
  const LFSSpec sub(Path("sub").c_str());
  const LFSSpec missing(Path("missing").c_str());
  const LFSRef ofFile(file);
  EXPECT_TRUE(ofFile.IsState(LFSRef::State_Exists));
  EXPECT_EQ(UnixPath(ofFile), Path("file"));
  EXPECT_EQ(UnixPath(LFSRef(static_cast<const FSSpec*>(&sub))), Path("sub"));
  const LFSRef ofMissing(missing);
  EXPECT_TRUE(ofMissing.IsState(LFSRef::State_ExistsWithLatentPath));
  EXPECT_EQ(UnixPath(ofMissing), Path("missing"));
  EXPECT_EQ(UnixPath(LFSRef(sub, Pascal("new"))), Path("sub/new"));
  EXPECT_EQ(UnixPath(LFSRef(sub, "n\xC3\xA4w")), Path("sub/n\xC3\xA4w"));
  EXPECT_EQ(UnixPath(LFSRef(file, "beside")), Path("beside"));
  EXPECT_THAT(Logged(), IsEmpty());
  FSSpec nowhere = file;
  nowhere.vRefNum = 77;
  LFSRef ref;
  EXPECT_FALSE(ref.Construct(nowhere));
  EXPECT_TRUE(ref.IsEmpty());
  EXPECT_THAT(Logged(),
              ElementsAre(Line(
                  "bool_FSSpec_GetVolumeFolderID(in_file_spec, volumeID, folderID, &fIsFolder)",
                  "Construct")));
}

TEST_F(LFSRefTest, ComparesWhatExists) {
  test::WriteFile(Path("file"), "x");
  test::WriteFile(Path("File"), "x");
  EXPECT_TRUE(LFSRef(Path("file").c_str()) == LFSRef(RefOf(Path("file"))));
  EXPECT_FALSE(LFSRef(Path("file").c_str()) == LFSRef(Path("File").c_str()));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(LFSRef(Path("missing").c_str()) == LFSRef(Path("missing").c_str()));
  EXPECT_THAT(Logged(),
              ElementsAre(Line("lhs_normal.Normalize() && rhs_normal.Normalize()", "operator==")));
}

TEST_F(LFSRefTest, DescribesItself) {
  char buffer[LFSRef::kDebugBufferSize];
  LFSRef().CoreDebugGetContents(nullptr, buffer, false);
  EXPECT_STREQ(buffer,
               "\n LFSRef contents = { mState:State_Invalid '0'\nmLatentPath:\nmFSRef:(empty)\n"
               "mFSRef: \n}\n");
  const LFSRef ref(Path("new").c_str());
  ref.CoreDebugGetContents("label", buffer, false);
  EXPECT_EQ(std::string(buffer),
            "label\n LFSRef contents = { mState:State_ExistsWithLatentPath '3'\nmLatentPath:new\n"
            "mFSRef:" +
                folder().string() + "\nmFSRef: \n}\n");
  ref.CoreDebugGetContents("", buffer, true);
  std::string hex;
  for (const UInt8 byte : ref.GetAnchor().hidden) {
    char pair[4];
    std::snprintf(pair, sizeof pair, "%02X ", byte);
    hex += pair;
  }
  EXPECT_THAT(buffer, testing::HasSubstr("\nmFSRef:" + hex + " \n}\n"));
  LFSRef_data_t data;
  data.Empty();
  data.state = 2;
  LFSRef(data).CoreDebugGetContents("", buffer, false);
  EXPECT_THAT(buffer, testing::HasSubstr("mState:State_HasLatentPath '2'\n"));
  data.state = 1;
  LFSRef(data).CoreDebugGetContents("", buffer, false);
  EXPECT_THAT(buffer, testing::HasSubstr("mState:State_Exists '1'\n"));
  data.state = 9;
  LFSRef(data).CoreDebugGetContents("", buffer, false);
  EXPECT_THAT(buffer, testing::HasSubstr("mState:????\n"));
  Forget();
  ref.CoreDebugPrint("print");
  EXPECT_THAT(Logged(), testing::Contains("mLatentPath:new"));
  LFSRef(Path(std::string(9000, 'x')).c_str()).CoreDebugGetContents("", buffer, true);
  EXPECT_EQ(std::strlen(buffer), sizeof buffer - 1) << "cut to the buffer";
}

}  // namespace
