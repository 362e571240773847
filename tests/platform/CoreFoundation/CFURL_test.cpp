#include "platform/CoreFoundation/CFURL.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <climits>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "platform/CoreFoundation/CFString.h"
#include "tests/support/CFOwned.h"
#include "tests/support/HermeticHome.h"

namespace fs = std::filesystem;
using test::CFOwned;
using test::FileURL;
using test::PathOf;
using test::String;
using test::TakeText;
using test::TextOf;
using URL = CFOwned<CFURLRef>;

namespace {

URL Make(std::string_view text, CFURLRef base = nullptr) {
  return URL(CFURLCreateWithString(kCFAllocatorDefault, String(text), base));
}

std::string Text(CFURLRef url) {
  return TextOf(CFURLGetString(url));
}

std::string AbsoluteText(CFURLRef url) {
  return Text(URL(CFURLCopyAbsoluteURL(url)));
}

std::string FileSystemPath(CFURLRef url) {
  return TakeText(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
}

URL PathURL(std::string_view path, bool isDirectory = false) {
  return URL(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, String(path), kCFURLPOSIXPathStyle,
                                           isDirectory));
}

URL Appending(CFURLRef url, std::string_view component, bool isDirectory) {
  return URL(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, url, String(component),
                                                   isDirectory));
}

URL Deleting(CFURLRef url) {
  return URL(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url));
}

}  // namespace

TEST(CFURL, WritesAPathAsAFileURL) {
  EXPECT_EQ(Text(PathURL("/a/b.c")), "file:///a/b.c");
  EXPECT_EQ(Text(PathURL("/a/b", true)), "file:///a/b/");
  EXPECT_EQ(Text(PathURL("/a/b/", true)), "file:///a/b/");
  EXPECT_EQ(Text(PathURL("/a/b/", false)), "file:///a/b");
  EXPECT_EQ(Text(PathURL("/", true)), "file:///");
  EXPECT_EQ(Text(PathURL("/", false)), "file:///");
  EXPECT_EQ(Text(PathURL("/a b/ü")), "file:///a%20b/%C3%BC");
  EXPECT_EQ(CFURLGetBaseURL(PathURL("/a")), nullptr);
}

TEST(CFURL, RefusesWhatIsNoPath) {
  EXPECT_EQ(PathURL("").get(), nullptr);
  EXPECT_EQ(PathURL(std::string_view("/a\0b", 4)).get(), nullptr);
  EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, nullptr, kCFURLPOSIXPathStyle, 0), nullptr);
  EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, CFSTR("a:b"), kCFURLHFSPathStyle, 0), nullptr);
  EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, CFSTR("a"), kCFURLWindowsPathStyle, 0), nullptr);
  const UInt8 path[] = "/a";
  EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, nullptr, 2, 0), nullptr);
  EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, path, 0, 0), nullptr);
  EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, path, -1, 0), nullptr);
  EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, path, 3, 0), nullptr) << "a NUL in it";
}

// Which ASCII characters stand for themselves in a file URL.
TEST(CFURL, EncodesEveryByteThatMayNotStandInAPath) {
  const std::string plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~!*'()/:@&=+$,";
  for (int byte = 1; byte < 256; ++byte) {
    const std::string path = "/x" + std::string(1, static_cast<char>(byte)) + "y";
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(byte));
    const bool isPlain = plain.find(static_cast<char>(byte)) != std::string::npos;
    const URL url = FileURL(path);
    EXPECT_EQ(Text(url),
              "file:///x" + (isPlain ? std::string(1, static_cast<char>(byte)) : escaped) + "y")
        << byte;
    EXPECT_EQ(PathOf(url), path) << byte;
  }
}

RC_GTEST_PROP(CFURL, BringsEveryPathBack, ()) {
  std::string path = "/";
  for (const auto byte : *rc::gen::container<std::vector<int>>(rc::gen::inRange(1, 256))) {
    path += static_cast<char>(byte);
  }
  std::string expected = path;
  while (expected.size() > 1 && expected.back() == '/') expected.pop_back();
  RC_ASSERT(PathOf(FileURL(path)) == expected);
  RC_ASSERT(PathOf(Make(Text(FileURL(path)))) == expected);
}

