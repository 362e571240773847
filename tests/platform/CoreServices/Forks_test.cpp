#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

/// Every case runs on both forks.
class Forks : public testing::TestWithParam<bool> {
 protected:
  Forks() {
    WriteFile(folder_ / "file", "");
    file_ = RefOf(folder_ / "file");
    if (GetParam()) FSGetResourceForkName(&name_);
  }

  OSErr Open(SInt8 permission, SInt16* number) {
    return FSOpenFork(&file_, name_.length, name_.unicode, permission, number);
  }
  OSErr Write(SInt16 number, UInt16 mode, SInt64 offset, const std::string& bytes) {
    ByteCount actual = 0;
    const OSErr error = FSWriteFork(number, mode, offset, static_cast<ByteCount>(bytes.size()),
                                    bytes.data(), &actual);
    if (error == noErr) {
      EXPECT_EQ(actual, bytes.size());
    }
    return error;
  }
  std::string Read(SInt16 number, UInt16 mode, SInt64 offset, ByteCount count, OSErr wanted) {
    std::string bytes(count, '?');
    ByteCount actual = 0;
    EXPECT_EQ(FSReadFork(number, mode, offset, count, bytes.data(), &actual), wanted);
    bytes.resize(actual);
    return bytes;
  }
  SInt64 Position(SInt16 number) {
    SInt64 position = -1;
    EXPECT_EQ(FSGetForkPosition(number, &position), noErr);
    return position;
  }
  SInt64 SizeOf(SInt16 number) {
    SInt64 size = -1;
    EXPECT_EQ(FSGetForkSize(number, &size), noErr);
    return size;
  }

  TempFolder folder_;
  FSRef file_{};
  HFSUniStr255 name_{};
};

INSTANTIATE_TEST_SUITE_P(Both, Forks, testing::Values(false, true),
                         [](const auto& fork) { return fork.param ? "Resource" : "Data"; });

TEST_P(Forks, ReadAndWriteAtEveryMode) {
  SInt16 number = 0;
  ASSERT_EQ(Open(fsRdWrPerm, &number), noErr);
  EXPECT_GT(number, 0);
  EXPECT_EQ(Write(number, fsAtMark, 12345, "0123456789"), noErr);  // the offset is ignored
  EXPECT_EQ(Position(number), 10);
  EXPECT_EQ(Read(number, fsFromStart, 2, 3, noErr), "234");
  EXPECT_EQ(Read(number, fsAtMark, 0, 2, noErr), "56");
  EXPECT_EQ(Read(number, fsFromMark, -4, 2, noErr), "34");
  EXPECT_EQ(Read(number, fsFromLEOF, -3, 10, eofErr), "789");
  EXPECT_EQ(Read(number, fsAtMark, 0, 1, eofErr), "");
  EXPECT_EQ(Read(number, fsFromStart, 100, 1, eofErr), "");
  EXPECT_EQ(Read(number, fsFromStart, -1, 1, posErr), "");
  EXPECT_EQ(Read(number, fsFromStart, 10, 0, noErr), "");
  EXPECT_EQ(Write(number, fsFromLEOF, -2, "ABCD"), noErr);
  EXPECT_EQ(Write(number, fsFromStart, 1, "x"), noErr);
  EXPECT_EQ(Write(number, fsFromStart, 15, "end"), noErr);
  EXPECT_EQ(SizeOf(number), 18);
  EXPECT_EQ(Read(number, fsFromStart, 0, 18, noErr), std::string("0x234567ABCD\0\0\0end", 18));
  EXPECT_EQ(Write(number, fsFromStart, -5, "x"), posErr);
  EXPECT_EQ(FSFlushFork(number), noErr);
  EXPECT_EQ(FSCloseFork(number), noErr);
  EXPECT_EQ(FSCloseFork(number), rfNumErr);
}

