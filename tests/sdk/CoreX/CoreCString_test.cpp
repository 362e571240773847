#include "sdk/CoreX/CoreCString.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/CoreServices/FileSpecs.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CorePString.h"
#include "tests/support/CFUnits.h"

namespace {

constexpr const char* kNoText = nullptr;
constexpr const unsigned char* kNoPascal = nullptr;

const unsigned char* P(const char* text) {  // "\005hello"
  return reinterpret_cast<const unsigned char*>(text);
}

FSSpec SpecNamed(const std::string& name) {
  FSSpec spec = {};
  spec.name[0] = static_cast<unsigned char>(name.size());
  std::memcpy(spec.name + 1, name.data(), std::min(name.size(), sizeof spec.name - 1));
  return spec;
}

void ExpectNil(const std::function<void()>& action, const char* what) {
  try {
    action();
    ADD_FAILURE() << what << " threw nothing";
  } catch (const CoreException& exception) {
    EXPECT_STREQ(exception.Message(), "Nil exception pointer") << what;
  }
}
#define EXPECT_NIL(action) ExpectNil([&] { action; }, #action)

// ---- construction and allocation ----

TEST(CoreCString, IsPolymorphic) {
  EXPECT_TRUE(std::has_virtual_destructor_v<CoreCString>);
  EXPECT_EQ(sizeof(CoreCStringSized), sizeof(CoreCString));
}

TEST(CoreCString, BeginsEmpty) {
  const CoreCString string;
  EXPECT_STREQ(string.c_str(), "");
  EXPECT_EQ(string.Get_const_cstring(), string.c_str());
  EXPECT_EQ(string.capacity(), 1);
}

TEST(CoreCString, IsMadeOfEveryFormOfText) {
  const CoreCString other("hello");
  const CorePString pascal("hello");
  const std::string text = "hello";
  const FSSpec spec = SpecNamed("hello");
  for (const unsigned short minimum : {0, 1, 5, 6, 7, 100, 65535}) {
    const unsigned short capacity = std::max<unsigned short>(minimum, 6);
    const CoreCString strings[] = {
        CoreCString("hello", minimum), CoreCString(P("\005hello"), minimum),
        CoreCString(other, minimum),   CoreCString(pascal, minimum),
        CoreCString(text, minimum),    CoreCString(spec, minimum),
        CoreCString(&spec, minimum)};
    for (const CoreCString& string : strings) {
      EXPECT_STREQ(string.c_str(), "hello");
      EXPECT_EQ(string.capacity(), capacity);
    }
    const CoreCStringSized sized[] = {
        CoreCStringSized("hello", minimum), CoreCStringSized(P("\005hello"), minimum),
        CoreCStringSized(other, minimum),   CoreCStringSized(pascal, minimum),
        CoreCStringSized(text, minimum),    CoreCStringSized(spec, minimum),
        CoreCStringSized(&spec, minimum)};
    for (const CoreCStringSized& string : sized) EXPECT_STREQ(string.c_str(), "hello");
    EXPECT_EQ(CoreCStringSized("hello", minimum).capacity(), capacity);
  }
  EXPECT_STREQ(CoreCString("x").c_str(), "x");
  EXPECT_EQ(CoreCString("x").capacity(), 2);
}

TEST(CoreCString, NullTextsMakeEmptyOnes) {
  CoreCString deleted;
  deleted.Delete();
  EXPECT_STREQ(CoreCString(kNoText).c_str(), "");
  EXPECT_STREQ(CoreCString(kNoPascal, 9).c_str(), "");
  EXPECT_EQ(CoreCString(kNoPascal, 9).capacity(), 9);
  EXPECT_STREQ(CoreCString(deleted).c_str(), "");
  EXPECT_NIL(CoreCString(static_cast<const FSSpec*>(nullptr)));
}

TEST(CoreCString, TakesAFullFileSpecName) {
  EXPECT_EQ(CoreCString(SpecNamed(std::string(63, 'n'))).c_str(), std::string(63, 'n'));
  FSSpec broken = SpecNamed(std::string(63, 'n'));
  broken.name[0] = 200;  // claims more than it has
  EXPECT_EQ(CoreCString(broken).c_str(), std::string(63, 'n'));
}

TEST(CoreCString, SizedOnesHaveTheCapacityAskedFor) {
  for (const unsigned short size : {1, 2, 300, 65535}) {
    const CoreCStringSized string(size);
    EXPECT_STREQ(string.c_str(), "");
    EXPECT_EQ(string.capacity(), size);
  }
  EXPECT_EQ(CoreCStringSized(static_cast<unsigned short>(0)).capacity(), 1);
}

TEST(CoreCString, AllocKeepsABufferThatIsLargeEnough) {
  CoreCString string("hello", 10);
  const char* buffer = string.c_str();
  struct Case {
    const char* text;
    unsigned short minimum;
    bool stays;
    unsigned short capacity;
  };
  for (const Case& c : {Case{"hi", 0, true, 10},
                        {"123456789", 0, true, 10},
                        {kNoText, 0, true, 10},
                        {"x", 10, true, 10},
                        {"x", 11, false, 11},
                        {"12345678901", 3, false, 12}}) {
    string.Alloc(c.text, c.minimum);
    EXPECT_EQ(string.c_str() == buffer, c.stays);
    EXPECT_EQ(string.capacity(), c.capacity);
    EXPECT_STREQ(string.c_str(), c.text != nullptr ? c.text : "");
    buffer = string.c_str();
  }
  string.Alloc(P("\003abc"), 40);
  EXPECT_STREQ(string.c_str(), "abc");
  EXPECT_EQ(string.capacity(), 40);
  string.Alloc(kNoPascal, 2);
  EXPECT_STREQ(string.c_str(), "");
  string = "text";
  string.Alloc(static_cast<unsigned short>(5));
  EXPECT_STREQ(string.c_str(), "");
  EXPECT_EQ(string.capacity(), 40);
}

TEST(CoreCString, AllocTakesTextOutOfItsOwnBuffer) {
  CoreCString string("hello world");
  string.Alloc(string.c_str() + 6, 500);
  EXPECT_STREQ(string.c_str(), "world");
  string.Alloc(string.c_str() + 1, 0);
  EXPECT_STREQ(string.c_str(), "orld");
  const CoreCString& same = string;
  string = same;
  EXPECT_STREQ(string.c_str(), "orld");
}

TEST(CoreCString, DeleteAndEmpty) {
  CoreCString string("hello", 10);
  string.Empty();
  EXPECT_STREQ(string.c_str(), "");
  EXPECT_EQ(string.capacity(), 10);
  string.Delete();
  EXPECT_EQ(string.c_str(), nullptr);
  EXPECT_EQ(string.Get_const_cstring(), nullptr);
  EXPECT_EQ(string.capacity(), 0);
  string.Delete();
  string.Alloc("again", 0);
  EXPECT_STREQ(string.c_str(), "again");
}

TEST(CoreCString, HoldsUpTo65535BytesAndNoMore) {
  const std::string most(65534, 'x');
  const std::string tooMuch(65535, 'x');
  CoreCString string(most);
  EXPECT_EQ(string.c_str(), most);
  EXPECT_EQ(string.capacity(), 65535);
  CoreCString kept("kept");
  EXPECT_NIL(CoreCString{tooMuch});
  EXPECT_NIL(kept = tooMuch.c_str());
  EXPECT_NIL(kept.Alloc(std::string(1 << 17, 'y').c_str(), 0));
  EXPECT_STREQ(kept.c_str(), "kept");
}

// ---- copying and appending ----

TEST(CoreCString, BoundedCopies) {
  struct Case {
    unsigned short capacity;
    const char* source;
    unsigned short n;
    const char* result;
  };
  for (const Case& c : {Case{4, "hello", 100, "hel"},
                        {4, "hello", 3, "hel"},
                        {4, "hello", 2, "he"},
                        {4, "hi", 100, "hi"},
                        {4, "", 100, ""},
                        {4, "hello", 0, ""},
                        {1, "hello", 100, ""},
                        {4, kNoText, 100, ""}}) {
    CoreCStringSized string(c.capacity);
    string.safe_strcpy("old");
    string.safe_strncpy(c.source, c.n);
    EXPECT_STREQ(string.c_str(), c.result);
    EXPECT_EQ(string.capacity(), c.capacity);
  }
  CoreCStringSized string(4);
  string.safe_strcpy("hello");
  EXPECT_STREQ(string.c_str(), "hel");
  string.safe_strcpy(kNoText);
  EXPECT_STREQ(string.c_str(), "");
  // The count bounds what is read: this source has no NUL.
  const char open[] = {'a', 'b', 'c'};
  string.safe_strncpy(open, 3);
  EXPECT_STREQ(string.c_str(), "abc");
}

TEST(CoreCString, StrcatGrows) {
  CoreCString string("ab");
  string.strcat("cd");
  EXPECT_STREQ(string.c_str(), "abcd");
  EXPECT_EQ(string.capacity(), 5);
  string.strcat("");
  EXPECT_STREQ(string.c_str(), "abcd");
  string.strcat(string.c_str());
  EXPECT_STREQ(string.c_str(), "abcdabcd");
  CoreCString large("x", 100);
  large.strcat("yz");
  EXPECT_STREQ(large.c_str(), "xyz");
  EXPECT_EQ(large.capacity(), 100);
}

TEST(CoreCString, StrcatGrowsUpToItsTemporaryOf65535Bytes) {
  CoreCString string(std::string(65000, 'x'));
  string.strcat(std::string(533, 'y').c_str());
  EXPECT_EQ(std::strlen(string.c_str()), 65533U);
  EXPECT_NIL(string.strcat("z"));
  EXPECT_EQ(std::strlen(string.c_str()), 65533U);
}

TEST(CoreCString, SizedStrcatIsBounded) {
  struct Case {
    unsigned short capacity;
    const char* own;
    const char* added;
    const char* result;  // null: throws
  };
  for (const Case& c : {Case{6, "ab", "cd", "abcd"},
                        {6, "ab", "cde", kNoText},  // would fit, but is refused
                        {6, "ab", "cdef", kNoText},
                        {6, "", "abcd", "abcd"},
                        {6, "abcd", "", "abcd"},
                        {6, "abcde", "", kNoText},
                        {1, "", "", kNoText},
                        {2, "", "", ""}}) {
    CoreCStringSized string(c.own, c.capacity);
    ASSERT_EQ(string.capacity(), c.capacity);
    if (c.result != nullptr) {
      string.strcat(c.added);
      EXPECT_STREQ(string.c_str(), c.result);
    } else {
      EXPECT_NIL(string.strcat(c.added));
      EXPECT_STREQ(string.c_str(), c.own);
    }
  }
}

TEST(CoreCString, SafeStrcatLeavesOutWhatFitsByOne) {
  struct Case {
    unsigned short capacity;
    const char* own;
    const char* added;
    const char* result;
  };
  for (const Case& c : {Case{10, "ab", "cd", "abcd"},  // total 6
                        {6, "ab", "cd", "ab"},         // total 6: nothing is appended
                        {5, "ab", "cd", "abcd"},       // total 6: just fits
                        {4, "ab", "cd", "abc"},        // does not fit
                        {4, "ab", "cdefghijkl", "abc"},
                        {3, "ab", "c", "ab"},
                        {3, "ab", "", "ab"},
                        {2, "", "", ""},
                        {1, "", "a", ""}}) {
    CoreCStringSized string(c.own, c.capacity);
    ASSERT_EQ(string.capacity(), c.capacity);
    string.safe_strcat(c.added);
    EXPECT_STREQ(string.c_str(), c.result) << c.own << '+' << c.added << " in " << c.capacity;
  }
  CoreCStringSized own("abcd", 20);
  own.safe_strcat(own.c_str());
  EXPECT_STREQ(own.c_str(), "abcdabcd");
}

TEST(CoreCString, SafeStrcatKeepsToEveryCapacity) {
  for (unsigned short capacity = 1; capacity < 40; ++capacity) {
    for (std::size_t own = 0; own < capacity; ++own) {
      for (std::size_t added = 0; added < 45; ++added) {
        CoreCStringSized string(std::string(own, 'a'), capacity);
        string.safe_strcat(std::string(added, 'b').c_str());
        const std::string both = std::string(own, 'a') + std::string(added, 'b');
        const bool refused = own + 1 + added + 1 == capacity;
        ASSERT_EQ(string.c_str(), refused ? std::string(own, 'a') : both.substr(0, capacity - 1U));
      }
    }
  }
}

TEST(CoreCString, Assignments) {
  CoreCString string("a long text that has to go");
  string = "c";
  EXPECT_STREQ(string.c_str(), "c");
  string = P("\006pascal");
  EXPECT_STREQ(string.c_str(), "pascal");
  string = CoreCString("other");
  EXPECT_STREQ(string.c_str(), "other");
  string = CorePString("core pascal");
  EXPECT_STREQ(string.c_str(), "core pascal");
  string = kNoText;
  EXPECT_STREQ(string.c_str(), "");
  CoreCStringSized sized(30);
  sized = "text";
  sized += "!";
  EXPECT_STREQ(sized.c_str(), "text!");
  EXPECT_EQ(sized.capacity(), 30);
}

TEST(CoreCString, AppendingOperators) {
  CoreCString string("a");
  string += "b";
  string += P("\001c");
  string += CoreCString("d");
  string += string;
  EXPECT_STREQ(string.c_str(), "abcdabcd");
  CoreCStringSized sized("abc", 4);
  sized += "def";
  EXPECT_STREQ(sized.c_str(), "abcdef") << "the operator grows";
}

TEST(CoreCString, Truncate) {
  for (std::size_t at = 0; at <= 5; ++at) {
    CoreCStringSized string("hello", 20);
    string.truncate(string.c_str() + at);
    EXPECT_EQ(string.c_str(), std::string("hello").substr(0, at));
  }
  CoreCStringSized string("hello", 20);
  const char elsewhere[] = "hello";
  EXPECT_NIL(string.truncate(string.c_str() + 6));
  EXPECT_NIL(string.truncate(elsewhere));
  EXPECT_NIL(string.truncate(nullptr));
  EXPECT_STREQ(string.c_str(), "hello");
}

TEST(CoreCString, TakesStringsInMacRoman) {
  CoreCString string("old");
  const test::CFOwned<CFStringRef> cafe(test::NewString(u"Caf\u00E9"));
  string = cafe.get();
  EXPECT_STREQ(string.c_str(), "Caf\x8E");
  EXPECT_EQ(string.capacity(), 5);
  const test::CFOwned<CFStringRef> foreign(test::NewString(u"ab\u65E5"));
  string = foreign.get();
  EXPECT_STREQ(string.c_str(), "");
  EXPECT_EQ(string.capacity(), 4);
  string = static_cast<CFStringRef>(nullptr);
  EXPECT_EQ(string.c_str(), nullptr);
  EXPECT_EQ(string.capacity(), 0);
  const test::CFOwned<CFStringRef> most(test::NewString(std::u16string(65534, u'm')));
  string = most.get();
  EXPECT_EQ(string.c_str(), std::string(65534, 'm'));
  const test::CFOwned<CFStringRef> tooLong(test::NewString(std::u16string(65535, u'm')));
  EXPECT_NIL(string = tooLong.get());
}

// ---- formats and numbers ----

TEST(CoreCString, Printf) {
  CoreCString string;
  string.printf("%s-%04d", "x", 42);
  EXPECT_STREQ(string.c_str(), "x-0042");
  EXPECT_EQ(string.capacity(), 7);
  string.printf("<%s>", string.c_str());
  EXPECT_STREQ(string.c_str(), "<x-0042>");
  string.printf("%*s", 2048, "");
  EXPECT_EQ(string.c_str(), std::string(2048, ' '));
  for (const int width : {2049, 2050, 5000}) EXPECT_NIL(string.printf("%*s", width, ""));
  EXPECT_EQ(string.c_str(), std::string(2048, ' '));
}

TEST(CoreCString, SprintfTakesThreeCharactersAtMost) {
  struct Case {
    const char* text;
    bool taken;
  };
  for (const Case& c :
       {Case{"", true}, {"a", true}, {"abc", true}, {"abcd", false}, {"abcdefgh", false}}) {
    for (const UInt32 size : {0U, 1U, 4U, 64U}) {
      CoreCString string("kept");
      char buffer[64] = "before";
      if (c.taken) {
        string.sprintf(buffer, size, "%s", c.text);
        EXPECT_STREQ(string.c_str(), c.text);
        EXPECT_STREQ(buffer, c.text);
      } else {
        EXPECT_NIL(string.sprintf(buffer, size, "%s", c.text));
        EXPECT_STREQ(string.c_str(), "kept");
        EXPECT_EQ(buffer, std::string(c.text).substr(0, std::max<UInt32>(size, 4) - 1));
      }
    }
  }
  CoreCString string;
  std::vector<char> four(4);
  EXPECT_NIL(string.sprintf(four.data(), 4, "%s", "far too long for it"));
}

TEST(CoreCString, FourCharCodes) {
  struct Case {
    UInt32 code;
    const char* text;
  };
  for (const Case& c : {Case{'2vuy', "0x32767579 '2vuy'"},
                        {'abcd', "0x61626364 'abcd'"},
                        {0xA9207820, "0xa9207820 '\xA9 x '"},
                        {0, "0x00000000 '"},
                        {'a\0bc', "0x61006263 'a"},
                        {0xFFFFFFFFU, "0xffffffff '\xFF\xFF\xFF\xFF'"}}) {
    CoreCString string("old");
    EXPECT_TRUE(string.ConstructFourCharCode(c.code));
    EXPECT_STREQ(string.c_str(), c.text);
    EXPECT_STREQ(CoreCString(c.code).c_str(), c.text);
  }
}

TEST(CoreCString, SizedFourCharCodesAreQuotedAsInMemory) {
  const UInt32 code = 'abcd';
  char expected[7] = "'....'";
  std::memcpy(expected + 1, &code, 4);
  const CoreCStringSized string(code, 40);
  EXPECT_STREQ(string.c_str(), expected);
  EXPECT_EQ(string.capacity(), 40);
  EXPECT_EQ(CoreCStringSized(code, 1).capacity(), 7);
}

TEST(CoreCString, Numbers) {
  struct Case {
    const char* text;
    double value;
  };
  for (const Case& c : {Case{"2.5", 2.5},
                        {"abc", 0},
                        {"", 0},
                        {"  -4.25e1xyz", -42.5},
                        {"0.1", static_cast<double>(0.1F)},
                        {"16777217", 16777216},  // of single precision
                        {".5", .5},
                        {"-", 0},
                        {"0x10", 16}}) {
    EXPECT_EQ(CoreCString(c.text).AsDouble(), c.value) << c.text;
  }
}

// ---- whitespace and comparison ----

TEST(CoreCString, Trimming) {
  struct Case {
    const char* text;
    const char* leading;
    const char* trailing;
    const char* both;
  };
  for (const Case& c : {Case{"  a b  ", "a b  ", "  a b", "a b"},
                        {"\t\n\v\f\r x\t\n\v\f\r ", "x\t\n\v\f\r ", "\t\n\v\f\r x", "x"},
                        {"ab", "ab", "ab", "ab"},
                        {"   ", "   ", "", ""},
                        {"", "", "", ""},
                        {"\xA0z\xA0", "\xA0z\xA0", "\xA0z\xA0", "\xA0z\xA0"}}) {
    CoreCString string(c.text, 50);
    string.trim_leading_whitespace();
    EXPECT_STREQ(string.c_str(), c.leading);
    string = c.text;
    string.trim_trailing_whitespace();
    EXPECT_STREQ(string.c_str(), c.trailing);
    string = c.text;
    string.trim_trailing_and_leading_whitespace();
    EXPECT_STREQ(string.c_str(), c.both);
    EXPECT_EQ(string.capacity(), 50);
  }
}

TEST(CoreCString, Comparison) {
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
                        {"\x8E", "\x8E", true},
                        {"\x8E", "\x8F", false}}) {
    EXPECT_EQ(CoreCString(c.a) == c.b, c.equal);
    EXPECT_EQ(CoreCString(c.a) == CorePString(c.b).p_str(), c.equal);
  }
}

