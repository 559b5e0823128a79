#include "DeviceManager/JsonDevice/ImageTypes.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <log4cxx/logger.h>

#include "Common/Base64.h"
#include "Common/ZLibCompress.h"
#include "DeviceManager/JsonDevice/Clock.h"
#include "DeviceManager/JsonDevice/Diagnostics.h"
#include "DeviceManager/JsonDevice/ImageCodec/ByteRaster.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"
#include "DeviceManager/JsonDevice/ImageCodec/RunLength.h"
#include "DeviceManager/JsonDevice/Marshallers.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"

namespace JsonDevice {

namespace {

using namespace ImageCodec;
using GrayscaleValues = ImageValues<GrayscaleImage, 1>;
using RGBValues = ImageValues<RGBImage, 3>;

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("JsonDevice.MarshalTypes");

constexpr const wchar_t* notGrayscale = L"JSON value is not a GrayscaleImage";
constexpr const wchar_t* notRGB = L"JSON value is not a RGBImage";

std::atomic<std::size_t> pixelLimit{std::size_t{1} << 28};

/// Below this a second thread costs more than it brings.
constexpr std::size_t parallelValues = std::size_t{1} << 17;

std::size_t workersFor(int rows, std::size_t values) {
    return rows <= 1 || values < parallelValues ? 1 : availableWorkers();
}

/// How long an encoder has been at work; it says so when that is long.
class Stopwatch {
public:
    bool tookLong() {
        elapsed =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::standard().now() - start).count();
        return elapsed > 200;
    }
    std::string report(std::string_view what, int h, int v) const {
        return std::string(what) + " toJson took " + std::to_string(elapsed) + "ms for " + std::to_string(h) +
               "x" + std::to_string(v);
    }

private:
    Clock::TimePoint start = Clock::standard().now();
    long long elapsed = 0;
};

/// A text of up to `capacity` characters that is not initialised first.
struct Text {
    explicit Text(std::size_t capacity) : characters(new char[capacity + 1]) {}
    char* begin() { return characters.get(); }
    Json::Value toJson(std::size_t length) const {
        return Json::Value(characters.get(), characters.get() + length);
    }
    std::unique_ptr<char[]> characters;
};

Json::Value sized(int h, int v) {
    Json::Value object(Json::objectValue);
    object["h"] = h;
    object["v"] = v;
    return object;
}

/// The run-length raster of an image, and the report on standard output.
Json::Value runLengthRaster(const ValueSource& source, float limit, const char* what, int h, int v,
                            Stopwatch& stopwatch) {
    Text text(runLengthCapacity(source.values()));
    const std::size_t length = encodeRunLength(source, limit, text.begin(), workersFor(v, source.values()));
    Json::Value raster = text.toJson(length);
    if (stopwatch.tookLong()) {
        const std::size_t saved = runLengthSavings(source.values(), length);
        const std::size_t pixels = std::max<std::size_t>(1, source.pixels());
        printDiagnostic(stopwatch.report(what, h, v));
        printDiagnostic("Prev-Line RLE savings :" + std::to_string(saved) + " or " +
                        std::to_string(saved * 100 / pixels) + "%");
    }
    return raster;
}

/// The size and the raster of an image in JSON, checked.
struct Received {
    int h = 0;
    int v = 0;
    std::string_view raster;

    Received(const Json::Value& value, const wchar_t* refusal) {
        const auto isInteger = [&](const char* key) {
            return value.isMember(key) && value[key].isConvertibleTo(Json::intValue);
        };
        if (!value.isObject() || !isInteger("h") || !isInteger("v") || !value.isMember("raster")) {
            refuse(refusal, __LINE__);
        }
        h = value["h"].asInt();
        v = value["v"].asInt();
        const char* begin = nullptr;
        const char* end = nullptr;
        if (h < 0 || v < 0 || pixels() > pixelLimit || !value["raster"].isString() ||
            !value["raster"].getString(&begin, &end)) {
            refuse(refusal, __LINE__);
        }
        raster = std::string_view(begin, static_cast<std::size_t>(end - begin));
    }
    // Two sizes below 2^31 multiply without overflow.
    std::size_t pixels() const { return static_cast<std::size_t>(h) * static_cast<std::size_t>(v); }
};

RunLengthPlan planned(const Received& received, std::size_t values, std::size_t workers,
                      const wchar_t* refusal) {
    std::optional<RunLengthPlan> plan = planRunLength(received.raster, values, workers > 1);
    if (!plan) {
        refuse(refusal, __LINE__);
    }
    return *std::move(plan);
}

}  // namespace

std::size_t maximumImagePixels() {
    return pixelLimit;
}

void setMaximumImagePixels(std::size_t pixels) {
    pixelLimit = pixels;
}

Json::Value JTypeGrayscaleImage::toJson(const void* value, const MarshalOptions& options) const {
    const auto& image = *static_cast<const GrayscaleImage*>(value);
    const auto compression = options.find("compression");
    if (compression != options.end() && compression->second == "none") {
        return toJsonUncompressed(image);
    }
    if (compression != options.end() && compression->second == "ZLIB") {
        return toJsonZLibCompressed(image);
    }
    return toJsonRLECompressed(image);
}

Json::Value JTypeGrayscaleImage::toJsonUncompressed(const GrayscaleImage& image) const {
    Stopwatch stopwatch;
    const GrayscaleValues source(image);
    const int h = image.getHSize();
    const int v = image.getVSize();
    Json::Value object = sized(h, v);
    object["compression"] = "none";
    const std::size_t length = base64Length(source.values());
    Text text(length);
    encodePlain(source, text.begin(), workersFor(v, source.values()));
    object["raster"] = text.toJson(length);
    if (stopwatch.tookLong()) {
        LOG4CXX_TRACE(logger, stopwatch.report("JTypeGrayscaleImage", h, v));
    }
    return object;
}

