// `lumivane video`: streams in and out, what each verb does to their frames, and broken ones.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/VideoStream.h"
#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/PictureTools.h"

namespace {

using namespace picture_tools;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// Planes of one frame.
struct Plane {
  int width = 0;
  int height = 0;
  Bytes samples;

  int At(int x, int y) const {
    return samples[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                   static_cast<std::size_t>(x)];
  }
};
using Planes = std::vector<Plane>;

struct Chroma {
  const char* name;
  int planes;
  int x;
  int y;
};
constexpr Chroma kChromas[] = {
    {"420jpeg", 3, 2, 2}, {"420mpeg2", 3, 2, 2}, {"420paldv", 3, 2, 2},
    {"420", 3, 2, 2},     {"411", 3, 4, 1},      {"422", 3, 2, 1},
    {"444", 3, 1, 1},     {"444alpha", 4, 1, 1}, {"mono", 1, 1, 1},
};
constexpr Chroma k422 = {"422", 3, 2, 1};
constexpr Chroma k420 = {"420jpeg", 3, 2, 2};
constexpr Chroma k444 = {"444", 3, 1, 1};

Planes EmptyPlanes(const Chroma& chroma, int width, int height) {
  Planes planes;
  for (int i = 0; i < chroma.planes; ++i) {
    const bool small = i == 1 || i == 2;
    Plane plane;
    plane.width = small ? (width + chroma.x - 1) / chroma.x : width;
    plane.height = small ? (height + chroma.y - 1) / chroma.y : height;
    plane.samples.resize(static_cast<std::size_t>(plane.width) *
                         static_cast<std::size_t>(plane.height));
    planes.push_back(plane);
  }
  return planes;
}

Planes RandomPlanes(const Chroma& chroma, int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  Planes planes = EmptyPlanes(chroma, width, height);
  for (Plane& plane : planes) {
    for (std::uint8_t& sample : plane.samples) sample = static_cast<std::uint8_t>(random());
  }
  return planes;
}

std::string Text(const Planes& planes) {
  std::string text;
  for (const Plane& plane : planes) text.append(plane.samples.begin(), plane.samples.end());
  return text;
}

/// A Y4M stream of the frames.
std::string Stream(const std::string& header, const std::vector<Planes>& frames,
                   const std::string& frameLine = "FRAME\n") {
  std::string stream = "YUV4MPEG2 " + header + "\n";
  for (const Planes& planes : frames) stream += frameLine + Text(planes);
  return stream;
}

std::string HeaderOf(const std::string& stream) {
  return stream.substr(0, stream.find('\n'));
}

/// The frames of a Y4M stream of that size; fails the test when it is none.
std::vector<Planes> FramesOf(const std::string& stream, const Chroma& chroma, int width,
                             int height) {
  std::vector<Planes> frames;
  std::size_t at = stream.find('\n') + 1;
  while (at < stream.size()) {
    EXPECT_EQ(stream.substr(at, 5), "FRAME") << "at byte " << at;
    at = stream.find('\n', at) + 1;
    Planes planes = EmptyPlanes(chroma, width, height);
    for (Plane& plane : planes) {
      if (at + plane.samples.size() > stream.size()) {
        ADD_FAILURE() << "the stream ends inside a frame";
        return frames;
      }
      std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), plane.samples.size(),
                  plane.samples.begin());
      at += plane.samples.size();
    }
    frames.push_back(planes);
  }
  return frames;
}

test::ProgramResult Shell(const std::string& command) {
  return test::RunProgram({"/bin/bash", "-c", "set -o pipefail; " + command});
}

class Video : public PictureTest {
 protected:
  static test::ProgramResult Verb(std::vector<std::string> arguments, const std::string& input) {
    arguments.insert(arguments.begin(), "video");
    return Lumivane(arguments, input);
  }
  /// Runs a verb that must succeed and say nothing but frames.
  static std::string Pipe(const std::vector<std::string>& arguments, const std::string& input) {
    const test::ProgramResult run = Verb(arguments, input);
    EXPECT_EQ(run.exitCode, lumivane::kExitOk) << run.err;
    EXPECT_THAT(run.err, IsEmpty());
    return run.out;
  }
};