// ---- copies out ----

TEST(CoreCString, AssignsToPascalStrings) {
  struct Case {
    const char* text;
    unsigned max;
    std::string copied;
  };
  const std::string longText(300, 'x');
  for (const Case& c : {Case{"hello", 2, "he"},
                        {"hello", 5, "hello"},
                        {"hello", 255, "hello"},
                        {"hello", 0, ""},
                        {"", 255, ""},
                        {kNoText, 255, ""},
                        {longText.c_str(), 255, longText.substr(0, 255)},
                        {longText.c_str(), 0xFFFFFFFF, longText.substr(0, 255)}}) {
    std::vector<unsigned char> out(c.copied.size() + 1, 0xEE);
    EXPECT_EQ(CoreCString::AssignTo(out.data(), c.max, c.text), c.copied.size());
    EXPECT_EQ(std::string(out.begin() + 1, out.end()), c.copied);
    EXPECT_EQ(out[0], c.copied.size());
    out.assign(c.copied.size() + 1, 0xEE);
    EXPECT_EQ(CoreCString(c.text).AssignTo(out.data(), c.max), c.copied.size());
    EXPECT_EQ(std::string(out.begin() + 1, out.end()), c.copied);
    EXPECT_EQ(out[0], c.copied.size());
  }
  EXPECT_EQ(CoreCString("x").AssignTo(nullptr, 255), 0U);
  EXPECT_EQ(CoreCString::AssignTo(nullptr, 255, "x"), 0U);
}

