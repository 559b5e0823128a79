#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Common/Base64.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "Tests/Support/Targets.h"

namespace JsonDevice::ImageCodec {
namespace {

using Values = std::vector<float>;
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

// Plain loops over a thousand million numbers take minutes under a sanitizer, which
// looks for other things: there, every 61st number is enough.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint32_t step = 61;
#else
constexpr std::uint32_t step = 1;
#endif
constexpr std::uint32_t oneBits = std::bit_cast<std::uint32_t>(1.0F);
constexpr std::uint32_t sliceValues = 1U << 14;

/// All floats from 0 to 1, in parts that are tests of their own and so can run side by side.
class EveryFloatFrom0To1 : public testing::TestWithParam<unsigned> {};
constexpr unsigned parts = 8;
INSTANTIATE_TEST_SUITE_P(Part, EveryFloatFrom0To1, testing::Range(0U, parts));

/// Calls check(values) for slices of a part of all floats from 0 to 1.
template <class Check>
void forAllFloats(unsigned part, Check check) {
    const std::uint64_t last = std::uint64_t{oneBits} * (part + 1) / parts;
    Values values;
    for (std::uint64_t bits = std::uint64_t{oneBits} * part / parts; bits <= last; bits += step) {
        values.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
        if (values.size() == sliceValues || bits + step > last) {
            check(values);
            if (testing::Test::HasFatalFailure()) {
                return;
            }
            values.clear();
        }
    }
}

std::string text(const Values& values, float limit = grayscaleLimit) {
    // Room for the text and no more; a sanitizer sees a write beyond it.
    std::vector<char> room(2 * values.size());
    RunState state;
    const char* const end =
        closeRun(state, encodeRuns(values.data(), values.size(), limit, state, room.data()));
    return std::string(const_cast<const char*>(room.data()), end);
}

std::string portableText(const Values& values, float limit = grayscaleLimit) {
    std::vector<char> room(2 * values.size());
    RunState state;
    const char* const end =
        closeRun(state, Portable::encodeRuns(values.data(), values.size(), limit, state, room.data()));
    return std::string(const_cast<const char*>(room.data()), end);
}

/// Decodes into memory `shift` floats behind an aligned address, with guards around.
template <class Decode>
Values decoded(Decode decode, const std::string& text, std::size_t count, std::size_t shift) {
    Values memory(count + shift + 32, -1.0F);
    decode(text.data(), text.data() + text.size(), memory.data() + shift, count);
    for (std::size_t i = 0; i < memory.size(); ++i) {
        if ((i < shift || i >= shift + count) && memory[i] != -1.0F) {
            ADD_FAILURE() << "wrote outside, at " << static_cast<long>(i) - static_cast<long>(shift);
        }
    }
    return Values(memory.begin() + static_cast<long>(shift),
                  memory.begin() + static_cast<long>(shift + count));
}

/// Values that make runs of all lengths: few levels, repeated, in bits that differ.
Values valuesWithRuns(unsigned seed, std::size_t parts) {
    std::mt19937 random(seed);
    Values values;
    for (std::size_t i = 0; i < parts; ++i) {
        const auto level = static_cast<float>(random() % 5) / 4;
        const unsigned kind = random() % 16;
        const unsigned length = kind == 0 ? random() % 700 : (kind < 4 ? random() % 70 : 1 + random() % 3);
        const bool jitter = random() % 2 == 0;
        for (unsigned j = 0; j < length; ++j) {
            values.push_back(level + (jitter ? static_cast<float>(random() % 3) * 1e-6F : 0.0F));
        }
    }
    return values;
}

TEST_P(EveryFloatFrom0To1, IsQuantisedToItsByteOnEveryTarget) {
    std::vector<std::uint8_t> expected;
    std::vector<std::uint8_t> bytes;
    forAllFloats(GetParam(), [&](const Values& values) {
        expected.clear();
        for (const float value : values) {
            expected.push_back(static_cast<std::uint8_t>(value * 255.0F + 0.5F));
        }
        onEveryTarget([&] {
            bytes.assign(values.size(), 0);
            quantiseBytes(values.data(), values.size(), bytes.data());
            ASSERT_TRUE(bytes == expected) << "from " << values.front();
        });
    });
}

/// The text of values from 0 to 1, written anew from their levels.
std::string writtenAnew(const Values& values) {
    std::string expected;
    int last = -1;
    int repeats = 0;
    const auto close = [&] {
        if (repeats > 0) {
            expected += '/';
            expected += base64Alphabet[repeats];
        }
        repeats = 0;
    };
    for (const float value : values) {
        const int level = static_cast<int>(value * 2048.0F + 0.5F);
        if (level == last && repeats < 63) {
            ++repeats;
            continue;
        }
        close();
        expected += base64Alphabet[level / 64];
        expected += base64Alphabet[level % 64];
        last = level;
    }
    close();
    return expected;
}

TEST_P(EveryFloatFrom0To1, IsEncodedAsItsLevelOnEveryTarget) {
    forAllFloats(GetParam(), [&](const Values& values) {
        const std::string expected = writtenAnew(values);
        onEveryTarget([&] { ASSERT_TRUE(text(values) == expected) << "from " << values.front(); });
    });
}

TEST(EncodeRuns, EightValuesInEveryPatternBehindARunOfAnyLength) {
    for (std::size_t length = 0; length < 140; ++length) {
        Values values;
        for (unsigned pattern = 0; pattern < 256; pattern += length < 80 ? 1 : 5) {
            float level = static_cast<float>(pattern % 2);
            values.insert(values.end(), length, level);
            for (unsigned i = 0; i < 8; ++i) {
                level = (pattern >> i & 1) != 0 ? 1.0F - level : level;
                values.push_back(level);
            }
        }
        const std::string expected = writtenAnew(values);
        ASSERT_EQ(portableText(values), expected) << length;
        onEveryTarget([&] { ASSERT_EQ(text(values), expected) << length; });
    }
}

TEST(Quantisers, LimitWhatIsNoLevel) {
    const Values values = {nan,   -nan,   infinity,  -infinity, -1.0F,     -0.0F, 2.0F,
                           1e30F, -1e30F, 0x1p-149F, 1.0F,      1.000001F, 0.5F,  -1e-30F};
    const std::vector<std::uint8_t> bytes = {0, 0, 255, 0, 0, 0, 255, 255, 0, 0, 255, 255, 128, 0};
    onEveryTarget([&] {
        // In every lane of a vector.
        for (std::size_t shift = 0; shift < 40; ++shift) {
            Values shifted(shift, 0.25F);
            shifted.insert(shifted.end(), values.begin(), values.end());
            shifted.resize(96, 0.25F);
            std::vector<std::uint8_t> got(shifted.size());
            quantiseBytes(shifted.data(), shifted.size(), got.data());
            ASSERT_EQ(std::vector<std::uint8_t>(got.begin() + static_cast<long>(shift),
                                                got.begin() + static_cast<long>(shift + bytes.size())),
                      bytes);
            ASSERT_EQ(text(shifted), portableText(shifted));
            ASSERT_EQ(text(shifted, rgbLimit), portableText(shifted, rgbLimit));
        }
        EXPECT_EQ(text({nan}), "AA");
        EXPECT_EQ(text({infinity}), "gA");
        EXPECT_EQ(text({-infinity}), "AA");
        EXPECT_EQ(text({2.0F}), "gA");
        EXPECT_EQ(text({infinity}, rgbLimit), "+/");
        EXPECT_EQ(text({1.5F}, rgbLimit), "wA");
        EXPECT_EQ(text({3.0F}, rgbLimit), "+/");
        EXPECT_EQ(text({nan}, rgbLimit), "AA");
        EXPECT_EQ(text({-infinity}, rgbLimit), "AA");
    });
}

TEST(ExpandBytes, EveryByteOnEveryTargetAtEveryAlignment) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < 1000; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(i));
    }
    onEveryTarget([&] {
        for (std::size_t shift = 0; shift < 17; ++shift) {
            for (const std::size_t count : {0, 1, 15, 16, 17, 1000}) {
                Values values(count + shift + 1, -1.0F);
                expandBytes(bytes.data(), count, values.data() + shift);
                for (std::size_t i = 0; i < count; ++i) {
                    ASSERT_EQ(values[shift + i], static_cast<float>(bytes[i] / 255.0)) << i;
                }
                ASSERT_EQ(values.back(), -1.0F);
            }
        }
    });
}

