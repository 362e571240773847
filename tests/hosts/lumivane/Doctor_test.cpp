// `lumivane doctor`, by itself and from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <set>

#include "hosts/lumivane/DoctorFindings.h"
#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/BuiltProgram.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/OrdinaryRights.h"
#include "tests/support/Program.h"

namespace {

namespace fs = std::filesystem;
using built_program::Installed;
using built_program::Lumivane;
using built_program::UserComponent;
using lumivane::DeviceRoots;
using lumivane::Finding;
using lumivane::Findings;
using lumivane::Level;
using lumivane::ModuleSearch;
using lumivane::ProcessName;
using lumivane::VideoDevice;
using nlohmann::json;
using test::ProgramResult;
using test::ScopedVariable;
using test::TempFolder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Takes a variable out of the environment for the object's life.
struct WithoutVariable {
  explicit WithoutVariable(const char* name) : kept(name, "") { unsetenv(name); }
  ScopedVariable kept;
};

/// An environment in which nothing says where modules are.
struct PlainEnvironment {
  WithoutVariable frei0r{"FREI0R_PATH"};
  WithoutVariable mlt{"MLT_FREI0R_PLUGIN_PATH"};
  WithoutVariable gst{"GST_PLUGIN_PATH"};
  WithoutVariable gst10{"GST_PLUGIN_PATH_1_0"};
  WithoutVariable system{"GST_PLUGIN_SYSTEM_PATH"};
  WithoutVariable system10{"GST_PLUGIN_SYSTEM_PATH_1_0"};
};

ModuleSearch SearchOf(const std::string& name) {
  for (const ModuleSearch& search : lumivane::ModuleSearches()) {
    if (search.name == name) return search;
  }
  ADD_FAILURE() << name;
  return {};
}

// ---- Devices

VideoDevice Webcam() {
  VideoDevice device;
  device.path = "/dev/video0";
  device.group = "video";
  device.mayUse = true;
  device.isCamera = true;
  device.name = "Webcam";
  return device;
}

TEST(DoctorDevices, NamesTheCameraAndItsLastingPath) {
  VideoDevice device = Webcam();
  device.lastingPath = "/dev/v4l/by-id/usb-Webcam";
  const Findings findings = lumivane::FindingsOf({device});
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].level, Level::kOk);
  EXPECT_EQ(findings[0].text, "/dev/video0: Webcam, always found as /dev/v4l/by-id/usb-Webcam");
  EXPECT_EQ(findings[0].remedy, "");
}

TEST(DoctorDevices, NamesWhoHoldsTheCamera) {
  VideoDevice device = Webcam();
  device.holders = {{17, "cheese"}, {99, "ffmpeg"}};
  const Findings findings = lumivane::FindingsOf({device});
  EXPECT_EQ(findings[0].level, Level::kWarning);
  EXPECT_THAT(findings[0].text, HasSubstr("in use by cheese (process 17), ffmpeg (process 99)"));
  EXPECT_NE(findings[0].remedy, "");
}

TEST(DoctorDevices, SaysHowToGetTheRight) {
  VideoDevice device = Webcam();
  device.mayUse = false;
  Finding finding = lumivane::FindingsOf({device})[0];
  EXPECT_EQ(finding.level, Level::kWarning);
  EXPECT_THAT(finding.remedy, HasSubstr("sudo usermod -aG video"));
  device.willBeInGroup = true;
  EXPECT_EQ(lumivane::FindingsOf({device})[0].remedy, "log out and in again");
  device.inGroup = true;
  EXPECT_EQ(lumivane::FindingsOf({device})[0].remedy, "sudo chmod g+rw /dev/video0");
}

TEST(DoctorDevices, SaysWhenNothingArrives) {
  VideoDevice device = Webcam();
  device.noSignal = true;
  const Finding finding = lumivane::FindingsOf({device})[0];
  EXPECT_EQ(finding.level, Level::kWarning);
  EXPECT_THAT(finding.text, HasSubstr("no signal"));
}

TEST(DoctorDevices, LeavesOutWhatIsNoCamera) {
  VideoDevice device = Webcam();
  device.isCamera = false;
  EXPECT_THAT(lumivane::FindingsOf({device})[0].text, HasSubstr("no camera is connected"));
  EXPECT_THAT(lumivane::FindingsOf({})[0].text, HasSubstr("no camera is connected"));
}

