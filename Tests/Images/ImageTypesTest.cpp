#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>
#include <memory>
#include <random>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Base64.h"
#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "Common/ZLibCompress.h"
#include "DeviceManager/JsonDevice/Clock.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"
#include "DeviceManager/JsonDevice/ImageCodec/RunLength.h"
#include "DeviceManager/JsonDevice/ImageTypes.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"
#include "Tests/Support/CapturedOutput.h"
#include "Tests/Support/LogCapture.h"
#include "Tests/Support/Memory.h"

namespace JsonDevice {
namespace {

Json::Value toJson(const GrayscaleImage& image, const MarshalOptions& options = {}) {
    return MarshalJson::instance()->toJson("GrayscaleImage", &image, options);
}
Json::Value toJson(const RGBImage& image, const MarshalOptions& options = {}) {
    return MarshalJson::instance()->toJson("RGBImage", &image, options);
}

template <class Image>
using Owned = std::unique_ptr<Image, void (*)(Image*)>;

Owned<GrayscaleImage> grayscaleFrom(const Json::Value& value) {
    return {static_cast<GrayscaleImage*>(MarshalJson::instance()->fromJson(value, "GrayscaleImage")),
            [](GrayscaleImage* image) { MarshalJson::instance()->destroy("GrayscaleImage", image); }};
}
Owned<RGBImage> rgbFrom(const Json::Value& value) {
    return {static_cast<RGBImage*>(MarshalJson::instance()->fromJson(value, "RGBImage")),
            [](RGBImage* image) { MarshalJson::instance()->destroy("RGBImage", image); }};
}

Json::Value object(int h, int v, const char* compression, const std::string& raster) {
    Json::Value value(Json::objectValue);
    value["h"] = h;
    value["v"] = v;
    if (compression != nullptr) {
        value["compression"] = compression;
    }
    value["raster"] = raster;
    return value;
}

RasterGrayscaleImage exampleImage() {
    const float data[] = {0, 0, 0, 0, 1, 1, 0.5F, 0.5F, 0.5F};
    return RasterGrayscaleImage(3, 3, data);
}

std::vector<float> values(const GrayscaleImage& image) {
    std::vector<float> all;
    for (int y = 0; y < image.getVSize(); ++y) {
        for (int x = 0; x < image.getHSize(); ++x) {
            all.push_back(image.getCenterValue(x, y));
        }
    }
    return all;
}

std::vector<float> values(const RGBImage& image) {
    std::vector<float> all;
    for (int y = 0; y < image.getVSize(); ++y) {
        for (int x = 0; x < image.getHSize(); ++x) {
            float red, green, blue;
            image.getCenterValue(x, y, red, green, blue);
            all.insert(all.end(), {red, green, blue});
        }
    }
    return all;
}

void expectRefusal(const Json::Value& value, const char* type) {
    try {
        void* const read = MarshalJson::instance()->fromJson(value, type);
        MarshalJson::instance()->destroy(type, read);
        ADD_FAILURE() << "accepted " << value.toStyledString().substr(0, 500);
    } catch (const KorvanParseException& error) {
        EXPECT_EQ(toUtf8(error.getMessage()), std::string("JSON value is not a ") + type);
        EXPECT_EQ(error.getFile(), "DeviceManager/JsonDevice/MarshalTypes");
    }
}

// ---- Encodings

TEST(GrayscaleImageJson, RunLengthExample) {
    EXPECT_EQ(toJson(exampleImage()), object(3, 3, "RLE", "AA/DgA/BQA/C"));
    EXPECT_EQ(values(*grayscaleFrom(toJson(exampleImage()))), values(exampleImage()));
}

TEST(GrayscaleImageJson, OnlyTwoOptionsChooseAnotherEncoding) {
    for (const char* const option : {"RLE", "zlib", "NONE", "", "none ", "Zlib"}) {
        EXPECT_EQ(toJson(exampleImage(), {{"compression", option}}), toJson(exampleImage())) << option;
    }
    EXPECT_EQ(toJson(exampleImage(), {{"Compression", "none"}}), toJson(exampleImage()));
    EXPECT_EQ(toJson(exampleImage(), {{"compression", "none"}})["compression"], "none");
    EXPECT_EQ(toJson(exampleImage(), {{"compression", "ZLIB"}})["compression"], "ZLIB");
}

TEST(GrayscaleImageJson, UncompressedExample) {
    const Json::Value value = toJson(exampleImage(), {{"compression", "none"}});
    EXPECT_EQ(value, object(3, 3, "none", "AAAAAP//gICA"));
    const float half = 128 / 255.0;
    EXPECT_EQ(values(*grayscaleFrom(value)), (std::vector<float>{0, 0, 0, 0, 1, 1, half, half, half}));
    EXPECT_EQ(toJson(RasterGrayscaleImage(2, 2, nullptr), {{"compression", "none"}})["raster"], "AAAAAA==");
}

TEST(GrayscaleImageJson, ZlibIsDeflatedBytes) {
    RasterGrayscaleImage image(100, 80, nullptr);
    for (int i = 0; i < 8000; ++i) {
        image.getData()[i] = static_cast<float>(i % 256) / 255;
    }
    const Json::Value value = toJson(image, {{"compression", "ZLIB"}});
    std::vector<unsigned char> deflated = decodeBase64(value["raster"].asString());
    std::vector<unsigned char> bytes(8000);
    unsigned long length = 0;
    ASSERT_EQ(ZLibCompress::zLibInflate(deflated.data(), deflated.size(), bytes.data(), bytes.size(), length),
              ZLibCompress::NoError);
    ASSERT_EQ(length, 8000U);
    for (int i = 0; i < 8000; ++i) {
        ASSERT_EQ(bytes[static_cast<std::size_t>(i)], i % 256);
    }
    const auto read = grayscaleFrom(value);
    ASSERT_TRUE(read);
    EXPECT_EQ(values(*read), values(image));
}

TEST(GrayscaleImageJson, RunsEndAt63) {
    EXPECT_EQ(toJson(RasterGrayscaleImage(65, 1, nullptr))["raster"], "AA//AA");
    EXPECT_EQ(toJson(RasterGrayscaleImage(66, 1, nullptr))["raster"], "AA//AA/B");
    EXPECT_EQ(toJson(RasterGrayscaleImage(64, 1, nullptr))["raster"], "AA//");
    EXPECT_EQ(toJson(RasterGrayscaleImage(1, 66, nullptr))["raster"], "AA//AA/B");
    EXPECT_EQ(toJson(RasterGrayscaleImage(1, 1, nullptr))["raster"], "AA");
}

TEST(GrayscaleImageJson, LimitsToTheRange) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const float data[] = {-1, 2, nan, infinity, -infinity};
    const RasterGrayscaleImage image(5, 1, data);
    EXPECT_EQ(toJson(image)["raster"], "AAgAAAgAAA");
    EXPECT_EQ(decodeBase64(toJson(image, {{"compression", "none"}})["raster"].asString()),
              (std::vector<unsigned char>{0, 255, 0, 255, 0}));
}

TEST(GrayscaleImageJson, AnImageThatDeflateCannotShrinkHasNoRaster) {
    RasterGrayscaleImage image(64, 64, nullptr);
    std::mt19937 random(1);
    for (int i = 0; i < 64 * 64; ++i) {
        image.getData()[i] = static_cast<float>(random() % 256) / 255;
    }
    const LogCapture log("JsonDevice.MarshalTypes");
    const Json::Value value = toJson(image, {{"compression", "ZLIB"}});
    EXPECT_EQ(value.getMemberNames(), (std::vector<std::string>{"compression", "h", "v"}));
    EXPECT_EQ(value["compression"], "ZLIB");
    EXPECT_EQ(log.lines(), std::vector<std::string>{"ERROR Unable to zlib compress image. Error: 3"});
    expectRefusal(value, "GrayscaleImage");
}

TEST(GrayscaleImageJson, ImagesWithoutPixels) {
    for (const auto& [h, v] : {std::pair(0, 0), std::pair(5, 0), std::pair(0, 5)}) {
        const RasterGrayscaleImage image(h, v, nullptr);
        EXPECT_EQ(toJson(image), object(h, v, "RLE", ""));
        EXPECT_EQ(toJson(image, {{"compression", "none"}}), object(h, v, "none", ""));
        for (const char* const compression : {"RLE", "none"}) {
            const auto read = grayscaleFrom(object(h, v, compression, ""));
            ASSERT_TRUE(read);
            EXPECT_EQ(read->getHSize(), h);
            EXPECT_EQ(read->getVSize(), v);
        }
    }
}

TEST(GrayscaleImageJson, LargeImagesComeBackInEveryEncoding) {
    // Large enough for several threads and for writing past the caches.
    RasterGrayscaleImage image(2001, 1203, nullptr);
    for (int y = 0; y < 1203; ++y) {
        for (int x = 0; x < 2001; ++x) {
            image.setValue(x, y, x < 300 ? static_cast<float>((x * y) % 256) / 255 : 1.0F);
        }
    }
    for (const char* const compression : {"none", "ZLIB", "RLE"}) {
        const auto read = grayscaleFrom(toJson(image, {{"compression", compression}}));
        ASSERT_TRUE(read);
        const bool runs = std::string(compression) == "RLE";
        for (int y = 0; y < 1203; ++y) {
            for (int x = 0; x < 2001; ++x) {
                const float value = image.getCenterValue(x, y);
                const float expected =
                    runs ? static_cast<float>(static_cast<int>(value * 2048 + 0.5F)) / 2048 : value;
                ASSERT_EQ(read->getCenterValue(x, y), expected) << compression << " " << x << " " << y;
            }
        }
    }
}

// ---- Threads

/// Where the pixels of an image are read.
class Readers {
public:
    enum class Others { MayCome, AreWaitedFor };
    explicit Readers(Others others) : waits(others == Others::AreWaitedFor) {}

