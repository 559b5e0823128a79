#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Common/Base64.h"

/// The table-driven form of base64: what the vector forms are held against, and
/// what finishes the ends they leave.
namespace Base64Portable {

/// From a character to its number; 255 for what is not in the alphabet.
inline constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(255);
    for (std::uint8_t i = 0; i < 64; ++i) {
        table[static_cast<unsigned char>(base64Alphabet[i])] = i;
    }
    return table;
}();

constexpr std::uint8_t valueOf(char character) {
    return values[static_cast<unsigned char>(character)];
}

inline void encode(const unsigned char* bytes, std::size_t count, char* text) {
    for (; count >= 3; count -= 3, bytes += 3) {
        *text++ = base64Alphabet[bytes[0] >> 2];
        *text++ = base64Alphabet[(bytes[0] & 3) << 4 | bytes[1] >> 4];
        *text++ = base64Alphabet[(bytes[1] & 15) << 2 | bytes[2] >> 6];
        *text++ = base64Alphabet[bytes[2] & 63];
    }
    if (count > 0) {
        const unsigned second = count == 2 ? bytes[1] : 0;
        *text++ = base64Alphabet[bytes[0] >> 2];
        *text++ = base64Alphabet[(bytes[0] & 3U) << 4 | second >> 4];
        *text++ = count == 2 ? base64Alphabet[(second & 15) << 2] : '=';
        *text++ = '=';
    }
}

inline std::size_t decode(const char* text, std::size_t length, unsigned char* bytes, std::size_t capacity) {
    unsigned char* out = bytes;
    unsigned char* const end = bytes + capacity;
    unsigned bits = 0;
    for (std::size_t i = 0; i < length && out != end; ++i) {
        const std::uint8_t value = valueOf(text[i]);
        if (value == 255) {
            break;
        }
        bits = bits << 6 | value;
        // Each character but the first of a group of four completes a byte.
        switch (i % 4) {
            case 1:
                *out++ = static_cast<unsigned char>(bits >> 4);
                break;
            case 2:
                *out++ = static_cast<unsigned char>(bits >> 2);
                break;
            case 3:
                *out++ = static_cast<unsigned char>(bits);
                break;
            default:
                break;
        }
    }
    return static_cast<std::size_t>(out - bytes);
}

}  // namespace Base64Portable
