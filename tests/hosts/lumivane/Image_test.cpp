// `lumivane image`: what each verb writes, against the rule it stands for, and what it refuses.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"
#include "platform/ImageIO/ImageData.h"
#include "sdk/CoreGeometry/PerlinNoise.h"
#include "tests/hosts/lumivane/PictureTools.h"

namespace {

using namespace picture_tools;
using ::testing::HasSubstr;
using Pixel = std::array<int, 4>;

class Image : public PictureTest {
 protected:
  /// Runs the verb; its output is Read("out.png").
  void Make(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "image");
    arguments.push_back(Path("out.png"));
    const test::ProgramResult run = Lumivane(arguments);
    ASSERT_EQ(run.exitCode, lumivane::kExitOk) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
  }

  /// The verb fails with a message that has all of `parts`, and the old output is as it was.
  void Refuse(std::vector<std::string> arguments, const std::vector<std::string>& parts) {
    WriteText("out.png", "an older file");
    const std::size_t files = FileCount();
    arguments.insert(arguments.begin(), "image");
    arguments.push_back(Path("out.png"));
    const test::ProgramResult run = Lumivane(arguments);
    EXPECT_EQ(run.exitCode, lumivane::kExitFailed) << run.err;
    for (const std::string& part : parts) EXPECT_THAT(run.err, HasSubstr(part));
    EXPECT_THAT(run.err, ::testing::StartsWith("lumivane: "));
    EXPECT_EQ(ReadText("out.png"), "an older file");
    EXPECT_EQ(FileCount(), files);
  }
};

Pixel At(const ArgbPicture& picture, int x, int y) {
  const std::uint8_t* const p = picture.Row(y) + 4 * x;
  return {p[0], p[1], p[2], p[3]};
}

int Luma(const Pixel& p) {
  const float luma = 0.2125F * static_cast<float>(p[1]) + 0.7154F * static_cast<float>(p[2]) +
                     0.0721F * static_cast<float>(p[3]);
  const auto narrow = static_cast<float>(double{luma} * 219.0 * 0.00390625 + 16.0);
  return static_cast<int>(double{narrow} + 0.49999999);
}

/// Rec. 709 of a grey level of luma.
int GreyOfLuma(int luma) {
  return std::clamp(static_cast<int>(std::lround((luma - 16) * 255.0 / 219)), 0, 255);
}

std::uint8_t Byte(double value) {
  return static_cast<std::uint8_t>(value);
}

ArgbPicture GreyRamp(int width, int height) {
  return Painted(width, height, [width](int x, int, std::uint8_t* argb) {
    argb[0] = 255;
    argb[1] = argb[2] = argb[3] = static_cast<std::uint8_t>(x * 255 / (width - 1));
  });
}

ArgbPicture Plain(int width, int height, const Pixel& pixel) {
  return Painted(width, height, [&pixel](int, int, std::uint8_t* argb) {
    for (std::size_t i = 0; i < 4; ++i) argb[i] = static_cast<std::uint8_t>(pixel[i]);
  });
}

// ---- Pixel maps

TEST_F(Image, GreyKeepsAlphaAndWeighsTheChannels) {
  const ArgbPicture in = RandomPicture(33, 17, 1, true);
  Make({"grey", Write("in.png", in)});
  ExpectPixels(Read("out.png"), 33, 17, [&in](int x, int y) {
    const Pixel p = At(in, x, y);
    const int grey = static_cast<int>(0.2126 * p[3] + 0.7152 * p[1] + 0.0722 * p[2]);
    return Pixel{p[0], grey, grey, grey};
  });
}

TEST_F(Image, BrightenMultipliesAndStopsAtWhite) {
  const ArgbPicture in = RandomPicture(32, 16, 2, true);
  Make({"brighten", "--factor", "1.7", Write("in.png", in)});
  ExpectPixels(Read("out.png"), 32, 16, [&in](int x, int y) {
    Pixel p = At(in, x, y);
    for (std::size_t i = 1; i < 4; ++i) {
      p[i] = static_cast<int>(std::min(p[i] / 255.0 * 1.7 * 255.0, 255.0));
    }
    return p;
  });
}

