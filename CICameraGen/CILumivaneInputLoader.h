// The plug-in's registration object: says whether the plug-in may be used in this process.
#pragma once

#include "platform/CoreImage/CoreImage.h"

class CILumivaneInputLoader : public CIPlugInRegistration {
 public:
  /// NO when the process's main bundle is the product's own application, which shows the camera
  /// itself and must not be shown to itself. `host` is not looked at.
  BOOL load(void* host) override;
};
