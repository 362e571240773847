#include "components/camera_component.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/HermeticHome.h"
#include "tests/support/ProcessState.h"

namespace {

constexpr std::uint64_t kLimit = std::uint64_t{1} << 32;

std::uint64_t Address(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

TEST(CameraRecord, HasTheSharedLayout) {
  tagSHARED_CAMERA_BUFFER record = {};
  record.structSize = 0x03020100;
  record.frameBufferPtr = 0x07060504;
  record.rowBytes = 0x0B0A0908;
  record.dataSize = 0x0F0E0D0C;
  record.frameWidth = 0x1110;
  record.frameHeight = 0x1312;
  record.pixelFormat = 0x17161514;
  unsigned char bytes[24];
  ASSERT_EQ(sizeof(record), sizeof(bytes));
  std::memcpy(bytes, &record, sizeof(bytes));
  for (int i = 0; i < 24; ++i) EXPECT_EQ(bytes[i], i);
  EXPECT_EQ(LUMIVANE_CAMERA_FORMAT_2VUY, static_cast<std::uint32_t>('2vuy'));
}

TEST(CameraRecord, TakesOnlyAddressesThatFit) {
  tagSHARED_CAMERA_BUFFER record = {};
  EXPECT_TRUE(LumivaneCamera_SetPixels(&record, reinterpret_cast<void*>(0xFFFFFFFF)));
  EXPECT_EQ(record.frameBufferPtr, 0xFFFFFFFFU);
  EXPECT_EQ(Address(LumivaneCamera_GetPixels(&record)), 0xFFFFFFFFU);
  EXPECT_FALSE(LumivaneCamera_SetPixels(&record, reinterpret_cast<void*>(kLimit)));
  EXPECT_EQ(record.frameBufferPtr, 0U);
  EXPECT_EQ(LumivaneCamera_GetPixels(&record), nullptr);
}

TEST(CameraRecord, IsFilledForAFrameWithoutPadding) {
  tagSHARED_CAMERA_BUFFER record = {};
  record.structSize = LUMIVANE_CAMERA_RECORD_SIZE;
  const auto* const pixels = reinterpret_cast<void*>(0x12345000);
  ASSERT_TRUE(LumivaneCamera_SetFrame(&record, pixels, 640, 480, LUMIVANE_CAMERA_FORMAT_2VUY));
  EXPECT_EQ(record.structSize, LUMIVANE_CAMERA_RECORD_SIZE);
  EXPECT_EQ(record.frameBufferPtr, 0x12345000U);
  EXPECT_EQ(record.rowBytes, 1280U);
  EXPECT_EQ(record.dataSize, 614400U);
  EXPECT_EQ(record.frameWidth, 640);
  EXPECT_EQ(record.frameHeight, 480);
  EXPECT_EQ(record.pixelFormat, LUMIVANE_CAMERA_FORMAT_2VUY);
  for (const std::uint32_t format : {LUMIVANE_CAMERA_FORMAT_ARGB, std::uint32_t{7}}) {
    ASSERT_TRUE(LumivaneCamera_SetFrame(&record, pixels, 32767, 32767, format));
    EXPECT_EQ(record.rowBytes, 131068U);
    EXPECT_EQ(record.dataSize, 4294705156U);
    EXPECT_EQ(record.frameWidth, 32767);
    EXPECT_EQ(record.frameHeight, 32767);
    EXPECT_EQ(record.pixelFormat, format);
  }
}

TEST(CameraRecord, HoldsNoFrameWhereOneDoesNotFit) {
  struct Case {
    std::uint64_t address;
    int width, height;
  };
  for (const Case& bad : {Case{kLimit, 4, 4}, Case{4096, 0, 4}, Case{4096, 4, 0}, Case{4096, -4, 4},
                          Case{4096, 4, -4}, Case{4096, 32768, 4}, Case{4096, 4, 32768}}) {
    tagSHARED_CAMERA_BUFFER record = {};
    record.frameBufferPtr = 77;
    EXPECT_FALSE(LumivaneCamera_SetFrame(&record, reinterpret_cast<void*>(bad.address), bad.width,
                                         bad.height, LUMIVANE_CAMERA_FORMAT_ARGB))
        << bad.address << " " << bad.width << " x " << bad.height;
    EXPECT_EQ(record.frameBufferPtr, 0U);
  }
}

TEST(CameraStatus, IsStoredAsFarAsTheCallersStructureGoes) {
  LumivaneCameraStatus own = {};
  own.structSize = 0xDEAD;
  own.state = LUMIVANE_CAMERA_STATE_STALE;
  own.sequence = 11;
  own.received = 12;
  std::strcpy(own.message, "words");

  LumivaneCameraStatus whole = {};
  whole.structSize = sizeof(whole);
  ASSERT_TRUE(LumivaneCamera_StoreStatus(&whole, &own));
  EXPECT_EQ(whole.structSize, sizeof(whole));
  EXPECT_EQ(whole.received, 12U);
  EXPECT_STREQ(whole.message, "words");

  LumivaneCameraStatus older = {};
  older.structSize = LUMIVANE_CAMERA_STATUS_MINIMUM;
  older.received = 77;
  ASSERT_TRUE(LumivaneCamera_StoreStatus(&older, &own));
  EXPECT_EQ(older.structSize, LUMIVANE_CAMERA_STATUS_MINIMUM);
  EXPECT_EQ(older.state, LUMIVANE_CAMERA_STATE_STALE);
  EXPECT_EQ(older.sequence, 11U);
  EXPECT_EQ(older.received, 77U);

  struct {
    LumivaneCameraStatus known;
    char more[8];
  } newer = {{}, "later"};
  newer.known.structSize = sizeof(newer);
  ASSERT_TRUE(LumivaneCamera_StoreStatus(&newer.known, &own));
  EXPECT_EQ(newer.known.structSize, sizeof(own));
  EXPECT_STREQ(newer.known.message, "words");
  EXPECT_STREQ(newer.more, "later");
}

TEST(CameraStatus, IsNotStoredWhereTheLeastDoesNotFit) {
  const LumivaneCameraStatus own = {};
  EXPECT_FALSE(LumivaneCamera_StoreStatus(nullptr, &own));
  LumivaneCameraStatus small = {};
  small.structSize = LUMIVANE_CAMERA_STATUS_MINIMUM - 1;
  small.sequence = 77;
  EXPECT_FALSE(LumivaneCamera_StoreStatus(&small, &own));
  EXPECT_EQ(small.structSize, LUMIVANE_CAMERA_STATUS_MINIMUM - 1);
  EXPECT_EQ(small.sequence, 77U);
}

TEST(FrameMemory, LiesBelowFourGiBZeroedAndWritable) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{4096}, std::size_t{160 * 120 * 4 + 1},
                                 std::size_t{3840} * 2160 * 4}) {
    const char* error = "untouched";
    auto* const frame = static_cast<unsigned char*>(LumivaneCamera_AllocateFrame(size, &error));
    ASSERT_NE(frame, nullptr) << size;
    EXPECT_EQ(error, nullptr);
    EXPECT_LE(Address(frame) + size, kLimit);
    EXPECT_EQ(Address(frame) % 4096, 0U);
    EXPECT_EQ(frame[0], 0);
    EXPECT_EQ(frame[size - 1], 0);
    std::memset(frame, 0xA5, size);
    LumivaneCamera_FreeFrame(frame, size);
  }
}

