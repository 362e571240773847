#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "components/camera_component.h"
#include "components/testpattern/frame_source.h"
#include "components/testpattern/pattern.h"
#include "components/testpattern/settings.h"
#include "components/testpattern/text.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/ProcessState.h"

namespace {

using namespace std::chrono_literals;
using testpattern::Pattern;
using testpattern::PixelFormat;
using testpattern::ReadCounter;
using testpattern::Settings;
using Bytes = std::vector<std::uint8_t>;

Settings Made(PixelFormat format, int width, int height, double rate = 30) {
  Settings settings;
  settings.format = format;
  settings.width = width;
  settings.height = height;
  settings.rate = rate;
  return settings;
}

// ---- Settings

struct Reading {
  Settings settings;
  std::vector<std::string> reports;
};

Reading Read(const std::map<std::string, std::string>& variables) {
  Reading reading;
  reading.settings = testpattern::ReadSettings(
      [&](const char* name) -> const char* {
        const auto found = variables.find(name);
        return found == variables.end() ? nullptr : found->second.c_str();
      },
      [&](const std::string& line) { reading.reports.push_back(line); });
  return reading;
}

TEST(TestPatternSettings, DefaultsWithoutVariablesOrWithEmptyOnes) {
  for (const auto& reading : {Read({}), Read({{"LUMIVANE_TESTPATTERN_FORMAT", ""},
                                              {"LUMIVANE_TESTPATTERN_SIZE", ""},
                                              {"LUMIVANE_TESTPATTERN_RATE", ""}})}) {
    EXPECT_EQ(reading.settings.format, PixelFormat::kArgb);
    EXPECT_EQ(reading.settings.width, 640);
    EXPECT_EQ(reading.settings.height, 480);
    EXPECT_EQ(reading.settings.rate, 30);
    EXPECT_EQ(reading.settings.RowBytes(), 2560U);
    EXPECT_EQ(reading.settings.DataSize(), 1228800U);
    EXPECT_TRUE(reading.reports.empty());
  }
}

TEST(TestPatternSettings, TakesEveryStatedValue) {
  Reading reading = Read({{"LUMIVANE_TESTPATTERN_FORMAT", "2VUY"},
                          {"LUMIVANE_TESTPATTERN_SIZE", "1920X1080"},
                          {"LUMIVANE_TESTPATTERN_RATE", "29.97"}});
  EXPECT_EQ(reading.settings.format, PixelFormat::k2vuy);
  EXPECT_EQ(reading.settings.width, 1920);
  EXPECT_EQ(reading.settings.height, 1080);
  EXPECT_EQ(reading.settings.rate, 29.97);
  EXPECT_EQ(reading.settings.RowBytes(), 3840U);
  EXPECT_TRUE(reading.reports.empty());
  for (const char* size : {"80x60", "7680x4320", "81x61"}) {
    EXPECT_TRUE(Read({{"LUMIVANE_TESTPATTERN_SIZE", size}}).reports.empty()) << size;
  }
  for (const char* rate : {"1", "240", "23.976"}) {
    EXPECT_TRUE(Read({{"LUMIVANE_TESTPATTERN_RATE", rate}}).reports.empty()) << rate;
  }
}

TEST(TestPatternSettings, ReportsWhatItCannotUseAndTakesTheDefault) {
  const std::string start = "LumivaneXXX.component: LUMIVANE_TESTPATTERN_";
  Reading reading = Read({{"LUMIVANE_TESTPATTERN_FORMAT", "rgb"}});
  EXPECT_EQ(reading.settings.format, PixelFormat::kArgb);
  EXPECT_EQ(reading.reports,
            std::vector{start + "FORMAT is \"rgb\": want argb or 2vuy; using argb"});
  for (const char* size :
       {"640", "x480", "640x", "640x480x3", "79x60", "80x59", "7681x100", "100x4321", "-640x480",
        "640x480 ", "99999999999x480", "axb", "640.5x480"}) {
    reading = Read({{"LUMIVANE_TESTPATTERN_SIZE", size}});
    EXPECT_EQ(reading.settings.width, 640) << size;
    EXPECT_EQ(reading.settings.height, 480) << size;
    EXPECT_EQ(reading.reports,
              std::vector{start + "SIZE is \"" + size +
                          "\": want WIDTHxHEIGHT from 80x60 to 7680x4320; using 640x480"});
  }
  for (const char* rate : {"0", "-5", "0.5", "241", "fast", "nan", "inf", "30fps", "1e9"}) {
    reading = Read({{"LUMIVANE_TESTPATTERN_RATE", rate}});
    EXPECT_EQ(reading.settings.rate, 30) << rate;
    EXPECT_EQ(reading.reports, std::vector{start + "RATE is \"" + rate +
                                           "\": want frames per second from 1 to 240; using 30"});
  }
  reading =
      Read({{"LUMIVANE_TESTPATTERN_FORMAT", "2vuy"}, {"LUMIVANE_TESTPATTERN_SIZE", "321x240"}});
  EXPECT_EQ(reading.settings.width, 640);
  EXPECT_EQ(reading.settings.height, 480);
  EXPECT_EQ(reading.reports,
            std::vector{start + "SIZE is \"321x240\": want an even width for 2vuy; using 640x480"});
}

// ---- Captions

TEST(TestPatternText, FiguresAreAllDifferentAndInsideTheirCells) {
  std::set<std::string> shapes;
  for (char figure = '0'; figure <= '9'; ++figure) {
    const std::string text(1, figure);
    EXPECT_EQ(testpattern::TextWidth(text), 5);
    std::string shape;
    for (int y = -1; y <= 7; ++y) {
      for (int x = -1; x <= 5; ++x) {
        const bool dot = testpattern::TextDot(text, x, y);
        shape += dot ? '#' : '.';
        EXPECT_FALSE(dot && (x < 0 || x > 4 || y < 0 || y > 6));
      }
    }
    shapes.insert(shape);
  }
  EXPECT_EQ(shapes.size(), 10U);
  EXPECT_EQ(testpattern::TextWidth(""), 0);
  EXPECT_EQ(testpattern::TextWidth("AB"), 11);
  EXPECT_FALSE(testpattern::TextDot("88", 5, 3)) << "the gap between two characters";
  EXPECT_EQ(testpattern::TextDot("81", 6 + 2, 0), testpattern::TextDot("1", 2, 0));
  EXPECT_FALSE(testpattern::TextDot("~", 2, 3)) << "not in the alphabet";
}

// ---- The picture

Bytes Drawn(const Settings& settings, std::uint32_t number) {
  Pattern pattern(settings);
  Bytes pixels(settings.DataSize());
  pattern.DrawBackground(pixels.data());
  pattern.DrawFrame(number, pixels.data());
  return pixels;
}

using Rgb = std::array<int, 3>;

Rgb ArgbAt(const Settings& settings, const Bytes& pixels, int x, int y) {
  const std::uint8_t* p = pixels.data() + static_cast<std::size_t>(y) * settings.RowBytes() +
                          static_cast<std::size_t>(x) * 4;
  return {p[1], p[2], p[3]};
}

TEST(TestPatternPicture, ShowsSeventyFivePercentBars) {
  const Settings settings = Made(PixelFormat::kArgb, 700, 480);
  const Bytes pixels = Drawn(settings, 0);
  const Rgb want[] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                      {191, 0, 191},   {191, 0, 0},   {0, 0, 191}};
  for (int bar = 0; bar < 7; ++bar) {
    EXPECT_EQ(ArgbAt(settings, pixels, bar * 100, 0), want[bar]) << bar;
    EXPECT_EQ(ArgbAt(settings, pixels, bar * 100 + 99, 0), want[bar]) << bar;
    const Rgb below = bar % 2 == 0 ? want[6 - bar] : Rgb{0, 0, 0};
    EXPECT_EQ(ArgbAt(settings, pixels, bar * 100 + 50, 310), below) << bar;
  }
  for (std::size_t i = 0; i < pixels.size(); i += 4) ASSERT_EQ(pixels[i], 255) << "alpha at " << i;
}

