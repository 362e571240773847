#include "platform/ImageIO/CGImageSource.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFNumber.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFURL.h"
#include "platform/ImageIO/CGImageDestination.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "tests/platform/ImageIO/Pixels.h"
#include "tests/support/HermeticHome.h"

namespace {

namespace fs = std::filesystem;
using pixels::Bytes;

const Bytes kPixels{10, 20, 30, 255, 40, 50, 60, 128, 70, 80, 90, 0};

CGImageRef CreatePicture() {
  return pixels::Create(kPixels, 3, 1, 32, kCGImageAlphaLast);
}

CFURLRef CreateURL(const fs::path& path) {
  const std::string text = path.string();
  return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                 reinterpret_cast<const UInt8*>(text.data()),
                                                 static_cast<CFIndex>(text.size()), false);
}

CFMutableDictionaryRef CreateDictionary() {
  return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                   &kCFTypeDictionaryValueCallBacks);
}

CFDataRef CreateData(const Bytes& bytes) {
  return CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size()));
}

SInt32 IntegerAt(CFDictionaryRef dictionary, CFStringRef key) {
  const auto* number = static_cast<CFNumberRef>(CFDictionaryGetValue(dictionary, key));
  SInt32 value = -1;
  if (number) CFNumberGetValue(number, kCFNumberSInt32Type, &value);
  return value;
}

std::size_t FilesIn(const fs::path& folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(CGImageDestination, DataAndBackWithTexts) {
  const CFMutableDataRef data = CFDataCreateMutable(kCFAllocatorDefault, 0);
  const CGImageDestinationRef destination =
      CGImageDestinationCreateWithData(data, CFSTR("public.png"), 1, nullptr);
  ASSERT_NE(destination, nullptr);
  const CFMutableDictionaryRef texts = CreateDictionary();
  CFDictionarySetValue(texts, kCGImagePropertyPNGTitle, CFSTR("a title"));
  CFDictionarySetValue(texts, CFSTR("Frame"), CFSTR("\xE2\x82\xAC 7"));
  const CFMutableDictionaryRef properties = CreateDictionary();
  CFDictionarySetValue(properties, kCGImagePropertyPNGDictionary, texts);
  const CGImageRef image = CreatePicture();
  CGImageDestinationAddImage(destination, image, properties);
  EXPECT_TRUE(CGImageDestinationFinalize(destination));
  const CFIndex size = CFDataGetLength(data);
  EXPECT_FALSE(CGImageDestinationFinalize(destination));  // only once
  EXPECT_EQ(CFDataGetLength(data), size);
  EXPECT_EQ(CFGetTypeID(destination), CGImageDestinationGetTypeID());
  CFRelease(destination);
  CGImageRelease(image);

  const CGImageSourceRef source = CGImageSourceCreateWithData(data, nullptr);
  CFRelease(data);
  EXPECT_EQ(CFGetTypeID(source), CGImageSourceGetTypeID());
  EXPECT_TRUE(CFEqual(CGImageSourceGetType(source), CFSTR("public.png")));
  EXPECT_EQ(CGImageSourceGetCount(source), 1U);
  EXPECT_EQ(CGImageSourceGetStatus(source), kCGImageStatusComplete);
  const CGImageRef back = CGImageSourceCreateImageAtIndex(source, 0, nullptr);
  EXPECT_EQ(pixels::Of(back), kPixels);
  CGImageRelease(back);
  EXPECT_EQ(CGImageSourceCreateImageAtIndex(source, 1, nullptr), nullptr);
  const CFDictionaryRef found = CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr);
  EXPECT_EQ(IntegerAt(found, kCGImagePropertyPixelWidth), 3);
  EXPECT_EQ(IntegerAt(found, kCGImagePropertyPixelHeight), 1);
  EXPECT_EQ(IntegerAt(found, kCGImagePropertyDepth), 8);
  EXPECT_EQ(CFDictionaryGetValue(found, kCGImagePropertyHasAlpha), kCFBooleanTrue);
  EXPECT_EQ(CFDictionaryGetValue(found, kCGImagePropertyOrientation), nullptr);
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(found, kCGImagePropertyPNGDictionary), texts));
  CFRelease(found);
  CFRelease(texts);
  CFRelease(properties);
  CFRelease(source);
}

