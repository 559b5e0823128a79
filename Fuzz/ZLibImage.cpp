// A deflated raster gives an image in whole, or none. The input is the deflated
// bytes, so that the fuzzer need not find its way through base64.

#include <cmath>

#include "Common/Base64.h"
#include "Fuzz/FuzzedImage.h"
#include "Fuzz/LogOff.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedImage fuzzed(data, size, "ZLIB");
    fuzzed.value["raster"] = encodeBase64(
        std::span(reinterpret_cast<const unsigned char*>(fuzzed.raster.data()), fuzzed.raster.size()));
    const auto image = fuzzed.decoded();
    for (int y = 0; image && y < fuzzed.v; ++y) {
        for (int x = 0; x < fuzzed.h; ++x) {
            const float byte = image->getCenterValue(x, y) * 255;
            require(byte >= 0 && byte <= 255 && std::abs(byte - std::round(byte)) < 0.001F);
        }
    }
    return 0;
}