TEST(TestPatternPicture, TellsItsNumberToMachinesInEverySizeAndFormat) {
  const int sizes[][2] = {{80, 60},   {82, 61},   {160, 120},  {320, 243},
                          {640, 480}, {720, 576}, {1278, 719}, {1920, 1080}};
  for (const auto& size : sizes) {
    for (const PixelFormat format : {PixelFormat::kArgb, PixelFormat::k2vuy}) {
      const Settings settings = Made(format, size[0], size[1]);
      Pattern pattern(settings);
      Bytes pixels(settings.DataSize());
      pattern.DrawBackground(pixels.data());
      EXPECT_FALSE(ReadCounter(format, size[0], size[1], settings.RowBytes(), pixels.data()));
      for (const std::uint32_t number : {0U, 1U, 137U, 0x55555555U, 0xAAAAAAAAU, 0xFFFFFFFFU}) {
        pattern.DrawFrame(number, pixels.data());
        EXPECT_EQ(ReadCounter(format, size[0], size[1], settings.RowBytes(), pixels.data()), number)
            << size[0] << "x" << size[1];
      }
    }
  }
}

TEST(TestPatternPicture, StripIsRefusedWhenOneCellIsWrong) {
  const Settings settings = Made(PixelFormat::kArgb, 640, 480);
  const Bytes good = Drawn(settings, 123456);
  for (int cell = 0; cell < 40; ++cell) {
    Bytes bad = good;
    for (int y = 451; y < 480; ++y) {
      for (int x = cell * 16; x < cell * 16 + 16; ++x) {
        for (std::size_t c = 1; c < 4; ++c) {
          std::uint8_t& value =
              bad[static_cast<std::size_t>(y) * 2560 + static_cast<std::size_t>(x) * 4 + c];
          value = static_cast<std::uint8_t>(255 - value);
        }
      }
    }
    EXPECT_FALSE(ReadCounter(PixelFormat::kArgb, 640, 480, 2560, bad.data())) << cell;
  }
}

