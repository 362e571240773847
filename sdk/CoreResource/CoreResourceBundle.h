// Bundles that an application carries as resources and installs, by a symbolic link, into a folder
// where other programs find them.
#pragma once

#include "sdk/CoreX/CoreBundleDLL.h"

/// The URL of the main bundle's resource of that name and extension. The caller releases it; null,
/// with a log line, when there is none or the name is no UTF-8.
CFURLRef BUNDLE_resource_url(const char* inResourceName, CFStringRef inFileExtension);

/// The installer, and the loader, of such a bundle.
class CoreResourceBundle {
 public:
  /// Borrows both for its life: the bundle's file name with extension ("Name.component") and the
  /// resource's name without ("Name"). Loads nothing.
  CoreResourceBundle(CFStringRef fileName, const char* baseName);
  /// Unloads the bundle.
  virtual ~CoreResourceBundle();
  CoreResourceBundle(const CoreResourceBundle&) = delete;
  CoreResourceBundle& operator=(const CoreResourceBundle&) = delete;

  /// Installs (`install` not 0): makes a link in the location to the resource "baseName.component"
  /// of the running application. True when that was done, and, with nothing changed, when the
  /// bundle is AlreadyInstalledSomewhere. Whatever stands at the link's place is never replaced.
  ///
  /// Uninstalls (0): unloads the bundle and removes the link, or the file, at its place in the
  /// location. True when one was removed. A link to something that is gone counts as absent.
  ///
  /// False whenever the application has no such resource.
  bool InstallLocation(int install, CFBaseDLL::Location location);

  /// Whether the bundle can be found already. Subclasses know where; here it never is.
  virtual bool AlreadyInstalledSomewhere() const;

 protected:
  CFBundleDLL mDLL;
  CFStringRef mFileName;
  const char* mBaseName;
};

/// Whether the program is one of those in a list of bundle identifiers.
class CoreBundleyes {
 public:
  /// Borrows the list, which ends with `kEndOfList`, and takes the main bundle's identifier.
  explicit CoreBundleyes(const CFStringRef* list);

  /// Always false: a list is never asked about anything but the main bundle.
  bool IsMember() const { return false; }
  /// Whether the main bundle's identifier is in the list, letter case aside. False for a program
  /// without an identifier.
  bool IsMainMember() const;

  /// Ends a list.
  static const CFStringRef kEndOfList;

 private:
  const CFStringRef* mList;
  CFStringRef mMainIdentifier;
};