TEST(CGImageDestination, WhatItRefuses) {
  const CFMutableDataRef data = CFDataCreateMutable(kCFAllocatorDefault, 0);
  EXPECT_EQ(CGImageDestinationCreateWithData(nullptr, CFSTR("public.png"), 1, nullptr), nullptr);
  EXPECT_EQ(CGImageDestinationCreateWithData(data, CFSTR("public.tiff"), 1, nullptr), nullptr);
  EXPECT_EQ(CGImageDestinationCreateWithData(data, nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(CGImageDestinationCreateWithData(data, CFSTR("public.png"), 2, nullptr), nullptr);
  EXPECT_EQ(CGImageDestinationCreateWithURL(nullptr, CFSTR("public.png"), 1, nullptr), nullptr);
  EXPECT_FALSE(CGImageDestinationFinalize(nullptr));
  const CGImageDestinationRef empty =
      CGImageDestinationCreateWithData(data, CFSTR("public.png"), 1, nullptr);
  CGImageDestinationAddImage(empty, nullptr, nullptr);
  EXPECT_FALSE(CGImageDestinationFinalize(empty));
  CFRelease(empty);

  // A text that is none.
  const CFMutableDictionaryRef texts = CreateDictionary();
  CFDictionarySetValue(texts, kCGImagePropertyPNGTitle, kCFBooleanTrue);
  const CFMutableDictionaryRef properties = CreateDictionary();
  CFDictionarySetValue(properties, kCGImagePropertyPNGDictionary, texts);
  const CGImageDestinationRef bad =
      CGImageDestinationCreateWithData(data, CFSTR("public.png"), 1, nullptr);
  const CGImageRef image = CreatePicture();
  CGImageDestinationAddImage(bad, image, properties);
  EXPECT_FALSE(CGImageDestinationFinalize(bad));
  EXPECT_EQ(CFDataGetLength(data), 0);
  CGImageRelease(image);
  CFRelease(bad);
  CFRelease(properties);
  CFRelease(texts);
  CFRelease(data);
}

TEST(CGImageDestination, FileIsReplacedWhole) {
  const test::TempFolder folder;
  const fs::path path = folder / "picture one.png";
  test::WriteFile(path, "old");
  ::chmod(path.c_str(), 0640);
  const CFURLRef url = CreateURL(path);
  const CGImageDestinationRef destination =
      CGImageDestinationCreateWithURL(url, CFSTR("public.png"), 1, nullptr);
  const CGImageRef image = CreatePicture();
  CGImageDestinationAddImage(destination, image, nullptr);
  EXPECT_EQ(test::ReadFile(path), "old");
  EXPECT_TRUE(CGImageDestinationFinalize(destination));
  CGImageRelease(image);
  CFRelease(destination);
  EXPECT_EQ(FilesIn(folder.path()), 1U);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms{0640});
  const CGImageSourceRef source = CGImageSourceCreateWithURL(url, nullptr);
  ASSERT_NE(source, nullptr);
  const CGImageRef back = CGImageSourceCreateImageAtIndex(source, 0, nullptr);
  EXPECT_EQ(pixels::Of(back), kPixels);
  CGImageRelease(back);
  CFRelease(source);
  CFRelease(url);
}

TEST(CGImageDestination, JPEGQuality) {
  Bytes noise(4 * 64 * 64, 255);
  for (std::size_t i = 0; i < noise.size(); ++i) {
    if (i % 4 != 3) noise[i] = static_cast<std::uint8_t>(i * 7919 >> 3);
  }
  const CGImageRef image = pixels::Create(noise, 64, 64, 32, kCGImageAlphaNoneSkipLast);
  CFIndex sizes[2] = {0, 0};
  const double qualities[2] = {0.2, 1};
  for (int i = 0; i < 2; ++i) {
    const CFMutableDataRef data = CFDataCreateMutable(kCFAllocatorDefault, 0);
    const CGImageDestinationRef destination =
        CGImageDestinationCreateWithData(data, CFSTR("public.jpeg"), 1, nullptr);
    const CFMutableDictionaryRef properties = CreateDictionary();
    const CFNumberRef number =
        CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &qualities[i]);
    CFDictionarySetValue(properties, kCGImageDestinationLossyCompressionQuality, number);
    CGImageDestinationAddImage(destination, image, properties);
    EXPECT_TRUE(CGImageDestinationFinalize(destination));
    sizes[i] = CFDataGetLength(data);
    const CGImageSourceRef source = CGImageSourceCreateWithData(data, nullptr);
    EXPECT_TRUE(CFEqual(CGImageSourceGetType(source), CFSTR("public.jpeg")));
    EXPECT_EQ(CGImageSourceGetStatusAtIndex(source, 0), kCGImageStatusComplete);
    EXPECT_EQ(CGImageSourceGetStatusAtIndex(source, 1), kCGImageStatusInvalidData);
    for (const CFTypeRef object :
         {static_cast<CFTypeRef>(source), static_cast<CFTypeRef>(number),
          static_cast<CFTypeRef>(properties), static_cast<CFTypeRef>(destination),
          static_cast<CFTypeRef>(data)}) {
      CFRelease(object);
    }
  }
  EXPECT_LT(2 * sizes[0], sizes[1]);
  CGImageRelease(image);
}