TEST_F(Image, DuotoneTintsAllButTheNearWhite) {
  const ArgbPicture in = Painted(3, 1, [](int x, int, std::uint8_t* argb) {
    const std::uint8_t levels[3] = {250, 100, 0};
    argb[0] = 255;
    argb[1] = argb[2] = argb[3] = levels[x];
  });
  Make({"duotone", "--colour", "ff0000", Write("in.png", in)});
  const ArgbPicture out = Read("out.png");
  EXPECT_EQ(At(out, 0, 0), (Pixel{255, 250, 250, 250}));
  // Cr 0.439 * 255 and Cb -0.148 * 255 of pure red.
  const float cr = static_cast<float>(0.439 * 255);
  const float cb = static_cast<float>(-0.148 * 255);
  const double luma =
      1.164 * static_cast<double>(static_cast<float>(0.257 * 100 + 0.504 * 100 + 0.098 * 100));
  const auto level = [](double v) { return std::clamp(static_cast<int>(v), 0, 255); };
  EXPECT_EQ(At(out, 1, 0), (Pixel{255, level(luma + 1.596 * double{cr}),
                                  level(luma - 0.813 * double{cb} - 0.391 * double{cr}),
                                  level(luma + 2.018 * double{cb})}));
  EXPECT_EQ(At(out, 2, 0)[1], level(1.596 * double{cr}));
}

TEST_F(Image, BlendAddsWeightedBytesAndWraps) {
  const ArgbPicture a = RandomPicture(21, 9, 3);
  const ArgbPicture b = RandomPicture(21, 9, 4);
  Make({"blend", "--weight-a", "0.75", "--weight-b", "0.5", Write("a.png", a), Write("b.png", b)});
  ExpectPixels(Read("out.png"), 21, 9, [&](int x, int y) {
    Pixel p;
    for (std::size_t i = 0; i < 4; ++i) {
      p[i] = static_cast<int>(At(a, x, y)[i] * 0.75 + At(b, x, y)[i] * 0.5) & 0xFF;
    }
    return p;
  });
}

TEST_F(Image, FadeMixesAsVideo) {
  const std::string a = Write("a.png", Plain(8, 4, {255, 0, 0, 0}));
  const std::string b = Write("b.png", Plain(8, 4, {255, 255, 255, 255}));
  Make({"blend", "--fade", "0.25", a, b});
  // 16 * 0.75 + 234 * 0.25, truncated.
  const int grey = GreyOfLuma(70);
  ExpectPixels(Read("out.png"), 8, 4, [grey](int, int) { return Pixel{255, grey, grey, grey}; });
}

TEST_F(Image, OverlayBlendsInsideItsPlaceOnly) {
  const ArgbPicture base = RandomPicture(20, 12, 5);
  const ArgbPicture top = RandomPicture(7, 5, 6, true);
  Make({"overlay", "--at", "13,7", "--opacity", "0.5", Write("base.png", base),
        Write("top.png", top)});
  ExpectPixels(Read("out.png"), 20, 12, [&](int x, int y) {
    Pixel p = At(base, x, y);
    if (x < 13 || y < 7) return p;
    const Pixel o = At(top, x - 13, y - 7);
    const double alpha = o[0] / 255.0 * 0.5;
    for (std::size_t i = 0; i < 4; ++i) {
      p[i] = std::clamp(static_cast<int>(p[i] * (1 - alpha) + o[i] * alpha), 0, 255);
    }
    return p;
  });
}

TEST_F(Image, FillHasTheColourAndItsAlpha) {
  Make({"fill", "--size", "5x3", "--colour", "80ff8001"});
  ExpectPixels(Read("out.png"), 5, 3, [](int, int) { return Pixel{0x80, 0xFF, 0x80, 0x01}; });
  Make({"fill", "--size", "5x3", "--colour", "#102030"});
  ExpectPixels(Read("out.png"), 5, 3, [](int, int) { return Pixel{255, 0x10, 0x20, 0x30}; });
  Make({"fill", "--size", "5x3", "--ycbcr", "16,128,128"});
  ExpectPixels(Read("out.png"), 5, 3, [](int, int) { return Pixel{255, 0, 0, 0}; });
}

