// This file is compiled once for each instruction set; what suits the processor
// best is chosen when a function is first called.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "DeviceManager/JsonDevice/ImageCodec/VectorKernels.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, and in this order.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "Common/Base64Portable.h"
#include "Common/Base64Vectors-inl.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"

HWY_BEFORE_NAMESPACE();
namespace JsonDevice::ImageCodec::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

using Portable::decodeRuns;
using Portable::encodeRuns;
using Portable::expandBytes;
using Portable::quantiseBytes;
using Portable::scanRuns;

#else

static_assert(std::endian::native == std::endian::little, "tokens are read as 16-bit numbers");

namespace hn = hwy::HWY_NAMESPACE;
namespace b64 = Base64Vectors::HWY_NAMESPACE;

// A vector of tokens, and the same vector as characters, as floats and as integers
// (of which two make one of tokens).
using Tokens = hn::CappedTag<std::uint16_t, 32>;
using Characters = hn::Repartition<std::uint8_t, Tokens>;
using Floats = hn::Repartition<float, Tokens>;
using Integers = hn::Repartition<std::int32_t, Tokens>;
using HalfTokens = hn::Half<Tokens>;
constexpr std::size_t mostTokens = 32;

// ---- Encoding

/// 0..limit + 0.5, NaN as 0; multiplied and added in two steps of their own.
HWY_INLINE hn::Vec<Integers> quantised(Floats df, const float* values, float scale, float limit) {
    const auto sum = hn::Add(hn::Mul(hn::LoadU(df, values), hn::Set(df, scale)), hn::Set(df, 0.5F));
    const auto positive = hn::IfThenElseZero(hn::Gt(sum, hn::Zero(df)), sum);
    return hn::ConvertTo(Integers(), hn::Min(positive, hn::Set(df, limit)));
}

/// The text of as many values as there are tokens in a vector.
HWY_INLINE hn::Vec<Tokens> textOf(const float* values, float limit) {
    const Tokens d16;
    const Floats df;
    const HalfTokens half;
    const auto low = hn::DemoteTo(half, quantised(df, values, runLengthScale, limit));
    const auto high = hn::DemoteTo(half, quantised(df, values + hn::Lanes(df), runLengthScale, limit));
    const auto numbers = hn::Combine(d16, high, low);
    const auto digits =
        hn::Or(hn::ShiftRight<6>(numbers), hn::ShiftLeft<8>(hn::And(numbers, hn::Set(d16, 63))));
    return hn::BitCast(d16, b64::toCharacters(Characters(), hn::BitCast(Characters(), digits)));
}

/// Whether all values have the same bits, and so the same text, as the one before them.
HWY_INLINE bool allHaveBits(const float* values, std::size_t count, std::uint32_t bits) {
    const hn::Repartition<std::uint32_t, Floats> d32;
    const std::size_t lanes = hn::Lanes(d32);
    const auto* const words = reinterpret_cast<const std::uint32_t*>(values);
    const auto wanted = hn::Set(d32, bits);
    std::size_t i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        const auto first = hn::Or(hn::Xor(hn::LoadU(d32, words + i), wanted),
                                  hn::Xor(hn::LoadU(d32, words + i + lanes), wanted));
        const auto second = hn::Or(hn::Xor(hn::LoadU(d32, words + i + 2 * lanes), wanted),
                                   hn::Xor(hn::LoadU(d32, words + i + 3 * lanes), wanted));
        if (!hn::AllTrue(d32, hn::Eq(hn::Or(first, second), hn::Zero(d32)))) {
            return false;
        }
    }
    for (; i < count; ++i) {
        if (std::bit_cast<std::uint32_t>(values[i]) != bits) {
            return false;
        }
    }
    return true;
}

constexpr std::size_t blockValues = 256;

/// The tokens of a block, behind the last token before it, so that a block can be
/// compared with itself moved by one.
struct TokenBlock {
    HWY_ALIGN std::uint16_t memory[mostTokens + blockValues];
    std::uint16_t* tokens() { return memory + mostTokens; }
};

