#include "sdk/CoreX/MAC_fopen.h"

#include "platform/CoreServices/MacMemory.h"
#include "platform/CoreServices/Resources.h"
#include "sdk/CoreX/LFSSpec.h"
#include "sdk/CoreX/XFileName.h"
#include "tests/sdk/CoreX/FileRefTesting.h"
#include "tests/support/OrdinaryRights.h"

namespace {

namespace fs = std::filesystem;
using test::Pascal;
using testing::ElementsAre;

class MacFopenTest : public test::FileRefTest {
 protected:
  LFSSpec Spec(const std::string& name) const { return LFSSpec(Path(name).c_str()); }
  void ExpectStamp(const std::string& name, OSType creator, OSType type) const {
    OSType foundType = 0;
    OSType foundCreator = 0;
    EXPECT_TRUE(Spec(name).GetFileTypeCreator(foundType, foundCreator));
    EXPECT_EQ(foundType, type);
    EXPECT_EQ(foundCreator, creator);
  }
  void MakeWithResources(const std::string& name, const std::string& data) {
    ASSERT_TRUE(Spec(name).CreateFileWithResFork('TEXT', 'ttxt'));
    test::WriteFile(Path(name), data);
  }
};

TEST_F(MacFopenTest, StampsInEveryForm) {
  const LFSSpec spec = Spec("spec");
  const LFSRef ref(Path("ref").c_str());
  const XFileName name(Path("name").c_str());
  for (std::FILE* file : {fopen(static_cast<const FSSpec*>(&spec), "w", 'ttxt', 'TEXT'),
                          fopen(ref, "w", 'ttxt', 'TEXT'), fopen(name, "w", 'ttxt', 'TEXT')}) {
    ASSERT_NE(file, nullptr);
    std::fclose(file);
  }
  ExpectStamp("spec", 'ttxt', 'TEXT');
  ExpectStamp("ref", 'ttxt', 'TEXT');
  ExpectStamp("name", 'ttxt', 'TEXT');
  std::FILE* file = FSp_fopen_TypeCreator(&spec, "r", 'JPEG', '8BIM');
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  ExpectStamp("spec", '8BIM', 'JPEG');
  EXPECT_THAT(Logged(), testing::IsEmpty());
}

TEST_F(MacFopenTest, OpensNothingWithoutAName) {
  EXPECT_EQ(fopen(LFSRef(), "w", 'ttxt', 'TEXT'), nullptr);
  EXPECT_EQ(fopen(static_cast<const FSSpec*>(nullptr), "w", 'ttxt', 'TEXT'), nullptr);
  Forget();
  EXPECT_EQ(fopen(XFileName(), "w", 'ttxt', 'TEXT'), nullptr);
  EXPECT_EQ(Logged().back(),
            test::CheckLine("filename.GetSystemRepresentation(theFileRef)", "MAC_fopen", "fopen"));
  SInt16 refNum = 5;
  EXPECT_EQ(MAC_fopen(LFSRef(), "w", 'ttxt', 'TEXT', &refNum), nullptr);
  EXPECT_EQ(refNum, -1);
  const LFSSpec spec = Spec("x");
  refNum = 5;
  EXPECT_EQ(MAC_fopen(&spec, nullptr, 'ttxt', 'TEXT', &refNum), nullptr);
  EXPECT_EQ(refNum, -1);
  EXPECT_TRUE(fs::is_empty(folder()));
}

TEST_F(MacFopenTest, ReturnsAStreamItCannotStamp) {
  fs::create_directory(Path("locked"));
  test::WriteFile(Path("locked/file"), "x");
  const LFSRef ref(Path("locked/file").c_str());
  fs::permissions(Path("locked"), fs::perms::owner_read | fs::perms::owner_exec);
  {
    const test::OrdinaryRights rights;
    if (!rights.AreEffective()) GTEST_SKIP() << "rights cannot be given up";
    std::FILE* file = fopen(ref, "r", 'ttxt', 'TEXT');
    EXPECT_NE(file, nullptr);
    if (file != nullptr) std::fclose(file);
    EXPECT_EQ(Logged().back(),
              test::CheckLine("ref.SetFileTypeCreator(file_type,creator)", "MAC_fopen", "fopen"));
  }
  fs::permissions(Path("locked"), fs::perms::owner_all);
}

struct ModeCase {
  const char* mode;
  bool onMissing;       ///< opens a file that is missing
  bool onPlain;         ///< opens a file without resources
  bool onFull;          ///< opens a file with resources
  bool changesRes;      ///< its resource file may be written
  const char* content;  ///< of a file that had "old" after writing "n"
};

class MacFopenModes : public MacFopenTest, public testing::WithParamInterface<ModeCase> {};

TEST_P(MacFopenModes, OpensBothForks) {
  const ModeCase& mode = GetParam();
  MakeWithResources("full", "old");
  test::WriteFile(Path("plain"), "old");
  const struct {
    const char* name;
    bool opens;
  } files[] = {{"missing", mode.onMissing}, {"plain", mode.onPlain}, {"full", mode.onFull}};
  for (const auto& [name, opens] : files) {
    SCOPED_TRACE(name);
    const LFSSpec spec = Spec(name);
    SInt16 refNum = 5;
    std::FILE* file = MAC_fopen(&spec, mode.mode, 'ttxt', 'TEXT', &refNum);
    EXPECT_EQ(file != nullptr, opens);
    EXPECT_EQ(refNum != -1, opens);
    if (file != nullptr) {
      std::fputs("n", file);
      std::fclose(file);
      ExpectStamp(name, 'ttxt', 'TEXT');
    }
    if (refNum != -1) {
      // A file that is open for writing is not opened a second time.
      const ResFileRefNum again = FSpOpenResFile(&spec, fsRdWrPerm);
      EXPECT_EQ(again == refNum, mode.changesRes);
      if (again != refNum) CloseResFile(again);
      CloseResFile(refNum);
      EXPECT_EQ(ResError(), noErr);
    }
  }
  EXPECT_EQ(test::ReadFile(Path("full")), mode.content);
  EXPECT_EQ(test::ReadFile(Path("plain")), "old");
  EXPECT_EQ(fs::exists(Path("missing")), mode.onMissing);
}

// "r+" asks for no right to write resources; "+" and "b" ask for nothing at all.
INSTANTIATE_TEST_SUITE_P(All, MacFopenModes,
                         testing::Values(ModeCase{"r", false, false, true, false, "old"},
                                         ModeCase{"rb", false, false, true, false, "old"},
                                         ModeCase{"r+", false, false, true, false, "nld"},
                                         ModeCase{"w", true, false, true, true, "n"},
                                         ModeCase{"wb", true, false, true, true, "n"},
                                         ModeCase{"w+b", true, false, true, true, "n"},
                                         ModeCase{"a", true, false, true, true, "oldn"},
                                         ModeCase{"a+", true, false, true, true, "oldn"}));

TEST_F(MacFopenTest, KeepsResourcesOfEveryForm) {
  const LFSRef ref(Path("new").c_str());
  SInt16 refNum = -1;
  std::FILE* file = MAC_fopen(ref, "w", 'ttxt', 'TEXT', &refNum);
  ASSERT_NE(file, nullptr);
  std::fputs("data", file);
  std::fclose(file);
  Handle handle = NewHandleClear(4);
  AddResource(handle, 'test', 200, Pascal("kept"));
  EXPECT_EQ(ResError(), noErr);
  CloseResFile(refNum);
  file = MAC_fopen(XFileName(Path("new").c_str()), "r", 'ttxt', 'TEXT', &refNum);
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  EXPECT_NE(Get1Resource('test', 200), nullptr);
  CloseResFile(refNum);
  EXPECT_EQ(test::ReadFile(Path("new")), "data");
}

TEST_F(MacFopenTest, LeavesTheResourceFileOpenWhenTheStreamFails) {
  MakeWithResources("full", "old");
  const LFSSpec spec = Spec("full");
  SInt16 refNum = -1;
  EXPECT_EQ(MAC_fopen(&spec, "br", 'ttxt', 'TEXT', &refNum), nullptr) << "no mode of a stream";
  EXPECT_NE(refNum, -1);
  EXPECT_EQ(CurResFile(), refNum);
  CloseResFile(refNum);
}

TEST_F(MacFopenTest, OpensTheStreamAloneWhenNoNumberIsWanted) {
  const LFSSpec spec = Spec("plain");
  std::FILE* file = MAC_fopen(&spec, "w", 'ttxt', 'TEXT', nullptr);
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  ExpectStamp("plain", 'ttxt', 'TEXT');
  EXPECT_EQ(FSpOpenResFile(&spec, fsRdPerm), -1);
}

}  // namespace
