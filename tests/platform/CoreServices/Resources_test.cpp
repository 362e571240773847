#include "platform/CoreServices/Resources.h"

#include <sys/resource.h>

#include <csignal>

#include "platform/CoreServices/MacMemory.h"
#include "platform/CoreServices/ResourceMap.h"
#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

Handle NewData(const std::string& bytes) {
  Handle handle = NewHandle(static_cast<Size>(bytes.size()));
  std::memcpy(*handle, bytes.data(), bytes.size());
  return handle;
}

std::string DataOf(Handle handle) {
  if (handle == nullptr) return "null";
  if (*handle == nullptr) return "empty";
  return {*handle, static_cast<std::size_t>(GetHandleSize(handle))};
}

/// Two resources written out by hand: 'STR ' 128 named "Hello" with "world", and 'alis' -1 without
/// a name, protected, with 3 bytes.
std::string HandMade() {
  std::string bytes = FromHex("00000100 00000110 00000010 0000005a") + std::string(240, '\0');
  bytes += FromHex("00000005") + "world" + FromHex("00000003 010203");
  bytes += FromHex(
      "00000100 00000110 00000010 0000005a"  // copy of the head
      "00000000 0000 0000"
      "001c 0054"           // type list, name list
      "0001"                // two types
      "53545220 0000 0012"  // 'STR ', one, at 18
      "616c6973 0000 001e"  // 'alis', one, at 30
      "0080 0000 00 000000 00000000"
      "ffff ffff 08 000009 00000000"
      "00000000 00000000 00000000 0000");
  // The name list starts at 0x54 of the map.
  std::string map = bytes.substr(0x110);
  map.resize(0x54);
  return bytes.substr(0, 0x110) + map + FromHex("05") + "Hello";
}

class Resources : public testing::Test {
 protected:
  Resources() {
    WriteFile(folder_ / "file", "");
    file_ = RefOf(folder_ / "file");
  }
  ~Resources() override {
    while (CurResFile() != 0) CloseResFile(CurResFile());
  }
  SInt16 CreateAndOpen() {
    const HFSUniStr255 name = Fork();
    EXPECT_EQ(FSCreateResourceFork(&file_, name.length, name.unicode, 0), noErr);
    const SInt16 number = FSOpenResFile(&file_, fsRdWrPerm);
    EXPECT_EQ(ResError(), noErr);
    return number;
  }
  static HFSUniStr255 Fork() {
    HFSUniStr255 name{};
    FSGetResourceForkName(&name);
    return name;
  }
  TempFolder folder_;
  FSRef file_{};
};

TEST_F(Resources, HandMadeForkIsRead) {
  std::string bytes = HandMade();
  ASSERT_EQ(bytes.size(), 0x110u + 0x5a);
  ASSERT_EQ(WriteResourceFork(file_, bytes), noErr);
  const SInt16 number = FSOpenResFile(&file_, fsRdPerm);
  ASSERT_GT(number, 0);
  EXPECT_EQ(Count1Types(), 2);
  EXPECT_EQ(DataOf(Get1Resource('STR ', 128)), "world");
  EXPECT_EQ(DataOf(Get1NamedResource('STR ', Pascal("hELLO"))), "world");
  Handle alias = Get1Resource('alis', -1);
  EXPECT_EQ(DataOf(alias), "\x01\x02\x03");
  EXPECT_EQ(GetResAttrs(alias), resProtected);
  SInt16 id = 0;
  ResType type = 0;
  Str255 name;
  GetResInfo(Get1Resource('STR ', 128), &id, &type, name);
  EXPECT_EQ(id, 128);
  EXPECT_EQ(type, ResType{'STR '});
  EXPECT_EQ(std::string(reinterpret_cast<char*>(name + 1), name[0]), "Hello");
  EXPECT_EQ(HomeResFile(alias), number);
  ChangedResource(alias);
  EXPECT_EQ(ResError(), resAttrErr);
}