TEST(VideoDevices, AreListedByNumberWithTheirLastingNames) {
  const TempFolder root;
  for (const char* name : {"video10", "video2", "videodrome", "video", "vide01", "video-1"}) {
    test::WriteFile(root / name, "no device");
  }
  fs::create_directories(root / "v4l/by-id");
  fs::create_directories(root / "v4l/by-path");
  fs::create_symlink(root / "video2", root / "v4l/by-path/pci-2");
  fs::create_symlink(root / "video2", root / "v4l/by-id/usb-2");
  fs::create_symlink(root / "video10", root / "v4l/by-path/pci-10");
  fs::create_symlink("/no/such/device", root / "v4l/by-id/gone");
  const std::vector<VideoDevice> devices = lumivane::VideoDevices({root.path(), "/proc"});
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].path, (root / "video2").string());
  EXPECT_EQ(devices[0].lastingPath, (root / "v4l/by-id/usb-2").string());
  EXPECT_EQ(devices[1].path, (root / "video10").string());
  EXPECT_EQ(devices[1].lastingPath, (root / "v4l/by-path/pci-10").string());
  EXPECT_TRUE(devices[0].mayUse);
  EXPECT_FALSE(devices[0].isCamera) << "it answers no question";
  EXPECT_TRUE(devices[0].inGroup);
}

TEST(VideoDevices, KnowWhenTheyMayNotBeUsed) {
  const TempFolder root;
  test::WriteFile(root / "video0", "");
  chmod((root / "video0").c_str(), 0);
  const test::OrdinaryRights rights;
  if (!rights.AreEffective()) GTEST_SKIP() << "rights cannot be given up here";
  EXPECT_FALSE(lumivane::VideoDevices({root.path(), "/proc"})[0].mayUse);
}

TEST(VideoDevices, AreNoneWithoutTheirFolder) {
  EXPECT_THAT(lumivane::VideoDevices({"/no/such/folder", "/proc"}), IsEmpty());
}

TEST(VideoDevices, TellWhichProcessesHoldAFile) {
  const TempFolder root;
  const std::string path = root / "video0";
  test::WriteFile(path, "");
  EXPECT_THAT(lumivane::ProcessesHolding(path), IsEmpty());
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    std::FILE* const held = std::fopen(path.c_str(), "r");
    if (write(ready[1], "r", 1) != 1 || held == nullptr) _exit(1);
    for (;;) pause();
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  std::FILE* const own = std::fopen(path.c_str(), "r");
  const std::vector<ProcessName> holders = lumivane::ProcessesHolding(path);
  std::fclose(own);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  ASSERT_EQ(holders.size(), 1u);
  EXPECT_EQ(holders[0].id, child);
  EXPECT_NE(holders[0].name, "");
  EXPECT_THAT(lumivane::ProcessesHolding("/no/such/file"), IsEmpty());
}

// ---- Modules