TEST(CoreCString, AssignsToCStrings) {
  std::vector<char> out(6, 'E');
  EXPECT_EQ(CoreCString("hello").AssignTo(out.data()), 5U);
  EXPECT_STREQ(out.data(), "hello");
  EXPECT_EQ(CoreCString("hello").AssignTo(static_cast<char*>(nullptr)), 0U);
  CoreCString deleted;
  deleted.Delete();
  EXPECT_EQ(deleted.AssignTo(out.data()), 0U);
  EXPECT_STREQ(out.data(), "");
  unsigned char pascal[256] = {9};
  EXPECT_EQ(deleted.AssignTo(pascal, 255), 0U);
  EXPECT_EQ(pascal[0], 0);
}

// ---- hexadecimal ----

TEST(CoreCString, HexDigitPairsOfEveryByteInOneBuffer) {
  const char* buffer = nullptr;
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto value = static_cast<unsigned char>(byte);
    char expected[8];
    std::snprintf(expected, sizeof expected, "%02X", byte);
    const char* pair = CoreCString::HexDigitPairFromByte(&value, 0);
    EXPECT_STREQ(pair, expected);
    EXPECT_TRUE(buffer == nullptr || pair == buffer);
    buffer = pair;
  }
}

TEST(CoreCString, HexSeparators) {
  const unsigned char byte = 0x4A;
  for (int separator = 1; separator < 128; ++separator) {
    const char c = static_cast<char>(separator);
    EXPECT_EQ(CoreCString::HexDigitPairFromByte(&byte, c),
              std::string("4A") + (separator < 32 ? ' ' : c));
  }
}

