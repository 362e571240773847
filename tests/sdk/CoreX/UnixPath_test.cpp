// The algebra that CoreUnixPath and LUnixPath share, over both.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "sdk/CoreX/CoreUnixPath.h"
#include "sdk/CoreX/LUnixPath.h"
#include "sdk/CoreX/UnixPathText.h"
#include "tests/support/LogCapture.h"

namespace {

using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kUntouched[] = "untouched";

template <typename Path>
struct Named;
template <>
struct Named<CoreUnixPath> {
  static constexpr char kClass[] = "CoreUnixPath";
  static constexpr bool kIsQuietAboutExtensions = false;
};
template <>
struct Named<LUnixPath> {
  static constexpr char kClass[] = "LUnixPath";
  static constexpr bool kIsQuietAboutExtensions = true;
};

template <typename Path>
class UnixPath : public testing::Test {
 protected:
  /// What a failed check in the class's sources logs, its line number aside.
  static std::string Line(const std::string& code, const std::string& function) {
    return test::AnyLineNumber(
        test::VerifyLine(code, std::string("sdk/CoreX/") + Named<Path>::kClass, 1, function));
  }
  static std::string InlineLine(const std::string& code, const std::string& function) {
    return test::AnyLineNumber(test::VerifyLine(
        code, std::string("sdk/CoreX/") + Named<Path>::kClass + "_inlines", 1, function));
  }
  std::vector<std::string> Logged() const { return test::AnyLineNumbers(log_.Lines()); }
  void Forget() { log_.Clear(); }

  /// A check of an extension that only the louder class logs.
  std::vector<std::string> Loudly(std::vector<std::string> lines) const {
    return Named<Path>::kIsQuietAboutExtensions ? std::vector<std::string>() : lines;
  }

