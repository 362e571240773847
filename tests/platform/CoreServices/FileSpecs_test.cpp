#include "platform/CoreServices/FileSpecs.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

std::string NameOf(const FSSpec& spec) {
  return {reinterpret_cast<const char*>(spec.name + 1), spec.name[0]};
}

FSSpec SpecOf(const FSRef& ref) {
  FSSpec spec{};
  EXPECT_EQ(FSGetCatalogInfo(&ref, 0, nullptr, nullptr, &spec, nullptr), noErr);
  return spec;
}

FSSpec SpecOf(const fs::path& path) {
  return SpecOf(RefOf(path));
}

FSSpec Named(FSSpec spec, const std::string& name) {
  spec.name[0] = static_cast<unsigned char>(name.size());
  std::memcpy(spec.name + 1, name.data(), name.size());
  return spec;
}

std::string PathOfSpec(const FSSpec& spec) {
  FSRef ref{};
  const OSErr error = FSpMakeFSRef(&spec, &ref);
  return error == noErr ? PathOf(ref) : "error " + std::to_string(error);
}

std::string ColonPath(const fs::path& path) {
  std::string text = "Root" + path.string();
  std::replace(text.begin(), text.end(), '/', ':');
  return text;
}

TEST(FileSpecs, ThereAndBack) {
  const TempFolder folder;
  WriteFile(folder / "file", "");
  const FSSpec spec = SpecOf(folder / "file");
  EXPECT_EQ(spec.vRefNum, -100);
  EXPECT_EQ(NameOf(spec), "file");
  EXPECT_EQ(PathOfSpec(spec), (folder / "file").string());
  const FSSpec root = SpecOf("/");
  EXPECT_EQ(root.parID, 1);
  EXPECT_EQ(NameOf(root), "Root");
  EXPECT_EQ(PathOfSpec(root), "/");
  EXPECT_EQ(PathOfSpec(Named(root, "Toor")), "error -43");
}

TEST(FileSpecs, NamesThatAreLongOrForeignAreShortenedAndFoundAgain) {
  const TempFolder folder;
  const std::vector<std::string> names = {
      std::string(64, 'a'),
      std::string(100, 'b') + ".txt",
      std::string(100, 'c') + ".a long extension",
      "\xe3\x82\xab\xe3\x83\xa1\xe3\x83\xa9.png",  // Japanese
      "Cafe\xcc\x81",                              // decomposed: Mac Roman would compose it
      "\xf0\x9f\x8e\xa5 film",
      "bad\xff byte",
      std::string(70, 'd') + "#12",
  };
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    WriteFile(folder / name, "");
    const FSRef ref = RefOf(folder / name);
    FSCatalogInfo info{};
    ASSERT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr), noErr);
    const FSSpec spec = SpecOf(ref);
    char tag[16];
    std::snprintf(tag, sizeof tag, "#%X", info.nodeID);
    EXPECT_NE(NameOf(spec).find(tag), std::string::npos) << NameOf(spec);
    EXPECT_LE(spec.name[0], 63);
    EXPECT_EQ(PathOfSpec(spec), (folder / name).string());
    FInfo finder{'TEXT', 'ttxt', 0, {0, 0}, 0};
    EXPECT_EQ(FSpSetFInfo(&spec, &finder), noErr);
  }
  // The extension stays, so that programs still know what it is.
  const std::string longName = NameOf(SpecOf(folder / names[1]));
  EXPECT_EQ(longName.substr(longName.size() - 4), ".txt");
  EXPECT_EQ(longName.size(), 63u);
  // A number alone finds nothing.
  FSSpec wrong = SpecOf(folder / names[0]);
  wrong.name[1] = 'x';
  EXPECT_EQ(PathOfSpec(wrong), "error -43");
}

TEST(FileSpecs, SixtyThreeCharactersFit) {
  const TempFolder folder;
  const std::string name(63, 'n');
  WriteFile(folder / name, "");
  EXPECT_EQ(NameOf(SpecOf(folder / name)), name);
  WriteFile(folder / "real#1A2B.txt", "");
  EXPECT_EQ(NameOf(SpecOf(folder / "real#1A2B.txt")), "real#1A2B.txt");
  EXPECT_EQ(PathOfSpec(SpecOf(folder / "real#1A2B.txt")), (folder / "real#1A2B.txt").string());
}