TEST(ParseRate, TakesRatiosAndTheUsualDecimals) {
  const auto expect = [](const char* text, std::int64_t number, std::int64_t divisor) {
    const auto rate = lumivane::ParseRate(text);
    ASSERT_TRUE(rate) << text;
    EXPECT_EQ(rate->number, number) << text;
    EXPECT_EQ(rate->divisor, divisor) << text;
  };
  expect("25", 25, 1);
  expect("50/2", 25, 1);
  expect("30000:1001", 30000, 1001);
  expect("29.97", 30000, 1001);
  expect("23.976", 24000, 1001);
  expect("59.94", 60000, 1001);
  expect("12.5", 25, 2);
  for (const char* bad :
       {"", "0", "-1", "1/0", "0/1", "a", "25fps", "1001", "5:", ":5", "1.2.3", "99999999999"}) {
    EXPECT_FALSE(lumivane::ParseRate(bad)) << bad;
  }
}

// ---- What the verbs do to samples

TEST_F(Video, DeinterlacesEverySampleOfEveryChroma) {
  for (const Chroma& chroma : kChromas) {
    // An odd width, so that no row of samples is whole pixels of four bytes.
    const std::vector<Planes> in = {RandomPlanes(chroma, 13, 8, 1), RandomPlanes(chroma, 13, 8, 2)};
    const std::string stream = Stream(std::string("W13 H8 F25:1 It A1:1 C") + chroma.name, in);
    for (const std::string method : {"blend3", "blend2", "first", "second"}) {
      const std::string out = Pipe({"deinterlace", "--method", method}, stream);
      EXPECT_EQ(HeaderOf(out), std::string("YUV4MPEG2 W13 H8 F25:1 Ip A1:1 C") + chroma.name);
      const std::vector<Planes> frames = FramesOf(out, chroma, 13, 8);
      ASSERT_EQ(frames.size(), in.size());
      for (std::size_t f = 0; f < in.size(); ++f) {
        for (std::size_t i = 0; i < in[f].size(); ++i) {
          const Plane& from = in[f][i];
          const Plane& to = frames[f][i];
          const int last = from.height - 1;
          for (int y = 0; y <= last; ++y) {
            for (int x = 0; x < from.width; ++x) {
              int want = 0;
              if (method == "blend3") {
                const int around =
                    from.At(x, std::max(y - 1, 0)) + from.At(x, std::min(y + 1, last));
                want = ((around >> 1) + from.At(x, y)) >> 1;
              } else if (method == "blend2") {
                want = (from.At(x, y / 2 * 2) + from.At(x, y / 2 * 2 + 1)) >> 1;
              } else {
                const int field = method == "first" ? 0 : 1;
                const int row = y / 2 * 2 + field;
                const int next = std::min(row + 2, last - 1 + field);
                want = y % 2 == 0 ? from.At(x, row) : (from.At(x, row) + from.At(x, next)) >> 1;
              }
              ASSERT_EQ(to.At(x, y), want) << chroma.name << " " << method << " frame " << f
                                           << " plane " << i << " at " << x << ", " << y;
            }
          }
        }
      }
    }
  }
}

