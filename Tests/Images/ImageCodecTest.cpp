#include <atomic>
#include <cstdint>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <oneapi/tbb/parallel_for.h>
#include <rapidcheck/gtest.h>

#include "Common/Base64.h"
#include "Common/ZLibCompress.h"
#include "DeviceManager/JsonDevice/ImageCodec/ByteRaster.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"
#include "DeviceManager/JsonDevice/ImageCodec/RunLength.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"

namespace JsonDevice::ImageCodec {
namespace {

using GrayscaleValues = ImageValues<GrayscaleImage, 1>;
using RGBValues = ImageValues<RGBImage, 3>;

constexpr std::size_t workerCounts[] = {1, 2, 3, 16};

std::string portableText(const float* values, std::size_t count, float limit) {
    std::string text(2 * count, '\0');
    RunState state;
    char* const end = closeRun(state, Portable::encodeRuns(values, count, limit, state, text.data()));
    text.resize(static_cast<std::size_t>(end - text.data()));
    return text;
}

std::string encoded(const ValueSource& source, float limit, std::size_t workers) {
    std::string text(runLengthCapacity(source.values()), '\0');
    text.resize(encodeRunLength(source, limit, text.data(), workers));
    return text;
}

/// Content with runs that cross the pieces, however they are cut: mostly long runs,
/// some noise, and stretches of one value that are longer than a piece.
RasterGrayscaleImage mixedImage(int h, int v, unsigned seed) {
    RasterGrayscaleImage image(h, v, nullptr);
    std::mt19937 random(seed);
    const std::size_t count = static_cast<std::size_t>(h) * static_cast<std::size_t>(v);
    for (std::size_t i = 0; i < count;) {
        const unsigned kind = random() % 8;
        std::size_t length = kind == 0 ? random() % 100000 : (kind < 4 ? random() % 5000 : random() % 80);
        const bool noise = kind % 2 == 1;
        const float level = static_cast<float>(random() % 9) / 8;
        for (; length > 0 && i < count; --length, ++i) {
            image.getData()[i] = noise ? static_cast<float>(random() % 2049) / 2048 : level;
        }
    }
    return image;
}

TEST(RunLength, AnyNumberOfWorkersGivesTheSequentialText) {
    for (unsigned seed = 0; seed < 4; ++seed) {
        const RasterGrayscaleImage image = mixedImage(733, 611, seed);
        const std::string expected = portableText(image.getData(), 733 * 611, grayscaleLimit);
        for (const std::size_t workers : workerCounts) {
            ASSERT_TRUE(encoded(GrayscaleValues(image), grayscaleLimit, workers) == expected) << workers;
        }
    }
}

TEST(RunLength, UniformImagesAreOneRunThroughAllPieces) {
    for (const int columns : {500, 501, 511, 512}) {
        RasterGrayscaleImage image(columns, 400, nullptr);
        const std::string expected =
            portableText(image.getData(), static_cast<std::size_t>(columns) * 400, grayscaleLimit);
        for (const std::size_t workers : workerCounts) {
            ASSERT_TRUE(encoded(GrayscaleValues(image), grayscaleLimit, workers) == expected);
        }
    }
}

TEST(RunLength, ARunMayEndAtEveryDistanceFromACut) {
    // Two workers cut the image in its middle. One run lies around the cut.
    constexpr int middle = 2 * 32768;
    for (int before = 0; before < 140; ++before) {
        for (const int behind : {0, 1, 62, 63, 64, 65, 129}) {
            RasterGrayscaleImage image(32768, 4, nullptr);
            for (int i = middle - before; i < middle + behind; ++i) {
                image.getData()[i] = 1.0F;
            }
            ASSERT_TRUE(encoded(GrayscaleValues(image), grayscaleLimit, 2) ==
                        portableText(image.getData(), 4 * 32768, grayscaleLimit))
                << before << " " << behind;
        }
    }
}

TEST(RunLength, EveryCutOfAnImage) {
    // Images of every length, so that the cut comes everywhere: in runs, between them, in noise.
    const RasterGrayscaleImage whole = mixedImage(140000, 1, 77);
    for (int length = 2 * 65536; length < 2 * 65536 + 600; ++length) {
        const RasterGrayscaleImage image(length, 1, whole.getData());
        ASSERT_TRUE(encoded(GrayscaleValues(image), grayscaleLimit, 2) ==
                    encoded(GrayscaleValues(image), grayscaleLimit, 1))
            << length;
    }
}

TEST(RunLength, ColourIsOneStreamOfThreeValuesAPixel) {
    RasterRGBImage image(500, 300, nullptr, true);
    std::mt19937 random(3);
    for (std::size_t i = 0; i < 450000; ++i) {
        image.getData()[i] = static_cast<float>(random() % 3 == 0 ? random() % 4200 : 77) / 2048;
    }
    const std::string expected = portableText(image.getData(), 450000, rgbLimit);
    for (const std::size_t workers : workerCounts) {
        ASSERT_TRUE(encoded(RGBValues(image), rgbLimit, workers) == expected);
    }
}

/// An image that computes its pixels, so that rows go through buffers; it calls
/// into a parallel loop of its own, as a host's may.
class Computed : public GrayscaleImage {
public:
    int getHSize() const override { return 5000; }
    int getVSize() const override { return 100; }
    float getCenterValue(int x, int y) const override {
        return static_cast<float>((x / 7 + y) % 2049) / 2048;
    }
    const float* getCenterValues(int x, int y, int count, float* buffer) const override {
        std::atomic<int> sum{0};
        oneapi::tbb::parallel_for(0, 50, [&](int i) { sum += i; });
        EXPECT_EQ(sum, 1225);
        return GrayscaleImage::getCenterValues(x, y, count, buffer);
    }
};

#if !defined(__SANITIZE_THREAD__)
TEST(RunLength, ImagesThatRunParallelLoopsOfTheirOwnDoNotBlock) {
    const Computed image;
    EXPECT_TRUE(encoded(GrayscaleValues(image), grayscaleLimit, 4) ==
                encoded(GrayscaleValues(image), grayscaleLimit, 1));
}
#endif

class Failing : public Computed {
public:
    const float* getCenterValues(int x, int y, int count, float* buffer) const override {
        if (y == 57) {
            throw std::runtime_error("row 57");
        }
        return GrayscaleImage::getCenterValues(x, y, count, buffer);
    }
};

TEST(RunLength, WhatAnImageThrowsReachesTheCaller) {
    for (const std::size_t workers : workerCounts) {
        EXPECT_THROW(encoded(GrayscaleValues(Failing()), grayscaleLimit, workers), std::runtime_error);
    }
}

TEST(RunLength, SavingsAreCountedFromTheLength) {
    // A run of n saves n - 1: 3 + 1 + 2 repeats save 2 + 0 + 1.
    EXPECT_EQ(runLengthSavings(9, std::string("AA/DgA/BQA/C").size()), 3U);
    EXPECT_EQ(runLengthSavings(65, std::string("AA//AA").size()), 62U);
    EXPECT_EQ(runLengthSavings(1, 2), 0U);
}

TEST(RunLength, DecodesTheSameInOnePieceAndInMany) {
    for (unsigned seed = 0; seed < 4; ++seed) {
        const RasterGrayscaleImage image = mixedImage(733, 611, seed + 10);
        const std::size_t count = 733 * 611;
        const std::string text = portableText(image.getData(), count, grayscaleLimit) + "?";
        for (const bool cut : {false, true}) {
            const auto plan = planRunLength(text, count, cut);
            ASSERT_TRUE(plan);
            EXPECT_EQ(plan->pieces.size() > 4, cut);
            for (const std::size_t workers : workerCounts) {
                std::vector<float> values(count, -1.0F);
                decodeRunLength(*plan, values.data(), workers);
                for (std::size_t i = 0; i < count; ++i) {
                    ASSERT_NEAR(values[i], image.getData()[i], 0.5F / 2048) << i;
                }
            }
        }
    }
}

TEST(RunLength, UniformTextIsCutToo) {
    // "AA//AA//...": every second token is a run, and none may begin a piece.
    const RasterGrayscaleImage image(640, 640, nullptr);
    for (const char* const first : {"", "BB"}) {
        const std::size_t count = 640 * 640 + (*first == 0 ? 0 : 1);
        const std::string text = first + portableText(image.getData(), 640 * 640, grayscaleLimit);
        const auto plan = planRunLength(text, count, true);
        ASSERT_TRUE(plan);
        EXPECT_GT(plan->pieces.size(), 4U);
        for (const auto& piece : plan->pieces) {
            EXPECT_NE(text[piece.text], '/');
        }
    }
}

TEST(RunLength, EveryTruncationOfATextIsRefused) {
    const RasterGrayscaleImage image = mixedImage(60, 50, 21);
    const std::string text = portableText(image.getData(), 3000, grayscaleLimit);
    for (std::size_t length = 0; length < text.size(); ++length) {
        ASSERT_FALSE(planRunLength(text.substr(0, length), 3000, true)) << length;
    }
    EXPECT_TRUE(planRunLength(text, 3000, true));
}

TEST(RunLength, EveryCharacterWhereAValueIsDueIsChecked) {
    const RasterGrayscaleImage image = mixedImage(60, 50, 22);
    const std::string text = portableText(image.getData(), 3000, grayscaleLimit);
    for (std::size_t position = 0; position < text.size(); ++position) {
        for (const char wrong : {'\0', '=', '-', '_', ' ', '\x7F', '\x80', '\xFF'}) {
            std::string damaged = text;
            damaged[position] = wrong;
            ASSERT_FALSE(planRunLength(damaged, 3000, false)) << position;
        }
    }
}

TEST(RunLength, WhatFollowsTheLastValueIsNotLookedAt) {
    EXPECT_TRUE(planRunLength("AA???", 1, false));
    EXPECT_TRUE(planRunLength("AA//", 2, false));  // a run beyond the end
    EXPECT_TRUE(planRunLength("", 0, false));
    EXPECT_TRUE(planRunLength("????", 0, false));
    EXPECT_FALSE(planRunLength("AA???", 2, false));
}

std::vector<float> decoded(const std::string& text, std::size_t count) {
    const auto plan = planRunLength(text, count, true);
    if (!plan) {
        return {};
    }
    std::vector<float> values(count, -1.0F);
    decodeRunLength(*plan, values.data(), 1);
    return values;
}

TEST(RunLength, OddTextsAreReadAsTheDecoderTakesThem) {
    // A run before any value repeats 0.
    EXPECT_EQ(decoded("/CgA", 3), (std::vector<float>{0, 0, 1}));
    // Two runs add up.
    EXPECT_EQ(decoded("gA/B/C", 4), (std::vector<float>{1, 1, 1, 1}));
    // Behind an empty run stands a value, even where it looks like a run.
    EXPECT_EQ(decoded("QA/AgA", 2), (std::vector<float>{0.5F, 1}));
    EXPECT_EQ(decoded("QA/A/B", 2), (std::vector<float>{0.5F, 4033 / 2048.0F}));
    EXPECT_EQ(decoded("QA/A", 2), std::vector<float>{});
    EXPECT_EQ(decoded("/A/A", 1), (std::vector<float>{4032 / 2048.0F}));
}

/// The decoder as it is defined, one value at a time: the values, or none when the
/// text is too short or has another character where a value is due.
std::vector<float> definedDecoding(const std::string& text, std::size_t count) {
    std::vector<float> values;
    std::size_t at = 0;
    int pending = 0;
    int current = 0;
    bool good = true;
    const auto digit = [&] {
        const std::size_t number =
            at < text.size() ? std::string_view(base64Alphabet).find(text[at]) : std::string::npos;
        ++at;
        good = good && number != std::string::npos;
        return good ? static_cast<int>(number) : 0;
    };
    while (good && values.size() < count) {
        if (pending == 0 && at < text.size() && text[at] == '/') {
            ++at;
            pending = digit();
        }
        if (pending > 0) {
            --pending;
        } else {
            current = digit() * 64;
            current += digit();
        }
        values.push_back(static_cast<float>(current) * 0.00048828125F);
    }
    return good ? values : std::vector<float>{};
}

TEST(RunLength, AnyTextIsReadOrRefusedAsDefined) {
    std::mt19937 random(12);
    const std::string characters = std::string("/A/B/CgAQAZz09+//") + '\0' + "=";
    int read = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const unsigned length = random() % 60;
        // Most without a character that does not belong there.
        const std::size_t choice = characters.size() - (random() % 4 == 0 ? 0 : 2);
        for (unsigned i = 0; i < length; ++i) {
            text += characters[random() % choice];
        }
        const std::size_t count = 1 + random() % 60;
        const std::vector<float> expected = definedDecoding(text, count);
        read += expected.empty() ? 0 : 1;
        ASSERT_EQ(decoded(text, count), expected) << text << " " << count;
    }
    EXPECT_GT(read, 2000);
}

std::vector<unsigned char> deflated(std::vector<std::uint8_t> bytes) {
    std::vector<unsigned char> stream(bytes.size() + 100);
    unsigned long length = 0;
    EXPECT_EQ(ZLibCompress::zLibDeflate(bytes.data(), bytes.size(), stream.data(), stream.size(), length),
              ZLibCompress::NoError);
    stream.resize(length);
    return stream;
}

TEST(ByteRaster, EveryEncodingIsTheSameForAnyNumberOfWorkers) {
    const RasterGrayscaleImage image = mixedImage(733, 611, 31);
    const std::size_t count = 733 * 611;
    std::vector<std::uint8_t> expected(count);
    Portable::quantiseBytes(image.getData(), count, expected.data());
    const std::string expectedText = encodeBase64(expected);
    for (const std::size_t workers : workerCounts) {
        std::vector<std::uint8_t> bytes(count);
        quantise(GrayscaleValues(image), bytes.data(), workers);
        ASSERT_TRUE(bytes == expected);
        std::string text(base64Length(count), '\0');
        encodePlain(GrayscaleValues(image), text.data(), workers);
        ASSERT_TRUE(text == expectedText);
        std::vector<float> values(count, -1.0F);
        std::vector<float> decodedValues(count, -1.0F);
        std::vector<unsigned char> stream = deflated(bytes);
        ASSERT_TRUE(decodeDeflated(stream, values.data(), count, workers));
        ASSERT_TRUE(decodePlain(text, decodedValues.data(), count, workers));
        ASSERT_TRUE(values == decodedValues);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(values[i], static_cast<float>(expected[i] / 255.0));
        }
    }
}

