// What is encoded decodes, and any text decodes as the table-driven form decodes it.

#include "Common/Base64.h"

#include <algorithm>
#include <cstdint>

#include "Common/Base64Portable.h"
#include "Fuzz/Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span bytes(data, size);
    const std::string text = encodeBase64(bytes);
    const std::vector<unsigned char> back = decodeBase64(text);
    require(std::equal(back.begin(), back.end(), bytes.begin(), bytes.end()));

    const std::string_view any(reinterpret_cast<const char*>(data), size);
    std::vector<unsigned char> expected(size + 3);
    expected.resize(Base64Portable::decode(any.data(), any.size(), expected.data(), expected.size()));
    require(decodeBase64(any) == expected);
    // And into too little room.
    std::vector<unsigned char> part(expected.size() / 2);
    require(decodeBase64(any, part) == part.size());
    require(std::equal(part.begin(), part.end(), expected.begin()));
    return 0;
}