TEST(ModuleSearches, FollowEachHostsRules) {
  const PlainEnvironment plain;
  const std::string own = (test::Home() / ".frei0r-1/lib").string();
  EXPECT_EQ(SearchOf("lumivane").folders.front(), own);
  EXPECT_EQ(SearchOf("frei0r.lumivane").folders.front(), "/usr/lib/frei0r-1");
  EXPECT_EQ(SearchOf("frei0r.lumivane").folders.back(), own);
  EXPECT_EQ(SearchOf("frei0r-src-lumivane").folders.front(), own);
  EXPECT_EQ(SearchOf("lumivanesrc").folders.front(),
            (test::Home() / ".local/share/gstreamer-1.0/plugins").string());

  const ScopedVariable path("FREI0R_PATH", "/a::/b");
  const ModuleSearch ffmpeg = SearchOf("lumivane");
  ASSERT_GT(ffmpeg.folders.size(), 3u) << "the standard folders are searched too";
  EXPECT_EQ(ffmpeg.folders[0], "/a");
  EXPECT_EQ(ffmpeg.folders[1], "/b");
  EXPECT_EQ(ffmpeg.folders[2], own);
  EXPECT_FALSE(ffmpeg.replaces);
  EXPECT_THAT(SearchOf("frei0r.lumivane").folders, ElementsAre("/a", "/b"));
  EXPECT_THAT(SearchOf("frei0r-src-lumivane").folders, ElementsAre("/a", "/b"));
  {
    const ScopedVariable mlt("MLT_FREI0R_PLUGIN_PATH", "/c");
    EXPECT_THAT(SearchOf("frei0r.lumivane").folders, ElementsAre("/a", "/b"));
    const WithoutVariable none("FREI0R_PATH");
    EXPECT_THAT(SearchOf("frei0r.lumivane").folders, ElementsAre("/c"));
    EXPECT_EQ(SearchOf("frei0r.lumivane").variable, "MLT_FREI0R_PLUGIN_PATH");
  }
  const ScopedVariable empty("FREI0R_PATH", "");
  EXPECT_THAT(SearchOf("frei0r.lumivane").folders, IsEmpty());
  EXPECT_EQ(SearchOf("frei0r-src-lumivane").folders.front(), own);

  const ScopedVariable gst("GST_PLUGIN_PATH", "/g");
  EXPECT_EQ(SearchOf("lumivanesrc").folders.front(), "/g");
  EXPECT_GT(SearchOf("lumivanesrc").folders.size(), 2u);
  const ScopedVariable system("GST_PLUGIN_SYSTEM_PATH_1_0", "/s");
  EXPECT_THAT(SearchOf("lumivanesrc").folders, ElementsAre("/g", "/s"));
}

class DoctorModules : public ::testing::Test {
 protected:
  DoctorModules() {
    test::WriteFile(bin_ / "ffmpeg", "#!/bin/sh\n");
    test::WriteFile(bin_ / "melt", "#!/bin/sh\n");
    for (const char* name : {"ffmpeg", "melt"}) chmod((bin_ / name).c_str(), 0755);
  }
  ~DoctorModules() override { fs::remove_all(test::Home() / ".frei0r-1"); }
  /// What is said of a host that looks into the test's own folders only: the machine may well have
  /// the module installed.
  static Finding Say(const std::string& name) {
    ModuleSearch search = SearchOf(name);
    std::erase_if(search.folders, [](const std::string& folder) {
      return folder.starts_with("/usr/") || folder.starts_with("/opt/");
    });
    return lumivane::FindingOf(search);
  }

  static fs::path OwnModule() { return test::Home() / ".frei0r-1/lib/lumivane.so"; }
  static void InstallOwnModule() {
    fs::create_directories(OwnModule().parent_path());
    fs::create_symlink(fs::path(LUMIVANE_MODULES) / "frei0r-1/lumivane.so", OwnModule());
  }

 private:
  PlainEnvironment plain_;
  TempFolder bin_;
  ScopedVariable path_{"PATH", bin_.path()};
};

TEST_F(DoctorModules, AreFoundByTheHostsThatAreThere) {
  InstallOwnModule();
  for (const char* name : {"lumivane", "frei0r.lumivane"}) {
    const Finding finding = Say(name);
    EXPECT_EQ(finding.level, Level::kOk) << finding.text;
    EXPECT_THAT(finding.text, HasSubstr("finds " + OwnModule().string() + " as " + name));
  }
  EXPECT_THAT(Say("frei0r-src-lumivane").text, HasSubstr("is not installed"));
}

TEST_F(DoctorModules, AreMissedWhereAVariableLeadsElsewhere) {
  InstallOwnModule();
  const ScopedVariable path("FREI0R_PATH", "/no/such/folder");
  EXPECT_EQ(Say("lumivane").level, Level::kOk) << "FFmpeg searches both";
  const Finding finding = Say("frei0r.lumivane");
  EXPECT_EQ(finding.level, Level::kWarning);
  EXPECT_THAT(finding.text, HasSubstr("FREI0R_PATH has it look elsewhere"));
  EXPECT_EQ(finding.remedy,
            "export FREI0R_PATH=\"$FREI0R_PATH:" + OwnModule().parent_path().string() + "\"");
}