TEST_F(Image, NoiseIsTheNoiseFieldInCells) {
  for (const bool grey : {false, true}) {
    std::vector<std::string> arguments = {"noise", "--size",      "50x40", "--cell",
                                          "8",     "--amplitude", "0.7"};
    if (grey) arguments.push_back("--grey");
    Make(arguments);
    ExpectPixels(Read("out.png"), 50, 40, [](int x, int y) {
      const float fx = static_cast<float>(x / 8 * 8) / 50.0F;
      const float fy = static_cast<float>(y / 8 * 8) / 40.0F;
      const float noise = CoreGeometry::PerlinNoise::sSingleton.Noise2(fx * 256, fy * 256);
      const int v = static_cast<int>(noise * 0.7F * 255) & 0xFF;
      return Pixel{255, v, v, v};
    });
  }
}

// ---- 4:2:2 video

TEST_F(Image, To2vuyWritesPairsOfPixels) {
  const ArgbPicture in = RandomPicture(7, 3, 8);
  const std::string png = Write("in.png", in);
  ASSERT_EQ(Lumivane({"image", "to-2vuy", png, Path("out.2vuy")}).exitCode, 0);
  const std::string video = ReadText("out.2vuy");
  ASSERT_EQ(video.size(), 8U * 2 * 3);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 8; ++x) {
      // The last pixel stands again for the one that is missing in its pair.
      EXPECT_EQ(static_cast<std::uint8_t>(video[static_cast<std::size_t>(16 * y + 2 * x + 1)]),
                Luma(At(in, std::min(x, 6), y)));
    }
  }
  // The other order is the same with neighbours swapped.
  ASSERT_EQ(Lumivane({"image", "to-2vuy", png, Path("out.yuy2")}).exitCode, 0);
  const std::string swapped = ReadText("out.yuy2");
  ASSERT_EQ(swapped.size(), video.size());
  for (std::size_t i = 0; i < video.size(); ++i) EXPECT_EQ(swapped[i], video[i ^ 1]);
  ASSERT_EQ(Lumivane({"image", "to-2vuy", "--format", "yuvs", png, Path("any")}).exitCode, 0);
  EXPECT_EQ(ReadText("any"), swapped);
}

TEST_F(Image, From2vuyIsTheStandardsMatrix) {
  struct Case {
    const char* matrix;
    double kr, kb;
  };
  for (const Case& c : {Case{"709", 0.2126, 0.0722}, Case{"601", 0.299, 0.114}}) {
    // One unit: Cb 90, Y 100, Cr 160, Y 150; 3 pixels wide, so that the last pair is half one.
    const std::string unit = "\x5A\x64\xA0\x96";
    WriteText("in.2vuy", unit + unit);
    Make({"from-2vuy", "--size", "3x1", "--matrix", c.matrix, Path("in.2vuy")});
    ExpectPixels(Read("out.png"), 3, 1, [&c](int x, int) {
      const double y = (x % 2 == 0 ? 100 - 16 : 150 - 16) * 255.0 / 219;
      const double cb = (90 - 128) * 255.0 / 224;
      const double cr = (160 - 128) * 255.0 / 224;
      const double kg = 1 - c.kr - c.kb;
      return Pixel{255, static_cast<int>(std::lround(y + 2 * (1 - c.kr) * cr)),
                   static_cast<int>(std::lround(y - 2 * c.kb * (1 - c.kb) / kg * cb -
                                                2 * c.kr * (1 - c.kr) / kg * cr)),
                   static_cast<int>(std::lround(y + 2 * (1 - c.kb) * cb))};
    });
  }
}