    void note() {
        if (std::this_thread::get_id() == caller) {
            if (waits) {
                waits = false;
                came.try_acquire_for(std::chrono::seconds(20));
            }
        } else if (!others) {
            others = true;
            came.release();
        }
    }
    /// Whether others than the thread that made this have been there.
    bool haveOthers() const { return others; }

private:
    const std::thread::id caller = std::this_thread::get_id();
    bool waits;
    std::atomic<bool> others{false};
    std::counting_semaphore<> came{0};
};

class WatchedGrayscale : public GrayscaleImage {
public:
    WatchedGrayscale(int h, int v, Readers& readers) : h(h), v(v), readers(readers) {}
    int getHSize() const override { return h; }
    int getVSize() const override { return v; }
    float getCenterValue(int x, int) const override {
        readers.note();
        return static_cast<float>(x % 256) / 256;
    }

private:
    int h;
    int v;
    Readers& readers;
};

class WatchedRGB : public RGBImage {
public:
    WatchedRGB(int h, int v, Readers& readers) : h(h), v(v), readers(readers) {}
    int getHSize() const override { return h; }
    int getVSize() const override { return v; }
    void getCenterValue(int x, int, float& red, float& green, float& blue) const override {
        readers.note();
        red = green = blue = static_cast<float>(x % 256) / 256;
    }

private:
    int h;
    int v;
    Readers& readers;
};

/// Encodes images of that size in every encoding, and expects other threads to read them, or none.
void expectOthers(bool expected, int columns, int rows) {
    const auto others = expected ? Readers::Others::AreWaitedFor : Readers::Others::MayCome;
    for (const char* const compression : {"RLE", "none", "ZLIB"}) {
        Readers readers(others);
        toJson(WatchedGrayscale(columns, rows, readers), {{"compression", compression}});
        EXPECT_EQ(readers.haveOthers(), expected) << compression;
    }
    Readers readers(others);
    toJson(WatchedRGB(columns, rows, readers));
    EXPECT_EQ(readers.haveOthers(), expected) << "RGB";
}

TEST(ImageJson, ASingleRowIsReadOnTheCallingThread) {
    // Long enough for another thread to come in time if one were called.
    expectOthers(false, 1 << 20, 1);
}

TEST(ImageJson, SeveralLargeRowsAreReadOnSeveralThreads) {
    if (ImageCodec::availableWorkers() < 2) {
        GTEST_SKIP() << "there is only one thread";
    }
    expectOthers(true, 1 << 17, 2);
}

class UnreadableGrayscale : public GrayscaleImage {
public:
    UnreadableGrayscale(int h, int v) : h(h), v(v) {}
    int getHSize() const override { return h; }
    int getVSize() const override { return v; }
    float getCenterValue(int x, int y) const override {
        ADD_FAILURE() << x << " " << y << " of " << h << " x " << v;
        return 0;
    }
    const float* getCenterValues(int x, int y, int count, float* buffer) const override {
        ADD_FAILURE() << count << " from " << x << " " << y << " on of " << h << " x " << v;
        return std::fill_n(buffer, count, 0.0F) - count;
    }

private:
    int h;
    int v;
};

class UnreadableRGB : public RGBImage {
public:
    UnreadableRGB(int h, int v) : h(h), v(v) {}
    int getHSize() const override { return h; }
    int getVSize() const override { return v; }
    void getCenterValue(int x, int y, float& red, float& green, float& blue) const override {
        ADD_FAILURE() << x << " " << y << " of " << h << " x " << v;
        red = green = blue = 0;
    }
    const float* getCenterValues(int x, int y, int count, float* buffer) const override {
        ADD_FAILURE() << count << " from " << x << " " << y << " on of " << h << " x " << v;
        return std::fill_n(buffer, 3 * count, 0.0F) - 3 * count;
    }

private:
    int h;
    int v;
};

TEST(ImageJson, NothingIsReadOfAnImageWithoutPixels) {
    for (const auto& [h, v] :
         {std::pair(0, 0), std::pair(0, 1), std::pair(1, 0), std::pair(0, 1 << 20), std::pair(1 << 20, 0)}) {
        const UnreadableGrayscale image(h, v);
        EXPECT_EQ(toJson(image), object(h, v, "RLE", ""));
        EXPECT_EQ(toJson(image, {{"compression", "none"}}), object(h, v, "none", ""));
        // Nothing does not shrink either.
        const LogCapture log("JsonDevice.MarshalTypes");
        Json::Value expected = object(h, v, "ZLIB", "");
        expected.removeMember("raster");
        EXPECT_EQ(toJson(image, {{"compression", "ZLIB"}}), expected);
        EXPECT_EQ(log.lines(), std::vector<std::string>{"ERROR Unable to zlib compress image. Error: 3"});
        EXPECT_EQ(toJson(UnreadableRGB(h, v)), object(h, v, nullptr, ""));
    }
}

// ---- What is refused

TEST(GrayscaleImageJson, NullIsNoImage) {
    EXPECT_FALSE(grayscaleFrom(Json::Value()));
    EXPECT_FALSE(rgbFrom(Json::Value()));
}

TEST(ImageJson, RefusesEveryOtherShape) {
    const char* const types[] = {"GrayscaleImage", "RGBImage"};
    for (const char* const type : types) {
        for (const Json::Value& value : {Json::Value(Json::arrayValue), Json::Value("text"), Json::Value(3),
                                         Json::Value(true), Json::Value(Json::objectValue)}) {
            expectRefusal(value, type);
        }
        for (const char* const key : {"h", "v", "raster"}) {
            Json::Value value = object(1, 1, nullptr, "AAAAAA");
            value.removeMember(key);
            expectRefusal(value, type);
        }
        for (const char* const key : {"h", "v"}) {
            for (const Json::Value& wrong :
                 {Json::Value("x"), Json::Value(Json::arrayValue), Json::Value(-1), Json::Value(1e30),
                  Json::Value(Json::Int64{1} << 40), Json::Value(Json::UInt64(-1))}) {
                Json::Value value = object(1, 1, nullptr, "AAAAAA");
                value[key] = wrong;
                expectRefusal(value, type);
            }
        }
        for (const Json::Value& wrong : {Json::Value(), Json::Value(3), Json::Value(Json::arrayValue)}) {
            Json::Value value = object(1, 1, nullptr, "AAAAAA");
            value["raster"] = wrong;
            expectRefusal(value, type);
            value["compression"] = "none";
            expectRefusal(value, type);
            value["compression"] = "ZLIB";
            expectRefusal(value, type);
        }
    }
}

// A small part of what the smallest of the images refused would take.
constexpr std::size_t littleMemory = 16 * Memory::megabyte;

TEST(ImageJson, RefusesSizesBeyondTheCapWithoutSpendingMemory) {
    const Memory::AddressSpaceLimit limit(4 * littleMemory);
    const Memory::Growth growth;
    for (const char* const compression : {"RLE", "none", "ZLIB"}) {
        expectRefusal(object(2147483647, 2147483647, compression, "AAAA"), "GrayscaleImage");
        expectRefusal(object(1 << 15, (1 << 13) + 1, compression, "AAAA"), "GrayscaleImage");
    }
    expectRefusal(object(2147483647, 2147483647, nullptr, "AAAA"), "RGBImage");
    // Within it, and refused since a text of two characters cannot hold that.
    expectRefusal(object(1 << 15, 1 << 13, "RLE", "AAAA"), "GrayscaleImage");
    expectRefusal(object(1 << 15, 1 << 13, "none", "AAAA"), "GrayscaleImage");
    expectRefusal(object(1 << 15, 1 << 13, nullptr, "AAAA"), "RGBImage");
    EXPECT_LT(growth.peak(), littleMemory);
}

/// Rasters that hold nothing, begin well, or are whole, but far from filling the image.
std::vector<Json::Value> tinyZlibRasters() {
    std::vector<Json::Value> rasters;
    const Json::Value whole = toJson(RasterGrayscaleImage(20, 20, nullptr), {{"compression", "ZLIB"}});
    for (const std::string& raster : {std::string("AA"), std::string("eJw"), whole["raster"].asString()}) {
        rasters.push_back(object(1 << 14, 1 << 14, "ZLIB", raster));
    }
    return rasters;
}

TEST(GrayscaleImageJson, ATinyZlibRasterOfAHugeImageUsesNextToNoMemory) {
    const LogCapture log("Common.ZLibCompress");
    const std::vector<Json::Value> rasters = tinyZlibRasters();
    const Memory::Growth growth;
    for (const Json::Value& raster : rasters) {
        EXPECT_FALSE(grayscaleFrom(raster)) << raster.toStyledString();
    }
    EXPECT_LT(growth.peak(), littleMemory);
}

TEST(GrayscaleImageJson, ATinyZlibRasterOfAHugeImageAsksForNextToNoMemory) {
    const LogCapture log("Common.ZLibCompress");
    const std::vector<Json::Value> rasters = tinyZlibRasters();
    const Memory::AddressSpaceLimit limit(4 * littleMemory);
    if (!limit.isSet()) {
        GTEST_SKIP() << "a sanitizer needs the address space";
    }
    for (const Json::Value& raster : rasters) {
        EXPECT_FALSE(grayscaleFrom(raster)) << raster.toStyledString();
    }
}

TEST(ImageJson, TheCapCanBeSet) {
    EXPECT_EQ(maximumImagePixels(), std::size_t{1} << 28);
    setMaximumImagePixels(4);
    expectRefusal(object(5, 1, nullptr, "AAAAAAAAAA"), "GrayscaleImage");
    expectRefusal(object(5, 1, nullptr, "AA/O"), "RGBImage");
    EXPECT_TRUE(grayscaleFrom(object(2, 2, nullptr, "AAAAAAAA")));
    EXPECT_TRUE(rgbFrom(object(2, 2, nullptr, "AA/L")));
    setMaximumImagePixels(std::size_t{1} << 28);
}

TEST(GrayscaleImageJson, RefusesARasterThatIsTooShort) {
    const std::string raster = "AA/DgA/BQA/C";
    for (std::size_t length = 0; length < raster.size(); ++length) {
        expectRefusal(object(3, 3, "RLE", raster.substr(0, length)), "GrayscaleImage");
    }
    const std::string plain = "AAAAAP//gICA";
    for (std::size_t length = 0; length < plain.size(); ++length) {
        expectRefusal(object(3, 3, "none", plain.substr(0, length)), "GrayscaleImage");
    }
    EXPECT_TRUE(grayscaleFrom(object(3, 3, "RLE", raster + "AA")));
    EXPECT_TRUE(grayscaleFrom(object(3, 3, "RLE", raster + "?")));
    EXPECT_TRUE(grayscaleFrom(object(3, 3, "none", plain + "?")));
    expectRefusal(object(3, 3, "RLE", "AA/DgA/BQA?C"), "GrayscaleImage");
    expectRefusal(object(3, 3, "none", "AAAAAP//gIC="), "GrayscaleImage");
}

TEST(GrayscaleImageJson, AZlibRasterThatDoesNotFillTheImageIsNoImage) {
    const Json::Value good = toJson(RasterGrayscaleImage(20, 20, nullptr), {{"compression", "ZLIB"}});
    ASSERT_TRUE(grayscaleFrom(good));
    const LogCapture log("Common.ZLibCompress");
    const std::string raster = good["raster"].asString();
    EXPECT_FALSE(grayscaleFrom(object(20, 19, "ZLIB", raster)));  // too much
    EXPECT_FALSE(grayscaleFrom(object(20, 21, "ZLIB", raster)));  // too little
    EXPECT_FALSE(grayscaleFrom(object(20, 20, "ZLIB", "AAAA")));
    EXPECT_FALSE(grayscaleFrom(object(20, 20, "ZLIB", "")));
    for (std::size_t length = 0; length + 4 < raster.size(); length += 4) {
        EXPECT_FALSE(grayscaleFrom(object(20, 20, "ZLIB", raster.substr(0, length)))) << length;
    }
    EXPECT_EQ(log.lines().front(), "ERROR Zlib inflate - uncompressed buffer is too small to hold data.");
    EXPECT_TRUE(grayscaleFrom(object(20, 20, "ZLIB", raster + "?")));
}

TEST(GrayscaleImageJson, WithoutCompressionOrWithAnyOtherItIsRunLengths) {
    const std::vector<float> expected = {1, 1};
    EXPECT_EQ(values(*grayscaleFrom(object(2, 1, nullptr, "gA/B"))), expected);
    EXPECT_EQ(values(*grayscaleFrom(object(2, 1, "lzma", "gA/B"))), expected);
    Json::Value value = object(2, 1, nullptr, "gA/B");
    for (const Json::Value& compression : {Json::Value(), Json::Value(7), Json::Value(Json::arrayValue)}) {
        value["compression"] = compression;
        EXPECT_EQ(values(*grayscaleFrom(value)), expected);
    }
}

TEST(GrayscaleImageJson, SizesAreReadAsIntegersAre) {
    Json::Value value = object(2, 1, nullptr, "gA/B");
    value["h"] = 2.9;
    value["v"] = true;
    EXPECT_EQ(values(*grayscaleFrom(value)), (std::vector<float>{1, 1}));
}

class OwnDecoder : public JTypeGrayscaleImage {
protected:
    GrayscaleImage* fromJsonZLibCompressed(const Json::Value& value) const override {
        return fromJsonRLECompressed(value);
    }
};

TEST(GrayscaleImageJson, ADerivedMarshallerMayReplaceADecoder) {
    const OwnDecoder marshaller;
    const std::unique_ptr<GrayscaleImage> image(
        static_cast<GrayscaleImage*>(marshaller.fromJson(object(1, 1, "ZLIB", "gA"))));
    EXPECT_EQ(values(*image), std::vector<float>{1});
}

// ---- Colour

TEST(RGBImageJson, AWhitePixelAndAnother) {
    const float data[] = {1, 1, 1, 1, 1, 1};
    Json::Value expected = object(2, 1, nullptr, "gA/F");
    EXPECT_EQ(toJson(RasterRGBImage(2, 1, data, true)), expected);
    EXPECT_EQ(toJson(RasterRGBImage(2, 1, data, true), {{"compression", "none"}}), expected);
    expected["compression"] = "none";
    EXPECT_EQ(values(*rgbFrom(expected)), std::vector<float>(6, 1.0F));
}

TEST(RGBImageJson, ValuesAboveOneSurviveUpToTheLimit) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const float data[] = {1.5F, 3.0F, -1.0F, nan, infinity, -infinity};
    const Json::Value value = toJson(RasterRGBImage(2, 1, data, true));
    EXPECT_EQ(value["raster"], "wA+/AA/B+/AA");
    EXPECT_EQ(values(*rgbFrom(value)), (std::vector<float>{1.5F, 4031 / 2048.0F, 0, 0, 4031 / 2048.0F, 0}));
}

