// `lumivane view`: its parts, and its window on a real display server.
#include <SDL2/SDL.h>
#include <gmock/gmock.h>

#include <csignal>
#include <numeric>
#include <set>
#include <thread>

#include "hosts/lumivane/CaptureFiles.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FixedFont.h"
#include "hosts/lumivane/LumaScopes.h"
#include "hosts/lumivane/ViewInput.h"
#include "hosts/lumivane/ViewOverlay.h"
#include "tests/hosts/lumivane/PictureTools.h"
#include "tests/support/RunningProgram.h"

namespace {

using namespace picture_tools;
using lumivane::ActionOf;
using lumivane::CameraState;
using lumivane::Letterboxed;
using lumivane::Picture;
using lumivane::ViewAction;
using test::ProgramResult;
using test::RunningProgram;
using test::ScopedVariable;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

// ---- Parts

std::vector<int> Place(const SDL_Rect& rect) {
  return {rect.x, rect.y, rect.w, rect.h};
}

TEST(Letterboxed, KeepsTheShapeInTheMiddle) {
  EXPECT_THAT(Place(Letterboxed({640, 480}, {640, 480})), ElementsAre(0, 0, 640, 480));
  EXPECT_THAT(Place(Letterboxed({640, 480}, {1920, 1080})), ElementsAre(240, 0, 1440, 1080));
  EXPECT_THAT(Place(Letterboxed({640, 480}, {100, 200})), ElementsAre(0, 62, 100, 75));
  EXPECT_THAT(Place(Letterboxed({1, 10000}, {100, 100})), ElementsAre(49, 0, 1, 100));
  EXPECT_THAT(Place(Letterboxed({0, 480}, {100, 100})), ElementsAre(0, 0, 0, 0));
}

TEST(FixedFont, ReadsUtf8) {
  EXPECT_EQ(lumivane::FontText("A~"), (std::string{'A' - ' ', '~' - ' '}));
  EXPECT_EQ(lumivane::FontText("é"), std::string(1, static_cast<char>(95 + 0xE9 - 0xA0)));
  const std::string unknown(1, '?' - ' ');
  for (const char* text : {"\n", "\x7F", "→", "\xFF", "\xC3", "\xF0\x9F\x98\x80"}) {
    EXPECT_EQ(lumivane::FontText(text), unknown) << text;
  }
  EXPECT_EQ(lumivane::FontText("\xC3(").size(), 2u);
  for (const char glyph : lumivane::FontText("!Aé")) {
    const std::uint8_t* const rows = lumivane::FontRows(static_cast<unsigned char>(glyph));
    EXPECT_GT(std::accumulate(rows, rows + lumivane::kFontHeight, 0), 0);
  }
  EXPECT_EQ(lumivane::FontRows(-1), lumivane::FontRows('?' - ' '));
  EXPECT_EQ(lumivane::FontRows(lumivane::kFontGlyphs), lumivane::FontRows('?' - ' '));
}

Picture HalfBlackHalfWhite() {
  Picture picture{4, 2, {}};
  for (int i = 0; i < 8; ++i) {
    const std::uint8_t level = i % 4 < 2 ? 0 : 255;
    for (int k = 0; k < 4; ++k) picture.rgba.push_back(level);
  }
  return picture;
}

TEST(LumaScopes, CountLevels) {
  const auto histogram = lumivane::LumaHistogram(HalfBlackHalfWhite());
  EXPECT_EQ(histogram[0], 4u);
  EXPECT_EQ(histogram[255], 4u);
  EXPECT_EQ(std::accumulate(histogram.begin(), histogram.end(), 0u), 8u);
  const auto sampled = lumivane::LumaHistogram(HalfBlackHalfWhite(), 4);
  EXPECT_EQ(std::accumulate(sampled.begin(), sampled.end(), 0u), 4u) << "every second row";
  EXPECT_EQ(lumivane::LumaHistogram({}), (std::array<std::uint32_t, 256>{}));
  const std::uint8_t green[] = {0, 255, 0};
  EXPECT_EQ(lumivane::LumaOf(green), 182);
}

TEST(LumaScopes, SayWhereLevelsAre) {
  const lumivane::LumaWaveform waveform = MakeLumaWaveform(HalfBlackHalfWhite(), 2, 4);
  EXPECT_THAT(waveform.counts, ElementsAre(4, 0, 0, 0, 0, 0, 0, 4));
  EXPECT_TRUE(MakeLumaWaveform(HalfBlackHalfWhite(), 0, 4).counts.empty());
}

SDL_Event Key(SDL_Keycode key, int repeat = 0) {
  SDL_Event event{};
  event.type = SDL_KEYDOWN;
  event.key.keysym.sym = key;
  event.key.repeat = static_cast<Uint8>(repeat);
  return event;
}

TEST(ViewInput, KnowsItsKeys) {
  EXPECT_EQ(ActionOf(Key(SDLK_q)), ViewAction::kQuit);
  EXPECT_EQ(ActionOf(Key(SDLK_ESCAPE)), ViewAction::kQuit);
  EXPECT_EQ(ActionOf(Key(SDLK_f)), ViewAction::kFullScreen);
  EXPECT_EQ(ActionOf(Key(SDLK_m)), ViewAction::kMirror);
  EXPECT_EQ(ActionOf(Key(SDLK_SPACE)), ViewAction::kFreeze);
  EXPECT_EQ(ActionOf(Key(SDLK_i)), ViewAction::kOverlay);
  EXPECT_EQ(ActionOf(Key(SDLK_h)), ViewAction::kHistogram);
  EXPECT_EQ(ActionOf(Key(SDLK_w)), ViewAction::kWaveform);
  EXPECT_EQ(ActionOf(Key(SDLK_s)), ViewAction::kSnapshot);
  EXPECT_EQ(ActionOf(Key(SDLK_r)), ViewAction::kRecord);
  EXPECT_EQ(ActionOf(Key(SDLK_z)), ViewAction::kNone);
  EXPECT_EQ(ActionOf(Key(SDLK_r, 1)), ViewAction::kNone) << "held down";
  SDL_Event text{};
  text.type = SDL_TEXTINPUT;
  text.text.text[0] = '?';
  EXPECT_EQ(ActionOf(text), ViewAction::kHelp);
  SDL_Event click{};
  click.type = SDL_MOUSEBUTTONDOWN;
  click.button.clicks = 2;
  EXPECT_EQ(ActionOf(click), ViewAction::kFullScreen);
}

TEST(ViewState, IsToldInLines) {
  lumivane::ViewState state;
  state.pictureSize = {640, 480};
  EXPECT_THAT(StateLines(state), ElementsAre("NONE", "640 x 480", "camera 0.0 a second, shown 0.0",
                                             "dropped not known", "age not known"));
  state.health = {CameraState::kStale, "Desk", "no frame for 3 s", 25, 2.5, 7, 12};
  state.shownRate = 24.96;
  EXPECT_THAT(StateLines(state),
              ElementsAre("STALE  Desk", "640 x 480", "camera 25.0 a second, shown 25.0",
                          "dropped 12", "age 2500 ms", "no frame for 3 s"));
}

TEST(CaptureName, IsNeverTaken) {
  const test::TempFolder folder;
  const std::string first = lumivane::CaptureName(folder.path().string(), "png");
  EXPECT_THAT(std::filesystem::path(first).filename().string(),
              MatchesRegex("lumivane-[0-9]+-[0-9]+.png"));
  // Within one second the names would be the same.
  std::set<std::string> names;
  for (int i = 0; i < 5; ++i) {
    const std::string name = lumivane::CaptureName(folder.path().string(), "png");
    EXPECT_TRUE(names.insert(name).second) << name;
    test::WriteFile(name, "");
  }
}

// ---- The program

class ViewWithoutDisplay : public PictureTest {
 protected:
  ViewWithoutDisplay() {
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("SDL_VIDEODRIVER");
  }
};

TEST_F(ViewWithoutDisplay, IsSaid) {
  const ProgramResult run = Lumivane({"view"});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("no display"));
  EXPECT_THAT(run.err, HasSubstr("lumivane stream --http")) << "and what goes without one";
  const ScopedVariable nowhere("DISPLAY", ":99999");
  const ProgramResult gone = Lumivane({"view"});
  EXPECT_EQ(gone.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(gone.err, HasSubstr("no display"));
}

TEST_F(ViewWithoutDisplay, RunsHeadlessWhereAsked) {
  const ProgramResult run = Lumivane({"view", "--headless", "--seconds", "0.3"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
}

TEST_F(ViewWithoutDisplay, EndsWithASignal) {
  RunningProgram run({Program(), "view", "--headless"});
  ASSERT_TRUE(run.WaitUntilItAnswers(SIGINT));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  run.Signal(SIGINT);
  EXPECT_EQ(run.Wait(), 0) << run.Errors();
}

/// A display server of its own, with the scripted camera in a window.
class ViewOnADisplay : public PictureTest {
 protected:
  void SetUp() override {
    for (const char* tool : {"Xvfb", "xdotool", "ffmpeg"}) {
      if (test::RunProgram({"bash", "-c", std::string("command -v ") + tool}).exitCode != 0) {
        GTEST_SKIP() << tool << " is not installed";
      }
    }
    server_ = std::make_unique<RunningProgram>(std::vector<std::string>{
        "Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"});
    const std::string number = server_->ReadLine();
    ASSERT_FALSE(number.empty()) << server_->Errors();
    display_ = std::make_unique<ScopedVariable>("DISPLAY", ":" + number);
    std::filesystem::create_directories(test::UserComponents());
    std::filesystem::create_symlink(LUMIVANE_SCRIPTED_CAMERA,
                                    test::UserComponents() / "LumivaneXXX.component");
  }
  void TearDown() override { std::filesystem::remove_all(test::UserComponents()); }

  void Start(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {Program(), "view", "--snapshots", Path("")});
    view_ = std::make_unique<RunningProgram>(arguments);
    const ProgramResult found = test::RunProgram(
        {"timeout", "60", "xdotool", "search", "--sync", "--onlyvisible", "--name", "Lumivane"});
    window_ = found.out.substr(0, found.out.find('\n'));
    ASSERT_FALSE(window_.empty()) << view_->Errors();
    test::RunProgram({"xdotool", "windowfocus", "--sync", window_});
  }

  void Press(const std::string& key) { test::RunProgram({"xdotool", "key", key}); }

  /// The display as it is, once `shown` is content with it; as it is in the end otherwise.
  ArgbPicture Display(const std::function<bool(const ArgbPicture&)>& shown) {
    ArgbPicture picture;
    for (int i = 0; i < 60; ++i) {
      test::RunProgram({"ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-draw_mouse", "0",
                        "-video_size", "800x600", "-i", std::getenv("DISPLAY"), "-frames:v", "1",
                        "-update", "1", Path("display.png")});
      picture = Read("display.png");
      if (!picture.empty() && shown(picture)) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return picture;
  }

  std::string WaitForFile(const std::string& extension) {
    const std::filesystem::path folder = std::filesystem::path(Path("x")).parent_path();
    for (int i = 0; i < 600; ++i) {
      for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == extension &&
            entry.path().filename().string().rfind("lumivane-", 0) == 0) {
          return entry.path().filename().string();
        }
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return {};
  }

  // The scripted camera's picture is 320 x 240 in the middle of 800 x 600: bars from black on the
  // left to white on the right.
  static int Level(const ArgbPicture& display, int x, int y) { return display.Row(y)[4 * x + 1]; }
  static bool BarsFromTheLeft(const ArgbPicture& d) {
    return Level(d, 260, 300) == 0 && Level(d, 540, 300) == 255 && Level(d, 700, 300) == 0;
  }
  static bool BarsFromTheRight(const ArgbPicture& d) {
    return Level(d, 260, 300) == 255 && Level(d, 540, 300) == 0;
  }
  static bool Full(const ArgbPicture& d) {
    return Level(d, 790, 10) == 255 && Level(d, 790, 590) == 255 && Level(d, 10, 300) == 0;
  }

  /// What the display's drivers allocate for good is not the program's leak.
  static std::string WithoutLeaks() {
    const char* const options = std::getenv("ASAN_OPTIONS");
    return (options != nullptr ? std::string(options) + ":" : std::string()) + "detect_leaks=0";
  }

  const ScopedVariable sanitizer_{"ASAN_OPTIONS", WithoutLeaks()};
  std::unique_ptr<RunningProgram> server_;
  std::unique_ptr<ScopedVariable> display_;
  std::unique_ptr<RunningProgram> view_;
  std::string window_;
};

TEST_F(ViewOnADisplay, ShowsThePictureAndObeysItsKeys) {
  Start();
  EXPECT_TRUE(BarsFromTheLeft(Display(BarsFromTheLeft)));
  Press("m");
  EXPECT_TRUE(BarsFromTheRight(Display(BarsFromTheRight)));
  Press("m");
  EXPECT_TRUE(BarsFromTheLeft(Display(BarsFromTheLeft)));
  Press("f");
  EXPECT_TRUE(Full(Display(Full)));
  Press("f");
  EXPECT_TRUE(BarsFromTheLeft(Display(BarsFromTheLeft)));
  Press("q");
  EXPECT_EQ(view_->Wait(), 0) << view_->Errors();
}

TEST_F(ViewOnADisplay, DrawsItsOverlays) {
  Start({"--mirror", "--size", "640x480"});
  // The window now is 640 x 480 at 80, 60; white bars are on the left, where the state goes.
  const auto plain = [](const ArgbPicture& d) { return Level(d, 100, 80) == 255; };
  EXPECT_TRUE(plain(Display(plain)));
  Press("i");
  const auto state = [](const ArgbPicture& d) { return Level(d, 89, 69) < 80; };
  EXPECT_TRUE(state(Display(state)));
  Press("i");
  EXPECT_TRUE(plain(Display(plain)));
  Press("w");
  const auto waveform = [](const ArgbPicture& d) { return Level(d, 90, 528) < 80; };
  EXPECT_TRUE(waveform(Display(waveform)));
  // Eight bars are eight levels, each in its own columns: steps down from the left.
  const ArgbPicture steps = Display(waveform);
  const auto topOfColumn = [&steps](int x) {
    for (int y = 395; y < 515; ++y) {
      const std::uint8_t* const p = steps.Row(y) + 4 * x;
      if (p[2] > 200 && p[2] > p[1] + 30) return y;
    }
    return 1000;
  };
  EXPECT_LT(topOfColumn(150), topOfColumn(250));
  EXPECT_LT(topOfColumn(250), topOfColumn(320));
  Press("h");
  const auto histogram = [](const ArgbPicture& d) {
    // Bars of the histogram in a dark panel on the right, where the picture is black.
    int bright = 0;
    for (int x = 450; x < 710; ++x) bright += Level(d, x, 500) > 200 ? 1 : 0;
    return bright >= 6;
  };
  EXPECT_TRUE(histogram(Display(histogram)));
  Press("question");
  const auto help = [](const ArgbPicture& d) {
    int bright = 0;
    for (int y = 230; y < 370; ++y) {
      for (int x = 300; x < 500; ++x) bright += Level(d, x, y) > 220 ? 1 : 0;
    }
    return bright > 300 && Level(d, 300, 228) < 120;
  };
  EXPECT_TRUE(help(Display(help)));
  Press("Escape");
  EXPECT_EQ(view_->Wait(), 0) << view_->Errors();
}

TEST_F(ViewOnADisplay, KeepsPicturesAndRecordings) {
  Start({"--mirror"});
  EXPECT_TRUE(BarsFromTheRight(Display(BarsFromTheRight)));
  Press("s");
  const std::string png = WaitForFile(".png");
  ASSERT_FALSE(png.empty()) << view_->Errors();
  EXPECT_EQ(view_->ReadLine(), Path("") + png);
  const ArgbPicture picture = Read(png);
  EXPECT_EQ(picture.width, 320);
  EXPECT_EQ(picture.Row(100)[4 * 10 + 1], 0) << "as the camera sees it, not as a mirror shows it";
  Press("r");
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  Press("r");
  const std::string y4m = WaitForFile(".y4m");
  ASSERT_FALSE(y4m.empty()) << view_->Errors();
  EXPECT_EQ(view_->ReadLine(), Path("") + y4m);
  const std::string bytes = ReadText(y4m);
  EXPECT_EQ(bytes.substr(0, 20), "YUV4MPEG2 W320 H240 ");
  const std::size_t header = bytes.find('\n') + 1;
  EXPECT_GT(bytes.size(), header);
  EXPECT_EQ((bytes.size() - header) % (6 + 320 * 240 * 2), 0u);
  // One that is under way when the window closes is kept.
  std::filesystem::remove(Path(y4m));
  Press("r");
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  Press("q");
  EXPECT_EQ(view_->Wait(), 0) << view_->Errors();
  EXPECT_FALSE(WaitForFile(".y4m").empty());
}

TEST_F(ViewOnADisplay, ARecordingIsKeptWhenTheDisplayGoesAway) {
  Start();
  EXPECT_TRUE(BarsFromTheLeft(Display(BarsFromTheLeft)));
  Press("r");
  // It is begun once its file aside is there.
  const std::filesystem::path folder = std::filesystem::path(Path("x")).parent_path();
  const auto begun = [&folder] {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().string().find(".y4m.") != std::string::npos) return true;
    }
    return false;
  };
  for (int i = 0; i < 600 && !begun(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  server_->Signal(SIGKILL);
  // Xlib ends it with 1; a sanitizer that finds the driver's threads alive has a code of its own.
  EXPECT_GT(view_->Wait(), 0) << "the display was not left, it was lost";
  const std::string y4m = WaitForFile(".y4m");
  ASSERT_FALSE(y4m.empty()) << view_->Errors();
  EXPECT_FALSE(begun());
  EXPECT_EQ(ReadText(y4m).substr(0, 20), "YUV4MPEG2 W320 H240 ");
}

TEST_F(ViewWithoutDisplay, TellsAtOnceThatItsFolderIsNotThere) {
  const ProgramResult run = Lumivane({"view", "--headless", "--snapshots", "/nowhere/at/all"});
  EXPECT_EQ(run.exitCode, lumivane::kExitUsage);
  EXPECT_THAT(run.err, HasSubstr("/nowhere/at/all"));
}

}  // namespace
