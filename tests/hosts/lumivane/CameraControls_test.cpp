// `lumivane camera controls`, and what becomes of the values: with a camera that is not there.
#include <gmock/gmock.h>

#include <csignal>

#include "hosts/lumivane/ExitCodes.h"
#include "tests/hosts/lumivane/CameraScene.h"
#include "tests/hosts/lumivane/FakeCamera.h"
#include "tests/support/RunningProgram.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::ProgramResult;
using test::RunningProgram;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class CameraControls : public CameraScene {
 protected:
  const FakeCamera camera_;
  const std::string& device_ = camera_.device;
  const std::string group_ = "[controls Fake HD Camera]\n";
};

TEST_F(CameraControls, AreShownWithTheirRanges) {
  const ProgramResult shown = Camera({"controls"});
  ASSERT_EQ(shown.exitCode, 0) << shown.err;
  EXPECT_THAT(shown.out, HasSubstr("Fake HD Camera (" + device_ + ")\n"));
  EXPECT_THAT(shown.out, HasSubstr("0   default 0; -64 to 64\n"));
  EXPECT_THAT(shown.out, HasSubstr("default 3; 1 Manual Mode, 3 Aperture Priority Mode\n"));
  EXPECT_THAT(shown.out, HasSubstr("default 157; 1 to 5000; without effect now\n"));
  EXPECT_THAT(shown.out, HasSubstr("default 7; 0 to 9; can only be read\n"));
  EXPECT_FALSE(fs::exists(File())) << "looking changes nothing";

  const json one = Json({"controls", "auto_exposure"});
  EXPECT_EQ(one["ok"], true);
  EXPECT_EQ(one["camera"], "Fake HD Camera");
  EXPECT_EQ(one["device"], device_);
  ASSERT_EQ(one["controls"].size(), 1u);
  EXPECT_EQ(one["controls"][0]["type"], "menu");
  EXPECT_EQ(one["controls"][0]["value"], 3);
  EXPECT_EQ(one["controls"][0]["menu"][0]["name"], "Manual Mode");
}

TEST_F(CameraControls, AreSetAndKept) {
  const ProgramResult set = Camera(
      {"controls", "auto_exposure=Manual Mode", "exposure_time_absolute=200", "Brightness=-3"});
  ASSERT_EQ(set.exitCode, 0) << set.err;
  EXPECT_THAT(camera_.Log(),
              ElementsAre("Auto Exposure=1", "Exposure Time, Absolute=200", "Brightness=-3"));
  EXPECT_THAT(Settings(),
              HasSubstr(group_ + "auto_exposure=Manual Mode\nexposure_time_absolute=200\n"
                                 "brightness=-3\n"));
  EXPECT_THAT(set.out, AllOf(HasSubstr("brightness "), Not(HasSubstr("serial"))))
      << "shows what was named";

  const json back = Json({"controls", "brightness=default"});
  EXPECT_EQ(back["controls"][0]["value"], 0);
  EXPECT_THAT(Settings(), AllOf(Not(HasSubstr("brightness")), HasSubstr("auto_exposure")));
}

