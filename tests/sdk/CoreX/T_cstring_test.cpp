#include "sdk/CoreX/T_cstring.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <type_traits>
#include <vector>

#include "tests/support/LogCapture.h"

namespace {

using Holder = T_cstring<UniChar>;
static_assert(!std::is_copy_constructible_v<Holder>);

TEST(TCString, AllocatesRoomForATerminator) {
  for (const SInt32 length : {0, 1, 255}) {
    UniChar* buffer = Holder::alloc_string_length(length);
    ASSERT_NE(buffer, nullptr);
    for (SInt32 i = 0; i <= length; ++i) buffer[i] = 'x';
    std::free(buffer);
  }
  EXPECT_EQ(Holder::alloc_string_length(-1), nullptr);
}

TEST(TCString, SaysForNoLengthWhetherThereIsABuffer) {
  Holder holder;
  EXPECT_FALSE(holder.set_length(0));
  EXPECT_TRUE(holder.set_length(4));
  holder.m_cstring[0] = 'x';
  EXPECT_TRUE(holder.set_length(0));
  EXPECT_EQ(holder.m_cstring[0], 'x');
}

TEST(TCString, MakesANewBufferForALength) {
  Holder holder;
  ASSERT_TRUE(holder.set_length(4));
  EXPECT_EQ(holder.m_cstring[0], 0);
  UniChar* const first = holder.m_cstring;
  first[0] = 'x';
  ASSERT_TRUE(holder.set_length(4));
  EXPECT_NE(holder.m_cstring, first);
  EXPECT_EQ(holder.m_cstring[0], 0);
  // The old one is still the text's that may have been handed out.
  EXPECT_EQ(first[0], 'x');
  std::free(first);
}

TEST(TCString, LogsThatThereIsNoBuffer) {
  const test::LogCapture log;
  Holder holder;
  EXPECT_FALSE(holder.set_length(-2));
  EXPECT_EQ(holder.m_cstring, nullptr);
  EXPECT_THAT(log.Lines(), testing::ElementsAre(test::VerifyLine(
                               "m_cstring!=__null", "sdk/CoreX/T_CFString", 55, "set_length")));
}

TEST(TCString, IsClearedTwice) {
  Holder holder;
  ASSERT_TRUE(holder.set_length(4));
  holder.clear();
  holder.clear();
  EXPECT_EQ(holder.m_cstring, nullptr);
}

TEST(UnicodeString, CutsAndExtendsEveryUnit) {
  const CoreUnicode::string_t<wchar_t, UniChar> narrow(L"a\U00012345\uFFFF");
  EXPECT_EQ(std::vector<UniChar>(narrow.c_str(), narrow.c_str() + 4),
            (std::vector<UniChar>{'a', 0x2345, 0xFFFF, 0}));
  const UniChar text[] = {'a', 0xFFFF, 0xD800, 0};
  const CoreUnicode::string_t<UniChar, wchar_t> wide(text);
  EXPECT_EQ(std::vector<wchar_t>(wide.c_str(), wide.c_str() + 4),
            (std::vector<wchar_t>{'a', 0xFFFF, 0xD800, 0}));
}

TEST(UnicodeString, IsReplacedByAssignment) {
  CoreUnicode::string_t<wchar_t, UniChar> text;
  EXPECT_EQ(text.c_str(), nullptr);
  text.assign(L"ab");
  EXPECT_EQ(text.c_str()[1], 'b');
  text.assign(L"");
  EXPECT_EQ(text.c_str()[0], 0);
  text.assign(nullptr);
  EXPECT_EQ(text.c_str(), nullptr);
}

}  // namespace
