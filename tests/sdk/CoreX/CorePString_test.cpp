#include "sdk/CoreX/CorePString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/LogCapture.h"

namespace {

// A Pascal string in memory of just its size, so that reading on is found out.
class Pascal {
 public:
  explicit Pascal(const std::string& text) {
    mBytes.push_back(static_cast<unsigned char>(text.size()));
    mBytes.insert(mBytes.end(), text.begin(), text.end());
    mBytes.shrink_to_fit();
  }
  operator const unsigned char*() const { return mBytes.data(); }

 private:
  std::vector<unsigned char> mBytes;
};

std::string Text(const CorePString& string) {
  return std::string(reinterpret_cast<const char*>(string.p_str()) + 1, string.strlen());
}

TEST(CorePString, IsItsBytesAndNothingElse) {
  EXPECT_EQ(sizeof(CorePString), 257U);
  const CorePString empty;
  EXPECT_EQ(empty.strlen(), 0U);
  EXPECT_EQ(empty.string_size(), 1U);
  EXPECT_STREQ(empty.c_str(), "");
}

TEST(CorePString, TakesPascalStringsOfEveryLength) {
  CorePString string;
  for (std::size_t length = 0; length < 256; ++length) {
    const std::string text(length, static_cast<char>('a' + length % 26));
    string = Pascal(text);
    EXPECT_EQ(string.strlen(), length);
    EXPECT_EQ(string.string_size(), length + 1);
    EXPECT_EQ(string.c_str(), text) << "with its NUL";
    EXPECT_EQ(Text(CorePString(Pascal(text))), text);
  }
  string = Pascal("short");
  EXPECT_STREQ(string.c_str(), "short") << "nothing of the longer text is left";
  string = static_cast<const unsigned char*>(nullptr);
  EXPECT_EQ(string.strlen(), 0U);
  EXPECT_STREQ(string.c_str(), "");
}

TEST(CorePString, TakesCStringsOf255CharactersAtMost) {
  struct Case {
    std::size_t given;
    unsigned kept;
  };
  for (const Case& c : {Case{0, 0}, {1, 1}, {254, 254}, {255, 255}, {256, 255}, {300, 255}}) {
    CorePString string("before");
    string = std::string(c.given, 'x').c_str();
    EXPECT_EQ(string.strlen(), c.kept);
    EXPECT_EQ(string.c_str(), std::string(c.kept, 'x'));
  }
  CorePString string("before");
  string = static_cast<const char*>(nullptr);
  EXPECT_EQ(string.strlen(), 0U);
  EXPECT_STREQ(string.c_str(), "");
}

TEST(CorePString, CopiesAsABlock) {
  CorePString broken("ab");
  broken.strcat(Pascal("xyz"));
  CorePString copy(std::string(255, 'q').c_str());
  copy = broken;
  EXPECT_EQ(std::memcmp(copy.p_str(), broken.p_str(), 256), 0);
  EXPECT_EQ(std::memcmp(CorePString(broken).p_str(), broken.p_str(), 256), 0);
  const CorePString full(std::string(255, 'f').c_str());
  copy = full;
  EXPECT_EQ(copy.c_str(), std::string(255, 'f'));
  copy = copy.p_str();
  EXPECT_EQ(copy.c_str(), std::string(255, 'f')) << "of itself";
  copy = copy.c_str() + 250;
  EXPECT_STREQ(copy.c_str(), "fffff");
}

TEST(CorePString, CopiesOutWithinALimit) {
  struct Case {
    const char* text;
    unsigned short max;
    const char* copied;
  };
  for (const Case& c : {Case{"hello", 2, "he"},
                        {"hello", 5, "hello"},
                        {"hello", 4, "hell"},
                        {"hello", 65535, "hello"},
                        {"hello", 0, ""},
                        {"", 7, ""}}) {
    const CorePString string(c.text);
    const std::size_t length = std::strlen(c.copied);
    std::vector<unsigned char> out(length + 1, 0xEE);
    EXPECT_EQ(string.AssignTo(out.data(), c.max), out.data());
    EXPECT_EQ(out[0], length);
    EXPECT_EQ(std::memcmp(out.data() + 1, c.copied, length), 0);
    out.assign(length + 1, 0xEE);
    EXPECT_EQ(string.strcpy(out.data(), c.max), length);
    EXPECT_EQ(out[0], length);
    EXPECT_EQ(std::memcmp(out.data() + 1, c.copied, length), 0);
    std::vector<char> cString(string.string_size(), 'E');
    EXPECT_EQ(string.AssignTo(cString.data()), cString.data());
    EXPECT_STREQ(cString.data(), c.text);
  }
}

TEST(CorePString, AppendsOneCharacterWhereThereIsRoom) {
  CorePString string;
  std::string expected;
  for (int i = 0; i < 255; ++i) {
    const char c = static_cast<char>('a' + i % 26);
    expected += c;
    EXPECT_EQ(string.strcatc(c), string.c_str());
    ASSERT_EQ(string.c_str(), expected);
    ASSERT_EQ(string.strlen(), expected.size());
  }
  EXPECT_EQ(string.strcatc('!'), string.c_str());
  EXPECT_EQ(string.c_str(), expected);
  EXPECT_EQ(string.strlen(), 255U);
}

TEST(CorePString, AppendsTextsOfOneByteOrNone) {
  const test::LogCapture log;
  CorePString string("ab");
  EXPECT_EQ(string.strcat(Pascal("x")), string.c_str());
  EXPECT_EQ(string.strlen(), 3U);
  EXPECT_STREQ(string.c_str(), "abx");
  string.strcat(Pascal(""));
  EXPECT_STREQ(string.c_str(), "abx");
  string.strcat(nullptr);
  EXPECT_STREQ(string.c_str(), "abx");
  string = "";
  string.strcat(Pascal("y"));
  EXPECT_STREQ(string.c_str(), "y");
  string = std::string(254, 'm').c_str();
  string.strcat(Pascal("z"));
  EXPECT_EQ(string.c_str(), std::string(254, 'm') + "z");
  EXPECT_EQ(log.Text(), "");
}

TEST(CorePString, PutsALongerTextAtTheSumOfTheLengths) {
  struct Case {
    std::string text;
    std::string appended;
    unsigned length;
    std::string bytes;  // from index 1 on, as many as stand firm; '.' is any byte
    std::string cString;
  };
  const Case cases[] = {
      // index         1234567890
      {"ab", "xy", 4, std::string("ab\0x\0", 5), "ab"},
      {"ab", "xyz", 5, std::string("ab\0.x\0z", 7), "ab"},
      {"", "xyz", 3, std::string("\0.x\0z", 5), ""},
      {"a", "wxyz", 5, std::string("a\0..w\0yz", 8), "a"},
  };
  for (const Case& c : cases) {
    CorePString string(c.text.c_str());
    string.strcat(Pascal(c.appended));
    EXPECT_EQ(string.strlen(), c.length);
    for (std::size_t i = 0; i < c.bytes.size(); ++i) {
      if (c.bytes[i] != '.') {
        EXPECT_EQ(string.p_str()[i + 1], static_cast<unsigned char>(c.bytes[i]))
            << c.text << '+' << c.appended << " index " << i + 1;
      }
    }
    EXPECT_EQ(string.c_str(), c.cString);
  }
}

TEST(CorePString, KeepsASumAbove255InEightBitsAndInItself) {
  struct Case {
    std::size_t own;
    std::size_t appended;
    unsigned length;
  };
  for (const Case& c : {Case{255, 1, 0},
                        {250, 5, 255},
                        {250, 6, 0},
                        {250, 10, 4},
                        {255, 255, 254},
                        {1, 254, 255}}) {
    // On the heap, where what lies behind it is watched.
    const auto string = std::make_unique<CorePString>(std::string(c.own, 'a').c_str());
    string->strcat(Pascal(std::string(c.appended, 'b')));
    EXPECT_EQ(string->strlen(), c.length);
    EXPECT_LE(std::strlen(string->c_str()), 255U);
    EXPECT_EQ(string->p_str()[1], 'a');
  }
}

TEST(CorePString, ReportsTheAppendingOfNothingToNothing) {
  const test::LogCapture log;
  CorePString string;
  EXPECT_EQ(string.strcat(Pascal("")), string.c_str());
  EXPECT_EQ(string.strlen(), 0U);
  EXPECT_EQ(test::AnyLineNumbers(log.Lines()),
            std::vector<std::string>{test::AnyLineNumber(
                test::VerifyLine("pstring_len+rhs_len", "sdk/CoreX/CorePString", 1, "strcat"))});
}

TEST(CorePString, ComparesByteByByte) {
  struct Case {
    const char* a;
    const char* b;
    bool equal;
  };
  for (const Case& c : {Case{"", "", true},
                        {"a", "a", true},
                        {"a", "A", false},
                        {"a", "ab", false},
                        {"ab", "a", false},
                        {"", "a", false},
                        {"caf\x8E", "caf\x8E", true},
                        {"caf\x8E", "caf\x8F", false}}) {
    EXPECT_EQ(CorePString(c.a) == c.b, c.equal) << c.a << ' ' << c.b;
    EXPECT_EQ(CorePString(c.a) == Pascal(c.b), c.equal) << c.a << ' ' << c.b;
  }
  const std::string full(255, 'x');
  EXPECT_TRUE(CorePString(full.c_str()) == full.c_str());
  EXPECT_TRUE(CorePString(full.c_str()) == Pascal(full));
  EXPECT_FALSE(CorePString(full.c_str()) == (full + "x").c_str());
  EXPECT_FALSE(CorePString() == static_cast<const char*>(nullptr));
  EXPECT_FALSE(CorePString() == static_cast<const unsigned char*>(nullptr));
}

}  // namespace
