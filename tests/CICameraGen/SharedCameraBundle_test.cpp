#include "CICameraGen/SharedCameraBundle.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/CICameraGen/Cameras.h"
#include "tests/support/ProcessState.h"

namespace fs = std::filesystem;

namespace {

class SharedCameraBundleTest : public testing::Test {
 protected:
  SharedCameraBundleTest() { test::RemoveComponents(); }
  ~SharedCameraBundleTest() override { test::RemoveComponents(); }

  // A component object of the test's own: the process's one keeps what it has loaded.
  SharedCameraBundle component_{SharedCameraBundle::kCameraComponentFileName,
                                SharedCameraBundle::kCameraComponentBaseName};
  tagSHARED_CAMERA_BUFFER camera_ = {};

  int Ask() {
    camera_.structSize = sizeof(camera_);
    return component_.__GetCurrentReadBuffer(&camera_);
  }
};

bool Is(CFStringRef string, const char* text) {
  CFStringRef const other = CFStringCreateWithCString(nullptr, text, kCFStringEncodingUTF8);
  const bool equal = CFEqual(string, other);
  CFRelease(other);
  return equal;
}

TEST_F(SharedCameraBundleTest, KnowsTheComponentsNames) {
  EXPECT_TRUE(Is(SharedCameraBundle::kCameraComponentFileName, "LumivaneXXX.component"));
  EXPECT_STREQ(SharedCameraBundle::kCameraComponentBaseName, "LumivaneXXX");
  EXPECT_TRUE(Is(SharedCameraBundle::kCameraComponentFunction, "__public_fn_"));
  EXPECT_TRUE(Is(SharedCameraBundle::kCameraComponentFunction0, "__public_fn0"));
  EXPECT_TRUE(Is(SharedCameraBundle::kCameraComponentFunction1, "__public_fn1"));
  EXPECT_TRUE(Is(SharedCameraBundle::kCameraComponentFunction2, "__public_fn2"));
}

TEST_F(SharedCameraBundleTest, WithoutFoldersEveryCallAnswersZeroAndLogsThreeLines) {
  const test::LogCapture log;
  const std::vector<std::string> each(3, test::FolderMissingLine());
  EXPECT_EQ(Ask(), 0);
  EXPECT_EQ(log.Lines(), each);
  EXPECT_EQ(Ask(), 0);
  EXPECT_EQ(log.Lines(), test::Joined({each, each})) << "nothing is remembered";
  EXPECT_FALSE(fs::exists(test::UserComponents())) << "looking makes no folder";
}

TEST_F(SharedCameraBundleTest, LooksIntoTheUsersTheSystemsThenTheLocalFolder) {
  for (const auto& folder :
       {test::UserComponents(), test::SystemComponents(), test::LocalComponents()}) {
    fs::create_directories(folder);
  }
  const test::LogCapture log;
  EXPECT_EQ(Ask(), 0);
  EXPECT_EQ(log.Lines(), test::Joined({test::NothingThereLines(test::UserComponents()),
                                       test::NothingThereLines(test::SystemComponents()),
                                       test::NothingThereLines(test::LocalComponents())}));
}

TEST_F(SharedCameraBundleTest, LoadsFromEachFolderAndStopsAtTheFirst) {
  const fs::path folders[] = {test::UserComponents(), test::SystemComponents(),
                              test::LocalComponents()};
  for (int i = 0; i < 3; ++i) {
    test::RemoveComponents();
    // A broken one behind it must not be reached.
    for (int behind = i + 1; behind < 3; ++behind) {
      test::WriteFile(folders[behind] / test::kComponentName, "no library");
    }
    const fs::path bundle = test::InstallCamera(folders[i], SCRIPTED_CAMERA);
    const test::LogCapture log;
    {
      SharedCameraBundle component(SharedCameraBundle::kCameraComponentFileName,
                                   SharedCameraBundle::kCameraComponentBaseName);
      EXPECT_TRUE(component.IsLoadedPrefix());
      EXPECT_TRUE(test::IsMapped(bundle));
      EXPECT_EQ(log.Lines().size(), static_cast<std::size_t>(i)) << "one line per missing folder";
    }
    EXPECT_FALSE(test::IsMapped(bundle)) << "unloaded with its object";
  }
}

TEST_F(SharedCameraBundleTest, FillsTheRecordWithoutASearchOnceItIsLoaded) {
  const fs::path bundle = test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  const test::Script script("width=16 height=9 rowBytes=80 dataSize=720 format=0x20 result=-7");
  EXPECT_EQ(Ask(), -7);
  EXPECT_NE(camera_.frameBufferPtr, 0U);
  EXPECT_EQ(camera_.frameWidth, 16);
  EXPECT_EQ(camera_.frameHeight, 9);
  EXPECT_EQ(camera_.rowBytes, 80U);
  EXPECT_EQ(camera_.dataSize, 720U);
  EXPECT_EQ(camera_.pixelFormat, 0x20U);

  test::RemoveComponents();
  const test::LogCapture log;
  EXPECT_EQ(Ask(), -7) << "loaded, it stays loaded";
  EXPECT_TRUE(component_.IsLoadedPrefix());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(SharedCameraBundleTest, ComponentWithoutTheEntryPointAnswersZeroSilently) {
  test::InstallCamera(test::UserComponents(), CAMERA_WITHOUT_ENTRY);
  const test::LogCapture log;
  EXPECT_EQ(Ask(), 0);
  EXPECT_EQ(Ask(), 0);
  EXPECT_TRUE(component_.IsLoadedPrefix());
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_EQ(camera_.frameBufferPtr, 0U);
}

TEST_F(SharedCameraBundleTest, ABrokenComponentIsTriedAgainUntilItIsRepaired) {
  test::MakeBrokenLibraryBundle(test::UserComponents() / test::kComponentName);
  const std::vector<std::string> each = test::Joined(
      {test::DoesNotLoadLines(), {test::FolderMissingLine()}, {test::FolderMissingLine()}});
  const test::LogCapture log;
  EXPECT_EQ(Ask(), 0);
  EXPECT_EQ(log.Lines(), each);
  EXPECT_EQ(Ask(), 0);
  EXPECT_EQ(log.Lines(), test::Joined({each, each}));
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  EXPECT_NE(Ask(), 0);
  EXPECT_EQ(log.Lines().size(), 2 * each.size());
}

TEST_F(SharedCameraBundleTest, AFolderBundleThatIsRepairedLoadsToo) {
  const fs::path bundle = test::UserComponents() / test::kComponentName;
  test::MakeBundleWithoutExecutable(bundle);
  EXPECT_EQ(Ask(), 0);
  fs::remove_all(bundle);
  test::MakeBrokenFolderBundle(bundle);
  EXPECT_EQ(Ask(), 0);
  fs::remove_all(bundle);
  test::MakeFolderBundle(bundle, SCRIPTED_CAMERA);
  EXPECT_NE(Ask(), 0);
}

TEST_F(SharedCameraBundleTest, OneThatIsRemovedBeforeItLoadedGivesWayToTheNext) {
  test::MakeBrokenLibraryBundle(test::UserComponents() / test::kComponentName);
  EXPECT_EQ(Ask(), 0);
  test::RemoveComponents();
  EXPECT_EQ(Ask(), 0);
  const fs::path bundle = test::InstallCamera(test::LocalComponents(), SCRIPTED_CAMERA);
  EXPECT_NE(Ask(), 0);
  EXPECT_TRUE(test::IsMapped(bundle));
}

TEST_F(SharedCameraBundleTest, IsInstalledInTheUsersOrTheSystemsFolderButNotInTheLocalOne) {
  EXPECT_FALSE(component_.AlreadyInstalledSomewhere());
  EXPECT_TRUE(fs::is_directory(test::UserComponents())) << "the user's folder is made";

  test::InstallCamera(test::LocalComponents(), SCRIPTED_CAMERA);
  EXPECT_FALSE(component_.AlreadyInstalledSomewhere());
  EXPECT_NE(Ask(), 0) << "though it loads from there";

  test::InstallCamera(test::SystemComponents(), SCRIPTED_CAMERA);
  EXPECT_TRUE(component_.AlreadyInstalledSomewhere());
  test::RemoveComponents();
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  EXPECT_TRUE(component_.AlreadyInstalledSomewhere());
}

TEST_F(SharedCameraBundleTest, LookingWhetherItIsInstalledLogsOnlyTheFolderThatIsMissing) {
  const std::vector<std::string> systemMissing = {
      test::AnyLineNumber(test::FolderMissingLine()),
      test::AnyLineNumber(
          test::VerifyLine("unix_file_url", "sdk/CoreX/CoreUnixPath", 0, "Construct"))};
  {
    const test::LogCapture log;
    EXPECT_FALSE(component_.AlreadyInstalledSomewhere());
    EXPECT_EQ(test::AnyLineNumbers(log.Lines()), systemMissing) << "the user's is made first";
  }
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  {
    const test::LogCapture log;
    EXPECT_TRUE(component_.AlreadyInstalledSomewhere());
    EXPECT_EQ(test::AnyLineNumbers(log.Lines()), systemMissing) << "both are looked up first";
  }
  fs::create_directories(test::SystemComponents());
  const test::LogCapture log;
  EXPECT_TRUE(component_.AlreadyInstalledSomewhere());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(SharedCameraBundleTest, LoadingAndUnloadingFiftyTimesLeavesNothing) {
  const fs::path bundle = test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  const std::uint64_t low = test::LowMappedBytes();
  for (int i = 0; i < 50; ++i) {
    SharedCameraBundle component(SharedCameraBundle::kCameraComponentFileName,
                                 SharedCameraBundle::kCameraComponentBaseName);
    tagSHARED_CAMERA_BUFFER camera = {};
    camera.structSize = sizeof(camera);
    ASSERT_NE(component.__GetCurrentReadBuffer(&camera), 0);
    ASSERT_TRUE(test::IsMapped(bundle));
  }
  EXPECT_FALSE(test::IsMapped(bundle));
  EXPECT_EQ(test::LowMappedBytes(), low);
}

}  // namespace
