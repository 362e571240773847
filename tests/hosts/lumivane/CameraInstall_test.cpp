// `lumivane camera install` and `remove`: what stands in the three folders before and after, and
// what then loads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/CameraScene.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::ProgramResult;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const fs::path kPattern = built_program::Component();
const fs::path kReal = LUMIVANE_APP "/Contents/Resources/gstreamer/LumivaneXXX.component";

class CameraInstall : public CameraScene {
 protected:
  const fs::path user_ = built_program::UserComponent();
  const fs::path system_ = test::SystemComponents() / "LumivaneXXX.component";
  const fs::path local_ = test::LocalComponents() / "LumivaneXXX.component";

  ~CameraInstall() override {
    for (const fs::path& place : {user_, system_, local_}) fs::remove_all(place.parent_path());
  }
  static void Link(const fs::path& target, const fs::path& place) {
    fs::create_directories(place.parent_path());
    fs::create_directory_symlink(target, place);
  }
  static void Copy(const fs::path& component, const fs::path& place) {
    fs::create_directories(place.parent_path());
    fs::copy(component, place, fs::copy_options::recursive);
  }
  static bool IsThere(const fs::path& place) { return fs::exists(fs::symlink_status(place)); }

  /// The path of the component that a program which starts now loads; empty: none.
  static std::string Loaded() {
    const json list = json::parse(Camera({"list", "--json"}).out);
    for (const json& place : list["components"]) {
      if (place["current"] == true) return place["path"];
    }
    return {};
  }
};

// What the package installs must not keep a user from a camera of their own.
TEST_F(CameraInstall, TheUsersFolderComesBeforeTheSystems) {
  Link(kReal, system_);
  const ProgramResult install = Camera({"install", "--component", "testpattern"});
  ASSERT_EQ(install.exitCode, 0) << install.err;
  EXPECT_EQ(fs::read_symlink(user_), kPattern);
  EXPECT_THAT(install.out, AllOf(HasSubstr(user_.string() + " -> " + kPattern.string()),
                                 HasSubstr("it hides " + system_.string()),
                                 HasSubstr("programs that run keep the camera")));
  EXPECT_EQ(Loaded(), user_);
  EXPECT_EQ(fs::read_symlink(system_), kReal);

  const ProgramResult remove = Camera({"remove"});
  ASSERT_EQ(remove.exitCode, 0) << remove.err;
  EXPECT_FALSE(IsThere(user_));
  EXPECT_THAT(remove.out, AllOf(HasSubstr("removed " + user_.string()),
                                HasSubstr("now load " + system_.string())));
  EXPECT_EQ(Loaded(), system_);
}

TEST_F(CameraInstall, TheSameComponentMayBeInSeveralFolders) {
  Link(kReal, system_);
  const ProgramResult install = Camera({"install", "--component", "gstreamer", "--json"});
  ASSERT_EQ(install.exitCode, 0) << install.out;
  EXPECT_EQ(fs::read_symlink(user_), kReal);
  const json report = json::parse(install.out);
  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["path"], user_.string());
  EXPECT_THAT(report["hides"], ElementsAre(system_.string()));
  EXPECT_EQ(report["hiddenBy"], "");
}

TEST_F(CameraInstall, WithoutAChoiceWhatIsThereWillDo) {
  Link(kPattern, system_);
  const ProgramResult install = Camera({"install"});
  ASSERT_EQ(install.exitCode, 0) << install.err;
  EXPECT_THAT(install.out,
              AllOf(HasSubstr("a camera is installed already, for every user: " + system_.string()),
                    HasSubstr("--component links one into your own folder")));
  EXPECT_FALSE(IsThere(user_));
  // Naming the folder is a choice too.
  ASSERT_EQ(Camera({"install", "--domain", "user"}).exitCode, 0);
  EXPECT_EQ(fs::read_symlink(user_), kReal);
}

// A camera that does not load is none: it neither satisfies nor hides.
TEST_F(CameraInstall, WhatDoesNotLoadDoesNotCount) {
  fs::create_directories(system_);
  test::WriteFile(local_, "no library");
  const ProgramResult install = Camera({"install", "--json"});
  ASSERT_EQ(install.exitCode, 0) << install.out;
  EXPECT_EQ(fs::read_symlink(user_), kReal);
  EXPECT_THAT(json::parse(install.out)["hides"], IsEmpty());

  fs::remove(user_);
  fs::create_symlink("/no/such/component", user_);
  fs::remove(local_);
  const ProgramResult local =
      Camera({"install", "--domain", "local", "--component", "testpattern", "--json"});
  ASSERT_EQ(local.exitCode, 0) << local.out;
  EXPECT_EQ(json::parse(local.out)["hiddenBy"], "");
  EXPECT_EQ(Loaded(), local_);
}

