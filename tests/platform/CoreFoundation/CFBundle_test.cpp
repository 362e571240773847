#include "platform/CoreFoundation/CFBundle.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFURL.h"
#include "tests/support/CFOwned.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/TempBundle.h"

namespace fs = std::filesystem;
using test::CFOwned;
using test::FileURL;
using test::String;
using test::TakePath;
using test::TakeText;
using test::TempFolder;
using test::TextOf;
using testing::ElementsAre;
using testing::HasSubstr;
using Bundle = CFOwned<CFBundleRef>;

namespace {

const fs::path kModules = TEST_MODULES;
const fs::path kOne = kModules / "answer_one";
const fs::path kTwo = kModules / "answer_two";

Bundle Create(const fs::path& path) {
  return Bundle(CFBundleCreate(kCFAllocatorDefault, FileURL(path, true)));
}

std::string CreationError(const fs::path& path) {
  CFOwned<CFStringRef> error;
  const Bundle bundle(CFBundleCreateWithErrorText(FileURL(path), error.out()));
  EXPECT_EQ(bundle.get(), nullptr);
  return TextOf(error);
}

std::string LoadError(CFBundleRef bundle) {
  CFOwned<CFStringRef> error;
  EXPECT_FALSE(CFBundleLoadExecutableWithErrorText(bundle, error.out()));
  EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle));
  return TextOf(error);
}

/// What the module in the bundle answers; loads it. -1 without an answer.
int Answer(CFBundleRef bundle) {
  auto* answer =
      reinterpret_cast<int (*)()>(CFBundleGetFunctionPointerForName(bundle, CFSTR("answer")));
  return answer == nullptr ? -1 : answer();
}

}  // namespace

TEST(CFBundle, LoadsAFolderBundle) {
  const TempFolder folder;
  const fs::path path = folder / "Camera.component";
  test::MakeFolderBundle(path, kOne);
  const Bundle bundle = Create(path);
  ASSERT_NE(bundle.get(), nullptr);
  EXPECT_EQ(CFGetTypeID(bundle), CFBundleGetTypeID());
  EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle)) << "creating loads nothing";
  EXPECT_FALSE(test::IsMapped(path / "Contents/Linux/Camera"));
  EXPECT_EQ(TakePath(CFBundleCopyExecutableURL(bundle)), (path / "Contents/Linux/Camera").string());

  EXPECT_TRUE(CFBundleLoadExecutable(bundle));
  EXPECT_TRUE(CFBundleIsExecutableLoaded(bundle));
  EXPECT_TRUE(test::IsMapped(path / "Contents/Linux/Camera"));
  EXPECT_TRUE(CFBundleLoadExecutable(bundle)) << "it is loaded already";
  EXPECT_EQ(Answer(bundle), 1);

  CFBundleUnloadExecutable(bundle);
  EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle)) << "one unload undoes any number of loads";
  EXPECT_FALSE(test::IsMapped(path / "Contents/Linux/Camera"));
  CFBundleUnloadExecutable(bundle);
  EXPECT_TRUE(CFBundleLoadExecutable(bundle)) << "and again";
}

// ---- Before it is unloaded

namespace {

/// Has the farewells of the module in the bundle counted in `farewells`; loads it.
void CountFarewells(CFBundleRef bundle, int* farewells) {
  auto* const count = reinterpret_cast<void (*)(int*)>(
      CFBundleGetFunctionPointerForName(bundle, CFSTR("count_farewells")));
  ASSERT_NE(count, nullptr);
  count(farewells);
}

}  // namespace

TEST(CFBundleFarewell, IsSaidWhileTheDynamicLoaderIsFree) {
  const TempFolder folder;
  const fs::path path = folder / "A.component";
  test::MakeFolderBundle(path, kModules / "farewell");
  int farewells = 0;
  {
    const Bundle bundle = Create(path);
    for (int i = 0; i < 3; ++i) {
      ASSERT_NO_FATAL_FAILURE(CountFarewells(bundle, &farewells));
      EXPECT_EQ(farewells, i);
      CFBundleUnloadExecutable(bundle);
      EXPECT_EQ(farewells, i + 1);
    }
    CFBundleUnloadExecutable(bundle);
    EXPECT_EQ(farewells, 3) << "nothing was loaded";
    ASSERT_NO_FATAL_FAILURE(CountFarewells(bundle, &farewells));
  }
  EXPECT_EQ(farewells, 4) << "the last release unloads too";
  EXPECT_FALSE(test::IsMapped(path / "Contents/Linux/A"));
}

TEST(CFBundleFarewell, IsSaidOnceByTheLastOfSeveralBundlesOfOneExecutable) {
  const TempFolder folder;
  const fs::path path = folder / "A.component";
  test::MakeLibraryBundle(path, kModules / "farewell");
  fs::create_symlink(path, folder / "B.component");
  int farewells = 0;
  const Bundle one = Create(path);
  const Bundle two = Create(folder / "B.component");
  ASSERT_NE(one.get(), two.get());
  ASSERT_NO_FATAL_FAILURE(CountFarewells(one, &farewells));
  ASSERT_NO_FATAL_FAILURE(CountFarewells(two, &farewells));
  CFBundleUnloadExecutable(one);
  EXPECT_EQ(farewells, 0);
  CFBundleUnloadExecutable(two);
  EXPECT_EQ(farewells, 1);
}