TEST(ByteRaster, ADamagedCharacterAnywhereIsSeen) {
    const std::size_t count = 200000;
    std::string text(base64Length(count), 'Q');
    std::vector<float> values(count);
    for (const std::size_t position : {std::size_t{0}, text.size() / 3, text.size() / 2, text.size() - 3}) {
        for (const std::size_t workers : workerCounts) {
            std::string damaged = text;
            damaged[position] = '=';
            ASSERT_FALSE(decodePlain(damaged, values.data(), count, workers)) << position;
        }
    }
    EXPECT_TRUE(decodePlain(text, values.data(), count, 2));
}

TEST(ByteRaster, AStreamOfTheWrongLengthOrADamagedOneIsSeen) {
    const std::size_t count = 500000;
    std::vector<std::uint8_t> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * i >> 9);
    }
    const std::vector<unsigned char> whole = deflated(bytes);
    for (const std::size_t workers : workerCounts) {
        std::vector<float> values(count + 1, -1.0F);
        std::vector<unsigned char> stream = whole;
        EXPECT_TRUE(decodeDeflated(stream, values.data(), count, workers));
        EXPECT_EQ(values[count], -1.0F);
        EXPECT_FALSE(decodeDeflated(stream, values.data(), count + 1, workers));
        EXPECT_FALSE(decodeDeflated(stream, values.data(), count - 1, workers));
        EXPECT_EQ(values[count], -1.0F);
        for (const std::size_t part : {std::size_t{0}, stream.size() / 2, stream.size() - 5}) {
            EXPECT_FALSE(decodeDeflated(std::span(stream).first(part), values.data(), count, workers))
                << part;
        }
        stream[stream.size() - 1] ^= 1;  // the check sum
        EXPECT_FALSE(decodeDeflated(stream, values.data(), count, workers));
    }
}

