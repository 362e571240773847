// `lumivane stream` and `lumivane record`: what goes out, and who reads it or stops reading.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <thread>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FrameWriter.h"
#include "hosts/lumivane/PictureToVideo.h"
#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/PictureTools.h"
#include "tests/support/RunningProgram.h"

namespace {

using namespace picture_tools;
using built_program::Installed;
using lumivane::Picture;
using lumivane::VideoForm;
using lumivane::VideoMatrix;
using nlohmann::json;
using test::ProgramResult;
using test::RunningProgram;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

ProgramResult Shell(const std::string& command) {
  return test::RunProgram({"bash", "-o", "pipefail", "-c", command});
}

bool HaveFfmpeg() {
  return Shell("command -v ffmpeg ffprobe").exitCode == 0;
}

Picture RandomRgba(int width, int height, unsigned seed) {
  Picture picture{width, height, {}};
  std::mt19937 random(seed);
  picture.rgba.resize(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (std::uint8_t& byte : picture.rgba) byte = static_cast<std::uint8_t>(random());
  return picture;
}

// ---- Pictures to video

struct Oracle {
  double kr;
  double kb;
  double Y(const double* rgb) const {
    return 16 + 219 * (kr * rgb[0] + (1 - kr - kb) * rgb[1] + kb * rgb[2]) / 255;
  }
  double Luma(const double* rgb) const { return (Y(rgb) - 16) * 255 / 219; }
  double Cb(const double* rgb) const {
    return 128 + 224 * (rgb[2] - Luma(rgb)) / (2 * (1 - kb)) / 255;
  }
  double Cr(const double* rgb) const {
    return 128 + 224 * (rgb[0] - Luma(rgb)) / (2 * (1 - kr)) / 255;
  }
};

TEST(PictureToVideo, KeepsTheStandardsMatricesWithinRounding) {
  const Picture picture = RandomRgba(64, 40, 1);
  for (const VideoMatrix matrix : {VideoMatrix::k601, VideoMatrix::k709}) {
    const Oracle oracle =
        matrix == VideoMatrix::k601 ? Oracle{0.299, 0.114} : Oracle{0.2126, 0.0722};
    std::vector<std::uint8_t> bytes;
    PictureToVideo(picture, matrix, VideoForm::kUYVY, &bytes);
    ASSERT_EQ(bytes.size(), 64u * 40u * 2u);
    for (std::size_t pair = 0; pair < bytes.size() / 4; ++pair) {
      const std::uint8_t* const p = picture.rgba.data() + 8 * pair;
      const double left[] = {double(p[0]), double(p[1]), double(p[2])};
      const double right[] = {double(p[4]), double(p[5]), double(p[6])};
      const double mean[] = {(left[0] + right[0]) / 2, (left[1] + right[1]) / 2,
                             (left[2] + right[2]) / 2};
      const std::uint8_t* const uyvy = bytes.data() + 4 * pair;
      // Half a step of rounding, and what 16 bits of fixed point add.
      ASSERT_NEAR(uyvy[0], oracle.Cb(mean), 0.51);
      ASSERT_NEAR(uyvy[1], oracle.Y(left), 0.51);
      ASSERT_NEAR(uyvy[2], oracle.Cr(mean), 0.51);
      ASSERT_NEAR(uyvy[3], oracle.Y(right), 0.51);
    }
  }
}

TEST(PictureToVideo, HasNoColourInGreyAndTheStandardsBlackAndWhite) {
  Picture greys{256, 1, {}};
  for (int level = 0; level < 256; ++level) {
    for (int i = 0; i < 4; ++i) greys.rgba.push_back(static_cast<std::uint8_t>(level));
  }
  for (const VideoMatrix matrix : {VideoMatrix::k601, VideoMatrix::k709}) {
    std::vector<std::uint8_t> bytes;
    PictureToVideo(greys, matrix, VideoForm::kUYVY, &bytes);
    for (std::size_t i = 0; i < bytes.size(); i += 2) ASSERT_EQ(bytes[i], 128) << i;
    EXPECT_EQ(bytes[1], 16);
    EXPECT_EQ(bytes.back(), 235);
  }
}

TEST(PictureToVideo, PlanesHoldTheSameSamples) {
  const Picture picture = RandomRgba(10, 3, 2);
  std::vector<std::uint8_t> packed;
  std::vector<std::uint8_t> planes;
  PictureToVideo(picture, VideoMatrix::k601, VideoForm::kUYVY, &packed);
  PictureToVideo(picture, VideoMatrix::k601, VideoForm::kPlanes, &planes);
  ASSERT_EQ(planes.size(), packed.size());
  for (std::size_t i = 0; i < 15; ++i) {
    EXPECT_EQ(planes[2 * i], packed[4 * i + 1]);
    EXPECT_EQ(planes[2 * i + 1], packed[4 * i + 3]);
    EXPECT_EQ(planes[30 + i], packed[4 * i]);
    EXPECT_EQ(planes[45 + i], packed[4 * i + 2]);
  }
}

TEST(PictureToVideo, ShowsTheLastColumnTwiceAtAnOddWidth) {
  const Picture odd = RandomRgba(5, 2, 3);
  Picture even{6, 2, {}};
  for (std::size_t y = 0; y < 2; ++y) {
    even.rgba.insert(even.rgba.end(), odd.rgba.begin() + long(20 * y),
                     odd.rgba.begin() + long(20 * y + 20));
    even.rgba.insert(even.rgba.end(), odd.rgba.begin() + long(20 * y + 16),
                     odd.rgba.begin() + long(20 * y + 20));
  }
  EXPECT_EQ(lumivane::VideoWidth(odd), 6);
  for (const VideoForm form : {VideoForm::kUYVY, VideoForm::kPlanes}) {
    std::vector<std::uint8_t> fromOdd;
    std::vector<std::uint8_t> fromEven;
    PictureToVideo(odd, VideoMatrix::k709, form, &fromOdd);
    PictureToVideo(even, VideoMatrix::k709, form, &fromEven);
    EXPECT_EQ(fromOdd, fromEven);
  }
}

TEST(PictureToVideo, PadsRowsOfADevice) {
  const Picture picture = RandomRgba(4, 2, 4);
  std::vector<std::uint8_t> tight;
  std::vector<std::uint8_t> padded;
  PictureToVideo(picture, VideoMatrix::k601, VideoForm::kUYVY, &tight);
  PictureToVideo(picture, VideoMatrix::k601, VideoForm::kUYVY, &padded, 16);
  ASSERT_EQ(padded.size(), 32u);
  EXPECT_TRUE(std::equal(tight.begin(), tight.begin() + 8, padded.begin()));
  EXPECT_TRUE(std::equal(tight.begin() + 8, tight.end(), padded.begin() + 16));
  EXPECT_EQ(padded[8], 0);
}

// ---- A writer alone

std::shared_ptr<const Picture> Grey(std::uint8_t level) {
  return std::make_shared<Picture>(
      Picture{2, 1, {level, level, level, 255, level, level, level, 255}});
}

class Writer : public PictureTest {
 protected:
  /// Gives the file's frames one after the other, each once the one before is written.
  void Feed(lumivane::FrameWriter& writer,
            const std::vector<std::pair<std::uint64_t, std::uint8_t>>& frames) {
    std::uint64_t expected = 0;
    for (const auto& [tick, level] : frames) {
      writer.Offer({tick, Grey(level)});
      expected = tick + 1;
      while (writer.counts().written < expected &&
             writer.state() == lumivane::SinkState::kRunning) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    }
  }

  std::unique_ptr<lumivane::ByteOutput> Open(const std::string& name) {
    auto output = std::make_unique<lumivane::ByteOutput>();
    std::string error;
    EXPECT_TRUE(output->Open(Path(name), stop_, &error)) << error;
    return output;
  }

  lumivane::StopSignals stop_;
  const lumivane::WriterFormat raw_ = {false, {2, 1}, {10, 1}, VideoMatrix::k601, 0};
};

TEST_F(Writer, AFileKeepsTime) {
  auto output = Open("f.raw");
  EXPECT_TRUE(output->keeps());
  lumivane::FrameWriter writer(std::move(output), raw_, 0);
  Feed(writer, {{0, 0}, {1, 255}, {4, 0}});
  EXPECT_FALSE(std::filesystem::exists(Path("f.raw"))) << "it has no name before it is whole";
  writer.Finish(7);
  EXPECT_EQ(writer.state(), lumivane::SinkState::kRunning);
  EXPECT_EQ(writer.counts().written, 7u);
  EXPECT_EQ(writer.counts().repeated, 4u);
  EXPECT_EQ(writer.counts().dropped, 0u);
  const std::string black = "\x80\x10\x80\x10";
  const std::string white = "\x80\xEB\x80\xEB";
  EXPECT_EQ(ReadText("f.raw"), black + white + white + white + black + black + black);
}

TEST_F(Writer, EndsAfterTheFramesThatWereAskedFor) {
  lumivane::FrameWriter writer(Open("f.raw"), raw_, 3);
  Feed(writer, {{0, 0}, {1, 0}});
  writer.Offer({9, Grey(0)});
  while (writer.state() == lumivane::SinkState::kRunning) std::this_thread::yield();
  EXPECT_EQ(writer.state(), lumivane::SinkState::kComplete);
  writer.Finish(10);
  EXPECT_EQ(ReadText("f.raw").size(), 12u) << "the gap is filled only as far as that";
}

TEST_F(Writer, DoesNotFillUpALongPause) {
  lumivane::FrameWriter writer(Open("f.raw"), raw_, 0);
  writer.Offer({0, Grey(0)});
  while (writer.counts().written == 0) std::this_thread::yield();
  writer.Finish(1000000);
  EXPECT_EQ(ReadText("f.raw").size(), 4u);
  EXPECT_EQ(writer.counts().dropped, 999999u);
}

TEST_F(Writer, LeavesAnOldFileAloneUntilItIsWhole) {
  WriteText("f.raw", "old");
  chmod(Path("f.raw").c_str(), 0640);
  {
    lumivane::FrameWriter writer(Open("f.raw"), raw_, 0);
    writer.Offer({0, Grey(0)});
    while (writer.counts().written == 0) std::this_thread::yield();
  }
  EXPECT_EQ(ReadText("f.raw"), "old");
  EXPECT_EQ(FileCount(), 1u) << "what was written aside is gone";
  {
    lumivane::FrameWriter writer(Open("f.raw"), raw_, 0);
    writer.Offer({0, Grey(0)});
    writer.Finish(1);
  }
  EXPECT_EQ(ReadText("f.raw").size(), 4u);
  struct stat status {};
  stat(Path("f.raw").c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
}

// ---- The program

class StreamCommand : public PictureTest {};

TEST_F(StreamCommand, FfmpegReadsEveryFrameOfY4M) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
  const Installed camera;
  const ProgramResult run =
      Shell(std::string(Program()) +
            " stream --out - --frames 25 --rate 25 | ffmpeg -v error -f yuv4mpegpipe -i - -c:v "
            "rawvideo -f nut - | ffprobe -v error -count_frames -show_entries "
            "stream=width,height,pix_fmt,r_frame_rate,nb_read_frames -of json -");
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const json stream = json::parse(run.out)["streams"][0];
  EXPECT_EQ(stream["width"], 640);
  EXPECT_EQ(stream["height"], 480);
  EXPECT_EQ(stream["pix_fmt"], "yuv422p");
  EXPECT_EQ(stream["r_frame_rate"], "25/1");
  EXPECT_EQ(stream["nb_read_frames"], "25");
}

TEST_F(StreamCommand, FfmpegReadsEveryRawFrame) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
  const Installed camera;
  const ProgramResult run = Shell(
      std::string(Program()) +
      " stream -o - --format uyvy422 --frames 25 --rate 50 --size 320x240 -q | ffmpeg -v error -f "
      "rawvideo -pixel_format uyvy422 -video_size 320x240 -framerate 50 -i - -f framemd5 - | grep "
      "-c ' 153600, '");
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "25\n");
}

