#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/ImageTypes.h"
#include "Fuzz/Fuzz.h"
#include "Platform/Devices/GrayscaleImage.h"

/// An image in JSON, made from the input: two bytes for the size, the raster behind them.
struct FuzzedImage {
    FuzzedImage(const std::uint8_t* data, std::size_t size, const char* compression)
        : h(size > 0 ? data[0] : 0),
          v(size > 1 ? data[1] : 0),
          raster(reinterpret_cast<const char*>(data) + (size > 2 ? 2 : size), size > 2 ? size - 2 : 0),
          value(Json::objectValue) {
        value["h"] = h;
        value["v"] = v;
        value["compression"] = compression;
        value["raster"] = Json::Value(raster.data(), raster.data() + raster.size());
    }
    std::size_t pixels() const { return static_cast<std::size_t>(h) * static_cast<std::size_t>(v); }
    /// Null when it is refused, or no image.
    std::unique_ptr<GrayscaleImage> decoded() const {
        try {
            return std::unique_ptr<GrayscaleImage>(
                static_cast<GrayscaleImage*>(JsonDevice::JTypeGrayscaleImage().fromJson(value)));
        } catch (const KorvanParseException&) {
            return nullptr;
        }
    }

    int h;
    int v;
    std::string_view raster;
    Json::Value value;
};
