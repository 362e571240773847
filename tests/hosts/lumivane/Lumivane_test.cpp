// The program from outside: what it writes, prints and returns.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"
#include "platform/ImageIO/ImageData.h"
#include "tests/hosts/lumivane/BuiltProgram.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/Program.h"

namespace {

namespace fs = std::filesystem;
using built_program::Component;
using built_program::Installed;
using built_program::Lumivane;
using built_program::UserComponent;
using nlohmann::json;
using test::ProgramResult;
using test::TempFolder;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

struct Png {
  std::size_t width = 0;
  std::size_t height = 0;
  explicit Png(const std::string& bytes) {
    const ImageIODecoded decoded =
        ImageIODecode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    EXPECT_TRUE(decoded.complete) << decoded.error;
    if (decoded.image == nullptr) return;
    width = CGImageGetWidth(decoded.image);
    height = CGImageGetHeight(decoded.image);
    CGImageRelease(decoded.image);
  }
};

TEST(ParseSize, TakesWholePositiveSides) {
  ASSERT_TRUE(lumivane::ParseSize("640x480"));
  EXPECT_EQ(lumivane::ParseSize("640x480")->width, 640);
  EXPECT_EQ(lumivane::ParseSize("640x480")->height, 480);
  EXPECT_TRUE(lumivane::ParseSize("1x16384"));
  for (const char* bad : {"", "640", "640x", "x480", "0x480", "640x0", "-1x4", "640x480x3",
                          "640 x 480", "640x480 ", "16385x1", "99999999999x1", "axb", "6.5x4"}) {
    EXPECT_FALSE(lumivane::ParseSize(bad)) << bad;
  }
}

TEST(Snapshot, WritesNumberedFramesOfTheLivePicture) {
  const Installed camera;
  const TempFolder folder;
  const ProgramResult run = Lumivane({"snapshot", "--out", (folder / "f.png").string(), "--frames",
                                      "3", "--rate", "30", "--json"});
  ASSERT_EQ(run.exitCode, lumivane::kExitOk) << run.err;
  const json summary = json::parse(run.out);
  EXPECT_EQ(summary["frames"], 3);
  EXPECT_EQ(summary["live"], 3);
  EXPECT_EQ(summary["first"], (folder / "f-0001.png").string());
  EXPECT_EQ(summary["last"], (folder / "f-0003.png").string());
  EXPECT_GT(summary["framesPerSecond"], 0.0);
  std::set<std::string> distinct;
  for (const char* name : {"f-0001.png", "f-0002.png", "f-0003.png"}) {
    const std::string bytes = test::ReadFile(folder / name);
    const Png picture(bytes);
    EXPECT_EQ(picture.width, summary["width"]);
    EXPECT_EQ(picture.height, summary["height"]);
    distinct.insert(bytes);
  }
  EXPECT_GT(distinct.size(), 1u) << "the picture moves";
  EXPECT_THAT(run.err, IsEmpty()) << "no progress into a pipe";
}

TEST(Snapshot, TakesASizeAndKeepsAnOldFileOnFailure) {
  const Installed camera;
  const TempFolder folder;
  const std::string out = (folder / "f.png").string();
  ASSERT_EQ(Lumivane({"snapshot", "-o", out, "--size", "333x91", "-q"}).exitCode, 0);
  const Png picture(test::ReadFile(out));
  EXPECT_EQ(picture.width, 333u);
  EXPECT_EQ(picture.height, 91u);

  const ProgramResult nowhere = Lumivane({"snapshot", "-o", "/no/such/folder/f.png"});
  EXPECT_EQ(nowhere.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(nowhere.err, HasSubstr("/no/such/folder/f.png cannot be written"));
}

TEST(Snapshot, GoesToStandardOutput) {
  const Installed camera;
  const ProgramResult run = Lumivane({"snapshot", "--out", "-", "--size", "64x48"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(Png(run.out).width, 64u);
  EXPECT_EQ(Lumivane({"snapshot", "--out", "-", "--frames", "2"}).exitCode, lumivane::kExitUsage);
}

TEST(Snapshot, SaysWhenThereIsNoCamera) {
  const TempFolder folder;
  const std::string out = (folder / "f.png").string();
  const ProgramResult run = Lumivane({"snapshot", "--out", out});
  EXPECT_EQ(run.exitCode, lumivane::kExitNoCamera);
  EXPECT_THAT(run.err, HasSubstr("no camera"));
  const Png picture(test::ReadFile(out));
  EXPECT_EQ(picture.width, 640u);
  EXPECT_EQ(picture.height, 480u);

  fs::remove(out);
  const ProgramResult required = Lumivane({"snapshot", "--out", out, "--require-camera"});
  EXPECT_EQ(required.exitCode, lumivane::kExitNoCamera);
  EXPECT_THAT(required.err, HasSubstr("lumivane camera install"));
  EXPECT_FALSE(fs::exists(out));
}

TEST(Snapshot, SaysWhereThePlugInWasLookedFor) {
  const ProgramResult run =
      Lumivane({"snapshot", "--out", "/dev/null", "--plugin", "/no/such.plugin"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("/no/such.plugin"));
}

TEST(Usage, BadCommandLinesEndWithTheirOwnCode) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"no-such-command"},
                                             {"snapshot"},
                                             {"snapshot", "--out", "f.png", "--size", "big"},
                                             {"snapshot", "--out", "f.png", "--frames", "0"},
                                             {"snapshot", "--out", "f.png", "--clock", "1.5"},
                                             {"camera"},
                                             {"camera", "install", "--domain", "mars"}}) {
    const ProgramResult run = Lumivane(arguments);
    EXPECT_EQ(run.exitCode, lumivane::kExitUsage) << testing::PrintToString(arguments);
    EXPECT_THAT(run.err, Not(IsEmpty()));
  }
  EXPECT_EQ(Lumivane({"--help"}).exitCode, 0);
  EXPECT_THAT(Lumivane({"--version"}).out, HasSubstr("lumivane "));
}

TEST(Camera, InstallsListsAndRemoves) {
  const json none = json::parse(Lumivane({"camera", "list", "--json"}).out)["components"];
  ASSERT_EQ(none.size(), 3u);
  EXPECT_EQ(none[0]["domain"], "user");
  EXPECT_EQ(none[1]["domain"], "system");
  EXPECT_EQ(none[2]["domain"], "local");
  for (const json& place : none) EXPECT_EQ(place["kind"], "no camera");

  const ProgramResult install = Lumivane({"camera", "install", "--component", "testpattern"});
  ASSERT_EQ(install.exitCode, 0) << install.err;
  EXPECT_EQ(fs::read_symlink(UserComponent()), Component());
  EXPECT_EQ(Lumivane({"camera", "install"}).exitCode, 0) << "a second time changes nothing";

  const json list = json::parse(Lumivane({"camera", "list", "--json"}).out)["components"];
  EXPECT_EQ(list[0]["kind"], "a bundle");
  EXPECT_EQ(list[0]["linkTarget"], Component().string());
  EXPECT_EQ(list[0]["hasFrame"], true);
  EXPECT_EQ(list[0]["current"], true);
  EXPECT_GT(list[0]["width"], 0);
  EXPECT_EQ(list[1]["current"], false);

  const ProgramResult remove = Lumivane({"camera", "remove"});
  EXPECT_EQ(remove.exitCode, 0) << remove.err;
  EXPECT_FALSE(fs::exists(fs::symlink_status(UserComponent())));
  EXPECT_TRUE(fs::exists(Component())) << "the link goes, not the camera";
  const ProgramResult again = Lumivane({"camera", "remove"});
  EXPECT_EQ(again.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(again.err, HasSubstr("no camera at"));
}

TEST(Camera, InstallsOneOfItsComponentsAtATime) {
  const fs::path real = LUMIVANE_APP "/Contents/Resources/gstreamer/LumivaneXXX.component";
  ASSERT_EQ(Lumivane({"camera", "install"}).exitCode, 0);
  EXPECT_EQ(fs::read_symlink(UserComponent()), real) << "real cameras unless told otherwise";
  EXPECT_EQ(Lumivane({"camera", "install", "--component", "gstreamer"}).exitCode, 0);
  const ProgramResult other = Lumivane({"camera", "install", "--component", "testpattern"});
  EXPECT_EQ(other.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(other.err, HasSubstr("another camera is installed"));
  EXPECT_THAT(other.err, HasSubstr("lumivane camera remove --domain user"));
  EXPECT_EQ(fs::read_symlink(UserComponent()), real) << "nothing is replaced";
  ASSERT_EQ(Lumivane({"camera", "remove"}).exitCode, 0);
  ASSERT_EQ(Lumivane({"camera", "install", "--component", "testpattern"}).exitCode, 0);
  EXPECT_EQ(fs::read_symlink(UserComponent()), Component());
  ASSERT_EQ(Lumivane({"camera", "remove"}).exitCode, 0);
  EXPECT_EQ(Lumivane({"camera", "install", "--component", "toaster"}).exitCode,
            lumivane::kExitUsage);
}

TEST(Camera, InstallsIntoTheOtherDomains) {
  for (const char* domain : {"local", "system"}) {
    const ProgramResult install = Lumivane({"camera", "install", "--domain", domain, "--json"});
    ASSERT_EQ(install.exitCode, 0) << install.out;
    const json report = json::parse(install.out);
    EXPECT_EQ(report["ok"], true);
    EXPECT_TRUE(fs::is_symlink(report["path"].get<std::string>())) << report;
    EXPECT_EQ(Lumivane({"camera", "remove", "--domain", domain}).exitCode, 0);
  }
}

TEST(Camera, DealsWithALinkToNothing) {
  fs::create_directories(test::UserComponents());
  fs::create_symlink("/no/such/component", UserComponent());
  const ProgramResult install = Lumivane({"camera", "install"});
  EXPECT_EQ(install.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(install.err, HasSubstr("lumivane camera remove"));
  const ProgramResult doctor = Lumivane({"doctor"});
  EXPECT_EQ(doctor.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(doctor.out, HasSubstr("links to nothing: /no/such/component"));
  EXPECT_EQ(Lumivane({"camera", "remove"}).exitCode, 0);
  EXPECT_FALSE(fs::exists(fs::symlink_status(UserComponent())));
}

TEST(Camera, NeverRemovesWhatIsNoLink) {
  fs::create_directories(UserComponent());
  test::WriteFile(UserComponent() / "precious", "data");
  EXPECT_EQ(Lumivane({"camera", "install"}).exitCode, lumivane::kExitFailed) << "it is no camera";
  const ProgramResult remove = Lumivane({"camera", "remove"});
  EXPECT_EQ(remove.exitCode, lumivane::kExitFailed);
  EXPECT_EQ(test::ReadFile(UserComponent() / "precious"), "data");
  fs::remove_all(test::UserComponents());
}

TEST(Start, MakesTheLogsFolder) {
  const TempFolder home;
  const test::ScopedVariable state("XDG_STATE_HOME", (home / "state").string());
  EXPECT_EQ(Lumivane({"camera", "list"}).exitCode, 0);
  EXPECT_TRUE(fs::is_directory(home / "state/lumivane/Logs"));
}

TEST(Start, GoesOnWithoutAPlaceForTheLog) {
  const TempFolder home;
  test::WriteFile(home / "state", "a file in the way");
  const test::ScopedVariable state("XDG_STATE_HOME", (home / "state").string());
  const ProgramResult run = Lumivane({"camera", "list"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, HasSubstr("XDG_STATE_HOME"));
}

TEST(Attributes, PrintsTheFiltersOwnWords) {
  const ProgramResult run = Lumivane({"attributes", "--json"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const json attributes = json::parse(run.out);
  ASSERT_TRUE(attributes.contains("inputClock")) << run.out;
  EXPECT_EQ(attributes["inputClock"]["CIAttributeDefault"], 0.5);
  EXPECT_EQ(attributes["inputClock"]["CIAttributeSliderMax"], 1.0);
  EXPECT_THAT(Lumivane({"attributes"}).out, HasSubstr("inputClock"));
}

TEST(View, ShowsAWindowAndEndsByItself) {
  const Installed camera;
  const test::ScopedVariable driver("SDL_VIDEODRIVER", "dummy");
  const ProgramResult run = Lumivane({"view", "--seconds", "0.3"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
}

}  // namespace