TEST_F(StreamCommand, ShowsTheSamePictureAsASnapshot) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
  // The no-camera picture stands still.
  ASSERT_EQ(Lumivane({"record", Path("n.y4m"), "--frames", "2", "-q"}).exitCode,
            lumivane::kExitNoCamera);
  ASSERT_EQ(Lumivane({"snapshot", "-o", Path("n.png"), "-q"}).exitCode, lumivane::kExitNoCamera);
  const ProgramResult decoded = Shell("ffmpeg -v error -f yuv4mpegpipe -i " + Path("n.y4m") +
                                      " -frames:v 1 -sws_flags accurate_rnd+full_chroma_int "
                                      "-pix_fmt rgb24 -update 1 " +
                                      Path("video.png"));
  ASSERT_EQ(decoded.exitCode, 0) << decoded.err;
  const ArgbPicture still = Read("n.png");
  const ArgbPicture video = Read("video.png");
  ASSERT_EQ(video.width, still.width);
  ASSERT_EQ(video.height, still.height);
  double error = 0;
  for (std::size_t i = 0; i < still.pixels.size(); ++i) {
    error += std::abs(int{still.pixels[i]} - int{video.pixels[i]});
  }
  // Chroma of pairs and 8-bit rounding; another matrix or range would be far off.
  EXPECT_LT(error / static_cast<double>(still.pixels.size()), 1.0);
}

