// What CoreUnixPath has beyond the path algebra.
#include "sdk/CoreX/CoreUnixPath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "sdk/CoreX/T_CFString.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"

namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<CoreUnixPath>);
static_assert(!std::is_constructible_v<CoreUnixPath, int>);

std::string Line(const std::string& code, const std::string& function,
                 const std::string& source = "sdk/CoreX/CoreUnixPath") {
  return test::AnyLineNumber(test::VerifyLine(code, source, 1, function));
}

std::vector<std::string> Logged(const LogCapture& log) {
  return test::AnyLineNumbers(log.Lines());
}

FSRef RefOf(const fs::path& path) {
  FSRef ref = {};
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), 0);
  return ref;
}

CFURLRef NewURL(const char* text) {
  const TCFString string(text);
  return CFURLCreateWithString(kCFAllocatorDefault, string.GetRef(), nullptr);
}

/// The working directory, put back at the end.
class KeptDirectory {
 public:
  KeptDirectory() : old_(fs::current_path()) {}
  ~KeptDirectory() { fs::current_path(old_); }

 private:
  fs::path old_;
};

TEST(CoreUnixPathFromString, TakesUTF8) {
  const LogCapture log;
  const CoreUnixPath path(CFSTR("/\xC3\xA9/b"));
  EXPECT_STREQ(path, "/\xC3\xA9/b");
  CoreUnixPath other;
  EXPECT_TRUE(other.Construct(CFSTR("a")));
  EXPECT_STREQ(other, "a");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathFromString, LogsNull) {
  const LogCapture log;
  CoreUnixPath path("/a");
  EXPECT_FALSE(path.Construct(static_cast<CFStringRef>(nullptr)));
  EXPECT_STREQ(path, "/a");
  EXPECT_THAT(Logged(log), ElementsAre(Line("unix_file_path", "Construct")));
}

TEST(CoreUnixPathFromString, LogsAStringWithoutText) {
  const LogCapture log;
  CoreUnixPath path("/a");
  EXPECT_FALSE(path.Construct(CFSTR("")));
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_THAT(Logged(log),
              ElementsAre(Line("fOk = TCFString(unix_file_path).GetValue(mPath)", "Construct")));
}

TEST(CoreUnixPathFromURL, TakesTheFileSystemPath) {
  const LogCapture log;
  CFURLRef url = NewURL("file:///a%20b/c/");
  const CoreUnixPath path(url);
  EXPECT_STREQ(path, "/a b/c");
  CFRelease(url);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathFromURL, LogsNull) {
  const LogCapture log;
  CoreUnixPath path("/a");
  EXPECT_FALSE(path.Construct(static_cast<CFURLRef>(nullptr)));
  EXPECT_STREQ(path, "/a");
  EXPECT_THAT(Logged(log), ElementsAre(Line("unix_file_url", "Construct")));
}

TEST(CoreUnixPathFromURL, LogsAURLWithoutAPath) {
  const LogCapture log;
  CFURLRef url = NewURL("http://host/a");
  CoreUnixPath path("/a");
  EXPECT_FALSE(path.Construct(url));
  CFRelease(url);
  EXPECT_STREQ(path, "/a");
  EXPECT_THAT(Logged(log), ElementsAre(Line("posix_file_path", "Construct")));
}

TEST(CoreUnixPathFromRefPath, TakesItsText) {
  const LogCapture log;
  const test::TempFolder folder;
  const CoreRefPath refPath(RefOf(folder.path()));
  EXPECT_EQ(refPath.GetUnixPath(), folder.path().string());
  EXPECT_STREQ(CoreUnixPath(refPath), folder.path().c_str());
  CoreUnixPath assigned("/a");
  assigned = refPath;
  EXPECT_STREQ(assigned, folder.path().c_str());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathFromRefPath, LogsAnEmptyOne) {
  const LogCapture log;
  const CoreRefPath refPath;
  const CoreUnixPath path(refPath);
  EXPECT_TRUE(path.IsEmpty());
  CoreUnixPath assigned("/a");
  assigned = refPath;
  EXPECT_TRUE(assigned.IsEmpty());
  const std::string inlines = "sdk/CoreX/CoreUnixPath_inlines";
  EXPECT_THAT(Logged(log),
              ElementsAre(Line("Construct(copyOf.GetUnixPath())", "CoreUnixPath", inlines),
                          Line("Construct(copyOf.GetUnixPath())", "operator=", inlines)));
}