TEST(CFBundleFarewell, IsNotThatOfALibraryItIsLinkedAgainst) {
  const TempFolder folder;
  test::MakeLibraryBundle(folder / "A.component", kModules / "leans_on_farewell");
  int farewells = 0;
  const Bundle bundle = Create(folder / "A.component");
  EXPECT_EQ(Answer(bundle), 3);
  ASSERT_NO_FATAL_FAILURE(CountFarewells(bundle, &farewells));
  CFBundleUnloadExecutable(bundle);
  EXPECT_EQ(farewells, 0);
}

TEST(CFBundle, LoadsAPlainLibrary) {
  const TempFolder folder;
  const fs::path path = folder / "LumivaneXXX.component";
  test::MakeLibraryBundle(path, kTwo);
  const Bundle bundle(CFBundleCreate(nullptr, FileURL(path)));
  ASSERT_NE(bundle.get(), nullptr);
  EXPECT_EQ(TakePath(CFBundleCopyBundleURL(bundle)), path.string());
  EXPECT_EQ(TakePath(CFBundleCopyExecutableURL(bundle)), path.string());
  EXPECT_EQ(Answer(bundle), 2);
  EXPECT_EQ(CFBundleGetIdentifier(bundle), nullptr);
  EXPECT_EQ(CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)), 0);
  EXPECT_EQ(CFBundleCopyResourcesDirectoryURL(bundle), nullptr);
  EXPECT_EQ(CFBundleCopySupportFilesDirectoryURL(bundle), nullptr);
  EXPECT_EQ(CFBundleCopyPrivateFrameworksURL(bundle), nullptr);
  EXPECT_EQ(CFBundleCopySharedFrameworksURL(bundle), nullptr);
  EXPECT_EQ(CFBundleCopyBuiltInPlugInsURL(bundle), nullptr);
  EXPECT_EQ(CFBundleCopyResourceURL(bundle, CFSTR("x"), nullptr, nullptr), nullptr);
  const CFOwned<CFArrayRef> none(CFBundleCopyResourceURLsOfType(bundle, nullptr, nullptr));
  EXPECT_EQ(CFArrayGetCount(none), 0);
}

TEST(CFBundle, LoadsFrameworks) {
  const TempFolder folder;
  test::MakeFramework(folder / "Flat.framework", kOne);
  test::WriteFile(folder / "Flat.framework/Resources/Info.plist",
                  test::InfoPlist("", "org.lumivane.test.flat"));
  test::WriteFile(folder / "Flat.framework/Resources/a.txt", "a");
  const Bundle flat = Create(folder / "Flat.framework");
  ASSERT_NE(flat.get(), nullptr);
  EXPECT_EQ(Answer(flat), 1);
  EXPECT_EQ(TextOf(CFBundleGetIdentifier(flat)), "org.lumivane.test.flat");
  EXPECT_EQ(TakePath(CFBundleCopyResourceURL(flat, CFSTR("a"), CFSTR("txt"), nullptr)),
            (folder / "Flat.framework/Resources/a.txt").string());

  test::MakeFolderBundle(folder / "Deep.framework", kTwo);
  EXPECT_EQ(Answer(Create(folder / "Deep.framework")), 2);

  test::ReplaceFile(kOne, folder / "Other.component/Other");
  EXPECT_EQ(Create(folder / "Other.component").get(), nullptr) << "only frameworks may be flat";
}

TEST(CFBundle, TakesTheExecutableTheInfoPlistNames) {
  const TempFolder folder;
  const fs::path path = folder / "A.plugin";
  test::MakeFolderBundle(path, kOne);
  test::MakeFolderBundle(path, kTwo, test::InfoPlist("Two", "org.lumivane.test.a"), "Two");
  const Bundle bundle = Create(path);
  EXPECT_EQ(Answer(bundle), 2);
  EXPECT_EQ(TextOf(CFBundleGetIdentifier(bundle)), "org.lumivane.test.a");
}

TEST(CFBundle, FollowsLinks) {
  const TempFolder folder;
  test::MakeFolderBundle(folder / "App/Real.component", kOne);
  fs::create_directories(folder / "Components");
  fs::create_directory_symlink(folder / "App/Real.component", folder / "Components/Real.component");
  fs::create_directory_symlink(folder / "App/Real.component",
                               folder / "Components/Other.component");
  const Bundle same = Create(folder / "Components/Real.component");
  EXPECT_EQ(Answer(same), 1);
  EXPECT_EQ(TakePath(CFBundleCopyBundleURL(same)), (folder / "Components/Real.component").string());
  EXPECT_EQ(Answer(Create(folder / "Components/Other.component")), 1) << "under the real name";

  test::MakeLibraryBundle(folder / "App/Plain.component", kTwo);
  fs::create_symlink("../App/Plain.component", folder / "Components/Plain.component");
  EXPECT_EQ(Answer(Create(folder / "Components/Plain.component")), 2);
}

