// Prints what its main bundle is, a line for each answer.
#include <climits>
#include <cstdio>

#include "platform/CoreFoundation/CoreFoundation.h"

extern "C" int FunctionOfTheProgram() {
  return 42;
}

namespace {

void Print(const char* what, CFURLRef url) {
  UInt8 path[PATH_MAX];
  const bool has = CFURLGetFileSystemRepresentation(url, 1, path, sizeof path) != 0;
  std::printf("%s=%s\n", what, has ? reinterpret_cast<const char*>(path) : "null");
  CFRelease(url);
}

}  // namespace

int main() {
  const CFBundleRef main = CFBundleGetMainBundle();
  char identifier[256] = "null";
  if (CFBundleGetIdentifier(main) != nullptr) {
    CFStringGetCString(CFBundleGetIdentifier(main), identifier, sizeof identifier,
                       kCFStringEncodingUTF8);
  }
  std::printf("identifier=%s\n", identifier);
  Print("bundle", CFBundleCopyBundleURL(main));
  Print("executable", CFBundleCopyExecutableURL(main));
  Print("support", CFBundleCopySupportFilesDirectoryURL(main));
  Print("resources", CFBundleCopyResourcesDirectoryURL(main));
  Print("private", CFBundleCopyPrivateFrameworksURL(main));
  Print("shared", CFBundleCopySharedFrameworksURL(main));
  Print("plugins", CFBundleCopyBuiltInPlugInsURL(main));
  Print("resource", CFBundleCopyResourceURL(main, CFSTR("text"), CFSTR("txt"), nullptr));
  auto* function = reinterpret_cast<int (*)()>(
      CFBundleGetFunctionPointerForName(main, CFSTR("FunctionOfTheProgram")));
  std::printf("function=%d\n", function == nullptr ? 0 : function());
  std::printf("loaded=%d\n", CFBundleIsExecutableLoaded(main) && CFBundleLoadExecutable(main));
  const CFBundleRef mine =
      CFBundleCopyBundleForCodeAddress(reinterpret_cast<const void*>(&FunctionOfTheProgram));
  std::printf("mine=%d\n", mine == main);
  const CFURLRef url = CFBundleCopyBundleURL(main);
  const CFBundleRef again = CFBundleCreate(kCFAllocatorDefault, url);
  std::printf("again=%s\n", again == nullptr ? "null" : again == main ? "main" : "another");
  CFRelease(again);
  CFRelease(url);
  return 0;
}
