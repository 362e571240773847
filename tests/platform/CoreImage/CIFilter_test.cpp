#include "platform/CoreImage/CIFilter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "platform/Foundation/Text.h"

namespace {

using lumivane::foundation::Utf8;
using testing::ElementsAre;

NSDictionary* Dictionary(std::initializer_list<std::pair<NSString*, CFTypeRef>> entries) {
  std::vector<CFTypeRef> keys;
  std::vector<CFTypeRef> values;
  for (const auto& [key, value] : entries) {
    keys.push_back(key);
    values.push_back(value);
  }
  return NSDictionary_dictionaryWithObjectsforKeyscount(values.data(), keys.data(),
                                                        static_cast<CFIndex>(keys.size()));
}

class LocalGenerator : public CIFilter {
 public:
  LocalGenerator() {
    exposeVariable("inputClock", &inputClock);
    exposeVariable("inputImage", &inputImage);
    exposeVariable("private", &hidden);
  }
  void dealloc() override {
    NSRelease(inputClock);
    NSRelease(inputImage);
    NSRelease(hidden);
    CIFilter::dealloc();
  }
  NSDictionary* customAttributes() override {
    return Dictionary(
        {{CFSTR("inputClock"), Dictionary({{kCIAttributeSliderMax, NSNumber_numberWithDouble(1)},
                                           {kCIAttributeDefault, NSNumber_numberWithDouble(0.5)},
                                           {kCIAttributeType, kCIAttributeTypeDistance}})},
         {CFSTR("inputFrameRate"), Dictionary({{kCIAttributeDisplayName, CFSTR("Rate")},
                                               {kCIAttributeClass, CFSTR("MyNumber")}})}});
  }
  CIImage* outputImage() override { return CIImage::emptyImage(); }

  NSNumber* inputClock = nullptr;
  CIImage* inputImage = nullptr;
  NSString* hidden = nullptr;
};

class NotAFilter : public NSObject {};

}  // namespace

NS_REGISTER_CLASS(LocalGenerator)
NS_REGISTER_CLASS(NotAFilter)

namespace {

std::vector<std::string> Texts(CFTypeRef array) {
  std::vector<std::string> texts;
  for (CFIndex i = 0; i < CFArrayGetCount(static_cast<NSArray*>(array)); ++i) {
    texts.push_back(
        Utf8(static_cast<NSString*>(CFArrayGetValueAtIndex(static_cast<NSArray*>(array), i))));
  }
  return texts;
}

std::string TextAt(NSDictionary* dictionary, NSString* key) {
  const CFTypeRef value = CFDictionaryGetValue(dictionary, key);
  return NSIsString(value) ? Utf8(static_cast<NSString*>(value)) : "not a string";
}

class CIFilterTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(CIFilter::registerFilterName(
        CFSTR("Local"), NSClassFromString(CFSTR("LocalGenerator")),
        Dictionary({{kCIAttributeFilterDisplayName, CFSTR("A Local One")}})));
  }
  void TearDown() override { EXPECT_TRUE(CIFilter::unregisterFilterName(CFSTR("Local"))); }
  NSAutoreleasePool pool_;
};

TEST_F(CIFilterTest, AFilterMadeByNameHasItsDefaults) {
  auto* const filter = dynamic_cast<LocalGenerator*>(CIFilter::filterWithName(CFSTR("Local")));
  ASSERT_NE(filter, nullptr);
  ASSERT_NE(filter->inputClock, nullptr);
  double value = 0;
  CFNumberGetValue(filter->inputClock, kCFNumberDoubleType, &value);
  EXPECT_EQ(value, 0.5);
  EXPECT_EQ(filter->valueForKey(CFSTR("inputClock")), filter->inputClock);
}