TEST(ByteRaster, KnowsHowMuchATextHolds) {
    EXPECT_TRUE(plainTextHolds(0, 0));
    EXPECT_FALSE(plainTextHolds(1, 1));
    EXPECT_TRUE(plainTextHolds(2, 1));
    EXPECT_FALSE(plainTextHolds(2, 2));
    EXPECT_TRUE(plainTextHolds(3, 2));
    EXPECT_TRUE(plainTextHolds(4, 3));
    EXPECT_FALSE(plainTextHolds(5, 4));
}

TEST(ParallelLoop, DoesEveryPieceOnce) {
    for (const std::size_t workers : workerCounts) {
        std::vector<std::atomic<int>> done(1000);
        forEachPiece(1000, workers, [&](std::size_t piece) { ++done[piece]; });
        for (const auto& times : done) {
            ASSERT_EQ(times, 1);
        }
    }
}

TEST(ParallelLoop, AFailureEndsItAndReachesTheCaller) {
    for (const std::size_t workers : workerCounts) {
        std::atomic<std::size_t> done{0};
        EXPECT_THROW(forEachPiece(1000000, workers,
                                  [&](std::size_t piece) {
                                      ++done;
                                      if (piece == 500) {
                                          throw std::runtime_error("500");
                                      }
                                  }),
                     std::runtime_error);
        EXPECT_GE(done, 501U);
        EXPECT_LT(done, 1000000U);
    }
}

