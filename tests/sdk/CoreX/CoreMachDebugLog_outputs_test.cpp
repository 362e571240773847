// The log from its first message on, in a module that has just been loaded.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/sdk/CoreX/ProbeModule.h"
#include "tests/support/HermeticHome.h"

namespace {

namespace fs = std::filesystem;
using test::ProbeModule;
using testing::MatchesRegex;

constexpr int kToFile = 0;
constexpr int kToASL = 1;
constexpr int kToSyslog = 2;

/// A state folder of the test's own, with or without a Logs folder in it.
class StateFolder {
 public:
  explicit StateFolder(bool withLogs) : variable_("XDG_STATE_HOME", folder_.path()) {
    if (withLogs) fs::create_directories(logs());
  }
  fs::path logs() const { return folder_.path() / "lumivane/Logs"; }
  fs::path log() const { return logs() / "CILumivaneInput.log"; }

 private:
  test::TempFolder folder_;
  test::ScopedVariable variable_;
};

/// A system log that keeps what it is sent.
class FakeSystemLog {
 public:
  FakeSystemLog() : variable_("LUMIVANE_SYSLOG_SOCKET", folder_ / "log") {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, (folder_ / "log").c_str(), sizeof(address.sun_path) - 1);
    socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::runtime_error("no socket for the system log");
    }
  }
  ~FakeSystemLog() { ::close(socket_); }

  /// The next message sent, or an empty text if there is none.
  std::string Next() {
    char message[8192];
    const ssize_t length = ::recv(socket_, message, sizeof(message), MSG_DONTWAIT);
    return length < 0 ? "" : std::string(message, static_cast<std::size_t>(length));
  }

 private:
  test::TempFolder folder_;
  test::ScopedVariable variable_;
  int socket_;
};

constexpr char kNoFolderLine[] =
    "VERIFY_ERR FAILED: OSErr:-43  code : FSFindFolder(domain, kLogsFolderType, "
    "kDontCreateFolder, &sUserLogsFolder) in sdk/CoreX/CoreMachDebugLog:31 "
    "(CoreMachDebugLogClassInitialize)";

TEST(LogFile, IsFoundAtTheFirstMessage) {
  const StateFolder state(true);
  const ProbeModule module;
  EXPECT_STREQ(PROBE(module, probe_log_file_path), "");
  PROBE(module, probe_log_string, "first\n");
  EXPECT_EQ(PROBE(module, probe_log_file_path), state.log().string());
  PROBE(module, probe_log_verify);
  EXPECT_EQ(test::ReadFile(state.log()),
            "first\nVERIFY FAILED:  code : probe_is_well in tests/sdk/CoreX/ToolkitProbe:46 "
            "(probe_log_verify)\n");
}

TEST(LogFile, HasTheDefaultNameWithoutAName) {
  const StateFolder state(true);
  const ProbeModule module;
  PROBE(module, probe_log_set_file_name, "");
  PROBE(module, probe_log_string, "text\n");
  EXPECT_EQ(test::ReadFile(state.logs() / "CoreConsole.log"), "text\n");
  EXPECT_FALSE(fs::exists(state.log()));
}

TEST(LogFile, HasTheNameItHadAtTheFirstMessage) {
  const StateFolder state(true);
  const ProbeModule module;
  PROBE(module, probe_log_set_file_name, "one.log");
  PROBE(module, probe_log_string, "a");
  PROBE(module, probe_log_set_file_name, "two.log");
  PROBE(module, probe_log_string, "b");
  EXPECT_TRUE(PROBE(module, probe_log_initialize));
  PROBE(module, probe_log_string, "c");
  EXPECT_EQ(test::ReadFile(state.logs() / "one.log"), "abc");
  EXPECT_FALSE(fs::exists(state.logs() / "two.log"));
}

TEST(LogFile, IsAppendedTo) {
  const StateFolder state(true);
  test::WriteFile(state.log(), "before\n");
  const ProbeModule module;
  PROBE(module, probe_log_string, "text\n");
  EXPECT_EQ(test::ReadFile(state.log()), "before\ntext\n");
}