TEST_F(Image, TheToolkitsRuleLeavesCrOut) {
  WriteText("a.2vuy", std::string("\x80\xEB\x00\xEB", 4));
  WriteText("b.yuvs", std::string("\xEB\x80\xEB\xFF", 4));
  for (const char* name : {"a.2vuy", "b.yuvs"}) {
    Make({"from-2vuy", "--toolkit-rule", "--size", "2x1", Path(name)});
    ExpectPixels(Read("out.png"), 2, 1, [](int, int) { return Pixel{255, 255, 254, 255}; });
  }
}

TEST_F(Image, ThereAndBackKeepsThePicture) {
  const ArgbPicture in = Painted(64, 16, [](int x, int y, std::uint8_t* argb) {
    argb[0] = 255;
    argb[1] = Byte(x / 2 * 8);
    argb[2] = Byte(y * 16);
    argb[3] = Byte(255 - x / 2 * 4);
  });
  ASSERT_EQ(Lumivane({"image", "to-2vuy", Write("in.png", in), Path("v.2vuy")}).exitCode, 0);
  Make({"from-2vuy", "--size", "64x16", Path("v.2vuy")});
  const ArgbPicture out = Read("out.png");
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 64; ++x) {
      for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(At(out, x, y)[i], At(in, x, y)[i], 5);
    }
  }
}

TEST_F(Image, OverTakesTheTopByItsAlpha) {
  const std::string base = Write("base.png", Plain(6, 2, {255, 0, 0, 0}));
  const std::string top = Write("top.png", Painted(6, 2, [](int x, int, std::uint8_t* argb) {
                                  const std::uint8_t alphas[3] = {0, 255, 0};
                                  argb[0] = alphas[x / 2];
                                  argb[1] = argb[2] = argb[3] = 255;
                                }));
  Make({"over", base, top});
  ExpectPixels(Read("out.png"), 6, 2, [](int x, int) {
    const int grey = x / 2 == 1 ? GreyOfLuma(234) : 0;
    return Pixel{255, grey, grey, grey};
  });
}

TEST_F(Image, WipesFromTheLeftFromEvenColumns) {
  const std::string a = Write("a.png", Plain(10, 2, {255, 0, 0, 0}));
  const std::string b = Write("b.png", Plain(10, 2, {255, 255, 255, 255}));
  const int white = GreyOfLuma(234);
  // The split is trunc(5 * position) * 2; at 8 it is as good as the end.
  for (const auto& [position, split] :
       {std::pair{"0", 0}, {"0.5", 4}, {"0.7", 6}, {"0.85", 10}, {"1", 10}}) {
    Make({"wipe", "--position", position, a, b});
    ExpectPixels(Read("out.png"), 10, 2, [split = split, white](int x, int) {
      const int grey = x < split ? white : 0;
      return Pixel{255, grey, grey, grey};
    });
  }
}

TEST_F(Image, AnOddWidthKeepsTheLastPixelsColour) {
  const std::string a = Write("a.png", Plain(5, 2, {255, 200, 40, 90}));
  const std::string b = Write("b.png", Plain(5, 2, {255, 20, 140, 90}));
  for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
           {"wipe", "--position", "0", a, b},
           {"wipe", "--part-a", "0,0,5,2", "--part-b", "4,0,1,1", a, a},
           {"blend", "--fade", "0", a, b},
           {"over", b, a},
           {"levels", "--black", "16", "--white", "235", a}}) {
    Make(options);
    const ArgbPicture out = Read("out.png");
    ASSERT_EQ(out.width, 5) << options[0];
    for (int x = 0; x < 5; ++x) {
      for (std::size_t i = 1; i < 4; ++i) {
        EXPECT_NEAR(At(out, x, 1)[i], (Pixel{255, 200, 40, 90})[i], 4) << options[0] << " " << x;
      }
    }
  }
}