TEST_F(CameraControls, WhatCannotBeSetIsNamedAndTheRestIsDone) {
  const ProgramResult run =
      Camera({"controls", "brightness=7", "serial=1", "sharpness=2", "gain", "auto_exposure=2"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("the control serial can only be read"));
  EXPECT_THAT(run.err, HasSubstr("the camera has no control \"sharpness\""));
  EXPECT_THAT(run.err, HasSubstr("Fake HD Camera has no control \"gain\""));
  EXPECT_THAT(run.err,
              HasSubstr("the control auto_exposure is \"2\": want one of 1 (Manual Mode)"));
  EXPECT_THAT(run.err, HasSubstr("(brightness took effect all the same)"));
  EXPECT_THAT(camera_.Log(), ElementsAre("Brightness=7"));
  EXPECT_THAT(Settings(), HasSubstr(group_ + "brightness=7\n"));

  EXPECT_THAT(Camera({"controls", "brightness=65"}).err, HasSubstr("want -64 to 64, or default"));
  EXPECT_THAT(Camera({"controls", "exposure_time_absolute=10"}).err,
              HasSubstr("another control keeps it from having an effect"));
  const json failed = Json({"controls", "brightness="});
  EXPECT_EQ(failed["ok"], false);
  EXPECT_THAT(failed["message"].get<std::string>(), HasSubstr("the control brightness is \"\""));
  EXPECT_THAT(Settings(), HasSubstr(group_ + "brightness=7\n"));
}

TEST_F(CameraControls, AreThoseOfTheCameraThatIsMeant) {
  test::WriteFile(File(), "[camera]\nsource=test:ball\n");
  const ProgramResult picture = Camera({"controls"});
  EXPECT_EQ(picture.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(picture.err, HasSubstr("the source test picture ball has no controls"));
  EXPECT_EQ(Camera({"controls", "--camera", "fake"}).exitCode, 0) << "a part of the name will do";
  EXPECT_EQ(Camera({"controls", "--camera", device_}).exitCode, 0);
  EXPECT_THAT(Camera({"controls", "--camera", "Other"}).err,
              HasSubstr("no camera called \"Other\" is connected"));
  EXPECT_THAT(Camera({"controls", "--camera", "0"}).err, HasSubstr("--camera is \"0\": want"));
  camera_.Unplug();
  EXPECT_THAT(Camera({"controls", "--camera", "auto"}).err, HasSubstr("no camera is connected"));
}

// Cameras forget what they were told when they are opened; the program does not.
TEST_F(CameraControls, AreSetAgainAtEachOpening) {
  Install();
  const test::ScopedVariable frames("LUMIVANE_FAKE_CAMERA_FRAMES", "4");
  test::WriteFile(File(),
                  "[controls]\nexposure_time_absolute=33\n[controls Fake HD Camera]\n"
                  "auto_exposure=1\n[controls Another Camera]\nbrightness=9\n");
  RunningProgram running(Command({"camera", "test", "--seconds", "120", "--json"}));
  ASSERT_TRUE(test::Within([&] { return camera_.Count("open") >= 3; })) << running.Errors();
  running.Signal(SIGINT);
  std::string out;
  for (std::string line; !(line = running.ReadLine()).empty();) out += line + "\n";
  EXPECT_EQ(running.Wait(), 0) << running.Errors();
  const json report = json::parse(out);
  EXPECT_GE(report["reopened"], 1);

  // Between two openings: when the first one's frames came, and before the second. First the
  // control that the other depends on, although it stands behind it in the file.
  std::vector<std::string> since;
  int openings = 0;
  for (const std::string& line : camera_.Log()) {
    if (line != "open") {
      since.push_back(line);
      continue;
    }
    if (openings++ > 0) {
      EXPECT_THAT(since, ElementsAre("Auto Exposure=1", "Exposure Time, Absolute=33",
                                     "Auto Exposure=1", "Exposure Time, Absolute=33"));
    }
    since.clear();
  }
  EXPECT_EQ(camera_.Count("Brightness=9"), 0) << "that is another camera's";
}

TEST_F(CameraControls, ChangeWhileTheCameraRuns) {
  Install();
  test::WriteFile(File(), "[camera]\nsource=fake hd\n");
  RunningProgram running(Command({"camera", "test", "--seconds", "300"}));
  ASSERT_TRUE(test::Within([&] { return camera_.Count("open") == 1; })) << running.Errors();
  // By the command, beside the program that streams.
  ASSERT_EQ(Camera({"controls", "brightness=5"}).exitCode, 0);
  ASSERT_TRUE(test::Within([&] { return camera_.Count("Brightness=5") >= 2; }))
      << "the program sets it too";
  // By hand.
  test::WriteFile(File(), "[camera]\nsource=fake hd\n" + group_ + "brightness=11\nvolume=1\n");
  ASSERT_TRUE(test::Within([&] { return camera_.Count("Brightness=11") >= 1; }));
  EXPECT_TRUE(test::Within([&] {
    return running.Errors().find(
               "controls of Fake HD Camera: the camera has no control \"volume\"") !=
           std::string::npos;
  })) << running.Errors();
  EXPECT_EQ(camera_.Count("open"), 1) << "the stream is not interrupted";
  running.Signal(SIGTERM);
  EXPECT_EQ(running.Wait(), 0);
}

TEST_F(CameraControls, OfAFileThatCannotBeKeptSayWhy) {
  const test::ScopedVariable config("XDG_CONFIG_HOME", "/proc/none");
  const ProgramResult run = Camera({"controls", "brightness=5"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("/proc/none/lumivane cannot be made"));
  EXPECT_THAT(camera_.Log(), ElementsAre("Brightness=5")) << "for now it is as it was asked for";
}

// ---- The camera in the other commands

TEST_F(CameraControls, TheCameraIsListedWithItsFormats) {
  const json list = Json({"list"});
  ASSERT_EQ(list["cameras"].size(), 1u) << list;
  const json& camera = list["cameras"][0];
  EXPECT_EQ(camera["name"], "Fake HD Camera");
  EXPECT_EQ(camera["stableName"], "Fake HD Camera");
  EXPECT_EQ(camera["path"], device_);
  EXPECT_EQ(camera["inUseBy"], "");
  ASSERT_EQ(camera["formats"].size(), 2u) << camera;
  EXPECT_EQ(camera["wouldUse"]["width"], 640);
  EXPECT_EQ(camera["wouldUse"]["rate"], 30.0);
  const ProgramResult text = Camera({"list"});
  EXPECT_THAT(text.out, HasSubstr("cameras\n  Fake HD Camera\n      Fake HD Camera\n      " +
                                  device_ + "\n"));
  EXPECT_THAT(text.out, HasSubstr("UYVY     640 x 480   30, 15\n"));
  EXPECT_THAT(text.out, HasSubstr("UYVY     320 x 240   60\n"));
  EXPECT_EQ(Camera({"list", "--names"}).out, "Fake HD Camera\n");

  FILE* const holder = std::fopen(device_.c_str(), "r");
  EXPECT_THAT(Json({"list"})["cameras"][0]["inUseBy"].get<std::string>(),
              HasSubstr("(process " + std::to_string(getpid()) + ")"));
  std::fclose(holder);
}

TEST_F(CameraControls, TheCameraIsChosenByAPartOfItsNameAndRemembered) {
  Install();
  const ProgramResult use = Camera({"use", "fake"});
  ASSERT_EQ(use.exitCode, 0) << use.err;
  EXPECT_THAT(use.out, HasSubstr("\nFake HD Camera\n"));
  EXPECT_THAT(use.err, IsEmpty());
  EXPECT_THAT(Settings(), HasSubstr("source=camera:Fake HD Camera\n"));
  const json report = Json({"test", "--seconds", "0.5", "--wait", "60"});
  ASSERT_EQ(report["ok"], true) << report;
  EXPECT_EQ(report["source"], "Fake HD Camera");
  EXPECT_EQ(report["width"], 640);

  EXPECT_EQ(Camera({"use", device_}).exitCode, 0);
  EXPECT_THAT(Settings(), HasSubstr("source=camera:Fake HD Camera\n")) << "not by its number";
}

}  // namespace