TEST(CGImageSource, StatusTellsWhatIsWrong) {
  const auto statusOf = [](const Bytes& bytes) {
    const CFDataRef data = CreateData(bytes);
    const CGImageSourceRef source = CGImageSourceCreateWithData(data, nullptr);
    CFRelease(data);
    const CGImageSourceStatus status = CGImageSourceGetStatus(source);
    CFRelease(source);
    return status;
  };
  const CGImageRef image = CreatePicture();
  Bytes file = ImageIOEncodePNG(image);
  CGImageRelease(image);
  EXPECT_EQ(statusOf(file), kCGImageStatusComplete);
  file.resize(file.size() - 6);
  EXPECT_EQ(statusOf(file), kCGImageStatusUnexpectedEOF);
  file.resize(12);
  EXPECT_EQ(statusOf(file), kCGImageStatusInvalidData);
  EXPECT_EQ(statusOf({'n', 'o'}), kCGImageStatusUnknownType);
  EXPECT_EQ(statusOf({}), kCGImageStatusUnknownType);
  EXPECT_EQ(CGImageSourceGetStatus(nullptr), kCGImageStatusInvalidData);
  EXPECT_EQ(CGImageSourceGetType(nullptr), nullptr);
  EXPECT_EQ(CGImageSourceGetCount(nullptr), 0U);
  EXPECT_EQ(CGImageSourceCreateWithData(nullptr, nullptr), nullptr);
  EXPECT_EQ(CGImageSourceCreateWithURL(nullptr, nullptr), nullptr);
  const CFURLRef missing = CreateURL("/nowhere/at/all.png");
  EXPECT_EQ(CGImageSourceCreateWithURL(missing, nullptr), nullptr);
  CFRelease(missing);
  const test::TempFolder folder;
  const CFURLRef notAFile = CreateURL(folder.path());
  EXPECT_EQ(CGImageSourceCreateWithURL(notAFile, nullptr), nullptr);
  CFRelease(notAFile);
}

