#include "platform/CoreFoundation/CFString.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/CFUnits.h"

namespace {

using test::CFOwned;
using test::NewString;
using test::TakeUnits;
using test::Units;

// ---- constants ----

TEST(CFStringConstant, IsOneObjectPerContent) {
  const CFStringRef first = CFSTR("constant content");
  const std::string other = std::string("constant ") + "content";
  EXPECT_EQ(__CFStringMakeConstantString(other.c_str()), first);
  EXPECT_NE(CFSTR("constant"), first);
  EXPECT_EQ(Units(first), u"constant content");
  EXPECT_EQ(Units(CFSTR("gr\u00FC\u00DFe")), u"gr\u00FC\u00DFe") << "UTF-8";
  EXPECT_EQ(Units(CFSTR("\xFC")), u"\u00FC") << "not UTF-8";
  EXPECT_EQ(__CFStringMakeConstantString(nullptr), nullptr);
}

TEST(CFStringConstant, OutlivesEveryRelease) {
  const CFStringRef string = CFSTR("released too often");
  for (int i = 0; i < 5; ++i) CFRelease(string);
  EXPECT_EQ(CFGetRetainCount(string), 1);
  EXPECT_EQ(Units(string), u"released too often");
}

TEST(CFStringConstant, MayBeMadeOnSeveralThreads) {
  std::vector<CFStringRef> seen(8);
  std::vector<std::thread> threads;
  for (CFStringRef& string : seen) {
    threads.emplace_back([&string] {
      for (int i = 0; i < 200; ++i) {
        __CFStringMakeConstantString(("thread " + std::to_string(i)).c_str());
      }
      string = CFSTR("thread 100");
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const CFStringRef string : seen) EXPECT_EQ(string, seen[0]);
}

// ---- creation ----

TEST(CFStringCreate, FromCString) {
  const CFOwned<CFStringRef> string(
      CFStringCreateWithCString(nullptr, "\x8E\x63", kCFStringEncodingMacRoman));
  EXPECT_EQ(Units(string), u"\u00E9c");
  EXPECT_EQ(CFGetRetainCount(string), 1);
  EXPECT_EQ(CFGetTypeID(string), CFStringGetTypeID());
  EXPECT_EQ(TakeUnits(CFStringCreateWithCString(nullptr, "", kCFStringEncodingUTF8)), u"");
  EXPECT_EQ(CFStringCreateWithCString(nullptr, nullptr, kCFStringEncodingUTF8), nullptr);
  EXPECT_EQ(CFStringCreateWithCString(nullptr, "\xFF", kCFStringEncodingUTF8), nullptr);
  EXPECT_EQ(CFStringCreateWithCString(nullptr, "x", 0x7777), nullptr);
}

TEST(CFStringCreate, FromCStringInUTF16StopsAtTheFirstZeroByte) {
  const auto read = [](const char16_t* units) {
    return CFStringCreateWithCString(nullptr, reinterpret_cast<const char*>(units),
                                     kCFStringEncodingUnicode);
  };
  EXPECT_EQ(TakeUnits(read(u"AB")), u"") << "one byte is no unit";
  EXPECT_EQ(TakeUnits(read(u"\u4E2D\u6587")), u"\u4E2D\u6587");
  EXPECT_EQ(TakeUnits(read(u"\u4E2DA\u6587")), u"\u4E2D") << "the byte before the zero is left out";
  EXPECT_EQ(TakeUnits(read(u"")), u"");
}

TEST(CFStringCreate, FromPascalString) {
  const unsigned char text[] = {3, 'a', 0x8E, 'c', 'x'};
  EXPECT_EQ(TakeUnits(CFStringCreateWithPascalString(nullptr, text, kCFStringEncodingMacRoman)),
            u"a\u00E9c");
  const unsigned char empty[] = {0};
  EXPECT_EQ(TakeUnits(CFStringCreateWithPascalString(nullptr, empty, kCFStringEncodingUTF8)), u"");
  EXPECT_EQ(CFStringCreateWithPascalString(nullptr, text, kCFStringEncodingUTF8), nullptr);
  EXPECT_EQ(CFStringCreateWithPascalString(nullptr, nullptr, kCFStringEncodingUTF8), nullptr);
}

TEST(CFStringCreate, FromCharactersKeepsEveryUnit) {
  const std::u16string units = {u'a', 0, 0xD800, 0xFFFF, u'z'};
  EXPECT_EQ(TakeUnits(NewString(units)), units);
  const UniChar unit = 'x';
  EXPECT_EQ(CFStringCreateWithCharacters(nullptr, &unit, -1), nullptr);
  EXPECT_EQ(CFStringCreateWithCharacters(nullptr, nullptr, 1), nullptr);
  EXPECT_EQ(TakeUnits(CFStringCreateWithCharacters(nullptr, nullptr, 0)), u"");
}

TEST(CFStringCreate, FromBytesChecksItsArguments) {
  const UInt8 bytes[] = {'a', 0, 'b'};
  EXPECT_EQ(TakeUnits(CFStringCreateWithBytes(nullptr, bytes, 3, kCFStringEncodingUTF8, false)),
            std::u16string(u"a\0b", 3));
  EXPECT_EQ(CFStringCreateWithBytes(nullptr, bytes, -1, kCFStringEncodingUTF8, false), nullptr);
  EXPECT_EQ(CFStringCreateWithBytes(nullptr, nullptr, 1, kCFStringEncodingUTF8, false), nullptr);
  EXPECT_EQ(TakeUnits(CFStringCreateWithBytes(nullptr, nullptr, 0, kCFStringEncodingUTF8, false)),
            u"");
}

TEST(CFStringCreate, NoCopyFreesTheBufferOnSuccessOnly) {
  char* heap = strdup("text");
  EXPECT_EQ(TakeUnits(CFStringCreateWithCStringNoCopy(nullptr, heap, kCFStringEncodingUTF8,
                                                      kCFAllocatorMalloc)),
            u"text");
  char* bad = strdup("\xFF");
  EXPECT_EQ(CFStringCreateWithCStringNoCopy(nullptr, bad, kCFStringEncodingUTF8, nullptr), nullptr);
  std::free(bad);
  const char local[] = "kept";
  EXPECT_EQ(
      TakeUnits(CFStringCreateWithBytesNoCopy(nullptr, reinterpret_cast<const UInt8*>(local), 4,
                                              kCFStringEncodingUTF8, false, kCFAllocatorNull)),
      u"kept");
  const UniChar units[] = {'u'};
  EXPECT_EQ(TakeUnits(CFStringCreateWithCharactersNoCopy(nullptr, units, 1, kCFAllocatorNull)),
            u"u");
  const unsigned char pascal[] = {1, 'p'};
  EXPECT_EQ(TakeUnits(CFStringCreateWithPascalStringNoCopy(nullptr, pascal, kCFStringEncodingUTF8,
                                                           kCFAllocatorNull)),
            u"p");
}

TEST(CFStringCreate, CopyRetainsTheImmutableAndCopiesTheMutable) {
  const CFOwned<CFStringRef> string(NewString(u"x"));
  const CFOwned<CFStringRef> same(CFStringCreateCopy(nullptr, string));
  EXPECT_EQ(same.get(), string.get());
  EXPECT_EQ(CFGetRetainCount(string), 2);
  const CFOwned<CFMutableStringRef> mutableString(CFStringCreateMutableCopy(nullptr, 0, string));
  const CFOwned<CFStringRef> copy(CFStringCreateCopy(nullptr, mutableString));
  CFStringAppend(mutableString, CFSTR("y"));
  EXPECT_EQ(Units(copy), u"x");
  EXPECT_EQ(Units(mutableString), u"xy");
  EXPECT_EQ(CFStringCreateCopy(nullptr, nullptr), nullptr);
}

TEST(CFStringCreate, Substring) {
  const auto part = [](CFIndex location, CFIndex length) {
    return CFStringCreateWithSubstring(nullptr, CFSTR("abcdef"), CFRangeMake(location, length));
  };
  EXPECT_EQ(TakeUnits(part(1, 3)), u"bcd");
  EXPECT_EQ(TakeUnits(part(4, 100)), u"ef");
  EXPECT_EQ(TakeUnits(part(6, 1)), u"");
  EXPECT_EQ(TakeUnits(part(0, 0)), u"");
  EXPECT_EQ(TakeUnits(part(1, 0x7FFFFFFF)), u"bcdef");
  EXPECT_EQ(part(-1, 2), nullptr);
  EXPECT_EQ(part(0, -1), nullptr);
  EXPECT_EQ(CFStringCreateWithSubstring(nullptr, nullptr, CFRangeMake(0, 1)), nullptr);
}

TEST(CFStringCreate, ExternalRepresentationBothWays) {
  const CFOwned<CFDataRef> data(
      CFStringCreateExternalRepresentation(nullptr, CFSTR("h\u00E9"), kCFStringEncodingUnicode, 0));
  EXPECT_EQ(CFDataGetLength(data), 6);
  EXPECT_EQ(
      TakeUnits(CFStringCreateFromExternalRepresentation(nullptr, data, kCFStringEncodingUnicode)),
      u"h\u00E9");
  EXPECT_EQ(
      CFStringCreateExternalRepresentation(nullptr, CFSTR("\u4E2D"), kCFStringEncodingISOLatin1, 0),
      nullptr);
  const CFOwned<CFDataRef> lossy(CFStringCreateExternalRepresentation(
      nullptr, CFSTR("\u4E2D!"), kCFStringEncodingISOLatin1, '?'));
  EXPECT_EQ(std::memcmp(CFDataGetBytePtr(lossy), "?!", 2), 0);
  EXPECT_EQ(CFStringCreateExternalRepresentation(nullptr, nullptr, 0, 0), nullptr);
  EXPECT_EQ(CFStringCreateFromExternalRepresentation(nullptr, nullptr, 0), nullptr);
}

TEST(CFStringCreate, CombinesAndSeparates) {
  const CFOwned<CFArrayRef> pieces(
      CFStringCreateArrayBySeparatingStrings(nullptr, CFSTR("a,,b,"), CFSTR(",")));
  ASSERT_EQ(CFArrayGetCount(pieces), 4);
  const auto piece = [&](CFIndex i) {
    return Units(static_cast<CFStringRef>(CFArrayGetValueAtIndex(pieces, i)));
  };
  EXPECT_EQ(piece(0), u"a");
  EXPECT_EQ(piece(1), u"");
  EXPECT_EQ(piece(2), u"b");
  EXPECT_EQ(piece(3), u"");
  EXPECT_EQ(TakeUnits(CFStringCreateByCombiningStrings(nullptr, pieces, CFSTR("--"))), u"a----b--");
  const CFOwned<CFArrayRef> one(
      CFStringCreateArrayBySeparatingStrings(nullptr, CFSTR(""), CFSTR(",")));
  EXPECT_EQ(CFArrayGetCount(one), 1);
  const CFOwned<CFArrayRef> whole(
      CFStringCreateArrayBySeparatingStrings(nullptr, CFSTR("abc"), CFSTR("")));
  EXPECT_EQ(CFArrayGetCount(whole), 1);
  EXPECT_EQ(CFStringCreateArrayBySeparatingStrings(nullptr, nullptr, CFSTR(",")), nullptr);
  EXPECT_EQ(CFStringCreateByCombiningStrings(nullptr, nullptr, CFSTR(",")), nullptr);
}

// ---- access ----

TEST(CFStringAccess, CharactersAndRanges) {
  const CFStringRef string = CFSTR("abc");
  EXPECT_EQ(CFStringGetLength(string), 3);
  EXPECT_EQ(CFStringGetCharacterAtIndex(string, 2), 'c');
  EXPECT_EQ(CFStringGetCharacterAtIndex(string, 3), 0);
  EXPECT_EQ(CFStringGetCharacterAtIndex(string, -1), 0);
  UniChar buffer[4] = {'.', '.', '.', '.'};
  CFStringGetCharacters(string, CFRangeMake(1, 100), buffer);
  EXPECT_EQ(buffer[0], 'b');
  EXPECT_EQ(buffer[1], 'c');
  EXPECT_EQ(buffer[2], '.');
  EXPECT_EQ(std::memcmp(CFStringGetCharactersPtr(string), u"abc", 6), 0);
  EXPECT_EQ(CFStringGetCharactersPtr(nullptr), nullptr);
  EXPECT_EQ(CFStringGetCStringPtr(string, kCFStringEncodingASCII), nullptr);
  EXPECT_EQ(CFStringGetPascalStringPtr(string, kCFStringEncodingASCII), nullptr);
  EXPECT_EQ(CFStringGetLength(nullptr), 0);
  EXPECT_EQ(CFStringGetLength(reinterpret_cast<CFStringRef>(kCFBooleanTrue)), 0);
}

TEST(CFStringAccess, GetCStringNeedsRoomForTheTerminator) {
  char buffer[8];
  std::memset(buffer, '.', sizeof buffer);
  EXPECT_TRUE(CFStringGetCString(CFSTR("abc"), buffer, 4, kCFStringEncodingUTF8));
  EXPECT_EQ(std::memcmp(buffer, "abc\0....", 8), 0);
  std::memset(buffer, '.', sizeof buffer);
  EXPECT_FALSE(CFStringGetCString(CFSTR("abc"), buffer, 3, kCFStringEncodingUTF8));
  EXPECT_EQ(std::memcmp(buffer, "\0.......", 8), 0) << "empty after a failure";
  EXPECT_FALSE(CFStringGetCString(CFSTR("abc"), buffer, 0, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetCString(CFSTR("abc"), buffer, -1, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetCString(CFSTR("abc"), nullptr, 8, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetCString(CFSTR("abc"), buffer, 8, 0x7777));
  EXPECT_FALSE(CFStringGetCString(nullptr, buffer, 8, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetCString(CFSTR("\u4E2D"), buffer, 8, kCFStringEncodingMacRoman));
  EXPECT_TRUE(CFStringGetCString(CFSTR(""), buffer, 1, kCFStringEncodingUTF8));
}

TEST(CFStringAccess, GetCStringInUTF16WritesUnitsAndATerminatingUnit) {
  UniChar buffer[4] = {0x2E2E, 0x2E2E, 0x2E2E, 0x2E2E};
  auto* bytes = reinterpret_cast<char*>(buffer);
  EXPECT_TRUE(CFStringGetCString(CFSTR("A\u4E2D"), bytes, 6, kCFStringEncodingUnicode));
  EXPECT_EQ(buffer[0], 'A');
  EXPECT_EQ(buffer[1], 0x4E2D);
  EXPECT_EQ(buffer[2], 0);
  EXPECT_EQ(buffer[3], 0x2E2E);
  EXPECT_FALSE(CFStringGetCString(CFSTR("A\u4E2D"), bytes, 5, kCFStringEncodingUnicode));
  EXPECT_FALSE(CFStringGetCString(CFSTR(""), bytes, 1, kCFStringEncodingUnicode));
  EXPECT_TRUE(CFStringGetCString(CFSTR(""), bytes, 2, kCFStringEncodingUnicode));
  UInt32 wide[3] = {9, 9, 9};
  EXPECT_TRUE(CFStringGetCString(CFSTR("\U0001F600"), reinterpret_cast<char*>(wide), 8,
                                 kCFStringEncodingUTF32));
  EXPECT_EQ(wide[0], 0x1F600U);
  EXPECT_EQ(wide[1], 0U);
  EXPECT_EQ(wide[2], 9U);
}

TEST(CFStringAccess, GetPascalString) {
  unsigned char buffer[300];
  std::memset(buffer, '.', sizeof buffer);
  EXPECT_TRUE(CFStringGetPascalString(CFSTR("h\u00E9"), buffer, 3, kCFStringEncodingMacRoman));
  EXPECT_EQ(std::memcmp(buffer, "\2h\x8E.", 4), 0);
  EXPECT_FALSE(CFStringGetPascalString(CFSTR("h\u00E9"), buffer, 2, kCFStringEncodingMacRoman));
  EXPECT_EQ(buffer[0], 0) << "empty after a failure";
  const CFOwned<CFStringRef> most(NewString(std::u16string(255, u'x')));
  EXPECT_TRUE(CFStringGetPascalString(most, buffer, 256, kCFStringEncodingUTF8));
  EXPECT_EQ(buffer[0], 255);
  EXPECT_EQ(buffer[256], '.');
  const CFOwned<CFStringRef> more(NewString(std::u16string(256, u'x')));
  EXPECT_FALSE(CFStringGetPascalString(more, buffer, 300, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetPascalString(CFSTR("\u4E2D"), buffer, 9, kCFStringEncodingMacRoman));
  EXPECT_FALSE(CFStringGetPascalString(CFSTR("x"), nullptr, 9, kCFStringEncodingMacRoman));
  EXPECT_FALSE(CFStringGetPascalString(CFSTR("x"), buffer, 0, kCFStringEncodingMacRoman));
}

TEST(CFStringAccess, GetBytesConvertsWhatFits) {
  UInt8 buffer[16];
  CFIndex used = -1;
  const auto get = [&](CFStringRef string, CFRange range, CFIndex limit, UInt8 loss = 0) {
    std::memset(buffer, '.', sizeof buffer);
    return CFStringGetBytes(string, range, kCFStringEncodingUTF8, loss, false, buffer, limit,
                            &used);
  };
  // The four bytes of the pair do not fit into three: it is left out as a whole.
  const CFStringRef text = CFSTR("a\u00E9\U0001F600z");
  EXPECT_EQ(get(text, CFRangeMake(0, 5), 6), 2);
  EXPECT_EQ(used, 3);
  EXPECT_EQ(buffer[3], '.');
  EXPECT_EQ(get(text, CFRangeMake(0, 5), 7), 4);
  EXPECT_EQ(used, 7);
  EXPECT_EQ(get(text, CFRangeMake(1, 1), 16), 1);
  EXPECT_EQ(used, 2);
  EXPECT_EQ(get(text, CFRangeMake(4, 100), 16), 1);
  EXPECT_EQ(get(text, CFRangeMake(-1, 3), 16), 0);
  EXPECT_EQ(used, 0);
  EXPECT_EQ(get(text, CFRangeMake(0, 5), -1), 0);
  EXPECT_EQ(get(nullptr, CFRangeMake(0, 5), 16), 0);
  // Only counting.
  EXPECT_EQ(
      CFStringGetBytes(text, CFRangeMake(0, 5), kCFStringEncodingUTF8, 0, false, nullptr, 0, &used),
      5);
  EXPECT_EQ(used, 8);
  EXPECT_EQ(CFStringGetBytes(text, CFRangeMake(0, 5), kCFStringEncodingUTF8, 0, false, nullptr, 0,
                             nullptr),
            5);
}

TEST(CFStringAccess, GetBytesInUTF16WithinAnOddLimit) {
  const CFOwned<CFStringRef> name(NewString(std::u16string(200, u'n')));
  UniChar units[255];
  CFIndex used = 0;
  EXPECT_EQ(CFStringGetBytes(name, CFRangeMake(0, 200), kCFStringEncodingUnicode, 0, false,
                             reinterpret_cast<UInt8*>(units), 255, &used),
            127);
  EXPECT_EQ(used, 254);
}

TEST(CFStringAccess, FileSystemRepresentation) {
  char buffer[16];
  EXPECT_TRUE(CFStringGetFileSystemRepresentation(CFSTR("\u00E9"), buffer, sizeof buffer));
  EXPECT_STREQ(buffer, "\xC3\xA9");
  EXPECT_EQ(CFStringGetMaximumSizeOfFileSystemRepresentation(CFSTR("ab")), 7);
  EXPECT_EQ(TakeUnits(CFStringCreateWithFileSystemRepresentation(nullptr, "\xC3\xA9")), u"\u00E9");
}

TEST(CFStringAccess, SmallestEncoding) {
  EXPECT_EQ(CFStringGetSmallestEncoding(CFSTR("plain")), CFStringEncoding{kCFStringEncodingASCII});
  EXPECT_EQ(CFStringGetSmallestEncoding(CFSTR("\u00E9")),
            CFStringEncoding{kCFStringEncodingMacRoman});
  EXPECT_EQ(CFStringGetSmallestEncoding(CFSTR("\u4E2D")),
            CFStringEncoding{kCFStringEncodingUnicode});
  EXPECT_EQ(CFStringGetFastestEncoding(CFSTR("x")), CFStringEncoding{kCFStringEncodingUnicode});
}

TEST(CFStringAccess, Numbers) {
  EXPECT_EQ(CFStringGetIntValue(CFSTR(" -42abc")), -42);
  EXPECT_EQ(CFStringGetIntValue(CFSTR("+7")), 7);
  EXPECT_EQ(CFStringGetIntValue(CFSTR("x")), 0);
  EXPECT_EQ(CFStringGetIntValue(CFSTR("")), 0);
  EXPECT_EQ(CFStringGetIntValue(CFSTR("99999999999999999999")), 0x7FFFFFFF);
  EXPECT_EQ(CFStringGetIntValue(CFSTR("-99999999999999999999")),
            std::numeric_limits<SInt32>::min());
  EXPECT_DOUBLE_EQ(CFStringGetDoubleValue(CFSTR("\t2.5e3 m")), 2500.0);
  EXPECT_DOUBLE_EQ(CFStringGetDoubleValue(CFSTR("-.5")), -0.5);
  EXPECT_DOUBLE_EQ(CFStringGetDoubleValue(CFSTR("+1.5")), 1.5);
  EXPECT_EQ(CFStringGetDoubleValue(CFSTR("+-1")), 0.0);
  EXPECT_EQ(CFStringGetDoubleValue(CFSTR("inf")), 0.0);
  EXPECT_EQ(CFStringGetDoubleValue(CFSTR("0x10")), 0.0);
  EXPECT_TRUE(std::isinf(CFStringGetDoubleValue(CFSTR("1e999"))));
  EXPECT_EQ(CFStringGetDoubleValue(CFSTR("1e-999")), 0.0);
  EXPECT_EQ(CFStringGetDoubleValue(CFSTR("")), 0.0);
}

TEST(CFStringObject, EqualityHashAndDescription) {
  const CFOwned<CFStringRef> a(NewString(u"same"));
  const CFOwned<CFStringRef> b(NewString(u"same"));
  const CFOwned<CFMutableStringRef> c(CFStringCreateMutableCopy(nullptr, 0, a));
  EXPECT_TRUE(CFEqual(a, b));
  EXPECT_TRUE(CFEqual(a, c)) << "mutable or not";
  EXPECT_EQ(CFHash(a), CFHash(b));
  EXPECT_EQ(CFHash(a), CFHash(c));
  EXPECT_FALSE(CFEqual(a, CFSTR("Same")));
  const std::u16string text = TakeUnits(CFCopyDescription(a));
  EXPECT_TRUE(text.starts_with(u"<CFString 0x"));
  EXPECT_TRUE(text.ends_with(u" [0x0]>{contents = \"same\"}"));
}

}  // namespace
