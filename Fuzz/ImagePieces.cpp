// Two threads read a raster that is long enough to be cut into pieces as one thread
// does, and write the image as it does. The input: a byte for the encoding, two for
// the number of values, and what the raster repeats.
//
// To be quick with so much memory, the target keeps it, and leaves going through it
// to the C library, where no step is traced.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include <zlib.h>

#include "Common/Base64.h"
#include "DeviceManager/JsonDevice/ImageCodec/ByteRaster.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/RunLength.h"
#include "Fuzz/Fuzz.h"
#include "Fuzz/LogOff.h"
#include "Platform/Devices/GrayscaleImage.h"

namespace {

using namespace JsonDevice::ImageCodec;
using Part = std::span<const std::uint8_t>;

// Less by any number of two bytes, these are still several pieces for each codec.
constexpr std::size_t mostValues = 200000;
constexpr std::size_t mostCharacters = runLengthCapacity(mostValues);

/// The end of a buffer, for the sanitizer to see what is used beyond.
template <class Value>
std::span<Value> room(std::vector<Value>& buffer, std::size_t count) {
    return std::span(buffer).last(count);
}

/// The part, which is not empty, again and again.
std::span<unsigned char> repeated(Part part, std::size_t length) {
    static std::vector<unsigned char> buffer(mostCharacters);
    const std::span<unsigned char> whole = room(buffer, length);
    std::size_t done = std::min(part.size(), length);
    std::memcpy(whole.data(), part.data(), done);
    while (done < length) {
        const std::size_t more = std::min(done, length - done);
        std::memcpy(whole.data() + done, whole.data(), more);
        done += more;
    }
    return whole;
}

std::string_view textOf(std::span<const unsigned char> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The values that decode(values, workers) gives, or none when it refuses.
template <class Decode>
std::span<const float> decoded(std::size_t count, Decode decode) {
    static std::vector<float> expectedBuffer(mostValues);
    static std::vector<float> buffer(mostValues);
    const std::span<float> expected = room(expectedBuffer, count);
    const std::span<float> values = room(buffer, count);
    // What is not written differs.
    std::memset(expected.data(), 0, expected.size_bytes());
    std::memset(values.data(), 0xFF, values.size_bytes());
    const bool complete = decode(expected.data(), std::size_t{1});
    require(decode(values.data(), std::size_t{2}) == complete);
    require(!complete || std::memcmp(values.data(), expected.data(), values.size_bytes()) == 0);
    return complete ? values : std::span<float>();
}

class View : public GrayscaleImage {
public:
    explicit View(std::span<const float> values) : values(values) {}
    int getHSize() const override { return static_cast<int>(values.size()); }
    int getVSize() const override { return 1; }
    float getCenterValue(int x, int) const override { return values[static_cast<std::size_t>(x)]; }
    const float* getCenterValues(int x, int, int, float*) const override { return &values.data()[x]; }

private:
    std::span<const float> values;
};

/// What encode(source, text, workers) writes, which is up to `capacity` characters; it
/// returns their number.
template <class Encode>
std::string_view encoded(std::span<const float> values, std::size_t capacity, Encode encode) {
    static std::vector<char> expectedBuffer(mostCharacters);
    static std::vector<char> buffer(mostCharacters);
    const View image(values);
    const ImageValues<GrayscaleImage, 1> source(image);
    const std::span<char> expected = room(expectedBuffer, capacity);
    const std::span<char> text = room(buffer, capacity);
    std::memset(expected.data(), 0, capacity);
    std::memset(text.data(), 1, capacity);
    const std::size_t length = encode(source, expected.data(), std::size_t{1});
    require(encode(source, text.data(), std::size_t{2}) == length);
    require(std::memcmp(text.data(), expected.data(), length) == 0);
    return {text.data(), length};
}

void compareRunLength(Part part, std::size_t count) {
    const std::string_view text = textOf(repeated(part, runLengthCapacity(count)));
    const auto values = decoded(count, [&](float* to, std::size_t workers) {
        const auto plan = planRunLength(text, count, workers > 1);
        if (plan) {
            decodeRunLength(*plan, to, workers);
        }
        return plan.has_value();
    });
    if (!values.empty()) {
        encoded(values, runLengthCapacity(count), [](const auto& source, char* to, std::size_t workers) {
            return encodeRunLength(source, grayscaleLimit, to, workers);
        });
    }
}

void comparePlain(Part part, std::size_t count) {
    const std::size_t length = base64Length(count);
    const std::string_view text = textOf(repeated(part, length));
    const auto values =
        decoded(count, [&](float* to, std::size_t workers) { return decodePlain(text, to, count, workers); });
    if (values.empty()) {
        return;
    }
    const auto again = encoded(values, length, [&](const auto& source, char* to, std::size_t workers) {
        encodePlain(source, to, workers);
        return length;
    });
    // Whatever bits the text had behind its last byte, these are 0.
    std::vector<unsigned char> bytes = decodeBase64(text);
    bytes.resize(count);
    require(again == encodeBase64(bytes));
}

void compareDeflated(Part part, std::size_t count) {
    const std::span<unsigned char> bytes = repeated(part, count);
    static std::vector<unsigned char> buffer(compressBound(mostValues));
    uLongf length = buffer.size();
    require(compress2(buffer.data(), &length, bytes.data(), count, Z_BEST_SPEED) == Z_OK);
    std::memmove(buffer.data() + buffer.size() - length, buffer.data(), length);
    const std::span<unsigned char> stream = room(buffer, length);
    const auto decode = [&](float* to, std::size_t workers) {
        return decodeDeflated(stream, to, count, workers);
    };
    const auto values = decoded(count, decode);
    require(values.size() == count);
    for (std::size_t i = 0; i < part.size(); ++i) {
        require(values[i] == static_cast<float>(part[i] / 255.0));
    }
    const auto others = values.subspan(part.size());
    require(std::memcmp(values.data(), others.data(), others.size_bytes()) == 0);
    // The same with one byte damaged, anywhere.
    stream[stream.size() * part.back() / 256] ^= part.front();
    decoded(count, decode);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4) {
        return 0;
    }
    constexpr void (*compare[])(Part, std::size_t) = {compareRunLength, comparePlain, compareDeflated};
    const std::size_t count = mostValues - (data[1] * std::size_t{256} + data[2]);
    // The part is shorter than the whole.
    const Part part(data + 3, std::min<std::size_t>(size - 3, 10000));
    compare[data[0] % 3](part, count);
    return 0;
}
