// The filter, as the loaded plug-in makes it.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickTime/QuickTime.h"
#include "tests/CICameraGen/bundle/LoadedPlugIn.h"
#include "tests/support/ProcessState.h"

namespace fs = std::filesystem;

namespace {

using test::LogCapture;
using test::Script;

class FilterTest : public test::LoadedPlugIn {
 protected:
  FilterTest() { Load(); }
  ~FilterTest() override {
    for (CILumivaneInput* filter : filters_) Dispose(filter);
  }
  CILumivaneInput* Filter() {
    filters_.push_back(NewFilter());
    return filters_.back();
  }
  void DisposeAll() {
    for (CILumivaneInput* filter : filters_) Dispose(filter);
    filters_.clear();
  }

  std::vector<CILumivaneInput*> filters_;
};

// An exported variable of the scripted camera, which is loaded already.
template <typename T>
T& Scripted(const fs::path& bundle, const char* name) {
  void* const module = dlopen(bundle.c_str(), RTLD_NOW | RTLD_NOLOAD);
  EXPECT_NE(module, nullptr);
  T* const variable = static_cast<T*>(dlsym(module, name));
  dlclose(module);
  return *variable;
}

// ---- No component

TEST_F(FilterTest, WithoutAComponentShowsThePicturesOfItsResources) {
  CILumivaneInput* const filter = Filter();
  const Shown shown = Show(filter);
  EXPECT_TRUE(shown.isNoCamera);
  EXPECT_EQ(shown.width, 640U);
  EXPECT_EQ(shown.height, 480U);
  const NSAutoreleasePool pool;
  NSData* const png = NSData_dataWithContentsOfFile(
      NSString_stringWithUTF8String(PLUGIN_BUNDLE "/Contents/Resources/CILumivaneInput.png"));
  EXPECT_EQ(shown.pixels, Draw(CIImage::imageWithData(png)).pixels);
  EXPECT_EQ(test::ReadFile(PLUGIN_BUNDLE "/Contents/Resources/CILumivaneInput.png"),
            test::ReadFile(SOURCE_FOLDER "/CICameraGen/resources/CILumivaneInput.png"));
}

TEST_F(FilterTest, EachNoCameraPictureCarriesOneReferenceMore) {
  const NSAutoreleasePool pool;
  CILumivaneInput* const filter = Filter();
  CIImage* const first = filter->outputImage();
  ASSERT_NE(first, nullptr);
  const NSUInteger before = first->retainCount();
  for (NSUInteger i = 1; i <= 5; ++i) {
    EXPECT_EQ(filter->outputImage(), first) << "always the same object";
    EXPECT_EQ(first->retainCount(), before + i);
  }
  for (int i = 0; i < 6; ++i) first->release();
}

TEST_F(FilterTest, EveryPictureWithoutAComponentLogsTheSearch) {
  const std::vector<std::string> search(3, test::FolderMissingLine());
  const LogCapture log;
  CILumivaneInput* const filter = Filter();
  EXPECT_EQ(log.Lines(), search) << "init looks for the component";
  EXPECT_TRUE(ShowsNoCamera(filter));
  EXPECT_EQ(log.Lines(), test::Joined({search, search}));
  for (const auto& folder :
       {test::UserComponents(), test::SystemComponents(), test::LocalComponents()}) {
    fs::create_directories(folder);
  }
  const LogCapture later;
  EXPECT_TRUE(ShowsNoCamera(filter));
  EXPECT_EQ(later.Lines(), test::Joined({test::NothingThereLines(test::UserComponents()),
                                         test::NothingThereLines(test::SystemComponents()),
                                         test::NothingThereLines(test::LocalComponents())}));
}

// ---- ARGB frames

TEST_F(FilterTest, ShowsTheComponentsFrame) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  const LogCapture log;
  CILumivaneInput* const filter = Filter();
  const Shown shown = Show(filter);
  EXPECT_FALSE(shown.isNoCamera);
  ASSERT_EQ(shown.width, 8U);
  ASSERT_EQ(shown.height, 4U);
  for (std::size_t i = 0; i < 32; ++i) {
    EXPECT_EQ(shown.pixels[4 * i], 255);
    EXPECT_EQ(shown.pixels[4 * i + 2], i) << "the top row first";
  }
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(FilterTest, GivesTheCallerAPictureOfItsOwnEachTime) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  const NSAutoreleasePool pool;
  CIImage* const first = filter->outputImage();
  CIImage* const second = filter->outputImage();
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, second);
  EXPECT_EQ(first->retainCount(), 1U) << "the pool's";
  EXPECT_EQ(CFGetRetainCount(first->CGImage()), 1) << "the picture's: the filter gave back its own";
}