TEST(ParallelLoop, NothingToDoIsDone) {
    forEachPiece(0, 3, [](std::size_t) { FAIL(); });
    EXPECT_GE(availableWorkers(), 1U);
}

TEST(ParallelLoop, IsNotCancelledWithTheHostsWork) {
    const RasterGrayscaleImage image = mixedImage(733, 611, 32);
    const std::string expected = encoded(GrayscaleValues(image), grayscaleLimit, 1);
    oneapi::tbb::task_group_context context;
    bool begun = false;
    oneapi::tbb::parallel_for(
        0, 1,
        [&](int) {
            begun = true;
            context.cancel_group_execution();
            EXPECT_TRUE(encoded(GrayscaleValues(image), grayscaleLimit, 3) == expected);
            std::atomic<int> done{0};
            alongside(3, [&](const HandOver& handOver) {
                for (int i = 0; i < 10; ++i) {
                    handOver([&] { ++done; });
                }
            });
            EXPECT_EQ(done, 10);
        },
        oneapi::tbb::simple_partitioner(), context);
    EXPECT_TRUE(begun);
}

TEST(ParallelLoop, WhatIsHandedOverIsDoneOnceBeforeItReturns) {
    for (const std::size_t workers : workerCounts) {
        std::vector<std::atomic<int>> done(50);
        alongside(workers, [&](const HandOver& handOver) {
            for (auto& times : done) {
                handOver([&times] { ++times; });
            }
        });
        for (const auto& times : done) {
            ASSERT_EQ(times, 1);
        }
        alongside(workers, [](const HandOver&) {});
    }
}

TEST(ParallelLoop, AFailureOnEitherSideOfAHandOverReachesTheCaller) {
    for (const std::size_t workers : workerCounts) {
        std::atomic<int> begun{0};
        EXPECT_THROW(alongside(workers,
                               [&](const HandOver& handOver) {
                                   handOver([&] { ++begun; });
                                   throw std::runtime_error("the caller's");
                               }),
                     std::runtime_error);
        EXPECT_THROW(alongside(workers,
                               [&](const HandOver& handOver) {
                                   handOver([&] {
                                       ++begun;
                                       throw std::runtime_error("a helper's");
                                   });
                               }),
                     std::runtime_error);
        EXPECT_GE(begun, 1);
    }
}

}  // namespace
}  // namespace JsonDevice::ImageCodec
