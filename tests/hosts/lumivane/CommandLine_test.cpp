// What is said about a command line that means nothing, and what becomes of results and messages
// when the standard streams are not what they should be.
#include <gmock/gmock.h>

#include <filesystem>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/OptionValues.h"
#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/PictureTools.h"

namespace {

using namespace picture_tools;
using lumivane::kExitFailed;
using lumivane::kExitOk;
using lumivane::kExitUsage;
using test::ProgramResult;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

std::string Complaint(const CLI::Validator& check, std::string text) {
  return check(text);
}

TEST(Between, TakesNumbersWithinItsLimitsOnly) {
  const CLI::Validator check = lumivane::Between(-1, 2.5);
  for (const char* good : {"-1", "0", "2.5", "1e-300", "-0"}) {
    EXPECT_THAT(Complaint(check, good), IsEmpty()) << good;
  }
  for (const char* bad :
       {"-1.001", "2.6", "inf", "-inf", "nan", "-nan", "NAN", "1e999", "one", ""}) {
    EXPECT_THAT(Complaint(check, bad), HasSubstr(bad)) << bad;
  }
  const CLI::Validator from0 = lumivane::NotNegative();
  EXPECT_THAT(Complaint(from0, "1e300"), IsEmpty());
  for (const char* bad : {"-1", "nan", "inf", "x"}) {
    EXPECT_THAT(Complaint(from0, bad), HasSubstr(bad)) << bad;
  }
}

TEST(PngFile, IsAFileAndNoOtherFormats) {
  const CLI::Validator check = lumivane::PngFile();
  for (const char* good : {"-", "a.png", "a", "/x/y.PNG", "jpg", ".jpg/a", "a.b"}) {
    EXPECT_THAT(Complaint(check, good), IsEmpty()) << good;
  }
  for (const char* bad : {"", ".", "..", "x/", "x/.", "a.jpg", "x/a.JPEG", "a.Tiff", "a.webp"}) {
    EXPECT_THAT(Complaint(check, bad), HasSubstr("'" + std::string(bad) + "'")) << bad;
  }
}

class CommandLine : public PictureTest {
 protected:
  /// `lumivane` with these arguments by a shell, which gives it other streams.
  static ProgramResult InShell(const std::string& line) {
    return test::RunProgram({"bash", "-c", "exec \"$0\" " + line, Program()});
  }
};

TEST_F(CommandLine, AWordThatIsNoneIsNamed) {
  const auto said = [](const std::vector<std::string>& arguments) {
    const ProgramResult run = Lumivane(arguments);
    EXPECT_EQ(run.exitCode, kExitUsage) << ::testing::PrintToString(arguments);
    EXPECT_THAT(run.out, IsEmpty());
    return run.err;
  };
  EXPECT_EQ(said({"brighten", "a.png"}),
            "lumivane: there is no command 'brighten'\n`lumivane --help` tells more\n");
  EXPECT_EQ(said({"image", "gray", "a.png", "b.png"}),
            "lumivane: there is no command 'gray'\n`lumivane image --help` tells more\n");
  EXPECT_EQ(said({"snapshot", "--ot", "a.png"}),
            "lumivane: there is no option '--ot'\n`lumivane snapshot --help` tells more\n");
  EXPECT_EQ(said({"snapshot"}),
            "lumivane: --out is required\n`lumivane snapshot --help` tells more\n");
  EXPECT_THAT(said({"image", "resize", "--size", "16385x2", "a.png", "b.png"}),
              HasSubstr("from 1 to 16384"));
}

TEST_F(CommandLine, NumbersThatAreNoneAreRefusedEverywhere) {
  const std::vector<std::vector<std::string>> lines = {
      {"snapshot", "--out", Path("a.png"), "--clock", "nan"},
      {"snapshot", "--out", Path("a.png"), "--rate", "nan"},
      {"snapshot", "--out", Path("a.png"), "--warm-up", "nan"},
      {"record", Path("a.y4m"), "--seconds", "nan"},
      {"record", Path("a.y4m"), "--wait", "nan"},
      {"view", "--headless", "--seconds", "nan"},
      {"image", "brighten", "--factor", "nan", "a.png", Path("b.png")},
      {"image", "blend", "--weight-a", "nan", "a.png", "b.png", Path("c.png")},
      {"image", "noise", "--size", "2x2", "--amplitude", "nan", Path("c.png")},
      {"camera", "test", "--seconds", "nan"},
  };
  for (const std::vector<std::string>& line : lines) {
    const ProgramResult run = Lumivane(line);
    EXPECT_EQ(run.exitCode, kExitUsage) << ::testing::PrintToString(line);
    EXPECT_THAT(run.err, HasSubstr("'nan'")) << ::testing::PrintToString(line);
  }
}

TEST_F(CommandLine, NoPngGetsTheNameOfAnotherFormatOrOfAFolder) {
  Write("in.png", RandomPicture(2, 2, 1));
  for (const std::string& out : {Path("out.jpg"), Path(""), std::string()}) {
    EXPECT_EQ(Lumivane({"image", "grey", Path("in.png"), out}).exitCode, kExitUsage) << out;
    EXPECT_EQ(Lumivane({"snapshot", "--out", out, "--frames", "2", "--rate", "0"}).exitCode,
              kExitUsage)
        << out;
    EXPECT_EQ(Lumivane({"image", "equalise", Path("in.png"), out}).exitCode, kExitUsage) << out;
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("")), {}), 1);
}