TEST_F(Resources, BytesAreThoseOfThePublishedFormat) {
  CreateAndOpen();
  const std::string empty = ReadResourceFork(file_);
  EXPECT_EQ(Hex(empty.substr(0, 16)), "0000010000000100000000000000001e");
  EXPECT_EQ(Hex(empty.substr(256)),
            "0000010000000100000000000000001e"
            "00000000"
            "0000"
            "0000"
            "001c"
            "001e"
            "ffff");
  AddResource(NewData("world"), 'STR ', 128, Pascal("Hello"));
  ASSERT_EQ(ResError(), noErr);
  UpdateResFile(CurResFile());
  ASSERT_EQ(ResError(), noErr);
  EXPECT_EQ(Hex(ReadResourceFork(file_).substr(256)),
            "00000005776f726c64"
            "0000010000000109"
            "0000000900000038"
            "00000000"
            "0000"
            "0000"
            "001c"
            "0032"
            "0000"
            "53545220"
            "0000"
            "000a"
            "0080"
            "0000"
            "00000000"
            "00000000"
            "0548656c6c6f");
}

TEST_F(Resources, OtherProgramsKnowIt) {
  // The fork by itself, as the programs of other systems are given it.
  if (system("command -v file >/dev/null 2>&1") != 0) GTEST_SKIP() << "no file(1) here";
  CreateAndOpen();
  AddResource(NewData("world"), 'STR ', 128, Pascal("Hello"));
  CloseResFile(CurResFile());
  WriteFile(folder_ / "fork.rsrc", ReadResourceFork(file_));
  const std::string command =
      "file -b '" + (folder_ / "fork.rsrc").string() + "' > '" + (folder_ / "out").string() + "'";
  ASSERT_EQ(system(command.c_str()), 0);
  EXPECT_NE(ReadFile(folder_ / "out").find("esource fork"), std::string::npos)
      << ReadFile(folder_ / "out");
}

TEST_F(Resources, AddGetChangeRemove) {
  const SInt16 number = CreateAndOpen();
  EXPECT_EQ(CurResFile(), number);
  Handle one = NewData("one");
  AddResource(one, 'TEST', 1, Pascal("first"));
  AddResource(NewData("two"), 'TEST', 2, Pascal(""));
  AddResource(NewData("x"), 'OTHR', 1, nullptr);
  AddResource(NewData("three"), 'TEST', 3, nullptr);
  ASSERT_EQ(ResError(), noErr);
  AddResource(one, 'TEST', 9, nullptr);
  EXPECT_EQ(ResError(), addResFailed);
  AddResource(nullptr, 'TEST', 9, nullptr);
  EXPECT_EQ(ResError(), addResFailed);
  Handle again = NewData("again");
  AddResource(again, 'TEST', 1, nullptr);
  EXPECT_EQ(ResError(), addResFailed);
  DisposeHandle(again);
  EXPECT_EQ(Get1Resource('TEST', 1), one);
  EXPECT_EQ(GetResFileAttrs(number) & mapChanged, mapChanged);
  CloseResFile(number);
  ASSERT_EQ(ResError(), noErr);
  EXPECT_EQ(CurResFile(), 0);

  ASSERT_GT(FSOpenResFile(&file_, fsRdWrPerm), 0);
  EXPECT_EQ(Count1Resources('TEST'), 3);
  EXPECT_EQ(Count1Types(), 2);
  EXPECT_EQ(DataOf(Get1Resource('TEST', 2)), "two");
  EXPECT_EQ(DataOf(Get1IndResource('TEST', 3)), "three");
  EXPECT_EQ(Get1IndResource('TEST', 4), nullptr);
  EXPECT_EQ(ResError(), resNotFound);
  EXPECT_EQ(Get1IndResource('TEST', 0), nullptr);
  EXPECT_EQ(Unique1ID('TEST'), 128);
  Handle first = Get1Resource('TEST', 1);
  SetHandleSize(first, 6);
  std::memcpy(*first, "longer", 6);
  ChangedResource(first);
  SetResInfo(Get1Resource('TEST', 2), 200, Pascal("renamed"));
  EXPECT_EQ(ResError(), noErr);
  SetResInfo(Get1Resource('TEST', 3), 200, nullptr);
  EXPECT_EQ(ResError(), resAttrErr);
  Handle removed = Get1Resource('TEST', 3);
  RemoveResource(removed);
  EXPECT_EQ(ResError(), noErr);
  EXPECT_EQ(DataOf(removed), "three");
  DisposeHandle(removed);
  WriteResource(first);
  EXPECT_EQ(ResError(), noErr);
  EXPECT_EQ(GetResAttrs(first) & resChanged, 0);
  CloseResFile(CurResFile());

  ASSERT_GT(FSOpenResFile(&file_, fsRdPerm), 0);
  EXPECT_EQ(DataOf(Get1Resource('TEST', 1)), "longer");
  EXPECT_EQ(DataOf(Get1NamedResource('TEST', Pascal("RENAMED"))), "two");
  EXPECT_EQ(Get1Resource('TEST', 3), nullptr);
  EXPECT_EQ(DataOf(Get1Resource('OTHR', 1)), "x");
  ChangedResource(Get1Resource('TEST', 1));
  EXPECT_EQ(ResError(), wrPermErr);
  RemoveResource(Get1Resource('TEST', 1));
  EXPECT_EQ(ResError(), rmvResFailed);
}