TEST_F(Video, TakesOrClearsAField) {
  for (const Chroma& chroma : kChromas) {
    const std::vector<Planes> in = {RandomPlanes(chroma, 12, 8, 3)};
    const std::string stream = Stream(std::string("W12 H8 F25:1 Ib A10:11 C") + chroma.name, in);
    std::string out = Pipe({"field", "--field", "bottom"}, stream);
    EXPECT_EQ(HeaderOf(out), std::string("YUV4MPEG2 W12 H4 F25:1 Ip A5:11 C") + chroma.name);
    const Planes field = FramesOf(out, chroma, 12, 4).at(0);
    out = Pipe({"field", "--clear"}, stream);
    EXPECT_EQ(HeaderOf(out), std::string("YUV4MPEG2 W12 H8 F25:1 Ib A10:11 C") + chroma.name);
    const Planes cleared = FramesOf(out, chroma, 12, 8).at(0);
    const int black[4] = {16, 128, 128, 0};
    for (std::size_t i = 0; i < in[0].size(); ++i) {
      for (int y = 0; y < in[0][i].height; ++y) {
        for (int x = 0; x < in[0][i].width; ++x) {
          const int sample = in[0][i].At(x, y);
          if (y % 2 == 1) {
            ASSERT_EQ(field[i].At(x, y / 2), sample) << chroma.name;
          }
          ASSERT_EQ(cleared[i].At(x, y), y % 2 == 0 ? black[i] : sample) << chroma.name;
        }
      }
    }
  }
}

TEST_F(Video, CropsEachPlaneAtItsOwnResolution) {
  const std::vector<Planes> in = {RandomPlanes(k420, 16, 12, 4)};
  const std::string out =
      Pipe({"crop", "--edges", "4,2,1,3"}, Stream("W16 H12 F25:1 Ip A1:1 C420jpeg", in));
  EXPECT_EQ(HeaderOf(out), "YUV4MPEG2 W11 H7 F25:1 Ip A1:1 C420jpeg");
  const Planes planes = FramesOf(out, k420, 11, 7).at(0);
  for (std::size_t i = 0; i < 3; ++i) {
    const int step = i == 0 ? 1 : 2;
    for (int y = 0; y < planes[i].height; ++y) {
      for (int x = 0; x < planes[i].width; ++x) {
        ASSERT_EQ(planes[i].At(x, y), in[0][i].At(x + 4 / step, y + 2 / step));
      }
    }
  }
}

TEST_F(Video, AnOddCropOfInterlacedRowsSwapsTheFieldsOrder) {
  const std::string stream = Stream("W4 H6 It C422", {RandomPlanes(k422, 4, 6, 5)});
  EXPECT_THAT(HeaderOf(Pipe({"crop", "--edges", "0,1,0,1"}, stream)), HasSubstr(" Ib "));
  EXPECT_THAT(HeaderOf(Pipe({"crop", "--edges", "0,2,0,0"}, stream)), HasSubstr(" It "));
}

TEST_F(Video, ResizesInterlacedStreamsByFields) {
  Planes woven = EmptyPlanes(k422, 8, 8);
  for (Plane& plane : woven) {
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < plane.width; ++x) {
        plane.samples[static_cast<std::size_t>(y * plane.width + x)] =
            static_cast<std::uint8_t>(y % 2 == 0 ? 40 : 200);
      }
    }
  }
  const auto rows = [&](const char* interlacing, std::vector<std::string> options) {
    options.insert(options.begin(), {"resize", "--size", "10x12"});
    const std::string out =
        Pipe(options, Stream(std::string("W8 H8 F25:1 ") + interlacing + " A1:1 C422", {woven}));
    EXPECT_EQ(HeaderOf(out), std::string("YUV4MPEG2 W10 H12 F25:1 ") + interlacing + " A6:5 C422");
    return FramesOf(out, k422, 10, 12).at(0);
  };
  for (const Planes& planes : {rows("It", {}), rows("Ip", {"--method", "fields"})}) {
    for (const Plane& plane : planes) {
      for (int y = 0; y < 12; ++y) EXPECT_NEAR(plane.At(3, y), y % 2 == 0 ? 40 : 200, 1) << y;
    }
  }
  // As one picture the rows mix: row 1 lies two thirds of the way from row 0 to row 1.
  for (const Planes& planes : {rows("Ip", {}), rows("It", {"--method", "bilinear"})}) {
    EXPECT_NEAR(planes[0].At(3, 1), 40 + 160 * 2 / 3, 2);
  }
}