TEST(RGBImageJson, LargeImagesComeBack) {
    // Large enough for several threads both ways: ramps, white through many rows, then
    // another red in each row.
    RasterRGBImage image(1201, 703, nullptr, true);
    float* value = image.getData();
    for (int y = 0; y < 703; ++y) {
        for (int x = 0; x < 1201; ++x) {
            const bool ramp = x < 300 || y == 350;
            for (int channel = 0; channel < 3; ++channel) {
                const int level = ramp ? (x * y + channel * 5) % 4032 : (y < 400 || channel > 0 ? 2048 : y);
                *value++ = static_cast<float>(level) / 2048;
            }
        }
    }
    const Json::Value written = toJson(image);
    using RGBValues = ImageCodec::ImageValues<RGBImage, 3>;
    const RGBValues source(image);
    std::string expected(ImageCodec::runLengthCapacity(source.values()), '\0');
    expected.resize(ImageCodec::encodeRunLength(source, ImageCodec::rgbLimit, expected.data(), 1));
    EXPECT_TRUE(written["raster"].asString() == expected);
    const auto read = rgbFrom(written);
    ASSERT_TRUE(read);
    ASSERT_EQ(read->getHSize(), 1201);
    ASSERT_EQ(read->getVSize(), 703);
    EXPECT_TRUE(values(*read) == values(image));
}

