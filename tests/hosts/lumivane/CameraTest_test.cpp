// `lumivane camera test`: what it measures, and what it says where there is nothing to measure.
#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <map>
#include <thread>

#include "hosts/lumivane/ExitCodes.h"
#include "tests/hosts/lumivane/CameraScene.h"
#include "tests/hosts/lumivane/FakeCamera.h"
#include "tests/support/RunningProgram.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::ProgramResult;
using test::ScopedVariable;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class CameraTest : public CameraScene {
 protected:
  static void ExpectSpread(const json& spread) {
    EXPECT_GE(spread["median"], 0.0);
    EXPECT_GE(spread["p95"], spread["median"]);
    EXPECT_GE(spread["most"], spread["p95"]);
  }
  static std::string LogText() {
    return test::ReadFile(test::LogsFolder() / "CILumivaneInput.log");
  }
};

TEST_F(CameraTest, MeasuresWhatTheSourceGives) {
  Install();
  ASSERT_EQ(Camera({"use", "test:ball", "--rate", "20", "--size", "320x240"}).exitCode, 0);
  const json report = Json({"test", "--seconds", "1.5", "--wait", "60"});
  ASSERT_EQ(report["ok"], true) << report;
  EXPECT_EQ(report["source"], "test picture ball");
  EXPECT_EQ(report["width"], 320);
  EXPECT_EQ(report["height"], 240);
  EXPECT_EQ(report["pixelFormat"], "2vuy");
  EXPECT_GE(report["seconds"], 1.5);
  EXPECT_GT(report["firstFrameMilliseconds"], 0.0);
  EXPECT_EQ(report["nominalRate"], 20.0);
  EXPECT_GT(report["frames"], 0);
  EXPECT_LE(report["frames"], report["seconds"].get<double>() * 20 + 2) << "no frame counts twice";
  EXPECT_NEAR(report["rate"], report["frames"].get<double>() / report["seconds"].get<double>(),
              1e-9);
  EXPECT_EQ(report["lost"], 0);
  EXPECT_EQ(report["reopened"], 0);
  ExpectSpread(report["ageMilliseconds"]);
  ExpectSpread(report["latencyMilliseconds"]);
  ExpectSpread(report["gapMilliseconds"]);
  EXPECT_GT(report["latencyMilliseconds"]["most"], 0.0) << "a live source tells when it captured";
  EXPECT_GE(report["ageMilliseconds"]["most"], report["latencyMilliseconds"]["median"])
      << "a frame is not seen before it is ready";
}

TEST_F(CameraTest, PrintsItForPeople) {
  Install();
  const ProgramResult run =
      Camera({"test", "--source", "test", "--seconds", "0.5", "--wait", "60"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, StartsWith("picture        640 x 480, 2vuy\nfirst frame    after "));
  EXPECT_THAT(run.out, HasSubstr("\nsource         test picture\nstate          live\nrate "));
  EXPECT_THAT(run.out, HasSubstr("; the camera claims 30.00\nlost           0 by the camera"));
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nage            "), HasSubstr("\nlatency        "),
                             HasSubstr("\nbetween frames "), HasSubstr(" ms for 95 %, ")));
  EXPECT_THAT(run.out, Not(HasSubstr("reopened")));
  EXPECT_THAT(run.err, IsEmpty()) << "no progress into a pipe";
  EXPECT_FALSE(fs::exists(File())) << "a source that is only tested is not kept";
}

TEST_F(CameraTest, CountsHowOftenTheSourceCameBack) {
  Install();
  const json report = Json({"test", "--source", "pipeline:videotestsrc is-live=true num-buffers=5",
                            "--seconds", "4", "--wait", "60"});
  ASSERT_EQ(report["ok"], true) << report;
  EXPECT_GE(report["reopened"], 1) << report;
  EXPECT_GT(report["gapMilliseconds"]["most"], 500.0) << "the pause before it is opened again";
}

TEST_F(CameraTest, CountsFramesThatAreLost) {
  const FakeCamera camera;
  const ScopedVariable loses("LUMIVANE_FAKE_CAMERA_LOSES", "yes");
  Install();
  const json report = Json({"test", "--seconds", "2", "--wait", "60"});
  ASSERT_EQ(report["ok"], true) << report;
  EXPECT_EQ(report["source"], "Fake HD Camera");
  EXPECT_GT(report["lost"], 0) << report;
}

TEST_F(CameraTest, TakesFilesAndOtherComponents) {
  Install(built_program::Component());
  const ScopedVariable size("LUMIVANE_TESTPATTERN_SIZE", "96x64");
  json report = Json({"test", "--seconds", "0.3", "--wait", "60"});
  EXPECT_EQ(report["width"], 96);
  EXPECT_EQ(report["source"], "test pattern");
  const test::TempFolder folder;
  ASSERT_EQ(
      built_program::Lumivane({"snapshot", "-q", "--out", (folder / "a.png").string()}).exitCode,
      0);

  Install();
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  report = Json({"test", "--source", "./a.png", "--seconds", "0.3", "--wait", "60"});
  fs::current_path(before);
  ASSERT_EQ(report["ok"], true) << report;
  EXPECT_THAT(report["source"].get<std::string>(), HasSubstr("a.png"));
  EXPECT_EQ(report["state"], "live") << "a still picture does not grow old";
}

