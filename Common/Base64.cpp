// This file is compiled once for each instruction set; what suits the processor
// best is chosen when a function is first called.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Common/Base64.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, and in this order.
#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

#include "Common/Base64.h"
#include "Common/Base64Portable.h"
#include "Common/Base64Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Base64Kernels::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

// Without vectors there is nothing better than the tables.
using Base64Portable::decode;
using Base64Portable::encode;

#else

namespace hn = hwy::HWY_NAMESPACE;

// At most 64 characters at a time, in blocks of 16 for 12 bytes.
using Bytes = hn::CappedTag<std::uint8_t, 64>;

void encode(const unsigned char* bytes, std::size_t count, char* text) {
    const Bytes d8;
    const hn::Repartition<std::uint16_t, Bytes> d16;
    const hn::Repartition<std::uint32_t, Bytes> d32;
    const std::size_t lanes = hn::Lanes(d8);
    const std::size_t step = lanes / 4 * 3;
    // Words 0 to 2 to the first block, 3 to 5 to the second, and so on.
    HWY_ALIGN static constexpr std::int32_t spread[16] = {0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11};
    // Of each three bytes a, b, c: b a c b, which puts every six bits into one half.
    HWY_ALIGN static constexpr std::uint8_t order[16] = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};
    const auto spreadWords = hn::SetTableIndices(d32, spread);
    const auto orderBytes = hn::LoadDup128(d8, order);
    // A full vector is loaded, of which the last quarter is not used yet.
    while (count >= lanes) {
        const auto words = hn::TableLookupLanes(hn::BitCast(d32, hn::LoadU(d8, bytes)), spreadWords);
        const auto groups = hn::BitCast(d32, hn::TableLookupBytes(hn::BitCast(d8, words), orderBytes));
        // A multiplication by a power of two shifts each half by an amount of its own.
        const auto firstAndThird = hn::MulHigh(hn::BitCast(d16, hn::And(groups, hn::Set(d32, 0x0FC0FC00))),
                                               hn::BitCast(d16, hn::Set(d32, 0x04000040)));
        const auto secondAndFourth = hn::Mul(hn::BitCast(d16, hn::And(groups, hn::Set(d32, 0x003F03F0))),
                                             hn::BitCast(d16, hn::Set(d32, 0x01000010)));
        const auto numbers = hn::BitCast(d8, hn::Or(firstAndThird, secondAndFourth));
        hn::StoreU(Base64Vectors::HWY_NAMESPACE::toCharacters(d8, numbers), d8,
                   reinterpret_cast<std::uint8_t*>(text));
        bytes += step;
        text += lanes;
        count -= step;
    }
    Base64Portable::encode(bytes, count, text);
}

std::size_t decode(const char* text, std::size_t length, unsigned char* bytes, std::size_t capacity) {
    const Bytes d8;
    const hn::Repartition<std::uint16_t, Bytes> d16;
    const hn::Repartition<std::uint32_t, Bytes> d32;
    const std::size_t lanes = hn::Lanes(d8);
    const std::size_t step = lanes / 4 * 3;
    // The three bytes of each group, most significant first, without gaps.
    HWY_ALIGN static constexpr std::uint8_t order[16] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 0, 0, 0, 0};
    const auto orderBytes = hn::LoadDup128(d8, order);
    HWY_ALIGN std::uint8_t blocks[64];
    const unsigned char* const start = bytes;
    while (length >= lanes && capacity >= step) {
        auto invalid = hn::Zero(d8);
        const auto numbers = Base64Vectors::HWY_NAMESPACE::toNumbers(
            d8, hn::LoadU(d8, reinterpret_cast<const std::uint8_t*>(text)), invalid);
        if (Base64Vectors::HWY_NAMESPACE::anyInvalid(d8, invalid)) {
            break;
        }
        const auto in16 = hn::BitCast(d16, numbers);
        const auto pairs =
            hn::Or(hn::ShiftLeft<6>(hn::And(in16, hn::Set(d16, 0xFF))), hn::ShiftRight<8>(in16));
        const auto in32 = hn::BitCast(d32, pairs);
        const auto groups =
            hn::Or(hn::ShiftLeft<12>(hn::And(in32, hn::Set(d32, 0xFFFF))), hn::ShiftRight<16>(in32));
        const auto packed = hn::TableLookupBytes(hn::BitCast(d8, groups), orderBytes);
        hn::Store(packed, d8, blocks);
        for (std::size_t block = 0; block < lanes / 16; ++block) {
            hwy::CopyBytes<12>(blocks + 16 * block, bytes + 12 * block);
        }
        text += lanes;
        length -= lanes;
        bytes += step;
        capacity -= step;
    }
    return static_cast<std::size_t>(bytes - start) + Base64Portable::decode(text, length, bytes, capacity);
}

#endif

}  // namespace Base64Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Base64Kernels {
HWY_EXPORT(encode);
HWY_EXPORT(decode);
}  // namespace Base64Kernels

void encodeBase64(std::span<const unsigned char> bytes, char* text) {
    using namespace Base64Kernels;
    HWY_DYNAMIC_DISPATCH(encode)(bytes.data(), bytes.size(), text);
}

std::string encodeBase64(std::span<const unsigned char> bytes) {
    std::string text(base64Length(bytes.size()), '\0');
    encodeBase64(bytes, text.data());
    return text;
}

std::size_t decodeBase64(std::string_view text, std::span<unsigned char> bytes) {
    using namespace Base64Kernels;
    return HWY_DYNAMIC_DISPATCH(decode)(text.data(), text.size(), bytes.data(), bytes.size());
}

std::vector<unsigned char> decodeBase64(std::string_view text) {
    std::vector<unsigned char> bytes(text.size() / 4 * 3 + 3);
    bytes.resize(decodeBase64(text, std::span(bytes)));
    return bytes;
}

#endif
