#pragma once

#include <cstddef>

#include <json/value.h>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"

class GrayscaleImage;

namespace JsonDevice {

/// The most pixels that an image read from JSON may have; 2^28 unless set. What a
/// device sends beyond it is refused before memory is spent on it. Any thread may
/// set it at any time.
JSONDEVICE_EXPORT std::size_t maximumImagePixels();
JSONDEVICE_EXPORT void setMaximumImagePixels(std::size_t pixels);

/// "GrayscaleImage": {"h", "v", "compression", "raster"}. The option "compression"
/// chooses the encoding: "none", "ZLIB", and run lengths ("RLE") for anything else
/// and when it is absent. Run lengths keep 2049 levels, the other two 256.
///
/// An image that deflate cannot make smaller goes out without "raster" when "ZLIB"
/// was asked for. Work on large images is spread over several threads.
///
/// Reading gives a RasterGrayscaleImage; null for JSON null and for a "ZLIB" raster
/// that does not inflate to the whole image. What has not the shape of an image, or
/// too short or damaged a raster, raises KorvanParseException.
class JSONDEVICE_EXPORT JTypeGrayscaleImage : public JType {
public:
    Json::Value toJson(const void* value, const MarshalOptions& options) const override;
    void* fromJson(const Json::Value& value) const override;

protected:
    /// The decoders, for a derived marshaller to replace. The value has the shape of
    /// an image whose size is allowed. The caller owns the image.
    virtual GrayscaleImage* fromJsonUncompressed(const Json::Value& value) const;
    virtual GrayscaleImage* fromJsonRLECompressed(const Json::Value& value) const;
    virtual GrayscaleImage* fromJsonZLibCompressed(const Json::Value& value) const;

private:
    Json::Value toJsonUncompressed(const GrayscaleImage& image) const;
    Json::Value toJsonRLECompressed(const GrayscaleImage& image) const;
    Json::Value toJsonZLibCompressed(const GrayscaleImage& image) const;
};

/// "RGBImage": {"h", "v", "raster"}, the raster as run lengths of red, green and blue
/// of each pixel in turn. Values up to 4031 / 2048 survive. No options; a
/// "compression" member is not looked at. Reading gives a RasterRGBImage.
class JTypeRGBImage : public JType {
public:
    Json::Value toJson(const void* value, const MarshalOptions& options) const override;
    void* fromJson(const Json::Value& value) const override;
};

}  // namespace JsonDevice
