// A run-length raster is read as the decoder is defined, or refused.

#include <vector>

#include "Common/Base64Portable.h"
#include "Fuzz/FuzzedImage.h"

namespace {

/// The levels of the pixels; fewer where the text ends or has another character.
std::vector<int> defined(std::string_view text, std::size_t count) {
    std::vector<int> levels;
    std::size_t at = 0;
    int pending = 0;
    int current = 0;
    const auto number = [&](std::size_t position) {
        return position < text.size() ? Base64Portable::valueOf(text[position]) : 255;
    };
    while (levels.size() < count) {
        if (pending == 0 && number(at) == 63) {
            pending = number(at + 1);
            at += 2;
        }
        if (pending == 255) {
            break;
        }
        if (pending > 0) {
            --pending;
        } else {
            if (number(at) == 255 || number(at + 1) == 255) {
                break;
            }
            current = number(at) * 64 + number(at + 1);
            at += 2;
        }
        levels.push_back(current);
    }
    return levels;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzedImage fuzzed(data, size, "RLE");
    const auto image = fuzzed.decoded();
    const std::vector<int> levels = defined(fuzzed.raster, fuzzed.pixels());
    require((image != nullptr) == (levels.size() == fuzzed.pixels()));
    for (int y = 0; image && y < fuzzed.v; ++y) {
        for (int x = 0; x < fuzzed.h; ++x) {
            require(image->getCenterValue(x, y) ==
                    static_cast<float>(levels[static_cast<std::size_t>(y * fuzzed.h + x)]) * 0.00048828125F);
        }
    }
    return 0;
}