 private:
  LogCapture log_;
};

struct ClassNames {
  template <typename Path>
  static std::string GetName(int) {
    return Named<Path>::kClass;
  }
};
using Classes = testing::Types<CoreUnixPath, LUnixPath>;
TYPED_TEST_SUITE(UnixPath, Classes, ClassNames);

// Construction.

TYPED_TEST(UnixPath, StartsEmpty) {
  const TypeParam path;
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_STREQ(path, "");
  EXPECT_EQ(TypeParam::s_slash_str_const, "/");
}

TYPED_TEST(UnixPath, TakesAText) {
  TypeParam path("/a");
  EXPECT_STREQ(path, "/a");
  EXPECT_TRUE(path.Construct("b/c"));
  EXPECT_STREQ(path, "b/c");
  EXPECT_FALSE(path.Construct(""));
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, KeepsItsTextWhenGivenNull) {
  TypeParam path("/a");
  EXPECT_TRUE(path.Construct(static_cast<const char*>(nullptr)));
  EXPECT_STREQ(path, "/a");
  TypeParam empty(static_cast<const char*>(nullptr));
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_FALSE(empty.Construct(static_cast<const char*>(nullptr)));
}

TYPED_TEST(UnixPath, KeepsItsTextWhenEmptied) {
  TypeParam path("/a");
  path.Empty();
  EXPECT_STREQ(path, "/a");
}

TYPED_TEST(UnixPath, IsCopied) {
  const TypeParam path("/a");
  const TypeParam copy(path);
  TypeParam assigned("/b");
  assigned = copy;
  EXPECT_STREQ(assigned, "/a");
}

// Tests.

struct Terms {
  const char* text;
  bool root, full, partial, name;
};
constexpr Terms kTerms[] = {
    {"", false, false, false, false},   {"/", false, true, false, false},
    {"//", true, true, false, false},   {"x/", true, false, true, false},
    {"x", false, false, false, true},   {"xy", false, false, false, true},
    {"/a", false, true, false, false},  {"/a/", false, true, false, false},
    {"a/b", false, false, true, false}, {"a/b/", false, false, true, false},
    {"./", true, false, true, false},   {".", false, false, false, true},
    {"..", false, false, false, true},  {"../a", false, false, true, false},
    {"//x", false, true, false, false}, {"ab/", false, false, true, false},
    {"a b", false, false, false, true},
};

TYPED_TEST(UnixPath, TellsTextsApart) {
  for (const Terms& terms : kTerms) {
    EXPECT_EQ(TypeParam::IsRootPath(terms.text), terms.root) << terms.text;
    EXPECT_EQ(TypeParam::IsFullyQualified(terms.text), terms.full) << terms.text;
    EXPECT_EQ(TypeParam::IsPartiallyQualified(terms.text), terms.partial) << terms.text;
    EXPECT_EQ(TypeParam::IsQualified(terms.text), terms.full || terms.partial) << terms.text;
    EXPECT_EQ(TypeParam::IsJustName(terms.text), terms.name) << terms.text;
  }
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, TellsHeldTextsApart) {
  for (const Terms& terms : kTerms) {
    if (*terms.text == '\0') continue;
    const TypeParam path(terms.text);
    EXPECT_EQ(path.IsRoot(), terms.root) << terms.text;
    EXPECT_EQ(path.IsFullyQualified(), terms.full) << terms.text;
    EXPECT_EQ(path.IsPartiallyQualified(), terms.partial) << terms.text;
    EXPECT_EQ(path.IsQualified(), terms.full || terms.partial) << terms.text;
    EXPECT_EQ(path.IsJustName(), terms.name) << terms.text;
  }
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, LogsNullWhereItIsTestedForBeingQualified) {
  const char* const null = nullptr;
  EXPECT_FALSE(TypeParam::IsRootPath(null));
  EXPECT_FALSE(TypeParam::IsJustName(null));
  EXPECT_THAT(this->Logged(), IsEmpty());
  EXPECT_FALSE(TypeParam::IsFullyQualified(null));
  EXPECT_FALSE(TypeParam::IsPartiallyQualified(null));
  EXPECT_FALSE(TypeParam::IsQualified(null));
  const std::string code = std::string(Named<TypeParam>::kClass) + "_NotNull";
  EXPECT_THAT(this->Logged(), ElementsAre(this->InlineLine(code, "IsFullyQualified"),
                                          this->InlineLine(code, "IsPartiallyQualified"),
                                          this->InlineLine(code, "IsQualified")));
}

TYPED_TEST(UnixPath, LogsTestsOfAnEmptyPath) {
  const TypeParam path;
  EXPECT_FALSE(path.IsRoot());
  EXPECT_THAT(this->Logged(), IsEmpty());
  EXPECT_FALSE(path.IsFullyQualified());
  EXPECT_FALSE(path.IsPartiallyQualified());
  EXPECT_FALSE(path.IsQualified());
  EXPECT_FALSE(path.IsJustName());
  EXPECT_THAT(this->Logged(), ElementsAre(this->InlineLine("!IsEmpty()", "IsFullyQualified"),
                                          this->InlineLine("!IsEmpty()", "IsPartiallyQualified"),
                                          this->InlineLine("!IsEmpty()", "IsQualified"),
                                          this->InlineLine("!IsEmpty()", "IsJustName")));
}

// Slashes, parents and names.

TYPED_TEST(UnixPath, AddsATrailingSlash) {
  const auto added = [](std::string path) {
    const bool result = TypeParam::AddTrailingSlash(path);
    return std::pair(path, result);
  };
  EXPECT_EQ(added(""), std::pair(std::string("/"), true));
  EXPECT_EQ(added("/"), std::pair(std::string("/"), false));
  EXPECT_EQ(added("/a"), std::pair(std::string("/a/"), true));
  EXPECT_EQ(added("/a/"), std::pair(std::string("/a/"), false));
}

TYPED_TEST(UnixPath, RemovesOneTrailingSlash) {
  const auto removed = [](std::string path) {
    const bool result = TypeParam::RemoveTrailingSlash(path);
    return std::pair(path, result);
  };
  EXPECT_EQ(removed(""), std::pair(std::string(""), false));
  EXPECT_EQ(removed("/"), std::pair(std::string(""), true));
  EXPECT_EQ(removed("/a/"), std::pair(std::string("/a"), true));
  EXPECT_EQ(removed("/a//"), std::pair(std::string("/a/"), true));
  EXPECT_EQ(removed("/a"), std::pair(std::string("/a"), false));
  TypeParam path("/a/");
  EXPECT_TRUE(path.RemoveTrailingSlash());
  EXPECT_FALSE(path.RemoveTrailingSlash());
  EXPECT_STREQ(path, "/a");
}

struct OneResult {
  const char* path;
  const char* result;  ///< null: false, and the output untouched
};

TYPED_TEST(UnixPath, HasAParentBehindANonLeadingSlash) {
  constexpr OneResult kCases[] = {
      {"/a/b", "/a/"}, {"/a/b/", "/a/"}, {"/a/b/c", "/a/b/"}, {"a/b", "a/"},    {"a/b/", "a/"},
      {"/a", nullptr}, {"/a/", nullptr}, {"a", nullptr},      {"a/", nullptr},  {"/", nullptr},
      {"//", nullptr}, {"x/", nullptr},  {"", nullptr},       {"ab/", nullptr}, {"a//b", "a/"},
      {"/a//", "/a/"}, {"///", "/"},
  };
  for (const OneResult& test : kCases) {
    std::string out = kUntouched;
    EXPECT_EQ(TypeParam::GetPathParent(test.path, out), test.result != nullptr) << test.path;
    EXPECT_EQ(out, test.result != nullptr ? test.result : kUntouched) << test.path;
    out = kUntouched;
    EXPECT_EQ(TypeParam(test.path).GetParent(out), test.result != nullptr) << test.path;
    EXPECT_EQ(out, test.result != nullptr ? test.result : kUntouched) << test.path;
  }
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, HasANameBehindANonLeadingSlash) {
  constexpr OneResult kCases[] = {
      {"/a/b", "b"},    {"/a/b/", "b"},  {"a/b", "b"},     {"/a/b.c", "b.c"},
      {"a//", ""},      {"/a", nullptr}, {"/a/", nullptr}, {"name", nullptr},
      {"ab/", nullptr}, {"/", nullptr},  {"", nullptr},
  };
  for (const OneResult& test : kCases) {
    std::string out = kUntouched;
    EXPECT_EQ(TypeParam::GetPathJustName(test.path, out), test.result != nullptr) << test.path;
    EXPECT_EQ(out, test.result != nullptr ? test.result : kUntouched) << test.path;
    out = kUntouched;
    EXPECT_EQ(TypeParam(test.path).GetJustName(out), test.result != nullptr) << test.path;
    EXPECT_EQ(out, test.result != nullptr ? test.result : kUntouched) << test.path;
  }
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, LogsThatARootPathHasNoName) {
  std::string out = kUntouched;
  EXPECT_FALSE(TypeParam::GetPathJustName("//", out));
  EXPECT_FALSE(TypeParam::GetPathJustName("x/", out));
  EXPECT_EQ(out, kUntouched);
  const std::string line = this->Line("!IsRootPath(path.c_str())", "GetPathJustName");
  EXPECT_THAT(this->Logged(), ElementsAre(line, line));
}

TYPED_TEST(UnixPath, MayPutAResultIntoItsInput) {
  std::string path = "/a/b/c.d";
  EXPECT_TRUE(TypeParam::GetPathParent(path, path));
  EXPECT_EQ(path, "/a/b/");
  EXPECT_TRUE(TypeParam::GetPathJustName(path, path));
  EXPECT_EQ(path, "b");
  path = "a.b";
  EXPECT_TRUE(TypeParam::GetPathExtension(path, path));
  EXPECT_EQ(path, "b");
  path = "/a/b";
  std::string other;
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart(path, path, other));
  EXPECT_EQ(path, "/");
  EXPECT_EQ(other, "a/b");
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart(other, path, other));
  EXPECT_EQ(path, "a/");
  EXPECT_EQ(other, "b");
}

