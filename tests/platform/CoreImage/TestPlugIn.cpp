// A small plug-in: a generator of a picture of 2 x 2 pixels, and its registration.
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"

namespace {

// A, R, G, B; red tells which build of the plug-in made the picture.
constexpr UInt8 kRed = LUMIVANE_TEST_RED;
const UInt8 kPixels[16] = {255, kRed, 1, 2, 255, kRed, 3, 4, 255, kRed, 5, 6, 255, kRed, 7, 8};

[[maybe_unused]] BOOL Throw() {
  throw 1;
}

/// Asks the loader for everything there is, this plug-in included.
[[maybe_unused]] BOOL LoadOthers() {
  CIPlugIn::loadAllPlugIns();
  return YES;
}

/// Refuses, but leaves an object of this code behind.
[[maybe_unused]] BOOL KeepAnObject() {
  NSClassFromString(CFSTR("CITestGenerator"))->alloc();
  return NO;
}

class CITestGenerator : public CIFilter {
 public:
  CITestGenerator() {
    exposeVariable("inputClock", &inputClock_);
    exposeVariable("inputImage", &inputImage_);
  }

  void dealloc() override {
    NSRelease(inputClock_);
    NSRelease(inputImage_);
    CIFilter::dealloc();
  }

  NSDictionary* customAttributes() override {
    const CFTypeRef keys[] = {kCIAttributeMin, kCIAttributeSliderMax, kCIAttributeDefault,
                              kCIAttributeType};
    const CFTypeRef values[] = {NSNumber_numberWithDouble(0.0), NSNumber_numberWithDouble(1.0),
                                NSNumber_numberWithDouble(0.5), kCIAttributeTypeDistance};
    const CFTypeRef clock = NSDictionary_dictionaryWithObjectsforKeyscount(values, keys, 4);
    const CFTypeRef name = CFSTR("inputClock");
    return NSDictionary_dictionaryWithObjectsforKeyscount(&clock, &name, 1);
  }

  CIImage* outputImage() override {
    const CGDataProviderRef provider =
        CGDataProviderCreateWithData(nullptr, kPixels, sizeof kPixels, nullptr);
    const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    const CGImageRef image = CGImageCreate(2, 2, 8, 32, 8, space, kCGImageAlphaPremultipliedFirst,
                                           provider, nullptr, false, kCGRenderingIntentDefault);
    CIImage* const result = CIImage::imageWithCGImage(image);
    CGImageRelease(image);
    CGColorSpaceRelease(space);
    CGDataProviderRelease(provider);
    return result;
  }

 private:
  NSNumber* inputClock_ = nullptr;
  CIImage* inputImage_ = nullptr;
};

/// A filter that can never be made.
class CITestStillborn : public CIFilter {
 public:
  id init() override {
    release();
    return nullptr;
  }
};

class CITestLoader : public CIPlugInRegistration {
 public:
  BOOL load(void* host) override { return host == nullptr ? LUMIVANE_TEST_ANSWER : NO; }
};

}  // namespace

NS_REGISTER_CLASS(CITestGenerator)
NS_REGISTER_CLASS(CITestStillborn)
NS_REGISTER_CLASS(CITestLoader)