TEST(CGImageSource, ThumbnailIsSmallAndUpright) {
  Bytes rgb(3 * 40 * 20, 100);
  const CGImageRef image = pixels::Create(rgb, 40, 20, 24, kCGImageAlphaNone);
  Bytes file = ImageIOEncodeJPEG(image, 1);
  CGImageRelease(image);
  const Bytes exif{0xFF, 0xE1, 0, 34,   'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8,
                   0,    1,    1, 0x12, 0,   3,   0,   0,   0, 1, 0,   6,   0, 0,  0, 0, 0, 0};
  file.insert(file.begin() + 2, exif.begin(), exif.end());
  const CFDataRef data = CreateData(file);
  const CGImageSourceRef source = CGImageSourceCreateWithData(data, nullptr);
  CFRelease(data);
  const CFDictionaryRef properties = CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr);
  EXPECT_EQ(IntegerAt(properties, kCGImagePropertyOrientation), 6);
  EXPECT_EQ(IntegerAt(properties, kCGImagePropertyPixelWidth), 40);
  CFRelease(properties);

  const CFMutableDictionaryRef options = CreateDictionary();
  const SInt32 limit = 10;
  const CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &limit);
  CFDictionarySetValue(options, kCGImageSourceThumbnailMaxPixelSize, number);
  CGImageRef small = CGImageSourceCreateThumbnailAtIndex(source, 0, options);
  EXPECT_EQ(CGImageGetWidth(small), 10U);
  EXPECT_EQ(CGImageGetHeight(small), 5U);
  EXPECT_NEAR(pixels::Of(small)[0], 100, 1);
  CGImageRelease(small);
  CFDictionarySetValue(options, kCGImageSourceCreateThumbnailWithTransform, kCFBooleanTrue);
  small = CGImageSourceCreateThumbnailAtIndex(source, 0, options);
  EXPECT_EQ(CGImageGetWidth(small), 5U);
  EXPECT_EQ(CGImageGetHeight(small), 10U);
  CGImageRelease(small);
  small = CGImageSourceCreateThumbnailAtIndex(source, 0, nullptr);
  EXPECT_EQ(CGImageGetWidth(small), 40U);
  CGImageRelease(small);
  CFRelease(number);
  CFRelease(options);
  CFRelease(source);
}

TEST(ImageFile, FailureKeepsTheOldFileAndLeavesNothingElse) {
  const test::TempFolder folder;
  const Bytes bytes(10, 'x');
  std::string error;
  EXPECT_FALSE(ImageIOWriteFile((folder / "none" / "a.png").string(), bytes, &error));
  EXPECT_EQ(error, "No such file or directory") << "whoever tells it knows the path";
  EXPECT_EQ(FilesIn(folder.path()), 0U);
  // A folder where the file should be.
  fs::create_directory(folder / "b.png");
  EXPECT_FALSE(ImageIOWriteFile((folder / "b.png").string(), bytes, &error));
  EXPECT_EQ(FilesIn(folder.path()), 1U);
  // A full disk.
  EXPECT_FALSE(ImageIOWriteFile("/dev/full", bytes, &error));
  EXPECT_TRUE(ImageIOWriteFile("/dev/null", bytes, &error));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(ImageFile, LinkIsFollowed) {
  const test::TempFolder folder;
  test::WriteFile(folder / "real", "old");
  fs::create_symlink("real", folder / "link");
  EXPECT_TRUE(ImageIOWriteFile((folder / "link").string(), Bytes{'n', 'e', 'w'}));
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(test::ReadFile(folder / "real"), "new");
  EXPECT_EQ(FilesIn(folder.path()), 2U);
}

TEST(ImageFile, PNGIsWrittenAndRefusedImagesLeaveTheFile) {
  const test::TempFolder folder;
  const std::string path = (folder / "a.png").string();
  const CGImageRef image = CreatePicture();
  EXPECT_TRUE(ImageIOWritePNG(image, path, {{"Software", "lumivane"}}));
  CGImageRelease(image);
  const std::string first = test::ReadFile(path);
  EXPECT_EQ(first.substr(1, 3), "PNG");
  std::string error;
  EXPECT_FALSE(ImageIOWritePNG(nullptr, path, {}, &error));
  EXPECT_FALSE(error.empty());
  EXPECT_EQ(test::ReadFile(path), first);
}

}  // namespace
