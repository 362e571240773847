// A program that does what its arguments say with a resource bundle, and prints a line for each:
//   install N, uninstall N     InstallLocation at location N
//   installed                  AlreadyInstalledSomewhere is true from here on
//   load N                     loads the bundle at location N
//   unnamed                    a resource bundle without a file name from here on
//   resource NAME EXTENSION    the resource's path
//   location N                 the path of "Name.ext" in location N
//   system                     uses System.framework, which is left loaded
//   member [IDENTIFIER...]     whether the main bundle is in the list (the rest of the arguments)
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sdk/CoreResource/CoreResourceBundle.h"
#include "sdk/CoreX/CoreSystem.h"
#include "sdk/CoreX/T_CFString.h"

namespace {

class TestBundle : public CoreResourceBundle {
 public:
  using CoreResourceBundle::CoreResourceBundle;
  bool AlreadyInstalledSomewhere() const override { return sInstalled; }
  bool Load(CFBaseDLL::Location location) {
    return mDLL.LoadLocation(location, mFileName) &&
           mDLL.FnCall<int()>(CFSTR("test_component_answer")) == 42;
  }
  bool IsLoaded() const { return mDLL.IsLoaded(); }
  static bool sInstalled;
};
bool TestBundle::sInstalled = false;

void Print(bool result) {
  std::puts(result ? "true" : "false");
}

void PrintURL(CFURLRef url) {
  std::string path = "null";
  if (url != nullptr) {
    CFBaseDLL::PathFromURL(url, path);
    CFRelease(url);
  }
  std::puts(path.c_str());
}

bool IsMember(int count, char** identifiers) {
  std::vector<CFStringRef> list;
  for (int i = 0; i < count; ++i) {
    list.push_back(__CFStringMakeConstantString(identifiers[i]));
  }
  list.push_back(CoreBundleyes::kEndOfList);
  const CoreBundleyes bundles(list.data());
  if (bundles.IsMember()) std::puts("IsMember is true");
  return bundles.IsMainMember();
}

}  // namespace

int main(int argc, char** argv) {
  auto bundle = std::make_unique<TestBundle>(CFSTR("LumivaneTest.component"), "LumivaneTest");
  for (int i = 1; i < argc; ++i) {
    const std::string_view command = argv[i];
    const auto location = [&] { return static_cast<CFBaseDLL::Location>(std::atoi(argv[++i])); };
    if (command == "install") {
      Print(bundle->InstallLocation(1, location()));
    } else if (command == "uninstall") {
      Print(bundle->InstallLocation(0, location()));
    } else if (command == "installed") {
      TestBundle::sInstalled = true;
    } else if (command == "load") {
      Print(bundle->Load(location()));
    } else if (command == "loaded") {
      Print(bundle->IsLoaded());
    } else if (command == "unnamed") {
      bundle = std::make_unique<TestBundle>(nullptr, "LumivaneTest");
    } else if (command == "resource") {
      const char* name = argv[++i];
      const TCFString extension(argv[++i]);
      PrintURL(BUNDLE_resource_url(name, extension));
    } else if (command == "location") {
      PrintURL(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.ext"), location()));
    } else if (command == "system") {
      char path[4096];
      Print(SystemFramework::getcwd(path, sizeof(path)) == path);
    } else if (command == "member") {
      Print(IsMember(argc - i - 1, argv + i + 1));
      break;
    } else {
      return 2;
    }
  }
  return 0;
}
