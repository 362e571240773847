// Type, creator and resource forks in AppleDouble side files: the bytes on disk, what becomes of
// them, and what crashes, full disks and other processes do to them.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <vector>

#include "platform/CoreServices/AppleDouble.h"
#include "platform/CoreServices/SideFile.h"
#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

/// A file of type 'TEXT', creator 'ttxt', invisible, with a resource fork "FORK", as the published
/// format has it.
std::string HandMade() {
  return FromHex(
             "00051607 00020000 00000000000000000000000000000000 0002"
             "00000009 00000032 00000020"
             "00000002 00000052 00000004"
             "54455854 74747874 4000 0000 0000 0000"
             "00000000000000000000000000000000") +
         "FORK";
}

TEST(SideFiles, BytesAreThoseOfThePublishedFormat) {
  const TempFolder folder;
  WriteFile(folder / "file", "data");
  const FSRef file = RefOf(folder / "file");
  FSCatalogInfo info{};
  const FInfo finder{'TEXT', 'ttxt', kIsInvisible, {0, 0}, 0};
  std::memcpy(info.finderInfo, &finder, sizeof finder);
  ASSERT_EQ(FSSetCatalogInfo(&file, kFSCatInfoFinderInfo, &info), noErr);
  ASSERT_EQ(WriteResourceFork(file, "FORK"), noErr);
  EXPECT_EQ(Hex(ReadFile(folder / "._file")), Hex(HandMade()));
  EXPECT_EQ(ReadFile(folder / "file"), "data");
}

TEST(SideFiles, ResourceForkBeforeAnyFinderInformation) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  ASSERT_EQ(WriteResourceFork(file, "FORK"), noErr);
  EXPECT_EQ(ReadResourceFork(file), "FORK");
  EXPECT_EQ(TypeOf(file), 0u);
}

TEST(SideFiles, HandMadeFileIsRead) {
  const TempFolder folder;
  WriteFile(folder / "file", "data");
  WriteFile(folder / "._file", HandMade());
  const FSRef file = RefOf(folder / "file");
  FInfo finder{};
  ASSERT_EQ(GetFinder(file, &finder), noErr);
  EXPECT_EQ(finder.fdType, OSType{'TEXT'});
  EXPECT_EQ(finder.fdCreator, OSType{'ttxt'});
  EXPECT_EQ(finder.fdFlags, kIsInvisible);
  EXPECT_EQ(ReadResourceFork(file), "FORK");
}

TEST(SideFiles, OtherProgramsKnowIt) {
  if (system("command -v file >/dev/null 2>&1") != 0) GTEST_SKIP() << "no file(1) here";
  const TempFolder folder;
  WriteFile(folder / "x", "data");
  const FSRef file = RefOf(folder / "x");
  ASSERT_EQ(SetType(file, 'TEXT', 'ttxt'), noErr);
  ASSERT_EQ(WriteResourceFork(file, "FORK"), noErr);
  const std::string command =
      "file -b '" + (folder / "._x").string() + "' > '" + (folder / "out").string() + "'";
  ASSERT_EQ(system(command.c_str()), 0);
  EXPECT_NE(ReadFile(folder / "out").find("AppleDouble encoded Macintosh file"), std::string::npos)
      << ReadFile(folder / "out");
}

TEST(SideFiles, AnyOrderAndUnknownEntriesAreKept) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  // Resource fork first, then a comment (4), an unknown entry and the Finder information.
  const std::string made = FromHex(
                               "00051607 00020000 4d6163204f5320582020202020202020 0004"
                               "00000002 0000004a 00000003"
                               "00000004 0000004d 00000005"
                               "80001234 00000052 00000002"
                               "00000009 00000054 00000020") +
                           "RSRhello\x01\x02" + "APPLdemo" + std::string(24, '\0');
  WriteFile(folder / "._file", made);
  const FSRef file = RefOf(folder / "file");
  EXPECT_EQ(TypeOf(file), OSType{'APPL'});
  EXPECT_EQ(ReadResourceFork(file), "RSR");
  ASSERT_EQ(SetType(file, 'TEXT', 'ttxt'), noErr);
  ASSERT_EQ(WriteResourceFork(file, "LONGER"), noErr);
  EXPECT_EQ(TypeOf(file), OSType{'TEXT'});
  EXPECT_EQ(ReadResourceFork(file), "LONGER");
  const std::string now = ReadFile(folder / "._file");
  EXPECT_NE(now.find("hello"), std::string::npos);
  lumivane::files::DoubleHead head;
  ASSERT_TRUE(lumivane::files::ParseDoubleHead(reinterpret_cast<const UInt8*>(now.data()),
                                               now.size(), now.size(), &head));
  ASSERT_EQ(head.entries.size(), 4u);
  const lumivane::files::DoubleEntry* unknown = head.Find(0x80001234);
  ASSERT_NE(unknown, nullptr);
  EXPECT_EQ(now.substr(unknown->offset, unknown->length), "\x01\x02");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(head.filler.data()), 16), "Mac OS X        ");
}

