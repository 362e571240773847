// The camera component: the separately installed module that hands out camera frames.
#pragma once

#include "components/camera_component.h"
#include "sdk/CoreResource/CoreResourceBundle.h"

static_assert(sizeof(tagSHARED_CAMERA_BUFFER) == 24);

/// Finds the component by its name, loads it when a frame is asked for, and calls its entry point.
/// Not guarded: all calls come from the host's rendering thread. While no component can be loaded
/// every call searches the components folders anew and logs each failure, so that a component
/// installed meanwhile shows with the next frame.
class SharedCameraBundle : public CoreResourceBundle {
 public:
  static const CFStringRef kCameraComponentFileName;  ///< "LumivaneXXX.component"
  static const char* const kCameraComponentBaseName;  ///< "LumivaneXXX"
  static const CFStringRef kCameraComponentFunction;  ///< this and the next two are not called
  static const CFStringRef kCameraComponentFunction0;
  static const CFStringRef kCameraComponentFunction1;
  static const CFStringRef kCameraComponentFunction2;  ///< hands out the current frame

  /// The process's one component; unloaded when the process exits or the plug-in is unloaded.
  static SharedCameraBundle sComponent;

  /// Loads nothing. Both names are borrowed for the object's life.
  SharedCameraBundle(CFStringRef fileName, const char* baseName);
  ~SharedCameraBundle() override;

  /// True when the component is loaded, which is tried first: in the user's, then the system's,
  /// then the local components folder.
  bool IsLoadedPrefix();

  /// Unloads the component; the next frame asked for loads it again.
  void Unload();

  /// Fills `camera`, whose structSize the caller has set to 24, with the component's current frame.
  /// The frame's memory stays the component's and holds still until the next call. 0: no component,
  /// a component without the entry point, or no frame.
  int __GetCurrentReadBuffer(tagSHARED_CAMERA_BUFFER* camera);

  /// Whether a readable component lies in the user's or the system's components folder. The local
  /// folder counts for loading only. Makes the user's folder if it is missing.
  bool AlreadyInstalledSomewhere() const override;
};