// Extensions.

TYPED_TEST(UnixPath, HasTheExtensionBehindTheLastDot) {
  constexpr OneResult kCases[] = {
      {"/a/file.tar.gz", "gz"}, {"file.txt", "txt"}, {"a.b/c", "b/c"}, {"a.", ""},
      {"/.profile", "profile"},
  };
  for (const OneResult& test : kCases) {
    std::string out = kUntouched;
    EXPECT_TRUE(TypeParam::GetPathExtension(test.path, out)) << test.path;
    EXPECT_EQ(out, test.result) << test.path;
    EXPECT_TRUE(TypeParam(test.path).GetExtension(out)) << test.path;
    EXPECT_EQ(out, test.result) << test.path;
  }
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, HasNoExtensionWithoutADotBehindTheFirstCharacter) {
  std::string out = kUntouched;
  for (const char* path : {"name", ".profile", "/", ""}) {
    EXPECT_FALSE(TypeParam::GetPathExtension(path, out)) << path;
  }
  EXPECT_EQ(out, kUntouched);
  const std::string line = this->Line("int(rfound_dot_at)>0", "GetPathExtension");
  EXPECT_EQ(this->Logged(), this->Loudly({line, line, line, line}));
}

TYPED_TEST(UnixPath, HasNoExtensionWhereItIsARootPath) {
  std::string out = kUntouched;
  EXPECT_FALSE(TypeParam::GetPathExtension("x/", out));
  EXPECT_EQ(out, kUntouched);
  EXPECT_EQ(this->Logged(),
            this->Loudly({this->Line("!IsRootPath(path.c_str())", "GetPathExtension")}));
}

