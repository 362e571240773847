#include "platform/QuickTime/ImageDescription.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickDraw/QuickDraw.h"

namespace {

class ImageDescriptions : public testing::Test {
 protected:
  void SetUp() override {
    before_ = MacMemoryGetCounters().handles;
    ASSERT_EQ(MakeImageDescriptionForEffect('2vuy', &description_), noErr);
  }
  void TearDown() override {
    DisposeHandle(reinterpret_cast<Handle>(description_));
    EXPECT_EQ(MacMemoryGetCounters().handles, before_);
  }
  OSErr Add(const std::string& bytes, SInt32 type) {
    Handle extension = nullptr;
    PtrToHand(bytes.data(), &extension, static_cast<Size>(bytes.size()));
    const OSErr error = AddImageDescriptionExtension(description_, extension, type);
    DisposeHandle(extension);
    return error;
  }
  std::string Get(SInt32 type, SInt32 index, OSErr* error = nullptr) {
    Handle extension = nullptr;
    const OSErr result = GetImageDescriptionExtension(description_, &extension, type, index);
    if (error != nullptr) *error = result;
    if (extension == nullptr) return "(none)";
    const std::string bytes(*extension, static_cast<std::size_t>(GetHandleSize(extension)));
    DisposeHandle(extension);
    return bytes;
  }
  std::vector<UInt8> Bytes() {
    const auto h = reinterpret_cast<Handle>(description_);
    return std::vector<UInt8>(*h, *h + GetHandleSize(h));
  }

