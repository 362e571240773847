// A camera's first frames: when its brightness counts as settled, and what `snapshot` makes of it.
#include "hosts/lumivane/WarmUp.h"

#include <gmock/gmock.h>

#include <csignal>

#include "hosts/lumivane/ExitCodes.h"
#include "nlohmann/json.hpp"
#include "platform/ImageIO/ImageData.h"
#include "tests/hosts/lumivane/PictureTools.h"
#include "tests/support/RunningProgram.h"

namespace {

using namespace picture_tools;
using lumivane::Settling;
using nlohmann::json;
using test::ProgramResult;
using test::ScopedVariable;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Grey, with one pixel that `mark` changes, as no two frames of a sensor are alike.
std::vector<std::uint8_t> Pixels(double level, int mark) {
  std::vector<std::uint8_t> rgba(4 * 64 * 48, static_cast<std::uint8_t>(level));
  rgba[0] = static_cast<std::uint8_t>(mark);
  return rgba;
}

/// The time at which frames at 30 a second of these levels have settled; negative: never.
double SettlesAt(const std::function<double(double time)>& level, double seconds = 5) {
  Settling settling;
  for (int frame = 0; frame / 30.0 < seconds; ++frame) {
    if (settling.Add(frame / 30.0, Pixels(level(frame / 30.0), frame % 2), std::nullopt)) {
      return frame / 30.0;
    }
  }
  return -1;
}

TEST(MeanLuma, WeighsColours) {
  EXPECT_DOUBLE_EQ(lumivane::MeanLuma({}), 0);
  EXPECT_NEAR(lumivane::MeanLuma({255, 0, 0, 255}), 255 * 0.2126, 1e-9);
  EXPECT_NEAR(lumivane::MeanLuma({0, 255, 0, 255, 0, 0, 255, 255}), 255 * 0.7874 / 2, 1e-9);
}

TEST(Settling, ASteadyPictureTakesItsWindow) {
  EXPECT_NEAR(SettlesAt([](double) { return 100.0; }), Settling::kSeconds, 0.05);
}

TEST(Settling, WaitsOutTheDarkAndTheRise) {
  const auto level = [](double t) { return t < 1 ? 0.0 : t < 2 ? 120 * (t - 1) : 120.0; };
  const double at = SettlesAt(level);
  EXPECT_GT(at, 2.0);
  EXPECT_LT(at, 2.6);
}

TEST(Settling, WaitsOutTooMuchLight) {
  const double at = SettlesAt([](double t) { return t < 0.3 ? 250.0 : 110.0; });
  EXPECT_NEAR(at, 0.3 + Settling::kSeconds, 0.08);
}

TEST(Settling, NeverIsContentWithBlackOrFlicker) {
  EXPECT_LT(SettlesAt([](double) { return 2.0; }), 0);
  EXPECT_LT(SettlesAt([](double t) { return std::fmod(t, 0.2) < 0.1 ? 80.0 : 100.0; }), 0);
}

TEST(Settling, KnowsAStillPicture) {
  Settling byTime;
  EXPECT_FALSE(byTime.Add(0, Pixels(90, 0), std::nullopt));
  EXPECT_FALSE(byTime.Add(0.1, Pixels(90, 0), std::nullopt)) << "perhaps the same frame still";
  EXPECT_TRUE(byTime.Add(0.21, Pixels(90, 0), std::nullopt));

  Settling byNumber;
  EXPECT_FALSE(byNumber.Add(0, Pixels(90, 0), 1));
  EXPECT_FALSE(byNumber.Add(0.3, Pixels(90, 0), 1)) << "the same frame says nothing";
  EXPECT_TRUE(byNumber.Add(0.31, Pixels(90, 0), 2)) << "two frames, not a bit apart";

  Settling black;
  for (int i = 0; i < 100; ++i) EXPECT_FALSE(black.Add(i * 0.03, Pixels(0, 0), std::nullopt));
}

TEST(Settling, NeedsEnoughFrames) {
  Settling slow;
  for (int i = 0; i < Settling::kFrames - 1; ++i) {
    EXPECT_FALSE(slow.Add(i * 1.0, Pixels(90, i), std::nullopt)) << i;
  }
}

// ---- The program

class SnapshotOfAScript : public PictureTest {
 protected:
  SnapshotOfAScript() {
    std::filesystem::create_directories(test::UserComponents());
    std::filesystem::create_symlink(LUMIVANE_SCRIPTED_CAMERA,
                                    test::UserComponents() / "LumivaneXXX.component");
  }
  ~SnapshotOfAScript() override { std::filesystem::remove_all(test::UserComponents()); }