TEST(TestPatternPicture, TellsItsNumberToPeople) {
  const Settings settings = Made(PixelFormat::kArgb, 640, 480);
  const Bytes pixels = Drawn(settings, 4294967295U);
  // The figures start at a fortieth of the width, five pixels a dot, in the middle of their panel.
  const int scale = 5;
  const int top = 384 + (451 - 384 - 7 * scale) / 2;
  for (int row = 0; row < 7; ++row) {
    for (int column = 0; column < testpattern::TextWidth("4294967295"); ++column) {
      const bool lit =
          ArgbAt(settings, pixels, 16 + column * scale + 2, top + row * scale + 2)[1] > 128;
      EXPECT_EQ(lit, testpattern::TextDot("4294967295", column, row)) << column << " " << row;
    }
  }
}

TEST(TestPatternPicture, FollowsFromTheNumberAlone) {
  for (const PixelFormat format : {PixelFormat::kArgb, PixelFormat::k2vuy}) {
    const Settings settings = Made(format, 322, 241, 25);
    Pattern pattern(settings);
    Bytes pixels(settings.DataSize());
    pattern.DrawBackground(pixels.data());
    for (const std::uint32_t number : {5U, 61U, 17U, 90000U, 3U}) {
      pattern.DrawFrame(number, pixels.data());
      EXPECT_EQ(pixels, Drawn(settings, number)) << number;
    }
  }
}

TEST(TestPatternPicture, HandAndBallMoveWithEveryFrame) {
  const Settings settings = Made(PixelFormat::kArgb, 640, 480);
  const Pattern pattern(settings);
  const auto differs = [&](const Bytes& a, const Bytes& b, testpattern::Area area) {
    for (int y = area.top; y < area.bottom; ++y) {
      for (int x = area.left; x < area.right; ++x) {
        if (ArgbAt(settings, a, x, y) != ArgbAt(settings, b, x, y)) return true;
      }
    }
    return false;
  };
  Bytes before = Drawn(settings, 0);
  for (std::uint32_t number = 1; number < 60; ++number) {
    const Bytes now = Drawn(settings, number);
    EXPECT_TRUE(differs(before, now, pattern.DiscArea())) << number;
    EXPECT_TRUE(differs(before, now, pattern.BallArea())) << number;
    before = now;
  }
  const Bytes round = Drawn(settings, 120);
  const Bytes start = Drawn(settings, 0);
  EXPECT_FALSE(differs(start, round, pattern.DiscArea())) << "two turns later";
  EXPECT_FALSE(differs(start, round, pattern.BallArea())) << "there and back";
}

// Video range, the textbook way; kr and kb are the weights of red and blue in luma.
Rgb Decoded(int y, int cb, int cr, double kr, double kb) {
  const double luma = (y - 16) / 219.0;
  const double blue = (cb - 128) / 224.0;
  const double red = (cr - 128) / 224.0;
  const double r = luma + 2 * (1 - kr) * red;
  const double b = luma + 2 * (1 - kb) * blue;
  const double g = (luma - kr * r - kb * b) / (1 - kr - kb);
  const auto byte = [](double v) {
    return static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255));
  };
  return {byte(r), byte(g), byte(b)};
}