  ImageDescriptionHandle description_ = nullptr;
  SInt64 before_ = 0;
};

void Put(std::vector<UInt8>& bytes, const void* value, std::size_t size) {
  const auto* b = static_cast<const UInt8*>(value);
  bytes.insert(bytes.end(), b, b + size);
}
void Put32(std::vector<UInt8>& bytes, UInt32 value) {
  Put(bytes, &value, 4);
}
void Put16(std::vector<UInt8>& bytes, UInt16 value) {
  Put(bytes, &value, 2);
}

TEST_F(ImageDescriptions, RecordBytesAreThePublishedLayout) {
  ImageDescription& record = **description_;
  record.cType = 'yuvs';
  record.resvd1 = 0x11121314;
  record.resvd2 = 0x2122;
  record.dataRefIndex = 0x3132;
  record.version = 2;
  record.revisionLevel = 3;
  record.temporalQuality = 0x200;
  record.spatialQuality = 0x3FF;
  record.width = 720;
  record.height = 486;
  record.dataSize = 699840;
  std::memcpy(record.name, "\5Video", 6);
  record.depth = 24;
  ASSERT_EQ(Add("PAYLOAD", 'test'), noErr);

  std::vector<UInt8> expected;
  Put32(expected, 86 + 15);
  Put32(expected, 0x79757673);
  Put32(expected, 0x11121314);
  Put16(expected, 0x2122);
  Put16(expected, 0x3132);
  Put16(expected, 2);
  Put16(expected, 3);
  Put32(expected, 0x6170706C);
  Put32(expected, 0x200);
  Put32(expected, 0x3FF);
  Put16(expected, 720);
  Put16(expected, 486);
  Put32(expected, 0x00480000);
  Put32(expected, 0x00480000);
  Put32(expected, 699840);
  Put16(expected, 1);
  expected.resize(expected.size() + 32);
  std::memcpy(expected.data() + 50, "\5Video", 6);
  Put16(expected, 24);
  Put16(expected, 0xFFFF);
  ASSERT_EQ(expected.size(), 86u);
  Put(expected, "\0\0\0\x0Ftest", 8);
  Put(expected, "PAYLOAD", 7);
  EXPECT_EQ(Bytes(), expected);
}

TEST_F(ImageDescriptions, ExtensionsInInsertionOrder) {
  EXPECT_EQ(Add("one", 'aaaa'), noErr);
  EXPECT_EQ(Add("", 'bbbb'), noErr);
  EXPECT_EQ(Add("three", 'aaaa'), noErr);
  EXPECT_EQ(Add("4", 'cccc'), noErr);
  EXPECT_EQ((*description_)->idSize, 86 + 11 + 8 + 13 + 9);
  EXPECT_EQ(Get('aaaa', 1), "one");
  EXPECT_EQ(Get('aaaa', 2), "three");
  EXPECT_EQ(Get('bbbb', 1), "");
  OSErr error = noErr;
  for (const SInt32 index : {-1, 0, 3, 0x7FFFFFFF}) {
    EXPECT_EQ(Get('aaaa', index, &error), "(none)");
    EXPECT_EQ(error, -8971);
  }
  EXPECT_EQ(Get('zzzz', 1, &error), "(none)");
  EXPECT_EQ(error, codecExtensionNotFoundErr);

  SInt32 count = -1;
  EXPECT_EQ(CountImageDescriptionExtensionType(description_, 'aaaa', &count), noErr);
  EXPECT_EQ(count, 2);

  std::vector<SInt32> types;
  SInt32 type = 0;
  while (GetNextImageDescriptionExtensionType(description_, &type) == noErr && type != 0) {
    types.push_back(type);
  }
  EXPECT_EQ(types, (std::vector<SInt32>{'aaaa', 'bbbb', 'cccc'}));
  type = 'none';
  EXPECT_EQ(GetNextImageDescriptionExtensionType(description_, &type), noErr);
  EXPECT_EQ(type, 0);

  EXPECT_EQ(RemoveImageDescriptionExtension(description_, 'aaaa', 1), noErr);
  EXPECT_EQ(Get('aaaa', 1), "three");
  EXPECT_EQ((*description_)->idSize, 86 + 8 + 13 + 9);
  EXPECT_EQ(RemoveImageDescriptionExtension(description_, 'aaaa', 2), codecExtensionNotFoundErr);
}

TEST_F(ImageDescriptions, DamagedListsEndWhereTheDamageStarts) {
  ASSERT_EQ(Add("good", 'good'), noErr);
  ASSERT_EQ(Add("next", 'next'), noErr);
  UInt8* second = reinterpret_cast<UInt8*>(*description_) + 86 + 12;
  for (const UInt32 size : {0u, 7u, 13u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    for (int i = 0; i < 4; ++i) second[i] = static_cast<UInt8>(size >> (24 - 8 * i));
    EXPECT_EQ(Get('good', 1), "good");
    OSErr error = noErr;
    Get('next', 1, &error);
    EXPECT_EQ(error, codecExtensionNotFoundErr) << size;
    SInt32 type = 'good';
    EXPECT_EQ(GetNextImageDescriptionExtensionType(description_, &type), noErr);
    EXPECT_EQ(type, 0);
  }
  // An idSize beyond the handle, below the record, negative.
  second[0] = second[1] = second[2] = 0;
  second[3] = 12;
  (*description_)->idSize = 0x7FFFFFFF;
  EXPECT_EQ(Get('next', 1), "next");
  for (const SInt32 size : {0, 85, -1}) {
    (*description_)->idSize = size;
    OSErr error = noErr;
    Get('good', 1, &error);
    EXPECT_EQ(error, paramErr);
    EXPECT_EQ(Add("x", 'xxxx'), paramErr);
  }
  (*description_)->idSize = 86 + 5;  // five bytes are no atom
  OSErr error = noErr;
  Get('good', 1, &error);
  EXPECT_EQ(error, codecExtensionNotFoundErr);
}

TEST_F(ImageDescriptions, RandomListsAreWalkedWithinTheirBlock) {
  std::mt19937 random(5);
  int found = 0;
  for (int round = 0; round < 3000; ++round) {
    const auto h = reinterpret_cast<Handle>(description_);
    const Size size = static_cast<Size>(86 + random() % 60);
    SetHandleSize(h, size);
    // Headers one behind the other; a fifth of the sizes are wrong in some way.
    std::memset(*h + 86, 0, static_cast<std::size_t>(size - 86));
    for (Size at = 86; at + 8 <= size;) {
      const UInt32 atom = random() % 5 == 0 ? static_cast<UInt32>(random() % 300)
                                            : static_cast<UInt32>(8 + random() % 12);
      (*h)[at + 2] = static_cast<char>(atom >> 8);
      (*h)[at + 3] = static_cast<char>(atom);
      (*h)[at + 7] = static_cast<char>(1 + random() % 3);
      at += static_cast<Size>(atom == 0 ? 1 : atom);
    }
    (*description_)->idSize = static_cast<SInt32>(86 + random() % 80) - (round % 50 == 0 ? 86 : 0);
    int seen = 0;
    SInt32 type = 0;
    while (GetNextImageDescriptionExtensionType(description_, &type) == noErr && type != 0) {
      ASSERT_LE(++seen, 8) << "no more atoms than headers fit";
      SInt32 count = 0;
      ASSERT_EQ(CountImageDescriptionExtensionType(description_, type, &count), noErr);
      ASSERT_GE(count, 1);
      OSErr error = noErr;
      EXPECT_LE(Get(type, count, &error).size(), 60u);
      ASSERT_EQ(error, noErr);
    }
    found += seen;
    if (seen > 0 && round % 3 == 0) {
      GetNextImageDescriptionExtensionType(description_, &type);
      const SInt32 before = (*description_)->idSize;
      EXPECT_EQ(RemoveImageDescriptionExtension(description_, type, 1), noErr);
      EXPECT_LT((*description_)->idSize, before);
    }
  }
  EXPECT_GT(found, 1000) << "the lists are not all broken";
  (*description_)->idSize = 86;
}

TEST_F(ImageDescriptions, BadArguments) {
  Handle extension = NewHandle(3);
  char* foreign = nullptr;
  EXPECT_EQ(AddImageDescriptionExtension(nullptr, extension, 'test'), paramErr);
  EXPECT_EQ(AddImageDescriptionExtension(description_, nullptr, 'test'), paramErr);
  EXPECT_EQ(AddImageDescriptionExtension(description_, extension, 0), paramErr);
  EXPECT_EQ(AddImageDescriptionExtension(description_, &foreign, 'test'), memWZErr);
  Handle out = extension;
  EXPECT_EQ(GetImageDescriptionExtension(nullptr, &out, 'test', 1), paramErr);
  EXPECT_EQ(out, nullptr);
  DisposeHandle(extension);
  EXPECT_EQ(GetImageDescriptionExtension(description_, nullptr, 'test', 1), paramErr);
  EXPECT_EQ(GetNextImageDescriptionExtensionType(description_, nullptr), paramErr);
  ImageDescriptionHandle none = description_;
  EXPECT_EQ(MakeImageDescriptionForEffect(0, &none), paramErr);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(MakeImageDescriptionForEffect('test', nullptr), paramErr);
}

TEST_F(ImageDescriptions, LockedDescriptionsDoNotMove) {
  HLock(reinterpret_cast<Handle>(description_));
  EXPECT_EQ(Add(std::string(100000, 'x'), 'test'), memFullErr);
  EXPECT_EQ((*description_)->idSize, 86);
}

TEST_F(ImageDescriptions, PropertiesAreStoredBigEndian) {
  const FieldInfoImageDescriptionExtension2 field{1, 14};
  const CleanApertureImageDescriptionExtension clap{720, 1, 486, 2, -3, 4, 5, 6};
  const PixelAspectRatioImageDescriptionExtension pasp{0x01020304, 11};
  const NCLCColorInfoImageDescriptionExtension nclc{'nclc', 1, 2, 6};
  const Fixed gamma = 0x00023333;
  const OSType idsc = kQTPropertyClass_ImageDescription;
  const auto set = [&](OSType id, const void* value, std::size_t size) {
    return ICMImageDescriptionSetProperty(description_, idsc, id, static_cast<ByteCount>(size),
                                          value);
  };
  EXPECT_EQ(set('fiel', &field, sizeof(field)), noErr);
  EXPECT_EQ(set('clap', &clap, sizeof(clap)), noErr);
  EXPECT_EQ(set('pasp', &pasp, sizeof(pasp)), noErr);
  EXPECT_EQ(set('nclc', &nclc, sizeof(nclc)), noErr);
  EXPECT_EQ(set('gama', &gamma, sizeof(gamma)), noErr);
  EXPECT_EQ(Get('fiel', 1), std::string("\1\x0E", 2));
  EXPECT_EQ(Get('clap', 1), std::string("\0\0\2\xD0\0\0\0\1\0\0\1\xE6\0\0\0\2"
                                        "\xFF\xFF\xFF\xFD\0\0\0\4\0\0\0\5\0\0\0\6",
                                        32));
  EXPECT_EQ(Get('pasp', 1), std::string("\1\2\3\4\0\0\0\x0B", 8));
  EXPECT_EQ(Get('nclc', 1), std::string("nclc\0\1\0\2\0\6", 10));
  EXPECT_EQ(Get('gama', 1), std::string("\0\2\x33\x33", 4));

  CleanApertureImageDescriptionExtension back{};
  ByteCount used = 0;
  EXPECT_EQ(ICMImageDescriptionGetProperty(description_, idsc, 'clap', sizeof(back), &back, &used),
            noErr);
  EXPECT_EQ(used, 32u);
  EXPECT_EQ(std::memcmp(&back, &clap, sizeof(clap)), 0);

  // A second time replaces.
  const PixelAspectRatioImageDescriptionExtension other{7, 8};
  const SInt32 size = (*description_)->idSize;
  EXPECT_EQ(set('pasp', &other, sizeof(other)), noErr);
  EXPECT_EQ((*description_)->idSize, size);
  EXPECT_EQ(Get('pasp', 1), std::string("\0\0\0\7\0\0\0\x08", 8));

  EXPECT_EQ(set('pasp', &other, 7), kQTPropertyBadValueSizeErr);
  EXPECT_EQ(set('what', &other, 8), kQTPropertyNotSupportedErr);
  EXPECT_EQ(set('pasp', nullptr, 8), paramErr);
  EXPECT_EQ(ICMImageDescriptionSetProperty(description_, 'none', 'pasp', 8, &other),
            kQTPropertyNotSupportedErr);
  EXPECT_EQ(ICMImageDescriptionSetProperty(nullptr, idsc, 'pasp', 8, &other), paramErr);
  EXPECT_EQ(ICMImageDescriptionGetProperty(description_, idsc, 'rowb', 4, &back, &used),
            codecExtensionNotFoundErr);
  EXPECT_EQ(used, 0u);
}

TEST_F(ImageDescriptions, PropertyOfAnotherSizeInTheList) {
  ASSERT_EQ(Add("xyz", 'pasp'), noErr);
  PixelAspectRatioImageDescriptionExtension pasp{1, 2};
  EXPECT_EQ(ICMImageDescriptionGetProperty(description_, 'idsc', 'pasp', 8, &pasp, nullptr),
            codecBadDataErr);
  EXPECT_EQ(ICMImageDescriptionSetProperty(description_, 'idsc', 'pasp', 8, &pasp), noErr);
  EXPECT_EQ(Get('pasp', 1), std::string("\0\0\0\1\0\0\0\2", 8));
  EXPECT_EQ(Get('pasp', 2), "(none)");
}

TEST_F(ImageDescriptions, SizesAreProperties) {
  SInt32 width = 1920;
  EXPECT_EQ(ICMImageDescriptionSetProperty(description_, 'idsc', 'encw', 4, &width), noErr);
  EXPECT_EQ((*description_)->width, 1920);
  SInt32 height = 40000;
  EXPECT_EQ(ICMImageDescriptionSetProperty(description_, 'idsc', 'ench', 4, &height), paramErr);
  (*description_)->height = -5;
  EXPECT_EQ(ICMImageDescriptionGetProperty(description_, 'idsc', 'ench', 4, &height, nullptr),
            noErr);
  EXPECT_EQ(height, -5);
}

TEST_F(ImageDescriptions, OfPixelMaps) {
  const Rect bounds{10, 20, 40, 57};  // 37 x 30
  GWorldPtr world = nullptr;
  ASSERT_EQ(QTNewGWorld(&world, k32ARGBPixelFormat, &bounds, nullptr, nullptr, 0), noErr);
  ImageDescriptionHandle d = nullptr;
  ASSERT_EQ(MakeImageDescriptionForPixMap(GetGWorldPixMap(world), &d), noErr);
  EXPECT_EQ((*d)->idSize, 86);
  EXPECT_EQ((*d)->cType, 32u);
  EXPECT_EQ((*d)->width, 37);
  EXPECT_EQ((*d)->height, 30);
  EXPECT_EQ((*d)->depth, 32);
  EXPECT_EQ((*d)->dataSize, 160 * 30);
  EXPECT_EQ((*d)->frameCount, 1);
  EXPECT_EQ((*d)->clutID, -1);
  EXPECT_EQ((*d)->hRes, 0x00480000);
  DisposeHandle(reinterpret_cast<Handle>(d));
  DisposeGWorld(world);

  EXPECT_EQ(MakeImageDescriptionForPixMap(nullptr, &d), paramErr);
  EXPECT_EQ(d, nullptr);
  PixMap empty{};
  PixMap* pointer = &empty;
  EXPECT_EQ(MakeImageDescriptionForPixMap(&pointer, &d), paramErr);
  EXPECT_EQ(MakeImageDescriptionForPixMap(&pointer, nullptr), paramErr);
}

TEST_F(ImageDescriptions, OfEffects) {
  EXPECT_EQ((*description_)->idSize, 86);
  EXPECT_EQ((*description_)->cType, OSType{'2vuy'});
  EXPECT_EQ((*description_)->vendor, SInt32{'appl'});
  EXPECT_EQ((*description_)->frameCount, 1);
  EXPECT_EQ((*description_)->width, 0);
}

}  // namespace
