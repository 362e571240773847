// The base class of filters, and the registry that hosts find them in.
#pragma once

#include "platform/CoreImage/CIConstants.h"
#include "platform/CoreImage/CIImage.h"

/// A filter: parameters set by key ("input..."), a result asked for as outputImage.
/// A subclass exposes its parameters with exposeVariable in its constructor, describes them in
/// customAttributes, and makes its picture in outputImage. It is registered with
/// NS_REGISTER_CLASS and listed in its plug-in's Info.plist (CIPlugIn.h).
class CIFilter : public NSObject {
 public:
  CIFilter();

  /// A new autoreleased filter: allocated by its class, init and setDefaults called. Null when no
  /// filter of that name is registered or its init fails.
  static CIFilter* filterWithName(NSString* name);
  /// Names of the registered filters in `category`, sorted; null means all. Never null.
  static NSArray* filterNamesInCategory(NSString* category);
  /// Names of the registered filters that are in each of `categories`.
  static NSArray* filterNamesInCategories(NSArray* categories);
  /// The display name of a registered filter: what its plug-in says, else its name. Null when it is
  /// not registered.
  static NSString* localizedNameForFilterName(NSString* name);
  /// Adds a filter made by `filterClass`. `attributes` (may be null) describe the filter: its
  /// display name and categories under their kCIAttributeFilter... keys. False when the name is
  /// taken, name or class are missing, or the class does not derive from CIFilter. Registered this
  /// way, a filter goes when it is taken out or the module of its class is unloaded.
  static bool registerFilterName(NSString* name, Class filterClass, NSDictionary* attributes);
  /// Living filters stay usable. False when there is no such name.
  static bool unregisterFilterName(NSString* name);

  /// Names of the parameters, sorted: every exposed variable and every entry of customAttributes
  /// that starts with "input".
  virtual NSArray* inputKeys();
  virtual NSArray* outputKeys();
  /// Everything a host shows about the filter: its name, display name and categories, and one
  /// dictionary per parameter, as customAttributes gives it, with the class of its value and a
  /// display name added where it has none. Built anew by every call.
  virtual NSDictionary* attributes();
  /// What the filter itself says about its parameters: key -> dictionary. The default is empty.
  virtual NSDictionary* customAttributes();
  /// Sets every parameter that has a kCIAttributeDefault to it.
  virtual void setDefaults();
  /// The filter's result, null when it has none. The default has none.
  virtual CIImage* outputImage();

  /// The name it was registered under; null for a filter made by its class alone.
  NSString* name() const { return name_; }
  /// As the root's; "outputImage" is the value of outputImage().
  CFTypeRef valueForKey(NSString* key) override;
  void dealloc() override;

 protected:
  ~CIFilter() override = default;

 private:
  NSDictionary* describeInput(const std::string& key, NSDictionary* given);

  NSString* name_ = nullptr;
  NSDictionary* filterAttributes_ = nullptr;
};