void ExpectTheSameIn2vuy(int width, int height, double kr, double kb) {
  const Settings argb = Made(PixelFormat::kArgb, width, height);
  const Settings yuv = Made(PixelFormat::k2vuy, width, height);
  const Bytes want = Drawn(argb, 77);
  const Bytes got = Drawn(yuv, 77);
  for (int y = 0; y < height; ++y) {
    if (y >= height * 80 / 100 && y < height * 94 / 100) continue;  // the caption names the format
    for (int x = 0; x < width; x += 2) {
      const std::uint8_t* unit = got.data() + y * width * 2 + x * 2;
      ASSERT_GE(unit[1], 16);
      ASSERT_LE(unit[1], 235);
      ASSERT_GE(std::min(unit[0], unit[2]), 16);
      ASSERT_LE(std::max(unit[0], unit[2]), 240);
      // Only where both pixels of a pair are alike is the shared chroma exactly theirs.
      if (ArgbAt(argb, want, x, y) != ArgbAt(argb, want, x + 1, y)) continue;
      const Rgb decoded = Decoded(unit[1], unit[0], unit[2], kr, kb);
      const Rgb pixel = ArgbAt(argb, want, x, y);
      for (std::size_t c = 0; c < 3; ++c) {
        // Two roundings of samples that carry up to 1.9 levels per step.
        ASSERT_NEAR(decoded[c], pixel[c], 2) << x << "," << y << " component " << c;
      }
    }
  }
}

TEST(TestPatternPicture, IsTheSameIn2vuyByRec601UpTo576Rows) {
  ExpectTheSameIn2vuy(640, 480, 0.299, 0.114);
  ExpectTheSameIn2vuy(160, 576, 0.299, 0.114);
}

TEST(TestPatternPicture, IsTheSameIn2vuyByRec709Above) {
  ExpectTheSameIn2vuy(160, 577, 0.2126, 0.0722);
  ExpectTheSameIn2vuy(640, 720, 0.2126, 0.0722);
}

// ---- The camera

std::uint32_t NumberIn(const Settings& settings, const std::uint8_t* pixels) {
  const auto number =
      ReadCounter(settings.format, settings.width, settings.height, settings.RowBytes(), pixels);
  EXPECT_TRUE(number.has_value());
  return number.value_or(0);
}

TEST(TestPatternSource, StartsAtZero) {
  const Settings settings = Made(PixelFormat::kArgb, 160, 120, 1);
  testpattern::FrameSource source(settings);
  EXPECT_EQ(NumberIn(settings, source.Newest()), 0U);
}

TEST(TestPatternSource, KeepsTheTimeAndNeverTouchesWhatItHandedOut) {
  const Settings settings = Made(PixelFormat::kArgb, 160, 120, 240);
  const auto start = std::chrono::steady_clock::now();
  testpattern::FrameSource source(settings);
  const std::uint8_t* frame = source.Newest();
  std::set<const std::uint8_t*> buffers{frame};
  std::uint32_t last = 0;
  while (last < 60) {
    const Bytes copy(frame, frame + settings.DataSize());
    std::this_thread::sleep_for(9ms);
    ASSERT_TRUE(std::equal(copy.begin(), copy.end(), frame)) << "frame " << last;
    frame = source.Newest();
    buffers.insert(frame);
    const std::uint32_t number = NumberIn(settings, frame);
    EXPECT_GE(number, last);
    last = number;
    const double passed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LE(number, passed * 240 + 1) << "no frame before its time";
    ASSERT_LT(passed, 30) << "frames stopped";
  }
  EXPECT_LE(buffers.size(), 3U);
}

TEST(TestPatternSource, AnswersAtOnceWhateverTheRate) {
  testpattern::FrameSource source(Made(PixelFormat::kArgb, 160, 120, 1));
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) EXPECT_NE(source.Newest(), nullptr);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 500ms) << "waited for a frame";
}

// ---- The loaded component

class TestPatternModule : public testing::Test {
 protected:
  using Entry = std::int32_t (*)(tagSHARED_CAMERA_BUFFER*);
  void Load() {
    handle_ = dlopen(TESTPATTERN_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle_, nullptr) << dlerror();
    entry_ = reinterpret_cast<Entry>(dlsym(handle_, LUMIVANE_CAMERA_FUNCTION2));
    ASSERT_NE(entry_, nullptr);
  }
  void Unload() {
    if (handle_ != nullptr) dlclose(handle_);
    handle_ = nullptr;
  }
  ~TestPatternModule() override { Unload(); }