TEST(CFBundle, IsNotCreatedWhereNothingCanBeAnExecutable) {
  const TempFolder folder;
  EXPECT_THAT(CreationError(folder / "Missing.component"), HasSubstr("No such file"));

  fs::create_symlink("gone", folder / "Dangling.component");
  EXPECT_THAT(CreationError(folder / "Dangling.component"), HasSubstr("a link to gone"));

  fs::create_directory(folder / "Empty.component");
  EXPECT_THAT(CreationError(folder / "Empty.component"), HasSubstr("no executable"));

  test::MakeBundleWithoutExecutable(folder / "Resources.component");
  EXPECT_THAT(CreationError(folder / "Resources.component"), HasSubstr("Contents/Linux/Resources"));

  fs::create_directories(folder / "Folder.component/Contents/Linux/Folder");
  EXPECT_THAT(CreationError(folder / "Folder.component"), HasSubstr("no regular file"));

  test::MakeFolderBundle(folder / "Named.component", kOne, test::InfoPlist("NotThere"));
  EXPECT_THAT(CreationError(folder / "Named.component"), HasSubstr("Linux/NotThere"));

  for (const char* name : {"../Linux/Escape", "..", ".", "a/b", "/bin/sh"}) {
    test::MakeFolderBundle(folder / "Escape.component", kOne, test::InfoPlist(name));
    EXPECT_THAT(CreationError(folder / "Escape.component"), HasSubstr("not a file name")) << name;
  }

  ASSERT_EQ(mkfifo((folder / "Pipe.component").c_str(), 0600), 0);
  EXPECT_THAT(CreationError(folder / "Pipe.component"), HasSubstr("neither a folder"));

  CFOwned<CFStringRef> error;
  EXPECT_EQ(CFBundleCreateWithErrorText(nullptr, error.out()), nullptr);
  EXPECT_EQ(TextOf(error), "not an absolute file URL");
  const CFOwned<CFURLRef> http(CFURLCreateWithString(nullptr, CFSTR("http://h/p"), nullptr));
  EXPECT_EQ(CFBundleCreate(nullptr, http), nullptr);
}

TEST(CFBundle, CreatesButDoesNotLoadWhatIsNoLibrary) {
  const TempFolder folder;
  test::MakeBrokenFolderBundle(folder / "Text.component");
  const Bundle text = Create(folder / "Text.component");
  ASSERT_NE(text.get(), nullptr);
  EXPECT_THAT(LoadError(text), HasSubstr("not a shared library"));
  EXPECT_EQ(CFBundleGetFunctionPointerForName(text, CFSTR("answer")), nullptr);

  test::MakeBrokenLibraryBundle(folder / "Plain.component");
  EXPECT_THAT(LoadError(Create(folder / "Plain.component")), HasSubstr("not a shared library"));

  test::WriteFile(folder / "Zero.component", "");
  EXPECT_THAT(LoadError(Create(folder / "Zero.component")), HasSubstr("not a shared library"));

  test::MakeFolderBundle(folder / "Unresolved.component", kModules / "unresolved");
  const Bundle unresolved = Create(folder / "Unresolved.component");
  ASSERT_NE(unresolved.get(), nullptr);
  EXPECT_THAT(LoadError(unresolved), HasSubstr("a_function_that_is_nowhere"));
  EXPECT_FALSE(test::IsMapped(folder / "Unresolved.component/Contents/Linux/Unresolved"));

  test::MakeLibraryBundle(folder / "Program.component", kModules / "program");
  const std::string reason = LoadError(Create(folder / "Program.component"));
  EXPECT_THAT(reason, HasSubstr("Program.component")) << "programs are no libraries";
}

// A library that is still being copied: cut at every kind of place, it is refused, not run into.
TEST(CFBundle, RefusesALibraryCutShort) {
  const TempFolder folder;
  const fs::path path = folder / "Cut.component";
  const std::string whole = test::ReadFile(kOne);
  for (const std::size_t size : {std::size_t{1}, std::size_t{4}, std::size_t{16}, std::size_t{63},
                                 std::size_t{64}, std::size_t{100}, std::size_t{700},
                                 std::size_t{4096}, std::size_t{8192}, whole.size() / 2}) {
    test::WriteFile(path, whole.substr(0, size));
    const Bundle bundle = Create(path);
    ASSERT_NE(bundle.get(), nullptr) << size;
    EXPECT_THAT(LoadError(bundle), HasSubstr("Cut.component")) << size;
  }
  // The last byte alone, and a file that has its size but not yet its content.
  test::WriteFile(path, whole.substr(0, whole.size() - 1));
  EXPECT_THAT(LoadError(Create(path)), HasSubstr("cut short"));
  for (const std::size_t size : {std::size_t{4096}, whole.size() / 2}) {
    test::WriteFile(path, whole.substr(0, size) + std::string(whole.size() - size, '\0'));
    EXPECT_THAT(LoadError(Create(path)), HasSubstr("cut short")) << size;
  }
  test::WriteFile(path, whole);
  EXPECT_EQ(Answer(Create(path)), 1);
}

TEST(CFBundle, RefusesALibraryForAnotherMachine) {
  const TempFolder folder;
  const fs::path path = folder / "Other.component";
  std::string bytes = test::ReadFile(kOne);
  const auto with = [&](std::size_t at, char value) {
    std::string changed = bytes;
    changed[at] = value;
    test::WriteFile(path, changed);
    return LoadError(Create(path));
  };
  EXPECT_THAT(with(4, 1), HasSubstr("another machine")) << "32-bit";
  EXPECT_THAT(with(5, 2), HasSubstr("another machine")) << "big-endian";
  EXPECT_THAT(with(18, 0x14), HasSubstr("another machine"));
  EXPECT_THAT(with(16, 1), HasSubstr("not a shared library")) << "an object file";
}