TEST_F(Video, BlackensEdgesToVideoBlackAndLeavesTheRestAlone) {
  for (const Chroma& chroma : {k444, k422, k420}) {
    const std::vector<Planes> in = {RandomPlanes(chroma, 24, 16, 6)};
    const std::string stream = Stream(std::string("W24 H16 F25:1 Ip A1:1 C") + chroma.name, in);
    const Planes out =
        FramesOf(Pipe({"blacken-edges", "--edges", "4,4,4,4"}, stream), chroma, 24, 16).at(0);
    for (std::size_t i = 0; i < 3; ++i) {
      const int sx = i == 0 ? 1 : chroma.x;
      const int sy = i == 0 ? 1 : chroma.y;
      for (int y = 0; y < out[i].height; ++y) {
        for (int x = 0; x < out[i].width; ++x) {
          const int left = std::min(x * sx, 24 - (x + 1) * sx);
          const int top = std::min(y * sy, 16 - (y + 1) * sy);
          const int depth = std::min(left, top);  // pixels between the sample and the frame's side
          const int before = in[0][i].At(x, y);
          const int after = out[i].At(x, y);
          if (depth < 4) {
            ASSERT_EQ(after, i == 0 ? 16 : 128) << chroma.name << " " << x << ", " << y;
          } else if (depth >= 6) {
            ASSERT_EQ(after, before) << chroma.name << " " << x << ", " << y;
          } else if (i > 0) {
            // Towards neutral, never past it.
            ASSERT_LE(std::abs(after - 128), std::abs(before - 128));
            ASSERT_GE((after - 128) * (before - 128), 0);
          } else if (before >= 16 && left != top && std::max(left, top) >= 6) {
            ASSERT_EQ(after - 16,
                      depth == 4 ? (before - 16) / 3 : static_cast<int>(2 * ((before - 16) / 3.0)));
          }
        }
      }
    }
  }
}

TEST_F(Video, FullRangeBlackIsZero) {
  Planes grey = EmptyPlanes(k444, 8, 8);
  for (Plane& plane : grey) std::fill(plane.samples.begin(), plane.samples.end(), 90);
  const std::string out = Pipe({"blacken-edges", "--edges", "2,2,2,2"},
                               Stream("W8 H8 F25:1 Ip A1:1 C444 XCOLORRANGE=FULL", {grey}));
  EXPECT_THAT(HeaderOf(out), HasSubstr(" XCOLORRANGE=FULL"));
  EXPECT_EQ(FramesOf(out, k444, 8, 8).at(0)[0].At(0, 0), 0);
}

TEST_F(Video, RawFramesAreTheSameFrames) {
  const Planes in = RandomPlanes(k422, 10, 6, 7);
  std::string raw;
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 10; x += 2) {
      for (const int sample :
           {in[1].At(x / 2, y), in[0].At(x, y), in[2].At(x / 2, y), in[0].At(x + 1, y)}) {
        raw.push_back(static_cast<char>(sample));
      }
    }
  }
  const std::vector<std::string> verb = {"deinterlace", "--raw", "uyvy422", "--size", "10x6"};
  const Planes want =
      FramesOf(Pipe({"deinterlace"}, Stream("W10 H6 C422", {in})), k422, 10, 6).at(0);
  std::vector<std::string> toY4M = verb;
  toY4M.insert(toY4M.end(), {"--y4m", "--rate", "29.97"});
  const std::string y4m = Pipe(toY4M, raw + raw);
  EXPECT_EQ(HeaderOf(y4m), "YUV4MPEG2 W10 H6 F30000:1001 Ip A0:0 C422");
  const std::vector<Planes> frames = FramesOf(y4m, k422, 10, 6);
  ASSERT_EQ(frames.size(), 2U);
  EXPECT_EQ(Text(frames[1]), Text(want));

  // Raw in, raw out; cropping nothing gives the very bytes.
  const std::vector<std::string> nothing = {"crop",    "--edges",      "0,0,0,0", "--raw",
                                            "uyvy422", "--frame-size", "10x6"};
  EXPECT_EQ(Pipe(nothing, raw + raw), raw + raw);
  EXPECT_EQ(Pipe(verb, raw).size(), raw.size());

  const ArgbPicture picture = RandomPicture(5, 4, 8, true);
  std::string argb;
  for (int y = 0; y < 4; ++y) argb.append(reinterpret_cast<const char*>(picture.Row(y)), 20);
  const std::string field = Pipe({"field", "--raw", "argb", "--size", "5x4"}, argb);
  EXPECT_EQ(field, argb.substr(0, 20) + argb.substr(40, 20));
  EXPECT_EQ(Pipe({"resize", "--method", "nearest", "--size", "5x4", "--raw", "argb", "--frame-size",
                  "5x4"},
                 argb),
            argb);
}