  void* handle_ = nullptr;
  Entry entry_ = nullptr;
};

TEST_F(TestPatternModule, FillsTheRecord) {
  const test::ScopedVariable size("LUMIVANE_TESTPATTERN_SIZE", "320x200");
  const test::ScopedVariable format("LUMIVANE_TESTPATTERN_FORMAT", "2vuy");
  const test::ScopedVariable rate("LUMIVANE_TESTPATTERN_RATE", "1");
  Load();
  tagSHARED_CAMERA_BUFFER record = {};
  record.structSize = 24;
  ASSERT_NE(entry_(&record), 0);
  EXPECT_EQ(record.structSize, 24U);
  EXPECT_NE(record.frameBufferPtr, 0U);
  EXPECT_EQ(record.rowBytes, 640U);
  EXPECT_EQ(record.dataSize, 640U * 200U);
  EXPECT_EQ(record.frameWidth, 320);
  EXPECT_EQ(record.frameHeight, 200);
  EXPECT_EQ(record.pixelFormat, LUMIVANE_CAMERA_FORMAT_2VUY);
  EXPECT_EQ(ReadCounter(PixelFormat::k2vuy, 320, 200, 640,
                        static_cast<const std::uint8_t*>(LumivaneCamera_GetPixels(&record))),
            0U);
}

TEST_F(TestPatternModule, RefusesAnotherRecord) {
  Load();
  tagSHARED_CAMERA_BUFFER record = {};
  for (const std::uint32_t size : {0U, 20U, 28U}) {
    record.structSize = size;
    EXPECT_EQ(entry_(&record), 0);
    EXPECT_EQ(record.frameBufferPtr, 0U);
  }
  EXPECT_EQ(entry_(nullptr), 0);
}

TEST_F(TestPatternModule, CarriesEveryEntryPointAndExportsNothingElse) {
  Load();
  for (const char* name : {LUMIVANE_CAMERA_FUNCTION, LUMIVANE_CAMERA_FUNCTION0,
                           LUMIVANE_CAMERA_FUNCTION1, LUMIVANE_CAMERA_FUNCTION2}) {
    EXPECT_NE(dlsym(handle_, name), nullptr) << name;
  }
}

TEST_F(TestPatternModule, TellsItsStatus) {
  const test::ScopedVariable size("LUMIVANE_TESTPATTERN_SIZE", "160x120");
  Load();
  const auto copyStatus = reinterpret_cast<int32_t (*)(LumivaneCameraStatus*)>(
      dlsym(handle_, LUMIVANE_CAMERA_STATUS_FUNCTION));
  ASSERT_NE(copyStatus, nullptr);
  LumivaneCameraStatus status = {};
  status.structSize = sizeof(status);
  ASSERT_NE(copyStatus(&status), 0);
  EXPECT_EQ(status.state, LUMIVANE_CAMERA_STATE_NONE) << "asking for the status starts nothing";
  EXPECT_EQ(status.age, UINT64_MAX);
  EXPECT_STRNE(status.message, "");

  tagSHARED_CAMERA_BUFFER record = {};
  record.structSize = 24;
  ASSERT_NE(entry_(&record), 0);
  ASSERT_NE(copyStatus(&status), 0);
  const std::uint64_t first = status.sequence;
  EXPECT_GE(first, 1U);
  const std::uint64_t received = status.received;
  while (status.received < received + 3) {
    std::this_thread::sleep_for(5ms);
    ASSERT_NE(copyStatus(&status), 0);
  }
  EXPECT_EQ(status.structSize, sizeof(status));
  EXPECT_EQ(status.state, LUMIVANE_CAMERA_STATE_LIVE);
  EXPECT_EQ(status.sequence, first) << "no other frame was asked for";
  EXPECT_GE(status.skipped, 1U);
  EXPECT_EQ(status.frameWidth, 160);
  EXPECT_EQ(status.frameHeight, 120);
  EXPECT_EQ(status.pixelFormat, LUMIVANE_CAMERA_FORMAT_ARGB);
  EXPECT_EQ(status.nominalRate, 30);
  EXPECT_GT(status.rate, 0);
  EXPECT_LT(status.age, UINT64_C(10000000000));
  EXPECT_STREQ(status.source, "test pattern");
  EXPECT_STREQ(status.message, "");
  ASSERT_NE(entry_(&record), 0);
  ASSERT_NE(copyStatus(&status), 0);
  EXPECT_GT(status.sequence, first + 1);
  EXPECT_LE(status.sequence, status.received + status.lost);

  // An older host's structure is filled as far as it goes, a newer one's likewise.
  LumivaneCameraStatus old = {};
  old.structSize = LUMIVANE_CAMERA_STATUS_MINIMUM;
  old.received = 77;
  ASSERT_NE(copyStatus(&old), 0);
  EXPECT_EQ(old.structSize, LUMIVANE_CAMERA_STATUS_MINIMUM);
  EXPECT_EQ(old.state, LUMIVANE_CAMERA_STATE_LIVE);
  EXPECT_EQ(old.received, 77U);
  struct {
    LumivaneCameraStatus known;
    char more[64];
  } newer = {};
  newer.known.structSize = sizeof(newer);
  ASSERT_NE(copyStatus(&newer.known), 0);
  EXPECT_EQ(newer.known.structSize, sizeof(status));
  old.structSize = LUMIVANE_CAMERA_STATUS_MINIMUM - 1;
  EXPECT_EQ(copyStatus(&old), 0);
  EXPECT_EQ(copyStatus(nullptr), 0);
}

