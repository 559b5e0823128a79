// A deflated raster gives the bytes that zlib itself inflates, or no image when
// those are not as many. The input is the deflated bytes, so that the fuzzer need
// not find its way through base64.

#include <span>
#include <vector>

#include <zlib.h>

#include "Common/Base64.h"
#include "Fuzz/FuzzedImage.h"
#include "Fuzz/LogOff.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedImage fuzzed(data, size, "ZLIB");
    const std::span stream(reinterpret_cast<const unsigned char*>(fuzzed.raster.data()),
                           fuzzed.raster.size());
    fuzzed.value["raster"] = encodeBase64(stream);
    const auto image = fuzzed.decoded();
    // Room for one more, to see what is too long.
    std::vector<unsigned char> bytes(fuzzed.pixels() + 1);
    uLongf length = bytes.size();
    const bool whole = uncompress(bytes.data(), &length, stream.data(), stream.size()) == Z_OK;
    require((image != nullptr) == (whole && length == fuzzed.pixels()));
    for (int y = 0; image && y < fuzzed.v; ++y) {
        for (int x = 0; x < fuzzed.h; ++x) {
            require(image->getCenterValue(x, y) ==
                    static_cast<float>(bytes[static_cast<std::size_t>(y * fuzzed.h + x)] / 255.0));
        }
    }
    return 0;
}