TEST_F(Resources, DetachReleaseLoad) {
  CreateAndOpen();
  AddResource(NewData("data"), 'TEST', 1, nullptr);
  Handle handle = Get1Resource('TEST', 1);
  DetachResource(handle);
  EXPECT_EQ(ResError(), resAttrErr);  // changed
  ReleaseResource(handle);
  EXPECT_TRUE(IsHandleValid(handle));
  UpdateResFile(CurResFile());
  EXPECT_EQ(GetResourceSizeOnDisk(handle), 4);
  DetachResource(handle);
  EXPECT_EQ(ResError(), noErr);
  DetachResource(handle);
  EXPECT_EQ(ResError(), resNotFound);
  Handle second = Get1Resource('TEST', 1);
  EXPECT_NE(second, handle);
  EXPECT_EQ(DataOf(second), "data");
  ReleaseResource(second);
  EXPECT_FALSE(IsHandleValid(second));
  SetResLoad(0);
  Handle empty = Get1Resource('TEST', 1);
  EXPECT_EQ(DataOf(empty), "empty");
  SetResLoad(1);
  LoadResource(empty);
  EXPECT_EQ(DataOf(empty), "data");
  EXPECT_EQ(DataOf(handle), "data");
  DisposeHandle(handle);
}

TEST_F(Resources, SearchGoesFromTheCurrentFileDown) {
  const SInt16 low = CreateAndOpen();
  AddResource(NewData("low"), 'TEST', 1, nullptr);
  AddResource(NewData("only low"), 'TEST', 2, nullptr);
  WriteFile(folder_ / "high", "");
  const FSRef other = RefOf(folder_ / "high");
  const HFSUniStr255 name = Fork();
  ASSERT_EQ(FSCreateResourceFork(&other, name.length, name.unicode, 0), noErr);
  const SInt16 high = FSOpenResFile(&other, fsRdWrPerm);
  ASSERT_GT(high, 0);
  AddResource(NewData("high"), 'TEST', 1, nullptr);
  EXPECT_EQ(DataOf(GetResource('TEST', 1)), "high");
  EXPECT_EQ(DataOf(GetResource('TEST', 2)), "only low");
  EXPECT_EQ(Get1Resource('TEST', 2), nullptr);
  EXPECT_EQ(CountResources('TEST'), 3);
  EXPECT_EQ(Count1Resources('TEST'), 1);
  UseResFile(low);
  EXPECT_EQ(DataOf(GetResource('TEST', 1)), "low");
  EXPECT_EQ(FSOpenResFile(&other, fsRdPerm), high);  // open already
  EXPECT_EQ(CurResFile(), high);
  CloseResFile(high);
  EXPECT_EQ(CurResFile(), low);
  UseResFile(high);
  EXPECT_EQ(ResError(), resFNotFound);
  CloseResFile(12345);
  EXPECT_EQ(ResError(), resFNotFound);
}