TEST_F(TestPatternModule, StartsNoThreadBeforeTheFirstFrame) {
  const int threads = test::CountThreads();
  Load();
  EXPECT_EQ(test::CountThreads(), threads);
  tagSHARED_CAMERA_BUFFER record = {};
  record.structSize = 24;
  ASSERT_NE(entry_(&record), 0);
  EXPECT_EQ(test::CountThreads(), threads + 1);
  Unload();
  EXPECT_TRUE(test::ThreadsFallTo(threads));
}

TEST_F(TestPatternModule, LeavesNothingBehindAfterManyLoads) {
  const test::ScopedVariable size("LUMIVANE_TESTPATTERN_SIZE", "160x120");
  const int threads = test::CountThreads();
  const std::uint64_t low = test::LowMappedBytes();
  for (int i = 0; i < 50; ++i) {
    Load();
    tagSHARED_CAMERA_BUFFER record = {};
    record.structSize = 24;
    ASSERT_NE(entry_(&record), 0);
    EXPECT_GT(test::CountMappings("LumivaneXXX.component"), 0);
    Unload();
    ASSERT_EQ(test::CountMappings("LumivaneXXX.component"), 0) << "load " << i;
    ASSERT_EQ(test::LowMappedBytes(), low) << "load " << i;
  }
  EXPECT_TRUE(test::ThreadsFallTo(threads));
}

TEST_F(TestPatternModule, ReportsBadSettingsOnStandardErrorOnce) {
  const test::ScopedVariable size("LUMIVANE_TESTPATTERN_SIZE", "huge");
  Load();
  testing::internal::CaptureStderr();
  tagSHARED_CAMERA_BUFFER record = {};
  record.structSize = 24;
  EXPECT_NE(entry_(&record), 0);
  EXPECT_NE(entry_(&record), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "LumivaneXXX.component: LUMIVANE_TESTPATTERN_SIZE is \"huge\": want WIDTHxHEIGHT from "
            "80x60 to 7680x4320; using 640x480\n");
  EXPECT_EQ(record.frameWidth, 640);
}

TEST_F(TestPatternModule, AForkedCopyOfTheHostEndsAndHasAPictureOfItsOwn) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer's own locks do not survive a fork beside a starting thread";
#endif
  const test::ScopedVariable size("LUMIVANE_TESTPATTERN_SIZE", "160x120");
  const test::ScopedVariable rate("LUMIVANE_TESTPATTERN_RATE", "240");
  Load();
  tagSHARED_CAMERA_BUFFER record = {};
  record.structSize = 24;
  ASSERT_NE(entry_(&record), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    alarm(20);  // a copy that waits for a thread it does not have ends by this
    tagSHARED_CAMERA_BUFFER mine = {};
    mine.structSize = 24;
    std::uint32_t number = 0;
    while (number < 5) {
      if (entry_(&mine) == 0) _exit(2);
      number = ReadCounter(PixelFormat::kArgb, 160, 120, 640,
                           static_cast<const std::uint8_t*>(LumivaneCamera_GetPixels(&mine)))
                   .value_or(0);
    }
    dlclose(handle_);
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_NE(entry_(&record), 0);
}

}  // namespace