TEST(CoreRefPath, IsEmptyWhereNothingIsReferredTo) {
  const LogCapture log;
  const CoreRefPath refPath{FSRef{}};
  EXPECT_STREQ(refPath.GetUnixPath(), "");
  EXPECT_EQ(log.Lines().size(), 1U);
}

TEST(CoreUnixPathGetParent, GivesAPath) {
  const LogCapture log;
  CoreUnixPath parent("/x");
  EXPECT_TRUE(CoreUnixPath("/a/b").GetParent(parent));
  EXPECT_STREQ(parent, "/a/");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathGetParent, LogsThatThereIsNone) {
  const LogCapture log;
  CoreUnixPath parent("/x");
  EXPECT_FALSE(CoreUnixPath("/a").GetParent(parent));
  EXPECT_STREQ(parent, "/x");
  EXPECT_THAT(Logged(log), ElementsAre(Line("GetParent(parent_path)", "GetParent",
                                            "sdk/CoreX/CoreUnixPath_inlines")));
}

// Calls of the system.

TEST(CoreUnixPathFileExists, AnswersForFilesAndFolders) {
  const LogCapture log;
  const test::TempFolder folder;
  const std::string file = folder / "file";
  for (const auto exists : {CoreUnixPath::FileExists, CoreUnixPath::FileExistsRead,
                            CoreUnixPath::FileExistsReadWrite, CoreUnixPath::FileExistsWrite}) {
    fs::remove(file);
    EXPECT_FALSE(exists(file.c_str()));
    EXPECT_FALSE(exists(""));
    EXPECT_FALSE(exists(nullptr));
    test::WriteFile(file, "");
    EXPECT_TRUE(exists(file.c_str()));
    EXPECT_TRUE(exists(folder.path().c_str()));
    EXPECT_FALSE(exists((file + "/").c_str()));
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathFileExists, FollowsLinks) {
  const test::TempFolder folder;
  fs::create_symlink(folder / "nothing", folder / "link");
  EXPECT_FALSE(CoreUnixPath::FileExists((folder / "link").c_str()));
}

TEST(CoreUnixPathFileExists, AnswersByPermission) {
  if (::geteuid() == 0) GTEST_SKIP() << "root may read and write every file";
  const test::TempFolder folder;
  const std::string file = folder / "file";
  test::WriteFile(file, "");
  fs::permissions(file, fs::perms::owner_write);
  EXPECT_TRUE(CoreUnixPath::FileExists(file.c_str()));
  EXPECT_FALSE(CoreUnixPath::FileExistsRead(file.c_str()));
  EXPECT_FALSE(CoreUnixPath::FileExistsWrite(file.c_str()));
  EXPECT_FALSE(CoreUnixPath::FileExistsReadWrite(file.c_str()));
  fs::permissions(file, fs::perms::owner_read);
  EXPECT_TRUE(CoreUnixPath::FileExistsRead(file.c_str()));
  EXPECT_FALSE(CoreUnixPath::FileExistsWrite(file.c_str()));
}

TEST(CoreUnixPathDelete, RemovesFilesAndEmptyFolders) {
  const LogCapture log;
  const test::TempFolder folder;
  test::WriteFile(folder / "file", "");
  fs::create_directory(folder / "empty");
  EXPECT_TRUE(CoreUnixPath::FileDelete((folder / "file").c_str()));
  EXPECT_TRUE(CoreUnixPath::FolderDelete((folder / "empty").c_str()));
  EXPECT_TRUE(fs::is_empty(folder.path()));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathDelete, RemovesALinkNotWhatItPointsTo) {
  const test::TempFolder folder;
  fs::create_directory(folder / "target");
  fs::create_symlink(folder / "target", folder / "link");
  EXPECT_TRUE(CoreUnixPath::FileDelete((folder / "link").c_str()));
  EXPECT_TRUE(fs::exists(folder / "target"));
}

TEST(CoreUnixPathDelete, LogsFailures) {
  const LogCapture log;
  const test::TempFolder folder;
  test::WriteFile(folder / "full/file", "");
  EXPECT_FALSE(CoreUnixPath::FileDelete((folder / "nothing").c_str()));
  EXPECT_FALSE(CoreUnixPath::FileDelete((folder / "full").c_str()));
  EXPECT_FALSE(CoreUnixPath::FileDelete(nullptr));
  EXPECT_FALSE(CoreUnixPath::FolderDelete((folder / "full").c_str()));
  EXPECT_FALSE(CoreUnixPath::FolderDelete((folder / "full/file").c_str()));
  EXPECT_FALSE(CoreUnixPath::FolderDelete(nullptr));
  EXPECT_TRUE(fs::exists(folder / "full/file"));
  const std::string file = Line("fOk = (0==unlink(in_path))", "FileDelete");
  const std::string dir = Line("fOk = (0==rmdir(in_path))", "FolderDelete");
  EXPECT_THAT(Logged(log), ElementsAre(file, file, file, dir, dir, dir));
}

TEST(CoreUnixPathSymbolicLink, PointsFromToToFrom) {
  const LogCapture log;
  const test::TempFolder folder;
  fs::create_directory(folder / "source");
  const std::string from = (folder / "source").string() + "/";
  const std::string to = (folder / "link").string() + "/";
  EXPECT_TRUE(CoreUnixPath::MakeSymbolicLinkFromTo(from.c_str(), to.c_str()));
  EXPECT_EQ(fs::read_symlink(folder / "link"), folder / "source");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathSymbolicLink, FailsSilentlyWithoutASource) {
  const LogCapture log;
  const test::TempFolder folder;
  EXPECT_FALSE(CoreUnixPath::MakeSymbolicLinkFromTo((folder / "nothing").c_str(),
                                                    (folder / "link").c_str()));
  EXPECT_FALSE(CoreUnixPath::MakeSymbolicLinkFromTo(nullptr, (folder / "link").c_str()));
  EXPECT_FALSE(fs::is_symlink(folder / "link"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathSymbolicLink, ReplacesNothing) {
  const LogCapture log;
  const test::TempFolder folder;
  test::WriteFile(folder / "source", "source");
  test::WriteFile(folder / "taken", "taken");
  EXPECT_FALSE(CoreUnixPath::MakeSymbolicLinkFromTo((folder / "source").c_str(),
                                                    (folder / "taken").c_str()));
  EXPECT_FALSE(CoreUnixPath::MakeSymbolicLinkFromTo((folder / "source").c_str(), nullptr));
  EXPECT_EQ(test::ReadFile(folder / "taken"), "taken");
  const std::string line = Line("fOk = (0==posix_result)", "MakeSymbolicLinkFromTo");
  EXPECT_THAT(Logged(log), ElementsAre(line, line));
}

TEST(CoreUnixPathWorkingDirectory, IsChangedAndRead) {
  const LogCapture log;
  const KeptDirectory kept;
  const test::TempFolder folder;
  EXPECT_TRUE(CoreUnixPath(folder.path().c_str()).chdir());
  EXPECT_EQ(fs::current_path(), folder.path());
  CoreUnixPath path;
  EXPECT_TRUE(path.getcwd());
  EXPECT_STREQ(path, folder.path().c_str());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(CoreUnixPathWorkingDirectory, LogsThatItCannotBeChanged) {
  const LogCapture log;
  const test::TempFolder folder;
  EXPECT_FALSE(CoreUnixPath().chdir());
  EXPECT_FALSE(CoreUnixPath((folder / "nothing").c_str()).chdir());
  EXPECT_THAT(Logged(log), ElementsAre(Line("!IsEmpty()", "chdir"),
                                       Line("fOk = (0==::chdir(mPath.c_str()))", "chdir")));
}

TEST(CoreUnixPathWorkingDirectory, LogsThatItCannotBeRead) {
  const LogCapture log;
  const KeptDirectory kept;
  CoreUnixPath path("/a");
  {
    const test::TempFolder folder;
    fs::current_path(folder.path());
  }
  EXPECT_FALSE(path.getcwd());
  EXPECT_STREQ(path, "/a");
  EXPECT_THAT(Logged(log), ElementsAre(Line("::getcwd(cwd.buffer,sizeof(cwd.buffer))", "getcwd")));
}

TEST(CoreUnixPathWorkingDirectory, LogsThatItIsTooLong) {
  const LogCapture log;
  const KeptDirectory kept;
  const test::TempFolder folder;
  fs::current_path(folder.path());
  std::size_t length = folder.path().string().size();
  // One level at a time: up to 1024 bytes fit.
  CoreUnixPath path;
  while (length <= 1024) {
    EXPECT_TRUE(path.getcwd());
    const std::string name(std::min<std::size_t>(200, std::max<std::size_t>(1024 - length, 2) - 1),
                           'd');
    ASSERT_EQ(::mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(::chdir(name.c_str()), 0);
    length += 1 + name.size();
  }
  EXPECT_FALSE(path.getcwd());
  EXPECT_EQ(log.Lines().size(), 1U);
}

}  // namespace