TEST_F(Image, WipesInTheOrderOfAMask) {
  const std::string a = Write("a.png", Plain(8, 2, {255, 0, 0, 0}));
  const std::string b = Write("b.png", Plain(8, 2, {255, 255, 255, 255}));
  const std::string mask = Write("m.png", Painted(8, 2, [](int x, int, std::uint8_t* argb) {
                                   argb[0] = 255;
                                   argb[1] = argb[2] = argb[3] = x < 4 ? 255 : 0;
                                 }));
  Make({"wipe", "--mask", mask, "--position", "0.4", a, b});
  // Weights 2 t (mask + t), limited to 1: white 1.12, black 0.32.
  const int dark = GreyOfLuma(static_cast<int>(16 * 0.68 + 234 * 0.32));
  ExpectPixels(Read("out.png"), 8, 2, [dark](int x, int) {
    const int grey = x < 4 ? GreyOfLuma(234) : dark;
    return Pixel{255, grey, grey, grey};
  });
}

TEST_F(Image, TakesPartsOfTwoPicturesOnBlack) {
  const std::string a = Write("a.png", Plain(10, 4, {255, 255, 255, 255}));
  const std::string b = Write("b.png", Plain(10, 4, {255, 128, 128, 128}));
  Make({"wipe", "--part-a", "0,1,4,2", "--part-b", "6,0,4,4", a, b});
  const int white = GreyOfLuma(234);
  const int middle = GreyOfLuma(Luma({255, 128, 128, 128}));
  ExpectPixels(Read("out.png"), 10, 4, [&](int x, int y) {
    int grey = 0;
    if (x < 4 && y >= 1 && y < 3) grey = white;
    if (x >= 6) grey = middle;
    return Pixel{255, grey, grey, grey};
  });
}

TEST_F(Image, EqualiseMapsByTheHistogram) {
  const std::string ramp = Write("ramp.png", Painted(64, 4, [](int x, int, std::uint8_t* argb) {
                                   argb[0] = 255;
                                   argb[1] = argb[2] = argb[3] = Byte(96 + x / 16 * 16);
                                 }));
  Make({"equalise", ramp});
  // Four equally frequent levels: a quarter, a half, three quarters, all of the 240 bins.
  ExpectPixels(Read("out.png"), 64, 4, [](int x, int) {
    const int grey = GreyOfLuma(15 + std::array<int, 4>{60, 120, 180, 240}[std::size_t(x / 16)]);
    return Pixel{255, grey, grey, grey};
  });
  // A frame is mapped with its predecessor: after black, everything is at least white.
  const std::string black = Write("black.png", Plain(64, 4, {255, 0, 0, 0}));
  Make({"equalise", black, ramp});
  ExpectPixels(Read("out.png"), 64, 4, [](int, int) { return Pixel{255, 255, 255, 255}; });
}

TEST_F(Image, LevelsStretchLuma) {
  const ArgbPicture in = GreyRamp(256, 2);
  Make({"levels", "--black", "60", "--white", "180", Write("in.png", in)});
  const ArgbPicture out = Read("out.png");
  for (int x = 0; x < 256; ++x) {
    const int luma = Luma(At(in, x, 0));
    const int grey = At(out, x, 0)[1];
    if (luma <= 60) {
      EXPECT_EQ(grey, 0) << luma;
    }
    if (luma >= 180) {
      EXPECT_EQ(grey, 255) << luma;
    }
    if (luma > 60 && luma < 180) {
      EXPECT_NEAR(grey, (luma - 60) * 255.0 / 120, 2) << luma;
    }
  }
}

// ---- Frames