TEST_F(CameraTest, OneThatTellsNothingIsStillTried) {
  Install(LUMIVANE_SCRIPTED_CAMERA);
  const ScopedVariable silent("LUMIVANE_SCRIPTED_STATUS", "no");
  const ProgramResult run = Camera({"test", "--seconds", "0.2"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, AllOf(HasSubstr("picture        320 x 240, ARGB\n"),
                             HasSubstr("this component does not tell")));
  const json report = Json({"test", "--seconds", "0.2"});
  EXPECT_FALSE(report.contains("rate"));
  EXPECT_GE(report["slowestCallMilliseconds"], 0.0);
}

TEST_F(CameraTest, AStaleCameraIsCalledThat) {
  Install(LUMIVANE_SCRIPTED_CAMERA);
  const ScopedVariable stale("LUMIVANE_SCRIPTED_CAMERA", "stale");
  const json report = Json({"test", "--seconds", "0.2"});
  EXPECT_EQ(report["state"], "stale");
  EXPECT_GT(report["staleLooks"], 0);
  EXPECT_EQ(report["ageMilliseconds"]["median"], 2500.0);
  EXPECT_EQ(report["frames"], 0) << "a count that stands still";
}

TEST_F(CameraTest, WithoutAComponentItSaysSoAtOnce) {
  const std::string before = LogText();
  const auto start = std::chrono::steady_clock::now();
  const ProgramResult run = Camera({"test", "--wait", "3000"});
  EXPECT_EQ(run.exitCode, lumivane::kExitNoCamera);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::minutes(10));
  EXPECT_THAT(run.err, HasSubstr("no camera component is installed; `lumivane camera install`"));
  EXPECT_EQ(LogText().size(), before.size()) << "the log is not filled with what was not found";
  EXPECT_EQ(Json({"test"})["ok"], false);
}

TEST_F(CameraTest, ASourceThatNamesNothingIsRefused) {
  Install();
  ProgramResult run = Camera({"test", "--source", "0"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, StartsWith("lumivane: --source: source is \"0\": want a camera's name"));
  run = Camera({"test", "--source", "test:nosuch"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("want test or test: and one of smpte"));

  Install(built_program::Component());
  run = Camera({"test", "--source", "test"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, AllOf(HasSubstr("--source has no effect"),
                             HasSubstr("which is not the GStreamer component")));
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"test", "--seconds", "0"}, {"test", "--seconds", "x"}, {"test", "--wait", "-1"}}) {
    EXPECT_EQ(Camera(arguments).exitCode, lumivane::kExitUsage);
  }
}

TEST_F(CameraTest, ASourceWithoutFramesIsSaidWithItsReason) {
  Install();
  for (const auto& [source, reason] : std::map<std::string, std::string>{
           {"/no/such/film.mkv", "Resource not found"},
           {"No Such Camera", "no such camera is connected"},
           {"http://127.0.0.1:1/x", "there is no connection"},
           {"pipeline:nosuchelement ! identity", "no element \"nosuchelement\""}}) {
    test::RunningProgram running(Command({"camera", "test", "--source", source, "--wait", "3600"}));
    // The component's own line, and then the program's.
    ASSERT_TRUE(test::Within([&, &why = reason] {
      return running.Errors().find(why) != std::string::npos;
    })) << source;
    // The status has it a moment after the log.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    running.Signal(SIGINT);
    EXPECT_EQ(running.Wait(), lumivane::kExitNoCamera) << source;
    const std::string errors = running.Errors();
    const std::size_t own = errors.find("lumivane: no frame within ");
    ASSERT_NE(own, std::string::npos) << errors;
    EXPECT_THAT(errors.substr(own), HasSubstr(reason));
  }
  const ProgramResult silent =
      Camera({"test", "--source", "pipeline:appsrc is-live=true", "--wait", "0.3"});
  EXPECT_EQ(silent.exitCode, lumivane::kExitNoCamera);
  EXPECT_THAT(silent.out, IsEmpty());
  const json failed = Json({"test", "--source", "pipeline:appsrc is-live=true", "--wait", "0"});
  EXPECT_EQ(failed["ok"], false);
  EXPECT_THAT(failed["message"].get<std::string>(), HasSubstr("no frame within "));
}

TEST_F(CameraTest, CtrlCEndsItWithWhatItHas) {
  Install();
  const FakeCamera camera;
  const ScopedVariable frames("LUMIVANE_FAKE_CAMERA_FRAMES", "4");
  test::RunningProgram running(Command({"camera", "test", "--seconds", "3600", "--json"}));
  ASSERT_TRUE(test::Within([&] { return camera.Count("open") >= 2; })) << running.Errors();
  running.Signal(SIGINT);
  std::string out;
  for (std::string line; !(line = running.ReadLine()).empty();) out += line + "\n";
  EXPECT_EQ(running.Wait(), 0) << running.Errors();
  const json report = json::parse(out, nullptr, false);
  ASSERT_TRUE(report.is_object()) << out;
  EXPECT_LT(report["seconds"], 3600.0);
  EXPECT_GT(report["frames"], 0);

  test::RunningProgram waiting(
      Command({"camera", "test", "--source", "/no/such/film.mkv", "--wait", "3600"}));
  ASSERT_TRUE(test::Within([&] {
    return waiting.Errors().find("Resource not found") != std::string::npos;
  })) << waiting.Errors();
  waiting.Signal(SIGTERM);
  EXPECT_EQ(waiting.Wait(), lumivane::kExitNoCamera);
}

}  // namespace
