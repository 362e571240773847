// --threads and LUMIVANE_THREADS: any number gives the same picture.
#include <gtest/gtest.h>

#include <cstdlib>

#include "hosts/lumivane/ExitCodes.h"
#include "tests/hosts/lumivane/PictureTools.h"

namespace {

using namespace picture_tools;

class Threads : public PictureTest {
 protected:
  Threads() { Write("in.png", RandomPicture(700, 500, 1)); }
  ~Threads() override { unsetenv("LUMIVANE_THREADS"); }

  std::string Resized(std::vector<std::string> before) {
    before.insert(before.begin(), "image");
    before.insert(before.end(), {"resize", "--size", "901x777", Path("in.png"), Path("out.png")});
    EXPECT_EQ(Lumivane(before).exitCode, lumivane::kExitOk);
    return ReadText("out.png");
  }
};

TEST_F(Threads, GiveTheSamePictureInAnyNumber) {
  const std::string alone = Resized({"--threads", "1"});
  EXPECT_FALSE(alone.empty());
  EXPECT_TRUE(Resized({}) == alone);
  for (const char* number : {"0", "2", "3", "8", "64"}) {
    EXPECT_TRUE(Resized({"--threads", number}) == alone) << number;
  }
  setenv("LUMIVANE_THREADS", "5", 1);
  EXPECT_TRUE(Resized({}) == alone);
}

TEST_F(Threads, GiveTheSameStreamInAnyNumber) {
  std::string frames(std::size_t{3} * 720 * 576 * 4, '\0');
  for (std::size_t i = 0; i < frames.size(); ++i) frames[i] = static_cast<char>(i * i >> 7);
  const auto run = [&](const char* threads) {
    return Lumivane({"video", "--threads", threads, "deinterlace", "--raw", "argb", "--size",
                     "720x576", "--method", "blend3", "--quiet", "-", "-"},
                    frames);
  };
  const auto alone = run("1");
  EXPECT_EQ(alone.exitCode, lumivane::kExitOk);
  EXPECT_EQ(alone.out.size(), frames.size());
  EXPECT_TRUE(run("4").out == alone.out);
}

TEST_F(Threads, AreANumberUpTo64) {
  for (const char* number : {"65", "-1", "many", "1.5"}) {
    const auto result =
        Lumivane({"image", "--threads", number, "grey", Path("in.png"), Path("no.png")});
    EXPECT_EQ(result.exitCode, lumivane::kExitUsage) << number;
  }
  setenv("LUMIVANE_THREADS", "lots", 1);
  EXPECT_EQ(Lumivane({"image", "grey", Path("in.png"), Path("no.png")}).exitCode,
            lumivane::kExitUsage);
  EXPECT_EQ(FileCount(), 1u);
}

}  // namespace
