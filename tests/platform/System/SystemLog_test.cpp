// The system log's calls, against a socket of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>

#include "platform/System/asl.h"
#include "platform/System/syslog.h"
#include "tests/support/HermeticHome.h"

using testing::EndsWith;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

/// A daemon's end of the system log.
class LogDaemon {
 public:
  LogDaemon() : variable_("LUMIVANE_SYSLOG_SOCKET", (folder_ / "log").string()) {
    socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, (folder_ / "log").c_str(), sizeof address.sun_path - 1);
    if (bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      throw std::runtime_error("no socket");
    }
  }
  ~LogDaemon() { close(socket_); }

  /// The next message, or "(none)".
  std::string Next() {
    char buffer[65536];
    const ssize_t size = recv(socket_, buffer, sizeof buffer, 0);
    return size < 0 ? "(none)" : std::string(buffer, static_cast<std::size_t>(size));
  }

 private:
  test::TempFolder folder_;
  test::ScopedVariable variable_;
  int socket_ = -1;
};

std::string Process() {
  return "[" + std::to_string(getpid()) + "]";
}

}  // namespace

TEST(SystemLog, CarriesIdentityFacilityAndLevel) {
  LogDaemon daemon;
  const aslclient client = asl_open("CILumivaneInput", "CoreMachDebugLog", 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(asl_log(client, nullptr, ASL_LEVEL_DEBUG, "%s\n", "VERIFY FAILED:  code : x"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "no echo without the option";
  asl_close(client);
  const std::string message = daemon.Next();
  EXPECT_THAT(message, StartsWith("<15>")) << "user facility (1) times 8, debug (7)";
  EXPECT_THAT(message, EndsWith(" CILumivaneInput" + Process() +
                                ": (CoreMachDebugLog) VERIFY FAILED:  code : x"));
  EXPECT_THAT(message, MatchesRegex("<15>[A-Z][a-z][a-z] [ 0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9]"
                                    "[0-9] CILumivaneInput.*"));
  EXPECT_EQ(daemon.Next(), "(none)") << "one message for one call";
}

TEST(SystemLog, IsEchoedToStandardError) {
  LogDaemon daemon;
  const aslclient client = asl_open("Identity", "Facility", ASL_OPT_STDERR);
  testing::internal::CaptureStderr();
  asl_log(client, nullptr, ASL_LEVEL_DEBUG, "%s\n", "a line");
  asl_log(client, nullptr, ASL_LEVEL_ERR, "%d %%", 7);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Identity" + Process() +
                                                        " (Facility) <Debug>: a line\nIdentity" +
                                                        Process() + " (Facility) <Error>: 7 %\n");
  asl_close(client);
  EXPECT_THAT(daemon.Next(), StartsWith("<15>"));
  EXPECT_THAT(daemon.Next(), StartsWith("<11>"));
}

TEST(SystemLog, HoldsTheLevelToItsRange) {
  LogDaemon daemon;
  const aslclient client = asl_open("I", "F", 0);
  for (int level = ASL_LEVEL_EMERG; level <= ASL_LEVEL_DEBUG; ++level) {
    asl_log(client, nullptr, level, "x");
    EXPECT_THAT(daemon.Next(), StartsWith("<" + std::to_string(8 + level) + ">"));
  }
  asl_log(client, nullptr, 99, "x");
  EXPECT_THAT(daemon.Next(), StartsWith("<15>"));
  asl_log(client, nullptr, -3, "x");
  EXPECT_THAT(daemon.Next(), StartsWith("<8>"));
  asl_close(client);
}

TEST(SystemLog, HasDefaults) {
  LogDaemon daemon;
  const std::string program = program_invocation_short_name;
  const aslclient client = asl_open(nullptr, nullptr, 0);
  asl_log(client, nullptr, ASL_LEVEL_NOTICE, "x");
  EXPECT_THAT(daemon.Next(), EndsWith(" " + program + Process() + ": (user) x"));
  asl_log(nullptr, nullptr, ASL_LEVEL_NOTICE, "y");
  EXPECT_THAT(daemon.Next(), EndsWith(" " + program + Process() + ": (user) y"));
  asl_close(client);
  asl_close(nullptr);
}

TEST(SystemLog, TakesLongAndEmptyMessages) {
  LogDaemon daemon;
  const aslclient client = asl_open("I", "F", 0);
  const std::string text(5000, 'a');
  EXPECT_EQ(asl_log(client, nullptr, 7, "%s\n\n", text.c_str()), 0);
  EXPECT_THAT(daemon.Next(), EndsWith("(F) " + text)) << "nothing is cut, line ends go";
  EXPECT_EQ(asl_log(client, nullptr, 7, "%s", ""), 0);
  EXPECT_THAT(daemon.Next(), EndsWith("(F) "));
  // Through a pointer: the compiler would refuse the null format.
  int (*const log)(aslclient, aslmsg, int, const char*, ...) = asl_log;
  EXPECT_EQ(log(client, nullptr, 7, nullptr), -1);
  EXPECT_EQ(daemon.Next(), "(none)");
  asl_close(client);
}

TEST(SystemLog, CopiesItsTexts) {
  LogDaemon daemon;
  char identity[] = "Before";
  const aslclient client = asl_open(identity, identity, 0);
  std::strcpy(identity, "After!");
  asl_log(client, nullptr, 7, "x");
  EXPECT_THAT(daemon.Next(), EndsWith(" Before" + Process() + ": (Before) x"));
  asl_close(client);
}

TEST(SystemLog, SendsPriorities) {
  LogDaemon daemon;
  const std::string program = program_invocation_short_name;
  SystemLog(LOG_DEBUG, "%s:%s\n", "CILumivaneInput", "text\n");
  const std::string message = daemon.Next();
  EXPECT_THAT(message, StartsWith("<15>"));
  EXPECT_THAT(message, EndsWith(" " + program + Process() + ": CILumivaneInput:text"));
  SystemLog(LOG_LOCAL3 | LOG_WARNING, "x");
  EXPECT_THAT(daemon.Next(), StartsWith("<" + std::to_string(LOG_LOCAL3 | LOG_WARNING) + ">"));
}

TEST(SystemLog, DropsMessagesNobodyTakes) {
  const test::TempFolder folder;
  const auto expectDropped = [](const std::string& path) {
    const test::ScopedVariable variable("LUMIVANE_SYSLOG_SOCKET", path);
    const auto start = std::chrono::steady_clock::now();
    const aslclient client = asl_open("I", "F", ASL_OPT_STDERR);
    testing::internal::CaptureStderr();
    EXPECT_EQ(asl_log(client, nullptr, 7, "x"), 0) << path;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "I" + Process() + " (F) <Debug>: x\n");
    asl_close(client);
    SystemLog(LOG_DEBUG, "x");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  };
  expectDropped((folder / "nobody").string());
  expectDropped(std::string(300, 'x'));
  test::WriteFile(folder / "file", "");
  expectDropped((folder / "file").string());
  EXPECT_EQ(test::ReadFile(folder / "file"), "");
}

// A daemon that reads nothing must not stop the host.
TEST(SystemLog, NeverWaitsForTheDaemon) {
  LogDaemon daemon;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 2000; ++i) SystemLog(LOG_DEBUG, "%d", i);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_THAT(daemon.Next(), EndsWith(": 0"));
}
