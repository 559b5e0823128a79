#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Common/Base64.h"
#include "Common/Base64Portable.h"
#include "Tests/Support/Targets.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes bytesOf(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

std::string portableEncode(const Bytes& bytes) {
    std::string text(base64Length(bytes.size()), '\0');
    Base64Portable::encode(bytes.data(), bytes.size(), text.data());
    return text;
}

Bytes portableDecode(std::string_view text, std::size_t capacity) {
    Bytes bytes(capacity);
    bytes.resize(Base64Portable::decode(text.data(), text.size(), bytes.data(), capacity));
    return bytes;
}

TEST(Base64, KnownTexts) {
    const std::pair<const char*, const char*> examples[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : examples) {
        EXPECT_EQ(encodeBase64(bytesOf(plain)), encoded);
        EXPECT_EQ(decodeBase64(encoded), bytesOf(plain));
    }
}

TEST(Base64, EveryGroupOfThreeBytesOnEveryTarget) {
    // All 2^24 groups in 256 slices of the first byte.
    onEveryTarget([] {
        Bytes slice(3U << 16);
        for (unsigned first = 0; first < 256; ++first) {
            for (unsigned rest = 0; rest < 1U << 16; ++rest) {
                slice[3 * rest] = static_cast<unsigned char>(first);
                slice[3 * rest + 1] = static_cast<unsigned char>(rest >> 8);
                slice[3 * rest + 2] = static_cast<unsigned char>(rest);
            }
            const std::string text = encodeBase64(slice);
            ASSERT_TRUE(text == portableEncode(slice)) << first;
            ASSERT_TRUE(decodeBase64(text) == slice) << first;
        }
    });
}

TEST(Base64, StopsAtEveryCharacterOutsideTheAlphabetWhereverItStands) {
    onEveryTarget([] {
        std::string text;
        for (int i = 0; i < 200; ++i) {
            text += base64Alphabet[i * 7 % 64];
        }
        for (int character = 0; character < 256; ++character) {
            for (const std::size_t position : {0, 1, 15, 16, 63, 64, 65, 126, 127, 199}) {
                std::string damaged = text;
                damaged[position] = static_cast<char>(character);
                ASSERT_EQ(decodeBase64(damaged), portableDecode(damaged, 200))
                    << character << " " << position;
            }
        }
    });
}

TEST(Base64, ACutGroupGivesTheBytesItHasInFull) {
    EXPECT_EQ(decodeBase64("Zm9vYg"), bytesOf("foob"));
    EXPECT_EQ(decodeBase64("Zm9vYmE"), bytesOf("fooba"));
    EXPECT_EQ(decodeBase64("Zm9vY"), bytesOf("foo"));
    EXPECT_EQ(decodeBase64("Zm=v"), bytesOf("f"));
}

TEST(Base64, WritesNoMoreThanThereIsRoomFor) {
    onEveryTarget([] {
        const std::string text = encodeBase64(Bytes(300, 0xA5));
        for (std::size_t room = 0; room <= 300; ++room) {
            Bytes bytes(room + 80, 0x11);
            ASSERT_EQ(decodeBase64(text, std::span(bytes.data(), room)), room);
            ASSERT_TRUE(std::all_of(bytes.begin(), bytes.begin() + static_cast<long>(room),
                                    [](unsigned char byte) { return byte == 0xA5; }));
            ASSERT_TRUE(std::all_of(bytes.begin() + static_cast<long>(room), bytes.end(),
                                    [](unsigned char byte) { return byte == 0x11; }));
        }
    });
}

RC_GTEST_PROP(Base64, EveryTargetEqualsThePortableForm, (const Bytes& bytes, const std::string& garbage)) {
    onEveryTarget([&] {
        Bytes longer;
        for (int i = 0; i < 5; ++i) {
            longer.insert(longer.end(), bytes.begin(), bytes.end());
        }
        std::string text = encodeBase64(longer);
        RC_ASSERT(text == portableEncode(longer));
        RC_ASSERT(decodeBase64(text) == longer);
        text += garbage;
        RC_ASSERT(decodeBase64(text) == portableDecode(text, text.size()));
        RC_ASSERT(decodeBase64(garbage) == portableDecode(garbage, garbage.size()));
    });
}

}  // namespace