TEST_F(CameraInstall, SaysWhatHidesWhatItInstalls) {
  Copy(kPattern, user_);
  Link(kReal, system_);
  const ProgramResult install =
      Camera({"install", "--component", "testpattern", "--domain", "local"});
  ASSERT_EQ(install.exitCode, 0) << install.err;
  EXPECT_EQ(fs::read_symlink(local_), kPattern);
  EXPECT_THAT(install.out,
              AllOf(HasSubstr(user_.string() + " hides it, being searched first"),
                    HasSubstr("move it away by hand"), Not(HasSubstr(system_.string()))));
  EXPECT_EQ(Loaded(), user_);

  fs::remove_all(user_);
  const ProgramResult again =
      Camera({"install", "--component", "testpattern", "--domain", "local"});
  ASSERT_EQ(again.exitCode, 0) << "the same one, a second time";
  EXPECT_THAT(again.out, AllOf(HasSubstr(local_.string() + " -> " + kPattern.string()),
                               HasSubstr(system_.string() + " -> " + kReal.string() + " hides it"),
                               HasSubstr("`lumivane camera remove --domain system` removes that")));

  ASSERT_EQ(Camera({"remove", "--domain", "system"}).exitCode, 0);
  EXPECT_EQ(Loaded(), local_);
}

TEST_F(CameraInstall, NothingThatIsThereIsReplaced) {
  for (const auto& [domain, place] :
       std::map<std::string, fs::path>{{"user", user_}, {"local", local_}, {"system", system_}}) {
    SCOPED_TRACE(domain);
    Link(kReal, place);
    const ProgramResult link =
        Camera({"install", "--component", "testpattern", "--domain", domain});
    EXPECT_EQ(link.exitCode, lumivane::kExitFailed);
    EXPECT_THAT(link.err,
                AllOf(HasSubstr("another camera is installed, at " + place.string()),
                      HasSubstr("`lumivane camera remove --domain " + domain + "` removes")));
    EXPECT_EQ(fs::read_symlink(place), kReal);
    fs::remove(place);

    Copy(kReal, place);
    const ProgramResult copy =
        Camera({"install", "--component", "testpattern", "--domain", domain});
    EXPECT_EQ(copy.exitCode, lumivane::kExitFailed);
    EXPECT_THAT(copy.err, AllOf(HasSubstr("another camera is installed, at " + place.string()),
                                HasSubstr("move it away by hand")));
    const ProgramResult remove = Camera({"remove", "--domain", domain});
    EXPECT_EQ(remove.exitCode, lumivane::kExitFailed);
    EXPECT_THAT(remove.err, HasSubstr("is no link but the camera itself"));
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(place)));
    fs::remove_all(place);

    fs::create_symlink("/no/such/component", place);
    const ProgramResult dangling = Camera({"install", "--domain", domain, "--json"});
    EXPECT_EQ(dangling.exitCode, lumivane::kExitFailed);
    EXPECT_EQ(json::parse(dangling.out)["ok"], false);
    EXPECT_THAT(json::parse(dangling.out)["message"].get<std::string>(),
                AllOf(HasSubstr("is a link to nothing (/no/such/component)"),
                      HasSubstr("camera remove --domain " + domain)));
    EXPECT_EQ(Camera({"remove", "--domain", domain}).exitCode, 0);
    EXPECT_FALSE(IsThere(place));
  }
}

TEST_F(CameraInstall, AnEntryThatIsNoCameraIsInTheWay) {
  test::WriteFile(user_, "no library");
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"install"}, {"install", "--component", "gstreamer"}}) {
    const ProgramResult install = Camera(arguments);
    EXPECT_EQ(install.exitCode, lumivane::kExitFailed);
    EXPECT_THAT(install.err,
                AllOf(HasSubstr(user_.string() + " is there already and does not load"),
                      HasSubstr("move it away by hand")));
  }
  EXPECT_EQ(test::ReadFile(user_), "no library");
}

TEST_F(CameraInstall, RemoveSaysWhatIsLeft) {
  Link(kPattern, local_);
  const ProgramResult nothing = Camera({"remove"});
  EXPECT_EQ(nothing.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(nothing.err,
              AllOf(HasSubstr("no camera at " + user_.string()),
                    HasSubstr("programs load " + local_.string()), HasSubstr("--domain local")));
  const ProgramResult last = Camera({"remove", "--domain", "local"});
  EXPECT_EQ(last.exitCode, 0);
  EXPECT_THAT(last.out, HasSubstr("no camera is installed now"));
  const json report = json::parse(Camera({"remove", "--json"}).out);
  EXPECT_EQ(report["ok"], false);
  EXPECT_EQ(report["path"], user_.string());
}

// A relative link, as packages make them, is the same camera as an absolute one.
TEST_F(CameraInstall, KnowsItsOwnComponentThroughAnyLink) {
  fs::create_directories(user_.parent_path());
  fs::create_symlink(fs::relative(kPattern, fs::canonical(user_.parent_path())), user_);
  const ProgramResult install = Camera({"install", "--component", "testpattern"});
  EXPECT_EQ(install.exitCode, 0) << install.err;
  EXPECT_TRUE(fs::read_symlink(user_).is_relative());
}

TEST_F(CameraInstall, SaysWhyAFolderCannotBeUsed) {
  const test::TempFolder folder;
  test::WriteFile(folder / "file", "in the way");
  const test::ScopedVariable root("LUMIVANE_LOCAL_ROOT", (folder / "file").string());
  const ProgramResult install = Camera({"install", "--domain", "local"});
  EXPECT_EQ(install.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(install.err, AllOf(HasSubstr("the folder " + (folder / "file/Components").string()),
                                 HasSubstr("cannot be made"), HasSubstr("--domain")));
  EXPECT_EQ(test::ReadFile(folder / "file"), "in the way");
}

}  // namespace
