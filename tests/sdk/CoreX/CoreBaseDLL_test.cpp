#include "sdk/CoreX/CoreBaseDLL.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "sdk/CoreX/CoreBundleDLL.h"
#include "sdk/CoreX/T_CFString.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempBundle.h"

namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kSource[] = "sdk/CoreX/CoreBaseDLL";

std::string FindFolderLine(int error) {
  return test::VerifyErrLine(
      error,
      "FSFindFolder(FindFolderDomain, kFindFolderLocation, kDontCreateFolder, &bundleFolderRef)",
      kSource, 30, "URLOfNameInFindFolder");
}

/// The path of a URL, which is released; empty for null.
std::string TakePath(CFURLRef url) {
  if (url == nullptr) return "";
  std::string path;
  CFBaseDLL::PathFromURL(url, path);
  CFRelease(url);
  return path;
}

CFURLRef NewURL(const std::string& text) {
  const TCFString string(text);
  return CFURLCreateWithString(kCFAllocatorDefault, string.GetRef(), nullptr);
}

/// The folders of the domains, none of which exists at the start.
class Folders : public testing::Test {
 protected:
  Folders() { RemoveAll(); }
  ~Folders() override { RemoveAll(); }

 private:
  static void RemoveAll() {
    for (const fs::path& folder :
         {test::UserComponents(), test::LocalComponents(), test::SystemComponents()}) {
      fs::remove_all(folder.parent_path());
    }
  }
};

using URLOfNameInFindFolder = Folders;
using URLOfNameInLocation = Folders;