Json::Value JTypeGrayscaleImage::toJsonRLECompressed(const GrayscaleImage& image) const {
    Stopwatch stopwatch;
    const int h = image.getHSize();
    const int v = image.getVSize();
    Json::Value object = sized(h, v);
    object["compression"] = "RLE";
    object["raster"] =
        runLengthRaster(GrayscaleValues(image), grayscaleLimit, "GrayscaleImage", h, v, stopwatch);
    return object;
}

Json::Value JTypeGrayscaleImage::toJsonZLibCompressed(const GrayscaleImage& image) const {
    Stopwatch stopwatch;
    const GrayscaleValues source(image);
    const int h = image.getHSize();
    const int v = image.getVSize();
    Json::Value object = sized(h, v);
    object["compression"] = "ZLIB";
    const std::size_t size = source.values();
    const std::unique_ptr<unsigned char[]> bytes(new unsigned char[size]);
    const std::unique_ptr<unsigned char[]> deflated(new unsigned char[size]);
    quantise(source, bytes.get(), workersFor(v, size));
    // No room for more than the image has bytes: what does not shrink is not sent.
    unsigned long length = 0;
    const ZLibCompress::ZLibError error =
        ZLibCompress::zLibDeflate(bytes.get(), size, deflated.get(), size, length);
    if (error != ZLibCompress::NoError) {
        LOG4CXX_ERROR(logger, "Unable to zlib compress image. Error: " + std::to_string(error));
        return object;
    }
    Text text(base64Length(length));
    encodeBase64(std::span(deflated.get(), length), text.begin());
    object["raster"] = text.toJson(base64Length(length));
    if (stopwatch.tookLong()) {
        LOG4CXX_TRACE(logger, stopwatch.report("JTypeGrayscaleImage", h, v));
    }
    return object;
}

void* JTypeGrayscaleImage::fromJson(const Json::Value& value) const {
    if (value.isNull()) {
        return nullptr;
    }
    const Received received(value, notGrayscale);
    // Absent, it is null, which reads as an empty text.
    const Json::Value& compression = value["compression"];
    const std::string name = compression.isConvertibleTo(Json::stringValue) ? compression.asString() : "";
    if (name == "none") {
        return fromJsonUncompressed(value);
    }
    if (name == "ZLIB") {
        return fromJsonZLibCompressed(value);
    }
    return fromJsonRLECompressed(value);
}

GrayscaleImage* JTypeGrayscaleImage::fromJsonUncompressed(const Json::Value& value) const {
    const Received received(value, notGrayscale);
    if (!plainTextHolds(received.raster.size(), received.pixels())) {
        refuse(notGrayscale, __LINE__);
    }
    auto image = std::make_unique<RasterGrayscaleImage>(received.h, received.v, nullptr);
    if (!decodePlain(received.raster, image->getData(), received.pixels(),
                     workersFor(received.v, received.pixels()))) {
        refuse(notGrayscale, __LINE__);
    }
    return image.release();
}

GrayscaleImage* JTypeGrayscaleImage::fromJsonRLECompressed(const Json::Value& value) const {
    const Received received(value, notGrayscale);
    const std::size_t workers = workersFor(received.v, received.pixels());
    const RunLengthPlan plan = planned(received, received.pixels(), workers, notGrayscale);
    auto image = std::make_unique<RasterGrayscaleImage>(received.h, received.v, nullptr);
    decodeRunLength(plan, image->getData(), workers);
    return image.release();
}

GrayscaleImage* JTypeGrayscaleImage::fromJsonZLibCompressed(const Json::Value& value) const {
    const Received received(value, notGrayscale);
    std::vector<unsigned char> deflated = decodeBase64(received.raster);
    if (const std::size_t most = mostInflated(deflated.size()); received.pixels() > most) {
        // No memory for an image that cannot come of it; inflated only for what is logged.
        std::vector<unsigned char> bytes(most);
        unsigned long length = 0;
        ZLibCompress::zLibInflate(deflated.data(), deflated.size(), bytes.data(), most, length);
        return nullptr;
    }
    auto image = std::make_unique<RasterGrayscaleImage>(received.h, received.v, nullptr);
    if (!decodeDeflated(deflated, image->getData(), received.pixels(),
                        workersFor(received.v, received.pixels()))) {
        return nullptr;
    }
    return image.release();
}

Json::Value JTypeRGBImage::toJson(const void* value, const MarshalOptions&) const {
    Stopwatch stopwatch;
    const auto& image = *static_cast<const RGBImage*>(value);
    const int h = image.getHSize();
    const int v = image.getVSize();
    Json::Value object = sized(h, v);
    object["raster"] = runLengthRaster(RGBValues(image), rgbLimit, "RGBImage", h, v, stopwatch);
    return object;
}

void* JTypeRGBImage::fromJson(const Json::Value& value) const {
    if (value.isNull()) {
        return nullptr;
    }
    const Received received(value, notRGB);
    const std::size_t values = 3 * received.pixels();
    const std::size_t workers = workersFor(received.v, values);
    const RunLengthPlan plan = planned(received, values, workers, notRGB);
    auto image = std::make_unique<RasterRGBImage>(received.h, received.v, nullptr, true);
    decodeRunLength(plan, image->getData(), workers);
    return static_cast<RGBImage*>(image.release());
}

}  // namespace JsonDevice
