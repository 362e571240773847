#include "platform/CoreFoundation/CFPropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "tests/support/CFOwned.h"

using test::CFOwned;
using test::String;
using test::TextOf;
using testing::HasSubstr;
using List = CFOwned<CFPropertyListRef>;

namespace {

List Read(std::string_view document) {
  CFOwned<CFStringRef> error;
  List list(CFPropertyListCreateFromBytes(document.data(), document.size(), error.out()));
  EXPECT_NE(list.get(), nullptr) << TextOf(error);
  EXPECT_EQ(error.get(), nullptr);
  return list;
}

std::string ErrorOf(std::string_view document) {
  CFOwned<CFStringRef> error;
  const List list(CFPropertyListCreateFromBytes(document.data(), document.size(), error.out()));
  EXPECT_EQ(list.get(), nullptr) << document;
  EXPECT_EQ(CFPropertyListCreateFromBytes(document.data(), document.size(), nullptr), nullptr);
  return TextOf(error);
}

std::string Plist(const std::string& value) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Vendor//DTD PLIST 1.0//EN\" \"http://example.org/p.dtd\">\n"
         "<plist version=\"1.0\">\n" +
         value + "\n</plist>\n";
}

CFTypeRef ValueOf(const List& list, CFStringRef key) {
  return CFDictionaryGetValue(static_cast<CFDictionaryRef>(list.get()), key);
}

std::string StringValue(CFTypeRef object) {
  EXPECT_EQ(CFGetTypeID(object), CFStringGetTypeID());
  return TextOf(static_cast<CFStringRef>(object));
}

SInt64 IntegerValue(CFTypeRef object) {
  EXPECT_EQ(CFGetTypeID(object), CFNumberGetTypeID());
  EXPECT_FALSE(CFNumberIsFloatType(static_cast<CFNumberRef>(object)));
  SInt64 value = 0;
  EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(object), kCFNumberSInt64Type, &value));
  return value;
}

double RealValue(CFTypeRef object) {
  EXPECT_EQ(CFGetTypeID(object), CFNumberGetTypeID());
  EXPECT_TRUE(CFNumberIsFloatType(static_cast<CFNumberRef>(object)));
  double value = 0;
  EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(object), kCFNumberFloat64Type, &value));
  return value;
}

std::string DataValue(CFTypeRef object) {
  EXPECT_EQ(CFGetTypeID(object), CFDataGetTypeID());
  const auto data = static_cast<CFDataRef>(object);
  return {reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
          static_cast<std::size_t>(CFDataGetLength(data))};
}

SInt64 Integer(const std::string& text) {
  return IntegerValue(Read(Plist("<integer>" + text + "</integer>")));
}
double Real(const std::string& text) {
  return RealValue(Read(Plist("<real>" + text + "</real>")));
}
std::string Data(const std::string& text) {
  return DataValue(Read(Plist("<data>" + text + "</data>")));
}
CFAbsoluteTime Date(const std::string& text) {
  const List list = Read(Plist("<date>" + text + "</date>"));
  EXPECT_EQ(CFGetTypeID(list), CFDateGetTypeID());
  return CFDateGetAbsoluteTime(static_cast<CFDateRef>(list.get()));
}

CFOwned<CFNumberRef> Number(SInt64 value) {
  return CFOwned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value));
}
CFOwned<CFNumberRef> Number(double value) {
  return CFOwned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberFloat64Type, &value));
}

std::string Written(CFPropertyListRef list) {
  const CFOwned<CFDataRef> data(CFPropertyListCreateXMLData(nullptr, list));
  return data.get() == nullptr ? "(null)" : DataValue(data);
}

