// The frei0r module in the programs that people load it into.
#include <gmock/gmock.h>

#include <cstdio>

#include "tests/hosts/modules/Modules.h"

namespace {

using namespace modules;
using ::testing::HasSubstr;

using Command = std::vector<std::string>;

/// Every whole frame of `bytes` equals `expected`, and there are `count`.
void ExpectFrames(const std::string& bytes, const Pixels& expected, std::size_t count) {
  const std::size_t size = expected.rgba.size();
  ASSERT_GT(size, 0u);
  ASSERT_EQ(bytes.size(), count * size);
  for (std::size_t i = 0; i < count; ++i) {
    const Bytes frame = BytesOf(bytes.substr(i * size, size));
    ASSERT_EQ(Difference(frame, expected.rgba, expected.width), "") << "frame " << i;
  }
}

class FFmpegTest : public HostTest {
 protected:
  static Command Line(const std::string& options, Command output) {
    Command command = {"ffmpeg", "-nostdin", "-v", "error",
                       "-f",     "lavfi",    "-i", "frei0r_src=filter_name=lumivane:" + options};
    command.insert(command.end(), output.begin(), output.end());
    return command;
  }
  static Command RawFrames(int count) {
    return {"-frames:v", std::to_string(count), "-f", "rawvideo", "-pix_fmt", "rgba", "pipe:1"};
  }
};

TEST_F(FFmpegTest, ShowsTheCamerasFramesByteForByte) {
  InstallCamera(STILL_CAMERA);
  const test::ProgramResult run =
      test::RunProgram(Line("size=320x240:framerate=25:filter_params=0.5", RawFrames(5)));
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  ExpectFrames(run.out, Snapshot(), 5);
}

TEST_F(FFmpegTest, ShowsAnySizeAndTakesAnyParameter) {
  InstallCamera(STILL_CAMERA);
  // FFmpeg pads its rows to 64 bytes without telling the module: the width is a multiple of 16.
  for (const char* parameter : {"filter_params=1.7", "filter_params=nan", "filter_params="}) {
    const test::ProgramResult run =
        test::RunProgram(Line(std::string("size=336x243:framerate=25:") + parameter, RawFrames(2)));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    ExpectFrames(run.out, Snapshot("336x243"), 2);
  }
  const test::ProgramResult large =
      test::RunProgram(Line("size=4096x2160:framerate=25:filter_params=0.5", RawFrames(1)));
  ASSERT_EQ(large.exitCode, 0) << large.err;
  EXPECT_EQ(large.out.size(), std::size_t{4} * 4096 * 2160);
}

TEST_F(FFmpegTest, ShowsTheNoCameraPicture) {
  const test::ProgramResult run =
      test::RunProgram(Line("size=320x240:framerate=25:filter_params=0.5", RawFrames(3)));
  ASSERT_EQ(run.exitCode, 0) << run.err;
  ExpectFrames(run.out, Snapshot("320x240"), 3);
}

TEST_F(FFmpegTest, EncodesAMovieOfAMovingPicture) {
  InstallCamera(TEST_PATTERN);
  const test::TempFolder folder;
  const std::string movie = (folder / "movie.mkv").string();
  const test::ProgramResult run = test::RunProgram(Line(
      "size=320x240:framerate=25:filter_params=0.5", {"-frames:v", "10", "-c:v", "ffv1", movie}));
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const test::ProgramResult count =
      test::RunProgram({"ffprobe", "-v", "error", "-count_frames", "-show_entries",
                        "stream=nb_read_frames,width", "-of", "csv=p=0", movie});
  EXPECT_EQ(count.out, "320,10\n") << count.err;
}

/// A host that runs while the test looks at its frames.
class RunningHost {
 public:
  RunningHost(const std::string& commandLine, std::size_t frameSize)
      : pipe_(popen(commandLine.c_str(), "r")), frame_(frameSize) {}
  ~RunningHost() { pclose(pipe_); }
  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;

  /// Reads up to and with the first frame equal to `wanted`. False at the end of the output.
  bool ReadUntil(const Bytes& wanted) {
    while (std::fread(frame_.data(), 1, frame_.size(), pipe_) == frame_.size()) {
      if (frame_ == wanted) return true;
    }
    return false;
  }
  /// Whether the next frames, `count` of them, all equal `wanted`.
  bool Stays(const Bytes& wanted, int count) {
    for (int i = 0; i < count; ++i) {
      if (std::fread(frame_.data(), 1, frame_.size(), pipe_) != frame_.size()) return false;
      if (frame_ != wanted) return false;
    }
    return true;
  }

