#include "sdk/CoreX/CoreMachDebugLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "sdk/CoreX/CoreUnixPath.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"

namespace {

using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kSource[] = "tests/sdk/CoreX/CoreMachDebugLog_test";

bool Fails(int& calls) {
  ++calls;
  return false;
}

OSErr Error(OSErr error) {
  return error;
}

TEST(CoreMachDebugLog, FormatsAndAppends) {
  LogCapture log;
  CoreMachDebugLog("%s %d\n", "text", 7);
  CoreMachDebugLog("%c%5.2f\n", 'x', 1.5);
  EXPECT_EQ(log.Text(), "text 7\nx 1.50\n");
}

TEST(CoreMachDebugLog, IsTheFileInTheLogsFolder) {
  LogCapture log;
  CoreMachDebugLog("here\n");
  EXPECT_EQ(CoreMachDebugLogFilePath(), (test::LogsFolder() / "CILumivaneInput.log").string());
  EXPECT_STREQ(g_CoreMachDebug_LogPrefix, "CILumivaneInput");
  EXPECT_STREQ(g_CoreMachDebug_LogFileName, "CILumivaneInput.log");
}

TEST(CoreMachDebugLog, CutsAMessageAt1023Bytes) {
  LogCapture log;
  const std::string text(3000, 'x');
  CoreMachDebugLog("%s\n", text.c_str());
  EXPECT_EQ(log.Text(), text.substr(0, 1023));
}

TEST(CoreMachDebugLog, TakesAMessageOf1023BytesWhole) {
  LogCapture log;
  const std::string text(1022, 'x');
  CoreMachDebugLog("%s\n", text.c_str());
  EXPECT_EQ(log.Text(), text + "\n");
}

TEST(CoreMachDebugLogString, WritesATextOfAnyLength) {
  LogCapture log;
  const std::string text(100000, 'y');
  CoreMachDebugLogString(text.c_str());
  EXPECT_EQ(log.Text(), text);
}

TEST(CoreMachDebugLogString, AddsNoLineEnd) {
  LogCapture log;
  CoreMachDebugLogString("a");
  CoreMachDebugLogString("");
  CoreMachDebugLogString("b\n");
  EXPECT_EQ(log.Text(), "ab\n");
}

TEST(CoreMachDebugLogString, WritesNothingForNull) {
  const LogCapture log;
  CoreMachDebugLogString(nullptr);
  EXPECT_EQ(log.Text(), "");
}

TEST(CoreMachDebugLogString, FormatsAgainWhenItWrites) {
  LogCapture log;
  CoreMachDebugLogString("a%db%5dc%sd%%e%nf%\n");
  EXPECT_EQ(log.Text(), "a0b    0cd%ef%\n");
}

TEST(CoreMachDebugLog, FormatsTwice) {
  LogCapture log;
  CoreMachDebugLog("%s|%%d|%%%%\n", "%d");
  EXPECT_EQ(log.Text(), "0|0|%\n");
}

TEST(CoreMachDebugLog, PassesOverAFormatItCannotPrint) {
  LogCapture log;
  // No character has this number, so the C library gives the format up.
  CoreMachDebugLog("before %lc", static_cast<wint_t>(0x7FFFFFFF));
  CoreMachDebugLog("after\n");
  EXPECT_THAT(log.Text(), testing::EndsWith("after\n"));
}

TEST(CoreMachDebugLog, LeavesErrnoAlone) {
  errno = EXDEV;
  CoreMachDebugLogString("text\n");
  EXPECT_EQ(errno, EXDEV);
}

TEST(CoreMachDebugLog, WritesAgainAfterTheFileIsGone) {
  LogCapture log;
  CoreMachDebugLogString("one\n");
  std::filesystem::remove(CoreMachDebugLogFilePath());
  CoreMachDebugLogString("two\n");
  EXPECT_EQ(test::ReadFile(CoreMachDebugLogFilePath()), "two\n");
}

TEST(CoreMachDebugLogNull, SaysNothing) {
  LogCapture log;
  CoreMachDebugLogNull("SharedCameraBundle::AlreadyInstalledSomewhere\n");
  CoreMachDebugLogNull("%d %s\n", 1, "text");
  CoreMachDebugLogNull(std::string("no text of C"), 1.5, nullptr);
  EXPECT_EQ(log.Text(), "");
}

TEST(CoreMachDebugTrace, StartsUnindented) {
  EXPECT_EQ(CoreMachDebugTrace::sIndent, 0);
}

TEST(VerifyBody, LogsOneLine) {
  LogCapture log;
  _CoreMachDebugVerifyBody("outputImage", "CICameraGen/CICameraGenerator", 46,
                           " code : camera.frameBufferPtr");
  EXPECT_EQ(log.Text(),
            "VERIFY FAILED:  code : camera.frameBufferPtr in CICameraGen/CICameraGenerator:46 "
            "(outputImage)\n");
}

TEST(VerifyOSerrBody, LogsOneLine) {
  LogCapture log;
  _CoreMachDebugVerifyOSerrBody(-43, "Function", "sdk/CoreX/Source", 31, " code : call()");
  EXPECT_EQ(log.Text(),
            "VERIFY_ERR FAILED: OSErr:-43  code : call() in sdk/CoreX/Source:31 (Function)\n");
}

TEST(Verify, LogsTheExpressionSourceLineAndFunction) {
  LogCapture log;
  const void* pointer = nullptr;
  const int line = __LINE__ + 1;
  const bool result = VERIFY(pointer != nullptr);
  EXPECT_FALSE(result);
  EXPECT_THAT(log.Lines(),
              ElementsAre(test::VerifyLine("pointer != nullptr", kSource, line, "TestBody")));
}

TEST(Verify, IsSilentWhenTheExpressionHolds) {
  LogCapture log;
  const int number = 3;
  const char* text = "";
  EXPECT_TRUE(VERIFY(number));
  EXPECT_TRUE(VERIFY(text));
  EXPECT_EQ(VERIFIED(number), 3);
  EXPECT_EQ(VERIFY_ERR(Error(noErr)), noErr);
  EXPECT_EQ(log.Text(), "");
}

TEST(Verify, EvaluatesOnce) {
  int calls = 0;
  VERIFY(Fails(calls));
  EXPECT_EQ(calls, 1);
  VERIFIED(Fails(calls));
  EXPECT_EQ(calls, 2);
}

TEST(Verify, TakesTheTextLetterByLetter) {
  LogCapture log;
  VERIFY_AT(1, NULL);
  VERIFY_AT(2, std::string("a,b") == "c");
  EXPECT_THAT(log.Lines(), ElementsAre(test::VerifyLine("NULL", kSource, 1, "TestBody"),
                                       test::VerifyLine("std::string(\"a,b\") == \"c\"", kSource, 2,
                                                        "TestBody")));
}

TEST(Verify, TakesALineATextAndAFunction) {
  LogCapture log;
  VERIFY_AT(17, false);
  VERIFY_TEXT(18, "a given text", false);
  VERIFY_IN("init:", 19, "another", false);
  EXPECT_THAT(log.Lines(), ElementsAre(test::VerifyLine("false", kSource, 17, "TestBody"),
                                       test::VerifyLine("a given text", kSource, 18, "TestBody"),
                                       test::VerifyLine("another", kSource, 19, "init:")));
}

TEST(Verified, LogsOnceAndYieldsTheValue) {
  LogCapture log;
  const char* const text = VERIFIED_AT(5, static_cast<const char*>(nullptr));
  EXPECT_EQ(text, nullptr);
  EXPECT_THAT(log.Lines(), ElementsAre(test::VerifyLine("static_cast<const char*>(nullptr)",
                                                        kSource, 5, "TestBody")));
}

TEST(Verified, InsideAnAssignmentThatIsVerifiedLogsTwice) {
  LogCapture log;
  int calls = 0;
  bool fOk = true;
  const int line = __LINE__ + 1;
  VERIFY(fOk = VERIFIED(Fails(calls)));
  EXPECT_FALSE(fOk);
  EXPECT_EQ(calls, 1);
  EXPECT_THAT(log.Lines(), ElementsAre(test::VerifyLine("Fails(calls)", kSource, line, "TestBody"),
                                       test::VerifyLine("fOk = VERIFIED(Fails(calls))", kSource,
                                                        line, "TestBody")));
}

TEST(VerifyErr, LogsTheErrorAndYieldsIt) {
  LogCapture log;
  EXPECT_EQ(VERIFY_ERR_AT(31, Error(-43)), -43);
  EXPECT_EQ(VERIFY_ERR_TEXT(32, "err", Error(paramErr)), -50);
  EXPECT_THAT(log.Lines(),
              ElementsAre(test::VerifyErrLine(-43, "Error(-43)", kSource, 31, "TestBody"),
                          test::VerifyErrLine(-50, "err", kSource, 32, "TestBody")));
}

TEST(CoreException, FormatsItsMessage) {
  EXPECT_STREQ(CoreException("Nil exception pointer").Message(), "Nil exception pointer");
  EXPECT_STREQ(CoreException("OSErr: %d", -50).Message(), "OSErr: -50");
}

TEST(CoreException, IsThrownByValue) {
  try {
    throw CoreException("OSErr: %d", -108);
  } catch (const CoreException& exception) {
    EXPECT_STREQ(exception.Message(), "OSErr: -108");
  }
}

TEST(CoreException, SharesOneMessage) {
  const CoreException first("first");
  const CoreException second("second");
  EXPECT_STREQ(first.Message(), "second");
  EXPECT_EQ(first.Message(), second.Message());
}

TEST(CoreException, CutsItsMessageAt2047Bytes) {
  const std::string text(5000, 'z');
  EXPECT_EQ(CoreException("%s", text.c_str()).Message(), text.substr(0, 2047));
}

TEST(FSRefGetUnixPath, GivesThePath) {
  LogCapture log;
  const test::TempFolder folder;
  FSRef ref;
  ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(folder.path().c_str()), &ref, nullptr), 0);
  char path[1024] = "old";
  EXPECT_TRUE(bool_FSRef_GetUnixPath(ref, path));
  EXPECT_EQ(path, folder.path().string());
  EXPECT_EQ(log.Text(), "");
}