TEST(CFURL, KeepsANameThatIsNotUTF8) {
  const URL url = FileURL("/a/\xFF\xFEz");
  EXPECT_EQ(Text(url), "file:///a/%FF%FEz");
  EXPECT_EQ(PathOf(url), "/a/\xFF\xFEz");
  EXPECT_EQ(FileSystemPath(url), "(null)") << "no CFString can hold it";
  EXPECT_EQ(CFURLCopyLastPathComponent(url), nullptr);
  EXPECT_EQ(PathOf(Deleting(url)), "/a");
}

TEST(CFURL, TakesARelativePathFromTheCurrentFolder) {
  const URL url = PathURL("sub/file");
  EXPECT_EQ(Text(url), "sub/file");
  EXPECT_EQ(PathOf(CFURLGetBaseURL(url)), fs::current_path().string());
  EXPECT_TRUE(CFURLHasDirectoryPath(CFURLGetBaseURL(url)));
  EXPECT_EQ(PathOf(url), (fs::current_path() / "sub/file").string());
  EXPECT_EQ(FileSystemPath(url), "sub/file") << "not resolved";
  UInt8 path[PATH_MAX];
  ASSERT_TRUE(CFURLGetFileSystemRepresentation(url, 0, path, sizeof path));
  EXPECT_STREQ(reinterpret_cast<const char*>(path), "sub/file");
}

TEST(CFURL, TakesARelativePathFromItsBase) {
  const URL folder = PathURL("/base/", true);
  const auto make = [&](const char* path, bool isDirectory) {
    return URL(CFURLCreateWithFileSystemPathRelativeToBase(
        nullptr, String(path), kCFURLPOSIXPathStyle, isDirectory, folder));
  };
  EXPECT_EQ(AbsoluteText(make("x", false)), "file:///base/x");
  EXPECT_EQ(AbsoluteText(make("x", true)), "file:///base/x/");
  EXPECT_EQ(AbsoluteText(make("../x", false)), "file:///x");
  EXPECT_EQ(Text(make("a:b", false)), "a%3Ab") << "no scheme";
  EXPECT_EQ(AbsoluteText(make("a:b", false)), "file:///base/a:b");
  EXPECT_EQ(CFURLGetBaseURL(make("x", false)), folder.get());
  EXPECT_EQ(CFURLGetBaseURL(make("/x", false)), nullptr);
  const UInt8 bytes[] = {'x', 0xFF};
  const URL raw(
      CFURLCreateFromFileSystemRepresentationRelativeToBase(nullptr, bytes, 2, 0, folder));
  EXPECT_EQ(PathOf(raw), "/base/x\xFF");
}

TEST(CFURL, TakesOnlyWellFormedText) {
  for (const char* good : {"file:///a", "http://h/p?q#f", "mailto:a@b", "a/b", "/a", "?q", "#f",
                           "a%20b", "A:", "http://[::1]/x"}) {
    EXPECT_NE(Make(good).get(), nullptr) << good;
    EXPECT_EQ(Text(Make(good)), good);
  }
  for (const char* bad : {"", "a b", "a%", "a%2", "a%2x", "a%zz", "a<b", "a>b", "a\"b", "a\\b",
                          "a^b", "a`b", "a{b", "a|b", "a}b", "a\nb",
                          "a\x7F"
                          "b",
                          "ü"}) {
    EXPECT_EQ(Make(bad).get(), nullptr) << bad;
  }
  EXPECT_EQ(CFURLCreateWithString(nullptr, nullptr, nullptr), nullptr);
}