TEST(FileSpecs, MacRomanNames) {
  const TempFolder folder;
  WriteFile(folder / "Caf\xc3\xa9", "");
  const FSSpec spec = SpecOf(folder / "Caf\xc3\xa9");
  EXPECT_EQ(NameOf(spec), "Caf\x8e");
  EXPECT_EQ(PathOfSpec(spec), (folder / "Caf\xc3\xa9").string());
}

TEST(FileSpecs, MakeFromPaths) {
  const TempFolder folder;
  fs::create_directories(folder / "sub/deep");
  WriteFile(folder / "sub/file", "");
  WriteFile(folder / "a:b", "");
  const FSSpec base = SpecOf(folder / "sub");
  FSCatalogInfo info{};
  const FSRef self = RefOf(folder.path());
  ASSERT_EQ(FSGetCatalogInfo(&self, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr), noErr);
  const auto dir = static_cast<SInt32>(info.nodeID);
  EXPECT_EQ(base.parID, dir);
  struct Row {
    SInt32 dirID;
    std::string text;
    OSErr error;
    std::string path;  ///< found, or the name to be made in its folder
  };
  const std::string root = ColonPath(folder.path());
  const std::vector<Row> rows = {
      {dir, "", noErr, folder.path().string()},
      {dir, "sub", noErr, (folder / "sub").string()},
      {dir, ":sub:file", noErr, (folder / "sub/file").string()},
      {dir, ":sub:deep:", noErr, (folder / "sub/deep").string()},
      {dir, ":sub:deep::file", noErr, (folder / "sub/file").string()},
      {dir, "a:b", noErr, (folder / "a:b").string()},
      {dir, "new", fnfErr, "new"},
      {dir, ":sub:new", fnfErr, "new"},
      {dir, ":sub:new:", fnfErr, "new"},
      {dir, ":none:new", dirNFErr, ""},
      {dir, ":sub:file:new", dirNFErr, ""},
      {0, root + ":sub:file", noErr, (folder / "sub/file").string()},
      {0, root + ":sub:", noErr, (folder / "sub").string()},
      {0, root + ":new", fnfErr, "new"},
      {0, "Root:", noErr, "/"},
      {1, "Root", noErr, "/"},
      {1, "No Such", nsvErr, ""},
      {0, "No Such:file", nsvErr, ""},
      {0, folder.path().string() + "/sub/file", noErr, (folder / "sub/file").string()},
      {0, folder.path().string() + "/new", fnfErr, "new"},
      {0, folder.path().string() + "/none/new", dirNFErr, ""},
      {dir, "sub/file", bdNamErr, ""},
      {dir, ".", bdNamErr, ""},
      {dir, "..", bdNamErr, ""},
      {dir, std::string(64, 'n'), bdNamErr, ""},
      {0x3ffffff0, "file", dirNFErr, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    FSSpec spec{};
    EXPECT_EQ(FSMakeFSSpec(0, row.dirID, Pascal(row.text), &spec), row.error);
    if (row.error == noErr) {
      EXPECT_EQ(PathOfSpec(spec), row.path);
    }
    if (row.error == fnfErr) {
      EXPECT_EQ(NameOf(spec), row.path);
    }
  }
  FSSpec spec{};
  EXPECT_EQ(FSMakeFSSpec(99, 2, Pascal("x"), &spec), nsvErr);
}

TEST(FileSpecs, CreateRenameMoveDelete) {
  const TempFolder folder;
  fs::create_directory(folder / "sub");
  const FSSpec sub = SpecOf(folder / "sub");
  FSSpec spec = Named(sub, "file");
  ASSERT_EQ(FSpCreate(&spec, 'ttxt', 'TEXT', smSystemScript), noErr);
  EXPECT_EQ(FSpCreate(&spec, 'ttxt', 'TEXT', smSystemScript), dupFNErr);
  FInfo finder{};
  ASSERT_EQ(FSpGetFInfo(&spec, &finder), noErr);
  EXPECT_EQ(finder.fdType, OSType{'TEXT'});
  EXPECT_EQ(finder.fdCreator, OSType{'ttxt'});
  finder.fdFlags = kIsInvisible;
  EXPECT_EQ(FSpSetFInfo(&spec, &finder), noErr);
  EXPECT_EQ(FSpGetFInfo(&sub, &finder), fnfErr);
  EXPECT_EQ(FSpRename(&spec, Pascal("renamed")), noErr);
  EXPECT_EQ(FSpRename(&spec, Pascal("again")), fnfErr);
  spec = Named(sub, "renamed");
  EXPECT_EQ(FSpRename(&spec, Pascal("a/b")), bdNamErr);
  EXPECT_EQ(FSpRename(&spec, Pascal("sub")), dupFNErr);
  EXPECT_EQ(FSpCatMove(&spec, &sub), noErr);
  EXPECT_TRUE(fs::exists(folder / "sub/renamed"));
  const FSSpec moved = SpecOf(folder / "sub/renamed");
  EXPECT_EQ(FSpDelete(&moved), noErr);
  SInt32 made = 0;
  const FSSpec dir = Named(sub, "made");
  ASSERT_EQ(FSpDirCreate(&dir, smSystemScript, &made), noErr);
  FSSpec inside{};
  EXPECT_EQ(FSMakeFSSpec(dir.vRefNum, made, Pascal("new"), &inside), fnfErr);
  EXPECT_EQ(inside.parID, made);
  EXPECT_EQ(HCreate(0, made, Pascal("new"), 'none', 'BINA'), noErr);
  EXPECT_TRUE(fs::exists(folder / "made/new"));
  EXPECT_EQ(HGetFInfo(0, made, Pascal("new"), &finder), noErr);
  EXPECT_EQ(finder.fdType, OSType{'BINA'});
  SInt16 number = 0;
  EXPECT_EQ(HOpenRF(0, made, Pascal("new"), fsRdWrPerm, &number), noErr);
  EXPECT_EQ(FSWriteFork(number, fsFromStart, 0, 4, "fork", nullptr), noErr);
  EXPECT_EQ(FSCloseFork(number), noErr);
  EXPECT_EQ(HRename(0, made, Pascal("new"), Pascal("old")), noErr);
  EXPECT_EQ(HOpenDF(0, made, Pascal("old"), fsRdPerm, &number), noErr);
  EXPECT_EQ(FSCloseFork(number), noErr);
  EXPECT_EQ(HDelete(0, made, Pascal("old")), noErr);
  EXPECT_TRUE(fs::is_empty(folder / "made"));
}

TEST(FileSpecs, CatalogueWalkUpToTheRoot) {
  const TempFolder folder;
  fs::create_directories(folder / "sub");
  WriteFile(folder / "sub/file", "12345");
  const FSSpec spec = SpecOf(folder / "sub/file");
  std::string path;
  for (SInt32 id = spec.parID;;) {
    Str63 name{};
    CInfoPBRec block{};
    block.dirInfo.ioNamePtr = name;
    block.dirInfo.ioVRefNum = spec.vRefNum;
    block.dirInfo.ioFDirIndex = -1;
    block.dirInfo.ioDrDirID = id;
    ASSERT_EQ(PBGetCatInfoSync(&block), noErr);
    EXPECT_EQ(block.dirInfo.ioDrDirID, id);
    EXPECT_EQ(block.dirInfo.ioFlAttrib & kioFlAttribDirMask, kioFlAttribDirMask);
    path = "/" + std::string(reinterpret_cast<char*>(name + 1), name[0]) + path;
    if (id == fsRtDirID) break;
    id = block.dirInfo.ioDrParID;
  }
  EXPECT_EQ(path, "/Root" + (folder / "sub").string());
  CInfoPBRec block{};
  Str63 name{};
  block.hFileInfo.ioNamePtr = name;
  block.hFileInfo.ioFDirIndex = 1;
  block.hFileInfo.ioDirID = spec.parID;
  ASSERT_EQ(PBGetCatInfoSync(&block), noErr);
  EXPECT_EQ(block.hFileInfo.ioFlLgLen, 5);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(name + 1), name[0]), "file");
  block.hFileInfo.ioDirID = spec.parID;
  block.hFileInfo.ioFDirIndex = 2;
  EXPECT_EQ(PBGetCatInfoSync(&block), fnfErr);
  block = {};
  Pascal asked("file");
  block.hFileInfo.ioNamePtr = asked.bytes;
  block.hFileInfo.ioDirID = spec.parID;
  ASSERT_EQ(PBGetCatInfoSync(&block), noErr);
  EXPECT_EQ(block.hFileInfo.ioFlParID, spec.parID);
}

}  // namespace