TEST_F(Image, DeinterlacesByEachMethod) {
  const ArgbPicture in = RandomPicture(9, 6, 11, true);
  const std::string png = Write("in.png", in);
  const auto mean = [&in](int x, int a, int b) {
    Pixel p;
    for (std::size_t i = 0; i < 4; ++i) p[i] = (At(in, x, a)[i] + At(in, x, b)[i]) >> 1;
    return p;
  };
  Make({"deinterlace", png});
  ExpectPixels(Read("out.png"), 9, 6, [&](int x, int y) {
    Pixel p = mean(x, std::max(y - 1, 0), std::min(y + 1, 5));
    for (std::size_t i = 0; i < 4; ++i) p[i] = (p[i] + At(in, x, y)[i]) >> 1;
    return p;
  });
  Make({"deinterlace", "--method", "blend2", png});
  ExpectPixels(Read("out.png"), 9, 6,
               [&](int x, int y) { return mean(x, y / 2 * 2, y / 2 * 2 + 1); });
  for (const int field : {0, 1}) {
    Make({"deinterlace", "--method", field == 0 ? "first" : "second", png});
    ExpectPixels(Read("out.png"), 9, 6, [&](int x, int y) {
      const int row = y / 2 * 2 + field;
      return y % 2 == 0 ? At(in, x, row) : mean(x, row, std::min(row + 2, 4 + field));
    });
  }
}

TEST_F(Image, TakesOrClearsAField) {
  const ArgbPicture in = RandomPicture(5, 7, 12);
  const std::string png = Write("in.png", in);
  for (const int field : {0, 1}) {
    const std::string name = field == 0 ? "top" : "bottom";
    Make({"field", "--field", name, png});
    ExpectPixels(Read("out.png"), 5, 3, [&](int x, int y) { return At(in, x, 2 * y + field); });
    Make({"field", "--clear", "--field", name, png});
    ExpectPixels(Read("out.png"), 5, 7,
                 [&](int x, int y) { return y % 2 == field ? Pixel{} : At(in, x, y); });
  }
}

TEST_F(Image, ResizesByEachMethod) {
  const ArgbPicture in = RandomPicture(10, 8, 13);
  const std::string png = Write("in.png", in);
  Make({"resize", "--size", "25x4", "--method", "nearest", png});
  ExpectPixels(Read("out.png"), 25, 4, [&](int x, int y) {
    double fx = 0;
    for (int i = 0; i < x; ++i) fx += 10.0 / 25.0;
    return At(in, std::min(static_cast<int>(fx), 9), 2 * y);
  });

  const std::string two = Write("two.png", Painted(2, 2, [](int x, int, std::uint8_t* argb) {
                                  argb[0] = 255;
                                  argb[1] = argb[2] = argb[3] = x == 0 ? 0 : 255;
                                }));
  Make({"resize", "--size", "4x2", two});
  ExpectPixels(Read("out.png"), 4, 2, [](int x, int) {
    const int grey = std::array<int, 4>{0, 127, 255, 255}[std::size_t(x)];
    return Pixel{255, grey, grey, grey};
  });

  // Two fields of one grey each stay apart.
  const std::string woven = Write("woven.png", Painted(4, 8, [](int, int y, std::uint8_t* argb) {
                                    argb[0] = 255;
                                    argb[1] = argb[2] = argb[3] = y % 2 == 0 ? 0 : 255;
                                  }));
  Make({"resize", "--size", "4x12", "--method", "fields", woven});
  const ArgbPicture out = Read("out.png");
  for (int y = 0; y < 12; ++y) {
    EXPECT_NEAR(At(out, 1, y)[1], y % 2 == 0 ? 0 : 255, 1) << y;
  }
}

TEST_F(Image, BlackensEdgesSoftly) {
  Make({"blacken-edges", "--edges", "2,0,0,0", Write("in.png", Plain(6, 2, {255, 200, 200, 200}))});
  const int levels[6] = {0, 0, 66, 133, 200, 200};
  const int alphas[6] = {0, 0, 85, 170, 255, 255};
  ExpectPixels(Read("out.png"), 6, 2, [&](int x, int) {
    return Pixel{alphas[x], levels[x], levels[x], levels[x]};
  });
}

TEST_F(Image, CropsTheEdgesOff) {
  const ArgbPicture in = RandomPicture(11, 9, 14, true);
  Make({"crop", "--edges", "1,2,3,4", Write("in.png", in)});
  ExpectPixels(Read("out.png"), 7, 3, [&in](int x, int y) { return At(in, x + 1, y + 2); });
}

// ---- Files