CFOwned<CFMutableDictionaryRef> Dictionary() {
  return CFOwned<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

CFOwned<CFMutableArrayRef> Array() {
  return CFOwned<CFMutableArrayRef>(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
}

}  // namespace

TEST(CFPropertyList, ReadsADictionaryOfEveryType) {
  const List list =
      Read(Plist("<dict>\n"
                 "  <key>CFBundleIdentifier</key> <string>org.lumivane.camera</string>\n"
                 "  <key>integer</key> <integer>-7</integer>\n"
                 "  <key>real</key> <real>1.5</real>\n"
                 "  <key>yes</key> <true/>\n"
                 "  <key>no</key> <false/>\n"
                 "  <key>data</key> <data>AAEC/w==</data>\n"
                 "  <key>date</key> <date>2001-01-01T00:00:10Z</date>\n"
                 "  <key>array</key> <array><string>a</string><array/><dict/></array>\n"
                 "  <!-- a comment -->\n"
                 "</dict>"));
  ASSERT_EQ(CFGetTypeID(list), CFDictionaryGetTypeID());
  EXPECT_EQ(CFDictionaryGetCount(static_cast<CFDictionaryRef>(list.get())), 8);
  EXPECT_EQ(StringValue(ValueOf(list, CFSTR("CFBundleIdentifier"))), "org.lumivane.camera");
  EXPECT_EQ(IntegerValue(ValueOf(list, CFSTR("integer"))), -7);
  EXPECT_EQ(RealValue(ValueOf(list, CFSTR("real"))), 1.5);
  EXPECT_EQ(ValueOf(list, CFSTR("yes")), kCFBooleanTrue);
  EXPECT_EQ(ValueOf(list, CFSTR("no")), kCFBooleanFalse);
  EXPECT_EQ(DataValue(ValueOf(list, CFSTR("data"))), std::string("\0\1\2\xFF", 4));
  const auto date = static_cast<CFDateRef>(ValueOf(list, CFSTR("date")));
  EXPECT_EQ(CFDateGetAbsoluteTime(date), 10.0);
  const auto array = static_cast<CFArrayRef>(ValueOf(list, CFSTR("array")));
  ASSERT_EQ(CFArrayGetCount(array), 3);
  EXPECT_EQ(StringValue(CFArrayGetValueAtIndex(array, 0)), "a");
  EXPECT_EQ(CFGetTypeID(CFArrayGetValueAtIndex(array, 1)), CFArrayGetTypeID());
  EXPECT_EQ(CFGetTypeID(CFArrayGetValueAtIndex(array, 2)), CFDictionaryGetTypeID());
}

TEST(CFPropertyList, ReadsThroughCFData) {
  const std::string document = Plist("<string>x</string>");
  const CFOwned<CFDataRef> data(CFDataCreate(nullptr,
                                             reinterpret_cast<const UInt8*>(document.data()),
                                             static_cast<CFIndex>(document.size())));
  CFOwned<CFStringRef> error;
  const List list(
      CFPropertyListCreateFromXMLData(nullptr, data, kCFPropertyListImmutable, error.out()));
  EXPECT_EQ(StringValue(list), "x");
  EXPECT_EQ(error.get(), nullptr);
  EXPECT_EQ(CFPropertyListCreateFromXMLData(nullptr, nullptr, 0, error.out()), nullptr);
  EXPECT_EQ(TextOf(error), "empty");
}

TEST(CFPropertyList, ReadsStringsAsTheyStand) {
  const auto string = [](const std::string& content) {
    return StringValue(Read(Plist("<string>" + content + "</string>")));
  };
  EXPECT_EQ(string(""), "");
  EXPECT_EQ(string("  a\n b "), "  a\n b ");
  EXPECT_EQ(string("&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;"), "<>&\"'A😀");
  EXPECT_EQ(string("<![CDATA[<a> & b]]>"), "<a> & b");
  EXPECT_EQ(string("a<!-- not this -->b"), "ab");
  EXPECT_EQ(StringValue(Read(Plist("<string/>"))), "");
}

TEST(CFPropertyList, ReadsTheEncodingsXMLHas) {
  EXPECT_EQ(StringValue(Read("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><string>\xFC"
                             "</string></plist>")),
            "ü");
  EXPECT_EQ(StringValue(Read("\xEF\xBB\xBF<plist><string>ü</string></plist>")), "ü");
  std::string utf16 = "\xFF\xFE";
  for (const char c : std::string("<plist><string>z</string></plist>")) {
    utf16 += c;
    utf16 += '\0';
  }
  EXPECT_EQ(StringValue(Read(utf16)), "z");
  EXPECT_THAT(ErrorOf("<plist><string>\xFF</string></plist>"), HasSubstr("line 1"));
  EXPECT_THAT(ErrorOf("<?xml version=\"1.0\" encoding=\"x-none\"?><plist><true/></plist>"),
              HasSubstr("encoding"));
}

TEST(CFPropertyList, ReadsIntegers) {
  EXPECT_EQ(Integer("0"), 0);
  EXPECT_EQ(Integer(" 12\n"), 12);
  EXPECT_EQ(Integer("+12"), 12);
  EXPECT_EQ(Integer("-0"), 0);
  EXPECT_EQ(Integer("007"), 7);
  EXPECT_EQ(Integer("0x1F"), 31);
  EXPECT_EQ(Integer("0XfF"), 255);
  EXPECT_EQ(Integer("-0x10"), -16);
  EXPECT_EQ(Integer("9223372036854775807"), std::numeric_limits<SInt64>::max());
  EXPECT_EQ(Integer("-9223372036854775808"), std::numeric_limits<SInt64>::min());
  for (const char* bad :
       {"", " ", "-", "+", "+-1", "--1", "1.5", "1 2", "a", "0x", "0xG", "1e3",
        "9223372036854775808", "-9223372036854775809", "18446744073709551616", "- 1"}) {
    EXPECT_THAT(ErrorOf(Plist("<integer>" + std::string(bad) + "</integer>")),
                HasSubstr("line 4: <integer> is not an integer of 64 bits"))
        << bad;
  }
}

TEST(CFPropertyList, ReadsReals) {
  EXPECT_EQ(Real("0"), 0.0);
  EXPECT_EQ(Real(" -1.25e2 "), -125.0);
  EXPECT_EQ(Real("+.5"), 0.5);
  EXPECT_EQ(Real("1e308"), 1e308);
  EXPECT_EQ(Real("inf"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(Real("-infinity"), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(Real("nan")));
  for (const char* bad : {"", "+-1", "1,5", "0x", "1.2.3", "one"}) {
    EXPECT_THAT(ErrorOf(Plist("<real>" + std::string(bad) + "</real>")),
                HasSubstr("<real> is not a number"))
        << bad;
  }
}

TEST(CFPropertyList, ReadsData) {
  EXPECT_EQ(Data(""), "");
  EXPECT_EQ(Data("\n\t Zg = = \n"), "f");
  EXPECT_EQ(Data("Zm8="), "fo");
  EXPECT_EQ(Data("Zm9v"), "foo");
  EXPECT_EQ(Data("Zm9vYg=="), "foob");
  EXPECT_EQ(Data("+/+/"), "\xFB\xFF\xBF");
  for (const char* bad :
       {"Z", "Zg", "Zg=", "=", "====", "Z===", "Zg==Zg==", "Zg==A", "Z=g=", "Zm9*", "Zm9v-_=="}) {
    EXPECT_THAT(ErrorOf(Plist("<data>" + std::string(bad) + "</data>")), HasSubstr("not Base64"))
        << bad;
  }
}

TEST(CFPropertyList, ReadsDates) {
  EXPECT_EQ(Date("2001-01-01T00:00:00Z"), 0.0);
  EXPECT_EQ(Date("1970-01-01T00:00:00Z"), -kCFAbsoluteTimeIntervalSince1970);
  EXPECT_EQ(Date(" 2000-02-29T23:59:59Z\n"), -306.0 * 86400 - 1);
  EXPECT_EQ(Date("2001-01-02T01:01:01Z"), 86400.0 + 3661);
  for (const char* bad : {"", "2001-01-01", "2001-01-01T00:00:00", "2001-13-01T00:00:00Z",
                          "2001-02-29T00:00:00Z", "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z",
                          "2001-01-01T00:00:61Z", "2001-00-10T00:00:00Z", "01-01-01T00:00:00Z",
                          "2001-01-01 00:00:00Z", "2001-01-01T00:00:00ZZ"}) {
    EXPECT_THAT(ErrorOf(Plist("<date>" + std::string(bad) + "</date>")), HasSubstr("<date> is not"))
        << bad;
  }
}

TEST(CFPropertyList, TakesTheLastOfEqualKeys) {
  const List list =
      Read(Plist("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>"));
  EXPECT_EQ(CFDictionaryGetCount(static_cast<CFDictionaryRef>(list.get())), 1);
  EXPECT_EQ(IntegerValue(ValueOf(list, CFSTR("a"))), 2);
}

TEST(CFPropertyList, SaysWhatIsWrongAndWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "empty"},
      {"   ", "no element found"},
      {"plain text", "line 1: "},
      {"<plist>", "line 1: no element found"},
      {"<plist></plist>", "the document holds no value"},
      {"<plist/>", "the document holds no value"},
      {"<plist><true/></plist><x/>", "junk after document element"},
      {"<dict/>", "line 1: <dict> stands outside <plist>"},
      {"<plist><plist><true/></plist></plist>", "<plist> stands inside <plist>"},
      {"<plist>\n<true/>\n<false/></plist>", "line 3: <false> is a second value"},
      {"<plist><key>a</key></plist>", "<key> stands outside a dictionary"},
      {"<plist><array><key>a</key></array></plist>", "<key> stands outside a dictionary"},
      {"<plist><dict><true/></dict></plist>", "<true> has no key"},
      {"<plist><dict><key>a</key><key>b</key></dict></plist>", "<key> follows a key"},
      {"<plist><dict><key>a</key></dict></plist>", "a key without a value"},
      {"<plist><string><true/></string></plist>", "<true> stands inside a value"},
      {"<plist><true><true/></true></plist>", "<true> stands inside a value"},
      {"<plist><true>x</true></plist>", "text where none belongs"},
      {"<plist><dict>x</dict></plist>", "text where none belongs"},
      {"<plist><array>x</array></plist>", "text where none belongs"},
      {"<plist>x<true/></plist>", "text where none belongs"},
      {"<plist><set/></plist>", "unknown element <set>"},
      {"<plist><Dict/></plist>", "unknown element <Dict>"},
      {"<plist><string>a</plist>", "mismatched tag"},
      {"<plist><string>&nbsp;</string></plist>", "undefined entity"},
      {"<plist><string>\x01</string></plist>", "not well-formed"},
      {"bplist00\xD1\x01\x02", "line 1"},
      {"{ old = style; }", "line 1"},
  };
  for (const auto& [document, error] : cases) {
    EXPECT_THAT(ErrorOf(document), HasSubstr(error)) << document;
  }
  EXPECT_THAT(ErrorOf(std::string_view("<plist>\0</plist>", 16)), HasSubstr("line 1"));
}

TEST(CFPropertyList, ExpandsNoEntitiesOfTheDocument) {
  std::string laughs = "<!DOCTYPE plist [<!ENTITY a0 \"ha\">";
  for (int i = 1; i < 20; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + before + "\">";
  }
  laughs += "]><plist><string>&a19;</string></plist>";
  EXPECT_THAT(ErrorOf(laughs), HasSubstr("entity declarations are not accepted"));
  EXPECT_THAT(ErrorOf("<!DOCTYPE plist [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>"
                      "<plist><string>&x;</string></plist>"),
              HasSubstr("entity declarations are not accepted"));
  EXPECT_THAT(ErrorOf("<!DOCTYPE plist [<!ENTITY % x \"y\">%x;]><plist><true/></plist>"),
              HasSubstr("entity declarations are not accepted"));
  EXPECT_THAT(ErrorOf("<!DOCTYPE plist SYSTEM \"x.dtd\"><plist><string>&x;</string></plist>"),
              HasSubstr("unknown entity &x;"));
}

TEST(CFPropertyList, LimitsDepth) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += i % 2 ? "<dict><key>k</key>" : "<array>";
    text += "<true/>";
    for (int i = depth - 1; i >= 0; --i) text += i % 2 ? "</dict>" : "</array>";
    return Plist(text);
  };
  Read(nested(kCFPropertyListMaximumDepth));
  EXPECT_THAT(ErrorOf(nested(kCFPropertyListMaximumDepth + 1)), HasSubstr("nested too deeply"));
  std::string wide;
  for (int i = 0; i < 1000; ++i) wide += "<array></array>";
  Read(Plist("<array>" + wide + "</array>"));
}