TEST_F(URLOfNameInFindFolder, NamesAnItemThatNeedNotExist) {
  fs::create_directories(test::UserComponents());
  const LogCapture log;
  EXPECT_EQ(TakePath(CFBaseDLL::URLOfNameInFindFolder(CFSTR("N\xC3\xA4me.component"), 'wcmp',
                                                      kUserDomain, nullptr)),
            (test::UserComponents() / "N\xC3\xA4me.component").string());
  EXPECT_EQ(TakePath(CFBaseDLL::URLOfNameInFindFolder(CFSTR("Name.component"), 'wcmp', kUserDomain,
                                                      CFSTR("Sub"))),
            (test::UserComponents() / "Sub/Name.component").string());
  EXPECT_FALSE(fs::exists(test::UserComponents() / "Sub"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(URLOfNameInFindFolder, NamesNoDirectory) {
  fs::create_directories(test::UserComponents());
  CFURLRef url = CFBaseDLL::URLOfNameInFindFolder(CFSTR("Name"), 'wcmp', kUserDomain, CFSTR("Sub"));
  ASSERT_NE(url, nullptr);
  EXPECT_FALSE(CFURLHasDirectoryPath(url));
  EXPECT_EQ(CFGetRetainCount(url), 1);
  CFRelease(url);
}

TEST_F(URLOfNameInFindFolder, LogsAMissingFolderAndDoesNotMakeIt) {
  const LogCapture log;
  EXPECT_EQ(CFBaseDLL::URLOfNameInFindFolder(CFSTR("Name"), 'wcmp', kUserDomain, nullptr), nullptr);
  EXPECT_EQ(CFBaseDLL::URLOfNameInFindFolder(CFSTR("Name"), 'none', kUserDomain, nullptr), nullptr);
  EXPECT_FALSE(fs::exists(test::UserComponents()));
  EXPECT_THAT(log.Lines(), ElementsAre(FindFolderLine(-43), FindFolderLine(-43)));
}

TEST_F(URLOfNameInFindFolder, LogsWhatCannotBeAppended) {
  fs::create_directories(test::UserComponents());
  const UniChar half[] = {0xD800};
  CFStringRef noName = CFStringCreateWithCharacters(kCFAllocatorDefault, half, 1);
  const LogCapture log;
  EXPECT_EQ(CFBaseDLL::URLOfNameInFindFolder(nullptr, 'wcmp', kUserDomain, nullptr), nullptr);
  EXPECT_EQ(CFBaseDLL::URLOfNameInFindFolder(CFSTR("Name"), 'wcmp', kUserDomain, noName), nullptr);
  EXPECT_EQ(CFBaseDLL::URLOfNameInFindFolder(nullptr, 'wcmp', kUserDomain, CFSTR("Sub")), nullptr);
  CFRelease(noName);
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(test::VerifyLine("bundleURL = ::CFURLCreateCopyAppendingPathComponent("
                                   "kCFAllocatorDefault,bundleFolderURL,dllName, 0 )",
                                   kSource, 37, "URLOfNameInFindFolder"),
                  test::VerifyLine("bundleSubFolderURL = ::CFURLCreateCopyAppendingPathComponent("
                                   "kCFAllocatorDefault,bundleFolderURL,subFolderName, 1 )",
                                   kSource, 43, "URLOfNameInFindFolder"),
                  test::VerifyLine("bundleURL = ::CFURLCreateCopyAppendingPathComponent("
                                   "kCFAllocatorDefault,bundleSubFolderURL,dllName, 0 )",
                                   kSource, 45, "URLOfNameInFindFolder")));
}

TEST_F(URLOfNameInLocation, KnowsTheDomainsFolders) {
  const fs::path systemRoot = test::SystemComponents().parent_path();
  const fs::path localRoot = test::LocalComponents().parent_path();
  const std::pair<CFBaseDLL::Location, fs::path> kFolders[] = {
      {CFBaseDLL::kLocationSystemFrameworks, systemRoot / "Frameworks"},
      {CFBaseDLL::kLocationLocalFrameworks, localRoot / "Frameworks"},
      {CFBaseDLL::kLocationLocalComponents, test::LocalComponents()},
      {CFBaseDLL::kLocationSystemComponents, test::SystemComponents()},
      {CFBaseDLL::kLocationUserComponents, test::UserComponents()},
  };
  for (const auto& [location, folder] : kFolders) {
    LogCapture log;
    EXPECT_EQ(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.ext"), location), nullptr);
    EXPECT_THAT(log.Lines(), ElementsAre(FindFolderLine(-43)));
    fs::create_directories(folder);
    log.Clear();
    EXPECT_EQ(TakePath(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.ext"), location)),
              (folder / "Name.ext").string());
    EXPECT_THAT(log.Lines(), IsEmpty());
  }
}

TEST_F(URLOfNameInLocation, KnowsTheProgramsFolder) {
  EXPECT_EQ(TakePath(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.ext"),
                                                    CFBaseDLL::kLocationExecutableFolder)),
            (fs::read_symlink("/proc/self/exe").parent_path() / "Name.ext").string());
}

TEST_F(URLOfNameInLocation, HasNoBundleFoldersInABareProgram) {
  const LogCapture log;
  for (int location = CFBaseDLL::kLocationPrivateFrameworks;
       location <= CFBaseDLL::kLocationSupportFiles; ++location) {
    EXPECT_EQ(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.ext"),
                                             static_cast<CFBaseDLL::Location>(location)),
              nullptr);
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(URLOfNameInLocation, IsSilentAboutOtherNumbers) {
  const LogCapture log;
  for (const int location : {-1, 11, 1000}) {
    EXPECT_EQ(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.ext"),
                                             static_cast<CFBaseDLL::Location>(location)),
              nullptr);
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(PrintURL, LogsThePath) {
  const LogCapture log;
  CFURLRef url = NewURL("file:///a%20b/c");
  CFBaseDLL::print_URL("prefix:", url);
  CFRelease(url);
  EXPECT_EQ(log.Text(), "prefix: /a b/c\n");
}

TEST(PrintURL, ResolvesThePathAgainstItsBase) {
  const LogCapture log;
  CFURLRef base = NewURL("file:///a/b");
  CFURLRef url = CFURLCreateWithString(kCFAllocatorDefault, CFSTR("c"), base);
  CFBaseDLL::print_URL("", url);
  CFRelease(url);
  CFRelease(base);
  EXPECT_EQ(log.Text(), " /a/c\n");
}

TEST(PrintURL, LogsTheDescriptionOfAURLWithoutAPath) {
  const std::string failure = test::VerifyLine(
      "CFURLGetFileSystemRepresentation(theURL, resolveAgainstBase, (unsigned char*)path, "
      "sizeof(path))",
      kSource, 20, "print_URL");
  const LogCapture log;
  CFURLRef url = NewURL("http://host/a");
  std::string description;
  CFTypeRefClass::GetDescription(url, description);
  CFBaseDLL::print_URL("prefix:", url);
  CFRelease(url);
  EXPECT_THAT(log.Lines(), ElementsAre(failure, "prefix: " + description));
  EXPECT_THAT(description, testing::HasSubstr("http://host/a"));
}

TEST(PrintURL, LogsTheDescriptionOfAPathThatIsTooLong) {
  LogCapture log;
  CFURLRef url = NewURL("file:///" + std::string(1022, 'a'));
  CFBaseDLL::print_URL("", url);
  CFRelease(url);
  EXPECT_EQ(log.Lines().size(), 1U);
  log.Clear();
  url = NewURL("file:///" + std::string(1023, 'a'));
  CFBaseDLL::print_URL("", url);
  CFRelease(url);
  EXPECT_EQ(test::AnyLineNumbers(log.Lines()).size(), 2U);
}

TEST(PrintURL, LogsNull) {
  const LogCapture log;
  CFBaseDLL::print_URL("prefix:", nullptr);
  EXPECT_EQ(log.Lines().size(), 2U);
  EXPECT_EQ(log.Lines().back(), "prefix: ");
}

TEST(PathFromURL, ReturnsItsOutput) {
  CFURLRef url = NewURL("file:///a%20b");
  std::string path;
  EXPECT_EQ(&CFBaseDLL::PathFromURL(url, path), &path);
  EXPECT_EQ(path, "/a b");
  CFRelease(url);
}

TEST(PathFromURL, HasRoomFor511Bytes) {
  const std::string fits = "/" + std::string(510, 'a');
  std::string path;
  CFURLRef url = NewURL("file://" + fits);
  EXPECT_EQ(CFBaseDLL::PathFromURL(url, path), fits);
  CFRelease(url);
  path = "old";
  url = NewURL("file://" + fits + "a");
  EXPECT_EQ(CFBaseDLL::PathFromURL(url, path), "old");
  CFRelease(url);
}

TEST(PathFromURL, LeavesItsOutputAloneOnFailure) {
  const LogCapture log;
  std::string path = "old";
  CFURLRef url = NewURL("http://host/a");
  EXPECT_EQ(CFBaseDLL::PathFromURL(url, path), "old");
  EXPECT_EQ(CFBaseDLL::PathFromURL(nullptr, path), "old");
  CFRelease(url);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

// The loader.

class Loader : public Folders {
 protected:
  fs::path bundle(const fs::path& folder) const { return folder / "Test.component"; }
  CFStringRef name() const { return CFSTR("Test.component"); }

  static std::vector<std::string> MissingLines(const fs::path& place) {
    return {test::VerifyLine("mDLLHandle = ::CFBundleCreate(kCFAllocatorSystemDefault,bundleURL)",
                             "sdk/CoreX/CoreBundleDLL", 23, "LoadFromURL"),
            "I_CFBundleDLL::LoadFromURL:  " + place.string(), LoadFromURLLine()};
  }
  static std::string LoadFromURLLine() {
    return test::VerifyLine("fOk = T_Executable::LoadFromURL(bundleURL)", kSource, 131,
                            "LoadLocation");
  }
};

TEST_F(Loader, LoadsNothingAtConstruction) {
  const CFBundleDLL dll(name());
  EXPECT_EQ(dll.BundleName(), name());
  EXPECT_FALSE(dll.IsLoaded());
  EXPECT_EQ(dll.BundleHandle(), nullptr);
}

TEST_F(Loader, LoadsABundleInALocation) {
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  const LogCapture log;
  CFBundleDLL dll(name());
  EXPECT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_TRUE(dll.IsLoaded());
  EXPECT_EQ(dll.FnCall<int()>(CFSTR("test_answer")), 42);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(Loader, LoadsALibraryThatBearsTheBundlesName) {
  test::MakeLibraryBundle(bundle(test::LocalComponents()), TEST_COMPONENT_MODULE);
  CFBundleDLL dll(name());
  EXPECT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationLocalComponents, nullptr));
  EXPECT_EQ(dll.FnCall<int()>(CFSTR("test_answer")), 42);
}

TEST_F(Loader, LogsThreeLinesForAMissingBundle) {
  fs::create_directories(test::UserComponents());
  const LogCapture log;
  CFBundleDLL dll(name());
  EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_EQ(dll.BundleHandle(), nullptr);
  EXPECT_EQ(log.Lines(), MissingLines(bundle(test::UserComponents())));
}

TEST_F(Loader, FailsSilentlyWithoutALocationOrAName) {
  const LogCapture log;
  CFBundleDLL dll(name());
  EXPECT_FALSE(dll.LoadLocation(static_cast<CFBaseDLL::Location>(11), nullptr));
  CFBundleDLL nameless(nullptr);
  EXPECT_FALSE(nameless.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(Loader, LogsAMissingFolderOnce) {
  const LogCapture log;
  CFBundleDLL dll(name());
  EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_THAT(log.Lines(), ElementsAre(FindFolderLine(-43)));
}

TEST_F(Loader, TakesANewName) {
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  CFBundleDLL dll(nullptr);
  EXPECT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, name()));
  EXPECT_EQ(dll.BundleName(), name());
}

TEST_F(Loader, StaysWithWhatIsLoaded) {
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  CFBundleDLL dll(name());
  ASSERT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  CFBundleRef loaded = dll.BundleHandle();
  const LogCapture log;
  // Neither the location nor the new name's bundle is looked at, but the name is taken.
  EXPECT_TRUE(dll.LoadLocation(static_cast<CFBaseDLL::Location>(11), CFSTR("Other.component")));
  EXPECT_EQ(dll.BundleHandle(), loaded);
  EXPECT_EQ(dll.BundleName(), CFSTR("Other.component"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(Loader, KeepsABundleThatDoesNotLoadUntilItIsReplaced) {
  test::MakeBrokenFolderBundle(bundle(test::UserComponents()));
  LogCapture log;
  CFBundleDLL dll(name());
  EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_FALSE(dll.IsLoaded());
  EXPECT_THAT(log.Lines(),
              ElementsAre(test::VerifyLine("fOk = ::CFBundleLoadExecutable(mDLLHandle)",
                                           "sdk/CoreX/CoreBundleDLL", 24, "LoadFromURL"),
                          LoadFromURLLine()));
  CFBundleRef broken = dll.BundleHandle();
  ASSERT_NE(broken, nullptr);
  CFRetain(broken);
  EXPECT_FALSE(dll.Unload());
  EXPECT_EQ(dll.BundleHandle(), broken);

  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  log.Clear();
  EXPECT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_NE(dll.BundleHandle(), broken);
  EXPECT_EQ(CFGetRetainCount(broken), 1);
  EXPECT_EQ(dll.FnCall<int()>(CFSTR("test_answer")), 42);
  EXPECT_THAT(log.Lines(), IsEmpty());
  CFRelease(broken);
}

TEST_F(Loader, LetsGoOfABrokenBundleThatIsGone) {
  test::MakeBrokenFolderBundle(bundle(test::UserComponents()));
  CFBundleDLL dll(name());
  EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  CFBundleRef broken = dll.BundleHandle();
  CFRetain(broken);
  fs::remove_all(bundle(test::UserComponents()));
  EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_EQ(dll.BundleHandle(), nullptr);
  EXPECT_EQ(CFGetRetainCount(broken), 1);
  CFRelease(broken);
}

TEST_F(Loader, LetsGoOfABrokenBundleAtItsEnd) {
  test::MakeBrokenFolderBundle(bundle(test::UserComponents()));
  CFBundleRef broken = nullptr;
  {
    CFBundleDLL dll(name());
    EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
    broken = dll.BundleHandle();
    CFRetain(broken);
  }
  EXPECT_EQ(CFGetRetainCount(broken), 1);
  CFRelease(broken);
}

TEST_F(Loader, TriesTheUsersThenTheSystemsThenTheLocalComponents) {
  for (const fs::path& folder :
       {test::UserComponents(), test::SystemComponents(), test::LocalComponents()}) {
    fs::create_directories(folder);
  }
  std::vector<std::string> missing;
  for (const fs::path& folder :
       {test::UserComponents(), test::SystemComponents(), test::LocalComponents()}) {
    for (const std::string& line : MissingLines(bundle(folder))) missing.push_back(line);
  }
  const auto load = [&] {
    LogCapture log;
    CFBundleDLL dll(nullptr);
    const bool result = dll.LoadQuickTimeComponentBundle(name());
    const auto lines = log.Lines();
    // What was tried in vain before.
    EXPECT_EQ(lines, std::vector<std::string>(missing.begin(),
                                              missing.begin() + std::ptrdiff_t(lines.size())));
    std::string path;
    if (result) path = TakePath(CFBundleCopyBundleURL(dll.BundleHandle()));
    return std::pair(path, lines.size());
  };
  EXPECT_EQ(load(), std::pair(std::string(), std::size_t{9}));
  test::MakeFolderBundle(bundle(test::LocalComponents()), TEST_COMPONENT_MODULE);
  EXPECT_EQ(load(), std::pair(bundle(test::LocalComponents()).string(), std::size_t{6}));
  test::MakeFolderBundle(bundle(test::SystemComponents()), TEST_COMPONENT_MODULE);
  EXPECT_EQ(load(), std::pair(bundle(test::SystemComponents()).string(), std::size_t{3}));
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  EXPECT_EQ(load(), std::pair(bundle(test::UserComponents()).string(), std::size_t{0}));
}

TEST_F(Loader, UnloadsForReal) {
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  const fs::path library = bundle(test::UserComponents()) / "Contents/Linux/Test";
  CFBundleDLL dll(name());
  ASSERT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_TRUE(test::IsMapped(library));
  EXPECT_TRUE(dll.Unload());
  EXPECT_FALSE(test::IsMapped(library));
  EXPECT_EQ(dll.BundleHandle(), nullptr);
  EXPECT_FALSE(dll.Unload());
  EXPECT_EQ(dll.FnCall<int()>(CFSTR("test_answer")), 0);
  // And loads again.
  EXPECT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_EQ(dll.FnCall<int()>(CFSTR("test_answer")), 42);
}

TEST_F(Loader, UnloadsAtItsEnd) {
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  const fs::path library = bundle(test::UserComponents()) / "Contents/Linux/Test";
  for (int i = 0; i < 10; ++i) {
    CFBundleDLL dll(name());
    ASSERT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
    EXPECT_TRUE(test::IsMapped(library));
  }
  EXPECT_FALSE(test::IsMapped(library));
}

TEST_F(Loader, FindsWhatWasReplaced) {
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  CFBundleDLL dll(name());
  ASSERT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  fs::remove_all(bundle(test::UserComponents()));
  // What is loaded works on.
  EXPECT_EQ(dll.FnCall<int()>(CFSTR("test_answer")), 42);
  EXPECT_TRUE(dll.Unload());
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_OTHER_COMPONENT_MODULE);
  ASSERT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  EXPECT_EQ(dll.FnCall<int()>(CFSTR("test_answer")), 43);
}

TEST_F(Loader, LogsANullURL) {
  const LogCapture log;
  CFBundleDLL dll(name());
  EXPECT_FALSE(dll.LoadFromURL(nullptr));
  EXPECT_THAT(log.Lines(), ElementsAre(test::VerifyLine("bundleURL", "sdk/CoreX/CoreBundleDLL", 21,
                                                        "LoadFromURL")));
}

// Calls by name.

class Calls : public Loader {
 protected:
  Calls() {
    test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
    dll.LoadLocation(CFBaseDLL::kLocationUserComponents, name());
  }
  CFBundleDLL dll{nullptr};
};

TEST_F(Calls, FindFunctionsByName) {
  int (*function)() = nullptr;
  EXPECT_TRUE(dll.GetFunctionPointer(CFSTR("test_answer"), function));
  ASSERT_NE(function, nullptr);
  EXPECT_EQ(function(), 42);
  EXPECT_FALSE(dll.GetFunctionPointer(CFSTR("no_such_function"), function));
  EXPECT_EQ(function, nullptr);
}

TEST_F(Calls, FindNothingWhereNothingIsLoaded) {
  dll.Unload();
  int (*function)() = [] { return 1; };
  EXPECT_FALSE(dll.GetFunctionPointer(CFSTR("test_answer"), function));
  EXPECT_EQ(function, nullptr);
  int out = 5;
  EXPECT_FALSE((dll.Call<void(int*, long long)>(CFSTR("test_set"), &out, 7LL)));
  EXPECT_EQ(out, 5);
}

TEST_F(Calls, FindNothingInABundleThatDidNotLoad) {
  dll.Unload();
  test::MakeBrokenFolderBundle(bundle(test::UserComponents()));
  EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationUserComponents, nullptr));
  test::MakeFolderBundle(bundle(test::UserComponents()), TEST_COMPONENT_MODULE);
  // The bundle held could load its executable now, but looking a function up does not.
  int (*function)() = nullptr;
  EXPECT_FALSE(dll.GetFunctionPointer(CFSTR("test_answer"), function));
  EXPECT_FALSE(dll.IsLoaded());
}

TEST_F(Calls, PassArgumentsAndResults) {
  const LogCapture log;
  EXPECT_EQ(dll.FnCall<int(const char*)>(CFSTR("test_length"), "four"), 4);
  char text[] = "text";
  EXPECT_EQ((dll.FnCall<char*(char*, std::size_t)>(CFSTR("test_echo"), text, std::size_t{1})),
            text);
  int out = 0;
  EXPECT_TRUE((dll.Call<void(int*, long long)>(CFSTR("test_set"), &out, 7LL)));
  EXPECT_EQ(out, 7);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(Calls, ReturnZeroForWhatIsNotThere) {
  const LogCapture log;
  EXPECT_EQ(dll.FnCall<int(const char*)>(CFSTR("no_such_function"), "four"), 0);
  EXPECT_EQ(dll.FnCall<char*(char*)>(CFSTR("no_such_function"), nullptr), nullptr);
  EXPECT_EQ(dll.FnCall<double()>(CFSTR("no_such_function")), 0.0);
  EXPECT_FALSE(dll.Call<void()>(CFSTR("no_such_function")));
  EXPECT_EQ(dll.FnCall<int()>(nullptr), 0);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

// Any policy will do.

class CountingExecutable {
 public:
  explicit CountingExecutable(CFStringRef name) : name_(name) {}
  bool LoadFromURL(CFURLRef) { return ++loads > 1; }
  bool Unload() {
    ++sUnloads;
    return true;
  }
  bool IsLoaded() const { return loads > 1; }
  CFStringRef BundleName() const { return name_; }
  void SetBundleName(CFStringRef name) { name_ = name; }

  int loads = 0;
  static int sUnloads;

 protected:
  void* SymbolNamed(CFStringRef) const { return nullptr; }

 private:
  CFStringRef name_;
};
int CountingExecutable::sUnloads = 0;

TEST(LoaderPolicy, IsATemplateArgument) {
  CountingExecutable::sUnloads = 0;
  {
    const LogCapture log;
    T_CFBaseDLL<CountingExecutable> dll(CFSTR("Name"));
    EXPECT_FALSE(dll.LoadLocation(CFBaseDLL::kLocationExecutableFolder, nullptr));
    EXPECT_EQ(log.Lines().size(), 1U);
    EXPECT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationExecutableFolder, nullptr));
    EXPECT_TRUE(dll.LoadLocation(CFBaseDLL::kLocationExecutableFolder, nullptr));
    EXPECT_EQ(dll.loads, 2);
    EXPECT_EQ(CountingExecutable::sUnloads, 0);
  }
  EXPECT_EQ(CountingExecutable::sUnloads, 1);
}

}  // namespace
