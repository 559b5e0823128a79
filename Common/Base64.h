#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Export.h"

/// Base64 with the standard alphabet and "=" padding, without line breaks.

/// Character i stands for the number i.
inline constexpr char base64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The length of the text for so many bytes.
constexpr std::size_t base64Length(std::size_t bytes) {
    return bytes / 3 * 4 + (bytes % 3 == 0 ? 0 : 4);
}

/// Writes base64Length(bytes.size()) characters, no NUL behind them.
JSONDEVICE_EXPORT void encodeBase64(std::span<const unsigned char> bytes, char* text);
JSONDEVICE_EXPORT std::string encodeBase64(std::span<const unsigned char> bytes);

/// Decodes until the text ends, "=" or another character outside the alphabet
/// comes, or `bytes` is full, and returns how many bytes it wrote. A group cut
/// short gives the bytes it has in full.
JSONDEVICE_EXPORT std::size_t decodeBase64(std::string_view text, std::span<unsigned char> bytes);
JSONDEVICE_EXPORT std::vector<unsigned char> decodeBase64(std::string_view text);
