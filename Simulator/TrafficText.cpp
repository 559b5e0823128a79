#include "Simulator/TrafficText.h"

namespace JsonDevice {

std::string trafficText(std::string_view text) {
    constexpr std::size_t shown = 400;
    constexpr const char* digits = "0123456789abcdef";
    // Not in the middle of a character of several bytes.
    std::size_t end = text.size();
    if (end > shown) {
        end = shown;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
            --end;
        }
    }
    std::string line;
    for (const char c : text.substr(0, end)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\r') {
            line += "\\r";
        } else if (c == '\t') {
            line += "\\t";
        } else if (byte < 0x20 || byte == 0x7F) {
            line += "\\x";
            line += digits[byte >> 4];
            line += digits[byte & 0xF];
        } else {
            line += c;
        }
    }
    if (end < text.size()) {
        line += "... (" + std::to_string(text.size()) + " bytes)";
    }
    return line;
}

}  // namespace JsonDevice