/// Writes what is due for the tokens of a block. `repeats` counts the repeats of
/// the token before the one at hand that have not been written.
HWY_INLINE char* writeTokens(const std::uint16_t* tokens, std::size_t count, RunState& state, char* out) {
    const Tokens d16;
    const std::size_t lanes = hn::Lanes(d16);
    std::uint64_t repeats = state.repeats;
    const auto close = [&](std::size_t at) {
        RunState run{tokens[static_cast<std::ptrdiff_t>(at) - 1], 0, repeats};
        out = closeRun(run, out);
        repeats = 0;
    };
    for (std::size_t i = 0; i < count; i += lanes) {
        const auto here = hn::Load(d16, tokens + i);
        const auto starts = hn::Ne(here, hn::LoadU(d16, tokens + i - 1));
        const std::size_t valid = std::min(lanes, count - i);
        if (valid == lanes) {
            if (hn::AllFalse(d16, starts)) {
                repeats += lanes;
                continue;
            }
            if (hn::AllTrue(d16, starts)) {
                if (repeats > 0) {
                    close(i);
                }
                hn::StoreU(here, d16, reinterpret_cast<std::uint16_t*>(out));
                out += 2 * lanes;
                continue;
            }
        }
        // Some start a run: one bit for each, and only those are visited.
        std::uint8_t bytes[8] = {};
        hn::StoreMaskBits(d16, starts, bytes);
        std::uint32_t bits = 0;
        std::memcpy(&bits, bytes, sizeof bits);
        if (valid < lanes) {
            bits &= (std::uint32_t{1} << valid) - 1;
        }
        std::size_t from = 0;
        while (bits != 0) {
            const auto start = static_cast<std::size_t>(std::countr_zero(bits));
            bits &= bits - 1;
            repeats += start - from;
            if (repeats < 64) {
                // A run token is written in any case, and kept if there is a run.
                out[0] = '/';
                out[1] = base64Alphabet[repeats];
                out += repeats > 0 ? 2 : 0;
                repeats = 0;
            } else {
                close(i + start);
            }
            std::memcpy(out, tokens + i + start, 2);
            out += 2;
            from = start + 1;
        }
        repeats += valid - from;
    }
    state.repeats = repeats;
    state.token = tokens[count - 1];
    return out;
}

char* encodeRuns(const float* values, std::size_t count, float limit, RunState& state, char* out) {
    const Tokens d16;
    const std::size_t lanes = hn::Lanes(d16);
    TokenBlock block;
    while (count > 0) {
        const std::size_t now = std::min(count, blockValues);
        if (state.token != 0 && allHaveBits(values, now, state.bits)) {
            state.repeats += now;
        } else {
            std::uint16_t* const tokens = block.tokens();
            tokens[-1] = state.token;
            std::size_t i = 0;
            for (; i + lanes <= now; i += lanes) {
                hn::Store(textOf(values + i, limit), d16, tokens + i);
            }
            if (i < now) {
                float rest[mostTokens] = {};
                std::memcpy(rest, values + i, (now - i) * sizeof(float));
                hn::Store(textOf(rest, limit), d16, tokens + i);
            }
            out = writeTokens(tokens, now, state, out);
            state.bits = std::bit_cast<std::uint32_t>(values[now - 1]);
        }
        values += now;
        count -= now;
    }
    return out;
}

void quantiseBytes(const float* values, std::size_t count, std::uint8_t* bytes) {
    const Floats df;
    const hn::Rebind<std::uint8_t, Floats> d8;
    const std::size_t lanes = hn::Lanes(df);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto value = hn::LoadU(df, values + i);
        const auto positive = hn::IfThenElseZero(hn::Gt(value, hn::Zero(df)), value);
        const auto limited = hn::Min(positive, hn::Set(df, 1.0F));
        const auto sum = hn::Add(hn::Mul(limited, hn::Set(df, 255.0F)), hn::Set(df, 0.5F));
        hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(Integers(), sum)), d8, bytes + i);
    }
    Portable::quantiseBytes(values + i, count - i, bytes + i);
}

// ---- Decoding