TEST(CFPropertyList, LimitsSizeAndCount) {
  std::string values = "<array>";
  for (int i = 0; i < kCFPropertyListMaximumObjects; ++i) values += "<true/>";
  EXPECT_THAT(ErrorOf(Plist(values + "</array>")), HasSubstr("too many values"));
  const std::string large(kCFPropertyListMaximumBytes + 1, ' ');
  EXPECT_THAT(ErrorOf(large), HasSubstr("longer than 16777216 bytes"));
}

// Every prefix of a document and every document with one byte changed gives a list or a reason.
TEST(CFPropertyList, GivesAListOrAReason) {
  const std::string document = Plist(
      "<dict><key>a</key><array><integer>1</integer><data>AAEC</data>"
      "<date>2001-01-01T00:00:00Z</date><real>1</real><true/></array></dict>");
  const auto check = [](const std::string& bytes) {
    CFOwned<CFStringRef> error;
    const List list(CFPropertyListCreateFromBytes(bytes.data(), bytes.size(), error.out()));
    ASSERT_NE(list.get() == nullptr, error.get() == nullptr) << bytes;
  };
  for (std::size_t size = 0; size <= document.size(); ++size) check(document.substr(0, size));
  for (std::size_t at = 0; at < document.size(); ++at) {
    for (const char byte : {'\0', '<', '>', '&', '"', '/', ' ', 'x', '\xFF'}) {
      std::string changed = document;
      changed[at] = byte;
      check(changed);
    }
  }
}