TEST_F(CIFilterTest, ValuesAreSetByKey) {
  auto* const filter = dynamic_cast<LocalGenerator*>(CIFilter::filterWithName(CFSTR("Local")));
  NSNumber* const number = NSNumber_numberWithDouble(0.875);
  EXPECT_TRUE(filter->setValueforKey(number, CFSTR("inputClock")));
  EXPECT_EQ(filter->inputClock, number);
  EXPECT_EQ(CFGetRetainCount(number), 2);
  EXPECT_FALSE(filter->setValueforKey(number, CFSTR("inputImage")));
  EXPECT_FALSE(filter->setValueforKey(number, CFSTR("inputFrameRate")));
  EXPECT_FALSE(filter->setValueforKey(number, kCIOutputImageKey));
  CIImage* const image = CIImage::emptyImage();
  EXPECT_TRUE(filter->setValueforKey(static_cast<const CFRuntimeObject*>(image), kCIInputImageKey));
  EXPECT_EQ(filter->inputImage, image);
  const auto* const output =
      dynamic_cast<CIImage*>(NSObjectFrom(filter->valueForKey(kCIOutputImageKey)));
  EXPECT_NE(output, nullptr);
}

TEST_F(CIFilterTest, ListsItsKeys) {
  CIFilter* const filter = CIFilter::filterWithName(CFSTR("Local"));
  EXPECT_THAT(Texts(filter->inputKeys()),
              ElementsAre("inputClock", "inputFrameRate", "inputImage"));
  EXPECT_THAT(Texts(filter->outputKeys()), ElementsAre("outputImage"));
}

TEST_F(CIFilterTest, DescribesItself) {
  CIFilter* const filter = CIFilter::filterWithName(CFSTR("Local"));
  NSDictionary* const all = filter->attributes();
  EXPECT_EQ(TextAt(all, kCIAttributeFilterName), "Local");
  EXPECT_EQ(TextAt(all, kCIAttributeFilterDisplayName), "A Local One");
  EXPECT_TRUE(Texts(CFDictionaryGetValue(all, kCIAttributeFilterCategories)).empty());
  const auto part = [&](NSString* key) {
    return static_cast<NSDictionary*>(CFDictionaryGetValue(all, key));
  };
  NSDictionary* const clock = part(CFSTR("inputClock"));
  ASSERT_NE(clock, nullptr);
  EXPECT_EQ(CFDictionaryGetCount(clock), 5);
  EXPECT_EQ(TextAt(clock, kCIAttributeClass), "NSNumber");
  EXPECT_EQ(TextAt(clock, kCIAttributeDisplayName), "Clock");
  EXPECT_EQ(TextAt(clock, kCIAttributeType), "CIAttributeTypeDistance");
  NSDictionary* const rate = part(CFSTR("inputFrameRate"));
  EXPECT_EQ(TextAt(rate, kCIAttributeClass), "MyNumber");
  EXPECT_EQ(TextAt(rate, kCIAttributeDisplayName), "Rate");
  NSDictionary* const image = part(CFSTR("inputImage"));
  EXPECT_EQ(TextAt(image, kCIAttributeClass), "CIImage");
  EXPECT_EQ(TextAt(image, kCIAttributeDisplayName), "Image");
  EXPECT_EQ(part(CFSTR("private")), nullptr);
  EXPECT_NE(filter->attributes(), all);
  EXPECT_TRUE(CFEqual(filter->attributes(), all));
  // What the filter itself says is not touched.
  NSDictionary* const own = filter->customAttributes();
  EXPECT_EQ(CFDictionaryGetCount(
                static_cast<NSDictionary*>(CFDictionaryGetValue(own, CFSTR("inputClock")))),
            3);
}

TEST_F(CIFilterTest, AFilterMadeByItsClassHasItsClassName) {
  NSObject* const object = NSClassFromString(CFSTR("LocalGenerator"))->alloc();
  auto* const filter = dynamic_cast<CIFilter*>(object->init());
  EXPECT_EQ(filter->name(), nullptr);
  EXPECT_THAT(TextAt(filter->attributes(), kCIAttributeFilterName),
              testing::HasSubstr("LocalGenerator"));
  filter->release();
}

TEST_F(CIFilterTest, TheBaseClassMakesNothing) {
  auto* const filter = new CIFilter;
  EXPECT_EQ(filter->outputImage(), nullptr);
  EXPECT_EQ(filter->valueForKey(kCIOutputImageKey), nullptr);
  EXPECT_EQ(CFDictionaryGetCount(filter->customAttributes()), 0);
  filter->release();
}