TEST_F(FilterTest, SetsTheRecordsSizeForEveryCallAndAsksOncePerPicture) {
  const fs::path bundle = test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  EXPECT_EQ(Scripted<std::int32_t>(bundle, "scripted_calls"), 1) << "by init";
  EXPECT_EQ(Scripted<std::uint32_t>(bundle, "scripted_last_struct_size"), 24U);
  for (int i = 2; i < 6; ++i) {
    EXPECT_TRUE(ShowsFrame(filter));
    EXPECT_EQ(Scripted<std::int32_t>(bundle, "scripted_calls"), i);
    EXPECT_EQ(Scripted<std::uint32_t>(bundle, "scripted_last_struct_size"), 24U);
  }
}

TEST_F(FilterTest, DoesNotCopyTheFrame) {
  const fs::path bundle = test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  const NSAutoreleasePool pool;
  CIImage* const image = filter->outputImage();
  unsigned char* const frame = Scripted<unsigned char*>(bundle, "scripted_frame");
  frame[4 * 9 + 1] = 123;
  EXPECT_EQ(Draw(image).pixels[4 * 9 + 1], 123);
}

TEST_F(FilterTest, EveryFormatButOneIsArgb) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  for (const char* format : {"0", "32", "0x41524742", "0x79757673", "0xFFFFFFFF"}) {
    const Script script(std::string("format=") + format);
    const Shown shown = Show(filter);
    EXPECT_FALSE(shown.isNoCamera) << format;
    ASSERT_EQ(shown.width, 8U) << format;
    EXPECT_EQ(shown.pixels[4 * 5 + 3], 5) << format;
  }
}

// ---- Frames that are none

TEST_F(FilterTest, WithoutAFrameShowsTheNoCameraPictureSilently) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  for (const char* text : {"result=0", "dataSize=0", "pointer=0", "pointer=0 format=0x32767579",
                           "result=0 format=0x32767579"}) {
    const Script script(text);
    const LogCapture log;
    EXPECT_TRUE(ShowsNoCamera(filter)) << text;
    EXPECT_TRUE(log.Lines().empty()) << text;
  }
  EXPECT_TRUE(ShowsFrame(filter)) << "and the next frame shows";
}

TEST_F(FilterTest, FramesThatMakeNoImageShowTheNoCameraPictureWithOneLine) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  const std::string line = test::VerifyLine(
      "imageRef = CGImageCreate(camera.frameWidth, camera.frameHeight, kImageBitsPerComponent, "
      "mImageBitsPerPixel, mImageRowBytes, mImageColorspace, mImageBitmapInfo, dataProvider, NULL, "
      "fShouldInterpolate, renderingIntent)",
      "CICameraGen/CICameraGenerator", 133, "CGImageRefFrom_ARGB_CameraBuffer");
  for (const char* text : {"width=0 dataSize=128", "height=0 dataSize=128",
                           "width=-8 rowBytes=32 dataSize=128", "height=-1 dataSize=128",
                           "rowBytes=31 dataSize=128", "width=32767 rowBytes=32 dataSize=128"}) {
    const Script script(text);
    const LogCapture log;
    EXPECT_TRUE(ShowsNoCamera(filter)) << text;
    EXPECT_EQ(log.Lines(), std::vector{line}) << text;
  }
}

TEST_F(FilterTest, AHugeFrameWithLittleDataIsShownWhereThereAreData) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  const Script script("width=32767 height=32767 rowBytes=131068 dataSize=4194304");
  const NSAutoreleasePool pool;
  CIImage* const image = filter->outputImage();
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->extent().size.width, 32767);
  // The top left corner; of the 33rd row only the first pixels are there.
  std::vector<std::uint8_t> pixels(34 * 34 * 4);
  const CIBitmap bitmap = {pixels.data(), 34 * 4, 34, 34, CIPixelOrder::kARGB};
  ASSERT_TRUE(CIContext::context()->renderToBitmap(image, bitmap, CIRenderMode::kCropped));
  EXPECT_EQ(pixels[0], 255);
  EXPECT_EQ(pixels[31 * 34 * 4], 255);
  EXPECT_EQ(pixels[33 * 34 * 4], 0);
}