RunScan scanRuns(const char* text, std::size_t tokens) {
    const Tokens d16;
    const Characters d8;
    const hn::Repartition<std::uint32_t, Tokens> d32;
    const std::size_t lanes = hn::Lanes(d16);
    const auto one = hn::Set(d16, 1);
    RunScan scan{0, true};
    while (tokens >= lanes && scan.clean) {
        // As many as 16 bits can count.
        const std::size_t rounds = std::min<std::size_t>(tokens / lanes, 1024);
        auto values = hn::Zero(d16);
        auto invalid = hn::Zero(d8);
        auto empty = hn::VecFromMask(d16, hn::Ne(one, one));
        for (std::size_t round = 0; round < rounds; ++round, text += 2 * lanes) {
            const auto numbers = hn::BitCast(
                d16, b64::toNumbers(d8, hn::LoadU(d8, reinterpret_cast<const std::uint8_t*>(text)), invalid));
            const auto isRun = hn::Eq(hn::And(numbers, hn::Set(d16, 0xFF)), hn::Set(d16, 63));
            const auto holds = hn::IfThenElse(isRun, hn::ShiftRight<8>(numbers), one);
            empty = hn::Or(empty, hn::VecFromMask(d16, hn::Eq(holds, hn::Zero(d16))));
            values = hn::Add(values, holds);
        }
        tokens -= rounds * lanes;
        const auto damaged = hn::Or(hn::BitCast(d16, invalid), empty);
        scan.clean = hn::AllTrue(d16, hn::Eq(damaged, hn::Zero(d16)));
        const auto pairs = hn::BitCast(d32, values);
        const auto sums = hn::Add(hn::And(pairs, hn::Set(d32, 0xFFFF)), hn::ShiftRight<16>(pairs));
        scan.values += hn::GetLane(hn::SumOfLanes(d32, sums));
    }
    const RunScan rest = Portable::scanRuns(text, tokens);
    scan.values += rest.values;
    scan.clean = scan.clean && rest.clean;
    return scan;
}

/// Floats on their way to memory. They are collected in the first-level cache and
/// go out as whole cache lines, past the caches where that is asked for: memory
/// that is only written then need not be read first.
class FloatWriter {
public:
    FloatWriter(float* out, bool streaming)
        : line(out - misalignment(out)), filled(misalignment(out)), skipped(filled), streaming(streaming) {}

    /// Where the next `most` floats can be put; writing up to `slack` beyond them
    /// does no harm.
    HWY_INLINE float* room() {
        if (filled >= flushed) {
            flush();
        }
        return buffer + filled;
    }
    HWY_INLINE void added(std::size_t count) { filled += count; }

    void finish() {
        if (filled >= flushed) {
            flush();
        }
        std::memcpy(line + skipped, buffer + skipped, (filled - skipped) * sizeof(float));
        if (streaming) {
            hwy::FlushStream();
        }
    }

    static constexpr std::size_t most = 64;
    static constexpr std::size_t slack = 64;

private:
    static constexpr std::size_t lineFloats = 16;
    static constexpr std::size_t flushed = 1024;

    static std::size_t misalignment(const float* out) {
        return reinterpret_cast<std::uintptr_t>(out) % (lineFloats * sizeof(float)) / sizeof(float);
    }

    HWY_NOINLINE void flush() {
        const Floats df;
        std::size_t i = 0;
        if (skipped > 0) {
            std::memcpy(line + skipped, buffer + skipped, (lineFloats - skipped) * sizeof(float));
            skipped = 0;
            i = lineFloats;
        }
        if (streaming) {
            for (; i < flushed; i += hn::Lanes(df)) {
                hn::Stream(hn::Load(df, buffer + i), df, line + i);
            }
        } else {
            std::memcpy(line + i, buffer + i, (flushed - i) * sizeof(float));
        }
        line += flushed;
        filled -= flushed;
        std::memcpy(buffer, buffer + flushed, filled * sizeof(float));
    }

    HWY_ALIGN float buffer[flushed + most + slack];
    float* line;
    std::size_t filled;
    std::size_t skipped;
    bool streaming;
};