TYPED_TEST(UnixPath, HasAValidExtensionBehindTheLastSlash) {
  EXPECT_TRUE(TypeParam::HasValidFileExtension("file.txt"));
  EXPECT_TRUE(TypeParam::HasValidFileExtension("/a.b/c.d"));
  EXPECT_TRUE(TypeParam::HasValidFileExtension("/a/.profile"));
  EXPECT_TRUE(TypeParam::HasValidFileExtension("a."));
  EXPECT_FALSE(TypeParam::HasValidFileExtension("file"));
  EXPECT_FALSE(TypeParam::HasValidFileExtension(".profile"));
  EXPECT_FALSE(TypeParam::HasValidFileExtension(""));
  EXPECT_THAT(this->Logged(), IsEmpty());
  EXPECT_FALSE(TypeParam::HasValidFileExtension("/a.b/c"));
  EXPECT_FALSE(TypeParam::HasValidFileExtension("a.b/"));
  const std::string line = this->Line("rfound_dot_at>rfound_slash_at", "HasValidFileExtension");
  EXPECT_THAT(this->Logged(), ElementsAre(line, line));
}

TYPED_TEST(UnixPath, AddsAnExtensionWithOneDot) {
  const auto added = [](std::string path, const char* extension) {
    EXPECT_TRUE(TypeParam::AddPathExtension(path, extension)) << path;
    return path;
  };
  EXPECT_EQ(added("/a/f", "jpg"), "/a/f.jpg");
  EXPECT_EQ(added("/a/f", ".jpg"), "/a/f.jpg");
  EXPECT_EQ(added("f.txt", "jpg"), "f.txt.jpg");
  EXPECT_EQ(added("f", ""), "f.");
  EXPECT_EQ(added("", "jpg"), ".jpg");
  EXPECT_EQ(added("/", "jpg"), "/.jpg");
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, AddsNoExtensionToARootPath) {
  std::string path = "x/";
  EXPECT_FALSE(TypeParam::AddPathExtension(path, "jpg"));
  EXPECT_EQ(path, "x/");
  EXPECT_THAT(this->Logged(),
              ElementsAre(this->Line("!IsRootPath(inout_path.c_str())", "AddPathExtension")));
}

TYPED_TEST(UnixPath, ReplacesAnExtension) {
  const auto replaced = [](const char* text, const char* extension) {
    std::string path = text;
    EXPECT_TRUE(TypeParam::ReplacePathExtension(path, extension)) << text;
    TypeParam held(text);
    EXPECT_TRUE(held.ReplaceExtension(extension));
    EXPECT_STREQ(held, path.c_str());
    return path;
  };
  EXPECT_EQ(replaced("/a/f.txt", "jpg"), "/a/f.jpg");
  EXPECT_EQ(replaced("/a/f.txt", ".jpg"), "/a/f.jpg");
  EXPECT_EQ(replaced("/a/f", "jpg"), "/a/f.jpg");
  EXPECT_EQ(replaced("f.tar.gz", "bz2"), "f.tar.bz2");
  EXPECT_EQ(replaced(".profile", "old"), ".profile.old");
  EXPECT_THAT(this->Logged(), IsEmpty());
  EXPECT_EQ(replaced("/a.b/c", "jpg"), "/a.b/c.jpg");
  const std::string line = this->Line("rfound_dot_at>rfound_slash_at", "HasValidFileExtension");
  EXPECT_THAT(this->Logged(), ElementsAre(line, line));
}