TEST(CFBundle, LoadsARepairedExecutable) {
  const TempFolder folder;
  const fs::path path = folder / "Camera.component";
  test::MakeBrokenFolderBundle(path);
  const Bundle broken = Create(path);
  EXPECT_FALSE(CFBundleLoadExecutable(broken));
  test::MakeFolderBundle(path, kOne);
  EXPECT_TRUE(CFBundleLoadExecutable(broken)) << "a failed load is tried afresh";
  CFBundleUnloadExecutable(broken);

  const Bundle repaired = Create(path);
  EXPECT_NE(repaired.get(), broken.get()) << "there is something else on disk";
  EXPECT_EQ(Answer(repaired), 1);
}

TEST(CFBundle, LoadsAReplacedExecutable) {
  const TempFolder folder;
  const fs::path path = folder / "Camera.component";
  const fs::path executable = path / "Contents/Linux/Camera";
  test::MakeFolderBundle(path, kOne);
  for (int round = 0; round < 3; ++round) {
    test::ReplaceFile(kOne, executable);
    const Bundle one = Create(path);
    EXPECT_EQ(Answer(one), 1);
    CFBundleUnloadExecutable(one);
    test::ReplaceFile(kTwo, executable);
    EXPECT_EQ(Answer(Create(path)), 2);
  }
  EXPECT_FALSE(test::IsMapped(executable));
}

TEST(CFBundle, LoadsAReplacedExecutableWhileTheOldOneIsMapped) {
  const TempFolder folder;
  for (const char* name : {"Plain.component", "Folder.component/Contents/Linux/Folder"}) {
    const fs::path executable = folder / name;
    const fs::path path = folder / fs::path(name).begin()->string();
    test::ReplaceFile(kOne, executable);
    const Bundle old = Create(path);
    EXPECT_EQ(Answer(old), 1);

    test::ReplaceFile(kTwo, executable);
    const Bundle now = Create(path);
    ASSERT_NE(now.get(), nullptr);
    EXPECT_NE(now.get(), old.get());
    EXPECT_EQ(Answer(now), 2);
    EXPECT_EQ(Answer(old), 1) << "it goes on with its own code";

    test::ReplaceFile(kOne, executable);
    const Bundle third = Create(path);
    EXPECT_EQ(Answer(third), 1);
    EXPECT_NE(CFBundleGetFunctionPointerForName(third, CFSTR("answer")),
              CFBundleGetFunctionPointerForName(old, CFSTR("answer")));
    CFBundleUnloadExecutable(old);
    EXPECT_EQ(Answer(now), 2);
    CFBundleUnloadExecutable(now);
    EXPECT_EQ(Answer(third), 1);
    CFBundleUnloadExecutable(third);
    EXPECT_FALSE(test::IsMapped(executable));
  }
}

TEST(CFBundle, IsGoneWithItsFileButKeepsItsCode) {
  const TempFolder folder;
  const fs::path path = folder / "Camera.component";
  test::MakeLibraryBundle(path, kOne);
  const Bundle bundle = Create(path);
  EXPECT_TRUE(CFBundleLoadExecutable(bundle));
  fs::remove(path);
  EXPECT_EQ(Create(path).get(), nullptr) << "creation looks at the disk";
  EXPECT_EQ(Answer(bundle), 1);
  CFBundleUnloadExecutable(bundle);
  EXPECT_THAT(LoadError(bundle), HasSubstr("no such file"));
}

TEST(CFBundle, IsOneObjectPerPathWhileTheDiskStaysTheSame) {
  const TempFolder folder;
  const fs::path path = folder / "A.component";
  test::MakeFolderBundle(path, kOne, test::InfoPlist("A"));
  Bundle first = Create(path);
  const Bundle second = Create(path);
  EXPECT_EQ(first.get(), second.get());
  EXPECT_EQ(CFGetRetainCount(first), 2);
  EXPECT_EQ(Create(fs::path(folder.path() / "./" / "A.component/")).get(), first.get());

  test::AddResource(path, "new.txt", "x");
  EXPECT_EQ(Create(path).get(), first.get()) << "another resource makes no other bundle";

  test::WriteFile(path / "Contents/Info.plist", test::InfoPlist("A", "org.lumivane.changed"));
  const Bundle changed = Create(path);
  EXPECT_NE(changed.get(), first.get());
  EXPECT_EQ(TextOf(CFBundleGetIdentifier(changed)), "org.lumivane.changed");
  EXPECT_EQ(CFBundleGetIdentifier(first), nullptr);
  EXPECT_EQ(Create(path).get(), changed.get());
}

TEST(CFBundle, IsAnotherObjectAfterTheLastRelease) {
  const TempFolder folder;
  const fs::path path = folder / "A.component";
  test::MakeFolderBundle(path, kModules / "notes", "", "A");
  const fs::path notes = folder / "notes.txt";
  const test::ScopedVariable variable("TEST_NOTES", notes.string());
  Bundle bundle = Create(path);
  EXPECT_FALSE(fs::exists(notes)) << "creation runs no code";
  EXPECT_TRUE(CFBundleLoadExecutable(bundle));
  EXPECT_EQ(test::ReadFile(notes), "come\n");
  bundle.reset();
  EXPECT_EQ(test::ReadFile(notes), "come\ngo\n") << "the last release unloads";
  EXPECT_FALSE(test::IsMapped(path / "Contents/Linux/A"));
  bundle = Create(path);
  EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle));
}

