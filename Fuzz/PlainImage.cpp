// An uncompressed raster gives the bytes that the table-driven base64 decoder
// finds, or is refused when those are too few.

#include <vector>

#include "Common/Base64Portable.h"
#include "Fuzz/FuzzedImage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzedImage fuzzed(data, size, "none");
    const auto image = fuzzed.decoded();
    std::vector<unsigned char> bytes(fuzzed.pixels());
    const std::size_t length =
        Base64Portable::decode(fuzzed.raster.data(), fuzzed.raster.size(), bytes.data(), bytes.size());
    require((image != nullptr) == (length == fuzzed.pixels()));
    for (int y = 0; image && y < fuzzed.v; ++y) {
        for (int x = 0; x < fuzzed.h; ++x) {
            require(image->getCenterValue(x, y) ==
                    static_cast<float>(bytes[static_cast<std::size_t>(y * fuzzed.h + x)] / 255.0));
        }
    }
    return 0;
}