// RFC 3986, section 5.4: the reference, and what it resolves to.
TEST(CFURL, ResolvesReferencesAsTheStandardSays) {
  const URL base = Make("http://a/b/c/d;p?q");
  const std::pair<const char*, const char*> cases[] = {
      {"g:h", "g:h"},
      {"g", "http://a/b/c/g"},
      {"./g", "http://a/b/c/g"},
      {"g/", "http://a/b/c/g/"},
      {"/g", "http://a/g"},
      {"//g", "http://g"},
      {"?y", "http://a/b/c/d;p?y"},
      {"g?y", "http://a/b/c/g?y"},
      {"#s", "http://a/b/c/d;p?q#s"},
      {"g#s", "http://a/b/c/g#s"},
      {"g?y#s", "http://a/b/c/g?y#s"},
      {";x", "http://a/b/c/;x"},
      {"g;x", "http://a/b/c/g;x"},
      {"g;x?y#s", "http://a/b/c/g;x?y#s"},
      {"", "http://a/b/c/d;p?q"},
      {".", "http://a/b/c/"},
      {"./", "http://a/b/c/"},
      {"..", "http://a/b/"},
      {"../", "http://a/b/"},
      {"../g", "http://a/b/g"},
      {"../..", "http://a/"},
      {"../../", "http://a/"},
      {"../../g", "http://a/g"},
      {"../../../g", "http://a/g"},
      {"../../../../g", "http://a/g"},
      {"/./g", "http://a/g"},
      {"/../g", "http://a/g"},
      {"g.", "http://a/b/c/g."},
      {".g", "http://a/b/c/.g"},
      {"g..", "http://a/b/c/g.."},
      {"..g", "http://a/b/c/..g"},
      {"./../g", "http://a/b/g"},
      {"./g/.", "http://a/b/c/g/"},
      {"g/./h", "http://a/b/c/g/h"},
      {"g/../h", "http://a/b/c/h"},
      {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
      {"g;x=1/../y", "http://a/b/c/y"},
      {"g?y/./x", "http://a/b/c/g?y/./x"},
      {"g#s/../x", "http://a/b/c/g#s/../x"},
      {"http:g", "http:g"},
  };
  for (const auto& [reference, resolved] : cases) {
    EXPECT_EQ(AbsoluteText(Make(reference, base)), resolved) << reference;
  }
}

TEST(CFURL, ResolvesThroughSeveralBases) {
  const URL root = Make("file:///a/b/");
  const URL middle = Make("c/", root);
  const URL leaf = Make("d", middle);
  EXPECT_EQ(AbsoluteText(leaf), "file:///a/b/c/d");
  EXPECT_EQ(CFURLGetBaseURL(URL(CFURLCopyAbsoluteURL(leaf))), nullptr);
  const URL same(CFURLCopyAbsoluteURL(root));
  EXPECT_EQ(same.get(), root.get());
  EXPECT_EQ(CFGetRetainCount(root), 3) << "root, its copy and middle's base";
}

TEST(CFURL, TellsItsParts) {
  const URL url = Make("http://u@h:80/p/a?q#f");
  EXPECT_EQ(TakeText(CFURLCopyScheme(url)), "http");
  EXPECT_EQ(TakeText(CFURLCopyNetLocation(url)), "u@h:80");
  EXPECT_EQ(TakeText(CFURLCopyPath(url)), "/p/a");
  const URL relative = Make("x%20y", url);
  EXPECT_EQ(TakeText(CFURLCopyScheme(relative)), "http");
  EXPECT_EQ(TakeText(CFURLCopyNetLocation(relative)), "u@h:80");
  EXPECT_EQ(TakeText(CFURLCopyPath(relative)), "x%20y");
  EXPECT_EQ(CFURLCopyScheme(Make("a/b")), nullptr);
  EXPECT_EQ(CFURLCopyNetLocation(PathURL("/a")), nullptr);
  EXPECT_TRUE(CFURLCanBeDecomposed(url));
  EXPECT_TRUE(CFURLCanBeDecomposed(Make("a")));
}

TEST(CFURL, TakesNoPathOutOfAnOpaqueURL) {
  const URL mail = Make("mailto:a@b/c.d");
  EXPECT_FALSE(CFURLCanBeDecomposed(mail));
  EXPECT_EQ(CFURLCopyPath(mail), nullptr);
  EXPECT_EQ(CFURLCopyLastPathComponent(mail), nullptr);
  EXPECT_EQ(CFURLCopyPathExtension(mail), nullptr);
  EXPECT_FALSE(CFURLHasDirectoryPath(mail));
  EXPECT_EQ(Appending(mail, "x", false).get(), nullptr);
  EXPECT_EQ(Deleting(mail).get(), nullptr);
  EXPECT_EQ(FileSystemPath(mail), "(null)");
  EXPECT_EQ(PathOf(mail), "(null)");
}

TEST(CFURL, KnowsDirectories) {
  for (const char* yes : {"file:///", "file:///a/", "a/", ".", "..", "a/..", "./"}) {
    EXPECT_TRUE(CFURLHasDirectoryPath(Make(yes))) << yes;
  }
  for (const char* no : {"file:///a", "a", "a..", ".a", "http://h"}) {
    EXPECT_FALSE(CFURLHasDirectoryPath(Make(no))) << no;
  }
  const URL folder = Make("file:///a/");
  EXPECT_TRUE(CFURLHasDirectoryPath(Make("", folder))) << "its base";
}

TEST(CFURL, TakesTheLastComponentAndItsExtension) {
  struct Case {
    const char* text;
    const char* last;
    const char* extension;
  };
  const Case cases[] = {
      {"file:///a/b.c", "b.c", "c"},
      {"file:///a/b.c/", "b.c", "c"},
      {"file:///a/LumivaneXXX.component", "LumivaneXXX.component", "component"},
      {"file:///a.b/c", "c", "(null)"},
      {"file:///a/.hidden", ".hidden", "(null)"},
      {"file:///a/b.", "b.", "(null)"},
      {"file:///a/b.tar.gz", "b.tar.gz", "gz"},
      {"file:///a%20b%2Ec", "a b.c", "c"},
      {"file:///", "/", "(null)"},
      {"x", "x", "(null)"},
      {"file:///a/..", "..", "(null)"},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(TakeText(CFURLCopyLastPathComponent(Make(each.text))), each.last) << each.text;
    EXPECT_EQ(TakeText(CFURLCopyPathExtension(Make(each.text))), each.extension) << each.text;
  }
}

TEST(CFURL, AppendsAComponent) {
  const URL folder = Make("file:///a/b/");
  EXPECT_EQ(Text(Appending(folder, "c", false)), "file:///a/b/c");
  EXPECT_EQ(Text(Appending(folder, "c", true)), "file:///a/b/c/");
  EXPECT_EQ(Text(Appending(Make("file:///a/b"), "c", false)), "file:///a/b/c");
  EXPECT_EQ(Text(Appending(folder, "c d?#%", false)), "file:///a/b/c%20d%3F%23%25");
  EXPECT_EQ(Text(Appending(folder, "c/d", false)), "file:///a/b/c/d");
  EXPECT_EQ(Text(Appending(PathURL("/", true), "x", false)), "file:///x");
  EXPECT_EQ(Text(Appending(Make("http://h"), "x", false)), "http://h/x");
  EXPECT_EQ(Text(Appending(Make("http://h/p?q#f"), "x", false)), "http://h/p/x?q#f");
  const URL relative = Appending(Make("", folder), "a:b", false);
  EXPECT_EQ(Text(relative), "a%3Ab");
  EXPECT_EQ(CFURLGetBaseURL(relative), folder.get());
  EXPECT_EQ(PathOf(relative), "/a/b/a:b");
  EXPECT_EQ(CFURLCreateCopyAppendingPathComponent(nullptr, folder, nullptr, 0), nullptr);
  EXPECT_EQ(Text(folder), "file:///a/b/") << "unchanged";
}

TEST(CFURL, DeletesTheLastComponent) {
  const std::pair<const char*, const char*> cases[] = {
      {"file:///a/b", "file:///a/"},
      {"file:///a/b/", "file:///a/"},
      {"file:///a", "file:///"},
      {"file:///", "file:///../"},
      {"file:///../", "file:///../../"},
      {"file:///a/..", "file:///a/../../"},
      {"a", "./"},
      {"a/b", "a/"},
      {".", "../"},
      {"..", "../../"},
      {"file:///a%2Fb/c", "file:///a%2Fb/"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(Text(Deleting(Make(text))), expected) << text;
  }
  const URL base = Make("file:///a/b/");
  EXPECT_EQ(AbsoluteText(Deleting(Make("", base))), "file:///a/");
}

TEST(CFURL, ChangesExtensions) {
  const auto with = [](const char* text, const char* extension) {
    return Text(URL(CFURLCreateCopyAppendingPathExtension(nullptr, Make(text), String(extension))));
  };
  const auto without = [](const char* text) {
    return Text(URL(CFURLCreateCopyDeletingPathExtension(nullptr, Make(text))));
  };
  EXPECT_EQ(with("file:///a/b", "c"), "file:///a/b.c");
  EXPECT_EQ(with("file:///a/b/", "c d"), "file:///a/b.c%20d/");
  EXPECT_EQ(without("file:///a/b.c"), "file:///a/b");
  EXPECT_EQ(without("file:///a/b.c/"), "file:///a/b/");
  EXPECT_EQ(without("file:///a.x/b"), "file:///a.x/b");
  EXPECT_EQ(without("file:///a/.b"), "file:///a/.b");
}

TEST(CFURL, GivesThePathOnlyOfFileURLs) {
  EXPECT_EQ(FileSystemPath(Make("file:///a%20b/")), "/a b");
  EXPECT_EQ(FileSystemPath(Make("FILE://localhost/a")), "/a");
  EXPECT_EQ(FileSystemPath(Make("file:///")), "/");
  EXPECT_EQ(FileSystemPath(Make("a/b")), "a/b") << "no scheme at all";
  for (const char* no : {"http://h/p", "file://elsewhere/a", "file:///a%00b", "file:a"}) {
    EXPECT_EQ(FileSystemPath(Make(no)), "(null)") << no;
    EXPECT_EQ(PathOf(Make(no)), "(null)") << no;
  }
  const URL http = Make("http://h/p/");
  EXPECT_EQ(FileSystemPath(Make("x", http)), "(null)") << "the base's scheme counts";
  EXPECT_EQ(CFURLCopyFileSystemPath(PathURL("/a"), kCFURLHFSPathStyle), nullptr);
}

TEST(CFURL, WritesThePathOnlyWhereItFits) {
  const URL url = PathURL("/abc");
  UInt8 buffer[8];
  std::fill(std::begin(buffer), std::end(buffer), UInt8{0xEE});
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, 1, buffer, 4)) << "no room for the NUL";
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, 1, buffer, 0));
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, 1, buffer, -5));
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, 1, nullptr, 100));
  EXPECT_EQ(buffer[0], 0xEE);
  EXPECT_TRUE(CFURLGetFileSystemRepresentation(url, 1, buffer, 5));
  EXPECT_STREQ(reinterpret_cast<char*>(buffer), "/abc");
  EXPECT_EQ(buffer[5], 0xEE);
}

