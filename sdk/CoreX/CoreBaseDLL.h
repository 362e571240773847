// Code that is not linked in: finding a bundle by name in a well-known folder, loading it, and
// calling its functions by name.
//
// T_CFBaseDLL<T_Executable> is the loader; the policy T_Executable knows how an executable is
// loaded (CoreBundleDLL.h has the one in use, over Core Foundation bundles). Every failure is a log
// line and a false or null result; nothing throws. Callers serialise.
#pragma once

#include <string>
#include <utility>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "sdk/CoreX/CoreMachDebugLog.h"

class CFBaseDLL {
 public:
  /// Where to look for a bundle.
  enum Location : int {
    kLocationExecutableFolder = 0,   ///< the folder that holds the program's main executable
    kLocationSystemFrameworks = 1,   ///< frameworks of the system domain
    kLocationLocalFrameworks = 2,    ///< frameworks of the local domain
    kLocationPrivateFrameworks = 3,  ///< this and the next four: of the main bundle
    kLocationSharedFrameworks = 4,
    kLocationResources = 5,
    kLocationBuiltInPlugIns = 6,
    kLocationSupportFiles = 7,
    kLocationLocalComponents = 8,   ///< QuickTime components of the local domain
    kLocationSystemComponents = 9,  ///< of the system domain
    kLocationUserComponents = 10,   ///< of the user domain
  };

  /// The URL of `dllName` in the folder of `folderType` in `domain`, or in its subfolder
  /// `subFolderName` unless that is null. The folder must exist and is never created; the item need
  /// not. The caller releases the URL; null, with a log line, on failure.
  static CFURLRef URLOfNameInFindFolder(CFStringRef dllName, OSType folderType, SInt16 domain,
                                        CFStringRef subFolderName);
  /// The URL of `dllName` in a location, whether it exists or not. The caller releases it. Null for
  /// a folder that is not there, and, without a log line, for a number that is no location.
  static CFURLRef URLOfNameInLocation(CFStringRef dllName, Location location);

  /// Logs `prefix`, a blank and the URL's path, or else its description.
  static void print_URL(const char* prefix, CFURLRef theURL);
  /// The URL's path into `out`, which is returned; a path of more than 511 bytes, or none, leaves
  /// it unchanged. Uses one static buffer: not reentrant.
  static std::string& PathFromURL(CFURLRef url, std::string& out);
};

template <typename T_Executable>
class T_CFBaseDLL : public T_Executable {
 public:
  /// Loads nothing. The name, which may be null, is borrowed for the loader's life.
  explicit T_CFBaseDLL(CFStringRef bundleName) : T_Executable(bundleName) {}
  /// Unloads.
  ~T_CFBaseDLL() {
    this->Unload();
    this->SetBundleName(nullptr);
  }

  /// Loads the bundle of that name in `location`. A name that is not null replaces the loader's
  /// first. True at once, wherever from, when something is loaded; false without any name.
  bool LoadLocation(CFBaseDLL::Location location, CFStringRef newName) {
    if (newName != nullptr) this->SetBundleName(newName);
    if (this->IsLoaded()) return true;
    if (this->BundleName() == nullptr) return false;
    CFURLRef bundleURL = CFBaseDLL::URLOfNameInLocation(this->BundleName(), location);
    if (bundleURL == nullptr) return false;
    bool fOk = false;
    VERIFY_TEXT(131, "fOk = T_Executable::LoadFromURL(bundleURL)",
                fOk = T_Executable::LoadFromURL(bundleURL));
    CFRelease(bundleURL);
    return fOk;
  }

  /// Tries the user's QuickTime components, then the system's, then the local ones.
  bool LoadQuickTimeComponentBundle(CFStringRef newName) {
    return LoadLocation(CFBaseDLL::kLocationUserComponents, newName) ||
           LoadLocation(CFBaseDLL::kLocationSystemComponents, newName) ||
           LoadLocation(CFBaseDLL::kLocationLocalComponents, newName);
  }

  /// Makes sure that a system framework is loaded.
  bool LoadSystemFramework() {
    return this->IsLoaded() || LoadLocation(CFBaseDLL::kLocationSystemFrameworks, nullptr);
  }

  /// The function of that name, whose type the caller answers for, or null. Looked up every time:
  /// what is loaded may have been replaced since.
  template <typename Function>
  bool GetFunctionPointer(CFStringRef functionName, Function*& out) const {
    out = nullptr;
    if (!this->IsLoaded()) return false;
    out = reinterpret_cast<Function*>(this->SymbolNamed(functionName));
    return out != nullptr;
  }

  /// Calls the function of that name and type, FnCall<int(const char*)>(name, path), and returns
  /// its result; a zero or null one if there is no such function.
  template <typename Function, typename... Arguments>
  auto FnCall(CFStringRef functionName, Arguments&&... arguments) const
      -> decltype(std::declval<Function*>()(std::forward<Arguments>(arguments)...)) {
    Function* function = nullptr;
    if (!GetFunctionPointer(functionName, function)) return {};
    return function(std::forward<Arguments>(arguments)...);
  }

  /// The same for a function without a result: whether it was there, and so was called.
  template <typename Function, typename... Arguments>
  bool Call(CFStringRef functionName, Arguments&&... arguments) const {
    Function* function = nullptr;
    if (!GetFunctionPointer(functionName, function)) return false;
    function(std::forward<Arguments>(arguments)...);
    return true;
  }
};
