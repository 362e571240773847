// Image-unit plug-ins: what they export, and how hosts load them.
//
// A plug-in is a bundle whose Info.plist has
//   NSPrincipalClass      text: the registration class, derived from CIPlugInRegistration
//   CIPlugInFilterList    dictionary: filter name -> dictionary with
//     CIFilterClass         text: the class, registered by the plug-in; the filter's name if absent
//     CIFilterAttributes    dictionary: CIAttributeFilterDisplayName,
//     CIAttributeFilterCategories...
//   CIPlugInDisplayName, CIPlugInVersion   text, optional, shown to people
// docs/host-guide.md shows a host from loading to pixels.
#pragma once

#include <string>
#include <vector>

#include "platform/Foundation/NSObject.h"

/// What a plug-in's principal class derives from. One object is made when the plug-in is loaded and
/// kept until it is unloaded.
class CIPlugInRegistration : public NSObject {
 public:
  /// Asked once, before any of the plug-in's filters is registered: may it be used in this process?
  /// `host` is reserved and null.
  virtual BOOL load(void* host) = 0;
};

/// What became of one plug-in.
struct CIPlugInStatus {
  std::string path;         ///< of the bundle
  std::string displayName;  ///< of the plug-in; its file name when it says none
  std::string version;      ///< empty when it says none
  bool loaded = false;
  std::string error;                 ///< why not, for people; empty when it is loaded
  std::vector<std::string> filters;  ///< names it added to the registry
};

/// Loading and unloading. All operations may be called from any thread; they exclude each other.
class CIPlugIn {
 public:
  /// The folders that plug-ins are looked for in, as they are mapped now: the user's, the local
  /// one's, the system's. They need not exist.
  static std::vector<std::string> plugInFolders();

  /// Loads every plug-in (NAME.plugin) of the folders that is not loaded yet, in the order of the
  /// folders, by name within one. A filter name that is taken already stays with its first plug-in.
  /// Returns what became of each, those loaded before included.
  static std::vector<CIPlugInStatus> loadAllPlugIns();

  /// Loads the plug-in at a bundle's URL: reads its description, loads its executable, makes its
  /// registration object, asks it, and registers its filters if the answer is YES. After NO, or any
  /// failure, nothing of it is registered and its executable is unloaded (but stays where it was
  /// loaded before, or objects of it live on). Loading a loaded plug-in
  /// is a success that does nothing. With `allowExecutableCode` false a plug-in with an executable
  /// is refused; every plug-in has one. `status` may be null.
  static bool loadPlugIn(CFURLRef url, bool allowExecutableCode, CIPlugInStatus* status = nullptr);
  static bool loadPlugIn(const std::string& path, CIPlugInStatus* status = nullptr);

  /// Takes a loaded plug-in's filters out of the registry and unloads its executable. Refused, with
  /// a text in `error` (may be null) and nothing changed, while filters of it live: release them
  /// and drain the pools they wait in first. Images that read the plug-in's memory must be gone
  /// too; the loader cannot know about those.
  static bool unloadPlugIn(const std::string& path, std::string* error = nullptr);

  /// The plug-ins loaded now.
  static std::vector<CIPlugInStatus> loadedPlugIns();
};
