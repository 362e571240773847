// The element lumivanesrc.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <regex>

#include "tests/hosts/modules/Modules.h"

namespace {

using namespace modules;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

using Command = std::vector<std::string>;

const std::string kElementModule = kModules / "gstreamer-1.0/libgstlumivane.so";

/// Plays pipelines with the installed program, or with one of our own where that cannot load the
/// element.
class GStreamerElementTest : public ModuleTest {
 protected:
  static test::ProgramResult Launch(const Command& pipeline) {
    Command command = {"gst-launch-1.0", "-q"};
    if (LUMIVANE_SANITIZED) command = {GST_LAUNCH, kElementModule};
    command.insert(command.end(), pipeline.begin(), pipeline.end());
    return test::RunProgram(command);
  }
  /// The bytes of `count` frames with these caps.
  static std::string Frames(const std::string& caps, int count, const Command& properties = {}) {
    Command pipeline = {"lumivanesrc", "num-buffers=" + std::to_string(count)};
    pipeline.insert(pipeline.end(), properties.begin(), properties.end());
    pipeline.insert(pipeline.end(), {"!", caps, "!", "fdsink", "fd=1"});
    const test::ProgramResult run = Launch(pipeline);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.out;
  }

 private:
  // Nor can the program by which GStreamer looks into modules: it is not to find them there.
  test::ScopedVariable elements_{"GST_PLUGIN_PATH",
                                 LUMIVANE_SANITIZED ? "" : kModules / "gstreamer-1.0"};
  test::ScopedVariable effects_{"FREI0R_PATH",
                                LUMIVANE_SANITIZED ? "/nowhere" : kModules / "frei0r-1"};
};

/// What only the installed programs show.
class GStreamerElementInHosts : public GStreamerElementTest {
 protected:
  void SetUp() override { SkipWhereHostsCannotLoadModules(); }
};

/// The bytes of RGBA pixels in another order: for each place, the channel that lies there.
Bytes Ordered(const Bytes& rgba, const std::array<std::size_t, 4>& channels) {
  Bytes ordered(rgba.size());
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    for (std::size_t place = 0; place < 4; ++place) ordered[i + place] = rgba[i + channels[place]];
  }
  return ordered;
}

TEST_F(GStreamerElementTest, ShowsTheCamerasFramesInEveryFormatByteForByte) {
  InstallCamera(STILL_CAMERA);
  const Pixels own = Snapshot();
  const std::vector<std::pair<const char*, std::array<std::size_t, 4>>> formats = {
      {"RGBA", {0, 1, 2, 3}}, {"RGBx", {0, 1, 2, 3}}, {"BGRA", {2, 1, 0, 3}},
      {"BGRx", {2, 1, 0, 3}}, {"ARGB", {3, 0, 1, 2}}, {"xRGB", {3, 0, 1, 2}}};
  for (const auto& [format, channels] : formats) {
    const Bytes expected = Ordered(own.rgba, channels);
    const Bytes two =
        BytesOf(Frames(std::string("video/x-raw,framerate=120/1,format=") + format, 2));
    ASSERT_EQ(two.size(), 2 * expected.size()) << format << ": the camera's own size is chosen";
    const auto middle = two.begin() + static_cast<std::ptrdiff_t>(expected.size());
    EXPECT_EQ(Difference({two.begin(), middle}, expected, own.width), "") << format;
    EXPECT_EQ(Difference({middle, two.end()}, expected, own.width), "") << format;
  }
}

TEST_F(GStreamerElementTest, TakesTheSizeOfACameraThatIsStillBeingOpened) {
  const test::ScopedVariable delay("LUMIVANE_SLOW_CAMERA", "300");
  const test::ScopedVariable patience("LUMIVANE_FIRST_PICTURE_WAIT", "60");
  InstallCamera(SLOW_CAMERA);
  const Bytes picture = BytesOf(Frames("video/x-raw,format=RGBA", 1));
  EXPECT_EQ(picture.size(), 64U * 48U * 4U);
  EXPECT_THAT(picture, ::testing::Each(255));
}