TEST_F(Image, InfoTellsSizeFrameTypeAndLuma) {
  const std::string name = Write("in.png", Plain(720, 480, {128, 255, 255, 255}));
  const test::ProgramResult run = Lumivane({"image", "info", "--json", name});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const auto info = nlohmann::json::parse(run.out).at(0);
  EXPECT_EQ(info["file"], name);
  EXPECT_EQ(info["format"], "PNG");
  EXPECT_EQ(info["width"], 720);
  EXPECT_EQ(info["height"], 480);
  EXPECT_EQ(info["transparentPixels"], 720 * 480);
  EXPECT_EQ(info["twoFields"], true);
  EXPECT_EQ(info["luma"]["min"], 234);
  EXPECT_EQ(info["luma"]["max"], 234);
  const test::ProgramResult text = Lumivane({"image", "info", name});
  EXPECT_THAT(text.out, HasSubstr("720 x 480, partly transparent"));
}

TEST_F(Image, ReadsJpeg) {
  const ArgbPicture grey = GreyRamp(32, 8);
  std::string error;
  ASSERT_EQ(Lumivane({"image", "crop", "--edges", "0,0,0,0", Write("in.png", grey), Path("c.png")})
                .exitCode,
            0);
  const std::string png = ReadText("c.png");
  const ImageIODecoded decoded =
      ImageIODecode({reinterpret_cast<const std::uint8_t*>(png.data()), png.size()});
  ASSERT_NE(decoded.image, nullptr);
  const Bytes jpeg = ImageIOEncodeJPEG(decoded.image, 1.0, &error);
  CGImageRelease(decoded.image);
  WriteText("in.jpg", std::string(jpeg.begin(), jpeg.end()));
  Make({"crop", "--edges", "0,0,16,0", Path("in.jpg")});
  const ArgbPicture out = Read("out.png");
  ASSERT_EQ(out.width, 16);
  for (int x = 0; x < 16; ++x) EXPECT_NEAR(At(out, x, 3)[2], At(grey, x, 3)[2], 3);
  EXPECT_THAT(Lumivane({"image", "info", Path("in.jpg")}).out, HasSubstr("in.jpg: JPEG, 32 x 8"));
}

TEST_F(Image, ReadsAndWritesStandardStreams) {
  const ArgbPicture in = RandomPicture(4, 4, 15);
  Write("in.png", in);
  const test::ProgramResult run =
      Lumivane({"image", "crop", "--edges", "0,0,0,0", "-", "-"}, ReadText("in.png"));
  ASSERT_EQ(run.exitCode, 0) << run.err;
  WriteText("out.png", run.out);
  ExpectPixels(Read("out.png"), 4, 4, [&in](int x, int y) { return At(in, x, y); });
}