TEST(FSRefGetUnixPath, LogsAReferenceToNothing) {
  LogCapture log;
  const FSRef nothing = {};
  char path[1024] = "old";
  EXPECT_FALSE(bool_FSRef_GetUnixPath(nothing, path));
  EXPECT_STREQ(path, "");
  EXPECT_THAT(log.Lines(), ElementsAre(test::VerifyLine("bool_FSRef_IsValid(fileRef)",
                                                        "sdk/CoreX/Core_FSRef_inl", 163,
                                                        "bool_FSRef_GetUnixPath")));
}

TEST(FSRefGetUnixPath, LogsAReferenceToWhatIsGone) {
  const test::TempFolder folder;
  const std::string file = folder / "file";
  test::WriteFile(file, "text");
  FSRef ref;
  ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(file.c_str()), &ref, nullptr), 0);
  EXPECT_TRUE(bool_FSRef_IsValid(ref));
  std::filesystem::remove(file);
  EXPECT_FALSE(bool_FSRef_IsValid(ref));
  LogCapture log;
  char path[1024] = "old";
  EXPECT_FALSE(bool_FSRef_GetUnixPath(ref, path));
  EXPECT_EQ(log.Lines().size(), 1U);
}

TEST(FSRefGetUnixPath, FailsSilentlyWhenThePathDoesNotFit) {
  const test::TempFolder folder;
  std::string deep = folder.path();
  while (deep.size() < 1024) deep += "/" + std::string(120, 'd');
  std::filesystem::create_directories(deep);
  FSRef ref;
  ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(deep.c_str()), &ref, nullptr), 0);
  LogCapture log;
  char path[1024] = "old";
  EXPECT_FALSE(bool_FSRef_GetUnixPath(ref, path));
  EXPECT_STREQ(path, "");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