void decodeRuns(const char* text, const char* end, float* values, std::size_t count, bool streaming) {
    const Tokens d16;
    const Characters d8;
    const Floats df;
    const Integers di;
    const HalfTokens half;
    const std::size_t lanes = hn::Lanes(d16);
    const auto scale = hn::Set(df, 1 / runLengthScale);
    FloatWriter writer(values, streaming);
    float current = 0;
    bool valueDue = false;  // behind an empty run there is a value, whatever it looks like
    while (count > 0 && end - text >= 2) {
        if (static_cast<std::size_t>(end - text) >= 2 * lanes && count >= lanes && !valueDue) {
            const auto characters = hn::LoadU(d8, reinterpret_cast<const std::uint8_t*>(text));
            const auto first = hn::And(hn::BitCast(d16, characters), hn::Set(d16, 0xFF));
            if (hn::AllFalse(d16, hn::Eq(first, hn::Set(d16, '/')))) {
                auto unused = hn::Zero(d8);
                const auto digits = hn::BitCast(d16, b64::toNumbers(d8, characters, unused));
                const auto numbers =
                    hn::Or(hn::ShiftLeft<6>(hn::And(digits, hn::Set(d16, 0xFF))), hn::ShiftRight<8>(digits));
                const auto low = hn::PromoteTo(di, hn::LowerHalf(half, numbers));
                const auto high = hn::PromoteTo(di, hn::UpperHalf(half, numbers));
                float* const out = writer.room();
                hn::StoreU(hn::Mul(hn::ConvertTo(df, low), scale), df, out);
                hn::StoreU(hn::Mul(hn::ConvertTo(df, high), scale), df, out + hn::Lanes(df));
                writer.added(lanes);
                current = out[lanes - 1];
                text += 2 * lanes;
                count -= lanes;
                continue;
            }
        }
        // Runs among them: one token after another, as many as a vector holds.
        for (std::size_t i = 0; i < lanes && count > 0 && end - text >= 2; ++i, text += 2) {
            float* const out = writer.room();
            const std::size_t number = Base64Portable::valueOf(text[1]);
            if (text[0] != '/' || valueDue) {
                const int digit = Base64Portable::valueOf(text[0]);
                current = static_cast<float>(64 * digit + static_cast<int>(number)) * (1 / runLengthScale);
                *out = current;
                writer.added(1);
                --count;
                valueDue = false;
                continue;
            }
            valueDue = number == 0;
            const std::size_t repeats = std::min(number, count);
            const auto repeated = hn::Set(df, current);
            for (std::size_t done = 0; done < repeats; done += hn::Lanes(df)) {
                hn::StoreU(repeated, df, out + done);
            }
            writer.added(repeats);
            count -= repeats;
        }
    }
    writer.finish();
}

void expandBytes(const std::uint8_t* bytes, std::size_t count, float* values, bool streaming) {
    const Floats df;
    const hn::Rebind<std::uint8_t, Floats> d8;
    const std::size_t lanes = hn::Lanes(df);
    // Up to the first whole vector of memory, which streaming needs.
    const std::size_t bytesOver = reinterpret_cast<std::uintptr_t>(values) % (lanes * sizeof(float));
    const std::size_t before =
        std::min(count, bytesOver == 0 ? 0 : (lanes * sizeof(float) - bytesOver) / sizeof(float));
    Portable::expandBytes(bytes, before, values, false);
    // 1 / 255 in two parts of which the first times a byte is exact; so only the
    // sum is rounded, and it is rounded as the quotient is.
    constexpr float high = 0x1.01p-8F;
    constexpr float low = static_cast<float>(1 / 255.0 - double{high});
    std::size_t i = before;
    for (; i + lanes <= count; i += lanes) {
        const auto byte = hn::ConvertTo(df, hn::PromoteTo(Integers(), hn::LoadU(d8, bytes + i)));
        const auto value = hn::Add(hn::Mul(byte, hn::Set(df, high)), hn::Mul(byte, hn::Set(df, low)));
        if (streaming) {
            hn::Stream(value, df, values + i);
        } else {
            hn::StoreU(value, df, values + i);
        }
    }
    Portable::expandBytes(bytes + i, count - i, values + i, false);
    if (streaming) {
        hwy::FlushStream();
    }
}

#endif

}  // namespace JsonDevice::ImageCodec::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace JsonDevice::ImageCodec {

HWY_EXPORT(encodeRuns);
HWY_EXPORT(scanRuns);
HWY_EXPORT(decodeRuns);
HWY_EXPORT(quantiseBytes);
HWY_EXPORT(expandBytes);

char* encodeRuns(const float* values, std::size_t count, float limit, RunState& state, char* out) {
    return HWY_DYNAMIC_DISPATCH(encodeRuns)(values, count, limit, state, out);
}

RunScan scanRuns(const char* text, std::size_t tokens) {
    return HWY_DYNAMIC_DISPATCH(scanRuns)(text, tokens);
}

void decodeRuns(const char* text, const char* end, float* values, std::size_t count, bool streaming) {
    HWY_DYNAMIC_DISPATCH(decodeRuns)(text, end, values, count, streaming);
}

void quantiseBytes(const float* values, std::size_t count, std::uint8_t* bytes) {
    HWY_DYNAMIC_DISPATCH(quantiseBytes)(values, count, bytes);
}

void expandBytes(const std::uint8_t* bytes, std::size_t count, float* values, bool streaming) {
    HWY_DYNAMIC_DISPATCH(expandBytes)(bytes, count, values, streaming);
}

}  // namespace JsonDevice::ImageCodec

#endif