TEST_F(FilterTest, MissingRowsAreTransparent) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  const Script script("dataSize=64");
  const LogCapture log;
  const Shown shown = Show(filter);
  EXPECT_FALSE(shown.isNoCamera);
  for (std::size_t i = 0; i < 32; ++i) EXPECT_EQ(shown.pixels[4 * i], i < 16 ? 255 : 0) << i;
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(FilterTest, InitLogsAFrameWithoutPixels) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  const Script script("pointer=0");
  const LogCapture log;
  Filter();
  EXPECT_EQ(log.Lines(),
            std::vector{test::VerifyLine("camera.frameBufferPtr", "CICameraGen/CICameraGenerator",
                                         46, "-[CILumivaneInput init]")});
}

TEST_F(FilterTest, AComponentWithoutTheEntryPointShowsTheNoCameraPicture) {
  test::InstallCamera(test::UserComponents(), CAMERA_WITHOUT_ENTRY);
  const LogCapture log;
  CILumivaneInput* const filter = Filter();
  EXPECT_TRUE(ShowsNoCamera(filter));
  EXPECT_TRUE(ShowsNoCamera(filter));
  EXPECT_TRUE(log.Lines().empty());
}

// ---- Components that come and go

TEST_F(FilterTest, AComponentInstalledMeanwhileShowsWithTheNextPicture) {
  CILumivaneInput* const filter = Filter();
  EXPECT_TRUE(ShowsNoCamera(filter));
  test::InstallCamera(test::SystemComponents(), SCRIPTED_CAMERA);
  EXPECT_TRUE(ShowsFrame(filter));
}

TEST_F(FilterTest, ABrokenComponentThatIsRepairedMeanwhileShows) {
  const fs::path bundle = test::UserComponents() / test::kComponentName;
  test::MakeBrokenLibraryBundle(bundle);
  const LogCapture log;
  CILumivaneInput* const filter = Filter();
  const auto failure = test::Joined(
      {test::DoesNotLoadLines(), {test::FolderMissingLine()}, {test::FolderMissingLine()}});
  EXPECT_EQ(log.Lines(), failure);
  EXPECT_TRUE(ShowsNoCamera(filter));
  EXPECT_EQ(log.Lines(), test::Joined({failure, failure}));
  test::ReplaceFile(SCRIPTED_CAMERA, bundle);
  EXPECT_TRUE(ShowsFrame(filter));
  EXPECT_EQ(log.Lines().size(), 2 * failure.size());
}

TEST_F(FilterTest, ALoadedComponentOutlivesItsRemovalAndAnotherOnesInstallation) {
  const fs::path bundle = test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  EXPECT_TRUE(ShowsFrame(filter));
  test::RemoveComponents();
  const LogCapture log;
  EXPECT_TRUE(ShowsFrame(filter));
  test::InstallCamera(test::UserComponents(), CAMERA_WITHOUT_ENTRY);
  EXPECT_TRUE(ShowsFrame(filter)) << "until the process ends the loaded one is asked";
  EXPECT_TRUE(log.Lines().empty());
}

// ---- Two filters

TEST_F(FilterTest, TwoFiltersShowTheSameCameraAndShareNothingElse) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const one = Filter();
  CILumivaneInput* const two = Filter();
  EXPECT_NE(one, two);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Show(one).pixels, Show(two).pixels);
  }
  const Script script("result=0");
  {
    const NSAutoreleasePool pool;
    CIImage* const of_one = one->outputImage();
    CIImage* const of_two = two->outputImage();
    EXPECT_NE(of_one, of_two) << "each has a no-camera picture of its own";
    of_one->release();
    of_two->release();
  }
  Dispose(one);
  filters_ = {two};
  EXPECT_TRUE(ShowsNoCamera(two)) << "outlives the other";
}

// ---- Attributes and the like

double Number(CFTypeRef value) {
  double number = -1;
  EXPECT_TRUE(NSIsNumber(value));
  CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number);
  return number;
}