TEST(SideFiles, ExtendedAttributesBehindTheFinderInfoStayWhereTheyAre) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const std::string attributes = std::string(2, '\0') + "ATTR" + std::string(60, 'z');
  const std::string made = FromHex(
                               "00051607 00020000 00000000000000000000000000000000 0002"
                               "00000009 00000032 00000062"
                               "00000002 00000094 00000001") +
                           "APPLdemo" + std::string(24, '\0') + attributes + "R";
  ASSERT_EQ(made.size(), 0x95u);
  WriteFile(folder / "._file", made);
  const FSRef file = RefOf(folder / "file");
  ASSERT_EQ(WriteResourceFork(file, "RESOURCES"), noErr);
  ASSERT_EQ(SetType(file, 'TEXT', 'ttxt'), noErr);
  const std::string now = ReadFile(folder / "._file");
  EXPECT_EQ(now.substr(0x32 + 32, attributes.size()), attributes);
  EXPECT_EQ(now.substr(0x32, 8), "TEXTttxt");
  EXPECT_EQ(ReadResourceFork(file), "RESOURCES");
}

TEST(SideFiles, BrokenOnesAreReportedAndNeverDestroyed) {
  std::vector<std::string> broken = {"", "junk", std::string(26, '\0'), HandMade().substr(0, 40)};
  const auto bent = [&](std::size_t at, const std::string& hex) {
    std::string bytes = HandMade();
    bytes.replace(at, hex.size() / 2, FromHex(hex));
    broken.push_back(bytes);
  };
  bent(0, "00051600");   // AppleSingle
  bent(4, "00030000");   // a version to come
  bent(24, "ffff");      // more entries than bytes
  bent(30, "fffffff0");  // offset past the end
  bent(34, "ffffffff");  // offset and length overflow
  bent(34, "00000010");  // half a Finder information
  bent(30, "00000000");  // inside the head
  bent(38, "00000009");  // twice the same
  bent(42, "00000040");  // overlapping
  bent(46, "00000005");  // one byte too many
  for (const std::string& bytes : broken) {
    SCOPED_TRACE(Hex(bytes));
    const TempFolder folder;
    fs::create_directory(folder / "to");
    WriteFile(folder / "file", "data");
    WriteFile(folder / "._file", bytes);
    const FSRef file = RefOf(folder / "file");
    const FSRef to = RefOf(folder / "to");
    FInfo finder{};
    SInt16 number = 0;
    FSCatalogInfo info{};
    EXPECT_EQ(Validity(file), noErr);
    EXPECT_EQ(GetFinder(file, &finder), fsDSIntErr);
    EXPECT_EQ(FSGetCatalogInfo(&file, kFSCatInfoRsrcSizes, &info, nullptr, nullptr, nullptr),
              fsDSIntErr);
    EXPECT_EQ(SetType(file, 'TEXT', 'ttxt'), fsDSIntErr);
    EXPECT_EQ(OpenResourceFork(file, fsRdPerm, &number), fsDSIntErr);
    EXPECT_EQ(OpenResourceFork(file, fsRdWrPerm, &number), fsDSIntErr);
    EXPECT_EQ(Rename(file, u"other"), fsDSIntErr);
    EXPECT_EQ(FSMoveObject(&file, &to, nullptr), fsDSIntErr);
    EXPECT_EQ(FSDeleteObject(&file), fsDSIntErr);
    EXPECT_EQ(ReadFile(folder / "._file"), bytes);
    EXPECT_EQ(ReadFile(folder / "file"), "data");
    // Nor is another object given a name that would make it its own.
    WriteFile(folder / "second", "");
    fs::remove(folder / "file");
    EXPECT_EQ(Rename(RefOf(folder / "second"), u"file"), fsDSIntErr);
    EXPECT_EQ(CreateFile(RefOf(folder.path()), u"file"), fsDSIntErr);
    EXPECT_EQ(ReadFile(folder / "._file"), bytes);
  }
}