TEST(LogFile, IsTheOutputOfAnyUnknownNumber) {
  const StateFolder state(true);
  const ProbeModule module;
  for (const int output : {kToFile, 3, 7, -1}) {
    PROBE(module, probe_log_set_output, output);
    PROBE(module, probe_log_string, "x");
  }
  EXPECT_EQ(test::ReadFile(state.log()), "xxxx");
}

TEST(LogFile, IsNeverMadeWithAFolder) {
  const StateFolder state(false);
  const ProbeModule module;
  // Each message looks for the folder, whose absence is a message of its own.
  for (int i = 0; i < 3; ++i) PROBE(module, probe_log_string, "dropped\n");
  EXPECT_FALSE(PROBE(module, probe_log_initialize));
  EXPECT_STREQ(PROBE(module, probe_log_file_path), "");
  EXPECT_FALSE(fs::exists(state.logs()));
}

TEST(LogFile, IsFoundOnceTheFolderIsThere) {
  const StateFolder state(false);
  const ProbeModule module;
  PROBE(module, probe_log_string, "dropped\n");
  fs::create_directories(state.logs());
  PROBE(module, probe_log_string, "written\n");
  EXPECT_EQ(test::ReadFile(state.log()), "written\n");
}

TEST(LogFile, DropsMessagesWhileTheFolderIsAway) {
  const StateFolder state(true);
  const ProbeModule module;
  PROBE(module, probe_log_string, "one\n");
  fs::remove_all(state.logs());
  PROBE(module, probe_log_string, "two\n");
  EXPECT_FALSE(fs::exists(state.logs()));
  fs::create_directories(state.logs());
  PROBE(module, probe_log_string, "three\n");
  EXPECT_EQ(test::ReadFile(state.log()), "three\n");
}

TEST(LogFile, DropsMessagesWhereAFileIsInTheFoldersPlace) {
  const StateFolder state(false);
  test::WriteFile(state.logs(), "a file");
  const ProbeModule module;
  PROBE(module, probe_log_string, "dropped\n");
  EXPECT_EQ(test::ReadFile(state.logs()), "a file");
}

TEST(LogFile, DropsMessagesWhereAFolderIsInItsPlace) {
  const StateFolder state(true);
  fs::create_directories(state.log());
  const ProbeModule module;
  PROBE(module, probe_log_string, "dropped\n");
  EXPECT_TRUE(fs::is_empty(state.log()));
}

TEST(LogFile, DropsMessagesInAReadOnlyFolder) {
  if (::geteuid() == 0) GTEST_SKIP() << "root may write in every folder";
  const StateFolder state(true);
  fs::permissions(state.logs(), fs::perms::owner_read | fs::perms::owner_exec);
  const ProbeModule module;
  PROBE(module, probe_log_string, "dropped\n");
  EXPECT_TRUE(fs::is_empty(state.logs()));
  fs::permissions(state.logs(), fs::perms::owner_all);
}

TEST(LogFile, DropsMessagesOnAFullDisk) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  const StateFolder state(true);
  fs::create_symlink("/dev/full", state.log());
  const ProbeModule module;
  PROBE(module, probe_log_string, std::string(100000, 'x').c_str());
  PROBE(module, probe_log_verify);
  fs::remove(state.log());
  PROBE(module, probe_log_string, "room again\n");
  EXPECT_EQ(test::ReadFile(state.log()), "room again\n");
}

TEST(LogFile, TakesWholeLinesFromSeveralThreads) {
  const StateFolder state(true);
  const ProbeModule module;
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kMessages = 100;
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&module] {
      for (std::size_t n = 0; n < kMessages; ++n) PROBE(module, probe_log_string, "a line\n");
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::string expected;
  for (std::size_t i = 0; i < kThreads * kMessages; ++i) expected += "a line\n";
  EXPECT_EQ(test::ReadFile(state.log()), expected);
}

