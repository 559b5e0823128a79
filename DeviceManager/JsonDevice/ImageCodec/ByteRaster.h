#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "DeviceManager/JsonDevice/ImageCodec/ValueSource.h"

/// The encodings with one byte for each value.
namespace JsonDevice::ImageCodec {

/// Writes a byte for each value of the source.
void quantise(const ValueSource& source, std::uint8_t* bytes, std::size_t workers);

/// Writes the base64 text of those bytes: base64Length(source.values()) characters.
void encodePlain(const ValueSource& source, char* text, std::size_t workers);

/// The most bytes that so long a stream can inflate to: no code of two bits stands for
/// more than 258 of them.
constexpr std::size_t mostInflated(std::size_t streamLength) {
    return streamLength * 8 / 2 * 258;
}

/// Inflates `count` bytes and turns them into values, on several threads the first
/// ones while the last ones are inflated. False when the stream does not inflate,
/// which is logged, or holds fewer bytes; what has been written then means nothing.
bool decodeDeflated(std::span<unsigned char> stream, float* values, std::size_t count, std::size_t workers);

/// Whether base64 text of that length can hold `count` bytes.
constexpr bool plainTextHolds(std::size_t textLength, std::size_t count) {
    return textLength / 4 * 3 + (textLength % 4 > 1 ? textLength % 4 - 1 : 0) >= count;
}

/// Decodes base64 text, for which plainTextHolds, into `count` values. False when a
/// character outside the alphabet comes before their end; what has been written
/// then means nothing.
bool decodePlain(std::string_view text, float* values, std::size_t count, std::size_t workers);

}  // namespace JsonDevice::ImageCodec