TEST(CFBundle, LoadsAndUnloadsManyTimesAndLeavesNothing) {
  const TempFolder folder;
  test::MakeFolderBundle(folder / "A.component", kOne);
  test::MakeLibraryBundle(folder / "B.component", kTwo);
  const auto openFiles = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = openFiles();
  for (int round = 0; round < 200; ++round) {
    for (const char* name : {"A.component", "B.component"}) {
      const Bundle bundle = Create(folder / name);
      ASSERT_TRUE(CFBundleLoadExecutable(bundle));
      ASSERT_EQ(Answer(bundle), *name == 'A' ? 1 : 2);
      CFBundleUnloadExecutable(bundle);
      ASSERT_FALSE(test::IsMapped(TakePath(CFBundleCopyExecutableURL(bundle))));
    }
  }
  EXPECT_EQ(openFiles(), before);
}

TEST(CFBundle, FindsNamesInTheExecutableAndWhatItIsLinkedTo) {
  const TempFolder folder;
  test::MakeLibraryBundle(folder / "A.component", kOne);
  const Bundle bundle = Create(folder / "A.component");
  EXPECT_NE(CFBundleGetFunctionPointerForName(bundle, CFSTR("__public_fn2")), nullptr);
  EXPECT_TRUE(CFBundleIsExecutableLoaded(bundle)) << "looking a name up loads";
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("__public_fn9")), nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("")), nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, nullptr), nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, String(std::string_view("answer\0x", 8))),
            nullptr);
  auto* data = static_cast<int*>(CFBundleGetDataPointerForName(bundle, CFSTR("answer_data")));
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(*data, 11);
}

TEST(CFBundle, KeepsSymbolsOfBundlesApart) {
  const TempFolder folder;
  test::MakeLibraryBundle(folder / "A.component", kOne);
  test::MakeLibraryBundle(folder / "B.component", kTwo);
  const Bundle a = Create(folder / "A.component");
  const Bundle b = Create(folder / "B.component");
  EXPECT_EQ(Answer(a), 1);
  EXPECT_EQ(Answer(b), 2);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(CFBundleGetMainBundle(), CFSTR("answer")), nullptr);
}

TEST(CFBundle, SharesOneFileBetweenTwoPlaces) {
  const TempFolder folder;
  test::MakeLibraryBundle(folder / "A.component", kOne);
  fs::create_symlink("A.component", folder / "Link.component");
  const Bundle a = Create(folder / "A.component");
  const Bundle link = Create(folder / "Link.component");
  EXPECT_NE(a.get(), link.get());
  EXPECT_EQ(Answer(a), 1);
  EXPECT_FALSE(CFBundleIsExecutableLoaded(link));
  EXPECT_EQ(Answer(link), 1);
  CFBundleUnloadExecutable(a);
  EXPECT_EQ(Answer(link), 1) << "still mapped for the other";
  CFBundleUnloadExecutable(link);
  EXPECT_FALSE(test::IsMapped(folder / "A.component"));
}

TEST(CFBundle, KnowsWhichBundleCodeIsIn) {
  const TempFolder folder;
  const fs::path path = folder / "Asks.plugin";
  test::MakeFolderBundle(path, kModules / "asks_for_itself");
  {
    const Bundle bundle = Create(path);
    ASSERT_TRUE(CFBundleLoadExecutable(bundle));
    auto* atInitialisation = static_cast<CFBundleRef*>(
        CFBundleGetDataPointerForName(bundle, CFSTR("bundleAtInitialisation")));
    ASSERT_NE(atInitialisation, nullptr);
    EXPECT_EQ(*atInitialisation, bundle.get()) << "even while it was being loaded";
    auto* address = CFBundleGetDataPointerForName(bundle, CFSTR("anAddressInIt"));
    EXPECT_EQ(Bundle(CFBundleCopyBundleForCodeAddress(address)).get(), bundle.get());
    EXPECT_EQ(CFGetRetainCount(bundle), 1);
  }
  test::MakeLibraryBundle(folder / "Plain.plugin", kModules / "asks_for_itself");
  fs::create_symlink("Plain.plugin", folder / "Link.plugin");
  {
    const Bundle plain = Create(folder / "Plain.plugin");
    const Bundle link = Create(folder / "Link.plugin");
    auto* atInitialisation = static_cast<CFBundleRef*>(
        CFBundleGetDataPointerForName(link, CFSTR("bundleAtInitialisation")));
    ASSERT_NE(atInitialisation, nullptr);
    EXPECT_EQ(*atInitialisation, link.get()) << "the one being loaded, not the other of its file";
  }
  const CFBundleRef main = CFBundleGetMainBundle();
  static int here = 0;
  EXPECT_EQ(CFBundleCopyBundleForCodeAddress(&here), main);
  EXPECT_EQ(CFBundleCopyBundleForCodeAddress(nullptr), main);
  EXPECT_EQ(CFBundleCopyBundleForCodeAddress(reinterpret_cast<const void*>(&CFBundleCreate)), main)
      << "the platform's own code is the program's";
}

