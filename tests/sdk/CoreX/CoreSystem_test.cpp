#include "sdk/CoreX/CoreSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "platform/CoreServices/Gestalt.h"
#include "sdk/CoreX/T_CFString.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempBundle.h"

namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CoreSystem, KnowsTheSystemsVersion) {
  SInt32 version = 0;
  ASSERT_EQ(Gestalt(gestaltSystemVersion, &version), noErr);
  EXPECT_EQ(CoreSystem::sSingleton.Version(), version);
  const LogCapture log;
  EXPECT_EQ(CoreSystem().Version(), version);
  EXPECT_EQ(log.Text(), "");
}

TEST(CoreSystem, ComparesWithoutTheBugFixDigit) {
  EXPECT_TRUE(CoreSystem::IsAtLeast(0x1048, kCoreSystem_10_4));
  EXPECT_TRUE(CoreSystem::IsAtLeast(0x104B, kCoreSystem_10_4));
  EXPECT_TRUE(CoreSystem::IsAtLeast(0x1040, kCoreSystem_10_4));
  EXPECT_FALSE(CoreSystem::IsAtLeast(0x1039, kCoreSystem_10_4));
  EXPECT_FALSE(CoreSystem::IsAtLeast(0x1048, static_cast<CoreSystemName>(0x1048)));
  EXPECT_TRUE(CoreSystem::IsAtLeast(0x1050, static_cast<CoreSystemName>(0x1048)));
  EXPECT_FALSE(CoreSystem::IsAtLeast(0, kCoreSystem_10_0));
  EXPECT_TRUE(CoreSystem::IsAtLeast(0, static_cast<CoreSystemName>(-1)));
}

TEST(CoreSystem, IsTheSystemThisLayerStandsFor) {
  EXPECT_TRUE(CoreSystem::sSingleton.IsAtLeast(kCoreSystem_10_0));
  EXPECT_TRUE(CoreSystem::sSingleton.IsAtLeast(kCoreSystem_10_4));
  EXPECT_FALSE(CoreSystem::sSingleton.IsAtLeast(kCoreSystem_10_5));
}

/// With no System.framework loaded or, until it is installed, to be found.
class SystemFrameworkTest : public testing::Test {
 protected:
  SystemFrameworkTest() { Forget(); }
  ~SystemFrameworkTest() override { Forget(); }

  static fs::path frameworks() { return test::SystemComponents().parent_path() / "Frameworks"; }

 private:
  static void Forget() {
    SystemFramework::sSystem.Unload();
    fs::remove_all(frameworks());
  }
};

using WithoutSystemFramework = SystemFrameworkTest;

class WithSystemFramework : public SystemFrameworkTest {
 protected:
  WithSystemFramework() { test::InstallSystemFramework(); }
};

TEST_F(WithoutSystemFramework, HasItsName) {
  EXPECT_EQ(TCFString(SystemFramework::sSystem.BundleName()).strcmp("System.framework"), 0);
  EXPECT_FALSE(SystemFramework::sSystem.IsLoaded());
}

TEST_F(WithoutSystemFramework, AnswersAsIfNothingHadToBeDone) {
  EXPECT_EQ(SystemFramework::mprotect(nullptr, 1, 0), 0);
  EXPECT_EQ(SystemFramework::chdir("/"), -1);
  char buffer[8];
  EXPECT_EQ(SystemFramework::getcwd(buffer, sizeof(buffer)), nullptr);
}

TEST_F(WithoutSystemFramework, LooksForItAtEveryCall) {
  LogCapture log;
  EXPECT_EQ(SystemFramework::chdir("/"), -1);
  // No folder.
  EXPECT_EQ(log.Lines().size(), 1U);
  fs::create_directories(frameworks());
  log.Clear();
  EXPECT_EQ(SystemFramework::chdir(nullptr), -1);
  EXPECT_EQ(SystemFramework::mprotect(nullptr, 1, 0), 0);
  // No bundle: three lines each, and none for the path nobody came to look at.
  EXPECT_EQ(log.Lines().size(), 6U);
  test::InstallSystemFramework();
  log.Clear();
  char buffer[4096];
  EXPECT_EQ(SystemFramework::getcwd(buffer, sizeof(buffer)), buffer);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(WithSystemFramework, ProtectsMemory) {
  const std::size_t size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* page = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(page, MAP_FAILED);
  EXPECT_EQ(SystemFramework::mprotect(page, size, PROT_READ | PROT_WRITE), 0);
  static_cast<char*>(page)[0] = 'x';
  ::munmap(page, size);
  errno = 0;
  EXPECT_EQ(SystemFramework::mprotect(page, size, PROT_READ), -1);
  EXPECT_EQ(errno, ENOMEM);
}

TEST_F(WithSystemFramework, ChangesAndReadsTheWorkingDirectory) {
  const fs::path old = fs::current_path();
  const test::TempFolder folder;
  const LogCapture log;
  EXPECT_EQ(SystemFramework::chdir(folder.path().c_str()), 0);
  EXPECT_EQ(fs::current_path(), folder.path());
  char buffer[4096];
  EXPECT_EQ(SystemFramework::getcwd(buffer, sizeof(buffer)), buffer);
  EXPECT_EQ(buffer, folder.path().string());
  EXPECT_EQ(SystemFramework::getcwd(buffer, 1), nullptr);
  EXPECT_EQ(SystemFramework::chdir((folder / "nothing").c_str()), -1);
  EXPECT_THAT(log.Lines(), IsEmpty());
  fs::current_path(old);
}

TEST_F(WithSystemFramework, LogsANullPath) {
  const LogCapture log;
  EXPECT_EQ(SystemFramework::chdir(nullptr), -1);
  EXPECT_THAT(log.Lines(), ElementsAre(test::VerifyLine("in_utf8_path_string",
                                                        "sdk/CoreX/CoreSystem", 52, "chdir")));
}

TEST_F(WithSystemFramework, StaysLoaded) {
  char buffer[4096];
  EXPECT_EQ(SystemFramework::getcwd(buffer, sizeof(buffer)), buffer);
  EXPECT_TRUE(SystemFramework::sSystem.IsLoaded());
  test::RemoveSystemFramework();
  EXPECT_EQ(SystemFramework::getcwd(buffer, sizeof(buffer)), buffer);
}

}  // namespace