TEST_F(Resources, OpeningWhatIsNotThere) {
  EXPECT_EQ(FSOpenResFile(&file_, fsRdPerm), -1);
  EXPECT_EQ(ResError(), eofErr);
  FSSpec spec{};
  ASSERT_EQ(FSGetCatalogInfo(&file_, 0, nullptr, nullptr, &spec, nullptr), noErr);
  FSpCreateResFile(&spec, 'none', 'BINA', smSystemScript);
  EXPECT_EQ(ResError(), noErr);
  FSpCreateResFile(&spec, 'none', 'BINA', smSystemScript);
  EXPECT_EQ(ResError(), dupFNErr);
  std::memcpy(spec.name, "\3new", 4);
  EXPECT_EQ(FSpOpenResFile(&spec, fsRdPerm), -1);
  EXPECT_EQ(ResError(), fnfErr);
  FSpCreateResFile(&spec, 'none', 'BINA', smSystemScript);
  EXPECT_EQ(ResError(), noErr);
  FInfo finder{};
  EXPECT_EQ(FSpGetFInfo(&spec, &finder), noErr);
  EXPECT_EQ(finder.fdCreator, OSType{'none'});
  EXPECT_GT(FSpOpenResFile(&spec, fsWrPerm), 0);
}

TEST_F(Resources, BrokenMapsAreReportedAndKept) {
  const std::string good = HandMade();
  for (std::size_t at = 0; at < good.size(); ++at) {
    if (at == 16) at = 256;  // bytes for others
    for (const char value : {'\xff', '\x7f', '\x01'}) {
      std::string bytes = good;
      bytes[at] = value;
      lumivane::files::ResourceMap map;
      if (!lumivane::files::ParseResourceFork(reinterpret_cast<const UInt8*>(bytes.data()),
                                              bytes.size(), &map)) {
        continue;
      }
      for (const auto& entry : map.entries) EXPECT_LE(entry.data + entry.size, bytes.size());
    }
  }
  for (const std::size_t length : {1u, 15u, 16u, 255u, 0x110u, 0x130u, 0x169u}) {
    const std::string bytes = good.substr(0, length);
    WriteFile(folder_ / "broken", "");
    const FSRef broken = RefOf(folder_ / "broken");
    ASSERT_EQ(WriteResourceFork(broken, bytes), noErr);
    EXPECT_EQ(FSOpenResFile(&broken, fsRdWrPerm), -1) << length;
    EXPECT_EQ(ResError(), mapReadErr);
    EXPECT_EQ(ReadResourceFork(broken), bytes);
    ASSERT_EQ(FSDeleteObject(&broken), noErr);
  }
}

TEST_F(Resources, FullDiskKeepsTheFileOpenAndItsDataWhole) {
  const SInt16 number = CreateAndOpen();
  AddResource(NewData("small"), 'TEST', 1, nullptr);
  UpdateResFile(number);
  const std::string before = ReadResourceFork(file_);
  AddResource(NewData(std::string(20000, 'x')), 'TEST', 2, nullptr);
  const auto oldAction = signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{8192, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  CloseResFile(number);
  const OSErr error = ResError();
  setrlimit(RLIMIT_FSIZE, &limit);
  signal(SIGXFSZ, oldAction);
  EXPECT_EQ(error, dskFulErr);
  EXPECT_EQ(CurResFile(), number);
  EXPECT_EQ(ReadResourceFork(file_), before);
  CloseResFile(number);
  EXPECT_EQ(ResError(), noErr);
  ASSERT_GT(FSOpenResFile(&file_, fsRdPerm), 0);
  EXPECT_EQ(GetHandleSize(Get1Resource('TEST', 2)), 20000);
}

TEST_F(Resources, MoreThanTheFormatHolds) {
  const SInt16 number = CreateAndOpen();
  for (ResID id = 0; id < 5500; ++id) AddResource(NewData("d"), 'MANY', id, nullptr);
  ASSERT_EQ(ResError(), noErr);
  UpdateResFile(number);
  EXPECT_EQ(ResError(), dskFulErr);
  for (ResID id = 0; id < 100; ++id) {
    Handle handle = Get1Resource('MANY', id);
    RemoveResource(handle);
    DisposeHandle(handle);
  }
  UpdateResFile(number);
  EXPECT_EQ(ResError(), noErr);
}

}  // namespace