TEST_F(CommandLine, ResultsThatCannotBeWrittenAreNoSuccess) {
  for (const char* command : {"attributes", "completion zsh", "--help", "--version"}) {
    const ProgramResult run = InShell(std::string(command) + " > /dev/full");
    EXPECT_EQ(run.exitCode, kExitFailed) << command;
    EXPECT_THAT(run.err, StartsWith("lumivane: ")) << command;
    EXPECT_THAT(run.err, HasSubstr("cannot be written")) << command;
  }
  const ProgramResult said = InShell("attributes > /dev/full");
  EXPECT_EQ(said.err, "lumivane: standard output cannot be written: No space left on device\n");
}

TEST_F(CommandLine, StandardStreamsThatAreClosedAreNotTakenForOthers) {
  Write("in.png", RandomPicture(2, 2, 1));
  const ProgramResult stream = InShell("stream --out - --frames 2 --wait 0 >&-");
  EXPECT_EQ(stream.exitCode, kExitFailed);
  EXPECT_EQ(stream.err, "lumivane: standard output cannot be written: Bad file descriptor\n");
  const ProgramResult read = InShell("image grey - '" + Path("out.png") + "' <&-");
  EXPECT_EQ(read.exitCode, kExitFailed);
  EXPECT_EQ(read.err, "lumivane: standard input cannot be read: Bad file descriptor\n");
  // A summary that nobody wants is no failure, and does not go into the picture.
  EXPECT_EQ(
      InShell("image grey '" + Path("in.png") + "' '" + Path("out.png") + "' >&- 2>&-").exitCode,
      kExitOk);
  EXPECT_EQ(Read("out.png").width, 2);
}

TEST_F(CommandLine, AFileThatMayNotGrowIsToldAndLeavesNothing) {
  WriteText("out.png", "old");
  const ProgramResult run = test::RunProgram(
      {"bash", "-c", "ulimit -f 1 && exec \"$0\" image noise --size 200x200 \"$1\"", Program(),
       Path("out.png")});
  EXPECT_EQ(run.exitCode, kExitFailed);
  EXPECT_EQ(run.err, "lumivane: " + Path("out.png") + " cannot be written: File too large\n");
  EXPECT_TRUE(ReadText("out.png") == "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("")), {}), 1);
}

TEST_F(CommandLine, NamesThatAreNoUtf8AreShownInJson) {
  Write("bad\xFF.png", RandomPicture(2, 2, 1));
  const ProgramResult run = Lumivane({"image", "info", "--json", Path("bad\xFF.png")});
  ASSERT_EQ(run.exitCode, kExitOk) << run.err;
  EXPECT_THAT(nlohmann::json::parse(run.out)[0]["file"].get<std::string>(),
              HasSubstr("bad\xEF\xBF\xBD.png"));
}

TEST_F(CommandLine, AnOutputsNameIsSaidOnce) {
  const std::string in = Write("in.png", RandomPicture(2, 2, 1));
  EXPECT_EQ(
      Lumivane({"image", "grey", in, Path("none/out.png")}).err,
      "lumivane: " + Path("none/out.png") + " cannot be written: No such file or directory\n");
}

}  // namespace
