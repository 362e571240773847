#include "platform/CoreServices/Folders.h"

#include <sys/stat.h>

#include "tests/platform/CoreServices/FileTesting.h"

namespace {

using namespace test;

struct Row {
  SInt16 domain;
  OSType type;
  std::string path;  ///< below the home
};

std::vector<Row> Rows() {
  return {
      {kUserDomain, 'wcmp', ".local/share/lumivane/Components"},
      {kUserDomain, 'fram', ".local/share/lumivane/Frameworks"},
      {kUserDomain, 'imgu', ".local/share/lumivane/ImageUnits"},
      {kUserDomain, 'asup', ".local/share/lumivane/Application Support"},
      {kUserDomain, 'pref', ".config/lumivane"},
      {kUserDomain, 'cach', ".cache/lumivane"},
      {kUserDomain, 'desk', "Desktop"},
      {kUserDomain, 'docs', "Documents"},
      {kLocalDomain, 'wcmp', "local-root/Components"},
      {kLocalDomain, 'fram', "local-root/Frameworks"},
      {kLocalDomain, 'imgu', "local-root/ImageUnits"},
      {kSystemDomain, 'wcmp', "system-root/Components"},
      {kSystemDomain, 'fram', "system-root/Frameworks"},
      {kSystemDomain, 'imgu', "system-root/ImageUnits"},
      {kOnSystemDisk, 'docs', "Documents"},
  };
}

TEST(Folders, CreatesOnlyWhenAsked) {
  for (const Row& row : Rows()) {
    const fs::path path = Home() / row.path;
    SCOPED_TRACE(path);
    fs::remove_all(path);
    FSRef ref{};
    EXPECT_EQ(FSFindFolder(row.domain, row.type, kDontCreateFolder, &ref), fnfErr);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(FSFindFolder(row.domain, row.type, kCreateFolder, &ref), noErr);
    EXPECT_EQ(PathOf(ref), path.string());
    EXPECT_EQ(FSFindFolder(row.domain, row.type, kDontCreateFolder, &ref), noErr);
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    if (row.domain == kUserDomain) {
      EXPECT_EQ(status.st_mode & 0777, 0700u);
    }
    fs::remove_all(path);
  }
}

TEST(Folders, ParentsAreMadeTooAndAreTheUsersAlone) {
  const TempFolder base;
  const ScopedVariable data("XDG_DATA_HOME", (base / "deep/data").string());
  FSRef ref{};
  ASSERT_EQ(FSFindFolder(kUserDomain, 'wcmp', kCreateFolder, &ref), noErr);
  EXPECT_EQ(PathOf(ref), (base / "deep/data/lumivane/Components").string());
  struct stat status {};
  ASSERT_EQ(stat((base / "deep").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST(Folders, EnvironmentIsReadAtEachCall) {
  const TempFolder base;
  FSRef ref{};
  {
    const ScopedVariable state("XDG_STATE_HOME", base.path().string());
    fs::create_directories(base / "lumivane/Logs");
    EXPECT_EQ(FSFindFolder(kUserDomain, 'logs', kDontCreateFolder, &ref), noErr);
    EXPECT_EQ(PathOf(ref), (base / "lumivane/Logs").string());
  }
  EXPECT_EQ(FSFindFolder(kUserDomain, 'logs', kDontCreateFolder, &ref), noErr);
  EXPECT_EQ(PathOf(ref), LogsFolder().string());
}

TEST(Folders, RelativeVariablesAreIgnored) {
  const ScopedVariable data("XDG_DATA_HOME", "relative");
  FSRef ref{};
  ASSERT_EQ(FSFindFolder(kUserDomain, 'fram', kCreateFolder, &ref), noErr);
  EXPECT_EQ(PathOf(ref), (Home() / ".local/share/lumivane/Frameworks").string());
  fs::remove_all(Home() / ".local/share/lumivane/Frameworks");
}

TEST(Folders, HomeTemporaryAndUnknown) {
  FSRef ref{};
  EXPECT_EQ(FSFindFolder(kUserDomain, 'cusr', kDontCreateFolder, &ref), noErr);
  EXPECT_EQ(PathOf(ref), Home().string());
  const TempFolder temporary;
  const ScopedVariable variable("TMPDIR", temporary.path().string());
  EXPECT_EQ(FSFindFolder(kUserDomain, 'temp', kDontCreateFolder, &ref), noErr);
  EXPECT_EQ(PathOf(ref), temporary.path().string());
  EXPECT_EQ(FSFindFolder(kUserDomain, 'nope', kCreateFolder, &ref), fnfErr);
  EXPECT_EQ(FSFindFolder(kNetworkDomain, 'wcmp', kCreateFolder, &ref), fnfErr);
  EXPECT_EQ(FSFindFolder(7, 'wcmp', kCreateFolder, &ref), fnfErr);
  EXPECT_EQ(FSFindFolder(kUserDomain, 'cusr', kCreateFolder, nullptr), paramErr);
}

TEST(Folders, FileInTheWay) {
  fs::create_directories(Home() / ".local/share/lumivane");
  WriteFile(Home() / ".local/share/lumivane/Frameworks", "");
  FSRef ref{};
  EXPECT_EQ(FSFindFolder(kUserDomain, 'fram', kDontCreateFolder, &ref), fnfErr);
  EXPECT_EQ(FSFindFolder(kUserDomain, 'fram', kCreateFolder, &ref), dupFNErr);
  fs::remove(Home() / ".local/share/lumivane/Frameworks");
  const TempFolder base;
  WriteFile(base / "file", "");
  const ScopedVariable data("XDG_DATA_HOME", (base / "file").string());
  EXPECT_NE(FSFindFolder(kUserDomain, 'fram', kCreateFolder, &ref), noErr);
}

}  // namespace
