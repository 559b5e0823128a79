#pragma once

#include <cstdint>

/// A picture in the caller's memory, borrowed for the length of a call.
///
/// `format` has two parts. Its low four bits name the channels: 1 is red, green
/// and blue, 2 the same with alpha, 3 grey, 4 grey with alpha. The rest of the
/// word is 0 for 8 bits per channel and 16 for 16 bits, of which the high byte
/// comes first in memory, as in a PNG file.
struct image_t {
    std::uint32_t format = 0;
    /// In pixels.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// The rows, top row first, one after another without padding.
    const unsigned char* data = nullptr;
};
