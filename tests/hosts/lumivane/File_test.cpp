// `lumivane file` from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FileText.h"
#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/PictureTools.h"
#include "tests/support/HermeticHome.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::ProgramResult;
using testing::HasSubstr;
using testing::IsEmpty;

class FileCommand : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (folder_.path() / name).string(); }
  std::string Folder() const { return folder_.path().string(); }
  ProgramResult File(std::vector<std::string> arguments, const std::string& input = {}) const {
    arguments.insert(arguments.begin(), "file");
    return picture_tools::Lumivane(arguments, input);
  }
  json FileJson(std::vector<std::string> arguments, const std::string& input = {}) const {
    arguments.push_back("--json");
    const ProgramResult run = File(arguments, input);
    EXPECT_EQ(run.exitCode, lumivane::kExitOk) << run.err;
    return json::parse(run.out, nullptr, false);
  }

 private:
  test::TempFolder folder_;
};

TEST(FileCodes, GoBothWays) {
  EXPECT_EQ(lumivane::ParseCode("TEXT"), OSType{'TEXT'});
  EXPECT_EQ(lumivane::ParseCode("ab c"), OSType{'ab c'});
  EXPECT_EQ(lumivane::ParseCode("0x0000000A"), OSType{10});
  EXPECT_EQ(lumivane::ParseCode("caf\xC3\xA9"), OSType{0x6361668E});
  for (const char* bad : {"", "TEX", "TEXTS", "0x123", "0x1234567G", "caf\xD0\x96", "\xFF\xFF"}) {
    EXPECT_FALSE(lumivane::ParseCode(bad)) << bad;
  }
  EXPECT_EQ(lumivane::CodeText('TEXT'), "TEXT");
  EXPECT_EQ(lumivane::CodeText(0x6361668E), "caf\xC3\xA9");
  EXPECT_EQ(lumivane::CodeText(10), "0x0000000A");
  EXPECT_EQ(lumivane::CodeText(0), "");
  EXPECT_EQ(lumivane::DateText({0, 0, 0}), "");
  EXPECT_EQ(lumivane::DateText({0, 2'082'844'800u, 0}), "1970-01-01T00:00:00Z");
  EXPECT_EQ(lumivane::DateText({1, 0, 0}), "2040-02-06T06:28:16Z");
}

TEST_F(FileCommand, ShowsAFile) {
  test::WriteFile(Path("file.txt"), "12345");
  ASSERT_EQ(File({"set", Path("file.txt"), "--type", "TEXT", "--creator", "ttxt"}).exitCode, 0);
  const json info = FileJson({"info", Path("file.txt")});
  EXPECT_EQ(info["name"], "file.txt");
  EXPECT_EQ(info["kind"], "file");
  EXPECT_EQ(info["path"], Path("file.txt"));
  EXPECT_EQ(info["type"], "TEXT");
  EXPECT_EQ(info["creator"], "ttxt");
  EXPECT_EQ(info["dataFork"], 5);
  EXPECT_EQ(info["resourceFork"], 0);
  EXPECT_EQ(info["specName"], "file.txt");
  for (const char* date : {"created", "modified", "accessed"}) {
    EXPECT_THAT(info[date].get<std::string>(), testing::MatchesRegex("20..-..-..T..:..:..Z"));
  }
  // Each notation leads back to the file.
  EXPECT_THAT(info["colonPath"].get<std::string>(), testing::EndsWith(":file.txt"));
  EXPECT_EQ(FileJson({"info", info["volumePath"]})["number"], info["number"]);

  const ProgramResult text = File({"info", Path("file.txt")});
  EXPECT_THAT(text.out, HasSubstr("type             TEXT\n"));
  EXPECT_THAT(text.out, HasSubstr("dataFork         5\n"));
  EXPECT_THAT(text.err, IsEmpty());
}

TEST_F(FileCommand, ShowsFoldersAndOddNames) {
  test::WriteFile(Path("sub/a"), "x");
  test::WriteFile(Path("sub/b"), "x");
  const json info = FileJson({"info", Path("sub")});
  EXPECT_EQ(info["kind"], "folder");
  EXPECT_EQ(info["objects"], 2);
  EXPECT_FALSE(info.contains("type"));
  EXPECT_THAT(info["colonPath"].get<std::string>(), testing::EndsWith(":sub:"));
  EXPECT_EQ(FileJson({"info", "/"})["number"], 2);

  const std::string longName(200, 'n');
  test::WriteFile(Path(longName), "x");
  const json named = FileJson({"info", Path(longName)});
  EXPECT_EQ(named["name"], longName);
  EXPECT_LE(named["specName"].get<std::string>().size(), 63u);
  test::WriteFile(Path("bad\xFFname"), "x");
  EXPECT_EQ(FileJson({"info", Path("bad\xFFname")})["dataFork"], 1);
}

TEST_F(FileCommand, SetsOneCodeAtATime) {
  test::WriteFile(Path("file"), "x");
  EXPECT_EQ(FileJson({"set", Path("file"), "--type", "JPEG"})["creator"], "");
  const json both = FileJson({"set", Path("file"), "--creator", "0x00000001"});
  EXPECT_EQ(both["type"], "JPEG");
  EXPECT_EQ(both["creator"], "0x00000001");
  EXPECT_EQ(File({"set", Path("file")}).exitCode, lumivane::kExitUsage);
  EXPECT_EQ(File({"set", Path("file"), "--type", "TOOLONG"}).exitCode, lumivane::kExitUsage);
  const ProgramResult folder = File({"set", Folder(), "--type", "TEXT"});
  EXPECT_EQ(folder.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(folder.err, HasSubstr("not a file"));
  EXPECT_EQ(FileJson({"info", Path("file")})["type"], "JPEG");
}

TEST_F(FileCommand, CopiesForks) {
  test::WriteFile(Path("file"), "data fork");
  std::string bytes;
  for (int i = 0; i < 150'000; ++i) bytes += static_cast<char>(i % 251);
  EXPECT_EQ(FileJson({"fork", "write", Path("file"), "--fork", "resource"}, bytes)["bytes"],
            bytes.size());
  const json forks = FileJson({"fork", "list", Path("file")});
  EXPECT_EQ(forks[0]["bytes"], 9);
  EXPECT_EQ(forks[1]["bytes"], bytes.size());
  EXPECT_EQ(File({"fork", "read", Path("file"), "--fork", "resource"}).out, bytes);
  EXPECT_EQ(File({"fork", "read", Path("file")}).out, "data fork");
  test::WriteFile(Path("in"), "short");
  EXPECT_EQ(
      File({"fork", "write", Path("file"), "--fork", "resource", "--in", Path("in")}).exitCode, 0);
  EXPECT_EQ(File({"fork", "write", Path("file")}, "new").exitCode, 0);
  EXPECT_EQ(test::ReadFile(Path("file")), "new");
  const json out =
      FileJson({"fork", "read", Path("file"), "--fork", "resource", "--out", Path("out")});
  EXPECT_EQ(out["bytes"], 5);
  EXPECT_EQ(test::ReadFile(Path("out")), "short");
  EXPECT_THAT(File({"fork", "list", Path("file")}).out, HasSubstr("resource         5\n"));
}

TEST_F(FileCommand, KeepsWhatItCannotReplace) {
  test::WriteFile(Path("file"), "kept");
  const ProgramResult input = File({"fork", "write", Path("file"), "--in", Path("missing")});
  EXPECT_EQ(input.exitCode, lumivane::kExitFailed);
  EXPECT_EQ(test::ReadFile(Path("file")), "kept");
  EXPECT_EQ(File({"fork", "read", Path("file"), "--out", Path("no/such/out")}).exitCode,
            lumivane::kExitFailed);
  fs::create_directory(Path("taken"));
  EXPECT_EQ(File({"fork", "read", Path("file"), "--out", Path("taken")}).exitCode,
            lumivane::kExitFailed);
  EXPECT_FALSE(fs::exists(Path("taken.part")));
  EXPECT_EQ(File({"fork", "read", Folder()}).exitCode, lumivane::kExitFailed);
  EXPECT_EQ(File({"fork", "read", Path("file"), "--fork", "other"}).exitCode, lumivane::kExitUsage);

  test::WriteFile(Path("._file"), std::string("\x00\x05\x16\x07\x00\x02", 6) + "broken");
  const ProgramResult broken = File({"fork", "write", Path("file"), "--fork", "resource"}, "x");
  EXPECT_EQ(broken.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(broken.err, HasSubstr("side file is broken"));
  EXPECT_THAT(test::ReadFile(Path("._file")), testing::EndsWith("broken"));
}

TEST_F(FileCommand, FollowsAnAliasPastARename) {
  test::WriteFile(Path("target"), "x");
  ASSERT_EQ(File({"set", Path("target"), "--type", "TEXT", "--creator", "ttxt"}).exitCode, 0);
  ASSERT_EQ(File({"fork", "write", Path("target"), "--fork", "resource"}, "r").exitCode, 0);
  const json made = FileJson({"alias", "make", Path("target"), Path("link")});
  EXPECT_EQ(made["alias"], Path("link"));
  EXPECT_EQ(made["target"], Path("target"));
  const json info = FileJson({"info", Path("link")});
  EXPECT_EQ(info["flags"], "alias");
  EXPECT_EQ(info["type"], "TEXT");
  EXPECT_GT(info["resourceFork"], 0);
  EXPECT_EQ(File({"alias", "resolve", Path("link")}).out, Path("target") + "\n");

  fs::rename(Path("target"), Path("renamed"));
  fs::rename(Path("._target"), Path("._renamed"));
  json found = FileJson({"alias", "resolve", Path("link")});
  EXPECT_EQ(found["target"], Path("renamed"));
  EXPECT_EQ(found["changed"], true);
  EXPECT_EQ(found["updated"], false);
  found = FileJson({"alias", "resolve", Path("link"), "--update"});
  EXPECT_EQ(found["updated"], true);
  found = FileJson({"alias", "resolve", Path("link")});
  EXPECT_EQ(found["changed"], false);

  fs::remove(Path("renamed"));
  const ProgramResult gone = File({"alias", "resolve", Path("link")});
  EXPECT_EQ(gone.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(gone.err, HasSubstr("its target is gone"));
}

TEST_F(FileCommand, RefusesBadAliases) {
  test::WriteFile(Path("file"), "x");
  EXPECT_THAT(File({"alias", "make", Path("file"), Path("file")}).err, HasSubstr("exists already"));
  EXPECT_THAT(File({"alias", "make", Path("missing"), Path("new")}).err, HasSubstr("no such file"));
  EXPECT_THAT(File({"alias", "make", Path("file"), Path("a/b")}).err, HasSubstr("no such folder"));
  EXPECT_THAT(File({"alias", "make", Path("file"), "no such folder here/b"}).err,
              HasSubstr("here/b: no such folder"))
      << "nor where the path is a relative one";
  EXPECT_EQ(File({"alias", "make", Path("file"), Folder() + "/"}).exitCode, lumivane::kExitFailed);
  EXPECT_THAT(File({"alias", "resolve", Path("file")}).err, HasSubstr("no resources"));
  EXPECT_EQ(std::distance(fs::directory_iterator(Folder()), {}), 1) << "nothing is left behind";
  fs::create_directory(Path("sub"));
  EXPECT_EQ(File({"alias", "make", Path("sub"), Path("to sub")}).exitCode, 0);
  EXPECT_EQ(FileJson({"info", Path("to sub")})["type"], "fdrp");
}

TEST_F(FileCommand, ConvertsNames) {
  const json roman = FileJson({"name", "convert", "Caf\xC3\xA9"});
  EXPECT_EQ(roman["units"], "0043 0061 0066 00E9");
  EXPECT_EQ(roman["length"], 4);
  EXPECT_EQ(roman["whole"], true);
  EXPECT_EQ(roman["legacy"], "43 61 66 8E");
  EXPECT_EQ(roman["decomposed"], "Cafe\xCC\x81");
  EXPECT_EQ(roman["decomposedUnits"], "0043 0061 0066 0065 0301");
  EXPECT_EQ(FileJson({"name", "convert", std::string(128, 'x')})["whole"], false);
  const json foreign = FileJson({"name", "convert", "\xD0\x96"});
  EXPECT_EQ(foreign["units"], "0416");
  EXPECT_NE(foreign["error"], "");
  const json cyrillic = FileJson({"name", "convert", "\xD0\x96", "--script", "7"});
  EXPECT_EQ(cyrillic["legacy"], "86");
  EXPECT_EQ(File({"name", "convert", "\xFF"}).exitCode, lumivane::kExitFailed);
  EXPECT_EQ(File({"name", "convert", ""}).exitCode, lumivane::kExitFailed);
  EXPECT_EQ(File({"name", "convert", "x", "--script", "500"}).exitCode, lumivane::kExitUsage);
}

TEST_F(FileCommand, EndsWithItsOwnCodeOnABadCommandLine) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"info"}, {"fork"}, {"alias", "make", "x"}, {"nonsense"}}) {
    EXPECT_EQ(File(arguments).exitCode, lumivane::kExitUsage);
  }
  const ProgramResult missing = File({"info", Path("missing")});
  EXPECT_EQ(missing.exitCode, lumivane::kExitFailed);
  EXPECT_THAT(missing.err, HasSubstr("no such file or folder"));
}

}  // namespace
