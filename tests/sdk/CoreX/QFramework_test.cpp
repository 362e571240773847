#include "sdk/CoreX/QFramework.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreX/T_CFString.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempBundle.h"

namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

MediaType* sMediaRecord = nullptr;
const Media kMedia = &sMediaRecord;

std::string Line(const std::string& code, int line, const std::string& function) {
  return test::VerifyLine(code, "sdk/CoreX/QFramework", line, function);
}

constexpr char kSample[] = "SampleNumToMediaDecodeTime";
constexpr char kReference[] = "NewDataReferenceFromFSRefCFString";

/// With no QuickTime.framework loaded or to be found.
class QFrameworkTest : public testing::Test {
 protected:
  QFrameworkTest() { Forget(); }
  ~QFrameworkTest() override { Forget(); }

  static fs::path framework() {
    return test::SystemComponents().parent_path() / "Frameworks/QuickTime.framework";
  }
  static void Install() { test::MakeFramework(framework(), TEST_QUICKTIME_MODULE); }
  static void InstallEmpty() { test::MakeFramework(framework(), TEST_EMPTY_FRAMEWORK_MODULE); }

  SInt64 time = -1;
  SInt64 duration = -1;
  Handle handle = nullptr;
  OSType type = 0;
  const FSRef folder = {};

 private:
  static void Forget() {
    QFramework::sQuickTime.Unload();
    fs::remove_all(framework().parent_path());
    SetMoviesError(noErr);
  }
};

TEST_F(QFrameworkTest, HasItsName) {
  EXPECT_EQ(TCFString(QFramework::sQuickTime.BundleName()).strcmp("QuickTime.framework"), 0);
  EXPECT_FALSE(QFramework::sQuickTime.IsLoaded());
}

TEST_F(QFrameworkTest, FailsWithoutTheFramework) {
  fs::create_directories(framework().parent_path());
  LogCapture log;
  EXPECT_FALSE(QFramework::SampleNumToMediaDecodeTime(kMedia, 3, &time, &duration));
  EXPECT_EQ(time, -1);
  ASSERT_EQ(log.Lines().size(), 5U);
  EXPECT_EQ(log.Lines()[3], Line("sQuickTime.LoadSystemFramework()", 14, kSample));
  EXPECT_EQ(log.Lines()[4], Line("sQuickTime.IsLoaded()", 16, kSample));
  log.Clear();
  EXPECT_EQ(QFramework::NewDataReferenceFromFSRefCFString(&folder, CFSTR("n"), 0, &handle, &type),
            -50);
  ASSERT_EQ(log.Lines().size(), 5U);
  EXPECT_EQ(log.Lines()[3], Line("sQuickTime.LoadSystemFramework()", 59, kReference));
  EXPECT_EQ(log.Lines()[4], Line("sQuickTime.IsLoaded()", 61, kReference));
  EXPECT_EQ(handle, nullptr);
}

TEST_F(QFrameworkTest, TriesAgainAfterAFailure) {
  EXPECT_FALSE(QFramework::SampleNumToMediaDecodeTime(kMedia, 3, &time, &duration));
  Install();
  EXPECT_TRUE(QFramework::SampleNumToMediaDecodeTime(kMedia, 3, &time, &duration));
}

