#include "sdk/CoreX/LFileFork.h"

#include "sdk/CoreX/LFSRef.h"
#include "sdk/CoreX/LFSSpec.h"
#include "tests/sdk/CoreX/FileRefTesting.h"

namespace {

using test::CheckErrLine;
using test::RefOf;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Line(const std::string& code, const std::string& function) {
  return test::CheckLine(code, "LFileFork", function);
}

class LFileForkTest : public test::FileRefTest {
 protected:
  LFileForkTest() { test::WriteFile(Path("file"), "0123456789"); }
  FSRef File() const { return RefOf(Path("file")); }
};

TEST_F(LFileForkTest, ReadsToTheEnd) {
  const FSRef ref = File();
  LFileFork fork;
  EXPECT_FALSE(fork.IsOpen());
  EXPECT_EQ(fork.GetRefNum(), -1);
  EXPECT_TRUE(fork.OpenRead(&ref, &LHFSUnicodeName::sDataFork));
  EXPECT_TRUE(fork.IsOpen());
  char buffer[20] = "";
  ByteCount actual = 0;
  EXPECT_TRUE(fork.Read(buffer, 4, fsFromStart, 2, &actual));
  EXPECT_EQ(std::string(buffer, actual), "2345");
  EXPECT_TRUE(fork.Read(buffer, 20, fsAtMark, 0, &actual)) << "the end is no failure";
  EXPECT_EQ(std::string(buffer, actual), "6789");
  EXPECT_TRUE(fork.Read(buffer, 20, fsAtMark, 0, &actual));
  EXPECT_EQ(actual, 0u);
  SInt64 position = 0;
  EXPECT_TRUE(fork.SetPosition(-3, fsFromLEOF));
  EXPECT_TRUE(fork.GetPosition(position));
  EXPECT_EQ(position, 7);
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(fork.Read(buffer, 1, fsFromStart, -1, &actual));
  EXPECT_FALSE(fork.Write("x", 1, fsFromStart, 0)) << "open for reading";
  EXPECT_THAT(Logged(), ElementsAre(Line("fOk = ((err==noErr) || (err==eofErr))", "Read"),
                                    Line("fOk = (err==noErr)", "Write")));
  EXPECT_TRUE(fork.Close());
  EXPECT_TRUE(fork.Close());
  EXPECT_FALSE(fork.IsOpen());
}

TEST_F(LFileForkTest, FailsWhenClosed) {
  LFileFork fork;
  char byte = 0;
  SInt64 position = 0;
  EXPECT_FALSE(fork.Read(&byte, 1, fsFromStart, 0));
  EXPECT_FALSE(fork.Write(&byte, 1, fsFromStart, 0));
  EXPECT_FALSE(fork.SetPosition(0, fsFromStart));
  EXPECT_FALSE(fork.GetPosition(position));
  EXPECT_THAT(Logged(),
              ElementsAre(Line("IsOpen()", "Read"), Line("IsOpen()", "Write"),
                          Line("IsOpen()", "SetPosition"), Line("IsOpen()", "GetPosition")));
}

TEST_F(LFileForkTest, WritesBothForks) {
  const FSRef ref = File();
  {
    LFileFork fork;
    EXPECT_TRUE(fork.OpenData(&ref, fsRdWrPerm));
    ByteCount actual = 0;
    EXPECT_TRUE(fork.Write("abc", 3, fsFromStart, 1, &actual));
    EXPECT_EQ(actual, 3u);
    EXPECT_TRUE(fork.OpenWrite(&ref, &LHFSUnicodeName::sResourceFork)) << "in place of the other";
    EXPECT_TRUE(fork.Write("rsrc", 4, fsFromStart, 0));
  }
  EXPECT_EQ(test::ReadFile(Path("file")), "0abc456789");
  LFileFork fork;
  char buffer[8] = "";
  EXPECT_TRUE(fork.OpenRead(&ref, &LHFSUnicodeName::sResourceFork));
  EXPECT_TRUE(fork.Read(buffer, 8, fsFromStart, 0));
  EXPECT_STREQ(buffer, "rsrc");
  EXPECT_TRUE(fork.Close());
  EXPECT_TRUE(LFileFork::DeleteResourceFork(ref));
  EXPECT_TRUE(LFileFork::DeleteDataFork(ref));
  EXPECT_EQ(test::ReadFile(Path("file")), "");
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(LFileForkTest, OpensDataByEveryKindOfName) {
  LFileFork fork;
  EXPECT_TRUE(fork.OpenData(LFSRef(Path("file").c_str()), fsRdPerm));
  EXPECT_TRUE(fork.OpenData(static_cast<const FSSpec&>(LFSSpec(Path("file").c_str())), fsRdPerm));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(fork.OpenData(LFSRef(Path("missing").c_str()), fsRdPerm));
  EXPECT_FALSE(fork.IsOpen());
  EXPECT_FALSE(
      fork.OpenData(static_cast<const FSSpec&>(LFSSpec(Path("missing").c_str())), fsRdPerm));
  EXPECT_FALSE(fork.Open(nullptr, &LHFSUnicodeName::sDataFork, fsRdPerm));
  const FSRef folderRef = RefOf(folder());
  Forget();
  EXPECT_FALSE(fork.OpenData(&folderRef, fsRdPerm));
  EXPECT_THAT(Logged(), ElementsAre(CheckErrLine(notAFileErr, "err", "LFileFork", "Open")));
}

TEST_F(LFileForkTest, CreatesTheDataForkWhateverItIsAskedFor) {
  const FSRef ref = File();
  LFileFork fork;
  EXPECT_TRUE(fork.Create(&ref, &LHFSUnicodeName::sResourceFork));
  EXPECT_TRUE(fork.Write("r", 1, fsFromStart, 0));
  EXPECT_TRUE(fork.Close());
  EXPECT_TRUE(fork.CreateData(&ref));
  EXPECT_TRUE(fork.Write("d", 1, fsFromStart, 0));
  EXPECT_TRUE(fork.Close());
  EXPECT_EQ(test::ReadFile(Path("file")), "d123456789");
  EXPECT_THAT(Logged(), IsEmpty());
  const HFSUniStr255 other = test::Units(u"other");
  EXPECT_FALSE(fork.Create(&ref, &other));
  EXPECT_THAT(Logged(), ElementsAre(CheckErrLine(errFSBadForkName, "err", "LFileFork", "Open")));
  Forget();
  const FSRef folderRef = RefOf(folder());
  EXPECT_FALSE(fork.CreateData(&folderRef));
  EXPECT_THAT(Logged(), ElementsAre(Line("noErr==::FSCreateFork(theFileRef, 0, 0)", "Create")));
}

TEST_F(LFileForkTest, LogsACloseThatFails) {
  const FSRef ref = File();
  LFileFork fork;
  ASSERT_TRUE(fork.OpenData(&ref, fsRdPerm));
  ASSERT_EQ(FSCloseFork(fork.GetRefNum()), noErr) << "behind its back";
  EXPECT_FALSE(fork.Close());
  EXPECT_FALSE(fork.IsOpen());
  EXPECT_THAT(Logged(), ElementsAre(Line("noErr==(err=::FSCloseFork(mRef))", "Close")));
}

}  // namespace