TYPED_TEST(UnixPath, ReplacesNoExtensionOfARootPath) {
  std::string path = "x/";
  EXPECT_FALSE(TypeParam::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ(path, "x/");
  EXPECT_THAT(this->Logged(),
              ElementsAre(this->Line("!IsRootPath(path.c_str())", "ReplacePathExtension")));
}

TYPED_TEST(UnixPath, ReplacesNoExtensionWhereARootPathIsLeft) {
  std::string path = "x/.txt";
  EXPECT_FALSE(TypeParam::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ(path, "x/.txt");
  EXPECT_THAT(
      this->Logged(),
      ElementsAre(this->Line("!IsRootPath(inout_path.c_str())", "AddPathExtension"),
                  this->Line("AddPathExtension(new_path,in_extension)", "ReplacePathExtension")));
}

TYPED_TEST(UnixPath, LogsANullExtensionThatIsToBeSet) {
  std::string path = "/a/f";
  EXPECT_FALSE(TypeParam::AddPathExtension(path, nullptr));
  EXPECT_THAT(this->Logged(), ElementsAre(this->Line("in_extension", "AddPathExtension")));
  this->Forget();
  EXPECT_FALSE(TypeParam::ReplacePathExtension(path, nullptr));
  EXPECT_EQ(path, "/a/f");
  EXPECT_THAT(this->Logged(),
              ElementsAre(this->Line("in_extension", "AddPathExtension"),
                          this->Line(std::string("fOk = ") + Named<TypeParam>::kClass +
                                         "::AddPathExtension(path,in_extension)",
                                     "ReplacePathExtension")));
}

TYPED_TEST(UnixPath, ComparesExtensionsWithoutCase) {
  EXPECT_TRUE(TypeParam::HasPathExtension("/a/F.TXT", ".txt"));
  EXPECT_TRUE(TypeParam::HasPathExtension("/a/F.TXT", "txt"));
  EXPECT_TRUE(TypeParam::HasPathExtension("/a/f.txt", "TxT"));
  EXPECT_TRUE(TypeParam::HasPathExtension("f.", ""));
  EXPECT_TRUE(TypeParam::HasPathExtension("f.", "."));
  EXPECT_FALSE(TypeParam::HasPathExtension("f.txt", "tx"));
  EXPECT_FALSE(TypeParam::HasPathExtension("f.txt", "txtx"));
  EXPECT_FALSE(TypeParam::HasPathExtension("f.txt", "..txt"));
  // ASCII letters only.
  EXPECT_FALSE(TypeParam::HasPathExtension("f.\xC3\x84", "\xC3\xA4"));
  EXPECT_FALSE(TypeParam::HasPathExtension("f.@", "`"));
  EXPECT_TRUE(TypeParam::HasPathExtension("a.b/c", "B/C"));
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, LogsAComparisonWithoutAnExtension) {
  EXPECT_FALSE(TypeParam::HasPathExtension("name", "txt"));
  EXPECT_EQ(this->Logged(),
            this->Loudly({this->Line("int(rfound_dot_at)>0", "GetPathExtension"),
                          this->Line("GetPathExtension(path, s_extension)", "HasPathExtension")}));
  this->Forget();
  EXPECT_FALSE(TypeParam::HasPathExtension("f.txt", nullptr));
  EXPECT_EQ(this->Logged(), this->Loudly({this->Line("in_extension", "HasPathExtension")}));
}

TYPED_TEST(UnixPath, HasAnExtensionOnlyInItsName) {
  EXPECT_TRUE(TypeParam("/a/f.txt").HasExtension("txt"));
  EXPECT_FALSE(TypeParam("/a/f.txt").HasExtension("jpg"));
  EXPECT_FALSE(TypeParam("/a/f").HasExtension("txt"));
  EXPECT_THAT(this->Logged(), IsEmpty());
  EXPECT_FALSE(TypeParam("a.b/c").HasExtension("b/c"));
  EXPECT_THAT(this->Logged(),
              ElementsAre(this->Line("rfound_dot_at>rfound_slash_at", "HasValidFileExtension")));
}

// Splitting and walking.

struct Split {
  const char* path;
  const char* base;
  const char* name;
};

TYPED_TEST(UnixPath, SplitsAtTheFirstSlash) {
  constexpr Split kCases[] = {
      {"/", "/", kUntouched},       {"/a", "/", "a"},   {"/a/b", "/", "a/b"},   {"//", "/", "/"},
      {"name", "name", kUntouched}, {"a/b", "a/", "b"}, {"a/b/c", "a/", "b/c"}, {"a/", "a/", ""},
      {"a//b", "a/", "/b"},
  };
  for (const Split& test : kCases) {
    std::string base = kUntouched;
    std::string name = kUntouched;
    EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart(test.path, base, name)) << test.path;
    EXPECT_EQ(base, test.base) << test.path;
    EXPECT_EQ(name, test.name) << test.path;
  }
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, LogsThatNothingCanBeSplit) {
  std::string base = kUntouched;
  std::string name = kUntouched;
  EXPECT_FALSE(TypeParam::GetPathBasePartAndNamePart("", base, name));
  EXPECT_EQ(base, kUntouched);
  EXPECT_EQ(name, kUntouched);
  EXPECT_THAT(this->Logged(), ElementsAre(this->Line("path_length", "GetPathBasePartAndNamePart")));
}

template <typename Path>
std::vector<std::pair<std::string, std::string>> Walk(const char* text) {
  std::vector<std::pair<std::string, std::string>> pairs;
  const Path path(text);
  std::string base;
  std::string rest;
  for (bool more = path.GetFirstPair(base, rest); more; more = path.GetNextPair(base, rest)) {
    pairs.emplace_back(base, rest);
  }
  return pairs;
}

TYPED_TEST(UnixPath, WalksOverItsAncestors) {
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ(Walk<TypeParam>("/a/b/c"), (Pairs{{"/", "a/b/c"}, {"/a/", "b/c"}, {"/a/b/", "c"}}));
  EXPECT_EQ(Walk<TypeParam>("/a/b/"), (Pairs{{"/", "a/b/"}, {"/a/", "b/"}, {"/a/b/", ""}}));
  EXPECT_EQ(Walk<TypeParam>("/a"), (Pairs{{"/", "a"}}));
  EXPECT_EQ(Walk<TypeParam>("/"), (Pairs{{"/", ""}}));
  EXPECT_EQ(Walk<TypeParam>("a/b"), (Pairs{{"a/", "b"}}));
  EXPECT_EQ(Walk<TypeParam>("a/b/c"), (Pairs{{"a/", "b/c"}, {"a/b/", "c"}}));
  EXPECT_EQ(Walk<TypeParam>("name"), (Pairs{{"./", "name"}}));
  EXPECT_EQ(Walk<TypeParam>("/a//b"), (Pairs{{"/", "a//b"}, {"/a/", "/b"}}));
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(UnixPath, LogsAWalkOverNothing) {
  std::string base;
  std::string rest;
  EXPECT_FALSE(TypeParam().GetFirstPair(base, rest));
  EXPECT_FALSE(TypeParam("/a").GetNextPair(base, rest));
  base = "/";
  EXPECT_FALSE(TypeParam().GetNextPair(base, rest));
  EXPECT_THAT(this->Logged(),
              ElementsAre(this->Line("!IsEmpty()", "GetFirstPair"),
                          this->Line("!IsEmpty() && (base_length>0)", "GetNextPair"),
                          this->Line("!IsEmpty() && (base_length>0)", "GetNextPair")));
}

TYPED_TEST(UnixPath, LeavesTheOutputsOfANameAtTheWalksEnd) {
  const TypeParam path("/a");
  std::string base = "/";
  std::string rest = "a";
  EXPECT_FALSE(path.GetNextPair(base, rest));
  EXPECT_EQ(base, "/");
  EXPECT_EQ(rest, "a");
}

TYPED_TEST(UnixPath, WalksNoFurtherThanThePath) {
  // A pair that is another path's.
  std::string base = "/a/longer/base/than/the/path/";
  std::string rest = "b/c";
  EXPECT_FALSE(TypeParam("/a/b").GetNextPair(base, rest));
  EXPECT_EQ(base, "/a/longer/base/than/the/path/");
  EXPECT_THAT(this->Logged(), ElementsAre(this->Line("path_length", "GetPathBasePartAndNamePart")));
}

RC_GTEST_PROP(UnixPathWalk, KeepsBaseAndRestTogether, ()) {
  const auto text =
      *rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::elementOf(std::string("ab./"))));
  const CoreUnixPath path(text.c_str());
  if (path.IsJustName()) return;
  std::string base;
  std::string rest;
  std::size_t steps = 0;
  for (bool more = path.GetFirstPair(base, rest); more; more = path.GetNextPair(base, rest)) {
    RC_ASSERT(base.back() == '/');
    RC_ASSERT(base + rest == text);
    RC_ASSERT(++steps <= text.size());
  }
}

RC_GTEST_PROP(UnixPathParent, IsAnAncestorOfTheName, ()) {
  const auto text = *rc::gen::container<std::string>(rc::gen::elementOf(std::string("ab./")));
  std::string parent;
  std::string name;
  if (!UnixPathText::Parent(text, parent)) return;
  RC_ASSERT(UnixPathText::JustName(text, name));
  std::string trimmed = text;
  UnixPathText::RemoveTrailingSlash(trimmed);
  // A parent that ends in a doubled slash is cut to one.
  RC_ASSERT(parent + name == trimmed || parent + "/" + name == trimmed);
}

}  // namespace