TEST_F(Image, RefusesWhatItCannotDoAndKeepsTheOldFile) {
  const std::string ten = Write("ten.png", Plain(10, 9, {255, 1, 2, 3}));
  const std::string six = Write("six.png", Plain(6, 9, {255, 1, 2, 3}));
  const std::string text = WriteText("text.png", "no picture");
  const std::string cut = WriteText("cut.png", ReadText("ten.png").substr(0, 60));
  const std::string raw = WriteText("raw.2vuy", std::string(100, '\x50'));

  Refuse({"grey", Path("none.png")}, {"none.png", "No such file"});
  Refuse({"grey", text}, {"text.png is not a picture"});
  Refuse({"grey", cut}, {"cut.png is damaged"});
  Refuse({"blend", ten, six}, {"ten.png is 10 x 9", "six.png is 6 x 9", "one size"});
  Refuse({"blend", "--fade", "0.5", ten, six}, {"one size"});
  Refuse({"over", ten, six}, {"one size"});
  Refuse({"wipe", ten, six}, {"one size"});
  Refuse({"wipe", "--mask", six, ten, ten}, {"six.png", "one size"});
  Refuse({"wipe", "--part-a", "1,0,4,4", "--part-b", "0,0,4,4", ten, ten},
         {"--part-a 1,0,4,4", "even"});
  Refuse({"wipe", "--part-a", "0,0,3,4", "--part-b", "0,0,4,4", ten, ten}, {"even"});
  Refuse({"wipe", "--part-a", "0,0,4,4", "--part-b", "8,0,4,4", ten, ten},
         {"--part-b 8,0,4,4", "does not lie inside 10 x 9"});
  Refuse({"wipe", "--part-a", "0,0,4,99999", "--part-b", "8,0,2,4", ten, ten}, {"inside"});
  Refuse({"equalise", ten, six}, {"one size"});
  Refuse({"levels", "--black", "100", "--white", "100", ten}, {"--white 100", "--black 100"});
  Refuse({"overlay", six, ten}, {"ten.png is 10 x 9", "does not fit at 0,0", "six.png, 6 x 9"});
  Refuse({"overlay", "--at", "5,0", ten, six}, {"does not fit at 5,0"});
  Refuse({"overlay", "--at=-1,0", ten, six}, {"does not fit at -1,0"});
  Refuse({"from-2vuy", "--size", "10x4", raw}, {"100 bytes", "10 x 4 has 80", "--size"});
  Refuse({"from-2vuy", "--size", "10x6", raw}, {"100 bytes", "10 x 6 has 120"});
  Refuse({"fill", "--size", "16384x16384"}, {"16384 x 16384 is too large"});
  Refuse({"resize", "--size", "16384x16384", ten}, {"16384 x 16384 is too large"});
  Refuse({"deinterlace", ten}, {"ten.png", "even number of rows", "9 rows"});
  Refuse({"resize", "--size", "4x5", "--method", "fields", ten}, {"by fields"});
  Refuse({"crop", "--edges", "5,0,5,0", ten}, {"5,0,5,0", "leave nothing of 10 x 9"});
  Refuse({"blacken-edges", "--edges", "0,9,0,0", ten}, {"leave nothing"});
  Refuse({"field", Write("row.png", Plain(4, 1, {255, 0, 0, 0}))}, {"only one row"});
}

TEST_F(Image, AFolderThatIsNotThereIsTold) {
  const std::string in = Write("in.png", Plain(2, 2, {255, 0, 0, 0}));
  const test::ProgramResult run = Lumivane({"image", "grey", in, Path("none/out.png")});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("none/out.png cannot be written"));
}

TEST_F(Image, ABadCommandLineIsAUsageError) {
  const std::string in = Write("in.png", Plain(2, 2, {255, 0, 0, 0}));
  const std::vector<std::vector<std::string>> lines = {
      {},
      {"paint", in, Path("o.png")},
      {"grey"},
      {"grey", in},
      {"crop", in, Path("o.png")},
      {"crop", "--edges", "1,2,3", in, Path("o.png")},
      {"crop", "--edges", "1,2,3,-4", in, Path("o.png")},
      {"crop", "--edges", "1,2,3,", in, Path("o.png")},
      {"crop", "--edges", "1,2,3,x", in, Path("o.png")},
      {"resize", "--size", "0x4", in, Path("o.png")},
      {"resize", "--size", "4x4", "--method", "cubic", in, Path("o.png")},
      {"deinterlace", "--method", "bob", in, Path("o.png")},
      {"fill", "--size", "2x2", "--colour", "red", Path("o.png")},
      {"fill", "--size", "2x2", "--ycbcr", "1,2,256", Path("o.png")},
      {"wipe", "--part-a", "0,0,2,2", in, in, Path("o.png")},
      {"wipe", "--position", "1.5", in, in, Path("o.png")},
      {"equalise", in},
  };
  for (std::vector<std::string> line : lines) {
    line.insert(line.begin(), "image");
    const test::ProgramResult run = Lumivane(line);
    EXPECT_EQ(run.exitCode, lumivane::kExitUsage) << ::testing::PrintToString(line);
    EXPECT_NE(run.err, "");
    EXPECT_FALSE(std::filesystem::exists(Path("o.png")));
  }
}

}  // namespace
