#include <limits>
#include <stdexcept>

#include "DeviceManager/JsonDevice/PngWriter.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tests/Library/PngReading.h"

namespace {

using JsonDevice::makePng;
using JsonDevice::writePng;

struct Format {
    std::uint32_t word;
    int colourType;
    int depth;
    int bytesPerPixel;
};

constexpr Format formats[] = {
    {1, 2, 8, 3},       {2, 6, 8, 4},       {3, 0, 8, 1},       {4, 4, 8, 2},
    {16 | 1, 2, 16, 6}, {16 | 2, 6, 16, 8}, {16 | 3, 0, 16, 2}, {16 | 4, 4, 16, 4},
};

std::vector<unsigned char> someSamples(std::size_t count) {
    std::vector<unsigned char> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        samples[i] = static_cast<unsigned char>(i * i / 7 + i);
    }
    return samples;
}

/// What is said against an image; fails the test when nothing is or something was written.
std::wstring rejection(const image_t& image) {
    int pieces = 0;
    try {
        writePng(image, "", [&](std::span<const unsigned char>) { ++pieces; });
        ADD_FAILURE() << "accepted";
    } catch (const DeviceException& e) {
        EXPECT_EQ(pieces, 0);
        const std::wstring start = L"The image cannot be written as a PNG file: ";
        EXPECT_TRUE(e.getMessage().starts_with(start));
        return e.getMessage().substr(start.size());
    }
    return {};
}

TEST(PngWriter, WritesEachFormatAsItStands) {
    for (const Format& format : formats) {
        SCOPED_TRACE(format.word);
        const auto samples = someSamples(static_cast<std::size_t>(13 * 7 * format.bytesPerPixel));
        const auto png = makePng({format.word, 13, 7, samples.data()}, "");
        const PngContent content = readPng(png);
        ASSERT_TRUE(content.readable);
        EXPECT_EQ(content.width, 13U);
        EXPECT_EQ(content.height, 7U);
        EXPECT_EQ(content.colourType, format.colourType);
        EXPECT_EQ(content.depth, format.depth);
        EXPECT_EQ(content.interlace, PNG_INTERLACE_NONE);
        EXPECT_TRUE(content.keywords.empty());
        EXPECT_EQ(content.samples, samples);
    }
}

TEST(PngWriter, WritesTheBytesThatLibpngAloneWrites) {
    for (const Format& format : formats) {
        SCOPED_TRACE(format.word);
        const auto samples = someSamples(static_cast<std::size_t>(301 * 83 * format.bytesPerPixel));
        EXPECT_EQ(makePng({format.word, 301, 83, samples.data()}, ""),
                  libpngAlone(301, 83, format.colourType, format.depth, samples));
    }
}

TEST(PngWriter, KeepsATextUncompressedUnderItsKeyword) {
    const auto samples = someSamples(4);
    const std::string text = "<pattern name=\"a\">" + std::string(3000, 'x') + "</pattern>";
    const auto png = makePng({3, 2, 2, samples.data()}, text);
    const PngContent content = readPng(png);
    ASSERT_TRUE(content.readable);
    EXPECT_EQ(content.keywords, std::vector<std::string>{"xml"});
    EXPECT_EQ(content.texts, std::vector<std::string>{text});
    EXPECT_EQ(content.compressed, std::vector<bool>{false});
    EXPECT_EQ(content.samples, samples);
    const std::string bytes(png.begin(), png.end());
    EXPECT_NE(bytes.find("tEXtxml" + std::string(1, '\0') + text), std::string::npos);
}

TEST(PngWriter, RejectsWhatItCannotWriteAndSaysWhy) {
    const auto samples = someSamples(64);
    constexpr auto most = std::numeric_limits<std::uint32_t>::max();
    EXPECT_EQ(rejection({0, 2, 2, samples.data()}), L"format 0 has an unknown channel layout");
    EXPECT_EQ(rejection({5, 2, 2, samples.data()}), L"format 5 has an unknown channel layout");
    EXPECT_EQ(rejection({15, 2, 2, samples.data()}), L"format 15 has an unknown channel layout");
    EXPECT_EQ(rejection({32 | 1, 2, 2, samples.data()}),
              L"format 33 has a sample depth other than 8 and 16 bits");
    EXPECT_EQ(rejection({48 | 3, 2, 2, samples.data()}),
              L"format 51 has a sample depth other than 8 and 16 bits");
    EXPECT_EQ(rejection({1 << 31 | 1U, 2, 2, samples.data()}),
              L"format 2147483649 has a sample depth other than 8 and 16 bits");
    EXPECT_EQ(rejection({1, 0, 2, samples.data()}), L"it has no pixels");
    EXPECT_EQ(rejection({1, 2, 0, samples.data()}), L"it has no pixels");
    EXPECT_EQ(rejection({1, 2, 2, nullptr}), L"it has no data");
    EXPECT_EQ(rejection({1, 1000001, 1, samples.data()}), L"a side is longer than 1000000 pixels");
    EXPECT_EQ(rejection({1, 1, 1000001, samples.data()}), L"a side is longer than 1000000 pixels");
    EXPECT_EQ(rejection({18, most, most, samples.data()}), L"a side is longer than 1000000 pixels");
    EXPECT_EQ(rejection({18, 1000000, 1000000, samples.data()}),
              L"its pixels take more than 1073741824 bytes");
    // The product modulo 2^32 is 0.
    EXPECT_EQ(rejection({3, 65536, 65536, samples.data()}), L"its pixels take more than 1073741824 bytes");
}

TEST(PngWriter, AReceiverThatFailsAtAnyPieceGetsItsOwnExceptionBack) {
    const auto samples = someSamples(40 * 40 * 3);
    const image_t image{1, 40, 40, samples.data()};
    int pieces = 0;
    writePng(image, "text", [&](std::span<const unsigned char>) { ++pieces; });
    ASSERT_GT(pieces, 5);
    for (int last = 0; last < pieces; ++last) {
        int piece = 0;
        try {
            writePng(image, "text", [&](std::span<const unsigned char>) {
                if (piece++ == last) {
                    throw std::length_error("full at " + std::to_string(last));
                }
            });
            FAIL() << last;
        } catch (const std::length_error& e) {
            EXPECT_EQ(e.what(), "full at " + std::to_string(last));
        }
        EXPECT_EQ(piece, last + 1) << "called again after it failed";
    }
}

}  // namespace