TEST(CoreCString, EncodesBytes) {
  const unsigned char bytes[] = {0x00, 0xFF, 0x4A};
  struct Case {
    unsigned length;
    unsigned maxBytes;
    char separator;
    const char* text;
  };
  for (const Case& c : {Case{2, 0, '-', "00-FF-"},
                        {2, 0, '\t', "00 FF "},
                        {3, 0, 0, "00FF4A"},
                        {3, 2, ',', "00,FF,"},
                        {2, 3, ',', "00,FF,"},
                        {3, 3, ' ', "00 FF 4A "},
                        {0, 0, '-', ""},
                        {0, 5, '-', ""}}) {
    CoreCString string;
    string.EncodeHexString(bytes, c.length, c.maxBytes, c.separator);
    EXPECT_STREQ(string.c_str(), c.text);
    const unsigned count = c.maxBytes == 0 ? c.length : std::min(c.length, c.maxBytes);
    EXPECT_EQ(string.capacity(), count * 4 + 9);
  }
  CoreCString string;
  string.HexData(bytes, 3, 2);
  EXPECT_STREQ(string.c_str(), "00 FF ");
}

TEST(CoreCString, EncodesAsMuchAsFits) {
  const std::vector<unsigned char> bytes(20000, 0xAB);
  CoreCString string("kept");
  EXPECT_NIL(string.EncodeHexString(bytes.data(), 16382, 0, ' '));
  EXPECT_STREQ(string.c_str(), "kept");
  string.EncodeHexString(bytes.data(), 20000, 16381, ' ');
  EXPECT_EQ(std::strlen(string.c_str()), 16381U * 3);
}