TEST_P(Forks, PositionAndSize) {
  SInt16 number = 0;
  ASSERT_EQ(Open(fsRdWrPerm, &number), noErr);
  ASSERT_EQ(Write(number, fsFromStart, 0, "0123456789"), noErr);
  EXPECT_EQ(FSSetForkPosition(number, fsFromStart, 4), noErr);
  EXPECT_EQ(Position(number), 4);
  EXPECT_EQ(FSSetForkPosition(number, fsFromLEOF, -1), noErr);
  EXPECT_EQ(Position(number), 9);
  EXPECT_EQ(FSSetForkPosition(number, fsFromMark, -20), posErr);
  EXPECT_EQ(Position(number), 9);
  EXPECT_EQ(FSSetForkPosition(number, fsFromStart, 11), eofErr);
  EXPECT_EQ(Position(number), 10);
  EXPECT_EQ(FSSetForkSize(number, fsFromStart, 5), noErr);
  EXPECT_EQ(Position(number), 5);
  EXPECT_EQ(SizeOf(number), 5);
  EXPECT_EQ(FSSetForkSize(number, fsFromLEOF, 3), noErr);
  EXPECT_EQ(Read(number, fsFromStart, 0, 8, noErr), std::string("01234\0\0\0", 8));
  EXPECT_EQ(FSSetForkSize(number, fsFromStart, 0), noErr);
  EXPECT_EQ(SizeOf(number), 0);
  EXPECT_EQ(FSSetForkSize(number, fsFromStart, -1), posErr);
  EXPECT_EQ(FSCloseFork(number), noErr);
}

TEST_P(Forks, Permissions) {
  SInt16 reader = 0;
  SInt16 writer = 0;
  SInt16 other = 0;
  ASSERT_EQ(Open(fsRdPerm, &reader), noErr);
  EXPECT_EQ(Write(reader, fsFromStart, 0, "x"), wrPermErr);
  EXPECT_EQ(FSSetForkSize(reader, fsFromStart, 1), wrPermErr);
  ASSERT_EQ(Open(fsWrPerm, &writer), noErr);
  EXPECT_EQ(Write(writer, fsFromStart, 0, "x"), noErr);
  EXPECT_EQ(Read(writer, fsFromStart, 0, 1, permErr), "");
  EXPECT_EQ(Read(reader, fsFromStart, 0, 1, noErr), "x");
  EXPECT_EQ(Open(fsWrPerm, &other), opWrErr);
  EXPECT_EQ(Open(fsRdWrPerm, &other), opWrErr);
  EXPECT_EQ(Open(fsRdWrShPerm, &other), opWrErr);
  ASSERT_EQ(Open(fsCurPerm, &other), noErr);  // gets reading only
  EXPECT_EQ(Write(other, fsFromStart, 0, "y"), wrPermErr);
  EXPECT_EQ(FSCloseFork(other), noErr);
  EXPECT_EQ(FSCloseFork(writer), noErr);
  ASSERT_EQ(Open(fsRdWrShPerm, &writer), noErr);
  ASSERT_EQ(Open(fsRdWrShPerm, &other), noErr);
  EXPECT_EQ(FSCloseFork(writer), noErr);
  EXPECT_EQ(FSCloseFork(other), noErr);
  EXPECT_EQ(FSCloseFork(reader), noErr);
  EXPECT_EQ(Open(9, &other), paramErr);
}

TEST_P(Forks, FollowTheirFile) {
  SInt16 number = 0;
  ASSERT_EQ(Open(fsRdWrPerm, &number), noErr);
  ASSERT_EQ(Write(number, fsFromStart, 0, "before"), noErr);
  ASSERT_EQ(Rename(file_, u"renamed"), noErr);
  EXPECT_EQ(Write(number, fsFromStart, 0, "after "), noErr);
  EXPECT_EQ(Read(number, fsFromStart, 0, 6, noErr), "after ");
  FSRef ref{};
  HFSUniStr255 name{};
  EXPECT_EQ(FSGetForkFile(number, &ref, &name), noErr);
  EXPECT_EQ(PathOf(ref), (folder_ / "renamed").string());
  EXPECT_EQ(TextOf(name), TextOf(name_));
  EXPECT_EQ(FSCloseFork(number), noErr);
}

