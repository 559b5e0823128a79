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
#include <type_traits>

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
using SignedTokens = hn::Repartition<std::int16_t, Tokens>;
using HalfTokens = hn::Half<Tokens>;
constexpr std::size_t mostTokens = 32;

/// Asks for the memory that a loop which has come to `at`, and does `bytes` a round,
/// will use a little later. While a loop does more than read or write, the processor
/// by itself does not run far enough ahead.
HWY_INLINE void fetchAhead(const void* at, std::size_t bytes) {
    constexpr std::size_t ahead = 4096;
    constexpr std::size_t line = 64;
    for (std::size_t i = 0; i < bytes; i += line) {
        hwy::Prefetch(static_cast<const char*>(at) + ahead + i);  // does no harm beyond the end
    }
}

// ---- Encoding

/// Truncates. What is NaN or below 0 gives something below 1; nothing is as large
/// as 2^31. Highway's own conversion takes care of larger values too, and longer.
HWY_INLINE hn::Vec<Integers> truncated(hn::Vec<Floats> value) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
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
#if HWY_ARCH_X86
    return hn::Min(limit, value);  // which is so in this order only
#else
    return hn::IfThenElse(hn::Gt(value, limit), limit, value);
#endif
}

/// Two vectors of integers as one, in order. What is below 0 stays so.
HWY_INLINE hn::Vec<SignedTokens> joined(hn::Vec<Integers> low, hn::Vec<Integers> high) {
#if HWY_ARCH_X86
    // Packing goes block by block of 128 bits, and so mixes the two.
    const auto mixed = hn::ReorderDemote2To(SignedTokens(), low, high);
#if HWY_TARGET <= HWY_AVX3
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

/// The numbers of as many values as there are tokens in a vector.
HWY_INLINE hn::Vec<Tokens> numbersOf(const float* values, float limit) {
    const Floats df;
    const auto quantised = [&](const float* from) {
        const auto sum =
            hn::Add(hn::Mul(hn::LoadU(df, from), hn::Set(df, runLengthScale)), hn::Set(df, 0.5F));
        return truncated(limited(sum, hn::Set(df, limit)));
    };
    const auto levels = joined(quantised(values), quantised(values + hn::Lanes(df)));
    return hn::BitCast(Tokens(), hn::Max(levels, hn::Zero(SignedTokens())));
}

/// The two characters of each number.
template <class D16>
HWY_INLINE hn::Vec<D16> textOf(D16 d16, hn::Vec<D16> numbers) {
    const hn::Repartition<std::uint8_t, D16> d8;
    const auto digits =
        hn::OrAnd(hn::ShiftRight<6>(numbers), hn::ShiftLeft<8>(numbers), hn::Set(d16, 0x3F00));
    return hn::BitCast(d16, b64::toCharacters(d8, hn::BitCast(d8, digits)));
}

/// One bit for each lane.
template <class D16>
HWY_INLINE std::uint32_t bitsOf(D16 d16, hn::Mask<D16> mask) {
    // As long as what is stored: a longer load would wait for the store.
    using Bits =
        std::conditional_t<hn::MaxLanes(D16()) <= 8, std::uint8_t,
                           std::conditional_t<hn::MaxLanes(D16()) <= 16, std::uint16_t, std::uint32_t>>;
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(d16, mask, bytes);
    Bits bits = 0;
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
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

/// The numbers of a block, behind the last one before it, so that a block can be
/// compared with itself moved by one.
struct NumberBlock {
    HWY_ALIGN std::uint16_t memory[mostTokens + blockValues];
    std::uint16_t* numbers() { return memory + mostTokens; }
};

/// Eight tokens: what a shuffle of bytes can close the ranks of.
using Group = hn::FixedTag<std::uint16_t, 8>;
constexpr std::size_t groupSize = 8;

/// For each choice of tokens of a group, the shuffle of bytes that moves them to its
/// front. (Highway's own copies its table at each use with some compilers.)
struct CloseRanks {
    constexpr CloseRanks() {
        for (std::size_t choice = 0; choice < 256; ++choice) {
            std::uint8_t* shuffle = shuffles[choice];
            for (std::uint8_t lane = 0; lane < groupSize; ++lane) {
                if ((choice >> lane & 1) != 0) {
                    *shuffle++ = 2 * lane;
                    *shuffle++ = 2 * lane + 1;
                }
            }
        }
    }
    HWY_ALIGN std::uint8_t shuffles[256][2 * groupSize] = {};
};
constexpr CloseRanks closeRanks;

/// Writes what is due for a group in which some values start a run, without a
/// branch for any of them. A value that starts a run gives its token, one that ends
/// a longer run gives the run's, others give none. A run that reaches the group's
/// end stays open. `starts` has a bit for each value that differs from the one
/// before it; `repeats` counts the repeats that are due when the group begins, and
/// afterwards those due when it ends.
HWY_INLINE char* writeGroup(const std::uint16_t* numbers, std::uint32_t starts, std::uint64_t& repeats,
                            char* out) {
    if (starts == 0) {
        repeats += groupSize;
        return out;
    }
    std::size_t kept = starts | starts >> 1;
    if (repeats > 64 - groupSize) {
        // Perhaps too many for one token.
        const int first = std::countr_zero(starts);
        RunState run{numbers[-1], 0, repeats + static_cast<std::uint64_t>(first)};
        out = closeRun(run, out);
        kept = kept >> first << first;
        repeats = 0;
    }
    // The token of a run that ended with the group before: written, and kept if there is one.
    out[0] = '/';
    out[1] = base64Alphabet[repeats];
    out += (starts & 1) != 0 && repeats > 0 ? 2 : 0;

    const Group d16;
    const hn::RebindToSigned<Group> i16;
    // Positions count from the number of repeats that is never reached, so that the
    // place where the run at hand started is positive, even before the group.
    HWY_ALIGN static constexpr std::int16_t positions[groupSize] = {64, 65, 66, 67, 68, 69, 70, 71};
    HWY_ALIGN static constexpr std::int16_t laneBits[groupSize] = {1, 2, 4, 8, 16, 32, 64, 128};
    const auto position = hn::Load(i16, positions);
    const auto bit = hn::Load(i16, laneBits);
    const auto isStart = hn::Eq(hn::And(hn::Set(i16, static_cast<std::int16_t>(starts)), bit), bit);
    const auto before = hn::Set(i16, static_cast<std::int16_t>(63 - repeats));
    auto start = hn::IfThenElse(isStart, position, before);
    start = hn::Max(start, hn::ShiftLeftLanes<1>(i16, start));
    start = hn::Max(start, hn::ShiftLeftLanes<2>(i16, start));
    start = hn::Max(start, hn::ShiftLeftLanes<4>(i16, start));
    // A run's token reads as the number that would follow the largest value's digits.
    const auto run = hn::Add(hn::Sub(position, start), hn::Set(i16, 63 * 64));
    const auto number = hn::BitCast(i16, hn::LoadU(d16, numbers));
    const auto tokens = hn::BitCast(d16, hn::IfThenElse(isStart, number, run));
    const auto shuffle = hn::Load(hn::Repartition<std::uint8_t, Group>(), closeRanks.shuffles[kept]);
    hn::StoreU(textOf(d16, hn::TableLookupBytes(tokens, hn::BitCast(d16, shuffle))), d16,
               reinterpret_cast<std::uint16_t*>(out));
    repeats = groupSize - static_cast<std::uint64_t>(std::bit_width(starts));
    return out + 2 * std::popcount(kept);
}

/// Writes what is due for the numbers of a block.
HWY_INLINE char* writeTokens(const std::uint16_t* numbers, std::size_t count, RunState& state, char* out) {
    const Tokens d16;
    const std::size_t lanes = hn::Lanes(d16);
    std::uint64_t repeats = state.repeats;
    const auto close = [&](const std::uint16_t* at) {
        RunState run{at[-1], 0, repeats};
        out = closeRun(run, out);
        repeats = 0;
    };
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto here = hn::Load(d16, numbers + i);
        const auto starts = hn::Ne(here, hn::LoadU(d16, numbers + i - 1));
        if (hn::AllFalse(d16, starts)) {
            repeats += lanes;
        } else if (hn::AllTrue(d16, starts)) {
            if (repeats > 0) {
                close(numbers + i);
            }
            hn::StoreU(textOf(d16, here), d16, reinterpret_cast<std::uint16_t*>(out));
            out += 2 * lanes;
        } else {
            const std::uint32_t bits = bitsOf(d16, starts);
            for (std::size_t group = 0; group < lanes; group += groupSize) {
                out = writeGroup(numbers + i + group, bits >> group & 0xFF, repeats, out);
            }
        }
    }
    for (; i < count; ++i) {
        if (numbers[i] == numbers[static_cast<std::ptrdiff_t>(i) - 1]) {
            ++repeats;
        } else {
            close(numbers + i);
            out = insertRLEValue(out, numbers[i]);
        }
    }
    state.repeats = repeats;
    state.number = numbers[count - 1];
    return out;
}

char* encodeRuns(const float* values, std::size_t count, float limit, RunState& state, char* out) {
    const Tokens d16;
    const std::size_t lanes = hn::Lanes(d16);
    NumberBlock block;
    while (count > 0) {
        const std::size_t now = std::min(count, blockValues);
        if (state.number >= 0 && allHaveBits(values, now, state.bits)) {
            state.repeats += now;
        } else {
            std::uint16_t* const numbers = block.numbers();
            numbers[-1] = static_cast<std::uint16_t>(state.number);
            std::size_t i = 0;
            for (; i + lanes <= now; i += lanes) {
                fetchAhead(values + i, lanes * sizeof(float));
                hn::Store(numbersOf(values + i, limit), d16, numbers + i);
            }
            if (i < now) {
                float rest[mostTokens] = {};
                std::memcpy(rest, values + i, (now - i) * sizeof(float));
                hn::Store(numbersOf(rest, limit), d16, numbers + i);
            }
            out = writeTokens(numbers, now, state, out);
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
        fetchAhead(values + i, 2 * lanes * sizeof(float));
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
            fetchAhead(text, 2 * lanes);
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

/// Writes `count` copies, and up to four vectors more behind them: as runs are either
/// short or as long as they can be, the number of rounds is easy to foresee.
HWY_INLINE void repeat(float value, std::size_t count, float* out) {
    const Floats df;
    const std::size_t lanes = hn::Lanes(df);
    const auto values = hn::Set(df, value);
    hn::StoreU(values, df, out);
    for (std::size_t i = lanes; i < count; i += 4 * lanes) {
        hn::StoreU(values, df, out + i);
        hn::StoreU(values, df, out + i + lanes);
        hn::StoreU(values, df, out + i + 2 * lanes);
        hn::StoreU(values, df, out + i + 3 * lanes);
    }
}

/// Copies as many floats as a vector has tokens.
HWY_INLINE void copyVector(const float* from, float* out) {
    const Floats df;
    const std::size_t lanes = hn::Lanes(df);
    const auto low = hn::LoadU(df, from);
    const auto high = hn::LoadU(df, from + lanes);
    hn::StoreU(low, df, out);
    hn::StoreU(high, df, out + lanes);
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
    // step may write: the values of a vector, and a run with four half vectors behind it.
    constexpr std::ptrdiff_t step = mostTokens + 64 + 2 * mostTokens;
    float level[2 * mostTokens];
    const float* fetched = out;
    while (last - out > step && end - text >= static_cast<std::ptrdiff_t>(2 * lanes)) {
        fetchAhead(text, 2 * lanes);
        for (; fetched < out; fetched += 16) {
            fetchAhead(fetched, 64);
        }
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
        std::uint32_t runs = bitsOf(d16, isRun);
        std::size_t from = 0;
        while (runs != 0 && last - out > step) {
            const auto run = static_cast<std::size_t>(std::countr_zero(runs));
            runs &= runs - 1;
            // The values before the run; the last of them is written with its repeats.
            const float value = run > from ? level[run - 1] : out[-1];
            copyVector(level + from, out);
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
        copyVector(level + from, out);
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
