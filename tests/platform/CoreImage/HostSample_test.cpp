// The host guide's program, run as a reader would run it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "tests/platform/CoreImage/PlugInBundle.h"
#include "tests/platform/CoreImage/TestPictures.h"
#include "tests/support/HermeticHome.h"

namespace {

struct Outcome {
  int code;
  std::string output;
};

Outcome RunSample(const std::string& arguments) {
  const std::string command = std::string("'") + LUMIVANE_HOST_SAMPLE + "' " + arguments + " 2>&1";
  FILE* const pipe = popen(command.c_str(), "r");
  std::string output;
  std::array<char, 4096> part{};
  while (std::size_t got = fread(part.data(), 1, part.size(), pipe))
    output.append(part.data(), got);
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

class HostSampleTest : public testing::Test {
 protected:
  std::string Make(const char* library) {
    test::MakeFolderBundle(folder_ / "Test.plugin", library, test::GoodPlist());
    return "'" + (folder_ / "Test.plugin").string() + "'";
  }
  std::string Out() const { return "'" + (folder_ / "out.png").string() + "'"; }
  test::TempFolder folder_;
};

TEST_F(HostSampleTest, WritesTheFiltersPicture) {
  const Outcome outcome =
      RunSample(Make(LUMIVANE_TEST_PLUGIN_YES) + " CITestGenerator " + Out() + " 6 4 3");
  ASSERT_EQ(outcome.code, 0) << outcome.output;
  EXPECT_EQ(outcome.output, "");
  const NSAutoreleasePool pool;
  NSData* const data =
      NSData_dataWithContentsOfFile(NSString_stringWithUTF8String((folder_ / "out.png").c_str()));
  CIImage* const image = CIImage::imageWithData(data);
  ASSERT_NE(image, nullptr);
  // 2 x 2 pixels, fitted: twice enlarged, in the middle of 6 x 4.
  const std::vector<UInt8> pixels = test::Render(image, 6, 4, CIRenderMode::kCropped);
  for (std::size_t y = 0; y < 4; ++y) {
    for (std::size_t x = 0; x < 6; ++x) {
      const UInt8* const pixel = pixels.data() + (y * 6 + x) * 4;
      const bool inside = x >= 1 && x < 5;
      const int blue = 2 * static_cast<int>(1 + (x - 1) / 2 + 2 * (y / 2));
      EXPECT_EQ(pixel[0], inside ? 255 : 0) << x << "," << y;
      EXPECT_EQ(pixel[1], inside ? 10 : 0) << x << "," << y;
      EXPECT_EQ(pixel[3], inside ? blue : 0) << x << "," << y;
    }
  }
}

TEST_F(HostSampleTest, SaysWhatIsWrong) {
  EXPECT_EQ(RunSample("").code, 2);
  const Outcome missing = RunSample("/nowhere.plugin CITestGenerator " + Out());
  EXPECT_EQ(missing.code, 1);
  EXPECT_THAT(missing.output, testing::HasSubstr("/nowhere.plugin: it is no bundle"));
  const std::string good = Make(LUMIVANE_TEST_PLUGIN_YES);
  const Outcome nameless = RunSample(good + " Nobody " + Out());
  EXPECT_EQ(nameless.code, 1);
  EXPECT_THAT(nameless.output, testing::HasSubstr("the plug-in has CITestGenerator"));
  EXPECT_EQ(RunSample(good + " CITestGenerator /nowhere/out.png").code, 1);
  const Outcome refused = RunSample(Make(LUMIVANE_TEST_PLUGIN_NO) + " CITestGenerator " + Out());
  EXPECT_EQ(refused.code, 1);
  EXPECT_THAT(refused.output, testing::HasSubstr("refuses"));
}

}  // namespace