TEST_P(Forks, CreateAndDelete) {
  EXPECT_EQ(FSCreateFork(&file_, name_.length, name_.unicode), noErr);
  EXPECT_EQ(FSDeleteFork(&file_, name_.length, name_.unicode), noErr);
  SInt16 number = 0;
  ASSERT_EQ(Open(fsRdWrPerm, &number), noErr);
  ASSERT_EQ(Write(number, fsFromStart, 0, "content"), noErr);
  EXPECT_EQ(FSDeleteFork(&file_, name_.length, name_.unicode), fBsyErr);
  EXPECT_EQ(FSCloseFork(number), noErr);
  EXPECT_EQ(FSDeleteFork(&file_, name_.length, name_.unicode), noErr);
  ASSERT_EQ(Open(fsRdPerm, &number), noErr);
  EXPECT_EQ(SizeOf(number), 0);
  EXPECT_EQ(FSCloseFork(number), noErr);
  EXPECT_FALSE(fs::exists(folder_ / "._file"));
}

TEST_P(Forks, FoldersHaveNone) {
  const FSRef folder = RefOf(folder_.path());
  SInt16 number = 0;
  EXPECT_EQ(FSOpenFork(&folder, name_.length, name_.unicode, fsRdPerm, &number), notAFileErr);
  EXPECT_EQ(FSCreateFork(&folder, name_.length, name_.unicode), notAFileErr);
  EXPECT_EQ(FSDeleteFork(&folder, name_.length, name_.unicode), notAFileErr);
}

TEST(ForkNames, AreThePublishedOnes) {
  HFSUniStr255 name{};
  name.length = 99;
  EXPECT_EQ(FSGetDataForkName(&name), noErr);
  EXPECT_EQ(name.length, 0);
  EXPECT_EQ(FSGetResourceForkName(&name), noErr);
  EXPECT_EQ(TextOf(name), u"RESOURCE_FORK");
  EXPECT_EQ(FSGetDataForkName(nullptr), paramErr);
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  const HFSUniStr255 other = Units(u"resource_fork");
  SInt16 number = 0;
  EXPECT_EQ(FSOpenFork(&file, other.length, other.unicode, fsRdPerm, &number), errFSBadForkName);
  EXPECT_EQ(FSCreateFork(&file, other.length, other.unicode), errFSBadForkName);
  EXPECT_EQ(FSDeleteFork(&file, other.length, other.unicode), errFSBadForkName);
}

TEST(ForkNumbers, UnknownAndTooMany) {
  SInt64 value = 0;
  EXPECT_EQ(FSGetForkSize(-1, &value), rfNumErr);
  EXPECT_EQ(FSGetForkPosition(0, &value), rfNumErr);
  EXPECT_EQ(FSReadFork(30000, fsAtMark, 0, 0, nullptr, nullptr), rfNumErr);
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  std::vector<SInt16> open;
  OSErr error = noErr;
  for (SInt16 number = 0; error == noErr && open.size() < 3000;) {
    error = FSOpenFork(&file, 0, nullptr, fsRdPerm, &number);
    if (error == noErr) open.push_back(number);
  }
  EXPECT_EQ(error, tmfoErr);
  for (const SInt16 number : open) EXPECT_EQ(FSCloseFork(number), noErr);
}

TEST(ForkRights, FilesThatMayNotBeWritten) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may write everything";
  const TempFolder folder;
  WriteFile(folder / "file", "data");
  chmod((folder / "file").c_str(), 0444);
  const FSRef file = RefOf(folder / "file");
  SInt16 number = 0;
  EXPECT_EQ(FSOpenFork(&file, 0, nullptr, fsRdWrPerm, &number), wrPermErr);
  EXPECT_EQ(OpenResourceFork(file, fsRdWrPerm, &number), wrPermErr);
}

}  // namespace
