#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Common/WideText.h"

namespace {

TEST(WideText, ConvertsBothWaysOutsideAscii) {
    const std::wstring wide = L"Gr\u00fc\u00dfe \u6295\u5f71 \U0001F4FD";
    const std::string utf8 =
        "Gr\xC3\xBC\xC3\x9F"
        "e \xE6\x8A\x95\xE5\xBD\xB1 \xF0\x9F\x93\xBD";
    EXPECT_EQ(toUtf8(wide), utf8);
    EXPECT_EQ(toWide(utf8), wide);
}

TEST(WideText, KeepsNulCharacters) {
    EXPECT_EQ(toUtf8(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(toWide(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(WideText, ReplacesMalformedUtf8) {
    EXPECT_EQ(toWide("a\xFFz"), L"a\uFFFDz");
    EXPECT_EQ(toWide("\xC3"), L"\uFFFD");             // cut off
    EXPECT_EQ(toWide("\xE6\x8A"), L"\uFFFD");         // cut off
    EXPECT_EQ(toWide("\x80z"), L"\uFFFDz");           // no lead byte
    EXPECT_EQ(toWide("\xED\xA0\x80z").back(), L'z');  // a surrogate
    EXPECT_EQ(toWide("\xED\xA0\x80z").front(), L'\uFFFD');
    EXPECT_EQ(toWide("\xC0\xAF").front(), L'\uFFFD');  // overlong
}

TEST(WideText, ReplacesMalformedWideText) {
    EXPECT_EQ(toUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
    if constexpr (sizeof(wchar_t) == 4) {
        EXPECT_EQ(toUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
        EXPECT_EQ(toUtf8(std::wstring(1, static_cast<wchar_t>(-1))), "\xEF\xBF\xBD");
    }
}

RC_GTEST_PROP(WideText, AnyBytesAreReadAndWrittenBackAsValidText, (const std::string& bytes)) {
    const std::wstring wide = toWide(bytes);
    RC_ASSERT(toWide(toUtf8(wide)) == wide);
}

}  // namespace
