// The manual's pages: made for every command, and taken by man without a word.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "hosts/lumivane/CommandLine.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/ManualPages.h"
#include "hosts/lumivane/Roff.h"
#include "tests/hosts/lumivane/BuiltProgram.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/Program.h"

namespace {

namespace fs = std::filesystem;
namespace roff = lumivane::roff;
using built_program::Lumivane;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

TEST(Roff, EscapesWhatRoffWouldTakeForItsOwn) {
  EXPECT_EQ(roff::Text("a \\ b"), "a \\e b");
  EXPECT_EQ(roff::Text(".so /etc/passwd"), "\\&.so /etc/passwd");
  EXPECT_EQ(roff::Text("'tis"), "\\&\\(aqtis");
  EXPECT_EQ(roff::Text("one\n.two"), "one\n\\&.two");
  EXPECT_EQ(roff::Text("re-used"), "re-used") << "a hyphen";
  EXPECT_EQ(roff::Text("with --part-b, or (-q)"), "with \\-\\-part\\-b, or (\\-q)");
  EXPECT_EQ(roff::Text("~/.local is a-b"), "\\(ti/.local is a-b");
  EXPECT_EQ(roff::Literal("to-2vuy"), "to\\-2vuy");
  EXPECT_EQ(roff::Bold("-o"), "\\fB\\-o\\fR");
  EXPECT_EQ(roff::Italic("FILE"), "\\fIFILE\\fR");
}

TEST(Roff, SetsParagraphsAndExamples) {
  EXPECT_EQ(roff::Paragraphs("One.\nTwo:\n  a -b\n  c\nThree."),
            "One.\n.PP\nTwo:\n.PP\n.EX\n  a \\-b\n  c\n.EE\n.PP\nThree.\n");
  EXPECT_EQ(roff::Paragraphs("  a"), ".PP\n.EX\n  a\n.EE\n");
  EXPECT_EQ(roff::Paragraphs(""), "");
}

TEST(ManualPages, SayWhatIsKnownOfAnOption) {
  std::string text;
  int number = 5;
  CLI::App app{"Root"};
  CLI::App* const command = app.add_subcommand("show", "Show things");
  CLI::Option* const way = command->add_option("--way,-w", text, "Which way")
                               ->check(CLI::IsMember({"up", "down", "on"}));
  command->add_option("--count", number, "How many")
      ->check(CLI::Range(1, 9))
      ->capture_default_str()
      ->excludes(way);
  command->add_option("file", text, "What")->type_name("FILE")->required();
  const auto pages = lumivane::MakeManual(lumivane::DescribeCommand(app));
  ASSERT_EQ(pages.size(), 2u);
  EXPECT_EQ(pages[0].name, "lumivane.1");
  EXPECT_THAT(pages[0].roff, HasSubstr(".BR lumivane\\-show (1)\nShow things.\n"));
  EXPECT_EQ(pages[1].name, "lumivane-show.1");
  EXPECT_THAT(pages[1].roff,
              AllOf(HasSubstr("lumivane\\-show \\- show things\n"),
                    HasSubstr("\\fBlumivane\\fR \\fBshow\\fR [\\fIoptions\\fR] \\fIFILE\\fR\n"),
                    HasSubstr(".TP\n\\fB\\-w\\fR, \\fB\\-\\-way\\fR \\fITEXT\\fR\nWhich way.\n"
                              "One of \\fBup\\fR, \\fBdown\\fR and \\fBon\\fR.\nNot with "
                              "\\fB\\-\\-count\\fR.\n"),
                    HasSubstr("How many.\nFrom 1 to 9.\nDefault: \\fB5\\fR.\n")));
}

TEST(Manual, HasAPageForEveryCommandThatManReadsWithoutAWarning) {
  const test::TempFolder folder;
  const std::string out = (folder / "man").string();
  const auto written = Lumivane({"manual", out});
  ASSERT_EQ(written.exitCode, lumivane::kExitOk) << written.err;
  int result = 0;
  const auto app = lumivane::MakeCommandLine(&result);
  for (const auto& command : lumivane::DescribeCommand(*app).commands) {
    EXPECT_TRUE(fs::exists(fs::path(out) / ("lumivane-" + command.path[0] + ".1")));
  }
  ASSERT_TRUE(fs::exists(fs::path(out) / "lumivane.1"));
  if (test::RunProgram({"/bin/sh", "-c", "command -v man groff"}).exitCode != 0) {
    GTEST_SKIP() << "man and groff are not here: the pages were written, not read";
  }
  for (const auto& entry : fs::directory_iterator(out)) {
    const auto read =
        test::RunProgram({"/usr/bin/env", "LC_ALL=C.UTF-8", "MANROFFSEQ=", "MANWIDTH=80", "man",
                          "--warnings", "-E", "UTF-8", "-l", entry.path().string()});
    EXPECT_EQ(read.exitCode, 0) << entry.path();
    EXPECT_THAT(read.err, IsEmpty()) << entry.path();
    EXPECT_THAT(read.out, HasSubstr("SEE ALSO")) << entry.path();
  }
}

TEST(Manual, SaysWhichPageCannotBeWritten) {
  const test::TempFolder folder;
  fs::create_directories(folder / "man/lumivane.1");
  const auto run = Lumivane({"manual", (folder / "man").string()});
  EXPECT_EQ(run.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(run.err, HasSubstr("man/lumivane.1 cannot be written"));
}

TEST(Manual, IsNotListedAmongTheCommands) {
  const auto run = Lumivane({"--help"});
  EXPECT_THAT(run.out, Not(HasSubstr("manual")));
  EXPECT_THAT(run.out, HasSubstr("completion"));
}

}  // namespace
