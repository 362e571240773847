// The plug-in, loaded for a test and unloaded after it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "CICameraGen/CICameraGenerator.h"
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "tests/CICameraGen/Cameras.h"

namespace test {

class LoadedPlugIn : public testing::Test {
 protected:
  LoadedPlugIn() { RemoveComponents(); }
  ~LoadedPlugIn() override {
    std::string error;
    EXPECT_TRUE(path_.empty() || CIPlugIn::unloadPlugIn(path_, &error)) << error;
    RemoveComponents();
  }

  void Load(const std::filesystem::path& path = PLUGIN_BUNDLE) {
    CIPlugInStatus status;
    ASSERT_TRUE(CIPlugIn::loadPlugIn(path.string(), &status)) << status.error;
    path_ = path.string();
  }
  void Unload() {
    std::string error;
    ASSERT_TRUE(CIPlugIn::unloadPlugIn(path_, &error)) << error;
    path_.clear();
  }

  /// A new filter; one reference for the caller, given back by Dispose.
  static CILumivaneInput* NewFilter() {
    const NSAutoreleasePool pool;
    CIFilter* const filter = CIFilter::filterWithName(CFSTR("CILumivaneInput"));
    return static_cast<CILumivaneInput*>(NSRetain(filter));
  }
  /// Also gives back what a filter keeps on purpose: its parameter's last value.
  static void Dispose(CILumivaneInput* filter) {
    filter->setValueforKey(nullptr, CFSTR("inputClock"));
    filter->release();
  }

  struct Shown {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::uint8_t> pixels;  ///< A R G B, top row first
    bool isNoCamera = false;
  };
  /// The filter's picture at its own size; empty when it is null. A fresh picture has one
  /// reference, its pool's. The no-camera picture has at least two, of which the one that is left
  /// over with each call is given back here.
  static Shown Show(CILumivaneInput* filter) {
    const NSAutoreleasePool pool;
    Shown shown;
    CIImage* const image = filter->outputImage();
    if (image == nullptr) return shown;
    shown = Draw(image);
    shown.isNoCamera = image->retainCount() > 1;
    if (shown.isNoCamera) image->release();
    return shown;
  }
  static Shown Draw(CIImage* image) {
    Shown shown;
    shown.width = static_cast<std::size_t>(image->extent().size.width);
    shown.height = static_cast<std::size_t>(image->extent().size.height);
    shown.pixels.resize(shown.width * shown.height * 4);
    const CIBitmap bitmap = {shown.pixels.data(), shown.width * 4, shown.width, shown.height,
                             CIPixelOrder::kARGB};
    EXPECT_TRUE(CIContext::context()->renderToBitmap(image, bitmap, CIRenderMode::kCropped));
    return shown;
  }
  static bool ShowsNoCamera(CILumivaneInput* filter) { return Show(filter).isNoCamera; }
  static bool ShowsFrame(CILumivaneInput* filter) {
    const Shown shown = Show(filter);
    return !shown.pixels.empty() && !shown.isNoCamera;
  }

 private:
  std::string path_;
};

}  // namespace test