TEST(SideFiles, AFolderOrAPipeInItsPlaceIsBroken) {
  const TempFolder folder;
  WriteFile(folder / "a", "");
  WriteFile(folder / "b", "");
  WriteFile(folder / "c", "");
  fs::create_directory(folder / "._a");
  ASSERT_EQ(mkfifo((folder / "._b").c_str(), 0600), 0);
  fs::create_symlink("a", folder / "._c");
  FInfo finder{};
  for (const char* name : {"a", "b", "c"}) {
    EXPECT_EQ(GetFinder(RefOf(folder / name), &finder), fsDSIntErr) << name;
  }
}

TEST(SideFiles, GoAlongWithRenameMoveAndDelete) {
  const TempFolder folder;
  fs::create_directory(folder / "to");
  WriteFile(folder / "file", "data");
  const FSRef file = RefOf(folder / "file");
  const FSRef to = RefOf(folder / "to");
  ASSERT_EQ(SetType(file, 'TEXT', 'ttxt'), noErr);
  ASSERT_EQ(WriteResourceFork(file, "FORK"), noErr);
  ASSERT_EQ(Rename(file, u"new"), noErr);
  EXPECT_FALSE(fs::exists(folder / "._file"));
  EXPECT_EQ(TypeOf(file), OSType{'TEXT'});
  ASSERT_EQ(FSMoveObject(&file, &to, nullptr), noErr);
  EXPECT_FALSE(fs::exists(folder / "._new"));
  EXPECT_TRUE(fs::exists(folder / "to/._new"));
  EXPECT_EQ(ReadResourceFork(file), "FORK");
  ASSERT_EQ(FSDeleteObject(&file), noErr);
  EXPECT_TRUE(fs::is_empty(folder / "to"));
}

TEST(SideFiles, StrayOnesAreNobodysInheritance) {
  const TempFolder folder;
  WriteFile(folder / "._new", HandMade());
  WriteFile(folder / "._made", HandMade());
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  ASSERT_EQ(Rename(file, u"new"), noErr);
  EXPECT_EQ(TypeOf(file), 0u);
  FSRef made{};
  ASSERT_EQ(CreateFile(RefOf(folder.path()), u"made", &made), noErr);
  EXPECT_EQ(TypeOf(made), 0u);
  EXPECT_FALSE(fs::exists(folder / "._new"));
  EXPECT_FALSE(fs::exists(folder / "._made"));
}

TEST(SideFiles, OneThatSaysNothingIsRemoved) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  ASSERT_EQ(SetType(file, 'TEXT', 'ttxt'), noErr);
  ASSERT_EQ(WriteResourceFork(file, "FORK"), noErr);
  ASSERT_EQ(SetType(file, 0, 0), noErr);
  EXPECT_TRUE(fs::exists(folder / "._file"));
  HFSUniStr255 name{};
  FSGetResourceForkName(&name);
  ASSERT_EQ(FSDeleteFork(&file, name.length, name.unicode), noErr);
  EXPECT_FALSE(fs::exists(folder / "._file"));
}

/// What is to be seen of a file: each of its sides, or what is wrong.
std::string StateOf(const fs::path& path) {
  if (!fs::exists(path)) return "none";
  const FSRef file = RefOf(path);
  FInfo finder{};
  const OSErr error = GetFinder(file, &finder);
  if (error != noErr) return "error " + std::to_string(error);
  return std::to_string(finder.fdType) + " " + ReadResourceFork(file) + " " + ReadFile(path);
}

int stepsLeft = 0;
void DieAtStep(const char*) {
  if (stepsLeft-- == 0) _exit(99);
}