TEST_F(Video, FrameLinesAreKeptButForTheirInterlacing) {
  const Planes in = RandomPlanes(k422, 4, 4, 9);
  const std::string stream = Stream("W4 H4 Im C422", {in}, "FRAME Itip Xnote\n");
  EXPECT_THAT(Pipe({"crop", "--edges", "0,0,0,0"}, stream), HasSubstr("\nFRAME Itip Xnote\n"));
  EXPECT_THAT(Pipe({"deinterlace"}, stream), HasSubstr("\nFRAME Xnote\n"));
}

// ---- Streams

TEST_F(Video, AnEmptyStreamStaysEmpty) {
  EXPECT_EQ(Pipe({"deinterlace"}, "YUV4MPEG2 W4 H4 F25:1 C422\n"),
            "YUV4MPEG2 W4 H4 F25:1 Ip A0:0 C422\n");
  EXPECT_EQ(Pipe({"deinterlace", "--raw", "argb", "--size", "4x4"}, ""), "");
}

TEST_F(Video, WritesAFileAndASummary) {
  const std::string in = WriteText(
      "in.y4m", Stream("W4 H4 C422", {RandomPlanes(k422, 4, 4, 1), RandomPlanes(k422, 4, 4, 2)}));
  // A file may be its own output: the new one is written aside.
  const test::ProgramResult run = Lumivane({"video", "deinterlace", "--json", in, in});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const auto summary = nlohmann::json::parse(run.out);
  EXPECT_EQ(summary["frames"], 2);
  EXPECT_EQ(summary["width"], 4);
  EXPECT_EQ(FramesOf(ReadText("in.y4m"), k422, 4, 4).size(), 2U);
  EXPECT_EQ(FileCount(), 1U);
}

TEST_F(Video, ProgressiveMaterialIsToldAbout) {
  const std::string stream = Stream("W4 H4 Ip C422", {RandomPlanes(k422, 4, 4, 1)});
  EXPECT_THAT(Verb({"deinterlace"}, stream).err, HasSubstr("says that it is progressive"));
  EXPECT_THAT(Verb({"deinterlace", "--quiet"}, stream).err, IsEmpty());
}

TEST_F(Video, WhatIsCompleteIsWrittenOfABrokenStream) {
  const std::vector<Planes> frames = {RandomPlanes(k422, 6, 4, 1), RandomPlanes(k422, 6, 4, 2),
                                      RandomPlanes(k422, 6, 4, 3)};
  const std::string whole = Stream("W6 H4 C422", frames);
  struct Case {
    std::string stream;
    const char* reason;
  };
  std::string noFrame = whole;
  noFrame.replace(noFrame.rfind("FRAME"), 5, "FROME");
  const std::size_t last = whole.rfind("FRAME");
  for (const Case& c :
       {Case{whole.substr(0, whole.size() - 10), "it ends after 38 of 48 bytes"},
        Case{whole.substr(0, last + 6), "it ends after 0 of 48 bytes"},
        Case{whole.substr(0, last + 3), "header line"}, Case{noFrame, "does not begin with FRAME"},
        Case{whole.substr(0, last) + "FRAME X" + std::string(5000, 'x'), "does not end"}}) {
    const test::ProgramResult piped = Verb({"crop", "--edges", "0,0,0,0"}, c.stream);
    EXPECT_EQ(piped.exitCode, lumivane::kExitFailed);
    EXPECT_THAT(piped.err, HasSubstr("frame 3 of standard input is broken: "));
    EXPECT_THAT(piped.err, HasSubstr(c.reason));
    EXPECT_THAT(piped.err, HasSubstr("2 complete frames are written"));
    const std::vector<Planes> out = FramesOf(piped.out, k422, 6, 4);
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(Text(out[1]), Text(frames[1]));

    const test::ProgramResult filed =
        Verb({"crop", "--edges", "0,0,0,0", "-", Path("out.y4m")}, c.stream);
    EXPECT_EQ(filed.exitCode, lumivane::kExitFailed);
    EXPECT_EQ(ReadText("out.y4m"), piped.out);
  }
}