TEST(EncodeRuns, EveryTargetEqualsThePortableForm) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        const Values values = valuesWithRuns(seed, 10 + 40 * (seed % 8));
        const std::string expected = portableText(values);
        onEveryTarget([&] {
            ASSERT_EQ(text(values), expected);
            // The state carries everything from one call to the next.
            std::mt19937 random(seed);
            std::vector<char> room(2 * values.size());
            char* out = room.data();
            RunState state;
            for (std::size_t i = 0; i < values.size();) {
                const std::size_t count = std::min<std::size_t>(values.size() - i, random() % 100);
                out = encodeRuns(values.data() + i, count, grayscaleLimit, state, out);
                ASSERT_LE(out - room.data(), static_cast<long>(2 * (i + count)));
                i += count;
            }
            out = closeRun(state, out);
            ASSERT_EQ(std::string(room.data(), out), expected);
        });
    }
}

TEST(EncodeRuns, RunsOfEveryLength) {
    onEveryTarget([] {
        for (std::size_t length = 1; length < 400; ++length) {
            Values values(3, 0.0F);
            values.insert(values.end(), length, 1.0F);
            values.push_back(0.5F);
            ASSERT_EQ(text(values), portableText(values)) << length;
        }
    });
}

TEST(DecodeRuns, EveryTargetEqualsThePortableForm) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        const Values values = valuesWithRuns(seed, 20 + 60 * (seed % 8));
        const std::string encoded = portableText(values) + (seed % 2 == 0 ? "" : "AA/BB");
        const Values expected = decoded(Portable::decodeRuns, encoded, values.size(), 0);
        onEveryTarget([&] {
            for (const std::size_t shift : {0, 1, 15, 16, 31}) {
                ASSERT_EQ(decoded(decodeRuns, encoded, values.size(), shift), expected);
            }
            for (std::size_t count = 0; count < values.size(); count += 1 + count / 7) {
                ASSERT_EQ(decoded(decodeRuns, encoded, count, 0),
                          Values(expected.begin(), expected.begin() + static_cast<long>(count)));
            }
        });
    }
}