  static std::string Text(const std::string& png, const std::string& key) {
    const ImageIODecoded decoded =
        ImageIODecode({reinterpret_cast<const std::uint8_t*>(png.data()), png.size()});
    CGImageRelease(decoded.image);
    for (const auto& [keyword, text] : decoded.texts) {
      if (keyword == key) return text;
    }
    return "(none)";
  }
};

TEST_F(SnapshotOfAScript, WaitsOutDarkFrames) {
  const ScopedVariable script("LUMIVANE_SCRIPTED_CAMERA", "dark");
  ASSERT_EQ(Lumivane({"snapshot", "-o", Path("dark.png"), "--warm-up", "0", "-q"}).exitCode, 0);
  EXPECT_EQ(Read("dark.png").Row(100)[4 * 100 + 1], 0);
  const ProgramResult run =
      Lumivane({"snapshot", "-o", Path("bright.png"), "--warm-up", "60", "--json"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(Read("bright.png").Row(100)[4 * 100 + 1], 128);
  EXPECT_GT(json::parse(run.out)["warmUpSeconds"], 1.0);
}

TEST_F(SnapshotOfAScript, IsBoundedInItsWait) {
  const ScopedVariable script("LUMIVANE_SCRIPTED_CAMERA", "dark");
  const ProgramResult run =
      Lumivane({"snapshot", "-o", Path("a.png"), "--warm-up", "0.2", "--json"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_GE(json::parse(run.out)["warmUpSeconds"], 0.2);
}

TEST_F(SnapshotOfAScript, DoesNotWaitForAStillPicture) {
  const ProgramResult run =
      Lumivane({"snapshot", "-o", Path("a.png"), "--warm-up", "60", "--json"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_LT(json::parse(run.out)["warmUpSeconds"], 30.0);
}

TEST_F(SnapshotOfAScript, SaysWhatTheCameraSays) {
  const ScopedVariable script("LUMIVANE_SCRIPTED_CAMERA", "stale");
  const ProgramResult run = Lumivane({"snapshot", "-o", Path("a.png"), "--json"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const json report = json::parse(run.out);
  EXPECT_EQ(report["state"], "STALE");
  EXPECT_EQ(report["camera"], "Scripted é \uFFFD camera ");
  EXPECT_EQ(report["ageMilliseconds"], 2500.0);
  const std::string png = ReadText("a.png");
  EXPECT_EQ(Text(png, "Camera State"), "STALE");
  EXPECT_EQ(Text(png, "Frame Age"), "2500 ms");
  EXPECT_THAT(Text(png, "Source"), HasSubstr("Scripted"));
  EXPECT_THAT(Text(png, "Software"), HasSubstr("Lumivane "));
  EXPECT_THAT(Text(png, "Creation Time"), HasSubstr(" GMT"));
}

TEST_F(SnapshotOfAScript, DoesWithoutAStatus) {
  const ScopedVariable says("LUMIVANE_SCRIPTED_STATUS", "no");
  const ProgramResult run = Lumivane({"snapshot", "-o", Path("a.png"), "--json"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const json report = json::parse(run.out);
  EXPECT_EQ(report["state"], "LIVE");
  EXPECT_EQ(report["camera"], "LumivaneXXX");
  EXPECT_TRUE(report["ageMilliseconds"].is_null());
  EXPECT_EQ(Text(ReadText("a.png"), "Frame Age"), "(none)");
}

TEST_F(SnapshotOfAScript, GivesUpOnACameraWithoutFrames) {
  const ScopedVariable script("LUMIVANE_SCRIPTED_CAMERA", "none");
  const ProgramResult run =
      Lumivane({"snapshot", "-o", Path("a.png"), "--warm-up", "0.3", "--json"});
  EXPECT_EQ(run.exitCode, lumivane::kExitNoCamera);
  const json report = json::parse(run.out);
  EXPECT_EQ(report["state"], "NONE");
  EXPECT_GE(report["warmUpSeconds"], 0.3);
  EXPECT_EQ(Text(ReadText("a.png"), "Camera State"), "NONE");
}

TEST_F(SnapshotOfAScript, IsStoppedCleanly) {
  test::RunningProgram run(
      {Program(), "snapshot", "-o", Path("a.png"), "--frames", "100000", "-q"});
  while (FileCount() < 2) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  run.Signal(SIGINT);
  EXPECT_EQ(run.Wait(), 0) << run.Errors();
  std::size_t last = FileCount();
  EXPECT_TRUE(std::filesystem::exists(Path("a-0001.png")));
  char name[32];
  std::snprintf(name, sizeof(name), "a-%04zu.png", last);
  EXPECT_FALSE(Read(name).empty()) << "the last one is whole, and nothing is left beside it";
}

TEST_F(SnapshotOfAScript, AReaderThatLeavesIsNoFault) {
  const ProgramResult run = test::RunProgram(
      {"bash", "-c", std::string(Program()) + " snapshot -o - | true; echo ${PIPESTATUS[0]}"});
  EXPECT_EQ(run.out, "0\n");
  EXPECT_THAT(run.err, IsEmpty());
}

}  // namespace