TEST_F(Video, WithoutAWholeFrameTheOldFileStays) {
  const std::string whole = Stream("W6 H4 C422", {RandomPlanes(k422, 6, 4, 1)});
  WriteText("out.y4m", "an older file");
  const test::ProgramResult run =
      Verb({"deinterlace", "-", Path("out.y4m")}, whole.substr(0, whole.size() - 1));
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("frame 1 of standard input is broken"));
  EXPECT_EQ(ReadText("out.y4m"), "an older file");
  EXPECT_EQ(FileCount(), 1U);
}

TEST_F(Video, RefusesWhatItCannotRead) {
  const auto refuse = [](const std::vector<std::string>& arguments, const std::string& input,
                         const std::string& part) {
    const test::ProgramResult run = Verb(arguments, input);
    EXPECT_EQ(run.exitCode, lumivane::kExitFailed) << part;
    EXPECT_THAT(run.err, StartsWith("lumivane: "));
    EXPECT_THAT(run.err, HasSubstr(part));
    EXPECT_THAT(run.out, IsEmpty());
  };
  const std::vector<std::string> deinterlace = {"deinterlace"};
  refuse(deinterlace, "", "standard input is not a Y4M stream");
  refuse(deinterlace, "RIFF....AVI ", "is not a Y4M stream");
  refuse(deinterlace, std::string(100000, 'Y'), "is not a Y4M stream");
  refuse(deinterlace, "YUV4MPEG2 W4 H4", "inside a header line");
  refuse(deinterlace, "YUV4MPEG2 W4 H4 X" + std::string(2000, 'x') + "\n", "does not end");
  refuse(deinterlace, "YUV4MPEG2 W4\n", "lacks the size");
  refuse(deinterlace, "YUV4MPEG2 W0 H4\n", "says W0");
  refuse(deinterlace, "YUV4MPEG2 W99999 H4\n", "says W99999");
  refuse(deinterlace, "YUV4MPEG2 W16384 H16384 C444alpha\n", "too large, 16384 x 16384");
  refuse(deinterlace, "YUV4MPEG2 W4 H4 F25\n", "says F25");
  refuse(deinterlace, "YUV4MPEG2 W4 H4 Iq\n", "says Iq");
  refuse(deinterlace, "YUV4MPEG2 W4 H4 C420p10\n", "samples are C420p10");
  refuse(deinterlace, "YUV4MPEG2 W4 H5 C422\n", "even number of rows");
  refuse(deinterlace, "YUV4MPEG2 W4 H6 C420\n", "multiple of 4 rows");
  refuse({"field"}, "YUV4MPEG2 W4 H6\n", "4:2:2");
  refuse({"resize", "--size", "4x6", "--method", "fields"}, "YUV4MPEG2 W4 H8 C420\n",
         "8 to become 6");
  refuse({"crop", "--edges", "1,0,0,0"}, "YUV4MPEG2 W8 H8 C422\n", "multiple of 2");
  refuse({"crop", "--edges", "0,2,0,0"}, "YUV4MPEG2 W8 H8 It C420\n", "multiple of 4");
  refuse({"crop", "--edges", "4,0,4,0"}, "YUV4MPEG2 W8 H8 C422\n", "leave nothing of 8 x 8");
  refuse({"crop", "--edges", "0,0,1,0", "--raw", "uyvy422", "--size", "8x8"}, "",
         "a width of 7 cannot be written");
  refuse({"deinterlace", "/nowhere/in.y4m"}, "", "/nowhere/in.y4m cannot be read");
  refuse({"deinterlace", "-", "/nowhere/out.y4m"}, "YUV4MPEG2 W4 H4\n",
         "/nowhere/out.y4m cannot be written");
}