TEST(SystemLog, GetsMessagesThroughASL) {
  const StateFolder state(true);
  FakeSystemLog systemLog;
  const ProbeModule module;
  PROBE(module, probe_log_set_prefix, "A product");
  PROBE(module, probe_log_set_output, kToASL);
  testing::internal::CaptureStderr();
  PROBE(module, probe_log_string, "100%d of it\n");
  const std::string echo = testing::internal::GetCapturedStderr();
  // User facility (1), debug level (7): priority 15.
  EXPECT_THAT(systemLog.Next(),
              MatchesRegex("<15>.* A product\\[[0-9]+\\]: \\(CoreMachDebugLog\\) 100%d of it"));
  EXPECT_THAT(echo, MatchesRegex("A product\\[[0-9]+\\] \\(CoreMachDebugLog\\) <Debug>: "
                                 "100%d of it\n"));
  EXPECT_EQ(systemLog.Next(), "");
  EXPECT_FALSE(fs::exists(state.log()));
}

TEST(SystemLog, GetsMessagesThroughSyslog) {
  const StateFolder state(true);
  FakeSystemLog systemLog;
  const ProbeModule module;
  PROBE(module, probe_log_set_output, kToSyslog);
  testing::internal::CaptureStderr();
  PROBE(module, probe_log_string, "100%d of it");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(systemLog.Next(), MatchesRegex("<15>.*: CILumivaneInput:100%d of it"));
  EXPECT_EQ(systemLog.Next(), "");
  EXPECT_FALSE(fs::exists(state.log()));
}

TEST(SystemLog, IsNotWaitedFor) {
  const StateFolder state(true);
  const test::ScopedVariable variable("LUMIVANE_SYSLOG_SOCKET", test::Home() / "no-socket");
  const ProbeModule module;
  PROBE(module, probe_log_set_output, kToSyslog);
  PROBE(module, probe_log_string, "dropped");
  PROBE(module, probe_log_set_output, kToFile);
  PROBE(module, probe_log_string, "written");
  EXPECT_EQ(test::ReadFile(state.log()), "written");
}

TEST(LogInitialize, ReportsAMissingFolder) {
  const StateFolder state(false);
  FakeSystemLog systemLog;
  const ProbeModule module;
  PROBE(module, probe_log_set_output, kToSyslog);
  EXPECT_FALSE(PROBE(module, probe_log_initialize));
  EXPECT_THAT(systemLog.Next(), testing::EndsWith(std::string("CILumivaneInput:") + kNoFolderLine));
  EXPECT_EQ(systemLog.Next(), "");
  EXPECT_FALSE(fs::exists(state.logs()));
}

TEST(LogInitialize, ReportsAPathThatDoesNotFit) {
  const test::TempFolder folder;
  std::string deep = folder.path();
  while (deep.size() < 1024) deep += "/" + std::string(120, 'd');
  fs::create_directories(deep + "/lumivane/Logs");
  const test::ScopedVariable variable("XDG_STATE_HOME", deep);
  FakeSystemLog systemLog;
  const ProbeModule module;
  PROBE(module, probe_log_string, "dropped");
  PROBE(module, probe_log_set_output, kToSyslog);
  EXPECT_FALSE(PROBE(module, probe_log_initialize));
  EXPECT_THAT(systemLog.Next(),
              testing::EndsWith("VERIFY FAILED:  code : fOk=bool_FSRef_GetUnixPath("
                                "sUserLogsFolder, sUserLogsPath) in "
                                "sdk/CoreX/CoreMachDebugLog:33 "
                                "(CoreMachDebugLogClassInitialize)"));
  EXPECT_EQ(systemLog.Next(), "");
}

TEST(LogInitialize, DropsMessagesWhereTheFilesPathDoesNotFit) {
  const StateFolder state(true);
  const ProbeModule module;
  PROBE(module, probe_log_set_file_name, std::string(1024, 'n').c_str());
  PROBE(module, probe_log_string, "dropped\n");
  EXPECT_STREQ(PROBE(module, probe_log_file_path), "");
  EXPECT_TRUE(fs::is_empty(state.logs()));
}

TEST(LogInitialize, AnswersAtOnceWhenTheFolderIsKnown) {
  const StateFolder state(true);
  const ProbeModule module;
  EXPECT_TRUE(PROBE(module, probe_log_initialize));
  const StateFolder elsewhere(true);
  EXPECT_TRUE(PROBE(module, probe_log_initialize));
  EXPECT_EQ(PROBE(module, probe_log_file_path), state.log().string());
}

}  // namespace