TEST(CFBundle, KnowsTheBundleOfCodeThatOthersMapped) {
  const TempFolder folder;
  const fs::path path = folder / "A.plugin";
  test::MakeFolderBundle(path, kOne);
  void* handle = dlopen((path / "Contents/Linux/A").c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr) << dlerror();
  {
    const Bundle found(CFBundleCopyBundleForCodeAddress(dlsym(handle, "answer")));
    EXPECT_EQ(TakePath(CFBundleCopyBundleURL(found)), path.string());
    EXPECT_FALSE(CFBundleIsExecutableLoaded(found)) << "not by this object";
  }
  dlclose(handle);
  EXPECT_FALSE(test::IsMapped(path / "Contents/Linux/A"));
}

TEST(CFBundle, ReadsTheInfoPlist) {
  const TempFolder folder;
  const fs::path path = folder / "A.plugin";
  test::MakeFolderBundle(path, kOne,
                         "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
                         "<string>org.lumivane.test.a</string><key>Number</key>"
                         "<integer>7</integer></dict></plist>");
  const Bundle bundle = Create(path);
  EXPECT_EQ(CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)), 2);
  EXPECT_NE(CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("Number")), nullptr);
  EXPECT_EQ(CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("Other")), nullptr);
  EXPECT_EQ(CFBundleGetValueForInfoDictionaryKey(bundle, nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyInfoDictionaryErrorText(bundle), nullptr);
}

TEST(CFBundle, DoesWithoutAReadableInfoPlist) {
  const TempFolder folder;
  const fs::path path = folder / "A.plugin";
  const std::pair<const char*, const char*> cases[] = {
      {"<plist><dict>", "line 1"},
      {"not xml at all", "line 1"},
      {"<plist version=\"1.0\"><array/></plist>", "not a dictionary"},
  };
  for (const auto& [plist, reason] : cases) {
    test::MakeFolderBundle(path, kOne, plist);
    const Bundle bundle = Create(path);
    ASSERT_NE(bundle.get(), nullptr) << plist;
    EXPECT_EQ(CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)), 0);
    EXPECT_THAT(TakeText(CFBundleCopyInfoDictionaryErrorText(bundle)), HasSubstr(reason));
    EXPECT_EQ(Answer(bundle), 1) << "its name still leads to the executable";
  }
  test::MakeFolderBundle(path, kOne,
                         "<plist><dict><key>CFBundleIdentifier</key><integer>1</integer>"
                         "<key>CFBundleExecutable</key><true/></dict></plist>");
  const Bundle odd = Create(path);
  EXPECT_EQ(CFBundleGetIdentifier(odd), nullptr) << "no string";
  EXPECT_EQ(Answer(odd), 1);

  fs::remove(path / "Contents/Info.plist");
  ASSERT_EQ(mkfifo((path / "Contents/Info.plist").c_str(), 0600), 0);
  const Bundle pipe = Create(path);
  ASSERT_NE(pipe.get(), nullptr) << "and nobody waited for it";
  EXPECT_THAT(TakeText(CFBundleCopyInfoDictionaryErrorText(pipe)), HasSubstr("not a regular file"));
}

TEST(CFBundle, FindsItsFolders) {
  const TempFolder folder;
  const fs::path path = folder / "A.app";
  test::MakeFolderBundle(path, kOne);
  const Bundle bundle = Create(path);
  EXPECT_EQ(TakePath(CFBundleCopyBundleURL(bundle)), path.string());
  EXPECT_EQ(TakePath(CFBundleCopySupportFilesDirectoryURL(bundle)), (path / "Contents").string());
  EXPECT_EQ(TakePath(CFBundleCopyResourcesDirectoryURL(bundle)),
            (path / "Contents/Resources").string())
      << "whether it exists or not";
  EXPECT_EQ(TakePath(CFBundleCopyPrivateFrameworksURL(bundle)),
            (path / "Contents/Frameworks").string());
  EXPECT_EQ(TakePath(CFBundleCopySharedFrameworksURL(bundle)),
            (path / "Contents/SharedFrameworks").string());
  EXPECT_EQ(TakePath(CFBundleCopyBuiltInPlugInsURL(bundle)), (path / "Contents/PlugIns").string());
  const CFOwned<CFURLRef> resources(CFBundleCopyResourcesDirectoryURL(bundle));
  EXPECT_TRUE(CFURLHasDirectoryPath(resources));
}

TEST(CFBundle, FindsResources) {
  const TempFolder folder;
  const fs::path path = folder / "A.plugin";
  test::MakeFolderBundle(path, kOne);
  const Bundle bundle = Create(path);
  const fs::path resources = path / "Contents/Resources";
  const auto find = [&](const char* name, CFStringRef type, CFStringRef below = nullptr) {
    return TakePath(CFBundleCopyResourceURL(bundle, String(name), type, below));
  };
  EXPECT_EQ(find("a", CFSTR("txt")), "(null)") << "no resources folder";
  test::AddResource(path, "a.txt", "a");
  EXPECT_EQ(find("a", CFSTR("txt")), (resources / "a.txt").string()) << "put there just now";
  EXPECT_EQ(find("a.txt", nullptr), (resources / "a.txt").string());
  EXPECT_EQ(find("a.txt", CFSTR("")), (resources / "a.txt").string());
  EXPECT_EQ(find("a", CFSTR(".txt")), (resources / "a.txt").string());
  EXPECT_EQ(find("a", nullptr), "(null)");
  EXPECT_EQ(find("A", CFSTR("txt")), "(null)") << "letter case counts";
  EXPECT_EQ(find("", CFSTR("txt")), "(null)");
  EXPECT_EQ(CFBundleCopyResourceURL(bundle, nullptr, CFSTR("txt"), nullptr), nullptr);

  test::AddResource(path, "sub/b.txt", "b");
  EXPECT_EQ(find("b", CFSTR("txt")), "(null)");
  EXPECT_EQ(find("b", CFSTR("txt"), CFSTR("sub")), (resources / "sub/b.txt").string());

  test::MakeLibraryBundle(resources / "Camera.component/Contents/Linux/Camera", kOne);
  const CFOwned<CFURLRef> component(
      CFBundleCopyResourceURL(bundle, CFSTR("Camera"), CFSTR("component"), nullptr));
  EXPECT_TRUE(CFURLHasDirectoryPath(component)) << "a bundle among the resources";
  EXPECT_EQ(Answer(Bundle(CFBundleCreate(nullptr, component))), 1);
}