 private:
  std::FILE* pipe_;
  Bytes frame_;
};

/// Long enough for a machine with much else to do; the test ends it by leaving.
constexpr char kFFmpegWhileTheTestLooks[] =
    "exec ffmpeg -nostdin -v quiet -re -f lavfi -i "
    "frei0r_src=filter_name=lumivane:size=64x48:framerate=25:filter_params=0.5 -t 120 -f rawvideo "
    "-pix_fmt rgba pipe:1";

TEST_F(FFmpegTest, LivesThroughACameraThatComesAndGoes) {
  const fs::path on = test::Home() / "switch";
  const test::ScopedVariable variable("LUMIVANE_SWITCHED_CAMERA", on.string());
  fs::remove(on);
  const Bytes none = Snapshot("64x48").rgba;
  InstallCamera(SWITCHED_CAMERA);
  test::WriteFile(on, "");
  // Not the program's picture: that keeps what is transparent.
  Bytes live;
  for (int i = 0; i < 64 * 48; ++i) {
    const bool clear = i % 64 >= 32;
    const int row = i / 64;
    live.insert(live.end(),
                {static_cast<std::uint8_t>(clear ? 100 : 200),
                 static_cast<std::uint8_t>(clear ? 50 : 150), static_cast<std::uint8_t>(row), 255});
  }
  fs::remove(on);
  RemoveCamera();

  RunningHost host(kFFmpegWhileTheTestLooks, live.size());
  ASSERT_TRUE(host.ReadUntil(none)) << "no component";
  InstallCamera(SWITCHED_CAMERA);
  EXPECT_TRUE(host.Stays(none, 3)) << "a component without frames";
  for (int round = 0; round < 3; ++round) {
    test::WriteFile(on, "");
    ASSERT_TRUE(host.ReadUntil(live)) << "plugged in, round " << round;
    EXPECT_TRUE(host.Stays(live, 2));
    if (round == 1) RemoveCamera();  // What is loaded stays.
    fs::remove(on);
    ASSERT_TRUE(host.ReadUntil(none)) << "unplugged, round " << round;
  }
}

class MeltTest : public HostTest {
 protected:
  /// A project of exactly the camera's size.
  std::string Profile(int width, int height) const {
    const fs::path file = folder_ / "profile";
    const std::string w = std::to_string(width);
    const std::string h = std::to_string(height);
    test::WriteFile(file, "description=test\nframe_rate_num=25\nframe_rate_den=1\nwidth=" + w +
                              "\nheight=" + h +
                              "\nprogressive=1\nsample_aspect_num=1\nsample_aspect_den=1\n"
                              "display_aspect_num=" +
                              w + "\ndisplay_aspect_den=" + h + "\ncolorspace=601\n");
    return file.string();
  }
  std::string Render(const Command& producer, const std::string& profile, const Command& consumer,
                     int* exitCode) const {
    const std::string raw = (folder_ / "frames.raw").string();
    Command command = {"melt"};
    command.insert(command.end(), producer.begin(), producer.end());
    command.insert(command.end(),
                   {"-profile", profile, "-consumer", "avformat:" + raw, "f=rawvideo",
                    "vcodec=rawvideo", "pix_fmt=rgba", "mlt_image_format=rgba", "an=1"});
    command.insert(command.end(), consumer.begin(), consumer.end());
    const test::ProgramResult run = test::RunProgram(command);
    *exitCode = run.exitCode;
    return test::ReadFile(raw);
  }

 private:
  test::TempFolder folder_;
};

TEST_F(MeltTest, ShowsTheCamerasFramesByteForByte) {
  InstallCamera(STILL_CAMERA);
  const Pixels own = Snapshot();
  // One thread, and four with an instance each.
  for (const char* threads : {"real_time=-1", "real_time=-4"}) {
    int exitCode = -1;
    const std::string frames = Render({"frei0r.lumivane", "inputClock=0.25", "out=9"},
                                      Profile(320, 240), {threads}, &exitCode);
    EXPECT_EQ(exitCode, 0) << threads;
    ExpectFrames(frames, own, 10);
  }
}

TEST_F(MeltTest, ShowsTheSizeOfTheProject) {
  InstallCamera(STILL_CAMERA);
  int exitCode = -1;
  const std::string frames =
      Render({"frei0r.lumivane", "0=1.7", "out=1"}, "square_pal", {"real_time=-1"}, &exitCode);
  EXPECT_EQ(exitCode, 0);
  ExpectFrames(frames, Snapshot("768x576"), 2);
}

TEST_F(MeltTest, ShowsSmallPicturesInSlices) {
  InstallCamera(STILL_CAMERA);
  int exitCode = -1;
  const std::string frames = Render({"frei0r.lumivane", "threads=2", "out=2"}, Profile(320, 240),
                                    {"real_time=-4"}, &exitCode);
  EXPECT_EQ(exitCode, 0);
  Pixels slices = Snapshot("320x120");
  slices.rgba.insert(slices.rgba.end(), slices.rgba.begin(),
                     slices.rgba.begin() + static_cast<std::ptrdiff_t>(320 * 120 * 4));
  ExpectFrames(frames, slices, 3);
}

TEST_F(MeltTest, ListsIt) {
  const test::ProgramResult run = test::RunProgram({"melt", "-query", "producer=frei0r.lumivane"});
  EXPECT_THAT(run.out, HasSubstr("identifier: frei0r.lumivane"));
  EXPECT_THAT(run.out, HasSubstr("inputClock"));
}

class GStreamerBridgeTest : public HostTest {};

TEST_F(GStreamerBridgeTest, ShowsTheCamerasFramesByteForByte) {
  InstallCamera(STILL_CAMERA);
  const test::ProgramResult run = test::RunProgram(
      {"gst-launch-1.0", "-q", "frei0r-src-lumivane", "num-buffers=4", "inputclock=0.5", "!",
       "video/x-raw,format=RGBA,width=320,height=240,framerate=25/1", "!", "fdsink", "fd=1"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  ExpectFrames(run.out, Snapshot(), 4);
}

TEST_F(GStreamerBridgeTest, ListsItWithoutLookingForTheCamera) {
  const test::ProgramResult run = test::RunProgram({"gst-inspect-1.0", "frei0r-src-lumivane"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("inputclock"));
  EXPECT_FALSE(fs::exists(LogFile()));
}

}  // namespace