TEST_F(StreamCommand, RecordKeepsTimeAndSaysWhatItDid) {
  const Installed camera;
  const ProgramResult run =
      Lumivane({"record", Path("a.y4m"), "--seconds", "0.5", "--rate", "30", "--json"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const json report = json::parse(run.out);
  EXPECT_EQ(report["width"], 640);
  EXPECT_EQ(report["outputs"][0]["frames"], 15) << "half a second plays for half a second";
  const std::string bytes = ReadText("a.y4m");
  const std::string header = "YUV4MPEG2 W640 H480 F30:1 Ip A1:1 C422 XCOLORRANGE=LIMITED\n";
  EXPECT_THAT(bytes.substr(0, 80), StartsWith(header + "FRAME\n"));
  EXPECT_EQ(bytes.size(), header.size() + 15u * (6 + 640 * 480 * 2));
  // Its own kind: the frame operations take it.
  EXPECT_EQ(
      Lumivane({"video", "field", "--field", "top", Path("a.y4m"), Path("b.y4m"), "-q"}).exitCode,
      0);
}

TEST_F(StreamCommand, AFileThatStandardOutputIsKeepsTimeToo) {
  const ProgramResult run = Shell(std::string(Program()) +
                                  " stream -o - --format uyvy422 --size 32x32 --seconds 0.5 "
                                  "--rate 30 -q > " +
                                  Path("o.raw"));
  EXPECT_EQ(run.exitCode, lumivane::kExitNoCamera);
  EXPECT_EQ(ReadText("o.raw").size(), 15u * 32 * 32 * 2);
}

TEST_F(StreamCommand, SeveralOutputsEachGetTheirFrames) {
  RunningProgram run({Program(), "stream", "-o", Path("a.raw"), "--size", "32x32", "--frames", "20",
                      "--listen", "127.0.0.1:0", "--json"});
  EXPECT_THAT(run.ReadLine(), StartsWith("http://127.0.0.1:"));
  EXPECT_EQ(run.Wait(), lumivane::kExitNoCamera) << "the server does not keep it from its end";
  EXPECT_EQ(ReadText("a.raw").size(), 20u * 32 * 32 * 2);
  const json report = json::parse(run.ReadBytes(100000));
  ASSERT_EQ(report["outputs"].size(), 2u);
  EXPECT_EQ(report["outputs"][1]["name"], Path("a.raw"));
  EXPECT_EQ(report["outputs"][1]["frames"], 20);
}

TEST_F(StreamCommand, TakesTheFormatFromTheName) {
  for (const char* name : {"a.uyvy", "a.raw"}) {
    EXPECT_EQ(Lumivane({"record", Path(name), "-n", "1", "--size", "33x10", "-q"}).exitCode,
              lumivane::kExitNoCamera);
    EXPECT_EQ(ReadText(name).size(), 34u * 10u * 2u) << "pairs of pixels";
  }
  EXPECT_EQ(Lumivane({"record", Path("b.raw"), "-n", "1", "--size", "32x10", "-q", "--format",
                      "y4m", "--rate", "29.97"})
                .exitCode,
            lumivane::kExitNoCamera);
  EXPECT_THAT(ReadText("b.raw"), StartsWith("YUV4MPEG2 W32 H10 F30000:1001 "));
}

TEST_F(StreamCommand, AReaderThatLeavesEndsItQuietly) {
  const Installed camera;
  const ProgramResult run =
      test::RunProgram({"bash", "-c",
                        std::string(Program()) + " stream -o - | head -c 700000 | wc -c; echo "
                                                 "${PIPESTATUS[0]}"});
  EXPECT_EQ(run.out, "700000\n0\n");
  EXPECT_THAT(run.err, IsEmpty());
}

TEST_F(StreamCommand, AReaderThatStopsLosesFramesAndStopsNothing) {
  const Installed camera;
  RunningProgram run({Program(), "stream", "-o", "-", "--seconds", "1", "--rate", "60", "--json"});
  const std::string header = run.ReadLine();
  EXPECT_THAT(header, StartsWith("YUV4MPEG2"));
  // Nobody reads on: it still ends by itself.
  EXPECT_EQ(run.Wait(), 0) << run.Errors();
  const json report = json::parse(run.Errors());
  EXPECT_GT(report["frames"], 2) << "the pace went on";
  EXPECT_GT(report["outputs"][0]["dropped"], 0);
  EXPECT_LT(report["outputs"][0]["frames"], report["frames"]);
}

TEST_F(StreamCommand, ASlowReaderGetsWholeFrames) {
  const Installed camera;
  RunningProgram run({Program(), "stream", "-o", "-", "--size", "320x240", "--frames", "8", "-q"});
  run.ReadLine();
  for (int i = 0; i < 8; ++i) {
    ASSERT_EQ(run.ReadLine(), "FRAME") << i;
    ASSERT_EQ(run.ReadBytes(320 * 240 * 2).size(), 320u * 240u * 2u);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_EQ(run.ReadBytes(1), "");
  EXPECT_EQ(run.Wait(), 0) << run.Errors();
}

TEST_F(StreamCommand, SignalsEndItWithAWholeFile) {
  const Installed camera;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    RunningProgram run({Program(), "record", Path("a.y4m"), "--size", "64x48", "-q"});
    const auto written = [this] {
      for (const auto& entry :
           std::filesystem::directory_iterator(std::filesystem::path(Path("x")).parent_path())) {
        if (entry.file_size() > 10000) return true;
      }
      return false;
    };
    while (!written()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    run.Signal(signal);
    EXPECT_EQ(run.Wait(), 0) << run.Errors();
    const std::size_t header = ReadText("a.y4m").find('\n') + 1;
    EXPECT_EQ((ReadText("a.y4m").size() - header) % (6 + 64 * 48 * 2), 0u) << "whole frames";
    EXPECT_EQ(FileCount(), 1u) << "nothing is left aside";
    std::filesystem::remove(Path("a.y4m"));
  }
}

TEST_F(StreamCommand, ASignalEndsItWhileNobodyReads) {
  RunningProgram run({Program(), "stream", "-o", "-", "-q"});
  run.ReadLine();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  run.Signal(SIGTERM);
  EXPECT_EQ(run.Wait(), lumivane::kExitNoCamera);
}

TEST_F(StreamCommand, WritesIntoANamedPipe) {
  const Installed camera;
  ASSERT_EQ(mkfifo(Path("p").c_str(), 0600), 0);
  RunningProgram run(
      {Program(), "stream", "-o", Path("p"), "--frames", "2", "--size", "32x32", "-q"});
  const ProgramResult read = test::RunProgram({"cat", Path("p")});
  EXPECT_EQ(read.out.substr(0, 10), "YUV4MPEG2 ");
  EXPECT_EQ(read.out.size() - read.out.find('\n') - 1, 2u * (6 + 32 * 32 * 2));
  EXPECT_EQ(run.Wait(), 0) << run.Errors();

  RunningProgram alone({Program(), "stream", "-o", Path("p"), "-q"});
  ASSERT_TRUE(alone.WaitUntilItAnswers(SIGINT));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  alone.Signal(SIGINT);
  EXPECT_EQ(alone.Wait(), 0) << "a pipe nobody opens is waited for, not for ever";
}

TEST_F(StreamCommand, AFullDiskIsAClearError) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full";
  const ProgramResult run = Lumivane({"stream", "-o", "/dev/full", "--seconds", "5"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("/dev/full cannot be written: No space left on device"));
}

TEST_F(StreamCommand, SaysWhatIsWrongWithADevice) {
  struct Case {
    const char* path;
    const char* text;
  };
  WriteText("plain", "");
  const std::string plain = Path("plain");
  for (const Case& one : std::initializer_list<Case>{{"/dev/no-such-video", "no such device"},
                                                     {"/dev/null", "it is no video device"},
                                                     {plain.c_str(), "it is no video device"}}) {
    const ProgramResult run = Lumivane({"stream", "--device", one.path});
    EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
    EXPECT_THAT(run.err, HasSubstr(std::string("--device ") + one.path + ": "));
    EXPECT_THAT(run.err, HasSubstr(one.text));
    EXPECT_THAT(run.err, HasSubstr("modprobe v4l2loopback")) << "the line that mends it";
  }
}

TEST_F(StreamCommand, BadOptionsAreNamed) {
  struct Case {
    std::vector<std::string> arguments;
    const char* named;
  };
  const std::string file = Path("f");
  for (const Case& one :
       std::initializer_list<Case>{{{"stream"}, "--out"},
                                   {{"stream", "-o", file, "--rate", "0"}, "--rate"},
                                   {{"stream", "-o", file, "--rate", "fast"}, "--rate"},
                                   {{"stream", "-o", file, "--format", "mp4"}, "--format"},
                                   {{"stream", "-o", file, "--matrix", "2020"}, "--matrix"},
                                   {{"stream", "-o", file, "--seconds", "-1"}, "--seconds"},
                                   {{"stream", "-o", file, "--frames", "-1"}, "--frames"},
                                   {{"stream", "-o", file, "--size", "0x5"}, "--size"},
                                   {{"stream", "--listen", "here"}, "--listen"},
                                   {{"stream", "--listen", "127.0.0.1:65536"}, "--listen"},
                                   {{"stream", "--http", "--quality", "0"}, "--quality"},
                                   {{"stream", "--http", "--max-clients", "0"}, "--max-clients"},
                                   {{"record"}, "file"}}) {
    const ProgramResult run = Lumivane(one.arguments);
    EXPECT_EQ(run.exitCode, lumivane::kExitUsage) << testing::PrintToString(one.arguments);
    EXPECT_THAT(run.err, HasSubstr(one.named)) << testing::PrintToString(one.arguments);
  }
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(StreamCommand, WithoutACameraItSaysSo) {
  const ProgramResult none = Lumivane({"record", Path("a.y4m"), "-n", "2"});
  EXPECT_EQ(none.exitCode, lumivane::kExitNoCamera);
  EXPECT_THAT(none.err, HasSubstr("no camera"));
  EXPECT_TRUE(std::filesystem::exists(Path("a.y4m")));
  const ProgramResult required = Lumivane({"record", Path("b.y4m"), "-n", "2", "--require-camera"});
  EXPECT_EQ(required.exitCode, lumivane::kExitNoCamera);
  EXPECT_FALSE(std::filesystem::exists(Path("b.y4m")));
  const ProgramResult nowhere = Lumivane({"record", "/no/such/folder/a.y4m", "-n", "1"});
  EXPECT_EQ(nowhere.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(nowhere.err, HasSubstr("/no/such/folder/a.y4m cannot be written"));
}

}  // namespace
