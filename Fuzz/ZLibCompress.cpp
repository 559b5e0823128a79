// What deflates inflates to the same, nothing that inflates goes beyond its buffer,
// and in steps it inflates as it does at once.

#include "Common/ZLibCompress.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Fuzz/Fuzz.h"
#include "Fuzz/LogOff.h"

namespace {

using Bytes = std::vector<unsigned char>;
constexpr unsigned long untouched = 4711;

struct Inflated {
    ZLibCompress::ZLibError error;
    unsigned long length = untouched;
    /// Exactly as large as said, for the sanitizer to see a write beyond.
    Bytes bytes;
};

Inflated inflateAtOnce(Bytes& stream, std::size_t room) {
    Inflated result{ZLibCompress::NoError, untouched, Bytes(room)};
    result.error =
        ZLibCompress::zLibInflate(stream.data(), stream.size(), result.bytes.data(), room, result.length);
    require(result.error == ZLibCompress::NoError ? result.length <= room : result.length == untouched);
    return result;
}

void compareSteps(Bytes& stream, const Inflated& atOnce, unsigned long step) {
    Bytes bytes(atOnce.bytes.size());
    unsigned long length = untouched;
    unsigned long there = 0;
    bool last = false;
    const auto arrived = [&](unsigned long n) {
        // A whole step each time but the last.
        require(!last && n >= there && n <= there + step);
        last = n < there + step;
        there = n;
    };
    const auto error = ZLibCompress::zLibInflateInSteps(stream.data(), stream.size(), bytes.data(),
                                                        bytes.size(), length, step, arrived);
    require(error == atOnce.error && length == atOnce.length);
    require(error != ZLibCompress::NoError || there == length);
    require(
        std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(there), atOnce.bytes.begin()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes in(data, data + size);
    // Short steps from one byte on, and such as the whole takes a few of.
    const unsigned long steps[] = {1 + (size > 0 ? data[0] : 0UL),
                                   1 + size * (size > 1 ? data[1] : 0UL) / 256};
    Bytes stream(size);
    unsigned long length = 0;
    if (ZLibCompress::zLibDeflate(in.data(), in.size(), stream.data(), stream.size(), length) ==
        ZLibCompress::NoError) {
        require(length <= stream.size());
        stream.resize(length);
        const Inflated back = inflateAtOnce(stream, size);
        require(back.error == ZLibCompress::NoError && back.length == size && back.bytes == in);
        const Inflated part = inflateAtOnce(stream, size - 1);
        require(part.error == ZLibCompress::BufferTooSmall);
        for (const unsigned long step : steps) {
            compareSteps(stream, back, step);
            compareSteps(stream, part, step);
        }
    }
    for (const std::size_t room : {std::size_t{0}, size, std::size_t{5000}}) {
        const Inflated any = inflateAtOnce(in, room);
        for (const unsigned long step : steps) {
            compareSteps(in, any, step);
        }
    }
    return 0;
}