TEST_F(Video, AFullDiskIsTold) {
  const std::string in = Path("in.y4m");
  WriteText("in.y4m",
            Stream("W64 H64 C444", std::vector<Planes>(20, RandomPlanes(k444, 64, 64, 1))));
  for (const std::string to : {"/dev/full", "- > /dev/full"}) {
    const test::ProgramResult run = Shell(std::string(Program()) + " video field " + in + " " + to);
    EXPECT_EQ(run.exitCode, lumivane::kExitFailed) << to;
    EXPECT_THAT(run.err, HasSubstr("cannot be written: No space left on device"));
  }
}

TEST_F(Video, ABadCommandLineIsAUsageError) {
  for (const std::vector<std::string>& line : std::vector<std::vector<std::string>>{
           {},
           {"sharpen"},
           {"deinterlace", "--method", "bob"},
           {"resize"},
           {"crop"},
           {"deinterlace", "--raw", "rgb24", "--size", "4x4"},
           {"deinterlace", "--raw", "uyvy422"},
           {"deinterlace", "--raw", "uyvy422", "--size", "5x4"},
           {"deinterlace", "--raw", "argb", "--size", "4x4", "--y4m"},
           {"deinterlace", "--y4m"},
           {"deinterlace", "--rate", "fast"}}) {
    EXPECT_EQ(Verb(line, "").exitCode, lumivane::kExitUsage) << ::testing::PrintToString(line);
  }
}

TEST_F(Video, ASignalLeavesNothingBehind) {
  const test::ProgramResult run =
      Shell("sleep 2 2>/dev/null | " + std::string(Program()) +
            " video field --raw argb --size 4x4 - " + Path("out.argb") + " & sleep 0.5; ls " +
            Path("") + " | wc -l; kill -TERM $!; wait $!; echo $?");
  EXPECT_EQ(run.out, "1\n143\n");
  EXPECT_EQ(FileCount(), 0U);
}

/// Written frame by frame: a large test program would count as its children's memory.
void WriteLongStream(const std::string& path, int frames) {
  const std::string frame = "FRAME\n" + Text(RandomPlanes(k422, 320, 240, 1));
  std::ofstream file(path, std::ios::binary);
  file << "YUV4MPEG2 W320 H240 F25:1 It A1:1 C422\n";
  for (int i = 0; i < frames; ++i) file << frame;
}

TEST_F(Video, AReaderThatStopsEndsItQuietly) {
  const std::string in = Path("in.y4m");
  WriteLongStream(in, 20);
  const test::ProgramResult run =
      Shell(std::string(Program()) + " video deinterlace " + in + " - | head -c 1000 | wc -c");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out, "1000\n");
  EXPECT_EQ(run.err, "");
}

TEST_F(Video, MemoryDoesNotGrowWithTheStream) {
  const auto peak = [this](int frames) {
    const std::string in = Path("in.y4m");
    WriteLongStream(in, frames);
    for (const std::string verb : {"deinterlace", "resize --size 100x100"}) {
      const test::ProgramResult run =
          Shell(std::string(Program()) + " video " + verb + " " + in + " /dev/null");
      EXPECT_EQ(run.exitCode, 0) << run.err;
    }
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss;  // KiB, the largest of all children so far
  };
  const long few = peak(2);
  const long many = peak(80);  // 12 MB
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr long kSlack = 300000;  // freed blocks are kept back from reuse
#else
  constexpr long kSlack = 4000;
#endif
  EXPECT_LT(many - few, kSlack);
}