TEST(CFPropertyList, WritesWhatItReads) {
  const std::string value =
      "<dict>\n"
      "  <key>array</key>\n"
      "  <array>\n"
      "    <integer>-5</integer>\n"
      "    <real>0.1</real>\n"
      "    <true/>\n"
      "    <false/>\n"
      "    <data>AAEC/w==</data>\n"
      "    <date>2001-01-01T00:00:10Z</date>\n"
      "  </array>\n"
      "  <key>b</key>\n"
      "  <string>&lt;a&gt; &amp;\n ü</string>\n"
      "  <key>c</key>\n"
      "  <dict>\n"
      "  </dict>\n"
      "</dict>\n";
  const std::string document =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + value +
      "</plist>\n";
  EXPECT_EQ(Written(Read(document)), document);
}

TEST(CFPropertyList, WritesKeysInOrder) {
  const auto dictionary = Dictionary();
  for (const char* key : {"b", "a", "ü", "B", "aa"}) {
    CFDictionarySetValue(dictionary, String(key), kCFBooleanTrue);
  }
  const std::string text = Written(dictionary);
  std::vector<std::size_t> places;
  for (const char* key : {"<key>B<", "<key>a<", "<key>aa<", "<key>b<", "<key>ü<"}) {
    places.push_back(text.find(key));
    ASSERT_NE(places.back(), std::string::npos) << key;
  }
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST(CFPropertyList, WritesNothingItCouldNotRead) {
  EXPECT_EQ(Written(nullptr), "(null)");
  EXPECT_EQ(Written(Number(std::numeric_limits<double>::infinity())), "(null)");
  EXPECT_EQ(Written(Number(std::nan(""))), "(null)");
  for (const char* text : {"\x01", "a\x1F", "\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
    EXPECT_EQ(Written(String(text)), "(null)") << text;
  }
  const UniChar lone = 0xD800;
  EXPECT_EQ(Written(CFOwned<CFStringRef>(CFStringCreateWithCharacters(nullptr, &lone, 1))),
            "(null)");
  const CFOwned<CFURLRef> url = test::FileURL("/a");
  EXPECT_EQ(Written(url), "(null)") << "another type";
  const auto array = Array();
  CFArrayAppendValue(array, url);
  EXPECT_EQ(Written(array), "(null)") << "even deep inside";
  const auto dictionary = Dictionary();
  CFDictionarySetValue(dictionary, Number(SInt64{1}), kCFBooleanTrue);
  EXPECT_EQ(Written(dictionary), "(null)") << "a key that is no string";
  for (const double far : {1e12, -1e12, std::nan("")}) {
    EXPECT_EQ(Written(CFOwned<CFDateRef>(CFDateCreate(nullptr, far))), "(null)") << far;
  }
  const auto itself = Array();
  CFArrayAppendValue(itself, itself.get());
  EXPECT_EQ(Written(itself), "(null)") << "a circle";
  CFArrayRemoveAllValues(itself);
}

RC_GTEST_PROP(CFPropertyList, BringsEveryStringBack, ()) {
  std::string text;
  for (const int c : *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 0x300))) {
    if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') continue;
    if (c < 0x80) {
      text += static_cast<char>(c);
    } else {
      text += static_cast<char>(0xC0 | c >> 6);
      text += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  RC_ASSERT(StringValue(Read(Written(String(text)))) == text);
}

RC_GTEST_PROP(CFPropertyList, BringsEveryByteBack, (const std::vector<unsigned char>& bytes)) {
  const CFOwned<CFDataRef> data(
      CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size())));
  const std::string read = DataValue(Read(Written(data)));
  RC_ASSERT(std::vector<unsigned char>(read.begin(), read.end()) == bytes);
}

RC_GTEST_PROP(CFPropertyList, BringsEveryNumberBack, (SInt64 integer, double real)) {
  RC_ASSERT(IntegerValue(Read(Written(Number(integer)))) == integer);
  if (std::isfinite(real)) RC_ASSERT(RealValue(Read(Written(Number(real)))) == real);
}

RC_GTEST_PROP(CFPropertyList, BringsEveryDateBack, ()) {
  // Whole seconds from the year 0 to the year 9999.
  const auto seconds = *rc::gen::inRange<SInt64>(-62167219200, 253402300800);
  const double time = static_cast<double>(seconds) - kCFAbsoluteTimeIntervalSince1970;
  const CFOwned<CFDateRef> date(CFDateCreate(nullptr, time));
  const List list = Read(Written(date));
  RC_ASSERT(CFDateGetAbsoluteTime(static_cast<CFDateRef>(list.get())) == time);
}