/// Runs `change` in processes of their own, each killed one step later, until one gets through;
/// `check` looks at what is left after each. Returns the number of steps.
template <typename SetUp, typename Change, typename Check>
int KillBetweenSteps(const SetUp& setUp, const Change& change, const Check& check) {
  for (int step = 0; step < 100; ++step) {
    setUp();
    const pid_t child = fork();
    if (child == 0) {
      stepsLeft = step;
      lumivane::files::SetStepHook(&DieAtStep);
      _exit(change() == noErr ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    check(step);
    if (WEXITSTATUS(status) != 99) {
      EXPECT_EQ(WEXITSTATUS(status), 0);
      return step;
    }
  }
  return -1;
}

TEST(SideFiles, CrashAtAnyStepOfAWriteLeavesOldOrNew) {
  const TempFolder folder;
  const fs::path path = folder / "file";
  std::string old;
  std::map<std::string, int> seen;
  const int steps = KillBetweenSteps(
      [&] {
        WriteFile(path, "data");
        fs::remove(folder / "._file");
        const FSRef file = RefOf(path);
        EXPECT_EQ(SetType(file, 'OLD ', 'demo'), noErr);
        EXPECT_EQ(WriteResourceFork(file, "old fork"), noErr);
        old = StateOf(path);
      },
      [&] { return WriteResourceFork(RefOf(path), "the new fork"); },
      [&](int) { ++seen[StateOf(path)]; });
  EXPECT_GE(steps, 4);
  std::string wanted = old;
  wanted.replace(wanted.find("old fork"), 8, "the new fork");
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_GT(seen[old], 0);
  EXPECT_GT(seen[wanted], 0);
  // What a crash leaves is used again, not piled up.
  EXPECT_EQ(SetType(RefOf(path), 'NEW ', 'demo'), noErr);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 2);
}

TEST(SideFiles, CrashAtAnyStepOfARenameLeavesOldOrNew) {
  const TempFolder folder;
  fs::create_directory(folder / "to");
  std::string whole;
  const int steps = KillBetweenSteps(
      [&] {
        for (const char* name : {"file", "._file", "to/file", "to/._file"}) {
          fs::remove(folder / name);
        }
        WriteFile(folder / "file", "data");
        EXPECT_EQ(SetType(RefOf(folder / "file"), 'TEXT', 'ttxt'), noErr);
        EXPECT_EQ(WriteResourceFork(RefOf(folder / "file"), "fork"), noErr);
        whole = StateOf(folder / "file");
      },
      [&] {
        const FSRef file = RefOf(folder / "file");
        const FSRef to = RefOf(folder / "to");
        return FSMoveObject(&file, &to, nullptr);
      },
      [&](int step) {
        const std::string before = StateOf(folder / "file");
        const std::string after = StateOf(folder / "to/file");
        EXPECT_TRUE((before == whole && after == "none") || (before == "none" && after == whole))
            << step << ": " << before << " / " << after;
      });
  EXPECT_GE(steps, 4);
}

TEST(SideFiles, CrashAtAnyStepOfCreateAndDelete) {
  const TempFolder folder;
  const auto clean = [&] {
    fs::remove(folder / "file");
    fs::remove(folder / "._file");
  };
  const FSCatalogInfo info = InfoOfType('TEXT', 'ttxt');
  KillBetweenSteps(
      clean,
      [&] {
        return CreateFile(RefOf(folder.path()), u"file", nullptr, kFSCatInfoFinderInfo, &info);
      },
      [&](int step) {
        const std::string state = StateOf(folder / "file");
        EXPECT_TRUE(state == "none" || state == std::to_string(OSType{'TEXT'}) + "  ")
            << step << ": " << state;
      });
  KillBetweenSteps(
      [&] {
        clean();
        EXPECT_EQ(CreateFile(RefOf(folder.path()), u"file", nullptr, kFSCatInfoFinderInfo, &info),
                  noErr);
      },
      [&] {
        const FSRef file = RefOf(folder / "file");
        return FSDeleteObject(&file);
      },
      [&](int step) {
        const std::string state = StateOf(folder / "file");
        EXPECT_TRUE(state == "none" || state == std::to_string(OSType{'TEXT'}) + "  ")
            << step << ": " << state;
        // And what is left does not come to life in a new file.
        clean();
      });
}

TEST(SideFiles, FullDiskLeavesTheOldState) {
  const TempFolder folder;
  WriteFile(folder / "file", "data");
  const FSRef file = RefOf(folder / "file");
  ASSERT_EQ(SetType(file, 'OLD ', 'demo'), noErr);
  ASSERT_EQ(WriteResourceFork(file, "old"), noErr);
  const std::string before = ReadFile(folder / "._file");
  const auto oldAction = signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{4096, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const OSErr error = WriteResourceFork(file, std::string(10000, 'x'));
  setrlimit(RLIMIT_FSIZE, &limit);
  signal(SIGXFSZ, oldAction);
  EXPECT_EQ(error, dskFulErr);
  EXPECT_EQ(ReadFile(folder / "._file"), before);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 2);
}

TEST(SideFiles, FullVolume) {
  const TempFolder folder;
  if (mount("none", folder.path().c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "no right to mount";
  }
  {
    WriteFile(folder / "file", "data");
    const FSRef file = RefOf(folder / "file");
    EXPECT_EQ(SetType(file, 'OLD ', 'demo'), noErr);
    EXPECT_EQ(WriteResourceFork(file, std::string(100000, 'x')), dskFulErr);
    EXPECT_EQ(TypeOf(file), OSType{'OLD '});
    EXPECT_EQ(ReadResourceFork(file), "");
    // Another volume: its own number, root folder 2, no moves between.
    FSCatalogInfo here{};
    FSCatalogInfo home{};
    const FSRef root = RefOf(folder.path());
    const FSRef outside = RefOf(Home());
    ASSERT_EQ(FSGetCatalogInfo(&root, kFSCatInfoGettableInfo, &here, nullptr, nullptr, nullptr),
              noErr);
    ASSERT_EQ(FSGetCatalogInfo(&outside, kFSCatInfoVolume, &home, nullptr, nullptr, nullptr),
              noErr);
    EXPECT_NE(here.volume, home.volume);
    EXPECT_EQ(here.nodeID, 2u);
    EXPECT_EQ(here.parentDirID, 1u);
    EXPECT_EQ(FSMoveObject(&file, &outside, nullptr), diffVolErr);
    FSSpec spec{};
    FSRef again{};
    ASSERT_EQ(FSGetCatalogInfo(&file, 0, nullptr, nullptr, &spec, nullptr), noErr);
    EXPECT_EQ(spec.parID, 2);
    EXPECT_EQ(spec.vRefNum, here.volume);
    EXPECT_EQ(FSpMakeFSRef(&spec, &again), noErr);
    EXPECT_EQ(FSCompareFSRefs(&file, &again), noErr);
  }
  EXPECT_EQ(umount(folder.path().c_str()), 0);
}

TEST(SideFiles, TwoProcessesChangeOneFileAtOnce) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const auto work = [&](int which) {
    const FSRef file = RefOf(folder / "file");
    for (int i = 0; i < 40; ++i) {
      if (which == 0) {
        EXPECT_EQ(SetType(file, 'TEXT', static_cast<OSType>(i)), noErr) << i;
      } else {
        EXPECT_EQ(WriteResourceFork(file, "fork " + std::to_string(i)), noErr) << i;
      }
    }
    return testing::Test::HasFailure() ? 1 : 0;
  };
  std::vector<pid_t> children;
  for (int which = 0; which < 2; ++which) {
    const pid_t child = fork();
    if (child == 0) _exit(work(which));
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  const FSRef file = RefOf(folder / "file");
  FInfo finder{};
  ASSERT_EQ(GetFinder(file, &finder), noErr);
  EXPECT_EQ(finder.fdType, OSType{'TEXT'});
  EXPECT_EQ(finder.fdCreator, 39u);
  EXPECT_EQ(ReadResourceFork(file), "fork 39");
}

TEST(SideFiles, OneProcessWritesAResourceForkAtATime) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSRef file = RefOf(folder / "file");
  SInt16 number = 0;
  ASSERT_EQ(OpenResourceFork(file, fsRdWrPerm, &number), noErr);
  const auto other = [&](SInt8 permission) {
    const pid_t child = fork();
    if (child == 0) {
      // A process of its own, not a copy that shares the descriptor's lock.
      SInt16 mine = 0;
      FSCloseFork(number);
      _exit(OpenResourceFork(file, permission, &mine) == opWrErr ? 7 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
  };
  EXPECT_EQ(other(fsRdWrPerm), 7);
  EXPECT_EQ(other(fsRdPerm), 0);
  ASSERT_EQ(FSCloseFork(number), noErr);
  EXPECT_EQ(other(fsRdWrPerm), 0);
}

}  // namespace
