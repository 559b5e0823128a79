#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "Common/Export.h"
#include "Platform/Devices/Image.h"

namespace JsonDevice {

/// Receives the file piece by piece.
using PngSink = std::function<void(std::span<const unsigned char>)>;

/// Writes a PNG file of the image: default compression and filters, not
/// interlaced, the samples as they stand. A text that is not empty goes into the
/// file under the keyword "xml", not compressed.
///
/// Throws DeviceException, before anything is written, for an image that has no
/// pixels, no data, an unknown format, a side above a million pixels or more
/// than 1 GiB of pixels; DeviceException with what libpng says when libpng
/// fails; and what the sink throws.
void writePng(const image_t& image, const std::string& text, const PngSink& sink);

/// The file in memory.
JSONDEVICE_EXPORT std::vector<unsigned char> makePng(const image_t& image, const std::string& text);

}  // namespace JsonDevice