TEST(RGBImageJson, RefusesARasterThatIsTooShort) {
    const std::string raster = "wA+/AA/B+/AA";
    for (std::size_t length = 0; length < raster.size(); ++length) {
        expectRefusal(object(2, 1, nullptr, raster.substr(0, length)), "RGBImage");
    }
    EXPECT_TRUE(rgbFrom(object(2, 1, nullptr, raster + "??")));
}

// ---- The registry

TEST(ImageJson, TheRegistryMakesEmptyImages) {
    void* const grayscale = MarshalJson::instance()->create("GrayscaleImage");
    EXPECT_EQ(static_cast<GrayscaleImage*>(grayscale)->getHSize(), 0);
    MarshalJson::instance()->destroy("GrayscaleImage", grayscale);
    void* const rgb = MarshalJson::instance()->create("RGBImage");
    EXPECT_EQ(static_cast<RGBImage*>(rgb)->getVSize(), 0);
    MarshalJson::instance()->destroy("RGBImage", rgb);
}

// ---- Reports

/// Each look at it moves the clock on.
class StepClock : public Clock {
public:
    explicit StepClock(int milliseconds) : step(milliseconds) { setStandard(this); }
    ~StepClock() override { setStandard(nullptr); }
    TimePoint now() const override { return time += step; }

private:
    std::chrono::milliseconds step;
    mutable TimePoint time;
};

