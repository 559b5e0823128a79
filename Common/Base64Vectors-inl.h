// Translation between base64 characters and their numbers in vector registers.
// Included once for each instruction set (see hwy/foreach_target.h), which is why
// the guard toggles.

#if defined(JSONDEVICE_BASE64_VECTORS_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef JSONDEVICE_BASE64_VECTORS_INL
#undef JSONDEVICE_BASE64_VECTORS_INL
#else
#define JSONDEVICE_BASE64_VECTORS_INL
#endif

#include <cstdint>

#include <hwy/highway.h>

#if HWY_TARGET != HWY_SCALAR

HWY_BEFORE_NAMESPACE();
namespace Base64Vectors::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Numbers 0..63 to characters: each number falls into one of five ranges, and
/// the distance from number to character is looked up by range.
template <class D8, class V8 = hn::Vec<D8>>
HWY_INLINE V8 toCharacters(D8 d8, V8 numbers) {
    // 0: lower case, 1..10: digits, 11: '+', 12: '/', 13: upper case.
    HWY_ALIGN static constexpr std::uint8_t distances[16] = {'a' - 26,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '0' - 52,
                                                             256 + '+' - 62,
                                                             256 + '/' - 63,
                                                             'A' - 0,
                                                             0,
                                                             0};
    const hn::RebindToSigned<D8> i8;
    const auto isUpper = hn::VecFromMask(i8, hn::Lt(hn::BitCast(i8, numbers), hn::Set(i8, 26)));
    const auto upper = hn::And(hn::BitCast(d8, isUpper), hn::Set(d8, 13));
    const auto range = hn::Or(hn::SaturatedSub(numbers, hn::Set(d8, 51)), upper);
    return hn::Add(numbers, hn::TableLookupBytes(hn::LoadDup128(d8, distances), range));
}

/// Characters to numbers 0..63. `invalid` collects, for anyInvalid, whether a lane
/// held something outside the alphabet; that lane's number means nothing.
///
/// Of a byte's two halves each names, as a set of bits, the reasons for which the
/// byte cannot be of the alphabet; a byte is outside when its halves agree on one.
template <class D8, class V8 = hn::Vec<D8>>
HWY_INLINE V8 toNumbers(D8 d8, V8 characters, V8& invalid) {
    // Reasons: 1: upper half 2, 2: upper half 3, 4: 4 or 6, 8: 5 or 7, 16: any other.
    HWY_ALIGN static constexpr std::uint8_t reasonsByLower[16] = {
        16 + 1 + 4,     16 + 1,         16 + 1,         16 + 1,    16 + 1,     16 + 1,
        16 + 1,         16 + 1,         16 + 1,         16 + 1,    16 + 1 + 2, 16 + 2 + 8,
        16 + 1 + 2 + 8, 16 + 1 + 2 + 8, 16 + 1 + 2 + 8, 16 + 2 + 8};
    HWY_ALIGN static constexpr std::uint8_t reasonsByUpper[16] = {16, 16, 1,  2,  4,  8,  4,  8,
                                                                  16, 16, 16, 16, 16, 16, 16, 16};
    // From character to number, by upper half; '/' shares its half with '+' and is
    // moved to the unused half 1.
    HWY_ALIGN static constexpr std::uint8_t distances[16] = {
        0, 63 - '/', 62 - '+', 52 - '0', 256 - 'A', 256 - 'A', 256 + 26 - 'a', 256 + 26 - 'a', 0, 0,
        0, 0,        0,        0,        0,         0};
    const hn::Repartition<std::uint16_t, D8> d16;
    const auto low4 = hn::Set(d8, 15);
    const auto lower = hn::And(characters, low4);
    const auto upper = hn::And(hn::BitCast(d8, hn::ShiftRight<4>(hn::BitCast(d16, characters))), low4);
    invalid = hn::Or(invalid, hn::And(hn::TableLookupBytes(hn::LoadDup128(d8, reasonsByLower), lower),
                                      hn::TableLookupBytes(hn::LoadDup128(d8, reasonsByUpper), upper)));
    const auto isSlash = hn::VecFromMask(d8, hn::Eq(characters, hn::Set(d8, '/')));
    const auto range = hn::Add(upper, isSlash);
    return hn::Add(characters, hn::TableLookupBytes(hn::LoadDup128(d8, distances), range));
}

template <class D8, class V8 = hn::Vec<D8>>
HWY_INLINE bool anyInvalid(D8 d8, V8 invalid) {
    return !hn::AllTrue(d8, hn::Eq(invalid, hn::Zero(d8)));
}

}  // namespace Base64Vectors::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

#endif