TEST_F(GStreamerElementTest, FitsOrStretchesThePicture) {
  InstallCamera(STILL_CAMERA);
  const Bytes fitted = BytesOf(Frames("video/x-raw,format=RGBA,width=402,height=101", 1));
  EXPECT_EQ(Difference(fitted, Snapshot("402x101").rgba, 402), "");
  const Bytes stretched =
      BytesOf(Frames("video/x-raw,format=RGBA,width=402,height=101", 1, {"add-borders=false"}));
  ASSERT_EQ(stretched.size(), fitted.size());
  // The colours of the still camera reach into all four corners.
  EXPECT_EQ(stretched[2], 160);
  EXPECT_EQ(stretched[4 * 401 + 2], 160);
  EXPECT_EQ(fitted[2], 0);
}

TEST_F(GStreamerElementTest, ShowsTheNoCameraPictureAndOddSizes) {
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{1, 1}, {3, 5}, {322, 243}}) {
    const std::string caps = "video/x-raw,format=RGBA,width=" + std::to_string(width) +
                             ",height=" + std::to_string(height);
    EXPECT_EQ(Difference(BytesOf(Frames(caps, 1)), Snapshot(SizeText(width, height)).rgba, width),
              "")
        << width << " x " << height;
  }
}

/// What identity prints about each buffer.
struct Stamps {
  std::vector<double> times;
  std::vector<double> durations;
};

double Seconds(const std::string& text) {
  int hours = 0;
  int minutes = 0;
  double seconds = 0;
  EXPECT_EQ(std::sscanf(text.c_str(), "%d:%d:%lf", &hours, &minutes, &seconds), 3) << text;
  return 3600 * hours + 60 * minutes + seconds;
}

Stamps StampsIn(const std::string& output) {
  const std::regex stamp("pts: ([0-9:.]+), duration: ([0-9:.]+)");
  Stamps stamps;
  for (std::sregex_iterator i(output.begin(), output.end(), stamp), end; i != end; ++i) {
    stamps.times.push_back(Seconds((*i)[1]));
    stamps.durations.push_back(Seconds((*i)[2]));
  }
  return stamps;
}