TEST_F(DoctorModules, AreTriedForReal) {
  // In a folder of its own: what was loaded once is known by its path from then on.
  const TempFolder folder;
  const fs::path module = folder / "lumivane.so";
  const ScopedVariable path("FREI0R_PATH", folder.path());
  test::WriteFile(module, "not a library");
  Finding finding = Say("lumivane");
  EXPECT_EQ(finding.level, Level::kWarning);
  EXPECT_THAT(finding.text, HasSubstr("liblumivane-source.so"));

  fs::create_directories(test::Home() / "system-root");
  const fs::path library = test::Home() / "system-root/liblumivane-source.so";
  fs::create_symlink(fs::path(LUMIVANE_MODULES) / "lumivane/liblumivane-source.so", library);
  finding = Say("lumivane");
  EXPECT_EQ(finding.level, Level::kWarning);
  EXPECT_THAT(finding.text, AllOf(HasSubstr(module.string()), HasSubstr("file too short")));

  fs::remove(module);
  fs::copy_file(fs::path(LUMIVANE_MODULES) / "lumivane/liblumivane-source.so", module);
  EXPECT_THAT(Say("lumivane").text, HasSubstr("is no frei0r module"));
  fs::remove_all(test::Home() / "system-root");
}

// ---- The command

TEST(Doctor, IsContentWithACamera) {
  const Installed camera;
  const ProgramResult run = Lumivane({"doctor", "--json"});
  const json report = json::parse(run.out);
  // What the machine has beside the test's home is the machine's affair.
  EXPECT_EQ(run.exitCode, report["status"] == "ok" ? 0 : lumivane::kExitFailed) << run.out;
  EXPECT_EQ(report["log"]["path"], (test::LogsFolder() / "CILumivaneInput.log").string());
  bool loads = false;
  for (const json& finding : report["findings"]) {
    const std::string subject = finding["subject"];
    if (subject == "plug-in" || subject == "log" || subject.starts_with("camera")) {
      EXPECT_EQ(finding["level"], "ok") << finding;
      EXPECT_EQ(finding["remedy"], "") << finding;
    }
    EXPECT_EQ(finding["level"] == "ok", finding["remedy"] == "") << finding;
    loads = loads || finding["text"] == "the filter loads " + UserComponent().string();
  }
  EXPECT_TRUE(loads) << report;
}