TEST(CFURL, NullGivesNull) {
  EXPECT_EQ(CFURLGetString(nullptr), nullptr);
  EXPECT_EQ(CFURLGetBaseURL(nullptr), nullptr);
  EXPECT_EQ(CFURLCopyAbsoluteURL(nullptr), nullptr);
  EXPECT_EQ(CFURLCopyScheme(nullptr), nullptr);
  EXPECT_EQ(CFURLCopyNetLocation(nullptr), nullptr);
  EXPECT_EQ(CFURLCopyPath(nullptr), nullptr);
  EXPECT_FALSE(CFURLHasDirectoryPath(nullptr));
  EXPECT_FALSE(CFURLCanBeDecomposed(nullptr));
  EXPECT_EQ(CFURLCopyLastPathComponent(nullptr), nullptr);
  EXPECT_EQ(CFURLCopyPathExtension(nullptr), nullptr);
  EXPECT_EQ(CFURLCopyFileSystemPath(nullptr, kCFURLPOSIXPathStyle), nullptr);
  UInt8 buffer[8];
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(nullptr, 1, buffer, 8));
  EXPECT_EQ(CFURLCreateCopyAppendingPathComponent(nullptr, nullptr, CFSTR("a"), 0), nullptr);
  EXPECT_EQ(CFURLCreateCopyDeletingLastPathComponent(nullptr, nullptr), nullptr);
  EXPECT_EQ(CFURLCreateFromFSRef(nullptr, nullptr), nullptr);
  EXPECT_FALSE(CFURLGetFSRef(nullptr, nullptr));
}