TEST(CoreCString, BecomesItsOwnHex) {
  CoreCString string("AB");
  string.AsHexString();
  EXPECT_STREQ(string.c_str(), "41 42 ");
  string = "\xE9";
  string.AsHexString();
  EXPECT_STREQ(string.c_str(), "E9 ");
  CoreCString empty("", 7);
  empty.AsHexString();
  EXPECT_STREQ(empty.c_str(), "");
}

TEST(CoreCString, DecodesDigitsAndSkipsTheRest) {
  struct Case {
    const char* text;
    std::string bytes;
    unsigned digits;
  };
  for (const Case& c : {Case{"4a:6B z7", "\x4A\x6B", 5},
                        {"4 a", "\x4A", 2},
                        {"", "", 0},
                        {"7", "", 1},
                        {"gh!", "", 0},
                        {"00ff", std::string("\0\xFF", 2), 4},
                        {"AaFf09", "\xAA\xFF\x09", 6},
                        {"4A4B4C4D", "JKLM", 8}}) {
    CoreCString string;
    EXPECT_EQ(string.DecodeHexString(c.text), c.bytes.size());
    EXPECT_EQ(std::string(string.c_str(), c.bytes.size()), c.bytes);
    EXPECT_EQ(string.c_str()[c.bytes.size()], 0);
    EXPECT_EQ(string.capacity(), c.digits / 2 + 9);
  }
  CoreCString string("4a4B");
  string.DecodeHexString(string.c_str());
  EXPECT_STREQ(string.c_str(), "JK");
  CoreCString kept("kept");
  EXPECT_NIL(kept.DecodeHexString(std::string(2 * 65527, '0').c_str()));
  EXPECT_STREQ(kept.c_str(), "kept");
  EXPECT_EQ(kept.DecodeHexString(std::string(2 * 65526, '0').c_str()), 65526U);
}