TEST(FrameMemory, IsFoundWithoutTheMachinesFlag) {
  constexpr std::uint64_t kSize = 1 << 20;
  std::vector<void*> frames;
  for (int i = 0; i < 20; ++i) {
    void* const frame = LumivaneCamera_MapByGap(kSize);
    ASSERT_NE(frame, nullptr);
    EXPECT_LE(Address(frame) + kSize, kLimit);
    std::memset(frame, i, kSize);
    frames.push_back(frame);
  }
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(static_cast<unsigned char*>(frames[static_cast<std::size_t>(i)])[kSize - 1], i);
    LumivaneCamera_FreeFrame(frames[static_cast<std::size_t>(i)], kSize);
  }
}

TEST(FrameMemory, HighestGapIsReadFromTheTableOfMappings) {
  const test::TempFolder folder;
  const std::string table = folder / "maps";
  test::WriteFile(table,
                  "00400000-00500000 r-xp 00000000 fe:00 1 /bin/program\n"
                  "e0000000-e0100000 rw-p 00000000 00:00 0\n"
                  "f0000000-fff00000 rw-p 00000000 00:00 0\n"
                  "7f0000000000-7f0000100000 rw-p 00000000 00:00 0 [stack]\n");
  int readable = 0;
  const auto gap = [&](std::uint64_t size, std::uint64_t ceiling) {
    return LumivaneCamera_HighestGap(table.c_str(), size, ceiling, &readable);
  };
  EXPECT_EQ(gap(0x100000, kLimit), 0xFFF00000U) << "right below 4 GiB";
  EXPECT_TRUE(readable);
  EXPECT_EQ(gap(0x101000, kLimit), 0xF0000000U - 0x101000U);
  EXPECT_EQ(gap(0x10000000, kLimit), 0xE0000000U - 0x10000000U);
  EXPECT_EQ(gap(0x100000, 0xE0000000U), 0xDFF00000U) << "below the ceiling only";
  EXPECT_EQ(gap(0x1000, 0x500000), 0x3FF000U) << "below the program";
  EXPECT_EQ(gap(0xE0000000, kLimit), 0U) << "no room for so much";
  EXPECT_EQ(LumivaneCamera_HighestGap((folder / "missing").c_str(), 4096, kLimit, &readable), 0U);
  EXPECT_FALSE(readable);
}