TEST(CFBundle, FindsLocalisedResources) {
  const TempFolder folder;
  const fs::path path = folder / "A.plugin";
  test::MakeFolderBundle(path, kOne,
                         "<plist><dict><key>CFBundleDevelopmentRegion</key><string>fr</string>"
                         "</dict></plist>");
  const fs::path resources = path / "Contents/Resources";
  const Bundle bundle = Create(path);
  const test::ScopedVariable all("LC_ALL", "");
  const test::ScopedVariable messages("LC_MESSAGES", "");
  const test::ScopedVariable language("LANG", "de_DE.UTF-8");
  const auto find = [&] {
    return fs::path(TakePath(CFBundleCopyResourceURL(bundle, CFSTR("a"), CFSTR("txt"), nullptr)))
        .lexically_relative(resources)
        .string();
  };
  for (const char* place :
       {"Base.lproj", "English.lproj", "en.lproj", "fr.lproj", "de.lproj", "de_DE.lproj", "."}) {
    test::AddResource(path, std::string(place) + "/a.txt", "a");
    EXPECT_EQ(find(), (fs::path(place) / "a.txt").lexically_normal().string());
  }
  fs::remove(resources / "a.txt");
  {
    const test::ScopedVariable plain("LC_ALL", "C");
    EXPECT_EQ(find(), "fr.lproj/a.txt") << "the C locale has no language";
    const test::ScopedVariable evil("LC_ALL", "../../x");
    EXPECT_EQ(find(), "fr.lproj/a.txt");
  }
}

TEST(CFBundle, ListsResourcesOfAType) {
  const TempFolder folder;
  const fs::path path = folder / "A.plugin";
  test::MakeFolderBundle(path, kOne);
  for (const char* name : {"b.txt", "a.txt", "c.png", ".hidden.txt", "en.lproj/d.txt",
                           "Base.lproj/d.txt", "Base.lproj/e.txt", "sub/f.txt"}) {
    test::AddResource(path, name, "x");
  }
  const test::ScopedVariable plain("LC_ALL", "C");
  const Bundle bundle = Create(path);
  const auto list = [&](CFStringRef type, CFStringRef below) {
    const CFOwned<CFArrayRef> urls(CFBundleCopyResourceURLsOfType(bundle, type, below));
    std::vector<std::string> names;
    for (CFIndex i = 0; i < CFArrayGetCount(urls); ++i) {
      names.push_back(fs::path(test::PathOf(static_cast<CFURLRef>(CFArrayGetValueAtIndex(urls, i))))
                          .lexically_relative(path / "Contents/Resources")
                          .string());
    }
    return names;
  };
  EXPECT_THAT(list(CFSTR("txt"), nullptr),
              ElementsAre("a.txt", "b.txt", "en.lproj/d.txt", "Base.lproj/e.txt"));
  EXPECT_THAT(list(CFSTR("png"), nullptr), ElementsAre("c.png"));
  EXPECT_THAT(list(nullptr, CFSTR("sub")), ElementsAre("sub/f.txt"));
  EXPECT_THAT(list(CFSTR("none"), nullptr), ElementsAre());
}

TEST(CFBundle, IsFoundByIdentifier) {
  const TempFolder folder;
  const CFStringRef identifier = CFSTR("org.lumivane.test.found");
  EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), nullptr);
  const fs::path path = folder / "A.plugin";
  test::MakeFolderBundle(path, kOne, test::InfoPlist("", "org.lumivane.test.found"));
  Bundle bundle = Create(path);
  EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), bundle.get());
  EXPECT_EQ(CFGetRetainCount(bundle), 1) << "the caller gets no reference";

  ASSERT_TRUE(CFBundleLoadExecutable(bundle));
  test::ReplaceFile(kTwo, path / "Contents/Linux/A");
  Bundle newer = Create(path);
  EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), bundle.get()) << "the loaded one";
  ASSERT_TRUE(CFBundleLoadExecutable(newer));
  EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), newer.get());
  newer.reset();
  bundle.reset();
  EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), nullptr) << "dead";
  EXPECT_EQ(CFBundleGetBundleWithIdentifier(nullptr), nullptr);
}

TEST(CFBundle, ListsAllBundles) {
  const TempFolder folder;
  test::MakeLibraryBundle(folder / "A.component", kOne);
  const Bundle bundle = Create(folder / "A.component");
  const CFArrayRef all = CFBundleGetAllBundles();
  const CFRange range = CFRangeMake(0, CFArrayGetCount(all));
  EXPECT_EQ(CFArrayGetValueAtIndex(all, 0), CFBundleGetMainBundle());
  EXPECT_TRUE(CFArrayContainsValue(all, range, bundle.get()));
  EXPECT_EQ(CFGetRetainCount(bundle), 1);
}

