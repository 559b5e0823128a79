#include <bit>
#include <cassert>

#include "Common/Base64Portable.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"

namespace JsonDevice::ImageCodec {

namespace {

/// Truncates a value limited to 0..limit; NaN is 0.
int truncated(float value, float limit) {
    return value > 0.0F ? static_cast<int>(value < limit ? value : limit) : 0;
}

int numberOf(char character) {
    return Base64Portable::valueOf(character);
}

}  // namespace

char* insertRLECount(char* out, int count) {
    *out++ = '/';
    *out++ = base64Alphabet[count];
    return out;
}

char* insertRLEValue(char* out, int value) {
    value = value < 0 ? 0 : (value > 4031 ? 4031 : value);
    *out++ = base64Alphabet[value / 64];
    *out++ = base64Alphabet[value % 64];
    return out;
}

char* closeRun(RunState& state, char* out) {
    // A run token repeats 63 times at most; the value is then written again.
    for (; state.repeats >= 64; state.repeats -= 64) {
        out = insertRLEValue(insertRLECount(out, 63), state.number);
    }
    if (state.repeats > 0) {
        out = insertRLECount(out, static_cast<int>(state.repeats));
        state.repeats = 0;
    }
    return out;
}

namespace Portable {

char* encodeRuns(const float* values, std::size_t count, float limit, RunState& state, char* out) {
    for (std::size_t i = 0; i < count; ++i) {
        // Below 0 and above the limit the sum is too, so that limiting it afterwards
        // equals limiting the value.
        const int number = truncated(values[i] * runLengthScale + 0.5F, limit);
        if (number == state.number && state.repeats < 63) {
            ++state.repeats;
        } else {
            if (state.repeats > 0) {
                out = insertRLECount(out, static_cast<int>(state.repeats));
            }
            state.repeats = 0;
            state.number = number;
            out = insertRLEValue(out, number);
        }
        state.bits = std::bit_cast<std::uint32_t>(values[i]);
    }
    return out;
}

RunScan scanRuns(const char* text, std::size_t tokens) {
    RunScan scan{0, true};
    for (std::size_t i = 0; i < tokens; ++i) {
        const int first = numberOf(text[2 * i]);
        const int second = numberOf(text[2 * i + 1]);
        const bool run = text[2 * i] == '/';
        if (first == 255 || second == 255 || (run && second == 0)) {
            return {};
        }
        scan.values += run ? static_cast<std::size_t>(second) : 1;
    }
    return scan;
}

void decodeRuns(const char* text, const char* end, float* values, std::size_t count) {
    int pending = 0;
    int current = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (pending == 0 && text != end && *text == '/') {
            assert(end - text >= 2);
            pending = numberOf(text[1]);
            text += 2;
        }
        if (pending > 0) {
            --pending;
        } else {
            assert(end - text >= 2);
            current = numberOf(text[0]) * 64 + numberOf(text[1]);
            text += 2;
        }
        values[i] = static_cast<float>(current) * 0.00048828125F;
    }
}

void quantiseBytes(const float* values, std::size_t count, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < count; ++i) {
        const float limited = values[i] > 0.0F ? (values[i] < 1.0F ? values[i] : 1.0F) : 0.0F;
        bytes[i] = static_cast<std::uint8_t>(limited * 255.0F + 0.5F);
    }
}

void expandBytes(const std::uint8_t* bytes, std::size_t count, float* values) {
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = static_cast<float>(bytes[i] / 255.0);
    }
}

}  // namespace Portable

}  // namespace JsonDevice::ImageCodec