TEST(FrameMemory, RefusesSizesNoFrameHas) {
  for (const std::size_t size :
       {std::size_t{0}, static_cast<std::size_t>(kLimit), ~std::size_t{0}}) {
    const char* error = nullptr;
    errno = 0;
    EXPECT_EQ(LumivaneCamera_AllocateFrame(size, &error), nullptr);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_STREQ(error, "a frame has at least one byte and less than 4 GiB");
  }
  EXPECT_EQ(LumivaneCamera_AllocateFrame(0, nullptr), nullptr);
  LumivaneCamera_FreeFrame(nullptr, 4096);
}

TEST(FrameMemory, SaysSoWhenTheLowAddressesAreFull) {
  constexpr std::size_t kBlock = std::size_t{64} << 20;
  const std::uint64_t before = test::LowMappedBytes();
  std::vector<void*> blocks;
  const char* error = nullptr;
  void* block = nullptr;
  while ((block = LumivaneCamera_AllocateFrame(kBlock, &error)) != nullptr) {
    EXPECT_LE(Address(block) + kBlock, kLimit);
    blocks.push_back(block);
    ASSERT_LE(blocks.size(), 64U);
  }
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_STREQ(error,
               "no room for a frame of this size below 4 GiB: the low addresses are in use, or the "
               "process has reached its memory limit");
  // The machine's flag reaches only part of the low addresses; the search has filled the rest.
  EXPECT_GE(blocks.size(), 20U);
  for (void* used : blocks) LumivaneCamera_FreeFrame(used, kBlock);
  EXPECT_EQ(test::LowMappedBytes(), before);
}

struct Module {
  explicit Module(const char* path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}
  ~Module() {
    if (handle != nullptr) dlclose(handle);
  }
  using Entry = std::int32_t (*)(tagSHARED_CAMERA_BUFFER*);
  Entry entry() const { return reinterpret_cast<Entry>(dlsym(handle, LUMIVANE_CAMERA_FUNCTION2)); }
  void* handle;
};

TEST(ExampleComponent, GivesItsPictureAndLeavesNothing) {
  const std::uint64_t before = test::LowMappedBytes();
  {
    const Module module(EXAMPLE_MODULE);
    ASSERT_NE(module.handle, nullptr) << dlerror();
    tagSHARED_CAMERA_BUFFER record = {};
    EXPECT_EQ(module.entry()(&record), 0) << "another record than this one";
    EXPECT_EQ(record.frameBufferPtr, 0U);
    record.structSize = LUMIVANE_CAMERA_RECORD_SIZE;
    ASSERT_NE(module.entry()(&record), 0);
    EXPECT_EQ(record.frameWidth, 320);
    EXPECT_EQ(record.frameHeight, 240);
    EXPECT_EQ(record.rowBytes, 1280U);
    EXPECT_EQ(record.dataSize, 1280U * 240U);
    const auto* const pixels = static_cast<const unsigned char*>(LumivaneCamera_GetPixels(&record));
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(pixels[record.dataSize - 4], 255);
    EXPECT_EQ(pixels[record.dataSize - 3], 319 * 255 / 320);
    EXPECT_EQ(pixels[record.dataSize - 2], 239 * 255 / 240);
    EXPECT_EQ(pixels[record.dataSize - 1], 160);
  }
  EXPECT_EQ(test::CountMappings("LumivaneXXX.component"), 0);
  EXPECT_EQ(test::LowMappedBytes(), before);
}

TEST(ExampleComponent, StandsInTheGuideLetterByLetter) {
  const std::string guide = test::ReadFile(SOURCE_FOLDER "/docs/components.md");
  const std::string example = test::ReadFile(SOURCE_FOLDER "/components/example/still_camera.c");
  ASSERT_FALSE(example.empty());
  EXPECT_NE(guide.find("```c\n" + example + "```\n"), std::string::npos);
}

}  // namespace
