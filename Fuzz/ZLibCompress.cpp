// What deflates inflates to the same, and nothing that inflates goes beyond its buffer.

#include "Common/ZLibCompress.h"

#include <cstdint>
#include <vector>

#include "Fuzz/Fuzz.h"
#include "Fuzz/LogOff.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<unsigned char> in(data, data + size);
    // Exactly as large as said, for the sanitizer to see a write beyond.
    std::vector<unsigned char> stream(size);
    unsigned long length = 0;
    if (ZLibCompress::zLibDeflate(in.data(), in.size(), stream.data(), stream.size(), length) ==
        ZLibCompress::NoError) {
        require(length <= stream.size());
        std::vector<unsigned char> back(size);
        unsigned long backLength = 0;
        require(ZLibCompress::zLibInflate(stream.data(), length, back.data(), back.size(), backLength) ==
                ZLibCompress::NoError);
        require(backLength == size && back == in);
    }
    for (const std::size_t room : {std::size_t{0}, size, std::size_t{5000}}) {
        std::vector<unsigned char> out(room);
        unsigned long outLength = 4711;
        const auto error = ZLibCompress::zLibInflate(in.data(), in.size(), out.data(), out.size(), outLength);
        require(error == ZLibCompress::NoError ? outLength <= room : outLength == 4711);
    }
    return 0;
}