TEST(CFURL, ComparesTextAndBase) {
  const URL base = Make("file:///a/");
  const URL otherBase = Make("file:///b/");
  EXPECT_TRUE(CFEqual(Make("file:///a/"), base));
  EXPECT_EQ(CFHash(Make("file:///a/")), CFHash(base));
  EXPECT_FALSE(CFEqual(Make("file:///a"), base));
  EXPECT_TRUE(CFEqual(Make("x", base), Make("x", Make("file:///a/"))));
  EXPECT_FALSE(CFEqual(Make("x", base), Make("x", otherBase)));
  EXPECT_FALSE(CFEqual(Make("x", base), Make("x")));
  EXPECT_FALSE(CFEqual(Make("x", base), Make("file:///a/x"))) << "the same place, another URL";
}

TEST(CFURL, DescribesItself) {
  const URL base = Make("file:///a/");
  EXPECT_EQ(TakeText(CFCopyDescription(base)), "<CFURL>{string = file:///a/, base = (null)}");
  EXPECT_EQ(TakeText(CFCopyDescription(Make("x", base))), "<CFURL>{string = x, base = file:///a/}");
  EXPECT_EQ(CFGetTypeID(base), CFURLGetTypeID());
  EXPECT_EQ(TakeText(CFCopyTypeIDDescription(CFURLGetTypeID())), "CFURL");
}

