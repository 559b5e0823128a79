#include "DeviceManager/JsonDevice/ImageCodec/ByteRaster.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <span>

#include "Common/Base64.h"
#include "Common/ZLibCompress.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"

namespace JsonDevice::ImageCodec {

namespace {

// A multiple of 3, so that base64 text can be cut there; a piece keeps a thread
// busy for some ten microseconds.
constexpr std::size_t pieceValues = 48 * 1024;
// Bytes between two steps of a piece, which stay in the first-level cache.
constexpr std::size_t stepBytes = 6 * 1024;

/// Calls use(begin, end) for pieces of `count` things, on several threads.
template <class Use>
void forEachRange(std::size_t count, std::size_t size, std::size_t workers, Use use) {
    forEachPiece((count + size - 1) / size, workers,
                 [&](std::size_t piece) { use(piece * size, std::min(count, (piece + 1) * size)); });
}

}  // namespace

void quantise(const ValueSource& source, std::uint8_t* bytes, std::size_t workers) {
    const std::size_t channels = source.valuesPerPixel();
    forEachRange(source.pixels(), pieceValues / channels, workers, [&](std::size_t begin, std::size_t end) {
        std::uint8_t* out = bytes + begin * channels;
        source.forEachBlock(begin, end, [&](const float* values, std::size_t count) {
            quantiseBytes(values, count, out);
            out += count;
        });
    });
}

void encodePlain(const ValueSource& source, char* text, std::size_t workers) {
    const std::size_t channels = source.valuesPerPixel();
    forEachRange(source.pixels(), pieceValues / channels, workers, [&](std::size_t begin, std::size_t end) {
        std::array<std::uint8_t, stepBytes> bytes;
        std::size_t held = 0;
        char* out = text + begin * channels / 3 * 4;
        source.forEachBlock(begin, end, [&](const float* values, std::size_t count) {
            while (count > 0) {
                const std::size_t part = std::min(count, stepBytes - held);
                quantiseBytes(values, part, bytes.data() + held);
                held += part;
                values += part;
                count -= part;
                if (held == stepBytes) {
                    encodeBase64(bytes, out);
                    out += base64Length(stepBytes);
                    held = 0;
                }
            }
        });
        encodeBase64(std::span(bytes).first(held), out);
    });
}

bool decodeDeflated(std::span<unsigned char> stream, float* values, std::size_t count, std::size_t workers) {
    // Not initialised, so that the system gives memory only as it is inflated into.
    const std::unique_ptr<unsigned char[]> bytes(new unsigned char[count]);
    // One thread takes what is still in a cache. To wake another is worth a large
    // piece, and what is left at the end should be small: half of the rest at a time.
    const std::size_t step = workers <= 1 ? pieceValues : std::max(pieceValues, count / 8);
    unsigned long length = 0;
    ZLibCompress::ZLibError error = ZLibCompress::NoError;
    alongside(workers, [&](const HandOver& handOver) {
        std::size_t begin = 0;
        const auto arrived = [&](unsigned long end) {
            const auto work = [from = bytes.get() + begin, size = end - begin, to = values + begin] {
                expandBytes(from, size, to);
            };
            if (workers <= 1 || end == count) {
                work();
            } else if (end - begin >= (count - begin) / 2) {
                handOver(work);
            } else {
                return;
            }
            begin = end;
        };
        error = ZLibCompress::zLibInflateInSteps(stream.data(), stream.size(), bytes.get(), count, length,
                                                 step, arrived);
    });
    return error == ZLibCompress::NoError && length == count;
}

bool decodePlain(std::string_view text, float* values, std::size_t count, std::size_t workers) {
    std::atomic<bool> complete{true};
    forEachRange(count, pieceValues, workers, [&](std::size_t begin, std::size_t end) {
        std::array<std::uint8_t, stepBytes> bytes;
        for (; begin < end && complete; begin += stepBytes) {
            const std::size_t wanted = std::min(stepBytes, end - begin);
            const std::string_view rest = text.substr(begin / 3 * 4);
            if (decodeBase64(rest, std::span(bytes).first(wanted)) < wanted) {
                complete = false;
                return;
            }
            expandBytes(bytes.data(), wanted, values + begin);
        }
    });
    return complete;
}

}  // namespace JsonDevice::ImageCodec