TEST(Doctor, SaysWhatIsWrongAndWhatToDo) {
  const ProgramResult none = Lumivane({"doctor"});
  EXPECT_EQ(none.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(none.out, HasSubstr("`lumivane camera install`"));

  test::WriteFile(UserComponent(), "not a library");
  const ProgramResult broken = Lumivane({"doctor"});
  EXPECT_EQ(broken.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(broken.out, HasSubstr(UserComponent().string() + ": "));
  fs::remove_all(test::UserComponents());

  const ProgramResult plugIn = Lumivane({"doctor", "--plugin", "/no/such.plugin"});
  EXPECT_EQ(plugIn.exitCode, lumivane::kExitBroken);
}

json CameraFinding(const ProgramResult& run, const std::string& subject) {
  const json report = json::parse(run.out, nullptr, false);
  if (report.is_discarded()) return {};
  for (const json& finding : report["findings"]) {
    if (finding["subject"] == subject) return finding;
  }
  return {};
}

TEST(Doctor, OutlivesACameraThatCrashesAndSaysHowToBeRidOfIt) {
  fs::create_directories(test::UserComponents());
  fs::create_symlink(LUMIVANE_SCRIPTED_CAMERA, UserComponent());
  const ScopedVariable script("LUMIVANE_SCRIPTED_CAMERA", "crash");
  const ProgramResult run = Lumivane({"doctor", "--json"});
  EXPECT_EQ(run.exitCode, lumivane::kExitBroken) << run.err;
  const json finding = CameraFinding(run, "camera, user");
  EXPECT_EQ(finding["level"], "broken");
  EXPECT_THAT(finding["text"].get<std::string>(), HasSubstr("crashes the program that loads it"));
  EXPECT_THAT(finding["remedy"].get<std::string>(),
              HasSubstr("`lumivane camera remove --domain user`"));
  EXPECT_THAT(CameraFinding(run, "plug-in")["text"].get<std::string>(), HasSubstr("not tried"));
  const ProgramResult list = Lumivane({"camera", "list"});
  EXPECT_THAT(list.out, HasSubstr("crashes the program that loads it"));
  fs::remove_all(test::UserComponents());
}

TEST(Doctor, SaysWhatReallyTakesABrokenCameraAway) {
  test::WriteFile(UserComponent(), "not a library");
  const json finding = CameraFinding(Lumivane({"doctor", "--json"}), "camera, user");
  // The path once, and a command for what is no link.
  const std::string text = finding["text"];
  EXPECT_EQ(text.rfind(UserComponent().string()), 0u) << text;
  const std::string remedy = finding["remedy"];
  const std::size_t start = remedy.find("`mv ");
  ASSERT_NE(start, std::string::npos) << remedy;
  const std::string command = remedy.substr(start + 1, remedy.find('`', start + 1) - start - 1);
  EXPECT_EQ(test::RunProgram({"sh", "-c", command}).exitCode, 0) << command;
  EXPECT_EQ(CameraFinding(Lumivane({"doctor", "--json"}), "camera, user")["level"], "ok");
  fs::remove_all(test::UserComponents());
}

TEST(Doctor, ShowsTheLogsLastLines) {
  std::string lines;
  for (int i = 0; i < 50000; ++i) lines += "line " + std::to_string(i) + "\n";
  test::WriteFile(test::LogsFolder() / "CILumivaneInput.log", lines + "bytes \xFF\xFE\n");
  const json report = json::parse(Lumivane({"doctor", "--json", "--log-lines", "3"}).out);
  ASSERT_EQ(report["log"]["lastLines"].size(), 3u);
  EXPECT_EQ(report["log"]["lastLines"][0], "line 49998");
  EXPECT_EQ(report["log"]["lastLines"][1], "line 49999");
}

TEST(Doctor, LooksAtEverything) {
  const json report = json::parse(Lumivane({"doctor", "--json"}).out);
  std::set<std::string> subjects;
  for (const json& finding : report["findings"]) subjects.insert(finding["subject"]);
  for (const char* subject : {"lumivane", "plug-in", "camera", "settings", "device", "module",
                              "display", "pipewire", "portal", "log"}) {
    EXPECT_EQ(subjects.count(subject), 1u) << subject;
  }
}

TEST(Doctor, SaysWhichSettingCannotBeUsed) {
  const fs::path file = test::Home() / ".config/lumivane/camera.conf";
  test::WriteFile(file, "[camera]\nsource=test\nrotate=45\n");
  const ProgramResult run = Lumivane({"doctor"});
  EXPECT_NE(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("rotate"));
  EXPECT_THAT(run.out, HasSubstr("`lumivane camera use` sets it; the file is " + file.string()));
  EXPECT_THAT(run.out, HasSubstr("the source is test"));

  // Each with what mends it, and not with a command that would refuse.
  test::WriteFile(file, "[camera]\nsource=test\ncolor=1\n");
  EXPECT_THAT(Lumivane({"doctor"}).out, HasSubstr("-> take that line out of " + file.string()));
  test::WriteFile(file, "no settings\n");
  EXPECT_THAT(Lumivane({"doctor"}).out,
              HasSubstr("`mv '" + file.string() + "' '" + file.string() + ".away'`"));
  fs::remove(file);
  const ScopedVariable size("LUMIVANE_CAMERA_SIZE", "7");
  EXPECT_THAT(Lumivane({"doctor"}).out, HasSubstr("-> `unset LUMIVANE_CAMERA_SIZE`"));
}

TEST(Doctor, SaysWhenSdlIsToldToShowNothing) {
  const ScopedVariable driver("SDL_VIDEODRIVER", "dummy");
  const ProgramResult run = Lumivane({"doctor"});
  EXPECT_NE(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("SDL_VIDEODRIVER is dummy"));
  EXPECT_THAT(run.out, HasSubstr("-> unset SDL_VIDEODRIVER"));
}

TEST(Doctor, SaysWhenPipeWireDoesNotAnswer) {
  const TempFolder runtime;
  test::WriteFile(runtime / "pipewire-0", "");
  const ScopedVariable folder("PIPEWIRE_RUNTIME_DIR", runtime.path());
  EXPECT_THAT(Lumivane({"doctor"}).out, HasSubstr("pipewire-0 is there, but nobody answers"));
}

}  // namespace