TEST(CFURL, DecodesPercentEscapes) {
  const auto decode = [](const char* text, CFStringRef leave) {
    return TakeText(
        CFURLCreateStringByReplacingPercentEscapes(kCFAllocatorDefault, String(text), leave));
  };
  EXPECT_EQ(decode("a%20b%2Fc%C3%BC", CFSTR("")), "a b/cü");
  EXPECT_EQ(decode("a%20b%2Fc", CFSTR("/")), "a b%2Fc");
  EXPECT_EQ(decode("a%20b", nullptr), "a%20b");
  EXPECT_EQ(decode("%2f%2F", CFSTR("")), "//");
  EXPECT_EQ(decode("%", CFSTR("")), "(null)");
  EXPECT_EQ(decode("%4", CFSTR("")), "(null)");
  EXPECT_EQ(decode("%4g", CFSTR("")), "(null)");
  EXPECT_EQ(decode("%FF", CFSTR("")), "(null)") << "not UTF-8";
  EXPECT_EQ(CFURLCreateStringByReplacingPercentEscapes(nullptr, nullptr, CFSTR("")), nullptr);
}

TEST(CFURL, EncodesPercentEscapes) {
  const auto encode = [](const char* text, CFStringRef leave, CFStringRef escape) {
    return TakeText(
        CFURLCreateStringByAddingPercentEscapes(kCFAllocatorDefault, String(text), leave, escape));
  };
  EXPECT_EQ(encode("a b/c?d#e%ü", nullptr, nullptr), "a%20b/c?d%23e%25%C3%BC");
  EXPECT_EQ(encode("a b/c", CFSTR(" "), nullptr), "a b/c");
  EXPECT_EQ(encode("a/b?c", nullptr, CFSTR("/?")), "a%2Fb%3Fc");
  EXPECT_EQ(encode("#%", CFSTR("#%"), nullptr), "#%");
  EXPECT_EQ(CFURLCreateStringByAddingPercentEscapes(nullptr, nullptr, nullptr, nullptr), nullptr);
}

TEST(CFURL, GoesThroughFileReferences) {
  const test::TempFolder folder;
  test::WriteFile(folder / "a b.txt", "x");
  FSRef ref{};
  ASSERT_TRUE(CFURLGetFSRef(FileURL(folder / "a b.txt"), &ref));
  const URL file(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
  EXPECT_EQ(PathOf(file), (folder / "a b.txt").string());
  EXPECT_FALSE(CFURLHasDirectoryPath(file));
  EXPECT_EQ(CFURLGetBaseURL(file), nullptr);

  const URL folderURL = FileURL(folder.path());
  ASSERT_TRUE(CFURLGetFSRef(Make("a%20b.txt", FileURL(folder.path(), true)), &ref)) << "relative";
  ASSERT_TRUE(CFURLGetFSRef(folderURL, &ref));
  EXPECT_TRUE(CFURLHasDirectoryPath(URL(CFURLCreateFromFSRef(nullptr, &ref))));
}

TEST(CFURL, FindsNoReferenceWhereNothingIs) {
  const test::TempFolder folder;
  FSRef ref{};
  ref.hidden[0] = 0xEE;
  EXPECT_FALSE(CFURLGetFSRef(FileURL(folder / "missing"), &ref));
  EXPECT_FALSE(CFURLGetFSRef(Make("http://h/p"), &ref));
  EXPECT_EQ(ref.hidden[0], 0xEE) << "untouched";
  EXPECT_FALSE(CFURLGetFSRef(FileURL(folder.path()), nullptr));
  const FSRef nothing{};
  EXPECT_EQ(CFURLCreateFromFSRef(nullptr, &nothing), nullptr);
}

TEST(CFURL, ReleasesItsBase) {
  const URL base = Make("file:///a/");
  {
    const URL relative = Make("x", base);
    EXPECT_EQ(CFGetRetainCount(base), 2);
    CFRetain(relative.get());
    CFRelease(relative.get());
  }
  EXPECT_EQ(CFGetRetainCount(base), 1);
}
