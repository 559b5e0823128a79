#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "DeviceManager/JsonDevice/JsonText.h"

namespace JsonDevice::JsonText {

namespace {

/// Whether a byte stands for itself in a JSON string.
constexpr bool isPlain(unsigned char c) {
    return c >= 0x20 && c < 0x80 && c != '"' && c != '\\';
}

/// The length of the longest prefix of plain bytes. Texts of megabytes (images)
/// are plain throughout, so whole blocks are tested without a branch per byte;
/// the compiler turns the inner loop into vector code.
std::size_t plainPrefix(const char* text, std::size_t length) {
    constexpr std::size_t block = 64;
    std::size_t at = 0;
    for (; at + block <= length; at += block) {
        unsigned char special = 0;
        for (std::size_t i = 0; i < block; ++i) {
            const auto c = static_cast<unsigned char>(text[at + i]);
            special |= static_cast<unsigned char>((c < 0x20) | (c >= 0x80) | (c == '"') | (c == '\\'));
        }
        if (special != 0) {
            break;
        }
    }
    while (at < length && isPlain(static_cast<unsigned char>(text[at]))) {
        ++at;
    }
    return at;
}

void appendUnit(std::string& text, unsigned int unit) {
    constexpr const char* digits = "0123456789abcdef";
    const char escape[] = {'\\',
                           'u',
                           digits[unit >> 12 & 0xF],
                           digits[unit >> 8 & 0xF],
                           digits[unit >> 4 & 0xF],
                           digits[unit & 0xF]};
    text.append(escape, sizeof escape);
}

/// The code point at position `at`, which moves to its last byte. It trusts the
/// lead byte for the length and does not look whether the bytes that follow
/// are continuation bytes: what is written for malformed text is part of the
/// format, so it has to be malformed in exactly this way.
unsigned int codePoint(std::string_view string, std::size_t& at) {
    constexpr unsigned int replacement = 0xFFFD;
    const unsigned int lead = static_cast<unsigned char>(string[at]);
    const auto tail = [&](std::size_t i) { return static_cast<unsigned char>(string[at + i]) & 0x3FU; };
    const std::size_t left = string.size() - at;
    if (lead < 0x80) {
        return lead;
    }
    if (lead < 0xE0) {
        if (left < 2) {
            return replacement;
        }
        const unsigned int c = (lead & 0x1F) << 6 | tail(1);
        at += 1;
        return c < 0x80 ? replacement : c;
    }
    if (lead < 0xF0) {
        if (left < 3) {
            return replacement;
        }
        const unsigned int c = (lead & 0x0F) << 12 | tail(1) << 6 | tail(2);
        at += 2;
        return c < 0x800 || (c >= 0xD800 && c <= 0xDFFF) ? replacement : c;
    }
    if (lead < 0xF8) {
        if (left < 4) {
            return replacement;
        }
        const unsigned int c = (lead & 0x07) << 18 | tail(1) << 12 | tail(2) << 6 | tail(3);
        at += 3;
        return c < 0x10000 ? replacement : c;
    }
    return replacement;
}

void appendEscaped(std::string& text, std::string_view string, std::size_t& at) {
    switch (string[at]) {
        case '"':
            text += "\\\"";
            return;
        case '\\':
            text += "\\\\";
            return;
        case '\b':
            text += "\\b";
            return;
        case '\f':
            text += "\\f";
            return;
        case '\n':
            text += "\\n";
            return;
        case '\r':
            text += "\\r";
            return;
        case '\t':
            text += "\\t";
            return;
        default:
            break;
    }
    const unsigned int c = codePoint(string, at);
    if (c >= 0x10000) {
        appendUnit(text, 0xD800 + ((c - 0x10000) >> 10 & 0x3FF));
        appendUnit(text, 0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
        appendUnit(text, c);
    }
}

template <class Integer>
void appendInteger(std::string& text, Integer value) {
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void appendReal(std::string& text, double value) {
    if (!std::isfinite(value)) {
        text += std::isnan(value) ? "null" : value < 0 ? "-1e+9999" : "1e+9999";
        return;
    }
    char digits[40];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general,
                                   std::numeric_limits<double>::max_digits10)
                         .ptr;
    const std::string_view written(digits, static_cast<std::size_t>(end - digits));
    text += written;
    // A whole number must still read as a real.
    if (written.find_first_of(".e") == std::string_view::npos) {
        text += ".0";
    }
}

}  // namespace

void appendString(std::string& text, std::string_view string) {
    text += '"';
    for (std::size_t at = 0; at < string.size();) {
        const std::size_t plain = plainPrefix(string.data() + at, string.size() - at);
        text.append(string, at, plain);
        at += plain;
        if (at < string.size()) {
            appendEscaped(text, string, at);
            ++at;
        }
    }
    text += '"';
}

void append(std::string& text, const Json::Value& value) {
    switch (value.type()) {
        case Json::nullValue:
            text += "null";
            break;
        case Json::intValue:
            appendInteger(text, value.asLargestInt());
            break;
        case Json::uintValue:
            appendInteger(text, value.asLargestUInt());
            break;
        case Json::realValue:
            appendReal(text, value.asDouble());
            break;
        case Json::booleanValue:
            text += value.asBool() ? "true" : "false";
            break;
        case Json::stringValue: {
            const char* begin = nullptr;
            const char* end = nullptr;
            if (value.getString(&begin, &end)) {
                appendString(text, {begin, static_cast<std::size_t>(end - begin)});
            }
            break;
        }
        case Json::arrayValue: {
            text += '[';
            // Elements that were never set have a place and no entry.
            Json::ArrayIndex next = 0;
            const auto separate = [&] {
                if (next++ > 0) {
                    text += ',';
                }
            };
            for (auto element = value.begin(); element != value.end(); ++element) {
                while (next < element.index()) {
                    separate();
                    text += "null";
                }
                separate();
                append(text, *element);
            }
            text += ']';
            break;
        }
        case Json::objectValue: {
            text += '{';
            bool first = true;
            for (auto member = value.begin(); member != value.end(); ++member) {
                if (!first) {
                    text += ',';
                }
                first = false;
                const char* end = nullptr;
                const char* const key = member.memberName(&end);
                appendString(text, {key, static_cast<std::size_t>(end - key)});
                text += ':';
                append(text, *member);
            }
            text += '}';
            break;
        }
    }
}

std::string write(const Json::Value& value) {
    std::string text;
    append(text, value);
    text += '\n';
    return text;
}

}  // namespace JsonDevice::JsonText
