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
using SignedTokens = hn::Repartition<std::int16_t, Tokens>;
using HalfTokens = hn::Half<Tokens>;
constexpr std::size_t mostTokens = 32;

// ---- Encoding

/// Truncates. What is NaN or below 0 gives something below 1; nothing is as large
/// as 2^31. Highway's own conversion takes care of larger values too, and longer.
HWY_INLINE hn::Vec<Integers> truncated(hn::Vec<Floats> value) {
#if HWY_TARGET == HWY_AVX3
    return {_mm512_cvttps_epi32(value.raw)};
#elif HWY_TARGET == HWY_AVX2
    return {_mm256_cvttps_epi32(value.raw)};
#elif HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3
    return {_mm_cvttps_epi32(value.raw)};
#else
    const Floats df;
    return hn::ConvertTo(Integers(), hn::IfThenElseZero(hn::Gt(value, hn::Zero(df)), value));
#endif
}

/// The smaller of the two; NaN when the value is.
HWY_INLINE hn::Vec<Floats> limited(hn::Vec<Floats> value, hn::Vec<Floats> limit) {
    return hn::Min(limit, value);  // in this order, on x86
}

/// Two vectors of integers as one, in order. What is below 0 stays so.
HWY_INLINE hn::Vec<SignedTokens> joined(hn::Vec<Integers> low, hn::Vec<Integers> high) {
#if HWY_ARCH_X86
    // Packing goes block by block of 128 bits, and so mixes the two.
    const auto mixed = hn::ReorderDemote2To(SignedTokens(), low, high);
#if HWY_TARGET == HWY_AVX3
    HWY_ALIGN static constexpr std::int32_t order[16] = {0, 1, 4, 5, 8,  9,  12, 13,
                                                         2, 3, 6, 7, 10, 11, 14, 15};
#elif HWY_TARGET == HWY_AVX2
    HWY_ALIGN static constexpr std::int32_t order[8] = {0, 1, 4, 5, 2, 3, 6, 7};
#else
    return mixed;
#endif
#if HWY_TARGET <= HWY_AVX2
    const Integers di;
    const auto words = hn::TableLookupLanes(hn::BitCast(di, mixed), hn::SetTableIndices(di, order));
    return hn::BitCast(SignedTokens(), words);
#endif
#else
    const hn::Half<SignedTokens> half;
    return hn::Combine(SignedTokens(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
#endif
}

/// The text of as many values as there are tokens in a vector.
HWY_INLINE hn::Vec<Tokens> textOf(const float* values, float limit) {
    const Tokens d16;
    const Characters d8;
    const Floats df;
    const auto quantised = [&](const float* from) {
        const auto sum =
            hn::Add(hn::Mul(hn::LoadU(df, from), hn::Set(df, runLengthScale)), hn::Set(df, 0.5F));
        return truncated(limited(sum, hn::Set(df, limit)));
    };
    const auto levels = joined(quantised(values), quantised(values + hn::Lanes(df)));
    const auto numbers = hn::BitCast(d16, hn::Max(levels, hn::Zero(SignedTokens())));
    const auto digits =
        hn::OrAnd(hn::ShiftRight<6>(numbers), hn::ShiftLeft<8>(numbers), hn::Set(d16, 0x3F00));
    return hn::BitCast(d16, b64::toCharacters(d8, hn::BitCast(d8, digits)));
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
    const hn::Rebind<std::uint8_t, Tokens> d8;
    const auto quantised = [&](const float* from) {
        const auto value = limited(hn::LoadU(df, from), hn::Set(df, 1.0F));
        return truncated(hn::Add(hn::Mul(value, hn::Set(df, 255.0F)), hn::Set(df, 0.5F)));
    };
    const std::size_t lanes = hn::Lanes(df);
    std::size_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        // What is below 0 becomes 0 here.
        const auto numbers = joined(quantised(values + i), quantised(values + i + lanes));
        hn::StoreU(hn::DemoteTo(d8, numbers), d8, bytes + i);
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
        scan.clean = !b64::anyInvalid(d8, invalid) && hn::AllTrue(d16, hn::Eq(empty, hn::Zero(d16)));
        const auto pairs = hn::BitCast(d32, values);
        const auto sums = hn::Add(hn::And(pairs, hn::Set(d32, 0xFFFF)), hn::ShiftRight<16>(pairs));
        scan.values += hn::GetLane(hn::SumOfLanes(d32, sums));
    }
    const RunScan rest = Portable::scanRuns(text, tokens);
    scan.values += rest.values;
    scan.clean = scan.clean && rest.clean;
    return scan;
}

/// Writes `count` copies, and up to a vector more behind them.
HWY_INLINE void repeat(float value, std::size_t count, float* out) {
    const Floats df;
    const auto values = hn::Set(df, value);
    for (std::size_t i = 0; i < count; i += hn::Lanes(df)) {
        hn::StoreU(values, df, out + i);
    }
}

/// The same for copies of `count` values at `from`.
HWY_INLINE void copy(const float* from, std::size_t count, float* out) {
    const Floats df;
    for (std::size_t i = 0; i < count; i += hn::Lanes(df)) {
        hn::StoreU(hn::LoadU(df, from + i), df, out + i);
    }
}

void decodeRuns(const char* text, const char* end, float* values, std::size_t count) {
    const Tokens d16;
    const Characters d8;
    const Floats df;
    const Integers di;
    const HalfTokens half;
    const std::size_t lanes = hn::Lanes(d16);
    const auto scale = hn::Set(df, 1 / runLengthScale);
    float* out = values;
    float* const last = values + count;
    // Vectors of tokens, as long as the text has them and there is room for what one
    // step may write: the values of a vector, a run, and a vector more behind each.
    constexpr std::ptrdiff_t step = mostTokens + 64 + 2 * mostTokens;
    float level[2 * mostTokens];
    while (last - out > step && end - text >= static_cast<std::ptrdiff_t>(2 * lanes)) {
        const auto characters = hn::LoadU(d8, reinterpret_cast<const std::uint8_t*>(text));
        auto unused = hn::Zero(d8);
        const auto digits = hn::BitCast(d16, b64::toNumbers(d8, characters, unused));
        const auto first = hn::And(digits, hn::Set(d16, 0xFF));
        const auto second = hn::ShiftRight<8>(digits);
        const auto numbers = hn::Or(hn::ShiftLeft<6>(first), second);
        const auto low = hn::Mul(hn::ConvertTo(df, hn::PromoteTo(di, hn::LowerHalf(half, numbers))), scale);
        const auto high = hn::Mul(hn::ConvertTo(df, hn::PromoteTo(di, hn::UpperHalf(half, numbers))), scale);
        const auto isRun = hn::Eq(first, hn::Set(d16, 63));
        if (hn::AllFalse(d16, isRun)) {
            hn::StoreU(low, df, out);
            hn::StoreU(high, df, out + hn::Lanes(df));
            out += lanes;
            text += 2 * lanes;
            continue;
        }
        // A run before any value, or an empty one, is not for here.
        const auto isEmpty = hn::And(isRun, hn::Eq(second, hn::Zero(d16)));
        if ((out == values && *text == '/') || !hn::AllFalse(d16, isEmpty)) {
            break;
        }
        hn::StoreU(low, df, level);
        hn::StoreU(high, df, level + hn::Lanes(df));
        std::uint8_t bytes[8] = {};
        hn::StoreMaskBits(d16, isRun, bytes);
        std::uint32_t runs = 0;
        std::memcpy(&runs, bytes, sizeof runs);
        std::size_t from = 0;
        while (runs != 0 && last - out > step) {
            const auto run = static_cast<std::size_t>(std::countr_zero(runs));
            runs &= runs - 1;
            // The values before the run; the last of them is written with its repeats.
            const float value = run > from ? level[run - 1] : out[-1];
            if (run > from + 1) {
                copy(level + from, run - from - 1, out);
            }
            out += run - from;
            const std::size_t repeats = Base64Portable::valueOf(text[2 * run + 1]);
            repeat(value, repeats + 1, out - 1);
            out += repeats;
            from = run + 1;
        }
        text += 2 * from;
        if (runs != 0 || last - out <= step) {
            break;
        }
        copy(level + from, lanes - from, out);
        out += lanes - from;
        text += 2 * (lanes - from);
    }
    // Whatever is left, with the value that a run at its beginning repeats.
    const float current = out == values ? 0.0F : out[-1];
    for (; out != last && end - text >= 2 && *text == '/' && text[1] != 'A'; text += 2) {
        const std::size_t repeats = std::min(static_cast<std::size_t>(Base64Portable::valueOf(text[1])),
                                             static_cast<std::size_t>(last - out));
        out = std::fill_n(out, repeats, current);
    }
    Portable::decodeRuns(text, end, out, static_cast<std::size_t>(last - out));
}

void expandBytes(const std::uint8_t* bytes, std::size_t count, float* values) {
    const Floats df;
    const hn::Rebind<std::uint8_t, Floats> d8;
    // 1 / 255 in two parts of which the first times a byte is exact; so only the
    // sum is rounded, and it is rounded as the quotient is.
    constexpr float high = 0x1.01p-8F;
    constexpr float low = static_cast<float>(1 / 255.0 - double{high});
    const std::size_t lanes = hn::Lanes(df);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto byte = hn::ConvertTo(df, hn::PromoteTo(Integers(), hn::LoadU(d8, bytes + i)));
        hn::StoreU(hn::Add(hn::Mul(byte, hn::Set(df, high)), hn::Mul(byte, hn::Set(df, low))), df,
                   values + i);
    }
    Portable::expandBytes(bytes + i, count - i, values + i);
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

void decodeRuns(const char* text, const char* end, float* values, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(decodeRuns)(text, end, values, count);
}

void quantiseBytes(const float* values, std::size_t count, std::uint8_t* bytes) {
    HWY_DYNAMIC_DISPATCH(quantiseBytes)(values, count, bytes);
}

void expandBytes(const std::uint8_t* bytes, std::size_t count, float* values) {
    HWY_DYNAMIC_DISPATCH(expandBytes)(bytes, count, values);
}

}  // namespace JsonDevice::ImageCodec

#endif