RC_GTEST_PROP(CoreCString, DecodesWhatItEncodes, (const std::vector<unsigned char>& bytes)) {
  CoreCString string;
  const unsigned char none = 0;
  const unsigned char* data = bytes.empty() ? &none : bytes.data();
  string.EncodeHexString(data, static_cast<unsigned>(bytes.size()), 0, ':');
  CoreCString decoded;
  const unsigned count = decoded.DecodeHexString(string.c_str());
  RC_ASSERT(count == bytes.size());
  RC_ASSERT(std::memcmp(decoded.c_str(), data, count) == 0);
}

// ---- the one error ----

TEST(CoreCString, NullBuffersThrow) {
  CoreCString string;
  CoreCStringSized sized(9);
  string.Delete();
  sized.Delete();
  EXPECT_NIL(string.Empty());
  EXPECT_NIL(string.safe_strcpy("x"));
  EXPECT_NIL(string.safe_strncpy("x", 1));
  EXPECT_NIL(string.safe_strcat("x"));
  EXPECT_NIL(string.strcat("x"));
  EXPECT_NIL(string += "x");
  EXPECT_NIL(string += P("\001x"));
  EXPECT_NIL(sized.strcat("x"));
  EXPECT_NIL(sized.truncate(nullptr));
  EXPECT_NIL(string.trim_leading_whitespace());
  EXPECT_NIL(string.trim_trailing_whitespace());
  EXPECT_NIL(string.trim_trailing_and_leading_whitespace());
  EXPECT_NIL(static_cast<void>(string == "x"));
  EXPECT_NIL(static_cast<void>(string == P("\001x")));
  EXPECT_NIL(string.AsDouble());
  EXPECT_NIL(string.AsHexString());
}