TEST_F(CIFilterTest, RegistrationChecksItsArguments) {
  const Class generator = NSClassFromString(CFSTR("LocalGenerator"));
  EXPECT_FALSE(CIFilter::registerFilterName(CFSTR("Local"), generator, nullptr));
  EXPECT_FALSE(CIFilter::registerFilterName(nullptr, generator, nullptr));
  EXPECT_FALSE(CIFilter::registerFilterName(CFSTR("X"), nullptr, nullptr));
  EXPECT_FALSE(
      CIFilter::registerFilterName(CFSTR("X"), NSClassFromString(CFSTR("NotAFilter")), nullptr));
  EXPECT_FALSE(CIFilter::unregisterFilterName(CFSTR("X")));
  EXPECT_FALSE(CIFilter::unregisterFilterName(nullptr));
  EXPECT_EQ(CIFilter::filterWithName(CFSTR("X")), nullptr);
  EXPECT_EQ(CIFilter::filterWithName(nullptr), nullptr);
  EXPECT_EQ(CIFilter::localizedNameForFilterName(CFSTR("X")), nullptr);
  EXPECT_EQ(Utf8(CIFilter::localizedNameForFilterName(CFSTR("Local"))), "A Local One");
}

TEST_F(CIFilterTest, AFilterOutlivesItsRegistration) {
  const Class generator = NSClassFromString(CFSTR("LocalGenerator"));
  ASSERT_TRUE(CIFilter::registerFilterName(CFSTR("Short"), generator, nullptr));
  CIFilter* const filter = CIFilter::filterWithName(CFSTR("Short"));
  EXPECT_EQ(TextAt(filter->attributes(), kCIAttributeFilterDisplayName), "Short");
  ASSERT_TRUE(CIFilter::unregisterFilterName(CFSTR("Short")));
  EXPECT_EQ(CIFilter::filterWithName(CFSTR("Short")), nullptr);
  EXPECT_NE(filter->outputImage(), nullptr);
}

TEST_F(CIFilterTest, AFilterGoesWithItsClass) {
  {
    const NSClassRegistration registration("ShortLivedGenerator", typeid(LocalGenerator),
                                           []() -> NSObject* { return new LocalGenerator; });
    ASSERT_TRUE(CIFilter::registerFilterName(
        CFSTR("Gone"), NSClassFromString(CFSTR("ShortLivedGenerator")), nullptr));
    EXPECT_NE(CIFilter::filterWithName(CFSTR("Gone")), nullptr);
  }
  EXPECT_EQ(CIFilter::filterWithName(CFSTR("Gone")), nullptr);
  EXPECT_THAT(Texts(CIFilter::filterNamesInCategory(nullptr)), ElementsAre("Local"));
}

TEST(CIConstants, HaveTheirPublishedValues) {
  EXPECT_EQ(Utf8(kCIAttributeMin), "CIAttributeMin");
  EXPECT_EQ(Utf8(kCIAttributeSliderMin), "CIAttributeSliderMin");
  EXPECT_EQ(Utf8(kCIAttributeSliderMax), "CIAttributeSliderMax");
  EXPECT_EQ(Utf8(kCIAttributeDefault), "CIAttributeDefault");
  EXPECT_EQ(Utf8(kCIAttributeIdentity), "CIAttributeIdentity");
  EXPECT_EQ(Utf8(kCIAttributeType), "CIAttributeType");
  EXPECT_EQ(Utf8(kCIAttributeTypeDistance), "CIAttributeTypeDistance");
  EXPECT_EQ(Utf8(kCIAttributeFilterName), "CIAttributeFilterName");
  EXPECT_EQ(Utf8(kCICategoryGenerator), "CICategoryGenerator");
  EXPECT_EQ(Utf8(kCIInputImageKey), "inputImage");
  EXPECT_EQ(Utf8(kCIOutputImageKey), "outputImage");
}

}  // namespace