/// Any tokens of the alphabet, with empty runs and values that look like runs.
TEST(DecodeRuns, AnyTextOfTheAlphabetIsTheSameOnEveryTarget) {
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        std::string text;
        for (int i = 0; i < 200; ++i) {
            const unsigned kind = random() % 4;
            text += kind == 0 ? '/' : base64Alphabet[random() % 64];
            text += random() % 8 == 0 ? 'A' : base64Alphabet[random() % 64];
        }
        // A hundred values are always in it: each token but an empty run has one at least.
        const Values expected = decoded(Portable::decodeRuns, text, 100, 0);
        onEveryTarget([&] { ASSERT_EQ(decoded(decodeRuns, text, 100, 3), expected) << text; });
    }
}

TEST(ScanRuns, EveryTargetEqualsThePortableForm) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        std::string text = portableText(valuesWithRuns(random(), 300));
        if (round % 3 == 1) {
            text[random() % text.size()] = static_cast<char>(random());
        } else if (round % 3 == 2) {
            const std::size_t token = random() % (text.size() / 2);
            text[2 * token] = '/';
            text[2 * token + 1] = 'A';
        }
        const RunScan expected = Portable::scanRuns(text.data(), text.size() / 2);
        onEveryTarget([&] {
            const RunScan scan = scanRuns(text.data(), text.size() / 2);
            ASSERT_EQ(scan.clean, expected.clean);
            if (scan.clean) {
                ASSERT_EQ(scan.values, expected.values);
            }
        });
    }
}

TEST(ScanRuns, CountsTheLongestRunsWithoutOverflow) {
    std::string text;
    for (int i = 0; i < 300000; ++i) {
        text += "//";
    }
    onEveryTarget([&] { EXPECT_EQ(scanRuns(text.data(), text.size() / 2).values, 63U * 300000); });
}

}  // namespace
}  // namespace JsonDevice::ImageCodec