TEST(CFBundle, DescribesItself) {
  const TempFolder folder;
  test::MakeLibraryBundle(folder / "A.component", kOne);
  const Bundle bundle = Create(folder / "A.component");
  const std::string path = (folder / "A.component").string();
  EXPECT_EQ(TakeText(CFCopyDescription(bundle)),
            "CFBundle <" + path + "> (executable, not loaded)");
  ASSERT_TRUE(CFBundleLoadExecutable(bundle));
  EXPECT_EQ(TakeText(CFCopyDescription(bundle)), "CFBundle <" + path + "> (executable, loaded)");
}

TEST(CFBundle, CopesWithANameThatIsNotUTF8) {
  const TempFolder folder;
  const fs::path path = folder / "A\xFF.component";
  test::MakeFolderBundle(path, kOne);
  const Bundle bundle = Create(path);
  ASSERT_NE(bundle.get(), nullptr);
  EXPECT_EQ(Answer(bundle), 1);
  EXPECT_EQ(TakePath(CFBundleCopyBundleURL(bundle)), path.string());
  EXPECT_THAT(TakeText(CFCopyDescription(bundle)), HasSubstr("A%FF.component"));
  test::MakeBrokenFolderBundle(folder / "B\xFF.component");
  EXPECT_THAT(LoadError(Create(folder / "B\xFF.component")), HasSubstr("B%FF.component"));
  EXPECT_THAT(CreationError(folder / "C\xFF.component"), HasSubstr("C%FF.component"));
}

TEST(CFBundle, NullGivesNull) {
  EXPECT_EQ(CFBundleCreate(nullptr, nullptr), nullptr);
  EXPECT_FALSE(CFBundleLoadExecutable(nullptr));
  EXPECT_FALSE(CFBundleIsExecutableLoaded(nullptr));
  CFBundleUnloadExecutable(nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(nullptr, CFSTR("answer")), nullptr);
  EXPECT_EQ(CFBundleGetDataPointerForName(nullptr, CFSTR("answer")), nullptr);
  EXPECT_EQ(CFBundleGetInfoDictionary(nullptr), nullptr);
  EXPECT_EQ(CFBundleGetValueForInfoDictionaryKey(nullptr, CFSTR("x")), nullptr);
  EXPECT_EQ(CFBundleGetIdentifier(nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyInfoDictionaryErrorText(nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyBundleURL(nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyExecutableURL(nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyResourcesDirectoryURL(nullptr), nullptr);
  EXPECT_EQ(CFBundleCopySupportFilesDirectoryURL(nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyResourceURL(nullptr, CFSTR("x"), nullptr, nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyResourceURLsOfType(nullptr, nullptr, nullptr), nullptr);
}

TEST(CFBundle, IsOneObjectForAllThreads) {
  const TempFolder folder;
  test::MakeFolderBundle(folder / "A.component", kOne);
  constexpr int kThreads = 4;
  for (int round = 0; round < 50; ++round) {
    std::vector<Bundle> created(kThreads);
    std::atomic<int> waiting{kThreads};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        --waiting;
        while (waiting > 0) std::this_thread::yield();
        created[static_cast<std::size_t>(i)] = Create(folder / "A.component");
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (const Bundle& bundle : created) ASSERT_EQ(bundle.get(), created[0].get());
    ASSERT_EQ(CFGetRetainCount(created[0]), kThreads);
  }
}

TEST(CFBundle, IsCreatedLoadedAndReleasedByManyThreads) {
  const TempFolder folder;
  test::MakeFolderBundle(folder / "A.component", kOne);
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 100; ++round) {
        const Bundle bundle = Create(folder / "A.component");
        if (bundle.get() == nullptr || !CFBundleLoadExecutable(bundle) || Answer(bundle) != 1) {
          ++failures;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_FALSE(test::IsMapped(folder / "A.component/Contents/Linux/A"));
}

TEST(CFBundle, ReachesTheCLibraryThroughTheSystemFramework) {
  const fs::path path = test::SystemComponents().parent_path() / "Frameworks/System.framework";
  EXPECT_EQ(Create(path).get(), nullptr);
  test::InstallSystemFramework();
  const Bundle system = Create(path);
  ASSERT_NE(system.get(), nullptr);
  ASSERT_TRUE(CFBundleLoadExecutable(system));
  for (const char* name : {"mprotect", "chdir", "getcwd"}) {
    EXPECT_NE(CFBundleGetFunctionPointerForName(system, String(name)), nullptr) << name;
  }
  using Getcwd = char* (*)(char*, std::size_t);
  const auto function =
      reinterpret_cast<Getcwd>(CFBundleGetFunctionPointerForName(system, CFSTR("getcwd")));
  char buffer[4096];
  ASSERT_NE(function, nullptr);
  EXPECT_EQ(std::string(function(buffer, sizeof buffer)), fs::current_path().string());
  EXPECT_EQ(TextOf(CFBundleGetIdentifier(system)), "org.lumivane.system");
  test::RemoveSystemFramework();
  EXPECT_EQ(Create(path).get(), nullptr);
}