// ---- Real material

bool HaveFfmpeg() {
  return Shell("command -v ffmpeg ffprobe").exitCode == 0;
}

/// How far rows stand out from their neighbours: what interlaced motion does to a frame.
double Combing(const Plane& luma) {
  double sum = 0;
  for (int y = 1; y + 1 < luma.height; ++y) {
    for (int x = 0; x < luma.width; ++x) {
      sum += std::abs(2 * luma.At(x, y) - luma.At(x, y - 1) - luma.At(x, y + 1));
    }
  }
  return sum / luma.width / (luma.height - 2);
}

TEST_F(Video, DeinterlacesRealMaterialBetweenTwoFfmpegs) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
  // A moving picture at 50 a second, woven into 25 interlaced frames by ffmpeg.
  const std::string make =
      "ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=50:duration=0.4 -vf "
      "interlace=scan=tff:lowpass=off -pix_fmt yuv422p -f yuv4mpegpipe -";
  const std::string in = Path("in.y4m");
  ASSERT_EQ(Shell(make + " > " + in).exitCode, 0);
  const std::vector<Planes> woven = FramesOf(ReadText("in.y4m"), k422, 320, 240);
  ASSERT_EQ(woven.size(), 10U);
  ASSERT_THAT(HeaderOf(ReadText("in.y4m")), HasSubstr(" It "));

  for (const std::string method : {"blend3", "blend2", "first", "second"}) {
    const test::ProgramResult run = Shell(
        make + " | " + Program() + " video deinterlace --method " + method +
        " - - | ffmpeg -v error -y -f yuv4mpegpipe -i - -c:v rawvideo -f nut " + Path("out.nut"));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    // The player at the end sees progressive frames, all of them, of the same size and rate.
    const test::ProgramResult probe = Shell(
        "ffprobe -v error -count_frames -show_entries "
        "stream=width,height,field_order,r_frame_rate,nb_read_frames -of csv=p=0 " +
        Path("out.nut"));
    EXPECT_THAT(probe.out, HasSubstr("320,240,"));
    EXPECT_THAT(probe.out, HasSubstr(",25/1,10"));
    ASSERT_EQ(Shell("ffmpeg -v error -i " + Path("out.nut") +
                    " -pix_fmt yuv422p -f yuv4mpegpipe -y " + Path("out.y4m"))
                  .exitCode,
              0);
    EXPECT_THAT(HeaderOf(ReadText("out.y4m")), HasSubstr(" Ip "));
    const std::vector<Planes> frames = FramesOf(ReadText("out.y4m"), k422, 320, 240);
    ASSERT_EQ(frames.size(), 10U);
    for (std::size_t f = 0; f < frames.size(); ++f) {
      EXPECT_LT(Combing(frames[f][0]), 0.6 * Combing(woven[f][0])) << method << " frame " << f;
    }
    if (method == "first" || method == "second") {
      const int field = method == "first" ? 0 : 1;
      for (int y = 0; y < 240; y += 2) {
        for (int x = 0; x < 320; ++x) {
          ASSERT_EQ(frames[4][0].At(x, y), woven[4][0].At(x, y + field));
        }
      }
    }
  }
}

TEST_F(Video, FfmpegReadsEveryChromaBack) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
  for (const char* format : {"yuv420p", "yuv422p", "yuv444p", "yuv411p", "gray"}) {
    const std::string make =
        std::string(
            "ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=25:duration=0.12 "
            "-pix_fmt ") +
        format;
    const test::ProgramResult direct = Shell(make + " -f md5 -");
    const test::ProgramResult piped =
        Shell(make + " -f yuv4mpegpipe - | " + Program() +
              " video crop --edges 0,0,0,0 | ffmpeg -v error -f yuv4mpegpipe -i - -f md5 -");
    EXPECT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_EQ(piped.out, direct.out) << format;
    EXPECT_THAT(piped.out, StartsWith("MD5="));
  }
}

}  // namespace
