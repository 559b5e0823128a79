#include "Common/WideText.h"

#include <iterator>

#include <utf8.h>

namespace {

constexpr char32_t replacement = 0xFFFD;

bool isSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

void appendWide(std::wstring& out, char32_t c) {
    if constexpr (sizeof(wchar_t) == 2) {
        if (c > 0xFFFF) {
            out += static_cast<wchar_t>(0xD7C0 + (c >> 10));
            out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
            return;
        }
    }
    out += static_cast<wchar_t>(c);
}

/// The code point at position i, which moves behind it.
char32_t nextCodePoint(std::wstring_view wide, std::size_t& i) {
    // Through the unsigned type of the same width: a negative wchar_t must not look like a small number.
    const auto unit = [&](std::size_t at) {
        return sizeof(wchar_t) == 2 ? static_cast<char32_t>(static_cast<char16_t>(wide[at]))
                                    : static_cast<char32_t>(wide[at]);
    };
    const char32_t first = unit(i++);
    if (sizeof(wchar_t) == 2 && first >= 0xD800 && first <= 0xDBFF && i < wide.size()) {
        const char32_t second = unit(i);
        if (second >= 0xDC00 && second <= 0xDFFF) {
            ++i;
            return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
        }
    }
    return isSurrogate(first) || first > 0x10FFFF ? replacement : first;
}

}  // namespace

std::string toUtf8(std::wstring_view wide) {
    std::string out;
    out.reserve(wide.size());
    for (std::size_t i = 0; i < wide.size();) {
        const char32_t c = nextCodePoint(wide, i);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            utf8::unchecked::append(c, std::back_inserter(out));
        }
    }
    return out;
}

std::wstring toWide(std::string_view utf8Text) {
    if (utf8::find_invalid(utf8Text.begin(), utf8Text.end()) != utf8Text.end()) {
        std::string mended;
        utf8::replace_invalid(utf8Text.begin(), utf8Text.end(), std::back_inserter(mended), replacement);
        return toWide(mended);
    }
    std::wstring out;
    out.reserve(utf8Text.size());
    for (auto at = utf8Text.begin(); at != utf8Text.end();) {
        appendWide(out, utf8::unchecked::next(at));
    }
    return out;
}
