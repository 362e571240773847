// Bundles as objects: finding them by class, identifier or place, and their resources.
#pragma once

#include "platform/Foundation/NSObject.h"

/// A loaded or unloaded bundle; holds a reference of its CFBundle. Two objects for one bundle are
/// equal. Every returned object is autoreleased.
class NSBundle : public NSObject {
 public:
  /// The bundle of the running program; a bare program has one without identifier.
  static NSBundle* mainBundle();
  /// The bundle that contains the code of a registered class: the main bundle for the program's
  /// own classes and the platform's; null for a null class.
  static NSBundle* bundleForClass(Class classRecord);
  /// The bundle whose executable (a plain shared library included) contains `codeAddress`.
  static NSBundle* bundleForCodeAddress(const void* codeAddress);
  /// Among the bundles this process has created; null when none has the identifier.
  static NSBundle* bundleWithIdentifier(NSString* identifier);
  static NSBundle* bundleWithPath(NSString* path);
  static NSBundle* bundleWithCFBundle(CFBundleRef bundle);

  CFBundleRef cfBundle() const { return bundle_; }

  /// Absolute path of the resource `name`.`type`; with a null or empty `type`, of the file `name`.
  /// Null when the bundle has no such resource.
  NSString* pathForResourceofType(NSString* name, NSString* type);
  /// Absolute path of an image resource. `name` with a file extension is looked up as it stands;
  /// without one, or when that finds nothing, with png, jpg, jpeg, tiff, tif, gif and bmp in turn.
  NSString* pathForImageResource(NSString* name);

  NSString* bundleIdentifier();
  NSString* bundlePath();
  NSDictionary* infoDictionary();
  NSString* objectForInfoDictionaryString(NSString* key);
  /// Loads the executable; true when it is loaded afterwards.
  bool load();
  bool isLoaded();
  /// The class that the bundle's NSPrincipalClass names, from the bundle's own executable, which is
  /// loaded for it. Null when nothing is named, loading fails or no such class is registered.
  Class principalClass();
  /// A class registered by the bundle's own executable; loads it. Null when there is none.
  Class classNamed(NSString* name);

  bool isEqualTo(const CFRuntimeObject& other) const override;
  CFHashCode hashValue() const override;
  void dealloc() override;

 protected:
  explicit NSBundle(CFBundleRef bundle);
  ~NSBundle() override = default;

 private:
  NSString* resourcePath(NSString* name, NSString* type);
  CFBundleRef bundle_;
};