TEST(CoreCString, NullArgumentsThrow) {
  CoreCString string("x");
  CoreCString deleted;
  deleted.Delete();
  CoreCStringSized sized(9);
  char buffer[4];
  const char* noFormat = nullptr;
  EXPECT_NIL(string.safe_strcat(nullptr));
  EXPECT_NIL(string.strcat(nullptr));
  EXPECT_NIL(sized.strcat(nullptr));
  EXPECT_NIL(string += kNoText);
  EXPECT_NIL(string += kNoPascal);
  EXPECT_NIL(string += deleted);
  EXPECT_NIL(static_cast<void>(string == kNoText));
  EXPECT_NIL(static_cast<void>(string == kNoPascal));
  EXPECT_NIL(CoreCString::HexDigitPairFromByte(nullptr, ' '));
  EXPECT_NIL(string.EncodeHexString(nullptr, 3, 0, ' '));
  EXPECT_NIL(string.HexData(nullptr, 3, 0));
  EXPECT_NIL(string.DecodeHexString(nullptr));
  EXPECT_NIL(string.sprintf(nullptr, 4, "x"));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  EXPECT_NIL(string.printf(noFormat));
  EXPECT_NIL(string.sprintf(buffer, 4, noFormat));
#pragma GCC diagnostic pop
  EXPECT_STREQ(string.c_str(), "x");
}

}  // namespace
