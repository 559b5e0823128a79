#include "Simulator/TrafficText.h"

#include "Common/WideText.h"

namespace JsonDevice {

std::string trafficText(std::string_view text) {
    constexpr std::size_t shown = 400;
    constexpr const wchar_t* digits = L"0123456789abcdef";
    // Not in the middle of a character of several bytes.
    std::size_t end = text.size();
    if (end > shown) {
        end = shown;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
            --end;
        }
    }
    // By characters, since a terminal obeys control characters beyond ASCII, too.
    std::wstring line;
    for (const wchar_t c : toWide(text.substr(0, end))) {
        if (c == L'\n') {
            line += L"\\n";
        } else if (c == L'\r') {
            line += L"\\r";
        } else if (c == L'\t') {
            line += L"\\t";
        } else if (c < 0x20 || (c >= 0x7F && c <= 0x9F)) {
            line += L"\\x";
            line += digits[c >> 4];
            line += digits[c & 0xF];
        } else {
            line += c;
        }
    }
    if (end < text.size()) {
        line += L"... (" + std::to_wstring(text.size()) + L" bytes)";
    }
    return toUtf8(line);
}

}  // namespace JsonDevice