TEST_F(GStreamerElementInHosts, StampsFramesWithTheTimeTheyAreDue) {
  InstallCamera(STILL_CAMERA);
  const test::ProgramResult run =
      test::RunProgram({"gst-launch-1.0", "-v", "lumivanesrc", "num-buffers=8", "!",
                        "video/x-raw,width=32,height=24,framerate=25/1", "!", "fakesink",
                        "silent=false", "sync=true"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const Stamps stamps = StampsIn(run.out);
  ASSERT_EQ(stamps.times.size(), 8u) << run.out;
  for (std::size_t i = 1; i < stamps.times.size(); ++i) {
    const double step = stamps.times[i] - stamps.times[i - 1];
    EXPECT_GT(step, 0.03999);
    // What is late is left out, by whole frames.
    EXPECT_NEAR(step / 0.04, std::round(step / 0.04), 1e-4);
  }
  for (const double duration : stamps.durations) EXPECT_NEAR(duration, 0.04, 1e-6);
}

TEST_F(GStreamerElementInHosts, SaysWhetherThePictureIsLive) {
  const Command tail = {"!", "video/x-raw,width=32,height=24", "!", "fakesink"};
  const auto notices = [&] {
    Command command = {"gst-launch-1.0", "-v", "lumivanesrc", "num-buffers=2"};
    command.insert(command.end(), tail.begin(), tail.end());
    return test::RunProgram(command).out;
  };
  EXPECT_THAT(notices(), Not(HasSubstr("live = true")));
  InstallCamera(STILL_CAMERA);
  EXPECT_THAT(notices(), HasSubstr("live = true"));
}

TEST_F(GStreamerElementInHosts, EndsInTheMiddleOfAWait) {
  InstallCamera(TEST_PATTERN);
  // One frame in 100 seconds: the second is waited for when the pipeline is told to end.
  const test::ProgramResult run = test::RunProgram(
      {"timeout", "--signal=INT", "--kill-after=60", "3", "gst-launch-1.0", "-q", "-e",
       "lumivanesrc", "!", "video/x-raw,width=32,height=24,framerate=1/100", "!", "fakesink"});
  EXPECT_THAT(run.exitCode, ::testing::AnyOf(0, 124)) << "not killed: " << run.err;
}

TEST_F(GStreamerElementInHosts, TwoElementsAndTheBridgeShowOneCamera) {
  InstallCamera(STILL_CAMERA);
  const test::TempFolder folder;
  const Pixels own = Snapshot();
  const std::string caps = "video/x-raw,format=RGBA,width=320,height=240,framerate=50/1";
  const std::string a = (folder / "a").string();
  const std::string b = (folder / "b").string();
  const std::string c = (folder / "c").string();
  const test::ProgramResult run = Launch(
      {"lumivanesrc",         "num-buffers=10", "!", caps, "!", "filesink", "location=" + a,
       "lumivanesrc",         "num-buffers=10", "!", caps, "!", "filesink", "location=" + b,
       "frei0r-src-lumivane", "num-buffers=10", "!", caps, "!", "filesink", "location=" + c});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  for (const std::string& file : {a, b, c}) {
    const Bytes frames = BytesOf(test::ReadFile(file));
    ASSERT_EQ(frames.size(), 10 * own.rgba.size()) << file;
    for (std::size_t i = 0; i < 10; ++i) {
      const auto start = frames.begin() + static_cast<std::ptrdiff_t>(i * own.rgba.size());
      const Bytes frame(start, start + static_cast<std::ptrdiff_t>(own.rgba.size()));
      EXPECT_EQ(Difference(frame, own.rgba, own.width), "") << file << ", frame " << i;
    }
  }
}

// The streaming thread negotiates other caps and makes frames meanwhile.
TEST_F(GStreamerElementTest, AnswersTheThreadsOfTheProgramWhileItPlays) {
  InstallCamera(STILL_CAMERA);
  const test::ProgramResult run =
      test::RunProgram({GST_LAUNCH, kElementModule, "lumivanesrc", "name=source", "num-buffers=100",
                        "!", "capsfilter", "name=changing", "!",
                        "video/x-raw,format=BGRx,width=32,height=24", "!", "fakesink"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
}

TEST_F(GStreamerElementTest, SaysWhatIsMissing) {
  fs::remove(PlugInLink());
  const test::ProgramResult run = Launch({"lumivanesrc", "num-buffers=1", "!", "fakesink"});
  EXPECT_NE(run.exitCode, 0);
  EXPECT_THAT(run.err + run.out, HasSubstr("The plug-in cannot be used."));
  EXPECT_THAT(run.err + run.out, HasSubstr(PlugInLink().parent_path().string()));
}

TEST_F(GStreamerElementTest, RefusesWhatItCannotShow) {
  for (const char* caps : {"video/x-raw,format=GRAY8", "video/x-raw,width=40000",
                           "video/x-raw,framerate=0/1", "audio/x-raw"}) {
    EXPECT_NE(Launch({"lumivanesrc", "num-buffers=1", "!", caps, "!", "fakesink"}).exitCode, 0)
        << caps;
  }
}

TEST_F(GStreamerElementInHosts, IsDocumented) {
  const test::ProgramResult run = test::RunProgram({"gst-inspect-1.0", "lumivanesrc"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Source/Video"));
  for (const char* property : {"input-clock", "add-borders", "  live "}) {
    EXPECT_THAT(run.out, HasSubstr(property));
  }
  EXPECT_THAT(run.out,
              HasSubstr("Range:               0 -               1 Default:             0.5"));
  EXPECT_FALSE(fs::exists(LogFile())) << "nothing was loaded";
}

}  // namespace