TEST(ImageReports, OnStandardOutputForRunLengthsAbove200Milliseconds) {
    const LogCapture log("JsonDevice.MarshalTypes");
    const CapturedOutput output;
    {
        const StepClock clock(200);
        toJson(exampleImage());
        EXPECT_EQ(output.text(), "");
    }
    const StepClock clock(201);
    toJson(exampleImage());
    EXPECT_EQ(output.text(), "GrayscaleImage toJson took 201ms for 3x3\nPrev-Line RLE savings :3 or 33%\n");
    EXPECT_TRUE(log.lines().empty());
}

TEST(ImageReports, ForColourTheShareIsOfPixels) {
    const StepClock clock(1234);
    const CapturedOutput output;
    const float data[] = {1, 1, 1, 1, 1, 1};
    toJson(RasterRGBImage(2, 1, data, true));
    EXPECT_EQ(output.text(), "RGBImage toJson took 1234ms for 2x1\nPrev-Line RLE savings :4 or 200%\n");
}

TEST(ImageReports, AsTraceForTheOtherEncodings) {
    const LogCapture log("JsonDevice.MarshalTypes");
    const CapturedOutput output;
    const StepClock clock(201);
    toJson(exampleImage(), {{"compression", "none"}});
    toJson(RasterGrayscaleImage(30, 20, nullptr), {{"compression", "ZLIB"}});
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"TRACE JTypeGrayscaleImage toJson took 201ms for 3x3",
                                        "TRACE JTypeGrayscaleImage toJson took 201ms for 30x20"}));
    EXPECT_EQ(output.text(), "");
}

}  // namespace
}  // namespace JsonDevice