TEST_F(FilterTest, DescribesItsOneParameter) {
  CILumivaneInput* const filter = Filter();
  const NSAutoreleasePool pool;
  NSDictionary* const attributes = filter->customAttributes();
  ASSERT_EQ(CFDictionaryGetCount(attributes), 1);
  const auto clock =
      static_cast<CFDictionaryRef>(CFDictionaryGetValue(attributes, CFSTR("inputClock")));
  ASSERT_NE(clock, nullptr);
  EXPECT_EQ(CFDictionaryGetCount(clock), 6);
  EXPECT_EQ(Number(CFDictionaryGetValue(clock, kCIAttributeMin)), 0.0);
  EXPECT_EQ(Number(CFDictionaryGetValue(clock, kCIAttributeSliderMin)), 0.0);
  EXPECT_EQ(Number(CFDictionaryGetValue(clock, kCIAttributeSliderMax)), 1.0);
  EXPECT_EQ(Number(CFDictionaryGetValue(clock, kCIAttributeDefault)), 0.5);
  EXPECT_EQ(Number(CFDictionaryGetValue(clock, kCIAttributeIdentity)), 0.0);
  EXPECT_EQ(CFDictionaryGetValue(clock, kCIAttributeType), kCIAttributeTypeDistance);
  for (NSString* key : {kCIAttributeMin, kCIAttributeSliderMin, kCIAttributeSliderMax,
                        kCIAttributeDefault, kCIAttributeIdentity}) {
    EXPECT_TRUE(CFNumberIsFloatType(static_cast<CFNumberRef>(CFDictionaryGetValue(clock, key))));
  }
}

TEST_F(FilterTest, DescribesItAnewEachTime) {
  CILumivaneInput* const filter = Filter();
  const NSAutoreleasePool pool;
  NSDictionary* const first = filter->customAttributes();
  NSDictionary* const second = filter->customAttributes();
  EXPECT_NE(first, second);
  EXPECT_TRUE(CFEqual(first, second));
  EXPECT_NE(CFDictionaryGetValue(first, CFSTR("inputClock")),
            CFDictionaryGetValue(second, CFSTR("inputClock")));
  EXPECT_EQ(CFGetRetainCount(first), 1) << "the pool's";
}

TEST_F(FilterTest, TheClockIsTakenAndNeverMatters) {
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  CILumivaneInput* const filter = Filter();
  const NSAutoreleasePool pool;
  EXPECT_EQ(Number(filter->valueForKey(CFSTR("inputClock"))), 0.5) << "its default";
  const Shown before = Show(filter);
  for (const double value : {0.0, 1.0, -7.0, 1e300}) {
    EXPECT_TRUE(filter->setValueforKey(NSNumber_numberWithDouble(value), CFSTR("inputClock")));
    EXPECT_EQ(Number(filter->valueForKey(CFSTR("inputClock"))), value);
    EXPECT_EQ(Show(filter).pixels, before.pixels);
  }
  EXPECT_FALSE(filter->setValueforKey(CFSTR("text"), CFSTR("inputClock")));
}

TEST_F(FilterTest, NeedsOfEverySamplerWhatIsAskedFor) {
  CILumivaneInput* const filter = Filter();
  for (int sampler : {0, 1, -1}) {
    const CGRect asked = CGRectMake(-3.5F, 2, 1000, 0.25F);
    EXPECT_TRUE(
        CGRectEqualToRect(filter->regionOfdestRectuserInfo(sampler, asked, nullptr), asked));
  }
}

TEST_F(FilterTest, IsListedByNameWithItsCategories) {
  const NSAutoreleasePool pool;
  const auto contains = [](NSArray* names) {
    for (CFIndex i = 0; i < CFArrayGetCount(names); ++i) {
      if (CFEqual(CFArrayGetValueAtIndex(names, i), CFSTR("CILumivaneInput"))) return true;
    }
    return false;
  };
  EXPECT_TRUE(contains(CIFilter::filterNamesInCategory(nullptr)));
  EXPECT_TRUE(contains(CIFilter::filterNamesInCategory(kCICategoryGenerator)));
  EXPECT_TRUE(contains(CIFilter::filterNamesInCategory(kCICategoryVideo)));
  EXPECT_FALSE(contains(CIFilter::filterNamesInCategory(kCICategoryBlur)));
  EXPECT_TRUE(CFEqual(CIFilter::localizedNameForFilterName(CFSTR("CILumivaneInput")),
                      CFSTR("Lumivane Input")));
}

}  // namespace