TEST_F(QFrameworkTest, AsksForASamplesTime) {
  Install();
  const LogCapture log;
  const SInt64 sample = SInt64{1} << 40;
  EXPECT_TRUE(QFramework::SampleNumToMediaDecodeTime(kMedia, sample, &time, &duration));
  EXPECT_EQ(time, sample * 10);
  EXPECT_EQ(duration, 10);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(QFrameworkTest, LogsTheToolboxesError) {
  Install();
  const LogCapture log;
  EXPECT_FALSE(QFramework::SampleNumToMediaDecodeTime(kMedia, -1, &time, &duration));
  EXPECT_THAT(log.Lines(), ElementsAre(Line("fOk = (error==noErr)", 21, kSample),
                                       "-50=SampleNumToMediaDecodeTime()"));
}

TEST_F(QFrameworkTest, LogsAFunctionItLacks) {
  InstallEmpty();
  const LogCapture log;
  EXPECT_FALSE(QFramework::SampleNumToMediaDecodeTime(kMedia, 3, &time, &duration));
  ASSERT_EQ(log.Lines().size(), 1U);
  EXPECT_THAT(log.Lines()[0], testing::StartsWith("VERIFY FAILED:  code : sQuickTime.Call("));
  EXPECT_THAT(
      log.Lines()[0],
      testing::HasSubstr("theMedia, logicalSampleNum, sampleDecodeTime, sampleDecodeDuration)"));
  EXPECT_THAT(log.Lines()[0],
              testing::EndsWith(") in sdk/CoreX/QFramework:18 (SampleNumToMediaDecodeTime)"));
}

TEST_F(QFrameworkTest, ReturnsNoErrorForAFunctionItLacks) {
  InstallEmpty();
  const LogCapture log;
  EXPECT_EQ(QFramework::NewDataReferenceFromFSRefCFString(&folder, CFSTR("n"), 0, &handle, &type),
            0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(QFrameworkTest, MakesADataReferenceByName) {
  Install();
  const LogCapture log;
  EXPECT_EQ(
      QFramework::NewDataReferenceFromFSRefCFString(&folder, CFSTR("four"), 7, &handle, &type), 0);
  EXPECT_NE(handle, nullptr);
  EXPECT_EQ(type, 7004U);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(QFrameworkTest, LogsAndReturnsTheErrorOfADataReference) {
  Install();
  const LogCapture log;
  EXPECT_EQ(QFramework::NewDataReferenceFromFSRefCFString(nullptr, CFSTR("n"), 0, &handle, &type),
            -43);
  EXPECT_THAT(log.Lines(), ElementsAre(Line("result==noErr", 64, kReference)));
}

TEST_F(QFrameworkTest, MakesADataReferenceThroughTheFrameworkOfThisPlatform) {
  fs::create_directories(framework().parent_path());
  fs::create_directory_symlink(TEST_STAGED_QUICKTIME_FRAMEWORK, framework());
  const test::TempFolder files;
  FSRef ref = {};
  ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(files.path().c_str()), &ref, nullptr), 0);
  LogCapture log;
  EXPECT_EQ(QFramework::NewDataReferenceFromFSRefCFString(&ref, CFSTR("new"), 0, &handle, &type),
            0);
  EXPECT_NE(handle, nullptr);
  EXPECT_EQ(type, AliasDataHandlerSubType);
  DisposeHandle(handle);
  EXPECT_THAT(log.Lines(), IsEmpty());
  // Media it has none of.
  EXPECT_FALSE(QFramework::SampleNumToMediaDecodeTime(kMedia, 3, &time, &duration));
  EXPECT_EQ(log.Lines().size(), 1U);
}

TEST_F(QFrameworkTest, MakesADataReferenceToAFileDirectly) {
  const test::TempFolder files;
  test::WriteFile(files / "file", "text");
  FSRef ref = {};
  ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>((files / "file").c_str()), &ref, nullptr),
            0);
  Handle expected = nullptr;
  OSType expectedType = 0;
  const OSErr error = QTNewDataReferenceFromFSRef(&ref, 0, &expected, &expectedType);
  EXPECT_EQ(QFramework::NewDataReferenceFromFSRef(&ref, 0, &handle, &type), error);
  EXPECT_EQ(type, expectedType);
  EXPECT_EQ(error, noErr);
  EXPECT_NE(handle, nullptr);
  DisposeHandle(expected);
  DisposeHandle(handle);
  EXPECT_FALSE(QFramework::sQuickTime.IsLoaded());
}

}  // namespace
